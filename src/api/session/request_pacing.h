#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <map>

#include <QString>

#include "api/session/request_turn.h"

// Keeps to the platform's rates, which count for each user: nothing is slowed down until the server
// has refused a request as too fast. Then the user's requests wait for the time that it named, and
// follow one after the other, four a second, until none is left: by their turn, and in the order in
// which they were asked for. Meanwhile the operation that was refused is asked for no oftener than
// the server took it in the second before.
class RequestPacing final
{
    Q_DISABLE_COPY_MOVE(RequestPacing)

public:
    struct Request
    {
        QString operation; // what the server counts together, as its path
        RequestTurn turn = RequestTurn::Now;
        std::function<bool()> send; // false when nobody wants it any more
    };

    RequestPacing() = default;
    ~RequestPacing() = default;

    // Sends the request when it is its turn: at once, unless the user is held back.
    void whenAllowed(const QString &userId, const Request &request);
    // The operation was refused. Without a delay a second, and never more than a minute.
    void hold(const QString &userId, const QString &operation, std::chrono::milliseconds delay);

private:
    using Clock = std::chrono::steady_clock;

    struct Operation
    {
        std::deque<Clock::time_point> sent{}; // and not refused, in the last second
        Clock::duration interval{};
        Clock::time_point opens{};
    };

    struct Lane
    {
        bool isHeld = false;
        Clock::time_point opens{};
        std::map<QString, Operation> operations{};
        std::deque<Request> waiting{};
    };

    static bool send(Lane &lane, const Request &request);
    static bool sendNext(Lane &lane);
    void releaseIn(const QString &userId, Clock::duration time);
    void release(const QString &userId);

    std::map<QString, Lane> m_lanes; // by user
};
