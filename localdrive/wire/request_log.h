#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

#include "localdrive/wire/request_record.h"

namespace localdrive {

// The latest requests, oldest first; bounded in number and in memory. Thread-safe.
class RequestLog final
{
public:
    std::int64_t add(RequestRecord record); // Returns the number it gave.
    void setAccount(std::int64_t number, int account);
    void setStatus(std::int64_t number, int status);
    void clear();
    [[nodiscard]] std::vector<RequestRecord> records() const;

private:
    RequestRecord *find(std::int64_t number);

    mutable std::mutex m_mutex;
    std::deque<RequestRecord> m_records;
    std::size_t m_bytes = 0; // What their texts take.
    std::int64_t m_last = 0;
};

} // namespace localdrive
