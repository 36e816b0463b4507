#include "player/window/seek_bar.h"

#include <QMouseEvent>
#include <QSignalBlocker>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QToolTip>
#include <QWheelEvent>

#include "app/environment/formatting.h"

namespace {

constexpr int ArrowStep = 5; // seconds
constexpr int PageStep = 30; // seconds

} // namespace

SeekBar::SeekBar(QWidget *parent) : QSlider(Qt::Horizontal, parent)
{
    setFocusPolicy(Qt::TabFocus);
    setMouseTracking(true);
    setSingleStep(ArrowStep);
    setPageStep(PageStep);
    connect(this, &QSlider::valueChanged, this, [this](int second) {
        if (m_requested < 0) {
            emit seekRequested(second);
        }
    });
}

void SeekBar::setTotalTime(int seconds)
{
    const QSignalBlocker blocker(this);
    setRange(0, seconds);
}

void SeekBar::setValueNoSignal(int value)
{
    if (m_requested >= 0) {
        return;
    }
    const QSignalBlocker blocker(this);
    setValue(value);
}

void SeekBar::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        return;
    }
    setSliderDown(true);
    showTimeAt(event);
    seekTo(secondAt(event->x()));
}

void SeekBar::mouseMoveEvent(QMouseEvent *event)
{
    showTimeAt(event);
    if (m_requested >= 0) {
        setSliderPosition(secondAt(event->x()));
    }
}

void SeekBar::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || m_requested < 0) {
        return;
    }
    if (const int second = secondAt(event->x()); second != m_requested) {
        seekTo(second);
    }
    endDrag();
}

void SeekBar::wheelEvent(QWheelEvent *event)
{
    emit wheelTurned(event->angleDelta().y());
}

// A disabled widget is given no wheel events; the wheel is not the bar's, however.
bool SeekBar::event(QEvent *event)
{
    if (event->type() == QEvent::Wheel) {
        wheelEvent(static_cast<QWheelEvent *>(event));
        return true;
    }
    return QSlider::event(event);
}

// A disabled widget gets no release: the next video would find the handle held.
void SeekBar::changeEvent(QEvent *event)
{
    QSlider::changeEvent(event);
    if (event->type() == QEvent::EnabledChange && !isEnabled()) {
        endDrag();
    }
}

void SeekBar::endDrag()
{
    m_requested = -1;
    setSliderDown(false);
}

int SeekBar::secondAt(int x) const
{
    QStyleOptionSlider option;
    initStyleOption(&option);
    const QRect groove =
        style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderGroove, this);
    const QRect handle =
        style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, this);
    // The handle's middle follows the pointer, so half of it is out of reach at either end.
    return QStyle::sliderValueFromPosition(
        minimum(), maximum(), x - groove.x() - handle.width() / 2, groove.width() - handle.width());
}

void SeekBar::showTimeAt(const QMouseEvent *event)
{
    if (maximum() > 0) {
        QToolTip::showText(event->globalPos(), formatClock(secondAt(event->x())), this);
    }
}

void SeekBar::seekTo(int second)
{
    m_requested = second;
    setValue(second);
    emit seekRequested(second);
}
