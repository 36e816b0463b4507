#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariant>

// The one place that decides how values look inside the database file.
//
// Date-times are kept as UTC text "yyyy-MM-dd hh:mm:ss", followed by ".zzz" when there are
// milliseconds. A whole second looks as SQLite's own CURRENT_TIMESTAMP writes it, so both compare
// and sort as text and mean the same clock. An invalid date-time (one in the hour that a change to
// summer time leaves out, too) is null. Text without an offset is always read as UTC; "T" as
// separator and "Z" or "+hh:mm" are understood as well. String lists are kept as one text: every
// element quoted and escaped (see dq_escape.h), joined with ",".

// What is bound to a placeholder for `value`: date-times and string lists become text, anything
// else is handed to the driver as it is.
[[nodiscard]] QVariant dqToSql(const QVariant &value);

// Whether the driver can store a value of this kind. Null is storable.
[[nodiscard]] bool dqIsStorable(const QVariant &value);

// Turns `value` into the meta type `type` in place. Null stays null, and an invalid date-time
// becomes null. Returns false, and leaves `value` unspecified, when it cannot be represented (text
// that is no number, an integer that does not fit, a malformed date-time).
[[nodiscard]] bool dqConvert(QVariant &value, int type);

[[nodiscard]] QString dqDateTimeToText(const QDateTime &dateTime);

// Invalid when `text` is no date-time; otherwise in UTC.
[[nodiscard]] QDateTime dqDateTimeFromText(const QString &text);
