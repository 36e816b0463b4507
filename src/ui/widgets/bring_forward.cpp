#include "ui/widgets/bring_forward.h"

#include <QWidget>

void bringForward(QWidget &window)
{
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    window.activateWindow();
}
