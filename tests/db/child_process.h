#pragma once

#include <functional>

#include <sys/types.h>

/// A forked copy of the test that runs `work` and ends, without the tests' clean-up, with 0 when
/// that returned true. Fork while no database is open: SQLite's handles do not survive it.
class ChildProcess final
{
public:
    explicit ChildProcess(const std::function<bool()> &work);
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess(ChildProcess &&) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;
    ChildProcess &operator=(ChildProcess &&) = delete;
    ~ChildProcess();

    void kill();

    /// Waits for the end; true when `work` did not fail and nothing ended the process early.
    bool succeeded();

private:
    pid_t m_pid = -1;
    int m_status = -1;
};
