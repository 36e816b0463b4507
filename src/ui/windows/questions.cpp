#include "ui/windows/questions.h"

#include <QDialogButtonBox>
#include <QIcon>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>

bool askYesNo(QWidget *parent, const QString &title, const QString &text)
{
    QMessageBox box(QMessageBox::Question, title, text, QMessageBox::Yes | QMessageBox::No, parent);
    box.button(QMessageBox::Yes)->setText(QStringLiteral("是"));
    box.button(QMessageBox::No)->setText(QStringLiteral("否"));
    box.setIconPixmap(QIcon(QStringLiteral(":/image/help.png")).pixmap(40));
    // No button is the default; the one with the focus answers Enter, and it must do no harm.
    box.button(QMessageBox::No)->setFocus();
    return box.exec() == QMessageBox::Yes;
}

std::optional<QString> askText(QWidget *parent, const QString &title, const QString &label,
                               const QString &text)
{
    QInputDialog dialog(parent);
    dialog.setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    dialog.setWindowTitle(title);
    dialog.setLabelText(label);
    dialog.setTextValue(text);
    dialog.setOkButtonText(QStringLiteral("确定"));
    dialog.setCancelButtonText(QStringLiteral("取消"));
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.textValue();
}

void setChineseTexts(QDialogButtonBox *buttons)
{
    if (QPushButton *ok = buttons->button(QDialogButtonBox::Ok))
        ok->setText(QStringLiteral("确定"));
    if (QPushButton *cancel = buttons->button(QDialogButtonBox::Cancel))
        cancel->setText(QStringLiteral("取消"));
}
