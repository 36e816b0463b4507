#include <limits>

#include <QDir>
#include <QTest>

#include "app/environment/file_name.h"
#include "app/environment/formatting.h"

// Sizes, times and file names as users and file systems see them.
class TestTexts final : public QObject
{
    Q_OBJECT

private slots:
    void size_data()
    {
        QTest::addColumn<QString>("text");
        const auto row = [](const char *bytes, const char *text) {
            QTest::newRow(bytes) << QString(text);
        };
        row("", "");
        row("abc", "0.00 B");
        row("1023", "1023.00 B");
        row("1024", "1.00 KB");
        row("1152", "1.12 KB"); // an exact half goes to the even digit
        row("1048575", "1024.00 KB");
        row("1048576", "1.00 MB");
        row("1054000", "1.00 MB"); // whole KB are divided
        row("1073741824", "1.00 GB");
        row("1099511627775", "1024.00 GB");
        row("1099511627776", "1.00 TB");
        row("1125899906842624", "1.00 ER");
        row("1152921504606846975", "1024.00 ER");
        row("1152921504606846976", "1.00 ER");
        row("18446744073709551615", "16.00 ER");
        row("18446744073709551616", "0.00 B");
    }
    void size() { QTEST(formatSize(QTest::currentDataTag()), "text"); }

    void clock()
    {
        QCOMPARE(formatClock(0), "00:00:00");
        QCOMPARE(formatClock(3725), "01:02:05");
        QCOMPARE(formatClock(360000), "100:00:00");
        QCOMPARE(formatClock(-5), "00:00:-5"); // two characters
        QCOMPARE(formatClock(std::numeric_limits<int>::min()), "-596523:-14:-8");
    }

    void durationFollowsTheReference()
    {
        QCOMPARE(formatDuration(59, 59), "0:59");
        QCOMPARE(formatDuration(5, 60), "00:05");
        QCOMPARE(formatDuration(65, 3599), "01:05");
        QCOMPARE(formatDuration(65, 3600), "0:01:05");
        QCOMPARE(formatDuration(3725, 600), "02:05");
        QCOMPARE(formatDuration(86399, 90000), "23:59:59");
        QCOMPARE(formatDuration(86400, 90000), "");
        QCOMPARE(formatDuration(-1, 30), "");
        QCOMPARE(formatDuration(std::numeric_limits<int>::max(), 30), "");
    }

    void dateTime()
    {
        QCOMPARE(formatDateTime(QDateTime({2026, 1, 2}, {3, 4, 5})), "2026-01-02 03:04:05");
        QCOMPARE(formatDateTime(QDateTime()), "");
    }

    void fileNamesBecomeSafe_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("safe");
        const auto row = [](const char *title, const QString &name, const QString &safe) {
            QTest::newRow(title) << name << safe;
        };
        row("ordinary", "第 1 集 (完).mkv", "第 1 集 (完).mkv");
        row("emoji with joiners", "👨‍👩‍👧.mp4", "👨‍👩‍👧.mp4");
        row("climbing", "../../etc/passwd", "passwd");
        row("backslashes", "C:\\Windows\\win.ini", "win.ini");
        row("dots only", "..", "未命名");
        row("ends in a slash", "folder/", "未命名");
        row("hidden", ".bashrc", "bashrc");
        row("option", "--force -rf", "force -rf");
        row("dash behind a blank", " -x", "x");
        row("NUL and line break", QString("a.txt") + QChar(0) + "\r\n.exe", "a.txt.exe");
        row("right-to-left override", "cod\u202egpj.exe", "codgpj.exe");
        row("isolate in front of a dot", "\u2066.x", "x");
        row("lone surrogates", QString("a") + QChar(0xd83d) + 'b' + QChar(0xde00), "ab");
        row("forbidden on some systems", "a<b>:\"c|d?*e", "a_b___c_d__e");
        row("device", "CON", "_CON");
        row("device with extension", "nul.tar.gz", "_nul.tar.gz");
        row("device with a number", "com1 .txt", "_com1 .txt");
        row("no device", "console.log", "console.log");
        row("trailing dots and blanks", "name. . ", "name");
        const QString a(300, 'a');
        row("200 bytes with the extension", a + ".mkv", a.left(196) + ".mkv");
        row("the longest extension", a + '.' + a.left(31), a.left(168) + '.' + a.left(31));
        row("exactly 200 bytes", a.left(200), a.left(200));
        row("whole characters", QString("青").repeated(300) + ".mkv",
            QString("青").repeated(65) + ".mkv");
        row("whole surrogate pairs", QString("😀").repeated(300) + ".mkv",
            QString("😀").repeated(49) + ".mkv");
        row("an extension too long to be one", "b." + a, "b." + a.left(198));
    }
    void fileNamesBecomeSafe()
    {
        QFETCH(QString, name);
        QTEST(safeFileName(name), "safe");
        const QString path = QDir::cleanPath(safePathInFolder("/tmp/folder", name));
        QCOMPARE(path, "/tmp/folder/" + safeFileName(name));
    }
};

QTEST_GUILESS_MAIN(TestTexts)
#include "tst_texts.moc"
