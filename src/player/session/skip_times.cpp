#include "player/session/skip_times.h"

namespace {

constexpr int ShortestSpan = 31;

} // namespace

bool SkipTimes::isTooClose(int duration) const
{
    return duration > 0 && head > 0 && tail > 0 && (duration - tail) - head < ShortestSpan;
}

bool SkipTimes::outroTooClose(int position) const
{
    return head > 0 && position > 0 && position - head < ShortestSpan;
}

int SkipTimes::outroStart(int duration) const
{
    return tail > 0 && tail < duration ? duration - tail : duration;
}

bool SkipTimes::isInOutro(int position, int duration) const
{
    return duration > 0 && position >= outroStart(duration);
}

StartPlace startPlace(int resumePosition, const SkipTimes &skip, int duration)
{
    if (resumePosition > 0 && (duration == 0 || resumePosition < duration)) {
        return {StartPlace::Kind::Resume, resumePosition};
    }
    if (skip.head > 0 && !skip.isInOutro(skip.head, duration)) {
        return {StartPlace::Kind::AfterIntro, skip.head};
    }
    return {};
}
