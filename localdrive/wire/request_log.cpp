#include "localdrive/wire/request_log.h"

#include <utility>

namespace localdrive {

namespace {

constexpr std::size_t MostRecords = 100000;
constexpr std::size_t MostBytes = std::size_t{32} << 20;

std::size_t bytesOf(const RequestRecord &record)
{
    std::size_t bytes =
        sizeof(RequestRecord) + record.method.size() + record.path.size() + record.body.size();
    for (const auto *texts : {&record.query, &record.headers}) {
        for (const auto &[name, value] : *texts) {
            bytes += 2 * sizeof(std::string) + name.size() + value.size();
        }
    }
    return bytes;
}

} // namespace

std::int64_t RequestLog::add(RequestRecord record)
{
    const std::lock_guard lock(m_mutex);
    record.number = ++m_last;
    m_bytes += bytesOf(record);
    m_records.push_back(std::move(record));
    while (m_records.size() > MostRecords || m_bytes > MostBytes) {
        m_bytes -= bytesOf(m_records.front());
        m_records.pop_front();
    }
    return m_last;
}

RequestRecord *RequestLog::find(std::int64_t number)
{
    if (m_records.empty() || number < m_records.front().number) {
        return nullptr;
    }
    const auto index = static_cast<std::size_t>(number - m_records.front().number);
    return index < m_records.size() ? &m_records[index] : nullptr;
}

void RequestLog::setAccount(std::int64_t number, int account)
{
    const std::lock_guard lock(m_mutex);
    if (RequestRecord *record = find(number)) {
        record->account = account;
    }
}

void RequestLog::setStatus(std::int64_t number, int status)
{
    const std::lock_guard lock(m_mutex);
    if (RequestRecord *record = find(number)) {
        record->status = status;
    }
}

void RequestLog::clear()
{
    const std::lock_guard lock(m_mutex);
    m_records.clear();
    m_bytes = 0;
}

std::vector<RequestRecord> RequestLog::records() const
{
    const std::lock_guard lock(m_mutex);
    return {m_records.begin(), m_records.end()};
}

} // namespace localdrive
