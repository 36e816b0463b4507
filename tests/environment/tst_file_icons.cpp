#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include "app/file_icons/file_icons.h"

class tst_FileIcons final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void theTypeLeavesItsFileTheIconDoesNot();
    void aHostileExtensionStaysInTheTemporaryDirectory_data();
    void aHostileExtensionStaysInTheTemporaryDirectory();
    void anUnwritableDirectoryIsReported();

private:
    QStringList filesIn(const QString &folder) const
    {
        return QDir(folder).entryList(QDir::Files | QDir::Hidden);
    }

    std::unique_ptr<QTemporaryDir> m_outer;
    QString m_temporary;
};

void tst_FileIcons::init()
{
    m_outer = std::make_unique<QTemporaryDir>();
    m_temporary = m_outer->filePath(QStringLiteral("tmp"));
    QVERIFY(QDir().mkpath(m_temporary));
    qputenv("TMPDIR", m_temporary.toLocal8Bit());
}

void tst_FileIcons::theTypeLeavesItsFileTheIconDoesNot()
{
    iconForExtension(QStringLiteral("mkv"));
    QCOMPARE(filesIn(m_temporary), QStringList());
    QCOMPARE(typeForExtension(QStringLiteral("mkv")), QStringLiteral("mkv File"));
    const QStringList left = filesIn(m_temporary);
    QCOMPARE(left.size(), 1);
    QVERIFY2(QRegularExpression(QStringLiteral("^tst_file_icons_\\w{6}\\.mkv$"))
                 .match(left.first())
                 .hasMatch(),
             qPrintable(left.first()));
}

void tst_FileIcons::aHostileExtensionStaysInTheTemporaryDirectory_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::newRow("slash") << QStringLiteral("/../../escaped");
    QTest::newRow("backslash") << QStringLiteral("..\\escaped");
    QTest::newRow("NUL") << QStringLiteral("a") + QChar(0) + QStringLiteral("b");
    QTest::newRow("300 characters") << QString(300, QStringLiteral("青").at(0));
    QTest::newRow("placeholder") << QStringLiteral("XXXXXX");
    QTest::newRow("empty") << QString();
}

void tst_FileIcons::aHostileExtensionStaysInTheTemporaryDirectory()
{
    QFETCH(QString, suffix);
    iconForExtension(suffix);
    QVERIFY(!typeForExtension(suffix).isEmpty());
    QCOMPARE(filesIn(m_temporary).size(), 1);
    QCOMPARE(filesIn(m_outer->path()), QStringList());
}

void tst_FileIcons::anUnwritableDirectoryIsReported()
{
    // No user, not even root, creates files there.
    qputenv("TMPDIR", "/proc");
    const QString message =
        QStringLiteral("failed to write temporary file /proc/tst_file_icons_XXXXXX.mkv");
    QTest::ignoreMessage(QtCriticalMsg, qPrintable(message));
    QVERIFY(iconForExtension(QStringLiteral("mkv")).isNull());
    QTest::ignoreMessage(QtCriticalMsg, qPrintable(message));
    QCOMPARE(typeForExtension(QStringLiteral("mkv")), QString());
}

QTEST_MAIN(tst_FileIcons)
#include "tst_file_icons.moc"
