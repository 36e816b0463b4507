#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include "app/environment/log_file.h"

namespace {

QString logPath()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/error.log");
}

// What the handler wrote for one message, its time replaced by "TIME".
QString recordOf(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    QFile::remove(logPath());
    fileMessageHandler(type, context, message);
    QFile file(logPath());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    static const QRegularExpression time(
        QStringLiteral("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} "));
    return QString::fromLocal8Bit(file.readAll()).replace(time, QStringLiteral("TIME "));
}

// How often this thread has written to any file, or -1 where that cannot be learnt.
int writeCalls()
{
    QFile file(QStringLiteral("/proc/thread-self/io"));
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    static const QRegularExpression calls(QStringLiteral("syscw: (\\d+)"));
    const QRegularExpressionMatch match = calls.match(QString::fromLatin1(file.readAll()));
    return match.hasMatch() ? match.captured(1).toInt() : -1;
}

} // namespace

Q_DECLARE_METATYPE(QtMsgType)

class tst_LogFile final : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QFile::remove(logPath()); }
    void everyTypeHasItsTemplate_data();
    void everyTypeHasItsTemplate();
    void namesThePositionWhenThereIsOne();
    void messagesOfThisProgramCarryNoPosition();
    void recordsAreAppendedInOneWriteEach();
    void anUnwritableFileDropsTheMessage();
};

void tst_LogFile::everyTypeHasItsTemplate_data()
{
    QTest::addColumn<QtMsgType>("type");
    QTest::addColumn<QString>("record");

    QTest::newRow("debug") << QtDebugMsg << "TIME Debug: text 青柚 (:0, )\n\n";
    QTest::newRow("warning") << QtWarningMsg << "TIME Warning: text 青柚 (:0, )\n\n";
    QTest::newRow("critical") << QtCriticalMsg << "TIME Critical: text 青柚 (:0, )\n\n";
    QTest::newRow("fatal") << QtFatalMsg << "TIME Fatal: text 青柚 (:0, )\n\n";
    QTest::newRow("info has the time only") << QtInfoMsg << "TIME \n";
}

void tst_LogFile::everyTypeHasItsTemplate()
{
    QFETCH(QtMsgType, type);
    const QMessageLogContext context(nullptr, 0, nullptr, "default");
    QTEST(recordOf(type, context, QStringLiteral("text 青柚")), "record");
}

void tst_LogFile::namesThePositionWhenThereIsOne()
{
    const QMessageLogContext context("a.cpp", 7, "void f()", "default");
    QCOMPARE(recordOf(QtDebugMsg, context, QStringLiteral("x")),
             QStringLiteral("TIME Debug: x (a.cpp:7, void f())\n\n"));
}

void tst_LogFile::messagesOfThisProgramCarryNoPosition()
{
    const QtMessageHandler previous = qInstallMessageHandler(fileMessageHandler);
    qDebug() << "video total time:" << 5;
    qWarning() << QStringLiteral("two");
    qInstallMessageHandler(previous);
    QFile file(logPath());
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    QCOMPARE(lines.size(), 5);
    QVERIFY(lines.at(0).endsWith(QStringLiteral(" Debug: video total time: 5 (:0, )")));
    QCOMPARE(lines.at(1), QString());
    QVERIFY(lines.at(2).endsWith(QStringLiteral(" Warning: \"two\" (:0, )")));
    QCOMPARE(lines.at(3), QString());
}

void tst_LogFile::recordsAreAppendedInOneWriteEach()
{
    // Longer than any stream's buffer: a second write would let another process in between.
    const QString text(100000, QLatin1Char('x'));
    const QMessageLogContext context(nullptr, 0, nullptr, "default");
    const int before = writeCalls();
    if (before < 0)
        QSKIP("the kernel does not count the calls");
    QCOMPARE(recordOf(QtDebugMsg, context, text),
             QStringLiteral("TIME Debug: ") + text + QStringLiteral(" (:0, )\n\n"));
    QCOMPARE(writeCalls() - before, 1);
}

void tst_LogFile::anUnwritableFileDropsTheMessage()
{
    QVERIFY(QDir().mkpath(logPath()));
    const QMessageLogContext context(nullptr, 0, nullptr, "default");
    fileMessageHandler(QtWarningMsg, context, QStringLiteral("lost"));
    QVERIFY(QDir().rmdir(logPath()));
}

QTEST_GUILESS_MAIN(tst_LogFile)
#include "tst_log_file.moc"
