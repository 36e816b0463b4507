#include "db/tables/database_file.h"

#include <filesystem>

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QUrl>

#include "app/environment/data_dir.h"
#include "db/tables/file_lock.h"

namespace {

const char *const FileSuffixes[] = {"", "-journal", "-wal", "-shm"};

bool rename(const QString &from, const QString &to)
{
    std::error_code error;
    std::filesystem::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData(),
                            error);
    return !error;
}

// A copy is read with its write-ahead log, which SQLite cannot do where it may not write.
bool copyDatabase(const QString &filePath, const QString &copy)
{
    for (const char *suffix : {"-journal", "-wal"}) {
        const QString log = filePath + QLatin1String(suffix);
        if (QFile::exists(log) && !QFile::copy(log, copy + QLatin1String(suffix))) {
            return false;
        }
    }
    return QFile::copy(filePath, copy);
}

// With SQLite's files beside it.
bool renameDatabase(const QString &from, const QString &to)
{
    if (!rename(from, to)) {
        return false;
    }
    for (const char *suffix : {"-journal", "-wal", "-shm"}) {
        rename(from + QLatin1String(suffix), to + QLatin1String(suffix));
    }
    return true;
}

// The new path; empty when that was not possible.
QString putFileAside(const QString &filePath)
{
    const QString base =
        filePath + QDateTime::currentDateTime().toString(QStringLiteral(".yyyyMMdd-hhmmss"));
    QString aside = base;
    for (int number = 2; QFileInfo::exists(aside); ++number) {
        aside = QStringLiteral("%1-%2").arg(base).arg(number);
    }
    return renameDatabase(filePath, aside) ? aside : QString();
}

// Damaged, with the rows that can be read, when the file is to be replaced.
FileVerdict rescueRows(const QString &filePath, QVector<TableRows> &rows)
{
    if (isForeign(filePath)) {
        return FileVerdict::Damaged;
    }
    const QString name = QStringLiteral("a file that may be damaged");
    FileVerdict verdict = FileVerdict::Damaged;
    {
        const QSqlDatabase file = connectToFile(filePath, name);
        verdict = examine(file, Examination::Thorough);
        if (verdict == FileVerdict::Damaged) {
            rows = readRows(file);
        }
    }
    QSqlDatabase::removeDatabase(name);
    return verdict;
}

bool makeFile(const QString &filePath, const QVector<TableRows> &rows)
{
    QFile::remove(filePath); // what a process that was killed has left
    restrictDatabaseFiles(filePath);
    const QString name = QStringLiteral("a file that is made anew");
    bool made = false;
    {
        const QSqlDatabase file = connectToFile(filePath, name);
        made = file.isOpen() && createTables(file) && addRows(file, rows);
    }
    QSqlDatabase::removeDatabase(name);
    return made;
}

} // namespace

FileVerdict verdictOf(const QSqlError &error)
{
    enum ResultCode {
        Busy = 5,
        LockedTable = 6,
        ReadOnly = 8,
        IoError = 10,
        Corrupt = 11,
        Full = 13,
        CannotOpen = 14,
        NoDatabase = 26
    };
    // SQLite's primary code; the bits above it say more.
    switch (error.nativeErrorCode().toInt() & 0xff) {
    case Busy:
    case LockedTable:
        return FileVerdict::Locked;
    case Corrupt:
    case NoDatabase:
        return FileVerdict::Damaged;
    case ReadOnly:
    case IoError:
    case Full:
    case CannotOpen:
        return FileVerdict::NoWriting;
    default:
        return FileVerdict::Good;
    }
}

FileVerdict verdictOfWriting(const QSqlError &error)
{
    const FileVerdict verdict = verdictOf(error);
    return verdict == FileVerdict::Good ? FileVerdict::NoWriting : verdict;
}

FileVerdict examine(const QSqlDatabase &database, Examination examination)
{
    if (!database.isOpen()) {
        return verdictOf(database.lastError());
    }
    QSqlQuery query(database);
    query.setForwardOnly(true);
    const QString sql = examination == Examination::Quick
                            ? QStringLiteral("PRAGMA quick_check(1)")
                            : QStringLiteral("PRAGMA integrity_check(1)");
    if (query.exec(sql) && query.next()) {
        return query.value(0).toString() == QLatin1String("ok") ? FileVerdict::Good
                                                                : FileVerdict::Damaged;
    }
    return verdictOf(query.lastError());
}

bool isForeign(const QString &filePath)
{
    const QFileInfo file(filePath);
    return file.exists() && !file.isFile();
}

bool isWritable(const QString &filePath)
{
    const QFileInfo file(filePath);
    const QFileInfo folder(file.absolutePath());
    return folder.isDir() && folder.isWritable() && (!file.exists() || file.isWritable());
}

void restrictDatabaseFiles(const QString &filePath)
{
    QFile file(filePath);
    if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        file.close();
    }
    for (const char *suffix : FileSuffixes) {
        const QString path = filePath + QLatin1String(suffix);
        if (QFile::exists(path)) {
            restrictToOwner(path, QFile::ReadOwner | QFile::WriteOwner);
        }
    }
}

// One process at a time, and none that has the file open: it would go on in the file put aside.
FileVerdict replaceDamagedFile(const QString &filePath, QString &putAside)
{
    FileLock lock;
    QVector<TableRows> rows;
    FileVerdict verdict = lock.take(filePath, FileLock::Part::All);
    if (verdict == FileVerdict::Good) {
        verdict = rescueRows(filePath, rows);
    }
    if (verdict != FileVerdict::Damaged) {
        return verdict;
    }
    const QString fresh = filePath + QStringLiteral(".new");
    if (makeFile(fresh, rows)) {
        putAside = putFileAside(filePath);
    }
    if (!putAside.isEmpty() && rename(fresh, filePath)) {
        return FileVerdict::Good;
    }
    if (!putAside.isEmpty() && renameDatabase(putAside, filePath)) {
        putAside.clear();
    }
    QFile::remove(fresh);
    return FileVerdict::NoWriting;
}

QSqlDatabase connectToFile(const QString &filePath, const QString &connectionName,
                           int busyMilliseconds)
{
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connectionName);
    database.setDatabaseName(filePath);
    database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(busyMilliseconds));
    database.open();
    return database;
}

QVector<TableRows> readRowsOfFile(const QString &filePath)
{
    if (!QFileInfo(filePath).isFile()) {
        return {};
    }
    const QString name = QStringLiteral("rows of a file that cannot be written");
    const QTemporaryDir folder;
    const QString copy = folder.filePath(QStringLiteral("copy.db"));
    QVector<TableRows> rows;
    {
        const bool isCopied = folder.isValid() && copyDatabase(filePath, copy);
        QSqlDatabase database = connectToFile(isCopied ? copy : filePath, name);
        if (!isCopied) { // without what a write-ahead log holds
            const QString uri = QUrl::fromLocalFile(filePath).toString(QUrl::FullyEncoded);
            database.close();
            database.setDatabaseName(uri + QStringLiteral("?immutable=1"));
            database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_URI;QSQLITE_OPEN_READONLY"));
            database.open();
        }
        rows = readRows(database);
    }
    QSqlDatabase::removeDatabase(name);
    return rows;
}
