#include <QApplication>
#include <QDirIterator>
#include <QtTest>

#include "api/session/session.h"
#include "db/tables/operations.h"
#include "player/mpv/mpv_widget.h"
#include "player/player_fixture.h"
#include "player/session/folder_memory.h"
#include "player/session/history_row.h"
#include "player/session/track_choices.h"
#include "player/window/player_window.h"
#include "support/fault_on.h"
#include "support/test_main.h"

namespace {

const QString First = "show/Ep01.mkv";
const QString Second = "show/Ep02.mkv";
const QString Off = "关闭字幕";
const QString Audio = "audio";
const QString Subtitle = "subtitle";

QByteArray subRip(const QString &words)
{
    return "1\n00:00:00,000 --> 00:01:00,000\n" + words.toUtf8() + "\n";
}

// "字幕显示正确，这是一段足够长的中文文字" as GB18030 writes it.
const QByteArray Gb18030Words = QByteArrayLiteral(
    "\xd7\xd6\xc4\xbb\xcf\xd4\xca\xbe\xd5\xfd\xc8\xb7\xa3\xac\xd5\xe2\xca\xc7\xd2\xbb\xb6\xce"
    "\xd7\xe3\xb9\xbb\xb3\xa4\xb5\xc4\xd6\xd0\xce\xc4\xce\xc4\xd7\xd6");

} // namespace

// Audio tracks, embedded subtitles and subtitle files of the drive.
class TestPlayerTracks final : public QObject
{
    Q_OBJECT

private slots:
    // A clip with two audio tracks (Japanese, Chinese) and two subtitles (English, Chinese).
    void initTestCase()
    {
        const auto subtitles = [this](const char *language) {
            const QString path = m_folder.filePath(QLatin1String(language) + ".srt");
            QFile file(path);
            file.open(QIODevice::WriteOnly);
            file.write(subRip(QLatin1String("embedded ") + language));
            return path;
        };
        const QString inputs = "-f lavfi -i sine=duration=60 -f lavfi -i sine=duration=60";
        const QString outputs = "-map 0 -map 1 -map 2 -map 3 -map 4 -c:a aac -c:s srt "
                                "-metadata:s:a:0 language=jpn -metadata:s:a:1 language=chi "
                                "-metadata:s:s:0 language=eng -metadata:s:s:1 language=chi";
        m_clip.seconds = 60;
        m_clip.inputs = inputs.split(' ');
        m_clip.inputs << "-i" << subtitles("eng") << "-i" << subtitles("chi");
        m_clip.outputs = outputs.split(' ');
        m_turned = m_clip;
        m_turned.outputs = QString("-map 0 -map 1 -map 2 -map 4 -map 3 -c:a aac -c:s srt "
                                   "-metadata:s:a:0 language=zho -metadata:s:a:1 language=jpn "
                                   "-metadata:s:s:0 language=chi -metadata:s:s:1 language=eng")
                               .split(' ');
    }

    void init()
    {
        m_player = std::make_unique<PlayerFixture>();
        m_player->addClip(First, m_clip);
        m_player->addClip(Second, m_clip);
    }

    void cleanup()
    {
        m_player.reset();
        qunsetenv("TMPDIR");
    }

    void listsTracks()
    {
        play(First);
        QCOMPARE(m_player->menuTexts(Audio), (QStringList{"日语 AAC 单声道", "中文 AAC 单声道"}));
        QCOMPARE(m_player->checkedText(Audio), "日语 AAC 单声道");
        QCOMPARE(m_player->menuTexts(Subtitle), (QStringList{Off, "英语 SRT", "中文 SRT"}));
        QTRY_COMPARE(words(), "embedded chi");
        QTRY_COMPARE(m_player->checkedText(Subtitle), "中文 SRT");
        QVERIFY(storedFolder().subtitleTrackId.isNull());
    }

    void knowsChineseByAllItsTags()
    {
        clips::Clip clip = m_clip;
        clip.outputs.last() = "language=zho";
        m_player->addClip("show/Ep03.mkv", clip);
        play("show/Ep03.mkv");
        QTRY_COMPARE(words(), "embedded chi");
        QVERIFY(property("slang").toStringList().contains("zho"));
    }

    void choicesGoToTheNextEpisode()
    {
        play(First);
        QVERIFY(m_player->choose(Subtitle, "英语 SRT"));
        QVERIFY(m_player->choose(Audio, "中文 AAC 单声道"));
        QTRY_COMPARE(words(), "embedded eng");
        QTRY_COMPARE(m_player->checkedText(Audio), "中文 AAC 单声道");
        QCOMPARE(storedFolder().subtitleTrackId.value(), "1 eng");
        QCOMPARE(storedFolder().audioTrackId.value(), "2 chi");
        QCOMPARE(storedFolder().folderName.value(), "show");
        QCOMPARE(FolderMemory("root", "u").folderName(), "首页"); // nobody has to be asked
        QCOMPARE(storedFolder().userId.value(), m_player->request(First).user.userId.value());

        QVERIFY(m_player->step("next", "Ep02.mkv"));
        QVERIFY(m_player->waitFor(1));
        QCOMPARE(property("sid").toInt(), 1);
        QCOMPARE(property("aid").toInt(), 2);

        m_player->host().closeAll();
        play(First);
        QCOMPARE(property("sid").toInt(), 1);
        QCOMPARE(property("aid").toInt(), 2);
    }

    // There is one row for the root folders of all users.
    void usersWithTheSameFolderAreApart()
    {
        const QString root = "root";
        FolderMemory first(root, "a");
        first.setIntroEnd(30, 1000);
        first.setAudioTrack({2});
        FolderMemory second(root, "b");
        QCOMPARE(second.skipTimes().head, 0);
        QVERIFY(!second.audioTrack());
        second.setLastPlayed("x");
        second.clearOutro();
        second.setFolderName("y");
        QCOMPARE(folderSettingOf(root, "a").skipHeadPos.value(), 30);
        second.setOutroStart(900, 1000); // who chooses has the row
        QCOMPARE(folderSettingOf(root, "b").skipTailPos.value(), 100);
        QCOMPARE(folderSettingOf(root, "b").skipHeadPos.value(), 0);
        QVERIFY(folderSettingOf(root, "a").id.isNull());
    }

    // Whatever its number is in the next file.
    void theLanguageIsChosen()
    {
        m_player->addClip("show/Ep03.mkv", m_turned);
        play(Second);
        QVERIFY(m_player->choose(Subtitle, "英语 SRT"));
        QVERIFY(m_player->choose(Audio, "中文 AAC 单声道"));
        QVERIFY(m_player->step("next", "Ep03.mkv"));
        QTRY_COMPARE(property("sid").toInt(), 2);
        QTRY_COMPARE(words(), "embedded eng");
        QTRY_COMPARE(property("aid").toInt(), 1);
    }

    // An address that works no longer is asked for anew, once.
    void showsWhatTheDriveTranscoded()
    {
        QVERIFY(m_player->server().prepareMedia(First.toStdString()));
        m_player->server().addFault(FaultOn("/subtitle/*").status(403));
        play(First);
        QCOMPARE(m_player->menuTexts(Subtitle),
                 (QStringList{Off, "英语 SRT", "中文 SRT", "英语 转码字幕", "中文 转码字幕"}));
        QVERIFY(m_player->choose(Subtitle, "英语 转码字幕"));
        QTRY_COMPARE(words(), "embedded eng");
        QTRY_COMPARE(m_player->checkedText(Subtitle), "英语 转码字幕");
        QCOMPARE(property("track-list/count").toInt(), 6);
        QCOMPARE(storedFolder().subtitleTrackId.value(), "0 eng");
        m_player->host().closeAll();
        play(First);
        QTRY_COMPARE(m_player->checkedText(Subtitle), "英语 转码字幕");
        QVERIFY(m_player->step("next", "Ep02.mkv"));
        QTRY_COMPARE(m_player->checkedText(Subtitle), "英语 SRT");
    }

    // A stream has no tracks of its own.
    void whatWasTranscodedStandsInForATrack()
    {
        clips::Clip clip = m_clip;
        clip.width = 640;
        clip.height = 360;
        m_player->addClip("show/Ep03.mkv", clip);
        QVERIFY(m_player->server().prepareMedia("show/Ep03.mkv"));
        m_player->addFile("show/Ep03.srt", subRip("similar"));
        FolderSetting setting;
        setting.folderId = m_player->item(First).parent_file_id;
        setting.subtitleTrackId = QString("1 eng");
        saveFolderSetting(setting);
        play("show/Ep03.mkv");
        QVERIFY(m_player->choose("quality", "流畅 360p"));
        QTRY_COMPARE(words(), "embedded eng");
        QTRY_COMPARE(m_player->checkedText(Subtitle), "英语 转码字幕");
        QVERIFY(m_player->storedHistory("show/Ep03.mkv").subTitle.value().isEmpty());
    }

    void showsASecondSubtitle()
    {
        m_player->addFile("show/other.srt", subRip("other"));
        play(First);
        QTRY_COMPARE(words(), "embedded chi");
        QVERIFY(!m_player->choose(Subtitle, "中文 SRT", "第二字幕"));
        QVERIFY(m_player->choose(Subtitle, "other.srt", "第二字幕"));
        QTRY_COMPARE(property("secondary-sub-text").toString(), "other");
        QVERIFY(m_player->choose(Subtitle, "英语 SRT", "第二字幕"));
        QTRY_COMPARE(property("secondary-sub-text").toString(), "embedded eng");
        QCOMPARE(words(), "embedded chi");
        QCOMPARE(m_player->checkedText(Subtitle), "中文 SRT");

        QVERIFY(m_player->step("next", "Ep02.mkv"));
        QTRY_COMPARE(property("secondary-sub-text").toString(), "embedded eng");
        QTRY_VERIFY(m_player->choose(Subtitle, "英语 SRT"));
        QTRY_COMPARE(words(), "embedded eng");
        QTRY_COMPARE(property("secondary-sid").toBool(), false);
    }

    // The delay is the video's, the rest is for all.
    void movesSubtitles()
    {
        play(First);
        QVERIFY(m_player->choose(Subtitle, "延后 0.1 秒", "字幕延迟"));
        QVERIFY(m_player->choose(Subtitle, "提前 1 秒", "字幕延后 0.1 秒"));
        QTest::keyClick(m_player->mpv(), Qt::Key_Z);
        QCOMPARE(qRound(property("sub-delay").toDouble() * 10), -10);
        QVERIFY(m_player->choose(Subtitle, "大", "字幕大小"));
        QVERIFY(m_player->choose(Subtitle, "顶部", "字幕位置"));
        QVERIFY(m_player->step("next", "Ep02.mkv"));
        QCOMPARE(property("sub-delay").toDouble(), 0.0);
        m_player->host().closeAll();
        play(First);
        QCOMPARE(qRound(property("sub-scale").toDouble() * 100), 130);
        QCOMPARE(property("sub-pos").toInt(), 15);
    }

    // What fits the episode comes first; it is the user's to choose.
    void suggestsTheEpisodesFiles()
    {
        m_player->addFile("show/Another.1x02.srt", subRip("another"));
        m_player->addFile("show/Show [02].ass", subRip("fits"));
        m_player->addFile("show/Show.S01E01.srt", subRip("fits not"));
        play(Second);
        const QStringList expected{"Another.1x02.srt", "Show [02].ass", Off,
                                   "英语 SRT",         "中文 SRT",      "Show.S01E01.srt"};
        QTRY_COMPARE(m_player->menuTexts(Subtitle), expected);
        QTRY_COMPARE(words(), "embedded chi");
    }

    void theFoldersTrackIsPlayed_data()
    {
        QTest::addColumn<QString>("track");
        QTest::addColumn<QString>("audio");
        QTest::addColumn<QString>("subtitle");
        QTest::newRow("before a file that only looks right") << "1"
                                                             << "日语 AAC 单声道"
                                                             << "英语 SRT";
        QTest::newRow("where it is there") << "2"
                                           << "中文 AAC 单声道"
                                           << "中文 SRT";
        QTest::newRow("or what libmpv takes, and the file") << "7"
                                                            << "日语 AAC 单声道"
                                                            << "Ep01.srt";
    }

    void theFoldersTrackIsPlayed()
    {
        QFETCH(QString, track);
        m_player->addFile("show/Ep01.srt", subRip("similar"));
        rememberForFolder(track);
        play(First);
        QFETCH(QString, audio);
        QFETCH(QString, subtitle);
        QTRY_COMPARE(m_player->checkedText(Audio), audio);
        QTRY_COMPARE(m_player->checkedText(Subtitle), subtitle);
        QTest::qWait(300);
        QCOMPARE(m_player->checkedText(Subtitle), subtitle);
    }

    // Not the first one.
    void theFilesOwnTrackStandsInForTheFolders()
    {
        clips::Clip other = m_clip;
        other.outputs << "-disposition:a:0"
                      << "0"
                      << "-disposition:a:1"
                      << "default";
        m_player->addClip("show/Ep03.mkv", other);
        rememberForFolder("7");
        play("show/Ep03.mkv");
        QTRY_COMPARE(property("aid").toInt(), 2);
    }

    void offIsAChoice()
    {
        m_player->addFile("show/Ep02.srt", subRip("file"));
        play(First);
        QVERIFY(m_player->choose(Subtitle, Off));
        QTRY_COMPARE(m_player->checkedText(Subtitle), Off);
        QCOMPARE(storedFolder().subtitleTrackId.value(), "-1");
        QVERIFY(m_player->step("next", "Ep02.mkv"));
        QVERIFY(m_player->waitFor(2));
        QCOMPARE(property("sid").toBool(), false);
        QCOMPARE(words(), QString());
    }

    void addsTheSimilarFile()
    {
        m_player->addFile("show/ep01.srt", subRip("other case"));
        m_player->addFile("show/Show.Ep01.srt", subRip("similar"));
        for (int i = 0; i < 220; ++i) { // it is not on the first page
            m_player->addFile(QString("show/%1.txt").arg(i), "x");
        }
        const LogCapture log;
        play(First);
        QTRY_COMPARE(words(), "similar");
        QVERIFY(log.lines().contains("math similar subtitle: Ep01"));
        QTRY_COMPARE(m_player->checkedText(Subtitle), "Show.Ep01.srt");
        QTRY_COMPARE(m_player->storedHistory(First).subTitle.value(),
                     m_player->item("show/Show.Ep01.srt").file_id);
    }

    void remembersTheFileOfAVideo()
    {
        m_player->addFile("show/Ep01.srt", subRip("similar"));
        m_player->addFile("show/other.srt", subRip("chosen"));
        play(First);
        QTRY_COMPARE(words(), "similar");
        QVERIFY(m_player->choose(Subtitle, "other.srt"));
        QTRY_COMPARE(words(), "chosen");
        m_player->host().closeAll();
        const QString id = m_player->item("show/other.srt").file_id;
        QCOMPARE(m_player->storedHistory(First).subTitle.value(), id);

        const LogCapture log;
        play(First);
        QTRY_COMPARE(words(), "chosen");
        QVERIFY(log.lines().contains("get saved netdisk subtitle: " + id));
        // Reached by stepping it is not forgotten either.
        QVERIFY(m_player->step("next", "Ep02.mkv"));
        QTRY_COMPARE(words(), "embedded chi");
        m_player->press("previous");
        QTRY_COMPARE(words(), "chosen");
    }

    void whatAnOutageTookIsAskedForAgain()
    {
        m_player->addClip("film/Ep01.mkv", m_clip);
        m_player->addFile("film/Ep01.srt", subRip("similar"));
        m_player->server().addFault(FaultOn("getDownloadUrl").after(1).status(403));
        const LogCapture log;
        play("film/Ep01.mkv");
        QTRY_VERIFY(!log.lines().filter("getDownloadUrl fail :").isEmpty());
        QTRY_COMPARE(words(), "embedded chi");
        Session::instance().reachability().onLost({});
        Session::instance().reachability().onReplied();
        QTRY_COMPARE(words(), "similar");
    }

    void choosesFilesAndTracksInTurn()
    {
        m_player->addFile("show/a.srt", subRip("file a"));
        m_player->addFile("show/b.srt", subRip("file b"));
        play(First);
        const QList<QPair<QString, QString>> choices{
            {"a.srt", "file a"}, {"b.srt", "file b"}, {"英语 SRT", "embedded eng"},
            {"a.srt", "file a"}, {Off, QString()},    {"b.srt", "file b"}};
        for (const auto &[text, shown] : choices) {
            QVERIFY(m_player->choose(Subtitle, text));
            QCOMPARE(m_player->storedHistory(First).subTitle.value().isEmpty(),
                     !text.endsWith(".srt"));
            QTRY_COMPARE(words(), shown);
            QTRY_COMPARE(m_player->checkedText(Subtitle), text);
        }
        // Each file was fetched and added once.
        QCOMPARE(m_player->menuTexts(Subtitle).size(), 5);
        QCOMPARE(property("track-list/count").toInt(), 7);

        // One that was fetched before it was chosen again comes along, too.
        QVERIFY(m_player->choose(Subtitle, "a.srt"));
        QVERIFY(m_player->choose(Audio, "中文 AAC 单声道"));
        const QString source = m_player->menuTexts("quality").last();
        QVERIFY(m_player->choose("quality", source));
        QTRY_COMPARE(m_player->checkedText("quality"), source);
        QTRY_COMPARE(property("track-list/count").toInt(), 6);
        QTRY_COMPARE(words(), "file a");
        QTRY_COMPARE(property("aid").toInt(), 2);
    }

    // The choice of a file ends that of a track for the next episodes.
    void aFileGoesBeforeAnEarlierTrack()
    {
        m_player->addFile("show/Ep02.srt", subRip("similar"));
        play(First);
        QVERIFY(m_player->choose(Subtitle, "英语 SRT"));
        QVERIFY(m_player->choose(Subtitle, "Ep02.srt"));
        QTRY_COMPARE(words(), "similar");
        QCOMPARE(m_player->storedHistory(First).subTitle.value(),
                 m_player->item("show/Ep02.srt").file_id);
        QVERIFY(m_player->step("next", "Ep02.mkv"));
        QTRY_COMPARE(m_player->checkedText(Subtitle), "Ep02.srt");
        QTRY_COMPARE(words(), "similar");
    }

    void aFileThatCannotBeHadAddsNothing_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("reason");
        QTest::newRow("refused") << subRip("similar") << 403 << "Failed to get file size.";
        QTest::newRow("an edit list")
            << QByteArray("# mpv EDL v0\nav://lavfi:sine\n") << 0 << "these are no subtitles";
        QTest::newRow("too large") << subRip("similar") + QByteArray(20 << 20, ' ') << 0
                                   << "The file is larger than 20971520 bytes";
    }

    void aFileThatCannotBeHadAddsNothing()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, status);
        QFETCH(QString, reason);
        m_player->addFile("show/Ep01.srt", content);
        if (status > 0) {
            m_player->server().addFault(FaultOn("/download/*srt").always().status(status));
        }
        const LogCapture log;
        play(First);
        QTRY_VERIFY(!log.lines().filter("subtitle download fail :").filter(reason).isEmpty());
        QTRY_COMPARE(words(), "embedded chi");
        const int second = m_player->secondLabelled();
        QTRY_VERIFY(m_player->hasReached(second + 1));
    }

    void readsChineseEncodings()
    {
        QByteArray file = subRip("%");
        m_player->addFile("show/Ep01.srt", file.replace("%", Gb18030Words));
        play(First);
        QTRY_VERIFY2(words().startsWith("字幕显示正确"), qPrintable(words()));
    }

    // Only the user can see them.
    void removesTemporaryFiles()
    {
        QTemporaryDir temporary;
        qputenv("TMPDIR", temporary.path().toLocal8Bit());
        m_player->addFile("show/Ep01.srt", subRip("similar"));
        play(First);
        QTRY_COMPARE(words(), "similar");
        QDirIterator found(temporary.path(), {"*.subtitle"}, QDir::Files,
                           QDirIterator::Subdirectories);
        const QFileInfo file(found.next());
        const QFileInfo folder(file.path());
        QCOMPARE(file.permissions() & 0xfff, QFile::Permissions(0x600));
        QCOMPARE(folder.permissions() & 0xfff, QFile::Permissions(0x700));
        QVERIFY(folder.fileName().startsWith("moravu-subtitles-"));
        QVERIFY(property("access-references").toBool());
        m_player->host().closeAll();
        QVERIFY(!QFileInfo::exists(folder.filePath()));
    }

    // The file comes when libmpv has another video already, which may be the same once more.
    void aLateFileIsAddedToItsOwnVideo()
    {
        m_player->addFile("show/Ep01.srt", subRip("similar"));
        play(Second);
        const PlayRequest request = m_player->request(First);
        HistoryRow row(request.user, request.file, request.history);
        FolderMemory folder(request.file.parent_file_id, request.user.userId.value());
        TrackChoices late(*m_player->mpv(), row, folder, request.user, {});
        const LogCapture log;
        late.beginLoad();
        late.onFileLoaded();
        late.requestFolder();
        QTRY_VERIFY(log.lines().contains("math similar subtitle: Ep01"));
        late.endLoad();
        QTRY_VERIFY(!log.lines().filter("成功").isEmpty());
        QCOMPARE(property("track-list/count").toInt(), 5);
        late.beginLoad();
        late.onFileLoaded();
        QCOMPARE(property("track-list/count").toInt(), 6);
    }

    // Also into a folder of which nothing is known.
    void theTrackChosenBeforeGoesOn()
    {
        play(Second);
        const PlayRequest request = m_player->request(First);
        HistoryRow row(request.user, request.file, request.history);
        FolderMemory folder("elsewhere", request.user.userId.value());
        TrackChoices next(*m_player->mpv(), row, folder, request.user, {TrackMemory{2}, {}});
        QVERIFY(m_player->choose(Subtitle, "英语 SRT"));
        QTRY_COMPARE(property("sid").toInt(), 1);
        next.beginLoad();
        QTRY_COMPARE(property("sid").toInt(), 2);
    }

private:
    void play(const QString &path)
    {
        m_player->open(path);
        QVERIFY(m_player->waitFor(1));
        QTRY_VERIFY(m_player->menuTexts(Subtitle).size() >= 3);
    }

    void rememberForFolder(const QString &track)
    {
        FolderSetting setting;
        setting.folderId = m_player->item(First).parent_file_id;
        setting.audioTrackId = track;
        setting.subtitleTrackId = track;
        saveFolderSetting(setting);
    }

    QString words() const { return property("sub-text").toString(); }
    QVariant property(const char *name) const
    {
        return m_player->mpv()->getProperty(QLatin1String(name));
    }

    FolderSetting storedFolder() const
    {
        FolderSetting setting;
        loadFolderSetting(m_player->item(First).parent_file_id, setting);
        return setting;
    }

    QTemporaryDir m_folder;
    clips::Clip m_clip;
    clips::Clip m_turned; // the same tracks in another order
    std::unique_ptr<PlayerFixture> m_player;
};

MORAVU_TEST(TestPlayerTracks)

#include "tst_player_tracks.moc"
