#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <map>

#include <QDeadlineTimer>
#include <QString>

// Keeps to the platform's rates, which count for each user: nothing is slowed down until the server
// has refused a request as too fast. Then the user's requests wait for the time that it named, and
// follow one after the other in the order in which they were asked for, four a second, until none
// is left.
class RequestPacing final
{
    Q_DISABLE_COPY_MOVE(RequestPacing)

public:
    // Sends a request; false when nobody wants it any more.
    using Send = std::function<bool()>;

    RequestPacing() = default;
    ~RequestPacing() = default;

    // Calls `send` when it is its turn: at once, unless the user is held back.
    void whenAllowed(const QString &userId, const Send &send);
    // Without a delay a second, and never more than a minute.
    void hold(const QString &userId, std::chrono::milliseconds delay);

private:
    struct Lane
    {
        QDeadlineTimer opens;
        std::deque<Send> waiting;
    };

    void releaseIn(const QString &userId, std::chrono::milliseconds time);
    void release(const QString &userId);

    std::map<QString, Lane> m_lanes; // of the users who are held back
};
