#include <limits>

#include <QTest>

#include "app/environment/formatting.h"

class tst_Formatting final : public QObject
{
    Q_OBJECT

private slots:
    void size_data();
    void size();
    void clock_data();
    void clock();
    void duration_data();
    void duration();
    void dateTime();
};

void tst_Formatting::size_data()
{
    QTest::addColumn<QString>("bytes");
    QTest::addColumn<QString>("text");

    const struct
    {
        const char *bytes;
        const char *text;
    } rows[] = {
        {"", ""},
        {"abc", "0.00 B"},
        {"-1", "0.00 B"},
        {"1.5", "0.00 B"},
        {"0", "0.00 B"},
        {"500", "500.00 B"},
        {"1023", "1023.00 B"},
        {"1024", "1.00 KB"},
        {"1152", "1.12 KB"},
        {"1536", "1.50 KB"},
        {"1048575", "1024.00 KB"},
        {"1048576", "1.00 MB"},
        {"1054000", "1.00 MB"},
        {"1073741823", "1024.00 MB"},
        {"1073741824", "1.00 GB"},
        {"1099511627775", "1024.00 GB"},
        {"1099511627776", "1.00 TB"},
        {"1125899906842624", "1.00 ER"},
        {"1152921504606846975", "1024.00 ER"},
        {"1152921504606846976", "1.00 ER"},
        {"18446744073709551615", "16.00 ER"},
        {"18446744073709551616", "0.00 B"},
    };
    for (const auto &row : rows)
        QTest::newRow(row.bytes) << QString::fromLatin1(row.bytes) << QString::fromLatin1(row.text);
}

void tst_Formatting::size()
{
    QFETCH(QString, bytes);
    QTEST(formatSize(bytes), "text");
}

void tst_Formatting::clock_data()
{
    QTest::addColumn<int>("seconds");
    QTest::addColumn<QString>("text");

    QTest::newRow("zero") << 0 << "00:00:00";
    QTest::newRow("seconds") << 5 << "00:00:05";
    QTest::newRow("hour, minutes, seconds") << 3725 << "01:02:05";
    QTest::newRow("three-digit hours") << 360000 << "100:00:00";
    QTest::newRow("negative seconds are two characters") << -5 << "00:00:-5";
    QTest::newRow("largest") << std::numeric_limits<int>::max() << "596523:14:07";
    QTest::newRow("smallest") << std::numeric_limits<int>::min() << "-596523:-14:-8";
}

void tst_Formatting::clock()
{
    QFETCH(int, seconds);
    QTEST(formatClock(seconds), "text");
}

void tst_Formatting::duration_data()
{
    QTest::addColumn<int>("seconds");
    QTest::addColumn<int>("reference");
    QTest::addColumn<QString>("text");

    QTest::newRow("short medium") << 5 << 30 << "0:05";
    QTest::newRow("below a minute") << 59 << 59 << "0:59";
    QTest::newRow("a minute") << 5 << 60 << "00:05";
    QTest::newRow("minutes") << 65 << 600 << "01:05";
    QTest::newRow("just below an hour") << 65 << 3599 << "01:05";
    QTest::newRow("an hour") << 65 << 3600 << "0:01:05";
    QTest::newRow("hours") << 65 << 4000 << "0:01:05";
    QTest::newRow("the form follows the reference") << 3725 << 600 << "02:05";
    QTest::newRow("last second of a day") << 86399 << 90000 << "23:59:59";
    QTest::newRow("a day") << 86400 << 90000 << "";
    QTest::newRow("negative") << -1 << 30 << "";
    QTest::newRow("largest") << std::numeric_limits<int>::max() << 30 << "";
}

void tst_Formatting::duration()
{
    QFETCH(int, seconds);
    QFETCH(int, reference);
    QTEST(formatDuration(seconds, reference), "text");
}

void tst_Formatting::dateTime()
{
    const QDateTime moment(QDate(2026, 1, 2), QTime(3, 4, 5));
    QCOMPARE(formatDateTime(moment), QStringLiteral("2026-01-02 03:04:05"));
    QCOMPARE(formatDateTime(QDateTime()), QString());
}

QTEST_GUILESS_MAIN(tst_Formatting)
#include "tst_formatting.moc"
