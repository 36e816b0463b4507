#pragma once

#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <sys/types.h>

namespace localdrive {

// Runs programs (found in PATH, no shell) at low priority and waits for them. Thread-safe.
class Processes final
{
public:
    struct Result
    {
        int exitCode = -1; // Negative: not started, or ended by a signal.
        std::string output;
    };

    // input becomes the program's standard input (negative: none); its standard output is
    // collected, its errors are dropped unless MORAVU_LOCALDRIVE_VERBOSE is set.
    Result run(const std::vector<std::string> &command, int input = -1);
    // Ends what runs; later runs fail at once.
    void stop();

private:
    pid_t spawn(const std::vector<std::string> &command, int input, int output);

    std::mutex m_mutex;
    std::set<pid_t> m_running;
    bool m_stopped = false;
};

} // namespace localdrive
