#include "player/session/playback.h"

#include <QDebug>

#include "app/environment/formatting.h"
#include "player/mpv/mpv_widget.h"

namespace {

constexpr int StartTimeout = 5000; // milliseconds
// Positions stop short of the end by a frame or a segment; what ends earlier was cut off.
constexpr int EarlyEnd = 5;

} // namespace

void Playback::load(const QString &url)
{
    m_isSettled = false;
    m_mpv.loadFile(url);
}

void Playback::onLoaded(int rememberedPosition, const SkipTimes &skip)
{
    m_duration = m_mpv.duration();
    qDebug().noquote() << "video total time:" << formatClock(duration());
    if (wasSeen()) {
        sendTo({StartPlace::Kind::Resume, position()});
    } else {
        sendTo(startPlace(rememberedPosition, skip, settledDuration()));
    }
}

void Playback::sendTo(const StartPlace &place)
{
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
    if (value > 0) {
        m_duration = value;
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
    m_position = qMax(position(), duration());
}

void Playback::refreshPosition()
{
    if (const auto position = m_mpv.knownPosition(); position && wasSeen()) {
        onPosition(*position);
    }
}

int Playback::place()
{
    const int settled = settledDuration();
    return settled > 0 ? qMin(position(), settled) : position();
}

int Playback::settledDuration()
{
    m_isSettled = m_isSettled || m_mpv.isDurationSettled();
    return m_isSettled ? m_duration : 0;
}

bool Playback::wouldEndEarly()
{
    const int expected = m_isSettled ? m_duration : qMax(m_duration, m_driveDuration);
    return position() + EarlyEnd < expected;
}
