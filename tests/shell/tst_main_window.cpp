#include <QListView>
#include <QMessageBox>
#include <QPushButton>
#include <QStatusBar>
#include <QTabBar>
#include <QTableWidget>
#include <QToolButton>

#include "app/environment/app_settings.h"
#include "files/drive_page.h"
#include "player/window/player_host.h"
#include "support/fault_on.h"
#include "support/test_main.h"
#include "ui/files/batch_status.h"
#include "ui/files/file_names.h"
#include "ui/shell/file_dialog.h"
#include "ui/shell/main_window.h"
#include "ui/shell/space_bar.h"
#include "ui/widgets/mu_item_delegate.h"

namespace {

QListView *navigation(const MainWindow &window)
{
    return window.findChild<QListView *>("navListView");
}

QTabWidget *stack(const MainWindow &window)
{
    return window.findChild<QTabWidget *>("pageStack");
}

QTableWidget *historyTable(const MainWindow &window)
{
    return stack(window)->widget(1)->findChild<QTableWidget *>();
}

void choose(const MainWindow &window, int row, Qt::KeyboardModifiers keys = {})
{
    QListView *list = navigation(window);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, keys,
                      list->visualRect(list->model()->index(row, 0)).center());
}

QString status(const MainWindow &window, int part = 0)
{
    return window.statusBar()->findChildren<QLabel *>().value(part)->text();
}

} // namespace

class TestMainWindow final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        // A window that was closed has ended the program: a new one starts.
        QTimer::singleShot(0, qApp, &QCoreApplication::quit);
        QCoreApplication::exec();
        m_drive = std::make_unique<DriveFixture>(2);
        m_user = logInAs(*m_drive, "小明");
    }
    void cleanup()
    {
        settle(*m_drive);
        m_drive.reset();
    }

    void hasThreePagesAndReportsTheSystem()
    {
        const MainWindow window;
        const QAbstractItemModel *model = navigation(window)->model();
        QStringList pages;
        for (int row = 0; row < model->rowCount(); ++row) {
            const auto data = model->index(row, 0).data(Qt::UserRole + 1).value<MuItemData>();
            QVERIFY2(!QIcon(data.iconPath).pixmap(40).isNull(), qPrintable(data.iconPath));
            pages << stack(window)->tabText(row) + " " + data.text + " " + data.iconPath;
        }
        QCOMPARE(pages, QStringList({"文件管理 文件管理 :image/file.png",
                                     "历史 观看历史 :/image/history.png",
                                     "关于 关于青柚 :/image/help.png"}));
        QCOMPARE(stack(window)->count(), 3);
        QVERIFY(stack(window)->tabBar()->isHidden());
        QTRY_COMPARE(m_drive->reports().size(), 1);
    }

    void navigationAndPageAgree()
    {
        MainWindow window;
        window.show();
        const auto shown = [&window] {
            return QPair(stack(window)->currentIndex(), navigation(window)->currentIndex().row());
        };
        for (const int row : {2, 1, 0}) {
            choose(window, row);
            QCOMPARE(shown(), QPair(row, row));
            choose(window, row, Qt::ControlModifier);
            QVERIFY(navigation(window)->selectionModel()->isRowSelected(row, QModelIndex()));
        }
        QTest::keyClick(navigation(window), Qt::Key_Down);
        QCOMPARE(shown(), QPair(1, 1));
        for (const int page : {1, 0, 2}) {
            stack(window)->setCurrentIndex(page);
            QWidget *shownPage = stack(window)->widget(page);
            // Ctrl+Tab with one user, and what closes a dialog.
            QWidget *deepest = page == 0 ? shownPage->findChild<FileTable *>() : shownPage;
            QTest::keyClick(deepest, Qt::Key_Tab, Qt::ControlModifier);
            QTest::keyClick(shownPage, Qt::Key_Escape);
            QTest::keyClick(shownPage, Qt::Key_Return);
            QCOMPARE(shown(), QPair(page, page));
            QVERIFY(shownPage->isVisible());
        }
    }

    void theHistoryRowReloadsEachTime()
    {
        MainWindow window;
        window.show();
        for (int time = 1; time <= 2; ++time) {
            watch(QString::number(time));
            choose(window, 1);
            QCOMPARE(historyTable(window)->rowCount(), time);
        }
        choose(window, 0);
        watch("3");
        QTest::keyClick(navigation(window), Qt::Key_Down);
        QCOMPARE(historyTable(window)->rowCount(), 3);
    }

    void titleAndStatusFollowTheUser()
    {
        logInAs(*m_drive, "小红", 1);
        AppSettings().setCurUserId(m_user.userId.value());
        m_drive->server().makeFile("a", std::string(2048, 'x'), 1);
        MainWindow window;
        window.show();
        QCOMPARE(window.windowTitle(), QString("青柚云盘[小明]"));
        QTRY_COMPARE(status(window), QString("0.00 B / 1.00 TB"));
        QVERIFY(window.statusBar()->findChild<SpaceBar *>()->isVisible());
        auto *users = window.findChild<QTabWidget *>("userTab");
        auto *search = users->widget(0)->findChild<QLineEdit *>("fileNameSearch");
        for (const char *name : {"x", ""}) {
            search->setText(name);
            QTRY_COMPARE(status(window, 1), QString(*name ? "显示 0 / 0 项" : ""));
        }
        auto *other = qobject_cast<CloudFileDialog *>(users->widget(1));
        QTRY_COMPARE(other->diskSpace(), QString("2.00 KB / 1.00 TB"));
        watch("f1");
        choose(window, 1);
        QCOMPARE(historyTable(window)->rowCount(), 1);
        QTest::keyClick(users->tabBar(), Qt::Key_Right);
        QCOMPARE(historyTable(window)->rowCount(), 0);
        QCOMPARE(window.windowTitle(), QString("青柚云盘[小红]"));
        QCOMPARE(status(window), QString("2.00 KB / 1.00 TB"));
        users->widget(1)->findChild<QPushButton *>("btnUserLogout")->click();
        QCOMPARE(window.windowTitle(), QString("青柚云盘[小明]"));
        QTRY_COMPARE(status(window), QString("0.00 B / 1.00 TB"));
        removeUser(m_user.userId.value());
        QCOMPARE(MainWindow().windowTitle(), QString("青柚云盘[]"));
    }

    void theKeyboardStaysInTheList()
    {
        logInAs(*m_drive, "小红", 1);
        AppSettings().setCurUserId(m_user.userId.value());
        m_drive->server().makeFile("a", "", 1);
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        auto *users = window.findChild<QTabWidget *>("userTab");
        const auto listAt = [users](int user) {
            return users->widget(user)->findChild<FileTable *>();
        };
        QTRY_COMPARE(listAt(1)->rowCount(), 1);
        QCOMPARE(QApplication::focusWidget(), listAt(0));
        QTest::keyClick(listAt(0), Qt::Key_Tab, Qt::ControlModifier);
        QCOMPARE(QApplication::focusWidget(), listAt(1));
        auto *logout = users->widget(1)->findChild<QPushButton *>("btnUserLogout");
        logout->setFocus();
        QTest::keyClick(logout, Qt::Key_Space);
        QCOMPARE(users->count(), 1);
        QCOMPARE(QApplication::focusWidget(), listAt(0));
    }

    void asksBeforeABatchIsLeft_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<bool>("closesAtOnce");
        QTest::addColumn<bool>("closesAtTheEnd");
        QTest::addColumn<int>("left");
        QTest::newRow("wait") << "处理完再退出(&W)" << false << true << 0;
        QTest::newRow("wait for what fails") << "处理完再退出(&W)" << false << false << 0;
        QTest::newRow("wait for what has failed") << "处理完再退出(&W)" << false << false << -1;
        QTest::newRow("stop") << "就此停止(&S)" << true << true << 2;
        QTest::newRow("go on") << "取消" << false << false << 0;
    }
    void asksBeforeABatchIsLeft()
    {
        QFETCH(QString, answer);
        QFETCH(int, left);
        for (const char *name : {"1", "2", "3", "4", "5", "6"}) {
            m_drive->server().makeFile(name, "");
        }
        m_drive->server().addFault(FaultOn("recyclebin/trash").always().holds());
        auto window = std::make_unique<MainWindow>();
        window->show();
        auto *table = window->findChild<FileTable *>();
        QTRY_COMPARE(table->rowCount(), 6);
        table->selectAll();
        window->findChild<QPushButton *>("btnDelete")->click();
        const auto fail = [this] {
            QFile::remove(text(m_drive->server().rootPath()) + "/6");
            m_drive->server().makeFile("7", "");
            m_drive->server().clearFaults();
        };
        const bool hasFailed = left < 0;
        auto *status = window->findChild<BatchStatus *>();
        whenModal([&](QWidget *modal) {
            auto *box = qobject_cast<QMessageBox *>(modal);
            QCOMPARE(box->text(), QString("还有 6 个文件没有处理完。"));
            if (hasFailed) {
                fail();
                QTRY_VERIFY(status->hasFailures());
            }
            for (QAbstractButton *button : box->buttons()) {
                if (button->text() == answer) {
                    button->click();
                }
            }
        });
        window->close();
        QTEST(!window->isVisible(), "closesAtOnce");
        if (QString(QTest::currentDataTag()).contains("fails")) {
            fail();
        }
        if (hasFailed) { // a batch that has no failures does not end the program afterwards
            status->findChild<QAbstractButton *>("btnCloseBatch")->click();
            QTRY_COMPARE(table->rowCount(), 1);
            table->selectAll();
            window->findChild<QPushButton *>("btnDelete")->click();
        }
        if (left > 0) {
            window.reset();
        }
        m_drive->server().clearFaults();
        const QString trash = "/adrive/v1.0/openFile/recyclebin/trash";
        QTRY_COMPARE(int(m_drive->requests(trash).size()), 6 - left);
        settle(*m_drive);
        QTEST(!window || !window->isVisible(), "closesAtTheEnd");
    }

    void aNameIsWaitedForBeforeTheEnd_data()
    {
        QTest::addColumn<bool>("isTaken");
        QTest::addColumn<bool>("endsWhileAsked");
        QTest::newRow("and the drive takes it") << true << false;
        QTest::newRow("and the user sees that it failed") << false << false;
        QTest::newRow("and has failed before the answer") << false << true;
    }
    void aNameIsWaitedForBeforeTheEnd()
    {
        QFETCH(bool, isTaken);
        QFETCH(bool, endsWhileAsked);
        m_drive->server().addFault(FaultOn("openFile/create").holds());
        MainWindow window;
        window.show();
        window.findChild<FileDialog *>()->names()->createFolder(m_user, isTaken ? "root" : "gone",
                                                                "新");
        whenModal([this, endsWhileAsked](QWidget *modal) {
            auto *box = qobject_cast<QMessageBox *>(modal);
            QCOMPARE(box->text(), QString("还有 1 个文件没有处理完。"));
            if (endsWhileAsked) {
                m_drive->server().clearFaults();
                QTRY_VERIFY(!toasts().isEmpty());
            }
            for (QAbstractButton *button : box->buttons()) {
                if (button->text() == "处理完再退出(&W)") {
                    button->click();
                }
            }
        });
        window.close();
        QVERIFY(window.isVisible());
        m_drive->server().clearFaults();
        QTRY_VERIFY(isTaken ? !window.isVisible() : toasts().join("").contains("新建文件夹失败"));
        settle(*m_drive);
        QCOMPARE(window.isVisible(), !isTaken);
        closeToasts();
        QCOMPARE(namesIn(*m_drive), isTaken ? "新" : "");
    }

    void thePlayerIsJoinedToThePages()
    {
        m_drive->server().makeFile("第1集.mkv", "");
        PlayHistory history = watch(text(m_drive->server().fileId("第1集.mkv")));
        const LogCapture log;
        MainWindow window;
        auto *player = window.findChild<PlayerHost *>();
        const auto *table = window.findChild<FileTable *>();
        QTRY_COMPARE(table->rowCount(), 1);
        emit player->historyUpdated(history);
        QVERIFY(!log.lines().contains("load history..."));
        window.show();
        choose(window, 1);
        history.playPosition = 7;
        history.duration = 10;
        savePlayHistory(history);
        emit player->historyUpdated(history);
        QCOMPARE(historyTable(window)->item(0, 1)->text(), QString("70%  00:00:07/00:00:10"));
        QCOMPARE(table->item(0, FileTable::NameColumn)->data(FileTable::WatchedRole), QVariant(70));
        AppSettings().setVideoQuality("SD");
        emit player->videoQualityChanged();
        QCOMPARE(window.findChild<QToolButton *>("btnVideoQuality")->text(), QString("标清540p"));
        // Here, without OpenGL, the player says that it cannot.
        emit historyTable(window)->itemDoubleClicked(historyTable(window)->item(0, 0));
        QStringList boxes;
        const auto findBoxes = [&boxes] {
            for (QWidget *shown : QApplication::topLevelWidgets()) {
                if (auto *box = qobject_cast<QMessageBox *>(shown)) {
                    boxes << box->text();
                    delete box;
                }
            }
            return boxes;
        };
        QTRY_COMPARE(findBoxes(), QStringList{"无法打开播放器"});
    }

    void theLeftButtonDrags()
    {
        MainWindow window;
        window.move(100, 100);
        const auto drag = [&window](Qt::MouseButton button, Qt::MouseButtons held, QPointF to) {
            const auto send = [&](QEvent::Type type, Qt::MouseButtons buttons, QPointF place) {
                QMouseEvent event(type, {5, 5}, {5, 5}, place, button, buttons, Qt::NoModifier);
                QCoreApplication::sendEvent(&window, &event);
            };
            send(QEvent::MouseButtonPress, button, {105.4, 104.5});
            send(QEvent::MouseMove, held, to);
            send(QEvent::MouseButtonRelease, Qt::NoButton, to);
            send(QEvent::MouseMove, Qt::LeftButton, {500, 500}); // any release has ended it
            return window.pos();
        };
        QCOMPARE(drag(Qt::RightButton, Qt::RightButton, {155, 125}), QPoint(100, 100));
        QCOMPARE(drag(Qt::LeftButton, Qt::NoButton, {155, 125}), QPoint(100, 100));
        QCOMPARE(drag(Qt::LeftButton, Qt::LeftButton, {155, 125}), QPoint(150, 120));
    }

private:
    PlayHistory watch(const QString &fileId)
    {
        PlayHistory history;
        history.fileId = fileId;
        history.parentFileId = QString("root");
        history.userId = m_user.userId.value();
        savePlayHistory(history);
        return history;
    }

    std::unique_ptr<DriveFixture> m_drive;
    UserInfo m_user;
};

MORAVU_TEST(TestMainWindow)
#include "tst_main_window.moc"
