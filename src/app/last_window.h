#pragma once

#include <QObject>
#include <QPointer>

class QWidget;
class QWindow;

// Remembers which of the program's windows was active last, so that a second start brings the
// program forward as the user has left it: with the film before the files if it was. At most one
// object, from before the first window on.
class LastWindow final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LastWindow)

public:
    LastWindow();
    ~LastWindow() override = default;

    // Brings that window before those of others, also when it was minimised, and what the user is
    // asked in a window of its own before that. False when there is neither.
    [[nodiscard]] bool bringForward() const;

private:
    void onFocusWindowChanged(const QWindow *window);

    QPointer<QWidget> m_window;
};
