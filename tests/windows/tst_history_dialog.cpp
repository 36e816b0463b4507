#include "ui/windows/history_dialog.h"

#include <QHeaderView>
#include <QPushButton>
#include <QTableWidget>

#include "app/environment/app_settings.h"
#include "player/play_request.h"
#include "windows/drive_page.h"

class TestHistoryDialog final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void showsTheLatestFirst();
    void anEmptyHistoryIsAnEmptyTable();
    void removesEachSelectedRecordOnce();
    void clearsTheHistoryOfTheCurrentUser();
    void clearingSkipsLeavesTheTable();
    void reloadingKeepsTheSelectedRecord();
    void opensTheFoldersVideos();
    void opensAVideoThatHasMoved();
    void saysThatAVideoIsGone();

private:
    PlayHistory watched(const QString &fileId, const QString &name, int position,
                        const QString &parentFileId = QStringLiteral("root"));

    std::unique_ptr<DriveFixture> m_drive;
    UserInfo m_user;
};

namespace {

QTableWidget *tableOf(const HistoryDialog &dialog)
{
    return dialog.findChild<QTableWidget *>();
}

void press(const HistoryDialog &dialog, const char *button)
{
    dialog.findChild<QPushButton *>(QLatin1String(button))->click();
}

} // namespace

void TestHistoryDialog::init()
{
    m_drive = std::make_unique<DriveFixture>();
    m_user = logInAs(*m_drive, QStringLiteral("小明"));
}

void TestHistoryDialog::cleanup()
{
    closeToasts();
    settle(*m_drive);
    m_drive.reset();
}

PlayHistory TestHistoryDialog::watched(const QString &fileId, const QString &name, int position,
                                       const QString &parentFileId)
{
    PlayHistory history;
    history.fileId = fileId;
    history.parentFileId = parentFileId;
    history.userId = m_user.userId.value();
    history.name = name;
    history.playPosition = position;
    history.duration = 2732;
    savePlayHistory(history);
    return history;
}

void TestHistoryDialog::showsTheLatestFirst()
{
    watched(QStringLiteral("f1"), QStringLiteral("第1集.mkv"), 2732);
    watched(QStringLiteral("f2"), QStringLiteral("第2集.mkv"), 1270);
    const HistoryDialog dialog;
    const QTableWidget *table = tableOf(dialog);
    QCOMPARE(table->rowCount(), 2);
    QCOMPARE(table->item(0, 0)->text(), QStringLiteral("第2集.mkv"));
    QCOMPARE(table->item(0, 1)->text(), QStringLiteral("46%  00:21:10/00:45:32"));
    QCOMPARE(table->item(1, 1)->text(), QStringLiteral("100%  00:45:32/00:45:32"));
    QVERIFY(QDateTime::fromString(table->item(0, 2)->text(), QStringLiteral("yyyy-MM-dd hh:mm:ss"))
                .secsTo(QDateTime::currentDateTime()) < 60);
    QList<int> widths;
    QStringList labels;
    for (int column = 0; column < table->columnCount(); ++column) {
        widths << table->columnWidth(column);
        labels << table->horizontalHeaderItem(column)->text();
    }
    QCOMPARE(labels, QStringList({QStringLiteral("名称"), QStringLiteral("观看进度"),
                                  QStringLiteral("观看时间")}));
    QCOMPARE(widths, QList<int>({360, 112, 180}));
}

void TestHistoryDialog::anEmptyHistoryIsAnEmptyTable()
{
    const HistoryDialog dialog;
    QCOMPARE(tableOf(dialog)->rowCount(), 0);
    QCOMPARE(tableOf(dialog)->columnCount(), 3);
}

void TestHistoryDialog::removesEachSelectedRecordOnce()
{
    watched(QStringLiteral("f1"), QStringLiteral("1"), 1);
    watched(QStringLiteral("f2"), QStringLiteral("2"), 1);
    watched(QStringLiteral("f3"), QStringLiteral("3"), 1);
    const HistoryDialog dialog;
    tableOf(dialog)->selectRow(1);
    press(dialog, "btnRemovePlayHistory");
    QCOMPARE(tableOf(dialog)->rowCount(), 2);
    QCOMPARE(tableOf(dialog)->currentRow(), 1);
    PlayHistory history;
    QVERIFY(!loadPlayHistory(QStringLiteral("f2"), history));
    tableOf(dialog)->clearSelection();
    press(dialog, "btnRemovePlayHistory");
    QCOMPARE(tableOf(dialog)->rowCount(), 2);
}

void TestHistoryDialog::clearsTheHistoryOfTheCurrentUser()
{
    watched(QStringLiteral("f1"), QStringLiteral("1"), 1);
    const HistoryDialog dialog;
    press(dialog, "btnClearPlayHistory");
    QCOMPARE(tableOf(dialog)->rowCount(), 0);
    PlayHistory history;
    QVERIFY(!loadPlayHistory(QStringLiteral("f1"), history));
}

void TestHistoryDialog::clearingSkipsLeavesTheTable()
{
    watched(QStringLiteral("f1"), QStringLiteral("1"), 1);
    FolderSetting setting;
    setting.folderId = QStringLiteral("root");
    setting.skipHeadPos = 90;
    saveFolderSetting(setting);
    const HistoryDialog dialog;
    const LogCapture log;
    press(dialog, "btnClearSkipCutHistory");
    QCOMPARE(tableOf(dialog)->rowCount(), 1);
    QVERIFY(!log.lines().contains(QStringLiteral("load history...")));
    FolderSetting stored;
    loadFolderSetting(QStringLiteral("root"), stored);
    QCOMPARE(stored.skipHeadPos.value(), 0);
}

void TestHistoryDialog::reloadingKeepsTheSelectedRecord()
{
    watched(QStringLiteral("f1"), QStringLiteral("1"), 1);
    watched(QStringLiteral("f2"), QStringLiteral("2"), 1);
    HistoryDialog dialog;
    tableOf(dialog)->selectRow(1);
    watched(QStringLiteral("f3"), QStringLiteral("3"), 1);
    dialog.loadHistory();
    QCOMPARE(tableOf(dialog)->currentRow(), 2);
    QCOMPARE(tableOf(dialog)->item(2, 0)->text(), QStringLiteral("1"));
}

void TestHistoryDialog::opensTheFoldersVideos()
{
    for (const char *name : {"动画/第1集.mkv", "动画/第2集.mkv", "动画/说明.txt"})
        m_drive->server().makeFile(name, "");
    watched(text(m_drive->server().fileId("动画/第2集.mkv")), QStringLiteral("第2集.mkv"), 77,
            text(m_drive->server().fileId("动画")));
    const HistoryDialog dialog;
    PlayRequest request;
    connect(&dialog, &HistoryDialog::videoOpenRequested, this,
            [&request](const PlayRequest &wanted) { request = wanted; });
    emit tableOf(dialog)->itemDoubleClicked(tableOf(dialog)->item(0, 1));
    QTRY_COMPARE(request.videos.size(), 2);
    QCOMPARE(request.file.name, QStringLiteral("第2集.mkv"));
    QCOMPARE(request.history.playPosition.value(), 77);
    QCOMPARE(request.user.userId.value(), m_user.userId.value());
}

void TestHistoryDialog::opensAVideoThatHasMoved()
{
    m_drive->server().makeFile("动画/第1集.mkv", "");
    m_drive->server().makeFolder("别处");
    watched(text(m_drive->server().fileId("动画/第1集.mkv")), QStringLiteral("第1集.mkv"), 5,
            text(m_drive->server().fileId("别处")));
    const HistoryDialog dialog;
    PlayRequest request;
    connect(&dialog, &HistoryDialog::videoOpenRequested, this,
            [&request](const PlayRequest &wanted) { request = wanted; });
    emit tableOf(dialog)->itemDoubleClicked(tableOf(dialog)->item(0, 0));
    QTRY_COMPARE(request.videos.size(), 1);
    QCOMPARE(request.file.name, QStringLiteral("第1集.mkv"));
}

void TestHistoryDialog::saysThatAVideoIsGone()
{
    watched(QStringLiteral("gone"), QStringLiteral("第1集.mkv"), 5, QStringLiteral("gone too"));
    const HistoryDialog dialog;
    emit tableOf(dialog)->itemDoubleClicked(tableOf(dialog)->item(0, 0));
    QTRY_COMPARE(toasts(), QStringList{QStringLiteral("视频不存在或无法访问")});
}

QTEST_MAIN(TestHistoryDialog)
#include "tst_history_dialog.moc"
