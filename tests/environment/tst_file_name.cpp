#include <QDir>
#include <QTest>

#include "app/environment/file_name.h"

class tst_FileName final : public QObject
{
    Q_OBJECT

private slots:
    void becomesSafe_data();
    void becomesSafe();
    void isShortenedBetweenCharacters_data();
    void isShortenedBetweenCharacters();
    void staysInsideItsFolder();
};

void tst_FileName::becomesSafe_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("safe");

    const auto row = [](const char *title, const QString &name, const QString &safe) {
        QTest::newRow(title) << name << safe;
    };
    const QString unnamed = QStringLiteral("未命名");
    row("ordinary", QStringLiteral("第 1 集 (完).mkv"), QStringLiteral("第 1 集 (完).mkv"));
    row("emoji with joiners", QStringLiteral("👨‍👩‍👧.mp4"),
        QStringLiteral("👨‍👩‍👧.mp4"));
    row("climbing", QStringLiteral("../../etc/passwd"), QStringLiteral("passwd"));
    row("absolute", QStringLiteral("/etc/passwd"), QStringLiteral("passwd"));
    row("backslashes", QStringLiteral("C:\\Windows\\win.ini"), QStringLiteral("win.ini"));
    row("dots only", QStringLiteral(".."), unnamed);
    row("ends in a slash", QStringLiteral("folder/"), unnamed);
    row("empty", QString(), unnamed);
    row("hidden", QStringLiteral(".bashrc"), QStringLiteral("bashrc"));
    row("option", QStringLiteral("--force -rf"), QStringLiteral("force -rf"));
    row("dash behind a blank", QStringLiteral(" -x"), QStringLiteral("x"));
    row("NUL", QStringLiteral("a.txt") + QChar(0) + QStringLiteral(".exe"),
        QStringLiteral("a.txt.exe"));
    row("line break", QStringLiteral("a\r\nb"), QStringLiteral("ab"));
    row("right-to-left override", QStringLiteral("cod\u202egpj.exe"), QStringLiteral("codgpj.exe"));
    row("isolate in front of a dot", QStringLiteral("\u2066.x"), QStringLiteral("x"));
    row("lone surrogate", QStringLiteral("a") + QChar(0xd83d) + QStringLiteral("b"),
        QStringLiteral("ab"));
    row("forbidden on some systems", QStringLiteral("a<b>:\"c|d?*e"),
        QStringLiteral("a_b___c_d__e"));
    row("device", QStringLiteral("CON"), QStringLiteral("_CON"));
    row("device with extension", QStringLiteral("nul.tar.gz"), QStringLiteral("_nul.tar.gz"));
    row("device with a number", QStringLiteral("com1 .txt"), QStringLiteral("_com1 .txt"));
    row("no device", QStringLiteral("console.log"), QStringLiteral("console.log"));
    row("trailing dots and blanks", QStringLiteral("name. . "), QStringLiteral("name"));
}

void tst_FileName::becomesSafe()
{
    QFETCH(QString, name);
    QTEST(safeFileName(name), "safe");
}

void tst_FileName::isShortenedBetweenCharacters_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("safe");

    const QString han = QStringLiteral("青");
    const QString emoji = QStringLiteral("😀");
    const QString mkv = QStringLiteral(".mkv");
    QTest::newRow("ASCII keeps its extension")
        << QString(300, QLatin1Char('a')) + mkv << QString(196, QLatin1Char('a')) + mkv;
    QTest::newRow("three-byte characters") << han.repeated(300) + mkv << han.repeated(65) + mkv;
    QTest::newRow("surrogate pairs") << emoji.repeated(300) + mkv << emoji.repeated(49) + mkv;
    QTest::newRow("an extension too long to be one")
        << QStringLiteral("a.") + QString(300, QLatin1Char('b'))
        << QStringLiteral("a.") + QString(198, QLatin1Char('b'));
    QTest::newRow("exactly 200 bytes")
        << QString(200, QLatin1Char('a')) << QString(200, QLatin1Char('a'));
}

void tst_FileName::isShortenedBetweenCharacters()
{
    QFETCH(QString, name);
    QTEST(safeFileName(name), "safe");
}

void tst_FileName::staysInsideItsFolder()
{
    const QString hostile[] = {QStringLiteral("../x"), QStringLiteral("/x"), QStringLiteral(".."),
                               QStringLiteral("a/../../x"), QStringLiteral("..\\x")};
    for (const QString &name : hostile) {
        const QString path = QDir::cleanPath(safePathInFolder(QStringLiteral("/tmp/folder"), name));
        QCOMPARE(path, QStringLiteral("/tmp/folder/") + safeFileName(name));
    }
}

QTEST_GUILESS_MAIN(tst_FileName)
#include "tst_file_name.moc"
