#pragma once

class QSqlDatabase;
class QSqlError;

// Changes that the file did not take. While the session's database is in memory, they are noted
// there by their natural keys, and written when the file takes them.

// Notes from now on which rows of the application's tables change, and what they were before.
void noteChanges(const QSqlDatabase &memory);

[[nodiscard]] bool hasUnwrittenRows(const QSqlDatabase &memory);

// Brings the changed rows of the file up to date, all or none; no error when nothing is left to
// write.
//
// - Of a row that the file has, only the columns are written that differ from what the session
//   began with. What nobody set in memory stays as the file has it: for a row that could not be
//   read that is all but what the session learnt.
// - A row that was removed and made anew in memory takes the whole place of the file's.
// - A row that another process has written later stays, also where it was removed here.
// - A new row whose `id` is taken in the file gets a new one.
[[nodiscard]] QSqlError writeChanges(const QSqlDatabase &memory, const QSqlDatabase &file);
