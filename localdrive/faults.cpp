#include "faults.h"

namespace localdrive {

void Faults::add(const Fault &fault)
{
    Waiting waiting{fault, std::regex(fault.path)};
    const std::lock_guard lock(m_mutex);
    m_waiting.push_back(std::move(waiting));
}

void Faults::clear()
{
    const std::lock_guard lock(m_mutex);
    m_waiting.clear();
}

std::optional<Fault> Faults::take(const std::string &method, const std::string &path)
{
    const std::lock_guard lock(m_mutex);
    for (Waiting &waiting : m_waiting) {
        Fault &fault = waiting.fault;
        const bool isMeant = fault.count != 0 && (fault.method.empty() || fault.method == method) &&
                             std::regex_search(path, waiting.path);
        if (!isMeant)
            continue;
        if (fault.skip > 0) {
            --fault.skip;
            continue;
        }
        if (fault.count > 0)
            --fault.count;
        return fault;
    }
    return std::nullopt;
}

} // namespace localdrive
