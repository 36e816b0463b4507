#include "ui/widgets/row_delegate.h"

#include "ui/widgets/name_text.h"
#include "ui/widgets/row_table.h"

RowDelegate::RowDelegate(QObject *parent) : QStyledItemDelegate(parent) {}

void RowDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    option->text = visibleName(option->text);
    const auto *table = qobject_cast<const RowTable *>(option->widget);
    if (!table) {
        return;
    }
    // The skin marks the start of a selected row.
    if (index.column() == 0) {
        option->viewItemPosition = QStyleOptionViewItem::Beginning;
    }
    option->state.setFlag(QStyle::State_MouseOver, index.row() == table->hoveredRow());
    option->state.setFlag(QStyle::State_HasFocus, table->hasFocus() && index.column() == 0 &&
                                                      index.row() == table->currentRow());
}
