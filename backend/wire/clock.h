#pragma once

#include <algorithm>
#include <chrono>
#include <limits>

namespace backend {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

// What is left until a moment, as poll() takes it: rounded up, and 0 once the moment has passed.
inline int millisecondsUntil(Clock::time_point moment, Clock::time_point now = Clock::now())
{
    const auto left = std::chrono::ceil<Milliseconds>(moment - now).count();
    using Limits = std::numeric_limits<int>;
    return static_cast<int>(std::clamp<Milliseconds::rep>(left, 0, Limits::max()));
}

} // namespace backend
