#pragma once

#include <QString>

// The volume to ask for after one step up or down from `volume`. The highest level that steps
// reach is 110; a level below 0 is asked for and refused by libmpv.
int volumeAfterStep(int volume, bool up);

// The highest level that steps can reach.
constexpr int HighestVolume = 110;

// Resource path of the icon of a level; empty above the highest, where the icon stays as it was.
QString volumeIconPath(int volume);
