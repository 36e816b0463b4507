#include <QHeaderView>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTableWidget>

#include "app/environment/app_settings.h"
#include "db/dq/dq_connection.h"
#include "files/drive_page.h"
#include "player/session/play_request.h"
#include "support/test_main.h"
#include "ui/history/history_dialog.h"

namespace {

QTableWidget *tableOf(const HistoryDialog &dialog)
{
    return dialog.findChild<QTableWidget *>();
}

void press(const HistoryDialog &dialog, const QString &button)
{
    dialog.findChild<QPushButton *>(button)->click();
}

void clickHeader(const HistoryDialog &dialog, int column)
{
    QHeaderView *header = tableOf(dialog)->horizontalHeader();
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                      QPoint(header->sectionPosition(column) + 20, 10));
}

bool execute(const QString &sql)
{
    return dqMetaInfo<PlayHistory>()->connection().exec(sql);
}

// From the top.
QString names(const HistoryDialog &dialog)
{
    QStringList texts;
    for (int row = 0; row < tableOf(dialog)->rowCount(); ++row) {
        texts << tableOf(dialog)->item(row, 0)->text();
    }
    return texts.join(' ');
}

} // namespace

class TestHistoryDialog final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_drive = std::make_unique<DriveFixture>();
        m_user = logInAs(*m_drive, "小明");
    }
    void cleanup()
    {
        closeToasts();
        settle(*m_drive);
        m_drive.reset();
    }

    void showsTheLatestFirst()
    {
        watched("f1", "第1集.mkv", 2732);
        watched("f2", "第2集.mkv", 1270);
        HistoryDialog dialog;
        dialog.show();
        const QTableWidget *table = tableOf(dialog);
        QCOMPARE(names(dialog), QString("第2集.mkv 第1集.mkv"));
        QCOMPARE(table->item(0, 1)->text(), QString("46%  00:21:10/00:45:32"));
        QCOMPARE(table->item(1, 1)->text(), QString("100%  00:45:32/00:45:32"));
        QVERIFY(QDateTime::fromString(table->item(0, 2)->text(), "yyyy-MM-dd hh:mm:ss")
                    .secsTo(QDateTime::currentDateTime()) < 60);
    }

    void anEmptyHistoryIsAnEmptyTable()
    {
        const HistoryDialog dialog;
        const QTableWidget *table = tableOf(dialog);
        QCOMPARE(table->rowCount(), 0);
        QStringList columns;
        for (int column = 0; column < table->columnCount(); ++column) {
            columns << table->horizontalHeaderItem(column)->text() +
                           QString::number(table->columnWidth(column));
        }
        QCOMPARE(columns, QStringList({"名称360", "观看进度112", "观看时间180"}));
    }

    void sortsByTheClickedColumn_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("once");
        QTest::addColumn<QString>("twice");
        QTest::newRow("name") << 0 << "第2集 第10集 序"
                              << "序 第10集 第2集";
        QTest::newRow("progress") << 1 << "第10集 序 第2集"
                                  << "第2集 序 第10集";
        QTest::newRow("time") << 2 << "第10集 第2集 序"
                              << "序 第2集 第10集";
    }
    void sortsByTheClickedColumn()
    {
        QFETCH(int, column);
        watched("f1", "第10集", 90);
        watched("f2", "第2集", 2700);
        watched("f3", "序", 1000);
        HistoryDialog dialog;
        dialog.show();
        clickHeader(dialog, column);
        QTEST(names(dialog), "once");
        clickHeader(dialog, column);
        QTEST(names(dialog), "twice");
        dialog.loadHistory();
        QTEST(names(dialog), "twice");
    }

    void removesWhatIsSelectedOrAllAndTakesItBack_data()
    {
        QTest::addColumn<QList<int>>("cells"); // of the second column
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("left");
        QTest::addColumn<QString>("offer");
        QTest::newRow("one") << QList<int>{1} << "btnRemovePlayHistory"
                             << "4 2 1"
                             << "已删除 1 条观看记录";
        QTest::newRow("two") << QList<int>{0, 2} << "btnRemovePlayHistory"
                             << "3 1"
                             << "已删除 2 条观看记录";
        QTest::newRow("none") << QList<int>{} << "btnRemovePlayHistory"
                              << "4 3 2 1"
                              << "";
        QTest::newRow("all") << QList<int>{2} << "btnClearPlayHistory"
                             << ""
                             << "已删除 4 条观看记录";
    }
    void removesWhatIsSelectedOrAllAndTakesItBack()
    {
        QFETCH(QList<int>, cells);
        QFETCH(QString, button);
        QFETCH(QString, offer);
        for (const char *name : {"1", "2", "3", "4"}) {
            watched(name, name, 1);
        }
        HistoryDialog dialog;
        dialog.show();
        const QString times = tableOf(dialog)->item(3, 2)->text();
        for (const int row : cells) {
            tableOf(dialog)->selectionModel()->select(tableOf(dialog)->model()->index(row, 1),
                                                      QItemSelectionModel::Select |
                                                          QItemSelectionModel::Rows);
        }
        press(dialog, button);
        QTEST(names(dialog), "left");
        auto *bar = dialog.findChild<QWidget *>("undoBar");
        QCOMPARE(bar->isVisible() ? bar->findChild<QLabel *>()->text() : QString(), offer);
        // Watched again meanwhile: that is newer than what is taken back.
        watched("2", "2", 77);
        press(dialog, "btnUndo");
        QCOMPARE(names(dialog), QString("2 4 3 1"));
        QCOMPARE(tableOf(dialog)->item(3, 2)->text(), times);
        QVERIFY(!bar->isVisible());
        PlayHistory again;
        QVERIFY(loadPlayHistory("2", again));
        QCOMPARE(again.playPosition.value(), 77);
    }

    void allGoOrNone()
    {
        const int count = 600; // more than one statement takes
        for (int number = 1; number <= count; ++number) {
            watched(QString::number(number), QString::number(number), 1);
        }
        QVERIFY(execute("CREATE TRIGGER refuse BEFORE DELETE ON PlayHistory "
                        "WHEN OLD.fileId = '1' BEGIN SELECT RAISE(ABORT, 'x'); END"));
        HistoryDialog dialog;
        dialog.show();
        tableOf(dialog)->selectAll();
        press(dialog, "btnRemovePlayHistory");
        QCOMPARE(tableOf(dialog)->rowCount(), count);
        QVERIFY(!dialog.findChild<QWidget *>("undoBar")->isVisible());
    }

    void theOfferEnds_data()
    {
        QTest::addColumn<bool>("userGoes");
        QTest::newRow("by itself") << false;
        QTest::newRow("with its user") << true;
    }
    void theOfferEnds()
    {
        QFETCH(bool, userGoes);
        watched("1", "1", 1);
        HistoryDialog dialog;
        dialog.show();
        press(dialog, "btnClearPlayHistory");
        auto *bar = dialog.findChild<QWidget *>("undoBar");
        QVERIFY(bar->isVisible());
        if (userGoes) {
            AppSettings().setCurUserId("other");
            dialog.loadHistory();
            QVERIFY(!bar->isVisible());
            AppSettings().setCurUserId(m_user.userId.value());
        }
        QTRY_VERIFY(!bar->isVisible());
        press(dialog, "btnUndo");
        QCOMPARE(names(dialog), QString());
    }

    void whatCannotBeTakenBackIsOfferedAgain()
    {
        watched("1", "1", 1);
        HistoryDialog dialog;
        dialog.show();
        press(dialog, "btnClearPlayHistory");
        QVERIFY(execute("CREATE TRIGGER refuse BEFORE INSERT ON PlayHistory "
                        "BEGIN SELECT RAISE(ABORT, 'x'); END"));
        press(dialog, "btnUndo");
        auto *bar = dialog.findChild<QWidget *>("undoBar");
        QCOMPARE(bar->findChild<QLabel *>()->text(), "1 条观看记录恢复失败：无法写入数据库");
        QVERIFY(bar->isVisible());
        QVERIFY(!bar->findChild<QPushButton *>("btnUndo")->autoDefault()); // Enter is the table's
        QVERIFY(execute("DROP TRIGGER refuse"));
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        QTest::keyClick(&dialog, Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(names(dialog), "1");
        QVERIFY(!bar->isVisible());
    }

    void clearingSkipsLeavesTheTable()
    {
        watched("f1", "1", 1);
        FolderSetting setting;
        setting.folderId = QString("root");
        setting.skipHeadPos = 90;
        saveFolderSetting(setting);
        HistoryDialog dialog;
        dialog.show();
        const LogCapture log;
        const QSignalSpy told(&dialog, &HistoryDialog::skipTimesCleared);
        press(dialog, "btnClearSkipCutHistory");
        QCOMPARE(told.size(), 1);
        QCOMPARE(toasts(), QStringList{"已清除所有文件夹的片头片尾设置"});
        QCOMPARE(tableOf(dialog)->rowCount(), 1);
        QVERIFY(!log.lines().contains("load history..."));
        FolderSetting stored;
        loadFolderSetting("root", stored);
        QVERIFY(stored.id.isNull());
        watched("f2", "2", 1);
        press(dialog, "btnRefresh");
        QCOMPARE(names(dialog), QString("2 1"));
    }

    void reloadingKeepsTheSelectedRecord()
    {
        watched("f1", "1", 1);
        watched("f2", "2", 1);
        HistoryDialog dialog;
        dialog.show();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        tableOf(dialog)->setFocus();
        tableOf(dialog)->selectRow(1);
        watched("f3", "3", 1);
        dialog.loadHistory();
        QCOMPARE(tableOf(dialog)->currentRow(), 2);
        // Held, and elsewhere: one record.
        dialog.findChild<QPushButton *>("btnRefresh")->setFocus();
        QTest::keyClick(&dialog, Qt::Key_Delete);
        QCOMPARE(tableOf(dialog)->rowCount(), 3);
        tableOf(dialog)->setFocus();
        for (const bool repeats : {false, true, true}) {
            QTest::simulateEvent(tableOf(dialog), true, Qt::Key_Delete, Qt::NoModifier, QString(),
                                 repeats);
        }
        QCOMPARE(names(dialog), QString("3 2"));
        QCOMPARE(tableOf(dialog)->currentRow(), 1);
        // What is selected is no record of another user.
        m_user.userId = QString("other");
        AppSettings().setCurUserId("other");
        watched("f4", "4", 1);
        dialog.loadHistory();
        press(dialog, "btnRemovePlayHistory");
        QCOMPARE(names(dialog), QString("4"));
    }

    void reloadingLeavesTheViewAlone()
    {
        for (int number = 0; number < 40; ++number) {
            watched(QString::number(number), QString::number(number), 1);
        }
        HistoryDialog dialog;
        dialog.show();
        QTableWidget *table = tableOf(dialog);
        table->setFixedHeight(300);
        dialog.adjustSize();
        table->setCurrentCell(12, 0);
        QTest::keyClick(table, Qt::Key_Up, Qt::ShiftModifier);
        table->verticalScrollBar()->setValue(20);
        watched("40", "40", 1);
        watched("3", "3", 2);
        dialog.loadHistory();
        QCOMPARE(table->verticalScrollBar()->value(), 20);
        QCOMPARE(table->currentRow(), 13);
        QTest::keyClick(table, Qt::Key_Up, Qt::ShiftModifier);
        QStringList selected;
        for (const QModelIndex &index : table->selectionModel()->selectedRows()) {
            selected << index.data().toString();
        }
        selected.sort();
        QCOMPARE(selected.join(' '), "27 28 29");
    }

    void isReadWhenItIsShown()
    {
        watched("1", "1", 1);
        const LogCapture log;
        HistoryDialog dialog;
        dialog.loadWhenShown();
        QVERIFY(!log.lines().contains("load history..."));
        dialog.show();
        QCOMPARE(names(dialog), QString("1"));
        dialog.hide();
        watched("2", "2", 1);
        dialog.loadWhenShown();
        QCOMPARE(names(dialog), QString("1"));
        dialog.show();
        QCOMPARE(names(dialog), QString("2 1"));
        watched("3", "3", 1);
        dialog.loadWhenShown();
        QCOMPARE(names(dialog), QString("3 2 1"));
        QCOMPARE(log.lines().count("load history..."), 3);
    }

    void tabFindsARowToActOn()
    {
        watched("f1", "1", 1);
        watched("f2", "2", 1);
        HistoryDialog dialog;
        dialog.show();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        auto *before = dialog.findChild<QPushButton *>("btnRefresh");
        before->setFocus();
        QTest::keyClick(before, Qt::Key_Tab);
        QTest::keyClick(tableOf(dialog), Qt::Key_1, Qt::ControlModifier); // as a click on "名称"
        QCOMPARE(names(dialog), QString("1 2"));
        QTest::keyClick(tableOf(dialog), Qt::Key_Delete);
        QCOMPARE(names(dialog), QString("1"));
    }

    // The player asks the drive for the rest.
    void opensWhatTheRecordSays()
    {
        watched("f2", "第2集.mkv", 77, "动画");
        HistoryDialog dialog;
        dialog.show();
        PlayRequest request;
        connect(&dialog, &HistoryDialog::videoOpenRequested, this,
                [&request](const PlayRequest &wanted) { request = wanted; });
        emit tableOf(dialog)->itemDoubleClicked(tableOf(dialog)->item(0, 1));
        QCOMPARE(request.videos.size(), 0);
        QCOMPARE(request.file.file_id, QString("f2"));
        QCOMPARE(request.file.name, QString("第2集.mkv"));
        QCOMPARE(request.file.parent_file_id, QString("动画"));
        QCOMPARE(request.history.playPosition.value(), 77);
        QCOMPARE(request.user.userId.value(), m_user.userId.value());
    }

    void asksForThePicturesInSight()
    {
        constexpr std::size_t InSight = 3;
        for (int number = 0; number < 40; ++number) {
            watched(QString("f%1").arg(number), QString("第%1集.mkv").arg(number), 90);
        }
        const auto asked = [this] { return m_drive->requests("/adrive/v1.0/openFile/get").size(); };
        HistoryDialog dialog;
        QTableWidget *table = tableOf(dialog);
        dialog.show();
        table->setFixedHeight(table->horizontalHeader()->height() + int(InSight) * 50);
        dialog.adjustSize();
        QTRY_COMPARE(asked(), InSight);
        table->scrollToBottom();
        QTRY_COMPARE(asked(), 2 * InSight);
        // There are none; the player's next save is no reason to ask again, the user's wish is.
        dialog.loadHistory();
        settle(*m_drive);
        table->scrollToTop();
        table->scrollToItem(table->item(int(InSight), 0));
        QTRY_COMPARE(asked(), 2 * InSight + 1);
        press(dialog, "btnRefresh");
        QTRY_COMPARE(asked(), 3 * InSight + 1);
        dialog.hide();
        table->scrollToBottom();
        settle(*m_drive);
        QCOMPARE(asked(), 3 * InSight + 1);
    }

private:
    void watched(const QString &fileId, const QString &name, int position,
                 const QString &parentFileId = "root")
    {
        PlayHistory history;
        history.fileId = fileId;
        history.parentFileId = parentFileId;
        history.userId = m_user.userId.value();
        history.name = name;
        history.playPosition = position;
        history.duration = 2732;
        savePlayHistory(history);
    }

    std::unique_ptr<DriveFixture> m_drive;
    UserInfo m_user;
};

MORAVU_TEST(TestHistoryDialog)
#include "tst_history_dialog.moc"
