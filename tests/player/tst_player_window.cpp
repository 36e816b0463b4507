#include <QAbstractItemView>
#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QScreen>
#include <QSignalSpy>
#include <QSplitter>
#include <QToolButton>
#include <QWheelEvent>
#include <QtTest>

#include "app/environment/app_settings.h"
#include "db/tables/operations.h"
#include "player/mpv/mpv_widget.h"
#include "player/player_fixture.h"
#include "player/window/player_window.h"
#include "support/test_main.h"
#include "support/toasts.h"

namespace {

const QString First = "show/Ep01.mkv";
const QString Second = "show/Ep02.mkv";
const QString Third = "show/Ep03.mkv";

constexpr int SecondsLong = 100;

void movePointer(QWidget *widget, const QPoint &position)
{
    QMouseEvent move(QEvent::MouseMove, position, Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &move);
}

void turnWheel(QWidget *widget, int delta)
{
    QWheelEvent event(QPointF(5, 5), widget->mapToGlobal(QPoint(5, 5)), {}, QPoint(0, delta),
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(widget, &event);
}

} // namespace

// The player with the real libmpv, fed by the local drive.
class TestPlayerWindow final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_player = std::make_unique<PlayerFixture>();
        for (const QString &path : {First, Second, Third}) {
            m_player->addClip(path, {SecondsLong});
        }
    }
    void cleanup() { m_player.reset(); }

    void playsAndSavesItsPosition()
    {
        int saved = 0;
        const QObject scope;
        connect(&m_player->host(), &PlayerHost::historyUpdated, &scope, [&saved] { ++saved; });
        m_player->open(First);
        QCOMPARE(m_player->window()->windowTitle(), "Ep01.mkv");
        QCOMPARE(m_player->timeText(), "00:00:00/00:00:00");
        QVERIFY(!m_player->part("seekBar")->isEnabled());
        QVERIFY(m_player->waitFor(2));
        QVERIFY(m_player->part("seekBar")->isEnabled());
        QVERIFY(m_player->timeText().endsWith("/00:01:40"));
        QVERIFY(qAbs(m_player->secondShown() - m_player->secondLabelled()) <= 1);
        QCOMPARE(m_player->window()->windowTitle(), "Ep01.mkv");
        QCOMPARE(m_player->mpv()->getProperty("tls-verify").toBool(), true);

        saved = 0;
        m_player->close();
        const PlayHistory row = m_player->storedHistory(First);
        QVERIFY(row.playPosition.value() >= 2);
        QVERIFY(row.playPosition.value() < 10);
        QCOMPARE(row.duration.value(), SecondsLong);
        QCOMPARE(row.userId.value(), m_player->request(First).user.userId.value());
        QCOMPARE(saved, 1);
    }

    void startsWhereItShould_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<int>("start");
        QTest::addColumn<QString>("logged");
        QTest::newRow("where it stopped") << 52 << 52 << "video continue play :  00:00:52";
        QTest::newRow("behind the intro") << 0 << 30 << "video skip head :  00:00:30";
    }

    void startsWhereItShould()
    {
        QFETCH(int, position);
        QFETCH(int, start);
        QFETCH(QString, logged);
        setSkip(30, 0);
        m_player->storePosition(First, position, SecondsLong);
        const QStringList log = loggedBy([this] { play(); });
        QVERIFY(log.contains("video total time: 00:01:40") && log.contains(logged));
        QVERIFY(m_player->waitFor(start));
        QTRY_VERIFY(qAbs(m_player->secondShown() - m_player->secondLabelled()) <= 1);
        QVERIFY(m_player->secondLabelled() < start + 10);
    }

    void stepsThroughTheFolder()
    {
        setSkip(30, 0);
        m_player->storePosition(Third, 70, SecondsLong);
        play();
        QVERIFY(m_player->waitFor(31));
        QVERIFY(m_player->step("previous", "Ep03.mkv"));
        QVERIFY(m_player->storedHistory(First).playPosition.value() >= 31);
        // Not at its own position: only a video opened from a list is resumed.
        QVERIFY(m_player->waitFor(30));
        QVERIFY(m_player->secondLabelled() < 50);
        QVERIFY(m_player->step("next", "Ep01.mkv"));
        QVERIFY(m_player->step("next", "Ep02.mkv"));
    }

    void opensTheChosenRow()
    {
        play();
        QVERIFY(m_player->waitFor(1));
        m_player->press("videoList");
        auto *view = qobject_cast<QAbstractItemView *>(m_player->part("videoListView"));
        QTRY_VERIFY(view->isVisible());
        QCOMPARE(view->model()->rowCount(), 3);
        QCOMPARE(view->currentIndex().row(), 0);
        const QModelIndex row = view->model()->index(2, 0);
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(row).center());
        QTRY_COMPARE(m_player->window()->windowTitle(), "Ep03.mkv");
        QCOMPARE(view->currentIndex().row(), 2);
        QVERIFY(m_player->storedHistory(First).playPosition.value() >= 1);
        const FileItem third = m_player->item(Third);
        FolderSetting folder;
        QTRY_VERIFY((loadFolderSetting(third.parent_file_id, folder),
                     folder.lastPlayFileId.value() == third.file_id));
        QVERIFY(QApplication::focusWidget() == nullptr ||
                QApplication::focusWidget() == m_player->mpv());
        view->setCurrentIndex(view->model()->index(1, 0));
        QTest::keyClick(view, Qt::Key_Return);
        QTRY_COMPARE(m_player->window()->windowTitle(), "Ep02.mkv");
    }

    void canBeUsedWithoutAMouse()
    {
        play(First, true);
        QVERIFY(QTest::qWaitForWindowActive(m_player->window()));
        QWidget *bar = m_player->part("seekBar");
        bar->setFocus();
        m_player->mpv()->seekAbsolute(40);
        QTRY_COMPARE(m_player->secondLabelled(), 40);
        QTest::keyClick(bar, Qt::Key_Right);
        QTRY_COMPARE(m_player->mpv()->position(), 45);
        QTest::keyClick(m_player->part("playPause"), Qt::Key_Space);
        QTRY_VERIFY(!m_player->mpv()->isPaused());
        QTest::keyClick(m_player->part("playPause"), Qt::Key_Escape);
        QCOMPARE(QApplication::focusWidget(), m_player->mpv());
        QTest::keyClick(m_player->mpv(), Qt::Key_F);
        QTRY_VERIFY(m_player->window()->isFullScreen());
    }

    void aMenuHasWhatTheBarHas()
    {
        play(First, true);
        m_player->mpv()->seekAbsolute(40);
        QTRY_COMPARE(m_player->secondLabelled(), 40);
        QVERIFY(chooseOverVideo("快进 30 秒\tCtrl+←"));
        QTRY_VERIFY(m_player->mpv()->position() > 60);
        QVERIFY(chooseOverVideo("2 倍"));
        QCOMPARE(m_player->mpv()->getProperty("speed").toDouble(), 2.0);
        QVERIFY(chooseOverVideo("减小音量\t↓"));
        QCOMPARE(m_player->mpv()->volume(), 90);
        QVERIFY(chooseOverVideo("静音\tM"));
        QVERIFY(m_player->mpv()->isMute());
        QVERIFY(chooseOverVideo("片头 未设置"));
        QVERIFY(m_player->menuTexts("skip").first() != "片头 未设置");
        QVERIFY(chooseOverVideo("窗口置顶\t"));
        QVERIFY(m_player->window()->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        QVERIFY(chooseOverVideo("播放\t空格"));
        QTRY_VERIFY(!m_player->mpv()->isPaused());
        QVERIFY(chooseOverVideo("下一个\t"));
        QTRY_COMPARE(m_player->window()->windowTitle(), "Ep02.mkv");
    }

    void listsTheWholeFolder()
    {
        // One that would be read as another name.
        for (const char *name : {"第10集\u202e.mkv", "第2集.mkv", "第1集.mkv"}) {
            m_player->addClip(QString("many/") + name, {SecondsLong});
        }
        m_player->server().setPageCap(2);
        PlayRequest request = m_player->request("many/第2集.mkv");
        request.videos = {request.file};
        m_player->host().open(request);
        const auto *view = qobject_cast<QAbstractItemView *>(m_player->part("videoListView"));
        const auto names = [view] {
            QStringList shown;
            for (int row = 0; row < view->model()->rowCount(); ++row) {
                shown.append(view->model()->index(row, 0).data().toString());
            }
            return shown;
        };
        QCOMPARE(names(), QStringList("第2集.mkv"));
        QTRY_COMPARE(names(), (QStringList{"第1集.mkv", "第2集.mkv", "第10集\ufffd.mkv"}));
        QCOMPARE(view->currentIndex().row(), 1);
        QVERIFY(m_player->step("next", "第10集\ufffd.mkv"));
        QVERIFY(m_player->step("next", "第1集.mkv"));
    }

    // The row may be older than the file's name and place.
    void findsAVideoOfTheHistory()
    {
        PlayRequest request = m_player->request(Second);
        request.videos.clear();
        request.file.name = "old name.mkv";
        request.file.parent_file_id = "root";
        setSkip(30, 0);
        m_player->host().open(request);
        QTRY_COMPARE(m_player->window()->windowTitle(), "Ep02.mkv");
        QVERIFY(m_player->waitFor(30));
        QVERIFY(m_player->step("next", "Ep03.mkv"));
        QCOMPARE(m_player->storedHistory(Second).name.value(), "Ep02.mkv");
        QCOMPARE(m_player->storedHistory(Second).parentFileId.value(),
                 m_player->item(Second).parent_file_id);
    }

    void pausesAndPlays()
    {
        play();
        auto *button = qobject_cast<QToolButton *>(m_player->part("playPause"));
        QTest::mouseClick(button, Qt::LeftButton);
        QTRY_VERIFY(m_player->mpv()->isPaused());
        QTRY_COMPARE(button->toolTip(), "播放 (空格)");
        QTest::mouseClick(button, Qt::LeftButton);
        QTRY_VERIFY(!m_player->mpv()->isPaused());
        QTRY_COMPARE(button->toolTip(), "暂停 (空格)");
    }

    void aPausedVideoPaintsNothing()
    {
        play(First, true);
        QTest::qWait(1500);
        QSignalSpy painted(m_player->mpv(), &QOpenGLWidget::frameSwapped);
        QTest::qWait(1500);
        QCOMPARE(painted.count(), 0);
        m_player->mpv()->play();
        QTRY_VERIFY(painted.count() > 5);
    }

    void keysSeekByTheLastStep()
    {
        play(First, true);
        MpvWidget *mpv = m_player->mpv();
        // A relative seek goes to a key frame that the container lists, up to 5 s away.
        const auto isShown = [this](int second) {
            return qAbs(m_player->secondShown() - second) <= 5;
        };
        mpv->seekAbsolute(40);
        QTRY_COMPARE(m_player->secondShown(), 40);
        QTest::keyClick(mpv, Qt::Key_Up);
        QTRY_COMPARE(mpv->volume(), 110);
        QCOMPARE(mpv->position(), 40);

        const QStringList log = loggedBy([mpv] { QTest::keyClick(mpv, Qt::Key_Left); });
        QCOMPARE(log.filter("key press").size(), 1);
        QVERIFY(log.contains("incresment: 5"));
        QVERIFY(log.contains("slkakjfdlasjdf"));
        QTRY_VERIFY(isShown(45));
        QTest::keyClick(mpv, Qt::Key_Space);
        QTRY_COMPARE(mpv->isPaused(), false);
        mpv->pause();
        QTRY_VERIFY(isShown(50));

        mpv->seekAbsolute(40);
        QTRY_COMPARE(m_player->secondShown(), 40);
        QTest::keyClick(mpv, Qt::Key_Right);
        QTRY_VERIFY(isShown(35));
        QTest::keyClick(mpv, Qt::Key_Left, Qt::ControlModifier);
        QTRY_VERIFY(isShown(65));
    }

    void volumeFollowsWheelAndKeys()
    {
        play(First, true);
        MpvWidget *mpv = m_player->mpv();
        turnWheel(mpv, 120);
        QCOMPARE(mpv->volume(), 110);
        turnWheel(mpv, 0);
        QCOMPARE(mpv->volume(), 100);
        QTest::keyClick(mpv, Qt::Key_Up);
        QCOMPARE(mpv->volume(), 110);
        mpv->setVolume(0);
        QTest::keyClick(mpv, Qt::Key_Down);
        QCOMPARE(mpv->volume(), 0);
        auto *slider = qobject_cast<QSlider *>(m_player->part("volumeSlider"));
        QTRY_COMPARE(slider->toolTip(), "音量 0 (↑、↓)");
        QTest::mouseClick(slider, Qt::LeftButton, {}, slider->rect().center());
        QVERIFY(qAbs(mpv->volume() - 55) <= 2);
        m_player->press("volume");
        QVERIFY(mpv->isMute());
    }

    void seekBarGoesWhereThePointerIs()
    {
        play(First, true);
        QWidget *bar = m_player->part("seekBar");
        QTest::mouseClick(bar, Qt::LeftButton, {}, QPoint(bar->width() * 3 / 4, bar->height() / 2));
        QTRY_VERIFY(qAbs(m_player->secondShown() - 75) <= 1);
        QTest::mousePress(bar, Qt::LeftButton, {}, QPoint(bar->width() / 2, bar->height() / 2));
        QTest::mouseMove(bar, QPoint(bar->width() / 4, bar->height() / 2));
        QTest::mouseRelease(bar, Qt::LeftButton, {}, QPoint(bar->width() / 4, bar->height() / 2));
        QTRY_VERIFY(qAbs(m_player->secondShown() - 25) <= 1);
    }

    void aDragEndsWithItsVideo()
    {
        play(First);
        QWidget *bar = m_player->part("seekBar");
        QTest::mousePress(bar, Qt::LeftButton, {}, QPoint(bar->width() / 2, bar->height() / 2));
        m_player->press("next");
        QTest::mouseRelease(bar, Qt::LeftButton, {}, QPoint(bar->width() / 2, bar->height() / 2));
        const auto *slider = qobject_cast<QSlider *>(bar);
        QTRY_VERIFY_WITH_TIMEOUT(bar->isEnabled() && slider->value() > 1, 15000);
        QVERIFY(!slider->isSliderDown());
    }

    void setsIntroAndOutro()
    {
        const QString skip = "skip";
        play(First, true);
        QCOMPARE(m_player->menuTexts(skip),
                 (QStringList{"片头 未设置", "片尾 未设置", "清除片尾设置"}));
        m_player->mpv()->seekAbsolute(12);
        QTRY_COMPARE(m_player->mpv()->position(), 12);
        QVERIFY(m_player->choose(skip, "片头 未设置"));
        m_player->mpv()->seekAbsolute(80);
        QTRY_COMPARE(m_player->mpv()->position(), 80);
        QVERIFY(m_player->choose(skip, "片尾 未设置"));
        QCOMPARE(m_player->menuTexts(skip),
                 (QStringList{"片头 00:00:12", "片尾 00:01:20", "清除片尾设置"}));

        FolderSetting row;
        loadFolderSetting(m_player->item(First).parent_file_id, row);
        QCOMPARE(row.skipHeadPos.value(), 12);
        QCOMPARE(row.skipTailPos.value(), 20);
        QCOMPARE(row.userId.value(), m_player->request(First).user.userId.value());
        QCOMPARE(row.folderName.value(), "show");

        QVERIFY(m_player->choose(skip, "清除片尾设置"));
        loadFolderSetting(m_player->item(First).parent_file_id, row);
        QCOMPARE(row.skipTailPos.value(), 0);
        QCOMPARE(row.skipHeadPos.value(), 12);

        // Cleared by others: the open player follows, and brings nothing back.
        clearFolderSettings();
        m_player->host().reloadSkipTimes();
        QVERIFY(m_player->choose(skip, "片尾 未设置"));
        QCOMPARE(m_player->menuTexts(skip).first(), "片头 未设置");
        loadFolderSetting(m_player->item(First).parent_file_id, row);
        QCOMPARE(row.skipHeadPos.value(), 0);
        QCOMPARE(row.skipTailPos.value(), 20);
    }

    void refusesAShortSpan()
    {
        setSkip(0, 40);
        play(First, true);
        m_player->mpv()->seekAbsolute(30);
        QTRY_COMPARE(m_player->mpv()->position(), 30);
        QVERIFY(m_player->choose("skip", "片头 未设置"));
        QVERIFY(toasts().contains("片头片尾设置间隔太小,请重新设置"));
        FolderSetting row;
        loadFolderSetting(m_player->item(First).parent_file_id, row);
        QCOMPARE(row.skipHeadPos.value(), 0);
    }

    void goesToFullScreenAndBack()
    {
        play();
        m_player->press("videoList");
        MpvPlayerWindow *window = m_player->window();
        const QRect before = window->geometry();
        QTest::mouseDClick(m_player->mpv(), Qt::LeftButton);
        QTRY_COMPARE(m_player->mpv()->size(), QGuiApplication::primaryScreen()->size());
        QVERIFY(m_player->part("controlBar")->isHidden());
        QVERIFY(m_player->part("videoListPanel")->isHidden());
        const int second = m_player->mpv()->position();
        QTRY_VERIFY(m_player->secondShown() > second);

        QTRY_COMPARE(m_player->mpv()->cursor().shape(), Qt::BlankCursor);
        QWidget *button = m_player->part("fullScreen");
        QEvent enter(QEvent::Enter);
        QApplication::sendEvent(button, &enter);
        QTest::mouseDClick(m_player->mpv(), Qt::LeftButton);
        QVERIFY(!button->underMouse());
        QTRY_COMPARE(window->geometry(), before);
        QVERIFY(m_player->part("controlBar")->isVisible());
        QVERIFY(m_player->part("videoListPanel")->isVisible());
        const int later = m_player->mpv()->position();
        QTRY_VERIFY(m_player->secondShown() > later);
    }

    void showsControlsInFullScreen()
    {
        play();
        QWidget *bar = m_player->part("controlBar");
        QWidget *list = m_player->part("videoListPanel");
        MpvWidget *mpv = m_player->mpv();
        movePointer(mpv, QPoint(10, mpv->height() - 1));
        QVERIFY(bar->isVisible());
        QTest::mouseDClick(mpv, Qt::LeftButton);
        const QSize screen = QGuiApplication::primaryScreen()->size();
        QTRY_COMPARE(mpv->size(), screen);

        const QStringList log =
            loggedBy([&] { movePointer(mpv, QPoint(300, screen.height() - 10)); });
        QCOMPARE(log, (QStringList{"show play control", "hide video list"}));
        QVERIFY(bar->isVisible());
        QCOMPARE(QRect(bar->mapToGlobal(QPoint(0, 0)), bar->size()),
                 QRect(0, screen.height() - 80, 600, 80));
        movePointer(mpv, QPoint(screen.width() - 1, 300));
        QVERIFY(bar->isHidden());
        QVERIFY(list->isVisible());
        QCOMPARE(list->mapToGlobal(QPoint(0, 0)).x(), screen.width() - screen.width() / 6);
        movePointer(mpv, QPoint(300, 300));
        QVERIFY(list->isHidden());
        QTRY_COMPARE(mpv->cursor().shape(), Qt::BlankCursor);
        movePointer(mpv, QPoint(310, 300));
        QCOMPARE(mpv->cursor().shape(), Qt::ArrowCursor);
        QTest::keyClick(mpv, Qt::Key_Escape);
        QTRY_VERIFY(!m_player->window()->isFullScreen());
        QVERIFY(list->isHidden());
        QVERIFY(bar->isVisible());
    }

    void pinKeepsThePicture()
    {
        play();
        auto *pin = qobject_cast<QToolButton *>(m_player->part("pin"));
        for (const bool pinned : {true, false}) {
            QTest::mouseClick(pin, Qt::LeftButton);
            QCOMPARE(pin->isChecked(), pinned);
            QCOMPARE(m_player->window()->windowFlags().testFlag(Qt::WindowStaysOnTopHint), pinned);
            QVERIFY(m_player->window()->isVisible());
            const int second = m_player->mpv()->position();
            QTRY_VERIFY(m_player->secondShown() > second);
        }
    }

    void remembersItsLayout()
    {
        play();
        MpvPlayerWindow *window = m_player->window();
        window->setGeometry(200, 150, 900, 500);
        m_player->press("videoList");
        QTRY_COMPARE(window->geometry(), QRect(200, 150, 900, 500));
        auto *splitter = qobject_cast<QSplitter *>(m_player->part("videoSplitter"));
        splitter->setSizes({600, 300});
        QTest::qWait(100);
        const QList<int> sizes = splitter->sizes();
        QTest::mouseDClick(m_player->mpv(), Qt::LeftButton);
        QTRY_VERIFY(m_player->mpv()->height() > 500);
        m_player->close();

        m_player->open(First);
        QTRY_COMPARE(m_player->window()->geometry(), QRect(200, 150, 900, 500));
        QVERIFY(m_player->part("videoListPanel")->isVisible());
        splitter = qobject_cast<QSplitter *>(m_player->part("videoSplitter"));
        QTRY_COMPARE(splitter->sizes(), sizes);
    }

private:
    // Chooses an entry of the menu over the video, or of a part of it; false where there is none.
    bool chooseOverVideo(const QString &text)
    {
        QContextMenuEvent key(QContextMenuEvent::Keyboard, QPoint());
        QApplication::sendEvent(m_player->mpv(), &key);
        auto *menu = m_player->window()->findChild<QMenu *>("videoMenu");
        QList<QMenu *> parts = menu->findChildren<QMenu *>();
        parts.append(menu);
        for (const QMenu *part : qAsConst(parts)) {
            for (QAction *action : part->actions()) {
                if (action->text() == text && action->isEnabled()) {
                    action->trigger();
                    delete menu;
                    return true;
                }
            }
        }
        return false;
    }

    // Opens the first episode and waits until it plays; paused, where that is wanted.
    void play(const QString &path = First, bool pause = false)
    {
        m_player->open(path);
        QTRY_VERIFY_WITH_TIMEOUT(m_player->part("seekBar")->isEnabled(), 15000);
        QTRY_VERIFY(m_player->secondShown() >= 0);
        if (pause) {
            m_player->mpv()->pause();
        }
    }

    void setSkip(int head, int tail)
    {
        FolderSetting setting;
        setting.folderId = m_player->item(First).parent_file_id;
        setting.skipHeadPos = head;
        setting.skipTailPos = tail;
        saveFolderSetting(setting);
    }

    template <class Action>
    QStringList loggedBy(const Action &action)
    {
        const LogCapture log;
        action();
        return log.lines();
    }

    std::unique_ptr<PlayerFixture> m_player;
};

MORAVU_TEST(TestPlayerWindow)

#include "tst_player_window.moc"
