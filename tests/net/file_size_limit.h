#pragma once

#include <csignal>

#include <sys/resource.h>

#include <QtGlobal>

// Files cannot grow beyond the limit while it lives, as on a disk that is full.
class FileSizeLimit final
{
    Q_DISABLE_COPY_MOVE(FileSizeLimit)

public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        // Without a handler the write fails, with the default one the process ends.
        m_previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_previous);
        const rlimit limit{bytes, m_previous.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, m_previousHandler);
    }

private:
    rlimit m_previous{};
    void (*m_previousHandler)(int) = nullptr;
};
