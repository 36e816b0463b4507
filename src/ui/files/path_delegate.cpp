#include "ui/files/path_delegate.h"

void PathDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    if (index.row() == index.model()->rowCount() - 1) {
        option->font.setBold(true);
        option->fontMetrics = QFontMetrics(option->font);
    } else if (option->text.endsWith(QLatin1Char('>'))) {
        option->text.chop(1);
        option->text += QStringLiteral("　›");
    }
}
