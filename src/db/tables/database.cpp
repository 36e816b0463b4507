#include "db/tables/database.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QUrl>
#include <QtDebug>

#include "app/environment/data_dir.h"
#include "db/tables/folder_setting.h"
#include "db/tables/play_history.h"
#include "db/tables/user_info.h"

namespace {

Database *g_database = nullptr;

/// How long a write waits for another process before it fails; the window stands still meanwhile.
constexpr int kBusyMilliseconds = 3000;

/// SQLite gives the files that it makes beside the database the permissions of the database, so
/// the database itself has to be there, and closed to others, before SQLite opens it. Files left
/// by an earlier run are closed as well.
void restrictDatabaseFiles(const QString &filePath)
{
    QFile file(filePath);
    if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        file.close();
    for (const char *suffix : {"", "-journal", "-wal", "-shm"}) {
        const QString path = filePath + QLatin1String(suffix);
        if (QFile::exists(path))
            restrictToOwner(path, QFile::ReadOwner | QFile::WriteOwner);
    }
}

/// Whether there is a database to read but no place beside it for SQLite's own files, without
/// which a database with a write-ahead log can be opened only as one that nobody changes.
bool isReadOnly(const QString &filePath)
{
    const QFileInfo file(filePath);
    return file.exists() && !QFileInfo(file.absolutePath()).isWritable();
}

QSqlDatabase describe(const QString &filePath)
{
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
    database.setDatabaseName(filePath);
    database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(kBusyMilliseconds));
    if (isReadOnly(filePath)) {
        const QString uri = QUrl::fromLocalFile(filePath).toString(QUrl::FullyEncoded);
        database.setDatabaseName(uri + QStringLiteral("?immutable=1"));
        database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_URI;QSQLITE_OPEN_READONLY"));
    }
    return database;
}

} // namespace

Database::Database() : Database(dataDir() + QStringLiteral("/moravu.db")) {}

Database::Database(const QString &filePath)
{
    open(filePath);
}

Database::~Database()
{
    close();
    if (g_database == this)
        g_database = nullptr;
}

bool Database::openFile(const QString &filePath)
{
    QSqlDatabase file = describe(filePath);
    if (!file.open()) {
        qWarning().noquote() << QStringLiteral("Can not open the database %1 : %2")
                                    .arg(filePath, file.lastError().text());
    }
    return m_connection.open(file);
}

void Database::open(const QString &filePath)
{
    restrictDatabaseFiles(filePath);
    if (!openFile(filePath))
        return;
    // What cannot be read now stays away: every later statement would wait for a lock again.
    if (!m_connection.exec(QStringLiteral("SELECT 1 FROM sqlite_master"))) {
        close();
        return;
    }
    // A write-ahead log needs one synchronisation per write instead of four, and a reader in
    // another process does not keep a writer waiting.
    if (!isReadOnly(filePath))
        m_connection.exec(QStringLiteral("PRAGMA journal_mode=WAL"));
    m_connection.exec(QStringLiteral("PRAGMA synchronous=FULL"));
    m_connection.addModel(dqMetaInfo<PlayHistory>());
    m_connection.addModel(dqMetaInfo<FolderSetting>());
    m_connection.addModel(dqMetaInfo<UserInfo>());
    m_usable = m_connection.createTables();
}

void Database::close()
{
    if (!m_connection.isOpen())
        return;
    const QString name = m_connection.database().connectionName();
    m_connection.database().close();
    m_connection.close();
    QSqlDatabase::removeDatabase(name);
}

Database *database()
{
    return g_database;
}

void setDatabase(Database *handle)
{
    g_database = handle;
}
