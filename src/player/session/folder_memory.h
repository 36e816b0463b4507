#pragma once

#include <optional>

#include "db/tables/operations.h"
#include "player/session/skip_times.h"
#include "player/session/track_memory.h"

// The folder's row as this user has it: empty where it is another user's. A folder has one row, and
// the root folders of all users have the same id.
[[nodiscard]] FolderSetting folderSettingOf(const QString &folderId, const QString &userId);

// What is remembered for the videos of one cloud folder: where intro and outro are, and which
// embedded tracks the user chose. The row is written when the user changes something, its keys
// filled each time; what else it holds stays as it is stored. Another user's row, see above,
// becomes this user's by a choice of intro, outro or track, and loses what the other one chose: it
// would be wrong for these videos. What the player notes of itself takes no row over.
class FolderMemory final
{
public:
    // libmpv numbers tracks from 1; this one stands for "none".
    static constexpr int NoTrack = -1;

    // Reads the folder's row, or begins an empty one.
    FolderMemory(const QString &folderId, QString userId);
    // The row again, or another folder's: the video was moved, or others wrote to the row.
    void open(const QString &folderId);
    void setFolderName(const QString &name);

    [[nodiscard]] const QString &folderId() const { return m_folderId; }
    // The folder's name as far as it is known.
    [[nodiscard]] QString folderName() const;
    [[nodiscard]] SkipTimes skipTimes() const;

    // The end of the intro. False when the span would be too short: it then counts for this
    // session, but is not saved.
    bool setIntroEnd(int position, int duration);
    // The start of the outro. False when the span would be too short; nothing changes then.
    bool setOutroStart(int position, int duration);
    void clearOutro();

    // The video that plays now; it is found again by this in the list of files.
    void setLastPlayed(const QString &fileId);
    // The track chosen for the folder, its id NoTrack when the user switched it off; empty: never
    // chosen.
    [[nodiscard]] std::optional<TrackMemory> subtitleTrack() const;
    [[nodiscard]] std::optional<TrackMemory> audioTrack() const;
    void setSubtitleTrack(const std::optional<TrackMemory> &track);
    void setAudioTrack(const TrackMemory &track);

private:
    enum class OthersRow { Stays, IsTakenOver };

    void save(const FolderChange &change, OthersRow othersRow = OthersRow::IsTakenOver);

    FolderSetting m_setting;
    QString m_folderId;
    QString m_folderName;
    const QString m_userId;
};
