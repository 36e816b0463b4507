// What a user does to the files of a page.

#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QHeaderView>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTreeWidget>

#include "app/environment/app_settings.h"
#include "files/drive_page.h"
#include "player/session/play_request.h"
#include "ui/files/file_batches.h"

namespace {

const QString OpenFile = "/adrive/v1.0/openFile/";
const QString TrashPath = OpenFile + "recyclebin/trash";
const QString DeletePath = OpenFile + "delete";
const QString UpdatePath = OpenFile + "update";
const QString CreatePath = OpenFile + "create";
const QString MovePath = OpenFile + "move";

// What the drive does with a request, and the reason that the user then reads.
struct Refusal
{
    localdrive::Fault fault;
    QString reason;
};

Refusal refusal(const QString &kind)
{
    FaultOn fault("create|update|getDownloadUrl");
    if (kind == "no right") {
        return {fault.status(403), "：没有权限"};
    }
    if (kind == "name taken") {
        return {fault.status(409), "：名称已被占用"};
    }
    if (kind == "no answer") {
        return {fault.cuts(), "：网络连接失败"};
    }
    return {fault.body("{}"), ""};
}

void answer(QMessageBox::StandardButton button)
{
    whenModal([button](QWidget *modal) {
        auto *box = qobject_cast<QMessageBox *>(modal);
        QVERIFY(box);
        QCOMPARE(box->windowTitle(), "警告");
        QCOMPARE(box->text(), "确定要彻底删除选中的文件或文件夹吗?");
        QCOMPARE(box->button(QMessageBox::Yes)->text(), "是(&Y)");
        QCOMPARE(box->iconPixmap().size(), QSize(40, 40));
        QCOMPARE(box->textFormat(), Qt::PlainText);
        QTRY_VERIFY(box->button(QMessageBox::No)->hasFocus());
        box->button(button)->click();
    });
}

void nameFolder(const QString &name, bool confirm = true)
{
    whenModal([name, confirm](QWidget *modal) {
        auto *dialog = qobject_cast<QInputDialog *>(modal);
        QVERIFY(dialog);
        QCOMPARE(dialog->windowTitle(), "新建文件夹");
        QCOMPARE(dialog->labelText(), "请输入新文件夹名称");
        QCOMPARE(dialog->textValue(), "新建文件夹");
        dialog->setTextValue(name);
        dialog->done(confirm ? QDialog::Accepted : QDialog::Rejected);
    });
}

// The child of the root with this number, or the root itself for -1.
void chooseFolder(int child)
{
    whenModal([child](QWidget *modal) {
        auto *tree = modal->findChild<QTreeWidget *>("fileTree");
        QTRY_VERIFY(tree->topLevelItem(0)->childCount() > child);
        QTreeWidgetItem *root = tree->topLevelItem(0);
        tree->setCurrentItem(child < 0 ? root : root->child(child));
        qobject_cast<QDialog *>(modal)->accept();
    });
}

} // namespace

class TestCloudFileOperations final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_drive = std::make_unique<DriveFixture>(3, ratelessRules());
        m_user = logInAs(*m_drive, "小明");
    }
    void cleanup()
    {
        closeToasts();
        settle(*m_drive);
        m_drive.reset();
    }

    void createsFolders_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("confirm");
        QTest::addColumn<QString>("created");
        QTest::newRow("behind 200 others") << "电影" << true << "电影";
        QTest::newRow("a name that is taken") << "100" << true << "100(1)";
        QTest::newRow("no name") << "" << true << "";
        QTest::newRow("cancelled") << "电影" << false << "";
    }
    void createsFolders()
    {
        QFETCH(QString, typed);
        QFETCH(bool, confirm);
        QFETCH(QString, created);
        for (int number = 100; number < 350; ++number) {
            m_drive->server().makeFolder(std::to_string(number));
        }
        AppSettings().setFileListOrderBy("name");
        AppSettings().setFileOrderDirection("ASC");
        m_drive->server().setPageCap(0); // The first page is meant to hold 200.
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "200项");
        page.child<QComboBox>("fileTypeList")->setCurrentText("视频");
        QTRY_COMPARE(page.count(), "250项");
        page.search("a");
        nameFolder(typed, confirm);
        page.press("btnCreateFolder");
        if (!created.isEmpty()) {
            QTRY_COMPARE(page.table()->currentFileId(),
                         text(m_drive->server().fileId(created.toStdString())));
            QCOMPARE(page.table()->selectedFileIds(), QStringList{page.table()->currentFileId()});
            QVERIFY(page.names().contains(created));
        }
        settle(*m_drive);
        QCOMPARE(m_drive->requests(CreatePath).size(), created.isEmpty() ? 0U : 1U);
    }

    void leavingMeanwhileLosesNoNewFolder()
    {
        make({"动画/a.txt"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "1项");
        m_drive->server().addFault(FaultOn("create").delay(300));
        nameFolder("电影");
        page.press("btnCreateFolder");
        page.doubleClick("动画");
        QTRY_COMPARE(page.names(), QStringList{"a.txt"});
        settle(*m_drive);
        QCOMPARE(page.names(), QStringList{"a.txt"});
        page.press("btnBack");
        QTRY_COMPARE(page.count(), "2项");
        QCOMPARE(page.table()->item(page.table()->currentRow(), 0)->text(), "动画");
    }

    void aFailureIsToldAndUndone_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("toast");
        QTest::addColumn<QString>("logged");
        for (const char *kind : {"no right", "name taken", "no answer", "an empty answer"}) {
            QTest::addRow("create, %s", kind) << kind << "新建文件夹失败"
                                              << "createFolder fail :";
        }
        for (const char *kind : {"no right", "name taken", "no answer"}) {
            QTest::addRow("rename, %s", kind) << kind << "重命名失败"
                                              << "fileUpdate fail :";
        }
        for (const char *kind : {"no right", "an empty answer"}) {
            QTest::addRow("link, %s", kind) << kind << "复制下载链接失败"
                                            << "getFileList fail :";
        }
    }
    void aFailureIsToldAndUndone()
    {
        QFETCH(QString, kind);
        QFETCH(QString, toast);
        QFETCH(QString, logged);
        make({"a.txt"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "1项");
        const Refusal refused = refusal(kind);
        m_drive->server().addFault(refused.fault);
        QGuiApplication::clipboard()->setText("before");
        const LogCapture log;
        page.table()->selectRow(0);
        if (toast.startsWith("新建")) {
            nameFolder("电影");
            page.press("btnCreateFolder");
        } else if (toast.startsWith("重命名")) {
            page.table()->item(0, 0)->setText("b.txt");
        } else {
            page.chooseFromMenu("复制下载链接");
        }
        const bool hasReason = !toast.startsWith("复制");
        QTRY_COMPARE(toasts(), QStringList{toast + (hasReason ? refused.reason : QString())});
        QCOMPARE(log.lines().filter(logged).size(), 1);
        settle(*m_drive);
        QTRY_VERIFY(page.dialog.listStatus().isEmpty());
        QStringList names = page.names();
        names.sort();
        QCOMPARE(names.join(' '), inDrive());
        QCOMPARE(QGuiApplication::clipboard()->text(), "before");
    }

    void renames_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<int>("requests");
        QTest::newRow("a new name") << "新.txt"
                                    << "新.txt" << 1;
        QTest::newRow("blanks around it") << " 新.txt "
                                          << " 新.txt " << 1;
        QTest::newRow("the same name") << "旧.txt"
                                       << "旧.txt" << 0;
        QTest::newRow("no name") << ""
                                 << "旧.txt" << 0;
    }
    void renames()
    {
        QFETCH(QString, typed);
        QFETCH(QString, shown);
        QFETCH(int, requests);
        make({"旧.txt", "b.txt", "c.txt"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "3项");
        const QString fileId = page.table()->fileIdAt(page.rowOf("旧.txt"));
        page.table()->item(page.table()->rowOf(fileId), 0)->setText(typed);
        // Rows move while the request is under way.
        page.table()->horizontalHeader()->setSortIndicator(0, Qt::DescendingOrder);
        page.table()->sortByHeader();
        settle(*m_drive);
        const auto cell = [&] { return page.table()->item(page.table()->rowOf(fileId), 0); };
        QTRY_COMPARE(cell()->text(), shown);
        // The page's own record has the name as well: typing it once more changes nothing.
        cell()->setText(shown);
        settle(*m_drive);
        QCOMPARE(idsAsked(UpdatePath), requests > 0 ? QStringList{fileId} : QStringList());
    }

    // The new name stands in a page that was listed before.
    void isListedUnderItsNewName()
    {
        AppSettings().setFileListOrderBy("name");
        AppSettings().setFileOrderDirection("ASC");
        m_drive->server().setPageCap(2);
        make({"a", "b", "c", "d", "e", "f"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "6项");
        m_drive->server().addFault(FaultOn("update").delay(300));
        m_drive->server().addFault(FaultOn("list").after(1).delay(900));
        page.table()->item(page.rowOf("f"), 0)->setText("0");
        page.press("btnRefresh");
        QTRY_COMPARE(page.count(), "6项");
        QTRY_VERIFY(page.rowOf("0") >= 0);
    }

    void theNameTypedLastWins_data()
    {
        QTest::addColumn<QStringList>("typed");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("sent");
        const QStringList another{"b", "c"};
        const QStringList back{"b", "a"};
        QTest::newRow("another one") << another << 0 << "b c";
        QTest::newRow("the last of many") << QStringList{"b", "c", "d"} << 0 << "b d";
        QTest::newRow("the old one") << back << 0 << "b a";
        QTest::newRow("the first refused") << another << 403 << "b c";
        QTest::newRow("the old one, the first refused") << back << 403 << "b";
    }
    void theNameTypedLastWins()
    {
        QFETCH(QStringList, typed);
        QFETCH(int, status);
        make({"a"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "1项");
        m_drive->server().addFault(FaultOn("update").delay(300).status(status));
        for (const QString &name : qAsConst(typed)) {
            page.table()->item(0, 0)->setText(name);
        }
        QCOMPARE(page.names(), QStringList{typed.last()});
        settle(*m_drive);
        QTRY_COMPARE(inDrive(), typed.last());
        QCOMPARE(page.names(), QStringList{typed.last()});
        QStringList sent;
        for (const localdrive::RequestRecord &request : m_drive->requests(UpdatePath)) {
            sent << bodyOf(request).value("name").toString();
        }
        QTEST(sent.join(' '), "sent");
        QCOMPARE(toasts(), QStringList());
    }

    // A file comes into the folder, which is listed anew for that.
    void whatIsTypedOutlastsAListing()
    {
        make({"动画/a.txt", "b.txt"});
        FileBatches batches;
        const DrivePage page(m_user, &batches);
        QTRY_COMPARE(page.count(), "2项");
        BatchOrder order;
        order.user = m_user;
        order.operation = FileOperation::Move;
        order.files = {{text(m_drive->server().fileId("动画/a.txt")), "a.txt"}};
        order.targetFolderId = "root";
        batches.start(order);
        page.select({"b.txt"});
        page.chooseFromMenu("重命名(F2)");
        const QPointer<QLineEdit> editor = page.table()->viewport()->findChild<QLineEdit *>();
        QVERIFY(editor);
        QTest::keyClick(editor, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(editor, "new.txt");
        QTRY_VERIFY(!batches.hasPending());
        settle(*m_drive);
        QVERIFY(editor);
        QCOMPARE(editor->text(), "new.txt");
        QTest::keyClick(editor, Qt::Key_Return);
        QTRY_COMPARE(page.count(), "3项");
        QTRY_VERIFY(page.names().contains("new.txt"));
        QCOMPARE(inDrive(), "a.txt new.txt 动画");
    }

    void aNewExtensionChangesIconTypeAndDoubleClick()
    {
        make({"a.txt"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "1项");
        m_drive->server().addFault(FaultOn("update").body(
            R"({"name":"a.mkv","category":"video","updated_at":"2001-02-03T12:00:00.000Z"})"));
        const QImage before = page.table()->item(0, 0)->icon().pixmap(32).toImage();
        page.table()->item(0, 0)->setText("a.mkv");
        QTRY_COMPARE(page.table()->item(0, FileTable::TypeColumn)->text(), "视频");
        QVERIFY(page.table()->item(0, FileTable::UpdatedColumn)->text().startsWith("2001-02-03"));
        QVERIFY(page.table()->item(0, 0)->icon().pixmap(32).toImage() != before);
        int opened = 0;
        connect(&page.dialog, &CloudFileDialog::videoOpenRequested, this, [&] { ++opened; });
        page.doubleClick("a.mkv");
        QCOMPARE(opened, 1);
    }

    void editsTheSelectedRowOnly()
    {
        make({"旧.txt"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "1项");
        FileTable *table = page.table();
        table->setFocus();
        const auto editor = [table] { return table->viewport()->findChild<QLineEdit *>(); };
        table->clearSelection();
        QTest::keyClick(table, Qt::Key_F2);
        QVERIFY(!editor());
        table->setCurrentCell(0, 2);
        QTest::keyClick(table, Qt::Key_F2);
        QVERIFY(editor());
        QTest::keyClick(editor(), Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(editor(), "new.txt");
        QTest::keyClick(editor(), Qt::Key_Return);
        QTRY_COMPARE(m_drive->requests(UpdatePath).size(), 1U);
    }

    void deletes_data()
    {
        QTest::addColumn<bool>("toRecycleBin");
        QTest::addColumn<QString>("left");
        QTest::newRow("to the bin, unasked") << true << "a.txt c.txt";
        QTest::newRow("for good, after yes") << false << "a.txt c.txt";
        QTest::newRow("for good, after no") << false << "a.txt b.txt c.txt d.txt";
    }
    void deletes()
    {
        QFETCH(bool, toRecycleBin);
        QFETCH(QString, left);
        make({"a.txt", "b.txt", "c.txt", "d.txt"});
        AppSettings().setDelToRecycle(toRecycleBin);
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "4项");
        page.select({"b.txt", "d.txt"});
        if (!toRecycleBin) {
            answer(left.contains('b') ? QMessageBox::No : QMessageBox::Yes);
        }
        page.table()->setFocus();
        QTest::keyClick(page.table(), Qt::Key_Delete);
        QTRY_COMPARE(inDrive(), left);
        QTRY_COMPARE(page.table()->rowCount(), left.count(' ') + 1);
        QStringList names = page.names();
        names.sort();
        QCOMPARE(names.join(' '), left);
        QCOMPARE(m_drive->requests(toRecycleBin ? DeletePath : TrashPath).size(), 0U);
        QVERIFY(!page.table()->selectedFileIds().isEmpty());
    }

    // What is asked about is what is deleted, though the rows move while the question stands.
    void theQuestionIsAboutTheRowsOfThen()
    {
        make({"a.txt", "b.txt", "c.txt"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "3项");
        const QString first = page.table()->item(0, 0)->text();
        m_drive->server().addFault(FaultOn("trash").delay(300));
        page.table()->selectRow(0);
        page.press("btnDelete");
        page.press("checkDelToRecycle");
        const QString second = page.table()->item(1, 0)->text();
        page.table()->selectRow(1);
        whenModal([&](QWidget *modal) {
            QTRY_COMPARE(page.table()->rowCount(), 2);
            page.table()->selectRow(1);
            qobject_cast<QMessageBox *>(modal)->button(QMessageBox::Yes)->click();
        });
        page.press("btnDelete");
        QTRY_COMPARE(page.table()->rowCount(), 1);
        QVERIFY(!inDrive().contains(first) && !inDrive().contains(second));
    }

    void aFolderThatGoesIsLeft()
    {
        make({"动画/第一季/a.txt", "说明.txt"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "2项");
        m_drive->server().addFault(FaultOn("trash").holds());
        page.select({"动画"});
        page.press("btnDelete");
        page.doubleClick("动画");
        QTRY_COMPARE(page.count(), "1项");
        page.doubleClick("第一季");
        QTRY_COMPARE(page.names(), QStringList{"a.txt"});
        m_drive->server().clearFaults();
        QTRY_COMPARE(page.path(), "首页");
        QCOMPARE(page.names(), QStringList{"说明.txt"});
    }

    void deletesWhatIsSeenOnce()
    {
        make({"a.txt", "b.txt", "c.txt"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "3项");
        page.table()->setSelectionBehavior(QAbstractItemView::SelectItems);
        page.table()->selectAll();
        page.search("a");
        page.chooseFromMenu("删除(Del)");
        page.chooseFromMenu("删除(Del)");
        QTRY_COMPARE(page.table()->rowCount(), 2);
        settle(*m_drive);
        QCOMPARE(m_drive->requests(TrashPath).size(), 1U);
        QCOMPARE(toasts(), QStringList{"选中的文件正在处理中"});
        closeToasts();
        page.search("b");
        page.table()->clearSelection();
        page.press("btnDelete");
        QCOMPARE(toasts(), QStringList{"请选择要删除的文件"});
    }

    void holdingDelDeletesOnce()
    {
        make({"a.txt", "b.txt", "c.txt"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "3项");
        page.table()->setFocus();
        for (int press = 0; press < 3; ++press) {
            QTest::simulateEvent(page.table(), true, Qt::Key_Delete, Qt::NoModifier, QString(),
                                 press > 0);
            QTRY_COMPARE(page.table()->rowCount(), 2);
        }
        // As X11 tells of it: let go and pressed again in the same moment.
        QKeyEvent release(QEvent::KeyRelease, Qt::Key_Delete, Qt::NoModifier);
        release.setTimestamp(7);
        QApplication::sendEvent(page.table(), &release);
        qt_sendShortcutOverrideEvent(page.table(), 7, Qt::Key_Delete, Qt::NoModifier);
        settle(*m_drive);
        QCOMPARE(inDrive().count(' '), 1);
    }

    void aLateReplyLeavesTheSelection()
    {
        make({"a.txt", "b.txt", "c.txt", "d.txt"});
        m_drive->server().addFault(FaultOn("/recyclebin/trash").delay(200));
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "4项");
        const QString kept = page.table()->fileIdAt(3);
        page.table()->setCurrentCell(0, 0);
        page.press("btnDelete");
        page.table()->setCurrentCell(3, 0);
        QTRY_COMPARE(page.table()->rowCount(), 3);
        QCOMPARE(page.table()->selectedFileIds(), QStringList{kept});
    }

    // The list was made before the file went, and comes after that was said.
    void aListFromBeforeDoesNotBringAFileBack()
    {
        make({"a.txt", "b.txt"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "2项");
        page.select({"a.txt"});
        m_drive->server().addFault(FaultOn("trash").delay(150));
        page.press("btnDelete");
        m_drive->server().addFault(FaultOn("list").delay(0).trickles(2000));
        page.press("btnRefresh");
        QTRY_COMPARE(m_drive->requests(TrashPath).size(), 1U);
        settle(*m_drive);
        QTRY_COMPARE(page.names(), QStringList{"b.txt"});
    }

    void movesIntoTheChosenFolder()
    {
        make({"a.txt", "b.txt", "目标/里面.txt"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "3项");
        page.select({"a.txt", "b.txt"});
        chooseFolder(0);
        page.chooseFromMenu("移动到...");
        QTRY_COMPARE(page.names(), QStringList{"目标"});
        QCOMPARE(inDrive(), "目标");
        page.doubleClick("目标");
        QTRY_COMPARE(page.count(), "3项");
        page.select({"a.txt"});
        chooseFolder(-1);
        page.chooseFromMenu("移动到...");
        QTRY_COMPARE(page.count(), "2项");
        page.press("btnBack");
        QTRY_COMPARE(page.names(), QStringList({"目标", "a.txt"}));
    }

    // The user enters the target when one file is there and nobody was told yet. Of the others
    // one fails, and one comes while the user looks.
    void theTargetShowsWhatCame()
    {
        make({"a.txt", "b.txt", "c.txt", "目标/里面.txt"});
        m_drive->server().addFault(FaultOn("move").trickles(100));
        m_drive->server().addFault(FaultOn("move").always().holds());
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "4项");
        page.select({"a.txt", "b.txt", "c.txt"});
        m_drive->server().makeFile("说明.txt", "x");
        chooseFolder(0);
        page.chooseFromMenu("移动到...");
        QDir root(text(m_drive->server().rootPath()));
        QTRY_COMPARE(QDir(root.filePath("目标")).entryList(QDir::Files).size(), 2);
        page.doubleClick("目标");
        QTRY_COMPARE(page.count(), "2项");
        const auto *batches = page.dialog.findChild<FileBatches *>();
        QTRY_COMPARE(batches->remaining(), 2);
        QCOMPARE(page.count(), "2项");
        QVERIFY(root.remove("a.txt") || root.remove("b.txt"));
        m_drive->server().clearFaults();
        QTRY_COMPARE(toasts(), QStringList{"移动失败：文件已不存在"});
        QTRY_COMPARE(page.names().size(), 3);
        page.press("btnBack");
        QTRY_COMPARE(page.count(), "2项");
    }

    void movesNothingWhereItIs_data()
    {
        QTest::addColumn<int>("chosen");
        QTest::addColumn<QStringList>("told");
        QTest::newRow("into itself, which cannot be chosen") << 0 << QStringList();
        QTest::newRow("into the folder it lies in") << -1 << QStringList{"文件已在所选文件夹中"};
    }
    void movesNothingWhereItIs()
    {
        QFETCH(int, chosen);
        make({"目标/里面.txt"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "1项");
        page.select({"目标"});
        chooseFolder(chosen);
        page.chooseFromMenu("移动到...");
        QTEST(toasts(), "told");
        settle(*m_drive);
        QCOMPARE(m_drive->requests(MovePath).size(), 0U);
    }

    void copiesTheLinkOfAFile()
    {
        make({"动画/a.txt", "b.txt"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "2项");
        const auto copy = [&page](const QStringList &selected) {
            closeToasts();
            page.select(selected);
            page.chooseFromMenu("复制下载链接");
        };
        copy({});
        QCOMPARE(toasts(), QStringList{"请选择要复制链接的文件"});
        copy({"b.txt", "动画"});
        QCOMPARE(toasts(), QStringList{"请选择文件进行复制"});
        copy({"b.txt"});
        QTRY_COMPARE(toasts(), QStringList{"复制下载链接成功"});
        const QString link = QGuiApplication::clipboard()->text();
        QVERIFY2(link.startsWith(text(m_drive->server().baseUrl())), qPrintable(link));
        // The earlier of two answers last.
        const FaultOn address("getDownloadUrl");
        m_drive->server().addFault(FaultOn(address).body(R"({"url":"a"})").delay(300));
        m_drive->server().addFault(FaultOn(address).body(R"({"url":"b"})"));
        page.doubleClick("动画");
        QTRY_COMPARE(page.names(), QStringList{"a.txt"});
        copy({"a.txt"});
        QTRY_COMPARE(m_drive->requests(OpenFile + "getDownloadUrl").size(), 2U);
        copy({"a.txt"});
        QTRY_COMPARE(toasts(), QStringList{"复制下载链接成功"});
        settle(*m_drive);
        QCOMPARE(QGuiApplication::clipboard()->text(), "b");
    }

private:
    void make(const std::vector<std::string> &paths) { makeFiles(*m_drive, paths); }
    QString inDrive() const { return namesIn(*m_drive); }
    QStringList idsAsked(const QString &path) const
    {
        QStringList ids;
        for (const localdrive::RequestRecord &request : m_drive->requests(path)) {
            ids << bodyOf(request).value("file_id").toString();
        }
        return ids;
    }

    std::unique_ptr<DriveFixture> m_drive;
    UserInfo m_user;
};

MORAVU_TEST(TestCloudFileOperations)
#include "tst_cloud_file_operations.moc"
