#include "ui/windows/main_window.h"

#include <QListView>
#include <QPushButton>
#include <QStatusBar>
#include <QTabBar>
#include <QTableWidget>

#include "app/environment/app_settings.h"
#include "ui/widgets/mu_item_delegate.h"
#include "windows/drive_page.h"

class TestMainWindow final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void hasThreePages();
    void navigates();
    void theHistoryRowReloadsEachTime();
    void titleAndStatusFollowTheUser();
    void withoutUsersTheTitleIsBare();
    void leftButtonDrags();
    void otherButtonsDoNot();
    void reportsTheSystem();
    void pagesStayOnEscape();

private:
    std::unique_ptr<DriveFixture> m_drive;
    UserInfo m_user;
};

namespace {

QListView *navigation(const MainWindow &window)
{
    return window.findChild<QListView *>(QStringLiteral("navListView"));
}

QTabWidget *stack(const MainWindow &window)
{
    return window.findChild<QTabWidget *>(QStringLiteral("pageStack"));
}

QTableWidget *historyTable(const MainWindow &window)
{
    return stack(window)->widget(1)->findChild<QTableWidget *>();
}

void choose(const MainWindow &window, int row)
{
    QListView *list = navigation(window);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      list->visualRect(list->model()->index(row, 0)).center());
}

QString status(const MainWindow &window)
{
    return window.statusBar()->findChild<QLabel *>()->text();
}

} // namespace

void TestMainWindow::init()
{
    m_drive = std::make_unique<DriveFixture>(2);
    m_user = logInAs(*m_drive, QStringLiteral("小明"));
}

void TestMainWindow::cleanup()
{
    settle(*m_drive);
    m_drive.reset();
}

void TestMainWindow::hasThreePages()
{
    const MainWindow window;
    QStringList tabs;
    for (int index = 0; index < stack(window)->count(); ++index)
        tabs << stack(window)->tabText(index);
    QCOMPARE(tabs, QStringList({QStringLiteral("文件管理"), QStringLiteral("历史"),
                                QStringLiteral("关于")}));
    QVERIFY(stack(window)->tabBar()->isHidden());
    const QAbstractItemModel *model = navigation(window)->model();
    QStringList rows;
    for (int row = 0; row < model->rowCount(); ++row) {
        const auto data = model->index(row, 0).data(Qt::UserRole + 1).value<MuItemData>();
        rows << data.text + QLatin1Char(' ') + data.iconPath;
        QVERIFY2(!QIcon(data.iconPath).pixmap(40).isNull(), qPrintable(data.iconPath));
    }
    QCOMPARE(rows, QStringList({QStringLiteral("文件管理 :image/file.png"),
                                QStringLiteral("观看历史 :/image/history.png"),
                                QStringLiteral("关于青柚 :/image/help.png")}));
}

void TestMainWindow::navigates()
{
    MainWindow window;
    window.show();
    QCOMPARE(stack(window)->currentIndex(), 0);
    for (const int row : {2, 1, 0}) {
        choose(window, row);
        QCOMPARE(stack(window)->currentIndex(), row);
    }
    for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Return})
        QTest::keyClick(navigation(window), key);
    QCOMPARE(stack(window)->currentIndex(), 1);
}

void TestMainWindow::theHistoryRowReloadsEachTime()
{
    MainWindow window;
    window.show();
    for (int time = 1; time <= 2; ++time) {
        PlayHistory history;
        history.fileId = QString::number(time);
        history.userId = m_user.userId.value();
        savePlayHistory(history);
        choose(window, 1);
        QCOMPARE(historyTable(window)->rowCount(), time);
    }
}

void TestMainWindow::titleAndStatusFollowTheUser()
{
    logInAs(*m_drive, QStringLiteral("小红"), 1);
    AppSettings().setCurUserId(m_user.userId.value());
    m_drive->server().makeFile("a", std::string(2048, 'x'), 1);
    MainWindow window;
    window.show();
    QCOMPARE(window.windowTitle(), QStringLiteral("青柚云盘[小明]"));
    QTRY_COMPARE(status(window), QStringLiteral("0.00 B / 1.00 TB"));
    auto *users = window.findChild<QTabWidget *>(QStringLiteral("userTab"));
    auto *other = qobject_cast<CloudFileDialog *>(users->widget(1));
    QTRY_COMPARE(other->diskSpace(), QStringLiteral("2.00 KB / 1.00 TB"));
    QTest::mouseClick(users->tabBar(), Qt::LeftButton, {}, users->tabBar()->tabRect(1).center());
    QCOMPARE(window.windowTitle(), QStringLiteral("青柚云盘[小红]"));
    QCOMPARE(status(window), QStringLiteral("2.00 KB / 1.00 TB"));
    users->widget(1)->findChild<QPushButton *>(QStringLiteral("btnUserLogout"))->click();
    QCOMPARE(window.windowTitle(), QStringLiteral("青柚云盘[小明]"));
    QTRY_COMPARE(status(window), QStringLiteral("0.00 B / 1.00 TB"));
}

void TestMainWindow::withoutUsersTheTitleIsBare()
{
    removeUser(m_user.userId.value());
    const MainWindow window;
    QCOMPARE(window.windowTitle(), QStringLiteral("青柚云盘[]"));
    QVERIFY(status(window).isEmpty());
}

void TestMainWindow::leftButtonDrags()
{
    MainWindow window;
    window.move(100, 100);
    const auto send = [&window](QEvent::Type type, Qt::MouseButton button, Qt::MouseButtons buttons,
                                QPointF global) {
        QMouseEvent event(type, QPointF(5, 5), QPointF(5, 5), global, button, buttons,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &event);
    };
    send(QEvent::MouseButtonPress, Qt::LeftButton, Qt::LeftButton, {105.4, 104.5});
    send(QEvent::MouseMove, Qt::NoButton, Qt::LeftButton, {155, 125});
    QCOMPARE(window.pos(), QPoint(150, 120));
    send(QEvent::MouseMove, Qt::NoButton, Qt::NoButton, {500, 500});
    QCOMPARE(window.pos(), QPoint(150, 120));
    send(QEvent::MouseButtonRelease, Qt::RightButton, Qt::LeftButton, {155, 125});
    send(QEvent::MouseMove, Qt::NoButton, Qt::LeftButton, {200, 200});
    QCOMPARE(window.pos(), QPoint(150, 120));
}

void TestMainWindow::otherButtonsDoNot()
{
    MainWindow window;
    window.move(100, 100);
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), QPointF(5, 5), QPointF(105, 105),
                      Qt::RightButton, Qt::RightButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &press);
    QMouseEvent move(QEvent::MouseMove, QPointF(5, 5), QPointF(5, 5), QPointF(300, 300),
                     Qt::NoButton, Qt::RightButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &move);
    QCOMPARE(window.pos(), QPoint(100, 100));
}

void TestMainWindow::reportsTheSystem()
{
    const MainWindow window;
    QTRY_COMPARE(m_drive->server().reports().size(), 1U);
}

void TestMainWindow::pagesStayOnEscape()
{
    MainWindow window;
    window.show();
    for (int index = 0; index < 3; ++index) {
        choose(window, index);
        QWidget *page = stack(window)->widget(index);
        for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return})
            QTest::keyClick(page, key);
        QVERIFY(page->isVisible());
    }
}

QTEST_MAIN(TestMainWindow)
#include "tst_main_window.moc"
