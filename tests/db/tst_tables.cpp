#include <cstdlib>
#include <ctime>
#include <limits>

#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

#include "app/environment/app_settings.h"
#include "app/environment/data_dir.h"
#include "db/dq/dq_query.h"
#include "db/dq/dq_sqlite_statement.h"
#include "db/tables/database.h"
#include "db/tables/operations.h"
#include "warnings.h"

namespace {

QString utf8(const char *text)
{
    return QString::fromUtf8(text);
}

UserInfo user(const char *userId, const char *accessToken = "a", const char *refreshToken = "r")
{
    UserInfo info;
    info.userId = utf8(userId);
    info.nickname = utf8("用户");
    info.accessToken = utf8(accessToken);
    info.refreshToken = utf8(refreshToken);
    return info;
}

UserInfo storedUser(const char *userId)
{
    UserInfo info;
    loadUserInfo(utf8(userId), info);
    return info;
}

PlayHistory played(const char *fileId, const char *userId = "u1")
{
    PlayHistory history;
    history.fileId = utf8(fileId);
    history.userId = utf8(userId);
    return history;
}

/// The files of the list, in its order.
QString listed()
{
    DQList<PlayHistory> list;
    listPlayHistory(list);
    QStringList files;
    for (const PlayHistory &history : list)
        files.append(history.fileId.value());
    return files.join(QLatin1Char(' '));
}

bool isNow(const QDateTime &dateTime)
{
    return qAbs(dateTime.msecsTo(QDateTime::currentDateTimeUtc())) < 3000;
}

void execute(const QString &sql)
{
    QVERIFY(DQConnection(database()->connection()).exec(sql));
}

/// Moves the stored clock of a user's tokens to a whole hour of the past.
void setClock(const char *userId, const QString &utc)
{
    execute(QStringLiteral("UPDATE UserInfo SET updateTime='%1' WHERE userId='%2'")
                .arg(utc, utf8(userId)));
}

const QString kLongAgo = QStringLiteral("2020-02-03 04:05:06");

} // namespace

class TestTables final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void tablesAreWrittenAsAgreed();
    void reopeningKeepsTheRows();
    void aTableWithOtherColumnsIsUsedAsItIs();

    void savingAKnownUserKeepsOneRow();
    void listsUsersInRowOrder();
    void findsTheUserOfAToken();
    void theTokensClock_data();
    void theTokensClock();
    void aStaleUserRecordKeepsTheRenewedTokens();
    void storesRenewedTokens();
    void removesOneUser();

    void folderSettingsKeepTheirTimes();
    void clearsSkipPositions();
    void clearsEveryFolder();

    void watchedShare_data();
    void watchedShare();
    void historyMergesNothing();
    void theLastSavedIsTheNewest();
    void theNewestIsNewestAfterTheClockWasSetBack();
    void listsOnlyTheCurrentUsersHistory();
    void clearsOnlyTheCurrentUsersHistory();
    void removesOneHistoryRow();

    void changesOneFieldOfARow();
    void dateTimesMeanOneInstantEverywhere_data();
    void dateTimesMeanOneInstantEverywhere();
    void nothingWorksWithoutADatabase();

private:
    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<Database> m_database;
};

void TestTables::init()
{
    m_home = std::make_unique<QTemporaryDir>();
    qputenv("HOME", m_home->path().toUtf8());
    openDatabase();
    m_database.reset(database());
    AppSettings().setCurUserId(utf8("u1"));
}

void TestTables::cleanup()
{
    m_database.reset();
    QVERIFY(!database());
    m_home.reset();
}

void TestTables::tablesAreWrittenAsAgreed()
{
    QCOMPARE(m_database->connection().database().databaseName(),
             m_home->path() + utf8("/moravu/moravu.db"));
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
    QStringList tables = m_database->connection().database().tables();
    tables.sort();
    QCOMPARE(tables, (QStringList{utf8("PlayHistory"), utf8("UserInfo"), utf8("VideoFolderSetting"),
                                  utf8("sqlite_sequence")}));
}

void TestTables::reopeningKeepsTheRows()
{
    UserInfo info = user("u1");
    saveUserInfo(info);
    m_database.reset();
    m_database = std::make_unique<Database>();
    setDatabase(m_database.get());
    QCOMPARE(countUsers(), 1);
    QCOMPARE(storedUser("u1").nickname.value(), utf8("用户"));
}

void TestTables::aTableWithOtherColumnsIsUsedAsItIs()
{
    execute(utf8("DROP TABLE UserInfo"));
    execute(utf8("CREATE TABLE UserInfo (userId TEXT, colour TEXT)"));
    execute(utf8("INSERT INTO UserInfo VALUES ('u1', 'red')"));
    m_database.reset();
    m_database = std::make_unique<Database>();
    QCOMPARE(countUsers(), 1);
    QCOMPARE(storedUser("u1").userId.value(), utf8("u1"));
    const Warnings warnings;
    UserInfo info = user("u2");
    saveUserInfo(info);
    QVERIFY(!Warnings::texts().isEmpty());
    QCOMPARE(countUsers(), 1);
}

void TestTables::savingAKnownUserKeepsOneRow()
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

void TestTables::listsUsersInRowOrder()
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

void TestTables::findsTheUserOfAToken()
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

void TestTables::theTokensClock_data()
{
    QTest::addColumn<bool>("isLoaded"); // before it is saved; else made anew, as login does
    QTest::addColumn<QString>("accessToken");
    QTest::addColumn<bool>("startsAnew");
    QTest::newRow("a loaded record with the same tokens") << true << utf8("a") << false;
    QTest::newRow("a new record with the same tokens") << false << utf8("a") << false;
    QTest::newRow("a loaded record with new tokens") << true << utf8("b") << true;
    QTest::newRow("a new record with new tokens") << false << utf8("b") << true;
}

void TestTables::theTokensClock()
{
    QFETCH(bool, isLoaded);
    QFETCH(QString, accessToken);
    QFETCH(bool, startsAnew);
    UserInfo info = user("u1");
    saveUserInfo(info);
    QVERIFY(isNow(storedUser("u1").updateTime.value()));
    setClock("u1", kLongAgo);

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

void TestTables::aStaleUserRecordKeepsTheRenewedTokens()
{
    UserInfo info = user("u1", "old", "used up");
    saveUserInfo(info);
    setClock("u1", kLongAgo);
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

void TestTables::storesRenewedTokens()
{
    QVERIFY(!storeTokens(utf8("u1"), utf8("a"), utf8("r"), utf8("Bearer"), 7200));
    UserInfo info = user("u1");
    info.createTime = dqDateTimeFromText(kLongAgo);
    saveUserInfo(info);
    setClock("u1", kLongAgo);
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

void TestTables::removesOneUser()
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

void TestTables::folderSettingsKeepTheirTimes()
{
    FolderSetting setting;
    loadFolderSetting(utf8("f1"), setting);
    QVERIFY(setting.id.isNull());
    setting.folderId = utf8("f1");
    setting.skipHeadPos = 90;
    saveFolderSetting(setting);

    FolderSetting stored;
    loadFolderSetting(utf8("f1"), stored);
    QVERIFY(isNow(stored.createTime.value()));
    QCOMPARE(stored.updateTime.value(), stored.createTime.value());

    execute(utf8("UPDATE VideoFolderSetting SET createTime='%1', updateTime='%1'").arg(kLongAgo));
    loadFolderSetting(utf8("f1"), stored);
    stored.skipTailPos = 30;
    saveFolderSetting(stored);
    FolderSetting again;
    loadFolderSetting(utf8("f1"), again);
    QCOMPARE(again.skipHeadPos.value(), 90);
    QCOMPARE(again.skipTailPos.value(), 30);
    QCOMPARE(again.createTime.value(), dqDateTimeFromText(kLongAgo));
    QVERIFY(isNow(again.updateTime.value()));
}

void TestTables::clearsSkipPositions()
{
    FolderSetting setting;
    setting.folderId = utf8("f1");
    setting.skipHeadPos = 90;
    setting.skipTailPos = 30;
    setting.sortBy = utf8("name");
    saveFolderSetting(setting);
    clearSkipPositions(utf8("f1"));
    clearSkipPositions(utf8("f2"));
    FolderSetting stored;
    loadFolderSetting(utf8("f1"), stored);
    QCOMPARE(stored.skipHeadPos.get(), QVariant(0));
    QCOMPARE(stored.skipTailPos.get(), QVariant(0));
    QCOMPARE(stored.sortBy.value(), utf8("name"));
    QCOMPARE(dqQuery<FolderSetting>().count(), 1);
}

void TestTables::clearsEveryFolder()
{
    for (const char *folder : {"f1", "f2"}) {
        FolderSetting setting;
        setting.folderId = utf8(folder);
        setting.userId = utf8(folder);
        saveFolderSetting(setting);
    }
    clearFolderSettings();
    QCOMPARE(dqQuery<FolderSetting>().count(), 0);
}

void TestTables::watchedShare_data()
{
    QTest::addColumn<QVariant>("position");
    QTest::addColumn<QVariant>("duration");
    QTest::addColumn<double>("share");
    constexpr int kMost = std::numeric_limits<int>::max();
    QTest::newRow("a third") << QVariant(100) << QVariant(300) << 100.0 / 300;
    QTest::newRow("the end") << QVariant(300) << QVariant(300) << 1.0;
    QTest::newRow("behind the end") << QVariant(301) << QVariant(300) << 1.0;
    QTest::newRow("before the start") << QVariant(-1) << QVariant(300) << 0.0;
    QTest::newRow("no duration") << QVariant(100) << QVariant(0) << 0.0;
    QTest::newRow("a negative duration") << QVariant(100) << QVariant(-5) << 0.0;
    QTest::newRow("both negative") << QVariant(-100) << QVariant(-5) << 0.0;
    QTest::newRow("nothing known") << QVariant() << QVariant() << 0.0;
    QTest::newRow("position unknown") << QVariant() << QVariant(300) << 0.0;
    QTest::newRow("the greatest") << QVariant(kMost) << QVariant(1) << 1.0;
}

void TestTables::watchedShare()
{
    QFETCH(QVariant, position);
    QFETCH(QVariant, duration);
    PlayHistory history = played("v1");
    history.playPosition = position;
    history.duration = duration;
    savePlayHistory(history);
    PlayHistory stored;
    QVERIFY(loadPlayHistory(utf8("v1"), stored));
    QTEST(stored.playPercentage.value(), "share");
    QCOMPARE(stored.playPosition.get(), QVariant(position.toInt()));
    QCOMPARE(stored.duration.get(), QVariant(duration.toInt()));
}

void TestTables::historyMergesNothing()
{
    PlayHistory history = played("v1");
    history.name = utf8("片名");
    savePlayHistory(history);
    PlayHistory stored;
    QVERIFY(loadPlayHistory(utf8("v1"), stored));
    QCOMPARE(stored.id.value(), history.id.value());

    PlayHistory bare = played("v1");
    savePlayHistory(bare);
    QVERIFY(loadPlayHistory(utf8("v1"), stored));
    QVERIFY(stored.name.isNull());
    QCOMPARE(stored.id.value(), 2);
    QCOMPARE(dqQuery<PlayHistory>().count(), 1);
    QVERIFY(!loadPlayHistory(utf8("v2"), stored));
    QCOMPARE(stored.id.value(), 2);
}

void TestTables::theLastSavedIsTheNewest()
{
    PlayHistory a = played("a");
    PlayHistory b = played("b");
    PlayHistory c = played("c");
    for (int round = 0; round < 20; ++round) {
        savePlayHistory(a);
        savePlayHistory(b);
        savePlayHistory(c);
        QCOMPARE(listed(), utf8("c b a"));
        savePlayHistory(b);
        QCOMPARE(listed(), utf8("b c a"));
    }
    // A row that SQLite has stamped itself, to the second, comes before what is saved after it.
    execute(utf8("INSERT INTO PlayHistory (fileId, userId) VALUES ('d', 'u1')"));
    savePlayHistory(a);
    QCOMPARE(listed().left(1), utf8("a"));
}

void TestTables::theNewestIsNewestAfterTheClockWasSetBack()
{
    execute(utf8("INSERT INTO PlayHistory (fileId, userId, updateTime) "
                 "VALUES ('future', 'u2', '2096-01-01 00:00:00')"));
    execute(utf8("UPDATE PlayHistory SET userId='u1'"));
    PlayHistory history = played("now");
    savePlayHistory(history);
    QCOMPARE(listed(), utf8("now future"));
}

void TestTables::listsOnlyTheCurrentUsersHistory()
{
    QCOMPARE(listed(), QString());
    PlayHistory mine = played("mine", "u1");
    PlayHistory other = played("other", "u2");
    savePlayHistory(mine);
    savePlayHistory(other);
    QCOMPARE(listed(), utf8("mine"));
    AppSettings().setCurUserId(utf8("u2"));
    QCOMPARE(listed(), utf8("other"));
}

void TestTables::clearsOnlyTheCurrentUsersHistory()
{
    PlayHistory mine = played("mine", "u1");
    PlayHistory alsoMine = played("alsoMine", "u1");
    PlayHistory other = played("other", "u2");
    savePlayHistory(mine);
    savePlayHistory(other);
    savePlayHistory(alsoMine);
    clearPlayHistory();
    QCOMPARE(listed(), QString());
    QCOMPARE(dqQuery<PlayHistory>().count(), 1);
    QVERIFY(loadPlayHistory(utf8("other"), mine));
}

void TestTables::removesOneHistoryRow()
{
    PlayHistory a = played("a");
    PlayHistory b = played("b");
    savePlayHistory(a);
    savePlayHistory(b);
    removePlayHistory(a.id.value());
    removePlayHistory(4711);
    QCOMPARE(listed(), utf8("b"));
}

void TestTables::changesOneFieldOfARow()
{
    UserInfo info = user("u1");
    saveUserInfo(info);
    setClock("u1", kLongAgo);
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
    QCOMPARE(listed(), QString());
    QCOMPARE(userIdForAccessToken(utf8("a")), QString());
}

QTEST_GUILESS_MAIN(TestTables)
#include "tst_tables.moc"
