#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include <QtGlobal>

// A request that was fired and whose reply nobody has got yet. Owned by what waits for the reply;
// who asked holds a PendingReply.
class Exchange
{
    Q_DISABLE_COPY_MOVE(Exchange)

public:
    struct Wait
    {
        std::chrono::milliseconds silent; // since it was sent or its last byte came
        std::chrono::milliseconds whole;  // since it was sent
    };

    virtual ~Exchange() = default;

    [[nodiscard]] virtual bool isPending() const = 0;
    // Nothing while it is not sent, for instance until the user's token is renewed.
    [[nodiscard]] virtual std::optional<Wait> waited() const = 0;
    // Closes the connection; the fail callback runs with QNetworkReply::TimeoutError.
    virtual void giveUp() = 0;
    // Closes the connection; no callback runs.
    virtual void abandon() = 0;

protected:
    Exchange() = default;
};

// A handle on a fired request, by which who asked may end it before its reply has come. A value;
// it does not keep the request alive, and once that is over all of this does nothing.
class PendingReply final
{
public:
    PendingReply() = default;
    explicit PendingReply(std::weak_ptr<Exchange> exchange) : m_exchange(std::move(exchange)) {}

    [[nodiscard]] bool isPending() const
    {
        const auto exchange = m_exchange.lock();
        return exchange && exchange->isPending();
    }
    [[nodiscard]] std::optional<Exchange::Wait> waited() const
    {
        const auto exchange = m_exchange.lock();
        return exchange ? exchange->waited() : std::nullopt;
    }
    void giveUp() const
    {
        if (const auto exchange = m_exchange.lock()) {
            exchange->giveUp();
        }
    }
    void abandon() const
    {
        if (const auto exchange = m_exchange.lock()) {
            exchange->abandon();
        }
    }

private:
    std::weak_ptr<Exchange> m_exchange;
};
