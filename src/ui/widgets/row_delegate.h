#pragma once

#include <QStyledItemDelegate>

// Paints the cells of a RowTable, lighting the row under the mouse as a whole, and of other lists
// of names.
class RowDelegate : public QStyledItemDelegate
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RowDelegate)

public:
    explicit RowDelegate(QObject *parent = nullptr);

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;
};
