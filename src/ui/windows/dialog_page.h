#pragma once

#include <QDialog>

// Base of the dialogs that stand as pages inside the main window. Esc and Enter, which close an
// ordinary dialog, leave a page where it is.
class DialogPage : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DialogPage)

public:
    explicit DialogPage(QWidget *parent = nullptr);

    void accept() override {}
    void reject() override {}

protected:
    // Enter must not press a button that does not have the focus either.
    void keyPressEvent(QKeyEvent *event) override;
};
