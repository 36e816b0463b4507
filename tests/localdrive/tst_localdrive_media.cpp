#include <filesystem>
#include <fstream>

#include "drive_test.h"
#include "localdrive/media/sample_clips.h"

namespace fs = std::filesystem;
using std::chrono::seconds;

namespace {

constexpr char TwoSeconds[] = "两秒.mkv";

// A clip of two seconds, 400 lines high.
std::string clipFile(const QTemporaryDir &folder,
                     localdrive::Tracks tracks = localdrive::Tracks::Plain)
{
    const std::string target = folder.filePath(QStringLiteral("clip.mkv")).toStdString();
    const localdrive::Clip clip{"1/clip.mkv", 720, 400, 10, 2, "0x204060", tracks};
    QStringList arguments;
    for (const std::string &argument :
         localdrive::clipCommand(clip, folder.path().toStdString(), target)) {
        arguments << QString::fromStdString(argument);
    }
    const QString program = arguments.takeFirst();
    return QProcess::execute(program, arguments) == 0 ? target : std::string();
}

QByteArray outputOf(const QString &command)
{
    QProcess program;
    QStringList words = command.split(QLatin1Char(' '));
    const QString name = words.takeFirst();
    program.start(name, words);
    return program.waitForFinished(20000) ? program.readAllStandardOutput() : QByteArray();
}

nlohmann::json tasksOf(const JsonReply &reply)
{
    return reply.body.at("video_preview_play_info").at("live_transcoding_task_list");
}

} // namespace

class TestMedia final : public DriveTest
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_clip = clipFile(m_folder);
        QVERIFY(!m_clip.empty());
    }
    void init()
    {
        start();
        fs::copy_file(m_clip, m_server->rootPath() + '/' + TwoSeconds);
    }
    void makesStreamsWhenAsked()
    {
        QCOMPARE(playInfo(TwoSeconds).verdict(), std::string("202 VideoPreviewWaitAndRetry"));
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
    void streamsPlayFromBeginningToEnd()
    {
        QVERIFY(m_server->prepareMedia(TwoSeconds));
        const QString command = QStringLiteral("ffprobe -v error -count_packets -select_streams v "
                                               "-show_entries stream=width,height,nb_read_packets "
                                               "-of json ");
        const QByteArray told = outputOf(command + QString::fromStdString(firstAddress()));
        const nlohmann::json streams = nlohmann::json::parse(told.toStdString())["streams"];
        QCOMPARE(streams, nlohmann::json::array(
                              {{{"width", 648}, {"height", 360}, {"nb_read_packets", "20"}}}));
    }
    void partsExpireWithTheirAddress()
    {
        QVERIFY(m_server->prepareMedia(TwoSeconds));
        m_server->setUrlLifetime(seconds(30));
        const std::string url = firstAddress();
        const auto index = m_client->get(url);
        QCOMPARE(index->status, 200);
        QCOMPARE(index->get_header_value("Content-Type"),
                 std::string("application/vnd.apple.mpegurl"));
        const std::size_t begin = index->body.find("part");
        const std::string part = url.substr(0, url.rfind('/') + 1) +
                                 index->body.substr(begin, index->body.find('\n', begin) - begin);
        QCOMPARE(m_client->get(part)->status, 200);
        QCOMPARE(m_client->get(part.substr(0, part.find('?')))->status, 403);
        m_server->advanceClock(seconds(30));
        QCOMPARE(m_client->get(part)->status, 403);
        QCOMPARE(m_client->get(url)->status, 403);
    }
    void makesTheTextsOfAFile()
    {
        const auto told = [this] {
            return m_client
                ->file("getVideoPreviewPlayInfo",
                       {{"file_id", m_server->fileId(TwoSeconds)}, {"get_subtitle_info", true}})
                .body.value("video_preview_play_info", nlohmann::json::object())
                .value("live_transcoding_subtitle_task_list", nlohmann::json());
        };
        const QTemporaryDir folder;
        fs::copy_file(clipFile(folder, localdrive::Tracks::Languages),
                      m_server->rootPath() + '/' + TwoSeconds,
                      fs::copy_options::overwrite_existing);
        QVERIFY(m_server->prepareMedia(TwoSeconds));
        nlohmann::json tasks = told();
        const std::string url = tasks.at(1).at("url");
        QCOMPARE(tasks,
                 nlohmann::json::array(
                     {{{"language", "chi"}, {"status", "finished"}, {"url", tasks.at(0).at("url")}},
                      {{"language", "eng"}, {"status", "finished"}, {"url", url}}}));
        const auto text = m_client->get(url);
        QCOMPARE(text->get_header_value("Content-Type"), std::string("text/vtt"));
        QVERIFY(text->body.rfind("WEBVTT\n", 0) == 0);
        QVERIFY(text->body.find("Embedded English subtitle") != std::string::npos);
        QCOMPARE(m_client->get(url.substr(0, url.find('?')))->status, 403);
    }
    void streamsFollowTheContent()
    {
        QVERIFY(m_server->prepareMedia(TwoSeconds));
        m_client->fileAt("update", R"({"file_id":"<两秒.mkv>","name":"b.mkv"})");
        m_server->makeFile(TwoSeconds, "something else");
        QCOMPARE(playInfo("b.mkv").status, 200);
        QCOMPARE(playInfo(TwoSeconds).status, 404);
    }
    void whatIsNoVideoHasNoPreview_data()
    {
        QTest::addColumn<std::string>("name");
        QTest::addColumn<std::string>("content");
        using T = std::string;
        QTest::newRow("text with a video's name") << T("fake.mp4") << T("text");
        QTest::newRow("empty") << T("empty.mkv") << T();
        QTest::newRow("a document") << T("a.txt") << T("text");
        QTest::newRow("a play list of local files")
            << T("list.mkv")
            << T("#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2,\nCLIP\n#EXT-X-ENDLIST\n");
        QTest::newRow("a list of parts")
            << T("concat.mkv") << T("ffconcat version 1.0\nfile 'CLIP'\n");
    }
    void whatIsNoVideoHasNoPreview()
    {
        QFETCH(std::string, name);
        QFETCH(std::string, content);
        if (const std::size_t clip = content.find("CLIP"); clip != std::string::npos) {
            content.replace(clip, 4, m_clip);
        }
        m_server->makeFile(name, content);
        QCOMPARE(playInfo(name).verdict(), std::string("404 NotFound.VideoPreviewInfo"));
        QVERIFY(!m_server->prepareMedia(name));
    }
    void thumbnailsLastFourHours()
    {
        const std::string url = m_client->list().body["items"][0]["thumbnail"];
        QCOMPARE(m_client->get(url)->get_header_value("Content-Type"), std::string("image/jpeg"));
        m_server->advanceClock(std::chrono::hours(4) - std::chrono::minutes(1));
        QCOMPARE(m_client->get(url)->status, 200);
        m_server->advanceClock(std::chrono::minutes(1));
        QCOMPARE(m_client->get(url)->status, 403);
    }
    void subtitlesTellTheTime()
    {
        const std::string text = localdrive::subtitleText("片", 5941);
        QCOMPARE(text.substr(text.rfind("\n\n", text.size() - 3) + 2),
                 std::string("1981\n01:39:00,000 --> 01:39:03,000\n片 01:39:00\n\n"));
    }
    void stopsInTheMiddle()
    {
        const QTemporaryDir programs; // with an ffmpeg that takes its time
        QFile ffmpeg(programs.filePath("ffmpeg"));
        QVERIFY(ffmpeg.open(QIODevice::WriteOnly));
        ffmpeg.write("#!/bin/sh\n: > \"$0.began\"\nexec sleep 100\n");
        ffmpeg.close();
        ffmpeg.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(programs.path()) + ':' + path);
        playInfo(TwoSeconds);
        QTRY_VERIFY(QFile::exists(ffmpeg.fileName() + ".began"));
        qputenv("PATH", path);
        QElapsedTimer timer;
        timer.start();
        m_client.reset();
        m_server.reset();
        QVERIFY(timer.elapsed() < 50000);
    }

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
};

QTEST_GUILESS_MAIN(TestMedia)
#include "tst_localdrive_media.moc"
