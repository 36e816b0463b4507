#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>

#include "app/environment/app_settings.h"
#include "db/tables/database.h"
#include "db/tables/operations.h"
#include "login/qr_login_dlg.h"
#include "login/scanned.h"
#include "net/reply_guard.h"
#include "session/drive_fixture.h"
#include "support/fault_on.h"
#include "support/test_main.h"
#include "support/toasts.h"

namespace {

const QString Waiting = "请用阿里云盘App扫码登录";
const QString Confirmed = "已请允许扫描登录";
const std::string QrPath = "/app/oauth/authorize/qrcode";
const std::string StatusPath = "/status";
const std::string TokenPath = "/app/oauth/accessToken";
const std::string DrivePath = "/adrive/v1.0/user/getDriveInfo";

} // namespace

Q_DECLARE_METATYPE(localdrive::Fault)

class TestQRLoginDlg final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        ReplyGuard::setPatience({});
        m_drive = std::make_unique<DriveFixture>(2);
    }
    void cleanup()
    {
        m_dialog.reset();
        closeToasts();
        m_drive.reset();
    }
    void isBuiltAsDesigned()
    {
        QFile skin(":/skin/qss/Ubuntu.qss");
        QVERIFY(skin.open(QIODevice::ReadOnly));
        qApp->setStyleSheet(skin.readAll());
        QWidget other;
        m_dialog = std::make_unique<QRLoginDlg>(&other);
        m_dialog->show();
        QCOMPARE(m_dialog->parentWidget(), nullptr);
        QCOMPARE(m_dialog->windowTitle(), "青柚云盘PC版-扫码登录");
        QCOMPARE(m_dialog->minimumSize(), QSize(500, 450));
        QCOMPARE(m_dialog->maximumSize(), QSize(500, 450));
        QVERIFY(m_dialog->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        QCOMPARE(tip(), Waiting);
        QCOMPARE(child<QLabel>("tipMsg")->alignment(), Qt::Alignment(Qt::AlignCenter));
        QVERIFY(m_dialog->findChildren<QTimer *>().isEmpty());
        const auto *button = child<QPushButton>("btnRefreshQrcode");
        QCOMPARE(button->text() + button->toolTip(), "刷新(&R)刷新二维码");
        QVERIFY(!button->icon().isNull() && !button->isDefault());
        QCOMPARE(child<QPushButton>("btnCancle")->text(), "退出(&X)");
        for (const char *name : {"btnRefreshQrcode", "btnCancle"}) {
            const QSize size = child<QPushButton>(name)->size();
            QVERIFY2(size.width() >= 100 && size.height() >= 40, name);
        }
        qApp->setStyleSheet({});
    }
    void pollsOnceASecond()
    {
        open();
        refresh();
        refresh();
        QTRY_COMPARE(asked(QrPath), 3);
        const auto request = m_drive->requests(text(QrPath))[0];
        QCOMPARE(text(request.method + ' ' + request.body), "POST alphaTestNum=");
        QTRY_VERIFY(isPolling());
        QCOMPARE(m_dialog->findChild<QTimer *>()->interval(), 1000);
        server().clearRequests();
        QTest::qWait(2500);
        QCOMPARE(server().requests().size(), std::size_t(2));
        QCOMPARE(server().requests()[0].method, std::string("GET"));
        QCOMPARE(tip(), Waiting);
    }
    void aScanRunsThroughToTheLogin()
    {
        LogCapture log;
        open();
        QSignalSpy success(m_dialog.get(), &QRLoginDlg::loginSuccess);
        bool wasOpen = false;
        connect(m_dialog.get(), &QRLoginDlg::loginSuccess, this,
                [&] { wasOpen = m_dialog->isVisible(); });
        hurry();
        QVERIFY(!canScan() || scanned(m_dialog->grab().toImage()) ==
                                  text(server().baseUrl() +
                                       "/o/oauth/authorize?sid=" + server().loginSessions()[0]));
        server().scanLogin(server().loginSessions()[0]);
        QTRY_COMPARE(tip(), "扫码成功，请确认登录");
        confirm();
        QTRY_COMPARE(m_dialog->result(), 1);
        QCOMPARE(tip(), Confirmed);
        const QString userId = text(server().userId());
        QCOMPARE(success, QList<QVariantList>{{userId}});
        QVERIFY(wasOpen && !m_dialog->isVisible() && !m_dialog->closedByUser());
        QCOMPARE(AppSettings().curUserId(), userId);

        const auto exchange = m_drive->requests(text(TokenPath));
        QCOMPARE(exchange.size(), std::size_t(1));
        QCOMPARE(exchange[0].method, std::string("GET"));
        QCOMPARE(exchange[0].query.size(), std::size_t(2));
        QCOMPARE(exchange[0].query.find("alphaTestNum")->second, std::string());
        QVERIFY(!exchange[0].query.find("authCode")->second.empty());

        UserInfo user;
        QVERIFY(loadUserInfo(userId, user));
        QVERIFY(log.lines()[0].startsWith("GET_QRCODE "));
        for (const QString &line :
             {QString("oauth/qrcode status= \"ScanSuccess\""),
              QString("oauth/qrcode status= \"LoginSuccess\""), QString("GET_ACCESS_TOKEN: "),
              QString("获取accessToken成功: \"%1\"").arg(user.accessToken.value()),
              QString("getDriveInfo success ")}) {
            QVERIFY2(log.contains(line), qPrintable(line));
        }
    }
    void everyFieldIsStored()
    {
        server().addFault(FaultOn(TokenPath).body(
            R"({"tokenType": "Bearer", "accessToken": "a1", "refreshToken": "r1", "expiresIn": 71})"));
        server().addFault(FaultOn(DrivePath).status(200).body(
            R"({"status": "enabled", "user_id": "u7", "nick_name": "青柚", "avatar": "x.png",
                "phone": "138", "default_drive_id": "d7"})"));
        open();
        hurry();
        confirm();
        QTRY_COMPARE(m_dialog->result(), 1);
        UserInfo user;
        QVERIFY(loadUserInfo("u7", user));
        QCOMPARE((QStringList{user.nickname.value(), user.username.value(), user.avatar.value(),
                              user.driveId.value(), user.tokenType.value(),
                              user.accessToken.value(), user.refreshToken.value()}),
                 (QStringList{"青柚", "138", "x.png", "d7", "Bearer", "a1", "r1"}));
        QCOMPARE(user.tokenExpiresIn.value(), 71);
        QVERIFY(qAbs(user.updateTime.value().secsTo(QDateTime::currentDateTimeUtc())) < 5);
        QVERIFY(user.sboxDriveId.isNull());
    }
    void anotherLoginAddsOrReplaces()
    {
        const UserInfo before = m_drive->logIn(0, 100000);
        for (const int account : {1, 0}) {
            const std::size_t known = codes();
            open();
            hurry(known);
            confirm(account);
            QTRY_COMPARE(m_dialog->result(), 1);
            QCOMPARE(AppSettings().curUserId(), text(server().userId(account)));
            QCOMPARE(countUsers(), 2);
            UserInfo first;
            QVERIFY(loadUserInfo(before.userId.value(), first));
            QCOMPARE(first.accessToken.value() == before.accessToken.value(), account == 1);
            QCOMPARE(first.updateTime.value() == before.updateTime.value(), account == 1);
        }
    }
    void aFailureIsShownAndRefreshLeadsOn_data()
    {
        QTest::addColumn<localdrive::Fault>("fault");
        QTest::addColumn<QString>("shown"); // the tip, or "toast:" and the toast
        QTest::addColumn<QString>("logged");
        const auto step = [](const char *name, const std::string &path, const QString &failed,
                             const QString &logged) {
            const auto row = [&](const char *what, const FaultOn &fault) {
                QTest::addRow("%s: %s", name, what) << localdrive::Fault(fault) << failed << logged;
            };
            row("server error", FaultOn(path).status(500));
            // Qt itself sends again what was cut before the first byte of a reply.
            row("cut before the reply", FaultOn(path).always().closes());
            row("cut inside the reply", FaultOn(path).cuts());
            row("no answer", FaultOn(path).freezes());
        };
        const QString noCode = "获取登录二维码请求失败";
        const QString noDrive = "toast:获取用户云盘信息失败";
        step("code", QrPath, noCode, {});
        step("poll", StatusPath, Waiting, {});
        step("token", TokenPath, "获取授权信息请求失败", "getAccessToken请求失败: \"");
        step("drive", DrivePath, noDrive, "getDriveInfo fail \"");
        const auto row = [](const char *name, const FaultOn &fault, const QString &shown) {
            QTest::newRow(name) << localdrive::Fault(fault) << shown << QString();
        };
        row("poll: expired, as an error", FaultOn(StatusPath).status(400, "QRCodeExpired"),
            Waiting);
        row("code: empty", FaultOn(QrPath).body(""), "获取二维码失败");
        row("code: no address", FaultOn(QrPath).body(R"({"sid": "s"})"), "获取登录二维码失败");
        row("code: no JSON", FaultOn(QrPath).body("<html>502</html>"), "获取登录二维码失败");
        row("token: empty", FaultOn(TokenPath).body(""), "获取授权信息失败,请更新你的版本");
        row("token: none", FaultOn(TokenPath).body(R"({"refreshToken": "r"})"), "获取授权信息失败");
        row("token: no JSON", FaultOn(TokenPath).body("[]"), "获取授权信息失败");
        row("drive: token refused", FaultOn(DrivePath).status(401), noDrive);
        row("drive: no JSON", FaultOn(DrivePath).body("<html>"), noDrive);
    }
    void aFailureIsShownAndRefreshLeadsOn()
    {
        using namespace std::chrono_literals;
        QFETCH(localdrive::Fault, fault);
        QFETCH(QString, shown);
        QFETCH(QString, logged);
        ReplyGuard::setPatience({2s, 5s});
        server().addFault(fault);
        LogCapture log;
        open();
        if (fault.path != QrPath) {
            hurry();
            if (fault.path != StatusPath) {
                confirm();
            }
        }
        auto *button = child<QPushButton>("btnRefreshQrcode");
        QTRY_VERIFY(button->isDefault() && m_dialog->focusWidget() == button);
        const bool isToast = shown.startsWith("toast:");
        QCOMPARE(toasts(), isToast ? QStringList{shown.mid(6)} : QStringList());
        QCOMPARE(tip(), isToast ? Confirmed : shown);
        QVERIFY(log.contains(logged));
        QVERIFY(!isPolling() && m_dialog->isVisible());
        // What the phone allowed can be exchanged once.
        QVERIFY(server().requestsTo(TokenPath).size() <= 1);
        QCOMPARE(countUsers(), 0);
        QCOMPARE(AppSettings().curUserId(), "");

        server().clearFaults();
        ReplyGuard::setPatience({}); // a slow machine takes its time
        const std::size_t known = codes();
        refresh();
        hurry(known);
        QVERIFY(!button->isDefault());
        confirm();
        QTRY_COMPARE(m_dialog->result(), 1);
    }
    void eachStatusHasItsTextAndItsNextStep_data()
    {
        QTest::addColumn<QString>("status");
        QTest::addColumn<QString>("shown");
        const QString scanned = "扫码成功，请确认登录";
        QTest::newRow("waiting") << "WaitLogin" << Waiting;
        QTest::newRow("confirmed") << "LoginSuccess" << Confirmed;
        QTest::newRow("cancelled") << "CANCELED"
                                   << "已取消扫描登录";
        QTest::newRow("expired") << "QRCodeExpired" << scanned;
        QTest::newRow("unknown") << "Sleeping" << scanned;
        QTest::newRow("in other letters") << "loginsuccess" << scanned;
        QTest::newRow("none") << "" << scanned;
    }
    void eachStatusHasItsTextAndItsNextStep()
    {
        QFETCH(QString, status);
        QFETCH(QString, shown);
        const std::string code = "c+&/ %2B";
        // The phone has scanned; the status under test comes next, then no other, and no token.
        const auto says = [&](const QString &word) {
            const QString reply = QString(R"({"authCode": "%1", "status": "%2"})");
            return FaultOn(StatusPath).body(reply.arg(text(code), word).toStdString());
        };
        server().addFault(says("ScanSuccess"));
        server().addFault(says(status));
        server().addFault(FaultOn(StatusPath).always().freezes());
        server().addFault(FaultOn(TokenPath).freezes());
        LogCapture log;
        open();
        hurry();
        const bool isConfirmed = status == "LoginSuccess";
        const bool isExpired = status == "QRCodeExpired";
        QTRY_COMPARE(polls(0) + asked(TokenPath), 3);
        const auto exchange = m_drive->requests(text(TokenPath));
        QCOMPARE(exchange.size(), std::size_t(isConfirmed ? 1 : 0));
        QVERIFY(!isConfirmed || exchange[0].query.find("authCode")->second == code);
        QVERIFY(log.contains(QString("oauth/qrcode status= \"%1\"").arg(status)));
        QCOMPARE(tip(), shown);
        QTRY_COMPARE(asked(QrPath), isExpired ? 2 : 1);
        if (isExpired) {
            QTRY_VERIFY(polls(1) > 0);
        }
    }
    void theAccountDecides_data()
    {
        QTest::addColumn<QByteArray>("driveInfo");
        QTest::addColumn<QString>("toast"); // none: the login succeeds
        QTest::addColumn<QString>("name");
        const auto row = [](const char *name, const QByteArray &fields, const QString &toast,
                            const QString &nickname) {
            QTest::newRow(name) << "{" + fields + "}" << toast << nickname;
        };
        row("says nothing of itself", R"("user_id": "u", "nick_name": "n")", {}, "n");
        row("is disabled", R"("user_id": "u", "nick_name": "n", "status": "disabled")",
            "账号异常:disabled", "n");
        row("has an empty status", R"("user_id": "u", "nick_name": "n", "status": "")",
            "账号异常:", "n");
        row("is written otherwise", R"("user_id": "u", "nick_name": "n", "status": "Enabled")",
            "账号异常:Enabled", "n");
        row("has no name, or not here", R"("user_id": "u", "status": "enabled")", {}, {});
        row("had a name", R"("user_id": "known", "status": "enabled")", {}, "老用户");
        row("has no id", R"("status": "enabled", "nick_name": "n")", "获取用户云盘信息失败", {});
    }
    void theAccountDecides()
    {
        QFETCH(QByteArray, driveInfo);
        QFETCH(QString, toast);
        QFETCH(QString, name);
        AppSettings().setCurUserId("someone");
        server().addFault(FaultOn(DrivePath).body(driveInfo.toStdString()));
        server().addFault(FaultOn("/oauth/users/info").always().freezes()); // no login waits for it
        UserInfo known;
        known.userId = QString("known");
        known.nickname = QString("老用户");
        saveUserInfo(known);
        open();
        QSignalSpy success(m_dialog.get(), &QRLoginDlg::loginSuccess);
        hurry();
        confirm();
        QTRY_COMPARE(toasts().value(0), toast);
        QTRY_COMPARE(success.size(), toast.isEmpty() ? 1 : 0);
        QCOMPARE(m_dialog->isVisible(), !toast.isEmpty());
        const QString id = driveInfo.contains("known") ? "known" : "u";
        UserInfo user;
        loadUserInfo(id, user);
        QCOMPARE(user.nickname.value(), name);
        QCOMPARE(AppSettings().curUserId(), driveInfo.contains("user_id") ? id : "someone");
    }
    // A timer that was left behind would poll on and exchange the new code a second time; what the
    // old code's poll brings late is not said of the new one.
    void refreshDuringAPollLeavesOneTimer()
    {
        open();
        hurry();
        server().addFault(FaultOn(StatusPath).delay(300).body(R"({"status": "ScanSuccess"})"));
        server().addFault(FaultOn(TokenPath).freezes());
        const int before = polls(0);
        QTRY_VERIFY(polls(0) > before);
        refresh();
        QTRY_COMPARE(codes(), std::size_t(2));
        QTRY_VERIFY(polls(1) > 0); // a second later
        QCOMPARE(tip(), Waiting);
        hurry(1);
        confirm();
        QTRY_COMPARE(tip(), Confirmed);
        QVERIFY(m_dialog->findChildren<QTimer *>().size() == 1 && !isPolling());
        const int polled = polls(1);
        QTest::qWait(100);
        QCOMPARE(polls(1), polled);
        QCOMPARE(asked(TokenPath), 1);
    }
    void whatWasAllowedCountsAlsoForACodeThatWasReplaced()
    {
        open();
        hurry();
        server().addFault(FaultOn(StatusPath).delay(300));
        const int before = polls(0);
        confirm();
        QTRY_VERIFY(polls(0) > before);
        LogCapture log;
        refresh();
        QTRY_COMPARE(m_dialog->result(), 1);
        QCOMPARE(codes(), std::size_t(2));
        QCOMPARE(asked(TokenPath), 1);
        QVERIFY(log.contains("oauth/qrcode status= \"LoginSuccess\""));
        QCOMPARE(countUsers(), 1);
    }
    void onlyTheNewestCodesFailureCounts()
    {
        server().addFault(FaultOn(QrPath).delay(300).status(500));
        open();
        QTRY_COMPARE(asked(QrPath), 1);
        refresh();
        hurry();
        QTest::qWait(400);
        QCOMPARE(tip(), Waiting);
        QVERIFY(!child<QPushButton>("btnRefreshQrcode")->isDefault());
        // The code that is shown can still be scanned: the focus stays where it is.
        server().addFault(FaultOn(QrPath).status(500));
        refresh();
        QTRY_COMPARE(asked(QrPath), 3);
        QTRY_COMPARE(toasts(), QStringList{"获取登录二维码请求失败"}); // its poll changes the tip
        const int polled = polls(0);
        QTRY_VERIFY(polls(0) > polled + 5);
        QVERIFY(!child<QPushButton>("btnRefreshQrcode")->isDefault());
    }
    void anExpiredCodeAsksForOneNewCode()
    {
        open();
        hurry();
        server().addFault(FaultOn(StatusPath).always().body(R"({"status": "QRCodeExpired"})"));
        server().addFault(FaultOn(QrPath).always().freezes());
        QTRY_COMPARE(asked(QrPath), 2);
        const int polled = polls(0);
        QTRY_VERIFY(polls(0) > polled + 3);
        QCOMPARE(asked(QrPath), 2);
        refresh(); // beside the one that is open
        QTRY_COMPARE(asked(QrPath), 3);
    }
    void onlyACodeThatTheUserAskedForFailsAloud()
    {
        open();
        hurry();
        server().addFault(FaultOn(StatusPath).always().body(R"({"status": "QRCodeExpired"})"));
        server().addFault(FaultOn(QrPath).always().status(500));
        const QString failed = "获取登录二维码请求失败";
        QTRY_VERIFY(asked(QrPath) > 3);
        QCOMPARE(tip(), failed);
        QCOMPARE(toasts(), QStringList());
        refresh();
        QTRY_COMPARE(toasts(), QStringList{failed});
    }
    void aCodesSidIsPolledIfItHasOne()
    {
        open();
        hurry();
        const auto replyWith = [this](const std::string &fields) {
            const int before = asked(QrPath);
            server().addFault(FaultOn(QrPath).body("{\"qrCodeUrl\": \"u\"" + fields + "}"));
            refresh();
            QTRY_COMPARE(asked(QrPath), before + 1);
        };
        replyWith(""); // what it lacks stays as it was
        hurry();
        server().clearRequests();
        QTRY_VERIFY(polls(0) > 0);
        replyWith(", \"sid\": \"\"");
        hurry();
        QTRY_VERIFY(!isPolling());
        server().clearRequests();
        QTest::qWait(100);
        QVERIFY(server().requests().empty());
    }
    void aLoginThatCannotBeStoredIsSaid()
    {
        open();
        hurry();
        database()->close();
        confirm();
        QTRY_COMPARE(toasts(), QStringList{"登录信息无法保存"});
        QVERIFY(m_dialog->isVisible());
        QCOMPARE(AppSettings().curUserId(), "");
    }
    void aLateReplyIsLoggedAndDropped_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("fails");
        QTest::addColumn<bool>("isOnlyClosed");
        QTest::addColumn<QString>("logWord");
        for (const bool fails : {false, true}) {
            const auto row = [fails](const char *name, const std::string &path,
                                     const QString &logWord) {
                QTest::addRow("%s, %s", name, fails ? "failure" : "success")
                    << text(path) << fails << !fails << logWord;
            };
            row("code", QrPath, "refreshQRCode");
            row("token", TokenPath, "getAccessToken");
            row("drive", DrivePath, "getDriveInfo");
        }
        QTest::newRow("status") << text(StatusPath) << false << false << "qrcode";
    }
    void aLateReplyIsLoggedAndDropped()
    {
        QFETCH(QString, path);
        QFETCH(bool, fails);
        QFETCH(bool, isOnlyClosed);
        QFETCH(QString, logWord);
        server().addFault(FaultOn(path.toStdString()).delay(200).status(fails ? 500 : 0));
        LogCapture log;
        open();
        QSignalSpy success(m_dialog.get(), &QRLoginDlg::loginSuccess);
        if (path != text(QrPath)) {
            hurry();
            confirm();
        }
        QTRY_VERIFY(!server().requests().empty() &&
                    text(server().requests().back().path).endsWith(path));
        if (isOnlyClosed) {
            m_dialog->close();
        } else {
            m_dialog.reset();
        }
        const QString line = QString("dialog is destoryed, exit %1.").arg(logWord);
        QTRY_COMPARE(log.lines().filter("dialog is destoryed"), QStringList{line});
        QVERIFY(toasts().isEmpty() && success.isEmpty());
        QCOMPARE(countUsers(), 0);
        QCOMPARE(AppSettings().curUserId(), "");
    }
    void cancelRejectsOrQuits_data()
    {
        QTest::addColumn<QString>("end");
        QTest::addColumn<bool>("quits");
        for (const char *end : {"btnCancle", "Esc", "closeButton"}) {
            QTest::addRow("%s rejects", end) << end << false;
            QTest::addRow("%s quits", end) << end << true;
        }
    }
    void cancelRejectsOrQuits()
    {
        QFETCH(QString, end);
        QFETCH(bool, quits);
        m_dialog = std::make_unique<QRLoginDlg>();
        m_dialog->setQuitOnCancel(quits);
        QTimer::singleShot(20, m_dialog.get(), [&] {
            if (end == "Esc") {
                QTest::keyClick(m_dialog.get(), Qt::Key_Escape);
            } else {
                m_dialog->findChild<QAbstractButton *>(end)->click();
            }
        });
        // The dialog runs modally over the main loop, as after the last user has logged out.
        int result = -1;
        QTimer::singleShot(0, this, [&] {
            result = m_dialog->exec();
            if (!quits) {
                QCoreApplication::exit(5);
            }
        });
        QCOMPARE(QCoreApplication::exec(), quits ? 0 : 5);
        QCOMPARE(result, 0);
        QCOMPARE(m_dialog->closedByUser(), !quits);
    }

private:
    localdrive::Server &server() { return m_drive->server(); }
    int asked(const std::string &path) const { return int(m_drive->requests(text(path)).size()); }
    std::size_t codes() { return server().loginSessions().size(); }
    int polls(std::size_t code) // 0 for one that is not made yet
    {
        const auto known = server().loginSessions();
        return known.size() > code ? asked("/oauth/qrcode/" + known[code] + "/status") : 0;
    }
    template <class Widget>
    Widget *child(const char *name) const
    {
        return m_dialog->findChild<Widget *>(name);
    }
    QString tip() const { return child<QLabel>("tipMsg")->text(); }
    void refresh() { child<QPushButton>("btnRefreshQrcode")->click(); }
    bool isPolling() const
    {
        const auto timers = m_dialog->findChildren<QTimer *>();
        return timers.size() == 1 && timers[0]->isActive();
    }
    void open()
    {
        m_dialog = std::make_unique<QRLoginDlg>();
        m_dialog->show();
    }
    // Waits for the code that follows the first `before`, and polls it fifty times as fast.
    void hurry(std::size_t before = 0)
    {
        const auto timer = [this] { return m_dialog->findChild<QTimer *>(); };
        QTRY_VERIFY(codes() > before && timer() && timer()->interval() == 1000);
        timer()->start(20);
    }
    void confirm(int account = 0)
    {
        server().confirmLogin(server().loginSessions().back(), account);
    }

    std::unique_ptr<DriveFixture> m_drive;
    std::unique_ptr<QRLoginDlg> m_dialog;
};

MORAVU_TEST(TestQRLoginDlg)
#include "tst_qr_login_dlg.moc"
