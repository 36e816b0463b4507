#pragma once

#include <QWidget>

class QAbstractButton;
class QLabel;

// Title bar of a frameless window: icon, title, and buttons to minimise, maximise and close.
// It follows the title, icon and state of the top-level window it lies in and shows only the
// buttons that the window's flags ask for. Presses on its free area are left to the window,
// which moves with them.
class TitleBar final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TitleBar)

public:
    // `window` becomes parent and watched window.
    explicit TitleBar(QWidget *window);

    // Shows the buttons of the window's flags; flags change without an event of their own.
    void updateButtons();

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void mouseDoubleClickEvent(QMouseEvent *event) override;

private slots:
    void onClicked();

private:
    QAbstractButton *addButton(const QString &name, const QString &toolTip);
    void updateIcon();
    void updateMaximizeButton();
    void applySkinAgain();
    void toggleMaximized();

    QLabel *m_iconLabel = nullptr;
    QLabel *m_titleLabel = nullptr;
    QAbstractButton *m_minimizeButton = nullptr;
    QAbstractButton *m_maximizeButton = nullptr;
    QAbstractButton *m_closeButton = nullptr;
};
