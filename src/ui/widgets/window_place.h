#pragma once

#include <QMargins>
#include <QRect>

class QWidget;

// Where a window of this size stands when it is opened from another: over its middle, and as far
// as it goes inside the screen.
QRect placeOver(const QWidget &opener, const QSize &size);

// Brings a window that is larger than its screen leaves room for, at a larger scale or on a smaller
// screen than where it was left, inside of it; `frame` is what the window manager adds. A window
// that fits, and one that fills the screen on purpose, stays as it is.
void fitToScreen(QWidget &window, const QMargins &frame = {});
