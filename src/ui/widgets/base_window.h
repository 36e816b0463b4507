#pragma once

#include <QWidget>

class WindowFrame;

// Frameless top-level window: title bar, border, dragging by any free area and resizing at the
// edges. Without a parent; minimised and maximised as its flags say.
class BaseWindow : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BaseWindow)

public:
    BaseWindow();
    ~BaseWindow() override;

    // False gives the title bar's room to the contents.
    void setTitleBarVisible(bool visible);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    WindowFrame *m_frame = nullptr;
};
