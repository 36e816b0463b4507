#pragma once

#include <QSortFilterProxyModel>

// Sorts a model's rows in natural order by a raw value, folders first in both directions, and
// keeps the rows whose text contains the search text, letter case aside. Rows that carry no raw
// value or folder flag under the roles of SortTableWidgetItem sort by their text, as files.
class SortFilterProxyModel final : public QSortFilterProxyModel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SortFilterProxyModel)

public:
    explicit SortFilterProxyModel(QObject *parent = nullptr);

public slots:
    // An empty text shows every row.
    void setSearchText(const QString &text);

protected:
    [[nodiscard]] bool lessThan(const QModelIndex &left, const QModelIndex &right) const override;
};
