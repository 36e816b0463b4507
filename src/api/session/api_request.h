#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <QString>

#include "api/session/api_failure.h"
#include "api/session/open_api_client.h"
#include "api/session/request_turn.h"
#include "net/http_client.h"

// What is asked of the Open API, and who is told. Without a user the given token is sent as it is;
// with one, the token stored with that user.
struct ApiCall
{
    QString userId;
    QString accessToken;
    QString path;
    // The JSON body to post; a call without one is a GET.
    std::optional<QString> body;
    CallKind kind; // what changes the drive is sent once
    RequestTurn turn;
    qint64 limit; // of the reply, in bytes
    std::function<void(const QString &reply)> success;
    ApiFailure fail;
    ApiRefusalHandler refused;
};

// One call on its way: renews the user's tokens if they have run out, waits for its turn where the
// server is asked too fast, sends, and repeats once with newer tokens what was rejected for them:
// those that another process has stored meanwhile, or renewed ones.
// One of `success` and `fail` runs, once and later. Lives as long as something of this is pending.
class ApiRequest final
    : public Exchange
    , public std::enable_shared_from_this<ApiRequest>
{
public:
    static PendingReply send(const ApiCall &call);

    explicit ApiRequest(ApiCall call) : m_call(std::move(call)) {}

    [[nodiscard]] bool isPending() const override { return m_pending; }
    [[nodiscard]] std::optional<Wait> waited() const override { return m_sent.waited(); }
    void giveUp() override;
    void abandon() override;

private:
    // A first exchange that was rejected, with what is told if there is no second one.
    struct Rejection
    {
        HttpClient http;
        QString token;
        QString error;
        int code;
    };

    void start();
    void sendWithStoredToken(const std::optional<HttpClient> &rejected = std::nullopt);
    void sendWithToken(const QString &token);
    void renewAndRepeat(const Rejection &rejection);
    void repeatOrFail(const Rejection &rejection, bool renewed);

    void onReply(const QString &reply);
    void onRefused(const HttpRefusal &refusal);
    void onFailed(const Rejection &rejection);
    void failLater(const QString &error, int code);
    void fail(const QString &error, int code);

    const ApiCall m_call;
    PendingReply m_sent;
    std::optional<ApiRefusal> m_refusal;
    bool m_mayRenew = false;
    bool m_mayRepeat = true;
    bool m_pending = true;
};
