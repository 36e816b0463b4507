#pragma once

class QSqlDatabase;
class QSqlError;

// Changes that the file did not take. While the session's database is in memory, they are noted
// there by their natural keys, and written when the file takes them.

// Notes from now on which rows of the application's tables change.
void noteChanges(const QSqlDatabase &memory);

[[nodiscard]] bool hasUnwrittenRows(const QSqlDatabase &memory);

// Brings the changed rows of the file up to date, all or none; no error when nothing is left to
// write. A row that another process has written later stays, also where it was removed here, and a
// row whose `id` is taken there gets a new one.
[[nodiscard]] QSqlError writeChanges(const QSqlDatabase &memory, const QSqlDatabase &file);
