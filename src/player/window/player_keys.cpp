#include "player/window/player_keys.h"

#include <QStringList>

namespace {

constexpr int AnyModifiers = -1;

struct Binding
{
    int key;
    int modifiers; // exactly these, or AnyModifiers
    PlayerKeys::Action action;
    int increment; // 0 leaves the step
    bool swallowed;
    const char *name;
};

// Every row that fits acts, in this order.
constexpr Binding Bindings[] = {
    {Qt::Key_Left, AnyModifiers, PlayerKeys::Action::None, 5, true, "←"},
    {Qt::Key_Right, AnyModifiers, PlayerKeys::Action::None, -5, true, "→"},
    {Qt::Key_Up, AnyModifiers, PlayerKeys::Action::VolumeUp, 0, true, "↑"},
    {Qt::Key_Down, AnyModifiers, PlayerKeys::Action::VolumeDown, 0, true, "↓"},
    {Qt::Key_Space, AnyModifiers, PlayerKeys::Action::TogglePause, 0, false, "空格"},
    {Qt::Key_F, AnyModifiers, PlayerKeys::Action::ToggleFullScreen, 0, false, "F"},
    {Qt::Key_Escape, AnyModifiers, PlayerKeys::Action::LeaveFullScreen, 0, false, "Esc"},
    {Qt::Key_Left, Qt::ControlModifier, PlayerKeys::Action::None, 30, true, "Ctrl+←"},
};

} // namespace

PlayerKeys::Action PlayerKeys::press(int key, Qt::KeyboardModifiers modifiers)
{
    Action action = Action::None;
    for (const Binding &binding : Bindings) {
        if (binding.key != key) {
            continue;
        }
        if (binding.modifiers != AnyModifiers && binding.modifiers != static_cast<int>(modifiers)) {
            continue;
        }
        if (binding.action != Action::None) {
            action = binding.action;
        }
        if (binding.increment != 0) {
            m_increment = binding.increment;
        }
    }
    return action;
}

QString PlayerKeys::names(Action action)
{
    QStringList found;
    for (const Binding &binding : Bindings) {
        if (binding.action == action) {
            found.append(QString::fromUtf8(binding.name));
        }
    }
    return found.join(QStringLiteral("、"));
}

QString PlayerKeys::nameOfStep(int increment)
{
    for (const Binding &binding : Bindings) {
        if (binding.increment == increment) {
            return QString::fromUtf8(binding.name);
        }
    }
    return {};
}

bool PlayerKeys::isSwallowed(int key)
{
    for (const Binding &binding : Bindings) {
        if (binding.key == key) {
            return binding.swallowed;
        }
    }
    return false;
}
