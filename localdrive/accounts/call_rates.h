#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <utility>

#include "localdrive/wire/clock.h"

namespace localdrive {

// Calls that are counted together.
enum class CallKind { List, DownloadAddress, Other };

// How often each account called within the last second. Thread-safe.
class CallRates final
{
public:
    explicit CallRates(const Clock &clock) : m_clock(clock) {}

    // Counts a call. When there were as many as are allowed, it is not counted, and the result is
    // the time after which there is room for it; 0 otherwise.
    Milliseconds count(int account, CallKind kind, int perSecond);

private:
    const Clock &m_clock;
    std::mutex m_mutex;
    std::map<std::pair<int, CallKind>, std::deque<std::int64_t>> m_times;
};

} // namespace localdrive
