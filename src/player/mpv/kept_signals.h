#pragma once

#include <memory>

#include <QtGlobal>

// Puts back at its end how the process took the signals that ask it to end. libmpv lets go of the
// terminal with their default handling: from then on a signal would kill the program where it used
// to close it.
class KeptSignals final
{
    Q_DISABLE_COPY_MOVE(KeptSignals)

public:
    KeptSignals();
    ~KeptSignals();

private:
    struct Actions;
    const std::unique_ptr<Actions> m_actions;
};
