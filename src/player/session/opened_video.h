#pragma once

#include <memory>
#include <optional>

#include "player/session/folder_memory.h"
#include "player/session/folder_videos.h"
#include "player/session/history_row.h"
#include "player/session/play_address.h"
#include "player/session/play_status.h"
#include "player/session/playback.h"
#include "player/session/track_choices.h"

// Where a video starts when it is loaded for the first time.
enum class StartFrom { WhereItStopped, EndOfIntro };

// One video that is being opened, plays, or played last, with all that belongs to it and to no
// other video.
struct OpenedVideo
{
    OpenedVideo(MpvWidget &mpv, const UserInfo &owner, const FileItem &file,
                const QList<FileItem> &listed, const PlayHistory &history,
                const CarriedTracks &carried)
        : user(owner)
        , row(owner, file, history)
        , folder(file.parent_file_id, owner.userId.value())
        , neighbours(owner, listed)
        , tracks(mpv, row, folder, owner, carried)
        , playback(mpv)
    {
    }

    [[nodiscard]] const FileItem &file() const { return row.file(); }
    // Being opened, or playing.
    [[nodiscard]] bool isAlive() const
    {
        return state != PlayState::Ended && state != PlayState::Failed;
    }

    // The second to begin at when it is loaded for the first time; 0: none, as for one that was
    // watched to its end.
    [[nodiscard]] int resumePosition() const
    {
        const int position = row.values().playPosition.value();
        const int duration = row.values().duration.value();
        const bool isWatched = duration > 0 && position >= duration;
        return start == StartFrom::WhereItStopped && !isWatched ? position : 0;
    }

    // The second at which the next video's turn comes: where the outro starts, or the end; 0 while
    // the length is not known for sure.
    [[nodiscard]] int nextTurn() const
    {
        const int settled = playback.settledDuration();
        return isOutroWanted ? settled : folder.skipTimes().outroStart(settled);
    }

    const UserInfo user;
    PlayState state = PlayState::Opening;
    StartFrom start = StartFrom::WhereItStopped;
    // The next video's turn has come on its own, which happens once.
    bool hasAdvanced = false;
    // It is opened because its turn has come, and not because the user chose it.
    bool isNext = false;
    // It was resumed, and not seen before its outro since: who stopped there sees the outro, too.
    bool isOutroWanted = false;
    // It pauses before its outro or end instead.
    bool pausesAtEnd = false;
    // The user does not want to be told what comes after it.
    bool isNextDismissed = false;
    // Milliseconds by which its sound comes later than its picture.
    int audioDelay = 0;
    // The second at which its address was asked for anew, until the new one has proved itself.
    std::optional<int> repairedAt{};

    HistoryRow row;
    FolderMemory folder;
    FolderVideos neighbours;
    std::unique_ptr<PlayAddress> address;
    TrackChoices tracks;
    Playback playback;
};
