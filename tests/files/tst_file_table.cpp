#include <QContextMenuEvent>
#include <QHeaderView>
#include <QHelpEvent>
#include <QScrollBar>
#include <QSignalSpy>
#include <QToolTip>

#include "api/records/file_records.h"
#include "app/environment/file_list_state.h"
#include "support/test_main.h"
#include "ui/files/file_table.h"

namespace {

FileItem entry(const QString &name, const QString &size, const QString &updated)
{
    FileItem file;
    file.name = name;
    file.file_id = "id-" + name;
    file.type = size.isEmpty() ? "folder" : "file";
    file.size = size;
    file.updated_at = updated;
    return file;
}

// Two folders and four files whose orders by name, size and time all differ.
QList<FileItem> sample()
{
    const auto day = [](int number) { return QString("2026-01-0%1T08:00:00.000Z").arg(number); };
    return {entry("第10集.mkv", "9", day(3)),   entry("资料", "", day(1)),
            entry("第2集.mkv", "1000", day(9)), entry("动画", "", day(8)),
            entry("B.txt", "20", day(5)),       entry("a.jpg", "3000000000", day(7))};
}

QString shown(const FileTable &table)
{
    QStringList names;
    for (int row = 0; row < table.rowCount(); ++row) {
        if (!table.isRowHidden(row)) {
            names << table.item(row, FileTable::NameColumn)->text();
        }
    }
    return names.join(' ');
}

void sort(FileTable &table, int column, Qt::SortOrder order)
{
    table.horizontalHeader()->setSortIndicator(column, order);
    table.sortByHeader();
}

} // namespace

class TestFileTable final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "Asia/Shanghai"); }

    void sorts_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<Qt::SortOrder>("order");
        QTest::addColumn<QString>("names");
        const auto row = [](const char *title, int column, Qt::SortOrder order, const char *names) {
            QTest::newRow(title) << column << order << names;
        };
        const Qt::SortOrder rising = Qt::AscendingOrder;
        const Qt::SortOrder falling = Qt::DescendingOrder;
        row("names rising", 0, rising, "动画 资料 第2集.mkv 第10集.mkv a.jpg B.txt");
        row("names falling", 0, falling, "资料 动画 B.txt a.jpg 第10集.mkv 第2集.mkv");
        row("sizes as numbers", 1, rising, "动画 资料 第10集.mkv B.txt 第2集.mkv a.jpg");
        row("times rising", 2, rising, "资料 动画 第10集.mkv B.txt a.jpg 第2集.mkv");
        row("times falling, as at the start", -1, falling,
            "动画 资料 第2集.mkv a.jpg B.txt 第10集.mkv");
    }
    void sorts()
    {
        QFETCH(int, column);
        QFETCH(Qt::SortOrder, order);
        FileTable table;
        table.setFiles(sample());
        if (column >= 0) {
            sort(table, column, order);
        }
        QTEST(shown(table), "names");
        QVERIFY(table.item(5, FileTable::SizeColumn)->textAlignment() & Qt::AlignRight);
    }

    void filters_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("names");
        QTest::addColumn<QString>("nearest"); // to the first, the fourth and the last row
        const auto row = [](const char *title, const char *text, int kind, const char *names,
                            const char *nearest) {
            QTest::newRow(title) << text << kind << names << nearest;
        };
        row("nothing asked", "", -1, "动画 资料 第2集.mkv 第10集.mkv a.jpg B.txt",
            "动画 第10集.mkv B.txt");
        row("letter case aside", "b.TX", -1, "B.txt", "B.txt B.txt B.txt");
        row("a pattern is plain text", ".*", -1, "", "");
        row("folders", "", int(FileKind::Folder), "动画 资料", "动画 资料 资料");
        row("both together", "10", int(FileKind::Video), "第10集.mkv",
            "第10集.mkv 第10集.mkv 第10集.mkv");
        row("both, with nothing in common", "a", int(FileKind::Video), "", "");
    }
    void filters()
    {
        QFETCH(QString, text);
        QFETCH(int, kind);
        FileTable table;
        table.setFiles(sample());
        sort(table, 0, Qt::AscendingOrder);
        table.setCurrentCell(table.rowOf("id-a.jpg"), 0);
        table.selectAll();
        table.setFilter(text,
                        kind < 0 ? std::nullopt : std::make_optional(static_cast<FileKind>(kind)));
        QTEST(shown(table), "names");
        const int count = shown(table).isEmpty() ? 0 : shown(table).count(' ') + 1;
        QCOMPARE(table.shownCount(), count);
        QCOMPARE(table.selectedCount(), count);
        QCOMPARE(table.selectedFileIds().size(), count);
        QCOMPARE(table.currentFileId().isEmpty(), !shown(table).contains("a.jpg"));
        QStringList nearest;
        for (const int row : {0, 3, 5}) {
            table.makeCurrent(QString(), row, FileTable::Scroll::Stay);
            nearest << table.currentFileId().mid(3);
        }
        QTEST(nearest.join(' ').trimmed(), "nearest");
        table.setFilter(QString(), std::nullopt);
        QCOMPARE(table.shownCount(), 6);
    }

    void keepsTheFilterWhileSortingAndAppending()
    {
        FileTable table;
        table.setFiles(sample());
        table.setFilter("集", std::nullopt);
        sort(table, 0, Qt::DescendingOrder);
        QCOMPARE(shown(table), "第10集.mkv 第2集.mkv");
        table.appendFiles({entry("第1集.mkv", "1", QString()), entry("other", "1", QString())});
        QCOMPARE(shown(table), "第10集.mkv 第2集.mkv 第1集.mkv");
    }

    void tellsOfTheUsersChangesOnly()
    {
        FileTable table;
        const QSignalSpy changes(&table, &QTableWidget::cellChanged);
        table.setFiles(sample());
        table.appendFiles({entry("new", "1", QString())});
        FileItem renamed = entry("newer.mkv", "1", QString());
        renamed.file_id = "id-new";
        table.updateFile(renamed);
        const int row = table.rowOf("id-new");
        QCOMPARE(table.item(row, FileTable::NameColumn)->text(), "newer.mkv");
        QCOMPARE(table.item(row, FileTable::TypeColumn)->text(), "视频");
        QCOMPARE(changes.size(), 0);
        table.item(0, 0)->setText("typed");
        QCOMPARE(changes.size(), 1);
        for (int column = 0; column < table.columnCount(); ++column) {
            QCOMPARE(table.item(0, column)->flags().testFlag(Qt::ItemIsEditable), column == 0);
        }
    }

    void restoresWhatFitsWithoutTellingAnyone_data()
    {
        QTest::addColumn<int>("sortIndex");
        QTest::addColumn<QList<int>>("widths");
        QTest::addColumn<QList<int>>("restored");
        QTest::newRow("a whole layout")
            << 1 << QList<int>{200, 90, 150, 60} << QList<int>{200, 90, 150, 60, 1};
        QTest::newRow("no widths") << 1 << QList<int>() << QList<int>{360, 112, 180, 90, 1};
        QTest::newRow("missing columns")
            << 7 << QList<int>{200, 100} << QList<int>{200, 100, 180, 90, 2};
        QTest::newRow("surplus columns")
            << -1 << QList<int>{210, 100, 170, 80, 50, 60} << QList<int>{210, 100, 170, 80, 2};
    }
    void restoresWhatFitsWithoutTellingAnyone()
    {
        FileTable table;
        const QSignalSpy changes(&table, &FileTable::headerChanged);
        QFETCH(QList<int>, widths);
        QFETCH(int, sortIndex);
        FileListState state;
        state.sortIndex = sortIndex;
        state.columnSizeList = widths;
        table.restoreState(state);
        QCOMPARE(changes.size(), 0);
        FileListState kept;
        table.storeState(kept);
        QTEST(kept.columnSizeList + QList<int>{kept.sortIndex}, "restored");
        table.horizontalHeader()->resizeSection(0, 220);
        table.horizontalHeader()->setSortIndicator(0, Qt::AscendingOrder);
        QCOMPARE(changes.size(), 2);
    }

    void showsLocalTimesAndSizes()
    {
        FileTable table;
        table.setFiles({entry("a.txt", "1536", "2026-01-31T23:30:00.000Z"),
                        entry("b.txt", "x", "soon"), entry("f", "", "")});
        const auto texts = [&table](const QString &fileId) {
            const int row = table.rowOf(fileId);
            return table.item(row, 1)->text() + '|' + table.item(row, 2)->text();
        };
        QCOMPARE(texts("id-a.txt"), "1.50 KB|2026-02-01 07:30:00");
        QCOMPARE(texts("id-b.txt"), "0.00 B|");
        QCOMPARE(texts("id-f"), "|");
    }

    void rowsThatGoLeaveTheViewWhereItIs()
    {
        FileTable table;
        table.resize(700, 400);
        table.show();
        QList<FileItem> files;
        for (int number = 0; number < 100; ++number) {
            files << entry(QString::number(number), "1", QString());
        }
        table.setFiles(files);
        table.scrollToBottom();
        table.verticalScrollBar()->setValue(50);
        const QString top = table.fileIdAt(table.rowAt(0));
        for (const int row : {0, 60, 10}) {
            table.removeFile(table.fileIdAt(row));
        }
        QCOMPARE(table.fileIdAt(table.rowAt(0)), top);
    }

    void rowsReachToTheEdge()
    {
        FileTable table;
        table.resize(1200, 400);
        table.show();
        table.setFiles(sample());
        const QSignalSpy opened(&table, &QTableWidget::itemDoubleClicked);
        const QPoint beyond(1100, table.rowViewportPosition(2) + 25);
        QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, beyond);
        QCOMPARE(table.selectedFileIds(), QStringList{table.fileIdAt(2)});
        QTest::mouseDClick(table.viewport(), Qt::LeftButton, {}, beyond);
        QCOMPARE(opened.size(), 1);
        QTest::keyClick(&table, Qt::Key_End);
        QCOMPARE(table.currentRow(), 5);
        QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, QPoint(1100, 390));
        QVERIFY(table.selectedFileIds().isEmpty());
    }

    void theRowsMenuIsNotTheHeaders()
    {
        FileTable table;
        table.setContextMenuPolicy(Qt::CustomContextMenu);
        const QSignalSpy wanted(&table, &QWidget::customContextMenuRequested);
        for (QWidget *place : {table.horizontalHeader()->viewport(), table.viewport()}) {
            QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(20, 10));
            QApplication::sendEvent(place, &event);
            QCOMPARE(wanted.size(), place == table.viewport() ? 1 : 0);
        }
    }

    void showsInFullWhatIsCutOff()
    {
        FileTable table;
        table.resize(1200, 400);
        table.show();
        const QString longName(100, 'm');
        table.setFiles({entry(longName, "1", QString()), entry("short", "1", QString())});
        for (const QString &name : {QString("short"), longName}) {
            const QPoint place(100, table.rowViewportPosition(table.rowOf("id-" + name)) + 25);
            QHelpEvent asked(QEvent::ToolTip, place, table.viewport()->mapToGlobal(place));
            QCoreApplication::sendEvent(table.viewport(), &asked);
            QCOMPARE(QToolTip::text().contains(longName), name == longName);
        }
    }
};

MORAVU_TEST(TestFileTable)
#include "tst_file_table.moc"
