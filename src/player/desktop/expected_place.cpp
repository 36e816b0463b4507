#include "player/desktop/expected_place.h"

#include <cmath>

void ExpectedPlace::tell(double place, double rate)
{
    m_place = place;
    m_rate = rate;
    m_since.start();
}

bool ExpectedPlace::isOff(double place, double tolerance) const
{
    constexpr double NanosecondsInSecond = 1e9;
    const double gone =
        m_since.isValid() ? double(m_since.nsecsElapsed()) / NanosecondsInSecond : 0;
    return std::abs(m_place + gone * m_rate - place) > tolerance;
}
