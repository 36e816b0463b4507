#pragma once

#include <QStyledItemDelegate>

// Draws the path of the folders: an arrow behind each but the last, which is the one that is shown
// and stands out.
class PathDelegate final : public QStyledItemDelegate
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PathDelegate)

public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;
};
