#pragma once

#include <memory>

#include <QHash>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QPointer>
#include <QUrlQuery>

#include "net/http_client.h"

class QNetworkReply;

// The request that copies of an HttpClient share, and that waits for the reply.
class HttpClientPrivate final : public std::enable_shared_from_this<HttpClientPrivate>
{
    Q_DISABLE_COPY_MOVE(HttpClientPrivate)

public:
    enum class Method { Get, Post, Put, Delete, Upload };

    struct Handlers
    {
        HttpClient::SuccessHandler success;
        HttpClient::FailHandler fail;
        HttpClient::CompleteHandler complete;
    };

    explicit HttpClientPrivate(const QString &targetUrl) : url(targetUrl) {}

    void execute(Method method);

    QString url;
    QUrlQuery params;
    QHash<QString, QString> headers;
    QString json;
    bool useJson = false;
    bool debug = false;
    QPointer<QNetworkAccessManager> manager;
    Handlers handlers;
    QString charset;

private:
    QNetworkRequest buildRequest(Method method);
    void setContentType(const QString &type);
    void logRequest(const QString &address, Method method) const;
    QByteArray body() const;
    QNetworkAccessManager *usedManager() const;
    QNetworkReply *send(Method method, const QNetworkRequest &request);
    void handleReply(QNetworkReply *reply, const Handlers &callbacks) const;
};
