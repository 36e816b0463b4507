#pragma once

#include <optional>

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>

// Has the desktop leave the screen on and the machine awake while that is wanted. Desktops offer
// different services for it, which are asked in turn until one grants it; where none does, nothing
// happens and the log says so once. Nothing here waits: a service that does not answer is passed
// over, and what it grants later is given back. A service that went and came back is asked again.
class ScreenAwake final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ScreenAwake)

public:
    explicit ScreenAwake(QDBusConnection bus, QObject *parent = nullptr);
    // Gives back what was granted, also what is still to be granted.
    ~ScreenAwake() override;

    void setWanted(bool isWanted);

private:
    struct Service;
    static const Service Services[];

    // What a service granted, and what to say to give it back: a number, or an object's path.
    struct Grant
    {
        const Service *service;
        QVariant cookie;
    };

    static void giveBack(const QDBusConnection &bus, const Grant &grant);

    void ask(const Service *service);
    void askNext();
    void onRefused(const Service *service);
    [[nodiscard]] bool accept(const Grant &grant);
    void onOwnerChanged(const QString &name);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_watcher;
    bool m_isWanted = false;
    std::optional<Grant> m_grant;
    const Service *m_asked = nullptr; // whose answer decides how to go on; null: nobody's
    QTimer m_patience;                // runs while an answer is awaited
    QTimer m_again;                   // until the services are asked again
    bool m_isRefusalLogged = false;
};
