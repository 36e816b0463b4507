#include "net/http_client_p.h"

#include <QCoreApplication>
#include <QDebug>
#include <QNetworkReply>
#include <QSaveFile>
#include <QTextStream>

#include "app/environment/app_settings.h"
#include "db/tables/operations.h"
#include "net/unrepeated_body.h"
#include "net/web_address.h"
#include "net/write_through.h"

namespace {

const QString UnaskableAddress = QStringLiteral("Only http and https addresses can be asked");
constexpr qint64 NoLimit = 0;

QPointer<QNetworkAccessManager> &storedManager()
{
    static QPointer<QNetworkAccessManager> manager;
    return manager;
}

// What is under way when the manager's thread ends would stay in memory, with its connection.
// Nobody hears of it: whoever asked is gone.
void endReplies()
{
    if (storedManager()) {
        for (QNetworkReply *reply : storedManager()->findChildren<QNetworkReply *>()) {
            QObject::disconnect(reply, &QNetworkReply::finished, nullptr, nullptr);
            reply->abort();
        }
    }
}

// Serves every caller that brings no manager; goes with the application object.
QNetworkAccessManager *sharedManager()
{
    QPointer<QNetworkAccessManager> &manager = storedManager();
    if (!manager) {
        manager = new QNetworkAccessManager(QCoreApplication::instance());
        qAddPostRoutine(endReplies);
    }
    return manager;
}

QString readText(QNetworkReply *reply, const QString &charset)
{
    QTextStream stream(reply);
    stream.setAutoDetectUnicode(false);
    stream.setCodec("UTF-8");
    if (!charset.isEmpty()) {
        stream.setCodec(charset.toLatin1().constData());
    }
    QString text;
    while (!stream.atEnd()) {
        text += stream.readLine();
    }
    return text;
}

// x-retry-after is the drive platform's, in milliseconds; Retry-After is everybody's, in seconds.
std::chrono::milliseconds retryAfter(const QNetworkReply *reply)
{
    const QByteArray platform = reply->rawHeader(QByteArrayLiteral("x-retry-after"));
    const QByteArray standard = reply->rawHeader(QByteArrayLiteral("Retry-After"));
    return platform.isEmpty() ? std::chrono::seconds(qMax(0, standard.toInt()))
                              : std::chrono::milliseconds(qMax(0, platform.toInt()));
}

// Nothing when it is the network that failed.
std::optional<HttpRefusal> refusalIn(const QNetworkReply *reply, const QString &body)
{
    const int status = statusOf(reply);
    return status < 400 ? std::nullopt
                        : std::optional(HttpRefusal{status, body, retryAfter(reply)});
}

// A download is worth nothing with a status other than 2xx.
std::optional<HttpOutcome> unexpectedStatus(const QNetworkReply *reply)
{
    const int status = statusOf(reply);
    if (status / 100 == 2) {
        return std::nullopt;
    }
    const QString error = QStringLiteral("Unexpected HTTP status %1").arg(status);
    return HttpOutcome{false, error, QNetworkReply::UnknownContentError};
}

void writeAvailable(QNetworkReply *reply, QSaveFile *file)
{
    if (!writeThrough(*file, reply->readAll())) {
        reply->abort();
    }
}

} // namespace

PendingReply HttpClientPrivate::execute(Method requestMethod)
{
    m_method = requestMethod;
    m_downloadPath.clear();
    m_arrived = {};
    const QNetworkRequest request = buildRequest();
    if (!mayBeAsked(request.url())) {
        return failLocally(UnaskableAddress, debug);
    }
    return m_method == Method::Upload ? sendForm(request) : sendText(request);
}

PendingReply HttpClientPrivate::download(const QString &path)
{
    m_method = Method::Get;
    m_downloadPath = path;
    m_arrived = {};
    const QNetworkRequest request = buildRequest();
    if (!mayBeAsked(request.url())) {
        return failLocally(UnaskableAddress, debug);
    }
    auto file = std::make_unique<QSaveFile>(path);
    if (!file->open(QIODevice::WriteOnly)) {
        qDebug().noquote() << QStringLiteral("[错误] 打开文件出错: %1").arg(path);
        return failLocally(file->errorString(), debug);
    }
    QNetworkReply *reply = send(request);
    QSaveFile *output = file.release();
    output->setParent(reply);
    QObject::connect(reply, &QNetworkReply::readyRead, output,
                     [reply, output] { writeAvailable(reply, output); });
    return whenFinished(reply, NoLimit, [output](QNetworkReply *finished) {
        return fileOutcome(finished, output);
    });
}

PendingReply HttpClientPrivate::download(const HttpClient::BytesHandler &arrived)
{
    m_method = Method::Get;
    m_downloadPath.clear();
    m_arrived = arrived;
    const QNetworkRequest request = buildRequest();
    if (!mayBeAsked(request.url())) {
        return failLocally(UnaskableAddress, debug);
    }
    const auto bytes = std::make_shared<QByteArray>();
    handlers.success = [arrived, bytes](const QString & /*text*/) { arrived(*bytes); };
    return whenFinished(send(request), limit, [bytes](QNetworkReply *finished) {
        *bytes = finished->readAll();
        return bytesOutcome(finished, *bytes);
    });
}

PendingReply HttpClientPrivate::repeat()
{
    UserInfo user;
    const bool isStored = loadUserInfo(AppSettings().curUserId(), user);
    qDebug() << "repeat request" << url;
    if (isStored) {
        renewAuthorization(user.accessToken.value());
    }
    if (m_arrived) {
        return download(HttpClient::BytesHandler(m_arrived));
    }
    return m_downloadPath.isEmpty() ? execute(m_method) : download(m_downloadPath);
}

// Requests that do not carry a token get none.
void HttpClientPrivate::renewAuthorization(const QString &accessToken)
{
    const auto header = headers.find(QStringLiteral("Authorization"));
    if (header != headers.end() && !accessToken.isEmpty()) {
        *header = QStringLiteral("Bearer ") + accessToken;
    }
}

QNetworkRequest HttpClientPrivate::buildRequest()
{
    QString address = url;
    if (m_method == Method::Get && !params.isEmpty()) {
        address += QLatin1Char('?') + params.query(QUrl::FullyDecoded);
    }
    if (debug) {
        logRequest(address);
    }
    if (m_method == Method::Post || m_method == Method::Put) {
        setContentType(useJson ? QStringLiteral("application/json; charset=utf-8")
                               : QStringLiteral("application/x-www-form-urlencoded"));
    }
    QNetworkRequest request{QUrl(address)};
    for (auto it = headers.cbegin(); it != headers.cend(); ++it) {
        request.setRawHeader(it.key().toUtf8(), it.value().toUtf8());
    }
    return request;
}

// The caller's own entry goes, however its name is spelt.
void HttpClientPrivate::setContentType(const QString &type)
{
    const QString name = QStringLiteral("Content-Type");
    for (auto it = headers.begin(); it != headers.end();) {
        it = it.key().compare(name, Qt::CaseInsensitive) == 0 ? headers.erase(it) : std::next(it);
    }
    headers.insert(name, type);
}

void HttpClientPrivate::logRequest(const QString &address) const
{
    qDebug() << "[网址]" << address;
    if (m_method == Method::Get || m_method == Method::Delete || params.isEmpty()) {
        return;
    }
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

QNetworkReply *HttpClientPrivate::send(const QNetworkRequest &request)
{
    using Manager = QNetworkAccessManager;
    const auto once = [this, &request](Manager::Operation operation, const QByteArray &text) {
        return sendUnrepeated(*usedManager(), operation, request, text);
    };
    switch (m_method) {
    case Method::Post:
        return isSentOnce ? once(Manager::PostOperation, body())
                          : usedManager()->post(request, body());
    case Method::Put:
        return isSentOnce ? once(Manager::PutOperation, body())
                          : usedManager()->put(request, body());
    case Method::Delete:
        return usedManager()->deleteResource(request);
    case Method::Get:
    case Method::Upload: // by sendForm()
        break;
    }
    return isSentOnce ? once(Manager::GetOperation, {}) : usedManager()->get(request);
}

PendingReply HttpClientPrivate::sendText(const QNetworkRequest &request)
{
    return whenFinished(send(request), limit, [codec = charset](QNetworkReply *finished) {
        return textOutcome(finished, codec);
    });
}

PendingReply HttpClientPrivate::sendForm(QNetworkRequest request)
{
    QString error;
    std::unique_ptr<QHttpMultiPart> form = buildMultipartForm(params, content, error);
    if (!form) {
        if (debug) {
            qDebug().noquote() << error;
        }
        return failLocally(error, false);
    }
    // Only the form knows its boundary.
    request.setHeader(QNetworkRequest::ContentTypeHeader, {});
    QNetworkReply *reply = usedManager()->post(request, form.get());
    form.release()->setParent(reply);
    return whenFinished(reply, limit, [codec = charset](QNetworkReply *finished) {
        return textOutcome(finished, codec);
    });
}

PendingReply HttpClientPrivate::whenFinished(QNetworkReply *reply, qint64 mostBytes,
                                             const Verdict &verdict)
{
    const auto exchange = std::make_shared<HttpExchange>();
    exchange->watch(reply, mostBytes);
    QObject::connect(
        reply, &QNetworkReply::finished, reply,
        [self = shared_from_this(), reply, exchange, verdict, deliver = Delivery{handlers, debug}] {
            // A callback may delete the manager, which would take along the reply
            // that is still signalling.
            reply->setParent(nullptr);
            if (exchange->finish()) {
                deliver(exchange->verdict() ? *exchange->verdict() : verdict(reply));
            }
            reply->deleteLater();
        });
    return PendingReply(exchange);
}

// Arrives through the event loop as every other failure does.
PendingReply HttpClientPrivate::failLocally(const QString &error, bool logs)
{
    const auto exchange = std::make_shared<HttpExchange>();
    QMetaObject::invokeMethod(
        usedManager(),
        [self = shared_from_this(), exchange, deliver = Delivery{handlers, logs}, error] {
            if (exchange->finish()) {
                deliver({false, error, HttpClient::LocalFailure});
            }
        },
        Qt::QueuedConnection);
    return PendingReply(exchange);
}

HttpOutcome HttpClientPrivate::textOutcome(QNetworkReply *reply, const QString &charset)
{
    const QString text = readText(reply, charset);
    if (reply->error() == QNetworkReply::ContentReSendError) {
        // Only the cut that would have led to it concerns who asked.
        return {false, QStringLiteral("Connection closed"), QNetworkReply::RemoteHostClosedError};
    }
    if (reply->error() != QNetworkReply::NoError) {
        return {false, reply->errorString(), reply->error(), refusalIn(reply, text)};
    }
    return {true, text, 0};
}

HttpOutcome HttpClientPrivate::fileOutcome(QNetworkReply *reply, QSaveFile *file)
{
    if (file->error() != QFileDevice::NoError) {
        return {false, file->errorString(), HttpClient::LocalFailure};
    }
    if (reply->error() != QNetworkReply::NoError) {
        return {false, reply->errorString(), reply->error()};
    }
    if (const auto unexpected = unexpectedStatus(reply)) {
        return *unexpected;
    }
    if (!file->commit()) {
        return {false, file->errorString(), HttpClient::LocalFailure};
    }
    return {true, file->fileName(), 0};
}

HttpOutcome HttpClientPrivate::bytesOutcome(QNetworkReply *reply, const QByteArray &bytes)
{
    if (reply->error() != QNetworkReply::NoError) {
        return {false, reply->errorString(), reply->error(),
                refusalIn(reply, QString::fromUtf8(bytes))};
    }
    return unexpectedStatus(reply).value_or(
        HttpOutcome{true, QStringLiteral("%1 bytes").arg(bytes.size()), 0});
}

void HttpClientPrivate::Delivery::operator()(const HttpOutcome &outcome) const
{
    if (logs) {
        const QString line = outcome.succeeded ? QStringLiteral("[结束] 成功: %1")
                                               : QStringLiteral("[结束] 失败: %1");
        qDebug().noquote() << line.arg(outcome.text);
    }
    if (outcome.succeeded && callbacks.success) {
        callbacks.success(outcome.text);
    }
    if (outcome.refusal && callbacks.refused) {
        callbacks.refused(*outcome.refusal);
    }
    if (!outcome.succeeded && callbacks.fail) {
        callbacks.fail(outcome.text, outcome.code);
    }
    if (callbacks.complete) {
        callbacks.complete();
    }
}
