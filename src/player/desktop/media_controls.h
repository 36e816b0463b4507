#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>

class MediaPlayer;
class MediaPlayerAdaptor;
class MediaRootAdaptor;
class QDBusAbstractAdaptor;

// Shows a player on the desktop while this lives: its media keys, its controls and those of other
// programs reach it, by the MPRIS 2 interfaces at "org.mpris.MediaPlayer2.moravu". Where another
// process has that name, this one's has its process number behind it.
class MediaControls final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MediaControls)

public:
    // `player` must outlive this.
    MediaControls(QDBusConnection bus, MediaPlayer &player, QObject *parent = nullptr);
    ~MediaControls() override;

private:
    void requestName(const QString &name);
    void onNameRefused(const QString &name);
    void announceChanges();
    void announce(const QDBusAbstractAdaptor &adaptor, QVariantMap &told);

    QDBusConnection m_bus;
    MediaRootAdaptor *m_root;
    MediaPlayerAdaptor *m_player;
    QString m_name;
    // The properties as the desktop knows them.
    QVariantMap m_toldRoot;
    QVariantMap m_toldPlayer;
};
