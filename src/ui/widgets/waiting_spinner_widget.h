#pragma once

#include <QTimer>
#include <QWidget>

// A ring of fading dots that turns while something is awaited. It lies centred over its parent,
// follows the parent's size, lets the mouse through and is hidden while stopped.
class WaitingSpinnerWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(WaitingSpinnerWidget)

public:
    explicit WaitingSpinnerWidget(QWidget *parent);

    [[nodiscard]] bool isSpinning() const { return m_timer.isActive(); }
    // The dot drawn darkest at the moment, counted clockwise from the top.
    [[nodiscard]] int currentDot() const { return m_current; }

public slots:
    void start();
    void stop();
    // Moves the ring on by one dot; the timer's step.
    void rotate();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void centre();

    QTimer m_timer;
    int m_current = 0;
};
