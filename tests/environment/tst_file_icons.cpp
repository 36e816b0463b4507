#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include "app/file_icons/file_icons.h"

class TestFileIcons final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_outer = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir().mkpath(m_outer->filePath("tmp")));
        qputenv("TMPDIR", m_outer->filePath("tmp").toLocal8Bit());
    }

    void theTypeLeavesItsFileTheIconDoesNot()
    {
        iconForExtension("mkv");
        QCOMPARE(files("tmp"), QStringList());
        QCOMPARE(typeForExtension("mkv"), "mkv File");
        const QRegularExpression name("^tst_file_icons_\\w{6}\\.mkv$");
        QCOMPARE(files("tmp").size(), 1);
        QCOMPARE(files("tmp").filter(name).size(), 1);
    }

    void aHostileExtensionStaysInTheTemporaryDirectory_data()
    {
        QTest::addColumn<QString>("suffix");
        QTest::newRow("slash") << "/../../escaped";
        QTest::newRow("NUL") << QString("a") + QChar(0) + 'b';
        QTest::newRow("300 characters") << QString("青").repeated(300);
        QTest::newRow("placeholder") << "XXXXXX";
        QTest::newRow("empty") << "";
    }
    void aHostileExtensionStaysInTheTemporaryDirectory()
    {
        QFETCH(QString, suffix);
        iconForExtension(suffix);
        QVERIFY(!typeForExtension(suffix).isEmpty());
        QCOMPARE(files("tmp").size(), 1);
        QCOMPARE(files("."), QStringList());
    }

    void anUnwritableDirectoryIsReported()
    {
        // No user, not even root, creates files there.
        qputenv("TMPDIR", "/proc");
        const char *const message =
            "failed to write temporary file /proc/tst_file_icons_XXXXXX.mkv";
        QTest::ignoreMessage(QtCriticalMsg, message);
        QVERIFY(iconForExtension("mkv").isNull());
        QTest::ignoreMessage(QtCriticalMsg, message);
        QCOMPARE(typeForExtension("mkv"), "");
    }

private:
    [[nodiscard]] QStringList files(const QString &folder) const
    {
        return QDir(m_outer->filePath(folder)).entryList(QDir::Files | QDir::Hidden);
    }

    std::unique_ptr<QTemporaryDir> m_outer;
};

QTEST_MAIN(TestFileIcons)
#include "tst_file_icons.moc"
