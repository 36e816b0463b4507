#pragma once

#include <cstddef>

#include <QList>
#include <QString>
#include <Qt>

#include "ui/widgets/key_line.h"

// What the keys of the player do. The seek step is remembered: once an arrow key has set it, every
// later key seeks by it again.
class PlayerKeys final
{
public:
    enum class Action {
        None,
        VolumeUp,
        VolumeDown,
        ToggleMute,
        TogglePause,
        ToggleFullScreen,
        LeaveFullScreen,
        Faster,
        Slower,
        OwnSpeed,
        SoundLater,
        SoundEarlier,
        SoundInTime,
        SubtitlesLater,
        SubtitlesEarlier,
        NextChapter,
        PreviousChapter,
        TakeScreenshot,
        ShowKeys, // stays the last
    };
    // Without None. Each has a name and a deed.
    static constexpr std::size_t ActionCount = static_cast<std::size_t>(Action::ShowKeys);

    // Takes one key press and returns what it asks for, besides a seek by increment().
    Action press(int key, Qt::KeyboardModifiers modifiers);

    // The seek step in seconds; 0 before the first arrow key.
    [[nodiscard]] int increment() const { return m_increment; }

    // What the action, or a step by so many seconds, is called.
    [[nodiscard]] static QString text(Action action);
    [[nodiscard]] static QString textOfStep(int increment);
    // The names of the keys that ask for this, for menus and tips; of an arrow key by its step.
    [[nodiscard]] static QString names(Action action);
    [[nodiscard]] static QString nameOfStep(int increment);
    // Everything that a key asks for.
    [[nodiscard]] static QList<KeyLine> page();

    // Whether the key ends here: the window must not hand it on.
    [[nodiscard]] static bool isSwallowed(int key);
    // Whether it acts once, however long it is held: what it switches would flicker.
    [[nodiscard]] static bool actsOnce(int key);

private:
    int m_increment = 0;
};
