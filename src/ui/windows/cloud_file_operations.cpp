// What a user does to the files of a page and to the accounts: the second half of CloudFileDialog.

#include "ui/windows/cloud_file_dialog.h"

#include <QClipboard>
#include <QGuiApplication>

#include "api/records/change_records.h"
#include "api/records/file_records.h"
#include "app/environment/app_settings.h"
#include "db/tables/operations.h"
#include "login/qr_login_dlg.h"
#include "ui/widgets/custom_pop_up_menu.h"
#include "ui/widgets/toast.h"
#include "ui/windows/file_browser.h"
#include "ui/windows/file_operations.h"
#include "ui/windows/file_table.h"
#include "ui/windows/file_tree_dialog.h"
#include "ui/windows/questions.h"
#include "ui/windows/single_toast.h"
#include "ui_cloud_file_dialog.h"

struct CloudFileDialog::MenuEntry
{
    QString text;
    QString iconPath;
    void (CloudFileDialog::*action)();
    bool needsSelection = false; // and does not say so itself when there is none
};

const QVector<CloudFileDialog::MenuEntry> &CloudFileDialog::menuEntries()
{
    static const QVector<MenuEntry> entries{
        {QStringLiteral("新建文件夹(&N)"), QStringLiteral(":/image/create_folder.png"),
         &CloudFileDialog::on_btnCreateFolder_clicked},
        {QStringLiteral("重命名(F2)"), QStringLiteral(":/image/rename.png"),
         &CloudFileDialog::renameCurrent, true},
        {QStringLiteral("移动到..."), QStringLiteral(":/image/move.png"),
         &CloudFileDialog::moveSelected, true},
        {QStringLiteral("删除(Del)"), QStringLiteral(":/image/delete.png"),
         &CloudFileDialog::on_btnDelete_clicked},
        {QStringLiteral("复制下载链接"), QStringLiteral(":/image/copy_link.png"),
         &CloudFileDialog::copyDownloadLink},
        {QStringLiteral("刷新(F5)"), QStringLiteral(":/image/refresh.png"),
         &CloudFileDialog::on_btnRefresh_clicked},
    };
    return entries;
}

void CloudFileDialog::setUpMenu()
{
    m_menu = new CustomPopUpMenu(m_ui->fileList);
    for (const MenuEntry &entry : menuEntries())
        m_menu->addAction(QIcon(entry.iconPath), entry.text);
    connect(m_menu, &QMenu::aboutToShow, this, &CloudFileDialog::updateMenu);
    connect(m_menu, &QMenu::triggered, this, &CloudFileDialog::rightMenuClicked);
    m_ui->fileList->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_ui->fileList, &QWidget::customContextMenuRequested, this, &CloudFileDialog::showMenu);
}

void CloudFileDialog::updateMenu()
{
    const bool isSelected = !m_ui->fileList->selectedFileIds().isEmpty();
    const QList<QAction *> actions = m_menu->actions();
    for (int index = 0; index < actions.size(); ++index)
        actions.at(index)->setEnabled(isSelected || !menuEntries().at(index).needsSelection);
}

void CloudFileDialog::showMenu(const QPoint &position)
{
    m_menu->popup(m_ui->fileList->viewport()->mapToGlobal(position));
}

void CloudFileDialog::rightMenuClicked(QAction *action)
{
    const int index = m_menu->actions().indexOf(action);
    if (index >= 0)
        (this->*menuEntries().at(index).action)();
}

void CloudFileDialog::on_btnCreateFolder_clicked()
{
    const std::optional<QString> name =
        askText(this, QStringLiteral("新建文件夹"), QStringLiteral("请输入新文件夹名称"),
                QStringLiteral("新建文件夹"));
    if (!name || name->trimmed().isEmpty())
        return;
    const QString step = QStringLiteral("createFolder");
    const QString parent = m_browser->folderId();
    m_client.createFolder(parent, name->trimmed(),
                          m_replies.guard(step,
                                          [this, parent](const CreateFileResp & /*folder*/) {
                                              m_browser->forget(parent);
                                              // Elsewhere by now, it is shown on the way back.
                                              if (m_browser->folderId() == parent)
                                                  on_btnRefresh_clicked();
                                          }),
                          m_replies.guard(step, [](const QString &error, int code) {
                              qDebug() << "createFolder fail :" << code << " =>" << error;
                          }));
}

void CloudFileDialog::renameCurrent()
{
    FileTable *table = m_ui->fileList;
    QTableWidgetItem *name = table->item(table->currentRow(), FileTable::NameColumn);
    if (table->currentFileId().isEmpty() || table->isPersistentEditorOpen(name))
        return;
    table->setFocus();
    table->editItem(name);
}

void CloudFileDialog::on_fileList_cellChanged(int row, int column)
{
    if (column != FileTable::NameColumn)
        return;
    const FileItem *file = m_browser->file(m_ui->fileList->fileIdAt(row));
    if (!file)
        return;
    const QString name = m_ui->fileList->item(row, column)->text().trimmed();
    if (name.isEmpty() || name == file->name)
        m_ui->fileList->setFileName(file->file_id, file->name);
    else
        sendRename(*file, name);
}

void CloudFileDialog::sendRename(const FileItem &file, const QString &name)
{
    const QString step = QStringLiteral("fileUpdate");
    const QString fileId = file.file_id;
    m_client.rename(fileId, name,
                    m_replies.guard(step,
                                    [this, fileId, name](const FileUpdateResp &reply) {
                                        m_browser->setFileName(
                                            fileId, reply.name.isEmpty() ? name : reply.name);
                                    }),
                    m_replies.guard(step, [this, fileId](const QString &error, int code) {
                        qDebug() << "fileUpdate fail :" << code << " =>" << error;
                        if (const FileItem *known = m_browser->file(fileId))
                            m_ui->fileList->setFileName(fileId, known->name);
                    }));
}

void CloudFileDialog::moveSelected()
{
    const QStringList fileIds = m_ui->fileList->selectedFileIds();
    if (fileIds.isEmpty())
        return;
    const QString source = m_browser->folderId();
    FileTreeDialog dialog(m_user, fileIds);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const QString target = dialog.selectedFolderId();
    if (target != source && !fileIds.contains(target))
        m_operations->start(FileOperation::Move, fileIds, target);
}

void CloudFileDialog::copyDownloadLink()
{
    const FileTable *table = m_ui->fileList;
    const QString fileId = table->currentFileId();
    if (table->selectedFileIds().isEmpty() || fileId.isEmpty()) {
        Toast::showTip(QStringLiteral("请选择要复制链接的文件"));
        return;
    }
    if (table->isFolderAt(table->currentRow())) {
        Toast::showTip(QStringLiteral("请选择文件进行复制"));
        return;
    }
    const QString step = QStringLiteral("getDownloadUrl");
    m_client.downloadUrl(fileId,
                         m_replies.guard(step,
                                         [](const GetDownloadUrlResp &reply) {
                                             QGuiApplication::clipboard()->setText(reply.url);
                                             Toast::showTip(QStringLiteral("复制下载链接成功"));
                                         }),
                         m_replies.guard(step, [](const QString &error, int code) {
                             // One wording for every failure that a list's user sees in the log.
                             qDebug() << "getFileList fail :" << code << " =>" << error;
                             Toast::showTip(QStringLiteral("复制下载链接失败"));
                         }));
}

void CloudFileDialog::on_btnDelete_clicked()
{
    const QStringList fileIds = m_ui->fileList->selectedFileIds();
    if (fileIds.isEmpty()) {
        Toast::showTip(QStringLiteral("请选择要删除的文件"));
        return;
    }
    const bool toRecycleBin = m_ui->checkDelToRecycle->isChecked();
    if (!toRecycleBin && !askYesNo(this, QStringLiteral("警告"),
                                   QStringLiteral("确定要彻底删除选中的文件或文件夹吗?")))
        return;
    m_operations->start(toRecycleBin ? FileOperation::Trash : FileOperation::Delete, fileIds);
}

void CloudFileDialog::takeOperationSuccess(const QString &fileId, const QString &targetFolderId)
{
    m_browser->removeFile(fileId);
    m_browser->forget(targetFolderId);
    // The user went on to the folder while the files were still being moved there.
    if (m_operations->pending() == 0 && m_browser->folderId() == targetFolderId)
        m_browser->reload();
}

void CloudFileDialog::takeOperationFailure(FileOperation operation)
{
    switch (operation) {
    case FileOperation::Trash:
        showSingleToast(QStringLiteral("删除到回收站失败"));
        return;
    case FileOperation::Delete:
        showSingleToast(QStringLiteral("删除文件失败"));
        return;
    case FileOperation::Move:
        return;
    }
}

void CloudFileDialog::on_checkDelToRecycle_clicked(bool checked)
{
    AppSettings().setDelToRecycle(checked);
    emit listSettingsChanged();
}

int CloudFileDialog::position() const
{
    const QList<UserInfo> users = listUsers();
    for (int index = 0; index < users.size(); ++index) {
        if (users.at(index).userId.value() == userId())
            return index;
    }
    return -1;
}

void CloudFileDialog::on_btnNewUser_clicked()
{
    QRLoginDlg dialog;
    QString newUserId;
    connect(&dialog, &QRLoginDlg::loginSuccess, this,
            [&newUserId](const QString &userId) { newUserId = userId; });
    if (dialog.exec() != QDialog::Accepted)
        return;
    UserInfo user;
    loadUserInfo(newUserId, user);
    const int pos = position();
    emit userChangedFromCloudDisk(1, pos, pos, user.nickname.value());
}

void CloudFileDialog::on_btnUserLogout_clicked()
{
    const int pos = position();
    removeUser(userId());
    const QList<UserInfo> users = listUsers();
    AppSettings settings;
    if (users.isEmpty()) {
        settings.setCurUserId(QString());
        emit userChangedFromCloudDisk(0, pos, -1, m_user.nickname.value());
    } else {
        // The user who now stands in the same place, or the last one.
        const int next = qBound(0, pos, users.size() - 1);
        if (settings.curUserId() == userId())
            settings.setCurUserId(users.at(next).userId.value());
        emit userChangedFromCloudDisk(-1, pos, next, m_user.nickname.value());
    }
    deleteLater();
}
