#pragma once

#include <QObject>
#include <QTimer>
#include <QVariantMap>

#include "player/desktop/expected_place.h"

class MpvWidget;
class PlaySession;

// The player as the desktop sees it: what it is told, and what it may ask for, in the words of
// MPRIS. Times are microseconds, volumes 1 for 100 %. Wishes that cannot be granted
// are ignored.
class MediaPlayer final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MediaPlayer)

public:
    // Both must outlive this.
    MediaPlayer(PlaySession &session, MpvWidget &mpv, QObject *parent = nullptr);

    [[nodiscard]] QString playbackStatus() const;
    // Empty while there is no video.
    [[nodiscard]] QVariantMap metadata() const;
    [[nodiscard]] qlonglong position() const;
    [[nodiscard]] double rate() const;
    [[nodiscard]] double volume() const;
    // Whether the folder has other videos.
    [[nodiscard]] bool canStep() const;
    [[nodiscard]] bool canPlay() const;
    [[nodiscard]] bool canPause() const;
    [[nodiscard]] bool canSeek() const;
    [[nodiscard]] bool isFullScreen() const { return m_isFullScreen; }

    void step(int step);
    void play();
    void pause();
    void playPause();
    // Beyond the end the next video follows.
    void seekBy(qlonglong offset);
    // For this video, by its path in the metadata: a wish about another one came too late.
    void seekTo(const QString &trackPath, qlonglong position);
    void setRate(double rate);
    void setVolume(double volume);

    // As the window has it.
    void setFullScreen(bool isFullScreen);

signals:
    // Something may have changed, in more than the position; once for all changes of one moment.
    void changed();
    // The position is not where it would be by itself.
    void jumped(qlonglong position);
    // For the window.
    void volumeRequested(int volume);
    void raiseRequested();
    void closeRequested();
    void fullScreenRequested(bool isFullScreen);

private:
    [[nodiscard]] bool isMoving() const;
    [[nodiscard]] double seconds() const;
    void checkPlace(double tolerance);
    void tellPlace();

    PlaySession &m_session;
    MpvWidget &m_mpv;
    QTimer m_change;
    ExpectedPlace m_expected;
    bool m_isFullScreen = false;
};
