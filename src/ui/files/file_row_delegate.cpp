#include "ui/files/file_row_delegate.h"

#include <QLineEdit>
#include <QPainter>
#include <QTimer>

#include "player/session/watched_videos.h"
#include "ui/files/file_table.h"
#include "ui/widgets/sort_table_widget_item.h"
#include "ui/widgets/watch_signs.h"

namespace {

constexpr int BarHeight = 3;
constexpr int BarWidth = 160; // at most
constexpr int BarPlace = 9;   // from the row's bottom to the bar's top
constexpr int TextMargin = 3; // by which a style keeps a text off its room's edge
constexpr int TagPadding = 6;
constexpr int TagGap = 8; // between the name and the tag
constexpr int ShortestName = 80;
constexpr qreal TagType = 0.8; // of the row's type size

const QString TagText = QStringLiteral("上次播放");

QFont tagFont(const QFont &font)
{
    QFont small = font;
    small.setPointSizeF(font.pointSizeF() * TagType);
    return small;
}

QSize tagSize(const QFont &font)
{
    const QFontMetrics metrics(tagFont(font));
    return {metrics.horizontalAdvance(TagText) + 2 * TagPadding, metrics.height() + 2};
}

bool isLastPlayed(const QModelIndex &index)
{
    return index.data(FileTable::LastPlayedRole).toBool();
}

void paintTag(QPainter &painter, const QRect &tag, const QFont &font, const SignColours &colours)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colours.sign);
    painter.drawRoundedRect(tag, 4, 4);
    painter.setPen(colours.onSign);
    painter.setFont(tagFont(font));
    painter.drawText(tag, Qt::AlignCenter, TagText);
    painter.restore();
}

// Behind the name, which is cut off where both have no room. Empty where even that does not help.
QRect makeRoomForTag(QStyleOptionViewItem &cell, const QRect &text)
{
    const QSize size = tagSize(cell.font);
    const int room = text.width() - 2 * TextMargin - TagGap - size.width();
    if (room < ShortestName) {
        return {};
    }
    cell.text = cell.fontMetrics.elidedText(cell.text, cell.textElideMode, room);
    const int left =
        text.left() + TextMargin + cell.fontMetrics.horizontalAdvance(cell.text) + TagGap;
    return {QPoint(left, text.center().y() - size.height() / 2), size};
}

} // namespace

FileRowDelegate::FileRowDelegate(QObject *parent) : RowDelegate(parent) {}

void FileRowDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                            const QModelIndex &index) const
{
    const auto *table = qobject_cast<const FileTable *>(option.widget);
    const int percent = index.data(FileTable::WatchedRole).toInt();
    if (!table || (percent == 0 && !isLastPlayed(index))) {
        RowDelegate::paint(painter, option, index);
        return;
    }
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    const QStyle &style = *table->style();
    const QRect text = style.subElementRect(QStyle::SE_ItemViewItemText, &cell, table);
    const QRect icon = style.subElementRect(QStyle::SE_ItemViewItemDecoration, &cell, table);
    const QRect tag = isLastPlayed(index) ? makeRoomForTag(cell, text) : QRect();
    style.drawControl(QStyle::CE_ItemViewItem, &cell, painter, table);

    painter->save();
    painter->setClipRect(cell.rect);
    if (!tag.isEmpty()) {
        paintTag(*painter, tag, cell.font, table->signColours());
    }
    if (percent >= WatchedWhole) {
        paintTick(*painter, icon.bottomRight() - QPoint(3, 5), table->signColours());
    } else if (percent > 0) {
        const int width = qMin(BarWidth, text.width() - 2 * TextMargin);
        const QRect bar(text.left() + TextMargin, cell.rect.bottom() - BarPlace, width, BarHeight);
        paintProgress(*painter, bar, percent, table->signColours());
    }
    painter->restore();
}

QSize FileRowDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    QSize size = RowDelegate::sizeHint(option, index);
    if (isLastPlayed(index)) {
        size.rwidth() += TagGap + tagSize(option.font).width();
    }
    return size;
}

QWidget *FileRowDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem & /*option*/,
                                       const QModelIndex &index) const
{
    auto *editor = new QLineEdit(parent);
    editor->setAccessibleName(QStringLiteral("文件名"));
    const QString name = index.data(Qt::EditRole).toString();
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    const bool isFolder = index.data(SortTableWidgetItem::FolderRole).toBool();
    if (dot <= 0 || isFolder) {
        return editor;
    }
    // After the view, which selects everything once the editor is shown.
    QTimer::singleShot(0, editor, [editor, dot] { editor->setSelection(0, dot); });
    return editor;
}

void FileRowDelegate::setEditorData(QWidget *editor, const QModelIndex &index) const
{
    const auto *name = qobject_cast<QLineEdit *>(editor);
    if (!name || !name->isModified()) {
        RowDelegate::setEditorData(editor, index);
    }
}
