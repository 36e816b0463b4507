#include "net/http_client_p.h"

#include <QCoreApplication>
#include <QDebug>
#include <QNetworkReply>
#include <QSaveFile>
#include <QTextStream>

#include "app/environment/app_settings.h"
#include "db/tables/operations.h"
#include "net/write_through.h"

namespace {

constexpr int localFailure = -1;

// Serves every caller that brings no manager; goes with the application object.
QNetworkAccessManager *sharedManager()
{
    static QPointer<QNetworkAccessManager> manager;
    if (!manager)
        manager = new QNetworkAccessManager(QCoreApplication::instance());
    return manager;
}

QString readText(QNetworkReply *reply, const QString &charset)
{
    QTextStream stream(reply);
    stream.setAutoDetectUnicode(false);
    stream.setCodec("UTF-8");
    if (!charset.isEmpty())
        stream.setCodec(charset.toLatin1().constData());
    QString text;
    while (!stream.atEnd())
        text += stream.readLine();
    return text;
}

int statusOf(const QNetworkReply *reply)
{
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

void writeAvailable(QNetworkReply *reply, QSaveFile *file)
{
    if (!writeThrough(*file, reply->readAll()))
        reply->abort();
}

} // namespace

void HttpClientPrivate::execute(Method requestMethod)
{
    m_method = requestMethod;
    m_downloadPath.clear();
    QNetworkReply *reply = send();
    if (reply)
        whenFinished(reply, [this](QNetworkReply *finished) { return textOutcome(finished); });
}

void HttpClientPrivate::download(const QString &path)
{
    m_method = Method::Get;
    m_downloadPath = path;
    auto file = std::make_unique<QSaveFile>(path);
    if (!file->open(QIODevice::WriteOnly)) {
        qDebug().noquote() << QStringLiteral("[错误] 打开文件出错: %1").arg(path);
        failLocally(file->errorString());
        return;
    }
    QNetworkReply *reply = send();
    QSaveFile *output = file.release();
    output->setParent(reply);
    QObject::connect(reply, &QNetworkReply::readyRead, output,
                     [reply, output] { writeAvailable(reply, output); });
    whenFinished(reply,
                 [output](QNetworkReply *finished) { return fileOutcome(finished, output); });
}

void HttpClientPrivate::repeat()
{
    UserInfo user;
    const bool isStored = loadUserInfo(AppSettings().curUserId(), user);
    qDebug() << "repeat request" << url;
    if (isStored)
        renewAuthorization(user.accessToken.value());
    if (m_downloadPath.isEmpty()) {
        execute(m_method);
    } else {
        download(m_downloadPath);
    }
}

// Requests that do not carry a token get none.
void HttpClientPrivate::renewAuthorization(const QString &accessToken)
{
    const auto header = headers.find(QStringLiteral("Authorization"));
    if (header != headers.end() && !accessToken.isEmpty())
        *header = QStringLiteral("Bearer ") + accessToken;
}

QNetworkRequest HttpClientPrivate::buildRequest()
{
    QString address = url;
    if (m_method == Method::Get && !params.isEmpty())
        address += QLatin1Char('?') + params.query(QUrl::FullyDecoded);
    if (debug)
        logRequest(address);
    if (m_method == Method::Post || m_method == Method::Put) {
        setContentType(useJson ? QStringLiteral("application/json; charset=utf-8")
                               : QStringLiteral("application/x-www-form-urlencoded"));
    }
    QNetworkRequest request{QUrl(address)};
    for (auto it = headers.cbegin(); it != headers.cend(); ++it)
        request.setRawHeader(it.key().toUtf8(), it.value().toUtf8());
    return request;
}

// The caller's own entry goes, however its name is spelt.
void HttpClientPrivate::setContentType(const QString &type)
{
    const QString name = QStringLiteral("Content-Type");
    for (auto it = headers.begin(); it != headers.end();)
        it = it.key().compare(name, Qt::CaseInsensitive) == 0 ? headers.erase(it) : std::next(it);
    headers.insert(name, type);
}

void HttpClientPrivate::logRequest(const QString &address) const
{
    qDebug() << "[网址]" << address;
    if (m_method == Method::Get || m_method == Method::Delete || params.isEmpty())
        return;
    QString text;
    for (const auto &[name, value] : params.queryItems(QUrl::FullyDecoded)) {
        const QString line =
            text.isEmpty() ? QStringLiteral("[参数] %1=%2\n") : QStringLiteral("       %1=%2\n");
        text += line.arg(name, value);
    }
    qDebug().noquote() << text;
}

QByteArray HttpClientPrivate::body() const
{
    return (useJson ? json : params.query(QUrl::FullyDecoded)).toUtf8();
}

QNetworkAccessManager *HttpClientPrivate::usedManager() const
{
    return manager ? manager.data() : sharedManager();
}

QNetworkReply *HttpClientPrivate::send()
{
    switch (m_method) {
    case Method::Get:
        return usedManager()->get(buildRequest());
    case Method::Post:
        return usedManager()->post(buildRequest(), body());
    case Method::Put:
        return usedManager()->put(buildRequest(), body());
    case Method::Delete:
        return usedManager()->deleteResource(buildRequest());
    case Method::Upload:
        break;
    }
    return sendForm();
}

QNetworkReply *HttpClientPrivate::sendForm()
{
    QString error;
    std::unique_ptr<QHttpMultiPart> form = buildMultipartForm(params, content, error);
    if (!form) {
        if (debug)
            qDebug().noquote() << error;
        failLocally(error);
        return nullptr;
    }
    QNetworkRequest request = buildRequest();
    // Only the form knows its boundary.
    request.setHeader(QNetworkRequest::ContentTypeHeader, {});
    QNetworkReply *reply = usedManager()->post(request, form.get());
    form.release()->setParent(reply);
    return reply;
}

void HttpClientPrivate::whenFinished(QNetworkReply *reply, const Verdict &verdict)
{
    QObject::connect(reply, &QNetworkReply::finished, reply,
                     [self = shared_from_this(), reply, verdict, callbacks = handlers] {
                         // A callback may delete the manager, which would take along the reply
                         // that is still signalling.
                         reply->setParent(nullptr);
                         self->deliver(callbacks, verdict(reply));
                         reply->deleteLater();
                     });
}

// Arrives through the event loop as every other failure does.
void HttpClientPrivate::failLocally(const QString &error)
{
    QMetaObject::invokeMethod(
        usedManager(),
        [self = shared_from_this(), callbacks = handlers, error] {
            self->deliver(callbacks, {false, error, localFailure});
        },
        Qt::QueuedConnection);
}

HttpClientPrivate::Outcome HttpClientPrivate::textOutcome(QNetworkReply *reply) const
{
    const QString text = readText(reply, charset);
    if (reply->error() != QNetworkReply::NoError)
        return {false, reply->errorString(), reply->error()};
    return {true, text, 0};
}

HttpClientPrivate::Outcome HttpClientPrivate::fileOutcome(QNetworkReply *reply, QSaveFile *file)
{
    if (file->error() != QFileDevice::NoError)
        return {false, file->errorString(), localFailure};
    if (reply->error() != QNetworkReply::NoError)
        return {false, reply->errorString(), reply->error()};
    const int status = statusOf(reply);
    if (status / 100 != 2) {
        const QString error = QStringLiteral("Unexpected HTTP status %1").arg(status);
        return {false, error, QNetworkReply::UnknownContentError};
    }
    if (!file->commit())
        return {false, file->errorString(), localFailure};
    return {true, file->fileName(), 0};
}

void HttpClientPrivate::deliver(const Handlers &callbacks, const Outcome &outcome) const
{
    if (debug) {
        const QString line = outcome.succeeded ? QStringLiteral("[结束] 成功: %1")
                                               : QStringLiteral("[结束] 失败: %1");
        qDebug().noquote() << line.arg(outcome.text);
    }
    if (outcome.succeeded && callbacks.success)
        callbacks.success(outcome.text);
    if (!outcome.succeeded && callbacks.fail)
        callbacks.fail(outcome.text, outcome.code);
    if (callbacks.complete)
        callbacks.complete();
}
