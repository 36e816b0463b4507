#include "ui/windows/file_table.h"

#include <QDateTime>
#include <QHeaderView>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QSignalBlocker>

#include "api/records/file_records.h"
#include "app/environment/file_list_state.h"
#include "app/environment/formatting.h"
#include "ui/widgets/sort_table_widget_item.h"
#include "ui/windows/file_row_delegate.h"

namespace {

struct ColumnInfo
{
    QString label;
    int width;
};

const QVector<ColumnInfo> &columns()
{
    static const QVector<ColumnInfo> infos{{QStringLiteral("文件"), 360},
                                           {QStringLiteral("大小"), 112},
                                           {QStringLiteral("更新时间"), 180},
                                           {QStringLiteral("类型"), 90}};
    return infos;
}

constexpr int HeaderHeight = 30;

QString arrowStyle()
{
    return QStringLiteral("QHeaderView::down-arrow { subcontrol-position: center; "
                          "image: url(:/image/arrow_down.png); padding-right: 10px; } "
                          "QHeaderView::up-arrow { subcontrol-position: center; "
                          "image: url(:/image/arrow_up.png); padding-right: 10px; }");
}

QDateTime timeOf(const QString &serverTime)
{
    return QDateTime::fromString(serverTime, Qt::ISODateWithMs);
}

} // namespace

FileTable::FileTable(QWidget *parent) : RowTable(parent)
{
    setColumnCount(ColumnCount);
    setUpHeader();
    setEditTriggers(EditKeyPressed);
    setItemDelegate(new FileRowDelegate(this));
}

void FileTable::setUpHeader()
{
    QStringList labels;
    for (const ColumnInfo &column : columns())
        labels << column.label;
    setHorizontalHeaderLabels(labels);
    QHeaderView *header = horizontalHeader();
    header->setStretchLastSection(false);
    header->setFixedHeight(HeaderHeight);
    header->setStyleSheet(arrowStyle());
    for (int column = 0; column < ColumnCount; ++column)
        header->resizeSection(column, columns().at(column).width);
    header->setSortIndicator(UpdatedColumn, Qt::DescendingOrder);
    const auto changed = [this] {
        if (!m_restoring)
            emit headerChanged();
    };
    connect(header, &QHeaderView::sectionResized, this, changed);
    connect(header, &QHeaderView::sortIndicatorChanged, this, changed);
}

void FileTable::restoreState(const FileListState &state)
{
    const QScopedValueRollback<bool> restoring(m_restoring, true);
    for (int column = 0; column < qMin(state.columnSizeList.size(), int(ColumnCount)); ++column)
        horizontalHeader()->resizeSection(column, state.columnSizeList.at(column));
    restoreSort(state.sortIndex, state.sortOrder == 0 ? Qt::AscendingOrder : Qt::DescendingOrder);
}

void FileTable::storeState(FileListState &state) const
{
    const QHeaderView *header = horizontalHeader();
    state.sortIndex = header->sortIndicatorSection();
    state.sortOrder = header->sortIndicatorOrder();
    state.columnSizeList.clear();
    for (int column = 0; column < header->count(); ++column)
        state.columnSizeList.append(header->sectionSize(column));
}

void FileTable::restoreSort(int column, Qt::SortOrder order)
{
    const QHeaderView *header = horizontalHeader();
    if (column < 0 || column >= ColumnCount ||
        (column == header->sortIndicatorSection() && order == header->sortIndicatorOrder()))
        return;
    const QScopedValueRollback<bool> restoring(m_restoring, true);
    horizontalHeader()->setSortIndicator(column, order);
    sortByHeader();
}

void FileTable::setFiles(const QList<FileItem> &files)
{
    const QSignalBlocker quiet(this);
    setRowCount(0);
    m_entries.clear();
    fillRows(0, files);
}

void FileTable::appendFiles(const QList<FileItem> &files)
{
    const QSignalBlocker quiet(this);
    fillRows(rowCount(), files);
}

void FileTable::fillRows(int firstRow, const QList<FileItem> &files)
{
    setRowCount(firstRow + files.size());
    m_entries.reserve(rowCount());
    int row = firstRow;
    for (const FileItem &file : files)
        fillRow(row++, file);
    sortByHeader();
}

void FileTable::fillRow(int row, const FileItem &file)
{
    const FileKind kind = kindOf(file);
    const bool isFolder = kind == FileKind::Folder;
    auto *name = SortTableWidgetItem::forName(file.name);
    name->setIcon(iconOf(kind));
    name->setData(FileIdRole, file.file_id);
    m_entries.insert(file.file_id, {name, kind});

    const QDateTime updated = timeOf(file.updated_at);
    const QString updatedText =
        updated.isValid() ? formatDateTime(updated.toLocalTime()) : QString();
    const std::array<SortTableWidgetItem *, ColumnCount> cells{
        name,
        SortTableWidgetItem::forValue(isFolder ? QString() : formatSize(file.size),
                                      file.size.toLongLong()),
        SortTableWidgetItem::forValue(updatedText, updated.toMSecsSinceEpoch()),
        SortTableWidgetItem::forName(typeText(file))};
    for (int column = 0; column < ColumnCount; ++column) {
        SortTableWidgetItem *cell = cells.at(column);
        cell->setData(SortTableWidgetItem::FolderRole, isFolder);
        cell->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable |
                       (column == NameColumn ? Qt::ItemIsEditable : Qt::NoItemFlags));
        setItem(row, column, cell);
    }
}

void FileTable::removeFile(const QString &fileId)
{
    const int row = rowOf(fileId);
    m_entries.remove(fileId);
    if (row < 0)
        return;
    // The rows that the user sees stay where they are.
    const bool isAbove = row < rowAt(0) && !isRowHidden(row);
    setAutoScroll(false);
    removeRow(row);
    setAutoScroll(true);
    if (isAbove)
        verticalScrollBar()->setValue(verticalScrollBar()->value() - 1);
}

void FileTable::setFileName(const QString &fileId, const QString &name)
{
    const QSignalBlocker quiet(this);
    if (QTableWidgetItem *cell = m_entries.value(fileId).nameCell)
        cell->setText(name);
}

void FileTable::setFilter(const QString &text, std::optional<FileKind> kind)
{
    if (text == m_filterText && kind == m_filterKind)
        return;
    m_filterText = text;
    m_filterKind = kind;
    applyFilter();
}

void FileTable::sortByHeader()
{
    const QSignalBlocker quiet(this);
    const QHeaderView *header = horizontalHeader();
    sortItems(header->sortIndicatorSection(), header->sortIndicatorOrder());
    // Rows are hidden by position, so that sorting leaves the wrong ones hidden.
    if (isFiltered())
        applyFilter();
}

void FileTable::applyFilter()
{
    {
        // For each single row the header would lay out the table and add up all rows above.
        QHeaderView *rows = verticalHeader();
        const QSignalBlocker quiet(rows);
        rows->setUpdatesEnabled(false);
        for (int row = 0; row < rowCount(); ++row) {
            const bool hidden = !passesFilter(row);
            if (rows->isSectionHidden(row) != hidden)
                rows->setSectionHidden(row, hidden);
        }
        rows->setUpdatesEnabled(true);
    }
    updateGeometries();
    viewport()->update();
}

bool FileTable::passesFilter(int row) const
{
    if (m_filterKind && m_entries.value(fileIdAt(row)).kind != *m_filterKind)
        return false;
    return item(row, NameColumn)->text().contains(m_filterText, Qt::CaseInsensitive);
}

QString FileTable::fileIdAt(int row) const
{
    const QTableWidgetItem *name = item(row, NameColumn);
    return name ? name->data(FileIdRole).toString() : QString();
}

bool FileTable::isFolderAt(int row) const
{
    const QTableWidgetItem *name = item(row, NameColumn);
    return name && name->data(SortTableWidgetItem::FolderRole).toBool();
}

int FileTable::rowOf(const QString &fileId) const
{
    const QTableWidgetItem *name = m_entries.value(fileId).nameCell;
    return name ? row(name) : -1;
}

QString FileTable::currentFileId() const
{
    const int row = currentRow();
    return row < 0 || isRowHidden(row) ? QString() : fileIdAt(row);
}

QStringList FileTable::selectedFileIds() const
{
    QMap<int, QString> ids;
    for (const QModelIndex &index : selectionModel()->selectedIndexes()) {
        if (!isRowHidden(index.row()))
            ids.insert(index.row(), fileIdAt(index.row()));
    }
    return ids.values();
}

QStringList FileTable::fileIds() const
{
    QStringList ids;
    for (int row = 0; row < rowCount(); ++row)
        ids << fileIdAt(row);
    return ids;
}

void FileTable::makeCurrent(const QString &fileId, int row, Scroll scroll)
{
    const int found = fileId.isEmpty() ? -1 : rowOf(fileId);
    const int target = nearestShownRow(qMin(found >= 0 ? found : row, rowCount() - 1));
    if (target < 0)
        return;
    setAutoScroll(scroll == Scroll::ToRow);
    setCurrentCell(target, NameColumn);
    setAutoScroll(true);
    if (scroll == Scroll::ToRow)
        scrollToItem(currentItem());
}

void FileTable::setLoading(bool loading)
{
    m_loading = loading;
    viewport()->update();
}

int FileTable::nearestShownRow(int row) const
{
    for (int below = row; below >= 0 && below < rowCount(); ++below) {
        if (!isRowHidden(below))
            return below;
    }
    for (int above = row; above >= 0; --above) {
        if (!isRowHidden(above))
            return above;
    }
    return -1;
}

Notice FileTable::notice() const
{
    if (m_loading)
        return {};
    if (rowCount() > 0)
        return {QStringLiteral("没有符合条件的文件"), QStringLiteral(":/image/search.png")};
    return RowTable::notice();
}
