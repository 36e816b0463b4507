#include <ctime>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include "app/environment/log_file.h"

namespace {

QString logPath()
{
    return QCoreApplication::applicationDirPath() + "/error.log";
}

QString logged()
{
    QFile file(logPath());
    return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
}

// What the handler wrote for one message, its time replaced by "TIME".
QString recordOf(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    QFile::remove(logPath());
    fileMessageHandler(type, context, message);
    static const QRegularExpression time("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} ");
    return logged().replace(time, "TIME ");
}

// How often this thread has written to any file.
int writeCalls()
{
    QFile file("/proc/thread-self/io");
    static const QRegularExpression calls("syscw: (\\d+)");
    return file.open(QIODevice::ReadOnly) ? calls.match(file.readAll()).captured(1).toInt() : 0;
}

const QMessageLogContext NoContext(nullptr, 0, nullptr, "default");

} // namespace

class TestLogFile final : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QFile::remove(logPath()); }

    void everyTypeHasItsTemplate()
    {
        const QString text = "text 青柚";
        QCOMPARE(recordOf(QtDebugMsg, NoContext, text), "TIME Debug: text 青柚 (:0, )\n\n");
        QCOMPARE(recordOf(QtWarningMsg, NoContext, text), "TIME Warning: text 青柚 (:0, )\n\n");
        QCOMPARE(recordOf(QtCriticalMsg, NoContext, text), "TIME Critical: text 青柚 (:0, )\n\n");
        QCOMPARE(recordOf(QtFatalMsg, NoContext, text), "TIME Fatal: text 青柚 (:0, )\n\n");
        QCOMPARE(recordOf(QtInfoMsg, NoContext, text), "TIME \n");
        const QMessageLogContext position("a.cpp", 7, "void f()", "default");
        QCOMPARE(recordOf(QtDebugMsg, position, "x"), "TIME Debug: x (a.cpp:7, void f())\n\n");
    }

    void messagesCarryTheLocalTimeAndNoPosition()
    {
        qputenv("TZ", "Asia/Kathmandu"); // no other zone's minutes
        tzset();
        const QtMessageHandler previous = qInstallMessageHandler(fileMessageHandler);
        const QString before = QDateTime::currentDateTime().toString("yyyy-MM-dd hh:mm:");
        qDebug() << "video total time:" << 5;
        qWarning() << "two";
        const QString after = QDateTime::currentDateTime().toString("yyyy-MM-dd hh:mm:");
        qInstallMessageHandler(previous);
        qunsetenv("TZ");
        tzset();
        const QStringList lines = logged().split('\n');
        QCOMPARE(lines.size(), 5);
        QVERIFY(lines.at(0).startsWith(before) || lines.at(0).startsWith(after));
        QVERIFY(lines.at(0).endsWith(" Debug: video total time: 5 (:0, )"));
        QVERIFY(lines.at(2).endsWith(" Warning: two (:0, )"));
        QCOMPARE(lines.at(1) + lines.at(3), "");
    }

    void recordsAreAppendedInOneWriteEach()
    {
        // Longer than any stream's buffer: a second write would let another process in between.
        const QString text(100000, 'x');
        const int before = writeCalls();
        if (before == 0) {
            QSKIP("the kernel does not count the calls");
        }
        QCOMPARE(recordOf(QtDebugMsg, NoContext, text), "TIME Debug: " + text + " (:0, )\n\n");
        QCOMPARE(writeCalls() - before, 1);
        fileMessageHandler(QtInfoMsg, NoContext, QString());
        QVERIFY(logged().contains(text));
    }

    void anUnwritableFileDropsTheMessage()
    {
        QVERIFY(QDir().mkpath(logPath()));
        fileMessageHandler(QtWarningMsg, NoContext, "lost");
        QVERIFY(QDir().rmdir(logPath()));
    }
};

QTEST_GUILESS_MAIN(TestLogFile)
#include "tst_log_file.moc"
