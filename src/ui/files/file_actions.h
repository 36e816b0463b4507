#pragma once

#include <QObject>
#include <QStringList>

#include "db/tables/user_info.h"

class FileBatches;
class FileBrowser;
class FileItem;
class FileNames;
class FileTable;
class LinkCopy;
class QAction;
class QMenu;
struct BatchOrder;
enum class FileOperation;

// What a user does to the entries of a page: creates, renames, moves and deletes them and copies
// their links. Owns the menu that offers it. Whatever fails is said to the user.
class FileActions final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileActions)

public:
    // The page's table and browser and the program's batches, names and links must outlive the
    // actions.
    FileActions(UserInfo user, FileTable *table, FileBrowser *browser, FileBatches *batches,
                FileNames *names, LinkCopy *links, QWidget *page);

    [[nodiscard]] QMenu *menu() const { return m_menu; }
    // Does what an entry of the menu offers.
    void run(QAction *entry);

    void createFolder();
    // Opens the editor on the current entry, if it is selected.
    void editName();
    // Sends the name that was typed into the row, and brings the old one back if that fails.
    void sendName(int row);
    void moveSelected();
    void copyLink();
    void deleteSelected(bool toRecycleBin);

signals:
    void folderCreated(const QString &fileId);
    void refreshWanted();
    void deleteWanted();

private:
    struct MenuEntry;
    static const QVector<MenuEntry> &menuEntries();

    void makeMenu();
    void updateMenu();
    void onFolderCreated(const QString &userId, const QString &parentId, const QString &fileId);
    void onNameSettled(const QString &userId, const QString &folderId, const FileItem &file);
    void onListingNeeded(const QString &userId, const QString &folderId);
    [[nodiscard]] BatchOrder orderForSelection(FileOperation operation) const;

    const UserInfo m_user;
    FileTable *const m_table;
    FileBrowser *const m_browser;
    FileBatches *const m_batches;
    FileNames *const m_names;
    LinkCopy *const m_links;
    QWidget *const m_page;
    QMenu *m_menu = nullptr;
};
