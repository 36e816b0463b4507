#include <QTest>

#include "application_database.h"
#include "support/log_capture.h"

namespace {

// All that belongs to a token: "access refresh type seconds".
QString tokens(const UserInfo &info)
{
    return QStringList{info.accessToken.value(), info.refreshToken.value(), info.tokenType.value(),
                       info.tokenExpiresIn.get().toString()}
        .join(' ');
}

} // namespace

class TestUsers final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_database = std::make_unique<ApplicationDatabase>(); }
    void cleanup() { m_database.reset(); }

    void aKnownUserKeepsOneRow()
    {
        UserInfo info = store(user("u1"));
        QCOMPARE(info.id.value(), 1);
        info.nickname = QString("新名");
        saveUserInfo(info);
        QCOMPARE(info.id.value(), 1);
        UserInfo sameUser = user("u1");
        sameUser.nickname.clear();
        saveUserInfo(sameUser);
        QCOMPARE(countUsers(), 1);
        QCOMPARE(sameUser.id.value(), 2);
        QVERIFY(storedUser("u1").nickname.isNull());
        UserInfo stranger = user("u2");
        stranger.id = 2; // of another row
        saveUserInfo(stranger);
        QCOMPARE(stranger.id.value(), 3);
        sameUser.id = 3; // the stranger's now
        saveUserInfo(sameUser);
        QCOMPARE(sameUser.id.value(), 2);
        QCOMPARE(countUsers(), 2);
    }

    void usersAreListedFoundAndRemoved()
    {
        for (const char *userId : {"u3", "u1", "u2", "u3"}) {
            UserInfo info = store(user(userId, QString("token ") + userId));
        }
        store(user("u4", QString()));
        QCOMPARE(userIdForAccessToken("token u2"), "u2");
        QCOMPARE(userIdForAccessToken("TOKEN U2"), "");
        QCOMPARE(userIdForAccessToken(QVariant()), "");
        removeUser("u1");
        removeUser("nobody");
        removeUser(QString());
        QStringList ids;
        for (const UserInfo &info : listUsers()) {
            ids.append(info.userId.value());
        }
        QCOMPARE(ids, (QStringList{"u2", "u3", "u4"}));
    }

    void theTokensClock_data()
    {
        QTest::addColumn<bool>("isLoaded"); // before it is saved; else made anew, as login does
        QTest::addColumn<QVariant>("expiresIn");
        QTest::addColumn<QString>("accessToken");
        QTest::addColumn<bool>("startsAnew");
        const auto row = [](const char *name, bool isLoaded, const QVariant &expiresIn,
                            const QString &token, bool startsAnew) {
            QTest::newRow(name) << isLoaded << expiresIn << token << startsAnew;
        };
        row("a loaded record with the same tokens", true, QVariant(), "a", false);
        row("a new record with the same tokens", false, QVariant(), "a", false);
        row("a loaded record with new tokens", true, QVariant(), "b", true);
        row("a new record with new tokens", false, QVariant(), "b", true);
        row("a login with the same tokens", false, 7200, "a", true);
    }
    void theTokensClock()
    {
        QFETCH(bool, isLoaded);
        QFETCH(QVariant, expiresIn);
        QFETCH(QString, accessToken);
        QFETCH(bool, startsAnew);
        store(user("u1"));
        QVERIFY(isNow(storedUser("u1").updateTime.value()));
        setClock(LongAgo);

        UserInfo saved = isLoaded ? storedUser("u1") : user("u1");
        saved.tokenExpiresIn = expiresIn;
        saved.nickname = QString("新名");
        saved.accessToken = accessToken;
        saveUserInfo(saved);
        const QDateTime clock = storedUser("u1").updateTime.value();
        QCOMPARE(clock == dqDateTimeFromText(LongAgo), !startsAnew);
        QCOMPARE(isNow(clock), startsAnew);
        saveUserInfo(saved); // written once more
        const UserInfo stored = storedUser("u1");
        QCOMPARE(stored.updateTime.value(), clock);
        QCOMPARE(stored.nickname.value(), "新名");
        QCOMPARE(stored.accessToken.value(), accessToken);
    }

    void aStaleRecordKeepsTheRenewedTokens_data()
    {
        QTest::addColumn<QString>("clock"); // of the tokens that the record was loaded with
        QTest::addColumn<bool>("isLogin");  // what stores the new ones, else a renewal
        const QString now = QDateTime::currentDateTimeUtc().toString("yyyy-MM-dd hh:mm:ss.zzz");
        QTest::newRow("renewed long after") << LongAgo << false;
        QTest::newRow("renewed in the same second") << now << false;
        QTest::newRow("logged in within the same second") << now << true;
        QTest::newRow("renewed after the clock was set back") << "2096-01-01 00:00:00" << false;
        QTest::newRow("logged in after the clock was set back") << "2096-01-01 00:00:00" << true;
    }
    void aStaleRecordKeepsTheRenewedTokens()
    {
        QFETCH(QString, clock);
        QFETCH(bool, isLogin);
        UserInfo info = user("u1", "old", "used up");
        info.tokenType = QString("Basic");
        info.tokenExpiresIn = 60;
        saveUserInfo(info);
        setClock(clock);
        UserInfo copy = storedUser("u1");
        if (isLogin) {
            UserInfo login = user("u1", "new", "unused");
            login.tokenType = QString("Bearer");
            login.tokenExpiresIn = 7200;
            saveUserInfo(login);
        } else {
            QVERIFY(storeTokens("u1", "new", "unused", "Bearer", 7200));
        }
        const QDateTime renewed = storedUser("u1").updateTime.value();
        QVERIFY(renewed > copy.updateTime.value());
        copy.nickname = QString("新名");
        saveUserInfo(copy);
        for (const UserInfo &record : {copy, storedUser("u1")}) {
            QCOMPARE(record.nickname.value(), "新名");
            QCOMPARE(tokens(record), "new unused Bearer 7200");
            QCOMPARE(record.updateTime.value(), renewed);
        }
        copy.accessToken = QString("newest"); // by a record that is up to date
        saveUserInfo(copy);
        QCOMPARE(storedUser("u1").accessToken.value(), "newest");
        QVERIFY(storedUser("u1").updateTime.value() > renewed);
    }

    void aUserThatIsNotStoredKeepsItsKey()
    {
        store(user("u1"));
        for (const char *sql :
             {"PRAGMA foreign_keys=ON", "CREATE TABLE Missing (id INTEGER PRIMARY KEY)",
              "CREATE TABLE Broken (missing REFERENCES Missing(id) DEFERRABLE INITIALLY DEFERRED)",
              "CREATE TRIGGER refuse AFTER INSERT ON UserInfo "
              "BEGIN INSERT INTO Broken VALUES (1); END"}) { // which the commit finds out
            QVERIFY(m_database->execute(sql));
        }
        const LogCapture log;
        UserInfo info = store(user("u2"));
        QVERIFY(info.id.isNull() && info.updateTime.isNull());
        info.id = 4711;
        saveUserInfo(info);
        QCOMPARE(info.id.value(), 4711);
        QVERIFY(!storeTokens("u1", "new", "r", "Bearer", 1));
        QCOMPARE(countUsers(), 1);
        QCOMPARE(storedUser("u1").accessToken.value(), "a");
        QCOMPARE(log.warnings().count("Failed : COMMIT TRANSACTION"), 3);
    }

    void renewedTokensChangeNothingElse()
    {
        QVERIFY(!storeTokens("u1", "a", "r", "Bearer", 7200));
        UserInfo info = user("u1");
        info.createTime = dqDateTimeFromText(LongAgo);
        saveUserInfo(info);
        setClock(LongAgo);
        QVERIFY(storeTokens("u1", "a2", "r2", "Bearer", 7200));
        const UserInfo stored = storedUser("u1");
        QCOMPARE(stored.id.value(), info.id.value());
        QCOMPARE(stored.nickname.value(), "用户");
        QCOMPARE(stored.createTime.value(), dqDateTimeFromText(LongAgo));
        QCOMPARE(tokens(stored), "a2 r2 Bearer 7200");
        QVERIFY(isNow(stored.updateTime.value()));
        QVERIFY(storeTokens("u1", "a3", QString(), QString(), 0));
        QCOMPARE(tokens(storedUser("u1")), "a3 r2 Bearer 0");
    }

    void oneFieldOfARowChanges()
    {
        UserInfo info = store(user("u1"));
        setClock(LongAgo);
        UserInfo changed;
        const int id = info.id.value();
        QVERIFY(changeFieldById(id, "nickname", "新名", changed));
        QVERIFY(loadRowById(id, info));
        QCOMPARE(info.nickname.value(), "新名");
        QCOMPARE(info.accessToken.value(), "a");
        QCOMPARE(info.metaInfo()->value(info, "id"), QVariant(id));
        QCOMPARE(info.updateTime.value(), dqDateTimeFromText(LongAgo));
        QVERIFY(!changeFieldById(id, "colour", 1, changed));
        QVERIFY(!changeFieldById(id, "status", "normal", changed));
        QVERIFY(!changeFieldById(4711, "nickname", "x", changed));
        QVERIFY(!loadRowById(4711, info));
    }

private:
    // Sets the clock of all stored tokens.
    void setClock(const QString &utc)
    {
        QVERIFY(m_database->execute("UPDATE UserInfo SET updateTime='" + utc + '\''));
    }

    std::unique_ptr<ApplicationDatabase> m_database;
};

QTEST_GUILESS_MAIN(TestUsers)
#include "tst_users.moc"
