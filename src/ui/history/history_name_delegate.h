#pragma once

#include "ui/widgets/row_delegate.h"

// Paints a name behind its video's picture, which has the same room in each row: also an icon
// that stands for it.
class HistoryNameDelegate final : public RowDelegate
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HistoryNameDelegate)

public:
    static constexpr QSize PictureSize{64, 36};

    explicit HistoryNameDelegate(QObject *parent = nullptr);

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;
};
