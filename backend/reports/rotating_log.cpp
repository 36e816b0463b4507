#include "backend/reports/rotating_log.h"

#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
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
    const std::lock_guard guard(m_mutex);
    if (!lock()) {
        return false;
    }
    const bool isWritten = write(line + '\n');
    if (m_file) {
        ::flock(m_file.get(), LOCK_UN);
    }
    return isWritten;
}

bool RotatingLog::lock()
{
    constexpr int MostRotations = 16; // by others, while this one waits
    for (int tries = 0; tries < MostRotations && (m_file || open()); ++tries) {
        struct stat mine
        {
        };
        struct stat named
        {
        };
        if (::flock(m_file.get(), LOCK_EX) == 0 && ::fstat(m_file.get(), &mine) == 0 &&
            ::stat(m_path.c_str(), &named) == 0 && mine.st_dev == named.st_dev &&
            mine.st_ino == named.st_ino) {
            m_size = mine.st_size;
            return true;
        }
        m_file = UniqueFd(); // another process has rotated it
    }
    return false;
}

bool RotatingLog::write(const std::string &bytes)
{
    const auto size = static_cast<std::int64_t>(bytes.size());
    if (m_size > 0 && m_size + size > m_largestSize && !(rotate() && lock())) {
        return false;
    }
    if (::write(m_file.get(), bytes.data(), bytes.size()) != size) {
        // A full disk takes a part at most.
        if (::ftruncate(m_file.get(), m_size) != 0) {
            m_file = UniqueFd();
        }
        return false;
    }
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
    return true;
}

// Stops at what cannot be renamed, so that nothing is written over.
bool RotatingLog::rotate()
{
    const UniqueFd locked = std::move(m_file);
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
