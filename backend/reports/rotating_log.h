#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "backend/wire/unique_fd.h"

namespace backend {

// A file of lines that only its owner can read. When it has grown to its limit it becomes NAME.1,
// that one NAME.2 and so on, and the oldest goes; where that cannot be done, it takes no more.
// Several processes may write to it, from any thread.
class RotatingLog final
{
public:
    // An empty path: nothing is kept. The folder is made.
    RotatingLog(std::string path, std::int64_t largestSize, int fileCount);

    // False when the line could not be kept; the file then holds none of it.
    bool append(const std::string &line);

private:
    bool open();
    // Keeps other processes out until the file is unlocked or closed.
    bool lock();
    bool write(const std::string &bytes);
    bool rotate();

    const std::string m_path;
    const std::int64_t m_largestSize;
    const int m_fileCount;
    std::mutex m_mutex;
    UniqueFd m_file;
    std::int64_t m_size = 0;
};

} // namespace backend
