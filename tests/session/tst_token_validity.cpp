#include "api/session/token_validity.h"

#include <QDateTime>
#include <QTest>

#include "db/tables/user_info.h"

namespace {

UserInfo userWithToken(const QDateTime &issued, int lifetime)
{
    UserInfo user;
    user.updateTime = issued;
    user.tokenExpiresIn = lifetime;
    return user;
}

QDateTime utc(const QString &text)
{
    return QDateTime::fromString(text + QLatin1Char('Z'), Qt::ISODate);
}

} // namespace

class TestTokenValidity final : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();
    void endsWithItsExpiry_data();
    void endsWithItsExpiry();
    void holdsInEveryTimeZone_data();
    void holdsInEveryTimeZone();
    void withoutAnExpiryTheServerDecides_data();
    void withoutAnExpiryTheServerDecides();
};

void TestTokenValidity::cleanup()
{
    qunsetenv("TZ");
    tzset();
}

void TestTokenValidity::endsWithItsExpiry_data()
{
    QTest::addColumn<int>("age");
    QTest::addColumn<bool>("valid");
    QTest::newRow("just issued") << 0 << true;
    QTest::newRow("one second left") << 7199 << true;
    QTest::newRow("in its last second") << 7200 << false;
    QTest::newRow("one second over") << 7201 << false;
    QTest::newRow("a year over") << 365 * 86400 << false;
    QTest::newRow("the clock was set back a day") << -86400 << true;
}

void TestTokenValidity::endsWithItsExpiry()
{
    QFETCH(int, age);
    const QDateTime issued = utc(QStringLiteral("2026-11-22T19:52:11"));
    QTEST(accessTokenValid(userWithToken(issued, 7200), issued.addSecs(age)), "valid");
}

void TestTokenValidity::holdsInEveryTimeZone_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<QDateTime>("issued");
    const QDateTime winter = utc(QStringLiteral("2026-01-10T12:00:00"));
    const QDateTime springForward = utc(QStringLiteral("2026-03-08T06:30:00"));
    const QDateTime fallBack = utc(QStringLiteral("2026-11-01T05:30:00"));
    for (const char *zone : {"Asia/Shanghai", "America/New_York", "UTC"}) {
        QTest::addRow("%s, a winter's day", zone) << QByteArray(zone) << winter;
        QTest::addRow("%s, clocks put forward", zone) << QByteArray(zone) << springForward;
        QTest::addRow("%s, clocks put back", zone) << QByteArray(zone) << fallBack;
    }
}

void TestTokenValidity::holdsInEveryTimeZone()
{
    QFETCH(QByteArray, zone);
    QFETCH(QDateTime, issued);
    qputenv("TZ", zone);
    tzset();
    const UserInfo user = userWithToken(issued, 7200);
    // The local clock's reading of the moment, as the program takes it.
    const auto localAfter = [&](int seconds) {
        return QDateTime::fromMSecsSinceEpoch(issued.addSecs(seconds).toMSecsSinceEpoch());
    };
    QVERIFY(accessTokenValid(user, localAfter(7199)));
    QVERIFY(!accessTokenValid(user, localAfter(7200)));
}

void TestTokenValidity::withoutAnExpiryTheServerDecides_data()
{
    QTest::addColumn<QDateTime>("issued");
    QTest::addColumn<int>("lifetime");
    const QDateTime longAgo = utc(QStringLiteral("2020-01-01T00:00:00"));
    QTest::newRow("no lifetime came with the token") << longAgo << 0;
    QTest::newRow("a lifetime below zero") << longAgo << -1;
    QTest::newRow("no update time") << QDateTime() << 7200;
}

void TestTokenValidity::withoutAnExpiryTheServerDecides()
{
    QFETCH(QDateTime, issued);
    QFETCH(int, lifetime);
    QVERIFY(accessTokenValid(userWithToken(issued, lifetime), QDateTime::currentDateTime()));
}

QTEST_GUILESS_MAIN(TestTokenValidity)
#include "tst_token_validity.moc"
