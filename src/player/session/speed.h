#pragma once

// How fast a video plays; 1 is its own speed. The pitch of the sound stays.

constexpr double LowestSpeed = 0.25;
constexpr double HighestSpeed = 4.0;

// The speeds that the menu offers and that steps lead to, from the lowest to the highest.
constexpr double OfferedSpeeds[] = {0.25, 0.5, 0.75, 1.0, 1.25, 1.5, 1.75, 2.0, 2.5, 3.0, 4.0};

// The next offered speed up or down from `speed`, which may lie between two of them; beyond the
// last one there is none.
double speedAfterStep(double speed, bool up);
