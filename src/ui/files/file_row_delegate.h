#pragma once

#include "ui/widgets/row_delegate.h"

// Paints the rows of the file table, with the signs of what was watched beside the names: a tick on
// the icon, a bar below a name that was begun, a tag beside the one that was played last. Edits the
// names: the editor starts with the name selected, without a file's extension.
class FileRowDelegate final : public RowDelegate
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileRowDelegate)

public:
    explicit FileRowDelegate(QObject *parent = nullptr);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option,
                                 const QModelIndex &index) const override;
    [[nodiscard]] QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                                        const QModelIndex &index) const override;
    // What was typed stays when the entry changes meanwhile.
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
};
