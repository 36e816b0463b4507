#include <QDateTime>
#include <QTest>

#include "api/session/token_validity.h"
#include "db/tables/user_info.h"

class TestTokenValidity final : public QObject
{
    Q_OBJECT

private slots:
    void endsWithItsExpiry_data()
    {
        QTest::addColumn<QString>("issued");
        QTest::addColumn<int>("lifetime");
        QTest::addColumn<int>("age");
        QTest::addColumn<bool>("valid");
        const QString day = "2026-11-22T19:52:11Z";
        QTest::newRow("one second left") << day << 7200 << 7199 << true;
        QTest::newRow("in its last second") << day << 7200 << 7200 << false;
        QTest::newRow("a year over") << day << 7200 << 365 * 86400 << false;
        QTest::newRow("the clock was set back a day") << day << 7200 << -86400 << true;
        // New York: 01:30 comes twice on this day.
        const QString back = "2026-11-01T05:30:00Z";
        QTest::newRow("clocks put back, one second left") << back << 7200 << 7199 << true;
        QTest::newRow("clocks put back, in its last second") << back << 7200 << 7200 << false;
        // Without an expiry the server decides.
        QTest::newRow("no lifetime came with the token") << day << 0 << 86400 << true;
        QTest::newRow("a lifetime below zero") << day << -1 << 86400 << true;
        QTest::newRow("no time of issue") << "" << 7200 << 86400 << true;
    }
    void endsWithItsExpiry()
    {
        QFETCH(QString, issued);
        QFETCH(int, lifetime);
        QFETCH(int, age);
        qputenv("TZ", "America/New_York");
        tzset();
        UserInfo user;
        user.updateTime = QDateTime::fromString(issued, Qt::ISODate);
        user.tokenExpiresIn = lifetime;
        // The local clock's reading of the moment, as the program takes it.
        const QDateTime now = QDateTime::fromMSecsSinceEpoch(
            user.updateTime.value().addSecs(age).toMSecsSinceEpoch());
        QTEST(accessTokenValid(user, now), "valid");
    }
};

QTEST_GUILESS_MAIN(TestTokenValidity)
#include "tst_token_validity.moc"
