#include "player/window/video_list_delegate.h"

#include <QPainter>
#include <QTextLayout>

#include "player/session/watched_videos.h"
#include "player/window/video_list_model.h"
#include "player/window/video_list_panel.h"

namespace {

constexpr QSize PictureSize(64, 36);
constexpr int Margin = 8;
constexpr int IconSize = 18;
constexpr int BarHeight = 3;
constexpr int EmptyAlpha = 20;    // of 255: the place of a picture that is not there
constexpr int CurrentAlpha = 140; // darkens the picture below the icon of what plays

// The part of the picture that fills the place.
QRectF filling(const QSize &picture, const QSize &place)
{
    const QSizeF part = QSizeF(place).scaled(picture, Qt::KeepAspectRatio);
    return {QPointF((picture.width() - part.width()) / 2, (picture.height() - part.height()) / 2),
            part};
}

// In two lines where one is too short.
void paintName(QPainter &painter, const QRect &place, const QString &name)
{
    QTextLayout layout(name, painter.font());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    line.setLineWidth(place.width());
    const int first = line.textLength();
    layout.endLayout();

    const QFontMetrics metrics = painter.fontMetrics();
    if (first >= name.size()) {
        painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter, name);
        return;
    }
    const QString rest =
        metrics.elidedText(name.mid(first).trimmed(), Qt::ElideRight, place.width());
    QRect half(place.left(), place.center().y() + 1 - metrics.height(), place.width(),
               metrics.height());
    painter.drawText(half, Qt::AlignLeft | Qt::AlignVCenter, name.left(first));
    half.translate(0, metrics.height());
    painter.drawText(half, Qt::AlignLeft | Qt::AlignVCenter, rest);
}

} // namespace

VideoListDelegate::VideoListDelegate(VideoListPanel *panel)
    : QStyledItemDelegate(panel), m_panel(panel)
{
}

void VideoListDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const
{
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    QStyleOptionViewItem ground = cell;
    ground.text.clear();
    ground.icon = QIcon();
    cell.widget->style()->drawControl(QStyle::CE_ItemViewItem, &ground, painter, cell.widget);

    painter->save();
    painter->setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    const QRect picture(
        QPoint(cell.rect.left() + Margin, cell.rect.center().y() + 1 - PictureSize.height() / 2),
        PictureSize);
    paintPicture(*painter, picture, cell, index);
    paintWatched(*painter, picture, index.data(VideoListModel::WatchedRole).toInt());
    const bool isSelected = cell.state.testFlag(QStyle::State_Selected);
    painter->setPen(cell.palette.color(isSelected ? QPalette::HighlightedText : QPalette::Text));
    painter->setFont(cell.font);
    const int left = picture.right() + 1 + Margin;
    paintName(*painter,
              QRect(left, cell.rect.top(), cell.rect.right() - Margin - left, cell.rect.height()),
              cell.text);
    painter->restore();
}

void VideoListDelegate::paintPicture(QPainter &painter, const QRect &place,
                                     const QStyleOptionViewItem &cell,
                                     const QModelIndex &index) const
{
    const QImage picture = m_panel->picture(index.data(VideoListModel::FileIdRole).toString());
    const bool isCurrent = index.data(VideoListModel::CurrentRole).toBool();
    if (picture.isNull()) {
        QColor empty = cell.palette.color(QPalette::Text);
        empty.setAlpha(EmptyAlpha);
        painter.fillRect(place, empty);
    } else {
        painter.drawImage(place, picture, filling(picture.size(), place.size()));
    }
    if (!picture.isNull() && isCurrent) {
        painter.fillRect(place, QColor(0, 0, 0, CurrentAlpha));
    }
    if (picture.isNull() || isCurrent) {
        QRect icon(0, 0, IconSize, IconSize);
        icon.moveCenter(place.center());
        cell.icon.paint(&painter, icon);
    }
}

void VideoListDelegate::paintWatched(QPainter &painter, const QRect &place, int percent) const
{
    const SignColours colours = m_panel->signColours();
    if (percent >= WatchedWhole) {
        paintTick(painter, place.bottomRight() - QPoint(8, 8), colours);
    } else if (percent > 0) {
        // A ground of its own: pictures have all colours.
        const QRect strip(place.left(), place.bottom() - BarHeight - 1, place.width(),
                          BarHeight + 2);
        painter.fillRect(strip, colours.onSign);
        paintProgress(painter, QRectF(strip).adjusted(1, 1, -1, -1), percent, colours);
    }
}

QSize VideoListDelegate::sizeHint(const QStyleOptionViewItem &option,
                                  const QModelIndex & /*index*/) const
{
    return {option.rect.width(), PictureSize.height() + 2 * Margin};
}
