#include <QAbstractItemView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QToolButton>
#include <QtTest>

#include "app/environment/app_settings.h"
#include "player/mpv/mpv_widget.h"
#include "player/player_test.h"
#include "player/window/player_window.h"
#include "support/fault_on.h"
#include "support/test_main.h"

namespace {

const std::string PlayInfo = "getVideoPreviewPlayInfo";
const std::string SourceAddress = "getDownloadUrl";
const QString First = "show/1.mkv";
const QString Second = "show/2.mkv";
const QString Third = "show/3.mkv";

clips::Clip streamed(int seconds, int width = 640)
{
    clips::Clip clip;
    clip.seconds = seconds;
    clip.width = width;
    clip.height = width * 9 / 16;
    return clip;
}

// What the drive answers for a video of these qualities and their addresses.
QByteArray playInfoWith(std::initializer_list<std::pair<const char *, const char *>> streams)
{
    QJsonArray list;
    for (const auto &[id, url] : streams) {
        list.append(QJsonObject{{"template_id", id}, {"url", url}});
    }
    const QJsonObject info{{"meta", QJsonObject{{"width", 320}, {"height", 180}}},
                           {"live_transcoding_task_list", list}};
    return QJsonDocument(QJsonObject{{"video_preview_play_info", info}}).toJson();
}

bool isLong()
{
    return qEnvironmentVariableIsSet("MORAVU_LONG");
}

} // namespace

// What happens when videos open, end, fail or freeze, with the real libmpv and the local drive.
class TestPlayback final : public PlayerTest
{
    Q_OBJECT

private slots:
    void aFailedOpeningLeavesWhatPlays_data()
    {
        QTest::addColumn<QString>("failing");
        QTest::newRow("no play information") << QString::fromStdString(PlayInfo);
        QTest::newRow("no address") << "getDownloadUrl";
        QTest::newRow("an address that is refused") << "/download/";
        QTest::newRow("an address of this machine's disk") << QString();
    }

    void aFailedOpeningLeavesWhatPlays()
    {
        QFETCH(QString, failing);
        play(200, 20);
        const QStringList qualities = m_player->menuTexts("quality");
        const auto *list = qobject_cast<QAbstractItemView *>(m_player->part("videoListView"));
        if (failing.isEmpty()) {
            const std::string local = "file://" + m_player->server().rootPath() + "/show/3.mkv";
            m_player->setPlayInfo(playInfoWith({{"FHD", local.c_str()}}));
        } else {
            m_player->server().addFault(FaultOn(failing.toStdString()).times(1).status(403));
        }
        m_player->press("next");
        QCOMPARE(m_player->timeText(), "00:00:00/00:00:00");
        QCOMPARE(list->currentIndex().row(), 1);
        QVERIFY(!m_player->isOn("seekBar") && !m_player->isOn("skip") &&
                !m_player->isOn("quality"));
        QTRY_VERIFY(isRefused("2.mkv"));
        QVERIFY(m_player->waitFor(21));
        QVERIFY(m_player->timeText().endsWith("/00:03:20"));
        QCOMPARE(title(), "1.mkv");
        QCOMPARE(list->currentIndex().row(), 0);
        QTRY_VERIFY(m_player->isOn("seekBar") && m_player->isOn("skip"));
        QCOMPARE(m_player->menuTexts("quality"), qualities);
        const int second = m_player->secondLabelled();
        QVERIFY(m_player->waitFor(second + 1));
        QVERIFY(second < 40);
        m_player->close();
        QVERIFY(stored(First) > second);
        QCOMPARE(stored(Second), 7);
    }

    void aVideoThatNeverPlayedKeepsItsRow_data()
    {
        QTest::addColumn<QString>("failing");
        QTest::newRow("no play information") << QString::fromStdString(PlayInfo);
        QTest::newRow("no address at all") << "getDownloadUrl";
        QTest::newRow("an address that is refused") << "/download/";
        QTest::newRow("a file that is no video") << QString();
    }

    void aVideoThatNeverPlayedKeepsItsRow()
    {
        QFETCH(QString, failing);
        if (failing.isEmpty()) {
            m_player->addFile("film.mkv", QByteArray(200000, 'x'));
            m_player->setPlayInfo(playInfoWith({}));
        } else {
            m_player->addClip("film.mkv", {30});
            failOn(failing.toStdString());
        }
        m_player->storePosition("film.mkv", 17, 30);
        m_player->open("film.mkv");
        const QWidget *notice = m_player->part("videoNotice");
        QTRY_VERIFY(notice->accessibleName().startsWith("视频无法播放：film.mkv"));
        QVERIFY(notice->isVisible());
        QCOMPARE(toasts(), QStringList(notice->accessibleName()));
        QCOMPARE(m_player->timeText(), "00:00:00/00:00:00");
        for (const char *control : {"seekBar", "skip", "audio", "subtitle"}) {
            QVERIFY2(!m_player->isOn(control), control);
        }
        // Trying again is one click.
        m_player->server().clearFaults();
        if (!failing.isEmpty()) {
            m_player->press("playPause");
            QVERIFY(m_player->waitFor(17));
        }
        m_player->close();
        QVERIFY(stored("film.mkv") >= 17);
    }

    void theNextVideoIsTriedOnce_data()
    {
        QTest::addColumn<int>("tail");
        QTest::newRow("at the end") << 0;
        QTest::newRow("at the outro") << 20;
    }

    void theNextVideoIsTriedOnce()
    {
        QFETCH(int, tail);
        addEpisodes(60);
        skipTail(First, tail);
        m_player->open(First);
        QVERIFY(m_player->waitFor(1));
        QTRY_COMPARE(asked().size(), 2); // the second one's, ahead
        // What was fetched ahead is refused, and so is what is asked for then.
        failOn("/download/*" + m_player->item(Second).file_id.toStdString() + "|" + PlayInfo);
        m_player->mpv()->seekAbsolute(tail > 0 ? 41 : 57);
        QTRY_VERIFY_WITH_TIMEOUT(isRefused("2.mkv"), 15000);
        m_player->server().clearFaults();
        failOn(PlayInfo);
        if (tail > 0) {
            QVERIFY(m_player->waitFor(42));
            m_player->mpv()->seekAbsolute(57);
        }
        const QWidget *notice = m_player->part("videoNotice");
        QTRY_VERIFY_WITH_TIMEOUT(notice->accessibleName().contains("：2.mkv"), 15000);
        QCOMPARE(title(), "1.mkv");
        const QString second = m_player->item(Second).file_id;
        QCOMPARE(asked().count(second), 2); // ahead, and when its turn came
        auto *button = qobject_cast<QToolButton *>(m_player->part("playPause"));
        QCOMPARE(button->toolTip(), "播放 (空格)");
        QVERIFY(m_player->storedHistory(Second).id.isNull());

        m_player->server().clearFaults();
        QTest::mouseClick(button, Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(title(), "2.mkv", 15000);
        QVERIFY(m_player->waitFor(1));
        QCOMPARE(asked().count(second), 3);
        QCOMPARE(stored(First), 60);
    }

    void theLaterRequestWins_data()
    {
        QTest::addColumn<QString>("late");
        QTest::newRow("the play information comes late") << QString::fromStdString(PlayInfo);
        QTest::newRow("the download address comes late") << "getDownloadUrl";
    }

    void theLaterRequestWins()
    {
        QFETCH(QString, late);
        play(200, 20);
        m_player->server().addFault(FaultOn(late.toStdString()).delay(2000));
        m_player->press("next");
        const std::string operation = "/adrive/v1.0/openFile/" + late.toStdString();
        QTRY_COMPARE(m_player->server().requestsTo(operation).size(), std::size_t(2));
        QVERIFY(m_player->step("next", "3.mkv"));
        QVERIFY(m_player->waitFor(4));
        QCOMPARE(title(), "3.mkv");
        QCOMPARE(loads(), 2);
        QVERIFY(stored(First) >= 21);
        QCOMPARE(stored(Second), 7);
    }

    void aRequestForWhatPlaysChangesNothing()
    {
        play(200, 30);
        m_player->storePosition(First, 3, 200); // as a list that knows nothing better would have it
        m_player->window()->showMinimized();
        m_player->open(First);
        QTRY_VERIFY(!m_player->window()->isMinimized());
        QVERIFY(m_player->waitFor(33));
        QCOMPARE(loads(), 1);
        // Nor does one for what plays while another is being opened, nor a step back to it.
        for (const bool isStep : {false, true}) {
            m_player->server().addFault(FaultOn(PlayInfo).delay(1000));
            m_player->press("next");
            if (isStep) {
                m_player->press("previous");
            } else {
                m_player->open(First);
            }
            QVERIFY(m_player->waitFor(m_player->mpv()->position() + 1));
            QTest::qWait(1200);
            QCOMPARE(loads(), 1);
            QCOMPARE(title(), "1.mkv");
        }
    }

    void theTableWinsOverACopyOfTheRow()
    {
        addEpisodes(200);
        m_player->storePosition(First, 3, 200);
        const PlayRequest early = m_player->request(First);
        m_player->storePosition(First, 30, 200);
        m_player->open(First);
        QVERIFY(m_player->waitFor(31));
        m_player->open(Second);
        QTRY_COMPARE(title(), "2.mkv");
        m_player->host().open(early);
        QTRY_COMPARE(title(), "1.mkv");
        QVERIFY(m_player->waitFor(31));
        QVERIFY(m_player->secondLabelled() < 50);
    }

    void closingWhileOpeningSavesTheOldVideo()
    {
        play(200, 30);
        m_player->server().addFault(FaultOn(PlayInfo).delay(3000));
        m_player->press("next");
        QVERIFY(stored(First) >= 31);
        QTest::qWait(1500);
        m_player->close();
        QVERIFY2(stored(First) >= 32 && stored(First) < 40,
                 qPrintable(QString::number(stored(First))));
        QCOMPARE(stored(Second), 7);
        QTest::qWait(2000); // the reply comes to nobody
    }

    void theNextAddressIsFetchedAhead()
    {
        addEpisodes(200);
        m_player->open(First);
        QVERIFY(m_player->waitFor(1));
        m_player->mpv()->seekAbsolute(130);
        QVERIFY(m_player->waitFor(131));
        QCOMPARE(asked().size(), 1);
        m_player->mpv()->seekAbsolute(145);
        QTRY_COMPARE(asked(SourceAddress).size(), 2); // the last of what is asked for
        failOn(PlayInfo + "|getDownloadUrl");
        QVERIFY(m_player->step("next", "2.mkv"));
        QVERIFY(m_player->waitFor(1));
        QCOMPARE(asked().size(), 2);
    }

    // What is wanted now is not held up by what nobody waits for any more.
    void whatIsFetchedAheadMakesWay()
    {
        addEpisodes(60);
        m_player->server().addFault(FaultOn(SourceAddress).after(1).always().status(429));
        m_player->open(First);
        QTRY_COMPARE_WITH_TIMEOUT(asked(SourceAddress).size(), 2, 15000);
        m_player->open(Third);
        m_player->server().clearFaults();
        QTRY_COMPARE_WITH_TIMEOUT(title(), "3.mkv", 15000);
        QVERIFY(m_player->waitFor(1));
        const QStringList ids = asked(SourceAddress);
        const int third = ids.indexOf(m_player->item(Third).file_id);
        QVERIFY(third > 0);
        QVERIFY(!ids.mid(third).contains(m_player->item(Second).file_id));
    }

    void anAddressThatGrewOldIsRenewed()
    {
        addEpisodes(60);
        m_player->open(First);
        QTRY_COMPARE(asked(SourceAddress).size(), 2);
        m_player->server().addFault(FaultOn("/download/").times(1).status(403));
        QVERIFY(m_player->step("next", "2.mkv"));
        QVERIFY(m_player->waitFor(1));
        QVERIFY(toasts().isEmpty());
    }

    void shortVideosFollowEachOther()
    {
        QStringList expected;
        for (int i = 0; i < 4; ++i) {
            const QString path = QString("clips/%1.mkv").arg(i);
            m_player->addClip(path, {2 + i % 3});
            expected.append(m_player->item(path).file_id);
        }
        const int count = isLong() ? 50 : 6;
        while (expected.size() < count) {
            expected += expected.mid(0, qMin(4, count - expected.size()));
        }
        m_player->open("clips/0.mkv");
        QTRY_VERIFY_WITH_TIMEOUT(loads() >= count, count * 8000);
        QCOMPARE(asked().mid(0, count), expected);
        // Watched to its end: it will begin anew.
        const PlayHistory watched = m_player->storedHistory("clips/2.mkv");
        QCOMPARE(watched.playPosition.value(), 4);
        QCOMPARE(watched.duration.value(), 4);
        m_player->window()->close();
    }

    void clipsOfAMomentDoNotRaceRound()
    {
        clips::Clip moment;
        moment.outputs = QStringList{"-frames:v", "5"};
        m_player->addClip("clips/0.mkv", moment);
        m_player->addClip("clips/1.mkv", moment);
        m_player->open("clips/0.mkv");
        QTRY_VERIFY_WITH_TIMEOUT(isRefused("1.mkv"), 15000);
        QCOMPARE(loads(), 2);
    }

    void seekingToTheEndMovesOn_data()
    {
        QTest::addColumn<int>("target");
        QTest::newRow("the last second") << 59;
        QTest::newRow("the end") << 60;
        QTest::newRow("beyond it") << 75;
    }

    void seekingToTheEndMovesOn()
    {
        QFETCH(int, target);
        addEpisodes(60);
        m_player->open(First);
        QVERIFY(m_player->waitFor(1));
        m_player->mpv()->seekAbsolute(target);
        QTRY_COMPARE_WITH_TIMEOUT(title(), "2.mkv", 15000);
        QCOMPARE(loads(), 2);
        QVERIFY(stored(First) <= 60);
    }

    void movesOnAtTheOutro()
    {
        addEpisodes(60);
        m_player->open(First);
        QVERIFY(m_player->waitFor(1));
        m_player->mpv()->seekAbsolute(40);
        QVERIFY(m_player->waitFor(40));
        m_player->mpv()->pause();
        QVERIFY(m_player->choose("skip", "片尾 未设置"));
        QTest::qWait(1500); // a paused video does not move on
        QCOMPARE(loads(), 1);
        m_player->mpv()->play();
        QTRY_COMPARE(title(), "2.mkv");
        const int position = stored(First);
        QVERIFY2(position >= 40 && position <= 43, qPrintable(QString::number(position)));
        QVERIFY(m_player->waitFor(2));
        QCOMPARE(loads(), 2);
    }

    void whoStoppedInTheOutroSeesIt()
    {
        addEpisodes(60);
        skipTail(First, 20);
        m_player->storePosition(First, 45, 60);
        m_player->open(First);
        QVERIFY(m_player->waitFor(48));
        QCOMPARE(loads(), 1);
        QVERIFY(m_player->secondLabelled() < 58);
        m_player->mpv()->seekAbsolute(58);
        QTRY_COMPARE_WITH_TIMEOUT(title(), "2.mkv", 15000);
        QCOMPARE(stored(First), 60);
    }

    // One new address shows that nothing was cut.
    void dataMayEndBeforeTheStatedLength()
    {
        addEpisodes(100);
        QFile film(QString::fromStdString(m_player->server().rootPath()) + '/' + First);
        QVERIFY(film.open(QFile::ReadWrite));
        const int length = film.peek(4096).indexOf(QByteArray::fromHex("448988"));
        QVERIFY(length > 0 && film.seek(length + 3));
        film.write(QByteArray::fromHex("40fa5e0000000000")); // 108,000 ms
        film.close();
        m_player->setPlayInfo("{}");
        m_player->storePosition(First, 95, 108);
        m_player->open(First);
        QTRY_COMPARE_WITH_TIMEOUT(title(), "2.mkv", 25000);
        QCOMPARE(asked().count(m_player->item(First).file_id), 2);
        QCOMPARE(stored(First), 108);
        QVERIFY(toasts().isEmpty());
    }

    void anAddressThatExpiresIsRenewedOnce_data()
    {
        QTest::addColumn<int>("refusals");
        // All parts from 24 s on are refused for one reading: the first of them is asked for
        // 5 times.
        QTest::newRow("the new one works") << 13;
        QTest::newRow("the new one fails, too") << -1;
    }

    void anAddressThatExpiresIsRenewedOnce()
    {
        QFETCH(int, refusals);
        m_player->addClip(First, streamed(60));
        m_player->addClip(Second, streamed(60));
        QVERIFY(m_player->server().prepareMedia(First.toStdString()));
        m_player->storePosition(First, 18, 60);
        m_player->server().addFault(FaultOn("part0000[6-9]|part0001").times(refusals).status(403));
        m_player->open(First);
        QVERIFY(m_player->waitFor(19));
        m_player->mpv()->setVolume(35);
        QTRY_COMPARE_WITH_TIMEOUT(loads(), 2, 15000);
        if (refusals > 0) {
            QVERIFY(m_player->waitFor(27));
            QCOMPARE(m_player->checkedText("quality"), "流畅 360p");
        } else {
            QTRY_COMPARE_WITH_TIMEOUT(toasts(), QStringList("视频播放中断，请稍后再试"), 20000);
            QVERIFY(!m_player->isOn("skip") && !m_player->isOn("seekBar"));
        }
        QCOMPARE(title(), "1.mkv");
        QCOMPARE(loads(), 2);
        QCOMPARE(m_player->mpv()->volume(), 35);
        m_player->close();
        QVERIFY2(stored(First) >= 19, qPrintable(QString::number(stored(First))));
    }

    void qualityChangesInPlace()
    {
        m_player->addClip("film.mkv", streamed(60, 960));
        QVERIFY(m_player->server().prepareMedia("film.mkv"));
        m_player->storePosition("film.mkv", 33, 60);
        m_player->open("film.mkv");
        QVERIFY(m_player->waitFor(34));
        QCOMPARE(m_player->checkedText("quality"), "标清 540p");
        m_player->mpv()->pause();
        m_player->mpv()->setVolume(55);
        const int before = m_player->mpv()->position();

        const QSignalSpy told(&m_player->host(), &PlayerHost::videoQualityChanged);
        for (const QString text : {"流畅 360p", "原画(960x540)"}) {
            QVERIFY(m_player->choose("quality", text));
            QCOMPARE(m_player->checkedText("quality"), text);
            QTRY_VERIFY(qAbs(m_player->mpv()->position() - before) <= 1);
            QTRY_VERIFY(qAbs(m_player->secondShown() - before) <= 1);
            QVERIFY(m_player->mpv()->isPaused());
            QCOMPARE(m_player->mpv()->volume(), 55);
        }
        QCOMPARE(told.size(), 2);
        QCOMPARE(AppSettings().videoQuality(), "OrgHD");
        QTRY_COMPARE(m_player->mpv()->getProperty("video-params/h").toInt(), 540);
    }

    void anotherQualityMayPlay()
    {
        m_player->addClip("film.mkv", {20});
        m_player->storePosition("film.mkv", 9, 20);
        m_player->setPlayInfo(playInfoWith({{"LD", ""},
                                            {"XD", "http://127.0.0.1:1/x.m3u8"},
                                            {"FHD", "http://127.0.0.1:1/x.m3u8"}}));
        m_player->open("film.mkv");
        QTRY_VERIFY_WITH_TIMEOUT(isRefused("film.mkv"), 15000);
        QCOMPARE(m_player->menuTexts("quality"),
                 (QStringList{"流畅 360p", "未知", "全高清 1080p", "原画(320x180)"}));
        QCOMPARE(m_player->checkedText("quality"), "全高清 1080p");
        const QSignalSpy told(&m_player->host(), &PlayerHost::videoQualityChanged);
        QVERIFY(m_player->choose("quality", "未知"));
        QCOMPARE(m_player->checkedText("quality"), "未知");
        QVERIFY(told.isEmpty()); // it is no setting
        QVERIFY(m_player->choose("quality", "原画(320x180)"));
        QVERIFY(m_player->waitFor(9));
    }

    void isTornDownInEveryState_data()
    {
        QTest::addColumn<QString>("state");
        for (const char *state : {"loading", "playing", "paused", "full screen", "minimised"}) {
            QTest::newRow(state) << state;
        }
    }

    void isTornDownInEveryState()
    {
        QFETCH(QString, state);
        m_player->addClip("film.mkv", {30});
        const int count = isLong() ? 20 : 2;
        for (int i = 0; i < count; ++i) {
            m_player->open("film.mkv");
            if (state != "loading") {
                QTRY_VERIFY(m_player->hasReached(1));
            }
            if (state == "paused") {
                m_player->mpv()->pause();
            } else if (state == "full screen") {
                QTest::mouseDClick(m_player->mpv(), Qt::LeftButton);
            } else if (state == "minimised") {
                m_player->window()->showMinimized();
            }
            QTest::qWait(100);
            QElapsedTimer timer;
            timer.start();
            m_player->host().closeAll();
            QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
            QVERIFY(!m_player->window());
            const int place = m_player->storedHistory("film.mkv").playPosition.value();
            QVERIFY2(state == "loading" || place > 0, qPrintable(QString::number(place)));
        }
    }

    void aFrozenServerDoesNotFreezeTheWindow()
    {
        m_player->addClip("film.mkv", streamed(60));
        QVERIFY(m_player->server().prepareMedia("film.mkv"));
        m_player->server().addFault(
            FaultOn("part0000[3-9]").always().wire(localdrive::Break::FreezeInsideBody));
        m_player->open("film.mkv");
        QVERIFY(m_player->waitFor(2));
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
        QVERIFY(m_player->storedHistory("film.mkv").playPosition.value() >= 2);
    }

private:
    // Three episodes of so many seconds; the first plays from this second on.
    void play(int seconds, int second)
    {
        addEpisodes(seconds);
        m_player->storePosition(First, second, seconds);
        m_player->storePosition(Second, 7, seconds);
        m_player->open(First);
        QVERIFY(m_player->waitFor(second + 1));
    }

    void addEpisodes(int seconds)
    {
        for (const QString &path : {First, Second, Third}) {
            m_player->addClip(path, {seconds});
        }
    }

    // The ids of the videos whose play information was asked for, or their address, in order.
    QStringList asked(const std::string &operation = PlayInfo) const
    {
        QStringList ids;
        for (const auto &request :
             m_player->server().requestsTo("/adrive/v1.0/openFile/" + operation)) {
            ids.append(bodyOf(request).value("file_id").toString());
        }
        return ids;
    }

    static bool isRefused(const QString &name)
    {
        return !toasts().filter("视频无法播放：" + name).isEmpty();
    }
    QString title() const { return m_player->window()->windowTitle(); }
    int stored(const QString &path) const
    {
        return m_player->storedHistory(path).playPosition.value();
    }
    void failOn(const std::string &path)
    {
        m_player->server().addFault(FaultOn(path).always().status(403));
    }
};
MORAVU_TEST(TestPlayback)

#include "tst_playback.moc"
