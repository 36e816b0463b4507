#pragma once

#include <QSqlDatabase>
#include <QString>
#include <QVector>

#include "db/tables/stored_rows.h"

class QSqlError;

// What can be learnt of the database's file, and done to it, besides executing statements.

enum class FileVerdict {
    Good,
    Damaged,   // no database, or one that lacks pages
    Locked,    // by another process
    NoWriting, // the disk is full, or may not be written
};

// What a statement's failure says of the file it was for; Good when the file is not to blame.
[[nodiscard]] FileVerdict verdictOf(const QSqlError &error);

// The same of a statement that was to write: never Good.
[[nodiscard]] FileVerdict verdictOfWriting(const QSqlError &error);

// Reads the whole file, or, much slower, compares its parts with each other too.
enum class Examination { Quick, Thorough };
[[nodiscard]] FileVerdict examine(const QSqlDatabase &database, Examination examination);

// Whether there is something else at the path, such as a folder or a pipe, that must not be opened.
[[nodiscard]] bool isForeign(const QString &filePath);

// Whether SQLite can write the file and make its own files beside it.
[[nodiscard]] bool isWritable(const QString &filePath);

// Makes the file, when it is missing, and closes it and SQLite's files beside it to everybody but
// their owner. SQLite gives the files that it makes later the same permissions.
void restrictDatabaseFiles(const QString &filePath);

// Puts a new database in the place of what is none, or of a damaged one, with the rows that can
// still be read; the old one, and SQLite's files with it, get a name with the date in it. Either
// all of that is done, and `putAside` is the old one's new path, or nothing. Good also when another
// process has done it meanwhile, or when there is no damage. Locked while another process uses the
// file, or this one does.
[[nodiscard]] FileVerdict replaceDamagedFile(const QString &filePath, QString &putAside);

// How long a connection that only looks waits for other processes.
constexpr int ProbeMilliseconds = 500;

// Connects to the file for reading and writing under that name. The connection is not open when
// that failed; its statements wait that long for other processes.
[[nodiscard]] QSqlDatabase connectToFile(const QString &filePath, const QString &connectionName,
                                         int busyMilliseconds = ProbeMilliseconds);

// The rows of a file that cannot be written, nor anything beside it.
[[nodiscard]] QVector<TableRows> readRowsOfFile(const QString &filePath);
