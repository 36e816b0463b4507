#pragma once

#include <QTableWidget>

#include "ui/widgets/notice.h"

class QHelpEvent;

// A table whose rows are records: each reaches to the table's right edge, whatever the columns'
// widths, and is selected and lit under the mouse as a whole. A text that is cut off is shown in
// full by a tip.
class RowTable : public QTableWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RowTable)

public:
    explicit RowTable(QWidget *parent = nullptr);

    // -1 for none.
    [[nodiscard]] int hoveredRow() const { return m_hoveredRow; }

    // Stands in the table's middle while no row is shown.
    void setNotice(const Notice &notice);

    // One column for each label. Ctrl and a column's number do what a click on its header does.
    void setColumns(const QStringList &labels);

    // A cell of the current row has an editor open.
    [[nodiscard]] bool isEditing() const;
    // Counted from the first row that is shown; right also before the view has followed its rows.
    [[nodiscard]] int topRow();
    // The rows are given in their order.
    void selectOnly(const QVector<int> &rows);

    // Beyond the last column: the row's last cell.
    [[nodiscard]] QModelIndex indexAt(const QPoint &point) const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    // Whoever comes by Tab finds a row selected that the keys can act on.
    void focusInEvent(QFocusEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    void selectionChanged(const QItemSelection &selected,
                          const QItemSelection &deselected) override;
    // Home and End go to the first and the last row.
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;

    [[nodiscard]] virtual Notice notice() const { return m_notice; }

private:
    void clickHeader(int column);
    void paintRowEnds();
    void setHoveredRow(int row);
    void showFullText(const QHelpEvent &event) const;

    Notice m_notice;
    int m_hoveredRow = -1;
};
