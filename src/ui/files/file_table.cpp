#include "ui/files/file_table.h"

#include <QApplication>
#include <QHeaderView>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QWheelEvent>

#include "api/records/file_records.h"
#include "app/environment/file_list_state.h"
#include "ui/files/file_columns.h"
#include "ui/files/file_row_delegate.h"
#include "ui/widgets/sort_table_widget_item.h"

namespace {

constexpr int HeaderHeight = 30;

QString arrowStyle()
{
    return QStringLiteral("QHeaderView::down-arrow { subcontrol-position: center; "
                          "image: url(:/image/arrow_down.png); padding-right: 10px; } "
                          "QHeaderView::up-arrow { subcontrol-position: center; "
                          "image: url(:/image/arrow_up.png); padding-right: 10px; }");
}

} // namespace

FileTable::FileTable(QWidget *parent) : RowTable(parent)
{
    setUpHeader();
    setEditTriggers(EditKeyPressed);
    setItemDelegate(new FileRowDelegate(this));
    setNotice({QStringLiteral("这个文件夹是空的"), QStringLiteral(":/image/folder.svg")});
}

QString FileTable::orderField(int column)
{
    return fileColumns().at(qBound(0, column, ColumnCount - 1)).orderField;
}

void FileTable::setUpHeader()
{
    QStringList labels;
    for (const FileColumn &column : fileColumns()) {
        labels << column.label;
    }
    setColumns(labels);
    QHeaderView *header = horizontalHeader();
    header->setStretchLastSection(false);
    header->setFixedHeight(HeaderHeight);
    header->setStyleSheet(arrowStyle());
    // Otherwise a right click on it opens the menu of the rows.
    header->setContextMenuPolicy(Qt::PreventContextMenu);
    for (int column = 0; column < ColumnCount; ++column) {
        header->resizeSection(column, fileColumns().at(column).width);
    }
    header->setSortIndicator(UpdatedColumn, Qt::DescendingOrder);
    const auto changed = [this] {
        if (!m_restoring) {
            emit headerChanged();
        }
    };
    connect(header, &QHeaderView::sectionResized, this, changed);
    connect(header, &QHeaderView::sortIndicatorChanged, this, changed);
}

void FileTable::restoreState(const FileListState &state)
{
    const QScopedValueRollback<bool> restoring(m_restoring, true);
    for (int column = 0; column < qMin(state.columnSizeList.size(), int(ColumnCount)); ++column) {
        horizontalHeader()->resizeSection(column, state.columnSizeList.at(column));
    }
    restoreSort(state.sortIndex, state.sortOrder == 0 ? Qt::AscendingOrder : Qt::DescendingOrder);
}

void FileTable::storeState(FileListState &state) const
{
    const QHeaderView *header = horizontalHeader();
    state.sortIndex = header->sortIndicatorSection();
    state.sortOrder = header->sortIndicatorOrder();
    state.columnSizeList.clear();
    for (int column = 0; column < header->count(); ++column) {
        state.columnSizeList.append(header->sectionSize(column));
    }
}

void FileTable::restoreSort(int column, Qt::SortOrder order)
{
    const QHeaderView *header = horizontalHeader();
    if (column < 0 || column >= ColumnCount ||
        (column == header->sortIndicatorSection() && order == header->sortIndicatorOrder())) {
        return;
    }
    const QScopedValueRollback<bool> restoring(m_restoring, true);
    horizontalHeader()->setSortIndicator(column, order);
    sortByHeader();
}

void FileTable::setFiles(const QList<FileItem> &files)
{
    setRowCount(0);
    m_entries.clear();
    emit emptied();
    fillRows(0, files);
}

void FileTable::fillRows(int firstRow, const QList<FileItem> &files)
{
    QStringList videos;
    {
        const QSignalBlocker quiet(this);
        setRowCount(firstRow + files.size());
        m_entries.reserve(rowCount());
        int row = firstRow;
        for (const FileItem &file : files) {
            const FileKind kind = kindOf(file);
            fillRow(row++, file, kind);
            if (kind == FileKind::Video) {
                videos << file.file_id;
            }
        }
        sortByHeader();
    }
    emit videosAdded(videos);
    emit viewChanged();
}

void FileTable::fillRow(int row, const FileItem &file, FileKind kind)
{
    const FileCells cells = makeFileCells(file, kind);
    SortTableWidgetItem *name = cells[NameColumn];
    m_entries.insert(file.file_id, {name, kind});
    name->setPassing(passesFilter(*name, kind));
    for (int column = 0; column < ColumnCount; ++column) {
        setItem(row, column, cells.at(column));
    }
}

QStringList FileTable::videoIds() const
{
    QStringList ids;
    for (auto entry = m_entries.cbegin(); entry != m_entries.cend(); ++entry) {
        if (entry->kind == FileKind::Video) {
            ids << entry.key();
        }
    }
    return ids;
}

void FileTable::setWatched(const QString &fileId, int percent)
{
    setSign(m_entries.value(fileId).nameCell, WatchedRole, percent);
}

void FileTable::setLastPlayed(const QString &fileId)
{
    if (m_lastPlayedId != fileId) {
        setSign(m_entries.value(m_lastPlayedId).nameCell, LastPlayedRole, false);
    }
    m_lastPlayedId = fileId;
    setSign(m_entries.value(fileId).nameCell, LastPlayedRole, true);
}

// Most cells have none, and a changed one is looked for among all cells.
void FileTable::setSign(QTableWidgetItem *name, int role, const QVariant &value)
{
    if (!name || name->data(role).toInt() == value.toInt()) {
        return;
    }
    const QSignalBlocker quiet(this);
    name->setData(role, value);
    speak(cellsAt(name->row()));
}

FileCells FileTable::cellsAt(int row) const
{
    FileCells cells{};
    for (int column = 0; column < ColumnCount; ++column) {
        cells.at(column) = static_cast<SortTableWidgetItem *>(item(row, column));
    }
    return cells;
}

void FileTable::removeFile(const QString &fileId)
{
    const int row = rowOf(fileId);
    m_entries.remove(fileId);
    if (row < 0) {
        return;
    }
    // The rows that the user sees stay where they are.
    const bool isAbove = row < rowAt(0) && !isRowHidden(row);
    setAutoScroll(false);
    removeRow(row);
    setAutoScroll(true);
    if (isAbove) {
        verticalScrollBar()->setValue(verticalScrollBar()->value() - 1);
    }
}

void FileTable::updateFile(const FileItem &file)
{
    const int row = rowOf(file.file_id);
    if (row < 0) {
        return;
    }
    const FileKind kind = kindOf(file);
    const FileKind former = std::exchange(m_entries[file.file_id].kind, kind);
    {
        const QSignalBlocker quiet(this);
        showRecord(cellsAt(row), file, kind);
    }
    if (kind == FileKind::Video && former != kind) {
        emit videosAdded({file.file_id});
    }
}

void FileTable::setFilter(const QString &text, std::optional<FileKind> kind)
{
    if (text == m_filterText && kind == m_filterKind) {
        return;
    }
    m_filterText = text;
    m_filterKind = kind;
    applyFilter(Names::LookedAt);
}

void FileTable::sortByHeader()
{
    const QSignalBlocker quiet(this);
    const QHeaderView *header = horizontalHeader();
    if (!isFiltered()) {
        sortItems(header->sortIndicatorSection(), header->sortIndicatorOrder());
        return;
    }
    sortUntold();
    // Rows are hidden by position, so that sorting leaves the wrong ones hidden.
    applyFilter(Names::Known);
}

// Told of the sort, the row header would follow each hidden row, which takes several times as long
// as the sort itself. Whoever else would have to be told is served here.
void FileTable::sortUntold()
{
    QList<QPersistentModelIndex> selected;
    for (const QModelIndex &index : selectionModel()->selectedRows()) {
        selected.append(index);
    }
    selectionModel()->clearSelection();
    {
        const QSignalBlocker quietModel(model());
        const QHeaderView *header = horizontalHeader();
        sortItems(header->sortIndicatorSection(), header->sortIndicatorOrder());
    }
    QItemSelection rows;
    for (const QPersistentModelIndex &index : qAsConst(selected)) {
        rows.append(QItemSelectionRange(index, index.sibling(index.row(), ColumnCount - 1)));
    }
    selectionModel()->select(rows, QItemSelectionModel::Select);
    updateEditorGeometries();
}

void FileTable::applyFilter(Names names)
{
    {
        // For each single row the header would lay out the table and add up all rows above.
        QHeaderView *rows = verticalHeader();
        const QSignalBlocker quiet(rows);
        rows->setUpdatesEnabled(false);
        for (int row = 0; row < rowCount(); ++row) {
            SortTableWidgetItem *name = nameCellAt(row);
            if (names == Names::LookedAt) {
                name->setPassing(passesFilter(*name, kindOfCell(*name)));
            }
            const bool hidden = !name->isPassing();
            if (rows->isSectionHidden(row) != hidden) {
                rows->setSectionHidden(row, hidden);
            }
        }
        rows->setUpdatesEnabled(true);
    }
    updateGeometries();
    viewport()->update();
}

SortTableWidgetItem *FileTable::nameCellAt(int row) const
{
    return static_cast<SortTableWidgetItem *>(item(row, NameColumn));
}

// As far as the filter needs it.
FileKind FileTable::kindOfCell(const QTableWidgetItem &name) const
{
    return m_filterKind ? m_entries.value(name.data(FileIdRole).toString()).kind : FileKind::Other;
}

bool FileTable::passesFilter(const QTableWidgetItem &name, FileKind kind) const
{
    return (!m_filterKind || kind == *m_filterKind) &&
           (m_filterText.isEmpty() || name.text().contains(m_filterText, Qt::CaseInsensitive));
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
        if (!isRowHidden(index.row())) {
            ids.insert(index.row(), fileIdAt(index.row()));
        }
    }
    return ids.values();
}

int FileTable::selectedCount() const
{
    const QModelIndexList rows = selectionModel()->selectedRows();
    return int(std::count_if(rows.begin(), rows.end(), [this](const QModelIndex &index) {
        return !isRowHidden(index.row());
    }));
}

QStringList FileTable::fileIds() const
{
    QStringList ids;
    for (int row = 0; row < rowCount(); ++row) {
        ids << fileIdAt(row);
    }
    return ids;
}

void FileTable::makeCurrent(const QString &fileId, int row, Scroll scroll)
{
    const int found = fileId.isEmpty() ? -1 : rowOf(fileId);
    const int target = nearestShownRow(qMin(found >= 0 ? found : row, rowCount() - 1));
    if (target < 0) {
        return;
    }
    setAutoScroll(scroll == Scroll::ToRow);
    setCurrentCell(target, NameColumn);
    setAutoScroll(true);
    if (scroll == Scroll::ToRow) {
        scrollToItem(currentItem());
    }
}

void FileTable::selectFiles(const QSet<QString> &fileIds)
{
    QVector<int> rows;
    for (int row = 0; row < rowCount(); ++row) {
        if (!isRowHidden(row) && fileIds.contains(fileIdAt(row))) {
            rows.append(row);
        }
    }
    if (!rows.isEmpty()) {
        selectOnly(rows);
    }
}

void FileTable::closeEditor(QWidget *editor, QAbstractItemDelegate::EndEditHint hint)
{
    RowTable::closeEditor(editor, hint);
    emit viewChanged();
}

int FileTable::shownCount() const
{
    return rowCount() - verticalHeader()->hiddenSectionCount();
}

bool FileTable::isAtEnd()
{
    return topRow() == verticalScrollBar()->maximum();
}

void FileTable::setRest(Rest rest)
{
    m_rest = rest;
    viewport()->update();
}

void FileTable::updateGeometries()
{
    RowTable::updateGeometries();
    emit viewChanged();
}

void FileTable::scrollContentsBy(int dx, int dy)
{
    RowTable::scrollContentsBy(dx, dy);
    emit viewChanged();
}

void FileTable::wheelEvent(QWheelEvent *event)
{
    const bool wasAtEnd = isAtEnd();
    RowTable::wheelEvent(event);
    if (wasAtEnd && event->angleDelta().y() < 0) {
        emit pushedAtEnd();
    }
}

void FileTable::mousePressEvent(QMouseEvent *event)
{
    if (m_rest == Rest::Failed && shownCount() == 0) {
        emit retryClicked();
        return;
    }
    RowTable::mousePressEvent(event);
}

void FileTable::keyboardSearch(const QString &typed)
{
    const bool goesOn =
        m_sinceTyped.isValid() && m_sinceTyped.elapsed() < QApplication::keyboardInputInterval();
    m_sinceTyped.start();
    // The same letter again and again goes from one entry to the next.
    const bool repeats = goesOn && m_typed == typed;
    m_typed = goesOn && !repeats ? m_typed + typed : typed;
    const int from = currentRow() + (m_typed == typed ? 1 : 0);
    const int row = nextRowNamed(m_typed, qMax(0, from));
    if (row >= 0) {
        setCurrentCell(row, NameColumn);
    }
}

int FileTable::nextRowNamed(const QString &start, int from) const
{
    for (int further = 0; further < rowCount(); ++further) {
        const int row = (from + further) % rowCount();
        if (!isRowHidden(row) &&
            item(row, NameColumn)->text().startsWith(start, Qt::CaseInsensitive)) {
            return row;
        }
    }
    return -1;
}

int FileTable::nearestShownRow(int row) const
{
    for (int below = row; below >= 0 && below < rowCount(); ++below) {
        if (!isRowHidden(below)) {
            return below;
        }
    }
    for (int above = row; above >= 0; --above) {
        if (!isRowHidden(above)) {
            return above;
        }
    }
    return -1;
}

Notice FileTable::notice() const
{
    switch (m_rest) {
    case Rest::Expected:
        return {};
    case Rest::Failed:
        return {QStringLiteral("加载失败，点击重试"), QStringLiteral(":/image/refresh.png")};
    case Rest::None:
        break;
    }
    if (rowCount() > 0) {
        return {QStringLiteral("没有符合条件的文件"), QStringLiteral(":/image/search.png")};
    }
    return RowTable::notice();
}
