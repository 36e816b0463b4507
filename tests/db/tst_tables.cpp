#include <ctime>

#include <QTimeZone>
#include <QtTest>

#include "application_database.h"
#include "db/dq/dq_query.h"
#include "db/dq/dq_sqlite_statement.h"
#include "warnings.h"

namespace {
const QString kLongAgo = QStringLiteral("2020-02-03 04:05:06");
}

class TestTables final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_database = std::make_unique<ApplicationDatabase>(); }
    void cleanup();

    void tablesAreWrittenAsAgreed();
    void tablesAreCreatedInTheirOrder();
    void reopeningKeepsTheRows();
    void aTableWithOtherColumnsIsUsedAsItIs();
    void changesOneFieldOfARow();
    void dateTimesMeanOneInstantEverywhere_data();
    void dateTimesMeanOneInstantEverywhere();
    void nothingWorksWithoutADatabase();

private:
    /// Sets the clock of all stored tokens.
    void setClock(const QString &utc)
    {
        QVERIFY(m_database->execute(utf8("UPDATE UserInfo SET updateTime='%1'").arg(utc)));
    }

    std::unique_ptr<ApplicationDatabase> m_database;
};

void TestTables::cleanup()
{
    m_database.reset();
    QVERIFY(!database());
}

void TestTables::tablesAreWrittenAsAgreed()
{
    QCOMPARE(database()->connection().database().databaseName(),
             m_database->home() + utf8("/moravu/moravu.db"));
    const DQSqliteStatement builder;
    QCOMPARE(builder.createTableIfNotExists(*dqMetaInfo<UserInfo>()),
             utf8("CREATE TABLE IF NOT EXISTS UserInfo  (\n"
                  "id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
                  "userId TEXT NOT NULL UNIQUE,\n"
                  "driveId TEXT ,\n"
                  "sboxDriveId TEXT ,\n"
                  "albumDriveId TEXT ,\n"
                  "username TEXT ,\n"
                  "nickname TEXT ,\n"
                  "avatar TEXT ,\n"
                  "accessToken TEXT ,\n"
                  "tokenType TEXT ,\n"
                  "refreshToken TEXT ,\n"
                  "tokenExpiresIn INTEGER ,\n"
                  "status INTEGER ,\n"
                  "createTime DATETIME DEFAULT CURRENT_TIMESTAMP ,\n"
                  "updateTime DATETIME DEFAULT CURRENT_TIMESTAMP \n"
                  ");"));
    QCOMPARE(builder.createTableIfNotExists(*dqMetaInfo<PlayHistory>()),
             utf8("CREATE TABLE IF NOT EXISTS PlayHistory  (\n"
                  "id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
                  "fileId TEXT NOT NULL UNIQUE,\n"
                  "parentFileId TEXT ,\n"
                  "userId TEXT ,\n"
                  "name TEXT ,\n"
                  "duration INTEGER ,\n"
                  "playPercentage DOUBLE ,\n"
                  "playPosition INTEGER ,\n"
                  "videoQualityId TEXT ,\n"
                  "screenScaleType INTEGER ,\n"
                  "subTitleType INTEGER ,\n"
                  "subTitle TEXT ,\n"
                  "createTime DATETIME DEFAULT CURRENT_TIMESTAMP ,\n"
                  "updateTime DATETIME DEFAULT CURRENT_TIMESTAMP \n"
                  ");"));
    QCOMPARE(builder.createTableIfNotExists(*dqMetaInfo<FolderSetting>()),
             utf8("CREATE TABLE IF NOT EXISTS VideoFolderSetting  (\n"
                  "id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
                  "folderId TEXT NOT NULL UNIQUE,\n"
                  "folderName TEXT ,\n"
                  "userId TEXT ,\n"
                  "skipHeadPos INTEGER ,\n"
                  "skipTailPos INTEGER ,\n"
                  "audioTrackId TEXT ,\n"
                  "subtitleTrackId TEXT ,\n"
                  "sortBy TEXT ,\n"
                  "sortDirection TEXT ,\n"
                  "lastPlayFileId TEXT ,\n"
                  "updateTime DATETIME DEFAULT CURRENT_TIMESTAMP ,\n"
                  "createTime DATETIME DEFAULT CURRENT_TIMESTAMP \n"
                  ");"));
}

void TestTables::tablesAreCreatedInTheirOrder()
{
    QSqlQuery query(database()->connection().database());
    QVERIFY(query.exec(utf8("SELECT name FROM sqlite_master WHERE type='table' AND "
                            "name NOT LIKE 'sqlite\\_%' ESCAPE '\\' ORDER BY rowid")));
    QStringList tables;
    while (query.next())
        tables.append(query.value(0).toString());
    QCOMPARE(tables,
             (QStringList{utf8("PlayHistory"), utf8("VideoFolderSetting"), utf8("UserInfo")}));
}

void TestTables::reopeningKeepsTheRows()
{
    UserInfo info = user("u1");
    saveUserInfo(info);
    m_database->reopen();
    QCOMPARE(countUsers(), 1);
    QCOMPARE(storedUser("u1").nickname.value(), utf8("用户"));
}

void TestTables::aTableWithOtherColumnsIsUsedAsItIs()
{
    QVERIFY(m_database->execute(utf8("DROP TABLE UserInfo")));
    QVERIFY(m_database->execute(utf8("CREATE TABLE UserInfo (userId TEXT, colour TEXT)")));
    QVERIFY(m_database->execute(utf8("INSERT INTO UserInfo VALUES ('u1', 'red')")));
    m_database->reopen();
    QCOMPARE(countUsers(), 1);
    QCOMPARE(storedUser("u1").userId.value(), utf8("u1"));
    const Warnings warnings;
    UserInfo info = user("u2");
    saveUserInfo(info);
    QVERIFY(!Warnings::texts().isEmpty());
    QCOMPARE(countUsers(), 1);
}

void TestTables::changesOneFieldOfARow()
{
    UserInfo info = user("u1");
    saveUserInfo(info);
    setClock(kLongAgo);
    UserInfo changed;
    const int id = info.id.value();
    QVERIFY(changeFieldById(id, utf8("nickname"), utf8("新名"), changed));
    QVERIFY(loadRowById(id, info));
    QCOMPARE(info.nickname.value(), utf8("新名"));
    QCOMPARE(info.accessToken.value(), utf8("a"));
    QCOMPARE(info.updateTime.value(), dqDateTimeFromText(kLongAgo));
    QVERIFY(!changeFieldById(id, utf8("colour"), 1, changed));
    QVERIFY(!changeFieldById(id, utf8("status"), utf8("normal"), changed));
    QVERIFY(!changeFieldById(4711, utf8("nickname"), utf8("x"), changed));
    QVERIFY(!loadRowById(4711, info));
}

void TestTables::dateTimesMeanOneInstantEverywhere_data()
{
    QTest::addColumn<QByteArray>("timeZone");
    QTest::addColumn<QDateTime>("utc");
    QTest::addColumn<QString>("local");
    const auto instant = [](int month, int day, int hour, int minute) {
        return QDateTime(QDate(2026, month, day), QTime(hour, minute, 0, 250), Qt::UTC);
    };
    QTest::newRow("Shanghai") << QByteArray("Asia/Shanghai") << instant(11, 22, 19, 52)
                              << utf8("2026-11-23 03:52:00.250");
    QTest::newRow("New York") << QByteArray("America/New_York") << instant(11, 22, 19, 52)
                              << utf8("2026-11-22 14:52:00.250");
    QTest::newRow("New York, the hour that comes twice, first")
        << QByteArray("America/New_York") << instant(11, 1, 5, 30)
        << utf8("2026-11-01 01:30:00.250");
    QTest::newRow("New York, the hour that comes twice, second")
        << QByteArray("America/New_York") << instant(11, 1, 6, 30)
        << utf8("2026-11-01 01:30:00.250");
    QTest::newRow("New York, behind the hour that is left out")
        << QByteArray("America/New_York") << instant(3, 8, 7, 0) << utf8("2026-03-08 03:00:00.250");
}

void TestTables::dateTimesMeanOneInstantEverywhere()
{
    QFETCH(QByteArray, timeZone);
    QFETCH(QDateTime, utc);
    qputenv("TZ", timeZone);
    tzset();
    const auto restore = qScopeGuard([] {
        qunsetenv("TZ");
        tzset();
    });

    for (const QDateTime &given : {utc, utc.toLocalTime(), utc.toOffsetFromUtc(3 * 3600),
                                   utc.toTimeZone(QTimeZone("Asia/Tokyo"))}) {
        UserInfo info = user("u1");
        info.updateTime = given;
        removeUser(utf8("u1"));
        saveUserInfo(info);
        const UserInfo stored = storedUser("u1");
        QCOMPARE(stored.updateTime.value(), utc);
        QTEST(stored.updateTime.value().toString(utf8("yyyy-MM-dd hh:mm:ss.zzz")), "local");
        QCOMPARE(dqQuery<UserInfo>().filter(dqColumn(&UserInfo::updateTime) == given).count(), 1);
    }
    // What SQLite stamps and what the program stamps sort and compare as the same clock.
    UserInfo login = user("u2");
    saveUserInfo(login);
    QVERIFY(isNow(storedUser("u2").updateTime.value()));
    QVERIFY(isNow(storedUser("u2").createTime.value()));
    PlayHistory history = played("v");
    savePlayHistory(history);
    const QDateTime soon = QDateTime::currentDateTime().addSecs(60);
    const QDateTime justNow = QDateTime::currentDateTime().addSecs(-60);
    QCOMPARE(dqQuery<PlayHistory>()
                 .filter(dqColumn(&PlayHistory::updateTime).between(justNow, soon) &&
                         dqColumn(&PlayHistory::createTime).between(justNow, soon))
                 .count(),
             1);
}

void TestTables::nothingWorksWithoutADatabase()
{
    m_database->close();
    UserInfo info = user("u1");
    saveUserInfo(info);
    PlayHistory history = played("v");
    savePlayHistory(history);
    FolderSetting setting;
    saveFolderSetting(setting);
    clearPlayHistory();
    clearFolderSettings();
    clearSkipPositions(utf8("f"));
    removePlayHistory(1);
    QVERIFY(!storeTokens(utf8("u1"), utf8("a"), utf8("r"), utf8("Bearer"), 1));
    QVERIFY(!loadUserInfo(utf8("u1"), info));
    QVERIFY(!changeFieldById(1, utf8("status"), 1, info));
    QCOMPARE(countUsers(), 0);
    QCOMPARE(listUsers().size(), 0);
    QCOMPARE(listedFiles(), QString());
    QCOMPARE(userIdForAccessToken(utf8("a")), QString());
}

QTEST_GUILESS_MAIN(TestTables)
#include "tst_tables.moc"
