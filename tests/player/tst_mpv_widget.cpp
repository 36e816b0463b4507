#include <clocale>
#include <csignal>
#include <stdexcept>

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include "player/clips.h"
#include "player/mpv/mpv_widget.h"
#include "player/mpv/track_info.h"
#include "support/test_main.h"

// The widget with the real libmpv, on a display.
class TestMpvWidget final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void loadsWhatWasAskedForBeforeTheContext();
    void showsTheFrameOfItsPosition();
    void pausesAndPlays();
    void reportsVolume();
    void reportsTracks();
    void addsASubtitleFile();
    void reportsHowAFileEnded_data();
    void reportsHowAFileEnded();
    void tellsOnlyOfTheFileLoadedLast();
    void knowsWhetherTheDurationIsSettled_data();
    void knowsWhetherTheDurationIsSettled();
    void letsGoWhenLibmpvQuits();
    void refusedPropertiesAreZero();
    void emitsOnlyTheLeftButton();
    void drawsWhileMinimised();
    void failsWithoutTheLocale();
    void isTornDownInEveryState_data();
    void isTornDownInEveryState();
    void leavesSignalsAsTheyWere();

private:
    QTemporaryDir m_folder;
    QString m_clip;
};

void TestMpvWidget::initTestCase()
{
    m_clip = m_folder.filePath("clip.mkv");
    clips::Clip clip;
    clip.seconds = 20;
    clip.inputs = QStringList{"-f", "lavfi", "-i", "sine=duration=20"};
    clip.outputs = QStringList{"-c:a", "aac", "-metadata:s:a:0", "language=jpn"};
    QVERIFY(clips::make(m_clip, clip));
    QVERIFY(clips::make(m_folder.filePath("short.mkv"), {2}));
}

void TestMpvWidget::loadsWhatWasAskedForBeforeTheContext()
{
    MpvWidget widget;
    QSignalSpy durations(&widget, &MpvWidget::durationChanged);
    widget.loadFile(m_clip);
    QVERIFY(widget.getProperty("idle-active").toBool());
    QVERIFY(widget.getProperty("options/terminal").toBool());
    widget.show();
    QTRY_COMPARE(durations.value(0).value(0).toInt(), 20);
    QCOMPARE(widget.duration(), 20);
    QCOMPARE(widget.getProperty("current-vo").toString(), QString("libmpv"));
}

void TestMpvWidget::showsTheFrameOfItsPosition()
{
    MpvWidget widget;
    widget.resize(320, 180);
    widget.show();
    widget.pause();
    const QSignalSpy loaded(&widget, &MpvWidget::fileLoaded);
    widget.loadFile(m_clip);
    QTRY_COMPARE(loaded.size(), 1); // the duration is known earlier, but libmpv refuses to seek
    QCOMPARE(widget.duration(), 20);
    for (const int second : {13, 6}) {
        widget.seekAbsolute(second);
        QTRY_COMPARE(clips::secondShown(widget.grabFramebuffer()), second);
        QTRY_COMPARE(widget.position(), second);
    }
    widget.seekRelative(5);
    QTRY_COMPARE(clips::secondShown(widget.grabFramebuffer()), 11);
    widget.seekRelative(-3);
    QTRY_COMPARE(clips::secondShown(widget.grabFramebuffer()), 8);
}

void TestMpvWidget::pausesAndPlays()
{
    MpvWidget widget;
    widget.show();
    QSignalSpy pauses(&widget, &MpvWidget::paused);
    QSignalSpy positions(&widget, &MpvWidget::positionChanged);
    widget.loadFile(m_clip);
    QTRY_VERIFY(positions.count() > 2);
    widget.pause();
    QTRY_COMPARE(pauses.value(pauses.count() - 1).value(0), QVariant(true));
    QVERIFY(widget.isPaused());
    QTRY_VERIFY(widget.getProperty("core-idle").toBool());
    positions.clear();
    widget.play();
    QTRY_VERIFY(positions.count() > 2);
    QVERIFY(!widget.isPaused());
}

void TestMpvWidget::reportsVolume()
{
    MpvWidget widget;
    QSignalSpy volumes(&widget, &MpvWidget::volumeChanged);
    widget.setProperty("volume", 57.9);
    QTRY_COMPARE(volumes.value(volumes.count() - 1).value(0), QVariant(57));
    widget.setVolume(40);
    QCOMPARE(widget.volume(), 40);
    widget.setVolume(-10);
    QCOMPARE(widget.volume(), 40);
    widget.setMute(true);
    QVERIFY(widget.isMute());
}

void TestMpvWidget::reportsTracks()
{
    MpvWidget widget;
    TrackInfo tracks;
    connect(&widget, &MpvWidget::trackListChanged, this, [&](TrackInfo &info) { tracks = info; });
    widget.show();
    widget.loadFile(m_clip);
    QTRY_COMPARE(tracks.audioTracks.size(), 1);
    QCOMPARE(tracks.audioTracks[0].lang, QString("jpn"));
    QCOMPARE(tracks.audioTracks[0].codec, QString("aac"));
    QCOMPARE(tracks.videoTracks.size(), 1);
    QCOMPARE(tracks.videoTracks[0].demuxW, 320);
    QCOMPARE(tracks.subTracks.size(), 0);
}

void TestMpvWidget::addsASubtitleFile()
{
    const QString path = m_folder.filePath("words.subtitle");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("1\n00:00:00,000 --> 00:00:20,000\n字幕\n");
    file.close();

    MpvWidget widget;
    TrackInfo tracks;
    connect(&widget, &MpvWidget::trackListChanged, this, [&](TrackInfo &info) { tracks = info; });
    QSignalSpy loaded(&widget, &MpvWidget::fileLoaded);
    widget.show();
    widget.loadFile(m_clip);
    QTRY_COMPARE(loaded.count(), 1);
    widget.addSubtitle(path);
    QTRY_COMPARE(tracks.subTracks.size(), 1);
    QTRY_VERIFY(tracks.subTracks[0].selected);
    QCOMPARE(widget.getProperty("sub-text").toString(), QString("字幕"));
}

void TestMpvWidget::reportsHowAFileEnded_data()
{
    QTest::addColumn<QString>("second");
    QTest::addColumn<bool>("finished");
    QTest::addColumn<MpvWidget::EndReason>("reason");
    QTest::newRow("natural end") << QString() << true << MpvWidget::EndReason::Finished;
    QTest::newRow("replaced by another file")
        << m_clip << false << MpvWidget::EndReason::Superseded;
    QTest::newRow("replaced by one that cannot be opened")
        << m_folder.filePath("none.mkv") << false << MpvWidget::EndReason::Superseded;
}

void TestMpvWidget::reportsHowAFileEnded()
{
    QFETCH(QString, second);
    QFETCH(bool, finished);
    QFETCH(MpvWidget::EndReason, reason);
    MpvWidget widget;
    QList<MpvWidget::EndReason> reasons;
    connect(&widget, &MpvWidget::playEnd, this, [&] { reasons.append(widget.endReason()); });
    QSignalSpy ends(&widget, &MpvWidget::playEnd);
    QSignalSpy loaded(&widget, &MpvWidget::fileLoaded);
    widget.show();
    widget.loadFile(m_folder.filePath("short.mkv"));
    QTRY_COMPARE(loaded.count(), 1);
    if (!second.isEmpty()) {
        widget.loadFile(second);
    }
    QTRY_VERIFY(!ends.isEmpty());
    QCOMPARE(ends.value(0).value(0).toBool(), finished);
    QCOMPARE(reasons.value(0), reason);
    if (second.endsWith("none.mkv")) {
        QTRY_COMPARE(reasons.value(1), MpvWidget::EndReason::Failed);
    }
}

void TestMpvWidget::tellsOnlyOfTheFileLoadedLast()
{
    MpvWidget widget;
    const QSignalSpy restarts(&widget, &MpvWidget::playbackRestarted);
    widget.show();
    widget.loadFile(m_clip);
    QTRY_COMPARE(restarts.size(), 1);
    widget.seekAbsolute(13);
    QTRY_COMPARE(restarts.size(), 2);
    QSignalSpy positions(&widget, &MpvWidget::positionChanged);
    QSignalSpy pauses(&widget, &MpvWidget::paused);
    QSignalSpy volumes(&widget, &MpvWidget::volumeChanged);
    QThread::msleep(200); // libmpv holds back a position meanwhile
    widget.loadFile(m_folder.filePath("short.mkv"));
    QCOMPARE(widget.knownPosition(), std::nullopt);
    QCOMPARE(widget.duration(), 0);
    widget.on_mpv_events();
    QTRY_COMPARE(restarts.size(), 3);
    QCOMPARE(widget.duration(), 2);
    QTRY_COMPARE(positions.value(positions.size() - 1).value(0), QVariant(1));
    for (const QList<QVariant> &position : qAsConst(positions)) {
        QVERIFY(position.at(0).toInt() < 2);
    }
    QCOMPARE(pauses.size() + volumes.size(), 0);
}

void TestMpvWidget::knowsWhetherTheDurationIsSettled_data()
{
    QTest::addColumn<QStringList>("outputs");
    QTest::addColumn<bool>("settled");
    QTest::newRow("the file says how long it is") << QStringList() << true;
    QTest::newRow("the file does not say how long it is") << QStringList{"-live", "1"} << false;
}

void TestMpvWidget::knowsWhetherTheDurationIsSettled()
{
    QFETCH(QStringList, outputs);
    QFETCH(bool, settled);
    const QString path = m_folder.filePath("long.mkv");
    QVERIFY(clips::make(path, {12, 320, 180, {}, outputs}));
    MpvWidget widget;
    QVERIFY(!widget.isDurationSettled());
    const QSignalSpy restarts(&widget, &MpvWidget::playbackRestarted);
    widget.show();
    widget.loadFile(path);
    QTRY_COMPARE(restarts.size(), 1);
    QCOMPARE(widget.isDurationSettled(), settled);
    widget.seekAbsolute(8);
    QTRY_COMPARE(restarts.size(), 2);
    widget.seekAbsolute(2); // what was read until now ends after the cache
    QTRY_COMPARE(restarts.size(), 3);
    QCOMPARE(widget.isDurationSettled(), settled);
    QTRY_VERIFY(widget.duration() > 8);
    widget.seekAbsolute(11);
    QTRY_VERIFY(widget.isDurationSettled());
    QTRY_VERIFY(!widget.isDurationSettled()); // the file is over
    QCOMPARE(widget.knownPosition(), std::nullopt);
}

void TestMpvWidget::letsGoWhenLibmpvQuits()
{
    MpvWidget widget;
    const QSignalSpy loaded(&widget, &MpvWidget::fileLoaded);
    widget.show();
    widget.loadFile(m_clip);
    QTRY_COMPARE(loaded.size(), 1);
    widget.command(QVariantList{"quit"});
    constexpr int Uninitialized = -3;
    QTRY_COMPARE(widget.getProperty("pause").value<MpvError>().status, Uninitialized);
    widget.update();
    widget.loadFile(m_clip);
    QCOMPARE(widget.position(), 0);
}

void TestMpvWidget::refusedPropertiesAreZero()
{
    MpvWidget widget;
    QCOMPARE(widget.position(), 0);
    QCOMPARE(widget.duration(), 0);
    const QVariant refused = widget.getProperty("no-such-property");
    QCOMPARE(refused.userType(), qMetaTypeId<MpvError>());
    QCOMPARE(refused.value<MpvError>().status, -8);
    QCOMPARE(refused.toInt(), 0);
    QCOMPARE(refused.toBool(), false);
}

void TestMpvWidget::emitsOnlyTheLeftButton()
{
    MpvWidget widget;
    QSignalSpy released(&widget, &MpvWidget::mouseReleased);
    for (const Qt::MouseButton button : {Qt::RightButton, Qt::MiddleButton, Qt::LeftButton}) {
        QTest::mouseRelease(&widget, button);
    }
    QCOMPARE(released.count(), 1);
}

void TestMpvWidget::drawsWhileMinimised()
{
    MpvWidget widget;
    QSignalSpy positions(&widget, &MpvWidget::positionChanged);
    widget.show();
    widget.loadFile(m_clip);
    QTRY_VERIFY(positions.count() > 2);
    widget.showMinimized();
    QTRY_VERIFY(widget.isMinimized());
    const int before = widget.position();
    QTRY_VERIFY(widget.position() >= before + 2);
    QVERIFY(widget.getProperty("frame-drop-count").toInt() < 10);
}

void TestMpvWidget::failsWithoutTheLocale()
{
    if (!std::setlocale(LC_NUMERIC, "de_DE.UTF-8") && !std::setlocale(LC_NUMERIC, "zh_CN.UTF-8")) {
        QSKIP("no other locale is installed");
    }
    QString error;
    try {
        MpvWidget widget;
    } catch (const std::runtime_error &thrown) {
        error = QString::fromUtf8(thrown.what());
    }
    std::setlocale(LC_NUMERIC, "C");
    QCOMPARE(error, QString("could not create mpv context"));
}

void TestMpvWidget::isTornDownInEveryState_data()
{
    QTest::addColumn<bool>("shown");
    QTest::addColumn<bool>("playing");
    QTest::newRow("never shown") << false << false;
    QTest::newRow("loading") << true << false;
    QTest::newRow("playing") << true << true;
}

void TestMpvWidget::isTornDownInEveryState()
{
    QFETCH(bool, shown);
    QFETCH(bool, playing);
    for (int i = 0; i < 10; ++i) {
        MpvWidget widget;
        const QSignalSpy positions(&widget, &MpvWidget::positionChanged);
        widget.loadFile(m_clip);
        widget.setVisible(shown);
        QTRY_VERIFY(!playing || positions.size() > 2);
    }
}

// With the default handling, which libmpv leaves behind, the end of a session would kill the
// program.
void TestMpvWidget::leavesSignalsAsTheyWere()
{
    const auto ignore = [](int /*signal*/) {};
    for (const int signal : {SIGINT, SIGTERM}) {
        std::signal(signal, ignore);
        {
            MpvWidget widget;
        }
        QVERIFY(std::signal(signal, SIG_DFL) == static_cast<void (*)(int)>(ignore));
    }
}

MORAVU_TEST(TestMpvWidget)
#include "tst_mpv_widget.moc"
