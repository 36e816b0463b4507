#pragma once

#include <QColor>
#include <QSlider>

#include "player/session/buffering.h"
#include "player/session/chapters.h"

class QLabel;

// The time line of the player, in whole seconds. A press or a drag goes to where the pointer is,
// the arrow keys 5 s on or back; the time under the pointer is shown as a tool tip, with the name
// of the chapter. What has been read ahead is drawn in a shade of its own, the beginnings of
// chapters as marks. Knows no player: it is fed positions and says what the user wants.
class SeekBar final : public QSlider
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SeekBar)
    // Of what has been read ahead and of the marks, for the style sheet.
    Q_PROPERTY(QColor readColour MEMBER m_readColour)
    Q_PROPERTY(QColor markColour MEMBER m_markColour)

public:
    explicit SeekBar(QWidget *parent = nullptr);

    // The range becomes 0 to `seconds`.
    void setTotalTime(int seconds);

    // Shows a position without valueChanged() or seekRequested(). While the user drags the handle
    // it stays under the pointer.
    void setValueNoSignal(int value);

    void setRead(const QList<Stretch> &read);
    void setChapters(const QList<Chapter> &chapters);

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
    void leaveEvent(QEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    // Where on the bar the handle may be: its middle goes from the first to the last.
    struct Way
    {
        QRect groove;
        QRect handle; // as it is now
        int first;
        int length;
    };

    [[nodiscard]] Way way() const;
    [[nodiscard]] int xOf(const Way &way, double second) const;
    [[nodiscard]] int secondAt(int x) const;
    [[nodiscard]] QString tipAt(int second) const;
    void showTimeAt(const QMouseEvent *event);
    void seekTo(int second);
    void endDrag();

    QLabel *m_tip = nullptr;
    int m_requested = -1; // the second of the last request of this press; -1: not pressed
    QList<Stretch> m_read;
    QList<Chapter> m_chapters;
    QColor m_readColour = Qt::lightGray;
    QColor m_markColour = Qt::white;
};
