#pragma once

#include <QObject>

#include "player/window/player_keys.h"

class FullScreen;
class MpvWidget;
class PlaySession;
class Screenshots;
class VideoCaption;

// Does what keys and the menu over the video ask for, and says over the video what came of it.
class PlayerActions final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PlayerActions)

public:
    struct Parts
    {
        QWidget *window;
        MpvWidget *video;
        PlaySession *session;
        FullScreen *fullScreen;
        VideoCaption *caption;
        Screenshots *screenshots;
    };

    explicit PlayerActions(const Parts &parts, QObject *parent = nullptr);

    // None does nothing.
    void run(PlayerKeys::Action action);
    // Whether it would do something now.
    [[nodiscard]] bool isPossible(PlayerKeys::Action action) const;

    void seek(int seconds); // on from here, negative back
    void setVolume(int volume);
    void setMuted(bool muted);
    void setPausesAtEnd(bool pauses);

    [[nodiscard]] const Parts &parts() const { return m_parts; }

signals:
    void mutedChanged(bool muted);

private:
    struct Deed;
    static const Deed Deeds[];

    void stepVolume(bool up);
    void stepSpeed(bool up);
    void stepAudioDelay(int step);
    void shiftSubtitles(int tenths);
    void stepChapter(bool forward);
    void takeScreenshot();
    // The index of the chapter to go to; -1: none.
    [[nodiscard]] int chapterAfter(bool forward) const;
    [[nodiscard]] bool hasPicture() const;
    [[nodiscard]] bool hasNextChapter() const { return chapterAfter(true) >= 0; }
    [[nodiscard]] bool hasPreviousChapter() const { return chapterAfter(false) >= 0; }

    const Parts m_parts;
};
