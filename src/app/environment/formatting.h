#pragma once

#include <QDateTime>
#include <QString>

// "1.50 KB" for a byte count written in decimal; empty for an empty text, and a text that is no
// number counts as 0. Above the terabytes the unit reads "ER". From the megabytes on the count is
// cut to whole units of the next smaller size before the division.
QString formatSize(const QString &decimalBytes);

// "01:02:05" for a position or length in seconds.
QString formatClock(int seconds);

// The seconds in the form that suits a medium of the reference's length in seconds ("0:05",
// "01:05", "0:01:05"), so that all labels of one medium look alike. Empty outside of one day.
QString formatDuration(int seconds, int referenceSeconds);

// "2026-01-31 23:59:59", in the date-time's own zone.
QString formatDateTime(const QDateTime &dateTime);
