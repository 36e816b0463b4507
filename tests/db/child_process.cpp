#include "child_process.h"

#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

ChildProcess::ChildProcess(const std::function<bool()> &work) : m_pid(fork())
{
    if (m_pid == 0)
        _exit(work() ? 0 : 1);
}

ChildProcess::~ChildProcess()
{
    kill();
}

void ChildProcess::kill()
{
    if (m_pid <= 0)
        return;
    ::kill(m_pid, SIGKILL);
    succeeded();
}

bool ChildProcess::succeeded()
{
    if (m_pid > 0)
        waitpid(m_pid, &m_status, 0);
    m_pid = -1;
    return WIFEXITED(m_status) && WEXITSTATUS(m_status) == 0;
}
