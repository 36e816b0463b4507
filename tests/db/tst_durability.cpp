#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

#include "app/environment/app_settings.h"
#include "child_process.h"
#include "db/dq/dq_query.h"
#include "db/dq/dq_transaction.h"
#include "db/tables/database.h"
#include "db/tables/operations.h"
#include "warnings.h"

namespace {

QString utf8(const char *text)
{
    return QString::fromUtf8(text);
}

bool addHistory(const QString &fileId)
{
    PlayHistory history;
    history.fileId = fileId;
    history.userId = utf8("u1");
    return history.save(true);
}

void addUser(const QString &userId)
{
    UserInfo user;
    user.userId = userId;
    saveUserInfo(user);
}

/// Every operation once; none may crash, whatever state the file is in.
void useEverything()
{
    addUser(utf8("u9"));
    UserInfo user;
    loadUserInfo(utf8("u9"), user);
    (void)listUsers();
    (void)storeTokens(utf8("u9"), utf8("a"), utf8("r"), utf8("Bearer"), 1);
    (void)userIdForAccessToken(utf8("a"));
    PlayHistory history;
    history.fileId = utf8("f9");
    savePlayHistory(history);
    DQList<PlayHistory> list;
    listPlayHistory(list);
    clearPlayHistory();
    FolderSetting setting;
    setting.folderId = utf8("f9");
    saveFolderSetting(setting);
    clearSkipPositions(utf8("f9"));
    clearFolderSettings();
    (void)changeFieldById(1, utf8("status"), 1, user);
    (void)loadRowById(1, history);
    removePlayHistory(4711); // of nobody
    removeUser(utf8("u9"));
}

QString integrity()
{
    QSqlQuery query(database()->connection().database());
    return query.exec(utf8("PRAGMA integrity_check")) && query.next() ? query.value(0).toString()
                                                                      : QString();
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

int mode(const QString &path)
{
    struct stat status = {};
    return stat(QFile::encodeName(path).constData(), &status) == 0
               ? static_cast<int>(status.st_mode & 0777)
               : -1;
}

bool isLong()
{
    return qEnvironmentVariableIntValue("MORAVU_LONG") != 0;
}

/// Opens the database for a scope and publishes it.
class OpenDatabase final
{
    Q_DISABLE_COPY_MOVE(OpenDatabase)

public:
    explicit OpenDatabase(const QString &path) : m_database(path) { setDatabase(&m_database); }
    ~OpenDatabase() = default;

private:
    Database m_database;
};

/// Writes numbers into a pipe the moment they are known, so that they outlive a kill.
class Reports final
{
    Q_DISABLE_COPY_MOVE(Reports)

public:
    Reports() { QVERIFY(pipe(m_ends) == 0); }
    ~Reports()
    {
        ::close(m_ends[0]);
        ::close(m_ends[1]);
    }

    void write(int number)
    {
        if (::write(m_ends[1], &number, sizeof number) != sizeof number)
            _exit(2);
    }

    /// All that was written; the writer must be dead.
    QVector<int> readAll()
    {
        ::close(std::exchange(m_ends[1], -1));
        QVector<int> numbers;
        int number = 0;
        while (::read(m_ends[0], &number, sizeof number) == sizeof number)
            numbers.append(number);
        return numbers;
    }

private:
    int m_ends[2] = {-1, -1};
};

} // namespace

class TestDurability final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void whatWasSavedSurvivesAKill();
    void twoProcessesLoseNothing();
    void aBusyDatabaseIsGivenUpInTime();
    void aFullDiskIsReportedAndDoesNoHarm_data();
    void aFullDiskIsReportedAndDoesNoHarm();
    void aDirectoryThatCanNotBeWritten_data();
    void aDirectoryThatCanNotBeWritten();
    void aDamagedFileIsLeftAlone_data();
    void aDamagedFileIsLeftAlone();
    void onlyTheOwnerMayReadTheFiles();

private:
    std::unique_ptr<QTemporaryDir> m_home;
    QString m_path;
};

void TestDurability::init()
{
    m_home = std::make_unique<QTemporaryDir>();
    qputenv("HOME", m_home->path().toUtf8());
    m_path = m_home->filePath(utf8("moravu.db"));
    AppSettings().setCurUserId(utf8("u1"));
}

void TestDurability::cleanup()
{
    m_home.reset();
}

void TestDurability::whatWasSavedSurvivesAKill()
{
    constexpr int kRowsPerRound = 100000;
    {
        const OpenDatabase open(m_path);
        addUser(utf8("u1"));
    }
    int saved = 0;
    const int rounds = isLong() ? 200 : 10;
    for (int round = 0; round < rounds; ++round) {
        Reports reports;
        ChildProcess writer([&] {
            const OpenDatabase open(m_path);
            for (int i = round * kRowsPerRound;; ++i) {
                const QString number = QString::number(i);
                if (!addHistory(number) || !storeTokens(utf8("u1"), number, number, number, i))
                    return false;
                reports.write(i);
            }
        });
        QTest::qWait(QRandomGenerator::global()->bounded(5, 120));
        writer.kill();

        const OpenDatabase open(m_path);
        QCOMPARE(integrity(), utf8("ok"));
        const QVector<int> numbers = reports.readAll();
        saved += numbers.size();
        PlayHistory history;
        for (const int number : numbers)
            QVERIFY(loadPlayHistory(QString::number(number), history));
        UserInfo user;
        QVERIFY(loadUserInfo(utf8("u1"), user));
        QVERIFY(numbers.isEmpty() || user.accessToken.value().toInt() >= numbers.last());
        QCOMPARE(user.refreshToken.value(), user.accessToken.value());
        QCOMPARE(countUsers(), 1);
    }
    qInfo("%d kills, %d saves reported, all found", rounds, saved);
    QVERIFY(saved > 0);
}

void TestDurability::twoProcessesLoseNothing()
{
    constexpr int kRows = 150;
    const auto work = [this](const QString &prefix) {
        return [this, prefix] {
            const OpenDatabase open(m_path);
            bool saved = true;
            for (int i = 0; i < kRows; ++i) {
                PlayHistory history;
                history.fileId = prefix + QString::number(i);
                history.userId = utf8("u1");
                savePlayHistory(history);
                saved = saved && !history.id.isNull();
            }
            return saved;
        };
    };
    ChildProcess first(work(utf8("a")));
    ChildProcess second(work(utf8("b")));
    QVERIFY(first.succeeded());
    QVERIFY(second.succeeded());

    const OpenDatabase open(m_path);
    QCOMPARE(integrity(), utf8("ok"));
    QSqlQuery query(database()->connection().database());
    QVERIFY(query.exec(utf8("SELECT count(*), count(DISTINCT updateTime) FROM PlayHistory")) &&
            query.next());
    QCOMPARE(query.value(0).toInt(), 2 * kRows);
    QCOMPARE(query.value(1).toInt(), 2 * kRows);
}

void TestDurability::aBusyDatabaseIsGivenUpInTime()
{
    {
        const OpenDatabase open(m_path);
        addUser(utf8("u1"));
    }
    Reports reserved;
    Reports done;
    ChildProcess holder([&] {
        const OpenDatabase open(m_path);
        const DQTransaction transaction(database()->connection());
        reserved.write(1);
        pause();
        return transaction.isActive();
    });
    ChildProcess other([&] {
        QTest::qWait(200);
        const OpenDatabase open(m_path);
        QElapsedTimer timer;
        timer.start();
        const bool canRead = countUsers() == 1 && timer.elapsed() < 1000;
        const bool wrote = storeTokens(utf8("u1"), utf8("a"), utf8("r"), utf8("Bearer"), 1);
        return canRead && !wrote && timer.elapsed() < 5000;
    });
    QVERIFY(other.succeeded());
    holder.kill();
    const OpenDatabase open(m_path);
    QVERIFY(storeTokens(utf8("u1"), utf8("a"), utf8("r"), utf8("Bearer"), 1));
}

void TestDurability::aFullDiskIsReportedAndDoesNoHarm_data()
{
    QTest::addColumn<int>("bytesFree"); // behind what the database has already
    QTest::addColumn<bool>("isNew");
    QTest::newRow("from the first byte") << 0 << true;
    QTest::newRow("while the tables are made") << 6000 << true;
    QTest::newRow("in the middle of writing") << 40000 << false;
}

void TestDurability::aFullDiskIsReportedAndDoesNoHarm()
{
    QFETCH(int, bytesFree);
    QFETCH(bool, isNew);
    if (!isNew) {
        const OpenDatabase open(m_path);
        QVERIFY(addHistory(utf8("before")));
    }
    AppSettings().setCurUserId(utf8("u2")); // whose history useEverything() clears
    const auto limit = static_cast<rlim_t>(QFile(m_path).size() + bytesFree);
    Reports reports;
    ChildProcess writer([&] {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit bytes = {limit, limit};
        if (setrlimit(RLIMIT_FSIZE, &bytes) != 0)
            return false;
        const Warnings warnings;
        const OpenDatabase open(m_path);
        int i = 0;
        for (; i < 1000 && addHistory(QString::number(i)); ++i)
            reports.write(i);
        useEverything();
        return i < 1000 && !Warnings::texts().isEmpty();
    });
    QVERIFY(writer.succeeded());

    const OpenDatabase open(m_path);
    QCOMPARE(integrity(), utf8("ok"));
    PlayHistory history;
    const QVector<int> numbers = reports.readAll();
    QCOMPARE(numbers.isEmpty(), isNew);
    for (const int number : numbers)
        QVERIFY(loadPlayHistory(QString::number(number), history));
    QCOMPARE(loadPlayHistory(utf8("before"), history), !isNew);
    QVERIFY(addHistory(utf8("after")));
}

void TestDurability::aDirectoryThatCanNotBeWritten_data()
{
    QTest::addColumn<bool>("isNew");
    QTest::newRow("without a database") << true;
    QTest::newRow("with a database") << false;
}

void TestDurability::aDirectoryThatCanNotBeWritten()
{
    constexpr uid_t kNobody = 65534; // the superuser may write anywhere
    QFETCH(bool, isNew);
    if (!isNew) {
        const OpenDatabase open(m_path);
        addUser(utf8("u1"));
    }
    const QByteArray before = contents(m_path);
    const QByteArray home = QFile::encodeName(m_home->path());
    if (getuid() == 0) {
        QVERIFY(chown(home.constData(), kNobody, kNobody) == 0);
        QVERIFY(isNew || chown(QFile::encodeName(m_path).constData(), kNobody, kNobody) == 0);
    }
    QVERIFY(chmod(home.constData(), 0500) == 0);
    ChildProcess reader([&] {
        if (getuid() == 0 && setuid(kNobody) != 0)
            return false;
        const Warnings warnings;
        const OpenDatabase open(m_path);
        const int users = countUsers();
        useEverything();
        return users == (isNew ? 0 : 1) && !Warnings::texts().isEmpty();
    });
    const bool succeeded = reader.succeeded();
    QVERIFY(chmod(home.constData(), 0700) == 0);
    QVERIFY(succeeded);
    QCOMPARE(contents(m_path), before);
}

void TestDurability::aDamagedFileIsLeftAlone_data()
{
    QTest::addColumn<int>("bytesKept"); // of a good database, -1 for a foreign file
    QTest::newRow("a foreign file") << -1;
    QTest::newRow("cut in the header") << 60;
    QTest::newRow("cut in the schema") << 3000;
    QTest::newRow("cut behind the schema") << 5000;
    QTest::newRow("cut in the rows") << 4096 * 6 + 100;
}

void TestDurability::aDamagedFileIsLeftAlone()
{
    QFETCH(int, bytesKept);
    {
        const OpenDatabase open(m_path);
        DQTransaction transaction(database()->connection());
        for (int i = 0; i < 500; ++i)
            QVERIFY(addHistory(QString::number(i)));
        QVERIFY(transaction.commit());
    }
    if (bytesKept >= 0) {
        QVERIFY(QFile::resize(m_path, bytesKept));
    } else {
        QFile file(m_path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(QByteArray(9000, 'x')) == 9000);
    }
    const QByteArray before = contents(m_path);
    {
        const Warnings warnings;
        const OpenDatabase open(m_path);
        QCOMPARE(countUsers(), 0);
        useEverything();
        QVERIFY(!Warnings::texts().isEmpty());
    }
    QCOMPARE(contents(m_path), before);
}

void TestDurability::onlyTheOwnerMayReadTheFiles()
{
    const mode_t umaskBefore = umask(0);
    const auto restore = qScopeGuard([umaskBefore] { umask(umaskBefore); });
    const QStringList files{m_path, m_path + utf8("-wal"), m_path + utf8("-shm")};
    {
        const OpenDatabase open(m_path);
        QVERIFY(addHistory(utf8("f")));
        for (const QString &file : files)
            QCOMPARE(mode(file), 0600);
    }
    // Left open to others, with a log that a killed process left behind.
    ChildProcess killed([this] {
        const OpenDatabase open(m_path);
        return addHistory(utf8("g")) && ::kill(getpid(), SIGKILL) == 0;
    });
    QVERIFY(!killed.succeeded());
    for (const QString &file : files)
        QVERIFY(chmod(QFile::encodeName(file).constData(), 0666) == 0);
    const OpenDatabase open(m_path);
    for (const QString &file : files)
        QCOMPARE(mode(file), 0600);
    PlayHistory history;
    QVERIFY(loadPlayHistory(utf8("g"), history));
}

QTEST_GUILESS_MAIN(TestDurability)
#include "tst_durability.moc"
