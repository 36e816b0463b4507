#include "player/session/play_session.h"

#include <utility>

#include <QDebug>

#include "app/environment/app_settings.h"
#include "player/mpv/mpv_widget.h"
#include "player/session/play_request.h"

namespace {

// So many seconds of a new address prove that it works.
constexpr int ProvenAfter = 10;
// So many seconds before its turn the next video's addresses are asked for.
constexpr int FetchedAhead = 60;

QString cannotPlay(const OpenedVideo &video)
{
    return QStringLiteral("视频无法播放：%1").arg(video.file().name);
}

} // namespace

PlaySession::PlaySession(MpvWidget &mpv, QObject *parent) : QObject(parent), m_mpv(mpv)
{
    connect(&m_positions, &OnceASecond::due, this, &PlaySession::showPosition);
    connect(&mpv, &MpvWidget::fileLoaded, this, &PlaySession::onFileLoaded);
    connect(&mpv, &MpvWidget::playbackRestarted, this, &PlaySession::onPlaybackRestarted);
    connect(&mpv, &MpvWidget::durationChanged, this, &PlaySession::onDurationChanged);
    connect(&mpv, &MpvWidget::positionChanged, this, &PlaySession::onPositionChanged);
    connect(&mpv, &MpvWidget::trackListChanged, this, [this](const TrackInfo &tracks) {
        if (m_loaded) {
            m_loaded->tracks.onTrackListChanged(tracks);
        }
    });
    connect(&mpv, &MpvWidget::playEnd, this, &PlaySession::onPlayEnd);
    connect(&mpv, &MpvWidget::paused, this, &PlaySession::onPaused);
}

OpenedVideo *PlaySession::chosen() const
{
    return m_candidate ? m_candidate.get() : m_current.get();
}

bool PlaySession::isPlaying() const
{
    return !m_candidate && m_current && m_current->state == PlayState::Playing;
}

// --- what is asked for

void PlaySession::open(const PlayRequest &request)
{
    const QString &id = request.file.file_id;
    if (chosen() && chosen()->isAlive() && chosen()->file().file_id == id) {
        return;
    }
    if (m_candidate && m_current && m_current->isAlive() && m_current->file().file_id == id) {
        dropCandidate();
        return;
    }
    savePosition();
    const bool isListed = !request.videos.isEmpty();
    const QList<FileItem> listed = isListed ? request.videos : QList<FileItem>{request.file};
    const int subtitle = chosen() ? chosen()->tracks.chosenTrack() : FolderMemory::NoTrack;
    auto video = std::make_unique<OpenedVideo>(m_mpv, request.user, request.file, listed,
                                               request.history, subtitle);
    if (isListed) {
        video->neighbours.request(request.file);
    } else {
        video->neighbours.locate(request.file);
    }
    setCandidate(std::move(video));
}

void PlaySession::playRelative(int step)
{
    const OpenedVideo *from = chosen();
    if (!from) {
        return;
    }
    if (const FileItem *file = from->neighbours.neighbour(from->file().file_id, step)) {
        openNeighbour(*file, StartFrom::EndOfIntro);
    }
}

void PlaySession::playChosen(const QString &fileId)
{
    const FileItem *file = chosen() ? chosen()->neighbours.find(fileId) : nullptr;
    if (!file || (chosen()->isAlive() && chosen()->file().file_id == fileId)) {
        return;
    }
    if (!m_current || m_current->file().file_id != fileId) {
        openNeighbour(*file, StartFrom::EndOfIntro);
    } else if (m_candidate && m_current->isAlive()) {
        dropCandidate();
    } else {
        openNeighbour(*file, StartFrom::WhereItStopped); // it goes on where it broke off
    }
}

void PlaySession::openNeighbour(const FileItem &file, StartFrom start)
{
    const OpenedVideo &from = *chosen();
    savePosition();
    auto video = std::make_unique<OpenedVideo>(m_mpv, from.user, file, QList<FileItem>(),
                                               PlayHistory(), from.tracks.chosenTrack());
    video->start = start;
    video->neighbours.adopt(from.neighbours);
    if (!video->neighbours.isComplete()) {
        video->neighbours.request(file);
    }
    setCandidate(std::move(video));
}

void PlaySession::togglePause()
{
    switch (status().state) {
    case PlayState::Ended: {
        m_mpv.play();
        m_current->hasAdvanced = true;
        const FileItem *next = m_current->neighbours.neighbour(m_current->file().file_id, 1);
        openNeighbour(next ? *next : m_current->file(), StartFrom::EndOfIntro);
        break;
    }
    case PlayState::Failed:
        m_mpv.play();
        openNeighbour(m_current->file(),
                      m_current->playback.wasSeen() ? StartFrom::WhereItStopped : m_current->start);
        break;
    default:
        m_mpv.setProperty(QStringLiteral("pause"), !m_mpv.isPaused());
    }
}

void PlaySession::savePosition()
{
    if (!m_current || !m_current->playback.wasSeen()) {
        return;
    }
    if (m_loaded == m_current.get()) {
        m_current->playback.refreshPosition();
    }
    m_current->row.savePosition(m_current->playback.place(), m_current->playback.duration());
}

void PlaySession::reloadSkipTimes()
{
    for (OpenedVideo *video : {m_current.get(), m_candidate.get()}) {
        if (video) {
            video->folder.open(video->folder.folderId());
        }
    }
    emit menusChanged();
}

void PlaySession::chooseQuality(const QVariant &id)
{
    AppSettings().setVideoQuality(id.toString());
    emit videoQualityChanged();
    OpenedVideo *video = chosen();
    if (!video) {
        return;
    }
    video->address->want(id.toString());
    const bool canBePlayed = video->address->currentId() == id.toString();
    if (canBePlayed && video->state != PlayState::Opening && video->state != PlayState::Ended) {
        load(*video);
    }
}

void PlaySession::chooseSkip(const QVariant &action)
{
    if (!isPlaying()) {
        return;
    }
    if (applySkipAction(static_cast<SkipAction>(action.toInt()), m_current->folder,
                        m_mpv.position(), m_current->playback.duration())) {
        emit menusChanged();
    } else {
        emit told(QStringLiteral("片头片尾设置间隔太小,请重新设置"));
    }
}

void PlaySession::chooseAudio(const QVariant &track)
{
    if (isPlaying()) {
        m_current->tracks.chooseAudio(track);
    }
}

void PlaySession::chooseSubtitle(const QVariant &track)
{
    if (isPlaying()) {
        m_current->tracks.chooseSubtitle(track);
    }
}

// --- what is shown

PlayStatus PlaySession::status() const
{
    return statusOf(m_current.get(), m_candidate.get(), m_notice);
}

QList<FileItem> PlaySession::videos() const
{
    return chosen() ? chosen()->neighbours.videos() : QList<FileItem>();
}

PlayMenus PlaySession::menus() const
{
    return menusOf(chosen());
}

// --- opening

void PlaySession::setCandidate(Video video)
{
    m_notice.clear();
    stopCandidate();
    m_candidate = std::move(video);
    m_candidate->address = m_ahead.take(m_candidate->user, m_candidate->file());
    m_candidate->address->want(AppSettings().videoQuality());
    connectVideo(*m_candidate);
    emit videosChanged();
    emit changed();
    m_candidate->address->open();
}

void PlaySession::connectVideo(OpenedVideo &video)
{
    connect(video.address.get(), &PlayAddress::ready, this,
            [this, &video] { onAddressReady(video); });
    connect(video.address.get(), &PlayAddress::unavailable, this,
            [this, &video] { onNoAddress(video); });
    connect(&video.row, &HistoryRow::saved, this, &PlaySession::historyUpdated);
    connect(&video.tracks, &TrackChoices::changed, this, &PlaySession::menusChanged);
    connect(&video.neighbours, &FolderVideos::changed, this, &PlaySession::videosChanged);
    connect(&video.neighbours, &FolderVideos::located, this,
            [this, &video](const FileItem &file) { onLocated(video, file); });
}

void PlaySession::onLocated(OpenedVideo &video, const FileItem &file)
{
    video.row.setFile(file);
    if (file.parent_file_id != video.folder.folderId()) {
        video.folder.open(file.parent_file_id);
    }
    emit changed();
}

void PlaySession::onAddressReady(OpenedVideo &video)
{
    if (!video.address->isPlayable()) {
        onNoAddress(video);
        return;
    }
    if (m_loaded && m_loaded == m_candidate.get() && &video == m_current.get()) {
        // The repaired address comes too late, unless the candidate fails.
        video.state = PlayState::Loading;
        return;
    }
    load(video);
}

void PlaySession::onNoAddress(OpenedVideo &video)
{
    if (&video == m_candidate.get()) {
        onCannotOpen();
    } else {
        onBrokenDown(video);
    }
}

void PlaySession::load(OpenedVideo &video)
{
    if (m_loaded == &video) {
        video.playback.refreshPosition();
    } else if (m_loaded && m_loaded == m_current.get()) {
        savePosition(); // it played on while the other one was being opened
    }
    if (m_current && m_current.get() != &video) {
        m_current->tracks.endLoad();
    }
    video.state = PlayState::Loading;
    m_loaded = &video;
    qDebug() << "已经获取到播放链接";
    video.tracks.beginLoad();
    video.playback.setDriveDuration(video.address->duration());
    video.playback.load(video.address->currentUrl());
    emit changed();
    video.tracks.requestFolder();
}

void PlaySession::stopCandidate()
{
    if (m_candidate && m_loaded == m_candidate.get()) {
        m_loaded = nullptr;
        m_mpv.command(QVariantList{QStringLiteral("stop")});
    }
}

// What played before is as it was; if it had to make way already, it is loaded again.
void PlaySession::dropCandidate()
{
    stopCandidate();
    m_candidate.reset();
    const bool isWaiting =
        m_current->state == PlayState::Playing || m_current->state == PlayState::Loading;
    if (isWaiting && m_loaded != m_current.get()) {
        load(*m_current);
    }
    emit videosChanged();
    emit changed();
}

void PlaySession::onCannotOpen()
{
    const QString text = cannotPlay(*m_candidate);
    if (m_current && m_current->state != PlayState::Failed) {
        dropCandidate();
    } else {
        m_current = std::move(m_candidate);
        m_current->state = PlayState::Failed;
    }
    m_notice = text;
    emit told(text);
    emit changed();
}

// A video that played and cannot go on.
void PlaySession::onBrokenDown(OpenedVideo &video)
{
    video.state = PlayState::Failed;
    if (m_candidate) {
        return; // the user waits for something else
    }
    m_notice = video.playback.position() > 0 ? QStringLiteral("视频播放中断，请稍后再试")
                                             : cannotPlay(video);
    emit told(m_notice);
    emit changed();
}

// --- what libmpv reports

void PlaySession::onFileLoaded()
{
    if (!m_loaded || m_loaded->state != PlayState::Loading) {
        return;
    }
    m_loaded->playback.onLoaded(m_loaded->resumePosition(), m_loaded->folder.skipTimes());
    m_loaded->tracks.onFileLoaded();
}

void PlaySession::onPlaybackRestarted()
{
    if (!m_loaded) {
        return;
    }
    if (m_loaded->state == PlayState::Loading) {
        onPicture(*m_loaded);
    }
    m_loaded->tracks.onPlaybackRestarted();
}

void PlaySession::onPicture(OpenedVideo &video)
{
    if (&video == m_candidate.get()) {
        m_current = std::move(m_candidate);
        if (video.start == StartFrom::WhereItStopped) {
            m_mpv.play(); // a step from a paused video leads to a paused one
        }
    }
    m_notice.clear();
    video.state = PlayState::Playing;
    m_positions.restart();
    emit changed();
}

void PlaySession::onDurationChanged(int value)
{
    if (!m_loaded) {
        return;
    }
    m_loaded->playback.onDuration(value);
    if (isPlaying()) {
        emit durationChanged(m_current->playback.duration());
    }
}

void PlaySession::onPositionChanged(int value)
{
    if (!m_loaded || m_loaded->state != PlayState::Playing ||
        !m_loaded->playback.onPosition(value)) {
        return;
    }
    std::optional<int> &repairedAt = m_loaded->repairedAt;
    if (repairedAt && value > *repairedAt + ProvenAfter) {
        repairedAt.reset();
    }
    m_positions.call();
}

void PlaySession::showPosition()
{
    if (!isPlaying()) {
        return;
    }
    const int position = m_current->playback.position();
    emit positionShown(position, m_current->playback.duration());
    const int settled = m_current->playback.settledDuration();
    if (settled == 0) {
        return;
    }
    const int toGo = m_current->folder.skipTimes().outroStart(settled) - position;
    const FileItem *next = m_current->neighbours.neighbour(m_current->file().file_id, 1);
    if (next && toGo <= FetchedAhead && !m_current->hasAdvanced) {
        m_ahead.fetch(m_current->user, *next);
    }
    if (toGo <= 0 && !m_mpv.isPaused()) {
        advance();
    }
}

void PlaySession::advance()
{
    if (!m_candidate && !std::exchange(m_current->hasAdvanced, true)) {
        playRelative(1);
    }
}

void PlaySession::onPaused(bool isPause)
{
    if (!isPause && !m_candidate && m_current && m_current->state == PlayState::Ended) {
        advance();
    }
}

void PlaySession::onPlayEnd()
{
    const MpvWidget::EndReason reason = m_mpv.endReason();
    const bool isFailure = reason == MpvWidget::EndReason::Failed;
    if (!m_loaded || (!isFailure && reason != MpvWidget::EndReason::Finished)) {
        return;
    }
    OpenedVideo &video = *std::exchange(m_loaded, nullptr);
    if (video.state == PlayState::Loading) {
        onLoadingEnd(video);
    } else if (video.state == PlayState::Playing) {
        onPlayingEnd(video, isFailure);
    }
}

void PlaySession::onLoadingEnd(OpenedVideo &video)
{
    if (video.playback.wasSeen()) {
        repair(video);
    } else if (video.address->isOld()) {
        renewAddress(video);
    } else {
        onNoAddress(video);
    }
}

// An address that has expired, or a connection that was cut, looks like the end of the data.
void PlaySession::onPlayingEnd(OpenedVideo &video, bool isFailure)
{
    if (isFailure || video.playback.wouldEndEarly()) {
        repair(video);
        return;
    }
    const bool isMomentary = video.playback.position() == 0 && video.playback.duration() == 0;
    if (std::exchange(m_wasMomentary, isMomentary) && isMomentary) {
        onBrokenDown(video);
        return;
    }
    video.playback.onEnd();
    video.state = PlayState::Ended;
    if (m_candidate) {
        savePosition(); // for it has been watched on since the other was asked for
    }
    emit changed();
    if (!m_mpv.isPaused()) {
        advance();
    }
}

void PlaySession::repair(OpenedVideo &video)
{
    if (video.repairedAt) {
        onBrokenDown(video);
        return;
    }
    video.repairedAt = video.playback.position();
    video.address->want(video.address->currentId());
    renewAddress(video);
}

void PlaySession::renewAddress(OpenedVideo &video)
{
    video.state = PlayState::Opening;
    video.address->renew();
    emit changed();
}
