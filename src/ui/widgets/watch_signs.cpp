#include "ui/widgets/watch_signs.h"

#include <QPainter>

namespace {

constexpr int GrooveAlpha = 64; // of 255
constexpr qreal DiscRadius = 7;
constexpr qreal RimWidth = 1.5; // parts the disc from the picture below it
constexpr qreal TickWidth = 1.8;

} // namespace

void paintProgress(QPainter &painter, const QRectF &bar, int percent, const SignColours &colours)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const qreal corner = bar.height() / 2;
    QColor groove = colours.sign;
    groove.setAlpha(GrooveAlpha);
    painter.setBrush(groove);
    painter.drawRoundedRect(bar, corner, corner);
    QRectF done = bar;
    done.setWidth(qMax(bar.height(), bar.width() * percent / 100));
    painter.setBrush(colours.sign);
    painter.drawRoundedRect(done, corner, corner);
    painter.restore();
}

void paintTick(QPainter &painter, const QPoint &centre, const SignColours &colours)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(centre);
    painter.setPen(QPen(colours.onSign, RimWidth));
    painter.setBrush(colours.sign);
    painter.drawEllipse(QPointF(0, 0), DiscRadius, DiscRadius);
    painter.setPen(QPen(colours.onSign, TickWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF tick[] = {{-3.2, 0.2}, {-0.8, 2.6}, {3.4, -2.4}};
    painter.drawPolyline(tick, 3);
    painter.restore();
}
