#include "player/track_choices.h"

#include <algorithm>
#include <utility>

#include <QDebug>

#include "player/folder_memory.h"
#include "player/mpv_widget.h"
#include "player/playback.h"
#include "player/subtitle_files.h"
#include "player/track_labels.h"

namespace {

QVariant automatic()
{
    return QStringLiteral("auto");
}

void setTrack(MpvWidget &mpv, const QString &property, int id)
{
    mpv.setProperty(property,
                    id == FolderMemory::noTrack ? QVariant(QStringLiteral("no")) : QVariant(id));
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

TrackChoices::TrackChoices(MpvWidget &mpv, Playback &playback, FolderMemory &folder,
                           QObject *parent)
    : QObject(parent), m_mpv(mpv), m_playback(playback), m_folder(folder)
{
    connect(&mpv, &MpvWidget::fileLoaded, this, &TrackChoices::onFileLoaded);
    connect(&mpv, &MpvWidget::playbackRestarted, this, &TrackChoices::onPlaybackRestarted);
    connect(&mpv, &MpvWidget::trackListChanged, this, &TrackChoices::onTrackListChanged);
    connect(&m_fetcher, &SubtitleFetcher::fetched, this, &TrackChoices::onFetched);
}

void TrackChoices::beginVideo(const UserInfo &user)
{
    m_user = user;
    m_fetcher.cancel();
    m_subtitleFiles.clear();
    m_paths.clear();
    m_filesKnown = false;
    m_fileLoaded = false;
    m_fileChosen = false;
    m_subtitle = rememberedSubtitle();
    m_audioTrackId = m_folder.audioTrack();
}

TrackChoices::SubtitleChoice TrackChoices::rememberedSubtitle() const
{
    const PlayedVideo *video = m_playback.current();
    if (video && !video->history.subTitle.value().isEmpty())
        return {SubtitleKind::DriveFile, 0, video->history.subTitle.value()};
    const int off = static_cast<int>(SubtitleKind::Off);
    if (video && video->history.subTitleType.value() == off)
        return {SubtitleKind::Off};
    if (const auto id = m_folder.subtitleTrack()) {
        return *id < 0 ? SubtitleChoice{SubtitleKind::Off}
                       : SubtitleChoice{SubtitleKind::Embedded, *id};
    }
    if (m_selectedSubtitleTrackId != -1)
        return {SubtitleKind::Embedded, m_selectedSubtitleTrackId};
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
        setTrack(m_mpv, subtitleProperty(), FolderMemory::noTrack);
    } else if (m_subtitle.kind == SubtitleKind::Embedded) {
        setTrack(m_mpv, subtitleProperty(), m_subtitle.trackId);
    } else {
        m_mpv.setProperty(subtitleProperty(), automatic());
    }
    emit changed();
}

void TrackChoices::setFolderFiles(const QList<FileItem> &files)
{
    m_subtitleFiles = subtitleFilesOf(files);
    m_filesKnown = true;
    chooseFileAutomatically();
    emit changed();
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
    if (m_fileLoaded && !std::exchange(m_tracksChosen, true))
        selectRemembered();
}

void TrackChoices::onTrackListChanged(const TrackInfo &tracks)
{
    if (!m_fileLoaded)
        return;
    m_tracks = tracks;
    emit changed();
}

void TrackChoices::selectRemembered()
{
    m_tracks = m_mpv.trackInfo();
    if (m_audioTrackId)
        setTrack(m_mpv, audioProperty(), playableAudio(*m_audioTrackId));
    if (!m_added.isEmpty())
        return;
    if (m_subtitle.kind == SubtitleKind::Off) {
        setTrack(m_mpv, subtitleProperty(), FolderMemory::noTrack);
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
    if (found == tracks.cend())
        found = find([](const AudioTrack &track) { return track.selected; });
    if (found == tracks.cend())
        found = find([](const AudioTrack &track) { return track.isDefault; });
    if (found == tracks.cend())
        found = tracks.cbegin();
    return found == tracks.cend() ? FolderMemory::noTrack : found->id;
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
    PlayedVideo *video = m_playback.current();
    if (!m_fileLoaded || !m_filesKnown || m_fileChosen || !video)
        return;
    m_fileChosen = true;
    if (m_subtitle.kind == SubtitleKind::DriveFile) {
        qDebug().noquote() << "get saved netdisk subtitle:" << m_subtitle.fileId;
        fetchFile(m_subtitle.fileId);
    } else {
        const QString name = video->file.name;
        qDebug().noquote() << "math similar subtitle:" << videoBaseName(name);
        // A track that the user chose for the folder goes before a file that only looks right.
        const bool isSettled =
            m_subtitle.kind == SubtitleKind::Off ||
            (m_subtitle.kind == SubtitleKind::Embedded && hasSubtitleTrack(m_subtitle.trackId));
        const FileItem *similar = findSimilarSubtitle(m_subtitleFiles, name);
        if (similar && !isSettled) {
            remember({SubtitleKind::DriveFile, 0, similar->file_id});
            fetchFile(similar->file_id);
        }
    }
    m_playback.saveRecord();
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
    if (m_subtitle.kind != SubtitleKind::DriveFile || m_subtitle.fileId != fileId)
        return;
    m_paths.insert(fileId, path);
    if (m_fileLoaded)
        addFile();
}

void TrackChoices::addFile()
{
    m_mpv.addSubtitle(m_paths.value(m_subtitle.fileId));
    m_tracks = m_mpv.trackInfo();
    // A file that libmpv cannot read adds no track, some add more than one.
    while (m_added.size() < externalTracks().size())
        m_added.append(m_subtitle.fileId);
    emit changed();
}

QList<int> TrackChoices::externalTracks() const
{
    QList<int> ids;
    for (const SubTrack &track : m_tracks.subTracks) {
        if (track.external)
            ids.append(track.id);
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
    entries.prepend({QStringLiteral("关闭字幕"), FolderMemory::noTrack, !anySelected});
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
    if (!m_playback.current())
        return;
    m_fileChosen = true;
    m_tracksChosen = true;
    m_fetcher.cancel();
    if (data.type() == QVariant::String) {
        chooseFile(data.toString());
    } else {
        chooseTrack(data.toInt());
    }
    m_playback.saveRecord();
}

void TrackChoices::chooseTrack(int id)
{
    const bool off = id == FolderMemory::noTrack;
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
    if (PlayedVideo *video = m_playback.current()) {
        video->history.subTitleType = static_cast<int>(choice.kind);
        video->history.subTitle = choice.fileId;
    }
}

void TrackChoices::chooseAudio(const QVariant &data)
{
    m_audioTrackId = data.toInt();
    m_folder.setAudioTrack(*m_audioTrackId);
    setTrack(m_mpv, audioProperty(), *m_audioTrackId);
}
