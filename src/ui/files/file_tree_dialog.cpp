#include "ui/files/file_tree_dialog.h"

#include <utility>

#include <QPushButton>
#include <QTreeWidgetItemIterator>

#include "api/records/file_records.h"
#include "api/session/refusal_note.h"
#include "api/session/session.h"
#include "app/environment/app_settings.h"
#include "db/tables/user_info.h"
#include "net/http_client.h"
#include "net/log_failure.h"
#include "ui/files/file_kinds.h"
#include "ui/widgets/name_text.h"
#include "ui/widgets/natural_order.h"
#include "ui/widgets/questions.h"
#include "ui/widgets/single_toast.h"
#include "ui/widgets/waiting_spinner_widget.h"
#include "ui_file_tree_dialog.h"

namespace {

constexpr int FolderIdRole = Qt::UserRole;
constexpr int ListedRole = Qt::UserRole + 1; // the children are there or on their way

class FolderItem final : public QTreeWidgetItem
{
public:
    using QTreeWidgetItem::QTreeWidgetItem;

    [[nodiscard]] bool operator<(const QTreeWidgetItem &other) const override
    {
        return naturalLess(text(0), other.text(0));
    }
};

// The drive compares names letter by letter, so that 10 comes before 2; the list of files does not.
void sortAsTheList(QTreeWidgetItem *folder)
{
    const AppSettings settings;
    if (settings.fileListOrderBy() == QLatin1String("name")) {
        const bool isFalling = settings.fileOrderDirection() == QLatin1String("DESC");
        folder->sortChildren(0, isFalling ? Qt::DescendingOrder : Qt::AscendingOrder);
    }
}

} // namespace

FileTreeDialog::FileTreeDialog(const UserInfo &user, QStringList excludedIds)
    : m_ui(std::make_unique<Ui::FileTreeDialog>())
    , m_client(user)
    , m_excludedIds(std::move(excludedIds))
{
    m_ui->setupUi(this);
    setChineseTexts(m_ui->buttonBox);
    m_spinner = new WaitingSpinnerWidget(m_ui->fileTree);
    connect(m_ui->fileTree, &QTreeWidget::itemExpanded, this, &FileTreeDialog::listChildren);
    connect(m_ui->fileTree, &QTreeWidget::itemSelectionChanged, this,
            &FileTreeDialog::onSelectionChanged);
    QTreeWidgetItem *root = addItem(m_ui->fileTree->invisibleRootItem(), QStringLiteral("首页"),
                                    QStringLiteral("root"));
    root->setIcon(0, QIcon(QStringLiteral(":/image/cloud_disk.png")));
    root->setExpanded(true);
    connect(&Session::instance().reachability(), &Reachability::returned, this,
            &FileTreeDialog::onServerReturned);
    onSelectionChanged();
}

FileTreeDialog::~FileTreeDialog() = default;

QString FileTreeDialog::selectedFolderId() const
{
    // The current item is the tree's own choice as long as the user has made none.
    const QList<QTreeWidgetItem *> chosen = m_ui->fileTree->selectedItems();
    return chosen.isEmpty() ? QString() : chosen.first()->data(0, FolderIdRole).toString();
}

void FileTreeDialog::onSelectionChanged()
{
    m_ui->buttonBox->button(QDialogButtonBox::Ok)->setEnabled(!selectedFolderId().isEmpty());
}

void FileTreeDialog::on_fileTree_clicked(const QModelIndex & /*index*/)
{
    listChildren(m_ui->fileTree->currentItem());
}

void FileTreeDialog::on_fileTree_doubleClicked(const QModelIndex & /*index*/)
{
    // The tree itself opens and closes the folder; its children are asked for as it opens.
    listChildren(m_ui->fileTree->currentItem());
}

void FileTreeDialog::on_buttonBox_accepted()
{
    accept();
}

void FileTreeDialog::on_buttonBox_rejected()
{
    reject();
}

void FileTreeDialog::listChildren(QTreeWidgetItem *folder)
{
    if (!folder || folder->isDisabled() || folder->data(0, ListedRole).toBool()) {
        return;
    }
    folder->setData(0, ListedRole, true);
    qDeleteAll(folder->takeChildren()); // what came before a page failed
    const QString folderId = folder->data(0, FolderIdRole).toString();
    m_failed.remove(folderId);
    m_trails.remove(folderId);
    requestChildren(folderId, QString(), 1);
}

void FileTreeDialog::requestChildren(const QString &folderId, const QString &marker, int attempt)
{
    countLoading(1);
    const QString logWord = QStringLiteral("getFileList");
    const RefusalNote refusal;
    const auto done =
        m_replies.guard(logWord, [this, folderId, refusal](const FileItems &children) {
            if (refusal.saysNotJson()) {
                onListFailed(folderId, QStringLiteral("no JSON"), HttpClient::LocalFailure);
            } else {
                onChildren(folderId, children);
            }
        });
    const auto failed = m_replies.guard(
        logWord, [this, folderId, marker, refusal, attempt](const QString &error, int code) {
            if (refusal.mayAskAgain(CallKind::Reading, code, attempt)) {
                countLoading(-1);
                requestChildren(folderId, marker, attempt + 1);
            } else {
                onListFailed(folderId, error, code);
            }
        });
    m_replies.limitWait(
        m_client.whenRefused(refusal.handler()).listFoldersPaged(folderId, marker, done, failed));
}

void FileTreeDialog::countLoading(int change)
{
    m_loading += change;
    if (m_loading > 0) {
        m_spinner->start();
    } else {
        m_spinner->stop();
    }
}

void FileTreeDialog::onChildren(const QString &folderId, const FileItems &children)
{
    countLoading(-1);
    QTreeWidgetItem *folder = itemOf(folderId);
    if (!folder) {
        return;
    }
    for (const FileItem &child : children.items) {
        if (child.type == QLatin1String("folder")) {
            addItem(folder, child.name, child.file_id);
        }
    }
    sortAsTheList(folder);
    const QString marker = m_trails[folderId].next(children.next_marker, !children.items.isEmpty());
    if (!marker.isEmpty()) {
        requestChildren(folderId, marker, 1);
    } else if (folder->childCount() == 0) {
        folder->setChildIndicatorPolicy(QTreeWidgetItem::DontShowIndicator);
    }
}

void FileTreeDialog::onListFailed(const QString &folderId, const QString &error, int code)
{
    logFailure(QStringLiteral("getFileList"), code, error);
    countLoading(-1);
    showSingleToast(QStringLiteral("文件夹加载失败"));
    m_failed.insert(folderId);
    // Closed and unlisted, so that opening it once more asks again.
    if (QTreeWidgetItem *folder = itemOf(folderId)) {
        folder->setData(0, ListedRole, false);
        folder->setExpanded(false);
    }
}

void FileTreeDialog::onServerReturned()
{
    for (const QString &folderId : std::exchange(m_failed, {})) {
        if (QTreeWidgetItem *folder = itemOf(folderId)) {
            folder->setExpanded(true); // lists it
        }
    }
}

QTreeWidgetItem *FileTreeDialog::itemOf(const QString &folderId) const
{
    for (QTreeWidgetItemIterator it(m_ui->fileTree); *it; ++it) {
        if ((*it)->data(0, FolderIdRole).toString() == folderId) {
            return *it;
        }
    }
    return nullptr;
}

QTreeWidgetItem *FileTreeDialog::addItem(QTreeWidgetItem *parent, const QString &name,
                                         const QString &folderId)
{
    auto *item = new FolderItem(parent, {visibleName(name)});
    item->setIcon(0, iconOf(FileKind::Folder));
    item->setToolTip(0, nameTip(name));
    item->setData(0, FolderIdRole, folderId);
    item->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
    item->setDisabled(m_excludedIds.contains(folderId));
    return item;
}
