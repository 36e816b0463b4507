// A user's page as far as it shows and walks folders.

#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QListView>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

#include "app/environment/app_settings.h"
#include "player/play_request.h"
#include "ui/widgets/waiting_spinner_widget.h"
#include "windows/drive_page.h"

namespace {

const QString listPath = QStringLiteral("/adrive/v1.0/openFile/list");
constexpr std::chrono::milliseconds Slowly(300);

localdrive::Fault slowList(int count = 1)
{
    localdrive::Fault fault;
    fault.path = "/openFile/list";
    fault.count = count;
    fault.delay = Slowly;
    return fault;
}

localdrive::Fault failingList(int count = 1)
{
    localdrive::Fault fault;
    fault.path = "/openFile/list";
    fault.count = count;
    fault.status = 500;
    return fault;
}

QStringList markersOf(const DriveFixture &drive)
{
    QStringList markers;
    for (const localdrive::RequestRecord &request : drive.requests(listPath))
        markers << bodyOf(request).value(QStringLiteral("marker")).toString();
    return markers;
}

} // namespace

class TestCloudFileList final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void showsTheRootFolder();
    void asksForTheNextPageAtTheEndOnly();
    void aServerThatGivesLessThanAskedIsReadToTheEnd();
    void aHeaderClickBetweenPagesLosesAndRepeatsNothing();
    void appendingLeavesTheViewWhereItIs();
    void anArrivingPageLeavesARenameAlone();
    void aFailedFurtherPageIsNotAskedForAgain();
    void aSearchLooksAtFurtherPages();
    void aHeaderClickSortsHereAndSavesTheOrder_data();
    void aHeaderClickSortsHereAndSavesTheOrder();
    void savesTheLayoutOnTheUsersChangesOnly();
    void goesIntoFoldersAndBackWithoutAsking();
    void aDoubleClickWhileLoadingOpensNothing();
    void aReplyBelongsToTheFolderThatAsked();
    void refreshesAfterTheRunningRequest();
    void aFailureLeavesARetry();
    void anEmptyFolderSaysSo();
    void searchAndTypeWorkTogether();
    void keysWorkEverywhereOnThePage();
    void opensVideosWithTheirHistory();
    void opensNothingElse();
    void tellsTheDiskSpaceOfTheTabThatIsShown_data();
    void tellsTheDiskSpaceOfTheTabThatIsShown();
    void offersTheQualities();
    void aPageThatIsGoneDropsItsReplies();

private:
    std::unique_ptr<DriveFixture> m_drive;
    UserInfo m_user;
};

void TestCloudFileList::init()
{
    m_drive = std::make_unique<DriveFixture>(2);
    m_user = logInAs(*m_drive, QStringLiteral("小明"));
}

void TestCloudFileList::cleanup()
{
    settle(*m_drive);
    m_drive.reset();
}

void TestCloudFileList::showsTheRootFolder()
{
    m_drive->server().makeFolder("动画");
    m_drive->server().makeFile("说明.txt", std::string(1536, 'x'));
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("2项"));
    QCOMPARE(page.names(), QStringList({QStringLiteral("动画"), QStringLiteral("说明.txt")}));
    QCOMPARE(page.path(), QStringLiteral("首页"));
    QCOMPARE(page.table()->fileIdAt(1), text(m_drive->server().fileId("说明.txt")));
    QCOMPARE(page.table()->item(1, 1)->text(), QStringLiteral("1.50 KB"));
    QCOMPARE(page.table()->item(1, 3)->text(), QStringLiteral("文档"));
    QCOMPARE(page.table()->currentRow(), 0);
    const QJsonObject body = bodyOf(m_drive->requests(listPath).front());
    QCOMPARE(body.value(QStringLiteral("parent_file_id")).toString(), QStringLiteral("root"));
    QCOMPARE(body.value(QStringLiteral("limit")).toInt(), 200);
}

void TestCloudFileList::asksForTheNextPageAtTheEndOnly()
{
    for (int number = 0; number < 450; ++number)
        m_drive->server().makeFile("文件" + std::to_string(number), "");
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("200项"));
    QScrollBar *bar = page.table()->verticalScrollBar();
    bar->setValue(bar->maximum() - 1);
    QTest::qWait(50);
    QCOMPARE(markersOf(*m_drive).size(), 1);

    m_drive->server().addFault(slowList());
    bar->setValue(bar->maximum());
    bar->setValue(0);
    bar->setValue(bar->maximum());
    QVERIFY(page.table()->findChild<WaitingSpinnerWidget *>()->isSpinning());
    QTRY_COMPARE(page.count(), QStringLiteral("400项"));
    QCOMPARE(markersOf(*m_drive).size(), 2);
    QVERIFY(!page.table()->findChild<WaitingSpinnerWidget *>()->isSpinning());

    const auto scrolled = [&page, bar] {
        bar->setValue(0);
        bar->setValue(bar->maximum());
        return page.count();
    };
    QTRY_COMPARE(scrolled(), QStringLiteral("450项"));
    bar->setValue(0);
    bar->setValue(bar->maximum());
    QTest::qWait(50);
    QCOMPARE(markersOf(*m_drive).size(), 3);
    QStringList names = page.names();
    QCOMPARE(names.removeDuplicates(), 0);
}

void TestCloudFileList::aServerThatGivesLessThanAskedIsReadToTheEnd()
{
    m_drive->server().setPageCap(2);
    for (int number = 0; number < 7; ++number)
        m_drive->server().makeFile("文件" + std::to_string(number), "");
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("7项"));
}

void TestCloudFileList::aHeaderClickBetweenPagesLosesAndRepeatsNothing()
{
    for (int number = 0; number < 450; ++number)
        m_drive->server().makeFile(std::to_string(number), std::string(number, 'x'));
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("200项"));
    QTest::mouseClick(page.table()->horizontalHeader()->viewport(), Qt::LeftButton, {},
                      QPoint(400, 15));
    QScrollBar *bar = page.table()->verticalScrollBar();
    for (int turn = 0; turn < 20 && page.count() != QStringLiteral("450项"); ++turn) {
        bar->setValue(0);
        bar->setValue(bar->maximum());
        QTest::qWait(30);
    }
    QCOMPARE(page.count(), QStringLiteral("450项"));
    QStringList names = page.names();
    QCOMPARE(names.removeDuplicates(), 0);
    QCOMPARE(names.size(), 450);
}

void TestCloudFileList::appendingLeavesTheViewWhereItIs()
{
    for (int number = 0; number < 250; ++number)
        m_drive->server().makeFile(std::to_string(1000 + number), "");
    AppSettings().setFileListOrderBy(QStringLiteral("name"));
    AppSettings().setFileOrderDirection(QStringLiteral("ASC"));
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("200项"));
    page.table()->horizontalHeader()->setSortIndicator(0, Qt::AscendingOrder);
    page.table()->sortByHeader();
    page.table()->setCurrentCell(3, 0);
    QScrollBar *bar = page.table()->verticalScrollBar();
    bar->setValue(bar->maximum());
    const int place = bar->value();
    QTRY_COMPARE(page.count(), QStringLiteral("250项"));
    QCOMPARE(bar->value(), place);
    QCOMPARE(page.table()->currentRow(), 3);
}

void TestCloudFileList::anArrivingPageLeavesARenameAlone()
{
    for (int number = 0; number < 250; ++number)
        m_drive->server().makeFile(std::to_string(1000 + number), "");
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("200项"));
    page.table()->setCurrentCell(3, 0);
    m_drive->server().addFault(slowList());
    QScrollBar *bar = page.table()->verticalScrollBar();
    bar->setValue(bar->maximum());
    const QString renamed = page.table()->fileIdAt(198);
    page.table()->setCurrentCell(198, 0);
    page.table()->setFocus();
    QTest::keyClick(page.table(), Qt::Key_F2);
    const QPointer<QLineEdit> editor = page.table()->viewport()->findChild<QLineEdit *>();
    QVERIFY(editor);
    QTest::keyClicks(editor, QStringLiteral("half"));
    QTRY_COMPARE(page.count(), QStringLiteral("250项"));
    QVERIFY(editor);
    QCOMPARE(editor->text(), QStringLiteral("half"));
    QCOMPARE(page.table()->currentFileId(), renamed);
    QCOMPARE(page.table()->selectedFileIds(), QStringList{renamed});
    QCOMPARE(m_drive->requests(QStringLiteral("/adrive/v1.0/openFile/update")).size(), 0U);
}

void TestCloudFileList::aFailedFurtherPageIsNotAskedForAgain()
{
    m_drive->server().setPageCap(2);
    for (int number = 0; number < 3; ++number)
        m_drive->server().makeFile("文件" + std::to_string(number), "");
    localdrive::Fault fault = failingList(-1);
    fault.skip = 1;
    m_drive->server().addFault(fault);
    const DrivePage page(m_user);
    QTRY_COMPARE(markersOf(*m_drive).size(), 2);
    QTest::qWait(100);
    QCOMPARE(markersOf(*m_drive).size(), 2);
    QCOMPARE(page.count(), QStringLiteral("2项"));
}

void TestCloudFileList::aSearchLooksAtFurtherPages()
{
    m_drive->server().makeFile("找我.txt", "");
    QTest::qSleep(50);
    for (int number = 0; number < 450; ++number) // all newer, so on the pages before it
        m_drive->server().makeFile(std::to_string(1000 + number), "");
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("200项"));
    auto *search = page.child<QLineEdit>("fileNameSearch");
    search->setText(QStringLiteral("1")); // enough of them to scroll
    QTest::qWait(50);
    QCOMPARE(markersOf(*m_drive).size(), 1);
    search->setText(QStringLiteral("找我"));
    QTRY_COMPARE(page.names(), QStringList{QStringLiteral("找我.txt")});
    search->setFocus();
    QTest::keyClick(search, Qt::Key_Down);
    QVERIFY(page.table()->hasFocus());
    QCOMPARE(page.table()->currentRow(), page.rowOf(QStringLiteral("找我.txt")));
}

void TestCloudFileList::aHeaderClickSortsHereAndSavesTheOrder_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("orderBy");
    QTest::newRow("name") << 0 << QStringLiteral("name");
    QTest::newRow("size") << 1 << QStringLiteral("size");
    QTest::newRow("time") << 2 << QStringLiteral("updated_at");
    QTest::newRow("type") << 3 << QStringLiteral("updated_at");
}

void TestCloudFileList::aHeaderClickSortsHereAndSavesTheOrder()
{
    QFETCH(int, column);
    m_drive->server().makeFile("b", "1");
    m_drive->server().makeFile("a", "22");
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("2项"));
    QHeaderView *header = page.table()->horizontalHeader();
    const QPoint place(header->sectionViewportPosition(column) + 20, 15);
    QStringList directions;
    for (int click = 0; click < 2; ++click) {
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, place);
        QTEST(AppSettings().fileListOrderBy(), "orderBy");
        directions << AppSettings().fileOrderDirection();
        QCOMPARE(directions.last() == QLatin1String("DESC"),
                 header->sortIndicatorOrder() == Qt::DescendingOrder);
    }
    QVERIFY(directions.first() != directions.last());
    QTest::qWait(30);
    QCOMPARE(markersOf(*m_drive).size(), 1);
}

void TestCloudFileList::savesTheLayoutOnTheUsersChangesOnly()
{
    const auto stored = [] {
        FileListState state;
        state.sortIndex = -1;
        AppSettings().readFileListState(state);
        return state;
    };
    {
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), QStringLiteral("0项"));
        QCOMPARE(stored().sortIndex, -1);
        page.table()->horizontalHeader()->resizeSection(1, 140);
        QTest::mouseClick(page.table()->horizontalHeader()->viewport(), Qt::LeftButton, {},
                          QPoint(20, 15));
        page.child<QComboBox>("fileTypeList")->setCurrentText(QStringLiteral("视频"));
    }
    const FileListState state = stored();
    QCOMPARE(state.sortIndex, 0);
    QCOMPARE(state.columnSizeList, QList<int>({360, 140, 180, 90}));
    QCOMPARE(state.fileTypeList, QStringLiteral("视频"));

    const DrivePage page(m_user);
    FileListState restored;
    page.table()->storeState(restored);
    QCOMPARE(restored.sortIndex, state.sortIndex);
    QCOMPARE(restored.sortOrder, state.sortOrder);
    QCOMPARE(restored.columnSizeList, state.columnSizeList);
    QCOMPARE(page.child<QComboBox>("fileTypeList")->currentText(), QStringLiteral("视频"));
}

void TestCloudFileList::goesIntoFoldersAndBackWithoutAsking()
{
    m_drive->server().makeFolder("动画/第一季");
    m_drive->server().makeFile("动画/第一季/第1集.mkv", "");
    m_drive->server().makeFile("动画/第一季/第2集.mkv", "");
    m_drive->server().makeFolder("资料");
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("2项"));
    const QString opened = QStringLiteral("动画");
    page.select({opened});
    page.doubleClick(opened);
    QTRY_COMPARE(page.names(), QStringList{QStringLiteral("第一季")});
    QTRY_COMPARE(page.count(), QStringLiteral("1项"));
    page.doubleClick(QStringLiteral("第一季"));
    QTRY_COMPARE(page.count(), QStringLiteral("2项"));
    QCOMPARE(page.path(), QStringLiteral("首页>动画>第一季"));

    const int asked = markersOf(*m_drive).size();
    page.child<QToolButton>("btnBack")->click();
    QCOMPARE(page.path(), QStringLiteral("首页>动画"));
    QCOMPARE(page.names(), QStringList{QStringLiteral("第一季")});
    auto *path = page.child<QListView>("pathNavList");
    emit path->clicked(path->model()->index(0, 0));
    QCOMPARE(page.count(), QStringLiteral("2项"));
    QCOMPARE(page.table()->item(page.table()->currentRow(), 0)->text(), opened);
    page.child<QToolButton>("btnBack")->click();
    QCOMPARE(page.path(), QStringLiteral("首页"));
    QCOMPARE(markersOf(*m_drive).size(), asked);
}

void TestCloudFileList::aDoubleClickWhileLoadingOpensNothing()
{
    for (int number = 0; number < 250; ++number)
        m_drive->server().makeFile(std::to_string(number), "");
    QTest::qSleep(50);
    m_drive->server().makeFolder("动画"); // clearly the newest, so on the first page
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("200项"));
    m_drive->server().addFault(slowList());
    QScrollBar *bar = page.table()->verticalScrollBar();
    bar->setValue(bar->maximum());
    page.doubleClick(QStringLiteral("动画"));
    QCOMPARE(page.path(), QStringLiteral("首页"));
    QTRY_COMPARE(page.count(), QStringLiteral("251项"));
    QCOMPARE(markersOf(*m_drive).size(), 2);
}

void TestCloudFileList::aReplyBelongsToTheFolderThatAsked()
{
    m_drive->server().makeFile("慢/里面.txt", "");
    m_drive->server().makeFile("快/别的.txt", "");
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("2项"));
    m_drive->server().addFault(slowList());
    page.doubleClick(QStringLiteral("慢"));
    page.child<QToolButton>("btnBack")->click();
    QCOMPARE(page.names().size(), 2);
    page.doubleClick(QStringLiteral("快"));
    QTRY_COMPARE(page.names(), QStringList{QStringLiteral("别的.txt")});
    QTest::qWait(2 * int(Slowly.count()));
    QCOMPARE(page.names(), QStringList{QStringLiteral("别的.txt")});
    QCOMPARE(page.path(), QStringLiteral("首页>快"));
}

void TestCloudFileList::refreshesAfterTheRunningRequest()
{
    m_drive->server().makeFile("旧.txt", "");
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("1项"));
    m_drive->server().addFault(slowList());
    page.child<QLineEdit>("fileNameSearch")->setText(QStringLiteral("x"));
    page.child<QToolButton>("btnRefresh")->click();
    QTRY_COMPARE(markersOf(*m_drive).size(), 2);
    QTest::qWait(int(Slowly.count()) / 2);
    m_drive->server().makeFile("新.txt", "");
    page.child<QToolButton>("btnRefresh")->click();
    page.child<QToolButton>("btnRefresh")->click();
    QTRY_COMPARE(markersOf(*m_drive).size(), 3);
    QTRY_COMPARE(page.count(), QStringLiteral("2项"));
    QTest::qWait(50);
    QCOMPARE(markersOf(*m_drive).size(), 3);
    QCOMPARE(page.child<QLineEdit>("fileNameSearch")->text(), QString());
    QTRY_COMPARE(m_drive->requests(QStringLiteral("/adrive/v1.0/user/getSpaceInfo")).size(), 4U);
}

void TestCloudFileList::aFailureLeavesARetry()
{
    m_drive->server().makeFile("a.txt", "");
    m_drive->server().addFault(failingList());
    const LogCapture log;
    const DrivePage page(m_user);
    QTRY_VERIFY(log.lines().join(QLatin1Char('\n')).contains(QLatin1String("getFileList fail :")));
    QTRY_VERIFY(!page.table()->findChild<WaitingSpinnerWidget *>()->isSpinning());
    QCOMPARE(page.table()->rowCount(), 0);
    QVERIFY(toasts().isEmpty());
    page.child<QToolButton>("btnRefresh")->click();
    QTRY_COMPARE(page.names(), QStringList{QStringLiteral("a.txt")});
}

void TestCloudFileList::anEmptyFolderSaysSo()
{
    m_drive->server().makeFolder("空");
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("1项"));
    page.doubleClick(QStringLiteral("空"));
    QTRY_COMPARE(page.count(), QStringLiteral("0项"));
    const auto drawn = [&page] {
        const QImage picture = page.table()->viewport()->grab().toImage();
        QRect middle(0, 0, 120, 100);
        middle.moveCenter(picture.rect().center());
        QImage blank(middle.size(), picture.format());
        blank.fill(picture.pixelColor(5, 5));
        return picture.copy(middle) != blank;
    };
    QVERIFY(drawn());
    page.child<QToolButton>("btnBack")->click();
    QVERIFY(page.table()->rowCount() > 0);
}

void TestCloudFileList::searchAndTypeWorkTogether()
{
    m_drive->server().makeFolder("动画");
    for (const char *name : {"第1集.mkv", "第2集.mkv", "第1集.srt", "音乐.mp3", "a.zip"})
        m_drive->server().makeFile(name, "");
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("6项"));
    auto *types = page.child<QComboBox>("fileTypeList");
    QStringList texts;
    for (int index = 0; index < types->count(); ++index)
        texts << types->itemText(index);
    QCOMPARE(texts.join(QLatin1Char(' ')),
             QStringLiteral("全部 文件夹 视频 音频 图片 文档 压缩包 其他"));
    auto *search = page.child<QLineEdit>("fileNameSearch");
    QVERIFY(search->isClearButtonEnabled());
    QTest::keyClicks(search, QStringLiteral("1"));
    QCOMPARE(page.names().size(), 2);
    types->setCurrentText(QStringLiteral("视频"));
    QCOMPARE(page.names(), QStringList{QStringLiteral("第1集.mkv")});
    search->clear();
    QCOMPARE(page.names().size(), 2);
    QCOMPARE(page.count(), QStringLiteral("6项"));
    types->setCurrentText(QStringLiteral("全部"));
    QCOMPARE(page.names().size(), 6);
}

void TestCloudFileList::keysWorkEverywhereOnThePage()
{
    m_drive->server().makeFile("动画/a.txt", "");
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("1项"));
    page.table()->setFocus();
    QTest::keyClick(page.table(), Qt::Key_Return);
    QTRY_COMPARE(page.names(), QStringList{QStringLiteral("a.txt")});
    QTest::keyClick(page.table(), Qt::Key_F, Qt::ControlModifier);
    auto *search = page.child<QLineEdit>("fileNameSearch");
    QTRY_VERIFY(search->hasFocus());
    const int asked = markersOf(*m_drive).size();
    QTest::keyClick(search, Qt::Key_F5);
    QTRY_COMPARE(markersOf(*m_drive).size(), asked + 1);
    QTRY_COMPARE(page.count(), QStringLiteral("1项"));
    search->setText(QStringLiteral("ab"));
    QTest::keyClick(search, Qt::Key_Backspace);
    QCOMPARE(search->text(), QStringLiteral("a"));
    for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return, Qt::Key_Enter})
        QTest::keyClick(search, key);
    QVERIFY(page.dialog.isVisible());
    page.table()->setFocus();
    QTest::keyClick(page.table(), Qt::Key_Escape);
    QVERIFY(page.dialog.isVisible());
    QTest::keyClick(page.table(), Qt::Key_Backspace);
    QCOMPARE(page.path(), QStringLiteral("首页"));
}

void TestCloudFileList::opensVideosWithTheirHistory()
{
    for (const char *name : {"第10集.mkv", "第2集.mkv", "第1集.mkv", "说明.txt"})
        m_drive->server().makeFile(name, "");
    const QString watched = text(m_drive->server().fileId("第2集.mkv"));
    PlayHistory history;
    history.fileId = watched;
    history.userId = m_user.userId.value();
    history.playPosition = 70;
    history.duration = 100;
    savePlayHistory(history);

    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("4项"));
    page.table()->horizontalHeader()->setSortIndicator(0, Qt::AscendingOrder);
    page.table()->sortByHeader();
    PlayRequest request;
    connect(&page.dialog, &CloudFileDialog::videoOpenRequested, this,
            [&request](const PlayRequest &wanted) { request = wanted; });
    page.doubleClick(QStringLiteral("第2集.mkv"));
    QCOMPARE(request.file.file_id, watched);
    QCOMPARE(request.history.playPosition.value(), 70);
    QCOMPARE(request.user.userId.value(), m_user.userId.value());
    QStringList videos;
    for (const FileItem &video : request.videos)
        videos << video.name;
    QCOMPARE(videos, QStringList({QStringLiteral("第1集.mkv"), QStringLiteral("第2集.mkv"),
                                  QStringLiteral("第10集.mkv")}));

    page.doubleClick(QStringLiteral("第1集.mkv"));
    QVERIFY(request.history.id.isNull());
    QCOMPARE(request.history.fileId.value(), request.file.file_id);
    QCOMPARE(request.history.parentFileId.value(), QStringLiteral("root"));
    QCOMPARE(request.history.userId.value(), m_user.userId.value());
    QCOMPARE(request.history.name.value(), QStringLiteral("第1集.mkv"));
}

void TestCloudFileList::opensNothingElse()
{
    m_drive->server().makeFile("a.txt", "");
    const DrivePage page(m_user);
    QTRY_COMPARE(page.count(), QStringLiteral("1项"));
    const QSignalSpy opened(&page.dialog, &CloudFileDialog::videoOpenRequested);
    page.doubleClick(QStringLiteral("a.txt"));
    QCOMPARE(opened.size(), 0);
    QCOMPARE(page.path(), QStringLiteral("首页"));
}

void TestCloudFileList::tellsTheDiskSpaceOfTheTabThatIsShown_data()
{
    QTest::addColumn<bool>("isCurrent");
    QTest::newRow("the tab shown") << true;
    QTest::newRow("a tab behind it") << false;
}

void TestCloudFileList::tellsTheDiskSpaceOfTheTabThatIsShown()
{
    QFETCH(bool, isCurrent);
    m_drive->server().makeFile("a.txt", std::string(1536, 'x'));
    QTabWidget tabs;
    if (!isCurrent)
        tabs.addTab(new QWidget, QString());
    DrivePage page(m_user);
    tabs.addTab(&page.dialog, QString());
    QString told;
    connect(&page.dialog, &CloudFileDialog::refreshDiskSpace, this,
            [&told](QString &info) { told = info; });
    const QString expected = QStringLiteral("1.50 KB / 1.00 TB");
    QTRY_COMPARE(page.dialog.diskSpace(), expected);
    QCOMPARE(told, isCurrent ? expected : QString());
}

void TestCloudFileList::offersTheQualities()
{
    AppSettings().setVideoQuality(QStringLiteral("HD"));
    const DrivePage page(m_user);
    auto *button = page.child<QToolButton>("btnVideoQuality");
    QCOMPARE(button->text(), QStringLiteral("高清720p"));
    QStringList texts;
    QStringList checked;
    for (const QAction *action : button->menu()->actions()) {
        texts << action->text();
        if (action->isChecked())
            checked << action->text();
    }
    QCOMPARE(texts.join(QLatin1Char(' ')),
             QStringLiteral("原画 超清1440p 全高清1080p 高清720p 标清540p 流畅360p"));
    QCOMPARE(checked, QStringList{QStringLiteral("高清720p")});
    const QSignalSpy changes(&page.dialog, &CloudFileDialog::listSettingsChanged);
    button->menu()->actions().first()->trigger();
    QCOMPARE(AppSettings().videoQuality(), QStringLiteral("OrgHD"));
    QCOMPARE(button->text(), QStringLiteral("原画"));
    QCOMPARE(changes.size(), 1);
}

void TestCloudFileList::aPageThatIsGoneDropsItsReplies()
{
    m_drive->server().addFault(slowList());
    const LogCapture log;
    {
        const DrivePage page(m_user);
        QTRY_COMPARE(markersOf(*m_drive).size(), 1);
    }
    QTRY_VERIFY(log.lines().contains(QStringLiteral("dialog is destoryed, exit getFileList.")));
}

QTEST_MAIN(TestCloudFileList)
#include "tst_cloud_file_list.moc"
