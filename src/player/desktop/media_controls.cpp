#include "player/desktop/media_controls.h"

#include <utility>

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDebug>
#include <QMetaProperty>

#include "player/desktop/media_adaptors.h"
#include "player/desktop/media_player.h"

namespace {

const QLatin1String ObjectPath("/org/mpris/MediaPlayer2");
const QLatin1String FirstName("org.mpris.MediaPlayer2.moravu");

QString nameOfThisProcess()
{
    return FirstName + QStringLiteral(".instance%1").arg(QCoreApplication::applicationPid());
}

// QDBusConnection's own functions for names wait for the bus.
QDBusMessage toBus(const QString &method, const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), method);
    message.setArguments(arguments);
    return message;
}

QVariantMap propertiesOf(const QDBusAbstractAdaptor &adaptor)
{
    QVariantMap values;
    const QMetaObject *type = adaptor.metaObject();
    for (int index = type->propertyOffset(); index < type->propertyCount(); ++index) {
        const QMetaProperty property = type->property(index);
        if (qstrcmp(property.name(), "Position") != 0) { // it changes all the time
            values.insert(QString::fromLatin1(property.name()), property.read(&adaptor));
        }
    }
    return values;
}

QString interfaceOf(const QDBusAbstractAdaptor &adaptor)
{
    const QMetaObject *type = adaptor.metaObject();
    return QString::fromLatin1(type->classInfo(type->indexOfClassInfo("D-Bus Interface")).value());
}

} // namespace

MediaControls::MediaControls(QDBusConnection bus, MediaPlayer &player, QObject *parent)
    : QObject(parent)
    , m_bus(std::move(bus))
    , m_root(new MediaRootAdaptor(this, player))
    , m_player(new MediaPlayerAdaptor(this, player))
{
    // Without it, two metadata with the same path would count as different.
    if (!QMetaType::hasRegisteredComparators<QDBusObjectPath>()) {
        QMetaType::registerComparators<QDBusObjectPath>();
    }
    m_toldRoot = propertiesOf(*m_root);
    m_toldPlayer = propertiesOf(*m_player);
    connect(&player, &MediaPlayer::changed, this, &MediaControls::announceChanges);
    if (m_bus.registerObject(ObjectPath, this)) {
        requestName(FirstName);
    }
}

MediaControls::~MediaControls()
{
    m_bus.unregisterObject(ObjectPath);
    // Also a name that is still to be given: the bus takes both messages in their order.
    m_bus.send(toBus(QStringLiteral("ReleaseName"), {m_name}));
}

void MediaControls::requestName(const QString &name)
{
    constexpr uint DoNotQueue = 4;
    constexpr uint IsOwner = 1;
    constexpr uint IsOwnerAlready = 4;
    m_name = name;
    auto *answer = new QDBusPendingCallWatcher(
        m_bus.asyncCall(toBus(QStringLiteral("RequestName"), {name, DoNotQueue})), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, name] {
        answer->deleteLater();
        const QDBusPendingReply<uint> reply = *answer;
        if (reply.isError() || (reply.value() != IsOwner && reply.value() != IsOwnerAlready)) {
            onNameRefused(name);
        }
    });
}

void MediaControls::onNameRefused(const QString &name)
{
    if (name == FirstName) {
        requestName(nameOfThisProcess());
    } else {
        qDebug() << "the desktop shows no controls: the bus does not give the name" << name;
    }
}

void MediaControls::announceChanges()
{
    announce(*m_root, m_toldRoot);
    announce(*m_player, m_toldPlayer);
}

void MediaControls::announce(const QDBusAbstractAdaptor &adaptor, QVariantMap &told)
{
    const QVariantMap now = propertiesOf(adaptor);
    QVariantMap changes;
    for (auto property = now.begin(); property != now.end(); ++property) {
        if (told.value(property.key()) != property.value()) {
            changes.insert(property.key(), property.value());
        }
    }
    told = now;
    if (changes.isEmpty()) {
        return;
    }
    QDBusMessage message =
        QDBusMessage::createSignal(ObjectPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                                   QStringLiteral("PropertiesChanged"));
    message.setArguments({interfaceOf(adaptor), changes, QStringList()});
    m_bus.send(message);
}
