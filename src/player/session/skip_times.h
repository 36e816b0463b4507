#pragma once

// Where a folder's videos have their intro and outro, and what follows from it. All in seconds.
struct SkipTimes
{
    int head = 0; // the second at which the intro ends; 0: not set
    int tail = 0; // the length of the outro, counted back from the end; 0: not set

    // Whether less than 31 s would lie between the ends of the two; only when both are set.
    // A duration of 0 is unknown, and judges nothing.
    [[nodiscard]] bool isTooClose(int duration) const;

    // The same for an outro that would start at `position`.
    [[nodiscard]] bool outroTooClose(int position) const;

    // The second at which the outro starts: the end when none is set, or when it would be as long
    // as the video (or a folder of short clips would be raced through for ever).
    [[nodiscard]] int outroStart(int duration) const;

    // Whether `position` is in the outro. A duration of 0 is unknown, not an end.
    [[nodiscard]] bool isInOutro(int position, int duration) const;
};

// Where a file starts once it is loaded.
struct StartPlace
{
    enum class Kind { Beginning, Resume, AfterIntro };

    Kind kind = Kind::Beginning;
    int position = 0;
};

// `resumePosition` is the second to return to, 0 for none; it goes before the intro, and may
// lie in the outro. One that is not before the end is passed over, as is an intro that leaves
// nothing of the video. With a duration of 0, which is unknown, none is.
StartPlace startPlace(int resumePosition, const SkipTimes &skip, int duration);
