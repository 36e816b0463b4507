#pragma once

#include <optional>

#include <QCollatorSortKey>
#include <QTableWidgetItem>

// A table cell that sorts by its raw value instead of its text: sizes and times as numbers, names
// in natural order. Folders stay above files whichever way the column is sorted, which is why the
// table's header must show the order before the table is sorted.
class SortTableWidgetItem final : public QTableWidgetItem
{
public:
    enum DataRole {
        FolderRole = 102,                // bool: the row is a folder
        SortValueRole = Qt::UserRole + 1 // the raw value: a number, or a text for natural order
    };

    explicit SortTableWidgetItem(const QString &text = QString());

    // A name: sorted in natural order by its own text, also after the text was edited.
    static SortTableWidgetItem *forName(const QString &name);
    // A cell that shows text and sorts by value.
    static SortTableWidgetItem *forValue(const QString &text, qint64 value);

    [[nodiscard]] QVariant data(int role) const override;
    void setData(int role, const QVariant &value) override;
    // Whether the table's filter lets the row pass, as far as the table has one: kept with the
    // cell, so that a sort need not look at 10,000 names again.
    [[nodiscard]] bool isPassing() const { return m_passes; }
    void setPassing(bool passes) { m_passes = passes; }
    [[nodiscard]] bool operator<(const QTableWidgetItem &other) const override;

private:
    void setSortValue(const QVariant &value);
    [[nodiscard]] bool isDescending() const;
    [[nodiscard]] bool valueLess(const SortTableWidgetItem &other) const;

    std::optional<QCollatorSortKey> m_key; // set for texts
    qint64 m_number = 0;
    bool m_folder = false;
    bool m_sortsByText = false;
    bool m_passes = true;
};
