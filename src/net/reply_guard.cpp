#include "net/reply_guard.h"

#include <algorithm>

#include <QCoreApplication>
#include <QTimer>

namespace {

ReplyGuard::Patience &currentPatience()
{
    static ReplyGuard::Patience value;
    return value;
}

void watch(const PendingReply &reply);

void lookAgainIn(std::chrono::milliseconds time, const PendingReply &reply)
{
    QTimer::singleShot(time, QCoreApplication::instance(), [reply] { watch(reply); });
}

void watch(const PendingReply &reply)
{
    if (!reply.isPending()) {
        return;
    }
    const Exchange::Wait waited = reply.waited().value_or(Exchange::Wait{});
    const ReplyGuard::Patience &most = ReplyGuard::patience();
    const auto left = std::min(most.silent - waited.silent, most.whole - waited.whole);
    if (left.count() <= 0) {
        reply.giveUp();
    } else {
        lookAgainIn(left, reply);
    }
}

} // namespace

void ReplyGuard::limitWait(const PendingReply &reply)
{
    const auto answered = [](const PendingReply &awaited) { return !awaited.isPending(); };
    m_awaited.erase(std::remove_if(m_awaited.begin(), m_awaited.end(), answered), m_awaited.end());
    m_awaited.push_back(reply);
    watch(reply);
}

bool ReplyGuard::isHeldBack() const
{
    return std::any_of(m_awaited.cbegin(), m_awaited.cend(), [](const PendingReply &awaited) {
        return awaited.isPending() && !awaited.waited();
    });
}

void ReplyGuard::abandon()
{
    const std::vector<PendingReply> awaited = std::exchange(m_awaited, {});
    for (const PendingReply &reply : awaited) {
        reply.abandon();
    }
}

const ReplyGuard::Patience &ReplyGuard::patience()
{
    return currentPatience();
}

void ReplyGuard::setPatience(const Patience &patience)
{
    currentPatience() = patience;
}
