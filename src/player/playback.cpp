#include "player/playback.h"

#include <utility>

#include <QDateTime>
#include <QDebug>
#include <QUrl>

#include "app/environment/formatting.h"
#include "db/tables/operations.h"
#include "player/mpv_widget.h"

namespace {

constexpr int updateInterval = 999; // milliseconds
constexpr int startTimeout = 5000;  // milliseconds
// Positions stop short of the end by a frame or a segment; what ends earlier was cut off.
constexpr int earlyEnd = 5;
// So many seconds of a new address prove that it works.
constexpr int provenAfter = 10;

bool isWebAddress(const QString &url)
{
    const QString scheme = QUrl(url).scheme();
    return scheme == QLatin1String("http") || scheme == QLatin1String("https");
}

} // namespace

Playback::Playback(MpvWidget &mpv, QObject *parent) : QObject(parent), m_mpv(mpv)
{
    m_lateUpdate.setSingleShot(true);
    connect(&m_lateUpdate, &QTimer::timeout, this, &Playback::showPosition);
    connect(&mpv, &MpvWidget::fileLoaded, this, &Playback::onFileLoaded);
    connect(&mpv, &MpvWidget::durationChanged, this, &Playback::onDurationChanged);
    connect(&mpv, &MpvWidget::positionChanged, this, &Playback::onPositionChanged);
    connect(&mpv, &MpvWidget::playEnd, this, &Playback::onPlayEnd);
    connect(&mpv, &MpvWidget::paused, this, &Playback::onPaused);
}

void Playback::open(const PlayedVideo &video)
{
    m_advanceOnPlay = false;
    rememberPosition();
    m_opening = video;
    m_loadSent = false;
    m_fileLoaded = false;
}

void Playback::load(const QString &url)
{
    if (!m_opening)
        return;
    if (!isWebAddress(url)) {
        qWarning() << "not a web address, not played";
        giveUp();
        return;
    }
    rememberPosition();
    m_loadSent = true;
    m_mpv.loadFile(url);
}

bool Playback::reopen()
{
    if (!m_playing || m_opening)
        return false;
    rememberPosition();
    PlayedVideo again = *m_playing;
    again.history.playPosition = again.position;
    again.resumePending = true;
    again.reloaded = true;
    again.isOver = false;
    open(again);
    return true;
}

void Playback::giveUp()
{
    if (m_loadSent && m_playing)
        m_playing->isOver = true;
    m_opening.reset();
    m_loadSent = false;
}

PlayedVideo *Playback::current()
{
    if (m_opening)
        return &*m_opening;
    return m_playing ? &*m_playing : nullptr;
}

PlayedVideo *Playback::playing()
{
    return m_playing && !m_opening ? &*m_playing : nullptr;
}

// libmpv knows better than the last event, as long as what it plays is this video.
void Playback::rememberPosition()
{
    if (!m_playing || !m_playing->hasPosition || m_playing->isOver || m_loadSent)
        return;
    const QVariant position = m_mpv.getProperty(QStringLiteral("time-pos"));
    if (position.type() == QVariant::Double && !isBeforeStart(position.toInt()))
        m_playing->position = static_cast<int>(position.toDouble());
}

void Playback::saveHistory()
{
    rememberPosition();
    if (!m_playing || !m_playing->hasPosition)
        return;
    PlayHistory &history = m_playing->history;
    history.updateTime = QDateTime::currentDateTime();
    history.playPosition = m_playing->position;
    history.duration = m_playing->duration;
    savePlayHistory(history);
    emit historyUpdated(history);
}

void Playback::saveRecord()
{
    if (PlayedVideo *video = current()) {
        savePlayHistory(video->history);
        emit historyUpdated(video->history);
    }
}

void Playback::onFileLoaded()
{
    m_fileLoaded = m_loadSent;
    onDurationChanged(m_mpv.duration());
}

void Playback::onDurationChanged(int value)
{
    if (m_opening) {
        // What is queued may still be the old video's duration: libmpv is asked for the new one's.
        const int duration = m_fileLoaded ? m_mpv.duration() : 0;
        if (duration > 0)
            begin(duration);
    } else if (m_playing && value > 0 && value != m_playing->duration) {
        m_playing->duration = value;
        emit durationRefined(value);
    }
}

void Playback::begin(int duration)
{
    qDebug().noquote() << "video total time:" << formatClock(duration);
    m_playing = std::exchange(m_opening, std::nullopt);
    m_loadSent = false;
    m_playing->duration = duration;
    m_lastPositionUpdate = 0;
    m_endedUnseen = false;
    sendToStart();
    m_playing->resumePending = false;
    emit begun(duration);
}

void Playback::sendToStart()
{
    const int resumePosition =
        m_playing->resumePending ? m_playing->history.playPosition.value() : 0;
    const StartPlace place = m_playing->reloaded
                                 ? StartPlace{StartPlace::Kind::Resume, resumePosition}
                                 : startPlace(resumePosition, m_playing->skip, m_playing->duration);
    m_startTarget = place.position;
    m_startDeadline = QDateTime::currentMSecsSinceEpoch() + startTimeout;
    if (place.position == 0)
        return;
    const char *log =
        place.kind == StartPlace::Kind::Resume ? "video continue play : " : "video skip head : ";
    qDebug().noquote() << log << formatClock(place.position);
    m_mpv.seekAbsolute(place.position);
}

bool Playback::isBeforeStart(int position)
{
    if (position + 1 >= m_startTarget || QDateTime::currentMSecsSinceEpoch() > m_startDeadline)
        m_startTarget = 0;
    return m_startTarget > 0;
}

void Playback::onPositionChanged(int value)
{
    if (!m_playing || m_playing->isOver || m_loadSent || isBeforeStart(value))
        return;
    m_playing->position = value;
    m_playing->hasPosition = true;
    if (m_playing->wasRefetched && value > m_playing->refetchedAt + provenAfter)
        m_playing->wasRefetched = false;

    const qint64 sinceUpdate = QDateTime::currentMSecsSinceEpoch() - m_lastPositionUpdate;
    if (sinceUpdate > updateInterval) {
        showPosition();
    } else if (!m_lateUpdate.isActive()) {
        m_lateUpdate.start(static_cast<int>(updateInterval + 1 - sinceUpdate));
    }
}

void Playback::showPosition()
{
    m_lateUpdate.stop();
    if (!m_playing || m_opening || m_playing->isOver)
        return;
    m_lastPositionUpdate = QDateTime::currentMSecsSinceEpoch();
    emit positionShown(m_playing->position, m_playing->duration);
    if (m_playing->skip.isInOutro(m_playing->position, m_playing->duration) && !m_mpv.isPaused())
        emit finished();
}

void Playback::onPlayEnd()
{
    switch (m_mpv.endReason()) {
    case MpvWidget::EndReason::Superseded:
    case MpvWidget::EndReason::Redirected:
    case MpvWidget::EndReason::Stopped:
        break;
    case MpvWidget::EndReason::Finished:
    case MpvWidget::EndReason::Failed:
        if (m_loadSent) {
            endOpening();
        } else {
            endPlaying();
        }
        break;
    }
}

void Playback::endOpening()
{
    const bool played = m_mpv.endReason() == MpvWidget::EndReason::Finished;
    if (m_opening->reloaded && !std::exchange(m_opening->wasRefetched, true)) {
        m_opening->refetchedAt = m_opening->position;
        m_loadSent = false;
        emit addressExpired();
    } else if (m_opening->reloaded) {
        giveUp();
        emit failed(QStringLiteral("视频播放中断，请稍后再试"));
    } else if (played && !std::exchange(m_endedUnseen, true)) {
        // So short that it was over before its duration was known. The next one's turn, but not
        // without end: a folder of such files would be raced round for ever.
        m_playing = std::exchange(m_opening, std::nullopt);
        m_playing->isOver = true;
        m_loadSent = false;
        emit finished();
    } else {
        m_playing.reset();
        giveUp();
        emit failed(QStringLiteral("视频无法播放"));
    }
}

void Playback::endPlaying()
{
    if (!m_playing || m_playing->isOver)
        return;
    m_playing->isOver = true;
    if (m_opening)
        return;
    if (endedEarly()) {
        refetch();
        return;
    }
    // Positions stop short of the end; a video that was watched to it begins anew next time.
    m_playing->position = m_playing->duration;
    if (m_mpv.isPaused()) {
        m_advanceOnPlay = true;
    } else {
        emit finished();
    }
}

// An address that has expired, or a connection that was cut, looks like the end of the data.
bool Playback::endedEarly() const
{
    return m_mpv.endReason() == MpvWidget::EndReason::Failed ||
           m_playing->position + earlyEnd < m_playing->duration;
}

void Playback::refetch()
{
    if (std::exchange(m_playing->wasRefetched, true)) {
        emit failed(QStringLiteral("视频播放中断，请稍后再试"));
        return;
    }
    m_playing->refetchedAt = m_playing->position;
    reopen();
    emit addressExpired();
}

void Playback::onPaused(bool isPause)
{
    if (!isPause && std::exchange(m_advanceOnPlay, false))
        emit finished();
}
