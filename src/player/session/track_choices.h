#pragma once

#include <optional>

#include <QObject>

#include "db/tables/user_info.h"
#include "net/reply_guard.h"
#include "player/session/added_subtitles.h"
#include "player/session/folder_subtitles.h"
#include "player/session/menu_entry.h"
#include "player/session/second_subtitle.h"
#include "player/session/subtitle_fetcher.h"
#include "player/session/track_list.h"

class FolderMemory;
class HistoryRow;
class MpvWidget;

// What the user chose last in a player, for its next videos: the embedded or transcoded subtitle,
// and the second one.
struct CarriedTracks
{
    std::optional<TrackMemory> subtitle{};
    std::optional<TrackMemory> second{};
};

// Which audio and subtitle track of one video plays: what the user chose, what the folder and the
// video's row remember, and the subtitle file beside the video. Acts once per loaded file; after
// the user has chosen, never. What it is told of libmpv must come from that video.
class TrackChoices final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TrackChoices)

public:
    // The first three must outlive this. `carried` is of the video before.
    TrackChoices(MpvWidget &mpv, HistoryRow &row, FolderMemory &folder, UserInfo user,
                 const CarriedTracks &carried);

    // What the drive has transcoded; known before the video is loaded.
    void setTranscoded(const QList<OfferedSubtitle> &offered);
    // The video is about to be loaded, possibly not for the first time.
    void beginLoad();
    // libmpv was given another file: nothing more is added or selected until the next load.
    void endLoad();
    void onFileLoaded();
    void onPlaybackRestarted();
    void onTrackListChanged();
    // Asks, once, for the subtitle files beside the video and for the name of their folder. What
    // the network lost is asked for again when the server is back.
    void requestFolder();
    // The video turned out to lie in another folder, which FolderMemory has opened: what is
    // remembered and what lies beside the video are that folder's.
    void onFolderChanged();

    [[nodiscard]] QList<MenuEntry> subtitleMenu() const;
    [[nodiscard]] QList<MenuEntry> audioMenu() const;
    [[nodiscard]] CarriedTracks carried() const;
    // The user's choice, with the data of a menu entry.
    void chooseSubtitle(const QVariant &data);
    void chooseAudio(const QVariant &data);

signals:
    // The menus are no longer what they were.
    void changed();
    // What the user is to read of a choice.
    void noted(const QString &text);

private:
    // The meaning of the stored number PlayHistory::subTitleType.
    enum class SubtitleKind { Automatic = 0, Embedded = 1, DriveFile = 2, Off = 3 };

    struct SubtitleChoice
    {
        SubtitleKind kind = SubtitleKind::Automatic;
        TrackMemory track{}; // Embedded
        QString fileId{};    // DriveFile; also of a transcoded one
    };

    [[nodiscard]] SubtitleChoice rememberedSubtitle() const;
    [[nodiscard]] SecondSubtitle::Offer offer() const;
    void requestFolderName();
    void onFolderFiles();
    void onAskedAgain();
    void onFetched(const QString &fileId, const QString &path);
    void selectRemembered();
    void selectEmbedded();
    void selectAudio();
    void selectChinese();
    [[nodiscard]] bool isSettled() const;
    void chooseFileAutomatically();
    void writeRow();
    [[nodiscard]] QString wantedFile() const;
    void fetchFile(const QString &fileId);
    void addFile();
    void showTrack(int id);
    void chooseTrack(int id);
    void chooseFile(const QString &fileId);
    void remember(const SubtitleChoice &choice);
    void setDelay(int delay);

    MpvWidget &m_mpv;
    HistoryRow &m_row;
    FolderMemory &m_folder;
    const UserInfo m_user;
    SubtitleFetcher m_fetcher;
    AddedSubtitles m_added;
    FolderSubtitles m_folderFiles;
    SecondSubtitle m_second;

    TrackList m_tracks;
    QList<OfferedSubtitle> m_files; // beside the video
    QList<OfferedSubtitle> m_transcoded;
    SubtitleChoice m_subtitle;
    // The transcoded subtitle that is shown because the file lacks the remembered track.
    QString m_standIn;
    std::optional<TrackMemory> m_audio;
    std::optional<TrackMemory> m_carried; // the subtitle chosen since the window opened
    int m_delay = 0;                      // of the subtitles, tenths of a second
    bool m_fileLoaded = false;
    bool m_tracksChosen = false; // of the loaded file, by what is remembered or by the user
    bool m_fileChosen = false;   // the automatic choice of a file was made, or the user's
    bool m_userChose = false;    // anything, since the video was opened
    bool m_hasPlayed = false;    // a video that was never seen leaves no row
    bool m_isRowDue = false;
    ReplyGuard m_replies;
};
