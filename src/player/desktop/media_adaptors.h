#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QStringList>
#include <QVariantMap>

class MediaPlayer;

// The two interfaces of an MPRIS 2 media player, as D-Bus sees the properties, signals and slots of
// these classes: their names and types are those of MPRIS. What they say and do is
// MediaPlayer's. They belong to the object that is registered on the bus.
// NOLINTBEGIN(readability-identifier-naming)

class MediaRootAdaptor final : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MediaRootAdaptor)
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2")
    Q_PROPERTY(bool CanQuit READ yes)
    Q_PROPERTY(bool CanRaise READ yes)
    Q_PROPERTY(bool CanSetFullscreen READ yes)
    Q_PROPERTY(bool Fullscreen READ isFullScreen WRITE setFullScreen)
    Q_PROPERTY(bool HasTrackList READ no)
    Q_PROPERTY(QString Identity READ identity)
    Q_PROPERTY(QString DesktopEntry READ desktopEntry)
    Q_PROPERTY(QStringList SupportedUriSchemes READ none)
    Q_PROPERTY(QStringList SupportedMimeTypes READ none)

public:
    MediaRootAdaptor(QObject *parent, MediaPlayer &player);

    [[nodiscard]] bool yes() const { return true; }
    [[nodiscard]] bool no() const { return false; }
    [[nodiscard]] QStringList none() const { return {}; }
    [[nodiscard]] bool isFullScreen() const;
    void setFullScreen(bool isFullScreen);
    [[nodiscard]] QString identity() const;
    [[nodiscard]] QString desktopEntry() const;

public slots:
    void Raise();
    // Closes the player's window; the program goes on.
    void Quit();

private:
    MediaPlayer &m_player;
};

class MediaPlayerAdaptor final : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MediaPlayerAdaptor)
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
    Q_PROPERTY(QString PlaybackStatus READ playbackStatus)
    Q_PROPERTY(double Rate READ rate WRITE setRate)
    Q_PROPERTY(QVariantMap Metadata READ metadata)
    Q_PROPERTY(double Volume READ volume WRITE setVolume)
    Q_PROPERTY(qlonglong Position READ position)
    Q_PROPERTY(double MinimumRate READ slowestRate)
    Q_PROPERTY(double MaximumRate READ fastestRate)
    Q_PROPERTY(bool CanGoNext READ canStep)
    Q_PROPERTY(bool CanGoPrevious READ canStep)
    Q_PROPERTY(bool CanPlay READ canPlay)
    Q_PROPERTY(bool CanPause READ canPause)
    Q_PROPERTY(bool CanSeek READ canSeek)
    Q_PROPERTY(bool CanControl READ yes)

public:
    MediaPlayerAdaptor(QObject *parent, MediaPlayer &player);

    [[nodiscard]] bool yes() const { return true; }
    [[nodiscard]] QString playbackStatus() const;
    [[nodiscard]] double rate() const;
    void setRate(double rate);
    [[nodiscard]] QVariantMap metadata() const;
    [[nodiscard]] double volume() const;
    void setVolume(double volume);
    [[nodiscard]] qlonglong position() const;
    [[nodiscard]] double slowestRate() const;
    [[nodiscard]] double fastestRate() const;
    [[nodiscard]] bool canStep() const;
    [[nodiscard]] bool canPlay() const;
    [[nodiscard]] bool canPause() const;
    [[nodiscard]] bool canSeek() const;

signals:
    void Seeked(qlonglong position);

public slots:
    void Next();
    void Previous();
    void Pause();
    void PlayPause();
    // Pauses: the place is kept, and the window open.
    void Stop();
    void Play();
    void Seek(qlonglong offset);
    void SetPosition(const QDBusObjectPath &track, qlonglong position);
    // Refused: what is played is chosen from the drive.
    void OpenUri(const QString &address, const QDBusMessage &message);

private:
    MediaPlayer &m_player;
};

// NOLINTEND(readability-identifier-naming)
