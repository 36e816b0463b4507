#pragma once

#include <QStyledItemDelegate>

// Paints the cells of the file table, lighting the row under the mouse as a whole, and edits
// names: the editor starts with the name selected, without a file's extension.
class FileRowDelegate final : public QStyledItemDelegate
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileRowDelegate)

public:
    explicit FileRowDelegate(QObject *parent = nullptr);

    [[nodiscard]] int hoveredRow() const { return m_hoveredRow; }
    // -1 for none. Repainting is the table's affair.
    void setHoveredRow(int row) { m_hoveredRow = row; }

    [[nodiscard]] QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                                        const QModelIndex &index) const override;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;

private:
    int m_hoveredRow = -1;
};
