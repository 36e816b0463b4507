#include <QAbstractButton>
#include <QGuiApplication>
#include <QLayout>
#include <QScreen>
#include <QSlider>
#include <QWheelEvent>
#include <QWindow>
#include <QtTest>

#include "app/environment/app_settings.h"
#include "player/mpv/mpv_widget.h"
#include "player/player_fixture.h"
#include "player/window/player_window.h"
#include "support/test_main.h"

Q_DECLARE_METATYPE(Qt::WindowStates)

namespace {

const QString Film = "film.mkv";

constexpr Qt::WindowStates ShownStates =
    Qt::WindowMinimized | Qt::WindowMaximized | Qt::WindowFullScreen;

} // namespace

// The states of the player's window, under a real window manager.
class TestFullScreen final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_player.reset(); }

    void reopenedAsItWas_data();
    void reopenedAsItWas();
    void comesBackMaximised();
    void followsTheWindowManager();
    void isNotRestoredInFullScreen();
    void tabBringsTheBar();
    void theWheelOverTheSeekBarIsTheVolumes();
    void firstOpensOverItsOpener();

private:
    [[nodiscard]] Qt::WindowStates state() const
    {
        return m_player->window()->windowState() & ShownStates;
    }
    // What the window manager has made of the window.
    [[nodiscard]] Qt::WindowStates managedState() const
    {
        return m_player->window()->windowHandle()->windowStates();
    }
    // Whether the control bar stands below the video, and not over it or nowhere.
    [[nodiscard]] bool isBarDocked() const
    {
        QWidget *bar = m_player->part("controlBar");
        return bar->isVisible() && m_player->window()->layout()->indexOf(bar) >= 0;
    }
    // Whether it appears over the video when the pointer comes to the lower edge.
    [[nodiscard]] bool doesBarAppear() const;
    void open();

    std::unique_ptr<PlayerFixture> m_player;
};

void TestFullScreen::init()
{
    m_player = std::make_unique<PlayerFixture>();
    m_player->addClip(Film, {60});
    open();
}

void TestFullScreen::open()
{
    m_player->open(Film);
    QVERIFY(QTest::qWaitForWindowExposed(m_player->window()));
    QTRY_VERIFY(m_player->isOn("seekBar")); // until then the screen may show the window before
    QTRY_VERIFY(m_player->secondShown() >= 0);
}

bool TestFullScreen::doesBarAppear() const
{
    const QPoint edge(300, QGuiApplication::primaryScreen()->size().height() - 10);
    QMouseEvent move(QEvent::MouseMove, edge, Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(m_player->mpv(), &move);
    return m_player->part("controlBar")->isVisible() && !isBarDocked();
}

void TestFullScreen::reopenedAsItWas_data()
{
    QTest::addColumn<Qt::WindowStates>("before");
    QTest::newRow("a window") << Qt::WindowStates(Qt::WindowNoState);
    QTest::newRow("maximised") << Qt::WindowStates(Qt::WindowMaximized);
    QTest::newRow("in full screen") << Qt::WindowStates(Qt::WindowFullScreen);
}

void TestFullScreen::reopenedAsItWas()
{
    QFETCH(Qt::WindowStates, before);
    const bool isFull = before == Qt::WindowFullScreen;
    if (isFull) {
        QTest::mouseDClick(m_player->mpv(), Qt::LeftButton);
    } else {
        m_player->window()->setWindowState(before);
    }
    QTRY_COMPARE(managedState(), before);
    m_player->window()->showMinimized();
    QTRY_VERIFY(managedState() & Qt::WindowMinimized);
    m_player->open(Film);
    QVERIFY(!m_player->window()->isMinimized()); // whatever the window manager does of its own
    QTRY_COMPARE(managedState(), before);
    QCOMPARE(state(), before);
    QCOMPARE(isBarDocked(), !isFull);
    QCOMPARE(doesBarAppear(), isFull);
}

void TestFullScreen::comesBackMaximised()
{
    m_player->window()->showMaximized();
    QTRY_COMPARE(managedState(), Qt::WindowMaximized);
    QTest::mouseDClick(m_player->mpv(), Qt::LeftButton);
    QTRY_COMPARE(managedState(), Qt::WindowFullScreen);
    QTRY_VERIFY(doesBarAppear());
    QVERIFY(m_player->part("fullScreen")->toolTip().startsWith("退出全屏"));
    QTest::mouseDClick(m_player->mpv(), Qt::LeftButton);
    QTRY_COMPARE(managedState(), Qt::WindowMaximized);
    QVERIFY(isBarDocked());
    QVERIFY(m_player->part("fullScreen")->toolTip().startsWith("全屏"));
}

void TestFullScreen::followsTheWindowManager()
{
    const QWidget *list = m_player->part("videoListPanel");
    if (!list->isVisible()) {
        m_player->press("videoList");
    }
    m_player->window()->windowHandle()->setWindowState(Qt::WindowFullScreen);
    QTRY_COMPARE(m_player->mpv()->size(), QGuiApplication::primaryScreen()->size());
    QTRY_VERIFY(doesBarAppear());
    const auto *button = qobject_cast<QAbstractButton *>(m_player->part("videoList"));
    QVERIFY(!button->isChecked());
    m_player->window()->windowHandle()->setWindowState(Qt::WindowNoState);
    QTRY_VERIFY(isBarDocked());
    QVERIFY(list->isVisible());
    QVERIFY(button->isChecked());
    QVERIFY(!doesBarAppear());
    QTest::mouseDClick(m_player->mpv(), Qt::LeftButton);
    QTRY_COMPARE(managedState(), Qt::WindowFullScreen);
}

void TestFullScreen::tabBringsTheBar()
{
    QTest::mouseDClick(m_player->mpv(), Qt::LeftButton);
    QTRY_COMPARE(managedState(), Qt::WindowFullScreen);
    QWidget *bar = m_player->part("controlBar");
    QVERIFY(!bar->isVisible());
    const auto stop = [] {
        const QWidget *widget = QApplication::focusWidget();
        return widget ? widget->objectName() : QString();
    };
    QTRY_VERIFY(m_player->part("seekBar")->isEnabled());
    QTRY_COMPARE(stop(), QString("mpvWidget"));
    QTest::keyClick(m_player->mpv(), Qt::Key_Tab);
    QTRY_COMPARE(stop(), QString("seekBar"));
    QTest::keyClick(m_player->part("seekBar"), Qt::Key_Tab);
    QCOMPARE(stop(), QString("previous"));
    QTest::keyClick(m_player->part("previous"), Qt::Key_Escape);
    QTRY_COMPARE(stop(), QString("mpvWidget"));
    QVERIFY(!bar->isVisible());
    QCOMPARE(managedState(), Qt::WindowFullScreen);
}

void TestFullScreen::isNotRestoredInFullScreen()
{
    const QRect before = m_player->window()->geometry();
    m_player->window()->windowHandle()->setWindowState(Qt::WindowFullScreen);
    QTRY_VERIFY(doesBarAppear());
    m_player->window()->close();
    QTRY_VERIFY(!m_player->window());
    open();
    QTRY_COMPARE(m_player->window()->geometry(), before);
    QCOMPARE(state(), Qt::WindowNoState);
}

void TestFullScreen::theWheelOverTheSeekBarIsTheVolumes()
{
    auto *bar = qobject_cast<QSlider *>(m_player->part("seekBar"));
    m_player->mpv()->pause();
    QTRY_VERIFY(bar->isEnabled());
    const int value = bar->value();
    for (const int volume : {90, 80}) {
        bar->setEnabled(volume > 80); // as while another video opens
        QWheelEvent turn(QPointF(5, 5), bar->mapToGlobal(QPoint(5, 5)), {}, QPoint(0, -120),
                         Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(bar, &turn);
        QCOMPARE(m_player->mpv()->volume(), volume);
    }
    QCOMPARE(bar->value(), value);
}

void TestFullScreen::firstOpensOverItsOpener()
{
    m_player->close();
    AppSettings().savePlayerState({});
    QWidget opener;
    opener.setGeometry(500, 200, 1000, 700);
    opener.show();
    QVERIFY(QTest::qWaitForWindowActive(&opener));
    open();
    const QPoint way = m_player->window()->geometry().center() - opener.frameGeometry().center();
    QVERIFY2(way.manhattanLength() <= 2, qPrintable(QString::number(way.manhattanLength())));
}

MORAVU_TEST(TestFullScreen)
#include "tst_full_screen.moc"
