#pragma once

#include "ui/windows/row_table.h"

#include <optional>

#include <QHash>
#include <QList>

#include "ui/windows/file_kinds.h"

class FileListState;

// The table of one folder's entries. It shows what it is given, sorts and filters it and knows
// nothing of the drive. Entries are told apart by their file id, for sorting moves the rows.
// Filling, renaming by setFileName() and removing raise no cellChanged().
class FileTable final : public RowTable
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileTable)

public:
    enum Column { NameColumn, SizeColumn, UpdatedColumn, TypeColumn, ColumnCount };
    static constexpr int FileIdRole = 101; // of the cells in NameColumn

    explicit FileTable(QWidget *parent = nullptr);

    // Sort and widths as stored; a negative sort index and an empty width list change nothing.
    void restoreState(const FileListState &state);
    void storeState(FileListState &state) const;
    // Only the sort; the loaded rows follow.
    void restoreSort(int column, Qt::SortOrder order);

    void setFiles(const QList<FileItem> &files);
    void appendFiles(const QList<FileItem> &files);
    void removeFile(const QString &fileId);
    void setFileName(const QString &fileId, const QString &name);

    // Shows the entries whose name contains the text, letter case aside, and that are of the kind.
    void setFilter(const QString &text, std::optional<FileKind> kind);
    [[nodiscard]] bool isFiltered() const { return !m_filterText.isEmpty() || m_filterKind; }

    // Sorts by what the header shows.
    void sortByHeader();

    [[nodiscard]] QString fileIdAt(int row) const;
    [[nodiscard]] bool isFolderAt(int row) const;
    [[nodiscard]] bool contains(const QString &fileId) const { return m_entries.contains(fileId); }
    // -1 for an entry that is not in the table.
    [[nodiscard]] int rowOf(const QString &fileId) const;
    // Of the current row; empty when there is none or the filter hides it.
    [[nodiscard]] QString currentFileId() const;
    // One for each selected row that the filter leaves visible, from the top.
    [[nodiscard]] QStringList selectedFileIds() const;
    // All rows from the top, also those that the filter hides.
    [[nodiscard]] QStringList fileIds() const;

    enum class Scroll { ToRow, Stay };
    // Selects the entry, or the row where the entry is not in the table; where the filter hides
    // it, the next row below or above.
    void makeCurrent(const QString &fileId, int row, Scroll scroll);

    // While entries are on their way, no text says that there are none.
    void setLoading(bool loading);

signals:
    // The user sorted or resized a column.
    void headerChanged();

protected:
    [[nodiscard]] Notice notice() const override;

private:
    struct Entry
    {
        QTableWidgetItem *nameCell = nullptr;
        FileKind kind = FileKind::Other;
    };

    void setUpHeader();
    void fillRow(int row, const FileItem &file);
    void fillRows(int firstRow, const QList<FileItem> &files);
    void applyFilter();
    [[nodiscard]] bool passesFilter(int row) const;
    [[nodiscard]] int nearestShownRow(int row) const;

    QHash<QString, Entry> m_entries; // by file id
    QString m_filterText;
    std::optional<FileKind> m_filterKind;
    bool m_restoring = false;
    bool m_loading = false;
};
