#include "ui/widgets/questions.h"

#include <QDialogButtonBox>
#include <QIcon>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>

namespace {

// The program's icon for questions instead of the desktop's.
void showAsQuestion(QMessageBox &box)
{
    box.setIconPixmap(QIcon(QStringLiteral(":/image/help.png")).pixmap(40));
    box.setTextFormat(Qt::PlainText);
}

} // namespace

bool askYesNo(QWidget *parent, const QString &title, const QString &text)
{
    QMessageBox box(QMessageBox::Question, title, text, QMessageBox::Yes | QMessageBox::No, parent);
    showAsQuestion(box);
    box.button(QMessageBox::Yes)->setText(QStringLiteral("是(&Y)"));
    box.button(QMessageBox::No)->setText(QStringLiteral("否(&N)"));
    // No button is the default; the one with the focus answers Enter, and it must do no harm.
    box.button(QMessageBox::No)->setFocus();
    return box.exec() == QMessageBox::Yes;
}

std::optional<int> askChoice(QWidget *parent, const QString &title, const QString &text,
                             const QStringList &choices)
{
    QMessageBox box(QMessageBox::Question, title, text, QMessageBox::NoButton, parent);
    showAsQuestion(box);
    QList<QAbstractButton *> buttons;
    for (const QString &choice : choices) {
        buttons << box.addButton(choice, QMessageBox::ActionRole);
    }
    QPushButton *cancel = box.addButton(QMessageBox::Cancel);
    cancel->setText(QStringLiteral("取消"));
    cancel->setFocus();
    box.exec();
    const int chosen = buttons.indexOf(box.clickedButton());
    return chosen < 0 ? std::nullopt : std::make_optional(chosen);
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
    if (dialog.exec() != QDialog::Accepted) {
        return std::nullopt;
    }
    return dialog.textValue();
}

void setChineseTexts(QDialogButtonBox *buttons)
{
    if (QPushButton *ok = buttons->button(QDialogButtonBox::Ok)) {
        ok->setText(QStringLiteral("确定"));
    }
    if (QPushButton *cancel = buttons->button(QDialogButtonBox::Cancel)) {
        cancel->setText(QStringLiteral("取消"));
    }
}
