#pragma once

#include <QObject>

#include "player/session/address_ahead.h"
#include "player/session/episode_end.h"
#include "player/session/play_machine.h"
#include "player/session/play_menus.h"
#include "player/session/play_status.h"
#include "player/session/subtitle_look.h"

class MpvWidget;
struct PlayRequest;

// What plays, and what is to play next: takes the wishes of the user and of the lists, and tells
// what there is to be shown. Seconds are whole.
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
    // The video so many places on in the folder, round its ends; once the folder's list is there.
    void playRelative(int step);
    // A video of the list.
    void playChosen(const QString &fileId);
    // Pauses and plays; at the end, after a failure or a long silence, tries to go on.
    void togglePause();
    // Where the status offers it: asks for the source's address of the video whose streams the
    // drive refused, and plays that.
    void playSource();
    // See PlayMachine.
    void savePosition();
    // The stored skip times were changed elsewhere.
    void reloadSkipTimes();

    // The user's choices, with the data of the menus' entries.
    void chooseQuality(const QVariant &id);
    void chooseSkip(const QVariant &action);
    void chooseAudio(const QVariant &track);
    void chooseSubtitle(const QVariant &track);

    // How fast it plays, 1 for the videos' own speed: of every video until the player is closed.
    // What is asked for is brought between LowestSpeed and HighestSpeed.
    [[nodiscard]] double speed() const;
    void setSpeed(double speed);
    // By how many milliseconds the sound of what plays comes later than its picture, or, below 0,
    // earlier. Another video has its own; where nothing plays there is none to set.
    [[nodiscard]] int audioDelay() const;
    void setAudioDelay(int milliseconds);

    [[nodiscard]] EpisodeEnd &episodeEnd() { return m_end; }

    [[nodiscard]] PlayStatus status() const;
    // Whose video it is; empty before the first.
    [[nodiscard]] UserInfo user() const;
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
    // What a choice has come to, to be read for a moment.
    void noted(const QString &text);
    void historyUpdated(PlayHistory &row);
    // The user chose another quality; the setting is written.
    void videoQualityChanged();
    void speedChanged(double speed);

private:
    using Source = PlayMachine::Source;
    enum class StepOf { User, Turn }; // of a video that is over

    void openVideo(PlayMachine::Video video, Source source = Source::AnyQuality);
    void openNeighbour(const FileItem &file, StartFrom start, Source source = Source::AnyQuality);
    [[nodiscard]] PlayMachine::Video makeVideo(const UserInfo &user, const FileItem &file,
                                               StartFrom start, const FolderVideos &neighbours);
    bool goBackTo(const QString &fileId);
    void go(int step, StepOf whose);
    void tryAgain();
    void showPosition();
    void advance();
    void onNeighboursAnswered(const OpenedVideo *video);

    MpvWidget &m_mpv;
    AddressAhead m_ahead;
    int m_awaitedStep = 0; // until the folder's list is there; 0: none
    StepOf m_awaitedBy = StepOf::User;
    QString m_awaitedFrom; // the video that the step leads away from
    PlayMachine m_machine;
    EpisodeEnd m_end;
    SubtitleLook m_subtitleLook;
};
