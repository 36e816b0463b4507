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

// Reads the whole file.
[[nodiscard]] FileVerdict examine(const QSqlDatabase &database);

// Whether there is something else at the path, such as a folder or a pipe, that must not be opened.
[[nodiscard]] bool isForeign(const QString &filePath);

// Whether SQLite can write the file and make its own files beside it.
[[nodiscard]] bool isWritable(const QString &filePath);

// Makes the file, when it is missing, and closes it and SQLite's files beside it to everybody but
// their owner. SQLite gives the files that it makes later the same permissions.
void restrictDatabaseFiles(const QString &filePath);

// Renames the file, and SQLite's files with it, to a name of the same folder with the date in it.
// The new path; empty when that was not possible.
[[nodiscard]] QString putFileAside(const QString &filePath);

// Connects to the file for reading and writing under that name. The connection is not open when
// that failed; its statements wait half a second for other processes.
[[nodiscard]] QSqlDatabase connectToFile(const QString &filePath, const QString &connectionName);

// The rows of a file that cannot be written, nor anything beside it.
[[nodiscard]] QVector<TableRows> readRowsOfFile(const QString &filePath);
