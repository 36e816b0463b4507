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
    };

    explicit HttpClientPrivate(QString targetUrl) : url(std::move(targetUrl)) {}

    void execute(Method requestMethod);
    void download(const QString &path);
    void repeat();

    QString url;
    QUrlQuery params;
    QHash<QString, QString> headers;
    QString json;
    bool useJson = false;
    bool debug = false;
    QPointer<QNetworkAccessManager> manager;
    Handlers handlers;
    QString charset;
    UploadContent content;

private:
    // How an exchange ended: the response's text, or the error's and its code.
    struct Outcome
    {
        bool succeeded;
        QString text;
        int code;
    };
    using Verdict = std::function<Outcome(QNetworkReply *)>;

    QNetworkRequest buildRequest();
    void setContentType(const QString &type);
    void logRequest(const QString &address) const;
    QByteArray body() const;
    QNetworkAccessManager *usedManager() const;
    QNetworkReply *send();
    QNetworkReply *sendForm();
    void renewAuthorization(const QString &accessToken);

    void whenFinished(QNetworkReply *reply, const Verdict &verdict);
    void failLocally(const QString &error);
    void deliver(const Handlers &callbacks, const Outcome &outcome) const;

    Outcome textOutcome(QNetworkReply *reply) const;
    static Outcome fileOutcome(QNetworkReply *reply, QSaveFile *file);

    Method m_method = Method::Get;
    QString m_downloadPath; // empty unless the reply goes into a file
};
