#pragma once

#include <QMenu>

// Menu of a button at a window's lower edge, such as those of the player's control bar: it opens
// above its button, centred on it, and inside the screen, also when it is the menu of a tool
// button that is its parent.
class CustomPopUpMenu final : public QMenu
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CustomPopUpMenu)

public:
    explicit CustomPopUpMenu(QWidget *parent = nullptr);

    // Opens above `anchor`, or below it where the screen leaves no room above.
    void popUpAt(const QWidget *anchor);

protected:
    void showEvent(QShowEvent *event) override;

private:
    QPoint placeAt(const QWidget *anchor) const;
};
