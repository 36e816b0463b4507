#pragma once

#include <functional>

#include <QDateTime>

class DQModel;
class DQTransaction;

// Now, or a moment after `former` when that is not in the past: two writes may fall into one
// millisecond, and the clock may have been set back. `former` may be invalid.
[[nodiscard]] QDateTime timeAfter(const QDateTime &former);

// Gives a record that has an `id` that of its row, which may have got another one: a session in
// memory counts by itself, and the id that it gave may have been taken when its rows were written.
void takeKey(DQModel &record, const DQModel &stored);

// Saves the record and commits. When that fails the record keeps its former `id`: the row that
// was to get the new one does not exist.
bool saveAndCommit(DQModel &record, bool isNew, DQTransaction &transaction);

// Runs `work`, which writes in a transaction of its own and says whether that was kept. Where the
// file does not take it, the session goes on as Database::recover() can, and `work` runs there.
bool writeOrRemember(const std::function<bool()> &work);
