#include "ui/windows/file_tree_dialog.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QTreeWidget>

#include "windows/drive_page.h"

class TestFileTreeDialog final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void asksInItsExactWords();
    void listsAFoldersChildrenWhenItIsOpened();
    void listsAllPagesOfABigFolder();
    void choosesTheClickedFolder();
    void aFailedListingCanBeRepeated();

private:
    std::unique_ptr<DriveFixture> m_drive;
    UserInfo m_user;
};

void TestFileTreeDialog::init()
{
    m_drive = std::make_unique<DriveFixture>();
    m_user = logInAs(*m_drive, QStringLiteral("小明"));
    m_drive->server().makeFile("a/b/c.txt", "");
    m_drive->server().makeFile("d.txt", "");
}

void TestFileTreeDialog::cleanup()
{
    settle(*m_drive);
    m_drive.reset();
}

void TestFileTreeDialog::asksInItsExactWords()
{
    const FileTreeDialog dialog(m_user);
    QCOMPARE(dialog.windowTitle(), QStringLiteral("文件夹选择"));
    QStringList texts;
    for (const QLabel *label : dialog.findChildren<QLabel *>())
        texts << label->text();
    QVERIFY(texts.contains(QStringLiteral("请选择文件夹")));
    const auto *tree = dialog.findChild<QTreeWidget *>(QStringLiteral("fileTree"));
    QCOMPARE(tree->topLevelItemCount(), 1);
    QCOMPARE(tree->topLevelItem(0)->text(0), QStringLiteral("首页"));
    QVERIFY(!tree->topLevelItem(0)->icon(0).pixmap(24).isNull());
    QCOMPARE(dialog.selectedFolderId(), QStringLiteral("root"));
    const auto *box = dialog.findChild<QDialogButtonBox *>();
    QCOMPARE(box->button(QDialogButtonBox::Ok)->text(), QStringLiteral("确定"));
    QCOMPARE(box->button(QDialogButtonBox::Cancel)->text(), QStringLiteral("取消"));
}

void TestFileTreeDialog::listsAFoldersChildrenWhenItIsOpened()
{
    const FileTreeDialog dialog(m_user);
    const auto *tree = dialog.findChild<QTreeWidget *>(QStringLiteral("fileTree"));
    QTreeWidgetItem *root = tree->topLevelItem(0);
    QTRY_COMPARE(root->childCount(), 1);
    QTreeWidgetItem *folder = root->child(0);
    QVERIFY(folder);
    QCOMPARE(folder->text(0), QStringLiteral("a"));
    QCOMPARE(folder->childCount(), 0);
    folder->setExpanded(true);
    QTRY_COMPARE(folder->childCount(), 1);
    const QTreeWidgetItem *inner = folder->child(0);
    QVERIFY(inner);
    QCOMPARE(inner->text(0), QStringLiteral("b"));
    folder->setExpanded(false);
    folder->setExpanded(true);
    QTest::qWait(50);
    QCOMPARE(folder->childCount(), 1);
}

void TestFileTreeDialog::listsAllPagesOfABigFolder()
{
    for (int number = 0; number < 450; ++number)
        m_drive->server().makeFolder("文件夹" + std::to_string(number));
    localdrive::Fault fault;
    fault.path = "/openFile/list";
    fault.skip = 1;
    fault.status = 500;
    m_drive->server().addFault(fault);
    const FileTreeDialog dialog(m_user);
    QTreeWidgetItem *root =
        dialog.findChild<QTreeWidget *>(QStringLiteral("fileTree"))->topLevelItem(0);
    QTRY_VERIFY(!root->isExpanded());
    root->setExpanded(true);
    QTRY_COMPARE(root->childCount(), 451);
}

void TestFileTreeDialog::choosesTheClickedFolder()
{
    FileTreeDialog dialog(m_user);
    auto *tree = dialog.findChild<QTreeWidget *>(QStringLiteral("fileTree"));
    QTRY_COMPARE(tree->topLevelItem(0)->childCount(), 1);
    dialog.show();
    QTreeWidgetItem *folder = tree->topLevelItem(0)->child(0);
    QVERIFY(folder);
    const QRect row = tree->visualItemRect(folder);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, row.center());
    QCOMPARE(dialog.selectedFolderId(), text(m_drive->server().fileId("a")));
    QTRY_COMPARE(folder->childCount(), 1);
    dialog.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
}

void TestFileTreeDialog::aFailedListingCanBeRepeated()
{
    localdrive::Fault fault;
    fault.path = "/openFile/list";
    fault.status = 500;
    m_drive->server().addFault(fault);
    const FileTreeDialog dialog(m_user);
    const auto *tree = dialog.findChild<QTreeWidget *>(QStringLiteral("fileTree"));
    QTRY_VERIFY(!tree->topLevelItem(0)->isExpanded());
    tree->topLevelItem(0)->setExpanded(true);
    QTRY_COMPARE(tree->topLevelItem(0)->childCount(), 1);
}

QTEST_MAIN(TestFileTreeDialog)
#include "tst_file_tree_dialog.moc"
