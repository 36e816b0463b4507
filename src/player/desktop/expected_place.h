#pragma once

#include <QElapsedTimer>

// Where others believe that a video is, who were told once and count on by themselves. Seconds.
class ExpectedPlace final
{
public:
    // It is there now, and goes on by so many seconds a second: 0 while it stands.
    void tell(double place, double rate);
    // Whether they are wrong by more than the tolerance.
    [[nodiscard]] bool isOff(double place, double tolerance) const;

private:
    double m_place = 0;
    double m_rate = 0;
    QElapsedTimer m_since;
};
