#include "app/last_window.h"

#include <QApplication>
#include <QMainWindow>
#include <QWidget>
#include <QWindow>

#include "ui/widgets/bring_forward.h"

namespace {

QWidget *mainWindow()
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (qobject_cast<QMainWindow *>(window) && window->isVisible()) {
            return window;
        }
    }
    return nullptr;
}

} // namespace

LastWindow::LastWindow()
{
    connect(qApp, &QGuiApplication::focusWindowChanged, this, &LastWindow::onFocusWindowChanged);
}

// Menus, toasts and dialogs are no windows to come back to by themselves.
void LastWindow::onFocusWindowChanged(const QWindow *window)
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (window && widget->windowHandle() == window && widget->windowType() == Qt::Window) {
            m_window = widget;
        }
    }
}

bool LastWindow::bringForward() const
{
    QWidget *window = m_window;
    if (!window || !window->isVisible()) {
        window = mainWindow();
    }
    if (window) {
        ::bringForward(*window);
    }
    QWidget *const question = QApplication::activeModalWidget();
    if (question) {
        ::bringForward(*question);
    }
    return window || question;
}
