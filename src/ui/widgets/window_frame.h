#pragma once

#include <QObject>
#include <QPoint>

class QMouseEvent;
class TitleBar;
class QWidget;

// What the window manager would give to a window and a frameless one has to do by itself: the
// title bar, a thin border, moving, and resizing at the edges. Owned by its window. The room it
// takes is kept in the window's contents margins, so that any layout set later fits below it.
// While the window is full screen there is no frame, while it is maximised no border. A window
// that becomes a page of another one has none either.
class WindowFrame final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(WindowFrame)

public:
    // Makes `window` frameless, keeping its other flags.
    explicit WindowFrame(QWidget *window);

    // A hidden title bar gives its room to the contents.
    void setTitleBarVisible(bool visible);

    // Sees the window's events before the window does, and keeps the mouse's: a drag that begins
    // on a free area moves the window, one that begins at an edge resizes it.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void onPaint();
    void onMousePress(const QMouseEvent &event);
    void onMouseMove(const QMouseEvent &event);
    void onMouseRelease();
    bool isFramed() const;
    bool isResizable() const;
    Qt::Edges edgesAt(const QPoint &position) const;
    void updateCursor(const QPoint &position);
    void placeTitleBar();

    QWidget *m_window = nullptr;
    TitleBar *m_titleBar = nullptr;
    bool m_titleBarVisible = true;
    bool m_pressed = false;
    bool m_moving = false;
    QPoint m_pressPosition;
    QPoint m_windowOffset;
};
