#pragma once

#include <QElapsedTimer>
#include <QNetworkReply>
#include <QPointer>

#include "net/http_client.h"
#include "net/pending_reply.h"

// How an exchange ended: the response's text, or the error's and its code.
struct HttpOutcome
{
    bool succeeded;
    QString text;
    int code;
    std::optional<HttpRefusal> refusal = std::nullopt;
};

// One sending of an HttpClient's request; what waits for the reply's end keeps it alive.
class HttpExchange final : public Exchange
{
public:
    HttpExchange() = default;

    // Counts the reply's bytes; one with more than `limit` of them fails. No limit: 0.
    void watch(QNetworkReply *reply, qint64 limit);

    // The reply has come. False when nobody wants it any more.
    [[nodiscard]] bool finish();
    // Why the reply was cut off on this side.
    [[nodiscard]] const std::optional<HttpOutcome> &verdict() const { return m_verdict; }

    [[nodiscard]] bool isPending() const override { return m_pending; }
    [[nodiscard]] std::optional<Wait> waited() const override;
    void giveUp() override;
    void abandon() override;

private:
    void onBytes(qint64 limit);
    void cutOff(const HttpOutcome &verdict);

    QPointer<QNetworkReply> m_reply;
    QElapsedTimer m_sinceSent;
    QElapsedTimer m_sinceLastByte;
    std::optional<HttpOutcome> m_verdict;
    bool m_pending = true;
};
