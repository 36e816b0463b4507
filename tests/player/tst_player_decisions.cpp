#include <QProcess>
#include <QTextCodec>
#include <QtTest>

#include "api/records/file_records.h"
#include "app/environment/video_quality.h"
#include "db/tables/play_history.h"
#include "player/session/chapters.h"
#include "player/session/episode_number.h"
#include "player/session/offered_subtitle.h"
#include "player/session/play_quality.h"
#include "player/session/skip_times.h"
#include "player/session/speed.h"
#include "player/session/subtitle_files.h"
#include "player/session/subtitle_folder.h"
#include "player/session/watched_videos.h"
#include "player/window/player_keys.h"
#include "player/window/video_list_model.h"
#include "player/window/volume_level.h"

Q_DECLARE_METATYPE(SkipTimes)
Q_DECLARE_METATYPE(StartPlace)

namespace {

struct KeyPress
{
    int key;
    Qt::KeyboardModifiers modifiers;
};

// "S1E2", "E2", "E1-2".
QString textOf(const EpisodeNumber &number)
{
    const QString last = number.last == number.episode ? "" : "-" + QString::number(number.last);
    const QString season = number.season ? "S" + QString::number(*number.season) : "";
    return season + "E" + QString::number(number.episode) + last;
}

QList<FileItem> filesNamed(const QStringList &names)
{
    QList<FileItem> files;
    for (const QString &name : names) {
        FileItem file;
        file.name = name;
        files.append(file);
    }
    return files;
}

} // namespace

Q_DECLARE_METATYPE(KeyPress)
Q_DECLARE_METATYPE(QList<KeyPress>)

// What the player decides without a window or a video.
class TestPlayerDecisions final : public QObject
{
    Q_OBJECT

private slots:
    void keysSetTheStep_data()
    {
        QTest::addColumn<QList<KeyPress>>("presses");
        QTest::addColumn<int>("increment");
        QTest::newRow("none before the first arrow")
            << QList<KeyPress>{{Qt::Key_Space, {}}, {Qt::Key_Up, {}}} << 0;
        QTest::newRow("ctrl changes left alone")
            << QList<KeyPress>{{Qt::Key_Right, Qt::ControlModifier}} << -5;
        QTest::newRow("ctrl with shift is not ctrl")
            << QList<KeyPress>{{Qt::Key_Left, Qt::ControlModifier | Qt::ShiftModifier}} << 5;
        QTest::newRow("stays for later keys")
            << QList<KeyPress>{{Qt::Key_Left, Qt::ControlModifier}, {Qt::Key_A, {}}} << 30;
        QTest::newRow("the last arrow counts")
            << QList<KeyPress>{{Qt::Key_Left, {}}, {Qt::Key_Right, {}}, {Qt::Key_Down, {}}} << -5;
    }
    void keysSetTheStep()
    {
        QFETCH(QList<KeyPress>, presses);
        QFETCH(int, increment);
        PlayerKeys keys;
        for (const KeyPress &press : qAsConst(presses)) {
            keys.press(press.key, press.modifiers);
        }
        QCOMPARE(keys.increment(), increment);
    }

    void keysAskForActions_data()
    {
        using Action = PlayerKeys::Action;
        QTest::addColumn<KeyPress>("press");
        QTest::addColumn<int>("action");
        const auto row = [](const char *name, const KeyPress &press, Action action) {
            QTest::newRow(name) << press << static_cast<int>(action);
        };
        row("faster", {Qt::Key_BracketRight, {}}, Action::Faster);
        row("own speed", {Qt::Key_Backspace, {}}, Action::OwnSpeed);
        row("plus with shift", {Qt::Key_Plus, Qt::ControlModifier | Qt::ShiftModifier},
            Action::SoundLater);
        row("plus alone", {Qt::Key_Plus, {}}, Action::None);
        row("minus of the key pad", {Qt::Key_Minus, Qt::ControlModifier | Qt::KeypadModifier},
            Action::SoundEarlier);
        row("0 alone", {Qt::Key_0, {}}, Action::None);
        row("subtitles earlier", {Qt::Key_Z, {}}, Action::SubtitlesEarlier);
        row("the page", {Qt::Key_F1, {}}, Action::ShowKeys);
    }
    void keysAskForActions()
    {
        QFETCH(KeyPress, press);
        QTEST(static_cast<int>(PlayerKeys().press(press.key, press.modifiers)), "action");
    }

    void thePageHasEveryKey()
    {
        using Action = PlayerKeys::Action;
        const auto last = static_cast<int>(PlayerKeys::ActionCount);
        const QList<KeyLine> page = PlayerKeys::page();
        QCOMPARE(page.size(), last + 3); // and three steps
        for (const KeyLine &line : page) {
            QVERIFY2(!line.keys.isEmpty() && !line.text.isEmpty(), qPrintable(line.text));
        }
        for (int action = 1; action <= last; ++action) {
            QVERIFY(!PlayerKeys::text(static_cast<Action>(action)).isEmpty());
        }
    }

    void speedSteps_data()
    {
        QTest::addColumn<double>("speed");
        QTest::addColumn<double>("up");
        QTest::addColumn<double>("down");
        QTest::newRow("its own") << 1.0 << 1.25 << 0.75;
        QTest::newRow("the lowest") << 0.25 << 0.5 << 0.25;
        QTest::newRow("the highest") << 4.0 << 4.0 << 3.0;
        QTest::newRow("between two") << 1.1 << 1.25 << 1.0;
    }
    void speedSteps()
    {
        QFETCH(double, speed);
        QTEST(speedAfterStep(speed, true), "up");
        QTEST(speedAfterStep(speed, false), "down");
    }

    void chapterSteps_data()
    {
        QTest::addColumn<double>("position");
        QTest::addColumn<int>("next");
        QTest::addColumn<int>("previous");
        QTest::newRow("before the first") << 2.0 << 0 << -1;
        QTest::newRow("soon after a beginning") << 62.0 << 2 << 0;
        QTest::newRow("later") << 70.0 << 2 << 1;
        QTest::newRow("in the last") << 130.0 << -1 << 2;
    }
    void chapterSteps()
    {
        QFETCH(double, position);
        const QList<Chapter> chapters{{5, "a"}, {60.5, "b"}, {120, "c"}};
        QTEST(chapterAfterStep(chapters, position, true), "next");
        QTEST(chapterAfterStep(chapters, position, false), "previous");
    }

    void volumeSteps_data()
    {
        QTest::addColumn<int>("volume");
        QTest::addColumn<int>("up");
        QTest::addColumn<int>("down");
        QTest::newRow("from silence libmpv is asked for less") << 0 << 10 << -10;
        QTest::newRow("below it no more") << -1 << 9 << -1;
        QTest::newRow("the last level to be raised") << 100 << 110 << 90;
        QTest::newRow("the first that is not") << 101 << 101 << 91;
    }
    void volumeSteps()
    {
        QFETCH(int, volume);
        QTEST(volumeAfterStep(volume, true), "up");
        QTEST(volumeAfterStep(volume, false), "down");
    }

    void refusesAShortSpan_data()
    {
        QTest::addColumn<SkipTimes>("skip");
        QTest::addColumn<int>("duration");
        QTest::addColumn<bool>("tooClose");
        QTest::newRow("30 s between") << SkipTimes{90, 120} << 240 << true;
        QTest::newRow("31 s between") << SkipTimes{90, 120} << 241 << false;
        QTest::newRow("no intro") << SkipTimes{0, 120} << 121 << false;
        QTest::newRow("no outro") << SkipTimes{90, 0} << 91 << false;
        QTest::newRow("no duration") << SkipTimes{90, 120} << 0 << false;
    }
    void refusesAShortSpan()
    {
        QFETCH(SkipTimes, skip);
        QFETCH(int, duration);
        QTEST(skip.isTooClose(duration), "tooClose");
    }

    void refusesAnEarlyOutro_data()
    {
        QTest::addColumn<int>("intro");
        QTest::addColumn<int>("position");
        QTest::addColumn<bool>("tooClose");
        QTest::newRow("30 s after the intro") << 90 << 120 << true;
        QTest::newRow("31 s after the intro") << 90 << 121 << false;
        QTest::newRow("before the intro's end") << 90 << 10 << true;
        QTest::newRow("at the very beginning") << 90 << 0 << false;
        QTest::newRow("without an intro") << 0 << 5 << false;
    }
    void refusesAnEarlyOutro()
    {
        QFETCH(int, intro);
        QFETCH(int, position);
        QTEST((SkipTimes{intro, 0}.outroTooClose(position)), "tooClose");
    }

    void knowsTheOutro_data()
    {
        QTest::addColumn<int>("outro");
        QTest::addColumn<int>("position");
        QTest::addColumn<int>("duration");
        QTest::addColumn<bool>("inOutro");
        QTest::newRow("before the outro") << 20 << 79 << 100 << false;
        QTest::newRow("at the outro") << 20 << 80 << 100 << true;
        QTest::newRow("before the end, no outro") << 0 << 99 << 100 << false;
        QTest::newRow("at the end, no outro") << 0 << 100 << 100 << true;
        QTest::newRow("an outro as long as the video is ignored") << 4 << 1 << 4 << false;
        QTest::newRow("no duration is no end") << 0 << 0 << 0 << false;
    }
    void knowsTheOutro()
    {
        QFETCH(int, outro);
        QFETCH(int, position);
        QFETCH(int, duration);
        QTEST((SkipTimes{0, outro}.isInOutro(position, duration)), "inOutro");
    }

    void tellsHowMuchWasWatched_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<int>("duration");
        QTest::addColumn<int>("outro");
        QTest::addColumn<QString>("words");
        QTest::newRow("not begun") << 0 << 1000 << 0 << "";
        QTest::newRow("of unknown length") << 700 << 0 << 0 << "";
        QTest::newRow("just begun") << 2 << 1000 << 0 << "看到 1%";
        QTest::newRow("half") << 504 << 1000 << 0 << "看到 50%";
        QTest::newRow("before the last per cent") << 949 << 1000 << 0 << "看到 95%";
        QTest::newRow("in the last per cent") << 950 << 1000 << 0 << "已看完";
        QTest::newRow("beyond the end") << 1200 << 1000 << 0 << "已看完";
        QTest::newRow("before the outro") << 799 << 1000 << 200 << "看到 80%";
        QTest::newRow("in the outro") << 800 << 1000 << 200 << "已看完";
        QTest::newRow("an outro as long as the video") << 10 << 100 << 100 << "看到 10%";
    }
    void tellsHowMuchWasWatched()
    {
        QFETCH(int, outro);
        QFETCH(int, position);
        QFETCH(int, duration);
        PlayHistory row;
        row.playPosition = position;
        row.duration = duration;
        QTEST(watchedText(watchedPercent(row, {0, outro})), "words");
    }

    void startsAtTheRightPlace_data()
    {
        using Kind = StartPlace::Kind;
        QTest::addColumn<int>("resumePosition");
        QTest::addColumn<SkipTimes>("skip");
        QTest::addColumn<StartPlace>("place");
        const SkipTimes both{90, 60};
        QTest::newRow("resumes before skipping") << 40 << both << StartPlace{Kind::Resume, 40};
        QTest::newRow("skips the intro") << 0 << both << StartPlace{Kind::AfterIntro, 90};
        QTest::newRow("begins") << 0 << SkipTimes{} << StartPlace{};
        QTest::newRow("resumes in the outro") << 940 << both << StartPlace{Kind::Resume, 940};
        QTest::newRow("a finished video anew") << 1000 << both << StartPlace{Kind::AfterIntro, 90};
        QTest::newRow("ignores an intro as long as the video")
            << 0 << SkipTimes{1000, 0} << StartPlace{};
    }
    void startsAtTheRightPlace()
    {
        QFETCH(int, resumePosition);
        QFETCH(SkipTimes, skip);
        QFETCH(StartPlace, place);
        const StartPlace actual = startPlace(resumePosition, skip, 1000);
        QCOMPARE(static_cast<int>(actual.kind), static_cast<int>(place.kind));
        QCOMPARE(actual.position, place.position);
    }

    void choosesAQuality_data()
    {
        QTest::addColumn<QString>("offered"); // "ID" with an address, "ID-" without one
        QTest::addColumn<QString>("wanted");
        QTest::addColumn<QString>("chosen");
        const char *usual = "LD SD HD OrgHD";
        QTest::newRow("the wanted one") << usual << "SD"
                                        << "SD";
        QTest::newRow("the source") << usual << "OrgHD"
                                    << "OrgHD";
        QTest::newRow("the best below") << usual << "FHD"
                                        << "HD";
        QTest::newRow("the lowest above") << "QHD FHD OrgHD"
                                          << "SD"
                                          << "FHD";
        QTest::newRow("the source when nothing else is there") << "OrgHD"
                                                               << "FHD"
                                                               << "OrgHD";
        QTest::newRow("one without an address does not count") << "HD- LD OrgHD"
                                                               << "HD"
                                                               << "LD";
        QTest::newRow("a setting that nobody knows") << usual << "8K"
                                                     << "OrgHD";
        QTest::newRow("an unknown template is not played by itself") << "XHD"
                                                                     << "FHD"
                                                                     << "";
        QTest::newRow("unless the user chose it") << "XHD LD"
                                                  << "XHD"
                                                  << "XHD";
        QTest::newRow("nothing offered") << ""
                                         << "FHD"
                                         << "";
    }
    void choosesAQuality()
    {
        QFETCH(QString, offered);
        QFETCH(QString, wanted);
        QList<QualityEntry> entries;
        for (QString id : offered.split(' ')) {
            const QString url = id.endsWith('-') ? "" : "http://x";
            entries.append({id.remove('-'), 0, 0, url});
        }
        const int index = choosePlayable(entries, wanted);
        QTEST(index < 0 ? QString("") : entries.at(index).id, "chosen");
    }

    void measuresTheSource_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<QString>("text");
        QTest::newRow("from here on 8K") << 7680 << "原画(8K)";
        QTest::newRow("up to here 4K") << 7679 << "原画(4K)";
        QTest::newRow("from here on 4K") << 3840 << "原画(4K)";
        QTest::newRow("in pixels") << 3839 << "原画(3839x2160)";
        QTest::newRow("unknown") << 0 << "原画";
    }
    void measuresTheSource()
    {
        QFETCH(int, width);
        QTEST((QualityEntry{sourceQualityId(), width, 2160, QString()}.text()), "text");
    }

    void knowsSubtitleFiles()
    {
        const QList<OfferedSubtitle> files = subtitleFilesOf(
            filesNamed({"movie.mkv", "movie.SRT", "movie.srt.bak", "srt", "movie.ass"}));
        QCOMPARE(files.size(), 2);
        QCOMPARE(files.at(0).name, QString("movie.SRT"));
        QCOMPARE(files.at(1).name, QString("movie.ass"));
    }

    void matchesSubtitles_data()
    {
        QTest::addColumn<QString>("video");
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QString>("match");
        QTest::newRow("letter case counts")
            << "Ep01.mkv" << QStringList{"ep01.srt", "Show.Ep01.ass"} << "Show.Ep01.ass";
        QTest::newRow("the first in the folder's order")
            << "Ep01.mkv" << QStringList{"Ep01.mkv", "Ep01.zh.srt", "Ep01.ass"} << "Ep01.zh.srt";
        QTest::newRow("a name without a dot is its own base")
            << "Film" << QStringList{"Film.srt"} << "Film.srt";
        QTest::newRow("only the last dot ends the base")
            << "A.B.mkv" << QStringList{"A.C.srt", "A.B.srt"} << "A.B.srt";
        QTest::newRow("none") << "Ep02.mkv" << QStringList{"Ep01.srt"} << "";
    }
    void matchesSubtitles()
    {
        QFETCH(QString, video);
        QFETCH(QStringList, files);
        const QList<OfferedSubtitle> subtitles = subtitleFilesOf(filesNamed(files));
        const OfferedSubtitle *found = findSimilarSubtitle(subtitles, video);
        QTEST(found ? found->name : QString(""), "match");
    }

    // Some episodes may be missed, but none may be invented.
    void readsEpisodesFromReleaseNames()
    {
        QFile file(QFINDTESTDATA("../data/release_names.txt"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QStringList wrong;
        int asked = 0;
        int found = 0;
        for (QString line = file.readLine(); !line.isEmpty(); line = file.readLine()) {
            const QString expected = line.section('\t', 0, 0);
            const auto read = episodeOf(line.section('\t', 1).trimmed());
            asked += expected == "-" ? 0 : 1;
            found += read && textOf(*read) == expected ? 1 : 0;
            if (read && textOf(*read) != expected) {
                wrong += textOf(*read) + ", not " + line.trimmed();
            } else if (!read && expected != "-") {
                qInfo("missed: %s", qPrintable(line.trimmed()));
            }
        }
        qInfo("%d of %d episodes found", found, asked);
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join('\n')));
        QVERIFY(found * 10 >= asked * 9);
    }

    void subtitleFilesStayInTheTemporaryFolder()
    {
        for (const QString &name :
             {QString("../../etc/passwd.srt"), QString(300, 'x') + QString(".srt")}) {
            const QFileInfo path(subtitlePath(QDir::tempPath(), {"6a1b", name}));
            QCOMPARE(path.dir(), QDir::temp());
            QVERIFY(path.fileName().endsWith(".subtitle"));
            QVERIFY(path.fileName().toUtf8().size() <= 255);
        }
    }

    void knowsSubtitlesByTheirContent_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("isSubtitles");
        const auto row = [](const char *name, const QByteArray &content, bool isSubtitles) {
            QTest::newRow(name) << content << isSubtitles;
        };
        const QByteArray subRip = "1\r\n00:00:01,000 --> 00:00:02,000\r\nwords";
        row("SubRip", subRip, true);
        row("SubRip after a mark", "\xef\xbb\xbf\n" + subRip, true);
        row("SubRip in GB18030", subRip + "\xd7\xd6\xc4\xbb", true);
        row("SubRip in UTF-16", QTextCodec::codecForName("UTF-16")->fromUnicode(subRip), true);
        row("WebVTT", "WEBVTT\n\n00:01.000 --> 00:02.000\nwords", true);
        row("Substation Alpha", "[Script Info]\nTitle: x\n", true);
        row("TTML", "<?xml version=\"1.0\"?>\n<tt xmlns=\"http://www.w3.org/ns/ttml\">", true);
        row("MicroDVD", "{1}{25}words", true);
        row("MPL2", "[1][25]words", true);
        row("SubViewer", "00:00:01.00,00:00:02.00\nwords", true);
        row("an edit list", "# mpv EDL v0\n/etc/passwd,0,1\n" + subRip, false);
        row("a play list", "#EXTM3U\nhttp://127.0.0.1/x\n" + subRip, false);
        row("a list of files", "ffconcat version 1.0\nfile x", false);
        row("a session", "v=0\nc=IN IP4 127.0.0.1\n" + subRip, false);
        row("a film", QByteArray::fromHex("1a45dfa3") + subRip, false);
        row("a film behind a time", subRip + QByteArray(4, 0), false);
        row("nothing", "", false);
    }
    void knowsSubtitlesByTheirContent()
    {
        QFETCH(QByteArray, content);
        QTEST(isSubtitleContent(content), "isSubtitles");
    }

    // Others may have put links there.
    void removesOldFoldersOnly()
    {
        QTemporaryDir home;
        qputenv("HOME", home.path().toLocal8Bit());
        qputenv("TMPDIR", home.path().toLocal8Bit());
        const QDir folder(home.path());
        folder.mkpath("elsewhere/kept");
        QFile::link(folder.filePath("elsewhere"), folder.filePath("moravu-subtitles-link"));
        for (const char *name : {"moravu-subtitles-old", "moravu-subtitles-new", "other"}) {
            folder.mkdir(name);
        }
        for (const char *name : {"moravu-subtitles-old", "other", "elsewhere"}) {
            QCOMPARE(QProcess::execute("touch", {"-d", "2 days ago", folder.filePath(name)}), 0);
        }
        removeOldSubtitleFolders();
        QCOMPARE(
            folder.entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name),
            (QStringList{"elsewhere", "moravu-subtitles-link", "moravu-subtitles-new", "other"}));
        QVERIFY(folder.exists("elsewhere/kept"));
        const SubtitleFolder used;
        QCOMPARE(QProcess::execute("touch", {"-d", "2 days ago", used.path()}), 0);
        removeOldSubtitleFolders();
        QVERIFY(QFileInfo::exists(used.path()));
    }

    // A view paints again what it is told of.
    void theListShowsHowFarEachVideoWasWatched()
    {
        VideoListModel model;
        model.setVideos(filesNamed({"1.mkv", "2.mkv"}));
        QRect told;
        connect(&model, &VideoListModel::dataChanged, this, [&](const auto &from, const auto &to) {
            told = QRect(QPoint(0, from.row()), QPoint(0, to.row()));
        });
        model.setWatched({{QString(), 40}});
        QCOMPARE(told, QRect(0, 0, 1, 2));
        QCOMPARE(model.index(1).data(VideoListModel::WatchedRole).toInt(), 40);
    }
};

QTEST_APPLESS_MAIN(TestPlayerDecisions)
#include "tst_player_decisions.moc"
