#pragma once

#include <optional>

#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QSet>

#include "ui/files/file_cells.h"
#include "ui/files/file_kinds.h"
#include "ui/widgets/row_table.h"
#include "ui/widgets/watch_signs.h"

class FileListState;

// The table of one folder's entries. It shows what it is given, sorts and filters it and knows
// nothing of the drive. Entries are told apart by their file id, for sorting moves the rows.
// Filling, updating and removing raise no cellChanged().
class FileTable final : public RowTable
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileTable)
    // For the skin.
    Q_PROPERTY(QColor signColour MEMBER m_signColour)
    Q_PROPERTY(QColor onSignColour MEMBER m_onSignColour)

public:
    enum Column { NameColumn, SizeColumn, UpdatedColumn, TypeColumn, ColumnCount };
    // Of the cells in NameColumn.
    static constexpr int FileIdRole = 101;
    static constexpr int WatchedRole = Qt::UserRole + 2;    // int, see watchedPercent()
    static constexpr int LastPlayedRole = Qt::UserRole + 3; // bool

    // What the folder holds besides the rows.
    enum class Rest {
        None,
        Expected, // more, which is asked for when it is needed
        Failed    // more, which could not be had
    };

    explicit FileTable(QWidget *parent = nullptr);

    // The drive's word for the order by a column.
    [[nodiscard]] static QString orderField(int column);

    // Sort and widths as stored. Without widths those there are stay; a negative sort index changes
    // no sort.
    void restoreState(const FileListState &state);
    void storeState(FileListState &state) const;
    // Only the sort; the loaded rows follow.
    void restoreSort(int column, Qt::SortOrder order);

    void setFiles(const QList<FileItem> &files);
    void appendFiles(const QList<FileItem> &files) { fillRows(rowCount(), files); }
    void removeFile(const QString &fileId);
    // The row shows the record from now on, name, icon, type and time; it stays where it is.
    void updateFile(const FileItem &file);

    [[nodiscard]] QStringList videoIds() const;
    // How far the user has come in a video; 0 for one that was not begun. Does nothing for one that
    // is not in the table.
    void setWatched(const QString &fileId, int percent);
    // Marks this entry, and no other one any more.
    void setLastPlayed(const QString &fileId);
    [[nodiscard]] SignColours signColours() const { return {m_signColour, m_onSignColour}; }

    // Shows the entries whose name contains the text, letter case aside, and that are of the kind.
    void setFilter(const QString &text, std::optional<FileKind> kind);
    [[nodiscard]] bool isFiltered() const { return !m_filterText.isEmpty() || m_filterKind; }
    [[nodiscard]] int shownCount() const;
    // Nothing is left to scroll: the last row is in sight, or the rows do not fill the view.
    [[nodiscard]] bool isAtEnd();

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
    [[nodiscard]] int selectedCount() const;
    // All rows from the top, also those that the filter hides.
    [[nodiscard]] QStringList fileIds() const;

    enum class Scroll { ToRow, Stay };
    // Selects the entry, or the row where the entry is not in the table; where the filter hides
    // it, the next row below or above.
    void makeCurrent(const QString &fileId, int row, Scroll scroll);
    // Those that are shown, and nothing else; changes nothing where none of them is.
    void selectFiles(const QSet<QString> &fileIds);

    // While more is to come, no text says that there is nothing.
    void setRest(Rest rest);
    // What stands in the table's middle while no row is shown.
    [[nodiscard]] Notice notice() const override;

    // Typing jumps to the next entry that is shown and whose name starts with what was typed.
    void keyboardSearch(const QString &typed) override;

signals:
    // The user sorted or resized a column.
    void headerChanged();
    // All rows went; others are filled in at once, or later.
    void emptied();
    // Videos came that have no sign yet of how far they were watched. Told after they were filled
    // in.
    void videosAdded(const QStringList &fileIds);
    // Rows came, went or were hidden, there is another part of them to see, or an editor was
    // closed.
    void viewChanged();
    // The user turned the wheel although the end was reached.
    void pushedAtEnd();
    // A click on the text that says what could not be loaded.
    void retryClicked();

public slots:
    void updateGeometries() override;

protected slots:
    void closeEditor(QWidget *editor, QAbstractItemDelegate::EndEditHint hint) override;

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;

private:
    struct Entry
    {
        QTableWidgetItem *nameCell = nullptr;
        FileKind kind = FileKind::Other;
    };

    void setUpHeader();
    void fillRow(int row, const FileItem &file, FileKind kind);
    [[nodiscard]] FileCells cellsAt(int row) const;
    void setSign(QTableWidgetItem *name, int role, const QVariant &value);
    void fillRows(int firstRow, const QList<FileItem> &files);
    // Whether it is known which names pass.
    enum class Names { Known, LookedAt };
    void applyFilter(Names names);
    [[nodiscard]] SortTableWidgetItem *nameCellAt(int row) const;
    [[nodiscard]] FileKind kindOfCell(const QTableWidgetItem &name) const;
    void sortUntold();
    [[nodiscard]] bool passesFilter(const QTableWidgetItem &name, FileKind kind) const;
    [[nodiscard]] int nearestShownRow(int row) const;
    [[nodiscard]] int nextRowNamed(const QString &start, int from) const;

    QHash<QString, Entry> m_entries; // by file id
    QString m_lastPlayedId;
    QColor m_signColour = Qt::darkGreen;
    QColor m_onSignColour = Qt::white;
    QString m_filterText;
    std::optional<FileKind> m_filterKind;
    QString m_typed; // of late, in one go
    QElapsedTimer m_sinceTyped;
    Rest m_rest = Rest::Expected;
    bool m_restoring = false;
};
