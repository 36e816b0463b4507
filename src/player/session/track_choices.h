#pragma once

#include <optional>

#include <QHash>
#include <QObject>
#include <QSet>

#include "api/records/file_records.h"
#include "db/tables/user_info.h"
#include "net/reply_guard.h"
#include "player/mpv/track_info.h"
#include "player/session/menu_entry.h"
#include "player/session/subtitle_fetcher.h"

class FileItems;
class FolderMemory;
class HistoryRow;
class MpvWidget;

// Which audio and subtitle track of one video plays: what the user chose, what the folder and the
// video's row remember, and the subtitle file beside the video. Acts once per loaded file; after
// the user has chosen, never. What it is told of libmpv must come from that video.
class TrackChoices final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TrackChoices)

public:
    // The first three must outlive this. `chosenBefore` is the embedded subtitle track that the
    // user chose last for another video of this player, FolderMemory::NoTrack for none.
    TrackChoices(MpvWidget &mpv, HistoryRow &row, FolderMemory &folder, UserInfo user,
                 int chosenBefore);

    // The video is about to be loaded, possibly not for the first time.
    void beginLoad();
    // libmpv was given another file: nothing more is added or selected until the next load.
    void endLoad();
    void onFileLoaded();
    void onPlaybackRestarted();
    void onTrackListChanged(const TrackInfo &tracks);
    // Asks, once, for the subtitle files beside the video and for the name of their folder. What
    // the network lost is asked for again when the server is back.
    void requestFolder();
    // The video turned out to lie in another folder, which FolderMemory has opened: what is
    // remembered and what lies beside the video are that folder's.
    void onFolderChanged();

    [[nodiscard]] QList<MenuEntry> subtitleMenu() const;
    [[nodiscard]] QList<MenuEntry> audioMenu() const;
    [[nodiscard]] int chosenTrack() const { return m_selectedSubtitleTrackId; }
    // The user's choice, with the data of a menu entry.
    void chooseSubtitle(const QVariant &data);
    void chooseAudio(const QVariant &data);

signals:
    // The menus are no longer what they were.
    void changed();

private:
    // The meaning of the stored number PlayHistory::subTitleType.
    enum class SubtitleKind { Automatic = 0, Embedded = 1, DriveFile = 2, Off = 3 };

    struct SubtitleChoice
    {
        SubtitleKind kind = SubtitleKind::Automatic;
        int trackId = 0;  // Embedded
        QString fileId{}; // DriveFile
    };

    [[nodiscard]] SubtitleChoice rememberedSubtitle() const;
    [[nodiscard]] bool hasSubtitleTrack(int id) const;
    [[nodiscard]] QList<int> externalTracks() const;
    void requestFiles(const QString &marker);
    void requestFolderName();
    void onFolderPage(const FileItems &page);
    void onFolderFiles();
    void onReturned();
    void onFetched(const QString &fileId, const QString &path);
    void selectRemembered();
    [[nodiscard]] int playableAudio(int wanted) const;
    void selectChinese();
    void chooseFileAutomatically();
    void writeRow();
    void fetchFile(const QString &fileId);
    void addFile();
    void chooseTrack(int id);
    void chooseFile(const QString &fileId);
    void remember(const SubtitleChoice &choice);

    MpvWidget &m_mpv;
    HistoryRow &m_row;
    FolderMemory &m_folder;
    SubtitleFetcher m_fetcher;
    const UserInfo m_user;

    TrackInfo m_tracks;
    QList<FileItem> m_subtitleFiles;
    SubtitleChoice m_subtitle;
    std::optional<int> m_audioTrackId;
    int m_selectedSubtitleTrackId;   // chosen since the window opened
    QHash<QString, QString> m_paths; // of this video's downloaded files, by their ids
    QStringList m_added;             // for each external track of what is loaded, its file's id
    QList<FileItem> m_received;      // subtitle files of the pages so far
    QSet<QString> m_markers;         // of the pages so far
    bool m_filesAsked = false;
    bool m_filesLost = false; // a page did not come
    bool m_filesKnown = false;
    bool m_fileLoaded = false;
    bool m_tracksChosen = false; // of the loaded file, by what is remembered or by the user
    bool m_fileChosen = false;   // the automatic choice of a file was made, or the user's
    bool m_userChose = false;    // anything, since the video was opened
    bool m_hasPlayed = false;    // a video that was never seen leaves no row
    bool m_isRowDue = false;
    ReplyGuard m_replies;
};
