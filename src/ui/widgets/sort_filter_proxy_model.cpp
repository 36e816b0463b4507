#include "ui/widgets/sort_filter_proxy_model.h"

#include "ui/widgets/natural_order.h"
#include "ui/widgets/sort_table_widget_item.h"

namespace {

QVariant rawValue(const QModelIndex &index)
{
    const QVariant value = index.data(SortTableWidgetItem::SortValueRole);
    return value.isValid() ? value : index.data(Qt::DisplayRole);
}

bool isNumber(const QVariant &value)
{
    return value.type() != QVariant::String && value.canConvert<double>();
}

} // namespace

SortFilterProxyModel::SortFilterProxyModel(QObject *parent) : QSortFilterProxyModel(parent)
{
    setFilterCaseSensitivity(Qt::CaseInsensitive);
    setDynamicSortFilter(true);
}

void SortFilterProxyModel::setSearchText(const QString &text)
{
    setFilterFixedString(text);
}

bool SortFilterProxyModel::lessThan(const QModelIndex &left, const QModelIndex &right) const
{
    const bool leftFolder = left.data(SortTableWidgetItem::FolderRole).toBool();
    const bool rightFolder = right.data(SortTableWidgetItem::FolderRole).toBool();
    if (leftFolder != rightFolder) {
        return leftFolder != (sortOrder() == Qt::DescendingOrder);
    }
    const QVariant leftValue = rawValue(left);
    const QVariant rightValue = rawValue(right);
    if (isNumber(leftValue) && isNumber(rightValue)) {
        return leftValue.toDouble() < rightValue.toDouble();
    }
    return naturalLess(leftValue.toString(), rightValue.toString());
}
