#include "db/tables/database.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QtDebug>

#include "app/environment/data_dir.h"
#include "db/tables/folder_setting.h"
#include "db/tables/play_history.h"
#include "db/tables/user_info.h"

namespace {

Database *g_database = nullptr;

/// How long a write waits for another process before it fails; the window stands still meanwhile.
const QString kConnectOptions = QStringLiteral("QSQLITE_BUSY_TIMEOUT=3000");

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

void Database::open(const QString &filePath)
{
    restrictDatabaseFiles(filePath);
    QSqlDatabase file = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
    file.setDatabaseName(filePath);
    file.setConnectOptions(kConnectOptions);
    if (!file.open())
        qWarning().noquote() << QStringLiteral("Can not open the database %1 : %2")
                                    .arg(filePath, file.lastError().text());
    if (!m_connection.open(file))
        return;
    // A write-ahead log needs one synchronisation per write instead of four, and a reader in
    // another process does not keep a writer waiting.
    m_connection.exec(QStringLiteral("PRAGMA journal_mode=WAL"));
    m_connection.exec(QStringLiteral("PRAGMA synchronous=FULL"));
    m_connection.addModel(dqMetaInfo<PlayHistory>());
    m_connection.addModel(dqMetaInfo<FolderSetting>());
    m_connection.addModel(dqMetaInfo<UserInfo>());
    m_connection.createTables();
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
