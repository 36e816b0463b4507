#include <filesystem>

#include "caller.h"
#include "drive_test.h"
#include "localdrive/media/sample_clips.h"

using localdrive::PlayAnswer;
using localdrive::Rules;

Q_DECLARE_METATYPE(PlayAnswer)

// The drive as unkind as the platform.
class TestRules final : public DriveTest
{
    Q_OBJECT

private slots:
    void init()
    {
        localdrive::Options options;
        options.rules = Rules::strict();
        start(options, 2);
    }

    void callsAreCounted_data()
    {
        QTest::addColumn<std::string>("operation");
        QTest::addColumn<int>("allowed");
        QTest::newRow("lists") << std::string("list") << 4;
        QTest::newRow("download addresses") << std::string("getDownloadUrl") << 1;
        QTest::newRow("others") << std::string("get") << 15;
    }
    void callsAreCounted()
    {
        QFETCH(std::string, operation);
        QFETCH(int, allowed);
        m_server->makeFile("a.txt", "a"); // nothing that takes a second to look into
        DriveClient other(*m_server, 1);
        const auto call = [&] {
            return m_client->fileAt(operation, R"({"file_id":"<a.txt>","parent_file_id":"root"})");
        };
        for (int i = 0; i < allowed; ++i) {
            QCOMPARE(call().status, 200);
        }
        QCOMPARE(call().verdict(), std::string("429 TooManyRequests"));
        const int wait = std::stoi(m_client->lastHeader("x-retry-after"));
        QVERIFY(wait > 0 && wait <= 1000);
        QVERIFY(other.file("recyclebin/trash", {}).status != 429);
        QCOMPARE(other.list().status, 200);
        m_server->advanceClock(localdrive::Milliseconds(wait));
        QCOMPARE(call().status, 200);
        Rules rules = m_server->rules();
        rules.listsPerSecond = rules.downloadAddressesPerSecond = rules.otherCallsPerSecond = 0;
        m_server->setRules(rules);
        for (int i = 0; i < allowed; ++i) {
            QCOMPARE(call().status, 200);
        }
    }

    void pagesAndAddressesAreShort()
    {
        for (int i = 0; i < 101; ++i) {
            m_server->makeFile(std::to_string(i) + ".mkv", "a");
        }
        const nlohmann::json query = {{"parent_file_id", "root"}, {"limit", 200}};
        QCOMPARE(m_client->file("list", query).names().size(), std::size_t{100});
        const nlohmann::json wish = {{"file_id", m_server->fileId("1.mkv")}, {"expire_sec", 9999}};
        const std::string url = m_client->file("getDownloadUrl", wish).text("url");
        QCOMPARE(m_client->get(url)->status, 200);
        m_server->advanceClock(std::chrono::minutes(15));
        QCOMPARE(m_client->get(url)->status, 403);
    }

    void twoDownloadsAtATime()
    {
        m_server->makeFile("big.mkv", std::string(std::size_t{40} << 20, 'x'));
        m_server->makeFile("small.mkv", "x");
        const auto url = [this](const char *name) {
            return m_server->downloadUrl(name, std::chrono::minutes(1));
        };
        const std::string request = "GET " + m_client->pathOf(url("big.mkv")) + " HTTP/1.1\r\n\r\n";
        auto first = std::make_unique<Caller>(m_server->port(), request);
        Caller second(m_server->port(), request);
        QCOMPARE(first->answer(), std::string("HTTP/1.1 200 OK"));
        QCOMPARE(second.answer(), std::string("HTTP/1.1 200 OK"));
        QCOMPARE(m_client->get(url("small.mkv"))->status, 403);
        first.reset();
        QTRY_COMPARE(m_client->get(url("small.mkv"))->status, 200);
        QCOMPARE(m_client->get(url("small.mkv"))->status, 200); // what has ended is not counted
    }

    void playInformationIsAsRuled_data()
    {
        QTest::addColumn<PlayAnswer>("answer");
        QTest::addColumn<std::string>("verdict");
        QTest::addColumn<std::string>("playable"); // Qualities with an address.
        using T = std::string;
        QTest::newRow("everything") << PlayAnswer::Everything << T("200") << T("LD SD HD ");
        QTest::newRow("nothing high") << PlayAnswer::NoHighAddresses << T("200") << T("LD SD ");
        QTest::newRow("too large a drive")
            << PlayAnswer::ExceedCapacity << T("400 ExceedCapacityForbidden") << T();
        QTest::newRow("not yet") << PlayAnswer::WaitAndRetry << T("202 VideoPreviewWaitAndRetry")
                                 << T();
        QTest::newRow("never") << PlayAnswer::NoPreview << T("404 NotFound.VideoPreviewInfo")
                               << T();
    }
    void playInformationIsAsRuled()
    {
        QFETCH(PlayAnswer, answer);
        const QString clip = m_folder.filePath("clip.mkv");
        if (!QFile::exists(clip)) {
            QStringList words;
            for (const std::string &word :
                 localdrive::clipCommand({"1/clip.mkv", 1280, 720, 10, 2, "0x204060"},
                                         m_folder.path().toStdString(), clip.toStdString())) {
                words << QString::fromStdString(word);
            }
            QCOMPARE(QProcess::execute(words.takeFirst(), words), 0);
        }
        std::filesystem::copy_file(clip.toStdString(), m_server->rootPath() + "/clip.mkv");
        QVERIFY(answer >= PlayAnswer::ExceedCapacity || m_server->prepareMedia("clip.mkv"));
        Rules rules;
        rules.playAnswer = answer;
        m_server->setRules(rules);
        const JsonReply reply =
            m_client->fileAt("getVideoPreviewPlayInfo", R"({"file_id":"<clip.mkv>"})");
        QTEST(reply.verdict(), "verdict");
        std::string playable;
        for (const nlohmann::json &task :
             reply.body.value("/video_preview_play_info/live_transcoding_task_list"_json_pointer,
                              nlohmann::json::array())) {
            playable += task["url"] == "" ? "" : task["template_id"].get<std::string>() + ' ';
        }
        QTEST(playable, "playable");
    }

    void driveInformationIsAsDocumented()
    {
        const nlohmann::json documented = {{"user_id", "localuser1"},
                                           {"name", "青柚用户"},
                                           {"avatar", ""},
                                           {"default_drive_id", "90000001"},
                                           {"resource_drive_id", "900000011"},
                                           {"backup_drive_id", "90000001"}};
        const nlohmann::json old = {
            {"user_id", "localuser1"},        {"name", "青柚用户"},  {"avatar", ""},
            {"default_drive_id", "90000001"}, {"status", "enabled"}, {"nick_name", "青柚用户"},
            {"phone", "138****0001"},         {"user_data", ""}};
        const char *path = "/adrive/v1.0/user/getDriveInfo";
        QCOMPARE(m_client->post(path, {}).body, documented);
        m_server->setRules({});
        QCOMPARE(m_client->post(path, {}).body, old);
    }

    void anExpiredCodeIsAnError()
    {
        const nlohmann::json asked = {{"client_id", "moravu-local"},
                                      {"client_secret", "moravu-local-secret"},
                                      {"scopes", {"user:base"}}};
        const std::string sid = m_client->post("/oauth/authorize/qrcode", asked).text("sid");
        m_server->expireLogin(sid);
        QCOMPARE(m_client->getJson("/oauth/qrcode/" + sid + "/status").verdict(),
                 std::string("400 QRCodeExpired"));
    }

private:
    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(TestRules)
#include "tst_localdrive_rules.moc"
