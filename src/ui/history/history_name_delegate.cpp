#include "ui/history/history_name_delegate.h"

HistoryNameDelegate::HistoryNameDelegate(QObject *parent) : RowDelegate(parent) {}

void HistoryNameDelegate::initStyleOption(QStyleOptionViewItem *option,
                                          const QModelIndex &index) const
{
    RowDelegate::initStyleOption(option, index);
    option->decorationSize = PictureSize;
}
