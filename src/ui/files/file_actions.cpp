#include "ui/files/file_actions.h"

#include <optional>
#include <utility>

#include "api/records/file_records.h"
#include "ui/files/file_batches.h"
#include "ui/files/file_browser.h"
#include "ui/files/file_names.h"
#include "ui/files/file_table.h"
#include "ui/files/file_tree_dialog.h"
#include "ui/files/link_copy.h"
#include "ui/widgets/custom_pop_up_menu.h"
#include "ui/widgets/questions.h"
#include "ui/widgets/single_toast.h"
#include "ui/widgets/toast.h"

struct FileActions::MenuEntry
{
    QString text;
    QString iconPath;
    void (FileActions::*run)();
    bool needsSelection = false; // and does not say so itself when there is none
};

const QVector<FileActions::MenuEntry> &FileActions::menuEntries()
{
    static const QVector<MenuEntry> entries{
        {QStringLiteral("新建文件夹(&N)"), QStringLiteral(":/image/create_folder.png"),
         &FileActions::createFolder},
        {QStringLiteral("重命名(F2)"), QStringLiteral(":/image/rename.png"), &FileActions::editName,
         true},
        {QStringLiteral("移动到..."), QStringLiteral(":/image/move.png"),
         &FileActions::moveSelected, true},
        {QStringLiteral("删除(Del)"), QStringLiteral(":/image/delete.png"),
         &FileActions::deleteWanted},
        {QStringLiteral("复制下载链接"), QStringLiteral(":/image/copy_link.png"),
         &FileActions::copyLink},
        {QStringLiteral("刷新(F5)"), QStringLiteral(":/image/refresh.png"),
         &FileActions::refreshWanted},
    };
    return entries;
}

FileActions::FileActions(UserInfo user, FileTable *table, FileBrowser *browser,
                         FileBatches *batches, FileNames *names, LinkCopy *links, QWidget *page)
    : QObject(page)
    , m_user(std::move(user))
    , m_table(table)
    , m_browser(browser)
    , m_batches(batches)
    , m_names(names)
    , m_links(links)
    , m_page(page)
{
    makeMenu();
    connect(names, &FileNames::folderCreated, this, &FileActions::onFolderCreated);
    connect(names, &FileNames::nameSettled, this, &FileActions::onNameSettled);
    connect(names, &FileNames::listingNeeded, this, &FileActions::onListingNeeded);
}

void FileActions::makeMenu()
{
    m_menu = new CustomPopUpMenu(m_table);
    for (const MenuEntry &entry : menuEntries()) {
        m_menu->addAction(QIcon(entry.iconPath), entry.text);
    }
    connect(m_menu, &QMenu::aboutToShow, this, &FileActions::updateMenu);
    m_table->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_table, &QWidget::customContextMenuRequested, this, [this](const QPoint &position) {
        m_menu->popup(m_table->viewport()->mapToGlobal(position));
    });
}

void FileActions::updateMenu()
{
    const bool isSelected = !m_table->selectedFileIds().isEmpty();
    const QList<QAction *> actions = m_menu->actions();
    for (int index = 0; index < actions.size(); ++index) {
        actions.at(index)->setEnabled(isSelected || !menuEntries().at(index).needsSelection);
    }
}

void FileActions::run(QAction *entry)
{
    const int index = m_menu->actions().indexOf(entry);
    if (index >= 0) {
        (this->*menuEntries().at(index).run)();
    }
}

void FileActions::createFolder()
{
    const QString parentId = m_browser->folderId();
    const std::optional<QString> name =
        askText(m_page, QStringLiteral("新建文件夹"), QStringLiteral("请输入新文件夹名称"),
                QStringLiteral("新建文件夹"));
    if (name && !name->isEmpty()) {
        m_names->createFolder(m_user, parentId, *name);
    }
}

void FileActions::onFolderCreated(const QString &userId, const QString &parentId,
                                  const QString &fileId)
{
    if (userId != m_user.userId.value()) {
        return;
    }
    // Whoever is elsewhere by now sees it on the way back.
    m_browser->forget(parentId);
    if (m_browser->folderId() == parentId) {
        emit folderCreated(fileId);
    }
}

void FileActions::onNameSettled(const QString &userId, const QString &folderId,
                                const FileItem &file)
{
    if (userId == m_user.userId.value()) {
        m_browser->updateFile(folderId, file);
    }
}

void FileActions::onListingNeeded(const QString &userId, const QString &folderId)
{
    if (userId == m_user.userId.value()) {
        m_browser->listAnew(folderId);
    }
}

void FileActions::editName()
{
    QTableWidgetItem *name = m_table->item(m_table->currentRow(), FileTable::NameColumn);
    if (m_table->currentFileId().isEmpty() || !name->isSelected() || m_table->isEditing()) {
        return;
    }
    m_table->setFocus();
    m_table->editItem(name);
}

void FileActions::sendName(int row)
{
    const FileItem *known = m_browser->file(m_table->fileIdAt(row));
    if (!known) {
        return;
    }
    FileItem file = *known;
    const QString name = m_table->item(row, FileTable::NameColumn)->text();
    if (!name.isEmpty()) {
        m_names->rename(m_user, m_browser->folderId(), file, name);
    }
    file.name = m_names->nameToBe(m_user, file);
    m_table->updateFile(file);
}

// Made before anything is asked: while a question stands, rows go and the selection moves on.
BatchOrder FileActions::orderForSelection(FileOperation operation) const
{
    BatchOrder order;
    order.user = m_user;
    order.operation = operation;
    order.sourceFolderId = m_browser->folderId();
    for (const FileItem &file : m_browser->files(m_table->selectedFileIds())) {
        order.files.append({file.file_id, file.name});
    }
    return order;
}

void FileActions::moveSelected()
{
    BatchOrder order = orderForSelection(FileOperation::Move);
    if (order.files.isEmpty()) {
        return;
    }
    QStringList fileIds;
    for (const BatchFile &file : qAsConst(order.files)) {
        fileIds << file.id;
    }
    FileTreeDialog dialog(m_user, fileIds);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    order.targetFolderId = dialog.selectedFolderId();
    if (order.targetFolderId == order.sourceFolderId) {
        showSingleToast(QStringLiteral("文件已在所选文件夹中"));
    } else if (!order.targetFolderId.isEmpty() && !fileIds.contains(order.targetFolderId)) {
        m_batches->start(order);
    }
}

void FileActions::copyLink()
{
    const QString fileId = m_table->currentFileId();
    if (m_table->selectedFileIds().isEmpty() || fileId.isEmpty()) {
        Toast::showTip(QStringLiteral("请选择要复制链接的文件"));
        return;
    }
    if (m_table->isFolderAt(m_table->currentRow())) {
        Toast::showTip(QStringLiteral("请选择文件进行复制"));
        return;
    }
    m_links->copy(m_user, fileId);
}

void FileActions::deleteSelected(bool toRecycleBin)
{
    const BatchOrder order =
        orderForSelection(toRecycleBin ? FileOperation::Trash : FileOperation::Delete);
    if (order.files.isEmpty()) {
        Toast::showTip(QStringLiteral("请选择要删除的文件"));
        return;
    }
    if (toRecycleBin || askYesNo(m_page, QStringLiteral("警告"),
                                 QStringLiteral("确定要彻底删除选中的文件或文件夹吗?"))) {
        m_batches->start(order);
    }
}
