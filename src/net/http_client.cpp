#include "net/http_client.h"

#include "net/http_client_p.h"

HttpClient::HttpClient(const QString &url) : m_d(std::make_shared<HttpClientPrivate>(url)) {}

HttpClient::HttpClient(const Weak &request) : m_d(request.lock()) {}

HttpClient &HttpClient::debug(bool on)
{
    m_d->debug = on;
    return *this;
}

HttpClient &HttpClient::param(const QString &name, const QString &value)
{
    m_d->params.addQueryItem(name, value);
    return *this;
}

HttpClient &HttpClient::params(const QMap<QString, QString> &values)
{
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        param(it.key(), it.value());
    }
    return *this;
}

HttpClient &HttpClient::json(const QString &text)
{
    m_d->json = text;
    m_d->useJson = true;
    return *this;
}

HttpClient &HttpClient::header(const QString &name, const QString &value)
{
    m_d->headers.insert(name, value);
    return *this;
}

HttpClient &HttpClient::headers(const QMap<QString, QString> &values)
{
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        header(it.key(), it.value());
    }
    return *this;
}

HttpClient &HttpClient::manager(QNetworkAccessManager *manager)
{
    m_d->manager = manager;
    return *this;
}

HttpClient &HttpClient::success(const SuccessHandler &handler)
{
    m_d->handlers.success = handler;
    return *this;
}

HttpClient &HttpClient::fail(const FailHandler &handler)
{
    m_d->handlers.fail = handler;
    return *this;
}

HttpClient &HttpClient::complete(const CompleteHandler &handler)
{
    m_d->handlers.complete = handler;
    return *this;
}

HttpClient &HttpClient::refused(const RefusalHandler &handler)
{
    m_d->handlers.refused = handler;
    return *this;
}

HttpClient &HttpClient::limit(qint64 bytes)
{
    m_d->limit = bytes;
    return *this;
}

HttpClient &HttpClient::once()
{
    m_d->isSentOnce = true;
    return *this;
}

HttpClient &HttpClient::charset(const QString &name)
{
    m_d->charset = name;
    return *this;
}

PendingReply HttpClient::get()
{
    return m_d->execute(HttpClientPrivate::Method::Get);
}

PendingReply HttpClient::post()
{
    return m_d->execute(HttpClientPrivate::Method::Post);
}

PendingReply HttpClient::put()
{
    return m_d->execute(HttpClientPrivate::Method::Put);
}

PendingReply HttpClient::remove()
{
    return m_d->execute(HttpClientPrivate::Method::Delete);
}

PendingReply HttpClient::upload(const QString &path)
{
    return upload(QStringList{path});
}

PendingReply HttpClient::upload(const QStringList &paths)
{
    m_d->content = {paths, {}};
    return m_d->execute(HttpClientPrivate::Method::Upload);
}

PendingReply HttpClient::upload(const QByteArray &data, const QString & /*fileName*/)
{
    m_d->content = {{}, data};
    return m_d->execute(HttpClientPrivate::Method::Upload);
}

PendingReply HttpClient::download(const QString &path)
{
    return m_d->download(path);
}

PendingReply HttpClient::download(const BytesHandler &arrived)
{
    return m_d->download(arrived);
}

PendingReply HttpClient::repeat()
{
    return m_d->repeat();
}
