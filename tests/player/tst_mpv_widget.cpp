#include "player/mpv_widget.h"

#include <clocale>
#include <stdexcept>

#include <QApplication>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include "player/clips.h"
#include "player/track_info.h"

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
    void refusedPropertiesAreZero();
    void emitsOnlyTheLeftButton();
    void drawsWhileMinimised();
    void failsWithoutTheLocale();
    void isTornDownInEveryState_data();
    void isTornDownInEveryState();

private:
    QTemporaryDir m_folder;
    QString m_clip;
};

void TestMpvWidget::initTestCase()
{
    m_clip = m_folder.filePath(QStringLiteral("clip.mkv"));
    clips::Clip clip;
    clip.seconds = 20;
    clip.inputs = QStringList{QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                              QStringLiteral("sine=duration=20")};
    clip.outputs = QStringList{QStringLiteral("-c:a"), QStringLiteral("aac"),
                               QStringLiteral("-metadata:s:a:0"), QStringLiteral("language=jpn")};
    QVERIFY(clips::make(m_clip, clip));
    QVERIFY(clips::make(m_folder.filePath(QStringLiteral("short.mkv")), {2}));
}

void TestMpvWidget::loadsWhatWasAskedForBeforeTheContext()
{
    MpvWidget widget;
    QSignalSpy durations(&widget, &MpvWidget::durationChanged);
    widget.loadFile(m_clip);
    QTest::qWait(200);
    QCOMPARE(widget.getProperty(QStringLiteral("idle-active")).toBool(), true);
    widget.show();
    QTRY_COMPARE(durations.value(0).value(0).toInt(), 20);
    QCOMPARE(widget.duration(), 20);
    QCOMPARE(widget.getProperty(QStringLiteral("current-vo")).toString(), QStringLiteral("libmpv"));
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
    QTest::qWait(100);
    positions.clear();
    QTest::qWait(300);
    QCOMPARE(positions.count(), 0);
    widget.play();
    QTRY_VERIFY(positions.count() > 2);
    QVERIFY(!widget.isPaused());
}

void TestMpvWidget::reportsVolume()
{
    MpvWidget widget;
    QSignalSpy volumes(&widget, &MpvWidget::volumeChanged);
    widget.setProperty(QStringLiteral("volume"), 57.9);
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
    QCOMPARE(tracks.audioTracks[0].lang, QStringLiteral("jpn"));
    QCOMPARE(tracks.audioTracks[0].codec, QStringLiteral("aac"));
    QCOMPARE(tracks.videoTracks.size(), 1);
    QCOMPARE(tracks.videoTracks[0].demuxW, 320);
    QCOMPARE(tracks.subTracks.size(), 0);
}

void TestMpvWidget::addsASubtitleFile()
{
    const QString path = m_folder.filePath(QStringLiteral("words.subtitle"));
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
    QCOMPARE(widget.getProperty(QStringLiteral("sub-text")).toString(), QStringLiteral("字幕"));
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
        << m_folder.filePath(QStringLiteral("none.mkv")) << false
        << MpvWidget::EndReason::Superseded;
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
    widget.loadFile(m_folder.filePath(QStringLiteral("short.mkv")));
    QTRY_COMPARE(loaded.count(), 1);
    if (!second.isEmpty())
        widget.loadFile(second);
    QTRY_VERIFY(!ends.isEmpty());
    QCOMPARE(ends.value(0).value(0).toBool(), finished);
    QCOMPARE(reasons.value(0), reason);
    if (second.endsWith(QStringLiteral("none.mkv")))
        QTRY_COMPARE(reasons.value(1), MpvWidget::EndReason::Failed);
}

void TestMpvWidget::refusedPropertiesAreZero()
{
    MpvWidget widget;
    QCOMPARE(widget.position(), 0);
    QCOMPARE(widget.duration(), 0);
    const QVariant refused = widget.getProperty(QStringLiteral("no-such-property"));
    QCOMPARE(refused.userType(), qMetaTypeId<MpvError>());
    QCOMPARE(refused.value<MpvError>().status, -8);
    QCOMPARE(refused.toInt(), 0);
    QCOMPARE(refused.toBool(), false);
}

void TestMpvWidget::emitsOnlyTheLeftButton()
{
    MpvWidget widget;
    QSignalSpy released(&widget, &MpvWidget::mouseReleased);
    for (const Qt::MouseButton button : {Qt::RightButton, Qt::MiddleButton, Qt::LeftButton})
        QTest::mouseRelease(&widget, button);
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
    QVERIFY(widget.getProperty(QStringLiteral("frame-drop-count")).toInt() < 10);
}

void TestMpvWidget::failsWithoutTheLocale()
{
    if (!std::setlocale(LC_NUMERIC, "de_DE.UTF-8") && !std::setlocale(LC_NUMERIC, "zh_CN.UTF-8"))
        QSKIP("no other locale is installed");
    QString error;
    try {
        MpvWidget widget;
    } catch (const std::runtime_error &thrown) {
        error = QString::fromUtf8(thrown.what());
    }
    std::setlocale(LC_NUMERIC, "C");
    QCOMPARE(error, QStringLiteral("could not create mpv context"));
}

void TestMpvWidget::isTornDownInEveryState_data()
{
    QTest::addColumn<int>("milliseconds");
    QTest::newRow("never shown") << -1;
    QTest::newRow("loading") << 0;
    QTest::newRow("playing") << 400;
}

void TestMpvWidget::isTornDownInEveryState()
{
    QFETCH(int, milliseconds);
    for (int i = 0; i < 10; ++i) {
        MpvWidget widget;
        widget.loadFile(m_clip);
        if (milliseconds < 0)
            continue;
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        QTest::qWait(milliseconds);
    }
}

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    TestMpvWidget test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_mpv_widget.moc"
