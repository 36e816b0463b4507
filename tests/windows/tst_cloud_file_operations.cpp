// What a user does to the files of a page, and to the accounts.

#include <QCheckBox>
#include <QClipboard>
#include <QHeaderView>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTreeWidget>

#include "app/environment/app_settings.h"
#include "windows/drive_page.h"

namespace {

const QString openFile = QStringLiteral("/adrive/v1.0/openFile/");
const QString trashPath = openFile + QStringLiteral("recyclebin/trash");
const QString deletePath = openFile + QStringLiteral("delete");
const QString updatePath = openFile + QStringLiteral("update");
const QString createPath = openFile + QStringLiteral("create");
const QString movePath = openFile + QStringLiteral("move");

localdrive::Fault refusal(const std::string &path, int count = -1)
{
    localdrive::Fault fault;
    fault.path = path;
    fault.count = count;
    fault.status = 403;
    return fault;
}

void answer(QMessageBox::StandardButton button)
{
    whenModal([button](QWidget *modal) {
        auto *box = qobject_cast<QMessageBox *>(modal);
        QVERIFY(box);
        QCOMPARE(box->windowTitle(), QStringLiteral("警告"));
        QCOMPARE(box->text(), QStringLiteral("确定要彻底删除选中的文件或文件夹吗?"));
        QCOMPARE(box->button(QMessageBox::Yes)->text(), QStringLiteral("是"));
        QCOMPARE(box->button(QMessageBox::No)->text(), QStringLiteral("否"));
        QTRY_VERIFY(box->button(QMessageBox::No)->hasFocus());
        box->button(button)->click();
    });
}

} // namespace

class TestCloudFileOperations final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theMenuStandsInOrder();
    void createsFolders_data();
    void createsFolders();
    void renames_data();
    void renames();
    void editsWithF2FromAnyColumn();
    void deletesToTheBinWithoutAsking();
    void deletesForGoodAfterYesOnly_data();
    void deletesForGoodAfterYesOnly();
    void deletesARowOnce();
    void deletesNothingThatIsHidden();
    void aFailedDeleteKeepsItsRow_data();
    void aFailedDeleteKeepsItsRow();
    void aBigSelectionGoesAFewAtATime();
    void aLateReplyLeavesTheSelection();
    void removesFromTheFolderThatWasLeft();
    void movesIntoTheChosenFolder();
    void movesNothingIntoItself();
    void copiesALink();
    void copyNeedsAFile();
    void keepsTheBinSetting();
    void logsOutTheCurrentUser();
    void logsOutAnotherUser();
    void logsOutTheLastUser();

private:
    void makeFiles(const std::vector<std::string> &names);
    QStringList idsAsked(const QString &path) const;

    std::unique_ptr<DriveFixture> m_drive;
    UserInfo m_user;
};

void TestCloudFileOperations::init()
{
    m_drive = std::make_unique<DriveFixture>(3);
    m_user = logInAs(*m_drive, QStringLiteral("小明"));
}

void TestCloudFileOperations::cleanup()
{
    closeToasts();
    settle(*m_drive);
    m_drive.reset();
}

void TestCloudFileOperations::makeFiles(const std::vector<std::string> &names)
{
    for (const std::string &name : names)
        m_drive->server().makeFile(name, "x");
}

QStringList TestCloudFileOperations::idsAsked(const QString &path) const
{
    QStringList ids;
    for (const localdrive::RequestRecord &request : m_drive->requests(path))
        ids << bodyOf(request).value(QStringLiteral("file_id")).toString();
    return ids;
}

void TestCloudFileOperations::theMenuStandsInOrder()
{
    const DrivePage page(m_user);
    QStringList texts;
    for (const QAction *action : page.table()->findChild<QMenu *>()->actions()) {
        texts << action->text();
        QVERIFY2(!action->icon().pixmap(16).isNull(), qPrintable(action->text()));
    }
    QCOMPARE(texts, QStringList({QStringLiteral("新建文件夹(&N)"), QStringLiteral("重命名(F2)"),
                                 QStringLiteral("移动到..."), QStringLiteral("删除(Del)"),
                                 QStringLiteral("复制下载链接"), QStringLiteral("刷新(F5)")}));
}

void TestCloudFileOperations::createsFolders_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<bool>("confirm");
    QTest::addColumn<QString>("created");
    QTest::newRow("the name offered")
        << QStringLiteral("新建文件夹") << true << QStringLiteral("新建文件夹");
    QTest::newRow("a name of one's own")
        << QStringLiteral("电影") << true << QStringLiteral("电影");
    QTest::newRow("no name") << QString() << true << QString();
    QTest::newRow("cancelled") << QStringLiteral("电影") << false << QString();
}

void TestCloudFileOperations::createsFolders()
{
    QFETCH(QString, typed);
    QFETCH(bool, confirm);
    QFETCH(QString, created);
    makeFiles({"a.txt"});
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("1项"));
    page.child<QLineEdit>("fileNameSearch")->setText(QStringLiteral("a"));
    whenModal([typed, confirm](QWidget *modal) {
        auto *dialog = qobject_cast<QInputDialog *>(modal);
        QVERIFY(dialog);
        QCOMPARE(dialog->windowTitle(), QStringLiteral("新建文件夹"));
        QCOMPARE(dialog->labelText(), QStringLiteral("请输入新文件夹名称"));
        QCOMPARE(dialog->textValue(), QStringLiteral("新建文件夹"));
        QCOMPARE(dialog->okButtonText(), QStringLiteral("确定"));
        dialog->setTextValue(typed);
        dialog->done(confirm ? QDialog::Accepted : QDialog::Rejected);
    });
    page.child<QPushButton>("btnCreateFolder")->click();
    if (!created.isEmpty()) {
        QTRY_COMPARE(page.count(), QStringLiteral("2项"));
        QVERIFY(page.rowOf(created) >= 0);
        QCOMPARE(page.child<QLineEdit>("fileNameSearch")->text(), QString());
    }
    QTest::qWait(30);
    QCOMPARE(m_drive->requests(createPath).size(), created.isEmpty() ? 0U : 1U);
}

void TestCloudFileOperations::renames_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<bool>("fails");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<int>("requests");
    const QString old = QStringLiteral("旧.txt");
    const QString renamed = QStringLiteral("新.txt");
    QTest::newRow("a new name") << renamed << false << renamed << 1;
    QTest::newRow("blanks around it") << QStringLiteral(" 新.txt ") << false << renamed << 1;
    QTest::newRow("the same name") << old << false << old << 0;
    QTest::newRow("no name") << QString() << false << old << 0;
    QTest::newRow("blanks alone") << QStringLiteral("  ") << false << old << 0;
    QTest::newRow("refused by the drive") << renamed << true << old << 1;
}

void TestCloudFileOperations::renames()
{
    QFETCH(QString, typed);
    QFETCH(bool, fails);
    QFETCH(QString, shown);
    QFETCH(int, requests);
    makeFiles({"旧.txt", "b.txt", "c.txt"});
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("3项"));
    const QString fileId = page.table()->fileIdAt(page.rowOf(QStringLiteral("旧.txt")));
    if (fails)
        m_drive->server().addFault(refusal("/openFile/update"));
    page.table()->item(page.table()->rowOf(fileId), 0)->setText(typed);
    // Rows move while the request is under way.
    page.table()->horizontalHeader()->setSortIndicator(0, Qt::DescendingOrder);
    page.table()->sortByHeader();
    QTRY_COMPARE(idsAsked(updatePath).size(), requests);
    const auto name = [&page, &fileId] {
        return page.table()->item(page.table()->rowOf(fileId), 0)->text();
    };
    QTRY_COMPARE(name(), shown);
    // The page's own record has the name as well: typing it once more changes nothing.
    QTest::qWait(30);
    page.table()->item(page.table()->rowOf(fileId), 0)->setText(shown);
    QTest::qWait(30);
    QCOMPARE(idsAsked(updatePath), requests > 0 ? QStringList{fileId} : QStringList());
}

void TestCloudFileOperations::editsWithF2FromAnyColumn()
{
    makeFiles({"旧.txt"});
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("1项"));
    page.table()->setFocus();
    page.table()->setCurrentCell(0, 2);
    QTest::keyClick(page.table(), Qt::Key_F2);
    QWidget *editor = page.table()->viewport()->findChild<QLineEdit *>();
    QVERIFY(editor);
    QTest::keyClick(editor, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(editor, QStringLiteral("new.txt"));
    QTest::keyClick(editor, Qt::Key_Return);
    QTRY_COMPARE(m_drive->requests(updatePath).size(), 1U);
    QCOMPARE(page.path(), QStringLiteral("首页"));
}

void TestCloudFileOperations::deletesToTheBinWithoutAsking()
{
    makeFiles({"a.txt", "b.txt", "c.txt", "d.txt"});
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("4项"));
    page.select({QStringLiteral("b.txt"), QStringLiteral("d.txt")});
    page.child<QPushButton>("btnDelete")->click();
    QVERIFY(!QApplication::activeModalWidget());
    QTRY_COMPARE(page.count(), QStringLiteral("2项"));
    QStringList names = page.names();
    names.sort();
    QCOMPARE(names, QStringList({QStringLiteral("a.txt"), QStringLiteral("c.txt")}));
    QCOMPARE(m_drive->requests(trashPath).size(), 2U);
    QVERIFY(page.table()->currentRow() >= 0);
}

void TestCloudFileOperations::deletesForGoodAfterYesOnly_data()
{
    QTest::addColumn<int>("button");
    QTest::addColumn<int>("requests");
    QTest::newRow("yes") << int(QMessageBox::Yes) << 1;
    QTest::newRow("no") << int(QMessageBox::No) << 0;
}

void TestCloudFileOperations::deletesForGoodAfterYesOnly()
{
    QFETCH(int, button);
    QFETCH(int, requests);
    makeFiles({"a.txt", "b.txt"});
    AppSettings().setDelToRecycle(false);
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("2项"));
    page.select({QStringLiteral("a.txt")});
    answer(static_cast<QMessageBox::StandardButton>(button));
    page.table()->setFocus();
    QTest::keyClick(page.table(), Qt::Key_Delete);
    QTRY_COMPARE(page.table()->rowCount(), 2 - requests);
    QCOMPARE(idsAsked(deletePath).size(), requests);
    QCOMPARE(m_drive->requests(trashPath).size(), 0U);
}

void TestCloudFileOperations::deletesARowOnce()
{
    makeFiles({"a.txt", "b.txt"});
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("2项"));
    page.table()->setSelectionBehavior(QAbstractItemView::SelectItems);
    page.table()->clearSelection();
    for (int column = 0; column < 3; ++column)
        page.table()->item(0, column)->setSelected(true);
    page.chooseFromMenu(QStringLiteral("删除(Del)"));
    QTRY_COMPARE(page.table()->rowCount(), 1);
    QCOMPARE(m_drive->requests(trashPath).size(), 1U);
}

void TestCloudFileOperations::deletesNothingThatIsHidden()
{
    makeFiles({"a.txt", "b.txt"});
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("2项"));
    page.table()->selectAll();
    page.child<QLineEdit>("fileNameSearch")->setText(QStringLiteral("a"));
    page.child<QPushButton>("btnDelete")->click();
    QTRY_COMPARE(page.table()->rowCount(), 1);
    QTest::qWait(30);
    QCOMPARE(page.table()->item(0, 0)->text(), QStringLiteral("b.txt"));
    QCOMPARE(m_drive->requests(trashPath).size(), 1U);
    page.table()->clearSelection();
    page.child<QPushButton>("btnDelete")->click();
    QCOMPARE(toasts(), QStringList{QStringLiteral("请选择要删除的文件")});
}

void TestCloudFileOperations::aFailedDeleteKeepsItsRow_data()
{
    QTest::addColumn<bool>("toRecycleBin");
    QTest::addColumn<QString>("toast");
    QTest::addColumn<QString>("logged");
    QTest::newRow("to the bin") << true << QStringLiteral("删除到回收站失败")
                                << QStringLiteral("fileTrash fail : ");
    QTest::newRow("for good") << false << QStringLiteral("删除文件失败")
                              << QStringLiteral("fileDelete fail : ");
}

void TestCloudFileOperations::aFailedDeleteKeepsItsRow()
{
    QFETCH(bool, toRecycleBin);
    QFETCH(QString, logged);
    makeFiles({"a.txt", "b.txt", "c.txt"});
    AppSettings().setDelToRecycle(toRecycleBin);
    m_drive->server().addFault(refusal("/openFile/(delete|recyclebin/trash)"));
    const LogCapture log;
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("3项"));
    page.table()->selectAll();
    if (!toRecycleBin)
        answer(QMessageBox::Yes);
    page.child<QPushButton>("btnDelete")->click();
    QTRY_COMPARE(log.lines().filter(logged).size(), 3);
    QCOMPARE(page.table()->rowCount(), 3);
    QFETCH(QString, toast);
    QCOMPARE(toasts(), QStringList{toast});
}

void TestCloudFileOperations::aBigSelectionGoesAFewAtATime()
{
    for (int number = 0; number < 40; ++number)
        m_drive->server().makeFile(std::to_string(number), "");
    localdrive::Fault frozen;
    frozen.path = "/recyclebin/trash";
    frozen.count = -1;
    frozen.delay = std::chrono::milliseconds(300);
    m_drive->server().addFault(frozen);
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("40项"));
    page.table()->selectAll();
    page.child<QPushButton>("btnDelete")->click();
    QTest::qWait(150);
    QCOMPARE(m_drive->requests(trashPath).size(), 4U);
    m_drive->server().clearFaults();
    QTRY_COMPARE(page.count(), QStringLiteral("0项"));
    QCOMPARE(m_drive->requests(trashPath).size(), 40U);
}

void TestCloudFileOperations::aLateReplyLeavesTheSelection()
{
    makeFiles({"a.txt", "b.txt", "c.txt", "d.txt"});
    localdrive::Fault slow;
    slow.path = "/recyclebin/trash";
    slow.delay = std::chrono::milliseconds(200);
    m_drive->server().addFault(slow);
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("4项"));
    const QString kept = page.table()->fileIdAt(3);
    page.table()->setCurrentCell(0, 0);
    page.child<QPushButton>("btnDelete")->click();
    page.table()->setCurrentCell(3, 0);
    QTRY_COMPARE(page.table()->rowCount(), 3);
    QCOMPARE(page.table()->selectedFileIds(), QStringList{kept});

    const QString next = page.table()->fileIdAt(1);
    page.table()->setCurrentCell(0, 0);
    page.child<QPushButton>("btnDelete")->click();
    QTRY_COMPARE(page.table()->rowCount(), 2);
    QCOMPARE(page.table()->selectedFileIds(), QStringList{next});
}

void TestCloudFileOperations::removesFromTheFolderThatWasLeft()
{
    makeFiles({"动画/a.txt", "b.txt"});
    localdrive::Fault slow;
    slow.path = "/recyclebin/trash";
    slow.delay = std::chrono::milliseconds(200);
    m_drive->server().addFault(slow);
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("2项"));
    page.select({QStringLiteral("b.txt")});
    page.child<QPushButton>("btnDelete")->click();
    page.doubleClick(QStringLiteral("动画"));
    QTRY_COMPARE(page.names(), QStringList{QStringLiteral("a.txt")});
    QTest::qWait(350);
    QCOMPARE(page.names(), QStringList{QStringLiteral("a.txt")});
    QTest::keyClick(page.table(), Qt::Key_Backspace);
    QCOMPARE(page.names(), QStringList{QStringLiteral("动画")});
}

void TestCloudFileOperations::movesIntoTheChosenFolder()
{
    makeFiles({"a.txt", "b.txt", "目标/里面.txt"});
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("3项"));
    page.select({QStringLiteral("a.txt"), QStringLiteral("b.txt")});
    whenModal([](QWidget *modal) {
        auto *tree = modal->findChild<QTreeWidget *>(QStringLiteral("fileTree"));
        QTRY_COMPARE(tree->topLevelItem(0)->childCount(), 1);
        tree->setCurrentItem(tree->topLevelItem(0)->child(0));
        qobject_cast<QDialog *>(modal)->accept();
    });
    page.chooseFromMenu(QStringLiteral("移动到..."));
    QTRY_COMPARE(page.names(), QStringList{QStringLiteral("目标")});
    const QString target = text(m_drive->server().fileId("目标"));
    QCOMPARE(m_drive->requests(movePath).size(), 2U);
    for (const localdrive::RequestRecord &request : m_drive->requests(movePath))
        QCOMPARE(bodyOf(request).value(QStringLiteral("to_parent_file_id")).toString(), target);
    page.doubleClick(QStringLiteral("目标"));
    QTRY_COMPARE(page.count(), QStringLiteral("3项"));

    page.select({QStringLiteral("里面.txt")});
    whenModal([](QWidget *modal) { qobject_cast<QDialog *>(modal)->accept(); }); // the root
    page.chooseFromMenu(QStringLiteral("移动到..."));
    QTRY_COMPARE(page.count(), QStringLiteral("2项"));
    page.child<QAbstractButton>("btnBack")->click();
    QTRY_VERIFY(page.rowOf(QStringLiteral("里面.txt")) >= 0);
}

void TestCloudFileOperations::movesNothingIntoItself()
{
    makeFiles({"目标/里面.txt"});
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("1项"));
    page.select({QStringLiteral("目标")});
    whenModal([](QWidget *modal) {
        auto *tree = modal->findChild<QTreeWidget *>(QStringLiteral("fileTree"));
        QTRY_COMPARE(tree->topLevelItem(0)->childCount(), 1);
        QVERIFY(tree->topLevelItem(0)->child(0)->isDisabled());
        tree->setCurrentItem(tree->topLevelItem(0)->child(0));
        qobject_cast<QDialog *>(modal)->accept();
    });
    page.chooseFromMenu(QStringLiteral("移动到..."));
    QTest::qWait(50);
    QCOMPARE(m_drive->requests(movePath).size(), 0U);
    QCOMPARE(page.names(), QStringList{QStringLiteral("目标")});
}

void TestCloudFileOperations::copiesALink()
{
    makeFiles({"a.txt"});
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("1项"));
    page.select({QStringLiteral("a.txt")});
    page.chooseFromMenu(QStringLiteral("复制下载链接"));
    QTRY_COMPARE(toasts(), QStringList{QStringLiteral("复制下载链接成功")});
    QVERIFY(QGuiApplication::clipboard()->text().startsWith(text(m_drive->server().baseUrl())));

    m_drive->server().addFault(refusal("/openFile/getDownloadUrl"));
    const LogCapture log;
    page.chooseFromMenu(QStringLiteral("复制下载链接"));
    QTRY_VERIFY(toasts().contains(QStringLiteral("复制下载链接失败")));
    QCOMPARE(log.lines().filter(QStringLiteral("getFileList fail :")).size(), 1);
}

void TestCloudFileOperations::copyNeedsAFile()
{
    makeFiles({"动画/a.txt", "b.txt"});
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("2项"));
    page.table()->clearSelection();
    page.chooseFromMenu(QStringLiteral("复制下载链接"));
    QCOMPARE(toasts(), QStringList{QStringLiteral("请选择要复制链接的文件")});
    closeToasts();
    page.select({QStringLiteral("b.txt"), QStringLiteral("动画")});
    page.chooseFromMenu(QStringLiteral("复制下载链接"));
    QCOMPARE(toasts(), QStringList{QStringLiteral("请选择文件进行复制")});
}

void TestCloudFileOperations::keepsTheBinSetting()
{
    const DrivePage page(m_user);
    const QSignalSpy changes(&page.dialog, &CloudFileDialog::listSettingsChanged);
    auto *check = page.child<QCheckBox>("checkDelToRecycle");
    QVERIFY(check->isChecked());
    check->click();
    QVERIFY(!AppSettings().delToRecycle());
    check->click();
    QVERIFY(AppSettings().delToRecycle());
    QCOMPARE(changes.size(), 2);
}

void TestCloudFileOperations::logsOutTheCurrentUser()
{
    const UserInfo second = logInAs(*m_drive, QStringLiteral("小红"), 1);
    AppSettings().setCurUserId(m_user.userId.value());
    auto *page = new CloudFileDialog(m_user);
    const QPointer<CloudFileDialog> alive(page);
    QVariantList sent;
    QString currentUserId;
    connect(page, &CloudFileDialog::userChangedFromCloudDisk, this,
            [&](int changeType, int pos, int skipToPos, const QString &nickname) {
                sent = {changeType, pos, skipToPos, nickname};
                currentUserId = AppSettings().curUserId();
            });
    page->findChild<QPushButton *>(QStringLiteral("btnUserLogout"))->click();
    QCOMPARE(sent, QVariantList({-1, 0, 0, QStringLiteral("小明")}));
    QCOMPARE(currentUserId, second.userId.value());
    QCOMPARE(listUsers().size(), 1);
    QTRY_VERIFY(!alive);
}

void TestCloudFileOperations::logsOutAnotherUser()
{
    const UserInfo second = logInAs(*m_drive, QStringLiteral("小红"), 1);
    AppSettings().setCurUserId(m_user.userId.value());
    auto *page = new CloudFileDialog(second);
    const QSignalSpy changes(page, &CloudFileDialog::userChangedFromCloudDisk);
    page->findChild<QPushButton *>(QStringLiteral("btnUserLogout"))->click();
    QCOMPARE(QVariantList(changes.first()), QVariantList({-1, 1, 0, QStringLiteral("小红")}));
    QCOMPARE(AppSettings().curUserId(), m_user.userId.value());
}

void TestCloudFileOperations::logsOutTheLastUser()
{
    auto *page = new CloudFileDialog(m_user);
    const QSignalSpy changes(page, &CloudFileDialog::userChangedFromCloudDisk);
    page->findChild<QPushButton *>(QStringLiteral("btnUserLogout"))->click();
    QCOMPARE(QVariantList(changes.first()), QVariantList({0, 0, -1, QStringLiteral("小明")}));
    QCOMPARE(AppSettings().curUserId(), QString());
    QCOMPARE(countUsers(), 0);
}

QTEST_MAIN(TestCloudFileOperations)
#include "tst_cloud_file_operations.moc"
