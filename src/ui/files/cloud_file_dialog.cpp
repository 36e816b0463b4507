#include "ui/files/cloud_file_dialog.h"

#include <utility>

#include <QHeaderView>
#include <QMenu>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QStyledItemDelegate>
#include <QToolButton>

#include "app/environment/app_settings.h"
#include "app/environment/formatting.h"
#include "db/tables/operations.h"
#include "player/session/play_request.h"
#include "ui/files/disk_space.h"
#include "ui/files/file_actions.h"
#include "ui/files/file_batches.h"
#include "ui/files/file_browser.h"
#include "ui/files/file_names.h"
#include "ui/files/file_table.h"
#include "ui/files/link_copy.h"
#include "ui/files/path_delegate.h"
#include "ui/files/quality_menu.h"
#include "ui/files/watch_marks.h"
#include "ui/widgets/list_keys.h"
#include "ui/widgets/single_toast.h"
#include "ui/widgets/sort_table_widget_item.h"
#include "ui/widgets/waiting_spinner_widget.h"
#include "ui_cloud_file_dialog.h"

namespace {

// Of one entry the row says everything. Folders have no size.
QString selectionText(const FileTable &table)
{
    const int count = table.selectedCount();
    if (count < 2) {
        return {};
    }
    qint64 bytes = 0;
    bool hasFolder = false;
    const QModelIndexList sizes = table.selectionModel()->selectedRows(FileTable::SizeColumn);
    for (const QModelIndex &size : sizes) {
        if (!table.isRowHidden(size.row())) {
            bytes += size.data(SortTableWidgetItem::SortValueRole).toLongLong();
            hasFolder = hasFolder || table.isFolderAt(size.row());
        }
    }
    const QString text = QStringLiteral("已选 %1 项").arg(count);
    if (bytes == 0) {
        return text;
    }
    return text + (hasFolder ? QStringLiteral("（文件 %1）") : QStringLiteral("（%1）"))
                      .arg(formatSize(QString::number(bytes)));
}

} // namespace

CloudFileDialog::CloudFileDialog(UserInfo user, FileBatches *batches, FileNames *names,
                                 LinkCopy *links, QWidget *parent)
    : DialogPage(parent), m_ui(std::make_unique<Ui::CloudFileDialog>()), m_user(std::move(user))
{
    m_ui->setupUi(this);
    setUpForm();
    setUpTable();
    setUpBrowser();
    setUpPath();
    setUpActions(batches ? batches : new FileBatches(this), names ? names : new FileNames(this),
                 links ? links : new LinkCopy(this));
    setUpShortcuts();
    m_qualityMenu = new QualityMenu(m_ui->btnVideoQuality);
    connect(m_qualityMenu, &QualityMenu::chosen, this, &CloudFileDialog::listSettingsChanged);
    initVideoQualityMenu();
    m_browser->reload();
    setUpDiskSpace();
}

CloudFileDialog::~CloudFileDialog() = default;

void CloudFileDialog::setUpForm()
{
    const QSignalBlocker quiet(m_ui->fileTypeList);
    // The combo box's own delegate takes no heights from the skin.
    m_ui->fileTypeList->setItemDelegate(new QStyledItemDelegate(m_ui->fileTypeList));
    m_ui->fileTypeList->addItem(QStringLiteral("全部"), -1);
    for (const FileKindInfo &info : fileKinds()) {
        m_ui->fileTypeList->addItem(info.name, static_cast<int>(info.kind));
    }
    m_ui->checkDelToRecycle->setChecked(AppSettings().delToRecycle());
    m_ui->fileNameSearch->setClearButtonEnabled(true);
    m_ui->fileNameSearch->findChild<QToolButton *>()->setAccessibleName(
        QStringLiteral("清除搜索文字"));
    m_ui->btnRetry->hide();
}

void CloudFileDialog::setUpTable()
{
    FileTable *table = m_ui->fileList;
    restoreListState();
    m_spinner = new WaitingSpinnerWidget(table);
    connect(table, &FileTable::headerChanged, this, &CloudFileDialog::saveListState);
    connect(table->horizontalHeader(), &QHeaderView::sectionClicked, this,
            &CloudFileDialog::onHeaderClicked);
    connect(table->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &CloudFileDialog::onScrollBarValueChanged);
}

void CloudFileDialog::setUpBrowser()
{
    m_browser = new FileBrowser(m_user, m_ui->fileList, this);
    m_watchMarks = new WatchMarks(userId(), m_ui->fileList, m_browser, this);
    connect(m_browser, &FileBrowser::stateChanged, this, &CloudFileDialog::showState);
    connect(m_browser, &FileBrowser::filled, this, &CloudFileDialog::initVideoQualityMenu);
    connect(m_browser, &FileBrowser::countChanged, m_ui->countLabel,
            [this](int count) { m_ui->countLabel->setText(QStringLiteral("%1项").arg(count)); });
    connect(m_ui->btnRetry, &QAbstractButton::clicked, m_browser, &FileBrowser::retry);
    connect(m_ui->fileList, &QTableWidget::itemSelectionChanged, this,
            &CloudFileDialog::showStatus);
}

void CloudFileDialog::setUpPath()
{
    QAbstractItemModel *path = m_browser->pathModel();
    m_ui->pathNavList->setModel(path);
    m_ui->pathNavList->setItemDelegate(new PathDelegate(m_ui->pathNavList));
    // The folder that is shown stays in sight, also in a window that becomes narrow.
    QScrollBar *pathBar = m_ui->pathNavList->horizontalScrollBar();
    connect(pathBar, &QScrollBar::rangeChanged, pathBar,
            [pathBar](int /*minimum*/, int maximum) { pathBar->setValue(maximum); });
    const auto update = [this] { m_ui->btnBack->setEnabled(m_browser->depth() > 1); };
    connect(path, &QAbstractItemModel::rowsInserted, this, update);
    connect(path, &QAbstractItemModel::rowsRemoved, this, update);
    update();
}

void CloudFileDialog::setUpDiskSpace()
{
    m_diskSpace = new DiskSpace(m_user, this);
    connect(m_diskSpace, &DiskSpace::arrived, this, &CloudFileDialog::onDiskSpace);
    m_diskSpace->request();
}

void CloudFileDialog::setUpActions(FileBatches *batches, FileNames *names, LinkCopy *links)
{
    m_actions = new FileActions(m_user, m_ui->fileList, m_browser, batches, names, links, this);
    connect(m_actions->menu(), &QMenu::triggered, this, &CloudFileDialog::rightMenuClicked);
    connect(m_actions, &FileActions::folderCreated, this, &CloudFileDialog::onFolderCreated);
    connect(m_actions, &FileActions::refreshWanted, this, &CloudFileDialog::on_btnRefresh_clicked);
    connect(m_actions, &FileActions::deleteWanted, this, &CloudFileDialog::on_btnDelete_clicked);
    connect(batches, &FileBatches::fileDone, this, &CloudFileDialog::onFileDone);
    connect(batches, &FileBatches::finished, this, &CloudFileDialog::onBatchFinished);
}

void CloudFileDialog::setUpShortcuts()
{
    using list_keys::Action;
    const auto add = [this](Action action, QWidget *place, Qt::ShortcutContext context, auto deed) {
        addShortcuts(action, place, context, this, deed);
    };
    const auto openCurrent = [this] { openRow(m_ui->fileList->currentRow()); };
    const auto openPath = [this] { goTo(m_ui->pathNavList->currentIndex().row()); };
    const auto search = [this] {
        m_ui->fileNameSearch->setFocus(Qt::ShortcutFocusReason);
        m_ui->fileNameSearch->selectAll();
    };
    const Qt::ShortcutContext page = Qt::WidgetWithChildrenShortcut;
    const Qt::ShortcutContext window = Qt::WindowShortcut; // while the page is the one shown
    add(Action::Rename, this, page, [this] { m_actions->editName(); });
    add(Action::Refresh, this, window, &CloudFileDialog::on_btnRefresh_clicked);
    add(Action::Remove, m_ui->fileList, Qt::WidgetShortcut, &CloudFileDialog::on_btnDelete_clicked);
    add(Action::GoBack, this, page, &CloudFileDialog::on_btnBack_clicked);
    add(Action::Search, this, window, search);
    add(Action::Open, m_ui->fileList, Qt::WidgetShortcut, openCurrent);
    add(Action::Open, m_ui->pathNavList, Qt::WidgetShortcut, openPath);
    add(Action::LeaveSearch, m_ui->fileNameSearch, Qt::WidgetShortcut, &CloudFileDialog::enterList);
    add(Action::ClearSearch, m_ui->fileNameSearch, Qt::WidgetShortcut, [this] {
        m_ui->fileNameSearch->clear();
        enterList();
    });
}

void CloudFileDialog::restoreListState()
{
    FileListState state;
    state.sortIndex = -1; // stays where nothing is stored
    AppSettings().readFileListState(state);
    m_ui->fileList->restoreState(state);
    const int kind = m_ui->fileTypeList->findText(state.fileTypeList);
    const QSignalBlocker quiet(m_ui->fileTypeList);
    m_ui->fileTypeList->setCurrentIndex(qMax(0, kind));
    applyFilter();
}

void CloudFileDialog::saveListState()
{
    FileListState state;
    m_ui->fileList->storeState(state);
    state.fileTypeList = m_ui->fileTypeList->currentText();
    AppSettings().saveFileListState(state);
}

void CloudFileDialog::applyListSettings()
{
    const AppSettings settings;
    m_ui->checkDelToRecycle->setChecked(settings.delToRecycle());
    FileListState state;
    state.sortIndex = -1;
    settings.readFileListState(state);
    m_ui->fileList->restoreSort(state.sortIndex,
                                state.sortOrder == 0 ? Qt::AscendingOrder : Qt::DescendingOrder);
    initVideoQualityMenu();
}

void CloudFileDialog::applyFilter()
{
    const int kind = m_ui->fileTypeList->currentData().toInt();
    m_ui->fileList->setFilter(m_ui->fileNameSearch->text(),
                              kind < 0 ? std::nullopt
                                       : std::make_optional(static_cast<FileKind>(kind)));
}

void CloudFileDialog::showState()
{
    const bool hasRows = m_ui->fileList->shownCount() > 0;
    // A filter that goes through a big folder must not hide what it has found.
    const bool hidesNothing = !hasRows || !m_ui->fileList->isFiltered();
    if (m_browser->isLoading() && hidesNothing) {
        m_spinner->start();
    } else {
        m_spinner->stop();
    }
    // Where no row is shown the table itself says so in its middle.
    m_ui->btnRetry->setVisible(m_browser->hasFailed() && hasRows);
    showStatus();
}

void CloudFileDialog::showStatus()
{
    const FileTable *table = m_ui->fileList;
    QStringList parts;
    if (table->isFiltered()) {
        parts << QStringLiteral("显示 %1 / %2 项").arg(table->shownCount()).arg(table->rowCount());
    }
    if (m_browser->isLoading()) {
        parts << QStringLiteral("正在加载…");
    } else if (m_browser->hasFailed()) {
        parts << QStringLiteral("加载失败");
    } else if (m_browser->hasMore()) {
        parts << QStringLiteral("还有更多");
    }
    if (const QString selection = selectionText(*table); !selection.isEmpty()) {
        parts << selection;
    }
    const QString status = parts.join(QStringLiteral("，"));
    if (std::exchange(m_listStatus, status) != status) {
        emit listStatusChanged(status);
    }
}

void CloudFileDialog::onHeaderClicked(int column)
{
    QHeaderView *header = m_ui->fileList->horizontalHeader();
    qDebug() << "header clicked:" << column << header->sortIndicatorOrder();
    header->setSortIndicator(column, header->sortIndicatorOrder());
    m_ui->fileList->sortByHeader();
    AppSettings settings;
    settings.setFileListOrderBy(FileTable::orderField(column));
    settings.setFileOrderDirection(header->sortIndicatorOrder() == Qt::DescendingOrder
                                       ? QStringLiteral("DESC")
                                       : QStringLiteral("ASC"));
    emit listSettingsChanged();
}

// The browser itself follows the view; what failed at this end is tried again.
void CloudFileDialog::onScrollBarValueChanged(int value)
{
    if (value == m_ui->fileList->verticalScrollBar()->maximum()) {
        m_browser->retry();
    }
}

void CloudFileDialog::on_fileList_itemDoubleClicked(QTableWidgetItem *item)
{
    openRow(item->row());
}

// From the search to what it found.
void CloudFileDialog::enterList()
{
    FileTable *table = m_ui->fileList;
    table->setFocus(Qt::OtherFocusReason);
    if (table->currentFileId().isEmpty()) {
        table->makeCurrent(QString(), 0, FileTable::Scroll::ToRow);
    }
}

void CloudFileDialog::openRow(int row)
{
    const FileItem *file = m_browser->file(m_ui->fileList->fileIdAt(row));
    if (!file || m_ui->fileList->isRowHidden(row)) {
        return;
    }
    if (m_ui->fileList->isFolderAt(row)) {
        const FileItem folder = *file; // the browser's own goes with the rows
        m_browser->openFolder(folder);
        m_ui->fileNameSearch->clear();
        m_ui->pathNavList->scrollTo(m_browser->pathModel()->index(m_browser->depth() - 1, 0));
    } else if (isVideo(*file)) {
        openVideo(*file);
    } else {
        showSingleToast(QStringLiteral("这个文件不是视频，无法播放"));
    }
}

void CloudFileDialog::openVideo(const FileItem &file)
{
    PlayRequest request{m_user, file, m_browser->videos(), PlayHistory()};
    if (!loadPlayHistory(file.file_id, request.history)) {
        request.history = PlayHistory();
        request.history.fileId = file.file_id;
        request.history.parentFileId = m_browser->folderId();
        request.history.userId = m_user.userId.value();
        request.history.name = file.name;
    }
    emit videoOpenRequested(request);
}

void CloudFileDialog::showWatched(const PlayHistory &row)
{
    m_watchMarks->take(row);
}

void CloudFileDialog::reloadWatched()
{
    m_watchMarks->reload();
}

void CloudFileDialog::goTo(int index)
{
    if (index < 0 || index >= m_browser->depth() - 1) {
        return;
    }
    m_ui->fileNameSearch->clear();
    m_browser->goTo(index);
}

void CloudFileDialog::on_btnBack_clicked()
{
    goTo(m_browser->depth() - 2);
}

void CloudFileDialog::on_pathNavList_clicked(const QModelIndex &index)
{
    goTo(index.row());
}

void CloudFileDialog::on_btnRefresh_clicked()
{
    m_browser->reload();
    refreshRest();
}

void CloudFileDialog::refreshRest()
{
    m_ui->fileNameSearch->clear();
    m_diskSpace->request();
}

void CloudFileDialog::on_fileNameSearch_textChanged(const QString & /*text*/)
{
    applyFilter();
    showState();
}

void CloudFileDialog::on_fileTypeList_currentIndexChanged(int /*index*/)
{
    applyFilter();
    saveListState();
    showState();
}

void CloudFileDialog::on_fileList_cellChanged(int row, int column)
{
    if (column == FileTable::NameColumn) {
        m_actions->sendName(row);
    }
}

void CloudFileDialog::rightMenuClicked(QAction *action)
{
    m_actions->run(action);
}

void CloudFileDialog::on_btnCreateFolder_clicked()
{
    m_actions->createFolder();
}

void CloudFileDialog::on_btnDelete_clicked()
{
    m_actions->deleteSelected(m_ui->checkDelToRecycle->isChecked());
}

void CloudFileDialog::on_btnNewUser_clicked()
{
    emit newUserWanted();
}

void CloudFileDialog::on_btnUserLogout_clicked()
{
    emit logoutWanted();
}

void CloudFileDialog::on_checkDelToRecycle_clicked(bool checked)
{
    AppSettings().setDelToRecycle(checked);
    emit listSettingsChanged();
}

void CloudFileDialog::onFolderCreated(const QString &fileId)
{
    // The new folder is to be seen, whatever kind of file was looked for.
    const QVariant kind = m_ui->fileTypeList->currentData();
    if (kind != -1 && kind != static_cast<int>(FileKind::Folder)) {
        m_ui->fileTypeList->setCurrentIndex(0);
    }
    m_browser->reloadGently(fileId);
    refreshRest();
}

void CloudFileDialog::onFileDone(const FileBatch &batch, const BatchFile &file)
{
    if (batch.order.user.userId.value() != userId()) {
        return;
    }
    m_browser->removeFile(file.id, batch.order.targetFolderId);
    // Entered while it was on its way: the folder is no longer there to be shown.
    const int place = m_browser->placeInPath(file.id);
    if (place > 0) {
        goTo(place - 1);
    }
}

void CloudFileDialog::onBatchFinished(const FileBatch &batch)
{
    const BatchOrder &order = batch.order;
    if (order.user.userId.value() != userId()) {
        return;
    }
    m_browser->listAnew(order.targetFolderId);
    if (batch.needsListing) {
        m_browser->listAnew(order.sourceFolderId);
    }
    m_diskSpace->request();
}

void CloudFileDialog::initVideoQualityMenu()
{
    qDebug() << "video quality menu init";
    m_qualityMenu->showStored();
}

QString CloudFileDialog::diskSpace() const
{
    return m_diskSpace->text();
}

double CloudFileDialog::usedShare() const
{
    return m_diskSpace->usedShare();
}

void CloudFileDialog::onDiskSpace()
{
    if (AppSettings().curUserId() == userId()) {
        QString info = diskSpace();
        emit refreshDiskSpace(info);
    }
}
