#include "app/termination_signals.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#ifdef Q_OS_UNIX

#include <csignal>

#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int HandledSignals[] = {SIGTERM, SIGINT, SIGHUP};

// The handler writes to the first, the event loop reads from the second.
int sockets[2] = {-1, -1};

void setHandler(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART | SA_RESETHAND;
    sigemptyset(&action.sa_mask);
    for (const int signal : HandledSignals) {
        struct sigaction present = {};
        sigaction(signal, nullptr, &present);
        // A signal that the process was started to ignore (nohup) stays ignored.
        if (present.sa_handler != SIG_IGN) {
            sigaction(signal, &action, nullptr);
        }
    }
}

// Nothing but a write is safe here.
void wakeEventLoop(int /*signal*/)
{
    const char byte = 1;
    const ssize_t written = write(sockets[0], &byte, sizeof byte);
    static_cast<void>(written);
}

} // namespace

TerminationSignals::TerminationSignals()
{
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) {
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(sockets[1], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        m_notifier->setEnabled(false);
        m_haveArrived = true;
        QCoreApplication::quit();
    });
    setHandler(wakeEventLoop);
}

TerminationSignals::~TerminationSignals()
{
    if (!m_notifier) {
        return;
    }
    setHandler(SIG_DFL);
    m_notifier.reset();
    for (const int socket : sockets) {
        close(socket);
    }
}

#else

TerminationSignals::TerminationSignals() = default;
TerminationSignals::~TerminationSignals() = default;

#endif
