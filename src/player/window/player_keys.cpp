#include "player/window/player_keys.h"

namespace {

constexpr int AnyModifiers = -1;

struct Binding
{
    int key;
    int modifiers; // exactly these, or AnyModifiers
    PlayerKeys::Action action;
    int increment; // 0 leaves the step
    bool swallowed;
};

// Every row that fits acts, in this order.
constexpr Binding Bindings[] = {
    {Qt::Key_Left, AnyModifiers, PlayerKeys::Action::None, 5, true},
    {Qt::Key_Right, AnyModifiers, PlayerKeys::Action::None, -5, true},
    {Qt::Key_Up, AnyModifiers, PlayerKeys::Action::VolumeUp, 0, true},
    {Qt::Key_Down, AnyModifiers, PlayerKeys::Action::VolumeDown, 0, true},
    {Qt::Key_Space, AnyModifiers, PlayerKeys::Action::TogglePause, 0, false},
    {Qt::Key_Escape, AnyModifiers, PlayerKeys::Action::LeaveFullScreen, 0, false},
    {Qt::Key_Left, Qt::ControlModifier, PlayerKeys::Action::None, 30, true},
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

bool PlayerKeys::isSwallowed(int key)
{
    for (const Binding &binding : Bindings) {
        if (binding.key == key) {
            return binding.swallowed;
        }
    }
    return false;
}
