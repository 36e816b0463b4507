#include <QtTest>

#include "application_database.h"
#include "warnings.h"

namespace {
const QString kLongAgo = QStringLiteral("2020-02-03 04:05:06");
}

class TestUsers final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_database = std::make_unique<ApplicationDatabase>(); }
    void cleanup();

    void savingAKnownUserKeepsOneRow();
    void listsUsersInRowOrder();
    void findsTheUserOfAToken();
    void theTokensClock_data();
    void theTokensClock();
    void aStaleUserRecordKeepsTheRenewedTokens();
    void aStaleUserRecordIsKnownWhateverTheClock_data();
    void aStaleUserRecordIsKnownWhateverTheClock();
    void aLoginWithTheSameTokensStartsTheClock();
    void aUserThatIsNotStoredKeepsItsKey();
    void storesRenewedTokens();
    void removesOneUser();

private:
    /// Sets the clock of all stored tokens.
    void setClock(const QString &utc)
    {
        QVERIFY(m_database->execute(utf8("UPDATE UserInfo SET updateTime='%1'").arg(utc)));
    }

    std::unique_ptr<ApplicationDatabase> m_database;
};

void TestUsers::cleanup()
{
    m_database.reset();
    QVERIFY(!database());
}

void TestUsers::savingAKnownUserKeepsOneRow()
{
    UserInfo info = user("u1");
    saveUserInfo(info);
    QCOMPARE(info.id.value(), 1);
    info.nickname = utf8("新名");
    saveUserInfo(info);
    QCOMPARE(info.id.value(), 1);
    UserInfo sameUser = user("u1");
    sameUser.nickname.clear();
    saveUserInfo(sameUser);
    QCOMPARE(countUsers(), 1);
    QCOMPARE(sameUser.id.value(), 2);
    QVERIFY(storedUser("u1").nickname.isNull());
    UserInfo removed = user("u2");
    removed.id = 2; // of another row
    saveUserInfo(removed);
    QCOMPARE(removed.id.value(), 3);
    QCOMPARE(countUsers(), 2);
}

void TestUsers::listsUsersInRowOrder()
{
    for (const char *userId : {"u3", "u1", "u2", "u3"}) {
        UserInfo info = user(userId);
        saveUserInfo(info);
    }
    QStringList ids;
    const QList<UserInfo> users = listUsers();
    for (const UserInfo &info : users)
        ids.append(info.userId.value());
    QCOMPARE(ids, (QStringList{utf8("u1"), utf8("u2"), utf8("u3")}));
}

void TestUsers::findsTheUserOfAToken()
{
    UserInfo first = user("u1", "token one");
    UserInfo second = user("u2", "token two");
    UserInfo loggedOut = user("u3");
    loggedOut.accessToken.clear();
    saveUserInfo(first);
    saveUserInfo(second);
    saveUserInfo(loggedOut);
    QCOMPARE(userIdForAccessToken(utf8("token two")), utf8("u2"));
    QCOMPARE(userIdForAccessToken(utf8("TOKEN TWO")), QString());
    QCOMPARE(userIdForAccessToken(QVariant()), QString());
}

void TestUsers::theTokensClock_data()
{
    QTest::addColumn<bool>("isLoaded"); // before it is saved; else made anew, as login does
    QTest::addColumn<QString>("accessToken");
    QTest::addColumn<bool>("startsAnew");
    QTest::newRow("a loaded record with the same tokens") << true << utf8("a") << false;
    QTest::newRow("a new record with the same tokens") << false << utf8("a") << false;
    QTest::newRow("a loaded record with new tokens") << true << utf8("b") << true;
    QTest::newRow("a new record with new tokens") << false << utf8("b") << true;
}

void TestUsers::theTokensClock()
{
    QFETCH(bool, isLoaded);
    QFETCH(QString, accessToken);
    QFETCH(bool, startsAnew);
    UserInfo info = user("u1");
    saveUserInfo(info);
    QVERIFY(isNow(storedUser("u1").updateTime.value()));
    setClock(kLongAgo);

    UserInfo saved = isLoaded ? storedUser("u1") : user("u1");
    saved.nickname = utf8("新名");
    saved.accessToken = accessToken;
    saveUserInfo(saved);
    saveUserInfo(saved);
    const UserInfo stored = storedUser("u1");
    QCOMPARE(stored.nickname.value(), utf8("新名"));
    QCOMPARE(stored.accessToken.value(), accessToken);
    QCOMPARE(stored.updateTime.value() == dqDateTimeFromText(kLongAgo), !startsAnew);
    QCOMPARE(isNow(stored.updateTime.value()), startsAnew);
}

void TestUsers::aStaleUserRecordKeepsTheRenewedTokens()
{
    UserInfo info = user("u1", "old", "used up");
    saveUserInfo(info);
    setClock(kLongAgo);
    UserInfo copy = storedUser("u1");
    QVERIFY(storeTokens(utf8("u1"), utf8("new"), utf8("unused"), QString(), 7200));
    const QDateTime clock = storedUser("u1").updateTime.value();

    copy.nickname = utf8("新名");
    saveUserInfo(copy);
    const UserInfo stored = storedUser("u1");
    QCOMPARE(stored.nickname.value(), utf8("新名"));
    QCOMPARE(stored.accessToken.value(), utf8("new"));
    QCOMPARE(stored.refreshToken.value(), utf8("unused"));
    QCOMPARE(stored.updateTime.value(), clock);
    QCOMPARE(copy.accessToken.value(), utf8("new"));
}

void TestUsers::aStaleUserRecordIsKnownWhateverTheClock_data()
{
    QTest::addColumn<QString>("clock"); // of the tokens that the record was loaded with
    QTest::addColumn<bool>("isLogin");  // what stores the new ones, else a renewal
    const QString now = QDateTime::currentDateTimeUtc().toString(utf8("yyyy-MM-dd hh:mm:ss.zzz"));
    const QString future = utf8("2096-01-01 00:00:00");
    QTest::newRow("renewed in the same second") << now << false;
    QTest::newRow("logged in within the same second") << now << true;
    QTest::newRow("renewed after the clock was set back") << future << false;
    QTest::newRow("logged in after the clock was set back") << future << true;
}

void TestUsers::aStaleUserRecordIsKnownWhateverTheClock()
{
    QFETCH(QString, clock);
    QFETCH(bool, isLogin);
    UserInfo info = user("u1", "old", "used up");
    saveUserInfo(info);
    setClock(clock);
    UserInfo copy = storedUser("u1");
    if (isLogin) {
        UserInfo login = user("u1", "new", "unused");
        login.tokenExpiresIn = 7200;
        saveUserInfo(login);
    } else {
        QVERIFY(storeTokens(utf8("u1"), utf8("new"), utf8("unused"), QString(), 7200));
    }
    QVERIFY(storedUser("u1").updateTime.value() > copy.updateTime.value());
    saveUserInfo(copy);
    QCOMPARE(storedUser("u1").accessToken.value(), utf8("new"));
    QCOMPARE(storedUser("u1").refreshToken.value(), utf8("unused"));

    copy.accessToken = utf8("newest"); // by a record that is up to date
    const QDateTime before = copy.updateTime.value();
    saveUserInfo(copy);
    QCOMPARE(storedUser("u1").accessToken.value(), utf8("newest"));
    QVERIFY(storedUser("u1").updateTime.value() > before);
}

void TestUsers::aLoginWithTheSameTokensStartsTheClock()
{
    UserInfo first = user("u1");
    first.tokenExpiresIn = 7200;
    saveUserInfo(first);
    setClock(kLongAgo);
    UserInfo again = user("u1");
    again.tokenExpiresIn = 7200;
    saveUserInfo(again);
    const QDateTime clock = storedUser("u1").updateTime.value();
    QVERIFY(isNow(clock));
    again.nickname = utf8("新名");
    saveUserInfo(again); // the same login, written once more
    QCOMPARE(storedUser("u1").updateTime.value(), clock);
}

void TestUsers::aUserThatIsNotStoredKeepsItsKey()
{
    UserInfo known = user("u1");
    saveUserInfo(known);
    m_database->letCommitsFail("UserInfo");
    const Warnings warnings;
    UserInfo info = user("u2");
    saveUserInfo(info);
    QVERIFY(info.id.isNull());
    info.id = 4711;
    saveUserInfo(info);
    QCOMPARE(info.id.value(), 4711);
    QVERIFY(!storeTokens(utf8("u1"), utf8("new"), utf8("r"), utf8("Bearer"), 1));
    QCOMPARE(countUsers(), 1);
    QCOMPARE(storedUser("u1").accessToken.value(), utf8("a"));
    const QStringList failed = Warnings::texts().filter(utf8("Failed : "));
    QCOMPARE(failed, QVector<QString>(3, utf8("Failed : COMMIT TRANSACTION")).toList());
}

void TestUsers::storesRenewedTokens()
{
    QVERIFY(!storeTokens(utf8("u1"), utf8("a"), utf8("r"), utf8("Bearer"), 7200));
    UserInfo info = user("u1");
    info.createTime = dqDateTimeFromText(kLongAgo);
    saveUserInfo(info);
    setClock(kLongAgo);
    QVERIFY(storeTokens(utf8("u1"), utf8("a2"), utf8("r2"), utf8("Bearer"), 7200));
    UserInfo stored = storedUser("u1");
    QCOMPARE(stored.id.value(), info.id.value());
    QCOMPARE(stored.nickname.value(), utf8("用户"));
    QCOMPARE(stored.createTime.value(), dqDateTimeFromText(kLongAgo));
    QCOMPARE(stored.accessToken.value(), utf8("a2"));
    QCOMPARE(stored.refreshToken.value(), utf8("r2"));
    QCOMPARE(stored.tokenType.value(), utf8("Bearer"));
    QCOMPARE(stored.tokenExpiresIn.value(), 7200);
    QVERIFY(isNow(stored.updateTime.value()));
    QVERIFY(storeTokens(utf8("u1"), utf8("a3"), QString(), QString(), 0));
    stored = storedUser("u1");
    QCOMPARE(stored.refreshToken.value(), utf8("r2"));
    QCOMPARE(stored.tokenType.value(), utf8("Bearer"));
}

void TestUsers::removesOneUser()
{
    UserInfo first = user("u1");
    UserInfo second = user("u2");
    saveUserInfo(first);
    saveUserInfo(second);
    removeUser(utf8("u1"));
    removeUser(utf8("nobody"));
    removeUser(QString());
    QCOMPARE(countUsers(), 1);
    QVERIFY(!storedUser("u2").id.isNull());
}

QTEST_GUILESS_MAIN(TestUsers)
#include "tst_users.moc"
