#pragma once

#include "ui/widgets/row_delegate.h"

// Paints "46%  00:21:10/00:45:32" as the percentage over the times in small type, for the column
// is narrower than the text.
class WatchProgressDelegate final : public RowDelegate
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(WatchProgressDelegate)

public:
    explicit WatchProgressDelegate(QObject *parent = nullptr);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
};
