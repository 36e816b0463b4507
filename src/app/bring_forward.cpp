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

void bringProgramForward()
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (qobject_cast<QMainWindow *>(window) && window->isVisible()) {
            bringForward(*window);
        }
    }
    if (QWidget *question = QApplication::activeModalWidget()) {
        bringForward(*question);
    }
}
