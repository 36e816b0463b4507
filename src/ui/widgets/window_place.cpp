#include "ui/widgets/window_place.h"

#include <QScreen>
#include <QWidget>

QRect placeOver(const QWidget &opener, const QSize &size)
{
    const QRect screen = opener.screen()->availableGeometry();
    QRect place(QPoint(0, 0), size.boundedTo(screen.size()));
    place.moveCenter(opener.frameGeometry().center());
    place.moveLeft(qBound(screen.left(), place.left(), screen.right() + 1 - place.width()));
    place.moveTop(qBound(screen.top(), place.top(), screen.bottom() + 1 - place.height()));
    return place;
}

void fitToScreen(QWidget &window, const QMargins &frame)
{
    const QRect screen = window.screen()->availableGeometry();
    const QSize size = window.size().boundedTo(screen.marginsRemoved(frame).size());
    // At the screen's edges too, where the user or the desktop has put it with its frame.
    const bool isPlaced = window.testAttribute(Qt::WA_Moved);
    const bool fitsThere = isPlaced && screen.contains(window.geometry());
    if (size == window.size() || fitsThere || window.isMaximized() || window.isFullScreen()) {
        return;
    }
    window.resize(size);
    if (isPlaced) {
        const QRect whole = QRect(window.pos(), size).marginsAdded(frame);
        window.move(qBound(screen.left(), window.x(), screen.right() + 1 - whole.width()),
                    qBound(screen.top(), window.y(), screen.bottom() + 1 - whole.height()));
    }
}
