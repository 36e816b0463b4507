#pragma once

#include <functional>

#include <QDateTime>

class DQConnection;
class DQModel;
class DQTransaction;
class DQWhere;
enum class LookUp;

// Now, or a moment after `former` when that is not in the past: two writes may fall into one
// millisecond, and the clock may have been set back. `former` may be invalid.
[[nodiscard]] QDateTime timeAfter(const QDateTime &former);

// Gives a record that has an `id` that of its row, which may have got another one: a session in
// memory counts by itself, and the id that it gave may have been taken when its rows were written.
void takeKey(DQModel &record, const DQModel &stored);

// Saves the record and commits. When that fails the record keeps its former `id`: the row that
// was to get the new one does not exist.
bool saveAndCommit(DQModel &record, bool isNew, DQTransaction &transaction);

// Whether the last statement on the connection did its work: what it has not found may be there
// all the same when it did not.
[[nodiscard]] bool hasWorked(const DQConnection &connection);

// The first row that satisfies the condition; the record stays as it is when none was found.
[[nodiscard]] LookUp lookUp(DQModel &record, const DQWhere &where);

// Runs `work`, which reads, or writes in a transaction of its own, and says whether that went
// well. Where the file is to blame, the session goes on as Database::recover() can, and `work` runs
// there once more. Not for use inside another transaction, which would end with the old file.
bool withRecovery(const std::function<bool()> &work);
