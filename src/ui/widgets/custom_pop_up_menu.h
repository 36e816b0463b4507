#pragma once

#include <QMenu>

/// Menu of a button at a window's lower edge, such as those of the player's control bar: it opens
/// above its button, centred on it, and inside the screen.
class CustomPopUpMenu final : public QMenu
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CustomPopUpMenu)

public:
    explicit CustomPopUpMenu(QWidget *parent = nullptr);

    /// Opens above `anchor`, or below it where the screen leaves no room above.
    void popUpAt(const QWidget *anchor);
};
