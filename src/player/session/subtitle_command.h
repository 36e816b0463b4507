#pragma once

#include <optional>

#include <QVariant>

// What the entries of the subtitle menu's submenus ask for. The other entries name a track (int) or
// a file (string).
struct SubtitleCommand
{
    enum class Kind {
        Second, // the second subtitle: a track or a file, as above
        Delay,  // for this video: tenths of a second later than now; 0: none
        Size,   // for all videos: percent
        Place   // for all videos: percent of the picture's height, from the top
    };

    Kind kind;
    QVariant value;

    [[nodiscard]] QVariant toData() const { return QVariantList{static_cast<int>(kind), value}; }
    // Nothing for the data of another entry.
    [[nodiscard]] static std::optional<SubtitleCommand> fromData(const QVariant &data)
    {
        const QVariantList parts = data.toList();
        return parts.size() == 2 ? std::make_optional(SubtitleCommand{
                                       static_cast<Kind>(parts.at(0).toInt()), parts.at(1)})
                                 : std::nullopt;
    }
};
