#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include "net/pending_reply.h"

class HttpClientPrivate;
class QNetworkAccessManager;

// What a server said beside an error status.
struct HttpRefusal
{
    int status = 0;
    QString body; // as a success would receive it
    // How long it wants to be left alone; 0 when it did not say.
    std::chrono::milliseconds retryAfter{0};
};

// One HTTP request and what happens with its reply:
//
//     HttpClient(url).json(body).header(name, value).success(parse).fail(show).post();
//
// A firing call sends the request and returns at once. When the reply is there, exactly one of
// success and fail runs, then complete, all from the event loop of the calling (the interface)
// thread; callbacks that are not set are skipped. Redirects are not followed, and no time-out is
// set: who asks decides how long to wait (ReplyGuard::limitWait). HTTP error statuses are failures.
// Addresses that are not http or https are not asked (mayBeAsked), which is a local failure.
//
// The object is a handle: copies share one request, and a request that is waiting for its reply
// keeps itself alive. A callback may destroy whatever it likes, the network manager included, fire
// other requests, or open a modal dialog. A callback that needs its own request (to repeat it)
// captures a weak() handle: a strong one would keep the two alive forever.
class HttpClient final
{
public:
    // The reply's body as text, line breaks removed.
    using SuccessHandler = std::function<void(const QString &response)>;
    // The reply's body as it came.
    using BytesHandler = std::function<void(const QByteArray &bytes)>;
    // The error's text and its QNetworkReply::NetworkError, or -1 for a local failure (a file).
    using FailHandler = std::function<void(const QString &error, int code)>;
    using RefusalHandler = std::function<void(const HttpRefusal &refusal)>;
    using CompleteHandler = std::function<void()>;
    using Weak = std::weak_ptr<HttpClientPrivate>;

    static constexpr int LocalFailure = -1;

    explicit HttpClient(const QString &url);

    // The request behind a weak handle; valid only while that request lives (see isValid).
    explicit HttpClient(const Weak &request);
    Weak weak() const { return m_d; }
    bool isValid() const { return m_d != nullptr; }

    // Logs the request and its outcome, with the parameters and the body: they may hold secrets.
    HttpClient &debug(bool on);

    // The query of a GET, the form of a POST, PUT or upload. Sent fully decoded, whatever they are
    // given as: a value that may hold "&", "+" or "#" belongs into the URL (percentEncoded).
    HttpClient &param(const QString &name, const QString &value);
    HttpClient &params(const QMap<QString, QString> &values);

    // The body of a POST or PUT, instead of the form.
    HttpClient &json(const QString &text);

    // POST and PUT set Content-Type themselves.
    HttpClient &header(const QString &name, const QString &value);
    HttpClient &headers(const QMap<QString, QString> &values);

    // Who sends the request; without one, a manager that serves the whole program. When the
    // manager goes before the reply has come, no callback runs.
    HttpClient &manager(QNetworkAccessManager *manager);

    HttpClient &success(const SuccessHandler &handler);
    HttpClient &fail(const FailHandler &handler);
    HttpClient &complete(const CompleteHandler &handler);
    // Runs just before `fail` when the server answered with an error status.
    HttpClient &refused(const RefusalHandler &handler);

    // The GET, POST or PUT is sent once and no more, for calls that must not be carried out twice.
    // Others are sent again by Qt when the connection is cut before the reply begins, as happens to
    // one that was kept open and is used again.
    HttpClient &once();

    // The codec of the reply; UTF-8 when not set or not known.
    HttpClient &charset(const QString &name);

    // The most bytes that a reply may have, 1 MB when not set: longer ones are local failures.
    // Downloads to the disk have no limit.
    HttpClient &limit(qint64 bytes);

    PendingReply get();
    PendingReply post();
    PendingReply put();
    PendingReply remove();

    // Posts a multipart form of the parameters and the files ("file" for one path, "files" for
    // several), or the data (always named "no-name"; `fileName` is not sent). When a file cannot
    // be opened, nothing is sent.
    PendingReply upload(const QString &path);
    PendingReply upload(const QStringList &paths);
    PendingReply upload(const QByteArray &data, const QString &fileName);

    // Gets the URL into the file. The target is replaced when everything has arrived and is left
    // alone otherwise; success receives its path. A status other than 2xx is a failure.
    PendingReply download(const QString &path);
    // Gets the URL into memory, up to the limit; the handler runs in the place of success. A status
    // other than 2xx is a failure.
    PendingReply download(const BytesHandler &arrived);

    // Sends the request once more as it stands, with the same method and callbacks: every
    // callback runs again. An Authorization header is renewed from the stored tokens of the
    // settings' current user. Who repeats must count; nothing is repeated by itself.
    PendingReply repeat();

private:
    std::shared_ptr<HttpClientPrivate> m_d;
};
