#include "db/tables/database.h"

#include <utility>

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QtDebug>

#include "app/environment/data_dir.h"
#include "db/dq/dq_model_meta_info.h"
#include "db/tables/database_file.h"
#include "db/tables/unwritten_rows.h"

namespace {

Database *g_database = nullptr;

constexpr int RetryMilliseconds = 10000;

// How long a write waits for another process before it fails; the window stands still meanwhile.
constexpr int BusyMilliseconds = 3000;

constexpr int TriesToClose = 3;

// Writes the changes that a session in memory has noted; Good when none is left.
FileVerdict writeToFile(const QString &filePath, const QSqlDatabase &memory, int busyMilliseconds)
{
    if (isForeign(filePath)) {
        return FileVerdict::Damaged;
    }
    if (!isWritable(filePath)) {
        return FileVerdict::NoWriting;
    }
    FileLock lock;
    if (lock.take(filePath, FileLock::Part::Share) != FileVerdict::Good) {
        return FileVerdict::Locked;
    }
    restrictDatabaseFiles(filePath);
    const QString name = QStringLiteral("a file that takes writes again");
    FileVerdict verdict = FileVerdict::NoWriting;
    {
        const QSqlDatabase file = connectToFile(filePath, name, busyMilliseconds);
        verdict = examine(file, Examination::Quick);
        if (verdict == FileVerdict::Good && createTables(file)) {
            const QSqlError error = writeChanges(memory, file);
            verdict = error.isValid() ? verdictOfWriting(error) : FileVerdict::Good;
        } else if (verdict == FileVerdict::Good) {
            verdict = FileVerdict::NoWriting;
        }
    }
    QSqlDatabase::removeDatabase(name);
    return verdict;
}

} // namespace

Database::Database() : Database(dataDir() + QStringLiteral("/moravu.db")) {}

Database::Database(QString filePath) : m_filePath(std::move(filePath))
{
    m_retry.setInterval(RetryMilliseconds);
    QObject::connect(&m_retry, &QTimer::timeout, &m_retry, [this] { tryAgain(); });
    open();
}

Database::~Database()
{
    if (isWaitingToWrite()) {
        qWarning().noquote() << "The database took no writes, changes are lost :" << m_filePath;
    }
    disconnect();
    if (g_database == this) {
        g_database = nullptr;
    }
}

// `ofSession` are the rows with which a session goes on that has the file no more; it would be left
// with nothing while the file is locked.
void Database::open(const QVector<TableRows> &ofSession)
{
    FileVerdict verdict = openFile();
    if (verdict == FileVerdict::Damaged) {
        disconnect();
        verdict = replaceFile();
        verdict = verdict == FileVerdict::Good ? openFile() : verdict;
    }
    if (verdict == FileVerdict::Good) {
        enter(State::Ready);
    } else if (verdict == FileVerdict::Locked && ofSession.isEmpty()) {
        disconnect();
        enter(State::Locked);
    } else {
        disconnect();
        openMemory(ofSession.isEmpty() ? readRowsOfFile(m_filePath) : ofSession);
    }
}

// Good when the tables are there.
FileVerdict Database::openFile()
{
    if (isForeign(m_filePath)) {
        return FileVerdict::Damaged;
    }
    if (!isWritable(m_filePath)) {
        return FileVerdict::NoWriting;
    }
    if (m_lock.take(m_filePath, FileLock::Part::Share) != FileVerdict::Good) {
        return FileVerdict::Locked;
    }
    restrictDatabaseFiles(m_filePath);
    m_connection.open(connectToFile(m_filePath, QLatin1String(QSqlDatabase::defaultConnection)));
    const FileVerdict verdict = examine(m_connection.database(), Examination::Quick);
    if (verdict != FileVerdict::Good) {
        return verdict;
    }
    // A write-ahead log needs one synchronisation per write instead of four, and a reader in
    // another process does not keep a writer waiting.
    m_connection.exec(QStringLiteral("PRAGMA journal_mode=WAL"));
    m_connection.exec(QStringLiteral("PRAGMA synchronous=FULL"));
    m_connection.exec(QStringLiteral("PRAGMA busy_timeout=%1").arg(BusyMilliseconds));
    return createModelTables() ? FileVerdict::Good
                               : verdictOfWriting(m_connection.lastQuery().lastError());
}

FileVerdict Database::replaceFile()
{
    QString putAside;
    const FileVerdict verdict = replaceDamagedFile(m_filePath, putAside);
    if (!putAside.isEmpty()) {
        m_putAside = putAside;
        m_isPutAsideTold = false;
    }
    return verdict;
}

// `rows` are those of the file, as far as they are known.
void Database::openMemory(const QVector<TableRows> &rows)
{
    qWarning().noquote() << "The database takes no writes, they are kept in memory :" << m_filePath;
    m_connection.open(
        connectToFile(QStringLiteral(":memory:"), QLatin1String(QSqlDatabase::defaultConnection)));
    createModelTables();
    if (!addRows(m_connection.database(), rows)) {
        qWarning("Rows of the database did not fit into memory.");
    }
    noteChanges(m_connection.database());
    enter(State::InMemory);
}

bool Database::createModelTables()
{
    for (DQModelMetaInfo *model : applicationModels()) {
        m_connection.addModel(model);
    }
    return m_connection.createTables();
}

bool Database::tryAgain()
{
    QVector<TableRows> rows;
    if (m_state == State::InMemory) {
        if (!writeBack(ProbeMilliseconds)) {
            return false;
        }
        rows = readRows(m_connection.database());
    }
    if (m_state != State::Ready) {
        disconnect();
        open(rows);
    }
    return m_state == State::Ready;
}

bool Database::recover()
{
    const FileVerdict cause = verdictOf(m_connection.lastQuery().lastError());
    const QString anything = QStringLiteral("SELECT count(*) FROM sqlite_master");
    // Without the rows of the file, those of the session would stand alone.
    if (m_state != State::Ready || cause == FileVerdict::Good ||
        (cause != FileVerdict::Damaged && !m_connection.exec(anything))) {
        return false;
    }
    const QVector<TableRows> rows = readRows(m_connection.database());
    disconnect();
    if (cause == FileVerdict::Damaged) {
        replaceFile();
        open(rows);
    } else {
        openMemory(rows);
    }
    return true;
}

bool Database::isWaitingToWrite() const
{
    return m_state == State::InMemory && m_connection.isOpen() &&
           hasUnwrittenRows(m_connection.database());
}

bool Database::writeBack(int busyMilliseconds)
{
    FileVerdict verdict = writeToFile(m_filePath, m_connection.database(), busyMilliseconds);
    if (verdict == FileVerdict::Damaged && replaceFile() == FileVerdict::Good) {
        verdict = writeToFile(m_filePath, m_connection.database(), busyMilliseconds);
    }
    return verdict == FileVerdict::Good;
}

bool Database::close()
{
    for (int tries = 0; isWaitingToWrite() && !writeBack(BusyMilliseconds);) {
        if (++tries == TriesToClose) {
            return false;
        }
    }
    m_retry.stop();
    disconnect();
    return true;
}

void Database::disconnect()
{
    if (m_connection.isOpen()) {
        const QString name = m_connection.database().connectionName();
        m_connection.database().close();
        m_connection.close();
        QSqlDatabase::removeDatabase(name);
    }
    m_lock.release();
}

void Database::enter(State state)
{
    const bool hasChanged = std::exchange(m_state, state) != state || !m_isPutAsideTold;
    m_isPutAsideTold = true;
    if (state == State::Ready) {
        m_retry.stop();
    } else {
        m_retry.start();
    }
    if (hasChanged && m_listener) {
        m_listener();
    }
}

Database *database()
{
    return g_database;
}

void setDatabase(Database *handle)
{
    g_database = handle;
}
