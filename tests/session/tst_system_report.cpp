#include "api/session/system_report.h"

#include <QJsonDocument>
#include <QTest>

#include "app/environment/app_settings.h"
#include "app/environment/data_dir.h"
#include "db/tables/operations.h"
#include "session/drive_fixture.h"

namespace {

const QString reportPath = QStringLiteral("/app/cloudtv/pc/refresh");

QJsonObject lastReport(DriveFixture &drive)
{
    const auto reports = drive.server().reports();
    return reports.empty()
               ? QJsonObject()
               : QJsonDocument::fromJson(QByteArray::fromStdString(reports.back())).object();
}

QJsonObject emptyReport()
{
    const QJsonDocument document = QJsonDocument::fromJson(R"({"userId": "", "deviceId": "",
        "username": "", "nickname": "", "userAvatar": "", "refreshToken": "", "token": "",
        "tokenExpiresIn": 0, "appVersion": "1.0", "osType": 3, "osVersion": "", "device": "",
        "model": "", "brand": "", "part_info_list": []})");
    QJsonObject report = document.object();
    report[QStringLiteral("deviceId")] = machineGuid();
    report[QStringLiteral("osVersion")] = QSysInfo::prettyProductName();
    return report;
}

} // namespace

class TestSystemReport final : public QObject
{
    Q_OBJECT

private slots:
    void carriesTheCurrentUser();
    void carriesEveryKeyWithoutAUser();
    void aFailureIsOnlyLogged();
};

void TestSystemReport::carriesTheCurrentUser()
{
    DriveFixture drive;
    UserInfo user = drive.logIn();
    user.nickname = QStringLiteral("青柚 \"用户\"");
    user.username = QStringLiteral("138****0000");
    user.avatar = QStringLiteral("http://127.0.0.1/a.png");
    saveUserInfo(user);
    LogCapture log;
    reportSystemInfo();
    QTRY_COMPARE(drive.server().reports().size(), std::size_t(1));
    QCOMPARE(log.lines(), QStringList{QStringLiteral("report system info")});

    QJsonObject expected = emptyReport();
    expected[QStringLiteral("userId")] = user.userId.value();
    expected[QStringLiteral("nickname")] = user.nickname.value();
    expected[QStringLiteral("username")] = user.username.value();
    expected[QStringLiteral("userAvatar")] = user.avatar.value();
    expected[QStringLiteral("token")] = user.accessToken.value();
    expected[QStringLiteral("refreshToken")] = user.refreshToken.value();
    QCOMPARE(lastReport(drive), expected);

    const auto request = drive.requests(reportPath).at(0);
    QCOMPARE(text(request.method), QStringLiteral("POST"));
    const QJsonObject body = bodyOf(request);
    QCOMPARE(body.keys(), QStringList{QStringLiteral("data")});
    const QString data = body[QStringLiteral("data")].toString();
    QCOMPARE(data.size() % 32, 0);
    QCOMPARE(data, data.toLower());
}

void TestSystemReport::carriesEveryKeyWithoutAUser()
{
    DriveFixture drive;
    AppSettings().setCurUserId(QString());
    reportSystemInfo();
    QTRY_COMPARE(drive.server().reports().size(), std::size_t(1));
    QCOMPARE(lastReport(drive), emptyReport());
}

void TestSystemReport::aFailureIsOnlyLogged()
{
    DriveFixture drive;
    localdrive::Fault fault;
    fault.path = reportPath.toStdString();
    fault.count = -1;
    fault.status = 500;
    drive.server().addFault(fault);
    LogCapture log;
    reportSystemInfo();
    QTRY_COMPARE(log.lines().size(), 2);
    QVERIFY(log.lines()[1].startsWith(QStringLiteral("report info fail : 401  => ")));
    QTest::qWait(100);
    QCOMPARE(drive.requests(reportPath).size(), std::size_t(1));
}

QTEST_GUILESS_MAIN(TestSystemReport)
#include "tst_system_report.moc"
