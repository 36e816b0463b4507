#pragma once

#include <functional>
#include <memory>
#include <utility>

#include <QHash>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QPointer>
#include <QUrlQuery>

#include "net/http_client.h"
#include "net/http_exchange.h"
#include "net/http_reply.h"
#include "net/multipart_form.h"

class QNetworkReply;
class QSaveFile;

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
        HttpClient::RefusalHandler refused;
    };

    explicit HttpClientPrivate(QString targetUrl) : url(std::move(targetUrl)) {}

    PendingReply execute(Method requestMethod);
    PendingReply download(const QString &path);
    PendingReply download(const HttpClient::BytesHandler &arrived);
    PendingReply repeat();

    QString url;
    QUrlQuery params;
    QHash<QString, QString> headers;
    QString json;
    bool useJson = false;
    bool debug = false;
    QPointer<QNetworkAccessManager> manager;
    Handlers handlers;
    QString charset;
    qint64 limit = LongestReply;
    bool isSentOnce = false;
    UploadContent content;

private:
    using Verdict = std::function<HttpOutcome(QNetworkReply *)>;

    // What the end of an exchange needs of the request, as it was when it was sent.
    struct Delivery
    {
        Handlers callbacks;
        bool logs;

        void operator()(const HttpOutcome &outcome) const;
    };

    QNetworkRequest buildRequest();
    void setContentType(const QString &type);
    void logRequest(const QString &address) const;
    QByteArray body() const;
    QNetworkAccessManager *usedManager() const;
    QNetworkReply *send(const QNetworkRequest &request);
    void renewAuthorization(const QString &accessToken);

    PendingReply sendText(const QNetworkRequest &request);
    PendingReply sendForm(QNetworkRequest request);
    PendingReply whenFinished(QNetworkReply *reply, qint64 mostBytes, const Verdict &verdict);
    PendingReply failLocally(const QString &error, bool logs);

    static HttpOutcome textOutcome(QNetworkReply *reply, const QString &charset);
    static HttpOutcome fileOutcome(QNetworkReply *reply, QSaveFile *file);
    static HttpOutcome bytesOutcome(QNetworkReply *reply, const QByteArray &bytes);

    Method m_method = Method::Get;
    QString m_downloadPath;             // empty unless the reply goes into a file
    HttpClient::BytesHandler m_arrived; // unset unless it stays in memory
};
