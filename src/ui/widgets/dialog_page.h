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

    // Asks for no room before it was shown once: a window lays out only the pages that it shows.
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void showEvent(QShowEvent *event) override;
    // Enter must not press a button that does not have the focus either.
    void keyPressEvent(QKeyEvent *event) override;

private:
    bool m_wasShown = false;
};
