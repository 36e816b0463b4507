#pragma once

#include <QList>
#include <QString>

#include "player/session/menu_entry.h"
#include "player/session/offered_subtitle.h"

class AddedSubtitles;
struct TrackList;

// What the subtitle menu is made from.
struct SubtitleMenu
{
    const TrackList &tracks;
    const AddedSubtitles &added;
    const QList<OfferedSubtitle> &transcoded;
    const QList<OfferedSubtitle> &files; // of the folder
    int delay;                           // tenths of a second
};

// The files that are suggested, the video's own tracks, what the drive has transcoded and
// the other files; then the second subtitle from the same choice, and the delay.
[[nodiscard]] QList<MenuEntry> subtitleMenu(const SubtitleMenu &from);

// "字幕延后 0.3 秒"
[[nodiscard]] QString delayText(int delay);
