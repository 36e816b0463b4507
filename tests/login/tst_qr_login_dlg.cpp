#include "login/qr_login_dlg.h"

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include "app/environment/app_settings.h"
#include "db/tables/operations.h"
#include "session/drive_fixture.h"

namespace {

const QString qrPath = QStringLiteral("/app/oauth/authorize/qrcode");
const QString tokenPath = QStringLiteral("/app/oauth/accessToken");

QString tip(const QRLoginDlg &dialog)
{
    return dialog.findChild<QLabel *>(QStringLiteral("tipMsg"))->text();
}

QPixmap code(const QRLoginDlg &dialog)
{
    return dialog.findChild<QLabel *>(QStringLiteral("labelQrCode"))->pixmap(Qt::ReturnByValue);
}

void press(const QRLoginDlg &dialog, const QString &button)
{
    dialog.findChild<QPushButton *>(button)->click();
}

std::string sidOf(localdrive::Server &server, std::size_t index = 0)
{
    return server.loginSessions().at(index);
}

int polls(DriveFixture &drive, std::size_t session = 0)
{
    const QString sid = text(sidOf(drive.server(), session));
    return int(drive.requests(QStringLiteral("/oauth/qrcode/%1/status").arg(sid)).size());
}

// What zbarimg reads in a picture of the dialog at its real size.
QString scanned(QRLoginDlg &dialog)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("dialog.png"));
    dialog.grab().save(file);
    QProcess zbar;
    zbar.start(QStringLiteral("zbarimg"), {QStringLiteral("-q"), QStringLiteral("--raw"), file});
    zbar.waitForFinished();
    return QString::fromUtf8(zbar.readAllStandardOutput()).trimmed();
}

} // namespace

class TestQRLoginDlg final : public QObject
{
    Q_OBJECT

private slots:
    void keepsItsMeasuresUnderTheSkin();
    void isBuiltAsDesigned();
    void asksForACodeAndPolls();
    void theCodeCanBeScanned();
    void refreshReplacesTheCode();
    void twoQuickRefreshesLeaveOneTimer();
    void aScanRunsThroughToTheLogin();
    void aSecondUserIsAddedToTheFirst();
    void aSecondLoginReplacesTheTokens();
    void endsAreRejections_data();
    void endsAreRejections();
    void cancelQuitsWhereAsked_data();
    void cancelQuitsWhereAsked();
};

void TestQRLoginDlg::keepsItsMeasuresUnderTheSkin()
{
    QFile skin(QStringLiteral(":/skin/qss/Ubuntu.qss"));
    QVERIFY(skin.open(QIODevice::ReadOnly));
    qApp->setStyleSheet(QString::fromUtf8(skin.readAll()));
    DriveFixture drive;
    QRLoginDlg dialog;
    dialog.show();
    for (const char *name : {"btnRefreshQrcode", "btnCancle"}) {
        const QSize size = dialog.findChild<QPushButton *>(QLatin1String(name))->size();
        QVERIFY2(size.width() >= 100 && size.height() >= 40, name);
    }
    const auto *logo = dialog.findChild<QLabel *>(QStringLiteral("labelLogo"));
    const auto *message = dialog.findChild<QLabel *>(QStringLiteral("tipMsg"));
    QVERIFY(qAbs(logo->geometry().center().y() - message->geometry().center().y()) <= 1);
    QCOMPARE(message->alignment(), Qt::Alignment(Qt::AlignCenter));
    qApp->setStyleSheet(QString());
}

void TestQRLoginDlg::isBuiltAsDesigned()
{
    DriveFixture drive;
    QWidget other;
    QRLoginDlg dialog(&other);
    QCOMPARE(dialog.parentWidget(), nullptr);
    QCOMPARE(dialog.windowTitle(), QStringLiteral("青柚云盘PC版-扫码登录"));
    QCOMPARE(dialog.minimumSize(), QSize(500, 450));
    QCOMPARE(dialog.maximumSize(), QSize(500, 450));
    QVERIFY(dialog.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    QCOMPARE(tip(dialog), QStringLiteral("请用阿里云盘App扫码登录"));
    const auto *refresh = dialog.findChild<QPushButton *>(QStringLiteral("btnRefreshQrcode"));
    QCOMPARE(refresh->text(), QStringLiteral("刷新(&R)"));
    QCOMPARE(refresh->toolTip(), QStringLiteral("刷新二维码"));
    QVERIFY(!refresh->icon().isNull());
    const auto *cancel = dialog.findChild<QPushButton *>(QStringLiteral("btnCancle"));
    QCOMPARE(cancel->text(), QStringLiteral("退出(&X)"));
    QVERIFY(dialog.findChildren<QTimer *>().isEmpty());
}

void TestQRLoginDlg::asksForACodeAndPolls()
{
    DriveFixture drive;
    QRLoginDlg dialog;
    dialog.show();
    QTRY_VERIFY(!code(dialog).isNull());
    const auto requests = drive.requests(qrPath);
    QCOMPARE(requests.size(), std::size_t(1));
    QCOMPARE(text(requests[0].method), QStringLiteral("POST"));
    QCOMPARE(text(requests[0].body), QStringLiteral("alphaTestNum="));
    const auto timers = dialog.findChildren<QTimer *>();
    QCOMPARE(timers.size(), 1);
    QCOMPARE(timers[0]->interval(), 1000);
    QTRY_COMPARE_WITH_TIMEOUT(polls(drive), 2, 4000);
    QCOMPARE(drive.server().requests().back().method, std::string("GET"));
    QCOMPARE(tip(dialog), QStringLiteral("请用阿里云盘App扫码登录"));
}

void TestQRLoginDlg::theCodeCanBeScanned()
{
    if (QStandardPaths::findExecutable(QStringLiteral("zbarimg")).isEmpty()) {
        QSKIP("zbarimg is not installed");
    }
    DriveFixture drive;
    QRLoginDlg dialog;
    dialog.show();
    QTRY_VERIFY(!code(dialog).isNull());
    QCOMPARE(dialog.size(), QSize(500, 450));
    QCOMPARE(scanned(dialog),
             text(drive.server().baseUrl() + "/o/oauth/authorize?sid=" + sidOf(drive.server())));
}

void TestQRLoginDlg::refreshReplacesTheCode()
{
    DriveFixture drive;
    QRLoginDlg dialog;
    dialog.show();
    QTRY_VERIFY(!code(dialog).isNull());
    const QImage first = code(dialog).toImage();
    press(dialog, QStringLiteral("btnRefreshQrcode"));
    QCOMPARE(code(dialog).toImage(), first);
    QTRY_VERIFY(code(dialog).toImage() != first);
    QTRY_VERIFY_WITH_TIMEOUT(polls(drive, 1) > 0, 3000);
}

void TestQRLoginDlg::twoQuickRefreshesLeaveOneTimer()
{
    DriveFixture drive;
    QRLoginDlg dialog;
    dialog.show();
    press(dialog, QStringLiteral("btnRefreshQrcode"));
    press(dialog, QStringLiteral("btnRefreshQrcode"));
    QTRY_COMPARE(drive.server().loginSessions().size(), std::size_t(3));
    QTRY_VERIFY(!code(dialog).isNull());
    drive.server().clearRequests();
    QTest::qWait(2500);
    QCOMPARE(dialog.findChildren<QTimer *>().size(), 1);
    const auto requests = drive.server().requests();
    QVERIFY2(requests.size() == 2, "more than one poll a second");
}

void TestQRLoginDlg::aScanRunsThroughToTheLogin()
{
    DriveFixture drive;
    LogCapture log;
    QRLoginDlg dialog;
    dialog.show();
    QSignalSpy success(&dialog, &QRLoginDlg::loginSuccess);
    QSignalSpy finished(&dialog, &QDialog::finished);
    bool stillOpen = false;
    connect(&dialog, &QRLoginDlg::loginSuccess, this, [&] { stillOpen = dialog.isVisible(); });
    QTRY_COMPARE(drive.server().loginSessions().size(), std::size_t(1));
    const std::string sid = sidOf(drive.server());
    QVERIFY(drive.server().scanLogin(sid));
    QTRY_COMPARE_WITH_TIMEOUT(tip(dialog), QStringLiteral("扫码成功，请确认登录"), 3000);
    QVERIFY(drive.server().confirmLogin(sid));
    QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 3000);
    QCOMPARE(dialog.result(), 1);
    QVERIFY(!dialog.closedByUser());
    QCOMPARE(tip(dialog), QStringLiteral("已请允许扫描登录"));
    const QString userId = text(drive.server().userId());
    QCOMPARE(success, QList<QVariantList>{{userId}});
    QVERIFY(stillOpen);

    const auto exchange = drive.requests(tokenPath);
    QCOMPARE(exchange.size(), std::size_t(1));
    QCOMPARE(text(exchange[0].method), QStringLiteral("GET"));
    QCOMPARE(exchange[0].query.size(), std::size_t(2));
    QCOMPARE(exchange[0].query.find("alphaTestNum")->second, std::string());
    QVERIFY(!exchange[0].query.find("authCode")->second.empty());

    UserInfo user;
    QVERIFY(loadUserInfo(userId, user));
    QCOMPARE(user.driveId.value(), text(drive.server().driveId()));
    QVERIFY(!user.nickname.value().isEmpty());
    QVERIFY(!user.username.value().isEmpty());
    QVERIFY(!user.refreshToken.value().isEmpty());
    QCOMPARE(user.tokenExpiresIn.value(), 7200);
    QVERIFY(qAbs(user.updateTime.value().secsTo(QDateTime::currentDateTimeUtc())) < 5);
    QVERIFY(user.sboxDriveId.isNull());
    QCOMPARE(AppSettings().curUserId(), userId);

    const QStringList lines = log.lines();
    QVERIFY(lines[0].startsWith(QStringLiteral("GET_QRCODE ")));
    QVERIFY(lines.contains(QStringLiteral("oauth/qrcode status= \"ScanSuccess\"")));
    QVERIFY(lines.contains(QStringLiteral("oauth/qrcode status= \"LoginSuccess\"")));
    QVERIFY(lines.contains(
        QStringLiteral("获取accessToken成功: \"%1\"").arg(user.accessToken.value())));
    QCOMPARE(lines.filter(QStringLiteral("GET_ACCESS_TOKEN: ")).size(), 1);
    QCOMPARE(lines.filter(QStringLiteral("getDriveInfo success ")).size(), 1);
}

void TestQRLoginDlg::aSecondUserIsAddedToTheFirst()
{
    DriveFixture drive(2);
    const UserInfo first = drive.logIn(0, 100);
    QRLoginDlg dialog;
    dialog.show();
    QTRY_COMPARE(drive.server().loginSessions().size(), std::size_t(1));
    drive.server().confirmLogin(sidOf(drive.server()), 1);
    QTRY_COMPARE_WITH_TIMEOUT(dialog.result(), 1, 3000);
    QCOMPARE(countUsers(), 2);
    QCOMPARE(AppSettings().curUserId(), text(drive.server().userId(1)));
    UserInfo untouched;
    QVERIFY(loadUserInfo(first.userId.value(), untouched));
    QCOMPARE(untouched.accessToken.value(), first.accessToken.value());
    QCOMPARE(untouched.updateTime.value(), first.updateTime.value());
}

void TestQRLoginDlg::aSecondLoginReplacesTheTokens()
{
    DriveFixture drive;
    const UserInfo before = drive.logIn(0, 100000);
    QRLoginDlg dialog;
    dialog.show();
    QTRY_COMPARE(drive.server().loginSessions().size(), std::size_t(1));
    drive.server().confirmLogin(sidOf(drive.server()));
    QTRY_COMPARE_WITH_TIMEOUT(dialog.result(), 1, 3000);
    QCOMPARE(countUsers(), 1);
    UserInfo after;
    QVERIFY(loadUserInfo(before.userId.value(), after));
    QVERIFY(after.accessToken.value() != before.accessToken.value());
    QVERIFY(qAbs(after.updateTime.value().secsTo(QDateTime::currentDateTimeUtc())) < 5);
}

void TestQRLoginDlg::endsAreRejections_data()
{
    QTest::addColumn<int>("end");
    QTest::newRow("Cancel") << 0;
    QTest::newRow("Esc") << 1;
    QTest::newRow("close button") << 2;
}

void TestQRLoginDlg::endsAreRejections()
{
    QFETCH(int, end);
    DriveFixture drive;
    QRLoginDlg dialog;
    dialog.show();
    QSignalSpy finished(&dialog, &QDialog::finished);
    switch (end) {
    case 0:
        press(dialog, QStringLiteral("btnCancle"));
        break;
    case 1:
        QTest::keyClick(&dialog, Qt::Key_Escape);
        break;
    default:
        dialog.findChild<QAbstractButton *>(QStringLiteral("closeButton"))->click();
    }
    QCOMPARE(finished, QList<QVariantList>{{0}});
    QVERIFY(!dialog.isVisible());
    QVERIFY(dialog.closedByUser());
}

void TestQRLoginDlg::cancelQuitsWhereAsked_data()
{
    endsAreRejections_data();
}

void TestQRLoginDlg::cancelQuitsWhereAsked()
{
    QFETCH(int, end);
    DriveFixture drive;
    QRLoginDlg dialog;
    dialog.setQuitOnCancel(true);
    QTimer::singleShot(50, &dialog, [&] {
        if (end == 0) {
            press(dialog, QStringLiteral("btnCancle"));
        } else if (end == 1) {
            QTest::keyClick(&dialog, Qt::Key_Escape);
        } else {
            dialog.close();
        }
    });
    // The dialog runs modally over the main loop, as after the last user has logged out.
    int dialogResult = -1;
    QTimer::singleShot(0, this, [&] { dialogResult = dialog.exec(); });
    QCOMPARE(QCoreApplication::exec(), 0);
    QCOMPARE(dialogResult, 0);
    QVERIFY(!dialog.closedByUser());
}

QTEST_MAIN(TestQRLoginDlg)
#include "tst_qr_login_dlg.moc"
