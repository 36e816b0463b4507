#include <clocale>

#include <QAbstractItemView>
#include <QApplication>
#include <QLabel>
#include <QScreen>
#include <QSignalSpy>
#include <QSplitter>
#include <QToolButton>
#include <QWheelEvent>
#include <QtTest>

#include "app/environment/app_settings.h"
#include "db/tables/operations.h"
#include "player/control_bar.h"
#include "player/mpv_widget.h"
#include "player/player_fixture.h"
#include "player/player_window.h"
#include "player/seek_bar.h"
#include "ui/widgets/toast.h"

namespace {

const QString first = QStringLiteral("show/Ep01.mkv");
const QString second = QStringLiteral("show/Ep02.mkv");
const QString third = QStringLiteral("show/Ep03.mkv");

constexpr int secondsLong = 100;

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

bool toastShown(const QString &text)
{
    const QWidgetList widgets = QApplication::topLevelWidgets();
    return std::any_of(widgets.cbegin(), widgets.cend(), [&text](const QWidget *widget) {
        const auto *label = widget->findChild<QLabel *>();
        return qobject_cast<const Toast *>(widget) && label && label->text() == text;
    });
}

} // namespace

// The player with the real libmpv, fed by the local drive.
class TestPlayerWindow final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_player.reset(); }

    void playsAndSavesItsPosition();
    void resumesWhereItStopped();
    void skipsTheIntro();
    void stepsThroughTheFolder();
    void opensTheChosenRow();
    void staysWhereNothingIsListed();
    void oneWindowServesAllVideos();
    void pausesAndPlays();
    void aPausedVideoPaintsNothing();
    void keysSeekByTheLastStep();
    void volumeFollowsWheelAndKeys();
    void seekBarGoesWhereThePointerIs();
    void aDragEndsWithItsVideo();
    void setsIntroAndOutro();
    void refusesAShortSpan();
    void goesToFullScreenAndBack();
    void showsControlsInFullScreen();
    void pinKeepsThePicture();
    void remembersItsLayout();
    void layoutSurvivesClosingInFullScreen();
    void closesInOrder();

private:
    // Opens the first episode and waits until it plays; paused, where that is wanted.
    void play(const QString &path = first, bool pause = false);
    void setSkip(int head, int tail);
    QStringList loggedBy(const std::function<void()> &action);

    std::unique_ptr<PlayerFixture> m_player;
};

void TestPlayerWindow::init()
{
    m_player = std::make_unique<PlayerFixture>();
    for (const QString &path : {first, second, third})
        m_player->addClip(path, {secondsLong});
}

void TestPlayerWindow::play(const QString &path, bool pause)
{
    m_player->open(path);
    QTRY_VERIFY_WITH_TIMEOUT(m_player->part(QStringLiteral("seekBar"))->isEnabled(), 15000);
    QTRY_VERIFY(m_player->secondShown() >= 0);
    if (pause)
        m_player->mpv()->pause();
}

void TestPlayerWindow::setSkip(int head, int tail)
{
    FolderSetting setting;
    setting.folderId = m_player->item(first).parent_file_id;
    setting.skipHeadPos = head;
    setting.skipTailPos = tail;
    saveFolderSetting(setting);
}

QStringList TestPlayerWindow::loggedBy(const std::function<void()> &action)
{
    const LogCapture log;
    action();
    return log.lines();
}

void TestPlayerWindow::playsAndSavesItsPosition()
{
    int saved = 0;
    const QObject scope;
    connect(&m_player->host(), &PlayerHost::historyUpdated, &scope, [&saved] { ++saved; });
    m_player->open(first);
    QVERIFY(m_player->window());
    QCOMPARE(m_player->timeText(), QStringLiteral("00:00:00/00:00:00"));
    QVERIFY(!m_player->part(QStringLiteral("seekBar"))->isEnabled());
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(2), 15000);
    QVERIFY(m_player->part(QStringLiteral("seekBar"))->isEnabled());
    QVERIFY(m_player->timeText().endsWith(QStringLiteral("/00:01:40")));
    QVERIFY(qAbs(m_player->secondShown() - m_player->secondLabelled()) <= 1);
    QCOMPARE(m_player->window()->windowTitle(), QStringLiteral("Ep01.mkv"));

    saved = 0;
    m_player->window()->close();
    QTRY_VERIFY(!m_player->window());
    const PlayHistory row = m_player->storedHistory(first);
    QVERIFY(row.playPosition.value() >= 2);
    QVERIFY(row.playPosition.value() < 10);
    QCOMPARE(row.duration.value(), secondsLong);
    QCOMPARE(row.userId.value(), m_player->request(first).user.userId.value());
    QCOMPARE(saved, 1);
}

void TestPlayerWindow::resumesWhereItStopped()
{
    setSkip(30, 0);
    m_player->storePosition(first, 52, secondsLong);
    const QStringList log = loggedBy([this] { play(); });
    QVERIFY(log.contains(QStringLiteral("video total time: 00:01:40")));
    QVERIFY(log.contains(QStringLiteral("video continue play :  00:00:52")));
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(52), 15000);
    QTRY_VERIFY(qAbs(m_player->secondShown() - m_player->secondLabelled()) <= 1);
    QVERIFY(m_player->secondLabelled() < 60);
}

void TestPlayerWindow::skipsTheIntro()
{
    setSkip(30, 0);
    const QStringList log = loggedBy([this] { play(); });
    QVERIFY(log.contains(QStringLiteral("video skip head :  00:00:30")));
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(30), 15000);
    QTRY_VERIFY(m_player->secondShown() >= 30);
}

void TestPlayerWindow::stepsThroughTheFolder()
{
    setSkip(30, 0);
    m_player->storePosition(third, 70, secondsLong);
    play();
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(31), 15000);
    QTest::mouseClick(m_player->part(QStringLiteral("previous")), Qt::LeftButton);
    QTRY_COMPARE(m_player->window()->windowTitle(), QStringLiteral("Ep03.mkv"));
    QVERIFY(m_player->storedHistory(first).playPosition.value() >= 31);
    // Not at its own position: only a video opened from a list is resumed.
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(30), 15000);
    QVERIFY(m_player->secondLabelled() < 50);
    QTest::mouseClick(m_player->part(QStringLiteral("next")), Qt::LeftButton);
    QTRY_COMPARE(m_player->window()->windowTitle(), QStringLiteral("Ep01.mkv"));
    QTest::mouseClick(m_player->part(QStringLiteral("next")), Qt::LeftButton);
    QTRY_COMPARE(m_player->window()->windowTitle(), QStringLiteral("Ep02.mkv"));
}

void TestPlayerWindow::opensTheChosenRow()
{
    play();
    QTest::mouseClick(m_player->part(QStringLiteral("videoList")), Qt::LeftButton);
    auto *view = qobject_cast<QAbstractItemView *>(m_player->part(QStringLiteral("videoListView")));
    QTRY_VERIFY(view->isVisible());
    QCOMPARE(view->model()->rowCount(), 3);
    QCOMPARE(view->currentIndex().row(), 0);
    const QModelIndex row = view->model()->index(2, 0);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(row).center());
    QTRY_COMPARE(m_player->window()->windowTitle(), QStringLiteral("Ep03.mkv"));
    QCOMPARE(view->currentIndex().row(), 2);
    QVERIFY(QApplication::focusWidget() == nullptr ||
            QApplication::focusWidget() == m_player->mpv());
}

void TestPlayerWindow::staysWhereNothingIsListed()
{
    PlayRequest request = m_player->request(first);
    request.videos.removeFirst();
    m_player->host().open(request);
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(1), 15000);
    int saved = 0;
    const QObject scope;
    connect(&m_player->host(), &PlayerHost::historyUpdated, &scope, [&saved] { ++saved; });
    QTest::mouseClick(m_player->part(QStringLiteral("next")), Qt::LeftButton);
    QTest::qWait(300);
    QCOMPARE(m_player->window()->windowTitle(), QStringLiteral("Ep01.mkv"));
    QCOMPARE(saved, 0);
}

void TestPlayerWindow::oneWindowServesAllVideos()
{
    play();
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(2), 15000);
    const QPointer<MpvPlayerWindow> window = m_player->window();
    m_player->open(second);
    QCOMPARE(m_player->window(), window.data());
    QVERIFY(m_player->storedHistory(first).playPosition.value() >= 2);
    QTRY_COMPARE(window->windowTitle(), QStringLiteral("Ep02.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(1), 15000);
}

void TestPlayerWindow::pausesAndPlays()
{
    play();
    auto *button = qobject_cast<QToolButton *>(m_player->part(QStringLiteral("playPause")));
    QTest::mouseClick(button, Qt::LeftButton);
    QTRY_VERIFY(m_player->mpv()->isPaused());
    QTRY_COMPARE(button->toolTip(), QStringLiteral("播放"));
    QTest::mouseClick(button, Qt::LeftButton);
    QTRY_VERIFY(!m_player->mpv()->isPaused());
    QTRY_COMPARE(button->toolTip(), QStringLiteral("暂停"));
}

void TestPlayerWindow::aPausedVideoPaintsNothing()
{
    play(first, true);
    QTest::qWait(1500);
    QSignalSpy painted(m_player->mpv(), &QOpenGLWidget::frameSwapped);
    QTest::qWait(1500);
    QCOMPARE(painted.count(), 0);
    m_player->mpv()->play();
    QTRY_VERIFY(painted.count() > 5);
}

void TestPlayerWindow::keysSeekByTheLastStep()
{
    play(first, true);
    MpvWidget *mpv = m_player->mpv();
    // A relative seek goes to a key frame that the container lists, up to 5 s away.
    const auto isShown = [this](int second) { return qAbs(m_player->secondShown() - second) <= 5; };
    mpv->seekAbsolute(40);
    QTRY_COMPARE(m_player->secondShown(), 40);
    QTest::keyClick(mpv, Qt::Key_Up);
    QTRY_COMPARE(mpv->volume(), 110);
    QCOMPARE(mpv->position(), 40);

    const QStringList log = loggedBy([mpv] { QTest::keyClick(mpv, Qt::Key_Left); });
    QCOMPARE(log.filter(QStringLiteral("key press")).size(), 1);
    QVERIFY(log.contains(QStringLiteral("incresment: 5")));
    QVERIFY(log.contains(QStringLiteral("slkakjfdlasjdf")));
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

void TestPlayerWindow::volumeFollowsWheelAndKeys()
{
    play(first, true);
    MpvWidget *mpv = m_player->mpv();
    turnWheel(mpv, 120);
    QCOMPARE(mpv->volume(), 110);
    turnWheel(mpv, 120);
    QCOMPARE(mpv->volume(), 110);
    turnWheel(mpv, -120);
    QCOMPARE(mpv->volume(), 100);
    turnWheel(mpv, 0);
    QCOMPARE(mpv->volume(), 90);
    mpv->setVolume(105);
    QTest::keyClick(mpv, Qt::Key_Up);
    QCOMPARE(mpv->volume(), 105);
    mpv->setVolume(0);
    QTest::keyClick(mpv, Qt::Key_Down);
    QCOMPARE(mpv->volume(), 0);
    auto *button = qobject_cast<QToolButton *>(m_player->part(QStringLiteral("volume")));
    QTRY_COMPARE(button->toolTip(), QStringLiteral("音量 0"));
}

void TestPlayerWindow::seekBarGoesWhereThePointerIs()
{
    play(first, true);
    QWidget *bar = m_player->part(QStringLiteral("seekBar"));
    QTest::mouseClick(bar, Qt::LeftButton, {}, QPoint(bar->width() * 3 / 4, bar->height() / 2));
    QTRY_VERIFY(qAbs(m_player->secondShown() - 75) <= 1);
    QTest::mousePress(bar, Qt::LeftButton, {}, QPoint(bar->width() / 2, bar->height() / 2));
    QTest::mouseMove(bar, QPoint(bar->width() / 4, bar->height() / 2));
    QTest::mouseRelease(bar, Qt::LeftButton, {}, QPoint(bar->width() / 4, bar->height() / 2));
    QTRY_VERIFY(qAbs(m_player->secondShown() - 25) <= 1);
}

void TestPlayerWindow::aDragEndsWithItsVideo()
{
    play(first);
    QWidget *bar = m_player->part(QStringLiteral("seekBar"));
    QTest::mousePress(bar, Qt::LeftButton, {}, QPoint(bar->width() / 2, bar->height() / 2));
    QTest::mouseClick(m_player->part(QStringLiteral("next")), Qt::LeftButton);
    QTest::mouseRelease(bar, Qt::LeftButton, {}, QPoint(bar->width() / 2, bar->height() / 2));
    const auto *slider = qobject_cast<QSlider *>(bar);
    QTRY_VERIFY_WITH_TIMEOUT(bar->isEnabled() && slider->value() > 1, 15000);
    QVERIFY(!slider->isSliderDown());
}

void TestPlayerWindow::setsIntroAndOutro()
{
    const QString skip = QStringLiteral("skip");
    play(first, true);
    QCOMPARE(m_player->menuTexts(skip),
             (QStringList{QStringLiteral("片头 未设置"), QStringLiteral("片尾 未设置"),
                          QStringLiteral("清除片尾设置")}));
    m_player->mpv()->seekAbsolute(12);
    QTRY_COMPARE(m_player->mpv()->position(), 12);
    QVERIFY(m_player->choose(skip, QStringLiteral("片头 未设置")));
    m_player->mpv()->seekAbsolute(80);
    QTRY_COMPARE(m_player->mpv()->position(), 80);
    QVERIFY(m_player->choose(skip, QStringLiteral("片尾 未设置")));
    QCOMPARE(m_player->menuTexts(skip),
             (QStringList{QStringLiteral("片头 00:00:12"), QStringLiteral("片尾 00:01:20"),
                          QStringLiteral("清除片尾设置")}));

    FolderSetting row;
    loadFolderSetting(m_player->item(first).parent_file_id, row);
    QCOMPARE(row.skipHeadPos.value(), 12);
    QCOMPARE(row.skipTailPos.value(), 20);
    QCOMPARE(row.userId.value(), m_player->request(first).user.userId.value());
    QCOMPARE(row.folderName.value(), QStringLiteral("show"));

    QVERIFY(m_player->choose(skip, QStringLiteral("清除片尾设置")));
    loadFolderSetting(m_player->item(first).parent_file_id, row);
    QCOMPARE(row.skipTailPos.value(), 0);
    QCOMPARE(row.skipHeadPos.value(), 12);
}

void TestPlayerWindow::refusesAShortSpan()
{
    setSkip(0, 40);
    play(first, true);
    m_player->mpv()->seekAbsolute(30);
    QTRY_COMPARE(m_player->mpv()->position(), 30);
    QVERIFY(m_player->choose(QStringLiteral("skip"), QStringLiteral("片头 未设置")));
    QVERIFY(toastShown(QStringLiteral("片头片尾设置间隔太小,请重新设置")));
    FolderSetting row;
    loadFolderSetting(m_player->item(first).parent_file_id, row);
    QCOMPARE(row.skipHeadPos.value(), 0);
}

void TestPlayerWindow::goesToFullScreenAndBack()
{
    play();
    QTest::mouseClick(m_player->part(QStringLiteral("videoList")), Qt::LeftButton);
    MpvPlayerWindow *window = m_player->window();
    const QRect before = window->geometry();
    QTest::mouseDClick(m_player->mpv(), Qt::LeftButton);
    QTRY_COMPARE(m_player->mpv()->size(), QGuiApplication::primaryScreen()->size());
    QVERIFY(m_player->part(QStringLiteral("controlBar"))->isHidden());
    QVERIFY(m_player->part(QStringLiteral("videoListPanel"))->isHidden());
    const int second = m_player->mpv()->position();
    QTRY_VERIFY(m_player->secondShown() > second);

    QTest::mouseDClick(m_player->mpv(), Qt::LeftButton);
    QTRY_COMPARE(window->geometry(), before);
    QVERIFY(m_player->part(QStringLiteral("controlBar"))->isVisible());
    QVERIFY(m_player->part(QStringLiteral("videoListPanel"))->isVisible());
    const int later = m_player->mpv()->position();
    QTRY_VERIFY(m_player->secondShown() > later);
}

void TestPlayerWindow::showsControlsInFullScreen()
{
    play();
    QWidget *bar = m_player->part(QStringLiteral("controlBar"));
    QWidget *list = m_player->part(QStringLiteral("videoListPanel"));
    MpvWidget *mpv = m_player->mpv();
    movePointer(mpv, QPoint(10, mpv->height() - 1));
    QVERIFY(bar->isVisible());
    QTest::mouseDClick(mpv, Qt::LeftButton);
    const QSize screen = QGuiApplication::primaryScreen()->size();
    QTRY_COMPARE(mpv->size(), screen);

    const QStringList log = loggedBy([&] { movePointer(mpv, QPoint(300, screen.height() - 10)); });
    QCOMPARE(log,
             (QStringList{QStringLiteral("show play control"), QStringLiteral("hide video list")}));
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

void TestPlayerWindow::pinKeepsThePicture()
{
    play();
    auto *pin = qobject_cast<QToolButton *>(m_player->part(QStringLiteral("pin")));
    for (const bool pinned : {true, false}) {
        QTest::mouseClick(pin, Qt::LeftButton);
        QCOMPARE(pin->isChecked(), pinned);
        QCOMPARE(m_player->window()->windowFlags().testFlag(Qt::WindowStaysOnTopHint), pinned);
        QVERIFY(m_player->window()->isVisible());
        const int second = m_player->mpv()->position();
        QTRY_VERIFY(m_player->secondShown() > second);
    }
}

void TestPlayerWindow::remembersItsLayout()
{
    play();
    MpvPlayerWindow *window = m_player->window();
    window->setGeometry(200, 150, 900, 500);
    QTest::mouseClick(m_player->part(QStringLiteral("videoList")), Qt::LeftButton);
    QTRY_COMPARE(window->geometry(), QRect(200, 150, 900, 500));
    auto *splitter = qobject_cast<QSplitter *>(m_player->part(QStringLiteral("videoSplitter")));
    splitter->setSizes({600, 300});
    QTest::qWait(100);
    const QList<int> sizes = splitter->sizes();
    window->close();
    QTRY_VERIFY(!m_player->window());

    m_player->open(first);
    QTRY_COMPARE(m_player->window()->geometry(), QRect(200, 150, 900, 500));
    QVERIFY(m_player->part(QStringLiteral("videoListPanel"))->isVisible());
    splitter = qobject_cast<QSplitter *>(m_player->part(QStringLiteral("videoSplitter")));
    QTRY_COMPARE(splitter->sizes(), sizes);
}

void TestPlayerWindow::layoutSurvivesClosingInFullScreen()
{
    play();
    const QRect before = m_player->window()->geometry();
    QTest::mouseDClick(m_player->mpv(), Qt::LeftButton);
    QTRY_VERIFY(m_player->mpv()->height() > before.height());
    m_player->window()->close();
    QTRY_VERIFY(!m_player->window());
    m_player->open(first);
    QTRY_COMPARE(m_player->window()->geometry(), before);
    QVERIFY(!m_player->window()->isFullScreen());
}

void TestPlayerWindow::closesInOrder()
{
    play();
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(2), 15000);
    const QPointer<MpvWidget> mpv = m_player->mpv();
    m_player->host().closeAll();
    QVERIFY(!mpv);
    QVERIFY(m_player->storedHistory(first).playPosition.value() >= 2);
    m_player->host().closeAll();
    m_player->open(second);
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(1), 15000);
}

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    TestPlayerWindow test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_player_window.moc"
