#include "player/session/subtitle_menu.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

#include "player/session/added_subtitles.h"
#include "player/session/folder_memory.h"
#include "player/session/subtitle_command.h"
#include "player/session/track_list.h"

namespace {

using Entries = QList<MenuEntry>;

void appendGroup(Entries &entries, Entries group)
{
    if (!group.isEmpty()) {
        group.first().beginsGroup = !entries.isEmpty();
        entries += group;
    }
}

// `chosen` is the track that the entries' menu is about.
Entries fileEntries(const QList<OfferedSubtitle> &files, const SubtitleMenu &from,
                    std::optional<int> chosen)
{
    const QString shown = chosen ? from.added.fileOf(*chosen) : QString();
    Entries entries;
    for (const OfferedSubtitle &file : files) {
        entries.append({file.name, file.id, file.id == shown});
    }
    return entries;
}

Entries trackEntries(const SubtitleMenu &from, std::optional<int> chosen)
{
    TrackInfo embedded = from.tracks.info;
    auto &tracks = embedded.subTracks;
    tracks.erase(std::remove_if(tracks.begin(), tracks.end(),
                                [](const SubTrack &track) { return track.external; }),
                 tracks.end());
    const QStringList labels = subtitleTrackLabels(embedded, from.tracks.subtitleTitles);
    Entries entries;
    for (int i = 0; i < labels.size(); ++i) {
        entries.append({labels.at(i), tracks.at(i).id, tracks.at(i).id == chosen});
    }
    return entries;
}

Entries choices(const SubtitleMenu &from, std::optional<int> chosen, const QString &offText)
{
    QList<OfferedSubtitle> suggested;
    QList<OfferedSubtitle> others;
    for (const OfferedSubtitle &file : from.files) {
        (file.isSuggested ? suggested : others).append(file);
    }
    Entries entries = fileEntries(suggested, from, chosen);
    for (MenuEntry &entry : entries) {
        entry.hint = QStringLiteral("推荐");
        entry.tip = entry.text + QStringLiteral("\n集数与视频相同");
    }
    Entries tracks = trackEntries(from, chosen);
    tracks.prepend({offText, FolderMemory::NoTrack, !chosen});
    appendGroup(entries, tracks);
    appendGroup(entries, fileEntries(from.transcoded, from, chosen));
    appendGroup(entries, fileEntries(others, from, chosen));
    return entries;
}

MenuEntry secondMenu(const SubtitleMenu &from)
{
    MenuEntry menu{QStringLiteral("第二字幕"), {}};
    menu.children = choices(from, from.tracks.second, QStringLiteral("关闭第二字幕"));
    const QString shownFile = from.tracks.shown ? from.added.fileOf(*from.tracks.shown) : QString();
    for (MenuEntry &entry : menu.children) {
        const bool isShown = entry.data.type() == QVariant::String
                                 ? entry.data.toString() == shownFile
                                 : from.tracks.shown == entry.data.toInt();
        entry.enabled = !isShown;
        entry.data = SubtitleCommand{SubtitleCommand::Kind::Second, entry.data}.toData();
    }
    return menu;
}

MenuEntry delayMenu(int delay)
{
    const auto entry = [](const QString &text, int step) {
        return MenuEntry{text, SubtitleCommand{SubtitleCommand::Kind::Delay, step}.toData()};
    };
    MenuEntry menu{delay == 0 ? QStringLiteral("字幕延迟") : delayText(delay), {}};
    menu.children = {
        entry(QStringLiteral("提前 0.1 秒"), -1), entry(QStringLiteral("延后 0.1 秒"), 1),
        entry(QStringLiteral("提前 1 秒"), -10), entry(QStringLiteral("延后 1 秒"), 10),
        entry(QStringLiteral("恢复原来的时间"), 0)};
    menu.children.last().enabled = delay != 0;
    menu.children.last().beginsGroup = true;
    return menu;
}

} // namespace

Entries subtitleMenu(const SubtitleMenu &from)
{
    Entries entries = choices(from, from.tracks.shown, QStringLiteral("关闭字幕"));
    appendGroup(entries, {secondMenu(from), delayMenu(from.delay)});
    return entries;
}

QString delayText(int delay)
{
    if (delay == 0) {
        return QStringLiteral("字幕时间已恢复");
    }
    const QString text =
        delay > 0 ? QStringLiteral("字幕延后 %1 秒") : QStringLiteral("字幕提前 %1 秒");
    return text.arg(std::abs(delay) / 10.0, 0, 'f', 1);
}
