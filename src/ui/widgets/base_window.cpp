#include "ui/widgets/base_window.h"

#include "ui/widgets/window_frame.h"

BaseWindow::BaseWindow()
{
    setWindowFlags(Qt::Window | Qt::WindowMinMaxButtonsHint | Qt::WindowCloseButtonHint);
    new WindowFrame(this);
}

BaseWindow::~BaseWindow() = default;
