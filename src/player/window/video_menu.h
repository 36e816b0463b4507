#pragma once

class ControlBar;
class PlayerActions;
class QPoint;
class QWidget;

// Opens the menu over the video at this place of the screen: what the control bar has, what no
// button has, and beside each the keys that do the same; then the actions of `parent`. It belongs
// to `parent` and goes when it is closed; the actions and the bar must outlive it.
void showVideoMenu(QWidget *parent, const ControlBar &bar, PlayerActions &actions,
                   const QPoint &place);
