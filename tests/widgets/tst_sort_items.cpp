#include <QHeaderView>
#include <QStandardItemModel>
#include <QTableWidget>

#include "support/test_main.h"
#include "ui/widgets/natural_order.h"
#include "ui/widgets/sort_filter_proxy_model.h"
#include "ui/widgets/sort_table_widget_item.h"

namespace {

// The texts of a model's first column, from the top.
QString column(const QAbstractItemModel &model)
{
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row) {
        texts << model.index(row, 0).data().toString();
    }
    return texts.join(QLatin1Char(' '));
}

QString sorted(QTableWidget &table, Qt::SortOrder order)
{
    table.horizontalHeader()->setSortIndicator(0, order);
    table.sortItems(0, order);
    return column(*table.model());
}

} // namespace

class TestSortItems final : public QObject
{
    Q_OBJECT

private slots:
    void ordersNamesAsPeopleDo_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::newRow("numbers by value") << "第2集"
                                          << "第10集";
        QTest::newRow("leading zeros") << "ep 02"
                                       << "ep 3";
        QTest::newRow("letter case aside") << "a2"
                                           << "B1";
        QTest::newRow("Chinese by pinyin") << "动画"
                                           << "资料";
    }
    void ordersNamesAsPeopleDo()
    {
        QFETCH(QString, first);
        QFETCH(QString, second);
        QVERIFY(naturalLess(first, second));
        QVERIFY(!naturalLess(second, first));
    }

    void sortsByTheValueBehindTheText()
    {
        QTableWidget table(3, 1);
        table.setItem(0, 0, SortTableWidgetItem::forValue("9KB", 9216));
        table.setItem(1, 0, SortTableWidgetItem::forValue("1GB", 1 << 30));
        table.setItem(2, 0, SortTableWidgetItem::forValue("10B", 10));
        QCOMPARE(sorted(table, Qt::AscendingOrder), QString("10B 9KB 1GB"));
    }

    void keepsFoldersAboveBothWays()
    {
        QTableWidget table(4, 1);
        const QString names = QString("bzay");
        for (int row = 0; row < names.size(); ++row) {
            auto *item = SortTableWidgetItem::forName(names.at(row));
            item->setData(SortTableWidgetItem::FolderRole, row == 1 || row == 3);
            table.setItem(row, 0, item);
        }
        QCOMPARE(sorted(table, Qt::AscendingOrder), QString("y z a b"));
        QCOMPARE(sorted(table, Qt::DescendingOrder), QString("z y b a"));
    }

    void anEditedNameSortsByItsNewText()
    {
        const std::unique_ptr<SortTableWidgetItem> edited(SortTableWidgetItem::forName("a"));
        const std::unique_ptr<SortTableWidgetItem> other(SortTableWidgetItem::forName("b"));
        QVERIFY(*edited < *other);
        edited->setData(Qt::EditRole, QString("c"));
        QVERIFY(*other < *edited);
    }

    void theProxySortsAndFilters()
    {
        QStandardItemModel model;
        for (const QString &name :
             {QString("第10集.mkv"), QString("花絮"), QString("第2集.MKV"), QString("说明.txt")}) {
            auto *item = new QStandardItem(name);
            item->setData(name == QString("花絮"), SortTableWidgetItem::FolderRole);
            model.appendRow(item);
        }
        SortFilterProxyModel proxy;
        proxy.setSourceModel(&model);
        proxy.sort(0, Qt::AscendingOrder);
        QCOMPARE(column(proxy), QString("花絮 第2集.MKV 第10集.mkv 说明.txt"));
        proxy.sort(0, Qt::DescendingOrder);
        QCOMPARE(column(proxy), QString("花絮 说明.txt 第10集.mkv 第2集.MKV"));
        proxy.setSearchText(".mkv");
        QCOMPARE(column(proxy), QString("第10集.mkv 第2集.MKV"));
        proxy.setSearchText(QString());
        for (int row = 0; row < model.rowCount(); ++row) {
            model.item(row)->setData(qint64(1) << (40 - row), SortTableWidgetItem::SortValueRole);
        }
        proxy.sort(0, Qt::AscendingOrder);
        QCOMPARE(column(proxy), QString("花絮 说明.txt 第2集.MKV 第10集.mkv"));
        proxy.sort(0, Qt::DescendingOrder);
        QCOMPARE(column(proxy), QString("花絮 第10集.mkv 第2集.MKV 说明.txt"));
    }
};

MORAVU_TEST(TestSortItems)
#include "tst_sort_items.moc"
