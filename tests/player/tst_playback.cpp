#include <clocale>

#include <QApplication>
#include <QLabel>
#include <QtTest>

#include "app/environment/app_settings.h"
#include "db/tables/operations.h"
#include "player/mpv_widget.h"
#include "player/player_fixture.h"
#include "player/player_window.h"
#include "ui/widgets/toast.h"

namespace {

const QString infoPath = QStringLiteral("/adrive/v1.0/openFile/getVideoPreviewPlayInfo");
const QString interrupted = QStringLiteral("视频播放中断，请稍后再试");

bool toastShown(const QString &text)
{
    const QWidgetList widgets = QApplication::topLevelWidgets();
    return std::any_of(widgets.cbegin(), widgets.cend(), [&text](const QWidget *widget) {
        const auto *label = widget->findChild<QLabel *>();
        return qobject_cast<const Toast *>(widget) && label && label->text() == text;
    });
}

localdrive::Fault fault(const char *path, int status, int count)
{
    localdrive::Fault fault;
    fault.path = path;
    fault.status = status;
    fault.count = count;
    return fault;
}

clips::Clip streamed(int seconds)
{
    clips::Clip clip;
    clip.seconds = seconds;
    clip.width = 640;
    clip.height = 360;
    return clip;
}

int distinct(const QStringList &ids)
{
    return QSet<QString>(ids.cbegin(), ids.cend()).size();
}

bool isLong()
{
    return qEnvironmentVariableIsSet("MORAVU_LONG");
}

} // namespace

// What happens when videos open, end, fail or freeze, with the real libmpv and the local drive.
class TestPlayback final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_player = std::make_unique<PlayerFixture>(); }
    void cleanup() { m_player.reset(); }

    void closingWhileOpeningSavesTheOldVideo();
    void aVideoThatNeverPlayedKeepsItsRow_data();
    void aVideoThatNeverPlayedKeepsItsRow();
    void whatIsNoVideoKeepsItsRow();
    void shortVideosFollowEachOther();
    void clipsOfAMomentDoNotRaceRound();
    void seekingToTheEndMovesOn_data();
    void seekingToTheEndMovesOn();
    void anOutroAsLongAsTheVideoIsIgnored();
    void movesOnAtTheOutro();
    void aPausedVideoDoesNotMoveOn();
    void oneVideoWrapsToItself();
    void anExpiredAddressIsRenewed();
    void aSecondFailureIsTold();
    void qualityChangesInPlace();
    void anotherQualityMayPlay();
    void listsQualitiesAsOffered();
    void isTornDownInEveryState_data();
    void isTornDownInEveryState();
    void aFrozenServerDoesNotFreezeTheWindow();

private:
    // The ids of the videos whose play information was asked for, in order.
    QStringList opened() const;
    void skipTail(const QString &path, int tail);

    std::unique_ptr<PlayerFixture> m_player;
};

QStringList TestPlayback::opened() const
{
    QStringList ids;
    for (const auto &request : m_player->server().requestsTo(infoPath.toStdString()))
        ids.append(bodyOf(request).value(QStringLiteral("file_id")).toString());
    return ids;
}

void TestPlayback::skipTail(const QString &path, int tail)
{
    FolderSetting setting;
    setting.folderId = m_player->item(path).parent_file_id;
    setting.skipTailPos = tail;
    saveFolderSetting(setting);
}

void TestPlayback::closingWhileOpeningSavesTheOldVideo()
{
    m_player->addClip(QStringLiteral("show/1.mkv"), {60});
    m_player->addClip(QStringLiteral("show/2.mkv"), {60});
    m_player->storePosition(QStringLiteral("show/2.mkv"), 7, 60);
    m_player->storePosition(QStringLiteral("show/1.mkv"), 30, 60);
    m_player->open(QStringLiteral("show/1.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(31), 15000);
    localdrive::Fault slow;
    slow.path = "getVideoPreviewPlayInfo";
    slow.delay = std::chrono::milliseconds(3000);
    m_player->server().addFault(slow);
    QTest::mouseClick(m_player->part(QStringLiteral("next")), Qt::LeftButton);
    QTest::qWait(1500);
    m_player->window()->close();
    QTRY_VERIFY(!m_player->window());
    const PlayHistory old = m_player->storedHistory(QStringLiteral("show/1.mkv"));
    QVERIFY2(old.playPosition.value() >= 32, qPrintable(QString::number(old.playPosition.value())));
    QVERIFY(old.playPosition.value() < 40);
    QCOMPARE(m_player->storedHistory(QStringLiteral("show/2.mkv")).playPosition.value(), 7);
    QTest::qWait(2000); // the reply comes to nobody
}

void TestPlayback::aVideoThatNeverPlayedKeepsItsRow_data()
{
    QTest::addColumn<QString>("failing");
    QTest::addColumn<QString>("told");
    QTest::newRow("no play information") << QStringLiteral("getVideoPreviewPlayInfo") << QString();
    QTest::newRow("no address at all") << QStringLiteral("getDownloadUrl") << QString();
    QTest::newRow("an address that is refused")
        << QStringLiteral("/download/") << QStringLiteral("视频无法播放");
}

void TestPlayback::aVideoThatNeverPlayedKeepsItsRow()
{
    QFETCH(QString, failing);
    QFETCH(QString, told);
    m_player->addClip(QStringLiteral("film.mkv"), {30});
    m_player->storePosition(QStringLiteral("film.mkv"), 17, 30);
    const LogCapture log;
    m_player->server().addFault(fault(failing.toLatin1().constData(), 403, -1));
    m_player->open(QStringLiteral("film.mkv"));
    if (told.isEmpty()) {
        QTRY_VERIFY(!log.lines().filter(failing.mid(3)).isEmpty() ||
                    !log.lines().filter(QStringLiteral("getPlayInfo fail : ")).isEmpty());
    } else {
        QTRY_VERIFY(toastShown(told));
    }
    const QWidget *notice = m_player->part(QStringLiteral("videoNotice"));
    QTRY_VERIFY(notice->isVisible() &&
                notice->accessibleName().startsWith(QStringLiteral("视频无法播放")));
    QCOMPARE(m_player->timeText(), QStringLiteral("00:00:00/00:00:00"));
    m_player->window()->close();
    QTRY_VERIFY(!m_player->window());
    QCOMPARE(m_player->storedHistory(QStringLiteral("film.mkv")).playPosition.value(), 17);
}

void TestPlayback::whatIsNoVideoKeepsItsRow()
{
    m_player->addFile(QStringLiteral("film.mkv"), QByteArray(200000, 'x'));
    m_player->storePosition(QStringLiteral("film.mkv"), 17, 30);
    m_player->setPlayInfo(R"({"video_preview_play_info": {"live_transcoding_task_list": []}})");
    m_player->open(QStringLiteral("film.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(toastShown(QStringLiteral("视频无法播放")), 15000);
    m_player->window()->close();
    QTRY_VERIFY(!m_player->window());
    QCOMPARE(m_player->storedHistory(QStringLiteral("film.mkv")).playPosition.value(), 17);
}

void TestPlayback::shortVideosFollowEachOther()
{
    QStringList expected;
    for (int i = 0; i < 4; ++i) {
        const QString path = QStringLiteral("clips/%1.mkv").arg(i);
        m_player->addClip(path, {2 + i % 3});
        expected.append(m_player->item(path).file_id);
    }
    const int count = isLong() ? 50 : 6;
    while (expected.size() < count)
        expected += expected.mid(0, qMin(4, count - expected.size()));
    m_player->open(QStringLiteral("clips/0.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(opened().size() >= count, count * 8000);
    QCOMPARE(opened().mid(0, count), expected);
    // Watched to its end: it will begin anew.
    const PlayHistory watched = m_player->storedHistory(QStringLiteral("clips/2.mkv"));
    QCOMPARE(watched.playPosition.value(), 4);
    QCOMPARE(watched.duration.value(), 4);
    m_player->window()->close();
}

void TestPlayback::clipsOfAMomentDoNotRaceRound()
{
    clips::Clip moment;
    moment.outputs = QStringList{QStringLiteral("-frames:v"), QStringLiteral("5")};
    m_player->addClip(QStringLiteral("clips/0.mkv"), moment);
    m_player->open(QStringLiteral("clips/0.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(toastShown(QStringLiteral("视频无法播放")), 15000);
    QCOMPARE(opened().size(), 2);
}

void TestPlayback::seekingToTheEndMovesOn_data()
{
    QTest::addColumn<int>("target");
    QTest::newRow("the last second") << 59;
    QTest::newRow("the end") << 60;
    QTest::newRow("beyond it") << 75;
}

void TestPlayback::seekingToTheEndMovesOn()
{
    QFETCH(int, target);
    m_player->addClip(QStringLiteral("show/1.mkv"), {60});
    m_player->addClip(QStringLiteral("show/2.mkv"), {60});
    m_player->open(QStringLiteral("show/1.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(1), 15000);
    m_player->mpv()->seekAbsolute(target);
    QTRY_COMPARE_WITH_TIMEOUT(distinct(opened()), 2, 15000);
    QCOMPARE(opened().size(), 2);
}

void TestPlayback::anOutroAsLongAsTheVideoIsIgnored()
{
    m_player->addClip(QStringLiteral("clips/0.mkv"), {4});
    m_player->addClip(QStringLiteral("clips/1.mkv"), {4});
    skipTail(QStringLiteral("clips/0.mkv"), 120);
    m_player->open(QStringLiteral("clips/0.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(2), 15000);
    QCOMPARE(opened().size(), 1);
    QTRY_COMPARE(opened().size(), 2);
}

void TestPlayback::movesOnAtTheOutro()
{
    m_player->addClip(QStringLiteral("show/1.mkv"), {60});
    m_player->addClip(QStringLiteral("show/2.mkv"), {60});
    m_player->addClip(QStringLiteral("show/3.mkv"), {60});
    skipTail(QStringLiteral("show/1.mkv"), 20);
    m_player->storePosition(QStringLiteral("show/1.mkv"), 37, 60);
    m_player->open(QStringLiteral("show/1.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(opened().size() >= 2, 10000);
    QTRY_COMPARE(m_player->window()->windowTitle(), QStringLiteral("2.mkv"));
    const PlayHistory row = m_player->storedHistory(QStringLiteral("show/1.mkv"));
    QVERIFY(row.playPosition.value() >= 40 && row.playPosition.value() <= 42);
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(2), 15000);
    QCOMPARE(opened().size(), 2);
}

void TestPlayback::aPausedVideoDoesNotMoveOn()
{
    m_player->addClip(QStringLiteral("show/1.mkv"), {60});
    m_player->addClip(QStringLiteral("show/2.mkv"), {60});
    skipTail(QStringLiteral("show/1.mkv"), 20);
    m_player->open(QStringLiteral("show/1.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(1), 15000);
    m_player->mpv()->pause();
    m_player->mpv()->seekAbsolute(50);
    QTRY_COMPARE(m_player->secondLabelled(), 50);
    QTest::qWait(1500);
    QCOMPARE(opened().size(), 1);
    m_player->mpv()->play();
    QTRY_COMPARE(opened().size(), 2);
}

void TestPlayback::oneVideoWrapsToItself()
{
    m_player->addClip(QStringLiteral("one.mkv"), {3});
    m_player->open(QStringLiteral("one.mkv"));
    QTRY_COMPARE_WITH_TIMEOUT(opened().size(), 3, 15000);
    QCOMPARE(distinct(opened()), 1);
}

void TestPlayback::anExpiredAddressIsRenewed()
{
    m_player->addClip(QStringLiteral("show/1.mkv"), streamed(60));
    m_player->addClip(QStringLiteral("show/2.mkv"), streamed(60));
    QVERIFY(m_player->server().prepareMedia("show/1.mkv"));
    m_player->storePosition(QStringLiteral("show/1.mkv"), 17, 60);
    // All parts from 24 s on are refused for one reading: the first of them is asked for 5 times.
    m_player->server().addFault(fault("part0*([6-9]|1[0-9])\\.ts", 403, 13));
    m_player->open(QStringLiteral("show/1.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(18), 15000);
    m_player->mpv()->setVolume(35);
    QTRY_VERIFY_WITH_TIMEOUT(opened().size() == 2, 15000);
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(27), 10000);
    QCOMPARE(distinct(opened()), 1);
    QVERIFY(qAbs(m_player->secondShown() - m_player->secondLabelled()) <= 1);
    QCOMPARE(m_player->mpv()->volume(), 35);
    QCOMPARE(m_player->checkedText(QStringLiteral("quality")), QStringLiteral("流畅 360p"));
}

void TestPlayback::aSecondFailureIsTold()
{
    m_player->addClip(QStringLiteral("show/1.mkv"), streamed(60));
    m_player->addClip(QStringLiteral("show/2.mkv"), streamed(60));
    QVERIFY(m_player->server().prepareMedia("show/1.mkv"));
    m_player->storePosition(QStringLiteral("show/1.mkv"), 20, 60);
    m_player->server().addFault(fault("part0*([6-9]|1[0-9])\\.ts", 403, -1));
    m_player->open(QStringLiteral("show/1.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(toastShown(interrupted), 20000);
    QCOMPARE(opened().size(), 2);
    QCOMPARE(distinct(opened()), 1);
    QTest::qWait(1500);
    QCOMPARE(opened().size(), 2);
    m_player->window()->close();
    QTRY_VERIFY(!m_player->window());
    const int position = m_player->storedHistory(QStringLiteral("show/1.mkv")).playPosition.value();
    QVERIFY2(position >= 20 && position <= 25, qPrintable(QString::number(position)));
}

void TestPlayback::qualityChangesInPlace()
{
    clips::Clip clip = streamed(60);
    clip.width = 960;
    clip.height = 540;
    m_player->addClip(QStringLiteral("film.mkv"), clip);
    QVERIFY(m_player->server().prepareMedia("film.mkv"));
    m_player->storePosition(QStringLiteral("film.mkv"), 33, 60);
    m_player->open(QStringLiteral("film.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(34), 15000);
    QCOMPARE(m_player->checkedText(QStringLiteral("quality")), QStringLiteral("标清 540p"));
    m_player->mpv()->pause();
    m_player->mpv()->setVolume(55);
    const int before = m_player->mpv()->position();

    int told = 0;
    const QObject scope;
    connect(&m_player->host(), &PlayerHost::videoQualityChanged, &scope, [&told] { ++told; });
    for (const QString &text : {QStringLiteral("流畅 360p"), QStringLiteral("原画(960x540)")}) {
        QVERIFY(m_player->choose(QStringLiteral("quality"), text));
        QCOMPARE(m_player->checkedText(QStringLiteral("quality")), text);
        QTRY_VERIFY(qAbs(m_player->mpv()->position() - before) <= 1);
        QTRY_VERIFY(qAbs(m_player->secondShown() - before) <= 1);
        QVERIFY(m_player->mpv()->isPaused());
        QCOMPARE(m_player->mpv()->volume(), 55);
    }
    QCOMPARE(told, 2);
    QCOMPARE(AppSettings().videoQuality(), QStringLiteral("OrgHD"));
    QTRY_COMPARE(m_player->mpv()->getProperty(QStringLiteral("video-params/h")).toInt(), 540);
}

void TestPlayback::anotherQualityMayPlay()
{
    m_player->addClip(QStringLiteral("film.mkv"), {20});
    m_player->storePosition(QStringLiteral("film.mkv"), 9, 20);
    m_player->setPlayInfo(R"({"video_preview_play_info": {
        "meta": {"width": 320, "height": 180},
        "live_transcoding_task_list": [
            {"template_id": "FHD", "url": "http://127.0.0.1:1/x.m3u8"}]}})");
    m_player->open(QStringLiteral("film.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(toastShown(QStringLiteral("视频无法播放")), 15000);
    QVERIFY(m_player->choose(QStringLiteral("quality"), QStringLiteral("原画(320x180)")));
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(9), 15000);
}

void TestPlayback::listsQualitiesAsOffered()
{
    m_player->addClip(QStringLiteral("film.mkv"), {20});
    m_player->setPlayInfo(R"({"video_preview_play_info": {
        "meta": {"width": 7680, "height": 4320},
        "live_transcoding_task_list": [
            {"template_id": "LD", "status": "running"},
            {"template_id": "XD", "url": "http://127.0.0.1:1/x.m3u8"},
            {"template_id": "QHD"}]}})");
    m_player->open(QStringLiteral("film.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(1), 15000);
    QCOMPARE(m_player->menuTexts(QStringLiteral("quality")),
             (QStringList{QStringLiteral("流畅 360p"), QStringLiteral("未知"),
                          QStringLiteral("超清 1440p"), QStringLiteral("原画(8K)")}));
    QCOMPARE(m_player->checkedText(QStringLiteral("quality")), QStringLiteral("原画(8K)"));
    QCOMPARE(AppSettings().videoQuality(), QStringLiteral("FHD"));
}

void TestPlayback::isTornDownInEveryState_data()
{
    QTest::addColumn<QString>("state");
    for (const char *state : {"loading", "playing", "paused", "full screen", "minimised"})
        QTest::newRow(state) << QString::fromLatin1(state);
}

void TestPlayback::isTornDownInEveryState()
{
    QFETCH(QString, state);
    m_player->addClip(QStringLiteral("film.mkv"), {30});
    const int count = isLong() ? 20 : 2;
    for (int i = 0; i < count; ++i) {
        m_player->open(QStringLiteral("film.mkv"));
        if (state != QLatin1String("loading"))
            QTRY_VERIFY(m_player->hasReached(1) || m_player->secondShown() >= 0);
        if (state == QLatin1String("paused")) {
            m_player->mpv()->pause();
        } else if (state == QLatin1String("full screen")) {
            QTest::mouseDClick(m_player->mpv(), Qt::LeftButton);
        } else if (state == QLatin1String("minimised")) {
            m_player->window()->showMinimized();
        }
        QTest::qWait(100);
        QElapsedTimer timer;
        timer.start();
        m_player->host().closeAll();
        QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(!m_player->window());
    }
}

void TestPlayback::aFrozenServerDoesNotFreezeTheWindow()
{
    m_player->addClip(QStringLiteral("film.mkv"), streamed(60));
    QVERIFY(m_player->server().prepareMedia("film.mkv"));
    localdrive::Fault freeze;
    freeze.path = "part0*[3-9]\\.ts";
    freeze.count = -1;
    freeze.wire = localdrive::Break::FreezeInsideBody;
    m_player->server().addFault(freeze);
    m_player->open(QStringLiteral("film.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(2), 15000);
    m_player->mpv()->seekAbsolute(40);

    QElapsedTimer timer;
    timer.start();
    int longest = 0;
    for (int i = 0; i < 40; ++i) {
        const qint64 before = timer.elapsed();
        m_player->window()->repaint();
        QTest::qWait(50);
        longest = qMax(longest, static_cast<int>(timer.elapsed() - before));
    }
    QVERIFY2(longest < 500, qPrintable(QString::number(longest)));
    timer.restart();
    m_player->host().closeAll();
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
}

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    TestPlayback test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_playback.moc"
