#include "net/http_client_p.h"

#include <QCoreApplication>
#include <QDebug>
#include <QNetworkReply>
#include <QTextStream>

namespace {

bool carriesParameters(HttpClientPrivate::Method method)
{
    using Method = HttpClientPrivate::Method;
    return method == Method::Post || method == Method::Put || method == Method::Upload;
}

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
    stream.setCodec("UTF-8");
    if (!charset.isEmpty())
        stream.setCodec(charset.toLatin1().constData());
    QString text;
    while (!stream.atEnd())
        text += stream.readLine();
    return text;
}

} // namespace

void HttpClientPrivate::execute(Method method)
{
    const QNetworkRequest request = buildRequest(method);
    QNetworkReply *reply = send(method, request);
    QObject::connect(reply, &QNetworkReply::finished, reply,
                     [self = shared_from_this(), reply, callbacks = handlers] {
                         self->handleReply(reply, callbacks);
                     });
}

QNetworkRequest HttpClientPrivate::buildRequest(Method method)
{
    QString address = url;
    if (method == Method::Get && !params.isEmpty())
        address += QLatin1Char('?') + params.query(QUrl::FullyDecoded);
    if (debug)
        logRequest(address, method);
    if (method == Method::Post || method == Method::Put) {
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

void HttpClientPrivate::logRequest(const QString &address, Method method) const
{
    qDebug() << "[网址]" << address;
    if (!carriesParameters(method) || params.isEmpty())
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

QNetworkReply *HttpClientPrivate::send(Method method, const QNetworkRequest &request)
{
    QNetworkAccessManager *network = usedManager();
    switch (method) {
    case Method::Get:
        return network->get(request);
    case Method::Post:
        return network->post(request, body());
    case Method::Put:
        return network->put(request, body());
    case Method::Delete:
        return network->deleteResource(request);
    case Method::Upload:
        break;
    }
    return nullptr;
}

void HttpClientPrivate::handleReply(QNetworkReply *reply, const Handlers &callbacks) const
{
    // A callback may delete the manager, which would take the reply along while it still signals.
    reply->setParent(nullptr);
    const QString text = readText(reply, charset);
    if (reply->error() != QNetworkReply::NoError) {
        const QString error = reply->errorString();
        if (debug)
            qDebug().noquote() << QStringLiteral("[结束] 失败: %1").arg(error);
        if (callbacks.fail)
            callbacks.fail(error, reply->error());
    } else {
        if (debug)
            qDebug().noquote() << QStringLiteral("[结束] 成功: %1").arg(text);
        if (callbacks.success)
            callbacks.success(text);
    }
    if (callbacks.complete)
        callbacks.complete();
    reply->deleteLater();
}
