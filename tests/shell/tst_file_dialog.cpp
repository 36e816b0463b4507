#include <QBuffer>
#include <QCheckBox>
#include <QHeaderView>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTabBar>
#include <QToolButton>
#include <QWheelEvent>

#include "api/session/session.h"
#include "app/environment/app_settings.h"
#include "files/drive_page.h"
#include "login/qr_login_dlg.h"
#include "support/fault_on.h"
#include "support/test_main.h"
#include "ui/files/file_batches.h"
#include "ui/files/file_names.h"
#include "ui/files/link_copy.h"
#include "ui/shell/file_dialog.h"

namespace {

const QString Red = QString("小红");
const QString Ming = QString("小明");

QTabWidget *tabs(const FileDialog &dialog)
{
    return dialog.findChild<QTabWidget *>("userTab");
}

QStringList tabTexts(const FileDialog &dialog)
{
    QStringList texts;
    for (int index = 0; index < tabs(dialog)->count(); ++index) {
        texts << tabs(dialog)->tabText(index);
    }
    return texts;
}

CloudFileDialog *pageAt(const FileDialog &dialog, int index)
{
    return qobject_cast<CloudFileDialog *>(tabs(dialog)->widget(index));
}

template <class Widget>
Widget *inPage(const FileDialog &dialog, int index, const char *name)
{
    return pageAt(dialog, index)->findChild<Widget *>(name);
}

void press(const FileDialog &dialog, int index, const char *button)
{
    inPage<QPushButton>(dialog, index, button)->click();
}

QStringList nicknames(const QSignalSpy &switched)
{
    QStringList names;
    for (const QList<QVariant> &arguments : switched) {
        names << arguments.first().toString();
    }
    return names;
}

void show(FileDialog &dialog)
{
    dialog.resize(900, 600);
    dialog.show();
}

} // namespace

class TestFileDialog final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_drive = std::make_unique<DriveFixture>(3);
        m_ming = logInAs(*m_drive, Ming);
    }
    void cleanup()
    {
        closeToasts();
        settle(*m_drive);
        m_drive.reset();
    }

    void hasOneTabForEachUser()
    {
        logInAs(*m_drive, Red, 1);
        m_drive->server().makeFile("mine.txt", "", 0);
        m_drive->server().makeFile("hers.txt", "", 1);
        const LogCapture log;
        const FileDialog dialog;
        QCOMPARE(tabTexts(dialog), QStringList({Ming, Red}));
        QCOMPARE(tabs(dialog)->currentIndex(), 1);
        QCOMPARE(dialog.nickname(), Red);
        QVERIFY(log.lines().contains("init select tab: 1"));
        QVERIFY(log.lines().contains(QString("add tab: \"小红\"")));
        const auto shown = [&dialog](int index) {
            const QTableWidgetItem *first =
                inPage<FileTable>(dialog, index, "fileList")->item(0, 0);
            return first ? first->text() : QString();
        };
        QTRY_COMPARE(shown(0), QString("mine.txt"));
        QTRY_COMPARE(shown(1), QString("hers.txt"));
    }

    void aStaleCurrentUserSelectsNothing()
    {
        logInAs(*m_drive, Red, 1);
        AppSettings().setCurUserId("nobody");
        const LogCapture log;
        const FileDialog dialog;
        QCOMPARE(tabTexts(dialog), QStringList({Ming, Red}));
        QCOMPARE(tabs(dialog)->currentIndex(), 0);
        QCOMPARE(dialog.nickname(), QString());
        QVERIFY(log.lines().filter("init select tab:").isEmpty());
        QCOMPARE(AppSettings().curUserId(), QString("nobody"));
        removeUser(m_ming.userId.value());
        removeUser(text(m_drive->server().userId(1)));
        QCOMPARE(tabTexts(FileDialog()), QStringList());
    }

    void aNicknameIsShownAsItIs()
    {
        logInAs(*m_drive, QString("<b>R&D</b>"), 1);
        const FileDialog dialog;
        QCOMPARE(tabs(dialog)->tabText(1), QString("<b>R&&D</b>"));
        QCOMPARE(tabs(dialog)->tabToolTip(1), QString("<p>&lt;b&gt;R&amp;D&lt;/b&gt;</p>"));
        QCOMPARE(dialog.nickname(), QString("<b>R&D</b>"));
    }

    void aMissingNameComesLater_data()
    {
        QTest::addColumn<QString>("meanwhile");
        QTest::addColumn<QStringList>("shown");
        QTest::addColumn<QString>("nickname");
        QTest::newRow("of the current user") << "" << QStringList{Ming, Red} << Red;
        QTest::newRow("of another user") << "switched" << QStringList{Ming, Red} << Ming;
        QTest::newRow("beside a newer one") << "named" << QStringList{Ming, "红"} << "红";
        QTest::newRow("for nobody") << "removed" << QStringList{Ming, ""} << "";
    }
    void aMissingNameComesLater()
    {
        QFETCH(QString, meanwhile);
        QFETCH(QStringList, shown);
        const QString path = "/oauth/users/info";
        m_drive->server().addFault(FaultOn(path.toStdString()).delay(300));
        const UserInfo user = m_drive->logIn(2);
        const FileDialog dialog;
        QCOMPARE(tabTexts(dialog), QStringList({Ming, ""}));
        QTRY_COMPARE(m_drive->requests(path).size(), std::size_t(1));
        if (meanwhile == "switched") {
            emit tabs(dialog)->tabBarClicked(0);
        } else if (meanwhile == "named") {
            logInAs(*m_drive, "红", 2);
        } else if (meanwhile == "removed") {
            removeUser(user.userId.value());
        }
        settle(*m_drive);
        QTRY_COMPARE(tabTexts(dialog), shown);
        QTEST(dialog.nickname(), "nickname");
        UserInfo stored;
        QCOMPARE(loadUserInfo(user.userId.value(), stored), meanwhile != "removed");
        QCOMPARE(stored.nickname.value(), shown.at(1));
        QVERIFY(meanwhile == "named" || stored.accessToken.value() == user.accessToken.value() ||
                meanwhile == "removed");
    }

    void keysTurnToAUserLikeAClick_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<QKeySequence>("keys");
        QTest::addColumn<QStringList>("switchedTo");
        QTest::newRow("Right") << 0 << QKeySequence("Right") << QStringList{Red};
        QTest::newRow("Right at the end") << 1 << QKeySequence("Right") << QStringList{};
        QTest::newRow("Left") << 1 << QKeySequence("Left") << QStringList{Ming};
        QTest::newRow("Left at the start") << 0 << QKeySequence("Left") << QStringList{};
        QTest::newRow("on") << 0 << QKeySequence("Ctrl+Tab") << QStringList{Red};
        QTest::newRow("on goes round") << 1 << QKeySequence("Ctrl+Tab") << QStringList{Ming};
        QTest::newRow("back") << 0 << QKeySequence("Ctrl+Shift+Backtab") << QStringList{Red};
    }
    void keysTurnToAUserLikeAClick()
    {
        QFETCH(int, from);
        QFETCH(QKeySequence, keys);
        QFETCH(QStringList, switchedTo);
        const QList<UserInfo> users{m_ming, logInAs(*m_drive, Red, 1)};
        AppSettings().setCurUserId(users.at(from).userId.value());
        const FileDialog dialog;
        const QSignalSpy switched(&dialog, &FileDialog::userSwitched);
        QTest::keySequence(tabs(dialog)->tabBar(), keys);
        QCOMPARE(nicknames(switched), switchedTo);
        const int current = switchedTo.isEmpty() ? from : 1 - from;
        QCOMPARE(tabs(dialog)->currentIndex(), current);
        QCOMPARE(AppSettings().curUserId(), users.at(current).userId.value());
    }

    void clicksTurnToAUserOnceAndTheWheelToNobody()
    {
        logInAs(*m_drive, Red, 1);
        FileDialog dialog;
        show(dialog);
        emit pageAt(dialog, 0)->userChangedFromCloudDisk(1, 0, 0, Ming); // tabs made anew
        const QSignalSpy switched(&dialog, &FileDialog::userSwitched);
        QTabBar *bar = tabs(dialog)->tabBar();
        const QPoint first = bar->tabRect(0).center();
        QWheelEvent wheel(first, bar->mapToGlobal(first), {}, {0, 120}, Qt::NoButton, {},
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(bar, &wheel);
        QCOMPARE(tabs(dialog)->currentIndex(), 1);
        QTest::mouseClick(bar, Qt::LeftButton, {}, first);
        QTest::mouseClick(bar, Qt::LeftButton, {}, first);
        QTest::mouseClick(bar, Qt::RightButton, {}, bar->tabRect(1).center());
        QCOMPARE(nicknames(switched), QStringList({Ming, Ming, Red}));
        QCOMPARE(tabs(dialog)->currentIndex(), 1);
        QCOMPARE(AppSettings().curUserId(), text(m_drive->server().userId(1)));
    }

    void showsAnotherPagesSettings()
    {
        logInAs(*m_drive, Red, 1);
        FileDialog dialog;
        show(dialog);
        inPage<QCheckBox>(dialog, 1, "checkDelToRecycle")->click();
        QVERIFY(!inPage<QCheckBox>(dialog, 0, "checkDelToRecycle")->isChecked());
        const auto header = [&dialog](int index) {
            return inPage<FileTable>(dialog, index, "fileList")->horizontalHeader();
        };
        QTest::mouseClick(header(1)->viewport(), Qt::LeftButton, {}, QPoint(20, 15));
        QCOMPARE(header(1)->sortIndicatorSection(), 0);
        QCOMPARE(header(0)->sortIndicatorSection(), 0);
        QCOMPARE(header(0)->sortIndicatorOrder(), header(1)->sortIndicatorOrder());
        AppSettings().setVideoQuality("SD");
        dialog.updateVideoQuality();
        for (int index = 0; index < 2; ++index) {
            QCOMPARE(inPage<QToolButton>(dialog, index, "btnVideoQuality")->text(),
                     QString("标清540p"));
        }
    }

    void loggingOutGoesOnWithTheNextUser()
    {
        const UserInfo second = logInAs(*m_drive, Red, 1);
        AppSettings().setCurUserId(m_ming.userId.value());
        const FileDialog dialog;
        const QSignalSpy switched(&dialog, &FileDialog::userSwitched);
        const QSignalSpy status(&dialog, &FileDialog::listStatusChanged);
        press(dialog, 0, "btnUserLogout");
        QCOMPARE(status.last().first().toString(), dialog.listStatus());
        QCOMPARE(tabTexts(dialog), QStringList{Red});
        QCOMPARE(AppSettings().curUserId(), second.userId.value());
        QCOMPARE(switched.size(), 1);
        QCOMPARE(switched.first().first().toString(), Red);
    }

    void loggingOutAsksWhileFilesAreUnderWay_data()
    {
        QTest::addColumn<bool>("isName");
        QTest::addColumn<bool>("leaves");
        QTest::newRow("a batch, yes") << false << true;
        QTest::newRow("a batch, no") << false << false;
        QTest::newRow("a name that waits for its turn, yes") << true << true;
        QTest::newRow("a name that waits for its turn, no") << true << false;
    }
    void loggingOutAsksWhileFilesAreUnderWay()
    {
        QFETCH(bool, isName);
        QFETCH(bool, leaves);
        logInAs(*m_drive, Red, 1);
        m_drive->server().addFault(FaultOn("trash").holds());
        FileBatches batches;
        const FileDialog dialog(&batches);
        BatchOrder order;
        order.user = m_ming;
        order.files = {{"f1", "f1"}};
        const QSignalSpy named(dialog.names(), &FileNames::finished);
        if (isName) {
            const std::chrono::seconds pause(2);
            Session::instance().pacing().hold(m_ming.userId.value(), "", pause);
            if (leaves) {
                dialog.findChild<LinkCopy *>()->copy(m_ming, "f1");
            }
            dialog.names()->createFolder(m_ming, "root", "新");
        } else {
            batches.start(order);
        }
        whenModal([leaves](QWidget *modal) {
            auto *box = qobject_cast<QMessageBox *>(modal);
            QVERIFY(box->text().startsWith("还有 1 个文件"));
            box->button(leaves ? QMessageBox::Yes : QMessageBox::No)->click();
        });
        press(dialog, 0, "btnUserLogout");
        QCOMPARE(tabTexts(dialog).contains(Ming), !leaves);
        m_drive->server().clearFaults();
        QTRY_COMPARE(named.size(), isName ? 1 : 0);
        QCOMPARE(namesIn(*m_drive), isName && !leaves ? "新" : "");
        QVERIFY(toasts().isEmpty()); // the user knows
    }

    void aNewLoginMakesTheTabsAnew()
    {
        FileDialog dialog;
        QStringList told;
        connect(&dialog, &FileDialog::refreshDiskSpace, this,
                [&told](const QString &info) { told << info; });
        QTRY_COMPARE(told.size(), 1);
        whenModal([this](QWidget * /*login*/) { confirmLogin(1); });
        press(dialog, 0, "btnNewUser");
        QTRY_COMPARE(tabs(dialog)->count(), 2);
        QCOMPARE(tabs(dialog)->currentIndex(), 1);
        QCOMPARE(AppSettings().curUserId(), text(m_drive->server().userId(1)));
        QCOMPARE(dialog.nickname(), tabTexts(dialog).last());
        QTRY_COMPARE(told.size(), 2); // of the page that is shown now
    }

    void aRefusedLoginLeavesTheEarlierUser()
    {
        m_drive->server().addFault(
            FaultOn("getDriveInfo")
                .body(
                    R"({"user_id":"u9","nick_name":"坏","default_drive_id":"d9","status":"frozen"})"));
        const FileDialog dialog;
        const QSignalSpy switched(&dialog, &FileDialog::userSwitched);
        QTRY_VERIFY(!pageAt(dialog, 0)->diskSpace().isEmpty());
        whenModal([this](QWidget *login) {
            confirmLogin(1);
            QTRY_COMPARE(toasts(), QStringList{"账号异常:frozen"});
            login->close();
        });
        press(dialog, 0, "btnNewUser");
        QCOMPARE(AppSettings().curUserId(), m_ming.userId.value());
        QCOMPARE(tabTexts(dialog), QStringList{Ming});
        // Window title and history follow the last that is told, also where the login told more.
        QVERIFY(!switched.isEmpty());
        QCOMPARE(switched.last(), QVariantList({Ming, pageAt(dialog, 0)->diskSpace()}));
        QCOMPARE(Session::instance().currentUser().userId.value(), m_ming.userId.value());
    }

    void whatFailsIsToldWithoutItsPage_data()
    {
        QTest::addColumn<QString>("told");
        QTest::newRow("a new name") << "重命名失败：没有权限";
        QTest::newRow("a new folder") << "新建文件夹失败：没有权限";
        QTest::newRow("a link") << "复制下载链接失败";
    }
    void whatFailsIsToldWithoutItsPage()
    {
        QFETCH(QString, told);
        m_drive->server().makeFile("a.txt", "x");
        m_drive->server().addFault(FaultOn("update|create|getDownloadUrl").status(403));
        const FileDialog dialog;
        const auto table = [&dialog] { return inPage<FileTable>(dialog, 0, "fileList"); };
        QTRY_COMPARE(table()->rowCount(), 1);
        if (told.startsWith("重")) {
            table()->item(0, 0)->setText("b.txt");
        } else if (told.startsWith("复")) {
            table()->selectRow(0);
            for (QAction *action : table()->findChild<QMenu *>()->actions()) {
                if (action->text() == "复制下载链接") {
                    action->trigger();
                }
            }
        } else {
            whenModal([](QWidget *modal) { qobject_cast<QDialog *>(modal)->accept(); });
            press(dialog, 0, "btnCreateFolder");
        }
        emit pageAt(dialog, 0)->userChangedFromCloudDisk(1, 0, 0, Ming);
        QTRY_COMPARE(toasts(), QStringList{told});
        QTRY_COMPARE(table()->fileIds(), QStringList{text(m_drive->server().fileId("a.txt"))});
        QCOMPARE(table()->item(0, 0)->text(), "a.txt");
    }

    void rebuildingLeavesNoPageBehind()
    {
        const FileDialog dialog;
        const QPointer<QWidget> first(pageAt(dialog, 0));
        for (int time = 0; time < 3; ++time) {
            emit pageAt(dialog, 0)->userChangedFromCloudDisk(1, 0, 0, Ming);
        }
        QTRY_VERIFY(!first);
        QTRY_COMPARE(dialog.findChildren<CloudFileDialog *>().size(), 1);
        emit pageAt(dialog, 0)->userChangedFromCloudDisk(7, 0, 0, Ming);
        QCOMPARE(tabs(dialog)->count(), 1);
    }

    void theLastLogoutAsksForALogin_data()
    {
        QTest::addColumn<bool>("goneAlready");
        QTest::newRow("here") << false;
        QTest::newRow("after another process logged all users out") << true;
    }
    void theLastLogoutAsksForALogin()
    {
        QFETCH(bool, goneAlready);
        const FileDialog dialog;
        const QSignalSpy switched(&dialog, &FileDialog::userSwitched);
        if (goneAlready) {
            removeUser(m_ming.userId.value());
        }
        const QPointer<QWidget> page(pageAt(dialog, 0));
        whenModal([&](QWidget *modal) {
            QCOMPARE(tabs(dialog)->count(), 0);
            QCOMPARE(switched.last().first().toString(), QString());
            QVERIFY(qobject_cast<QRLoginDlg *>(modal)->quitOnCancel());
            confirmLogin(2);
        });
        const LogCapture log;
        press(dialog, 0, "btnUserLogout");
        QVERIFY(log.lines().contains("all logout, relogin"));
        QTRY_COMPARE(AppSettings().curUserId(), text(m_drive->server().userId(2)));
        QTRY_COMPARE(tabs(dialog)->count(), 1);
        QTRY_VERIFY(!page);
    }

    void picturesBecomeIcons()
    {
        QPixmap picture(40, 40);
        picture.fill(Qt::red);
        QBuffer png;
        picture.save(&png, "PNG");
        m_drive->server().makeFile("face.png", png.data().toStdString());
        m_drive->server().makeFile("page.png", "<html></html>");
        setAvatar(m_ming, "page.png");
        setAvatar(logInAs(*m_drive, Red, 1), "face.png");
        const FileDialog dialog;
        QTRY_COMPARE(tabs(dialog)->tabIcon(1).pixmap(16).toImage().pixelColor(8, 8),
                     QColor(Qt::red));
        QVERIFY(tabs(dialog)->tabIcon(0).isNull());
    }

private:
    void confirmLogin(int account)
    {
        localdrive::Server &server = m_drive->server();
        QTRY_COMPARE(server.loginSessions().size(), 1U);
        server.scanLogin(server.loginSessions().front());
        server.confirmLogin(server.loginSessions().front(), account);
    }

    void setAvatar(UserInfo user, const std::string &file)
    {
        user.avatar = text(m_drive->server().downloadUrl(file, std::chrono::minutes(5)));
        saveUserInfo(user);
    }

    std::unique_ptr<DriveFixture> m_drive;
    UserInfo m_ming;
};

MORAVU_TEST(TestFileDialog)
#include "tst_file_dialog.moc"
