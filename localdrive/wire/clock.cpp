#include "localdrive/wire/clock.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace localdrive {

std::string isoTime(std::int64_t milliseconds)
{
    const std::time_t seconds = milliseconds / 1000;
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    std::array<char, 32> day{};
    std::strftime(day.data(), day.size(), "%Y-%m-%dT%H:%M:%S", &utc);
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%s.%03dZ", day.data(),
                  static_cast<int>(milliseconds % 1000));
    return text.data();
}

} // namespace localdrive
