#include <QJsonDocument>
#include <QTest>

#include "api/session/system_report.h"
#include "app/environment/app_settings.h"
#include "app/environment/machine_guid.h"
#include "backend/secrets/crypto.h"
#include "db/tables/operations.h"
#include "session/drive_fixture.h"
#include "support/fault_on.h"

namespace {

const std::string ReportPath = "/app/cloudtv/pc/refresh";

QJsonObject emptyReport()
{
    const QJsonDocument document = QJsonDocument::fromJson(R"({"userId": "", "deviceId": "",
        "username": "", "nickname": "", "userAvatar": "", "refreshToken": "", "token": "",
        "tokenExpiresIn": 0, "appVersion": "1.0", "osType": 3, "osVersion": "", "device": "",
        "model": "", "brand": "", "part_info_list": []})");
    QJsonObject report = document.object();
    report["deviceId"] = machineGuid();
    report["osVersion"] = QSysInfo::prettyProductName();
    return report;
}

} // namespace

class TestSystemReport final : public QObject
{
    Q_OBJECT

private slots:
    void carriesTheCurrentUser()
    {
        for (const bool isLoggedIn : {true, false}) {
            DriveFixture drive;
            QJsonObject expected = emptyReport();
            if (isLoggedIn) {
                UserInfo user = drive.logIn();
                user.nickname = QString("青柚 \"用户\"");
                user.username = QString("138****0000");
                user.avatar = QString("http://127.0.0.1/a.png");
                saveUserInfo(user);
                expected["userId"] = user.userId.value();
                expected["nickname"] = user.nickname.value();
                expected["username"] = user.username.value();
                expected["userAvatar"] = user.avatar.value();
                expected["token"] = user.accessToken.value();
                expected["refreshToken"] = user.refreshToken.value();
            }
            LogCapture log;
            reportSystemInfo();
            QTRY_COMPARE(drive.reports().size(), 1);
            QCOMPARE(log.lines(), QStringList{"report system info"});
            QCOMPARE(drive.reports()[0]["userId"], expected["userId"]);

            const auto request = drive.requests(text(ReportPath)).at(0);
            QCOMPARE(request.method, std::string("POST"));
            const QJsonObject body = bodyOf(request);
            QCOMPARE(body.keys(), QStringList{"data"});
            QCOMPARE(body["data"].toString(), body["data"].toString().toLower());
            const auto plain = backend::decryptAes192(body["data"].toString().toStdString(),
                                                      "Qm3vT8pLxR2nWk7ZcY4hJdFs");
            QCOMPARE(QJsonDocument::fromJson(QByteArray::fromStdString(plain.value())).object(),
                     expected);
        }
    }
    void aFailureIsOnlyLogged()
    {
        DriveFixture drive;
        drive.server().addFault(FaultOn(ReportPath).always().status(500));
        LogCapture log;
        reportSystemInfo();
        QTRY_COMPARE(log.lines().size(), 2);
        QVERIFY(log.lines()[1].startsWith("report info fail : 401  => "));
        QTest::qWait(100);
        QCOMPARE(drive.requests(text(ReportPath)).size(), std::size_t(1));
    }
};

QTEST_GUILESS_MAIN(TestSystemReport)
#include "tst_system_report.moc"
