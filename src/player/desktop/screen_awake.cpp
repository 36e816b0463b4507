#include "player/desktop/screen_awake.h"

#include <iterator>
#include <limits>
#include <utility>

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDebug>
#include <QPointer>

namespace {

using namespace std::chrono_literals;

// For one service's answer. Starting a service takes about a second on a slow machine.
constexpr auto Patience = 3s;
// Before a service that went away is asked again: one that always crashes is not started in a loop.
constexpr auto Pause = 1s;
// libdbus would drop an answer that comes later than its own limit, and what was granted by it
// could not be given back.
constexpr int NoLimit = std::numeric_limits<int>::max(); // ms

constexpr uint SuspendAndIdle = 4 | 8;

QString reason()
{
    return QStringLiteral("正在播放视频");
}

QVariantList cookieArguments()
{
    return {QCoreApplication::applicationName(), reason()};
}

// Without a window: the request then counts for the program.
QVariantList portalArguments()
{
    return {QString(), SuspendAndIdle, QVariantMap{{QStringLiteral("reason"), reason()}}};
}

} // namespace

struct ScreenAwake::Service
{
    const char *name;
    const char *path;
    const char *interface;
    QVariantList (*arguments)();
    bool grantsObject; // that is closed to give it back; else a number
};

// Two names for the second, as the desktops that offer it do not agree.
const ScreenAwake::Service ScreenAwake::Services[] = {
    {"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver", "org.freedesktop.ScreenSaver",
     cookieArguments, false},
    {"org.freedesktop.PowerManagement", "/org/freedesktop/PowerManagement/Inhibit",
     "org.freedesktop.PowerManagement.Inhibit", cookieArguments, false},
    {"org.freedesktop.PowerManagement.Inhibit", "/org/freedesktop/PowerManagement/Inhibit",
     "org.freedesktop.PowerManagement.Inhibit", cookieArguments, false},
    {"org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
     "org.freedesktop.portal.Inhibit", portalArguments, true},
};

ScreenAwake::ScreenAwake(QDBusConnection bus, QObject *parent)
    : QObject(parent), m_bus(std::move(bus))
{
    m_watcher.setConnection(m_bus);
    m_watcher.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    for (const Service &service : Services) {
        m_watcher.addWatchedService(QString::fromLatin1(service.name));
    }
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            &ScreenAwake::onOwnerChanged);
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this, &ScreenAwake::askNext);
    m_again.setSingleShot(true);
    connect(&m_again, &QTimer::timeout, this, [this] {
        if (m_isWanted && !m_grant && !m_asked) {
            ask(std::begin(Services));
        }
    });
}

ScreenAwake::~ScreenAwake()
{
    setWanted(false);
}

void ScreenAwake::setWanted(bool isWanted)
{
    if (std::exchange(m_isWanted, isWanted) == isWanted) {
        return;
    }
    if (!isWanted && m_grant) {
        giveBack(m_bus, *m_grant);
        m_grant.reset();
    } else if (isWanted && !m_asked) { // else the answer is on its way
        ask(std::begin(Services));
    }
}

void ScreenAwake::ask(const Service *service)
{
    m_asked = service;
    m_patience.start(Patience);
    QDBusMessage request = QDBusMessage::createMethodCall(
        QString::fromLatin1(service->name), QString::fromLatin1(service->path),
        QString::fromLatin1(service->interface), QStringLiteral("Inhibit"));
    request.setArguments(service->arguments());
    // Nobody's child: an answer to a window that was closed meanwhile is given back all the same.
    auto *answer = new QDBusPendingCallWatcher(m_bus.asyncCall(request, NoLimit));
    connect(answer, &QDBusPendingCallWatcher::finished, answer,
            [answer, service, bus = m_bus, self = QPointer<ScreenAwake>(this)] {
                answer->deleteLater();
                if (answer->isError()) {
                    if (self) {
                        self->onRefused(service);
                    }
                    return;
                }
                const Grant grant{service, answer->reply().arguments().value(0)};
                if (!self || !self->accept(grant)) {
                    giveBack(bus, grant);
                }
            });
}

void ScreenAwake::onRefused(const Service *service)
{
    if (service == m_asked) {
        askNext();
    }
}

void ScreenAwake::askNext()
{
    m_patience.stop();
    const Service *const next = std::exchange(m_asked, nullptr) + 1;
    if (!m_isWanted) {
        return;
    }
    if (next != std::end(Services)) {
        ask(next);
    } else if (!std::exchange(m_isRefusalLogged, true)) {
        qDebug() << "nobody on this desktop keeps the screen on";
    }
}

bool ScreenAwake::accept(const Grant &grant)
{
    if (m_isWanted && m_grant) {
        return false; // another one was faster
    }
    m_asked = nullptr;
    m_patience.stop();
    if (m_isWanted) {
        m_grant = grant;
    }
    return m_isWanted;
}

void ScreenAwake::giveBack(const QDBusConnection &bus, const Grant &grant)
{
    const Service &service = *grant.service;
    const QString name = QString::fromLatin1(service.name);
    QDBusMessage message;
    if (service.grantsObject) {
        message = QDBusMessage::createMethodCall(
            name, qvariant_cast<QDBusObjectPath>(grant.cookie).path(),
            QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Close"));
    } else {
        message = QDBusMessage::createMethodCall(name, QString::fromLatin1(service.path),
                                                 QString::fromLatin1(service.interface),
                                                 QStringLiteral("UnInhibit"));
        message.setArguments({grant.cookie});
    }
    bus.send(message);
}

// With its process went what a service had granted. Another that appears may grant what none did.
void ScreenAwake::onOwnerChanged(const QString &name)
{
    if (m_grant && name == QLatin1String(m_grant->service->name)) {
        m_grant.reset();
    }
    if (m_isWanted && !m_grant) {
        m_again.start(Pause);
    }
}
