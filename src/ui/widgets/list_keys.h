#pragma once

#include <QKeySequence>
#include <QList>

#include "ui/widgets/key_line.h"
#include "ui/widgets/shortcuts.h"

// What the keys of the main window do, in the lists of the files and of the watch history: one
// table, from which the shortcuts and the page of keys derive.
namespace list_keys {

enum class Action {
    Open,
    GoBack,
    Search,
    LeaveSearch,
    ClearSearch,
    TurnUser,
    Rename,
    Remove,
    Undo,
    SelectAll,
    ShowMenu,
    Sort,
    Refresh,
    ShowKeys,
};

// All keys that ask for it, of Sort in the order of the columns; none where the toolkit's own list
// knows the key.
QList<QKeySequence> sequences(Action action);

// Everything that a key asks for.
QList<KeyLine> page();

} // namespace list_keys

// See addShortcut(); one for each of the action's keys.
template <class Receiver, class Deed>
void addShortcuts(list_keys::Action action, QWidget *place, Qt::ShortcutContext context,
                  Receiver *receiver, Deed deed)
{
    const QList<QKeySequence> all = list_keys::sequences(action);
    for (const QKeySequence &keys : all) {
        addShortcut(keys, place, context, receiver, deed);
    }
}
