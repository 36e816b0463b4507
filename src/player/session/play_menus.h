#pragma once

#include <QList>

#include "player/session/menu_entry.h"

class FolderMemory;
struct OpenedVideo;

// The menus for what plays; without entries where there is nothing to choose for.
struct PlayMenus
{
    QList<MenuEntry> quality{};
    QList<MenuEntry> skip{};
    QList<MenuEntry> audio{};
    QList<MenuEntry> subtitle{};
};

// Null: nothing was opened yet.
PlayMenus menusOf(const OpenedVideo *video);

// The data of the skip menu's entries.
enum class SkipAction { SetIntroEnd, SetOutroStart, ClearOutro };

// Does what the entry says at this second of a video. False where intro and outro come too close.
bool applySkipAction(SkipAction action, FolderMemory &folder, int position, int duration);
