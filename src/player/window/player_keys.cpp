#include "player/window/player_keys.h"

#include <algorithm>
#include <iterator>

#include <QStringList>

namespace {

using Action = PlayerKeys::Action;

constexpr int AnyModifiers = -1;
constexpr int Control = Qt::ControlModifier;

struct Binding
{
    int key;
    int modifiers; // exactly these, or AnyModifiers
    Action action;
    int increment; // 0 leaves the step
    bool swallowed;
    const char *name; // null: another way to type the key above
    bool once = false;
};

// Every row that fits acts, in this order.
constexpr Binding Bindings[] = {
    {Qt::Key_Left, AnyModifiers, Action::None, 5, true, "←"},
    {Qt::Key_Right, AnyModifiers, Action::None, -5, true, "→"},
    {Qt::Key_Up, AnyModifiers, Action::VolumeUp, 0, true, "↑"},
    {Qt::Key_Down, AnyModifiers, Action::VolumeDown, 0, true, "↓"},
    {Qt::Key_Space, AnyModifiers, Action::TogglePause, 0, false, "空格", true},
    {Qt::Key_F, AnyModifiers, Action::ToggleFullScreen, 0, false, "F", true},
    {Qt::Key_Escape, AnyModifiers, Action::LeaveFullScreen, 0, false, "Esc"},
    {Qt::Key_Left, Control, Action::None, 30, true, "Ctrl+←"},
    {Qt::Key_M, AnyModifiers, Action::ToggleMute, 0, false, "M", true},
    {Qt::Key_BracketRight, AnyModifiers, Action::Faster, 0, false, "]"},
    {Qt::Key_BracketLeft, AnyModifiers, Action::Slower, 0, false, "["},
    {Qt::Key_Backspace, AnyModifiers, Action::OwnSpeed, 0, false, "Backspace"},
    {Qt::Key_Plus, Control, Action::SoundLater, 0, false, "Ctrl++"},
    {Qt::Key_Plus, Control | Qt::ShiftModifier, Action::SoundLater, 0, false, nullptr},
    {Qt::Key_Plus, Control | Qt::KeypadModifier, Action::SoundLater, 0, false, nullptr},
    {Qt::Key_Equal, Control, Action::SoundLater, 0, false, nullptr},
    {Qt::Key_Minus, Control, Action::SoundEarlier, 0, false, "Ctrl+-"},
    {Qt::Key_Minus, Control | Qt::KeypadModifier, Action::SoundEarlier, 0, false, nullptr},
    {Qt::Key_0, Control, Action::SoundInTime, 0, false, "Ctrl+0"},
    {Qt::Key_0, Control | Qt::KeypadModifier, Action::SoundInTime, 0, false, nullptr},
    {Qt::Key_X, AnyModifiers, Action::SubtitlesLater, 0, false, "X"},
    {Qt::Key_Z, AnyModifiers, Action::SubtitlesEarlier, 0, false, "Z"},
    {Qt::Key_PageDown, AnyModifiers, Action::NextChapter, 0, false, "PageDown"},
    {Qt::Key_PageUp, AnyModifiers, Action::PreviousChapter, 0, false, "PageUp"},
    {Qt::Key_S, AnyModifiers, Action::TakeScreenshot, 0, false, "S", true},
    {Qt::Key_F1, AnyModifiers, Action::ShowKeys, 0, false, "F1", true},
};

struct Name
{
    Action action;
    const char *text;
    bool beginsGroup = false;
};

// In the order of the page; the steps stand before the first of them.
constexpr Name Names[] = {
    {Action::TogglePause, "播放、暂停"},
    {Action::NextChapter, "下一章"},
    {Action::PreviousChapter, "上一章"},
    {Action::Faster, "加快"},
    {Action::Slower, "减慢"},
    {Action::OwnSpeed, "原速"},
    {Action::VolumeUp, "增大音量", true},
    {Action::VolumeDown, "减小音量"},
    {Action::ToggleMute, "静音"},
    {Action::SoundLater, "声音延后 0.1 秒"},
    {Action::SoundEarlier, "声音提前 0.1 秒"},
    {Action::SoundInTime, "声音不延迟"},
    {Action::SubtitlesLater, "字幕延后 0.1 秒"},
    {Action::SubtitlesEarlier, "字幕提前 0.1 秒"},
    {Action::ToggleFullScreen, "全屏", true},
    {Action::LeaveFullScreen, "退出全屏"},
    {Action::TakeScreenshot, "截图"},
    {Action::ShowKeys, "快捷键"},
};
static_assert(std::size(Names) == PlayerKeys::ActionCount, "an action lacks its name");

template <class Fits>
QString namesWhere(Fits fits)
{
    QStringList found;
    for (const Binding &binding : Bindings) {
        if (binding.name && fits(binding)) {
            found.append(QString::fromUtf8(binding.name));
        }
    }
    return found.join(QStringLiteral("、"));
}

bool anyWith(int key, bool Binding::*property)
{
    return std::any_of(std::begin(Bindings), std::end(Bindings),
                       [key, property](const Binding &binding) {
                           return binding.key == key && binding.*property;
                       });
}

} // namespace

Action PlayerKeys::press(int key, Qt::KeyboardModifiers modifiers)
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

QString PlayerKeys::text(Action action)
{
    for (const Name &name : Names) {
        if (name.action == action) {
            return QString::fromUtf8(name.text);
        }
    }
    return {};
}

QString PlayerKeys::textOfStep(int increment)
{
    return increment < 0 ? QStringLiteral("后退 %1 秒").arg(-increment)
                         : QStringLiteral("快进 %1 秒").arg(increment);
}

QString PlayerKeys::names(Action action)
{
    return namesWhere([action](const Binding &binding) { return binding.action == action; });
}

QString PlayerKeys::nameOfStep(int increment)
{
    return namesWhere(
        [increment](const Binding &binding) { return binding.increment == increment; });
}

QList<KeyLine> PlayerKeys::page()
{
    QList<KeyLine> lines;
    for (const Binding &binding : Bindings) {
        if (binding.increment != 0) {
            lines.append({QString::fromUtf8(binding.name), textOfStep(binding.increment)});
        }
    }
    for (const Name &name : Names) {
        lines.append({names(name.action), QString::fromUtf8(name.text), name.beginsGroup});
    }
    return lines;
}

bool PlayerKeys::isSwallowed(int key)
{
    return anyWith(key, &Binding::swallowed);
}

bool PlayerKeys::actsOnce(int key)
{
    return anyWith(key, &Binding::once);
}
