#include "player/window/volume_level.h"

namespace {

constexpr int Step = 10;
constexpr int LastLevelToRaise = 100;

struct IconRange
{
    int highest;
    const char *path;
};

constexpr IconRange IconRanges[] = {
    {0, ":/playerIcon/mute.png"},
    {20, ":/playerIcon/volume0.png"},
    {50, ":/playerIcon/volume1.png"},
    {80, ":/playerIcon/volume2.png"},
    {HighestVolume, ":/playerIcon/volume3.png"},
};

} // namespace

int volumeAfterStep(int volume, bool up)
{
    if (up) {
        return volume <= LastLevelToRaise ? volume + Step : volume;
    }
    return volume >= 0 ? volume - Step : volume;
}

QString volumeIconPath(int volume)
{
    for (const IconRange &range : IconRanges) {
        if (volume <= range.highest) {
            return QString::fromLatin1(range.path);
        }
    }
    return {};
}
