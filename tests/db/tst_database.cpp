#include <ctime>

#include <sys/resource.h>
#include <sys/stat.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSqlQuery>
#include <QTest>
#include <QTimeZone>

#include "application_database.h"
#include "child_process.h"
#include "db/dq/dq_query.h"
#include "db/dq/dq_transaction.h"
#include "db/tables/file_lock.h"
#include "support/log_capture.h"

namespace {

bool addHistory(const QString &fileId)
{
    return played(fileId).save(true);
}

bool isInHistory(const QString &fileId)
{
    PlayHistory history;
    return loadPlayHistory(fileId, history);
}

// Every operation once; none may crash, whatever state the file is in.
void useEverything()
{
    UserInfo info = store(user("u9"));
    (void)storeTokens("u9", "a", "r", "Bearer", 1);
    (void)userIdForAccessToken("a");
    store(played("f9", "u9"));
    AppSettings().setCurUserId("u9");
    clearPlayHistory();
    removePlayHistory("f9");
    FolderSetting setting;
    setting.folderId = QString("f9");
    saveFolderSetting(setting);
    clearSkipPositions("f9");
    clearFolderSettings();
    (void)changeFieldById(1, "status", 1, info);
    (void)listUsers();
    removeUser("u9");
    AppSettings().setCurUserId("u1");
}

QString firstValue(const QString &sql)
{
    QSqlQuery query(database()->connection().database());
    return query.exec(sql) && query.next() ? query.value(0).toString() : QString();
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

int mode(const QString &path)
{
    struct stat status = {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? int(status.st_mode & 0777) : 0;
}

} // namespace

// The file: its tables, its times, and what becomes of it when the world misbehaves.
class TestDatabase final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_database = std::make_unique<ApplicationDatabase>(); }
    void cleanup() { m_database.reset(); }

    void theTablesAreAsAgreed()
    {
        const auto verify = [](const char *table, const QString &columns) {
            QString sql = firstValue(QString("SELECT replace(sql, char(10), '') FROM sqlite_master "
                                             "WHERE name = '%1'")
                                         .arg(table));
            sql.replace(" DATETIME DEFAULT CURRENT_TIMESTAMP ", " NOW");
            QCOMPARE(sql, QString("CREATE TABLE %1  (id INTEGER PRIMARY KEY AUTOINCREMENT,%2)")
                              .arg(table, columns));
        };
        verify("UserInfo", "userId TEXT NOT NULL UNIQUE,driveId TEXT ,sboxDriveId TEXT ,"
                           "albumDriveId TEXT ,username TEXT ,nickname TEXT ,avatar TEXT ,"
                           "accessToken TEXT ,tokenType TEXT ,refreshToken TEXT ,"
                           "tokenExpiresIn INTEGER ,status INTEGER ,createTime NOW,updateTime NOW");
        verify("PlayHistory", "fileId TEXT NOT NULL UNIQUE,parentFileId TEXT ,userId TEXT ,"
                              "name TEXT ,duration INTEGER ,playPercentage DOUBLE ,"
                              "playPosition INTEGER ,videoQualityId TEXT ,screenScaleType INTEGER ,"
                              "subTitleType INTEGER ,subTitle TEXT ,createTime NOW,updateTime NOW");
        verify("VideoFolderSetting",
               "folderId TEXT NOT NULL UNIQUE,folderName TEXT ,userId TEXT ,skipHeadPos INTEGER ,"
               "skipTailPos INTEGER ,audioTrackId TEXT ,subtitleTrackId TEXT ,sortBy TEXT ,"
               "sortDirection TEXT ,lastPlayFileId TEXT ,updateTime NOW,createTime NOW");
        QCOMPARE(firstValue("SELECT group_concat(name) FROM sqlite_master WHERE type='table'"),
                 "PlayHistory,sqlite_sequence,VideoFolderSetting,UserInfo");
        QCOMPARE(firstValue("PRAGMA journal_mode"), "wal");
        QCOMPARE(firstValue("PRAGMA synchronous"), "2"); // a commit survives a power cut
    }

    void aTableWithOtherColumnsIsUsedAsItIs()
    {
        UserInfo info = store(user("u1"));
        m_database->open();
        QCOMPARE(storedUser("u1").nickname.value(), "用户");
        QVERIFY(m_database->execute("DROP TABLE UserInfo"));
        QVERIFY(m_database->execute("CREATE TABLE UserInfo (userId TEXT, colour TEXT)"));
        QVERIFY(m_database->execute("INSERT INTO UserInfo VALUES ('u2', 'red')"));
        m_database->open();
        QCOMPARE(storedUser("u2").userId.value(), "u2");
        const LogCapture log;
        saveUserInfo(info);
        QVERIFY(log.contains("UserInfo has no column named"));
        QCOMPARE(countUsers(), 1);
    }

    void dateTimesMeanOneInstantEverywhere()
    {
        qputenv("TZ", "America/New_York");
        tzset();
        const auto restore = qScopeGuard([] {
            qunsetenv("TZ");
            tzset();
        });
        // The second of the hours that come twice.
        const QDateTime utc({2026, 11, 1}, {6, 30, 0, 250}, Qt::UTC);
        for (const QDateTime &given :
             {utc, utc.toLocalTime(), utc.toTimeZone(QTimeZone("Asia/Shanghai"))}) {
            UserInfo info = user("u1");
            info.updateTime = given;
            removeUser("u1");
            saveUserInfo(info);
            const QDateTime stored = storedUser("u1").updateTime.value();
            QCOMPARE(stored, utc);
            QCOMPARE(stored.toString("hh:mm:ss.zzz"), "01:30:00.250");
            QCOMPARE(dqQuery<UserInfo>().filter(dqColumn(&UserInfo::updateTime) == given).count(),
                     1);
        }
        QVERIFY(isNow(storedUser("u1").createTime.value())); // stamped by SQLite
    }

    void nothingWorksWithoutADatabase()
    {
        m_database->close();
        useEverything();
        UserInfo info = user("u1");
        QVERIFY(!storeTokens("u1", "a", "r", "Bearer", 1));
        QVERIFY(!loadUserInfo("u1", info) && !changeFieldById(1, "status", 1, info));
        QCOMPARE(countUsers() + listUsers().size(), 0);
        QCOMPARE(listedFiles() + userIdForAccessToken("a"), "");
    }

    void whatWasSavedSurvivesAKill()
    {
        UserInfo info = store(user("u1", "0", "0"));
        m_database->close();
        std::atomic<int> &saved = sharedNumber();
        const int rounds = qEnvironmentVariableIsSet("MORAVU_LONG") ? 200 : 10;
        for (int round = 0; round < rounds; ++round) {
            const int first = saved + 2; // one may have been saved and not reported
            {
                const ChildProcess writer([&] {
                    m_database->open();
                    for (int i = first;; ++i) {
                        const QString number = QString::number(i);
                        if (!addHistory(number) || !storeTokens("u1", number, number, number, i)) {
                            return false;
                        }
                        saved = i;
                    }
                });
                QTest::qWait(QRandomGenerator::global()->bounded(5, 120));
            }
            m_database->open();
            QCOMPARE(firstValue("PRAGMA integrity_check"), "ok");
            for (int i = first; i <= saved; ++i) {
                QVERIFY(isInHistory(QString::number(i)));
            }
            info = storedUser("u1");
            QVERIFY(saved < first || info.accessToken.value().toInt() >= saved);
            QCOMPARE(info.refreshToken.value(), info.accessToken.value());
            QCOMPARE(countUsers(), 1);
            m_database->close();
        }
        QVERIFY(saved > 0);
    }

    void twoProcessesLoseNothing()
    {
        constexpr int Rows = 150;
        m_database->close();
        const auto work = [this](const QString &prefix) {
            return [this, prefix] {
                m_database->open();
                bool saved = true;
                for (int i = 0; i < Rows; ++i) {
                    PlayHistory history = store(played(prefix + QString::number(i)));
                    saved = saved && !history.id.isNull();
                    FolderSetting setting;
                    changeFolderSetting(
                        "f",
                        [&](FolderSetting &row) {
                            (prefix == "a" ? row.skipHeadPos : row.skipTailPos) = i + 1;
                        },
                        setting);
                }
                return saved;
            };
        };
        ChildProcess first(work("a"));
        ChildProcess second(work("b"));
        QVERIFY(first.succeeded() && second.succeeded());
        m_database->open();
        QCOMPARE(firstValue("PRAGMA integrity_check"), "ok");
        QCOMPARE(firstValue("SELECT count(DISTINCT updateTime) FROM PlayHistory").toInt(),
                 2 * Rows);
        QCOMPARE(firstValue("SELECT skipHeadPos + skipTailPos FROM VideoFolderSetting").toInt(),
                 2 * Rows);
    }

    void aLockedFileIsWaitedFor()
    {
        save(user("u1"));
        std::atomic<int> &locked = sharedNumber();
        {
            const ChildProcess holder([&] {
                m_database->open();
                locked = m_database->execute("PRAGMA journal_mode=DELETE") &&
                         m_database->execute("BEGIN EXCLUSIVE TRANSACTION");
                return pause() == 0;
            });
            QTRY_COMPARE(int(locked), 1);
            m_database->open();
            QCOMPARE(database()->state(), Database::State::Locked);
            QElapsedTimer timer;
            timer.start();
            useEverything(); // waits for nothing
            QVERIFY(timer.elapsed() < 500);
            QVERIFY(!database()->tryAgain());
        }
        int told = 0;
        database()->setListener([&told] { ++told; });
        QVERIFY(database()->tryAgain());
        QCOMPARE(told, 1);
        QCOMPARE(countUsers(), 1);
        QCOMPARE(firstValue("PRAGMA journal_mode"), "wal");
    }

    void whatABusyFileDoesNotTakeIsWrittenLater()
    {
        for (const char *file : {"a", "b", "c", "old", "undone"}) {
            store(played(file));
        }
        PlayHistory held;
        QVERIFY(loadPlayHistory("undone", held));
        removePlayHistory("undone");
        save(user("u1"));
        m_database->open();
        {
            QSqlDatabase other = QSqlDatabase::cloneDatabase(QSqlDatabase::database(), "other");
            QVERIFY(other.open());
            other.exec("BEGIN IMMEDIATE TRANSACTION");
            const LogCapture log;
            QElapsedTimer timer;
            timer.start();
            QVERIFY(restorePlayHistory({held}));
            QVERIFY(timer.elapsed() < 5000);
            QCOMPARE(database()->state(), Database::State::InMemory);
            QVERIFY(database()->isWaitingToWrite());
            QVERIFY(storeTokens("u1", "new", "unused", "Bearer", 7200));
            QCOMPARE(storedUser("u1").refreshToken.value(), "unused");
            store(played("b"));
            removePlayHistory("a");
            removePlayHistory("c");
            QVERIFY(changeFieldById(4, "fileId", "renamed", held));
            held = store(played("d"));
            QCOMPARE(listedFiles(), "d b undone renamed");
            QVERIFY(!database()->tryAgain()); // still busy
            // The other process plays on: its later rows stay, and its new one keeps its key.
            other.exec("UPDATE PlayHistory SET name = 'later', updateTime = '2096-01-01 00:00:00' "
                       "WHERE fileId IN ('b', 'c')");
            other.exec("INSERT INTO PlayHistory (id, fileId, userId, updateTime) "
                       "VALUES (7, 'other', 'u1', '2020-01-01 00:00:00')");
            other.exec("COMMIT TRANSACTION");
        }
        QSqlDatabase::removeDatabase("other");
        QVERIFY(database()->tryAgain());
        QCOMPARE(database()->state(), Database::State::Ready);
        QCOMPARE(storedUser("u1").refreshToken.value(), "unused");
        // By its former key the row must be neither saved nor put back any more.
        QCOMPARE(held.id.value(), 7);
        const PlayHistory removed = held;
        savePlayHistory(held);
        QCOMPARE(listedFiles(), "d b c undone renamed other");
        removePlayHistory("d");
        QVERIFY(restorePlayHistory({removed}));
        QCOMPARE(listedFiles(), "b c d undone renamed other");
        QCOMPARE(firstValue("SELECT name FROM PlayHistory WHERE fileId = 'b'"), "later");
        QCOMPARE(firstValue("SELECT fileId FROM PlayHistory WHERE id = 7"), "other");
    }

    void whatNobodyChangedInMemoryStaysInTheFile()
    {
        const QString columns[] = {"VideoFolderSetting (folderId, skipHeadPos, audioTrackId, ",
                                   "PlayHistory (fileId, playPosition, subTitle, ",
                                   "UserInfo (userId, status, nickname, "};
        const auto insert = [&](QSqlDatabase to, const char *key) {
            for (const QString &table : columns) {
                to.exec("INSERT INTO " + table + "createTime, updateTime) VALUES ('" + key +
                        "', 50, 'held', '" + LongAgo + "', '" + LongAgo + "')");
            }
        };
        insert(QSqlDatabase::database(), "read");
        insert(QSqlDatabase::database(), "anew");
        {
            QSqlDatabase other = QSqlDatabase::cloneDatabase(QSqlDatabase::database(), "other");
            QVERIFY(other.open());
            other.exec("BEGIN IMMEDIATE TRANSACTION");
            insert(other, "unread");
            other.exec("UPDATE VideoFolderSetting SET skipTailPos = 60");
            const LogCapture log;
            FolderSetting setting;
            removePlayHistory("anew");
            for (const char *key : {"read", "unread", "anew"}) {
                changeFolderSetting(
                    key,
                    [](FolderSetting &row) {
                        row.lastPlayFileId = QString("v");
                        row.audioTrackId.clear();
                    },
                    setting);
                QVERIFY(changePlayHistory(key, [](PlayHistory &row) { row.duration = 70; }));
                UserInfo info;
                info.userId = QString(key);
                info.accessToken = QString("new");
                info.status = 50;
                saveUserInfo(info);
            }
            QCOMPARE(database()->state(), Database::State::InMemory);
            other.exec("COMMIT TRANSACTION");
        }
        QSqlDatabase::removeDatabase("other");
        QVERIFY(database()->tryAgain());
        const auto rows = [](const QString &table, const QStringList &shown) {
            QString sql = "SELECT group_concat(%2, '; ') FROM (SELECT * FROM %1 ORDER BY %3 DESC)";
            sql = sql.arg(table, "ifnull(" + shown.join(", '-') || ' ' || ifnull(") + ", '-')");
            return firstValue(sql.arg(shown.first()));
        };
        const QString isOld = "createTime = '" + LongAgo + "'";
        QCOMPARE(rows("VideoFolderSetting", {"folderId", "skipHeadPos", "skipTailPos",
                                             "audioTrackId", "lastPlayFileId", isOld}),
                 "unread 50 60 held v 1; read 50 60 - v 1; anew 50 60 - v 1");
        // The place of a video that was not read is not known, only that it was begun.
        QCOMPARE(rows("PlayHistory", {"fileId", "playPosition", "duration", "subTitle", isOld}),
                 "unread 50 70 held 1; read 50 70 held 1; anew 0 70 - 0");
        QCOMPARE(rows("UserInfo", {"userId", "status", "nickname", "accessToken", isOld}),
                 "unread 50 held new 1; read 50 - new 1; anew 50 - new 1");
    }

    void theFirstBusyWriteIsKeptWhateverItWrites_data()
    {
        QTest::addColumn<bool>("isLogin");
        QTest::newRow("a login") << true;
        QTest::newRow("skip times") << false;
    }
    void theFirstBusyWriteIsKeptWhateverItWrites()
    {
        QFETCH(bool, isLogin);
        {
            QSqlDatabase other = QSqlDatabase::cloneDatabase(QSqlDatabase::database(), "other");
            QVERIFY(other.open());
            other.exec("BEGIN IMMEDIATE TRANSACTION");
            const LogCapture log;
            FolderSetting setting;
            setting.folderId = QString("f");
            if (isLogin) {
                QVERIFY(!store(user("u1")).id.isNull());
            } else {
                saveFolderSetting(setting);
                QVERIFY(!setting.id.isNull());
            }
        }
        QSqlDatabase::removeDatabase("other");
        if (isLogin) {
            QVERIFY(database()->tryAgain());
        } // else it tries again by itself
        QTRY_COMPARE_WITH_TIMEOUT(database()->state(), Database::State::Ready, 60000);
        QCOMPARE(countUsers() + dqQuery<FolderSetting>().count(), 1);
    }

    void aFullDiskLosesNothing_data()
    {
        QTest::addColumn<int>("bytesFree"); // behind what the database has already
        QTest::addColumn<bool>("isNew");
        QTest::newRow("from the first byte") << 0 << true;
        QTest::newRow("while the tables are made") << 6000 << true;
        QTest::newRow("in the middle of writing") << 40000 << false;
    }
    void aFullDiskLosesNothing()
    {
        QFETCH(int, bytesFree);
        QFETCH(bool, isNew);
        QVERIFY(addHistory("before"));
        save(user("u1"));
        if (isNew) {
            QVERIFY(QFile::remove(m_database->path()));
        }
        const auto limit = rlim_t(QFile(m_database->path()).size() + bytesFree);
        std::atomic<int> &saved = sharedNumber();
        ChildProcess writer([&] {
            signal(SIGXFSZ, SIG_IGN);
            rlimit bytes = {limit, RLIM_INFINITY};
            setrlimit(RLIMIT_FSIZE, &bytes);
            const LogCapture log;
            m_database->open();
            for (int i = 0; i < 1000 && !isNew && addHistory(QString::number(i)); ++i) {
                saved = i;
            }
            store(user("u1"));
            const bool kept = storeTokens("u1", "new", "unused", "Bearer", 7200) &&
                              database()->state() == Database::State::InMemory &&
                              countUsers() == 1 && isInHistory("before") != isNew;
            bytes.rlim_cur = RLIM_INFINITY;
            setrlimit(RLIMIT_FSIZE, &bytes);
            return kept && database()->tryAgain();
        });
        QVERIFY(writer.succeeded());
        m_database->open();
        QCOMPARE(firstValue("PRAGMA integrity_check"), "ok");
        QCOMPARE(storedUser("u1").accessToken.value(), "new");
        QCOMPARE(saved < 0, isNew);
        for (int i = 0; i <= saved; ++i) {
            QVERIFY(isInHistory(QString::number(i)));
        }
        QCOMPARE(isInHistory("before"), !isNew);
    }

    void aFolderThatCannotBeWrittenLosesNothing_data()
    {
        QTest::addColumn<bool>("isNew");
        QTest::addColumn<bool>("hasLog");
        QTest::newRow("without a database") << true << false;
        QTest::newRow("with a database") << false << false;
        QTest::newRow("with rows in a log beside it") << false << true;
    }
    void aFolderThatCannotBeWrittenLosesNothing()
    {
        constexpr uid_t Nobody = 65534; // the superuser may write anywhere
        QFETCH(bool, isNew);
        QFETCH(bool, hasLog);
        m_database->close();
        ChildProcess former([&] {
            m_database->open();
            UserInfo info = store(user("u1"));
            if (!hasLog) {
                m_database->close();
            }
            return hasLog == QFile::exists(m_database->path() + "-wal");
        });
        QVERIFY(former.succeeded());
        const QString path = m_database->path();
        const QByteArray folder = QFile::encodeName(QFileInfo(path).path());
        if (isNew) {
            QVERIFY(QFile::remove(path));
        }
        for (const QString &file :
             {m_database->home(), QString(folder), path, path + "-wal", path + "-shm"}) {
            QVERIFY(getuid() != 0 || chown(QFile::encodeName(file), Nobody, Nobody) == 0 ||
                    !QFile::exists(file));
        }
        QVERIFY(chmod(folder, 0500) == 0);
        const QByteArray before = contents(path);
        ChildProcess session([&] {
            if (getuid() == 0 && setuid(Nobody) != 0) {
                return false;
            }
            const LogCapture log;
            m_database->open();
            const bool isRead = countUsers() == (isNew ? 0 : 1);
            store(user("u1", "new"));
            const bool isKept = storedUser("u1").accessToken.value() == "new" &&
                                !database()->tryAgain() && contents(path) == before;
            const bool isStillOpen = !database()->close() && countUsers() == 1;
            chmod(folder, 0700);
            return isRead && isKept && isStillOpen && database()->close();
        });
        QVERIFY(session.succeeded());
        m_database->open();
        QCOMPARE(storedUser("u1").accessToken.value(), "new");
    }

    void whatIsNoDatabaseIsPutAside_data()
    {
        QTest::addColumn<int>("bytesKept"); // of a good database; negative: cut off
        QTest::newRow("a folder") << 0;
        QTest::newRow("a pipe") << 0;
        QTest::newRow("garbage") << 0;
        QTest::newRow("cut in the header") << 60;
        QTest::newRow("cut in the schema") << 3000;
        QTest::newRow("without its last page") << -4096;
    }
    void whatIsNoDatabaseIsPutAside()
    {
        QFETCH(int, bytesKept);
        const QByteArray damage = QTest::currentDataTag();
        addManyRows();
        m_database->close();
        QFile file(m_database->path());
        QVERIFY(bytesKept == 0 ? file.remove()
                               : file.resize(bytesKept + (bytesKept < 0 ? file.size() : 0)));
        if (damage == "a folder") {
            QVERIFY(QDir().mkdir(file.fileName()));
        } else if (damage == "a pipe") {
            QVERIFY(mkfifo(QFile::encodeName(file.fileName()), 0600) == 0);
        } else if (damage == "garbage") {
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(QByteArray(9000, 'x')) == 9000);
            file.close();
        }
        const bool isFile = QFileInfo(file).isFile();
        const QByteArray before = isFile ? contents(file.fileName()) : QByteArray();
        const LogCapture log;
        m_database->open();
        QCOMPARE(database()->state(), Database::State::Ready);
        const QString aside = database()->putAside();
        const QRegularExpression name("^" + m_database->path() + "\\.\\d{8}-\\d{6}$");
        QVERIFY2(name.match(aside).hasMatch(), qPrintable(aside));
        QVERIFY(isFile ? contents(aside) == before : QFileInfo::exists(aside));
        const bool hasRows = bytesKept < 0;
        QCOMPARE(countUsers(), hasRows ? 1 : 0);
        QCOMPARE(isInHistory("0"), hasRows);
        store(user("u2"));
        m_database->open();
        QCOMPARE(database()->putAside(), "");
        QCOMPARE(countUsers(), hasRows ? 2 : 1);
    }

    void damageWhileRunningIsMendedAsAtTheStart_data()
    {
        QTest::addColumn<bool>("isLocked");
        QTest::addColumn<bool>("isRead");
        QTest::newRow("by the write that meets it") << false << false;
        QTest::newRow("later, when no other process has it open") << true << false;
        QTest::newRow("by the list that meets it") << false << true;
    }
    void damageWhileRunningIsMendedAsAtTheStart()
    {
        QFETCH(bool, isLocked);
        QFETCH(bool, isRead);
        addManyRows();
        QFile file(m_database->path());
        FileLock other;
        if (isLocked) {
            (void)other.take(file.fileName(), FileLock::Part::Share);
        }
        int told = 0;
        database()->setListener([&told] { ++told; });
        QVERIFY(file.resize(file.size() - 4096));
        const LogCapture log;
        if (isRead) {
            QVERIFY(m_database->execute("PRAGMA shrink_memory")); // else SQLite has all pages yet
            QVERIFY(listedFiles().contains("0"));
            QVERIFY(QFileInfo::exists(database()->putAside()));
        }
        store(played("met"));
        if (isLocked) {
            QCOMPARE(database()->state(), Database::State::InMemory);
            QVERIFY(isInHistory("met") && isInHistory("0") && countUsers() == 1);
            other.release();
            QVERIFY(database()->tryAgain());
        }
        QCOMPARE(database()->state(), Database::State::Ready);
        QCOMPARE(told, isLocked ? 2 : 1);
        QVERIFY(QFileInfo::exists(database()->putAside()));
        m_database->open();
        QCOMPARE(firstValue("PRAGMA integrity_check"), "ok");
        QVERIFY(isInHistory("met") && isInHistory("0") && countUsers() == 1);
    }

    void damageThatOnlyAnIndexShowsIsMended()
    {
        store(played("met"));
        addManyRows();
        m_database->close();
        QFile file(m_database->path());
        QVERIFY(file.open(QIODevice::ReadWrite) && file.seek(file.readAll().indexOf("metu1")));
        QCOMPARE(file.write("mit"), 3); // in the row
        file.close();
        m_database->open();
        QCOMPARE(database()->putAside(), "");
        const LogCapture log;
        clearPlayHistory();
        QVERIFY(QFileInfo::exists(database()->putAside()));
        QCOMPARE(listedFiles(), "");
        QCOMPARE(countUsers(), 1);
    }

    void oneOfTwoProcessesReplacesADamagedFile()
    {
        addManyRows();
        m_database->close();
        QFile file(m_database->path());
        const LogCapture log;
        std::atomic<int> &isOpen = sharedNumber();
        {
            const ChildProcess holder([&] {
                m_database->open();
                isOpen = 1;
                return pause() == 0;
            });
            QTRY_COMPARE(int(isOpen), 1);
            QVERIFY(file.resize(file.size() - 4096));
            m_database->open(); // what the other one writes must not end in a file put aside
            QCOMPARE(database()->state(), Database::State::Locked);
            QCOMPARE(database()->putAside(), "");
            m_database->close();
        }
        const auto start = [this] {
            m_database->open();
            while (!database()->tryAgain()) {
            }
            return isInHistory("0");
        };
        ChildProcess first(start);
        ChildProcess second(start);
        QVERIFY(first.succeeded() && second.succeeded());
        const QDir folder = QFileInfo(file).dir();
        QCOMPARE(folder.entryList({"moravu.db.2*"}).size(), 1);
    }

    void aDamagedFileStaysUntilThereIsRoomForANewOne()
    {
        addManyRows();
        m_database->close();
        QFile file(m_database->path());
        QVERIFY(file.resize(file.size() - 4096));
        const QByteArray before = contents(file.fileName());
        ChildProcess session([&] {
            signal(SIGXFSZ, SIG_IGN);
            rlimit bytes = {40960, RLIM_INFINITY}; // the tables, not the rows
            setrlimit(RLIMIT_FSIZE, &bytes);
            const LogCapture log;
            m_database->open();
            const bool isKept = database()->state() == Database::State::InMemory &&
                                isInHistory("0") && contents(file.fileName()) == before;
            bytes.rlim_cur = RLIM_INFINITY;
            setrlimit(RLIMIT_FSIZE, &bytes);
            return isKept && database()->tryAgain() && isInHistory("0");
        });
        QVERIFY(session.succeeded());
    }

    void onlyTheOwnerMayReadTheFiles()
    {
        const QString path = m_database->path();
        m_database->close();
        QVERIFY(QFile::remove(path));
        const mode_t umaskBefore = umask(0);
        const auto restore = qScopeGuard([umaskBefore] { umask(umaskBefore); });
        // Made anew by a process that is killed and leaves its log behind.
        ChildProcess killed([this] {
            m_database->open();
            return addHistory("g") && ::kill(getpid(), SIGKILL) == 0;
        });
        QVERIFY(!killed.succeeded());
        const QStringList files{path, path + "-wal", path + "-shm"};
        for (const QString &file : files) {
            QCOMPARE(mode(file), 0600);
            QVERIFY(chmod(QFile::encodeName(file), 0666) == 0);
        }
        m_database->open();
        for (const QString &file : files) {
            QCOMPARE(mode(file), 0600);
        }
        QVERIFY(isInHistory("g"));
    }

private:
    // Stores the user and closes the database.
    void save(UserInfo info)
    {
        saveUserInfo(info);
        m_database->close();
    }

    // A user and enough rows for many pages, all in the file itself.
    void addManyRows()
    {
        save(user("u1"));
        m_database->open();
        {
            DQTransaction transaction(database()->connection());
            for (int i = 0; i < 500; ++i) {
                QVERIFY(addHistory(QString::number(i)));
            }
            QVERIFY(transaction.commit());
        }
        m_database->open();
    }

    std::unique_ptr<ApplicationDatabase> m_database;
};

QTEST_GUILESS_MAIN(TestDatabase)
#include "tst_database.moc"
