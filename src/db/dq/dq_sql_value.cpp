#include "db/dq/dq_sql_value.h"

#include <limits>

#include "db/dq/dq_escape.h"

namespace {

constexpr int DateLength = 10;
constexpr int SecondsLength = 19;

// The number in `count` digits from `at`, or -1.
int digits(const QString &text, int at, int count)
{
    int number = 0;
    for (int i = at; i < at + count; ++i) {
        const ushort c = text.at(i).unicode();
        if (c < '0' || c > '9') {
            return -1;
        }
        number = number * 10 + (c - '0');
    }
    return number;
}

bool hasAt(const QString &text, int at, char c)
{
    return text.at(at) == QLatin1Char(c);
}

// The date in the first DateLength characters; invalid when they are none.
QDate dateFromText(const QString &text)
{
    const int year = digits(text, 0, 4);
    if (year < 0 || !hasAt(text, 4, '-') || !hasAt(text, 7, '-')) {
        return {};
    }
    return {year, digits(text, 5, 2), digits(text, 8, 2)};
}

// The time to the second behind the date, with its separator; invalid when it is none.
QTime timeFromText(const QString &text)
{
    const bool isSeparated = hasAt(text, DateLength, ' ') || hasAt(text, DateLength, 'T');
    if (!isSeparated || !hasAt(text, 13, ':') || !hasAt(text, 16, ':')) {
        return {};
    }
    return {digits(text, 11, 2), digits(text, 14, 2), digits(text, 17, 2)};
}

// Reads ".z", ".zz" or ".zzz…" from `at` and moves `at` behind it; further digits are dropped.
int milliseconds(const QString &text, int &at)
{
    if (at >= text.size() || text.at(at) != QLatin1Char('.')) {
        return 0;
    }
    int value = 0;
    int scale = 100;
    for (++at; at < text.size() && digits(text, at, 1) >= 0; ++at, scale /= 10) {
        value += digits(text, at, 1) * scale;
    }
    return value;
}

// Seconds east of UTC of "", "Z" or "+hh:mm"; false for anything else.
bool offsetFromUtc(const QString &suffix, int &seconds)
{
    seconds = 0;
    if (suffix.isEmpty() || suffix == QLatin1String("Z")) {
        return true;
    }
    if (suffix.size() != 6 || suffix.at(3) != QLatin1Char(':')) {
        return false;
    }
    const int hours = digits(suffix, 1, 2);
    const int minutes = digits(suffix, 4, 2);
    const QChar sign = suffix.at(0);
    if (hours < 0 || minutes < 0 || (sign != QLatin1Char('+') && sign != QLatin1Char('-'))) {
        return false;
    }
    seconds = (sign == QLatin1Char('-') ? -1 : 1) * (hours * 3600 + minutes * 60);
    return true;
}

bool isInteger(int type)
{
    return type == QMetaType::Int || type == QMetaType::UInt || type == QMetaType::LongLong ||
           type == QMetaType::ULongLong;
}

bool fitsInteger(qlonglong number, int type)
{
    switch (type) {
    case QMetaType::Int:
        return number >= std::numeric_limits<int>::min() &&
               number <= std::numeric_limits<int>::max();
    case QMetaType::UInt:
        return number >= 0 && number <= std::numeric_limits<uint>::max();
    default:
        return true;
    }
}

bool convertToInteger(QVariant &value, int type)
{
    bool isNumber = false;
    const qlonglong number = value.toLongLong(&isNumber);
    if (isNumber && type == QMetaType::Int && fitsInteger(number, type)) {
        value = static_cast<int>(number); // what nearly every column is
        return true;
    }
    const bool isBigNatural = !isNumber && type == QMetaType::ULongLong;
    return (isBigNatural || (isNumber && fitsInteger(number, type))) && value.convert(type);
}

} // namespace

QString dqDateTimeToText(const QDateTime &dateTime)
{
    const QDateTime utc = dateTime.toUTC();
    return utc.toString(utc.time().msec() == 0 ? QStringLiteral("yyyy-MM-dd hh:mm:ss")
                                               : QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz"));
}

// Written by hand because a list of ten thousand rows holds twenty thousand of these, and
// QDateTime::fromString() would take longer than SQLite does for the whole query.
QDateTime dqDateTimeFromText(const QString &text)
{
    if (text.size() < DateLength) {
        return {};
    }
    const QDate date = dateFromText(text);
    if (text.size() == DateLength) {
        return date.isValid() ? QDateTime(date, QTime(0, 0), Qt::UTC) : QDateTime();
    }
    if (text.size() < SecondsLength) {
        return {};
    }
    int end = SecondsLength;
    const int msecs = milliseconds(text, end);
    const QTime time = timeFromText(text).addMSecs(msecs);
    int offset = 0;
    if (!date.isValid() || !time.isValid() || !offsetFromUtc(text.mid(end), offset)) {
        return {};
    }
    return QDateTime(date, time, Qt::UTC).addSecs(-offset);
}

QVariant dqToSql(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::QDateTime:
        return value.toDateTime().isValid() ? dqDateTimeToText(value.toDateTime()) : QVariant();
    case QMetaType::QStringList:
        return dqStringListToText(value.toStringList());
    default:
        return value;
    }
}

bool dqIsStorable(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::UnknownType:
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::QChar:
    case QMetaType::QString:
    case QMetaType::QStringList:
    case QMetaType::QByteArray:
    case QMetaType::QDate:
    case QMetaType::QTime:
    case QMetaType::QDateTime:
        return true;
    default:
        return false;
    }
}

bool dqConvert(QVariant &value, int type)
{
    const bool isInvalidDateTime =
        value.userType() == QMetaType::QDateTime && !value.toDateTime().isValid();
    if (value.isNull() || isInvalidDateTime) {
        value = QVariant();
        return true;
    }
    if (value.userType() == type) {
        return true;
    }
    const bool fromText = value.userType() == QMetaType::QString;
    if (fromText && type == QMetaType::QDateTime) {
        value = dqDateTimeFromText(value.toString());
        return !value.isNull();
    }
    if (fromText && type == QMetaType::QStringList) {
        value = dqStringListFromText(value.toString());
        return true;
    }
    return isInteger(type) ? convertToInteger(value, type) : value.convert(type);
}
