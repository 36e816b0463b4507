#include "app/bring_forward.h"

#include <QApplication>
#include <QMainWindow>

namespace {

void bringForward(QWidget &window)
{
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    window.activateWindow();
}

} // namespace

bool bringProgramForward()
{
    bool isShown = false;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (qobject_cast<QMainWindow *>(window) && window->isVisible()) {
            bringForward(*window);
            isShown = true;
        }
    }
    if (QWidget *question = QApplication::activeModalWidget()) {
        bringForward(*question);
        isShown = true;
    }
    return isShown;
}
