#include "db/tables/database.h"

#include <utility>

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QtDebug>

#include "app/environment/data_dir.h"
#include "db/dq/dq_model_meta_info.h"
#include "db/dq/dq_sqlite_statement.h"
#include "db/tables/database_file.h"
#include "db/tables/unwritten_rows.h"

namespace {

Database *g_database = nullptr;

constexpr int RetryMilliseconds = 10000;

// How long a write waits for another process before it fails; the window stands still meanwhile.
constexpr int BusyMilliseconds = 3000;

// Writes the changes that a session in memory has noted; true when none is left.
bool writeToFile(const QString &filePath, const QSqlDatabase &memory)
{
    if (isForeign(filePath) || !isWritable(filePath)) {
        return false;
    }
    restrictDatabaseFiles(filePath);
    const QString name = QStringLiteral("a file that takes writes again");
    bool written = false;
    {
        const QSqlDatabase file = connectToFile(filePath, name);
        for (const DQModelMetaInfo *model : applicationModels()) {
            file.exec(DQSqliteStatement().createTableIfNotExists(*model));
        }
        written = examine(file) == FileVerdict::Good && writeChanges(memory, file);
    }
    QSqlDatabase::removeDatabase(name);
    return written;
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
    close();
    if (g_database == this) {
        g_database = nullptr;
    }
}

void Database::open()
{
    if (isForeign(m_filePath)) {
        m_putAside = putFileAside(m_filePath);
    }
    QVector<TableRows> rescued;
    FileVerdict verdict = FileVerdict::NoWriting;
    if (!isForeign(m_filePath) && isWritable(m_filePath)) {
        verdict = openFile();
    }
    if (verdict == FileVerdict::Damaged) {
        verdict = replaceFile(rescued);
    }
    if (verdict == FileVerdict::Good) {
        enter(State::Ready);
    } else if (verdict == FileVerdict::Locked) {
        disconnect();
        enter(State::Locked);
    } else {
        openMemory(readRowsOfFile(m_filePath), rescued);
    }
}

// Good when the tables are there.
FileVerdict Database::openFile()
{
    restrictDatabaseFiles(m_filePath);
    m_connection.open(connectToFile(m_filePath, QLatin1String(QSqlDatabase::defaultConnection)));
    const FileVerdict verdict = examine(m_connection.database());
    if (verdict != FileVerdict::Good) {
        return verdict;
    }
    // A write-ahead log needs one synchronisation per write instead of four, and a reader in
    // another process does not keep a writer waiting.
    m_connection.exec(QStringLiteral("PRAGMA journal_mode=WAL"));
    m_connection.exec(QStringLiteral("PRAGMA synchronous=FULL"));
    m_connection.exec(QStringLiteral("PRAGMA busy_timeout=%1").arg(BusyMilliseconds));
    if (createTables()) {
        return FileVerdict::Good;
    }
    const FileVerdict cause = verdictOf(m_connection.lastQuery().lastError());
    return cause == FileVerdict::Good ? FileVerdict::NoWriting : cause;
}

// Good when a new file has taken the place of the damaged one, with the rows that were rescued.
FileVerdict Database::replaceFile(QVector<TableRows> &rescued)
{
    rescued = readRows(m_connection.database());
    disconnect();
    m_putAside = putFileAside(m_filePath);
    const FileVerdict verdict = m_putAside.isEmpty() ? FileVerdict::NoWriting : openFile();
    if (verdict == FileVerdict::Good) {
        addRows(m_connection.database(), rescued);
    }
    return verdict;
}

// `rescued` are rows that the file does not have and is to get.
void Database::openMemory(const QVector<TableRows> &ofFile, const QVector<TableRows> &rescued)
{
    qWarning().noquote() << "The database takes no writes, they are kept in memory :" << m_filePath;
    disconnect();
    m_connection.open(
        connectToFile(QStringLiteral(":memory:"), QLatin1String(QSqlDatabase::defaultConnection)));
    createTables();
    addRows(m_connection.database(), ofFile);
    noteChanges(m_connection.database());
    addRows(m_connection.database(), rescued);
    enter(State::InMemory);
}

bool Database::createTables()
{
    for (DQModelMetaInfo *model : applicationModels()) {
        m_connection.addModel(model);
    }
    return m_connection.createTables();
}

bool Database::tryAgain()
{
    if (m_state == State::Ready) {
        return true;
    }
    const bool isInMemory = m_state == State::InMemory;
    if (isInMemory && !writeToFile(m_filePath, m_connection.database())) {
        return false;
    }
    disconnect();
    open();
    return m_state == State::Ready;
}

bool Database::continueInMemory()
{
    const FileVerdict cause = verdictOf(m_connection.lastQuery().lastError());
    const bool isFileToBlame = cause == FileVerdict::NoWriting || cause == FileVerdict::Locked;
    const QString anything = QStringLiteral("SELECT count(*) FROM sqlite_master");
    // Without the rows of the file, those of the session would stand alone.
    if (m_state != State::Ready || !isFileToBlame || !m_connection.exec(anything)) {
        return false;
    }
    openMemory(readRows(m_connection.database()), {});
    return true;
}

bool Database::isWaitingToWrite() const
{
    return m_state == State::InMemory && hasUnwrittenRows(m_connection.database());
}

void Database::close()
{
    m_retry.stop();
    if (isWaitingToWrite() && !writeToFile(m_filePath, m_connection.database())) {
        qWarning().noquote() << "The database took no writes, changes are lost :" << m_filePath;
    }
    disconnect();
}

void Database::disconnect()
{
    if (!m_connection.isOpen()) {
        return;
    }
    const QString name = m_connection.database().connectionName();
    m_connection.database().close();
    m_connection.close();
    QSqlDatabase::removeDatabase(name);
}

void Database::enter(State state)
{
    const bool hasChanged = std::exchange(m_state, state) != state;
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
