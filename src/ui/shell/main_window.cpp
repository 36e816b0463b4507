#include "ui/shell/main_window.h"

#include <cmath>

#include <QCloseEvent>
#include <QCoreApplication>
#include <QMouseEvent>
#include <QTimer>
#include <QWindow>

#include "api/session/system_report.h"
#include "player/session/play_request.h"
#include "player/window/keys_dialog.h"
#include "player/window/player_host.h"
#include "ui/files/batch_status.h"
#include "ui/files/file_names.h"
#include "ui/history/history_dialog.h"
#include "ui/shell/file_dialog.h"
#include "ui/shell/help_dialog.h"
#include "ui/shell/space_bar.h"
#include "ui/widgets/list_keys.h"
#include "ui/widgets/mu_item_delegate.h"
#include "ui/widgets/questions.h"
#include "ui_main_window.h"

namespace {

struct Page
{
    QString navigationText;
    QString iconPath;
    QString tabText;
};

constexpr int HistoryRow = 1;

const QVector<Page> &pages()
{
    static const QVector<Page> table{
        {QStringLiteral("文件管理"), QStringLiteral(":image/file.png"), QStringLiteral("文件管理")},
        {QStringLiteral("观看历史"), QStringLiteral(":/image/history.png"), QStringLiteral("历史")},
        {QStringLiteral("关于青柚"), QStringLiteral(":/image/help.png"), QStringLiteral("关于")},
    };
    return table;
}

// Halves away from zero, which qRound() does not do left of the primary screen.
QPoint roundedPosition(const QMouseEvent *event)
{
    const QPointF position = event->screenPos();
    return {int(std::lround(position.x())), int(std::lround(position.y()))};
}

} // namespace

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent), m_ui(std::make_unique<Ui::MainWindow>())
{
    m_ui->setupUi(this);
    keepOpenGlAway();
    fillNavigation();
    buildPages();
    connectPlayer();
    fillStatusBar();
    addShortcuts(list_keys::Action::ShowKeys, this, Qt::WindowShortcut, this,
                 [this] { KeysDialog::open(this); });
    // Once the window is on its way to the screen: encryption has a library to set up.
    QTimer::singleShot(0, this, &reportSystemInfo);
}

MainWindow::~MainWindow()
{
    m_ui->pageStack->disconnect(this);
    m_ui->pageStack->removeEventFilter(this);
    // They use the batches, which as a member would go before the window's children.
    delete m_filePage;
    delete m_batchStatus;
}

// Qt makes every window one that can show OpenGL and loads the driver for it. Nothing in this one
// does; the driver is left to the player.
void MainWindow::keepOpenGlAway()
{
    setAttribute(Qt::WA_NativeWindow); // the handle exists from now on
    windowHandle()->setSurfaceType(QSurface::RasterSurface);
}

void MainWindow::fillNavigation()
{
    for (const Page &page : pages()) {
        auto *item = new QStandardItem;
        item->setEditable(false);
        item->setData(page.navigationText, Qt::AccessibleTextRole);
        item->setData(QVariant::fromValue(MuItemData{page.iconPath, page.navigationText}),
                      MuItemDelegate::DataRole);
        m_navigation.appendRow(item);
    }
    m_ui->navListView->setModel(&m_navigation);
    m_ui->navListView->setItemDelegate(new MuItemDelegate(m_ui->navListView));
    m_ui->navListView->setCurrentIndex(m_navigation.index(0, 0));
    connect(m_ui->navListView->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &MainWindow::onNavigated);
    // Ctrl would take the light off the row whose page is shown.
    connect(m_ui->navListView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this](const QItemSelection &selected) {
                if (selected.isEmpty()) {
                    m_ui->navListView->setCurrentIndex(m_ui->navListView->currentIndex());
                }
            });
    // Enter does what a click does.
    connect(m_ui->navListView, &QAbstractItemView::activated, this,
            &MainWindow::on_navListView_clicked);
}

void MainWindow::buildPages()
{
    m_ui->pageStack->tabBar()->hide();
    // Hidden, the bar would hold the keyboard unseen: by itself it has what the stack is given.
    m_ui->pageStack->tabBar()->setFocusPolicy(Qt::NoFocus);
    m_ui->pageStack->setFocusProxy(nullptr);
    m_ui->pageStack->setFocusPolicy(Qt::NoFocus);
    m_ui->pageStack->installEventFilter(this);
    m_filePage = new FileDialog(&m_batches);
    m_historyPage = new HistoryDialog;
    m_helpPage = new HelpDialog;
    showTitle(m_filePage->nickname());
    connect(m_filePage, &FileDialog::userSwitched, this, &MainWindow::onUserSwitched);
    const std::initializer_list<QWidget *> widgets{m_filePage, m_historyPage, m_helpPage};
    int index = 0;
    for (QWidget *widget : widgets) {
        m_ui->pageStack->insertTab(index, widget, pages().at(index).tabText);
        ++index;
    }
    connect(m_filePage, &FileDialog::refreshDiskSpace, this,
            [this](QString &info) { setStatusbarInfo(info); });
    m_ui->pageStack->setFocus(Qt::OtherFocusReason);
    m_ui->pageStack->setCurrentIndex(0);
    connect(m_ui->pageStack, &QTabWidget::currentChanged, this, &MainWindow::onPageTurned);
}

void MainWindow::fillStatusBar()
{
    m_statusLabel.setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_spaceBar = new SpaceBar;
    statusBar()->addPermanentWidget(m_spaceBar, 0);
    m_spaceBar->setShare(-1);
    statusBar()->addPermanentWidget(&m_statusLabel, 0);
    m_listStatus.setTextFormat(Qt::PlainText);
    statusBar()->addWidget(&m_listStatus, 1);
    m_batchStatus = new BatchStatus(&m_batches);
    statusBar()->insertPermanentWidget(1, m_batchStatus); // left of the disk space
    m_batchStatus->hide();                                // the bar has shown it
    connect(m_filePage, &FileDialog::listStatusChanged, this, &MainWindow::showListStatus);
    connect(&m_batches, &FileBatches::finished, this, &MainWindow::onBatchFinished);
    connect(m_filePage->names(), &FileNames::finished, this, [this](bool done) {
        m_nameHasFailed = m_nameHasFailed || !done;
        onBatchFinished();
    });
    showListStatus();
}

void MainWindow::connectPlayer()
{
    m_player = new PlayerHost(this);
    connect(m_filePage, &FileDialog::videoOpenRequested, m_player, &PlayerHost::open);
    connect(m_historyPage, &HistoryDialog::videoOpenRequested, m_player, &PlayerHost::open);
    connect(m_historyPage, &HistoryDialog::skipTimesCleared, m_player,
            &PlayerHost::reloadSkipTimes);
    connect(m_player, &PlayerHost::historyUpdated, m_historyPage, &HistoryDialog::loadWhenShown);
    connect(m_player, &PlayerHost::historyUpdated, m_filePage, &FileDialog::showWatched);
    connect(m_historyPage, &HistoryDialog::historyChanged, m_filePage, &FileDialog::reloadWatched);
    connect(m_historyPage, &HistoryDialog::skipTimesCleared, m_filePage,
            &FileDialog::reloadWatched);
    connect(m_player, &PlayerHost::videoQualityChanged, m_filePage,
            &FileDialog::updateVideoQuality);
}

void MainWindow::closePlayers()
{
    m_player->closeAll();
}

void MainWindow::setStatusbarInfo(const QString &text)
{
    m_statusLabel.setText(text);
    m_spaceBar->setShare(m_filePage->usedShare());
}

void MainWindow::onUserSwitched(const QString &nickname, const QString &spaceInfo)
{
    showTitle(nickname);
    setStatusbarInfo(spaceInfo);
    m_historyPage->loadWhenShown();
}

void MainWindow::showTitle(const QString &nickname)
{
    setWindowTitle(QStringLiteral("青柚云盘[") + nickname + QLatin1Char(']'));
}

void MainWindow::on_navListView_clicked(const QModelIndex &index)
{
    if (index.row() == HistoryRow) {
        m_historyPage->loadHistory(); // hidden, so that it is not read once more when shown
    }
    m_ui->pageStack->setCurrentIndex(index.row());
}

void MainWindow::onNavigated(const QModelIndex &current)
{
    on_navListView_clicked(current);
}

void MainWindow::onPageTurned(int index)
{
    m_ui->navListView->setCurrentIndex(m_navigation.index(index, 0));
    showListStatus();
}

void MainWindow::showListStatus()
{
    const bool isShown = m_ui->pageStack->currentWidget() == m_filePage;
    m_listStatus.setText(isShown ? m_filePage->listStatus() : QString());
}

bool MainWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_ui->pageStack && event->type() == QEvent::KeyPress) {
        // The pages are turned by the navigation alone, not by Ctrl+Tab.
        event->ignore();
        return true;
    }
    if (watched == m_ui->pageStack && event->type() == QEvent::FocusIn) {
        m_filePage->focusList();
    }
    return QMainWindow::eventFilter(watched, event);
}

void MainWindow::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        return;
    }
    m_dragging = true;
    m_dragOffset = roundedPosition(event) - pos();
    event->accept();
}

void MainWindow::mouseMoveEvent(QMouseEvent *event)
{
    if (m_dragging && event->buttons() != Qt::NoButton) {
        move(roundedPosition(event) - m_dragOffset);
    }
    event->accept();
}

void MainWindow::mouseReleaseEvent(QMouseEvent * /*event*/)
{
    m_dragging = false;
}

int MainWindow::remaining() const
{
    return m_batches.remaining() + m_filePage->names()->remaining();
}

bool MainWindow::mayStopBatches()
{
    m_nameHasFailed = false;
    const QString text = QStringLiteral("还有 %1 个文件没有处理完。").arg(remaining());
    const std::optional<int> choice =
        askChoice(this, QStringLiteral("退出"), text,
                  {QStringLiteral("处理完再退出(&W)"), QStringLiteral("就此停止(&S)")});
    // They may have ended while the user thought; then no end is to come that could close.
    m_closesAfterBatches = choice == 0 && remaining() > 0;
    return choice == 1 || (choice == 0 && remaining() == 0 && !hasFailures());
}

// What failed is seen before the window goes.
bool MainWindow::hasFailures() const
{
    return m_nameHasFailed || m_batchStatus->hasFailures();
}

void MainWindow::onBatchFinished()
{
    if (!m_closesAfterBatches || remaining() > 0) {
        return;
    }
    m_closesAfterBatches = false;
    if (!hasFailures()) {
        close();
    }
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    if (remaining() > 0 && !mayStopBatches()) {
        event->ignore();
        return;
    }
    closePlayers();
    event->accept();
    QCoreApplication::quit();
}
