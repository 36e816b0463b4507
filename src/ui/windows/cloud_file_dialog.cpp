#include "ui/windows/cloud_file_dialog.h"

#include <QActionGroup>
#include <QHeaderView>
#include <QScrollBar>
#include <QShortcut>
#include <QSignalBlocker>
#include <QStyledItemDelegate>

#include "api/records/account_records.h"
#include "app/environment/app_settings.h"
#include "app/environment/formatting.h"
#include "db/tables/operations.h"
#include "player/play_request.h"
#include "player/video_quality.h"
#include "ui/widgets/custom_pop_up_menu.h"
#include "ui/widgets/waiting_spinner_widget.h"
#include "ui/windows/file_browser.h"
#include "ui/windows/file_operations.h"
#include "ui/windows/file_table.h"
#include "ui_cloud_file_dialog.h"

CloudFileDialog::CloudFileDialog(const UserInfo &user, QWidget *parent)
    : DialogPage(parent)
    , m_ui(std::make_unique<Ui::CloudFileDialog>())
    , m_user(user)
    , m_client(user)
{
    m_ui->setupUi(this);
    setUpForm();
    setUpTable();
    setUpBrowser();
    setUpMenu();
    setUpShortcuts();
    initVideoQualityMenu();
    m_browser->reload();
    requestDiskSpace();
}

CloudFileDialog::~CloudFileDialog() = default;

void CloudFileDialog::setUpForm()
{
    const QSignalBlocker quiet(m_ui->fileTypeList);
    // The combo box's own delegate takes no heights from the skin.
    m_ui->fileTypeList->setItemDelegate(new QStyledItemDelegate(m_ui->fileTypeList));
    m_ui->fileTypeList->addItem(QStringLiteral("全部"), -1);
    for (const FileKindInfo &info : fileKinds())
        m_ui->fileTypeList->addItem(info.name, static_cast<int>(info.kind));
    m_ui->checkDelToRecycle->setChecked(AppSettings().delToRecycle());
    m_ui->fileNameSearch->setClearButtonEnabled(true);
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
    m_operations = new FileOperations(m_user, this);
    const QAbstractItemModel *path = m_browser->path().model();
    m_ui->pathNavList->setModel(m_browser->path().model());
    // The folder that is shown stays in sight, also in a window that becomes narrow.
    QScrollBar *pathBar = m_ui->pathNavList->horizontalScrollBar();
    connect(pathBar, &QScrollBar::rangeChanged, pathBar,
            [pathBar](int /*minimum*/, int maximum) { pathBar->setValue(maximum); });
    for (const auto changed : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(path, changed, this, [this] { updateBackButton(); });
    updateBackButton();
    connect(m_browser, &FileBrowser::loadingChanged, this, &CloudFileDialog::showLoading);
    connect(m_browser, &FileBrowser::filled, this, &CloudFileDialog::initVideoQualityMenu);
    connect(m_browser, &FileBrowser::countChanged, m_ui->countLabel,
            [this](int count) { m_ui->countLabel->setText(QStringLiteral("%1项").arg(count)); });
    connect(m_operations, &FileOperations::done, this,
            [this](FileOperation /*operation*/, const QString &fileId, const QString &target) {
                takeOperationSuccess(fileId, target);
            });
    connect(m_operations, &FileOperations::failed, this, &CloudFileDialog::takeOperationFailure);
}

void CloudFileDialog::setUpShortcuts()
{
    const auto add = [this](const QKeySequence &keys, QWidget *place, Qt::ShortcutContext context,
                            auto action) {
        auto *shortcut = new QShortcut(keys, place);
        shortcut->setContext(context);
        connect(shortcut, &QShortcut::activated, this, action);
    };
    const auto openCurrent = [this] { openRow(m_ui->fileList->currentRow()); };
    const auto openPath = [this] { goTo(m_ui->pathNavList->currentIndex().row()); };
    const auto search = [this] {
        m_ui->fileNameSearch->setFocus(Qt::ShortcutFocusReason);
        m_ui->fileNameSearch->selectAll();
    };
    const Qt::ShortcutContext page = Qt::WidgetWithChildrenShortcut;
    const Qt::ShortcutContext window = Qt::WindowShortcut; // while the page is the one shown
    add(Qt::Key_F2, this, page, &CloudFileDialog::renameCurrent);
    add(Qt::Key_F5, this, window, &CloudFileDialog::on_btnRefresh_clicked);
    add(Qt::Key_Delete, this, page, &CloudFileDialog::on_btnDelete_clicked);
    add(Qt::Key_Backspace, this, page, &CloudFileDialog::on_btnBack_clicked);
    add(QKeySequence::Find, this, window, search);
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
        add(key, m_ui->fileList, Qt::WidgetShortcut, openCurrent);
        add(key, m_ui->pathNavList, Qt::WidgetShortcut, openPath);
    }
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Down})
        add(key, m_ui->fileNameSearch, Qt::WidgetShortcut, &CloudFileDialog::enterList);
    add(Qt::Key_Escape, m_ui->fileNameSearch, Qt::WidgetShortcut, [this] {
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

void CloudFileDialog::updateBackButton()
{
    m_ui->btnBack->setEnabled(m_browser->path().count() > 1);
}

void CloudFileDialog::showLoading(bool loading)
{
    if (loading)
        m_spinner->start();
    else
        m_spinner->stop();
}

void CloudFileDialog::onHeaderClicked(int column)
{
    QHeaderView *header = m_ui->fileList->horizontalHeader();
    qDebug() << "header clicked:" << column << header->sortIndicatorOrder();
    header->setSortIndicator(column, header->sortIndicatorOrder());
    m_ui->fileList->sortByHeader();
    const QStringList fields{QStringLiteral("name"), QStringLiteral("size"),
                             QStringLiteral("updated_at")};
    AppSettings settings;
    settings.setFileListOrderBy(fields.value(column, QStringLiteral("updated_at")));
    settings.setFileOrderDirection(header->sortIndicatorOrder() == Qt::DescendingOrder
                                       ? QStringLiteral("DESC")
                                       : QStringLiteral("ASC"));
    emit listSettingsChanged();
}

void CloudFileDialog::onScrollBarValueChanged(int value)
{
    if (value == m_ui->fileList->verticalScrollBar()->maximum())
        m_browser->loadNextPage();
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
    if (table->currentFileId().isEmpty())
        table->makeCurrent(QString(), 0, FileTable::Scroll::ToRow);
}

void CloudFileDialog::openRow(int row)
{
    const FileItem *file = m_browser->file(m_ui->fileList->fileIdAt(row));
    if (!file || m_ui->fileList->isRowHidden(row))
        return;
    if (m_ui->fileList->isFolderAt(row)) {
        const FileItem folder = *file;
        if (m_browser->openFolder(folder)) {
            m_ui->fileNameSearch->clear();
            m_ui->pathNavList->scrollTo(
                m_browser->path().model()->index(m_browser->path().count() - 1, 0));
        }
    } else if (isVideo(*file)) {
        openVideo(*file);
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

void CloudFileDialog::goTo(int index)
{
    if (index < 0 || index >= m_browser->path().count() - 1)
        return;
    m_ui->fileNameSearch->clear();
    m_browser->goTo(index);
}

void CloudFileDialog::on_btnBack_clicked()
{
    goTo(m_browser->path().count() - 2);
}

void CloudFileDialog::on_pathNavList_clicked(const QModelIndex &index)
{
    goTo(index.row());
}

void CloudFileDialog::on_btnRefresh_clicked()
{
    m_browser->reload();
    m_ui->fileNameSearch->clear();
    requestDiskSpace();
}

void CloudFileDialog::on_fileNameSearch_textChanged(const QString &text)
{
    applyFilter();
    // Otherwise "nothing found" would be said of entries that nobody has looked at.
    if (!text.isEmpty())
        m_browser->fillView();
}

void CloudFileDialog::on_fileTypeList_currentIndexChanged(int /*index*/)
{
    applyFilter();
    saveListState();
    m_browser->fillView();
}

void CloudFileDialog::initVideoQualityMenu()
{
    qDebug() << "video quality menu init";
    if (!m_ui->btnVideoQuality->menu())
        fillVideoQualityMenu();
    showVideoQuality(AppSettings().videoQuality());
}

// Once: the user may have the menu open while a page arrives.
void CloudFileDialog::fillVideoQualityMenu()
{
    auto *menu = new CustomPopUpMenu(this);
    for (const VideoQuality &quality : videoQualities()) {
        QAction *action = menu->addAction(quality.listText);
        action->setCheckable(true);
        connect(action, &QAction::triggered, this, [this, id = quality.id] { chooseQuality(id); });
    }
    m_ui->btnVideoQuality->setMenu(menu);
}

void CloudFileDialog::showVideoQuality(const QString &id)
{
    const QString text = qualityListText(id);
    m_ui->btnVideoQuality->setText(text);
    for (QAction *action : m_ui->btnVideoQuality->menu()->actions())
        action->setChecked(action->text() == text);
}

void CloudFileDialog::chooseQuality(const QString &id)
{
    AppSettings().setVideoQuality(id);
    showVideoQuality(id);
    emit listSettingsChanged();
}

void CloudFileDialog::requestDiskSpace()
{
    const QString step = QStringLiteral("getSpaceInfo");
    m_client.spaceInfo(
        m_replies.guard(step, [this](const SpaceInfo &space) { takeDiskSpace(space); }),
        m_replies.guard(step, [](const QString &error, int /*code*/) {
            qDebug() << "getSpaceInfo erro:" << error;
        }));
}

void CloudFileDialog::takeDiskSpace(const SpaceInfo &space)
{
    const SpaceInfoItem &drive = space.personal_space_info;
    m_diskSpace = formatSize(QString::number(drive.used_size)) + QStringLiteral(" / ") +
                  formatSize(QString::number(drive.total_size));
    // Behind another tab. The settings do not say which one is shown: processes share them.
    if (parentWidget() && isHidden())
        return;
    QString info = m_diskSpace;
    emit refreshDiskSpace(info);
}
