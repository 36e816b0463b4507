#include "player/session/playback.h"

#include <utility>

#include <QDebug>

#include "app/environment/formatting.h"
#include "player/mpv/mpv_widget.h"

namespace {

constexpr int StartTimeout = 5000; // milliseconds
// Positions stop short of the end by a frame or a segment; what ends earlier was cut off.
constexpr int EarlyEnd = 5;
constexpr int LongestExcess = 60;

} // namespace

void Playback::load(const QString &url)
{
    m_isSettled = false;
    m_toldDuration = 0;
    m_mpv.loadFile(url);
}

void Playback::onLoaded(int rememberedPosition, const SkipTimes &skip)
{
    onDuration(m_mpv.duration());
    m_isSettled = m_mpv.isDurationSettled();
    if (wasSeen()) {
        sendTo({StartPlace::Kind::Resume, position()});
    } else {
        sendTo(startPlace(rememberedPosition, skip, settledDuration()));
    }
}

void Playback::sendTo(const StartPlace &place)
{
    m_start = place.kind;
    m_startTarget = place.position;
    m_sinceStart.start();
    if (place.position == 0) {
        return;
    }
    const char *log =
        place.kind == StartPlace::Kind::Resume ? "video continue play : " : "video skip head : ";
    qDebug().noquote() << log << formatClock(place.position);
    m_mpv.seekAbsolute(place.position);
}

void Playback::onDuration(int value)
{
    if (value <= 0) {
        return;
    }
    m_duration = value;
    if (std::exchange(m_toldDuration, value) != value) {
        qDebug().noquote() << "video total time:" << formatClock(value);
    }
}

void Playback::onSkipTimes(const SkipTimes &skip)
{
    if (m_start == StartPlace::Kind::Beginning && position() < skip.head) {
        sendTo(startPlace(0, skip, settledDuration()));
    }
}

bool Playback::onPosition(int value)
{
    if (value + 1 >= m_startTarget || m_sinceStart.hasExpired(StartTimeout)) {
        m_startTarget = 0;
    }
    if (m_startTarget > 0) {
        return false;
    }
    m_position = value;
    return true;
}

// Positions stop short of the end; a video that was watched to it begins anew next time.
void Playback::onEnd()
{
    m_duration = m_isSettled ? m_duration : qMax(position(), duration());
    m_position = m_duration;
    m_isSettled = true;
}

void Playback::refresh()
{
    if (const auto position = m_mpv.knownPosition(); position && wasSeen()) {
        onPosition(*position);
    }
    m_isSettled = m_isSettled || m_mpv.isDurationSettled();
}

int Playback::placeToStore() const
{
    const int settled = settledDuration();
    return settled > 0 ? qMin(position(), settled) : position();
}

int Playback::durationToStore() const
{
    const bool mayGrow = !m_isSettled && duration() > 0;
    return mayGrow ? qMax(duration(), position() + 1) : duration();
}

bool Playback::wouldEndEarly() const
{
    return left() > EarlyEnd;
}

bool Playback::isNearEnd() const
{
    return left() < qMin(LongestExcess, expectedDuration() / 10);
}

int Playback::left() const
{
    return expectedDuration() - position();
}

int Playback::expectedDuration() const
{
    return m_isSettled ? m_duration : qMax(m_duration, m_driveDuration);
}
