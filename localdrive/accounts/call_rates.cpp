#include "localdrive/accounts/call_rates.h"

namespace localdrive {

Milliseconds CallRates::count(int account, CallKind kind, int perSecond)
{
    constexpr std::int64_t Second = 1000;
    const std::lock_guard lock(m_mutex);
    std::deque<std::int64_t> &times = m_times[{account, kind}];
    const std::int64_t now = m_clock.now();
    while (!times.empty() && times.front() + Second <= now) {
        times.pop_front();
    }
    if (times.size() >= static_cast<std::size_t>(perSecond)) {
        return Milliseconds(times.front() + Second - now);
    }
    times.push_back(now);
    return Milliseconds(0);
}

} // namespace localdrive
