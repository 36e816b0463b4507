#include "player/session/once_a_second.h"

namespace {

constexpr int Interval = 999; // milliseconds; what comes later goes through

} // namespace

OnceASecond::OnceASecond()
{
    m_late.setSingleShot(true);
    connect(&m_late, &QTimer::timeout, this, &OnceASecond::emitDue);
}

void OnceASecond::call()
{
    if (!m_sinceDue.isValid() || m_sinceDue.elapsed() > Interval) {
        emitDue();
    } else if (!m_late.isActive()) {
        m_late.start(static_cast<int>(Interval + 1 - m_sinceDue.elapsed()));
    }
}

void OnceASecond::restart()
{
    m_late.stop();
    m_sinceDue.invalidate();
}

void OnceASecond::emitDue()
{
    m_late.stop();
    m_sinceDue.start();
    emit due();
}
