#include <QDialogButtonBox>
#include <QPushButton>
#include <QTreeWidget>

#include "app/environment/app_settings.h"
#include "files/drive_page.h"
#include "ui/files/file_tree_dialog.h"
#include "ui/widgets/waiting_spinner_widget.h"

namespace {

QTreeWidgetItem *rootOf(const FileTreeDialog &dialog)
{
    return dialog.findChild<QTreeWidget *>("fileTree")->topLevelItem(0);
}

bool isSpinning(const FileTreeDialog &dialog)
{
    return dialog.findChild<WaitingSpinnerWidget *>()->isSpinning();
}

} // namespace

class TestFileTreeDialog final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_drive = std::make_unique<DriveFixture>(1, ratelessRules());
        m_user = logInAs(*m_drive, "小明");
        m_drive->server().makeFile("a<i>/b/c.txt", "");
        m_drive->server().makeFile("d.txt", "");
    }
    void cleanup()
    {
        closeToasts();
        settle(*m_drive);
        m_drive.reset();
    }

    void listsAFoldersChildrenWhenItIsOpened()
    {
        const FileTreeDialog dialog(m_user);
        QCOMPARE(dialog.windowTitle(), "文件夹选择");
        QTreeWidgetItem *root = rootOf(dialog);
        QCOMPARE(root->text(0), "首页");
        QTRY_COMPARE(root->childCount(), 1);
        QTreeWidgetItem *folder = root->child(0);
        QCOMPARE(folder->text(0), "a<i>");
        QVERIFY(root->icon(0).cacheKey() != folder->icon(0).cacheKey()); // it is the drive
        QVERIFY2(folder->toolTip(0).contains("a&lt;i&gt;"), qPrintable(folder->toolTip(0)));
        QCOMPARE(folder->childCount(), 0);
        for (int opened = 0; opened < 2; ++opened) {
            folder->setExpanded(true);
            QTRY_COMPARE(folder->childCount(), 1);
            folder->setExpanded(false);
        }
        QCOMPARE(folder->child(0)->text(0), "b");
        settle(*m_drive);
        QCOMPARE(m_drive->requests("/adrive/v1.0/openFile/list").size(), 2U);
    }

    void aFailedListingCanBeRepeated_data()
    {
        QTest::addColumn<int>("folders");
        QTest::addColumn<int>("unharmed");
        QTest::addColumn<bool>("isLost");
        QTest::addColumn<QString>("seen");
        QTest::newRow("at the first page") << 1 << 0 << false << "a<i>";
        QTest::newRow("at a further page") << 451 << 1 << false << "文件夹450";
        QTest::newRow("by itself, when the drive is back") << 1 << 0 << true << "a<i>";
    }
    void aFailedListingCanBeRepeated()
    {
        QFETCH(int, folders);
        QFETCH(int, unharmed);
        QFETCH(bool, isLost);
        AppSettings().setFileListOrderBy("name");
        AppSettings().setFileOrderDirection("DESC");
        for (int number = 1; number < folders; ++number) {
            m_drive->server().makeFolder("文件夹" + std::to_string(number));
        }
        FaultOn fault = FaultOn("/openFile/list").after(unharmed).times(2);
        m_drive->server().addFault(isLost ? fault.cuts() : fault.status(500));
        const FileTreeDialog dialog(m_user);
        QVERIFY(isSpinning(dialog));
        QTreeWidgetItem *root = rootOf(dialog);
        QTRY_VERIFY(!root->isExpanded());
        QCOMPARE(toasts(), QStringList{"文件夹加载失败"});
        QVERIFY(!isSpinning(dialog));
        if (isLost) {
            OpenApiClient(m_user).vipInfo({}, {}); // somebody has a reply
        } else {
            root->setExpanded(true);
            QVERIFY(isSpinning(dialog));
        }
        QTRY_COMPARE(root->childCount(), folders);
        QTEST(root->child(qMin(1, folders - 1))->text(0), "seen");
        QTRY_VERIFY(!isSpinning(dialog));
    }

    void doesNotGoRoundAMarkerThatRepeats()
    {
        m_drive->server().addFault(
            FaultOn("/openFile/list")
                .always()
                .status(200)
                .body(
                    R"({"items":[{"file_id":"f","type":"folder","name":"x\u202ey"}],"next_marker":"m"})"));
        const FileTreeDialog dialog(m_user);
        QTRY_VERIFY(!isSpinning(dialog));
        QCOMPARE(rootOf(dialog)->childCount(), 2);
        QCOMPARE(rootOf(dialog)->child(0)->text(0), "x\uFFFDy");
    }

    void takesNothingBeforeAFolderIsChosen_data()
    {
        QTest::addColumn<bool>("isExcluded");
        QTest::newRow("a folder") << false;
        QTest::newRow("the folder that is to be moved") << true;
    }
    void takesNothingBeforeAFolderIsChosen()
    {
        QFETCH(bool, isExcluded);
        const QString folderId = text(m_drive->server().fileId("a<i>"));
        FileTreeDialog dialog(m_user, isExcluded ? QStringList{folderId} : QStringList());
        auto *tree = dialog.findChild<QTreeWidget *>("fileTree");
        QTRY_COMPARE(rootOf(dialog)->childCount(), 1);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        tree->setFocus();
        auto *ok = dialog.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok);
        QCOMPARE(ok->text(), "确定");
        QVERIFY(!ok->isEnabled());
        QCOMPARE(dialog.selectedFolderId(), "");
        const QRect row = tree->visualItemRect(rootOf(dialog)->child(0));
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, row.center());
        QCOMPARE(ok->isEnabled(), !isExcluded);
        ok->click();
        QCOMPARE(dialog.result(), int(isExcluded ? QDialog::Rejected : QDialog::Accepted));
        QCOMPARE(dialog.selectedFolderId(), isExcluded ? QString() : folderId);
    }

private:
    std::unique_ptr<DriveFixture> m_drive;
    UserInfo m_user;
};

MORAVU_TEST(TestFileTreeDialog)
#include "tst_file_tree_dialog.moc"
