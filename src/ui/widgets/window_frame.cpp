#include "ui/widgets/window_frame.h"

#include <QApplication>
#include <QHoverEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleOption>
#include <QWidget>
#include <QWindow>

#include "ui/widgets/title_bar.h"

namespace {

constexpr int BorderWidth = 1;
constexpr int GripWidth = 4;
constexpr int CornerReach = 12;
constexpr int TitleBarHeight = 32;

Qt::CursorShape cursorShapeFor(Qt::Edges edges)
{
    if (edges == (Qt::LeftEdge | Qt::TopEdge) || edges == (Qt::RightEdge | Qt::BottomEdge)) {
        return Qt::SizeFDiagCursor;
    }
    if (edges == (Qt::RightEdge | Qt::TopEdge) || edges == (Qt::LeftEdge | Qt::BottomEdge)) {
        return Qt::SizeBDiagCursor;
    }
    return (edges & (Qt::LeftEdge | Qt::RightEdge)) ? Qt::SizeHorCursor : Qt::SizeVerCursor;
}

} // namespace

WindowFrame::WindowFrame(QWidget *window) : QObject(window), m_window(window)
{
    window->setWindowFlag(Qt::FramelessWindowHint);
    window->setAttribute(Qt::WA_Hover);
    m_titleBar = new TitleBar(window);
    window->installEventFilter(this);
    placeTitleBar();
}

void WindowFrame::setTitleBarVisible(bool visible)
{
    m_titleBarVisible = visible;
    placeTitleBar();
}

// Background and border.
void WindowFrame::onPaint()
{
    QPainter painter(m_window);
    QStyleOption option;
    option.initFrom(m_window);
    m_window->style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, m_window);
    if (isFramed() && !m_window->isMaximized()) {
        // Not a drawn rectangle: on dense screens half of its pen falls outside.
        const QRect outside = m_window->rect();
        const QRect inside = outside.adjusted(BorderWidth, BorderWidth, -BorderWidth, -BorderWidth);
        for (const QRect &side : QRegion(outside) - inside) {
            painter.fillRect(side, m_window->palette().color(QPalette::Mid));
        }
    }
}

void WindowFrame::onMousePress(const QMouseEvent &event)
{
    if (event.button() != Qt::LeftButton || !m_window->isWindow()) {
        return;
    }
    // Measured from the window: an event that a child passed on has another position.
    const QPoint position = m_window->mapFromGlobal(event.globalPos());
    const Qt::Edges edges = edgesAt(position);
    QWindow *handle = m_window->windowHandle();
    if (edges && handle != nullptr && handle->startSystemResize(edges)) {
        return;
    }
    m_pressed = true;
    m_moving = false;
    m_pressPosition = event.globalPos();
    m_windowOffset = event.globalPos() - m_window->frameGeometry().topLeft();
}

void WindowFrame::onMouseMove(const QMouseEvent &event)
{
    if (!m_pressed || !event.buttons().testFlag(Qt::LeftButton) || m_window->isMaximized() ||
        m_window->isFullScreen()) {
        return;
    }
    if (!m_moving) {
        const int distance = (event.globalPos() - m_pressPosition).manhattanLength();
        if (distance < QApplication::startDragDistance()) {
            return;
        }
        // The window system moves better (snapping, other screens); where it does not, we do.
        QWindow *handle = m_window->windowHandle();
        if (handle != nullptr && handle->startSystemMove()) {
            m_pressed = false;
            return;
        }
        m_moving = true;
    }
    m_window->move(event.globalPos() - m_windowOffset);
}

void WindowFrame::onMouseRelease()
{
    m_pressed = false;
    m_moving = false;
}

bool WindowFrame::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_window) {
        return QObject::eventFilter(watched, event);
    }
    switch (event->type()) {
    case QEvent::Paint:
        onPaint();
        return false;
    case QEvent::MouseButtonPress:
        onMousePress(*static_cast<QMouseEvent *>(event));
        return true;
    case QEvent::MouseMove:
        onMouseMove(*static_cast<QMouseEvent *>(event));
        return true;
    case QEvent::MouseButtonRelease:
        onMouseRelease();
        return true;
    case QEvent::HoverMove:
        updateCursor(static_cast<QHoverEvent *>(event)->pos());
        return false;
    case QEvent::Show:
        m_titleBar->updateButtons();
        placeTitleBar();
        return false;
    case QEvent::Resize:
    case QEvent::WindowStateChange:
    case QEvent::ParentChange:
        placeTitleBar();
        return false;
    default:
        return false;
    }
}

bool WindowFrame::isFramed() const
{
    return m_window->isWindow() && !m_window->isFullScreen();
}

bool WindowFrame::isResizable() const
{
    return isFramed() && !m_window->isMaximized() &&
           m_window->minimumSize() != m_window->maximumSize();
}

Qt::Edges WindowFrame::edgesAt(const QPoint &position) const
{
    const QRect area = m_window->rect();
    const QRect inner = area.adjusted(GripWidth, GripWidth, -GripWidth, -GripWidth);
    if (!isResizable() || !area.contains(position) || inner.contains(position)) {
        return {};
    }
    Qt::Edges edges;
    edges.setFlag(Qt::LeftEdge, position.x() < CornerReach);
    edges.setFlag(Qt::RightEdge, position.x() >= area.width() - CornerReach);
    edges.setFlag(Qt::TopEdge, position.y() < CornerReach);
    edges.setFlag(Qt::BottomEdge, position.y() >= area.height() - CornerReach);
    return edges;
}

void WindowFrame::updateCursor(const QPoint &position)
{
    if (const Qt::Edges edges = edgesAt(position)) {
        m_window->setCursor(cursorShapeFor(edges));
    } else if (m_window->testAttribute(Qt::WA_SetCursor)) {
        m_window->unsetCursor();
    }
}

void WindowFrame::placeTitleBar()
{
    const bool bordered = isFramed() && !m_window->isMaximized();
    const int border = bordered ? BorderWidth : 0;
    // The window, not a child, has to feel the mouse at its edges.
    const int side = isResizable() ? GripWidth : border;
    const int barHeight = isFramed() && m_titleBarVisible ? TitleBarHeight : 0;
    m_window->setContentsMargins(side, qMax(border + barHeight, side), side, side);
    // Showing it polishes it, which in the window's constructor would be too early: the skin
    // would take the window for its base class.
    if (barHeight == 0 || m_titleBar->testAttribute(Qt::WA_WState_ExplicitShowHide)) {
        m_titleBar->setVisible(barHeight > 0);
    }
    m_titleBar->setGeometry(border, border, m_window->width() - 2 * border, TitleBarHeight);
    m_titleBar->raise();
}
