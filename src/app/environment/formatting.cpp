#include "app/environment/formatting.h"

#include <charconv>

#include <QTime>

namespace {

struct SizeUnit
{
    int firstBit; // the unit serves counts from 2^firstBit on
    int shift;    // bits cut off before the division by 1024
    const char *name;
};

constexpr SizeUnit SizeUnits[] = {
    {60, 50, "ER"}, {50, 40, "ER"}, {40, 30, "TB"}, {30, 20, "GB"}, {20, 10, "MB"}, {10, 0, "KB"},
};

// printf's "%.2f" whatever the locale; QString::number rounds exact halves the other way.
QString twoDecimals(double value)
{
    char buffer[32];
    const auto end =
        std::to_chars(std::begin(buffer), std::end(buffer), value, std::chars_format::fixed, 2);
    return QString::fromLatin1(buffer, int(end.ptr - buffer));
}

QString sizeText(double value, const char *unit)
{
    return twoDecimals(value) + QLatin1Char(' ') + QLatin1String(unit);
}

QString twoDigits(int number)
{
    return QString::number(number).rightJustified(2, QLatin1Char('0'));
}

} // namespace

QString formatSize(const QString &decimalBytes)
{
    if (decimalBytes.isEmpty()) {
        return {};
    }
    const quint64 bytes = decimalBytes.toULongLong();
    for (const SizeUnit &unit : SizeUnits) {
        if (bytes >> unit.firstBit) {
            return sizeText(double(bytes >> unit.shift) / 1024, unit.name);
        }
    }
    return sizeText(double(bytes), "B");
}

QString formatClock(int seconds)
{
    return twoDigits(seconds / 3600) + QLatin1Char(':') + twoDigits(seconds % 3600 / 60) +
           QLatin1Char(':') + twoDigits(seconds % 60);
}

QString formatDuration(int seconds, int referenceSeconds)
{
    constexpr int SecondsPerDay = 24 * 60 * 60;
    if (seconds < 0 || seconds >= SecondsPerDay) {
        return {};
    }
    const QTime time = QTime::fromMSecsSinceStartOfDay(seconds * 1000);
    if (referenceSeconds > 3599) {
        return time.toString(QStringLiteral("h:mm:ss"));
    }
    if (referenceSeconds > 59) {
        return time.toString(QStringLiteral("mm:ss"));
    }
    return time.toString(QStringLiteral("0:ss"));
}

QString formatDateTime(const QDateTime &dateTime)
{
    return dateTime.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}
