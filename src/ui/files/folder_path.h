#pragma once

#include <QList>
#include <QObject>
#include <QStandardItemModel>

#include "api/records/file_records.h"
#include "ui/files/page_trail.h"

// One opened folder and what is held of it.
struct PathItem
{
    QString name;
    QString fileId;
    QString nextMarker; // empty when the folder has no further page
    PageTrail trail;
    QList<FileItem> files;
    QString order;          // the server's order in which the pages were asked for
    int selectedRow = 0;    // current when a deeper folder was opened or a page asked for
    QString selectedFileId; // the entry of that row, which sorting may move
    bool loaded = false;    // the first page is there, and nothing came into the folder since
};

// The folders from the root to the one shown, and the rows of the navigation list above the table.
class FolderPath final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FolderPath)

public:
    // Starts with the root folder.
    explicit FolderPath(QObject *parent = nullptr);

    [[nodiscard]] int count() const { return m_items.size(); }
    [[nodiscard]] const PathItem &last() const { return m_items.last(); }
    // For the view; its rows follow the path.
    [[nodiscard]] QAbstractItemModel *model() { return &m_model; }

    void push(const QString &name, const QString &fileId);
    // Makes the folder at index the last one. Does nothing for an index outside the path.
    void removeAfter(int index);

    // Of the last folder.
    void remember(int row, const QString &fileId);
    void clearFiles();
    // The page's entries but for those that are held already.
    void addPage(const QList<FileItem> &newFiles, bool broughtEntries, const QString &nextMarker,
                 const QString &order);

    // In every folder held, since the entry may have been reached on another way; but for the
    // folder that the entry was moved into.
    void removeFile(const QString &fileId, const QString &newFolderId = QString());
    // Counted from the root; -1 where the folder is not in the path.
    [[nodiscard]] int indexOf(const QString &folderId) const;
    // In every folder held, and where the entry is one of the path's folders itself. False when the
    // folder in which it lies is held without it.
    bool updateFile(const QString &folderId, const FileItem &file);
    // The entries held of the folder, where it is in the path, are no longer all of them.
    void forget(const QString &folderId);

private:
    void showRow(int index);

    QList<PathItem> m_items;
    QStandardItemModel m_model;
};
