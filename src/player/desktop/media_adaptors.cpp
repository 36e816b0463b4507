#include "player/desktop/media_adaptors.h"

#include <QDBusConnection>
#include <QGuiApplication>

#include "player/desktop/media_player.h"
#include "player/session/speed.h"

MediaRootAdaptor::MediaRootAdaptor(QObject *parent, MediaPlayer &player)
    : QDBusAbstractAdaptor(parent), m_player(player)
{
}

bool MediaRootAdaptor::isFullScreen() const
{
    return m_player.isFullScreen();
}

void MediaRootAdaptor::setFullScreen(bool isFullScreen)
{
    emit m_player.fullScreenRequested(isFullScreen);
}

QString MediaRootAdaptor::identity() const
{
    return QStringLiteral("青柚云盘");
}

QString MediaRootAdaptor::desktopEntry() const
{
    return QGuiApplication::desktopFileName();
}

void MediaRootAdaptor::Raise()
{
    emit m_player.raiseRequested();
}

void MediaRootAdaptor::Quit()
{
    emit m_player.closeRequested();
}

MediaPlayerAdaptor::MediaPlayerAdaptor(QObject *parent, MediaPlayer &player)
    : QDBusAbstractAdaptor(parent), m_player(player)
{
    connect(&m_player, &MediaPlayer::jumped, this, &MediaPlayerAdaptor::Seeked);
}

QString MediaPlayerAdaptor::playbackStatus() const
{
    return m_player.playbackStatus();
}

double MediaPlayerAdaptor::rate() const
{
    return m_player.rate();
}

void MediaPlayerAdaptor::setRate(double rate)
{
    m_player.setRate(rate);
}

QVariantMap MediaPlayerAdaptor::metadata() const
{
    return m_player.metadata();
}

double MediaPlayerAdaptor::volume() const
{
    return m_player.volume();
}

void MediaPlayerAdaptor::setVolume(double volume)
{
    m_player.setVolume(volume);
}

qlonglong MediaPlayerAdaptor::position() const
{
    return m_player.position();
}

double MediaPlayerAdaptor::slowestRate() const
{
    return LowestSpeed;
}

double MediaPlayerAdaptor::fastestRate() const
{
    return HighestSpeed;
}

bool MediaPlayerAdaptor::canStep() const
{
    return m_player.canStep();
}

bool MediaPlayerAdaptor::canPlay() const
{
    return m_player.canPlay();
}

bool MediaPlayerAdaptor::canPause() const
{
    return m_player.canPause();
}

bool MediaPlayerAdaptor::canSeek() const
{
    return m_player.canSeek();
}

void MediaPlayerAdaptor::Next()
{
    m_player.step(1);
}

void MediaPlayerAdaptor::Previous()
{
    m_player.step(-1);
}

void MediaPlayerAdaptor::Pause()
{
    m_player.pause();
}

void MediaPlayerAdaptor::PlayPause()
{
    m_player.playPause();
}

void MediaPlayerAdaptor::Stop()
{
    m_player.pause();
}

void MediaPlayerAdaptor::Play()
{
    m_player.play();
}

void MediaPlayerAdaptor::Seek(qlonglong offset)
{
    m_player.seekBy(offset);
}

void MediaPlayerAdaptor::SetPosition(const QDBusObjectPath &track, qlonglong position)
{
    m_player.seekTo(track.path(), position);
}

void MediaPlayerAdaptor::OpenUri(const QString & /*address*/, const QDBusMessage &message)
{
    message.setDelayedReply(true);
    QDBusConnection::sessionBus().send(message.createErrorReply(
        QDBusError::NotSupported, QStringLiteral("Videos are chosen in the program.")));
}
