#pragma once

#include <tuple>

#include <QList>
#include <QString>
#include <QVariant>

// One line of a drop-down menu of the control bar; one with children opens a menu of them.
struct MenuEntry
{
    QString text;
    QVariant data; // comes back when the user chooses the entry
    bool checked = false;
    QString icon{}; // resource path
    QString tip{};  // what choosing it does, where the text does not say so
    bool beginsGroup = false;
    bool enabled = true;
    QString hint{}; // at the right: keys that do the same, or a mark
    QList<MenuEntry> children{};
};

[[nodiscard]] inline bool operator==(const MenuEntry &left, const MenuEntry &right)
{
    const auto all = [](const MenuEntry &entry) {
        return std::tie(entry.text, entry.data, entry.checked, entry.icon, entry.tip,
                        entry.beginsGroup, entry.enabled, entry.hint, entry.children);
    };
    return all(left) == all(right);
}
