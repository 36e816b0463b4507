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
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        param(it.key(), it.value());
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
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        header(it.key(), it.value());
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

HttpClient &HttpClient::charset(const QString &name)
{
    m_d->charset = name;
    return *this;
}

void HttpClient::get()
{
    m_d->execute(HttpClientPrivate::Method::Get);
}

void HttpClient::post()
{
    m_d->execute(HttpClientPrivate::Method::Post);
}

void HttpClient::put()
{
    m_d->execute(HttpClientPrivate::Method::Put);
}

void HttpClient::remove()
{
    m_d->execute(HttpClientPrivate::Method::Delete);
}

void HttpClient::upload(const QString &path)
{
    upload(QStringList{path});
}

void HttpClient::upload(const QStringList &paths)
{
    m_d->content = {paths, {}};
    m_d->execute(HttpClientPrivate::Method::Upload);
}

void HttpClient::upload(const QByteArray &data, const QString & /*fileName*/)
{
    m_d->content = {{}, data};
    m_d->execute(HttpClientPrivate::Method::Upload);
}

void HttpClient::download(const QString &path)
{
    m_d->download(path);
}

void HttpClient::repeat()
{
    m_d->repeat();
}
