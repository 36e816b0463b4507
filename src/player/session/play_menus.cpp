#include "player/session/play_menus.h"

#include "app/environment/formatting.h"
#include "player/session/opened_video.h"

namespace {

MenuEntry skipEntry(const QString &text, SkipAction action, const QString &icon, const QString &tip)
{
    MenuEntry entry{text, static_cast<int>(action)};
    entry.icon = icon;
    entry.tip = tip;
    return entry;
}

// An outro is counted back from the end, which must be known for that.
QList<MenuEntry> skipMenu(const SkipTimes &skip, const Playback &playback)
{
    const int duration = playback.duration();
    const QString notSet = QStringLiteral("未设置");
    const QString head = skip.head > 0 ? formatClock(skip.head) : notSet;
    const QString tail = skip.tail > 0 ? formatClock(qMax(0, duration - skip.tail)) : notSet;
    QList<MenuEntry> entries{
        skipEntry(QStringLiteral("片头 ") + head, SkipAction::SetIntroEnd,
                  QStringLiteral(":/playerIcon/prev.png"), QStringLiteral("把这里设为片头终点")),
        skipEntry(QStringLiteral("片尾 ") + tail, SkipAction::SetOutroStart,
                  QStringLiteral(":/playerIcon/next.png"), QStringLiteral("把这里设为片尾起点")),
        skipEntry(QStringLiteral("清除片尾设置"), SkipAction::ClearOutro,
                  QStringLiteral(":/playerIcon/erase.png"), QStringLiteral("不再跳过片尾"))};
    entries[1].enabled = playback.settledDuration() > 0;
    return entries;
}

} // namespace

PlayMenus menusOf(const OpenedVideo *video)
{
    PlayMenus menus;
    switch (video ? video->state : PlayState::Idle) {
    case PlayState::Playing:
        menus.skip = skipMenu(video->folder.skipTimes(), video->playback);
        menus.audio = video->tracks.audioMenu();
        menus.subtitle = video->tracks.subtitleMenu();
        menus.quality = video->address->menu();
        break;
    case PlayState::Loading:
    case PlayState::Failed: // another quality may be there to be played
        menus.quality = video->address->menu();
        break;
    case PlayState::Idle:
    case PlayState::Opening:
    case PlayState::Ended:
        break;
    }
    return menus;
}

bool applySkipAction(SkipAction action, FolderMemory &folder, int position, int duration)
{
    switch (action) {
    case SkipAction::SetIntroEnd:
        return folder.setIntroEnd(position, duration);
    case SkipAction::SetOutroStart:
        return folder.setOutroStart(position, duration);
    case SkipAction::ClearOutro:
        folder.clearOutro();
        break;
    }
    return true;
}
