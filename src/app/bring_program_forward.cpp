#include "app/bring_program_forward.h"

#include <QApplication>
#include <QMainWindow>

#include "ui/widgets/bring_forward.h"

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
