#include "ui/widgets/dialog_page.h"

#include <QKeyEvent>

DialogPage::DialogPage(QWidget *parent) : QDialog(parent) {}

QSize DialogPage::sizeHint() const
{
    return m_wasShown ? QDialog::sizeHint() : size();
}

QSize DialogPage::minimumSizeHint() const
{
    return m_wasShown ? QDialog::minimumSizeHint() : QSize();
}

void DialogPage::showEvent(QShowEvent *event)
{
    m_wasShown = true;
    updateGeometry();
    QDialog::showEvent(event);
}

void DialogPage::keyPressEvent(QKeyEvent *event)
{
    event->ignore();
}
