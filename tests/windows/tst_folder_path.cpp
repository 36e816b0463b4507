#include "ui/windows/folder_path.h"

#include <QTest>

namespace {

QStringList rows(FolderPath &path)
{
    QStringList texts;
    for (int row = 0; row < path.model()->rowCount(); ++row)
        texts << path.model()->item(row)->text();
    return texts;
}

FileItem file(const QString &fileId)
{
    FileItem item;
    item.file_id = fileId;
    item.name = fileId;
    return item;
}

} // namespace

class TestFolderPath final : public QObject
{
    Q_OBJECT

private slots:
    void marksAllButTheLastFolder();
    void shortensNames_data();
    void shortensNames();
    void removesBehindATargetOnly_data();
    void removesBehindATargetOnly();
    void forgetsAFileInEveryFolder();
};

void TestFolderPath::marksAllButTheLastFolder()
{
    FolderPath path;
    QCOMPARE(path.last().fileId, QStringLiteral("root"));
    QCOMPARE(rows(path), QStringList{QStringLiteral("首页")});
    path.push(QStringLiteral("动画"), QStringLiteral("f1"));
    path.push(QStringLiteral("第一季"), QStringLiteral("f2"));
    QCOMPARE(rows(path), QStringList({QStringLiteral("首页>"), QStringLiteral("动画>"),
                                      QStringLiteral("第一季")}));
    path.removeAfter(1);
    QCOMPARE(rows(path), QStringList({QStringLiteral("首页>"), QStringLiteral("动画")}));
    QCOMPARE(path.last().fileId, QStringLiteral("f1"));
}

void TestFolderPath::shortensNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    const QString twenty(20, QLatin1Char('a'));
    QTest::newRow("twenty characters") << twenty << twenty;
    QTest::newRow("one more") << twenty + QLatin1Char('b') << twenty.left(19) + QStringLiteral("…");
    // A face is two code units: it is left out whole.
    QTest::newRow("a face at the edge")
        << twenty.left(18) + QStringLiteral("😀😀") << twenty.left(18) + QStringLiteral("…");
}

void TestFolderPath::shortensNames()
{
    QFETCH(QString, name);
    FolderPath path;
    path.push(name, QStringLiteral("f1"));
    QTEST(path.model()->item(1)->text(), "text");
    QCOMPARE(path.last().name, name);
}

void TestFolderPath::removesBehindATargetOnly_data()
{
    QTest::addColumn<int>("target");
    QTest::addColumn<int>("count");
    QTest::newRow("the root") << 0 << 1;
    QTest::newRow("the middle") << 1 << 2;
    QTest::newRow("the last folder itself") << 2 << 3;
    QTest::newRow("behind the last") << 3 << 3;
    QTest::newRow("nothing chosen") << -1 << 3;
}

void TestFolderPath::removesBehindATargetOnly()
{
    QFETCH(int, target);
    FolderPath path;
    path.push(QStringLiteral("a"), QStringLiteral("f1"));
    path.push(QStringLiteral("b"), QStringLiteral("f2"));
    path.removeAfter(target);
    QTEST(path.count(), "count");
    QCOMPARE(path.model()->rowCount(), path.count());
}

void TestFolderPath::forgetsAFileInEveryFolder()
{
    FolderPath path;
    path.last().files = {file(QStringLiteral("x")), file(QStringLiteral("y"))};
    path.push(QStringLiteral("a"), QStringLiteral("f1"));
    path.last().files = {file(QStringLiteral("y"))};
    path.setFileName(QStringLiteral("y"), QStringLiteral("new"));
    QCOMPARE(path.last().files.first().name, QStringLiteral("new"));
    path.removeFile(QStringLiteral("y"));
    QVERIFY(path.last().files.isEmpty());
    path.removeAfter(0);
    QCOMPARE(path.last().files.size(), 1);
    QCOMPARE(path.last().files.first().name, QStringLiteral("x"));
}

QTEST_GUILESS_MAIN(TestFolderPath)
#include "tst_folder_path.moc"
