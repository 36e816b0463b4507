#include "ui/widgets/base_dialog.h"

#include "ui/widgets/window_frame.h"

#include <QMouseEvent>

BaseDialog::BaseDialog(Maximizing maximizing)
{
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    setWindowFlag(Qt::WindowMinimizeButtonHint);
    setWindowFlag(Qt::WindowMaximizeButtonHint, maximizing == Maximizing::Allowed);
    m_frame = new WindowFrame(this);
}

BaseDialog::~BaseDialog() = default;

void BaseDialog::setTitleBarVisible(bool visible)
{
    m_titleBarVisible = visible;
    m_frame->setTitleBarVisible(m_titleBarVisible);
}

void BaseDialog::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    m_frame->paint();
}

void BaseDialog::mousePressEvent(QMouseEvent *event)
{
    m_frame->mousePressed(event);
}

void BaseDialog::mouseMoveEvent(QMouseEvent *event)
{
    m_frame->mouseMoved(event);
}

void BaseDialog::mouseReleaseEvent(QMouseEvent *event)
{
    Q_UNUSED(event)
    m_frame->mouseReleased();
}
