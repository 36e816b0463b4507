#pragma once

#include <mutex>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "server.h"

namespace localdrive {

/// The faults that are waiting for their requests. Thread-safe.
class Faults final
{
public:
    void add(const Fault &fault); ///< Throws std::regex_error for a wrong expression.
    void clear();
    /// The first fault due for this request; it is counted off.
    std::optional<Fault> take(const std::string &method, const std::string &path);

private:
    struct Waiting
    {
        Fault fault;
        std::regex path;
    };

    std::mutex m_mutex;
    std::vector<Waiting> m_waiting;
};

} // namespace localdrive
