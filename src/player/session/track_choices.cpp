#include "player/session/track_choices.h"

#include <algorithm>
#include <utility>

#include <QDebug>

#include "api/session/open_api_client.h"
#include "api/session/session.h"
#include "net/log_failure.h"
#include "player/mpv/mpv_widget.h"
#include "player/session/folder_memory.h"
#include "player/session/history_row.h"
#include "player/session/subtitle_files.h"
#include "player/session/track_labels.h"

namespace {

// With pages of 100 entries, 5,000 of a folder's are looked through.
constexpr int MostFurtherPages = 49;

QVariant automatic()
{
    return QStringLiteral("auto");
}

void setTrack(MpvWidget &mpv, const QString &property, int id)
{
    mpv.setProperty(property,
                    id == FolderMemory::NoTrack ? QVariant(QStringLiteral("no")) : QVariant(id));
}

QString subtitleProperty()
{
    return QStringLiteral("sid");
}

QString audioProperty()
{
    return QStringLiteral("aid");
}

} // namespace

TrackChoices::TrackChoices(MpvWidget &mpv, HistoryRow &row, FolderMemory &folder, UserInfo user,
                           int chosenBefore)
    : m_mpv(mpv)
    , m_row(row)
    , m_folder(folder)
    , m_user(std::move(user))
    , m_audioTrackId(folder.audioTrack())
    , m_selectedSubtitleTrackId(chosenBefore)
{
    m_subtitle = rememberedSubtitle();
    connect(&m_fetcher, &SubtitleFetcher::fetched, this, &TrackChoices::onFetched);
    connect(&Session::instance().reachability(), &Reachability::returned, this,
            &TrackChoices::onReturned);
}

TrackChoices::SubtitleChoice TrackChoices::rememberedSubtitle() const
{
    const PlayHistory &row = m_row.values();
    if (!row.subTitle.value().isEmpty()) {
        return {SubtitleKind::DriveFile, 0, row.subTitle.value()};
    }
    if (row.subTitleType.value() == static_cast<int>(SubtitleKind::Off)) {
        return {SubtitleKind::Off};
    }
    if (const auto id = m_folder.subtitleTrack()) {
        return *id < 0 ? SubtitleChoice{SubtitleKind::Off}
                       : SubtitleChoice{SubtitleKind::Embedded, *id};
    }
    if (m_selectedSubtitleTrackId != FolderMemory::NoTrack) {
        return {SubtitleKind::Embedded, m_selectedSubtitleTrackId};
    }
    return {};
}

// libmpv carries a chosen number over to the next file, where it may mean another track or none.
// What is remembered is asked for ahead of loading, so that it plays from the first second where
// the new file has the same tracks as the last one; elsewhere libmpv forgets it.
void TrackChoices::beginLoad()
{
    m_fileLoaded = false;
    m_tracksChosen = false;
    m_added.clear();
    m_tracks = TrackInfo();
    if (m_audioTrackId) {
        setTrack(m_mpv, audioProperty(), *m_audioTrackId);
    } else {
        m_mpv.setProperty(audioProperty(), automatic());
    }
    if (m_subtitle.kind == SubtitleKind::Off) {
        setTrack(m_mpv, subtitleProperty(), FolderMemory::NoTrack);
    } else if (m_subtitle.kind == SubtitleKind::Embedded) {
        setTrack(m_mpv, subtitleProperty(), m_subtitle.trackId);
    } else {
        m_mpv.setProperty(subtitleProperty(), automatic());
    }
    emit changed();
}

// A subtitle file that is still on its way is kept for the next load of this video.
void TrackChoices::endLoad()
{
    m_fileLoaded = false;
    m_added.clear();
}

void TrackChoices::requestFolder()
{
    if (std::exchange(m_filesAsked, true)) {
        return;
    }
    m_received.clear();
    m_markers.clear();
    m_filesLost = false;
    requestFiles(QString());
    if (m_folder.folderName().isEmpty()) {
        requestFolderName();
    }
}

void TrackChoices::requestFiles(const QString &marker)
{
    const auto listed = [this](const FileItems &page) { onFolderPage(page); };
    // The subtitle file that the video's row names can be had without its folder's list.
    const auto fail = [this](const QString &error, int code) {
        logFailure(QStringLiteral("getFileList"), code, error);
        m_filesLost = true;
        onFolderFiles();
    };
    m_replies.limitWait(OpenApiClient(m_user).listAllByNamePaged(
        m_folder.folderId(), marker, m_replies.guard(listed), m_replies.guard(fail)));
}

void TrackChoices::requestFolderName()
{
    const auto named = [this](const FileItem &folder) { m_folder.setFolderName(folder.name); };
    const auto fail = [](const QString &error, int code) {
        logFailure(QStringLiteral("getFile"), code, error);
    };
    m_replies.limitWait(
        OpenApiClient(m_user).fileDetails(m_folder.folderId(), m_replies.guard(named), fail));
}

void TrackChoices::onFolderChanged()
{
    m_replies.abandon();
    m_subtitleFiles.clear();
    m_filesKnown = false;
    if (!m_userChose) {
        m_audioTrackId = m_folder.audioTrack();
        m_subtitle = rememberedSubtitle();
        m_fileChosen = m_fileChosen && m_subtitle.kind == SubtitleKind::DriveFile;
        if (m_tracksChosen) {
            selectRemembered();
        }
    }
    if (std::exchange(m_filesAsked, false)) {
        requestFolder();
    }
}

// A drive may give fewer entries than asked for, and markers without an end.
void TrackChoices::onFolderPage(const FileItems &page)
{
    m_received += subtitleFilesOf(page.items);
    const QString &next = page.next_marker;
    if (next.isEmpty() || m_markers.contains(next) || m_markers.size() == MostFurtherPages) {
        onFolderFiles();
        return;
    }
    m_markers.insert(next);
    requestFiles(next);
}

void TrackChoices::onFolderFiles()
{
    m_subtitleFiles = m_received;
    m_filesKnown = true;
    chooseFileAutomatically();
    emit changed();
}

void TrackChoices::onReturned()
{
    if (m_filesLost) {
        m_filesAsked = false;
        m_filesKnown = false;
        m_fileChosen = m_userChose || m_subtitle.kind == SubtitleKind::DriveFile;
        requestFolder();
    }
}

void TrackChoices::onFileLoaded()
{
    m_fileLoaded = true;
    m_tracks = m_mpv.trackInfo();
    if (m_subtitle.kind == SubtitleKind::DriveFile && m_paths.contains(m_subtitle.fileId)) {
        addFile();
    } else {
        chooseFileAutomatically();
    }
    emit changed();
}

// Not before: changing tracks while a file starts makes libmpv seek back for the new track's data,
// and the start may never end.
void TrackChoices::onPlaybackRestarted()
{
    if (m_fileLoaded && !std::exchange(m_tracksChosen, true)) {
        selectRemembered();
    }
    m_hasPlayed = true;
    writeRow();
}

void TrackChoices::onTrackListChanged(const TrackInfo &tracks)
{
    if (!m_fileLoaded) {
        return;
    }
    m_tracks = tracks;
    emit changed();
}

void TrackChoices::selectRemembered()
{
    m_tracks = m_mpv.trackInfo();
    if (m_audioTrackId) {
        setTrack(m_mpv, audioProperty(), playableAudio(*m_audioTrackId));
    }
    if (!m_added.isEmpty()) {
        return;
    }
    if (m_subtitle.kind == SubtitleKind::Off) {
        setTrack(m_mpv, subtitleProperty(), FolderMemory::NoTrack);
    } else if (m_subtitle.kind == SubtitleKind::Embedded && hasSubtitleTrack(m_subtitle.trackId)) {
        setTrack(m_mpv, subtitleProperty(), m_subtitle.trackId);
    } else {
        selectChinese();
    }
}

// libmpv plays nothing in the place of a wanted track that the file does not have.
int TrackChoices::playableAudio(int wanted) const
{
    const QList<AudioTrack> &tracks = m_tracks.audioTracks;
    const auto find = [&tracks](auto isRight) {
        return std::find_if(tracks.cbegin(), tracks.cend(), isRight);
    };
    auto found = find([wanted](const AudioTrack &track) { return track.id == wanted; });
    if (found == tracks.cend()) {
        found = find([](const AudioTrack &track) { return track.isDefault; });
    }
    if (found == tracks.cend()) {
        found = tracks.cbegin();
    }
    return found == tracks.cend() ? FolderMemory::NoTrack : found->id;
}

void TrackChoices::selectChinese()
{
    for (const SubTrack &track : qAsConst(m_tracks.subTracks)) {
        if (track.lang == QLatin1String("chi")) {
            setTrack(m_mpv, subtitleProperty(), track.id);
            return;
        }
    }
}

bool TrackChoices::hasSubtitleTrack(int id) const
{
    return std::any_of(m_tracks.subTracks.cbegin(), m_tracks.subTracks.cend(),
                       [id](const SubTrack &track) { return track.id == id && !track.external; });
}

// Waits for the file, because libmpv adds subtitles to nothing, and for the folder's files.
void TrackChoices::chooseFileAutomatically()
{
    if (!m_fileLoaded || !m_filesKnown || m_fileChosen) {
        return;
    }
    m_fileChosen = true;
    m_isRowDue = true;
    if (m_subtitle.kind == SubtitleKind::DriveFile) {
        qDebug().noquote() << "get saved netdisk subtitle:" << m_subtitle.fileId;
        fetchFile(m_subtitle.fileId);
        writeRow();
        return;
    }
    const QString &videoName = m_row.file().name;
    qDebug().noquote() << "math similar subtitle:" << videoBaseName(videoName);
    // A track that the user chose for the folder goes before a file that only looks right.
    const bool isSettled =
        m_subtitle.kind == SubtitleKind::Off ||
        (m_subtitle.kind == SubtitleKind::Embedded && hasSubtitleTrack(m_subtitle.trackId));
    const FileItem *similar = findSimilarSubtitle(m_subtitleFiles, videoName);
    if (similar && !isSettled) {
        m_subtitle = {SubtitleKind::DriveFile, 0, similar->file_id};
        fetchFile(similar->file_id);
    }
    writeRow();
}

// What was chosen automatically, once the video plays.
void TrackChoices::writeRow()
{
    if (!m_hasPlayed || !std::exchange(m_isRowDue, false)) {
        return;
    }
    if (m_subtitle.kind == SubtitleKind::DriveFile) {
        remember(m_subtitle);
    } else {
        m_row.save();
    }
}

void TrackChoices::fetchFile(const QString &fileId)
{
    const auto listed =
        std::find_if(m_subtitleFiles.cbegin(), m_subtitleFiles.cend(),
                     [&fileId](const FileItem &file) { return file.file_id == fileId; });
    if (listed != m_subtitleFiles.cend()) {
        m_fetcher.fetch(m_user, *listed);
        return;
    }
    FileItem moved;
    moved.file_id = fileId;
    m_fetcher.fetch(m_user, moved);
}

void TrackChoices::onFetched(const QString &fileId, const QString &path)
{
    if (m_subtitle.kind != SubtitleKind::DriveFile || m_subtitle.fileId != fileId) {
        return;
    }
    m_paths.insert(fileId, path);
    if (m_fileLoaded) {
        addFile();
    }
}

void TrackChoices::addFile()
{
    // The file comes from a drive: whatever else it names is not opened. Streams need it, though.
    const QString references = QStringLiteral("access-references");
    const QVariant before = m_mpv.getProperty(references);
    m_mpv.setProperty(references, false);
    m_mpv.addSubtitle(m_paths.value(m_subtitle.fileId));
    m_mpv.setProperty(references, before);
    m_tracks = m_mpv.trackInfo();
    // A file that libmpv cannot read adds no track, some add more than one.
    while (m_added.size() < externalTracks().size()) {
        m_added.append(m_subtitle.fileId);
    }
    emit changed();
}

QList<int> TrackChoices::externalTracks() const
{
    QList<int> ids;
    for (const SubTrack &track : m_tracks.subTracks) {
        if (track.external) {
            ids.append(track.id);
        }
    }
    return ids;
}

QList<MenuEntry> TrackChoices::subtitleMenu() const
{
    TrackInfo embedded;
    QString selectedFile;
    bool anySelected = false;
    for (const SubTrack &track : m_tracks.subTracks) {
        anySelected |= track.selected;
        if (!track.external) {
            embedded.subTracks.append(track);
        } else if (track.selected) {
            selectedFile = m_added.value(externalTracks().indexOf(track.id));
        }
    }
    const QStringList labels = subtitleTrackLabels(embedded);
    QList<MenuEntry> entries;
    for (int i = 0; i < labels.size(); ++i) {
        const SubTrack &track = embedded.subTracks.at(i);
        entries.append({labels.at(i), track.id, track.selected});
    }
    entries.prepend({QStringLiteral("关闭字幕"), FolderMemory::NoTrack, !anySelected});
    bool first = true;
    for (const FileItem &file : m_subtitleFiles) {
        MenuEntry entry{file.name, file.file_id, file.file_id == selectedFile};
        entry.beginsGroup = std::exchange(first, false);
        entries.append(entry);
    }
    return entries;
}

QList<MenuEntry> TrackChoices::audioMenu() const
{
    const QStringList labels = audioTrackLabels(m_tracks);
    QList<MenuEntry> entries;
    for (int i = 0; i < m_tracks.audioTracks.size(); ++i) {
        const AudioTrack &track = m_tracks.audioTracks.at(i);
        entries.append({labels.at(i), track.id, track.selected});
    }
    return entries;
}

void TrackChoices::chooseSubtitle(const QVariant &data)
{
    m_userChose = true;
    m_fileChosen = true;
    m_tracksChosen = true;
    m_fetcher.cancel();
    if (data.type() == QVariant::String) {
        chooseFile(data.toString());
    } else {
        chooseTrack(data.toInt());
    }
}

void TrackChoices::chooseTrack(int id)
{
    const bool off = id == FolderMemory::NoTrack;
    remember({off ? SubtitleKind::Off : SubtitleKind::Embedded, id});
    m_selectedSubtitleTrackId = id;
    m_folder.setSubtitleTrack(id);
    setTrack(m_mpv, subtitleProperty(), id);
}

void TrackChoices::chooseFile(const QString &fileId)
{
    remember({SubtitleKind::DriveFile, 0, fileId});
    m_selectedSubtitleTrackId = -1;
    m_folder.setSubtitleTrack(std::nullopt);
    const int added = m_added.indexOf(fileId);
    if (added >= 0) {
        setTrack(m_mpv, subtitleProperty(), externalTracks().value(added));
    } else if (m_fileLoaded && m_paths.contains(fileId)) {
        addFile();
    } else {
        fetchFile(fileId);
    }
}

void TrackChoices::remember(const SubtitleChoice &choice)
{
    m_subtitle = choice;
    m_row.saveSubtitle(static_cast<int>(choice.kind), choice.fileId);
}

void TrackChoices::chooseAudio(const QVariant &data)
{
    m_userChose = true;
    m_audioTrackId = data.toInt();
    m_folder.setAudioTrack(*m_audioTrackId);
    setTrack(m_mpv, audioProperty(), *m_audioTrackId);
}
