#include "player/window/volume_slider.h"

#include <QMouseEvent>
#include <QStyle>
#include <QStyleOptionSlider>

#include "player/window/volume_level.h"

namespace {

constexpr int ArrowStep = 5;
constexpr int PageStep = 10; // also the wheel's

} // namespace

VolumeSlider::VolumeSlider(QWidget *parent) : QSlider(Qt::Horizontal, parent)
{
    setRange(0, HighestVolume);
    setSingleStep(ArrowStep);
    setPageStep(PageStep);
}

// The handle is under the pointer before the slider sees the press, which drags it from there.
void VolumeSlider::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton) {
        QStyleOptionSlider option;
        initStyleOption(&option);
        const QRect handle =
            style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, this);
        const QRect groove =
            style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderGroove, this);
        setValue(QStyle::sliderValueFromPosition(minimum(), maximum(),
                                                 event->x() - groove.x() - handle.width() / 2,
                                                 groove.width() - handle.width()));
    }
    QSlider::mousePressEvent(event);
}
