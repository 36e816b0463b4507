#pragma once

#include <memory>

#include <QHash>
#include <QStringList>

#include "api/session/open_api_client.h"
#include "net/reply_guard.h"
#include "ui/files/page_trail.h"
#include "ui/widgets/base_dialog.h"

class FileItems;
class QModelIndex;
class QTreeWidgetItem;
class WaitingSpinnerWidget;

namespace Ui {
class FileTreeDialog;
}

// Asks for a folder of the drive. A folder's children are listed when it is opened.
class FileTreeDialog final : public BaseDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileTreeDialog)

public:
    // The excluded folders can be neither chosen nor opened: nothing is moved into itself.
    explicit FileTreeDialog(const UserInfo &user, QStringList excludedIds = {});
    ~FileTreeDialog() override;

    // "root" for the top of the tree; empty before a folder is chosen.
    [[nodiscard]] QString selectedFolderId() const;

private slots:
    void on_fileTree_clicked(const QModelIndex &index);
    void on_fileTree_doubleClicked(const QModelIndex &index);
    void on_buttonBox_accepted();
    void on_buttonBox_rejected();

private:
    void listChildren(QTreeWidgetItem *folder);
    void countLoading(int change);
    // The page of children from the marker on, then those after it.
    void requestChildren(const QString &folderId, const QString &marker, int attempt);
    void onChildren(const QString &folderId, const FileItems &children);
    void onListFailed(const QString &folderId, const QString &error, int code);
    void onSelectionChanged();
    void onServerReturned();
    [[nodiscard]] QTreeWidgetItem *itemOf(const QString &folderId) const;
    QTreeWidgetItem *addItem(QTreeWidgetItem *parent, const QString &name, const QString &folderId);

    const std::unique_ptr<Ui::FileTreeDialog> m_ui;
    const OpenApiClient m_client;
    const QStringList m_excludedIds;
    WaitingSpinnerWidget *m_spinner = nullptr;
    int m_loading = 0;                  // listings that are awaited
    QHash<QString, PageTrail> m_trails; // by folder id
    QSet<QString> m_failed;             // folders that could not be listed
    ReplyGuard m_replies;
};
