#pragma once

#include <QList>

#include "player/session/menu_entry.h"

// The subtitle menu with the keys that do the same beside its entries.
[[nodiscard]] QList<MenuEntry> withSubtitleKeys(QList<MenuEntry> menu);
