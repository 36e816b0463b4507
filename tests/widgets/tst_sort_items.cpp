#include <QHeaderView>
#include <QStandardItemModel>
#include <QTableWidget>
#include <QTest>

#include "ui/widgets/natural_order.h"
#include "ui/widgets/sort_filter_proxy_model.h"
#include "ui/widgets/sort_table_widget_item.h"

class TestSortItems final : public QObject
{
    Q_OBJECT

private slots:
    void ordersNamesAsPeopleDo_data();
    void ordersNamesAsPeopleDo();
    void sortsByTheValueBehindTheText();
    void keepsFoldersAboveBothWays();
    void anEditedNameSortsByItsNewText();
    void theProxySortsAndFilters();
};

void TestSortItems::ordersNamesAsPeopleDo_data()
{
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::newRow("numbers by value") << QStringLiteral("第2集") << QStringLiteral("第10集");
    QTest::newRow("leading zeros") << QStringLiteral("ep 02") << QStringLiteral("ep 3");
    QTest::newRow("letter case aside") << QStringLiteral("a2") << QStringLiteral("B1");
    QTest::newRow("Chinese by pinyin") << QStringLiteral("动画") << QStringLiteral("资料");
    QTest::newRow("numbers before letters") << QStringLiteral("9") << QStringLiteral("a");
}

void TestSortItems::ordersNamesAsPeopleDo()
{
    QFETCH(QString, first);
    QFETCH(QString, second);
    QVERIFY(naturalLess(first, second));
    QVERIFY(!naturalLess(second, first));
}

void TestSortItems::sortsByTheValueBehindTheText()
{
    QTableWidget table(3, 1);
    table.setItem(0, 0, SortTableWidgetItem::forValue(QStringLiteral("9.00 KB"), 9216));
    table.setItem(1, 0, SortTableWidgetItem::forValue(QStringLiteral("1.00 GB"), 1 << 30));
    table.setItem(2, 0, SortTableWidgetItem::forValue(QStringLiteral("10.00 B"), 10));
    table.horizontalHeader()->setSortIndicator(0, Qt::AscendingOrder);
    table.sortItems(0);
    QCOMPARE(table.item(0, 0)->text(), QStringLiteral("10.00 B"));
    QCOMPARE(table.item(2, 0)->text(), QStringLiteral("1.00 GB"));
}

void TestSortItems::keepsFoldersAboveBothWays()
{
    QTableWidget table(4, 1);
    const QStringList names{QStringLiteral("b"), QStringLiteral("z"), QStringLiteral("a"),
                            QStringLiteral("y")};
    for (int row = 0; row < names.size(); ++row) {
        auto *item = SortTableWidgetItem::forName(names.at(row));
        item->setData(SortTableWidgetItem::FolderRole, row == 1 || row == 3);
        table.setItem(row, 0, item);
    }
    const auto sorted = [&table](Qt::SortOrder order) {
        table.horizontalHeader()->setSortIndicator(0, order);
        table.sortItems(0, order);
        QString text;
        for (int row = 0; row < table.rowCount(); ++row)
            text += table.item(row, 0)->text();
        return text;
    };
    QCOMPARE(sorted(Qt::AscendingOrder), QStringLiteral("yzab"));
    QCOMPARE(sorted(Qt::DescendingOrder), QStringLiteral("zyba"));
    QCOMPARE(sorted(Qt::AscendingOrder), QStringLiteral("yzab"));
}

void TestSortItems::anEditedNameSortsByItsNewText()
{
    const std::unique_ptr<SortTableWidgetItem> edited(
        SortTableWidgetItem::forName(QStringLiteral("a")));
    const std::unique_ptr<SortTableWidgetItem> other(
        SortTableWidgetItem::forName(QStringLiteral("b")));
    QVERIFY(*edited < *other);
    edited->setData(Qt::EditRole, QStringLiteral("c"));
    QVERIFY(*other < *edited);
}

void TestSortItems::theProxySortsAndFilters()
{
    QStandardItemModel model;
    for (const QString &name : {QStringLiteral("第10集.mkv"), QStringLiteral("花絮"),
                                QStringLiteral("第2集.MKV"), QStringLiteral("说明.txt")}) {
        auto *item = new QStandardItem(name);
        item->setData(name == QStringLiteral("花絮"), SortTableWidgetItem::FolderRole);
        model.appendRow(item);
    }
    SortFilterProxyModel proxy;
    proxy.setSourceModel(&model);
    const auto names = [&proxy] {
        QStringList texts;
        for (int row = 0; row < proxy.rowCount(); ++row)
            texts << proxy.index(row, 0).data().toString();
        return texts.join(QLatin1Char(' '));
    };
    proxy.sort(0, Qt::AscendingOrder);
    QCOMPARE(names(), QStringLiteral("花絮 第2集.MKV 第10集.mkv 说明.txt"));
    proxy.sort(0, Qt::DescendingOrder);
    QCOMPARE(names(), QStringLiteral("花絮 说明.txt 第10集.mkv 第2集.MKV"));
    proxy.setSearchText(QStringLiteral(".mkv"));
    QCOMPARE(names(), QStringLiteral("第10集.mkv 第2集.MKV"));
    proxy.setSearchText(QString());
    QCOMPARE(proxy.rowCount(), 4);

    for (int row = 0; row < model.rowCount(); ++row)
        model.item(row)->setData(qint64(1) << (40 - row), SortTableWidgetItem::SortValueRole);
    proxy.sort(0, Qt::AscendingOrder);
    QCOMPARE(names(), QStringLiteral("花絮 说明.txt 第2集.MKV 第10集.mkv"));
}

QTEST_MAIN(TestSortItems)
#include "tst_sort_items.moc"
