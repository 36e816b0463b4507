#pragma once

#include <functional>

class QDBusConnection;
class QObject;

// Hands over the user's session bus as soon as there is a connection, on the thread of `context`
// and only while that lives; where there is no bus, nobody is called and the log says so once in a
// process. Connecting waits for the bus's answer, and a bus may hang: that is left to a thread
// which does nothing else.
void whenOnSessionBus(QObject *context, const std::function<void(const QDBusConnection &)> &then);
