#pragma once

#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>

#include "ui/files/folder_loader.h"
#include "ui/files/folder_path.h"

class FileTable;

// Walks a drive's folders: keeps the path, asks for pages and fills the table with them.
//
// Paging is one rule: while the folder has a further page, that page is asked for whenever the
// table's end is in sight, a filter looks through the folder, or an entry is searched that was
// current before a reload. What could change the answer only calls for the rule to be looked at.
class FileBrowser final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileBrowser)

public:
    // The table must outlive the browser. Nothing is asked for before reload().
    FileBrowser(const UserInfo &user, FileTable *table, QObject *parent = nullptr);

    [[nodiscard]] bool isLoading() const { return m_loader.isLoading(); }
    // The last page that was asked for did not come.
    [[nodiscard]] bool hasFailed() const { return m_failed; }
    // There are entries that are not loaded, as far as the drive has said.
    [[nodiscard]] bool hasMore() const { return !m_path.last().nextMarker.isEmpty(); }
    [[nodiscard]] int loadedCount() const { return m_path.last().files.size(); }
    [[nodiscard]] QString folderId() const { return m_path.last().fileId; }
    [[nodiscard]] int depth() const { return m_path.count(); }
    // Of a folder that was opened on the way here, counted from the root; -1 for any other.
    [[nodiscard]] int placeInPath(const QString &fileId) const { return m_path.indexOf(fileId); }
    // One row for each folder from the root to the one shown.
    [[nodiscard]] QAbstractItemModel *pathModel() { return m_path.model(); }

    // The loaded entry of the folder shown; nullptr when it is not there (any more).
    [[nodiscard]] const FileItem *file(const QString &fileId) const;
    // Those of the entries that are loaded, in the order of their ids.
    [[nodiscard]] QList<FileItem> files(const QStringList &fileIds) const;
    // The folder's videos as far as they are loaded, in the table's order and whatever it hides.
    [[nodiscard]] QList<FileItem> videos() const;

    // These three give up a request that is under way.
    void openFolder(const FileItem &folder);
    // Shows what is held of a folder further up; asks for it where nothing is.
    void goTo(int index);
    // From the first page again. The current entry, what is selected and the scroll place are found
    // again, however deep they were; where an entry is named, that one becomes the current one
    // instead.
    void reload(const QString &select = QString());
    // The same for a reload that the user has not asked for: it waits until no name is being typed.
    void reloadGently(const QString &select = QString());

    // Asks again for the page that failed; does nothing when none did. Happens by itself when the
    // server can be reached again.
    void retry();
    // Something came into the folder: what is held of it is asked for anew when it is shown.
    void forget(const QString &folderId) { m_path.forget(folderId); }
    // The same, but where the folder is shown it is reloaded, gently.
    void listAnew(const QString &folderId);

    // The file is gone from where it was: its row and records go as well. The folder that it was
    // moved into, if any, has more than what is held of it.
    void removeFile(const QString &fileId, const QString &newFolderId);
    // The record is the drive's newest, of an entry of that folder; the row follows.
    void updateFile(const QString &folderId, const FileItem &file);

signals:
    // Loading began, ended or failed, or entries came or went.
    void stateChanged();
    void filled();
    void countChanged(int count);

private:
    // Where the user was in a folder that is loaded anew.
    struct Place
    {
        QString currentId; // becomes current again
        QSet<QString> selectedIds;
        int row = 0;   // for an entry that is gone
        QString topId; // stood in the topmost row; empty: the current one is scrolled to
        bool atTop = false;
        int searchedCount = 0; // of entries, among which that one is to be found
        bool isFound = true;
        QString standInId; // current until the place is found
        int topRow = 0;    // until then, unless the user scrolls
    };

    [[nodiscard]] Place placeInTable() const;
    [[nodiscard]] Place placeRemembered() const;
    void loadFirstPage(const Place &place);
    void request(bool append);
    [[nodiscard]] bool needsMore() const;
    void followView();
    void showStoredFiles();
    void onPageLoaded(const FolderRequest &request, const FileItems &page);
    void onLoadFailed();
    void addFiles(const QList<FileItem> &files);
    [[nodiscard]] QList<FileItem> upToDate(const QList<FileItem> &page) const;
    void findPlace();
    [[nodiscard]] bool isPlaceThere() const;
    [[nodiscard]] bool hasUserLeft();
    void restorePlace();
    void rememberRow(int row);
    void tellState();
    [[nodiscard]] bool isCurrentRowVisible() const;

    FileTable *const m_table;
    FolderPath m_path;
    FolderLoader m_loader;
    QTimer m_viewCheck; // the rule is looked at once, whatever came together
    Place m_place;
    bool m_failed = false;
    bool m_reloadIsDue = false; // once no name is being typed
    QString m_selectWhenDue;
    // Changes that the page under way may not know of yet.
    QSet<QString> m_removedMeanwhile;
    QHash<QString, FileItem> m_updatedMeanwhile;
};
