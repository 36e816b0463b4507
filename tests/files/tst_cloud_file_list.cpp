// A user's page as far as it shows and walks folders.

#include <filesystem>

#include <QComboBox>
#include <QHeaderView>
#include <QPushButton>
#include <QSignalSpy>
#include <QToolButton>
#include <QWheelEvent>

#include "api/session/open_api_client.h"
#include "app/environment/app_settings.h"
#include "files/drive_page.h"
#include "player/session/play_request.h"
#include "ui/widgets/waiting_spinner_widget.h"

namespace {

const QString ListPath = "/adrive/v1.0/openFile/list";
const std::string List = "/openFile/list";

QStringList markersOf(const DriveFixture &drive)
{
    QStringList markers;
    for (const localdrive::RequestRecord &request : drive.requests(ListPath)) {
        markers << bodyOf(request).value("marker").toString();
    }
    return markers;
}

void clickHeader(const DrivePage &page, int column)
{
    QHeaderView *header = page.table()->horizontalHeader();
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                      QPoint(header->sectionViewportPosition(column) + 20, 15));
}

void chooseType(const DrivePage &page, const QString &type)
{
    page.child<QComboBox>("fileTypeList")->setCurrentText(type);
}

void turnWheelDown(const DrivePage &page)
{
    const QPoint place(100, 100);
    QWheelEvent event(place, page.table()->viewport()->mapToGlobal(place), QPoint(),
                      QPoint(0, -120), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(page.table()->viewport(), &event);
}

QString currentName(const DrivePage &page)
{
    const QTableWidgetItem *item = page.table()->item(page.table()->currentRow(), 0);
    return item ? item->text() : QString();
}

QString topName(const DrivePage &page)
{
    return page.table()->item(page.table()->rowAt(0), 0)->text();
}

} // namespace

class TestCloudFileList final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_drive = std::make_unique<DriveFixture>(2, ratelessRules());
        m_user = logInAs(*m_drive, "小明");
    }
    void cleanup()
    {
        settle(*m_drive);
        m_drive.reset();
    }

    void showsTheRootFolder()
    {
        make({"动画/", "说明.txt"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "2项");
        QCOMPARE(page.names(), QStringList({"动画", "说明.txt"}));
        QCOMPARE(page.table()->fileIdAt(1), text(m_drive->server().fileId("说明.txt")));
        QCOMPARE(page.table()->item(1, 1)->text(), "1.00 B");
        QCOMPARE(page.table()->item(1, 3)->text(), "文档");
        QCOMPARE(page.table()->currentRow(), 0);
        const QJsonObject body = bodyOf(m_drive->requests(ListPath).front());
        QCOMPARE(body.value("parent_file_id").toString(), "root");
        QCOMPARE(body.value("limit").toInt(), 200);
    }

    // A folder, 348 texts and, behind all of them, the only archive; by name, on two pages.
    void theFolderGoesOn_data()
    {
        QTest::addColumn<QString>("count");
        QTest::addColumn<int>("shown");
        QTest::newRow("at its end") << "350项" << 350;
        QTest::newRow("in a window that grew") << "350项" << 350;
        QTest::newRow("once its rows were deleted") << "150项" << 150;
        QTest::newRow("for a search") << "350项" << 1;
        QTest::newRow("for a type") << "350项" << 1;
        QTest::newRow("for a type chosen in a folder below") << "350项" << 1;
        QTest::newRow("for a type after a reload") << "350项" << 1;
        QTest::newRow("not before its end") << "200项" << 200;
    }
    static void makeItGoOn(const DrivePage &page, const QString &title)
    {
        QScrollBar *bar = page.table()->verticalScrollBar();
        if (title.endsWith("its end")) {
            bar->setValue(bar->maximum() - (title.startsWith("not") ? 1 : 0));
        } else if (title.contains("window")) {
            page.table()->window()->resize(900, 13000);
        } else if (title.contains("deleted")) {
            page.table()->selectAll();
            page.press("btnDelete");
            QTRY_VERIFY(page.rowOf("找我.zip") >= 0);
        } else if (title.contains("search")) {
            page.search("找我");
        } else {
            const bool isBelow = title.contains("below");
            if (isBelow) {
                page.doubleClick("0");
                QTRY_COMPARE(page.count(), "0项");
            }
            chooseType(page, "压缩包");
            page.press(isBelow ? "btnBack" : title.contains("reload") ? "btnRefresh" : "btnRetry");
        }
    }
    void theFolderGoesOn()
    {
        makeTwoPages();
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "200项");
        QCOMPARE(page.dialog.listStatus(), "还有更多");
        makeItGoOn(page, QTest::currentDataTag());
        QFETCH(QString, count);
        QTRY_COMPARE(page.count(), count);
        QTEST(page.names().size(), "shown");
        settle(*m_drive);
        QCOMPARE(page.count(), count);
        QStringList names = page.names();
        QCOMPARE(names.removeDuplicates(), 0);
    }

    void aSearchStopsWhenItsTextIsCleared()
    {
        makeTwoPages();
        m_drive->server().setPageCap(50);
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "50项");
        m_drive->server().addFault(FaultOn(List).after(1).holds());
        page.search("找我");
        QTRY_COMPARE(page.dialog.listStatus(), "显示 0 / 100 项，正在加载…");
        QCOMPARE(page.table()->notice().text, QString());
        page.search("");
        m_drive->server().clearFaults();
        QTRY_COMPARE(page.dialog.listStatus(), "还有更多");
        settle(*m_drive);
        QCOMPARE(markersOf(*m_drive).size(), 3);
    }

    void tellsTheRestInTheStatus()
    {
        make({"a1.txt", "b.txt"});
        m_drive->server().makeFile("a2.txt", std::string(2048, 'x'));
        m_drive->server().makeFolder("folder");
        const DrivePage page(m_user);
        QSignalSpy told(&page.dialog, &CloudFileDialog::listStatusChanged);
        QCOMPARE(page.dialog.listStatus(), "正在加载…");
        QTRY_COMPARE(page.dialog.listStatus(), "");
        page.table()->selectAll();
        QCOMPARE(page.dialog.listStatus(), "已选 4 项（文件 2.00 KB）");
        page.search("a");
        QCOMPARE(page.dialog.listStatus(), "显示 2 / 4 项，已选 2 项（2.00 KB）");
        page.search("r");
        QCOMPARE(page.dialog.listStatus(), "显示 1 / 4 项");
        QCOMPARE(told.last().first().toString(), page.dialog.listStatus());
    }

    // The second page fails once, with nothing that matches on the first one or with rows in sight.
    void aFailedPageIsTriedAgain_data()
    {
        QTest::addColumn<QString>("search");
        QTest::newRow("by a click") << "";
        QTest::newRow("at the next scroll to the end") << "";
        QTest::newRow("by the wheel at the end") << "";
        QTest::newRow("by F5") << "";
        QTest::newRow("where nothing is found yet") << "找我";
        QTest::newRow("when the drive is back") << "";
    }
    void tryAgain(const DrivePage &page, const QString &title) const
    {
        const bool hasRows = !title.startsWith("where");
        QCOMPARE(page.child<QPushButton>("btnRetry")->isVisible(), hasRows);
        QCOMPARE(page.table()->notice().text, "加载失败，点击重试");
        if (title == "by a click") {
            page.press("btnRetry");
        } else if (title.contains("wheel")) {
            turnWheelDown(page);
        } else if (title.contains("F5")) {
            QTest::keyClick(page.table(), Qt::Key_F5);
            QTRY_COMPARE(page.count(), "200项");
        } else if (!hasRows) {
            QTest::mouseClick(page.table()->viewport(), Qt::LeftButton, {}, QPoint(300, 200));
        }
        if (title.contains("drive")) {
            OpenApiClient(m_user).vipInfo({}, {}); // somebody has a reply
        }
        if (title.contains("scroll") || title.contains("F5")) {
            page.scrollToEnd();
        }
    }
    void aFailedPageIsTriedAgain()
    {
        QFETCH(QString, search);
        makeTwoPages();
        FaultOn fault = FaultOn(List).after(1).times(2);
        const bool isLost = QByteArray(QTest::currentDataTag()).startsWith("when");
        m_drive->server().addFault(isLost ? fault.cuts() : fault.status(500));
        if (isLost) {
            m_drive->server().addFault(FaultOn("getSpaceInfo").times(2).status(500));
        }
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "200项");
        page.scrollToEnd();
        page.search(search);
        QTRY_VERIFY(page.dialog.listStatus().endsWith("加载失败"));
        settle(*m_drive);
        QCOMPARE(markersOf(*m_drive).size(), 3);
        tryAgain(page, QTest::currentDataTag());
        QTRY_COMPARE(page.count(), "350项");
        QVERIFY(!page.child<QPushButton>("btnRetry")->isVisible());
        QVERIFY(page.rowOf("找我.zip") >= 0);
        QTRY_VERIFY(!page.dialog.diskSpace().isEmpty());
    }

    void saysWhyThereIsNothing_data()
    {
        QTest::addColumn<QString>("search");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("notice");
        QTest::newRow("an empty folder") << "" << 200 << "这个文件夹是空的";
        QTest::newRow("nothing found") << "x" << 200 << "没有符合条件的文件";
        QTest::newRow("a folder that failed") << "" << 500 << "加载失败，点击重试";
        QTest::newRow("an answer that is no list") << "" << 0 << "加载失败，点击重试";
    }
    void saysWhyThereIsNothing()
    {
        QFETCH(QString, search);
        QFETCH(int, status);
        if (!search.isEmpty()) {
            make({"a"});
        }
        const LogCapture log;
        FaultOn fault(List);
        m_drive->server().addFault(status == 0 ? fault.body("<html>")
                                               : fault.times(status == 500 ? 2 : 0).status(500));
        const DrivePage page(m_user);
        page.search(search);
        QTRY_COMPARE(page.dialog.listStatus().isEmpty(), search.isEmpty() && status == 200);
        QTRY_VERIFY(!page.table()->findChild<WaitingSpinnerWidget *>()->isSpinning());
        QTEST(page.table()->notice().text, "notice");
        QCOMPARE(log.lines().filter("getFileList fail :").size(), status == 200 ? 0 : 1);
        const QImage picture = page.table()->viewport()->grab().toImage();
        QRect middle(0, 0, 120, 100);
        middle.moveCenter(picture.rect().center());
        QImage blank(middle.size(), picture.format());
        blank.fill(picture.pixelColor(5, 5));
        QVERIFY(picture.copy(middle) != blank);
        make({"x"});
        page.press("btnRefresh");
        QTRY_VERIFY(page.rowOf("x") >= 0);
        m_drive->server().addFault(FaultOn(List).always().status(500));
        page.press("btnRefresh");
        QTRY_COMPARE(page.count(), "0项");
    }

    void whatFailedIsLoadedWhenTheDriveIsBack()
    {
        make({"a"});
        m_drive->server().addFault(FaultOn(List).times(2).closes());
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "1项");
    }

    // More pages of entries that are there already than a drive may send empty ones.
    void sortingToAndFroLosesNothing()
    {
        makeTwoPages();
        m_drive->server().setPageCap(10);
        DrivePage page(m_user);
        page.dialog.resize(900, 13000);
        QTRY_VERIFY(page.table()->rowCount() > 220);
        settle(*m_drive);
        const int loaded = page.table()->rowCount();
        clickHeader(page, 0);
        page.scrollToEnd();
        QTRY_COMPARE(page.table()->rowCount(), loaded + 10);
        clickHeader(page, 0);
        page.search("找我");
        QTRY_COMPARE(page.count(), "350项");
        QVERIFY(markersOf(*m_drive).size() > 60);
    }

    void aReloadFindsWhatIsSelectedBehindManyNewEntries()
    {
        makeTwoPages();
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "200项");
        page.scrollToEnd();
        QTRY_COMPARE(page.count(), "350项");
        page.select({"1100", "1101", "1340"});
        const QStringList selected = page.table()->selectedFileIds();
        for (int number = 100; number < 500; ++number) {
            make({"0" + std::to_string(number)});
        }
        page.press("btnRefresh");
        QTRY_COMPARE(page.table()->rowCount(), 0);
        QTRY_COMPARE(page.table()->selectedFileIds(), selected);
        QCOMPARE(currentName(page), "1340");
    }

    void aReloadKeepsThePlace_data()
    {
        QTest::addColumn<int>("current");
        QTest::addColumn<int>("top");
        QTest::addColumn<QString>("lost");
        QTest::newRow("deep in the folder") << 320 << 315 << "";
        QTest::newRow("the end in sight, another row current") << 5 << 338 << "";
        QTest::newRow("at its top") << 3 << 0 << "";
        QTest::newRow("where the current file has gone") << 320 << 315 << "1320";
    }
    void aReloadKeepsThePlace()
    {
        QFETCH(int, current);
        QFETCH(int, top);
        QFETCH(QString, lost);
        makeTwoPages();
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "200项");
        page.scrollToEnd();
        QTRY_COMPARE(page.count(), "350项");
        page.table()->setCurrentCell(current, 0);
        page.table()->verticalScrollBar()->setValue(top);
        const QString shownFirst = topName(page);
        const QString name =
            lost.isEmpty() ? currentName(page) : page.table()->item(current + 1, 0)->text();
        if (!lost.isEmpty()) {
            QCOMPARE(currentName(page), lost);
            std::filesystem::remove(m_drive->server().rootPath() + "/" + lost.toStdString());
        }
        QTest::keyClick(page.table(), Qt::Key_F5);
        QTRY_COMPARE(page.table()->rowCount(), 0);
        QTRY_COMPARE(currentName(page), name);
        QTRY_COMPARE(topName(page), shownFirst);
        QCOMPARE(page.table()->selectedFileIds(), QStringList{page.table()->currentFileId()});
    }

    // Long before the answer that is under way is there.
    void aSlowAnswerHoldsNobody_data()
    {
        QTest::addColumn<int>("answers");
        QTest::addColumn<QString>("names");
        QTest::newRow("F5 while the first page loads") << 0 << "快 慢";
        QTest::newRow("a folder while a further page loads") << 1 << "别的.txt";
        QTest::newRow("back, and another folder") << 1 << "别的.txt";
    }
    void aSlowAnswerHoldsNobody()
    {
        QFETCH(int, answers);
        QFETCH(QString, names);
        const QString title = QTest::currentDataTag();
        make({"快/别的.txt", "慢/里面.txt"});
        sortByName();
        if (title.contains("further")) {
            make({"末.txt"});
            m_drive->server().setPageCap(2);
        }
        m_drive->server().addFault(FaultOn(List).after(answers).holds());
        const DrivePage page(m_user);
        QTRY_COMPARE(page.names().size(), 2 * answers);
        if (title.startsWith("back")) {
            page.doubleClick("慢");
        }
        QTRY_COMPARE(markersOf(*m_drive).size(), answers + 1);
        if (title.startsWith("back")) {
            AppSettings().setVideoQuality("HD");
            page.press("btnBack");
            QCOMPARE(page.names().size(), 2);
            QCOMPARE(page.child<QToolButton>("btnVideoQuality")->text(), "高清720p");
        }
        if (answers == 0) {
            QTest::keyClick(page.table(), Qt::Key_F5);
        } else {
            page.doubleClick("快");
        }
        QTRY_COMPARE(page.names().join(' '), names);
        m_drive->server().clearFaults();
        settle(*m_drive); // the late answer
        QCOMPARE(page.names().join(' '), names);
    }

    void appendingLeavesTheViewAndARenameAlone()
    {
        makeTwoPages();
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "200项");
        page.scrollToEnd();
        const int place = page.table()->verticalScrollBar()->value();
        const QString renamed = page.table()->fileIdAt(198);
        page.table()->setCurrentCell(198, 0);
        page.table()->setFocus();
        QTest::keyClick(page.table(), Qt::Key_F2);
        const QPointer<QLineEdit> editor = page.table()->viewport()->findChild<QLineEdit *>();
        QVERIFY(editor);
        QTest::keyClicks(editor, "half");
        QTRY_COMPARE(page.count(), "350项");
        QCOMPARE(page.table()->verticalScrollBar()->value(), place);
        QVERIFY(editor);
        QVERIFY(editor->text().startsWith("half"));
        QCOMPARE(page.table()->selectedFileIds(), QStringList{renamed});
        QCOMPARE(m_drive->requests("/adrive/v1.0/openFile/update").size(), 0U);
    }

    void aHeaderClickSortsHereAndSavesTheOrder_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("order");
        QTest::newRow("name") << 0 << "name ASC name DESC";
        QTest::newRow("size") << 1 << "size ASC size DESC";
        QTest::newRow("the column sorted by") << 2 << "updated_at ASC updated_at DESC";
        QTest::newRow("type, by which no drive orders") << 3 << "updated_at ASC updated_at DESC";
    }
    void aHeaderClickSortsHereAndSavesTheOrder()
    {
        QFETCH(int, column);
        make({"b", "a"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "2项");
        const QHeaderView *header = page.table()->horizontalHeader();
        QStringList saved;
        for (int click = 0; click < 2; ++click) {
            clickHeader(page, column);
            const QString direction = AppSettings().fileOrderDirection();
            saved << AppSettings().fileListOrderBy() + " " + direction;
            QCOMPARE(direction == "DESC", header->sortIndicatorOrder() == Qt::DescendingOrder);
        }
        QTEST(saved.join(' '), "order");
        settle(*m_drive);
        QCOMPARE(markersOf(*m_drive).size(), 1);
    }

    void savesTheLayoutOnTheUsersChangesOnly()
    {
        const auto stored = [] {
            FileListState state;
            AppSettings().readFileListState(state);
            return recordToText(state);
        };
        {
            const QString untouched = stored();
            const DrivePage page(m_user);
            QCOMPARE(stored(), untouched);
            page.table()->horizontalHeader()->resizeSection(1, 140);
            clickHeader(page, 0);
            chooseType(page, "视频");
        }
        const DrivePage page(m_user);
        FileListState restored;
        page.table()->storeState(restored);
        QCOMPARE(restored.sortIndex, 0);
        QCOMPARE(restored.columnSizeList, QList<int>({360, 140, 180, 90}));
        restored.fileTypeList = page.child<QComboBox>("fileTypeList")->currentText();
        QCOMPARE(restored.fileTypeList, "视频");
        QCOMPARE(stored(), recordToText(restored));
    }

    void goesIntoFoldersAndBackWithoutAsking()
    {
        make({"动画/第一季/第1集.mkv", "动画/第一季/第2集.mkv", "资料/"});
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "2项");
        page.doubleClick("动画");
        QTRY_COMPARE(page.names(), QStringList{"第一季"});
        page.doubleClick("第一季");
        QTRY_COMPARE(page.count(), "2项");
        QCOMPARE(page.path(), "首页>动画>第一季");
        page.press("btnBack");
        QCOMPARE(page.path(), "首页>动画");
        QCOMPARE(page.names(), QStringList{"第一季"});
        auto *path = page.child<QAbstractItemView>("pathNavList");
        emit path->clicked(path->model()->index(0, 0));
        QCOMPARE(page.count(), "2项");
        QCOMPARE(currentName(page), "动画");
        page.press("btnBack");
        QCOMPARE(page.path(), "首页");
        QCOMPARE(markersOf(*m_drive).size(), 3);
    }

    void keysGoWhereTheyBelong()
    {
        make({"动画/a.txt", "动画/b1.txt", "动画/b2.txt", "动画/B3.txt"});
        sortByName();
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "1项");
        FileTable *table = page.table();
        table->setFocus();
        QTest::keyClick(table, Qt::Key_Return);
        QTRY_COMPARE(page.count(), "4项");
        for (const char *found : {"b1.txt", "b2.txt", "B3.txt", "b1.txt"}) {
            QTest::keyClick(table, Qt::Key_B);
            QCOMPARE(currentName(page), found);
        }
        QTest::keyClick(table, Qt::Key_F, Qt::ControlModifier);
        auto *search = page.child<QLineEdit>("fileNameSearch");
        QTRY_VERIFY(search->hasFocus());
        page.search("b2x");
        QTest::keyClick(search, Qt::Key_Backspace);
        QCOMPARE(search->text(), "b2");
        QTest::keyClick(search, Qt::Key_Down);
        QVERIFY(table->hasFocus());
        QCOMPARE(currentName(page), "b2.txt");
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape}) {
            search->setFocus();
            QTest::keyClick(search, key);
        }
        QCOMPARE(search->text(), "");
        page.child<QWidget>("btnRefresh")->setFocus();
        QTest::keyClick(page.child<QWidget>("btnRefresh"), Qt::Key_Delete);
        table->setFocus();
        QTest::keyClick(table, Qt::Key_Escape);
        QVERIFY(page.dialog.isVisible());
        QTest::keyClick(table, Qt::Key_Up, Qt::AltModifier);
        QCOMPARE(page.path(), "首页");
        table->selectRow(0);
        QTest::keyClick(table, Qt::Key_Return);
        QTest::keyClick(table, Qt::Key_Backspace);
        QCOMPARE(page.path(), "首页");
        settle(*m_drive);
        QCOMPARE(m_drive->requests("/adrive/v1.0/openFile/recyclebin/trash").size(), 0U);
    }

    void opensVideosWithTheirHistory()
    {
        make({"动画/第10集.mkv", "动画/第2集.mkv", "动画/第1集.mkv", "动画/说明.txt"});
        const QString watched = text(m_drive->server().fileId("动画/第2集.mkv"));
        PlayHistory history;
        history.fileId = watched;
        history.userId = m_user.userId.value();
        history.playPosition = 70;
        history.duration = 100;
        savePlayHistory(history);
        sortByName();
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "1项");
        page.doubleClick("动画");
        QTRY_COMPARE(page.count(), "4项");
        PlayRequest request;
        int opened = 0;
        connect(&page.dialog, &CloudFileDialog::videoOpenRequested, this,
                [&](const PlayRequest &wanted) {
                    request = wanted;
                    ++opened;
                });
        page.doubleClick("说明.txt");
        QCOMPARE(opened, 0);
        QCOMPARE(toasts(), QStringList{"这个文件不是视频，无法播放"});
        closeToasts();
        page.doubleClick("第2集.mkv");
        QCOMPARE(request.file.file_id, watched);
        QCOMPARE(request.history.playPosition.value(), 70);
        QStringList videos;
        for (const FileItem &video : request.videos) {
            videos << video.name;
        }
        QCOMPARE(videos, QStringList({"第1集.mkv", "第2集.mkv", "第10集.mkv"}));

        page.doubleClick("第1集.mkv");
        QVERIFY(request.history.id.isNull());
        const QStringList row{request.history.fileId.value(), request.history.parentFileId.value(),
                              request.history.userId.value(), request.history.name.value()};
        QCOMPARE(row, QStringList({request.file.file_id, text(m_drive->server().fileId("动画")),
                                   m_user.userId.value(), "第1集.mkv"}));
    }

    // In words, as a screen reader has them.
    void showsWhatWasWatched()
    {
        make({"第1集.mkv", "第2集.mkv", "第3集.mkv", "说明.txt"});
        sortByName();
        watchedTo("第1集.mkv", 100);
        watchedTo("第3集.mkv", 45);
        const PlayHistory second = watchedTo("第2集.mkv", 80);
        DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "4项");
        const QSignalSpy edits(page.table(), &QTableWidget::cellChanged);
        QTRY_COMPARE(spoken(page), "第1集.mkv，视频，已看完 第2集.mkv，视频，看到 80%，上次播放 "
                                   "第3集.mkv，视频，看到 45% 说明.txt，文档");
        // Played before, but the folder's own word goes first.
        FolderSetting folder;
        folder.folderId = QString("root");
        folder.userId = m_user.userId.value();
        folder.lastPlayFileId = text(m_drive->server().fileId("第3集.mkv"));
        saveFolderSetting(folder);
        page.dialog.showWatched(watchedTo("第3集.mkv", 60));
        clickHeader(page, FileTable::NameColumn);
        QCOMPARE(spoken(page), "说明.txt，文档 第3集.mkv，视频，看到 60%，上次播放 "
                               "第2集.mkv，视频，看到 80% 第1集.mkv，视频，已看完");
        folder.skipTailPos = 30;
        saveFolderSetting(folder);
        page.dialog.showWatched(second);
        QTRY_COMPARE(spoken(page), "说明.txt，文档 第3集.mkv，视频，看到 60%，上次播放 "
                                   "第2集.mkv，视频，已看完 第1集.mkv，视频，已看完");
        removePlayHistory(folder.lastPlayFileId.value());
        page.dialog.reloadWatched();
        QTRY_COMPARE(spoken(page),
                     "说明.txt，文档 第3集.mkv，视频 第2集.mkv，视频，已看完，上次播放 "
                     "第1集.mkv，视频，已看完");
        clearPlayHistory();
        page.press("btnRefresh");
        QTRY_COMPARE(spoken(page),
                     "说明.txt，文档 第3集.mkv，视频 第2集.mkv，视频 第1集.mkv，视频");
        QVERIFY(edits.isEmpty());
    }

    // Which are read after the rows came, when these may have gone or moved.
    void signsOfWhatWasWatchedFindTheirRows()
    {
        make({"第1集.mkv", "第2集.mkv", "第3集.mkv", "说明.txt"});
        sortByName();
        watchedTo("第1集.mkv", 45);
        watchedTo("第3集.mkv", 60);
        const DrivePage page(m_user);
        QString atFirst;
        connect(page.table(), &FileTable::videosAdded, this, [&](const QStringList &videos) {
            if (!videos.isEmpty()) {
                atFirst = spoken(page);
                page.table()->removeFile(page.table()->fileIdAt(0));
                page.table()->setFilter("第", std::nullopt);
                clickHeader(page, FileTable::NameColumn);
            }
        });
        QTRY_COMPARE(spoken(page),
                     "说明.txt，文档 第3集.mkv，视频，看到 60%，上次播放 第2集.mkv，视频");
        QCOMPARE(atFirst, "第1集.mkv，视频 第2集.mkv，视频 第3集.mkv，视频 说明.txt，文档");
    }

    void tellsTheDiskSpaceOfTheCurrentUser()
    {
        m_drive->server().makeFile("a.txt", std::string(1536, 'x'));
        DrivePage other(m_user);
        DrivePage current(logInAs(*m_drive, "小红", 1));
        QStringList told;
        for (DrivePage *page : {&other, &current}) {
            connect(&page->dialog, &CloudFileDialog::refreshDiskSpace, this,
                    [&told](QString &info) { told << info; });
        }
        QTRY_COMPARE(current.dialog.diskSpace(), "0.00 B / 1.00 TB");
        QTRY_COMPARE(other.dialog.diskSpace(), "1.50 KB / 1.00 TB");
        QCOMPARE(told, QStringList{"0.00 B / 1.00 TB"});
    }

    void keepsTheNewestDiskSpace()
    {
        const std::string early = R"({"personal_space_info":{"used_size":5,"total_size":6}})";
        m_drive->server().addFault(FaultOn("getSpaceInfo").body(early).delay(500));
        const DrivePage page(m_user);
        QTRY_COMPARE(m_drive->requests("/adrive/v1.0/user/getSpaceInfo").size(), 1U);
        page.press("btnRefresh");
        QTRY_VERIFY(!page.dialog.diskSpace().isEmpty());
        m_drive->server().addFault(FaultOn("getSpaceInfo").body("<html>"));
        page.press("btnRefresh");
        settle(*m_drive);
        QCOMPARE(page.dialog.diskSpace(), "0.00 B / 1.00 TB");
    }

    void offersTheQualities()
    {
        AppSettings().setVideoQuality("HD");
        const DrivePage page(m_user);
        auto *button = page.child<QToolButton>("btnVideoQuality");
        QCOMPARE(button->text(), "高清720p");
        const QSignalSpy changes(&page.dialog, &CloudFileDialog::listSettingsChanged);
        button->menu()->actions().first()->trigger();
        QCOMPARE(AppSettings().videoQuality(), "OrgHD");
        QCOMPARE(button->text(), "原画");
        for (const QAction *action : button->menu()->actions()) {
            QCOMPARE(action->isChecked(), action->text() == "原画");
        }
        QCOMPARE(changes.size(), 1);
    }

    // The last one: from then on the user is held back, who is the same in each test.
    void aDriveThatWantsItSlowerIsAskedAgain()
    {
        make({"a"});
        m_drive->server().addFault(FaultOn(List).times(2).status(429, "TooManyRequests"));
        m_drive->server().addFault(FaultOn("getSpaceInfo").status(429, "TooManyRequests"));
        const DrivePage page(m_user);
        QTRY_COMPARE(page.count(), "1项");
        QCOMPARE(markersOf(*m_drive).size(), 3);
        QTRY_VERIFY(!page.dialog.diskSpace().isEmpty());
    }

private:
    void make(const std::vector<std::string> &paths) { makeFiles(*m_drive, paths); }
    // Two pages of as many entries as are asked for.
    void makeTwoPages()
    {
        m_drive->server().setPageCap(0);
        make({"0/"});
        for (int number = 1001; number < 1349; ++number) {
            make({std::to_string(number)});
        }
        make({"找我.zip"});
        sortByName();
    }
    // Of a video of 100 seconds.
    PlayHistory watchedTo(const QString &name, int second)
    {
        PlayHistory row;
        row.fileId = text(m_drive->server().fileId(name.toStdString()));
        row.userId = m_user.userId.value();
        row.playPosition = second;
        row.duration = 100;
        savePlayHistory(row);
        return row;
    }
    static QString spoken(const DrivePage &page)
    {
        QStringList rows;
        for (int row = 0; row < page.table()->rowCount(); ++row) {
            rows << page.table()->item(row, 0)->data(Qt::AccessibleTextRole).toString();
        }
        return rows.join(' ');
    }
    static void sortByName()
    {
        AppSettings settings;
        settings.setFileListOrderBy("name");
        settings.setFileOrderDirection("ASC");
        FileListState state;
        state.sortIndex = 0;
        state.sortOrder = 0;
        state.columnSizeList = {360, 112, 180, 90};
        settings.saveFileListState(state);
    }

    std::unique_ptr<DriveFixture> m_drive;
    UserInfo m_user;
};

MORAVU_TEST(TestCloudFileList)
#include "tst_cloud_file_list.moc"
