#include "player/volume_level.h"

namespace {

constexpr int step = 10;
constexpr int lastLevelToRaise = 100;

struct IconRange
{
    int highest;
    const char *path;
};

constexpr IconRange iconRanges[] = {
    {0, ":/playerIcon/mute.png"},
    {20, ":/playerIcon/volume0.png"},
    {50, ":/playerIcon/volume1.png"},
    {80, ":/playerIcon/volume2.png"},
    {highestVolume, ":/playerIcon/volume3.png"},
};

} // namespace

int volumeAfterStep(int volume, bool up)
{
    if (up)
        return volume <= lastLevelToRaise ? volume + step : volume;
    return volume >= 0 ? volume - step : volume;
}

QString volumeIconPath(int volume)
{
    for (const IconRange &range : iconRanges) {
        if (volume <= range.highest)
            return QString::fromLatin1(range.path);
    }
    return {};
}
