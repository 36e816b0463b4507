#include "player/session/episode_end.h"

#include <QtMath>

#include "player/mpv/mpv_widget.h"
#include "player/session/play_machine.h"

namespace {

constexpr int ToldAhead = 10; // seconds
// Who is so many seconds into the outro has been sent there, and wants to see it.
constexpr int Crossing = 5;

// The second before which the video pauses; 0: not known.
int boundaryOf(const OpenedVideo &video)
{
    const int duration = video.playback.settledDuration();
    const int turn = video.nextTurn();
    return video.playback.position() > turn + Crossing ? duration : turn;
}

} // namespace

EpisodeEnd::EpisodeEnd(MpvWidget &mpv, const PlayMachine &machine, QObject *parent)
    : QObject(parent), m_mpv(mpv), m_machine(machine)
{
    connect(&m_mpv, &MpvWidget::positionChanged, this, &EpisodeEnd::pauseInTime);
    connect(&m_machine, &PlayMachine::changed, this, &EpisodeEnd::update);
    connect(&m_machine, &PlayMachine::menusChanged, this, &EpisodeEnd::update);
    connect(&m_machine, &PlayMachine::videosChanged, this, &EpisodeEnd::update);
    connect(&m_machine, &PlayMachine::positionDue, this, &EpisodeEnd::update);
}

bool EpisodeEnd::canPause() const
{
    return m_machine.isPlaying();
}

bool EpisodeEnd::pauses() const
{
    return m_machine.current() && m_machine.current()->pausesAtEnd;
}

void EpisodeEnd::setPauses(bool pauses)
{
    if (canPause()) {
        m_machine.current()->pausesAtEnd = pauses;
        update();
    }
}

void EpisodeEnd::dismissNextUp()
{
    if (canPause()) {
        m_machine.current()->isNextDismissed = true;
        update();
    }
}

double EpisodeEnd::speed() const
{
    const double speed = m_mpv.getProperty(QStringLiteral("speed")).toDouble();
    return speed > 0 ? speed : 1;
}

// A second before: at the end itself libmpv has let go of the file, and the place is lost.
void EpisodeEnd::pauseInTime()
{
    if (!canPause() || !pauses() || m_mpv.isPaused()) {
        return;
    }
    OpenedVideo &video = *m_machine.current();
    const int boundary = boundaryOf(video);
    if (boundary > 0 && video.playback.position() >= boundary - qCeil(speed())) {
        video.pausesAtEnd = false;
        video.isNextDismissed = true; // what comes next comes when the user goes on
        m_mpv.pause();
        update();
    }
}

std::optional<NextUp> EpisodeEnd::findNextUp() const
{
    const OpenedVideo *video = canPause() ? m_machine.current() : nullptr;
    const int duration = video ? video->playback.settledDuration() : 0;
    if (duration == 0 || video->pausesAtEnd || video->hasAdvanced || video->isNextDismissed) {
        return std::nullopt;
    }
    const FileItem *next = video->neighbours.neighbour(video->file().file_id, 1);
    if (!next || next->file_id == video->file().file_id) {
        return std::nullopt;
    }
    const int toGo = video->nextTurn() - video->playback.position();
    const int seconds = qCeil(toGo / speed());
    if (seconds <= 0 || seconds > ToldAhead) {
        return std::nullopt;
    }
    return NextUp{next->name, seconds};
}

void EpisodeEnd::update()
{
    const std::optional<NextUp> found = findNextUp();
    const bool isSame =
        found.has_value() == m_nextUp.has_value() &&
        (!found || (found->name == m_nextUp->name && found->seconds == m_nextUp->seconds));
    if (!isSame) {
        m_nextUp = found;
        emit nextUpChanged();
    }
}
