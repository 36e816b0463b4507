#include "ui/windows/row_delegate.h"

#include "ui/windows/row_table.h"

RowDelegate::RowDelegate(QObject *parent) : QStyledItemDelegate(parent) {}

void RowDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    if (const auto *table = qobject_cast<const RowTable *>(option->widget))
        option->state.setFlag(QStyle::State_MouseOver, index.row() == table->hoveredRow());
}
