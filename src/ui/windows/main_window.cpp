#include "ui/windows/main_window.h"

#include <cmath>

#include <QCloseEvent>
#include <QCoreApplication>
#include <QMouseEvent>
#include <QTimer>
#include <QWindow>

#include "api/session/system_report.h"
#include "player/play_request.h"
#include "player/player_host.h"
#include "ui/widgets/mu_item_delegate.h"
#include "ui/windows/file_dialog.h"
#include "ui/windows/help_dialog.h"
#include "ui/windows/history_dialog.h"
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
    m_statusLabel.setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    statusBar()->addPermanentWidget(&m_statusLabel, 0);
    // Once the window is on its way to the screen: encryption has a library to set up.
    QTimer::singleShot(0, this, &reportSystemInfo);
}

MainWindow::~MainWindow() = default;

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
    // Enter does what a click does.
    connect(m_ui->navListView, &QAbstractItemView::activated, this,
            &MainWindow::on_navListView_clicked);
}

void MainWindow::buildPages()
{
    m_ui->pageStack->tabBar()->hide();
    m_filePage = new FileDialog;
    m_historyPage = new HistoryDialog;
    m_helpPage = new HelpDialog;
    showTitle(m_filePage->nickname());
    connect(m_filePage, &FileDialog::userSwitched, this, &MainWindow::showUser);
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
}

void MainWindow::connectPlayer()
{
    m_player = new PlayerHost(this);
    connect(m_filePage, &FileDialog::videoOpenRequested, m_player, &PlayerHost::open);
    connect(m_historyPage, &HistoryDialog::videoOpenRequested, m_player, &PlayerHost::open);
    connect(m_player, &PlayerHost::historyUpdated, m_historyPage, &HistoryDialog::loadHistory);
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
}

void MainWindow::showUser(const QString &nickname, const QString &spaceInfo)
{
    showTitle(nickname);
    setStatusbarInfo(spaceInfo);
}

void MainWindow::showTitle(const QString &nickname)
{
    setWindowTitle(QStringLiteral("青柚云盘[") + nickname + QLatin1Char(']'));
}

void MainWindow::on_navListView_clicked(const QModelIndex &index)
{
    m_ui->pageStack->setCurrentIndex(index.row());
    if (index.row() == HistoryRow)
        m_historyPage->loadHistory();
}

void MainWindow::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_dragging = true;
    m_dragOffset = roundedPosition(event) - pos();
    event->accept();
}

void MainWindow::mouseMoveEvent(QMouseEvent *event)
{
    if (m_dragging && event->buttons() != Qt::NoButton)
        move(roundedPosition(event) - m_dragOffset);
    event->accept();
}

void MainWindow::mouseReleaseEvent(QMouseEvent * /*event*/)
{
    m_dragging = false;
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    closePlayers();
    event->accept();
    QCoreApplication::quit();
}
