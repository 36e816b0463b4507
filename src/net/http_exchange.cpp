#include "net/http_exchange.h"

#include <utility>

void HttpExchange::watch(QNetworkReply *reply, qint64 limit)
{
    m_reply = reply;
    m_sinceSent.start();
    m_sinceLastByte.start();
    const auto moves = [this] { m_sinceLastByte.start(); };
    QObject::connect(reply, &QNetworkReply::uploadProgress, reply, moves);
    QObject::connect(reply, &QNetworkReply::metaDataChanged, reply, moves);
    QObject::connect(reply, &QNetworkReply::readyRead, reply, [this, limit] { onBytes(limit); });
}

bool HttpExchange::finish()
{
    return std::exchange(m_pending, false);
}

std::optional<Exchange::Wait> HttpExchange::waited() const
{
    if (!m_pending || !m_reply) {
        return std::nullopt;
    }
    return Wait{std::chrono::milliseconds(m_sinceLastByte.elapsed()),
                std::chrono::milliseconds(m_sinceSent.elapsed())};
}

void HttpExchange::giveUp()
{
    cutOff(
        {false, QStringLiteral("The server did not answer in time"), QNetworkReply::TimeoutError});
}

void HttpExchange::abandon()
{
    m_pending = false;
    if (QNetworkReply *reply = m_reply.data()) {
        reply->abort();
    }
}

void HttpExchange::onBytes(qint64 limit)
{
    m_sinceLastByte.start();
    const QNetworkReply *reply = m_reply.data();
    if (limit > 0 && reply != nullptr && reply->bytesAvailable() > limit) {
        cutOff({false, QStringLiteral("The reply is longer than %1 bytes").arg(limit),
                HttpClient::LocalFailure});
    }
}

// The verdict stands before the reply is aborted, which signals its end at once.
void HttpExchange::cutOff(const HttpOutcome &verdict)
{
    QNetworkReply *reply = m_reply.data();
    if (m_pending && reply != nullptr) {
        m_verdict = verdict;
        reply->abort();
    }
}
