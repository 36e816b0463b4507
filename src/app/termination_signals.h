#pragma once

#include <memory>

#include <QObject>

class QSocketNotifier;

// Lets a signal that asks the process to end (the end of the desktop's session, Ctrl+C) end the
// event loops instead, so that what plays and how the windows stand is saved. A second one ends
// the process at once. Does nothing where there are no such signals. At most one object.
class TerminationSignals final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TerminationSignals)

public:
    TerminationSignals();
    ~TerminationSignals() override;

    [[nodiscard]] bool haveArrived() const { return m_haveArrived; }

private:
    std::unique_ptr<QSocketNotifier> m_notifier;
    bool m_haveArrived = false;
};
