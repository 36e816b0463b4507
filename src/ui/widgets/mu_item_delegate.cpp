#include "ui/widgets/mu_item_delegate.h"

#include <QIcon>
#include <QPainter>

namespace {

constexpr int IconSize = 40;
constexpr int IconMargin = 5;
constexpr int TextGap = 10;
constexpr int RowHeight = IconSize + 2 * IconMargin;
constexpr qreal CornerRadius = 6;

QFont textFont()
{
    return QFont(QStringLiteral("Microsoft Yahei"), 11);
}

QColor highlight(QStyle::State state)
{
    if (state.testFlag(QStyle::State_MouseOver)) {
        return QColor(QStringLiteral("#ebeced"));
    }
    if (state.testFlag(QStyle::State_Selected)) {
        return QColor(QStringLiteral("#e3e3e5"));
    }
    return Qt::transparent;
}

// Who clicks knows where the focus went; who came by the keyboard has to see it.
bool isFocusedByKey(QStyle::State state)
{
    return state.testFlag(QStyle::State_HasFocus) &&
           state.testFlag(QStyle::State_KeyboardFocusChange);
}

} // namespace

MuItemDelegate::MuItemDelegate(QObject *parent) : QStyledItemDelegate(parent) {}

void MuItemDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                           const QModelIndex &index) const
{
    const QVariant value = index.data(DataRole);
    if (!value.canConvert<MuItemData>()) {
        return;
    }
    const auto data = value.value<MuItemData>();
    const QRect row = option.rect;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(highlight(option.state));
    painter->drawRoundedRect(row, CornerRadius, CornerRadius);
    if (isFocusedByKey(option.state)) {
        painter->setBrush(Qt::NoBrush);
        painter->setPen(QColor(QStringLiteral("#2f8a5f")));
        painter->drawRoundedRect(QRectF(row).adjusted(0.5, 0.5, -0.5, -0.5), CornerRadius,
                                 CornerRadius);
    }

    const QRect icon(row.left() + IconMargin, row.top() + IconMargin, IconSize, IconSize);
    QIcon(data.iconPath).paint(painter, icon);

    const int textLeft = icon.right() + 1 + TextGap;
    const QRect text(textLeft, row.top(), row.right() - textLeft, row.height());
    painter->setPen(Qt::black);
    painter->setFont(textFont());
    painter->drawText(text, Qt::AlignLeft | Qt::AlignVCenter,
                      painter->fontMetrics().elidedText(data.text, Qt::ElideRight, text.width()));
    painter->restore();
}

QSize MuItemDelegate::sizeHint(const QStyleOptionViewItem & /*option*/,
                               const QModelIndex &index) const
{
    const auto data = index.data(DataRole).value<MuItemData>();
    const int textWidth = QFontMetrics(textFont()).horizontalAdvance(data.text);
    return {IconMargin + IconSize + TextGap + textWidth + TextGap, RowHeight};
}
