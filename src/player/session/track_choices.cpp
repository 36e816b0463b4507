#include "player/session/track_choices.h"

#include <algorithm>
#include <utility>

#include <QDebug>

#include "api/session/patient_reading.h"
#include "net/log_failure.h"
#include "player/mpv/mpv_widget.h"
#include "player/session/folder_memory.h"
#include "player/session/history_row.h"
#include "player/session/subtitle_command.h"
#include "player/session/subtitle_files.h"
#include "player/session/subtitle_menu.h"
#include "player/session/track_labels.h"

namespace {

QVariant automatic()
{
    return QStringLiteral("auto");
}

QVariant none()
{
    return QStringLiteral("no");
}

QString subtitleProperty()
{
    return QStringLiteral("sid");
}

QString audioProperty()
{
    return QStringLiteral("aid");
}

// Before a file is open: by language where one is known, else by number. libmpv takes a number of
// the last file over to the next, where it may mean another track or none.
void wantAhead(MpvWidget &mpv, const QString &track, const QString &language,
               const std::optional<TrackMemory> &wanted, const QStringList &byDefault)
{
    const QStringList tags = wanted ? languageTags(wanted->language) : byDefault;
    const bool hasNumber = wanted && tags.isEmpty() && wanted->id > 0;
    mpv.setProperty(language, tags.join(QLatin1Char(',')));
    mpv.setProperty(track, hasNumber ? QVariant(wanted->id) : automatic());
}

} // namespace

TrackChoices::TrackChoices(MpvWidget &mpv, HistoryRow &row, FolderMemory &folder, UserInfo user,
                           const CarriedTracks &carried)
    : m_mpv(mpv)
    , m_row(row)
    , m_folder(folder)
    , m_user(std::move(user))
    , m_fetcher(m_user, row.file().file_id)
    , m_added(mpv)
    , m_folderFiles(m_user)
    , m_second(mpv, m_added, m_user, row.file().file_id, carried.second)
    , m_audio(folder.audioTrack())
    , m_carried(carried.subtitle)
{
    m_subtitle = rememberedSubtitle();
    connect(&m_fetcher, &SubtitleFetcher::fetched, this, &TrackChoices::onFetched);
    connect(&m_folderFiles, &FolderSubtitles::known, this, &TrackChoices::onFolderFiles);
    connect(&m_folderFiles, &FolderSubtitles::askedAgain, this, &TrackChoices::onAskedAgain);
    connect(&m_second, &SecondSubtitle::added, this, &TrackChoices::onTrackListChanged);
}

TrackChoices::SubtitleChoice TrackChoices::rememberedSubtitle() const
{
    const PlayHistory &row = m_row.values();
    if (!row.subTitle.value().isEmpty()) {
        return {SubtitleKind::DriveFile, {}, row.subTitle.value()};
    }
    if (row.subTitleType.value() == static_cast<int>(SubtitleKind::Off)) {
        return {SubtitleKind::Off};
    }
    if (const auto track = m_folder.subtitleTrack()) {
        return track->id < 0 ? SubtitleChoice{SubtitleKind::Off}
                             : SubtitleChoice{SubtitleKind::Embedded, *track};
    }
    if (m_carried) {
        return {SubtitleKind::Embedded, *m_carried};
    }
    return {};
}

void TrackChoices::setTranscoded(const QList<OfferedSubtitle> &offered)
{
    m_transcoded = offered;
}

SecondSubtitle::Offer TrackChoices::offer() const
{
    return {m_tracks, m_transcoded, m_files};
}

CarriedTracks TrackChoices::carried() const
{
    return {m_carried, m_second.carried()};
}

// What is remembered is asked for ahead of loading, so that it plays from the first second: a track
// that is chosen later shows nothing until its next words.
void TrackChoices::beginLoad()
{
    m_fileLoaded = false;
    m_tracksChosen = false;
    m_standIn.clear();
    m_added.clear();
    m_tracks = TrackList();
    m_second.beginLoad();
    const bool isEmbedded = m_subtitle.kind == SubtitleKind::Embedded;
    wantAhead(m_mpv, audioProperty(), QStringLiteral("alang"), m_audio, {});
    wantAhead(m_mpv, subtitleProperty(), QStringLiteral("slang"),
              isEmbedded ? std::make_optional(m_subtitle.track) : std::nullopt, chineseTags());
    if (m_subtitle.kind == SubtitleKind::Off) {
        m_mpv.setProperty(subtitleProperty(), none());
    }
    setDelay(m_delay);
    emit changed();
}

// A subtitle file that is still on its way is kept for the next load of this video.
void TrackChoices::endLoad()
{
    m_fileLoaded = false;
    m_second.endLoad();
    m_added.clear();
}

void TrackChoices::requestFolder()
{
    if (m_folderFiles.isAsked()) {
        return;
    }
    m_folderFiles.request(m_folder.folderId());
    if (m_folder.folderName().isEmpty()) {
        requestFolderName();
    }
}

void TrackChoices::requestFolderName()
{
    const auto named = [this](const FileItem &folder) { m_folder.setFolderName(folder.name); };
    const auto fail = [](const QString &error, int code) {
        logFailure(QStringLiteral("getFile"), code, error);
    };
    const auto ask = [this, named = m_replies.guard(named)](const OpenApiClient &client,
                                                            const ApiFailure &failed) {
        return client.fileDetails(m_folder.folderId(), named, failed);
    };
    readPatiently(m_replies, OpenApiClient(m_user).inTurn(RequestTurn::Soon), ask, fail);
}

void TrackChoices::onFolderChanged()
{
    const bool wasAsked = m_folderFiles.isAsked();
    m_replies.abandon();
    m_folderFiles.clear();
    m_files.clear();
    if (!m_userChose) {
        m_audio = m_folder.audioTrack();
        m_subtitle = rememberedSubtitle();
        m_fileChosen = m_fileChosen && m_subtitle.kind == SubtitleKind::DriveFile;
        if (m_tracksChosen) {
            selectRemembered();
        }
    }
    if (wasAsked) {
        requestFolder();
    }
}

void TrackChoices::onFolderFiles()
{
    m_files = m_folderFiles.files();
    suggestFor(m_row.file().name, m_files);
    chooseFileAutomatically();
    emit changed();
}

void TrackChoices::onAskedAgain()
{
    m_fileChosen = m_userChose || m_subtitle.kind == SubtitleKind::DriveFile;
    if (m_folder.folderName().isEmpty()) {
        requestFolderName();
    }
}

void TrackChoices::onFileLoaded()
{
    m_fileLoaded = true;
    m_tracks = readTrackList(m_mpv);
    if (m_subtitle.kind == SubtitleKind::DriveFile && m_added.isKept(m_subtitle.fileId)) {
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
        m_tracks = readTrackList(m_mpv);
        m_second.onPlaying(offer());
    }
    m_hasPlayed = true;
    writeRow();
}

void TrackChoices::onTrackListChanged()
{
    if (!m_fileLoaded) {
        return;
    }
    m_tracks = readTrackList(m_mpv);
    emit changed();
}

void TrackChoices::selectRemembered()
{
    m_tracks = readTrackList(m_mpv);
    selectAudio();
    switch (m_subtitle.kind) {
    case SubtitleKind::Off:
        m_mpv.setProperty(subtitleProperty(), none());
        break;
    case SubtitleKind::Embedded:
        selectEmbedded();
        break;
    case SubtitleKind::Automatic:
    case SubtitleKind::DriveFile:
        if (m_added.isEmpty()) {
            selectChinese();
        }
        break;
    }
}

// Streams have no tracks of their own; what the drive has transcoded stands in for them.
void TrackChoices::selectEmbedded()
{
    if (const auto track = findTrack(m_subtitle.track, m_tracks.embeddedSubtitles())) {
        if (track != m_tracks.shown) {
            m_mpv.setProperty(subtitleProperty(), *track);
        }
    } else if (const auto *file = findLanguage(m_transcoded, m_subtitle.track.language)) {
        m_standIn = file->id;
        if (m_added.isKept(m_standIn)) {
            addFile();
        } else {
            fetchFile(m_standIn);
        }
    } else {
        selectChinese();
    }
}

// libmpv plays nothing in the place of a wanted number that the file does not have.
void TrackChoices::selectAudio()
{
    if (!m_audio) {
        return;
    }
    const auto wanted = findTrack(*m_audio, m_tracks.audio());
    const QList<AudioTrack> &tracks = m_tracks.info.audioTracks;
    const auto find = [&tracks](auto isRight) {
        return std::find_if(tracks.cbegin(), tracks.cend(), isRight);
    };
    auto found = find([&wanted](const AudioTrack &track) { return wanted == track.id; });
    if (found == tracks.cend()) {
        found = find([](const AudioTrack &track) { return track.isDefault; });
    }
    if (found == tracks.cend()) {
        found = tracks.cbegin();
    }
    if (found == tracks.cend()) {
        m_mpv.setProperty(audioProperty(), none());
    } else if (!found->selected) {
        m_mpv.setProperty(audioProperty(), found->id);
    }
}

void TrackChoices::selectChinese()
{
    const auto chinese = [this](const QString &tag) {
        const QList<SubTrack> &tracks = m_tracks.info.subTracks;
        return std::find_if(tracks.cbegin(), tracks.cend(), [&tag](const SubTrack &track) {
            return track.lang.compare(tag, Qt::CaseInsensitive) == 0;
        });
    };
    const QStringList tags = chineseTags();
    for (const QString &tag : tags) {
        if (const auto track = chinese(tag); track != m_tracks.info.subTracks.cend()) {
            m_mpv.setProperty(subtitleProperty(), track->id);
            return;
        }
    }
}

// Whether a track that the user chose goes before a file that only looks right.
bool TrackChoices::isSettled() const
{
    switch (m_subtitle.kind) {
    case SubtitleKind::Off:
        return true;
    case SubtitleKind::Embedded:
        return findTrack(m_subtitle.track, m_tracks.embeddedSubtitles()).has_value() ||
               findLanguage(m_transcoded, m_subtitle.track.language) != nullptr;
    case SubtitleKind::Automatic:
    case SubtitleKind::DriveFile:
        break;
    }
    return false;
}

// Waits for the file, because libmpv adds subtitles to nothing, and for the folder's files.
void TrackChoices::chooseFileAutomatically()
{
    if (!m_fileLoaded || !m_folderFiles.isKnown() || m_fileChosen) {
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
    const OfferedSubtitle *similar = findSimilarSubtitle(m_files, videoName);
    if (similar && !isSettled()) {
        m_subtitle = {SubtitleKind::DriveFile, {}, similar->id};
        fetchFile(similar->id);
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

QString TrackChoices::wantedFile() const
{
    return m_subtitle.kind == SubtitleKind::DriveFile ? m_subtitle.fileId : m_standIn;
}

void TrackChoices::fetchFile(const QString &fileId)
{
    for (const QList<OfferedSubtitle> *list : {&m_transcoded, &m_files}) {
        if (const OfferedSubtitle *found = findOffered(*list, fileId)) {
            m_fetcher.fetch(*found);
            return;
        }
    }
    m_fetcher.fetch({fileId}); // it was moved
}

void TrackChoices::onFetched(const QString &fileId, const QString &path)
{
    m_added.keep(fileId, path);
    if (m_fileLoaded && fileId == wantedFile()) {
        addFile();
    }
}

void TrackChoices::addFile()
{
    m_added.add(wantedFile(), AddedSubtitles::Show::AtOnce);
    m_tracks = readTrackList(m_mpv);
    emit changed();
}

QList<MenuEntry> TrackChoices::subtitleMenu() const
{
    return ::subtitleMenu({m_tracks, m_added, m_transcoded, m_files, m_delay});
}

QList<MenuEntry> TrackChoices::audioMenu() const
{
    const TrackInfo &tracks = m_tracks.info;
    const QStringList labels = audioTrackLabels(tracks, m_tracks.audioTitles);
    QList<MenuEntry> entries;
    for (int i = 0; i < tracks.audioTracks.size(); ++i) {
        const AudioTrack &track = tracks.audioTracks.at(i);
        entries.append({labels.at(i), track.id, track.selected});
    }
    return entries;
}

void TrackChoices::chooseSubtitle(const QVariant &data)
{
    if (const auto command = SubtitleCommand::fromData(data)) {
        if (command->kind == SubtitleCommand::Kind::Second) {
            m_second.choose(command->value, offer());
        } else if (command->kind == SubtitleCommand::Kind::Delay) {
            const int step = command->value.toInt();
            setDelay(step == 0 ? 0 : m_delay + step);
            emit noted(delayText(m_delay));
        }
        emit changed();
        return;
    }
    m_userChose = true;
    m_fileChosen = true;
    m_tracksChosen = true;
    m_standIn.clear();
    m_fetcher.cancel();
    if (data.type() == QVariant::String) {
        chooseFile(data.toString());
    } else {
        chooseTrack(data.toInt());
    }
}

void TrackChoices::showTrack(int id)
{
    m_second.giveUp(id, offer());
    m_mpv.setProperty(subtitleProperty(), id);
}

void TrackChoices::chooseTrack(int id)
{
    if (id == FolderMemory::NoTrack) {
        remember({SubtitleKind::Off});
        m_carried.reset();
        m_folder.setSubtitleTrack(TrackMemory{FolderMemory::NoTrack});
        m_mpv.setProperty(subtitleProperty(), none());
        return;
    }
    m_carried = m_tracks.subtitleTrack(id);
    remember({SubtitleKind::Embedded, *m_carried});
    m_folder.setSubtitleTrack(m_carried);
    showTrack(id);
}

// A transcoded one is a language that the next videos have, too.
void TrackChoices::chooseFile(const QString &fileId)
{
    remember({SubtitleKind::DriveFile, {}, fileId});
    m_carried.reset();
    const OfferedSubtitle *transcoded = findOffered(m_transcoded, fileId);
    if (transcoded && !transcoded->language.isEmpty()) {
        m_carried = TrackMemory{0, transcoded->language};
    }
    m_folder.setSubtitleTrack(m_carried);
    if (const auto added = m_added.trackOf(fileId)) {
        showTrack(*added);
    } else if (m_fileLoaded && m_added.isKept(fileId)) {
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
    m_audio = m_tracks.audioTrack(data.toInt());
    m_folder.setAudioTrack(*m_audio);
    m_mpv.setProperty(audioProperty(), m_audio->id);
}

void TrackChoices::setDelay(int delay)
{
    m_delay = delay;
    m_mpv.setProperty(QStringLiteral("sub-delay"), delay / 10.0);
}
