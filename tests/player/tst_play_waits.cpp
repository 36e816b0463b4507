#include <QtTest>

#include "player/mpv/mpv_widget.h"
#include "player/player_test.h"
#include "player/window/player_window.h"
#include "support/fault_on.h"
#include "support/test_main.h"

namespace {

using namespace std::chrono_literals;

const std::string PlayInfo = "getVideoPreviewPlayInfo";
const std::string Listing = "openFile/list";
const QString First = "show/1.mkv";
const QString Second = "show/2.mkv";
const QString Third = "show/3.mkv";
const QString Failing = "视频无法播放：1.mkv";
const QString Waiting = "服务器没有响应，仍在等待\n按播放键重试";

// A play list in disguise: whatever it names is this play list again.
const std::string LoopingList = "#EXTM3U\n#EXTINF:10,\nagain.m3u\n";
// A session that nobody sends.
const std::string SilentSession = "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\n"
                                  "m=video 45678 RTP/AVP 96\na=rtpmap:96 H264/90000\n";

} // namespace

Q_DECLARE_METATYPE(localdrive::Fault)
Q_DECLARE_METATYPE(localdrive::PlayAnswer)

// What the player does when it has to wait, for answers, for data, for the folder's list, and what
// is left when it is killed meanwhile.
class TestPlayWaits final : public PlayerTest
{
    Q_OBJECT

private slots:
    void saysWhyNothingPlays_data()
    {
        QTest::addColumn<localdrive::Fault>("fault");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *name, const localdrive::Fault &fault, const QString &text) {
            QTest::newRow(name) << fault << text;
        };
        row("no play information", FaultOn(PlayInfo).freezes(), Waiting);
        row("no address", FaultOn("getDownloadUrl").freezes(), Waiting);
        row("no data", FaultOn("/download/").always().freezes(), Waiting);
        row("a looping play list", FaultOn("/download/").always().body(LoopingList), Failing);
        row("a session", FaultOn("/download/").always().body(SilentSession), Failing);
    }

    void saysWhyNothingPlays()
    {
        QFETCH(localdrive::Fault, fault);
        QFETCH(QString, text);
        ReplyGuard::setPatience({6s, 60s});
        m_player->addClip(First, {60});
        m_player->server().addFault(fault);
        m_player->setPlayInfo("{}");
        m_player->open(First);
        QTRY_COMPARE_WITH_TIMEOUT(notice(), text, 15000);
        m_player->server().clearFaults();
        ReplyGuard::setPatience({});
        m_player->press("playPause");
        QTRY_COMPARE(notice(), QString());
        QVERIFY(m_player->waitFor(1));
    }

    void saysThatWhatPlaysIsFrozen_data()
    {
        QTest::addColumn<int>("refusals");
        QTest::newRow("a new address") << 0;
        QTest::newRow("no new address") << 1;
        QTest::newRow("no new address, and none again") << 2;
    }

    void saysThatWhatPlaysIsFrozen()
    {
        QFETCH(int, refusals);
        clips::Clip clip{60, 640, 360};
        m_player->addClip(First, clip);
        m_player->addClip(Second, {1}); // what is fetched ahead is not what plays
        QVERIFY(m_player->server().prepareMedia(First.toStdString()));
        FaultOn frozen("part0000[3-9]");
        m_player->server().addFault(frozen.always().wire(localdrive::Break::FreezeInsideBody));
        m_player->open(First);
        QVERIFY(m_player->waitFor(2));
        ReplyGuard::setPatience({3s, 60s});
        m_player->mpv()->seekAbsolute(40);
        QTRY_COMPARE_WITH_TIMEOUT(notice(), Waiting, 15000);
        m_player->server().clearFaults();
        ReplyGuard::setPatience({});
        m_player->server().addFault(FaultOn(PlayInfo).always().status(403));
        const QStringList notices{"视频播放中断，请稍后再试", Failing + "\n没有权限"};
        for (int i = 0; i < refusals; ++i) {
            m_player->press("playPause");
            QTRY_COMPARE(notice(), notices.at(i));
            QTRY_VERIFY(m_player->mpv()->getProperty("idle-active").toBool());
        }
        m_player->server().clearFaults();
        m_player->press("playPause");
        QVERIFY(m_player->waitFor(41));
        QCOMPARE(notice(), QString());
        // Who pauses waits for nothing.
        ReplyGuard::setPatience({300ms, 60s});
        m_player->press("playPause");
        QTest::qWait(600);
        QCOMPARE(notice(), QString());
    }

    void offersTheSource_data()
    {
        QTest::addColumn<localdrive::PlayAnswer>("answer");
        QTest::addColumn<QString>("reason");
        QTest::newRow("no streams") << localdrive::PlayAnswer::NoPreview << "该视频无法转码";
        QTest::newRow("a full drive") << localdrive::PlayAnswer::ExceedCapacity << "云盘空间不足";
    }

    // The play information is refused; the source may play, and is asked for on demand.
    void offersTheSource()
    {
        QFETCH(localdrive::PlayAnswer, answer);
        QFETCH(QString, reason);
        m_player->addClip(First, {60});
        m_player->storePosition(First, 20, 60);
        setPlayAnswer(answer);
        m_player->open(First);
        QTRY_COMPARE(notice(), Failing + '\n' + reason);
        QVERIFY(m_player->server().requestsTo("/adrive/v1.0/openFile/getDownloadUrl").empty());
        QVERIFY(m_player->part("playSource")->isVisible());
        m_player->press("playSource");
        QVERIFY(m_player->waitFor(20));
        QCOMPARE(m_player->menuTexts("quality").size(), 1);
        QVERIFY(!m_player->part("playSource")->isVisible());
    }

    void theSourcePlaysUntilThereAreStreams()
    {
        m_player->addClip(First, {60});
        setPlayAnswer(localdrive::PlayAnswer::WaitAndRetry);
        m_player->open(First);
        QVERIFY(m_player->waitFor(1));
        QCOMPARE(m_player->menuTexts("quality"), QStringList("原画"));
    }

    void whatIsAskedTooFastIsAskedAgain_data()
    {
        QTest::addColumn<localdrive::Fault>("fault");
        QTest::newRow("the play information") << tooFast(PlayInfo);
        QTest::newRow("the video's address") << tooFast("getDownloadUrl");
        QTest::newRow("the subtitle's address") << tooFast("getDownloadUrl", 1);
        QTest::newRow("the folders' lists") << tooFast(Listing);
        QTest::newRow("the video's place") << tooFast("openFile/get");
    }

    void whatIsAskedTooFastIsAskedAgain()
    {
        QFETCH(localdrive::Fault, fault);
        m_player->addClip(First, {100});
        m_player->addClip(Second, {100});
        m_player->addFile("show/1.srt", "1\n00:00:01,000 --> 00:00:09,000\nx\n");
        m_player->server().addFault(fault);
        openFromHistory(First);
        QVERIFY(m_player->waitFor(1));
        QVERIFY(m_player->menuTexts("quality").filter("原画").size() == 1);
        const auto tracks = [this] { return m_player->mpv()->getProperty("track-list/count"); };
        QTRY_COMPARE_WITH_TIMEOUT(tracks().toInt(), 2, 15000);
        QVERIFY(m_player->step("next", "2.mkv"));
        QVERIFY(toasts().isEmpty());
        QVERIFY(m_log->lines().filter(" fail :").isEmpty());
    }

    void keepsThePlaceAgainstAKill_data()
    {
        QTest::addColumn<QString>("event");
        QTest::addColumn<int>("place");
        QTest::newRow("at a pause") << "pause" << 1;
        QTest::newRow("at a seek") << "seek" << 70;
        QTest::newRow("every half minute") << "speed" << 30;
        QTest::newRow("at the end") << "end" << 100;
    }

    void keepsThePlaceAgainstAKill()
    {
        QFETCH(QString, event);
        QFETCH(int, place);
        m_player->addClip(First, {100});
        m_player->open(First);
        QVERIFY(m_player->waitFor(1));
        QCOMPARE(stored(First).playPosition.value(), 0);
        if (event == "pause") {
            m_player->press("playPause");
        } else if (event == "seek") {
            m_player->mpv()->seekAbsolute(place);
        } else if (event == "speed") {
            m_player->mpv()->setProperty("speed", 20.0);
        } else {
            m_player->server().addFault(FaultOn(PlayInfo).always().status(403));
            m_player->mpv()->seekAbsolute(99);
        }
        QTRY_VERIFY(stored(First).playPosition.value() >= place);
    }

    void stepsOnceTheListIsThere_data()
    {
        QTest::addColumn<bool>("isEnd");
        QTest::newRow("the button") << false;
        QTest::newRow("the natural end") << true;
    }

    // From the history nothing is known of the folder.
    void stepsOnceTheListIsThere()
    {
        QFETCH(bool, isEnd);
        m_player->addClip(First, {4});
        m_player->addClip(Second, {60});
        m_player->server().addFault(FaultOn(Listing).always().delay(7000));
        openFromHistory(First);
        QVERIFY(m_player->waitFor(1));
        if (isEnd) {
            QTRY_COMPARE(notice(), "播放完毕");
        } else {
            m_player->mpv()->pause();
            m_player->press("next");
        }
        QTRY_COMPARE_WITH_TIMEOUT(m_player->window()->windowTitle(), "2.mkv", 15000);
        QCOMPARE(loads(), 2);
    }

    void aPartOfTheFolderHasNoEnds_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QByteArray>("button");
        QTest::newRow("its last video") << Second << QByteArray("next");
        QTest::newRow("its first video") << First << QByteArray("previous");
    }

    // The list that it was opened from shows two videos of three.
    void aPartOfTheFolderHasNoEnds()
    {
        QFETCH(QString, from);
        QFETCH(QByteArray, button);
        for (const QString &path : {First, Second, Third}) {
            m_player->addClip(path, {100});
        }
        m_player->server().addFault(FaultOn(Listing).always().holds());
        PlayRequest request = m_player->request(from);
        request.videos.removeLast();
        m_player->host().open(request);
        QVERIFY(m_player->waitFor(1));
        m_player->press(button.constData());
        QCOMPARE(m_player->window()->windowTitle(), request.file.name);
        m_player->server().clearFaults();
        QTRY_COMPARE_WITH_TIMEOUT(m_player->window()->windowTitle(), "3.mkv", 15000);
    }

    void aFolderWithoutAnEndIsLeft_data()
    {
        QTest::addColumn<QList<localdrive::Fault>>("faults");
        const auto page = [](const std::string &marker) {
            const std::string reply = "{'items':[],'next_marker':'" + marker + "'}";
            return FaultOn(Listing).status(200).body(
                QString::fromStdString(reply).replace('\'', '"').toStdString());
        };
        QList<localdrive::Fault> evernew;
        for (int i = 0; i < 100; ++i) {
            evernew.append(page(std::to_string(i)));
        }
        using Faults = QList<localdrive::Fault>;
        QTest::newRow("the same marker") << Faults{page("m").always()};
        QTest::newRow("ever new markers") << evernew;
        QTest::newRow("no answer") << Faults{FaultOn(Listing).always().status(503)};
    }

    void aFolderWithoutAnEndIsLeft()
    {
        QFETCH(QList<localdrive::Fault>, faults);
        m_player->addClip(First, {60});
        for (const localdrive::Fault &fault : qAsConst(faults)) {
            m_player->server().addFault(fault);
        }
        openFromHistory(First);
        QVERIFY(m_player->waitFor(1));
        m_player->press("next");
        QTRY_VERIFY(toasts().contains("未能获取文件夹中的其他视频"));
        QCOMPARE(loads(), 1);
        int pages = 0;
        for (const auto &request : m_player->server().requestsTo("/adrive/v1.0/openFile/list")) {
            pages += bodyOf(request).value("category") == "video" ? 1 : 0;
        }
        QVERIFY2(pages < 20, qPrintable(QString::number(pages)));
        // Once it answers, the next wish is granted.
        m_player->addClip(Second, {60});
        m_player->server().clearFaults();
        QVERIFY(m_player->step("next", "2.mkv"));
    }

    void aLengthThatIsNotTold_data()
    {
        QTest::addColumn<int>("place");
        QTest::addColumn<int>("start");
        QTest::newRow("is not judged") << 20 << 20;
        QTest::newRow("is known once it was watched to its end") << 22 << 0;
    }

    void aLengthThatIsNotTold()
    {
        QFETCH(int, place);
        QFETCH(int, start);
        // libmpv has read a few seconds of it when it opens.
        clips::Clip clip{60};
        clip.outputs = QString("-live 1 -vf noise=alls=40:allf=t -b:v 1M -bufsize 1M").split(' ');
        m_player->server().addFault(FaultOn("/download/").always().trickles(700000));
        m_player->addClip(First, clip);
        m_player->setPlayInfo("{}");
        m_player->storePosition(First, place, 22);
        m_player->open(First);
        QVERIFY(m_player->waitFor(start + 1));
        QVERIFY(m_player->secondLabelled() < start + 15);
        QTRY_VERIFY(m_log->lines().filter("video total time:").size() > 1);
        m_player->close();
        const PlayHistory row = stored(First);
        QVERIFY(row.playPosition.value() > start);
        QVERIFY(row.duration.value() > row.playPosition.value());
    }

    // An outro is counted back from an end that is not known before all has been read.
    void anOutroNeedsALength()
    {
        clips::Clip clip{60};
        clip.outputs = QStringList{"-live", "1"};
        m_player->addClip(First, clip);
        m_player->setPlayInfo("{}");
        m_player->server().addFault(FaultOn("/download/").always().trickles(5000));
        m_player->open(First);
        QVERIFY(m_player->waitFor(1));
        QVERIFY(m_player->choose("skip", "片头 未设置"));
        QVERIFY(!m_player->choose("skip", "片尾 未设置"));
    }

    void anEndTellsTheLength()
    {
        clips::Clip clip{4};
        clip.outputs = QStringList{"-live", "1"};
        m_player->addClip(First, clip);
        m_player->setPlayInfo("{}");
        m_player->open(First);
        QVERIFY(m_player->waitFor(1));
        QTRY_VERIFY(stored(First).playPosition.value() > 0);
        QCOMPARE(stored(First).playPosition.value(), stored(First).duration.value());
    }

    // What is told at the end is about the end, and about the video that failed last only then.
    void theOnlyVideoOfItsFolderEnds()
    {
        const QString film = "film/1.mkv";
        m_player->addClip(film, {4});
        m_player->addClip(Second, {60});
        m_player->open(film);
        QVERIFY(m_player->waitFor(1));
        m_player->mpv()->pause();
        setPlayAnswer(localdrive::PlayAnswer::NoPreview);
        PlayRequest request = m_player->request(Second);
        loadUserInfo(request.user.userId.value(), request.user);
        request.user.userId = QString("other");
        saveUserInfo(request.user);
        for (const char *end : {"播放完毕", "视频无法播放：2.mkv\n该视频无法转码"}) {
            m_player->host().open(request);
            QTRY_VERIFY(!toasts().filter("2.mkv").isEmpty());
            m_player->mpv()->play();
            QTRY_COMPARE(notice(), QString(end));
        }
        QCOMPARE(loads(), 1);
        QCOMPARE(stored(film).playPosition.value(), 4);
        m_player->press("playSource");
        QVERIFY(m_player->waitFor(1));
        QTRY_COMPARE(stored(Second).userId.value(), "other");
    }

    void savesWhereItIsCutOffInAnotherQuality()
    {
        m_player->addClip(First, {60, 640, 360});
        QVERIFY(m_player->server().prepareMedia(First.toStdString()));
        m_player->storePosition(First, 20, 60);
        m_player->open(First);
        QVERIFY(m_player->waitFor(22));
        m_player->server().addFault(FaultOn("/download/").always().freezes());
        m_player->server().addFault(FaultOn(PlayInfo).always().status(403));
        ReplyGuard::setPatience({1s, 60s});
        QVERIFY(m_player->choose("quality", "原画(640x360)"));
        QTRY_COMPARE(notice(), Waiting);
        m_player->press("playPause");
        QTRY_COMPARE(notice(), "视频播放中断，请稍后再试");
        QVERIFY(stored(First).playPosition.value() >= 22);
    }

    // The old video's connection is cut after the user has asked for the next one.
    void whatBreaksDownBesideACandidateIsSaved()
    {
        m_player->addClip(First, {100, 640, 360});
        m_player->addClip(Second, {60});
        QVERIFY(m_player->server().prepareMedia(First.toStdString()));
        m_player->server().addFault(FaultOn("part0000[4-9]|part000[12]").always().status(403));
        m_player->storePosition(First, 9, 100);
        m_player->open(First);
        QVERIFY(m_player->waitFor(10));
        m_player->server().addFault(FaultOn(PlayInfo).delay(8000));
        m_player->press("next");
        QTRY_COMPARE_WITH_TIMEOUT(m_player->window()->windowTitle(), "2.mkv", 15000);
        QVERIFY2(stored(First).playPosition.value() >= 13,
                 qPrintable(QString::number(stored(First).playPosition.value())));
    }

    // The folder that the drive names comes later than the video.
    void aLateFolderStillSkipsItsIntro()
    {
        m_player->addClip(First, {100});
        FolderSetting setting;
        setting.folderId = m_player->item(First).parent_file_id;
        setting.skipHeadPos = 50;
        saveFolderSetting(setting);
        m_player->server().addFault(FaultOn("openFile/get").delay(8000));
        openFromHistory(First, "root");
        QVERIFY(m_player->waitFor(1));
        QVERIFY(m_player->waitFor(50));
    }

    void theTitleGoesBeforeTheAddress()
    {
        m_player->addClip(First, {10});
        m_player->addClip(Second, {10});
        m_player->open(First);
        QVERIFY(m_player->waitFor(1));
        int loadsBefore = 0;
        connect(m_player->window(), &QWidget::windowTitleChanged, this,
                [&] { loadsBefore = loads(); });
        QVERIFY(m_player->step("next", "2.mkv"));
        QCOMPARE(loadsBefore, 1);
    }

private:
    static localdrive::Fault tooFast(const std::string &path, int before = 0)
    {
        return FaultOn(path).after(before).times(2).status(429, "TooManyRequests");
    }

    void setPlayAnswer(localdrive::PlayAnswer answer)
    {
        localdrive::Rules rules = m_player->server().rules();
        rules.playAnswer = answer;
        m_player->server().setRules(rules);
    }

    void openFromHistory(const QString &path, const QString &folder = QString())
    {
        PlayRequest request = m_player->request(path);
        request.videos.clear();
        if (!folder.isEmpty()) {
            request.file.parent_file_id = folder;
        }
        m_player->host().open(request);
    }

    QString notice() const { return m_player->part("videoNotice")->accessibleName(); }
    PlayHistory stored(const QString &path) const { return m_player->storedHistory(path); }
};

MORAVU_TEST(TestPlayWaits)
#include "tst_play_waits.moc"
