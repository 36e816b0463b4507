#pragma once

#include <optional>

#include "player/mpv/track_info.h"
#include "player/session/track_labels.h"
#include "player/session/track_memory.h"

class MpvWidget;

// The tracks of the file that plays, with what TrackInfo does not tell.
struct TrackList
{
    TrackInfo info{};
    TrackTitles audioTitles{};
    TrackTitles subtitleTitles{};
    std::optional<int> shown{};  // the subtitle track that is shown
    std::optional<int> second{}; // the one that is shown beside it

    // As they are remembered; subtitles without those that were added to the file.
    [[nodiscard]] QList<TrackMemory> audio() const;
    [[nodiscard]] QList<TrackMemory> embeddedSubtitles() const;
    [[nodiscard]] TrackMemory audioTrack(int id) const;
    [[nodiscard]] TrackMemory subtitleTrack(int id) const;
};

// Asks libmpv, which must have the file.
[[nodiscard]] TrackList readTrackList(const MpvWidget &mpv);
