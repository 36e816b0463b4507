#include "ui/windows/dialog_page.h"

#include <QKeyEvent>

DialogPage::DialogPage(QWidget *parent) : QDialog(parent) {}

void DialogPage::keyPressEvent(QKeyEvent *event)
{
    event->ignore();
}
