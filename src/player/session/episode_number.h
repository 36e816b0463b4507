#pragma once

#include <optional>

#include <QString>

// Which episode of a series a file is, as its name says.
struct EpisodeNumber
{
    std::optional<int> season{};
    int episode = 0;
    int last = 0; // of the episodes in one file; `episode` for one
};

// Reads the ways in which releases are named: S01E02, 1x02, 第1季第2集, 第02話, EP02, [02], - 02,
// 02v2. Nothing for a film, a special, a whole season, and where it would be a guess: years, sizes,
// codecs and checksums are no episodes.
[[nodiscard]] std::optional<EpisodeNumber> episodeOf(const QString &fileName);

// Whether both mean the same episode; a season counts where both names have one.
[[nodiscard]] bool isSameEpisode(const EpisodeNumber &left,
                                 const std::optional<EpisodeNumber> &right);
