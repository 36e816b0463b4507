#pragma once

#include <QShortcut>

// A key that acts once, however long it is held: one file, one folder, one reload. Owned by the
// widget that it belongs to; `receiver` is the context of the action.
template <class Receiver, class Action>
void addShortcut(const QKeySequence &keys, QWidget *place, Qt::ShortcutContext context,
                 Receiver *receiver, Action action)
{
    auto *shortcut = new QShortcut(keys, place);
    shortcut->setContext(context);
    shortcut->setAutoRepeat(false);
    QObject::connect(shortcut, &QShortcut::activated, receiver, action);
}
