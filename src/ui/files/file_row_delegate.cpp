#include "ui/files/file_row_delegate.h"

#include <QLineEdit>
#include <QTimer>

#include "ui/widgets/sort_table_widget_item.h"

FileRowDelegate::FileRowDelegate(QObject *parent) : RowDelegate(parent) {}

QWidget *FileRowDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem & /*option*/,
                                       const QModelIndex &index) const
{
    auto *editor = new QLineEdit(parent);
    editor->setAccessibleName(QStringLiteral("文件名"));
    const QString name = index.data(Qt::EditRole).toString();
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    const bool isFolder = index.data(SortTableWidgetItem::FolderRole).toBool();
    if (dot <= 0 || isFolder) {
        return editor;
    }
    // After the view, which selects everything once the editor is shown.
    QTimer::singleShot(0, editor, [editor, dot] { editor->setSelection(0, dot); });
    return editor;
}
