// Batches of files, with and without a page, and the line that tells of them.

#include <QDir>
#include <QListWidget>
#include <QSignalSpy>
#include <QToolButton>

#include "files/drive_page.h"
#include "ui/files/batch_status.h"
#include "ui/files/file_batches.h"

namespace {

const QString TrashPath = "/adrive/v1.0/openFile/recyclebin/trash";
const std::string Trash = "recyclebin/trash";

} // namespace

class TestFileBatches final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_drive = std::make_unique<DriveFixture>(2);
        m_user = logInAs(*m_drive, "小明");
        m_batches = std::make_unique<FileBatches>();
        m_status = std::make_unique<BatchStatus>(m_batches.get());
        connect(m_batches.get(), &FileBatches::progressed, this,
                [this] { m_told << m_status->text(); });
        m_told.clear();
    }
    void cleanup()
    {
        closeToasts();
        m_status.reset();
        m_batches.reset();
        settle(*m_drive);
        m_drive.reset();
    }

    void tellsHowFarItIsAndHowItEnded()
    {
        m_drive->server().makeFolder("目标");
        BatchOrder order = orderFor(3);
        order.operation = FileOperation::Move;
        order.targetFolderId = text(m_drive->server().fileId("目标"));
        QCOMPARE(m_status->text(), "");
        QCOMPARE(m_batches->start(order), 3);
        QVERIFY(m_batches->hasPending());
        QTRY_VERIFY(!m_batches->hasPending());
        QVERIFY2(m_told.contains("正在移动  1 / 3"), qPrintable(m_told.join('\n')));
        QCOMPARE(m_status->text(), "已移动 3 个");
        QCOMPARE(inDrive(), "extra 目标");
    }

    void fourAtATimeForEachUser()
    {
        const UserInfo other = logInAs(*m_drive, "小红", 1);
        const BatchOrder order = orderFor(10);
        m_drive->server().addFault(FaultOn(Trash).always().holds());
        m_batches->start(order);
        m_batches->start(orderFor(2, 1, other));
        QTRY_COMPARE(m_drive->requests(TrashPath).size(), 6U);
        QCOMPARE(m_batches->remaining(), 12);
        QCOMPARE(m_batches->remaining(other.userId.value()), 2);
        QVERIFY(m_status->text().endsWith("，另有 1 批"));
        press("btnCancelBatch"); // the one that is told of
        QCOMPARE(m_batches->remaining(), 6);
        m_drive->server().clearFaults();
        QTRY_COMPARE(m_batches->remaining(), 0);
        QCOMPARE(m_drive->requests(TrashPath).size(), 6U);
    }

    void aFileThatIsOnItsWayIsNotTakenTwice()
    {
        BatchOrder order = orderFor(2);
        QCOMPARE(m_batches->start(order), 2);
        order.operation = FileOperation::Delete;
        order.files.append({text(m_drive->server().fileId("extra")), "extra"});
        QCOMPARE(m_batches->start(order), 1);
        QVERIFY(toasts().isEmpty());
        QCOMPARE(m_batches->start(order), 0);
        QCOMPARE(toasts(), QStringList{"选中的文件正在处理中"});
        QTRY_VERIFY(!m_batches->hasPending());
        QCOMPARE(m_drive->requests(TrashPath).size(), 2U);
        QCOMPARE(m_drive->requests("/adrive/v1.0/openFile/delete").size(), 1U);
    }

    void failuresAreNamedAndTriedAgain_data()
    {
        QTest::addColumn<bool>("retry");
        QTest::newRow("tried again") << true;
        QTest::newRow("let be") << false;
    }
    void failuresAreNamedAndTriedAgain()
    {
        QFETCH(bool, retry);
        m_drive->server().addFault(FaultOn(Trash).times(2).status(403));
        const LogCapture log;
        m_batches->start(orderFor(5));
        QTRY_COMPARE(m_status->text(), "已删除到回收站 3 个，2 个失败");
        QCOMPARE(log.lines().filter("fileTrash fail :").size(), 2);
        QCOMPARE(toasts(), QStringList{"删除到回收站失败"});
        if (!retry) {
            press("btnCloseBatch");
            QCOMPARE(m_status->text(), "");
            return;
        }
        whenModal([](QWidget *modal) {
            const auto *names = modal->findChild<QListWidget *>();
            QCOMPARE(names->count(), 2);
            QVERIFY(names->item(0)->text().startsWith("<b>10"));
            QVERIFY(names->item(0)->text().endsWith("</b>：没有权限"));
            qobject_cast<QDialog *>(modal)->accept();
        });
        press("btnFailedFiles");
        QTRY_COMPARE(m_status->text(), "已删除到回收站 2 个");
        QCOMPARE(inDrive(), "extra");
    }

    // Which is looked at while another one fails.
    void eachBatchsFailuresAreItsOwn()
    {
        const auto failing = [this](const char *name) {
            m_drive->server().addFault(FaultOn(Trash).status(403));
            BatchOrder order = orderFor(0);
            order.files = {{text(m_drive->server().fileId("extra")), name}};
            m_batches->start(order);
        };
        const auto dialogs = [] {
            QList<QDialog *> shown;
            for (QWidget *window : QApplication::topLevelWidgets()) {
                if (auto *dialog = qobject_cast<QDialog *>(window)) {
                    shown << dialog;
                }
            }
            return shown;
        };
        failing("first");
        QTRY_VERIFY(m_status->hasFailures());
        press("btnFailedFiles");
        failing("second");
        QTRY_VERIFY(!m_batches->hasPending());
        press("btnFailedFiles");
        QCOMPARE(dialogs().size(), 1);
        dialogs().first()->accept();
        QTRY_COMPARE(m_drive->requests(TrashPath).size(), 3U);
        QTRY_VERIFY(!m_batches->hasPending() && dialogs().isEmpty());
        press("btnFailedFiles");
        QCOMPARE(dialogs().first()->findChild<QListWidget *>()->item(0)->text(),
                 "second：没有权限");
        dialogs().first()->reject();
    }

    void stopsWhenItIsCancelled_data()
    {
        QTest::addColumn<int>("presses");
        QTest::addColumn<int>("files");
        QTest::addColumn<QString>("result");
        QTest::newRow("what is on the wire is waited for")
            << 1 << 5 << "已删除到回收站 4 个，1 个未处理";
        QTest::newRow("also where nothing else is left") << 1 << 4 << "已删除到回收站 4 个";
        QTest::newRow("but not when it was cancelled twice")
            << 2 << 10 << "已删除到回收站 0 个，4 个失败，6 个未处理";
    }
    void stopsWhenItIsCancelled()
    {
        QFETCH(int, presses);
        QFETCH(int, files);
        QFETCH(QString, result);
        m_drive->server().addFault(FaultOn(Trash).always().holds());
        m_batches->start(orderFor(files));
        QTRY_COMPARE(m_drive->requests(TrashPath).size(), 4U);
        press("btnCancelBatch");
        press("btnCancelBatch"); // a double click
        QCOMPARE(m_status->text(), QString("正在停止…  %1 / %2").arg(files - 4).arg(files));
        QCOMPARE(m_batches->remaining(), 4);
        if (presses == 2) {
            QTRY_VERIFY(m_status->findChild<QToolButton *>("btnCancelBatch")->isEnabled());
            press("btnCancelBatch");
            QCOMPARE(m_status->text(), result);
            QTRY_VERIFY(qApp->findChildren<QNetworkReply *>().isEmpty());
        }
        m_drive->server().clearFaults();
        QTRY_COMPARE(m_status->text(), result);
        settle(*m_drive); // late answers change nothing
        QCOMPARE(m_status->text(), result);
        QCOMPARE(m_drive->requests(TrashPath).size(), 4U);
    }

    void onlyTheOneWhoLeavesIsCancelled()
    {
        const UserInfo other = logInAs(*m_drive, "小红", 1);
        m_batches->start(orderFor(10));
        m_batches->start(orderFor(5, 1, other));
        m_batches->cancel(m_user.userId.value());
        QCOMPARE(m_batches->remaining(m_user.userId.value()), 4);
        QTRY_VERIFY(!m_batches->hasPending());
        QCOMPARE(m_drive->requests(TrashPath).size(), 9U);
    }

    // The batch began on another page than the one that is there at its end.
    void goesOnWithoutItsPage()
    {
        orderFor(10);
        m_drive->server().addFault(FaultOn(Trash).always().holds());
        {
            const DrivePage page(m_user, m_batches.get());
            QTRY_COMPARE(page.count(), "11项");
            page.table()->selectAll();
            page.press("btnDelete");
        }
        const DrivePage page(m_user, m_batches.get());
        QTRY_COMPARE(page.count(), "11项");
        m_drive->server().clearFaults();
        QTRY_VERIFY(!m_batches->hasPending());
        QTRY_COMPARE(page.count(), "0项");
        QCOMPARE(inDrive(), "");
        QTRY_COMPARE(page.dialog.diskSpace(), "0.00 B / 1.00 TB");
    }

    // Trashed or not: the list has what the drive has.
    void whatIsNotAnsweredIsListed_data()
    {
        QTest::addColumn<bool>("happened");
        QTest::addColumn<int>("failedLists"); // times, before the page is right
        QTest::addColumn<QString>("result");
        const QString failed = "已删除到回收站 0 个，1 个失败";
        QTest::newRow("it was trashed") << true << 0 << "已删除到回收站 1 个";
        QTest::newRow("it was not") << false << 0 << failed;
        QTest::newRow("nobody could look whether it was") << true << 1 << failed;
    }
    void whatIsNotAnsweredIsListed()
    {
        QFETCH(bool, happened);
        QFETCH(int, failedLists);
        QFETCH(QString, result);
        orderFor(3);
        m_drive->server().addFault(happened ? FaultOn(Trash).cuts() : FaultOn(Trash).status(500));
        const DrivePage page(m_user, m_batches.get());
        QTRY_COMPARE(page.count(), "4项");
        page.select({"101"});
        m_drive->server().addFault(FaultOn("openFile/list").times(failedLists).status(403));
        page.press("btnDelete");
        QTRY_COMPARE(m_status->text(), result);
        QCOMPARE(toasts().join(""), result.contains("失败") ? "删除到回收站失败" : "");
        const auto shown = [&page] {
            QStringList names = page.names();
            names.sort();
            return names.join(' ');
        };
        QTRY_COMPARE(shown(), inDrive());
        QCOMPARE(inDrive().contains("101"), !happened);
    }

    // The last one: from then on the user is held back, who is the same in each test.
    void aDriveThatWantsItSlowerIsAskedAgain()
    {
        m_drive->server().addFault(FaultOn(Trash).times(3).status(429, "TooManyRequests"));
        m_batches->start(orderFor(5));
        QTRY_COMPARE(m_status->text(), "已删除到回收站 5 个");
        QCOMPARE(m_drive->requests(TrashPath).size(), 8U);
        QVERIFY(toasts().isEmpty());
    }

private:
    void press(const char *button) const
    {
        m_status->findChild<QToolButton *>(QLatin1String(button))->click();
    }
    // So many new files of the account, and one more that stays out of the order.
    BatchOrder orderFor(int count, int account = 0, const UserInfo &user = {})
    {
        BatchOrder order;
        order.user = account == 0 ? m_user : user;
        order.sourceFolderId = "root";
        for (int number = 100; number < 100 + count; ++number) {
            const std::string name = std::to_string(number);
            m_drive->server().makeFile(name, "x", account);
            order.files.append(
                {text(m_drive->server().fileId(name, account)), "<b>" + text(name) + "</b>"});
        }
        m_drive->server().makeFile("extra", "x", account);
        return order;
    }
    QString inDrive() const { return namesIn(*m_drive); }

    std::unique_ptr<DriveFixture> m_drive;
    std::unique_ptr<FileBatches> m_batches;
    std::unique_ptr<BatchStatus> m_status;
    UserInfo m_user;
    QStringList m_told;
};

MORAVU_TEST(TestFileBatches)
#include "tst_file_batches.moc"
