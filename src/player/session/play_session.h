#pragma once

#include <memory>

#include <QObject>

#include "player/session/address_ahead.h"
#include "player/session/once_a_second.h"
#include "player/session/opened_video.h"
#include "player/session/play_menus.h"
#include "player/session/play_status.h"

class MpvWidget;
struct PlayRequest;
struct TrackInfo;

// What plays, and what is to play next. The one owner of both, and the one place where a video
// changes its state. A video that is being opened stands beside the one that plays until it has a
// picture; when that fails, everything is as it was before. Seconds are whole.
class PlaySession final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PlaySession)

public:
    // `mpv` must outlive this.
    explicit PlaySession(MpvWidget &mpv, QObject *parent = nullptr);

    // Plays the request's video in place of what plays; that one's position is saved first. A
    // request for what plays already changes nothing.
    void open(const PlayRequest &request);
    // The video so many places on in the folder, round its ends.
    void playRelative(int step);
    // A video of the list.
    void playChosen(const QString &fileId);
    // Pauses and plays; at the end, or after a failure, tries to go on.
    void togglePause();
    // Writes the position of what plays, or played last, to its row. A video that was never seen
    // playing is not saved: its earlier position stays.
    void savePosition();
    // The stored skip times were changed elsewhere.
    void reloadSkipTimes();

    // The user's choices, with the data of the menus' entries.
    void chooseQuality(const QVariant &id);
    void chooseSkip(const QVariant &action);
    void chooseAudio(const QVariant &track);
    void chooseSubtitle(const QVariant &track);

    [[nodiscard]] PlayStatus status() const;
    // The videos of the folder.
    [[nodiscard]] QList<FileItem> videos() const;
    [[nodiscard]] PlayMenus menus() const;

signals:
    // The status, in more than its position.
    void changed();
    void videosChanged();
    void menusChanged();
    void durationChanged(int duration);
    // At most once a second.
    void positionShown(int position, int duration);
    // A message for the user.
    void told(const QString &text);
    void historyUpdated(PlayHistory &row);
    // The user chose another quality; the setting is written.
    void videoQualityChanged();

private:
    using Video = std::unique_ptr<OpenedVideo>;

    void connectVideo(OpenedVideo &video);
    // The candidate, else what plays; null before the first.
    [[nodiscard]] OpenedVideo *chosen() const;
    // Whether what plays is all there is.
    [[nodiscard]] bool isPlaying() const;

    void openNeighbour(const FileItem &file, StartFrom start);
    void setCandidate(Video video);
    void dropCandidate();
    void load(OpenedVideo &video);
    void stopCandidate();
    void repair(OpenedVideo &video);
    void renewAddress(OpenedVideo &video);
    void showPosition();
    void advance();

    void onLocated(OpenedVideo &video, const FileItem &file);
    void onAddressReady(OpenedVideo &video);
    void onNoAddress(OpenedVideo &video);
    void onCannotOpen();
    void onBrokenDown(OpenedVideo &video);

    void onFileLoaded();
    void onPlaybackRestarted();
    void onPicture(OpenedVideo &video);
    void onDurationChanged(int value);
    void onPositionChanged(int value);
    void onPlayEnd();
    void onLoadingEnd(OpenedVideo &video);
    void onPlayingEnd(OpenedVideo &video, bool isFailure);
    void onPaused(bool isPause);

    MpvWidget &m_mpv;
    Video m_current;   // plays, or played last
    Video m_candidate; // is being opened
    // Which of the two libmpv's file is, and what libmpv reports is about; null: none.
    OpenedVideo *m_loaded = nullptr;
    AddressAhead m_ahead;
    QString m_notice;
    OnceASecond m_positions;
    // The last video was over before it had a position: a folder of such files is not raced round.
    bool m_wasMomentary = false;
};
