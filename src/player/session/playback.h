#pragma once

#include <optional>

#include <QElapsedTimer>

#include "player/session/skip_times.h"

class MpvWidget;

// Follows one video in libmpv, loaded once or, from another address, again: how long it is, where
// it is, where it was sent to. Whole seconds. Must be told, and ask, only while libmpv's file is
// this one.
class Playback final
{
    Q_DISABLE_COPY_MOVE(Playback)

public:
    // `mpv` must outlive this.
    explicit Playback(MpvWidget &mpv) : m_mpv(mpv) {}

    void load(const QString &url);
    // The file is open: sends it to where it was, the first time to the remembered second or past
    // the intro.
    void onLoaded(int rememberedPosition, const SkipTimes &skip);
    void onDuration(int value);
    // The video turned out to have other skip times than those it was loaded with: one that began
    // at its beginning is sent past the intro.
    void onSkipTimes(const SkipTimes &skip);
    // False for a position that does not count: from before the start, while the first seek is on
    // its way.
    bool onPosition(int value);
    // It came to its end, which tells how long it is.
    void onEnd();

    // Asks libmpv for the position, which may be newer than the last one reported, and whether the
    // duration will stay.
    void refresh();
    [[nodiscard]] int position() const { return m_position.value_or(0); }
    // Position and duration for the history. A seek beyond the end counts as the end; a video
    // whose length is not known yet has not come to it.
    [[nodiscard]] int placeToStore() const;
    [[nodiscard]] int durationToStore() const;
    // Whether it was ever seen playing.
    [[nodiscard]] bool wasSeen() const { return m_position.has_value(); }

    // What the drive says of the length; counts where libmpv has none.
    void setDriveDuration(int seconds) { m_driveDuration = seconds; }
    [[nodiscard]] int duration() const { return m_duration > 0 ? m_duration : m_driveDuration; }
    // The duration, or 0 while it may still grow: some files do not say how long they are, and
    // libmpv then counts what it has read.
    [[nodiscard]] int settledDuration() const { return m_isSettled ? m_duration : 0; }

    // Whether data that end here end too early: the connection was cut, or its address expired.
    [[nodiscard]] bool wouldEndEarly() const;
    // Whether so little is left that the file may say too much of its length.
    [[nodiscard]] bool isNearEnd() const;

private:
    void sendTo(const StartPlace &place);
    [[nodiscard]] int left() const;
    [[nodiscard]] int expectedDuration() const;

    MpvWidget &m_mpv;
    std::optional<int> m_position;
    int m_duration = 0;
    int m_driveDuration = 0;
    int m_toldDuration = 0; // of what is loaded, by the log
    bool m_isSettled = false;
    std::optional<StartPlace::Kind> m_start; // where it was sent last
    // After the first seek libmpv may still report where it was before; until then, or until the
    // time has run out (a stream may not be seekable), positions before the target do not count.
    int m_startTarget = 0;
    QElapsedTimer m_sinceStart;
};
