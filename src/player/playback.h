#pragma once

#include <optional>

#include <QObject>
#include <QTimer>

#include "api/records/file_records.h"
#include "db/tables/play_history.h"
#include "player/skip_times.h"

class MpvWidget;

// One video as the player knows it: what was asked for and how far it came. Seconds are whole.
struct PlayedVideo
{
    FileItem file;
    PlayHistory history;
    SkipTimes skip;
    bool resumePending = false; // begins at the history's position
    bool reloaded = false;      // the same video from another address

    int duration = 0;
    int position = 0;          // the last one known
    bool hasPosition = false;  // false: was never seen playing, so there is nothing to save
    bool isOver = false;       // its data has ended
    bool wasRefetched = false; // its address was asked for anew and has not proved itself since
    int refetchedAt = 0;       // the position at which that happened
};

// Follows what libmpv reports about the videos that the player opens. From open() until the new
// video's duration is known, two videos are in hand: the new one is being opened while the old one
// may still play. What libmpv reports belongs to the video it came from; while one is being opened
// nothing advances, and what is saved is the old video's last state under the old video's row.
class Playback final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Playback)

public:
    // `mpv` must outlive this.
    explicit Playback(MpvWidget &mpv, QObject *parent = nullptr);

    // A video was chosen; its address is not known yet.
    void open(const PlayedVideo &video);
    // Its address is known. Only http and https addresses are played.
    void load(const QString &url);
    // Opens the current video once more, to go on where it is. False when there is none.
    bool reopen();
    // The video that was being opened will not come.
    void giveUp();

    [[nodiscard]] bool isOpening() const { return m_opening.has_value(); }
    // Whether the current video has ended and nothing follows.
    [[nodiscard]] bool isOver() const { return !m_opening && m_playing && m_playing->isOver; }
    // The video chosen last; null before the first.
    [[nodiscard]] PlayedVideo *current();
    // The video whose positions are shown; null while another is being opened.
    [[nodiscard]] PlayedVideo *playing();

    // Writes the position of the video that plays, or played last, to its row. A video that was
    // never seen playing is not saved: its earlier position stays.
    void saveHistory();
    // Writes the current video's record as it is.
    void saveRecord();

signals:
    // The current video's duration is known; it has been sent to its start place.
    void begun(int duration);
    void durationRefined(int duration);
    // At most once a second.
    void positionShown(int position, int duration);
    // The video that plays has come to its end or its outro: the next one's turn.
    void finished();
    // Its address no longer works: get it anew, then load().
    void addressExpired();
    // The video cannot be played (any further); a text for the user.
    void failed(const QString &text);
    void historyUpdated(PlayHistory &playHistory);

private:
    void onFileLoaded();
    void onDurationChanged(int value);
    void onPositionChanged(int value);
    void onPlayEnd();
    void onPaused(bool isPause);

    void begin(int duration);
    void sendToStart();
    void endOpening();
    void endPlaying();
    void refetch();
    [[nodiscard]] bool endedEarly() const;
    void rememberPosition();
    [[nodiscard]] bool isBeforeStart(int position);
    void showPosition();

    MpvWidget &m_mpv;
    std::optional<PlayedVideo> m_playing;
    std::optional<PlayedVideo> m_opening;
    bool m_loadSent = false;   // libmpv was given the address of m_opening
    bool m_fileLoaded = false; // and has opened it
    bool m_advanceOnPlay = false;
    bool m_endedUnseen = false;      // the last video was over before its duration was known
    qint64 m_lastPositionUpdate = 0; // milliseconds since the epoch
    // Shows a position that came too early to be shown and that no other follows: after a seek
    // in a paused video.
    QTimer m_lateUpdate;
    // After the first seek libmpv may still report where it was before; until then, or until the
    // time has run out (a stream may not be seekable), positions before the target do not count.
    int m_startTarget = 0;
    qint64 m_startDeadline = 0;
};
