#include "ui/windows/file_table.h"

#include <QHeaderView>
#include <QHelpEvent>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QToolTip>

#include "api/records/file_records.h"
#include "app/environment/file_list_state.h"

namespace {

FileItem entry(const QString &name, const QString &size, const QString &updated)
{
    FileItem file;
    file.name = name;
    file.file_id = QStringLiteral("id-") + name;
    file.type = size.isEmpty() ? QStringLiteral("folder") : QStringLiteral("file");
    file.size = size;
    file.updated_at = updated;
    return file;
}

// Two folders and four files whose orders by name, size and time all differ.
QList<FileItem> sample()
{
    const auto day = [](int number) {
        return QStringLiteral("2026-01-%1T08:00:00.000Z").arg(number, 2, 10, QLatin1Char('0'));
    };
    return {entry(QStringLiteral("第10集.mkv"), QStringLiteral("9"), day(3)),
            entry(QStringLiteral("资料"), QString(), day(1)),
            entry(QStringLiteral("第2集.mkv"), QStringLiteral("1000"), day(9)),
            entry(QStringLiteral("动画"), QString(), day(8)),
            entry(QStringLiteral("B.txt"), QStringLiteral("20"), day(5)),
            entry(QStringLiteral("a.jpg"), QStringLiteral("3000000000"), day(7))};
}

QString shown(const FileTable &table)
{
    QStringList names;
    for (int row = 0; row < table.rowCount(); ++row) {
        if (!table.isRowHidden(row))
            names << table.item(row, FileTable::NameColumn)->text();
    }
    return names.join(QLatin1Char(' '));
}

} // namespace

class TestFileTable final : public QObject
{
    Q_OBJECT

private slots:
    void startsWithTheBuiltInLayout();
    void sorts_data();
    void sorts();
    void filters_data();
    void filters();
    void keepsTheFilterWhileSortingAndAppending();
    void hiddenRowsAreNotSelected();
    void onlyNamesCanBeEdited();
    void fillingAndRenamingRaiseNoCellChange();
    void removesByIdWhereverTheRowIs();
    void restoresWithoutTellingAnyone();
    void surplusAndMissingColumnsDoNoHarm();
    void showsLocalTimesAndSizes();
    void keepsTheViewWhereItIs();
    void rowsReachToTheEdge();
    void showsInFullWhatIsCutOff();
};

void TestFileTable::startsWithTheBuiltInLayout()
{
    const FileTable table;
    QStringList labels;
    QList<int> widths;
    for (int column = 0; column < table.columnCount(); ++column) {
        labels << table.horizontalHeaderItem(column)->text();
        widths << table.columnWidth(column);
    }
    QCOMPARE(labels, QStringList({QStringLiteral("文件"), QStringLiteral("大小"),
                                  QStringLiteral("更新时间"), QStringLiteral("类型")}));
    QCOMPARE(widths, QList<int>({360, 112, 180, 90}));
    QCOMPARE(table.horizontalHeader()->sortIndicatorSection(), 2);
    QCOMPARE(table.horizontalHeader()->sortIndicatorOrder(), Qt::DescendingOrder);
    QCOMPARE(table.horizontalHeader()->height(), 30);
    QVERIFY(!table.horizontalHeader()->stretchLastSection());
    QCOMPARE(table.verticalHeader()->defaultSectionSize(), 50);
    QCOMPARE(table.frameShape(), QFrame::NoFrame);
    QVERIFY(!table.showGrid());
    QVERIFY(!table.wordWrap());
    QCOMPARE(table.selectionMode(), QAbstractItemView::ExtendedSelection);
    QCOMPARE(int(table.editTriggers()), int(QAbstractItemView::EditKeyPressed));
    QCOMPARE(table.textElideMode(), Qt::ElideRight);
}

void TestFileTable::sorts_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<Qt::SortOrder>("order");
    QTest::addColumn<QString>("names");
    const auto row = [](const char *title, int column, Qt::SortOrder order, const char *names) {
        QTest::newRow(title) << column << order << QString::fromUtf8(names);
    };
    row("names rising", 0, Qt::AscendingOrder, "动画 资料 第2集.mkv 第10集.mkv a.jpg B.txt");
    row("names falling", 0, Qt::DescendingOrder, "资料 动画 B.txt a.jpg 第10集.mkv 第2集.mkv");
    row("sizes as numbers", 1, Qt::AscendingOrder, "动画 资料 第10集.mkv B.txt 第2集.mkv a.jpg");
    row("sizes falling", 1, Qt::DescendingOrder, "动画 资料 a.jpg 第2集.mkv B.txt 第10集.mkv");
    row("times rising", 2, Qt::AscendingOrder, "资料 动画 第10集.mkv B.txt a.jpg 第2集.mkv");
    row("times falling", 2, Qt::DescendingOrder, "动画 资料 第2集.mkv a.jpg B.txt 第10集.mkv");
}

void TestFileTable::sorts()
{
    QFETCH(int, column);
    QFETCH(Qt::SortOrder, order);
    FileTable table;
    table.setFiles(sample());
    table.horizontalHeader()->setSortIndicator(column, order);
    table.sortByHeader();
    QTEST(shown(table), "names");
}

void TestFileTable::filters_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("names");
    const auto row = [](const char *title, const char *text, int kind, const char *names) {
        QTest::newRow(title) << QString::fromUtf8(text) << kind << QString::fromUtf8(names);
    };
    row("nothing asked", "", -1, "动画 资料 第2集.mkv 第10集.mkv a.jpg B.txt");
    row("anywhere in the name", "集", -1, "第2集.mkv 第10集.mkv");
    row("letter case aside", "b.TX", -1, "B.txt");
    row("a pattern is plain text", ".*", -1, "");
    row("a kind", "", int(FileKind::Video), "第2集.mkv 第10集.mkv");
    row("folders", "", int(FileKind::Folder), "动画 资料");
    row("both together", "10", int(FileKind::Video), "第10集.mkv");
    row("both, with nothing in common", "a", int(FileKind::Video), "");
}

void TestFileTable::filters()
{
    QFETCH(QString, text);
    QFETCH(int, kind);
    FileTable table;
    table.setFiles(sample());
    table.horizontalHeader()->setSortIndicator(0, Qt::AscendingOrder);
    table.sortByHeader();
    table.setFilter(text,
                    kind < 0 ? std::nullopt : std::make_optional(static_cast<FileKind>(kind)));
    QTEST(shown(table), "names");
    table.setFilter(QString(), std::nullopt);
    QCOMPARE(shown(table).count(QLatin1Char(' ')), 5);
}

void TestFileTable::keepsTheFilterWhileSortingAndAppending()
{
    FileTable table;
    table.setFiles(sample());
    table.setFilter(QStringLiteral("集"), std::nullopt);
    for (const Qt::SortOrder order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
        table.horizontalHeader()->setSortIndicator(0, order);
        table.sortByHeader();
        QCOMPARE(shown(table).count(QLatin1Char(' ')), 1);
    }
    table.appendFiles({entry(QStringLiteral("第1集.mkv"), QStringLiteral("1"), QString()),
                       entry(QStringLiteral("other"), QStringLiteral("1"), QString())});
    QCOMPARE(shown(table), QStringLiteral("第10集.mkv 第2集.mkv 第1集.mkv"));
}

void TestFileTable::hiddenRowsAreNotSelected()
{
    FileTable table;
    table.setFiles(sample());
    table.selectAll();
    table.setFilter(QStringLiteral("集"), std::nullopt);
    QCOMPARE(table.selectedFileIds().size(), 2);
    table.setCurrentCell(table.rowOf(QStringLiteral("id-a.jpg")), 0);
    QCOMPARE(table.currentFileId(), QString());
}

void TestFileTable::onlyNamesCanBeEdited()
{
    FileTable table;
    table.setFiles(sample());
    for (int column = 0; column < table.columnCount(); ++column)
        QCOMPARE(table.item(0, column)->flags().testFlag(Qt::ItemIsEditable), column == 0);
}

void TestFileTable::fillingAndRenamingRaiseNoCellChange()
{
    FileTable table;
    const QSignalSpy changes(&table, &QTableWidget::cellChanged);
    table.setFiles(sample());
    table.appendFiles({entry(QStringLiteral("new"), QStringLiteral("1"), QString())});
    table.setFileName(QStringLiteral("id-new"), QStringLiteral("newer"));
    table.setFiles(sample());
    QCOMPARE(changes.size(), 0);
    table.item(0, 0)->setText(QStringLiteral("typed"));
    QCOMPARE(changes.size(), 1);
}

void TestFileTable::removesByIdWhereverTheRowIs()
{
    FileTable table;
    table.setFiles(sample());
    table.horizontalHeader()->setSortIndicator(0, Qt::AscendingOrder);
    table.sortByHeader();
    table.removeFile(QStringLiteral("id-B.txt"));
    table.removeFile(QStringLiteral("id-B.txt"));
    QCOMPARE(shown(table), QStringLiteral("动画 资料 第2集.mkv 第10集.mkv a.jpg"));
    QCOMPARE(table.rowOf(QStringLiteral("id-B.txt")), -1);
    QCOMPARE(table.rowOf(QStringLiteral("id-第2集.mkv")), 2);
}

void TestFileTable::restoresWithoutTellingAnyone()
{
    FileTable table;
    const QSignalSpy changes(&table, &FileTable::headerChanged);
    FileListState state;
    state.sortIndex = 1;
    state.sortOrder = 0;
    state.columnSizeList = {200, 90, 150, 60};
    table.restoreState(state);
    QCOMPARE(changes.size(), 0);
    FileListState kept;
    table.storeState(kept);
    QCOMPARE(recordToText(kept), recordToText(state));
    table.horizontalHeader()->resizeSection(0, 210);
    table.horizontalHeader()->setSortIndicator(0, Qt::AscendingOrder);
    QCOMPARE(changes.size(), 2);
}

void TestFileTable::surplusAndMissingColumnsDoNoHarm()
{
    FileTable table;
    FileListState state;
    state.sortIndex = 7;
    state.columnSizeList = {200, 100};
    table.restoreState(state);
    state.columnSizeList = {210, 100, 180, 90, 50, 60};
    table.restoreState(state);
    QCOMPARE(table.columnCount(), 4);
    QCOMPARE(table.columnWidth(0), 210);
    QCOMPARE(table.horizontalHeader()->sortIndicatorSection(), 2);
}

void TestFileTable::showsLocalTimesAndSizes()
{
    FileTable table;
    table.setFiles({entry(QStringLiteral("a.txt"), QStringLiteral("1536"),
                          QStringLiteral("2026-01-31T23:30:00.000Z")),
                    entry(QStringLiteral("b.txt"), QStringLiteral("x"), QStringLiteral("soon")),
                    entry(QStringLiteral("f"), QString(), QString())});
    const auto texts = [&table](const QString &fileId) {
        const int row = table.rowOf(fileId);
        return table.item(row, 1)->text() + QLatin1Char('|') + table.item(row, 2)->text();
    };
    QCOMPARE(texts(QStringLiteral("id-a.txt")), QStringLiteral("1.50 KB|2026-02-01 07:30:00"));
    QCOMPARE(texts(QStringLiteral("id-b.txt")), QStringLiteral("0.00 B|"));
    QCOMPARE(texts(QStringLiteral("id-f")), QStringLiteral("|"));
}

void TestFileTable::keepsTheViewWhereItIs()
{
    FileTable table;
    table.resize(700, 400);
    table.show();
    QList<FileItem> files;
    for (int number = 0; number < 100; ++number)
        files << entry(QString::number(number), QStringLiteral("1"), QString());
    table.setFiles(files);
    table.scrollToBottom();
    const int place = table.verticalScrollBar()->value();
    QVERIFY(place > 0);
    table.makeCurrent(QStringLiteral("id-0"), 0, FileTable::Scroll::Stay);
    QCOMPARE(table.verticalScrollBar()->value(), place);
    table.makeCurrent(QStringLiteral("id-0"), 0, FileTable::Scroll::ToRow);
    QCOMPARE(table.verticalScrollBar()->value(), 0);

    table.verticalScrollBar()->setValue(50);
    const QString top = table.fileIdAt(table.rowAt(0));
    for (const int row : {0, 60, 10})
        table.removeFile(table.fileIdAt(row));
    QCOMPARE(table.fileIdAt(table.rowAt(0)), top);
}

void TestFileTable::rowsReachToTheEdge()
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

void TestFileTable::showsInFullWhatIsCutOff()
{
    FileTable table;
    table.resize(1200, 400);
    table.show();
    const QString longName = QString(100, QLatin1Char('m'));
    table.setFiles({entry(longName, QStringLiteral("1"), QString()),
                    entry(QStringLiteral("short"), QStringLiteral("1"), QString())});
    for (const bool isLong : {false, true}) {
        const int row =
            table.rowOf(QStringLiteral("id-") + (isLong ? longName : QStringLiteral("short")));
        const QPoint place(100, table.rowViewportPosition(row) + 25);
        QHelpEvent asked(QEvent::ToolTip, place, table.viewport()->mapToGlobal(place));
        QCoreApplication::sendEvent(table.viewport(), &asked);
        QCOMPARE(QToolTip::text().contains(longName), isLong);
    }
}

int main(int argc, char *argv[])
{
    qputenv("TZ", "Asia/Shanghai");
    const QApplication application(argc, argv);
    TestFileTable test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_file_table.moc"
