#pragma once

#include <QWidget>

// Frameless top-level window: title bar, border, dragging by any free area and resizing at the
// edges. Without a parent; minimised and maximised as its flags say.
class BaseWindow : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BaseWindow)

public:
    BaseWindow();
    ~BaseWindow() override;
};
