#include "ui/widgets/base_dialog.h"

#include "ui/widgets/window_frame.h"

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
