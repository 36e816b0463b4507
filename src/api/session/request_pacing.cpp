#include "api/session/request_pacing.h"

#include <algorithm>
#include <utility>

#include <QCoreApplication>
#include <QTimer>

using namespace std::chrono_literals;

namespace {

constexpr auto Pace = 250ms;
// The platform counts by the second; requests are not all as long on their way.
constexpr auto Counted = 1100ms;
constexpr auto LongestDelay = 60s;

} // namespace

void RequestPacing::whenAllowed(const QString &userId, const Request &request)
{
    Lane &lane = m_lanes[userId];
    if (!lane.isHeld) {
        send(lane, request);
        return;
    }
    const auto later =
        std::find_if(lane.waiting.begin(), lane.waiting.end(),
                     [&request](const Request &other) { return other.turn > request.turn; });
    lane.waiting.insert(later, request);
}

bool RequestPacing::send(Lane &lane, const Request &request)
{
    if (!request.send()) {
        return false;
    }
    Operation &operation = lane.operations[request.operation];
    const Clock::time_point now = Clock::now();
    while (!operation.sent.empty() && operation.sent.front() + Counted < now) {
        operation.sent.pop_front();
    }
    operation.sent.push_back(now);
    operation.opens = now + operation.interval;
    return true;
}

void RequestPacing::hold(const QString &userId, const QString &operation,
                         std::chrono::milliseconds delay)
{
    Lane &lane = m_lanes[userId];
    const Clock::time_point now = Clock::now();
    const auto wait = delay > 0ms ? std::min<std::chrono::milliseconds>(delay, LongestDelay) : 1s;
    lane.opens = std::max(lane.opens, now + wait);
    Operation &refused = lane.operations[operation];
    if (!refused.sent.empty()) {
        refused.sent.pop_back();
    }
    const auto taken =
        std::count_if(refused.sent.cbegin(), refused.sent.cend(),
                      [now](Clock::time_point sent) { return sent + Counted >= now; });
    if (taken > 0) {
        refused.interval = std::max<Clock::duration>(refused.interval, Counted / taken);
        refused.opens = refused.sent.back() + refused.interval;
    }
    if (!std::exchange(lane.isHeld, true)) {
        release(userId);
    }
}

void RequestPacing::releaseIn(const QString &userId, Clock::duration time)
{
    const auto whole = std::chrono::ceil<std::chrono::milliseconds>(time);
    QTimer::singleShot(whole, QCoreApplication::instance(), [this, userId] { release(userId); });
}

// The first of those whose operation is open.
bool RequestPacing::sendNext(Lane &lane)
{
    const auto isOpen = [&lane](const Request &request) {
        return lane.operations[request.operation].opens <= Clock::now();
    };
    for (;;) {
        const auto next = std::find_if(lane.waiting.begin(), lane.waiting.end(), isOpen);
        if (next == lane.waiting.end()) {
            return false;
        }
        const Request request = std::move(*next);
        lane.waiting.erase(next);
        if (send(lane, request)) {
            return true;
        }
    }
}

void RequestPacing::release(const QString &userId)
{
    const auto found = m_lanes.find(userId);
    Lane &lane = found->second;
    const Clock::time_point now = Clock::now();
    if (lane.opens > now) {
        releaseIn(userId, lane.opens - now);
        return;
    }
    const bool wasSent = sendNext(lane);
    const bool isBound =
        std::any_of(lane.operations.cbegin(), lane.operations.cend(),
                    [now](const auto &operation) { return operation.second.opens > now; });
    if (wasSent || isBound || !lane.waiting.empty()) {
        releaseIn(userId, Pace);
    } else {
        m_lanes.erase(found);
    }
}
