#include "ui/widgets/base_window.h"

#include "ui/widgets/window_frame.h"

#include <QMouseEvent>

BaseWindow::BaseWindow()
{
    setWindowFlags(Qt::Window | Qt::WindowMinMaxButtonsHint | Qt::WindowCloseButtonHint);
    m_frame = new WindowFrame(this);
}

BaseWindow::~BaseWindow() = default;

void BaseWindow::setTitleBarVisible(bool visible)
{
    m_frame->setTitleBarVisible(visible);
}

void BaseWindow::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    m_frame->paint();
}

void BaseWindow::mousePressEvent(QMouseEvent *event)
{
    m_frame->mousePressed(event);
}

void BaseWindow::mouseMoveEvent(QMouseEvent *event)
{
    m_frame->mouseMoved(event);
}

void BaseWindow::mouseReleaseEvent(QMouseEvent *event)
{
    Q_UNUSED(event)
    m_frame->mouseReleased();
}
