#pragma once

#include <type_traits>

#include <QShortcut>

// True while a key that is held down repeats itself. Counts from the first shortcut on.
[[nodiscard]] bool isKeyRepeated();
void watchKeyRepeats();

// A key that acts once, however long it is held: one file, one folder, one reload. Owned by the
// widget that it belongs to; `receiver` is the context of the action.
template <class Receiver, class Action>
void addShortcut(const QKeySequence &keys, QWidget *place, Qt::ShortcutContext context,
                 Receiver *receiver, Action action)
{
    watchKeyRepeats();
    auto *shortcut = new QShortcut(keys, place);
    shortcut->setContext(context);
    shortcut->setAutoRepeat(false);
    QObject::connect(shortcut, &QShortcut::activated, receiver, [receiver, action] {
        if (isKeyRepeated()) {
            return;
        }
        if constexpr (std::is_member_function_pointer_v<Action>) {
            (receiver->*action)();
        } else {
            action();
        }
    });
}
