#include <filesystem>
#include <fstream>

#include "drive_client.h"
#include "localdrive/sample_clips.h"

namespace fs = std::filesystem;
using std::chrono::seconds;

namespace {

constexpr char TwoSeconds[] = "两秒.mkv";

/// A clip of two seconds, 400 lines high; made once.
std::string clipFile(const QTemporaryDir &folder)
{
    const std::string target = utf8(folder.filePath(QStringLiteral("clip.mkv")));
    localdrive::Clip clip{"1/clip.mkv", 720, 400, 10, 2, "0x204060"};
    QStringList arguments;
    for (const std::string &argument : localdrive::clipCommand(clip, utf8(folder.path()), target))
        arguments << QString::fromStdString(argument);
    const QString program = arguments.takeFirst();
    return QProcess::execute(program, arguments) == 0 ? target : std::string();
}

nlohmann::json tasksOf(const JsonReply &reply)
{
    return reply.body.at("video_preview_play_info").at("live_transcoding_task_list");
}

} // namespace

class MediaTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void clipsTellTheirTime_data();
    void clipsTellTheirTime();
    void makesStreamsWhenAsked();
    void offersNothingAboveTheSource();
    void streamsPlayFromBeginningToEnd();
    void partsExpireWithTheirAddress();
    void streamsFollowTheContent();
    void whatIsNoVideoHasNoPreview_data();
    void whatIsNoVideoHasNoPreview();
    void playlistsInDisguiseOpenNothing();
    void stopsInTheMiddle();

private:
    JsonReply playInfo(const std::string &path)
    {
        return m_client->file("getVideoPreviewPlayInfo", {{"file_id", m_server->fileId(path)},
                                                          {"category", "live_transcoding"},
                                                          {"template_id", ""},
                                                          {"url_expire_sec", 14400}});
    }
    std::string firstAddress() { return tasksOf(playInfo(TwoSeconds)).at(0).at("url"); }

    QTemporaryDir m_folder;
    std::string m_clip;
    std::unique_ptr<localdrive::Server> m_server;
    std::unique_ptr<DriveClient> m_client;
};

void MediaTest::initTestCase()
{
    m_clip = clipFile(m_folder);
    QVERIFY(!m_clip.empty());
}

void MediaTest::init()
{
    m_server = std::make_unique<localdrive::Server>();
    fs::copy_file(m_clip, m_server->rootPath() + '/' + TwoSeconds);
    QVERIFY(m_server->start());
    m_client = std::make_unique<DriveClient>(*m_server);
}

void MediaTest::cleanup()
{
    m_client.reset();
    m_server.reset();
}

void MediaTest::clipsTellTheirTime_data()
{
    QTest::addColumn<QString>("position");
    QTest::addColumn<int>("second");
    QTest::newRow("the first second") << QStringLiteral("0.5") << 0;
    QTest::newRow("the next") << QStringLiteral("1.5") << 1;
}

void MediaTest::clipsTellTheirTime()
{
    QFETCH(QString, position);
    QFETCH(int, second);
    QProcess decoder;
    decoder.start(QStringLiteral("ffmpeg"),
                  {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-ss"), position,
                   QStringLiteral("-i"), QString::fromStdString(m_clip),
                   QStringLiteral("-frames:v"), QStringLiteral("1"), QStringLiteral("-vf"),
                   QStringLiteral("scale=16:16:flags=area"), QStringLiteral("-f"),
                   QStringLiteral("rawvideo"), QStringLiteral("-pix_fmt"), QStringLiteral("gray"),
                   QStringLiteral("-")});
    QVERIFY(decoder.waitForFinished(20000));
    const QByteArray grey = decoder.readAllStandardOutput();
    QCOMPARE(grey.size(), 256);
    int shown = 0;
    for (int cell = 0; cell < 12; ++cell)
        shown = shown * 2 + (static_cast<unsigned char>(grey[13 * 16 + 2 + cell]) > 127 ? 1 : 0);
    QCOMPARE(shown, second);
}

void MediaTest::makesStreamsWhenAsked()
{
    const JsonReply first = playInfo(TwoSeconds);
    QCOMPARE(first.status, 202);
    QCOMPARE(first.code(), std::string("VideoPreviewWaitAndRetry"));
    QTRY_COMPARE_WITH_TIMEOUT(playInfo(TwoSeconds).status, 200, 20000);

    nlohmann::json reply = playInfo(TwoSeconds).body;
    nlohmann::json &info = reply["video_preview_play_info"];
    QVERIFY(qAbs(info["meta"]["duration"].get<double>() - 2.0) < 0.2);
    info["meta"].erase("duration");
    const std::string url = info["live_transcoding_task_list"][0]["url"];
    QVERIFY(url.rfind(m_server->baseUrl() + "/stream/", 0) == 0);
    const nlohmann::json task = {{"template_id", "LD"},
                                 {"template_name", "LD"},
                                 {"template_width", 648},
                                 {"template_height", 360},
                                 {"status", "finished"},
                                 {"stage", "stage_all"},
                                 {"url", url}};
    const nlohmann::json expected = {
        {"domain_id", "localdrive"},
        {"drive_id", m_server->driveId()},
        {"file_id", m_server->fileId(TwoSeconds)},
        {"video_preview_play_info",
         {{"category", "live_transcoding"},
          {"meta", {{"width", 720}, {"height", 400}}},
          {"live_transcoding_task_list", nlohmann::json::array({task})}}}};
    QCOMPARE(reply, expected);
}

void MediaTest::offersNothingAboveTheSource()
{
    QVERIFY(m_server->prepareMedia(TwoSeconds));
    QCOMPARE(tasksOf(playInfo(TwoSeconds)).size(), std::size_t{1});
    const JsonReply other =
        m_client->file("getVideoPreviewPlayInfo",
                       {{"file_id", m_server->fileId(TwoSeconds)}, {"template_id", "FHD"}});
    QCOMPARE(tasksOf(other), nlohmann::json::array());
}

void MediaTest::streamsPlayFromBeginningToEnd()
{
    QVERIFY(m_server->prepareMedia(TwoSeconds));
    QProcess probe;
    probe.start(QStringLiteral("ffprobe"),
                {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-count_packets"),
                 QStringLiteral("-select_streams"), QStringLiteral("v"),
                 QStringLiteral("-show_entries"),
                 QStringLiteral("stream=width,height,nb_read_packets"), QStringLiteral("-of"),
                 QStringLiteral("json"), QString::fromStdString(firstAddress())});
    QVERIFY(probe.waitForFinished(20000));
    const nlohmann::json streams =
        nlohmann::json::parse(probe.readAllStandardOutput().toStdString())["streams"];
    QCOMPARE(streams,
             nlohmann::json::array({{{"width", 648}, {"height", 360}, {"nb_read_packets", "20"}}}));
}

void MediaTest::partsExpireWithTheirAddress()
{
    QVERIFY(m_server->prepareMedia(TwoSeconds));
    m_server->setUrlLifetime(seconds(30));
    const std::string url = firstAddress();
    const auto index = m_client->get(url);
    QCOMPARE(index->status, 200);
    QCOMPARE(index->get_header_value("Content-Type"), std::string("application/vnd.apple.mpegurl"));
    const std::size_t begin = index->body.find("part");
    const std::string part = url.substr(0, url.rfind('/') + 1) +
                             index->body.substr(begin, index->body.find('\n', begin) - begin);
    QCOMPARE(m_client->get(part)->status, 200);
    QCOMPARE(m_client->get(part.substr(0, part.find('?')))->status, 403);
    m_server->advanceClock(seconds(30));
    QCOMPARE(m_client->get(part)->status, 403);
    QCOMPARE(m_client->get(url)->status, 403);
}

void MediaTest::streamsFollowTheContent()
{
    QVERIFY(m_server->prepareMedia(TwoSeconds));
    const nlohmann::json rename = {{"file_id", m_server->fileId(TwoSeconds)}, {"name", "b.mkv"}};
    QCOMPARE(m_client->file("update", rename).status, 200);
    m_server->makeFile(TwoSeconds, "something else");
    QCOMPARE(playInfo("b.mkv").status, 200);
    QCOMPARE(playInfo(TwoSeconds).status, 404);
}

void MediaTest::whatIsNoVideoHasNoPreview_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("text with a video's name") << QStringLiteral("fake.mp4") << QByteArray("text");
    QTest::newRow("empty") << QStringLiteral("empty.mkv") << QByteArray();
    QTest::newRow("a document") << QStringLiteral("a.txt") << QByteArray("text");
}

void MediaTest::whatIsNoVideoHasNoPreview()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    m_server->makeFile(utf8(name), content.toStdString());
    const JsonReply reply = playInfo(utf8(name));
    QCOMPARE(reply.status, 404);
    QCOMPARE(reply.code(), std::string("NotFound.VideoPreviewInfo"));
}

void MediaTest::playlistsInDisguiseOpenNothing()
{
    const std::string list =
        "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2,\n" + m_clip + "\n#EXT-X-ENDLIST\n";
    m_server->makeFile("disguise.mkv", list);
    m_server->makeFile("concat.mkv", "ffconcat version 1.0\nfile '" + m_clip + "'\n");
    for (const char *name : {"disguise.mkv", "concat.mkv"}) {
        QCOMPARE(playInfo(name).status, 404);
        QVERIFY(!m_server->prepareMedia(name));
    }
}

void MediaTest::stopsInTheMiddle()
{
    playInfo(TwoSeconds); // begins to transcode
    QElapsedTimer timer;
    timer.start();
    m_client.reset();
    m_server.reset();
    QVERIFY(timer.elapsed() < 3000);
}

QTEST_GUILESS_MAIN(MediaTest)
#include "tst_localdrive_media.moc"
