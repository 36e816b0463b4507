#pragma once

#include <atomic>
#include <csignal>
#include <functional>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QtGlobal>

// A forked copy of the test that runs `work` and ends, without the tests' clean-up, with 0 when
// that returned true. Fork while no database is open: SQLite's handles do not survive it.
class ChildProcess final
{
    Q_DISABLE_COPY_MOVE(ChildProcess)

public:
    explicit ChildProcess(const std::function<bool()> &work) : m_pid(fork())
    {
        if (m_pid == 0) {
            _exit(work() ? 0 : 1);
        }
    }
    ~ChildProcess()
    {
        ::kill(m_pid, SIGKILL);
        succeeded();
    }

    // Waits for the end; true when `work` did not fail and nothing ended the process early.
    bool succeeded()
    {
        waitpid(m_pid, &m_status, 0);
        return WIFEXITED(m_status) && WEXITSTATUS(m_status) == 0;
    }

private:
    pid_t m_pid;
    int m_status = -1;
};

// A number, -1 at first, that this process shares with those that it forks and that outlives them.
inline std::atomic<int> &sharedNumber()
{
    void *const page = mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return *new (page) std::atomic<int>(-1);
}
