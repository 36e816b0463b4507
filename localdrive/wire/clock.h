#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>

namespace localdrive {

using Milliseconds = std::chrono::milliseconds;

// The machine's clock, which tests may put forward. Milliseconds since the epoch.
class Clock final
{
public:
    [[nodiscard]] std::int64_t now() const { return machineTime() + m_offset; }
    void advance(Milliseconds by) { m_offset += by.count(); }

    static std::int64_t machineTime()
    {
        using namespace std::chrono;
        return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    }

private:
    std::atomic<std::int64_t> m_offset{0};
};

// UTC as the Open API writes it: "2026-11-22T19:52:11.123Z".
std::string isoTime(std::int64_t milliseconds);

} // namespace localdrive
