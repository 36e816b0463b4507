#include <QtTest>

#include "api/records/file_records.h"
#include "player/play_quality.h"
#include "player/player_keys.h"
#include "player/skip_times.h"
#include "player/subtitle_files.h"
#include "player/video_quality.h"
#include "player/volume_level.h"

Q_DECLARE_METATYPE(SkipTimes)
Q_DECLARE_METATYPE(StartPlace)
Q_DECLARE_METATYPE(QList<QualityEntry>)

namespace {

struct KeyPress
{
    int key;
    Qt::KeyboardModifiers modifiers;
};

QList<FileItem> filesNamed(const QStringList &names)
{
    QList<FileItem> files;
    for (const QString &name : names) {
        FileItem file;
        file.name = name;
        file.file_id = QString::number(files.size());
        files.append(file);
    }
    return files;
}

} // namespace

Q_DECLARE_METATYPE(QList<KeyPress>)

// What the player decides without a window or a video.
class TestPlayerDecisions final : public QObject
{
    Q_OBJECT

private slots:
    void keysSetTheStep_data();
    void keysSetTheStep();
    void keysAct_data();
    void keysAct();
    void volumeSteps_data();
    void volumeSteps();
    void volumeIcons_data();
    void volumeIcons();
    void refusesAShortSpan_data();
    void refusesAShortSpan();
    void refusesAnEarlyOutro_data();
    void refusesAnEarlyOutro();
    void knowsTheOutro_data();
    void knowsTheOutro();
    void startsAtTheRightPlace_data();
    void startsAtTheRightPlace();
    void choosesAQuality_data();
    void choosesAQuality();
    void labelsQualities_data();
    void labelsQualities();
    void knowsSubtitleFiles_data();
    void knowsSubtitleFiles();
    void matchesSubtitles_data();
    void matchesSubtitles();
    void subtitleFilesStayInTheTemporaryFolder();
};

void TestPlayerDecisions::keysSetTheStep_data()
{
    QTest::addColumn<QList<KeyPress>>("presses");
    QTest::addColumn<int>("increment");
    QTest::newRow("none before the first arrow")
        << QList<KeyPress>{{Qt::Key_Space, {}}, {Qt::Key_Up, {}}} << 0;
    QTest::newRow("left") << QList<KeyPress>{{Qt::Key_Left, {}}} << 5;
    QTest::newRow("right") << QList<KeyPress>{{Qt::Key_Right, {}}} << -5;
    QTest::newRow("ctrl and left") << QList<KeyPress>{{Qt::Key_Left, Qt::ControlModifier}} << 30;
    QTest::newRow("ctrl and right") << QList<KeyPress>{{Qt::Key_Right, Qt::ControlModifier}} << -5;
    QTest::newRow("ctrl, shift and left")
        << QList<KeyPress>{{Qt::Key_Left, Qt::ControlModifier | Qt::ShiftModifier}} << 5;
    QTest::newRow("stays for later keys") << QList<KeyPress>{{Qt::Key_Left, Qt::ControlModifier},
                                                             {Qt::Key_Space, {}},
                                                             {Qt::Key_A, {}}}
                                          << 30;
    QTest::newRow("the last arrow counts")
        << QList<KeyPress>{{Qt::Key_Left, {}}, {Qt::Key_Right, {}}, {Qt::Key_Down, {}}} << -5;
}

void TestPlayerDecisions::keysSetTheStep()
{
    QFETCH(QList<KeyPress>, presses);
    QFETCH(int, increment);
    PlayerKeys keys;
    for (const KeyPress &press : qAsConst(presses))
        keys.press(press.key, press.modifiers);
    QCOMPARE(keys.increment(), increment);
}

void TestPlayerDecisions::keysAct_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("action");
    QTest::addColumn<bool>("swallowed");
    const auto row = [](const char *name, int key, PlayerKeys::Action action, bool swallowed) {
        QTest::newRow(name) << key << static_cast<int>(action) << swallowed;
    };
    row("left", Qt::Key_Left, PlayerKeys::Action::None, true);
    row("right", Qt::Key_Right, PlayerKeys::Action::None, true);
    row("up", Qt::Key_Up, PlayerKeys::Action::VolumeUp, true);
    row("down", Qt::Key_Down, PlayerKeys::Action::VolumeDown, true);
    row("space", Qt::Key_Space, PlayerKeys::Action::TogglePause, false);
    row("another", Qt::Key_A, PlayerKeys::Action::None, false);
}

void TestPlayerDecisions::keysAct()
{
    QFETCH(int, key);
    QFETCH(int, action);
    QFETCH(bool, swallowed);
    QCOMPARE(static_cast<int>(PlayerKeys().press(key, {})), action);
    QCOMPARE(PlayerKeys::isSwallowed(key), swallowed);
}

void TestPlayerDecisions::volumeSteps_data()
{
    QTest::addColumn<int>("volume");
    QTest::addColumn<int>("up");
    QTest::addColumn<int>("down");
    QTest::newRow("0") << 0 << 10 << -10;
    QTest::newRow("55") << 55 << 65 << 45;
    QTest::newRow("100") << 100 << 110 << 90;
    QTest::newRow("101") << 101 << 101 << 91;
    QTest::newRow("105") << 105 << 105 << 95;
    QTest::newRow("110") << 110 << 110 << 100;
    QTest::newRow("-1") << -1 << 9 << -1;
}

void TestPlayerDecisions::volumeSteps()
{
    QFETCH(int, volume);
    QFETCH(int, up);
    QFETCH(int, down);
    QCOMPARE(volumeAfterStep(volume, true), up);
    QCOMPARE(volumeAfterStep(volume, false), down);
}

void TestPlayerDecisions::volumeIcons_data()
{
    QTest::addColumn<int>("volume");
    QTest::addColumn<QString>("icon");
    const QList<QPair<int, QString>> rows{
        {-5, QStringLiteral("mute")},    {0, QStringLiteral("mute")},
        {1, QStringLiteral("volume0")},  {20, QStringLiteral("volume0")},
        {21, QStringLiteral("volume1")}, {50, QStringLiteral("volume1")},
        {51, QStringLiteral("volume2")}, {80, QStringLiteral("volume2")},
        {81, QStringLiteral("volume3")}, {110, QStringLiteral("volume3")}};
    for (const auto &row : rows) {
        QTest::addRow("%d", row.first)
            << row.first << QStringLiteral(":/playerIcon/%1.png").arg(row.second);
    }
    QTest::newRow("111 leaves the icon") << 111 << QString();
}

void TestPlayerDecisions::volumeIcons()
{
    QFETCH(int, volume);
    QFETCH(QString, icon);
    QCOMPARE(volumeIconPath(volume), icon);
}

void TestPlayerDecisions::refusesAShortSpan_data()
{
    QTest::addColumn<SkipTimes>("skip");
    QTest::addColumn<int>("duration");
    QTest::addColumn<bool>("tooClose");
    QTest::newRow("30 s between") << SkipTimes{90, 120} << 240 << true;
    QTest::newRow("31 s between") << SkipTimes{90, 120} << 241 << false;
    QTest::newRow("no intro") << SkipTimes{0, 120} << 121 << false;
    QTest::newRow("no outro") << SkipTimes{90, 0} << 91 << false;
}

void TestPlayerDecisions::refusesAShortSpan()
{
    QFETCH(SkipTimes, skip);
    QFETCH(int, duration);
    QFETCH(bool, tooClose);
    QCOMPARE(skip.isTooClose(duration), tooClose);
}

void TestPlayerDecisions::refusesAnEarlyOutro_data()
{
    QTest::addColumn<SkipTimes>("skip");
    QTest::addColumn<int>("position");
    QTest::addColumn<bool>("tooClose");
    QTest::newRow("30 s after the intro") << SkipTimes{90, 0} << 120 << true;
    QTest::newRow("31 s after the intro") << SkipTimes{90, 0} << 121 << false;
    QTest::newRow("before the intro's end") << SkipTimes{90, 0} << 10 << true;
    QTest::newRow("at the very beginning") << SkipTimes{90, 0} << 0 << false;
    QTest::newRow("without an intro") << SkipTimes{0, 0} << 5 << false;
}

void TestPlayerDecisions::refusesAnEarlyOutro()
{
    QFETCH(SkipTimes, skip);
    QFETCH(int, position);
    QFETCH(bool, tooClose);
    QCOMPARE(skip.outroTooClose(position), tooClose);
}

void TestPlayerDecisions::knowsTheOutro_data()
{
    QTest::addColumn<SkipTimes>("skip");
    QTest::addColumn<int>("position");
    QTest::addColumn<int>("duration");
    QTest::addColumn<bool>("inOutro");
    QTest::newRow("before the outro") << SkipTimes{0, 20} << 79 << 100 << false;
    QTest::newRow("at the outro") << SkipTimes{0, 20} << 80 << 100 << true;
    QTest::newRow("before the end, no outro") << SkipTimes{0, 0} << 99 << 100 << false;
    QTest::newRow("at the end, no outro") << SkipTimes{0, 0} << 100 << 100 << true;
    QTest::newRow("an outro as long as the video is ignored") << SkipTimes{0, 4} << 1 << 4 << false;
    QTest::newRow("a longer one too") << SkipTimes{0, 120} << 1 << 4 << false;
    QTest::newRow("no duration is no end") << SkipTimes{0, 0} << 0 << 0 << false;
}

void TestPlayerDecisions::knowsTheOutro()
{
    QFETCH(SkipTimes, skip);
    QFETCH(int, position);
    QFETCH(int, duration);
    QFETCH(bool, inOutro);
    QCOMPARE(skip.isInOutro(position, duration), inOutro);
}

void TestPlayerDecisions::startsAtTheRightPlace_data()
{
    QTest::addColumn<int>("resumePosition");
    QTest::addColumn<SkipTimes>("skip");
    QTest::addColumn<StartPlace>("place");
    const SkipTimes both{90, 60};
    QTest::newRow("resumes before skipping")
        << 40 << both << StartPlace{StartPlace::Kind::Resume, 40};
    QTest::newRow("skips the intro") << 0 << both << StartPlace{StartPlace::Kind::AfterIntro, 90};
    QTest::newRow("begins") << 0 << SkipTimes{} << StartPlace{};
    QTest::newRow("a finished video begins anew")
        << 940 << both << StartPlace{StartPlace::Kind::AfterIntro, 90};
    QTest::newRow("an intro as long as the video is ignored")
        << 0 << SkipTimes{1000, 0} << StartPlace{};
}

void TestPlayerDecisions::startsAtTheRightPlace()
{
    QFETCH(int, resumePosition);
    QFETCH(SkipTimes, skip);
    QFETCH(StartPlace, place);
    const StartPlace actual = startPlace(resumePosition, skip, 1000);
    QCOMPARE(static_cast<int>(actual.kind), static_cast<int>(place.kind));
    QCOMPARE(actual.position, place.position);
}

void TestPlayerDecisions::choosesAQuality_data()
{
    QTest::addColumn<QStringList>("offered"); // "ID" with an address, "ID-" without one
    QTest::addColumn<QString>("wanted");
    QTest::addColumn<QString>("chosen");
    const QStringList usual{QStringLiteral("LD"), QStringLiteral("SD"), QStringLiteral("HD"),
                            QStringLiteral("OrgHD")};
    const auto row = [](const char *name, const QStringList &offered, const char *wanted,
                        const char *chosen) {
        QTest::newRow(name) << offered << QString::fromLatin1(wanted)
                            << QString::fromLatin1(chosen);
    };
    row("the wanted one", usual, "SD", "SD");
    row("the source", usual, "OrgHD", "OrgHD");
    row("the best below", usual, "FHD", "HD");
    row("the lowest above", {QStringLiteral("QHD"), QStringLiteral("FHD"), QStringLiteral("OrgHD")},
        "SD", "FHD");
    row("the source when nothing else is there", {QStringLiteral("OrgHD")}, "FHD", "OrgHD");
    row("one without an address does not count",
        {QStringLiteral("HD-"), QStringLiteral("LD"), QStringLiteral("OrgHD")}, "HD", "LD");
    row("a setting that nobody knows", usual, "8K", "OrgHD");
    row("an unknown template is not played by itself", {QStringLiteral("XHD")}, "FHD", "");
    row("nothing offered", {}, "FHD", "");
}

void TestPlayerDecisions::choosesAQuality()
{
    QFETCH(QStringList, offered);
    QFETCH(QString, wanted);
    QFETCH(QString, chosen);
    QList<QualityEntry> entries;
    for (QString id : qAsConst(offered)) {
        const bool ready = !id.endsWith(QLatin1Char('-'));
        id.remove(QLatin1Char('-'));
        entries.append({id, 0, 0, ready ? QStringLiteral("http://x") : QString()});
    }
    const int index = choosePlayable(entries, wanted);
    QCOMPARE(index < 0 ? QString() : entries.at(index).id, chosen);
}

void TestPlayerDecisions::labelsQualities_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *id, int width, int height, const QString &text) {
        QTest::addRow("%s %dx%d", id, width, height)
            << QString::fromLatin1(id) << width << height << text;
    };
    row("OrgHD", 7680, 4320, QStringLiteral("原画(8K)"));
    row("OrgHD", 7679, 4320, QStringLiteral("原画(4K)"));
    row("OrgHD", 3840, 2160, QStringLiteral("原画(4K)"));
    row("OrgHD", 3839, 2160, QStringLiteral("原画(3839x2160)"));
    row("OrgHD", 1920, 1080, QStringLiteral("原画(1920x1080)"));
    row("OrgHD", 0, 0, QStringLiteral("原画"));
    row("QHD", 2560, 1440, QStringLiteral("超清 1440p"));
    row("FHD", 1920, 1080, QStringLiteral("全高清 1080p"));
    row("HD", 1280, 720, QStringLiteral("高清 720p"));
    row("SD", 960, 540, QStringLiteral("标清 540p"));
    row("LD", 640, 360, QStringLiteral("流畅 360p"));
    row("UHD", 3840, 2160, QStringLiteral("未知"));
}

void TestPlayerDecisions::labelsQualities()
{
    QFETCH(QString, id);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(QString, text);
    QCOMPARE((QualityEntry{id, width, height, QString()}).text(), text);
}

void TestPlayerDecisions::knowsSubtitleFiles_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isSubtitle");
    for (const char *suffix : {"srt", "vtt", "ttml", "sub", "ass", "ssa", "SRT", "Ass"})
        QTest::newRow(suffix) << QStringLiteral("movie.%1").arg(QLatin1String(suffix)) << true;
    for (const char *name : {"movie.mkv", "movie.srt.bak", "srt", "movie.idx"})
        QTest::newRow(name) << QString::fromLatin1(name) << false;
}

void TestPlayerDecisions::knowsSubtitleFiles()
{
    QFETCH(QString, name);
    QFETCH(bool, isSubtitle);
    QCOMPARE(isSubtitleFile(name), isSubtitle);
}

void TestPlayerDecisions::matchesSubtitles_data()
{
    QTest::addColumn<QString>("video");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QString>("match");
    QTest::newRow("letter case counts")
        << QStringLiteral("Ep01.mkv")
        << QStringList{QStringLiteral("ep01.srt"), QStringLiteral("Show.Ep01.ass")}
        << QStringLiteral("Show.Ep01.ass");
    QTest::newRow("the first in the folder's order")
        << QStringLiteral("Ep01.mkv")
        << QStringList{QStringLiteral("Ep01.mkv"), QStringLiteral("Ep01.zh.srt"),
                       QStringLiteral("Ep01.ass")}
        << QStringLiteral("Ep01.zh.srt");
    QTest::newRow("a name without a dot is its own base")
        << QStringLiteral("Film") << QStringList{QStringLiteral("Film.srt")}
        << QStringLiteral("Film.srt");
    QTest::newRow("only the last dot ends the base")
        << QStringLiteral("A.B.mkv")
        << QStringList{QStringLiteral("A.C.srt"), QStringLiteral("A.B.srt")}
        << QStringLiteral("A.B.srt");
    QTest::newRow("none") << QStringLiteral("Ep02.mkv") << QStringList{QStringLiteral("Ep01.srt")}
                          << QString();
}

void TestPlayerDecisions::matchesSubtitles()
{
    QFETCH(QString, video);
    QFETCH(QStringList, files);
    QFETCH(QString, match);
    const QList<FileItem> subtitles = subtitleFilesOf(filesNamed(files));
    const FileItem *found = findSimilarSubtitle(subtitles, video);
    QCOMPARE(found ? found->name : QString(), match);
}

void TestPlayerDecisions::subtitleFilesStayInTheTemporaryFolder()
{
    for (const QString &name : {QStringLiteral("../../etc/passwd.srt"), QStringLiteral("字幕.ass"),
                                QString(300, QLatin1Char('x')) + QStringLiteral(".srt")}) {
        FileItem file;
        file.name = name;
        file.file_id = QStringLiteral("6a1b");
        const QFileInfo path(subtitleTempPath(file));
        QCOMPARE(path.dir(), QDir::temp());
        QVERIFY(path.fileName().endsWith(QStringLiteral(".subtitle")));
        QVERIFY(path.fileName().toUtf8().size() <= 255);
    }
}

QTEST_APPLESS_MAIN(TestPlayerDecisions)
#include "tst_player_decisions.moc"
