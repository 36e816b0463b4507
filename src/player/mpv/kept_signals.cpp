#include "player/mpv/kept_signals.h"

#ifdef Q_OS_UNIX

#include <array>
#include <csignal>

namespace {

constexpr std::array Signals{SIGINT, SIGQUIT, SIGTERM};

} // namespace

struct KeptSignals::Actions
{
    std::array<struct sigaction, Signals.size()> before{};
};

KeptSignals::KeptSignals() : m_actions(std::make_unique<Actions>())
{
    for (std::size_t index = 0; index < Signals.size(); ++index) {
        sigaction(Signals.at(index), nullptr, &m_actions->before.at(index));
    }
}

KeptSignals::~KeptSignals()
{
    for (std::size_t index = 0; index < Signals.size(); ++index) {
        sigaction(Signals.at(index), &m_actions->before.at(index), nullptr);
    }
}

#else

struct KeptSignals::Actions
{
};

KeptSignals::KeptSignals() = default;
KeptSignals::~KeptSignals() = default;

#endif
