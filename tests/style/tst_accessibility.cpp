// Every window can be used by the keyboard alone, in the order that the eye takes, and a screen
// reader tells of every part what it is.

#include <clocale>
#include <functional>

#include <QListView>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolButton>

#include "app/data_notices.h"
#include "app/environment/app_settings.h"
#include "app/toolkit_texts.h"
#include "db/tables/database.h"
#include "files/drive_page.h"
#include "login/qr_login_dlg.h"
#include "player/mpv/mpv_widget.h"
#include "player/player_fixture.h"
#include "player/session/episode_end.h"
#include "player/window/keys_dialog.h"
#include "player/window/next_card.h"
#include "player/window/player_window.h"
#include "support/keyboard.h"
#include "ui/files/failed_files_dialog.h"
#include "ui/files/file_tree_dialog.h"
#include "ui/shell/main_window.h"
#include "ui/widgets/questions.h"

Q_DECLARE_METATYPE(std::function<void()>)
Q_DECLARE_METATYPE(std::function<void(PlayerFixture &)>)

namespace {

// Start-up finds another program at the database.
void startWhileLocked()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("moravu.db");
    Database(path).close();
    Database *const earlier = database();
    {
        QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE", "other");
        other.setDatabaseName(path);
        QVERIFY(other.open());
        QSqlQuery query(other);
        QVERIFY(query.exec("PRAGMA journal_mode=DELETE") && query.exec("BEGIN EXCLUSIVE"));
        Database mine(path);
        setDatabase(&mine);
        QVERIFY(!waitForDatabase());
        setDatabase(earlier);
    }
    QSqlDatabase::removeDatabase("other");
}

// libmpv refuses other numbers than those of "C".
void openWithoutPlayer(PlayerHost &host)
{
    std::setlocale(LC_NUMERIC, "C.UTF8");
    host.open({});
    std::setlocale(LC_NUMERIC, "C");
}

} // namespace

class TestAccessibility final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QCoreApplication::installTranslator(new ToolkitTexts(qApp)); }

    void tabGoesWhereTheEyeGoes_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("stops");
        QTest::newRow("files") << 0
                               << "fileList navListView qt_tabwidget_tabbar btnRefresh pathNavList "
                                  "btnVideoQuality btnNewUser btnUserLogout btnCreateFolder "
                                  "btnDelete checkDelToRecycle fileNameSearch fileTypeList";
        QTest::newRow("history")
            << 1
            << "navListView btnRemovePlayHistory btnClearPlayHistory btnClearSkipCutHistory "
               "btnRefresh historyList";
        QTest::newRow("about") << 2
                               << "navListView btnDownloadTV btnDownloadPc btnReportBug btnKeys";
    }
    void tabGoesWhereTheEyeGoes()
    {
        QFETCH(int, page);
        DriveFixture drive;
        logInAs(drive, "小明");
        MainWindow window;
        window.resize(1000, 700);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        if (page > 0) {
            navigation(window)->setFocus();
            window.findChild<QTabWidget *>("pageStack")->setCurrentIndex(page);
        }
        QCOMPARE(unspoken(window), QStringList());
        QTEST(tabStops(Qt::Key_Tab), "stops");
        QTEST(tabStops(Qt::Key_Backtab), "stops");
    }

    void saysWhatIsSeen()
    {
        DriveFixture drive;
        logInAs(drive, "小明");
        drive.server().makeFile("第1集.mkv", "");
        AppSettings().setVideoQuality("HD");
        const MainWindow window;
        auto *table = window.findChild<FileTable *>();
        QTRY_COMPARE(table->rowCount(), 1);
        const auto *rows = QAccessible::queryAccessibleInterface(table)->tableInterface();
        QCOMPARE(rows->cellAt(0, 0)->text(QAccessible::Name), QString("第1集.mkv，视频"));
        QStringList names;
        for (const char *name : {"countLabel", "btnVideoQuality", "btnUserLogout"}) {
            names << spokenName(window.findChild<QWidget *>(name));
        }
        QCOMPARE(names.join(' '), QString("1项 视频清晰度：高清720p 退出登录"));
        auto *types = window.findChild<QWidget *>("fileTypeList");
        const auto labels =
            QAccessible::queryAccessibleInterface(types)->relations(QAccessible::Label);
        QCOMPARE(labels.first().first->text(QAccessible::Name), QString("文件类型"));
    }

    void theKeyboardGoesRoundADialog_data()
    {
        QTest::addColumn<std::function<void()>>("ask");
        QTest::addColumn<QString>("stops");
        const auto run = [](auto make) -> std::function<void()> {
            return [make] { make()->exec(); };
        };
        QTest::newRow("folders") << run([] {
            return std::make_unique<FileTreeDialog>(listUsers().first());
        }) << "fileTree 取消";
        QTest::newRow("login") << run([] { return std::make_unique<QRLoginDlg>(); })
                               << "btnRefreshQrcode btnCancle";
        QTest::newRow("failed files") << run([] {
            return std::make_unique<FailedFilesDialog>(
                "2 个失败", QList<BatchFile>{{"f1", "a", ""}, {"f2", "b", "没有权限"}});
        }) << "failedFiles 重试 关闭";
        const auto none = nullptr;
        QTest::newRow("yes or no")
            << std::function<void()>([=] { askYesNo(none, "警告", "删?"); }) << "否(N) 是(Y)";
        QTest::newRow("choice") << std::function<void()>([=] {
            askChoice(none, "退出", "还有 2 个", {"等(&W)", "停(&S)"});
        }) << "取消 等(W) 停(S)";
        QTest::newRow("text") << std::function<void()>([=] {
            askText(none, "新建文件夹", "请输入新文件夹名称", "新建文件夹");
        }) << "请输入新文件夹名称 确定 取消";
        QTest::newRow("locked database") << std::function<void()>(startWhileLocked) << "重试 退出";
        QTest::newRow("no player") << std::function<void()>([this] {
            m_host = std::make_unique<PlayerHost>();
            openWithoutPlayer(*m_host);
        }) << "确定";
        QTest::newRow("keys") << std::function<void()>([this] {
            m_opener.show();
            KeysDialog::open(&m_opener);
        }) << "关闭";
    }
    void theKeyboardGoesRoundADialog()
    {
        QFETCH(std::function<void()>, ask);
        DriveFixture drive;
        logInAs(drive, "小明");
        QString forward;
        QString backward;
        QStringList silent{"never seen"};
        QAccessible::Role kind = QAccessible::NoRole;
        QTimer seen;
        seen.callOnTimeout([&] {
            auto *dialog = qobject_cast<QDialog *>(QApplication::activeWindow());
            if (!dialog || !QApplication::focusWidget()) {
                return;
            }
            seen.stop();
            silent = unspoken(*dialog);
            kind = QAccessible::queryAccessibleInterface(dialog)->role();
            QCOMPARE(spokenName(dialog), dialog->windowTitle());
            forward = tabStops(Qt::Key_Tab);
            backward = tabStops(Qt::Key_Backtab);
            QTest::keyClick(dialog, Qt::Key_Escape);
        });
        seen.start(10);
        ask();
        QTRY_VERIFY(!seen.isActive());
        m_host.reset();
        m_opener.hide();
        QVERIFY(kind == QAccessible::Dialog || kind == QAccessible::AlertMessage);
        QCOMPARE(silent, QStringList());
        QTEST(forward, "stops");
        QCOMPARE(backward, forward);
    }

    void thePlayerCanBeUsedWithoutAMouse_data()
    {
        QTest::addColumn<std::function<void(PlayerFixture &)>>("begin");
        QTest::addColumn<QString>("stops");
        using Begin = std::function<void(PlayerFixture &)>;
        const auto play = [](PlayerFixture &player) {
            QVERIFY(player.waitFor(1));
            player.mpv()->pause();
        };
        const QString ends = " videoList pin fullScreen";
        QTest::newRow("a video") << Begin(play)
                                 << "mpvWidget seekBar previous playPause next volume volumeSlider "
                                    "quality subtitle skip" +
                                        ends;
        QTest::newRow("before the next one")
            << Begin([play](PlayerFixture &player) {
                   play(player);
                   player.window()->findChild<NextCard *>()->tell({"2.mkv", 8});
               })
            << "mpvWidget stayHere closeCard seekBar previous playPause next volume volumeSlider "
               "quality subtitle skip" +
                   ends;
        QTest::newRow("a video that is refused") << Begin([](PlayerFixture &player) {
            QTRY_VERIFY(player.part("playSource")->isVisible());
        }) << "mpvWidget playSource previous playPause next volume volumeSlider" + ends;
    }
    void thePlayerCanBeUsedWithoutAMouse()
    {
        QFETCH(std::function<void(PlayerFixture &)>, begin);
        PlayerFixture player;
        player.addClip("1.mkv", {20});
        if (QString(QTest::currentDataTag()).endsWith("refused")) {
            player.server().addFault(FaultOn("getVideoPreviewPlayInfo").always().status(404));
        }
        player.open("1.mkv");
        QVERIFY(QTest::qWaitForWindowActive(player.window()));
        begin(player);
        player.mpv()->setFocus();
        QCOMPARE(unspoken(*player.window()), QStringList());
        QTEST(tabStops(Qt::Key_Tab), "stops");
        QTEST(tabStops(Qt::Key_Backtab), "stops");
    }

    void theControlsSayWhatTheyDo()
    {
        PlayerFixture player;
        player.addClip("1.mkv", {20});
        player.open("1.mkv");
        QVERIFY(player.waitFor(1));
        QStringList names;
        for (auto *control : player.part("controlBar")->findChildren<QWidget *>()) {
            const auto *button = qobject_cast<QToolButton *>(control);
            if (button || control->inherits("QSlider")) {
                QVERIFY(!button || button->toolTip().startsWith(spokenName(control)));
                names.append(spokenName(control));
            }
        }
        names.sort();
        QStringList expected{"播放进度", "音量", "暂停",     "上一个",   "下一个",   "静音", "画质",
                             "音轨",     "字幕", "片头片尾", "播放列表", "窗口置顶", "全屏"};
        expected.sort();
        QCOMPARE(names, expected);
        QCOMPARE(player.part("fullScreen")->toolTip(), "全屏 (双击、F)");
        QCOMPARE(player.part("quality")->accessibleDescription(), player.checkedText("quality"));
    }

private:
    static QListView *navigation(const MainWindow &window)
    {
        return window.findChild<QListView *>("navListView");
    }

    QWidget m_opener;
    std::unique_ptr<PlayerHost> m_host;
};

MORAVU_TEST(TestAccessibility)
#include "tst_accessibility.moc"
