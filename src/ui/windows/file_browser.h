#pragma once

#include <QObject>

#include "ui/windows/folder_loader.h"
#include "ui/windows/folder_path.h"

class FileTable;

// Walks a drive's folders: keeps the path, asks for pages and fills the table with them.
class FileBrowser final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileBrowser)

public:
    // The table must outlive the browser. Nothing is asked for before reload().
    FileBrowser(const UserInfo &user, FileTable *table, QObject *parent = nullptr);

    [[nodiscard]] bool isLoading() const { return m_loader.isLoading(); }
    [[nodiscard]] FolderPath &path() { return m_path; }
    [[nodiscard]] QString folderId() const { return m_path.last().fileId; }

    // The loaded entry of the folder shown; nullptr when it is not there (any more).
    [[nodiscard]] const FileItem *file(const QString &fileId) const;
    // The folder's videos as far as they are loaded, in the table's order and whatever it hides.
    [[nodiscard]] QList<FileItem> videos() const;

    // Refused, with false, while a list loads.
    bool openFolder(const FileItem &folder);
    // Shows what is held of a folder further up; asks for it where nothing is.
    void goTo(int index);
    // The first page again; after the running request, if there is one.
    void reload();
    // Does nothing while a list loads or where the folder has no further page.
    void loadNextPage();
    // Loads on where the rows that the filter leaves are too few to scroll, for no scrolling will
    // then ever ask for the next page.
    void fillView();
    // Something came into the folder: what is held of it is asked for anew when it is shown.
    void forget(const QString &folderId) { m_path.forget(folderId); }

    // The file is gone from the drive: its row and records go as well.
    void removeFile(const QString &fileId);
    // The record's name is the drive's; the row follows.
    void setFileName(const QString &fileId, const QString &name);

signals:
    void loadingChanged(bool loading);
    void filled();
    void countChanged(int count);

private:
    void load(bool append);
    void showStoredFiles();
    void takePage(const FolderRequest &request, const FileItems &page);
    void takeFailure(const FolderRequest &request);
    void continueLoading(bool nothingNew);
    void rememberRow(int row);
    [[nodiscard]] bool isCurrentRowVisible() const;

    FileTable *const m_table;
    FolderPath m_path;
    FolderLoader m_loader;
    bool m_filling = false;
    bool m_reloadWanted = false;
};
