#include "ui/widgets/notice.h"

#include <QIcon>
#include <QPainter>

namespace {

constexpr int IconSize = 48;
constexpr int Gap = 12;
constexpr int Margin = 24;
constexpr qreal IconOpacity = 0.35;
constexpr qreal TextOpacity = 0.65;

} // namespace

void paintNotice(QPainter &painter, const QRect &area, const Notice &notice)
{
    if (notice.text.isEmpty()) {
        return;
    }
    constexpr int Flags = Qt::AlignHCenter | Qt::TextWordWrap;
    const QRect room = area.adjusted(Margin, 0, -Margin, 0);
    const int lines = painter.fontMetrics().boundingRect(room, Flags, notice.text).height();
    const int top = room.center().y() - (IconSize + Gap + lines) / 2;
    painter.setOpacity(IconOpacity);
    QIcon(notice.iconPath)
        .paint(&painter, room.center().x() - IconSize / 2, top, IconSize, IconSize);
    painter.setOpacity(TextOpacity);
    painter.drawText(QRect(room.left(), top + IconSize + Gap, room.width(), lines), Flags,
                     notice.text);
}
