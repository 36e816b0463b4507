#include "api/session/request_pacing.h"

#include <algorithm>

#include <QCoreApplication>
#include <QTimer>

using namespace std::chrono_literals;

void RequestPacing::whenAllowed(const QString &userId, const Send &send)
{
    const auto lane = m_lanes.find(userId);
    if (lane == m_lanes.end()) {
        send();
    } else {
        lane->second.waiting.push_back(send);
    }
}

void RequestPacing::hold(const QString &userId, std::chrono::milliseconds delay)
{
    const auto [lane, isNew] = m_lanes.try_emplace(userId);
    const QDeadlineTimer opens(delay > 0ms ? std::min<std::chrono::milliseconds>(delay, 60s) : 1s);
    lane->second.opens = std::max(lane->second.opens, opens);
    if (isNew) {
        release(userId);
    }
}

void RequestPacing::releaseIn(const QString &userId, std::chrono::milliseconds time)
{
    QTimer::singleShot(time, QCoreApplication::instance(), [this, userId] { release(userId); });
}

void RequestPacing::release(const QString &userId)
{
    const auto found = m_lanes.find(userId);
    Lane &lane = found->second;
    if (!lane.opens.hasExpired()) {
        releaseIn(userId, std::chrono::milliseconds(lane.opens.remainingTime() + 1));
        return;
    }
    bool sent = false;
    while (!sent && !lane.waiting.empty()) {
        const Send next = lane.waiting.front();
        lane.waiting.pop_front();
        sent = next();
    }
    if (sent) {
        releaseIn(userId, 250ms);
    } else {
        m_lanes.erase(found);
    }
}
