#include "player/desktop/media_player.h"

#include <cmath>

#include <QDBusObjectPath>
#include <QUrl>

#include "app/environment/file_name.h"
#include "net/web_address.h"
#include "player/mpv/mpv_widget.h"
#include "player/session/play_session.h"

namespace {

constexpr double MicrosecondsInSecond = 1e6;
constexpr int LoudestVolume = 110; // per cent, that the player's own keys reach

// After a seek libmpv is where it was sent, to a fraction of a second.
constexpr double SeekTolerance = 0.3;
// Beyond it a clock that shows whole seconds is seen to be wrong.
constexpr double ClockTolerance = 1.0;

const QLatin1String NoTrack("/org/mpris/MediaPlayer2/TrackList/NoTrack");

qlonglong microseconds(double seconds)
{
    return std::llround(seconds * MicrosecondsInSecond);
}

// Elements of an object's path hold letters, digits and underscores; an id may hold anything.
QString trackPath(const QString &fileId)
{
    return fileId.isEmpty() ? NoTrack
                            : QStringLiteral("/org/moravu/video/") +
                                  QString::fromLatin1(fileId.toUtf8().toHex());
}

} // namespace

MediaPlayer::MediaPlayer(PlaySession &session, MpvWidget &mpv, QObject *parent)
    : QObject(parent), m_session(session), m_mpv(mpv)
{
    m_change.setSingleShot(true);
    connect(&m_change, &QTimer::timeout, this, [this] {
        tellPlace();
        emit changed();
    });
    const auto schedule = [this] { m_change.start(0); };
    connect(&m_session, &PlaySession::changed, this, schedule);
    connect(&m_session, &PlaySession::videosChanged, this, schedule);
    connect(&m_session, &PlaySession::durationChanged, this, schedule);
    connect(&m_session, &PlaySession::speedChanged, this, schedule);
    connect(&m_mpv, &MpvWidget::paused, this, schedule);
    connect(&m_mpv, &MpvWidget::volumeChanged, this, schedule);
    connect(&m_mpv, &MpvWidget::playbackRestarted, this, [this] { checkPlace(SeekTolerance); });
    connect(&m_session, &PlaySession::positionShown, this, [this] { checkPlace(ClockTolerance); });
    tellPlace();
}

// --- what the desktop is told

QString MediaPlayer::playbackStatus() const
{
    if (!m_session.status().isUnderWay) {
        return QStringLiteral("Stopped");
    }
    return m_mpv.isPaused() ? QStringLiteral("Paused") : QStringLiteral("Playing");
}

QVariantMap MediaPlayer::metadata() const
{
    const PlayStatus status = m_session.status();
    if (status.titledId.isEmpty()) {
        return {};
    }
    QVariantMap metadata{
        {QStringLiteral("mpris:trackid"),
         QVariant::fromValue(QDBusObjectPath(trackPath(status.titledId)))},
        {QStringLiteral("xesam:title"), withVisibleOverrides(status.title)},
    };
    if (status.duration > 0) {
        metadata.insert(QStringLiteral("mpris:length"), microseconds(status.duration));
    }
    if (mayBeAsked(QUrl(status.thumbnail))) {
        metadata.insert(QStringLiteral("mpris:artUrl"), status.thumbnail);
    }
    return metadata;
}

double MediaPlayer::seconds() const
{
    const PlayStatus status = m_session.status();
    if (status.state != PlayState::Playing || !m_mpv.knownPosition()) {
        return status.position;
    }
    return m_mpv.getProperty(QStringLiteral("time-pos")).toDouble();
}

qlonglong MediaPlayer::position() const
{
    return microseconds(seconds());
}

double MediaPlayer::rate() const
{
    return m_session.speed();
}

double MediaPlayer::volume() const
{
    constexpr double PerCent = 100;
    return m_mpv.volume() / PerCent;
}

bool MediaPlayer::canStep() const
{
    return m_session.videos().size() > 1;
}

bool MediaPlayer::canPlay() const
{
    return m_session.status().state != PlayState::Idle;
}

bool MediaPlayer::canPause() const
{
    return m_session.status().isUnderWay;
}

bool MediaPlayer::canSeek() const
{
    return m_session.status().state == PlayState::Playing;
}

// --- what the desktop asks for

void MediaPlayer::step(int step)
{
    if (canStep()) {
        m_session.playRelative(step);
    }
}

void MediaPlayer::play()
{
    if (m_mpv.isPaused() || !canPause()) {
        playPause();
    }
}

void MediaPlayer::pause()
{
    if (canPause()) {
        m_mpv.pause();
    }
}

void MediaPlayer::playPause()
{
    if (canPlay()) {
        m_session.togglePause();
    }
}

void MediaPlayer::seekBy(qlonglong offset)
{
    if (!canSeek()) {
        return;
    }
    const double target = seconds() + double(offset) / MicrosecondsInSecond;
    const int duration = m_session.status().duration;
    if (duration > 0 && target > duration) {
        step(1);
        return;
    }
    m_mpv.command(
        QVariantList{QStringLiteral("seek"), std::max(target, 0.0), QStringLiteral("absolute")});
}

void MediaPlayer::seekTo(const QString &path, qlonglong position)
{
    const PlayStatus status = m_session.status();
    const bool isInside =
        position >= 0 && (status.duration == 0 || position <= microseconds(status.duration));
    if (canSeek() && isInside && path == trackPath(status.titledId)) {
        m_mpv.command(QVariantList{QStringLiteral("seek"), double(position) / MicrosecondsInSecond,
                                   QStringLiteral("absolute")});
    }
}

void MediaPlayer::setRate(double rate)
{
    if (rate == 0) {
        pause(); // as MPRIS wants it
    } else if (rate > 0) {
        m_session.setSpeed(rate);
    }
}

void MediaPlayer::setVolume(double volume)
{
    constexpr double PerCent = 100;
    if (!std::isnan(volume)) {
        emit volumeRequested(
            int(std::lround(qBound(0.0, volume * PerCent, double(LoudestVolume)))));
    }
}

void MediaPlayer::setFullScreen(bool isFullScreen)
{
    m_isFullScreen = isFullScreen;
    m_change.start(0);
}

// --- the position

bool MediaPlayer::isMoving() const
{
    return canSeek() && !m_mpv.isPaused();
}

void MediaPlayer::tellPlace()
{
    m_expected.tell(seconds(), isMoving() ? rate() : 0);
}

void MediaPlayer::checkPlace(double tolerance)
{
    if (!canSeek() || !m_expected.isOff(seconds(), tolerance)) {
        return;
    }
    tellPlace();
    emit jumped(position());
}
