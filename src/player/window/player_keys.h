#pragma once

#include <Qt>
#include <QtGlobal>

// What the keys of the player do. The seek step is remembered: once an arrow key has set it, every
// later key seeks by it again.
class PlayerKeys final
{
public:
    enum class Action { None, VolumeUp, VolumeDown, TogglePause, LeaveFullScreen };

    // Takes one key press and returns what it asks for, besides a seek by increment().
    Action press(int key, Qt::KeyboardModifiers modifiers);

    // The seek step in seconds; 0 before the first arrow key.
    [[nodiscard]] int increment() const { return m_increment; }

    // Whether the key ends here: the window must not hand it on.
    [[nodiscard]] static bool isSwallowed(int key);

private:
    int m_increment = 0;
};
