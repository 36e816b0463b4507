#include "player/desktop/session_bus.h"

#include <utility>

#include <QDBusConnection>
#include <QDBusError>
#include <QDebug>
#include <QThread>

namespace {

void logFailure(const QDBusConnection &bus)
{
    static bool isLogged = false;
    if (!std::exchange(isLogged, true)) {
        qDebug() << "no session bus:" << bus.lastError().message();
    }
}

} // namespace

void whenOnSessionBus(QObject *context, const std::function<void(const QDBusConnection &)> &then)
{
    QThread *connecting = QThread::create([] { QDBusConnection::sessionBus(); });
    QObject::connect(connecting, &QThread::finished, connecting, &QObject::deleteLater);
    QObject::connect(connecting, &QThread::finished, context, [then] {
        const QDBusConnection bus = QDBusConnection::sessionBus();
        if (bus.isConnected()) {
            then(bus);
        } else {
            logFailure(bus);
        }
    });
    connecting->start();
}
