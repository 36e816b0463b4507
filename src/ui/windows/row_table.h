#pragma once

#include <QTableWidget>

class QHelpEvent;

// A table whose rows are records: selected and lit under the mouse as a whole, of one height,
// without a grid. A name that is cut off is shown in full by a tip.
class RowTable : public QTableWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RowTable)

public:
    explicit RowTable(QWidget *parent = nullptr);

    // -1 for none.
    [[nodiscard]] int hoveredRow() const { return m_hoveredRow; }

    // Stands in the table's middle while no row is shown.
    void setQuietText(const QString &text);

protected:
    void paintEvent(QPaintEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    // Home and End go to the first and the last row.
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;

    [[nodiscard]] virtual QString quietText() const { return m_quietText; }

private:
    void setHoveredRow(int row);
    void showFullText(const QHelpEvent &event) const;

    QString m_quietText;
    int m_hoveredRow = -1;
};
