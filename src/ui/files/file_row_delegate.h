#pragma once

#include "ui/widgets/row_delegate.h"

// Edits the names of the file table: the editor starts with the name selected, without a file's
// extension.
class FileRowDelegate final : public RowDelegate
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileRowDelegate)

public:
    explicit FileRowDelegate(QObject *parent = nullptr);

    [[nodiscard]] QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                                        const QModelIndex &index) const override;
};
