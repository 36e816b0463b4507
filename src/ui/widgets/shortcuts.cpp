#include "ui/widgets/shortcuts.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPointer>

namespace {

// X11 tells of a held key as of one that is let go and pressed again in the same moment. Qt looks
// for the second event when it has the first, and often is too early: then it takes both for the
// user's.
class KeyRepeats final : public QObject
{
public:
    using QObject::QObject;

    bool isRepeated = false;

protected:
    bool eventFilter(QObject * /*watched*/, QEvent *event) override
    {
        if (event->type() == QEvent::KeyRelease) {
            const auto &release = static_cast<const QKeyEvent &>(*event);
            m_key = release.key();
            m_released = release.timestamp();
        } else if (event->type() == QEvent::ShortcutOverride) {
            const auto &press = static_cast<const QKeyEvent &>(*event);
            // Events that a program makes have no time.
            const bool isSameMoment = press.timestamp() != 0 && press.timestamp() == m_released;
            isRepeated = press.isAutoRepeat() || (isSameMoment && press.key() == m_key);
        }
        return false;
    }

private:
    int m_key = 0;
    unsigned long m_released = 0; // milliseconds of the display's clock
};

// Of the application, and gone with it.
QPointer<KeyRepeats> &watcher()
{
    static QPointer<KeyRepeats> repeats;
    return repeats;
}

} // namespace

bool isKeyRepeated()
{
    const KeyRepeats *repeats = watcher().data();
    return repeats != nullptr && repeats->isRepeated;
}

void watchKeyRepeats()
{
    if (!watcher()) {
        watcher() = new KeyRepeats(qApp);
        qApp->installEventFilter(watcher());
    }
}
