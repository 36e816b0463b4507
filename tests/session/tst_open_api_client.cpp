#include "api/session/open_api_client.h"

#include <QJsonDocument>
#include <QTest>

#include "api/records/account_records.h"
#include "api/records/change_records.h"
#include "api/records/file_records.h"
#include "api/records/video_records.h"
#include "app/environment/app_settings.h"
#include "db/tables/operations.h"
#include "session/drive_fixture.h"

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

using Start = void (*)(const OpenApiClient &, Outcome &);

const QString id = QStringLiteral("file-1");
const QString folder = QStringLiteral("folder-1");

} // namespace

Q_DECLARE_METATYPE(Start)

class TestOpenApiClient final : public QObject
{
    Q_OBJECT

private slots:
    void sendsTheWholeRecord_data();
    void sendsTheWholeRecord();
    void userInfoIsAGetWithoutBody();
    void listsFollowTheSettings();
    void readsTheReply();
    void anEmptyFolderHasNoItems();
    void aReplyThatIsNoObjectGivesAnEmptyRecord_data();
    void aReplyThatIsNoObjectGivesAnEmptyRecord();
    void aFailureReachesTheCallerOnce_data();
    void aFailureReachesTheCallerOnce();
    void callbacksMayBeAbsent();
    void aUserWhoIsNotStoredFails();
    void aBareTokenIsSentAsItIs();
};

void TestOpenApiClient::sendsTheWholeRecord_data()
{
    QTest::addColumn<Start>("start");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("body");
    const auto row = [](const char *name, Start start, const char *path, const char *body) {
        QTest::newRow(name) << start << QString::fromLatin1(path) << QByteArray(body);
    };
    row(
        "drive info",
        [](const OpenApiClient &c, Outcome &o) { c.driveInfo(o.success<DriveInfo>(), o.fail()); },
        "/adrive/v1.0/user/getDriveInfo", "{}");
    row(
        "space info",
        [](const OpenApiClient &c, Outcome &o) { c.spaceInfo(o.success<SpaceInfo>(), o.fail()); },
        "/adrive/v1.0/user/getSpaceInfo", "{}");
    row(
        "VIP info",
        [](const OpenApiClient &c, Outcome &o) { c.vipInfo(o.success<VipInfo>(), o.fail()); },
        "/adrive/v1.0/user/getVipInfo", "{}");
    row(
        "create folder",
        [](const OpenApiClient &c, Outcome &o) {
            c.createFolder(folder, QStringLiteral("新文件夹"), o.success<CreateFileResp>(),
                           o.fail());
        },
        "/adrive/v1.0/openFile/create", R"({"drive_id": "DRIVE", "parent_file_id": "folder-1",
        "name": "新文件夹", "type": "folder", "check_name_mode": "auto_rename"})");
    row(
        "list folders",
        [](const OpenApiClient &c, Outcome &o) {
            c.listFolders(folder, o.success<FileItems>(), o.fail());
        },
        "/adrive/v1.0/openFile/list", R"({"drive_id": "DRIVE", "fields": "*", "limit": 200,
        "marker": "", "type": "folder", "category": "", "order_by": "updated_at",
        "order_direction": "DESC", "parent_file_id": "folder-1", "image_thumbnail_width": 0,
        "video_thumbnail_time": 0, "video_thumbnail_width": 0})");
    row(
        "list videos",
        [](const OpenApiClient &c, Outcome &o) {
            c.listVideos(folder, o.success<FileItems>(), o.fail());
        },
        "/adrive/v1.0/openFile/list", R"({"drive_id": "DRIVE", "fields": "*", "limit": 200,
        "marker": "", "type": "file", "category": "video", "order_by": "name",
        "order_direction": "ASC", "parent_file_id": "folder-1", "image_thumbnail_width": 90,
        "video_thumbnail_time": 120000, "video_thumbnail_width": 180})");
    row(
        "list videos, paged",
        [](const OpenApiClient &c, Outcome &o) {
            c.listVideosPaged(folder, 25, QStringLiteral("m7"), o.success<FileItems>(), o.fail());
        },
        "/adrive/v1.0/openFile/list", R"({"drive_id": "DRIVE", "fields": "*", "limit": 25,
        "marker": "m7", "type": "file", "category": "video", "order_by": "name",
        "order_direction": "ASC", "parent_file_id": "folder-1", "image_thumbnail_width": 90,
        "video_thumbnail_time": 120000, "video_thumbnail_width": 180})");
    row(
        "list all by name",
        [](const OpenApiClient &c, Outcome &o) {
            c.listAllByName(folder, o.success<FileItems>(), o.fail());
        },
        "/adrive/v1.0/openFile/list", R"({"drive_id": "DRIVE", "fields": "*", "limit": 200,
        "marker": "", "type": "", "category": "", "order_by": "name",
        "order_direction": "ASC", "parent_file_id": "folder-1", "image_thumbnail_width": 90,
        "video_thumbnail_time": 120000, "video_thumbnail_width": 180})");
    row(
        "list a page of files",
        [](const OpenApiClient &c, Outcome &o) {
            c.listFiles(folder, 100, QStringLiteral("m8"), o.success<FileItems>(), o.fail());
        },
        "/adrive/v1.0/openFile/list", R"({"drive_id": "DRIVE", "fields": "*", "limit": 100,
        "marker": "m8", "type": "", "category": "", "order_by": "updated_at",
        "order_direction": "DESC", "parent_file_id": "folder-1", "image_thumbnail_width": 90,
        "video_thumbnail_time": 0, "video_thumbnail_width": 0})");
    row(
        "play information",
        [](const OpenApiClient &c, Outcome &o) {
            c.playInfo(id, o.success<VideoPreviewPlayInfoResp>(), o.fail());
        },
        "/adrive/v1.0/openFile/getVideoPreviewPlayInfo", R"({"drive_id": "DRIVE",
        "file_id": "file-1", "category": "live_transcoding", "get_subtitle_info": true,
        "template_id": "", "url_expire_sec": 14400, "only_vip": false})");
    row(
        "file details",
        [](const OpenApiClient &c, Outcome &o) {
            c.fileDetails(id, o.success<FileItem>(), o.fail());
        },
        "/adrive/v1.0/openFile/get", R"({"drive_id": "DRIVE", "file_id": "file-1",
        "category": "live_transcoding", "video_thumbnail_time": 120000,
        "video_thumbnail_width": 180, "image_thumbnail_width": 90})");
    row(
        "download address",
        [](const OpenApiClient &c, Outcome &o) {
            c.downloadUrl(id, o.success<GetDownloadUrlResp>(), o.fail());
        },
        "/adrive/v1.0/openFile/getDownloadUrl",
        R"({"drive_id": "DRIVE", "file_id": "file-1", "expire_sec": 115200})");
    row(
        "rename",
        [](const OpenApiClient &c, Outcome &o) {
            c.rename(id, QStringLiteral("第 \"2\" 集.mkv"), o.success<FileUpdateResp>(), o.fail());
        },
        "/adrive/v1.0/openFile/update",
        R"({"drive_id": "DRIVE", "file_id": "file-1", "name": "第 \"2\" 集.mkv"})");
    row(
        "copy",
        [](const OpenApiClient &c, Outcome &o) {
            c.copy(id, folder, o.success<FileCopyResp>(), o.fail());
        },
        "/adrive/v1.0/openFile/copy", R"({"drive_id": "DRIVE", "file_id": "file-1",
        "to_parent_file_id": "folder-1", "auto_rename": ""})");
    row(
        "move",
        [](const OpenApiClient &c, Outcome &o) {
            c.move(id, folder, o.success<FileMoveResp>(), o.fail());
        },
        "/adrive/v1.0/openFile/move", R"({"drive_id": "DRIVE", "file_id": "file-1",
        "to_parent_file_id": "folder-1", "check_name_mode": "auto_rename", "new_name": ""})");
    row(
        "to the recycle bin",
        [](const OpenApiClient &c, Outcome &o) {
            c.trash(id, o.success<FileTrashResp>(), o.fail());
        },
        "/adrive/v1.0/openFile/recyclebin/trash", R"({"drive_id": "DRIVE", "file_id": "file-1"})");
    row(
        "delete",
        [](const OpenApiClient &c, Outcome &o) {
            c.remove(id, o.success<FileDeleteResp>(), o.fail());
        },
        "/adrive/v1.0/openFile/delete", R"({"drive_id": "DRIVE", "file_id": "file-1"})");
}

void TestOpenApiClient::sendsTheWholeRecord()
{
    QFETCH(Start, start);
    QFETCH(QString, path);
    QFETCH(QByteArray, body);
    DriveFixture drive;
    const UserInfo user = drive.logIn();
    Outcome outcome;
    start(OpenApiClient(user), outcome);
    QVERIFY2(!outcome.over(), "a callback ran inside the call");
    QTRY_VERIFY(outcome.over());

    const auto requests = drive.server().requests();
    QCOMPARE(requests.size(), std::size_t(1));
    QCOMPARE(text(requests[0].method), QStringLiteral("POST"));
    QCOMPARE(text(requests[0].path), path);
    QCOMPARE(header(requests[0], "content-type"),
             QStringLiteral("application/json; charset=utf-8"));
    QCOMPARE(header(requests[0], "authorization"),
             QStringLiteral("Bearer ") + user.accessToken.value());
    body.replace("DRIVE", user.driveId.value().toUtf8());
    const QJsonDocument expected = QJsonDocument::fromJson(body);
    QVERIFY(expected.isObject());
    QCOMPARE(bodyOf(requests[0]), expected.object());
}

void TestOpenApiClient::userInfoIsAGetWithoutBody()
{
    DriveFixture drive;
    const UserInfo user = drive.logIn();
    QString id;
    Outcome outcome;
    OpenApiClient(user).userInfo([&](const UserInfoResp &info) { id = info.id; }, outcome.fail());
    QTRY_COMPARE(id, user.userId.value());
    const auto requests = drive.server().requests();
    QCOMPARE(requests.size(), std::size_t(1));
    QCOMPARE(text(requests[0].method), QStringLiteral("GET"));
    QCOMPARE(text(requests[0].path), QStringLiteral("/oauth/users/info"));
    QVERIFY(requests[0].body.empty());
    QVERIFY(requests[0].query.empty());
    QCOMPARE(header(requests[0], "authorization"),
             QStringLiteral("Bearer ") + user.accessToken.value());
}

void TestOpenApiClient::listsFollowTheSettings()
{
    DriveFixture drive;
    const OpenApiClient client(drive.logIn());
    AppSettings settings;
    settings.setFileListOrderBy(QStringLiteral("size"));
    settings.setFileOrderDirection(QStringLiteral("ASC"));
    Outcome files;
    Outcome folders;
    client.listFiles(QStringLiteral("root"), 10, QString(), files.success<FileItems>(),
                     files.fail());
    client.listFolders(QStringLiteral("root"), folders.success<FileItems>(), folders.fail());
    QTRY_COMPARE(files.successes + folders.successes, 2);
    for (const auto &request : drive.server().requests()) {
        const QJsonObject body = bodyOf(request);
        QCOMPARE(body[QStringLiteral("order_by")].toString(), QStringLiteral("size"));
        QCOMPARE(body[QStringLiteral("order_direction")].toString(), QStringLiteral("ASC"));
    }
}

void TestOpenApiClient::readsTheReply()
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
    QCOMPARE(page.items[0].name, QStringLiteral("第1集.mkv"));
    QVERIFY(!page.next_marker.isEmpty());
    client.listVideosPaged(
        text(drive.server().fileId("电影")), 1, page.next_marker,
        [&](const FileItems &items) { page = items; }, outcome.fail());
    QTRY_COMPARE(page.items.value(0).name, QStringLiteral("第2集.mkv"));
    QCOMPARE(page.items[0].size, QStringLiteral("2"));
    QCOMPARE(outcome.failures, 0);
}

void TestOpenApiClient::anEmptyFolderHasNoItems()
{
    DriveFixture drive;
    const OpenApiClient client(drive.logIn());
    Outcome outcome;
    std::optional<FileItems> page;
    client.listFiles(
        QStringLiteral("root"), 100, QString(), [&](const FileItems &items) { page = items; },
        outcome.fail());
    QTRY_VERIFY(page.has_value());
    QVERIFY(page->items.isEmpty());
    QVERIFY(page->next_marker.isEmpty());
}

void TestOpenApiClient::aReplyThatIsNoObjectGivesAnEmptyRecord_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("nothing") << QByteArray("");
    QTest::newRow("an array") << QByteArray("[{\"status\": \"enabled\"}]");
    QTest::newRow("a web page") << QByteArray("<html>502</html>");
    QTest::newRow("half an object") << QByteArray("{\"status\": \"ena");
}

void TestOpenApiClient::aReplyThatIsNoObjectGivesAnEmptyRecord()
{
    QFETCH(QByteArray, body);
    DriveFixture drive;
    const OpenApiClient client(drive.logIn());
    localdrive::Fault fault;
    fault.path = "getDriveInfo";
    fault.body = body.toStdString();
    drive.server().addFault(fault);
    Outcome outcome;
    std::optional<DriveInfo> info;
    client.driveInfo([&](const DriveInfo &reply) { info = reply; }, outcome.fail());
    QTRY_VERIFY(info.has_value());
    QCOMPARE(info->toJson(), DriveInfo().toJson());
    QCOMPARE(outcome.failures, 0);
}

void TestOpenApiClient::aFailureReachesTheCallerOnce_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("wire");
    QTest::addColumn<int>("code");
    const auto whole = int(localdrive::Break::None);
    QTest::newRow("forbidden") << 403 << whole << 201;
    QTest::newRow("not found") << 404 << whole << 203;
    QTest::newRow("too many requests") << 429 << whole << 299;
    QTest::newRow("server error") << 500 << whole << 401;
    QTest::newRow("unavailable") << 503 << whole << 403;
    QTest::newRow("cut before the reply") << 0 << int(localdrive::Break::CloseBeforeReply) << 2;
    QTest::newRow("cut inside the reply") << 0 << int(localdrive::Break::CloseInsideBody) << 2;
}

void TestOpenApiClient::aFailureReachesTheCallerOnce()
{
    QFETCH(int, status);
    QFETCH(int, wire);
    DriveFixture drive;
    const OpenApiClient client(drive.logIn());
    localdrive::Fault fault;
    fault.path = "getDriveInfo";
    fault.count = -1;
    fault.status = status;
    fault.wire = localdrive::Break(wire);
    drive.server().addFault(fault);
    Outcome outcome;
    client.driveInfo(outcome.success<DriveInfo>(), outcome.fail());
    QTRY_VERIFY(outcome.over());
    QTest::qWait(50);
    QCOMPARE(outcome.successes, 0);
    QCOMPARE(outcome.failures, 1);
    QTEST(outcome.code, "code");
    QVERIFY(!outcome.error.isEmpty());
}

void TestOpenApiClient::callbacksMayBeAbsent()
{
    DriveFixture drive;
    const OpenApiClient client(drive.logIn());
    client.driveInfo({}, {});
    client.trash(id, {}, {});
    QTRY_COMPARE(drive.server().requests().size(), std::size_t(2));
    QTest::qWait(100);
}

void TestOpenApiClient::aUserWhoIsNotStoredFails()
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

void TestOpenApiClient::aBareTokenIsSentAsItIs()
{
    DriveFixture drive;
    const localdrive::Tokens tokens = drive.server().loginDirectly();
    Outcome outcome;
    QString userId;
    OpenApiClient::forAccessToken(text(tokens.accessToken))
        .driveInfo([&](const DriveInfo &info) { userId = info.user_id; }, outcome.fail());
    QTRY_COMPARE(userId, text(drive.server().userId()));
    OpenApiClient::forAccessToken(QStringLiteral("made up"))
        .driveInfo(outcome.success<DriveInfo>(), outcome.fail());
    QTRY_COMPARE(outcome.failures, 1);
    QCOMPARE(outcome.code, 204);
    QVERIFY(drive.requests(QStringLiteral("/app/oauth/accessToken")).empty());
}

QTEST_GUILESS_MAIN(TestOpenApiClient)
#include "tst_open_api_client.moc"
