#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include "app/environment/app_settings.h"
#include "db/tables/database.h"
#include "db/tables/operations.h"
#include "login/qr_login_dlg.h"
#include "session/drive_fixture.h"

namespace {

const QString initialTip = QStringLiteral("请用阿里云盘App扫码登录");
const QString qrPath = QStringLiteral("/app/oauth/authorize/qrcode");
const QString statusPath = QStringLiteral("/oauth/qrcode/.*/status");
const QString tokenPath = QStringLiteral("/app/oauth/accessToken");
const QString drivePath = QStringLiteral("/adrive/v1.0/user/getDriveInfo");

localdrive::Fault status(int number)
{
    localdrive::Fault fault;
    fault.status = number;
    return fault;
}

localdrive::Fault body(const char *text)
{
    localdrive::Fault fault;
    fault.body = text;
    return fault;
}

localdrive::Fault wire(localdrive::Break kind)
{
    localdrive::Fault fault;
    fault.wire = kind;
    // Qt itself sends again what was cut before the first byte of a reply.
    fault.count = kind == localdrive::Break::CloseBeforeReply ? -1 : 1;
    return fault;
}

localdrive::Fault late(int milliseconds)
{
    localdrive::Fault fault;
    fault.delay = localdrive::Milliseconds(milliseconds);
    return fault;
}

QString tip(const QRLoginDlg &dialog)
{
    return dialog.findChild<QLabel *>(QStringLiteral("tipMsg"))->text();
}

bool showsCode(const QRLoginDlg &dialog)
{
    const auto *label = dialog.findChild<QLabel *>(QStringLiteral("labelQrCode"));
    return !label->pixmap(Qt::ReturnByValue).isNull();
}

bool polls(const QRLoginDlg &dialog)
{
    const auto timers = dialog.findChildren<QTimer *>();
    return timers.size() == 1 && timers[0]->isActive();
}

// The texts of the toasts on the screen.
QStringList toasts()
{
    QStringList texts;
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (const QWidget *window : windows) {
        if (window->objectName() == QLatin1String("Toast") && window->isVisible()) {
            texts.append(window->findChild<QLabel *>()->text());
        }
    }
    return texts;
}

void closeToasts()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (window->objectName() == QLatin1String("Toast")) {
            delete window;
        }
    }
}

} // namespace

Q_DECLARE_METATYPE(localdrive::Fault)

class TestQRLoginFailures final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void aFailureIsShownAndTheDialogStays_data();
    void aFailureIsShownAndTheDialogStays();
    void aBackendThatIsDownIsAFailedRequest();
    void failuresOfTheLaterStepsAreLogged_data();
    void failuresOfTheLaterStepsAreLogged();
    void refreshLeadsOnFromAFailure_data();
    void refreshLeadsOnFromAFailure();
    void eachStatusHasItsTextAndItsNextStep_data();
    void eachStatusHasItsTextAndItsNextStep();
    void aFailedPollEndsPollingSilently_data();
    void aFailedPollEndsPollingSilently();
    void anExpiredCodeIsReplaced();
    void aCodeThatLacksFieldsKeepsTheEarlierOnes();
    void aCancelledCodeIsPolledOn();
    void anEmptySidIsNeverPolled();
    void aRefusedAccountIsStoredButNotLoggedIn();
    void driveInformationWithoutAUserChangesNothing();
    void aLoginThatCannotBeStoredIsSaid();
    void aLateReplyIsLoggedAndDropped_data();
    void aLateReplyIsLoggedAndDropped();
    void aReplyAfterCancelLogsNobodyIn();

private:
    void add(const QString &path, localdrive::Fault fault);
    void reachTheTokenStep();

    std::unique_ptr<DriveFixture> m_drive;
    std::unique_ptr<QRLoginDlg> m_dialog;
};

void TestQRLoginFailures::init()
{
    m_drive = std::make_unique<DriveFixture>();
}

void TestQRLoginFailures::cleanup()
{
    m_dialog.reset();
    closeToasts();
    m_drive.reset();
}

void TestQRLoginFailures::add(const QString &path, localdrive::Fault fault)
{
    fault.path = path.toStdString();
    m_drive->server().addFault(fault);
}

// Opens the dialog and lets the phone confirm its code.
void TestQRLoginFailures::reachTheTokenStep()
{
    m_dialog = std::make_unique<QRLoginDlg>();
    m_dialog->show();
    QTRY_COMPARE(m_drive->server().loginSessions().size(), std::size_t(1));
    m_drive->server().confirmLogin(m_drive->server().loginSessions()[0]);
    QTRY_COMPARE_WITH_TIMEOUT(m_drive->requests(tokenPath).size(), std::size_t(1), 3000);
}

void TestQRLoginFailures::aFailureIsShownAndTheDialogStays_data()
{
    using localdrive::Break;
    QTest::addColumn<QString>("path");
    QTest::addColumn<localdrive::Fault>("fault");
    QTest::addColumn<QString>("shownTip");
    QTest::addColumn<QString>("shownToast");
    const QString accepted = QStringLiteral("已请允许扫描登录");
    const QString noToast;

    const QString requestFailed = QStringLiteral("获取登录二维码请求失败");
    const QString noAddress = QStringLiteral("获取登录二维码失败");
    QTest::newRow("QR: backend error") << qrPath << status(500) << requestFailed << noToast;
    QTest::newRow("QR: cut before the reply")
        << qrPath << wire(Break::CloseBeforeReply) << requestFailed << noToast;
    QTest::newRow("QR: cut inside the reply")
        << qrPath << wire(Break::CloseInsideBody) << requestFailed << noToast;
    QTest::newRow("QR: frozen") << qrPath << wire(Break::Freeze) << initialTip << noToast;
    QTest::newRow("QR: empty reply")
        << qrPath << body("") << QStringLiteral("获取二维码失败") << noToast;
    QTest::newRow("QR: no address") << qrPath << body(R"({"sid": "s"})") << noAddress << noToast;
    QTest::newRow("QR: not JSON") << qrPath << body("<html>502</html>") << noAddress << noToast;

    const QString tokenFailed = QStringLiteral("获取授权信息请求失败");
    const QString noToken = QStringLiteral("获取授权信息失败");
    QTest::newRow("token: backend error") << tokenPath << status(500) << tokenFailed << noToast;
    QTest::newRow("token: cut before the reply")
        << tokenPath << wire(Break::CloseBeforeReply) << tokenFailed << noToast;
    QTest::newRow("token: cut inside the reply")
        << tokenPath << wire(Break::CloseInsideBody) << tokenFailed << noToast;
    QTest::newRow("token: frozen") << tokenPath << wire(Break::Freeze) << accepted << noToast;
    QTest::newRow("token: empty reply")
        << tokenPath << body("") << QStringLiteral("获取授权信息失败,请更新你的版本") << noToast;
    QTest::newRow("token: without token")
        << tokenPath << body(R"({"refreshToken": "r"})") << noToken << noToast;
    QTest::newRow("token: not JSON") << tokenPath << body("[]") << noToken << noToast;

    const QString noDrive = QStringLiteral("获取用户云盘信息失败");
    QTest::newRow("drive: server error") << drivePath << status(500) << accepted << noDrive;
    QTest::newRow("drive: token refused") << drivePath << status(401) << accepted << noDrive;
    QTest::newRow("drive: cut before the reply")
        << drivePath << wire(Break::CloseBeforeReply) << accepted << noDrive;
    QTest::newRow("drive: cut inside the reply")
        << drivePath << wire(Break::CloseInsideBody) << accepted << noDrive;
    QTest::newRow("drive: frozen") << drivePath << wire(Break::Freeze) << accepted << noToast;
    QTest::newRow("drive: not JSON") << drivePath << body("<html>") << accepted << noDrive;
}

void TestQRLoginFailures::aFailureIsShownAndTheDialogStays()
{
    QFETCH(QString, path);
    QFETCH(localdrive::Fault, fault);
    QFETCH(QString, shownTip);
    QFETCH(QString, shownToast);
    add(path, fault);
    m_dialog = std::make_unique<QRLoginDlg>();
    QSignalSpy success(m_dialog.get(), &QRLoginDlg::loginSuccess);
    m_dialog->show();
    if (path != qrPath) {
        QTRY_COMPARE(m_drive->server().loginSessions().size(), std::size_t(1));
        m_drive->server().confirmLogin(m_drive->server().loginSessions()[0]);
    }
    QTRY_VERIFY_WITH_TIMEOUT(!m_drive->requests(path).empty(), 3000);
    QTRY_COMPARE(tip(*m_dialog), shownTip);
    QTRY_COMPARE(toasts().join(QLatin1Char('|')), shownToast);
    QTest::qWait(50);
    QVERIFY(!polls(*m_dialog));
    QVERIFY(m_dialog->isVisible());
    QCOMPARE(success.size(), 0);
    QCOMPARE(countUsers(), 0);
    QCOMPARE(AppSettings().curUserId(), QString());
}

void TestQRLoginFailures::aBackendThatIsDownIsAFailedRequest()
{
    m_drive->server().stop();
    m_dialog = std::make_unique<QRLoginDlg>();
    m_dialog->show();
    QTRY_COMPARE(tip(*m_dialog), QStringLiteral("获取登录二维码请求失败"));
    QVERIFY(!showsCode(*m_dialog));
    QVERIFY(!polls(*m_dialog));
    QVERIFY(m_dialog->isVisible());
    // Once it is up again, Refresh leads on.
    QVERIFY(m_drive->server().start());
    m_dialog->findChild<QPushButton *>(QStringLiteral("btnRefreshQrcode"))->click();
    QTRY_VERIFY(showsCode(*m_dialog));
    QVERIFY(polls(*m_dialog));
}

void TestQRLoginFailures::failuresOfTheLaterStepsAreLogged_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("line");
    QTest::newRow("token") << tokenPath << QStringLiteral("getAccessToken请求失败: \"");
    QTest::newRow("drive") << drivePath << QStringLiteral("getDriveInfo fail \"");
}

void TestQRLoginFailures::failuresOfTheLaterStepsAreLogged()
{
    QFETCH(QString, path);
    QFETCH(QString, line);
    add(path, status(500));
    LogCapture log;
    reachTheTokenStep();
    QTRY_COMPARE(log.lines().filter(QRegularExpression(QLatin1Char('^') + line)).size(), 1);
}

void TestQRLoginFailures::refreshLeadsOnFromAFailure_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<localdrive::Fault>("fault");
    QTest::newRow("QR code, failed") << qrPath << status(500);
    QTest::newRow("QR code, frozen") << qrPath << wire(localdrive::Break::Freeze);
    QTest::newRow("status, failed") << statusPath << status(500);
    QTest::newRow("token, failed") << tokenPath << status(500);
    QTest::newRow("token, frozen") << tokenPath << wire(localdrive::Break::Freeze);
    QTest::newRow("drive, failed") << drivePath << status(500);
}

void TestQRLoginFailures::refreshLeadsOnFromAFailure()
{
    QFETCH(QString, path);
    QFETCH(localdrive::Fault, fault);
    add(path, fault);
    m_dialog = std::make_unique<QRLoginDlg>();
    QSignalSpy success(m_dialog.get(), &QRLoginDlg::loginSuccess);
    m_dialog->show();
    if (path != qrPath) {
        QTRY_COMPARE(m_drive->server().loginSessions().size(), std::size_t(1));
        m_drive->server().confirmLogin(m_drive->server().loginSessions()[0]);
    }
    QTest::qWait(1300);
    const std::size_t codes = m_drive->server().loginSessions().size();
    m_dialog->findChild<QPushButton *>(QStringLiteral("btnRefreshQrcode"))->click();
    QTRY_COMPARE(m_drive->server().loginSessions().size(), codes + 1);
    m_drive->server().confirmLogin(m_drive->server().loginSessions().back());
    QTRY_COMPARE_WITH_TIMEOUT(success.size(), 1, 3000);
    QCOMPARE(m_dialog->result(), 1);
}

void TestQRLoginFailures::eachStatusHasItsTextAndItsNextStep_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("shownTip");
    QTest::addColumn<bool>("pollsOn");
    QTest::addColumn<QString>("logged");
    const QString before = QStringLiteral("扫码成功，请确认登录");
    const auto reply = [](const char *name) {
        return QByteArrayLiteral("{\"authCode\": \"c\", \"status\": \"") + name + "\"}";
    };
    QTest::newRow("waiting") << reply("WaitLogin") << initialTip << true
                             << QStringLiteral("\"WaitLogin\"");
    QTest::newRow("scanned") << reply("ScanSuccess") << before << true
                             << QStringLiteral("\"ScanSuccess\"");
    QTest::newRow("confirmed") << reply("LoginSuccess") << QStringLiteral("已请允许扫描登录")
                               << false << QStringLiteral("\"LoginSuccess\"");
    QTest::newRow("cancelled") << reply("CANCELED") << QStringLiteral("已取消扫描登录") << true
                               << QStringLiteral("\"CANCELED\"");
    QTest::newRow("expired") << reply("QRCodeExpired") << before << true
                             << QStringLiteral("\"QRCodeExpired\"");
    QTest::newRow("unknown") << reply("Sleeping") << before << true
                             << QStringLiteral("\"Sleeping\"");
    QTest::newRow("in other letters")
        << reply("loginsuccess") << before << true << QStringLiteral("\"loginsuccess\"");
    QTest::newRow("not JSON") << QByteArray("LoginSuccess") << before << true
                              << QStringLiteral("\"\"");
    QTest::newRow("empty") << QByteArray("") << before << true << QStringLiteral("\"\"");
}

void TestQRLoginFailures::eachStatusHasItsTextAndItsNextStep()
{
    QFETCH(QByteArray, reply);
    QFETCH(QString, shownTip);
    QFETCH(QString, logged);
    // The phone has scanned; the reply under test comes next, and the token never.
    add(statusPath, body(R"({"status": "ScanSuccess"})"));
    add(tokenPath, wire(localdrive::Break::Freeze));
    LogCapture log;
    m_dialog = std::make_unique<QRLoginDlg>();
    m_dialog->show();
    QTRY_COMPARE_WITH_TIMEOUT(tip(*m_dialog), QStringLiteral("扫码成功，请确认登录"), 3000);
    add(statusPath, body(reply.constData()));
    const QString line = QStringLiteral("oauth/qrcode status= ") + logged;
    const int before = log.lines().filter(line).size();
    QTRY_VERIFY_WITH_TIMEOUT(log.lines().filter(line).size() > before, 3000);
    QTRY_COMPARE(tip(*m_dialog), shownTip);
    QTEST(polls(*m_dialog), "pollsOn");
    const bool exchanges = logged == QLatin1String("\"LoginSuccess\"");
    QTRY_COMPARE(m_drive->requests(tokenPath).size(), std::size_t(exchanges ? 1 : 0));
    const bool asksAgain = logged == QLatin1String("\"QRCodeExpired\"");
    QTRY_COMPARE(m_drive->requests(qrPath).size(), std::size_t(asksAgain ? 2 : 1));
}

void TestQRLoginFailures::aFailedPollEndsPollingSilently_data()
{
    using localdrive::Break;
    QTest::addColumn<localdrive::Fault>("fault");
    QTest::newRow("server error") << status(500);
    QTest::newRow("cut before the reply") << wire(Break::CloseBeforeReply);
    QTest::newRow("cut inside the reply") << wire(Break::CloseInsideBody);
    QTest::newRow("frozen") << wire(Break::Freeze);
}

void TestQRLoginFailures::aFailedPollEndsPollingSilently()
{
    QFETCH(localdrive::Fault, fault);
    add(statusPath, fault);
    m_dialog = std::make_unique<QRLoginDlg>();
    m_dialog->show();
    QTRY_VERIFY_WITH_TIMEOUT(m_drive->server().requests().size() > 1, 3000);
    QTest::qWait(200);
    const std::size_t asked = m_drive->server().requests().size();
    QTest::qWait(1300);
    QCOMPARE(m_drive->server().requests().size(), asked);
    QVERIFY(!polls(*m_dialog));
    QVERIFY(showsCode(*m_dialog));
    QCOMPARE(tip(*m_dialog), initialTip);
    QVERIFY(toasts().isEmpty());
}

void TestQRLoginFailures::anExpiredCodeIsReplaced()
{
    m_dialog = std::make_unique<QRLoginDlg>();
    m_dialog->show();
    QTRY_VERIFY(showsCode(*m_dialog));
    m_drive->server().expireLogin(m_drive->server().loginSessions()[0]);
    QTRY_COMPARE_WITH_TIMEOUT(m_drive->server().loginSessions().size(), std::size_t(2), 3000);
    QTest::qWait(100);
    QCOMPARE(m_dialog->findChildren<QTimer *>().size(), 1);
    QSignalSpy success(m_dialog.get(), &QRLoginDlg::loginSuccess);
    m_drive->server().confirmLogin(m_drive->server().loginSessions()[1]);
    QTRY_COMPARE_WITH_TIMEOUT(success.size(), 1, 3000);
}

void TestQRLoginFailures::aCodeThatLacksFieldsKeepsTheEarlierOnes()
{
    m_dialog = std::make_unique<QRLoginDlg>();
    m_dialog->show();
    QTRY_VERIFY(showsCode(*m_dialog));
    add(qrPath, body(R"({"qrCodeUrl": "http://127.0.0.1/q"})"));
    m_dialog->findChild<QPushButton *>(QStringLiteral("btnRefreshQrcode"))->click();
    QTRY_COMPARE(m_drive->requests(qrPath).size(), std::size_t(2));
    m_drive->server().clearRequests();
    const QString first = text(m_drive->server().loginSessions()[0]);
    const QString poll = QStringLiteral("/oauth/qrcode/%1/status").arg(first);
    QTRY_VERIFY_WITH_TIMEOUT(!m_drive->requests(poll).empty(), 3000);
}

void TestQRLoginFailures::aCancelledCodeIsPolledOn()
{
    m_dialog = std::make_unique<QRLoginDlg>();
    m_dialog->show();
    QTRY_VERIFY(showsCode(*m_dialog));
    m_drive->server().cancelLogin(m_drive->server().loginSessions()[0]);
    QTRY_COMPARE_WITH_TIMEOUT(tip(*m_dialog), QStringLiteral("已取消扫描登录"), 3000);
    m_drive->server().clearRequests();
    QTRY_COMPARE_WITH_TIMEOUT(m_drive->server().requests().size(), std::size_t(2), 4000);
    QCOMPARE(m_drive->server().loginSessions().size(), std::size_t(1));
}

void TestQRLoginFailures::anEmptySidIsNeverPolled()
{
    add(qrPath, body(R"({"qrCodeUrl": "http://127.0.0.1/q", "sid": ""})"));
    m_dialog = std::make_unique<QRLoginDlg>();
    m_dialog->show();
    QTRY_VERIFY(showsCode(*m_dialog));
    QVERIFY(polls(*m_dialog));
    QTRY_VERIFY_WITH_TIMEOUT(!polls(*m_dialog), 2000);
    QTest::qWait(1200);
    QCOMPARE(m_drive->server().requests().size(), std::size_t(1));
}

void TestQRLoginFailures::aRefusedAccountIsStoredButNotLoggedIn()
{
    m_drive->server().setAccountStatus(0, "disabled");
    reachTheTokenStep();
    QSignalSpy success(m_dialog.get(), &QRLoginDlg::loginSuccess);
    QTRY_COMPARE(toasts(), QStringList{QStringLiteral("账号异常:disabled")});
    QVERIFY(m_dialog->isVisible());
    QVERIFY(!polls(*m_dialog));
    QCOMPARE(success.size(), 0);
    UserInfo user;
    QVERIFY(loadUserInfo(text(m_drive->server().userId()), user));
    QCOMPARE(AppSettings().curUserId(), user.userId.value());
}

void TestQRLoginFailures::driveInformationWithoutAUserChangesNothing()
{
    AppSettings().setCurUserId(QStringLiteral("someone"));
    add(drivePath, body(R"({"status": "enabled", "nick_name": "n"})"));
    reachTheTokenStep();
    QTRY_COMPARE(toasts(), QStringList{QStringLiteral("获取用户云盘信息失败")});
    QVERIFY(m_dialog->isVisible());
    QCOMPARE(countUsers(), 0);
    QCOMPARE(AppSettings().curUserId(), QStringLiteral("someone"));
}

void TestQRLoginFailures::aLoginThatCannotBeStoredIsSaid()
{
    const QSignalSpy success(m_dialog.get(), &QRLoginDlg::loginSuccess);
    database()->close();
    reachTheTokenStep();
    QTRY_COMPARE(toasts(), QStringList{QStringLiteral("登录信息无法保存")});
    QVERIFY(m_dialog->isVisible());
    QCOMPARE(success.size(), 0);
    QVERIFY(AppSettings().curUserId().isEmpty());
}

void TestQRLoginFailures::aLateReplyIsLoggedAndDropped_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("fails");
    QTest::addColumn<QString>("step");
    for (const bool fails : {false, true}) {
        const char *kind = fails ? "failure" : "success";
        QTest::addRow("QR code, %s", kind) << qrPath << fails << QStringLiteral("refreshQRCode");
        QTest::addRow("token, %s", kind) << tokenPath << fails << QStringLiteral("getAccessToken");
        QTest::addRow("drive, %s", kind) << drivePath << fails << QStringLiteral("getDriveInfo");
    }
    QTest::newRow("status, success") << statusPath << false << QStringLiteral("qrcode");
}

void TestQRLoginFailures::aLateReplyIsLoggedAndDropped()
{
    QFETCH(QString, path);
    QFETCH(bool, fails);
    QFETCH(QString, step);
    localdrive::Fault fault = late(200);
    fault.status = fails ? 500 : 0;
    add(path, fault);
    LogCapture log;
    m_dialog = std::make_unique<QRLoginDlg>();
    m_dialog->show();
    if (path != qrPath) {
        QTRY_COMPARE(m_drive->server().loginSessions().size(), std::size_t(1));
        m_drive->server().confirmLogin(m_drive->server().loginSessions()[0]);
    }
    const auto arrived = [&] {
        const auto requests = m_drive->server().requests();
        return !requests.empty() &&
               QRegularExpression(path).match(text(requests.back().path)).hasMatch();
    };
    QTRY_VERIFY_WITH_TIMEOUT(arrived(), 3000);
    m_dialog.reset();
    const QString line = QStringLiteral("dialog is destoryed, exit %1.").arg(step);
    QTRY_COMPARE(log.lines().filter(line), QStringList{line});
    QVERIFY(toasts().isEmpty());
    QCOMPARE(countUsers(), 0);
}

void TestQRLoginFailures::aReplyAfterCancelLogsNobodyIn()
{
    add(drivePath, late(300));
    reachTheTokenStep();
    QSignalSpy success(m_dialog.get(), &QRLoginDlg::loginSuccess);
    QTRY_COMPARE(m_drive->requests(drivePath).size(), std::size_t(1));
    LogCapture log;
    m_dialog->close();
    QCOMPARE(m_dialog->result(), 0);
    QTRY_COMPARE(log.lines(),
                 QStringList{QStringLiteral("dialog is destoryed, exit getDriveInfo.")});
    QCOMPARE(success.size(), 0);
    QCOMPARE(countUsers(), 0);
    QCOMPARE(AppSettings().curUserId(), QString());
}

QTEST_MAIN(TestQRLoginFailures)
#include "tst_qr_login_failures.moc"
