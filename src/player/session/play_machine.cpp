#include "player/session/play_machine.h"

#include <cstdlib>
#include <utility>

#include <QDebug>

#include "net/reply_guard.h"
#include "player/mpv/mpv_widget.h"

namespace {

// So many seconds of a new address prove that it works.
constexpr int ProvenAfter = 10;
// A clean end comes back at the same second, give or take so many.
constexpr int SameSecond = 1;
// So many seconds of a video are lost at most when the program is killed.
constexpr int SavedEvery = 30;

QString cannotPlay(const OpenedVideo &video)
{
    const QString text = QStringLiteral("视频无法播放：%1").arg(video.file().name);
    const QString reason = video.address->reason();
    const bool isKnown = !video.address->isPlayable() && !reason.isEmpty();
    return isKnown ? text + QLatin1Char('\n') + reason : text;
}

// Whether the data end there, whatever is said of the length: a new address made no difference.
bool isRealEnd(const OpenedVideo &video)
{
    return video.repairedAt && video.playback.isNearEnd() &&
           std::abs(video.playback.position() - *video.repairedAt) <= SameSecond;
}

std::optional<PlayMachine::Refused> refusedOf(const OpenedVideo &video, StartFrom start)
{
    if (!video.address->isRefused()) {
        return std::nullopt;
    }
    auto neighbours = std::make_unique<FolderVideos>(video.user, QList<FileItem>());
    neighbours->adopt(video.neighbours);
    return PlayMachine::Refused{video.user, video.file(), start, std::move(neighbours)};
}

// The user reads that something is waited for before those who asked for it lose patience.
std::chrono::milliseconds longSilence()
{
    return ReplyGuard::patience().silent * 2 / 3;
}

} // namespace

PlayMachine::PlayMachine(MpvWidget &mpv, QObject *parent) : QObject(parent), m_mpv(mpv)
{
    m_silence.setSingleShot(true);
    connect(&m_silence, &QTimer::timeout, this, &PlayMachine::onSilence);
    connect(&m_positions, &OnceASecond::due, this, &PlayMachine::onPositionDue);
    connect(&m_saves, &OnceASecond::due, this, &PlayMachine::savePosition);
    connectMpv();
}

void PlayMachine::connectMpv()
{
    connect(&m_mpv, &MpvWidget::fileLoaded, this, &PlayMachine::onFileLoaded);
    connect(&m_mpv, &MpvWidget::playbackRestarted, this, &PlayMachine::onPlaybackRestarted);
    connect(&m_mpv, &MpvWidget::durationChanged, this, &PlayMachine::onDurationChanged);
    connect(&m_mpv, &MpvWidget::positionChanged, this, &PlayMachine::onPositionChanged);
    connect(&m_mpv, &MpvWidget::trackListChanged, this, [this] {
        if (m_loaded) {
            m_loaded->tracks.onTrackListChanged();
        }
    });
    connect(&m_mpv, &MpvWidget::playEnd, this, &PlayMachine::onPlayEnd);
    connect(&m_mpv, &MpvWidget::paused, this, &PlayMachine::onPaused);
}

bool PlayMachine::isPlaying() const
{
    return !m_candidate && m_current && m_current->state == PlayState::Playing;
}

QString PlayMachine::notice() const
{
    if (m_isSilent) {
        return QStringLiteral("服务器没有响应，仍在等待\n按播放键重试");
    }
    if (!chosen() || chosen()->isAlive()) {
        return {};
    }
    return m_failure.text.isEmpty() ? QStringLiteral("播放完毕") : m_failure.text;
}

void PlayMachine::savePosition()
{
    if (!m_current || !m_current->playback.wasSeen()) {
        return;
    }
    Playback &playback = m_current->playback;
    if (m_loaded == m_current.get()) {
        playback.refresh();
    }
    m_savedPosition = playback.position();
    m_current->row.savePosition(playback.placeToStore(), playback.durationToStore());
}

// --- opening

void PlayMachine::open(Video video, Source source)
{
    m_failure = {};
    stop(m_candidate.get());
    m_candidate = std::move(video);
    connectVideo(*m_candidate);
    awaitSign();
    emit videosChanged();
    emit changed();
    if (source == Source::FileOnly) {
        m_candidate->address->openSource();
    } else {
        m_candidate->address->open();
    }
}

void PlayMachine::connectVideo(OpenedVideo &video)
{
    connect(video.address.get(), &PlayAddress::ready, this,
            [this, &video] { onAddressReady(video); });
    connect(video.address.get(), &PlayAddress::unavailable, this,
            [this, &video] { onNoAddress(video); });
    connect(&video.row, &HistoryRow::saved, this, &PlayMachine::historyUpdated);
    connect(&video.tracks, &TrackChoices::changed, this, &PlayMachine::menusChanged);
    connect(&video.tracks, &TrackChoices::noted, this, &PlayMachine::noted);
    connect(&video.neighbours, &FolderVideos::changed, this, &PlayMachine::videosChanged);
    for (const auto answer : {&FolderVideos::changed, &FolderVideos::failed}) {
        connect(&video.neighbours, answer, this,
                [this, &video] { emit neighboursAnswered(&video); });
    }
    connect(&video.neighbours, &FolderVideos::located, this,
            [this, &video](const FileItem &file) { onLocated(video, file); });
}

void PlayMachine::onLocated(OpenedVideo &video, const FileItem &file)
{
    video.row.setFile(file);
    if (file.parent_file_id != video.folder.folderId()) {
        video.folder.open(file.parent_file_id);
        if (m_loaded == &video) {
            video.playback.onSkipTimes(video.folder.skipTimes());
        }
        video.tracks.onFolderChanged();
        if (&video == m_current.get()) {
            video.folder.setLastPlayed(file.file_id);
        }
    }
    emit changed();
}

void PlayMachine::onAddressReady(OpenedVideo &video)
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

void PlayMachine::onNoAddress(OpenedVideo &video)
{
    if (&video == m_candidate.get()) {
        onCannotOpen();
    } else {
        onBrokenDown(video);
    }
}

void PlayMachine::load(OpenedVideo &video)
{
    if (m_loaded == &video) {
        video.playback.refresh();
    } else if (m_loaded && m_loaded == m_current.get()) {
        savePosition(); // it played on while the other one was being opened
    }
    letGo();
    if (video.state == PlayState::Failed) {
        m_failure = {};
    }
    video.state = PlayState::Loading;
    m_loaded = &video;
    video.tracks.setTranscoded(video.address->subtitles());
    video.tracks.beginLoad();
    video.playback.setDriveDuration(video.address->duration());
    awaitSign();
    emit changed(); // the title goes before the address
    qDebug() << "已经获取到播放链接";
    video.playback.load(video.address->currentUrl());
    video.tracks.requestFolder();
}

// What libmpv has is no longer anybody's.
void PlayMachine::letGo()
{
    if (m_loaded) {
        m_loaded->tracks.endLoad();
    }
    m_loaded = nullptr;
}

void PlayMachine::stop(const OpenedVideo *video)
{
    if (video && m_loaded == video) {
        letGo();
        m_mpv.command(QVariantList{QStringLiteral("stop")});
    }
}

void PlayMachine::replaceCurrent()
{
    stop(m_current.get());
    m_current = std::move(m_candidate);
}

// What played before is as it was; if it had to make way already, it is loaded again.
void PlayMachine::dropCandidate()
{
    stop(m_candidate.get());
    m_candidate.reset();
    awaitSign();
    const bool isWaiting =
        m_current->state == PlayState::Playing || m_current->state == PlayState::Loading;
    if (isWaiting && m_loaded != m_current.get()) {
        load(*m_current);
    }
    emit videosChanged();
    emit changed();
}

void PlayMachine::onCannotOpen()
{
    Failure failure{cannotPlay(*m_candidate), m_candidate->isNext,
                    refusedOf(*m_candidate, m_candidate->start)};
    if (m_current && m_current->state != PlayState::Failed) {
        dropCandidate();
    } else {
        replaceCurrent();
        m_current->state = PlayState::Failed;
    }
    tell(std::move(failure));
}

// A video that played and cannot go on. A stream that was only frozen would do so under the notice.
void PlayMachine::onBrokenDown(OpenedVideo &video)
{
    savePosition(); // also where libmpv has let go of it already
    stop(&video);
    video.state = PlayState::Failed;
    if (m_candidate) {
        return; // the user waits for something else
    }
    const QString text = video.playback.position() > 0 ? QStringLiteral("视频播放中断，请稍后再试")
                                                       : cannotPlay(video);
    tell({text, false, refusedOf(video, StartFrom::WhereItStopped)});
}

void PlayMachine::tell(Failure failure)
{
    m_failure = std::move(failure);
    awaitSign();
    emit told(QString(m_failure.text)); // who is told may open another video
    emit changed();
}

// --- what libmpv reports

void PlayMachine::onFileLoaded()
{
    if (!m_loaded || m_loaded->state != PlayState::Loading) {
        return;
    }
    const int resumed = m_loaded->resumePosition();
    if (!m_loaded->playback.wasSeen()) {
        m_loaded->isOutroWanted = resumed > 0;
    }
    m_loaded->playback.onLoaded(resumed, m_loaded->folder.skipTimes());
    m_loaded->tracks.onFileLoaded();
    m_mpv.setProperty(QStringLiteral("audio-delay"), m_loaded->audioDelay / 1000.0);
}

void PlayMachine::onPlaybackRestarted()
{
    if (!m_loaded) {
        return;
    }
    if (m_loaded->state == PlayState::Loading) {
        onPicture(*m_loaded);
    } else if (m_loaded->state == PlayState::Playing) {
        m_saves.call(); // it was sent elsewhere
    }
    m_loaded->tracks.onPlaybackRestarted();
}

void PlayMachine::onPicture(OpenedVideo &video)
{
    if (&video == m_candidate.get()) {
        replaceCurrent();
        video.folder.setLastPlayed(video.file().file_id);
        m_savedPosition = video.resumePosition();
        m_failure = {};
        m_saves.restart();
        if (video.start == StartFrom::WhereItStopped) {
            m_mpv.play(); // a step from a paused video leads to a paused one
        }
    }
    video.state = PlayState::Playing;
    m_positions.restart();
    awaitSign();
    emit changed();
}

void PlayMachine::onDurationChanged(int value)
{
    if (!m_loaded) {
        return;
    }
    const int before = m_loaded->playback.duration();
    m_loaded->playback.onDuration(value);
    const int now = m_loaded->playback.duration();
    if (!isPlaying() || now == before) {
        return;
    }
    emit durationChanged(now);
    if (m_current->folder.skipTimes().tail > 0) {
        emit menusChanged(); // the outro starts elsewhere
    }
}

void PlayMachine::onPositionChanged(int value)
{
    if (!m_loaded || m_loaded->state != PlayState::Playing ||
        !m_loaded->playback.onPosition(value)) {
        return;
    }
    std::optional<int> &repairedAt = m_loaded->repairedAt;
    if (repairedAt && value < *repairedAt) {
        repairedAt = value; // sent back: it proves itself from there
    }
    if (repairedAt && value > *repairedAt + ProvenAfter) {
        repairedAt.reset();
    }
    m_positions.call();
}

void PlayMachine::onPositionDue()
{
    if (m_loaded && m_loaded == m_current.get()) {
        const int settledBefore = m_current->playback.settledDuration();
        m_current->playback.refresh();
        if (m_current->playback.settledDuration() != settledBefore) {
            emit menusChanged(); // the outro can be set now
        }
        if (std::abs(m_current->playback.position() - m_savedPosition) >= SavedEvery) {
            m_saves.call();
        }
    }
    if (isPlaying()) {
        awaitSign();
        emit positionDue();
    }
}

void PlayMachine::onPaused(bool isPause)
{
    if (isPause) {
        m_saves.call();
    }
    awaitSign();
}

void PlayMachine::onPlayEnd()
{
    const MpvWidget::EndReason reason = m_mpv.endReason();
    const bool isFailure = reason == MpvWidget::EndReason::Failed;
    if (!m_loaded || (!isFailure && reason != MpvWidget::EndReason::Finished)) {
        return;
    }
    OpenedVideo &video = *m_loaded;
    stop(&video); // a play list would go on with its next entry
    if (video.state == PlayState::Loading) {
        onLoadingEnd(video, isFailure);
    } else if (video.state == PlayState::Playing) {
        onPlayingEnd(video, isFailure);
    }
}

void PlayMachine::onLoadingEnd(OpenedVideo &video, bool isFailure)
{
    if (video.playback.wasSeen() && !isFailure && isRealEnd(video)) {
        end(video);
    } else if (video.playback.wasSeen()) {
        repair(video);
    } else if (video.address->wasFetchedAhead()) {
        renewAddress(video);
    } else {
        onNoAddress(video);
    }
}

// An address that has expired, or a connection that was cut, looks like the end of the data.
void PlayMachine::onPlayingEnd(OpenedVideo &video, bool isFailure)
{
    if (isFailure || (video.playback.wouldEndEarly() && !isRealEnd(video))) {
        savePosition(); // whatever comes of the repair
        repair(video);
        return;
    }
    const bool isMomentary = video.playback.position() == 0 && video.playback.duration() == 0;
    if (std::exchange(m_wasMomentary, isMomentary) && isMomentary) {
        onBrokenDown(video);
        return;
    }
    end(video);
}

void PlayMachine::end(OpenedVideo &video)
{
    video.playback.onEnd();
    video.state = PlayState::Ended;
    if (!m_failure.isOfNext) {
        m_failure = {}; // of a video that the user tried meanwhile
    }
    savePosition();
    awaitSign();
    emit changed();
    emit ended();
}

void PlayMachine::repair(OpenedVideo &video)
{
    if (video.repairedAt) {
        onBrokenDown(video);
        return;
    }
    video.repairedAt = video.playback.position();
    video.address->want(video.address->currentId());
    renewAddress(video);
}

void PlayMachine::renewAddress(OpenedVideo &video)
{
    if (video.state == PlayState::Loading) {
        stop(&video); // should it open after all, it would begin anew
    }
    video.state = PlayState::Opening;
    video.address->renew();
    awaitSign();
    emit changed();
}

// --- silence

// Something has happened; the next sign of life is awaited where there is to be one.
void PlayMachine::awaitSign()
{
    const OpenedVideo *video = chosen();
    const bool isStill =
        !video || !video->isAlive() || (video->state == PlayState::Playing && m_mpv.isPaused());
    if (isStill) {
        m_silence.stop();
    } else {
        m_silence.start(longSilence());
    }
    if (std::exchange(m_isSilent, false)) {
        emit changed();
    }
}

void PlayMachine::onSilence()
{
    m_isSilent = true;
    emit changed();
}
