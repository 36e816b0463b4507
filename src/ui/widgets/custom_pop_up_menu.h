#pragma once

#include <QMenu>

// The program's menu. As the menu of a tool button that is its parent, such as those of the
// player's control bar, it opens above the button, centred on it, and inside the screen; with any
// other parent it opens where it is told to.
class CustomPopUpMenu final : public QMenu
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CustomPopUpMenu)

public:
    explicit CustomPopUpMenu(QWidget *parent = nullptr);

protected:
    void showEvent(QShowEvent *event) override;

private:
    // Above the button, or below it where the screen leaves no room above.
    QPoint placeAt(const QWidget *button) const;
};
