#include "ui/history/history_dialog.h"

#include <array>
#include <utility>

#include <QHeaderView>
#include <QScrollBar>

#include "api/records/file_records.h"
#include "app/environment/app_settings.h"
#include "app/environment/formatting.h"
#include "db/tables/operations.h"
#include "player/session/play_request.h"
#include "ui/files/file_kinds.h"
#include "ui/history/history_name_delegate.h"
#include "ui/history/watch_progress_delegate.h"
#include "ui/pictures/picture.h"
#include "ui/pictures/pictures_in_sight.h"
#include "ui/widgets/list_keys.h"
#include "ui/widgets/sort_table_widget_item.h"
#include "ui/widgets/toast.h"
#include "ui_history_dialog.h"

namespace {

enum Column { NameColumn, ProgressColumn, TimeColumn, ColumnCount };

constexpr int IdRole = Qt::UserRole;         // the row's key in the database
constexpr int FileIdRole = Qt::UserRole + 2; // the drive's
constexpr std::array<int, ColumnCount> ColumnWidths{360, 112, 180};

QString progressText(const PlayHistory &history)
{
    const int percent = qRound(history.playPercentage.value() * 100);
    return QStringLiteral("%1%  %2/%3")
        .arg(percent)
        .arg(formatClock(history.playPosition.value()), formatClock(history.duration.value()));
}

} // namespace

HistoryDialog::HistoryDialog(QWidget *parent)
    : DialogPage(parent), m_ui(std::make_unique<Ui::HistoryDialog>())
{
    m_ui->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    setUpTable();
    connect(m_ui->undoBar, &UndoBar::undoRequested, this, &HistoryDialog::onUndoRequested);
    connect(m_ui->undoBar, &UndoBar::expired, this, [this] { m_removed.clear(); });
}

HistoryDialog::~HistoryDialog() = default;

void HistoryDialog::setUpTable()
{
    QTableWidget *table = m_ui->historyList;
    m_ui->historyList->setColumns(
        {QStringLiteral("名称"), QStringLiteral("观看进度"), QStringLiteral("观看时间")});
    setColumnWidths();
    QHeaderView *header = table->horizontalHeader();
    header->setSortIndicator(TimeColumn, Qt::DescendingOrder);
    table->setItemDelegateForColumn(ProgressColumn, new WatchProgressDelegate(table));
    m_ui->historyList->setNotice(
        {QStringLiteral("还没有观看记录"), QStringLiteral(":/image/history.png")});
    connect(header, &QHeaderView::sectionClicked, this, &HistoryDialog::onHeaderClicked);
    connect(table, &QTableWidget::itemDoubleClicked, this, &HistoryDialog::onItemDoubleClicked);
    setUpShortcuts();
    setUpPictures();
}

// The history knows no addresses: the drive is asked for them.
void HistoryDialog::setUpPictures()
{
    QTableWidget *table = m_ui->historyList;
    table->setIconSize(HistoryNameDelegate::PictureSize);
    table->setItemDelegateForColumn(NameColumn, new HistoryNameDelegate(table));
    m_pictures = new PicturesInSight(table, [](const QModelIndex &row) {
        const QModelIndex name = row.siblingAtColumn(NameColumn);
        return WantedThumbnail{name.data(FileIdRole).toString(), QString()};
    });
    connect(&m_pictures->thumbnails(), &Thumbnails::arrived, this, &HistoryDialog::showPicture);
}

void HistoryDialog::showPicture(const QString &fileId)
{
    const QTableWidget *table = m_ui->historyList;
    for (int row = 0; row < table->rowCount(); ++row) {
        QTableWidgetItem *name = table->item(row, NameColumn);
        if (name->data(FileIdRole).toString() == fileId) {
            name->setIcon(pictureIcon(m_pictures->thumbnails().picture(fileId)));
        }
    }
}

void HistoryDialog::setUpShortcuts()
{
    QTableWidget *table = m_ui->historyList;
    const auto openCurrent = [this, table] { onItemDoubleClicked(table->currentItem()); };
    using list_keys::Action;
    addShortcuts(Action::Open, table, Qt::WidgetShortcut, this, openCurrent);
    addShortcuts(Action::Remove, table, Qt::WidgetShortcut, this,
                 &HistoryDialog::on_btnRemovePlayHistory_clicked);
    addShortcuts(Action::Refresh, this, Qt::WindowShortcut, this,
                 &HistoryDialog::on_btnRefresh_clicked);
}

void HistoryDialog::setColumnWidths()
{
    for (int column = 0; column < ColumnCount; ++column) {
        m_ui->historyList->setColumnWidth(column, ColumnWidths.at(column));
    }
}

void HistoryDialog::showEvent(QShowEvent *event)
{
    DialogPage::showEvent(event);
    if (m_isStale) {
        loadHistory();
    }
}

// A player writes the history again and again, on the thread that draws its video.
void HistoryDialog::loadWhenShown()
{
    m_isStale = true;
    if (isVisible()) {
        loadHistory();
    }
}

void HistoryDialog::loadHistory()
{
    qDebug() << "load history...";
    m_isStale = false;
    RowTable *table = m_ui->historyList;
    changeUser(AppSettings().curUserId());
    const bool hadSelection = table->selectionModel()->hasSelection();
    const int row = table->currentRow();
    const int top = table->topRow();
    listPlayHistory(m_rows);
    removeGoneRows();
    setColumnWidths();
    fillRows();
    if (table->topRow() != top) {
        table->verticalScrollBar()->setValue(top);
    }
    // What was selected has been removed: on from its place.
    if (hadSelection && !table->selectionModel()->hasSelection() && table->rowCount() > 0) {
        table->selectRow(qBound(0, row, table->rowCount() - 1));
    }
    m_pictures->lookAgain();
}

void HistoryDialog::changeUser(const QString &userId)
{
    if (std::exchange(m_userId, userId) == userId) {
        return;
    }
    // What stands in the same row is another user's: nobody has chosen it.
    m_ui->historyList->setRowCount(0);
    m_ui->undoBar->withdraw();
    m_removed.clear();
    UserInfo owner;
    loadUserInfo(userId, owner);
    m_pictures->thumbnails().setUser(owner);
}

int HistoryDialog::idAt(int row) const
{
    return m_ui->historyList->item(row, NameColumn)->data(IdRole).toInt();
}

QSet<int> HistoryDialog::selectedIds() const
{
    QSet<int> ids;
    for (const QModelIndex &index : m_ui->historyList->selectionModel()->selectedRows()) {
        ids.insert(idAt(index.row()));
    }
    return ids;
}

void HistoryDialog::removeGoneRows()
{
    QSet<int> ids;
    for (const PlayHistory &history : m_rows) {
        ids.insert(history.id.value());
    }
    // Together where they lie together: each removal costs the view the same.
    int end = m_ui->historyList->rowCount();
    for (int row = end; row >= 0; --row) {
        if (row == 0 || ids.contains(idAt(row - 1))) {
            if (row < end) {
                m_ui->historyList->model()->removeRows(row, end - row);
            }
            end = row - 1;
        }
    }
}

void HistoryDialog::fillRows()
{
    QTableWidget *table = m_ui->historyList;
    QHash<int, int> rows; // by id
    int last = table->rowCount();
    for (int row = 0; row < last; ++row) {
        rows.insert(idAt(row), row);
    }
    table->setRowCount(m_rows.size());
    for (const PlayHistory &history : m_rows) {
        const auto known = rows.constFind(history.id.value());
        if (known == rows.cend()) {
            fillRow(last++, history);
        } else if (!shows(known.value(), history)) {
            fillRow(known.value(), history);
        }
    }
    // Those that are equal in the column stand as they are in the history.
    table->model()->sort(TimeColumn, Qt::DescendingOrder);
    onHeaderClicked(table->horizontalHeader()->sortIndicatorSection());
}

bool HistoryDialog::shows(int row, const PlayHistory &history) const
{
    const QTableWidget *table = m_ui->historyList;
    const QTableWidgetItem *name = table->item(row, NameColumn);
    return name->data(FileIdRole).toString() == history.fileId.value() &&
           name->text() == history.name.value() &&
           table->item(row, ProgressColumn)->text() == progressText(history) &&
           table->item(row, TimeColumn)->data(SortTableWidgetItem::SortValueRole).toLongLong() ==
               history.updateTime.value().toMSecsSinceEpoch();
}

void HistoryDialog::fillRow(int row, const PlayHistory &history)
{
    QTableWidget *table = m_ui->historyList;
    auto *name = SortTableWidgetItem::forName(history.name.value());
    const QImage picture = m_pictures->thumbnails().picture(history.fileId.value());
    name->setIcon(picture.isNull() ? iconOf(FileKind::Video) : pictureIcon(picture));
    name->setData(IdRole, history.id.value());
    name->setData(FileIdRole, history.fileId.value());
    const QDateTime watched = history.updateTime.value();
    const auto perMille = static_cast<qint64>(history.playPercentage.value() * 1000);
    table->setItem(row, NameColumn, name);
    table->setItem(row, ProgressColumn,
                   SortTableWidgetItem::forValue(progressText(history), perMille));
    table->setItem(
        row, TimeColumn,
        SortTableWidgetItem::forValue(formatDateTime(watched), watched.toMSecsSinceEpoch()));
}

void HistoryDialog::onHeaderClicked(int column)
{
    m_ui->historyList->sortItems(column,
                                 m_ui->historyList->horizontalHeader()->sortIndicatorOrder());
}

void HistoryDialog::on_btnRemovePlayHistory_clicked()
{
    const QSet<int> ids = selectedIds();
    QList<PlayHistory> selected;
    std::copy_if(m_rows.begin(), m_rows.end(), std::back_inserter(selected),
                 [&ids](const PlayHistory &history) { return ids.contains(history.id.value()); });
    QStringList fileIds;
    for (const PlayHistory &history : qAsConst(selected)) {
        fileIds << history.fileId.value();
    }
    removePlayHistory(fileIds);
    reloadAndOfferUndo(selected);
}

void HistoryDialog::on_btnClearPlayHistory_clicked()
{
    // The table may be older than what is cleared.
    DQList<PlayHistory> rows;
    listPlayHistory(rows);
    clearPlayHistory();
    reloadAndOfferUndo(QList<PlayHistory>(rows.begin(), rows.end()));
}

void HistoryDialog::reloadAndOfferUndo(const QList<PlayHistory> &candidates)
{
    loadHistory();
    emit historyChanged();
    const int before = m_removed.size();
    PlayHistory present;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(m_removed),
                 [this, &present](const PlayHistory &history) {
                     return history.userId.value() == m_userId &&
                            !loadPlayHistory(history.fileId.value(), present);
                 });
    if (m_removed.size() > before) {
        m_ui->undoBar->offer(QStringLiteral("已删除 %1 条观看记录").arg(m_removed.size()));
    }
}

void HistoryDialog::onUndoRequested()
{
    if (restorePlayHistory(m_removed)) {
        m_removed.clear();
    } else {
        m_ui->undoBar->offer(
            QStringLiteral("%1 条观看记录恢复失败：无法写入数据库").arg(m_removed.size()));
    }
    loadHistory();
    emit historyChanged();
}

void HistoryDialog::on_btnClearSkipCutHistory_clicked()
{
    clearFolderSettings();
    emit skipTimesCleared();
    Toast::showTip(QStringLiteral("已清除所有文件夹的片头片尾设置"));
}

void HistoryDialog::on_btnRefresh_clicked()
{
    m_pictures->thumbnails().forgetFailures();
    loadHistory();
}

const PlayHistory *HistoryDialog::historyAt(int row) const
{
    const QTableWidgetItem *name = m_ui->historyList->item(row, NameColumn);
    const int id = name ? name->data(IdRole).toInt() : 0;
    for (const PlayHistory &history : m_rows) {
        if (history.id.value() == id) {
            return &history;
        }
    }
    return nullptr;
}

void HistoryDialog::onItemDoubleClicked(QTableWidgetItem *item)
{
    if (const PlayHistory *history = item ? historyAt(item->row()) : nullptr) {
        open(*history);
    }
}

// The player finds out where the video is now, and what lies beside it.
void HistoryDialog::open(const PlayHistory &history)
{
    UserInfo user;
    if (!loadUserInfo(history.userId.value(), user)) {
        return;
    }
    FileItem video;
    video.file_id = history.fileId.value();
    video.parent_file_id = history.parentFileId.value();
    video.name = history.name.value();
    emit videoOpenRequested({user, video, {}, history});
}
