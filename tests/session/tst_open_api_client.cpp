#include <QElapsedTimer>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QTest>

#include "api/records/account_records.h"
#include "api/records/change_records.h"
#include "api/records/file_records.h"
#include "api/records/video_records.h"
#include "api/session/api_failure.h"
#include "api/session/open_api_client.h"
#include "api/session/patient_reading.h"
#include "api/session/session.h"
#include "app/environment/app_settings.h"
#include "db/tables/operations.h"
#include "net/reply_guard.h"
#include "session/drive_fixture.h"
#include "support/fault_on.h"

namespace {

// Counts an operation's callbacks.
struct Outcome
{
    int successes = 0;
    int failures = 0;
    QString error;
    int code = 0;

    template <class Response>
    ApiSuccess<Response> success()
    {
        return [this](const Response &) { ++successes; };
    }
    ApiFailure fail()
    {
        return [this](const QString &message, int number) {
            ++failures;
            error = message;
            code = number;
        };
    }
    bool over() const { return successes + failures > 0; }
};

using Start = void (*)(const OpenApiClient &);

const QString Id = "file-1";
const QString Folder = "folder-1";

} // namespace

Q_DECLARE_METATYPE(Start)
Q_DECLARE_METATYPE(localdrive::Fault)

class TestOpenApiClient final : public QObject
{
    Q_OBJECT

private slots:
    void sendsTheWholeRecord_data()
    {
        QTest::addColumn<Start>("start");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("body"); // besides "drive_id"
        const auto row = [](const QString &path, const QString &body, Start start) {
            QTest::addRow("%s %s", qPrintable(path), qPrintable(body)) << start << path << body;
        };
        const auto user = [&](const QString &operation, Start start) {
            row("/adrive/v1.0/user/" + operation, "", start);
        };
        user("getDriveInfo", [](const OpenApiClient &c) { c.driveInfo({}, {}); });
        user("getSpaceInfo", [](const OpenApiClient &c) { c.spaceInfo({}, {}); });
        user("getVipInfo", [](const OpenApiClient &c) { c.vipInfo({}, {}); });

        const auto list = [&](const QString &kind, const QString &order, const QString &page,
                              const QString &thumbnails, Start start) {
            const QString body = R"("fields": "*", "parent_file_id": "folder-1", %1, %2, %3, %4)";
            row("/adrive/v1.0/openFile/list", body.arg(kind, order, page, thumbnails), start);
        };
        const QString folders = R"("type": "folder", "category": "")";
        const QString videos = R"("type": "file", "category": "video")";
        const QString all = R"("type": "", "category": "")";
        const QString byName = R"("order_by": "name", "order_direction": "ASC")";
        const QString bySettings = R"("order_by": "updated_at", "order_direction": "DESC")";
        const QString first = R"("limit": 200, "marker": "")";
        const QString later = R"("limit": 25, "marker": "m7")";
        const QString thumbnails = R"("image_thumbnail_width": %1, "video_thumbnail_time": %2,
                                      "video_thumbnail_width": %3)";
        const QString large = thumbnails.arg(90).arg(120000).arg(180);
        list(folders, bySettings, first, thumbnails.arg(0).arg(0).arg(0),
             [](const OpenApiClient &c) { c.listFolders(Folder, {}, {}); });
        list(videos, byName, first, large,
             [](const OpenApiClient &c) { c.listVideos(Folder, {}, {}); });
        list(videos, byName, later, large,
             [](const OpenApiClient &c) { c.listVideosPaged(Folder, 25, "m7", {}, {}); });
        list(all, byName, first, large,
             [](const OpenApiClient &c) { c.listAllByName(Folder, {}, {}); });
        list(all, bySettings, later, thumbnails.arg(90).arg(0).arg(0),
             [](const OpenApiClient &c) { c.listFiles(Folder, 25, "m7", {}, {}); });

        const auto file = [&](const QString &operation, const QString &fields, Start start) {
            row("/adrive/v1.0/openFile/" + operation, R"("file_id": "file-1")" + fields, start);
        };
        row("/adrive/v1.0/openFile/create", R"("parent_file_id": "folder-1", "name": "新文件夹",
            "type": "folder", "check_name_mode": "auto_rename")",
            [](const OpenApiClient &c) { c.createFolder(Folder, "新文件夹", {}, {}); });
        file("getVideoPreviewPlayInfo", R"(, "category": "live_transcoding", "only_vip": false,
             "get_subtitle_info": true, "template_id": "", "url_expire_sec": 14400)",
             [](const OpenApiClient &c) { c.playInfo(Id, {}, {}); });
        file("get", R"(, "category": "live_transcoding", )" + large,
             [](const OpenApiClient &c) { c.fileDetails(Id, {}, {}); });
        file("getDownloadUrl", R"(, "expire_sec": 115200)",
             [](const OpenApiClient &c) { c.downloadUrl(Id, {}, {}); });
        file("update", R"(, "name": "第 '2' 集.mkv")",
             [](const OpenApiClient &c) { c.rename(Id, "第 '2' 集.mkv", {}, {}); });
        file("copy", R"(, "to_parent_file_id": "folder-1", "auto_rename": "")",
             [](const OpenApiClient &c) { c.copy(Id, Folder, {}, {}); });
        file("move", R"(, "to_parent_file_id": "folder-1", "check_name_mode": "auto_rename",
             "new_name": "")",
             [](const OpenApiClient &c) { c.move(Id, Folder, {}, {}); });
        file("recyclebin/trash", "", [](const OpenApiClient &c) { c.trash(Id, {}, {}); });
        file("delete", "", [](const OpenApiClient &c) { c.remove(Id, {}, {}); });
    }
    void sendsTheWholeRecord()
    {
        QFETCH(Start, start);
        QFETCH(QString, path);
        QFETCH(QString, body);
        DriveFixture drive;
        const UserInfo user = drive.logIn();
        start(OpenApiClient(user));
        QTRY_COMPARE(drive.server().requests().size(), std::size_t(1));
        const auto request = drive.server().requests()[0];
        QCOMPARE(text(request.method + ' ' + request.path), "POST " + path);
        QCOMPARE(header(request, "content-type"), "application/json; charset=utf-8");
        QCOMPARE(header(request, "authorization"), "Bearer " + user.accessToken.value());
        QJsonObject expected = QJsonDocument::fromJson(('{' + body + '}').toUtf8()).object();
        if (!body.isEmpty()) {
            expected["drive_id"] = user.driveId.value();
        }
        QCOMPARE(bodyOf(request), expected);
    }
    void userInfoIsAGetWithoutBody()
    {
        DriveFixture drive;
        const UserInfo user = drive.logIn();
        QString id;
        OpenApiClient(user).userInfo([&](const UserInfoResp &info) { id = info.id; }, {});
        QTRY_COMPARE(id, user.userId.value());
        const auto request = drive.server().requests().at(0);
        QCOMPARE(text(request.method + ' ' + request.path), "GET /oauth/users/info");
        QVERIFY(request.body.empty() && request.query.empty());
        QCOMPARE(header(request, "authorization"), "Bearer " + user.accessToken.value());
    }
    void listsFollowTheSettings()
    {
        DriveFixture drive;
        const OpenApiClient client(drive.logIn());
        AppSettings settings;
        settings.setFileListOrderBy("size");
        settings.setFileOrderDirection("ASC");
        Outcome files;
        Outcome folders;
        client.listFiles("root", 10, QString(), files.success<FileItems>(), files.fail());
        client.listFolders("root", folders.success<FileItems>(), folders.fail());
        QTRY_COMPARE(files.successes + folders.successes, 2);
        for (const auto &request : drive.server().requests()) {
            const QJsonObject body = bodyOf(request);
            QCOMPARE(body["order_by"].toString(), "size");
            QCOMPARE(body["order_direction"].toString(), "ASC");
        }
    }
    void readsTheReply()
    {
        DriveFixture drive;
        const OpenApiClient client(drive.logIn());
        drive.server().makeFile("电影/第1集.mkv", "1");
        drive.server().makeFile("电影/第2集.mkv", "22");
        Outcome outcome;
        FileItems page;
        client.listVideosPaged(
            text(drive.server().fileId("电影")), 1, QString(),
            [&](const FileItems &items) { page = items; }, outcome.fail());
        QTRY_COMPARE(page.items.size(), 1);
        QCOMPARE(page.items[0].name, "第1集.mkv");
        QVERIFY(!page.next_marker.isEmpty());
        client.listVideosPaged(
            text(drive.server().fileId("电影")), 1, page.next_marker,
            [&](const FileItems &items) { page = items; }, outcome.fail());
        QTRY_COMPARE(page.items.value(0).name, "第2集.mkv");
        QCOMPARE(page.items[0].size, "2");
        QCOMPARE(outcome.failures, 0);
    }
    void aReplyThatIsNoObjectGivesAnEmptyRecord()
    {
        DriveFixture drive;
        const OpenApiClient client(drive.logIn());
        for (const char *body : {"", "[{\"status\": \"enabled\"}]", "{\"status\": \"ena"}) {
            drive.server().addFault(FaultOn("getDriveInfo").body(body));
            Outcome outcome;
            std::optional<DriveInfo> info;
            auto trouble = ApiTrouble::Other;
            client.whenRefused([&](const ApiRefusal &told) { trouble = told.trouble; })
                .driveInfo([&](const DriveInfo &reply) { info = reply; }, outcome.fail());
            QTRY_VERIFY(info.has_value());
            QCOMPARE(info->toJson(), DriveInfo().toJson());
            QVERIFY(trouble == ApiTrouble::NotJson);
        }
    }
    void aFailureReachesTheCallerOnce_data()
    {
        QTest::addColumn<localdrive::Fault>("fault");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("reason"); // the body's code and message, and what the user reads
        QTest::addColumn<QString>("again");  // whether it may be, and whether a listing is needed
        const auto row = [](const char *name, const FaultOn &fault, int code, const QString &reason,
                            const QString &again) {
            QTest::newRow(name) << localdrive::Fault(fault) << code << reason << again;
        };
        const FaultOn any = FaultOn("getDriveInfo").always();
        row("no right", FaultOn(any).status(403, "ForbiddenNoPermission.File", "no"), 201,
            "ForbiddenNoPermission.File no：没有权限", "never");
        row("drive full", FaultOn(any).status(403, "QuotaExhausted.Drive", "full"), 201,
            "QuotaExhausted.Drive full：云盘空间不足", "never");
        row("name taken", FaultOn(any).status(409, "AlreadyExist.File", "x"), 206,
            "AlreadyExist.File x：名称已被占用", "never");
        row("not transcoded yet", FaultOn(any).status(400, "VideoPreviewWaitAndRetry", "x"), 302,
            "VideoPreviewWaitAndRetry x：视频正在转码，请稍后再试", "never");
        row("cannot be transcoded", FaultOn(any).status(404, "NotFound.VideoPreviewInfo", "x"), 203,
            "NotFound.VideoPreviewInfo x：该视频无法转码", "never, listed");
        row("too fast", FaultOn(any).status(429, "TooManyRequests", "x"), 299,
            "TooManyRequests x：操作过于频繁，请稍后再试", "always");
        row("server error", FaultOn(any).status(500, "x", "y"), 401, "x y：云盘暂时无法处理",
            "reading, listed");
        row("capital keys",
            FaultOn(any).status(404).body(R"({"Code": "NotFoundX", "Message": "m"})"), 203,
            "NotFoundX m：文件已不存在", "never, listed");
        row("no JSON", FaultOn(any).status(503).body("<html>"), 403, " ：云盘暂时无法处理",
            "reading, listed");
        row("cut before the reply", FaultOn(any).closes(), 2, "：网络连接失败", "reading, listed");
        row("longer than 1 MB", FaultOn(any).body(std::string(1 << 21, ' ')), -1, {}, "never");
    }
    void aFailureReachesTheCallerOnce()
    {
        QFETCH(localdrive::Fault, fault);
        QFETCH(QString, reason);
        DriveFixture drive;
        const UserInfo user = drive.logIn();
        drive.server().addFault(fault);
        Outcome outcome;
        std::optional<ApiRefusal> refusal;
        OpenApiClient(user)
            .whenRefused([&](const ApiRefusal &told) {
                QCOMPARE(outcome.failures, 0);
                refusal = told;
            })
            .driveInfo(outcome.success<DriveInfo>(), outcome.fail());
        QTRY_VERIFY(outcome.over());
        QTest::qWait(20);
        QCOMPARE(outcome.successes, 0);
        QCOMPARE(outcome.failures, 1);
        QTEST(outcome.code, "code");
        QVERIFY(!outcome.error.isEmpty());
        const QString told = refusal ? refusal->code + ' ' + refusal->message : QString();
        QCOMPARE(withReason(told, outcome.code, refusal), reason);
        const bool reading = mayAskAgain(CallKind::Reading, outcome.code, refusal);
        const bool changing = mayAskAgain(CallKind::Changing, outcome.code, refusal);
        const QString listed = leavesOpenWhatIsTrue(outcome.code) ? ", listed" : "";
        QTEST((changing ? "always" : reading ? "reading" : "never") + listed, "again");
    }
    void aReadingIsTriedTwice()
    {
        DriveFixture drive;
        const OpenApiClient client(drive.logIn());
        drive.server().addFault(FaultOn("getDriveInfo").always().status(500));
        Outcome outcome;
        ReplyGuard replies;
        const auto read = [&outcome](const OpenApiClient &again, const ApiFailure &fail) {
            return again.driveInfo(outcome.success<DriveInfo>(), fail);
        };
        readPatiently(replies, client, read, outcome.fail());
        QTRY_COMPARE(outcome.failures, 1);
        QCOMPARE(drive.server().requests().size(), std::size_t(2));
    }
    // The refused one is told at once; its user's next requests wait, and come in their order.
    void aUserWhoIsTooFastIsHeldBack()
    {
        DriveFixture drive(2);
        const OpenApiClient other(drive.logIn(1));
        const OpenApiClient client(drive.logIn(0));
        drive.server().addFault(FaultOn("getDriveInfo").status(429));
        Outcome refused;
        client.driveInfo(refused.success<DriveInfo>(), refused.fail());
        QTRY_COMPARE(refused.failures, 1);
        QElapsedTimer clock;
        clock.start();
        Outcome outcome;
        const PendingReply abandoned =
            client.trash(Id, outcome.success<FileTrashResp>(), outcome.fail());
        client.spaceInfo(outcome.success<SpaceInfo>(), outcome.fail());
        client.vipInfo(outcome.success<VipInfo>(), outcome.fail());
        QVERIFY(abandoned.isPending() && !abandoned.waited());
        abandoned.abandon();
        Outcome ofOther;
        other.spaceInfo(ofOther.success<SpaceInfo>(), ofOther.fail());
        QTRY_VERIFY(ofOther.over());
        QVERIFY(!outcome.over() && clock.elapsed() < 900);
        QTRY_COMPARE(outcome.successes, 2);
        QVERIFY(clock.elapsed() >= 1150);
        const auto requests = drive.server().requests();
        QCOMPARE(requests.size(), std::size_t(4));
        QVERIFY(requests[3].path.find("getVipInfo") != std::string::npos);
        // Nothing is held back any more.
        QTest::qWait(300);
        clock.start();
        client.spaceInfo(outcome.success<SpaceInfo>(), outcome.fail());
        client.vipInfo(outcome.success<VipInfo>(), outcome.fail());
        QTRY_COMPARE(outcome.successes, 4);
        QVERIFY(clock.elapsed() < 200);
    }
    // Of what was refused no more is sent in a second than was taken in the last one.
    void whoIsHeldBackGoesByTurn()
    {
        RequestPacing &pacing = Session::instance().pacing();
        QStringList sent;
        QList<qint64> times; // milliseconds
        QElapsedTimer clock;
        clock.start();
        const auto ask = [&](const QString &name, RequestTurn turn = RequestTurn::Now) {
            pacing.whenAllowed("someone", {"address", turn, [&sent, &times, &clock, name] {
                                               sent.append(name);
                                               times.append(clock.elapsed());
                                               return true;
                                           }});
        };
        ask("first");
        ask("refused");
        pacing.hold("someone", "address", std::chrono::milliseconds(10));
        ask("ahead", RequestTurn::Ahead);
        ask("soon", RequestTurn::Soon);
        ask("now");
        bool isOtherSent = false;
        pacing.whenAllowed("someone", {"other", RequestTurn::Ahead, [&] {
                                           isOtherSent = sent.size() < 5;
                                           return true;
                                       }});
        QTRY_COMPARE_WITH_TIMEOUT(sent.size(), 5, 15000);
        QCOMPARE(sent, (QStringList{"first", "refused", "now", "soon", "ahead"}));
        for (int i = 2; i < times.size(); ++i) {
            const qint64 before = i == 2 ? times.first() : times.at(i - 1);
            QVERIFY2(times.at(i) - before >= 1000, qPrintable(sent.at(i)));
        }
        QVERIFY(isOtherSent); // nothing was refused of it
    }
    void theServersReturnIsTold()
    {
        DriveFixture drive;
        const OpenApiClient client(drive.logIn());
        QSignalSpy returns(&Session::instance().reachability(), &Reachability::returned);
        Outcome outcome;
        const auto ask = [&](const FaultOn &fault, int returned) {
            drive.server().addFault(fault);
            outcome = {};
            client.vipInfo(outcome.success<VipInfo>(), outcome.fail());
            QTRY_VERIFY(outcome.over());
            QTRY_COMPARE(returns.size(), returned);
        };
        ask(FaultOn("getVipInfo").status(503), 0); // no loss
        ask(FaultOn("nothing"), 0);
        ask(FaultOn("getVipInfo").cuts(), 0);
        ask(FaultOn("nothing"), 1);
        ask(FaultOn("getVipInfo").cuts(), 1);
        ask(FaultOn("getVipInfo").status(403), 2);
        ask(FaultOn("nothing"), 2);
    }
    // The drive would carry it out a second time; a page may be asked for twice.
    void aChangeThatIsCutReachesTheDriveOnce_data()
    {
        QTest::addColumn<Start>("start");
        QTest::addColumn<bool>("isOnce");
        const auto row = [](const char *name, bool isOnce, Start start) {
            QTest::newRow(name) << start << isOnce;
        };
        row("list", false, [](const OpenApiClient &c) { c.listFiles(Folder, 1, "", {}, {}); });
        row("create", true, [](const OpenApiClient &c) { c.createFolder(Folder, "n", {}, {}); });
        row("rename", true, [](const OpenApiClient &c) { c.rename(Id, "n", {}, {}); });
        row("copy", true, [](const OpenApiClient &c) { c.copy(Id, Folder, {}, {}); });
        row("move", true, [](const OpenApiClient &c) { c.move(Id, Folder, {}, {}); });
        row("trash", true, [](const OpenApiClient &c) { c.trash(Id, {}, {}); });
        row("delete", true, [](const OpenApiClient &c) { c.remove(Id, {}, {}); });
    }
    void aChangeThatIsCutReachesTheDriveOnce()
    {
        QFETCH(Start, start);
        QFETCH(bool, isOnce);
        DriveFixture drive;
        const OpenApiClient client(drive.logIn());
        drive.server().addFault(FaultOn("openFile/*").closes());
        LogCapture log;
        start(client);
        QTRY_COMPARE(drive.server().requests().size(), std::size_t(isOnce ? 1 : 2));
        client.spaceInfo({}, {});
        QTRY_COMPARE(drive.requests("/adrive/v1.0/user/getSpaceInfo").size(), std::size_t(1));
        QCOMPARE(drive.server().requests().size(), std::size_t(isOnce ? 2 : 3));
    }
    void aLongPageArrives()
    {
        DriveFixture drive;
        const OpenApiClient client(drive.logIn());
        drive.server().addFault(
            FaultOn("openFile/list")
                .body(R"({"next_marker": "m", "items": [])" + std::string(15 << 20, ' ') + "}"));
        QString marker;
        client.listFiles("root", 100, "", [&](const FileItems &page) { marker = page.next_marker; },
                         {});
        QTRY_COMPARE(marker, "m");
        client.trash(Id, {}, {}); // callbacks may be absent
        QTRY_COMPARE(drive.server().requests().size(), std::size_t(2));
    }
    void aUserWhoIsNotStoredFails()
    {
        DriveFixture drive;
        const UserInfo user = drive.logIn();
        removeUser(user.userId.value());
        Outcome outcome;
        OpenApiClient(user).driveInfo(outcome.success<DriveInfo>(), outcome.fail());
        QVERIFY(!outcome.over());
        QTRY_COMPARE(outcome.failures, 1);
        QCOMPARE(outcome.code, -1);
        QVERIFY(drive.server().requests().empty());
    }
    void aBareTokenIsSentAsItIs()
    {
        DriveFixture drive;
        const localdrive::Tokens tokens = drive.server().loginDirectly();
        Outcome outcome;
        QString userId;
        OpenApiClient::forAccessToken(text(tokens.accessToken))
            .driveInfo([&](const DriveInfo &info) { userId = info.user_id; }, outcome.fail());
        QTRY_COMPARE(userId, text(drive.server().userId()));
        OpenApiClient::forAccessToken("made up").driveInfo(outcome.success<DriveInfo>(),
                                                           outcome.fail());
        QTRY_COMPARE(outcome.failures, 1);
        QCOMPARE(outcome.code, 204);
        QVERIFY(drive.requests("/app/oauth/accessToken").empty());
    }
};

QTEST_GUILESS_MAIN(TestOpenApiClient)
#include "tst_open_api_client.moc"
