#include "ui/history/watch_progress_delegate.h"

#include <QPainter>

namespace {

constexpr int Padding = 11; // as in all cells: the skin's and the style's
constexpr int Middle = 2;   // below the cell's: the upper line is the taller one
constexpr qreal SmallType = 0.8;
constexpr qreal SmallTypeOpacity = 0.7;

} // namespace

WatchProgressDelegate::WatchProgressDelegate(QObject *parent) : RowDelegate(parent) {}

void WatchProgressDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                  const QModelIndex &index) const
{
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    const QString percentage = cell.text.section(QLatin1Char(' '), 0, 0);
    const QString times = cell.text.section(QLatin1Char(' '), -1);
    cell.text.clear();
    cell.widget->style()->drawControl(QStyle::CE_ItemViewItem, &cell, painter, cell.widget);

    QRect upper = cell.rect.adjusted(Padding, 0, 0, 0);
    upper.setBottom(cell.rect.center().y() + Middle);
    const QRect lower(upper.left(), upper.bottom(), upper.width(),
                      cell.rect.bottom() - upper.bottom());
    painter->save();
    painter->setClipRect(cell.rect);
    const bool isSelected = cell.state.testFlag(QStyle::State_Selected);
    painter->setPen(cell.palette.color(isSelected ? QPalette::HighlightedText : QPalette::Text));
    painter->setFont(cell.font);
    painter->drawText(upper, Qt::AlignLeft | Qt::AlignBottom, percentage);
    QFont small = cell.font;
    small.setPointSizeF(small.pointSizeF() * SmallType);
    painter->setFont(small);
    painter->setOpacity(SmallTypeOpacity);
    painter->drawText(lower, Qt::AlignLeft | Qt::AlignTop,
                      QFontMetrics(small).elidedText(times, Qt::ElideRight, lower.width()));
    painter->restore();
}
