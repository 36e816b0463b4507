#include <QTest>

#include "support/test_main.h"
#include "ui/files/folder_path.h"

namespace {

FileItem file(const QString &fileId, const QString &name)
{
    FileItem item;
    item.file_id = fileId;
    item.name = name;
    return item;
}

} // namespace

class TestFolderPath final : public QObject
{
    Q_OBJECT

private slots:
    void shortensNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("text");
        const QString twenty(20, 'a');
        QTest::newRow("twenty characters") << twenty << twenty;
        QTest::newRow("one more") << twenty + "b" << twenty.left(19) + "…";
        // A face is two code units: it is left out whole.
        QTest::newRow("a face at the edge") << twenty.left(18) + "😀😀" << twenty.left(18) + "…";
    }
    void shortensNames()
    {
        QFETCH(QString, name);
        FolderPath path;
        path.push(name, "f1");
        QTEST(path.model()->index(1, 0).data().toString(), "text");
        QCOMPARE(path.last().name, name);
    }

    void aNameIsShownAsItIs()
    {
        FolderPath path;
        path.push(QString("<b>x") + QChar(0x202E) + "gpj.exe", "f1");
        const QModelIndex row = path.model()->index(1, 0);
        QCOMPARE(row.data().toString(), "<b>x\uFFFDgpj.exe");
        QVERIFY(!row.flags().testFlag(Qt::ItemIsEditable));
        const QString tip = row.data(Qt::ToolTipRole).toString();
        QVERIFY2(tip.contains("&lt;b&gt;x\uFFFDgpj.exe"), qPrintable(tip));
    }

    void aMarkerIsFollowedOnce()
    {
        FolderPath path;
        const auto next = [&path](const QString &marker, const QString &order) {
            path.addPage({}, false, marker, order);
            return path.last().nextMarker;
        };
        const QStringList markers{next("a", "name"), next("b", "name"), next("a", "name"),
                                  next("a", "size")};
        QCOMPARE(markers, QStringList({"a", "b", "", "a"}));
        int pages = 0;
        while (!next(QString::number(pages), "size").isEmpty()) {
            ++pages;
        }
        QCOMPARE(pages, 19);
    }

    void changesAFileInEveryFolder()
    {
        FolderPath path;
        path.addPage({file("x", "x"), file("y", "y")}, true, "more", "name ASC");
        path.push("a", "f1");
        path.addPage({file("y", "y")}, true, QString(), "name ASC");
        QVERIFY(path.updateFile("root", file("y", "new")));
        QVERIFY(!path.updateFile("root", file("f1", "b")));
        QCOMPARE(path.model()->index(1, 0).data().toString(), "b");
        QCOMPARE(path.last().files.first().name, "new");
        path.removeFile("y", "f1");
        QCOMPARE(path.last().files.size(), 1);
        path.removeAfter(0);
        QCOMPARE(path.last().files.size(), 1);
        QCOMPARE(path.last().nextMarker, "more");
        path.forget("root");
        QVERIFY(!path.last().loaded);
    }
};

MORAVU_TEST_WITHOUT_WINDOWS(TestFolderPath)
#include "tst_folder_path.moc"
