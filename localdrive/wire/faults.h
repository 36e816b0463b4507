#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "localdrive/wire/fault.h"

namespace localdrive {

// The faults that are waiting for their requests. Thread-safe.
class Faults final
{
public:
    // Throws std::invalid_argument for what is no glob.
    void add(const Fault &fault);
    // What a fault delays goes on at once.
    void clear();
    // Changes with each clear().
    [[nodiscard]] int clearCount() const { return m_clearCount; }
    // The first fault due for this request; it is counted off.
    std::optional<Fault> take(const std::string &method, const std::string &path);

private:
    std::mutex m_mutex;
    std::vector<Fault> m_waiting;
    std::atomic<int> m_clearCount{0};
};

} // namespace localdrive
