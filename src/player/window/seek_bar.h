#pragma once

#include <QSlider>

// The time line of the player, in whole seconds. A press or a drag goes to where the pointer is,
// the arrow keys 5 s on or back; the time under the pointer is shown as a tool tip. Knows no
// player: it is fed positions and says what the user wants.
class SeekBar final : public QSlider
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SeekBar)

public:
    explicit SeekBar(QWidget *parent = nullptr);

    // The range becomes 0 to `seconds`.
    void setTotalTime(int seconds);

    // Shows a position without valueChanged() or seekRequested(). While the user drags the handle
    // it stays under the pointer.
    void setValueNoSignal(int value);

signals:
    // The user pointed at this second, or went there with keys.
    void seekRequested(int seconds);
    // By this angle, also while the bar is disabled. It does not move the handle.
    void wheelTurned(int delta);

protected:
    bool event(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    [[nodiscard]] int secondAt(int x) const;
    void showTimeAt(const QMouseEvent *event);
    void seekTo(int second);
    void endDrag();

    int m_requested = -1; // the second of the last request of this press; -1: not pressed
};
