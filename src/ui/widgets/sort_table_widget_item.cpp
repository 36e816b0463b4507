#include "ui/widgets/sort_table_widget_item.h"

#include <QCollator>
#include <QHeaderView>
#include <QTableWidget>

#include "ui/widgets/natural_order.h"

SortTableWidgetItem::SortTableWidgetItem(const QString &text) : QTableWidgetItem(text, UserType) {}

SortTableWidgetItem *SortTableWidgetItem::forName(const QString &name)
{
    auto *item = new SortTableWidgetItem;
    item->m_sortsByText = true;
    item->setText(name);
    return item;
}

SortTableWidgetItem *SortTableWidgetItem::forValue(const QString &text, qint64 value)
{
    auto *item = new SortTableWidgetItem(text);
    item->m_number = value;
    return item;
}

QVariant SortTableWidgetItem::data(int role) const
{
    if (role == FolderRole) {
        return m_folder;
    }
    const bool isNumber = role == SortValueRole && !m_key;
    return isNumber ? QVariant(m_number) : QTableWidgetItem::data(role);
}

void SortTableWidgetItem::setData(int role, const QVariant &value)
{
    // The comparison runs some hundred thousand times for a big folder: it must not look up roles.
    if (role == FolderRole) {
        m_folder = value.toBool();
        return;
    }
    if (role == SortValueRole) {
        setSortValue(value);
    } else if (m_sortsByText && (role == Qt::DisplayRole || role == Qt::EditRole)) {
        m_key = naturalCollator().sortKey(value.toString());
    }
    QTableWidgetItem::setData(role, value);
}

void SortTableWidgetItem::setSortValue(const QVariant &value)
{
    m_sortsByText = false;
    m_key.reset();
    if (value.type() == QVariant::String) {
        m_key = naturalCollator().sortKey(value.toString());
    } else {
        m_number = value.toLongLong();
    }
}

bool SortTableWidgetItem::operator<(const QTableWidgetItem &other) const
{
    if (other.type() != UserType) {
        return QTableWidgetItem::operator<(other);
    }
    const auto &cell = static_cast<const SortTableWidgetItem &>(other);
    // A descending sort asks with the sides exchanged.
    if (m_folder != cell.m_folder) {
        return m_folder != isDescending();
    }
    return valueLess(cell);
}

bool SortTableWidgetItem::isDescending() const
{
    const QTableWidget *table = tableWidget();
    return table && table->horizontalHeader()->sortIndicatorOrder() == Qt::DescendingOrder;
}

bool SortTableWidgetItem::valueLess(const SortTableWidgetItem &other) const
{
    if (m_key && other.m_key) {
        return m_key->compare(*other.m_key) < 0;
    }
    return m_number < other.m_number;
}
