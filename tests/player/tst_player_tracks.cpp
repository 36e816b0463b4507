#include <clocale>

#include <QApplication>
#include <QDir>
#include <QtTest>

#include "db/tables/operations.h"
#include "player/mpv_widget.h"
#include "player/player_fixture.h"
#include "player/player_window.h"

namespace {

const QString first = QStringLiteral("show/Ep01.mkv");
const QString second = QStringLiteral("show/Ep02.mkv");
const QString off = QStringLiteral("关闭字幕");
const QString audio = QStringLiteral("audio");
const QString subtitle = QStringLiteral("subtitle");

QByteArray subRip(const QString &words)
{
    return QStringLiteral("1\n00:00:00,000 --> 00:01:00,000\n%1\n").arg(words).toUtf8();
}

// With the line ends of the editors that write it: after a bare LF, FFmpeg loses a character.
QByteArray inUtf16(const QByteArray &utf8)
{
    QString text = QString::fromUtf8(utf8);
    text.replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
    return QByteArrayLiteral("\xff\xfe") +
           QByteArray(reinterpret_cast<const char *>(text.utf16()), text.size() * 2);
}

// "字幕显示正确，这是一段足够长的中文文字" as GB18030 writes it.
const QByteArray gb18030Words = QByteArrayLiteral(
    "\xd7\xd6\xc4\xbb\xcf\xd4\xca\xbe\xd5\xfd\xc8\xb7\xa3\xac\xd5\xe2\xca\xc7\xd2\xbb\xb6\xce"
    "\xd7\xe3\xb9\xbb\xb3\xa4\xb5\xc4\xd6\xd0\xce\xc4\xce\xc4\xd7\xd6");

} // namespace

// Audio tracks, embedded subtitles and subtitle files of the drive.
class TestPlayerTracks final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup() { m_player.reset(); }

    void listsTracks();
    void picksTheChineseSubtitle();
    void choicesGoToTheNextEpisode();
    void aChoiceLeavesTheRestOfTheFolder();
    void aRememberedTrackMayBeMissing();
    void offIsAChoice();
    void addsTheSimilarFile();
    void remembersTheFileOfAVideo();
    void choosesFilesAndTracksInTurn();
    void aFileGoesBeforeAnEarlierTrack();
    void aFileThatCannotBeHadAddsNothing();
    void readsChineseEncodings_data();
    void readsChineseEncodings();
    void qualityKeepsTheFile();
    void removesTemporaryFiles();

private:
    void play(const QString &path);
    QString words() const { return property("sub-text").toString(); }
    QVariant property(const char *name) const;
    FolderSetting storedFolder() const;

    QTemporaryDir m_folder;
    clips::Clip m_clip;
    std::unique_ptr<PlayerFixture> m_player;
};

// A clip with two audio tracks (Japanese, Chinese) and two subtitles (English, Chinese).
void TestPlayerTracks::initTestCase()
{
    const auto subtitles = [this](const char *language) {
        const QString path = m_folder.filePath(QLatin1String(language) + QStringLiteral(".srt"));
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(subRip(QStringLiteral("embedded %1").arg(QLatin1String(language))));
        return path;
    };
    const QString lavfi = QStringLiteral("lavfi");
    const QString sine = QStringLiteral("sine=duration=60");
    m_clip.seconds = 60;
    m_clip.inputs = QStringList{QStringLiteral("-f"), lavfi,
                                QStringLiteral("-i"), sine,
                                QStringLiteral("-f"), lavfi,
                                QStringLiteral("-i"), sine,
                                QStringLiteral("-i"), subtitles("eng"),
                                QStringLiteral("-i"), subtitles("chi")};
    for (int input = 0; input < 5; ++input)
        m_clip.outputs << QStringLiteral("-map") << QString::number(input);
    m_clip.outputs << QStringLiteral("-c:a") << QStringLiteral("aac") << QStringLiteral("-c:s")
                   << QStringLiteral("srt");
    const QList<QPair<QString, QString>> languages{{QStringLiteral("a:0"), QStringLiteral("jpn")},
                                                   {QStringLiteral("a:1"), QStringLiteral("chi")},
                                                   {QStringLiteral("s:0"), QStringLiteral("eng")},
                                                   {QStringLiteral("s:1"), QStringLiteral("chi")}};
    for (const auto &[stream, language] : languages) {
        m_clip.outputs << QStringLiteral("-metadata:s:") + stream
                       << QStringLiteral("language=") + language;
    }
}

void TestPlayerTracks::init()
{
    m_player = std::make_unique<PlayerFixture>();
    m_player->addClip(first, m_clip);
    m_player->addClip(second, m_clip);
}

void TestPlayerTracks::play(const QString &path)
{
    m_player->open(path);
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(1), 15000);
    QTRY_VERIFY(m_player->menuTexts(subtitle).size() >= 3);
}

QVariant TestPlayerTracks::property(const char *name) const
{
    return m_player->mpv()->getProperty(QLatin1String(name));
}

FolderSetting TestPlayerTracks::storedFolder() const
{
    FolderSetting setting;
    loadFolderSetting(m_player->item(first).parent_file_id, setting);
    return setting;
}

void TestPlayerTracks::listsTracks()
{
    play(first);
    QCOMPARE(m_player->menuTexts(audio),
             (QStringList{QStringLiteral("日语 AAC 单声道"), QStringLiteral("中文 AAC 单声道")}));
    QCOMPARE(m_player->checkedText(audio), QStringLiteral("日语 AAC 单声道"));
    QCOMPARE(m_player->menuTexts(subtitle),
             (QStringList{off, QStringLiteral("英语 SRT"), QStringLiteral("中文 SRT")}));
}

void TestPlayerTracks::picksTheChineseSubtitle()
{
    play(first);
    QTRY_COMPARE(property("sid").toInt(), 2);
    QTRY_COMPARE(words(), QStringLiteral("embedded chi"));
    QTRY_COMPARE(m_player->checkedText(subtitle), QStringLiteral("中文 SRT"));
    QVERIFY(storedFolder().subtitleTrackId.isNull());
}

void TestPlayerTracks::choicesGoToTheNextEpisode()
{
    play(first);
    QVERIFY(m_player->choose(subtitle, QStringLiteral("英语 SRT")));
    QVERIFY(m_player->choose(audio, QStringLiteral("中文 AAC 单声道")));
    QTRY_COMPARE(words(), QStringLiteral("embedded eng"));
    QTRY_COMPARE(m_player->checkedText(audio), QStringLiteral("中文 AAC 单声道"));
    QCOMPARE(storedFolder().subtitleTrackId.value(), QStringLiteral("1"));
    QCOMPARE(storedFolder().audioTrackId.value(), QStringLiteral("2"));
    QCOMPARE(storedFolder().userId.value(), m_player->request(first).user.userId.value());

    QTest::mouseClick(m_player->part(QStringLiteral("next")), Qt::LeftButton);
    QTRY_COMPARE(m_player->window()->windowTitle(), QStringLiteral("Ep02.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(1), 15000);
    QCOMPARE(property("sid").toInt(), 1);
    QCOMPARE(property("aid").toInt(), 2);

    m_player->host().closeAll();
    play(first);
    QCOMPARE(property("sid").toInt(), 1);
    QCOMPARE(property("aid").toInt(), 2);
}

void TestPlayerTracks::aRememberedTrackMayBeMissing()
{
    FolderSetting setting;
    setting.folderId = m_player->item(first).parent_file_id;
    setting.audioTrackId = QStringLiteral("7");
    setting.subtitleTrackId = QStringLiteral("9");
    saveFolderSetting(setting);
    play(first);
    QTRY_COMPARE(m_player->checkedText(audio), QStringLiteral("日语 AAC 单声道"));
    QTRY_COMPARE(m_player->checkedText(subtitle), QStringLiteral("中文 SRT"));
}

// The skip times may be cleared on the history page while the player is open.
void TestPlayerTracks::aChoiceLeavesTheRestOfTheFolder()
{
    FolderSetting setting;
    setting.folderId = m_player->item(first).parent_file_id;
    setting.skipHeadPos = 2;
    saveFolderSetting(setting);
    play(first);
    clearFolderSettings();
    QVERIFY(m_player->choose(audio, QStringLiteral("中文 AAC 单声道")));
    QCOMPARE(storedFolder().audioTrackId.value(), QStringLiteral("2"));
    QCOMPARE(storedFolder().skipHeadPos.value(), 0);
    QTRY_COMPARE(storedFolder().folderName.value(), QStringLiteral("show"));
}

void TestPlayerTracks::offIsAChoice()
{
    m_player->addFile(QStringLiteral("show/Ep02.srt"), subRip(QStringLiteral("file")));
    play(first);
    QVERIFY(m_player->choose(subtitle, off));
    QTRY_COMPARE(m_player->checkedText(subtitle), off);
    QCOMPARE(storedFolder().subtitleTrackId.value(), QStringLiteral("-1"));
    QTest::mouseClick(m_player->part(QStringLiteral("next")), Qt::LeftButton);
    QTRY_COMPARE(m_player->window()->windowTitle(), QStringLiteral("Ep02.mkv"));
    QTRY_VERIFY_WITH_TIMEOUT(m_player->hasReached(2), 15000);
    QCOMPARE(property("sid").toBool(), false);
    QCOMPARE(words(), QString());
}

void TestPlayerTracks::addsTheSimilarFile()
{
    m_player->addFile(QStringLiteral("show/ep01.srt"), subRip(QStringLiteral("other case")));
    m_player->addFile(QStringLiteral("show/Show.Ep01.srt"), subRip(QStringLiteral("similar")));
    const LogCapture log;
    play(first);
    QTRY_COMPARE(words(), QStringLiteral("similar"));
    QVERIFY(log.lines().contains(QStringLiteral("math similar subtitle: Ep01")));
    QTRY_COMPARE(m_player->checkedText(subtitle), QStringLiteral("Show.Ep01.srt"));
    QTRY_COMPARE(m_player->storedHistory(first).subTitle.value(),
                 m_player->item(QStringLiteral("show/Show.Ep01.srt")).file_id);
}

void TestPlayerTracks::remembersTheFileOfAVideo()
{
    m_player->addFile(QStringLiteral("show/Ep01.srt"), subRip(QStringLiteral("similar")));
    m_player->addFile(QStringLiteral("show/other.srt"), subRip(QStringLiteral("chosen")));
    play(first);
    QTRY_COMPARE(words(), QStringLiteral("similar"));
    QVERIFY(m_player->choose(subtitle, QStringLiteral("other.srt")));
    QTRY_COMPARE(words(), QStringLiteral("chosen"));
    m_player->host().closeAll();
    const QString id = m_player->item(QStringLiteral("show/other.srt")).file_id;
    QCOMPARE(m_player->storedHistory(first).subTitle.value(), id);

    const LogCapture log;
    play(first);
    QTRY_COMPARE(words(), QStringLiteral("chosen"));
    QVERIFY(log.lines().contains(QStringLiteral("get saved netdisk subtitle: ") + id));
    // Reached by stepping it is not forgotten either.
    QTest::mouseClick(m_player->part(QStringLiteral("next")), Qt::LeftButton);
    QTRY_COMPARE(m_player->window()->windowTitle(), QStringLiteral("Ep02.mkv"));
    QTRY_COMPARE(words(), QStringLiteral("embedded chi"));
    QTest::mouseClick(m_player->part(QStringLiteral("previous")), Qt::LeftButton);
    QTRY_COMPARE(words(), QStringLiteral("chosen"));
}

void TestPlayerTracks::choosesFilesAndTracksInTurn()
{
    m_player->addFile(QStringLiteral("show/a.srt"), subRip(QStringLiteral("file a")));
    m_player->addFile(QStringLiteral("show/b.srt"), subRip(QStringLiteral("file b")));
    play(first);
    const QList<QPair<QString, QString>> choices{
        {QStringLiteral("a.srt"), QStringLiteral("file a")},
        {QStringLiteral("b.srt"), QStringLiteral("file b")},
        {QStringLiteral("英语 SRT"), QStringLiteral("embedded eng")},
        {QStringLiteral("a.srt"), QStringLiteral("file a")},
        {off, QString()},
        {QStringLiteral("b.srt"), QStringLiteral("file b")}};
    for (const auto &[text, shown] : choices) {
        QVERIFY(m_player->choose(subtitle, text));
        QTRY_COMPARE(words(), shown);
        QTRY_COMPARE(m_player->checkedText(subtitle), text);
    }
    // Each file was fetched and added once.
    QCOMPARE(m_player->menuTexts(subtitle).size(), 5);
    QCOMPARE(property("track-list/count").toInt(), 7);

    // One that was fetched before it was chosen again comes along, too.
    QVERIFY(m_player->choose(subtitle, QStringLiteral("a.srt")));
    const QString source = m_player->menuTexts(QStringLiteral("quality")).last();
    QVERIFY(m_player->choose(QStringLiteral("quality"), source));
    QTRY_COMPARE(m_player->checkedText(QStringLiteral("quality")), source);
    QTRY_COMPARE(words(), QString());
    QTRY_COMPARE(words(), QStringLiteral("file a"));
}

// The choice of a file ends that of a track for the next episodes.
void TestPlayerTracks::aFileGoesBeforeAnEarlierTrack()
{
    m_player->addFile(QStringLiteral("show/Ep02.srt"), subRip(QStringLiteral("similar")));
    play(first);
    QVERIFY(m_player->choose(subtitle, QStringLiteral("英语 SRT")));
    QVERIFY(m_player->choose(subtitle, QStringLiteral("Ep02.srt")));
    QTRY_COMPARE(words(), QStringLiteral("similar"));
    QCOMPARE(m_player->storedHistory(first).subTitle.value(),
             m_player->item(QStringLiteral("show/Ep02.srt")).file_id);
    QTest::mouseClick(m_player->part(QStringLiteral("next")), Qt::LeftButton);
    QTRY_COMPARE(m_player->window()->windowTitle(), QStringLiteral("Ep02.mkv"));
    QTRY_COMPARE(m_player->checkedText(subtitle), QStringLiteral("Ep02.srt"));
    QTRY_COMPARE(words(), QStringLiteral("similar"));
}

void TestPlayerTracks::aFileThatCannotBeHadAddsNothing()
{
    m_player->addFile(QStringLiteral("show/Ep01.srt"), subRip(QStringLiteral("similar")));
    localdrive::Fault refused;
    refused.path = "/download/.*srt";
    refused.status = 403;
    refused.count = -1;
    m_player->server().addFault(refused);
    play(first);
    QTest::qWait(500);
    QTRY_COMPARE(words(), QStringLiteral("embedded chi"));
    const int second = m_player->secondLabelled();
    QTRY_VERIFY(m_player->hasReached(second + 1));
}

void TestPlayerTracks::readsChineseEncodings_data()
{
    QTest::addColumn<QByteArray>("content");
    const QString words = QStringLiteral("字幕显示正确，这是一段足够长的中文文字");
    QByteArray gb18030 = subRip(QStringLiteral("%"));
    gb18030.replace("%", gb18030Words);
    QTest::newRow("GB18030") << gb18030;
    QTest::newRow("UTF-16") << inUtf16(subRip(words));
    QTest::newRow("UTF-8") << subRip(words);
}

void TestPlayerTracks::readsChineseEncodings()
{
    QFETCH(QByteArray, content);
    m_player->addFile(QStringLiteral("show/Ep01.srt"), content);
    play(first);
    QTRY_VERIFY2(words().startsWith(QStringLiteral("字幕显示正确")), qPrintable(words()));
}

void TestPlayerTracks::qualityKeepsTheFile()
{
    m_player->addFile(QStringLiteral("show/Ep01.srt"), subRip(QStringLiteral("similar")));
    play(first);
    QTRY_COMPARE(words(), QStringLiteral("similar"));
    QVERIFY(m_player->choose(audio, QStringLiteral("中文 AAC 单声道")));
    const QSignalSpy loaded(m_player->mpv(), &MpvWidget::fileLoaded);
    QVERIFY(m_player->choose(QStringLiteral("quality"),
                             m_player->menuTexts(QStringLiteral("quality")).last()));
    QTRY_COMPARE(loaded.size(), 1);
    QTRY_COMPARE(words(), QStringLiteral("similar"));
    QTRY_COMPARE(property("aid").toInt(), 2);
    QCOMPARE(property("track-list/count").toInt(), 6);
}

void TestPlayerTracks::removesTemporaryFiles()
{
    QDir temporary(QDir::tempPath(), QStringLiteral("*.subtitle"));
    const QStringList before = temporary.entryList();
    m_player->addFile(QStringLiteral("show/Ep01.srt"), subRip(QStringLiteral("similar")));
    play(first);
    QTRY_COMPARE(words(), QStringLiteral("similar"));
    temporary.refresh();
    QCOMPARE(temporary.entryList().size(), before.size() + 1);
    m_player->host().closeAll();
    temporary.refresh();
    QCOMPARE(temporary.entryList(), before);
}

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    TestPlayerTracks test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_player_tracks.moc"
