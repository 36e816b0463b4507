#include "backend/reports/rotating_log.h"

#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace backend {
namespace {

constexpr mode_t OwnersOnly = S_IRUSR | S_IWUSR;

} // namespace

RotatingLog::RotatingLog(std::string path, std::int64_t largestSize, int fileCount)
    : m_path(std::move(path)), m_largestSize(largestSize), m_fileCount(fileCount)
{
    std::error_code ignored; // Opening the file tells.
    fs::create_directories(fs::path(m_path).parent_path(), ignored);
}

bool RotatingLog::append(const std::string &line)
{
    if (m_path.empty()) {
        return true;
    }
    const std::string bytes = line + '\n';
    const auto size = static_cast<std::int64_t>(bytes.size());
    const std::lock_guard lock(m_mutex);
    if (!m_file && !open()) {
        return false;
    }
    if (m_size > 0 && m_size + size > m_largestSize) {
        const bool isRotated = rotate();
        if (!open() || !isRotated) {
            return false;
        }
    }
    if (::write(m_file.get(), bytes.data(), bytes.size()) != size) {
        // A full disk takes a part at most.
        if (::ftruncate(m_file.get(), m_size) != 0) {
            m_file = UniqueFd();
        }
        return false;
    }
    m_size += size;
    return true;
}

bool RotatingLog::open()
{
    m_file = UniqueFd(
        ::open(m_path.c_str(),
               O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK,
               OwnersOnly));
    struct stat facts
    {
    };
    // It may have been there before, with other rights.
    if (!m_file || ::fstat(m_file.get(), &facts) != 0 || !S_ISREG(facts.st_mode) ||
        ::fchmod(m_file.get(), facts.st_mode & OwnersOnly) != 0) {
        m_file = UniqueFd();
        return false;
    }
    m_size = facts.st_size;
    return true;
}

// Stops at what cannot be renamed, so that nothing is written over.
bool RotatingLog::rotate()
{
    m_file = UniqueFd();
    std::error_code error;
    for (int number = m_fileCount - 1; number > 0; --number) {
        const std::string older = m_path + '.' + std::to_string(number);
        const std::string newer = number == 1 ? m_path : m_path + '.' + std::to_string(number - 1);
        fs::rename(newer, older, error);
        if (error && error != std::errc::no_such_file_or_directory) {
            return false;
        }
    }
    return m_fileCount > 1 || fs::remove(m_path, error);
}

} // namespace backend
