#include <filesystem>
#include <fstream>
#include <iterator>

#include "drive_client.h"

namespace fs = std::filesystem;

namespace {

std::string contentOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

class ChangesTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void createsFoldersUnderFreeNames();
    void renameKeepsTheId();
    void refusesTakenNames();
    void movesWithAllBelow();
    void trashGoesToABinThatNobodySees();
    void deletesForGood();
    void pathsThatWereLeftGiveNewIds();
    void refusesNames_data();
    void refusesNames();
    void nothingLeadsOutOfTheFolder();
    void readOnlyDrivesStayAsTheyAre_data();
    void readOnlyDrivesStayAsTheyAre();
    void accountsAreApart();
    void idsOutliveTheServer();

private:
    [[nodiscard]] std::string onDisk(const std::string &path) const
    {
        return m_server->rootPath() + '/' + path;
    }

    std::unique_ptr<localdrive::Server> m_server;
    std::unique_ptr<DriveClient> m_client;
};

void ChangesTest::init()
{
    localdrive::Options options;
    options.accounts.resize(2);
    m_client.reset();
    m_server = std::make_unique<localdrive::Server>(options);
    m_server->makeFile("show/Ep01.mkv", "one");
    m_server->makeFile("show/Ep02.mkv", "two");
    m_server->makeFolder("films");
    QVERIFY(m_server->start());
    m_client = std::make_unique<DriveClient>(*m_server);
}

void ChangesTest::createsFoldersUnderFreeNames()
{
    const nlohmann::json body = {{"parent_file_id", "root"},
                                 {"name", "show"},
                                 {"type", "folder"},
                                 {"check_name_mode", "auto_rename"}};
    const JsonReply reply = m_client->file("create", body);
    const nlohmann::json expected = {{"drive_id", m_server->driveId()},
                                     {"file_id", m_server->fileId("show(1)")},
                                     {"parent_file_id", "root"},
                                     {"status", "available"},
                                     {"file_name", "show(1)"},
                                     {"upload_id", ""},
                                     {"available", true},
                                     {"exist", false},
                                     {"rapid_upload", false},
                                     {"part_info_list", nlohmann::json::array()}};
    QCOMPARE(reply.body, expected);
    QVERIFY(fs::is_directory(onDisk("show(1)")));
    QCOMPARE(m_client->file("create", body).body["file_name"], nlohmann::json("show(2)"));
}

void ChangesTest::renameKeepsTheId()
{
    const std::string show = m_server->fileId("show");
    const std::string episode = m_server->fileId("show/Ep01.mkv");
    const JsonReply reply = m_client->file("update", {{"file_id", show}, {"name", "新名字"}});
    QCOMPARE(reply.status, 200);
    QCOMPARE(reply.body["name"], nlohmann::json("新名字"));
    QCOMPARE(reply.body["file_id"], nlohmann::json(show));
    QCOMPARE(contentOf(onDisk("新名字/Ep01.mkv")), std::string("one"));
    const JsonReply details = m_client->file("get", {{"file_id", episode}});
    QCOMPARE(details.body["name"], nlohmann::json("Ep01.mkv"));
    QCOMPARE(details.body["parent_file_id"], nlohmann::json(show));
}

void ChangesTest::refusesTakenNames()
{
    const std::string episode = m_server->fileId("show/Ep01.mkv");
    const JsonReply rename = m_client->file("update", {{"file_id", episode}, {"name", "Ep02.mkv"}});
    QCOMPARE(rename.status, 409);
    QCOMPARE(rename.code(), std::string("AlreadyExist.File"));
    QCOMPARE(contentOf(onDisk("show/Ep02.mkv")), std::string("two"));

    m_server->makeFile("films/Ep01.mkv", "other");
    nlohmann::json move = {{"file_id", episode}, {"to_parent_file_id", m_server->fileId("films")}};
    QCOMPARE(m_client->file("move", move).status, 409);
    move["check_name_mode"] = "auto_rename";
    QCOMPARE(m_client->file("move", move).status, 200);
    QCOMPARE(contentOf(onDisk("films/Ep01.mkv")), std::string("other"));
    QCOMPARE(contentOf(onDisk("films/Ep01(1).mkv")), std::string("one"));
}

void ChangesTest::movesWithAllBelow()
{
    const std::string show = m_server->fileId("show");
    const std::string episode = m_server->fileId("show/Ep02.mkv");
    const nlohmann::json move = {{"file_id", show},
                                 {"to_parent_file_id", m_server->fileId("films")}};
    const nlohmann::json expected = {{"drive_id", m_server->driveId()},
                                     {"file_id", show},
                                     {"async_task_id", ""},
                                     {"exist", false}};
    QCOMPARE(m_client->file("move", move).body, expected);
    QCOMPARE(contentOf(onDisk("films/show/Ep02.mkv")), std::string("two"));
    QCOMPARE(m_client->file("get", {{"file_id", episode}}).status, 200);

    const nlohmann::json intoItself = {{"file_id", m_server->fileId("films")},
                                       {"to_parent_file_id", show}};
    QCOMPARE(m_client->file("move", intoItself).status, 400);
}

void ChangesTest::trashGoesToABinThatNobodySees()
{
    const std::string episode = m_server->fileId("show/Ep01.mkv");
    const JsonReply reply = m_client->file("recyclebin/trash", {{"file_id", episode}});
    QCOMPARE(reply.status, 200);
    QCOMPARE(reply.body["file_id"], nlohmann::json(episode));
    QVERIFY(!fs::exists(onDisk("show/Ep01.mkv")));
    QCOMPARE(m_client->file("get", {{"file_id", episode}}).status, 404);

    std::vector<std::string> kept;
    for (const fs::directory_entry &entry :
         fs::recursive_directory_iterator(onDisk(".localdrive-trash"))) {
        if (entry.is_regular_file())
            kept.push_back(contentOf(entry.path()));
    }
    QCOMPARE(kept, (std::vector<std::string>{"one"}));
    const JsonReply list = m_client->file(
        "list", {{"parent_file_id", "root"}, {"order_by", "name"}, {"order_direction", "ASC"}});
    QCOMPARE(namesOf(list), (std::vector<std::string>{"films", "show"}));
    const std::string bin = m_server->fileId(".localdrive-trash");
    QCOMPARE(m_client->file("list", {{"parent_file_id", bin}}).status, 404);
    QCOMPARE(m_client->file("delete", {{"file_id", bin}}).status, 404);
}

void ChangesTest::deletesForGood()
{
    const std::string show = m_server->fileId("show");
    QCOMPARE(m_client->file("delete", {{"file_id", show}}).status, 200);
    QVERIFY(!fs::exists(onDisk("show")));
    QVERIFY(!fs::exists(onDisk(".localdrive-trash")));
    QCOMPARE(m_client->file("delete", {{"file_id", show}}).status, 404);
    QCOMPARE(m_client->file("delete", {{"file_id", "root"}}).status, 403);
    QVERIFY(fs::is_directory(onDisk("films")));
}

void ChangesTest::pathsThatWereLeftGiveNewIds()
{
    const std::string first = m_server->fileId("show/Ep01.mkv");
    m_client->file("update", {{"file_id", first}, {"name", "Ep00.mkv"}});
    m_server->makeFile("show/Ep01.mkv", "again");
    const std::string second = m_server->fileId("show/Ep01.mkv");
    QVERIFY(first != second);
    m_client->file("delete", {{"file_id", second}});
    m_server->makeFile("show/Ep01.mkv", "third");
    QVERIFY(m_server->fileId("show/Ep01.mkv") != second);
    QCOMPARE(m_client->file("get", {{"file_id", second}}).status, 404);
}

void ChangesTest::refusesNames_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("dot") << QByteArray(".");
    QTest::newRow("dot dot") << QByteArray("..");
    QTest::newRow("a path") << QByteArray("../escaped");
    QTest::newRow("an absolute path") << QByteArray("/tmp/escaped");
    QTest::newRow("a line break") << QByteArray("two\nlines");
    QTest::newRow("a NUL") << QByteArray("nul\0here", 8);
    QTest::newRow("too long") << QByteArray(1025, 'x');
    QTest::newRow("too long for the disk") << QByteArray(300, 'x');
    QTest::newRow("the bin's") << QByteArray(".localdrive-trash");
}

void ChangesTest::refusesNames()
{
    QFETCH(QByteArray, name);
    const std::string wanted = name.toStdString();
    const std::string films = m_server->fileId("films");
    const nlohmann::json create = {
        {"parent_file_id", "root"}, {"name", wanted}, {"type", "folder"}};
    QCOMPARE(m_client->file("create", create).status, 400);
    QCOMPARE(m_client->file("update", {{"file_id", films}, {"name", wanted}}).status, 400);
    QVERIFY(fs::is_directory(onDisk("films")));
    QVERIFY(!fs::exists(fs::path(m_server->rootPath()).parent_path() / "escaped"));
}

void ChangesTest::nothingLeadsOutOfTheFolder()
{
    const fs::path outside = fs::path(m_server->rootPath()).parent_path() / "outside.txt";
    std::ofstream(outside) << "secret";
    fs::create_symlink(outside, onDisk("link.txt"));
    fs::create_directory_symlink(outside.parent_path(), onDisk("films/up"));
    for (const char *path : {"link.txt", "films/up", "films/up/outside.txt", "../outside.txt",
                             "show/../../outside.txt", "/etc/passwd", "show//Ep01.mkv"}) {
        const nlohmann::json body = {{"file_id", m_server->fileId(path)}};
        for (const char *operation :
             {"get", "getDownloadUrl", "getVideoPreviewPlayInfo", "delete", "recyclebin/trash"})
            QCOMPARE(m_client->file(operation, body).status, 404);
    }
    const nlohmann::json into = {{"file_id", m_server->fileId("show/Ep01.mkv")},
                                 {"to_parent_file_id", m_server->fileId("films/up")}};
    QCOMPARE(m_client->file("move", into).status, 404);
    QCOMPARE(m_client->file("copy", into).status, 404);

    // A folder that becomes a link after its id was given out.
    fs::rename(onDisk("show"), onDisk("moved away"));
    fs::create_directory_symlink(outside.parent_path(), onDisk("show"));
    QCOMPARE(m_client->file("list", {{"parent_file_id", m_server->fileId("show")}}).status, 404);
    // Deleting a folder takes the link in it away, not what it leads to.
    QCOMPARE(m_client->file("delete", {{"file_id", m_server->fileId("films")}}).status, 200);
    QVERIFY(!fs::exists(onDisk("films")));
    QCOMPARE(contentOf(outside), std::string("secret"));
}

void ChangesTest::readOnlyDrivesStayAsTheyAre_data()
{
    QTest::addColumn<QString>("operation");
    for (const char *operation : {"create", "update", "move", "copy", "recyclebin/trash", "delete"})
        QTest::newRow(operation) << QString::fromLatin1(operation);
}

void ChangesTest::readOnlyDrivesStayAsTheyAre()
{
    QFETCH(QString, operation);
    m_server->setWritable(0, false);
    const nlohmann::json body = {{"file_id", m_server->fileId("show/Ep01.mkv")},
                                 {"to_parent_file_id", m_server->fileId("films")},
                                 {"parent_file_id", "root"},
                                 {"type", "folder"},
                                 {"name", "new"}};
    const JsonReply reply = m_client->file(utf8(operation), body);
    QCOMPARE(reply.status, 403);
    QCOMPARE(reply.code(), std::string("ForbiddenNoPermission.File"));
    QCOMPARE(contentOf(onDisk("show/Ep01.mkv")), std::string("one"));
    QCOMPARE(std::distance(fs::recursive_directory_iterator(onDisk("")),
                           fs::recursive_directory_iterator()),
             4);
}

void ChangesTest::accountsAreApart()
{
    DriveClient other(*m_server, 1);
    const std::string episode = m_server->fileId("show/Ep01.mkv");
    QCOMPARE(other.file("get", {{"file_id", episode}}).status, 404);
    QCOMPARE(other.file("get", {{"file_id", episode}, {"drive_id", m_server->driveId(0)}}).status,
             403);
    QCOMPARE(namesOf(other.file("list", {{"parent_file_id", "root"}})), std::vector<std::string>());
}

void ChangesTest::idsOutliveTheServer()
{
    const QTemporaryDir state;
    localdrive::Options options;
    options.stateDir = utf8(state.filePath(QStringLiteral("state")));
    options.accounts[0].root = m_server->rootPath();
    std::string plain;
    std::string renamed;
    localdrive::Tokens tokens;
    {
        localdrive::Server first(options);
        QVERIFY(first.start());
        DriveClient client(first);
        tokens = first.loginDirectly();
        plain = first.fileId("show/Ep02.mkv");
        renamed = first.fileId("show/Ep01.mkv");
        client.file("update", {{"file_id", renamed}, {"name", "first.mkv"}});
    }
    localdrive::Server second(options);
    QVERIFY(second.start());
    DriveClient client(second);
    client.setToken(tokens.accessToken);
    QCOMPARE(client.file("get", {{"file_id", plain}}).body["name"], nlohmann::json("Ep02.mkv"));
    QCOMPARE(client.file("get", {{"file_id", renamed}}).body["name"], nlohmann::json("first.mkv"));
}

QTEST_GUILESS_MAIN(ChangesTest)
#include "tst_localdrive_changes.moc"
