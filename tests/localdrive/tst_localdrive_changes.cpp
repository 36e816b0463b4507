#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "drive_test.h"

namespace fs = std::filesystem;

namespace {

std::string contentOf(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Everything below a folder: "folder/ folder/file=content link@". Folders of the bin, which are
// named after the time, are called "*".
std::string treeOf(const fs::path &root)
{
    Names entries;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root)) {
        std::string path = entry.path().lexically_relative(root);
        if (const std::size_t slot = path.find("-trash/"); slot != std::string::npos) {
            path.replace(slot + 7, path.find('/', slot + 7) - slot - 7, "*");
        }
        entries.push_back(entry.is_symlink()     ? path + '@'
                          : entry.is_directory() ? path + '/'
                                                 : path + '=' + contentOf(entry.path()));
    }
    std::sort(entries.begin(), entries.end());
    std::string tree;
    for (const std::string &entry : entries) {
        tree += tree.empty() ? entry : ' ' + entry;
    }
    return tree;
}

constexpr char Untouched[] = "films/ show/ show/Ep01.mkv=one show/Ep02.mkv=two";

} // namespace

class TestChanges final : public DriveTest
{
    Q_OBJECT

private slots:
    void init() { startWith(true); }
    void changesTheFolder_data()
    {
        QTest::addColumn<std::string>("operation");
        QTest::addColumn<std::string>("body");
        QTest::addColumn<std::string>("verdict");
        QTest::addColumn<std::string>("tree");
        QTest::addColumn<std::string>("reply"); // Members it must have.
        using T = std::string;
        const auto row = [](const char *name, const char *operation, const char *body,
                            const char *verdict, const char *tree, const char *reply = "{}") {
            QTest::newRow(name) << T(operation) << T(body) << T(verdict) << T(tree) << T(reply);
        };
        row("a new folder takes a free name", "create",
            R"({"parent_file_id":"root","name":"show","type":"folder","check_name_mode":"auto_rename"})",
            "200", "films/ show(1)/ show/ show/Ep01.mkv=one show/Ep02.mkv=two",
            R"~({"drive_id":"90000001","file_id":"<show(1)>","parent_file_id":"root","exist":false,
                 "status":"available","file_name":"show(1)","upload_id":"","available":true,
                 "rapid_upload":false,"part_info_list":[]})~");
        row("files are not created", "create",
            R"({"parent_file_id":"root","name":"a.mkv","type":"file"})",
            "400 InvalidParameter.Type", Untouched);
        row("a folder is renamed", "update", R"({"file_id":"<show>","name":"新名字"})", "200",
            "films/ 新名字/ 新名字/Ep01.mkv=one 新名字/Ep02.mkv=two",
            R"({"name":"新名字","size":0})");
        row("a taken name is refused", "update",
            R"({"file_id":"<show/Ep01.mkv>","name":"Ep02.mkv"})", "409 AlreadyExist.File",
            Untouched);
        row("a folder moves with all below", "move",
            R"({"file_id":"<show>","to_parent_file_id":"<films>"})", "200",
            "films/ films/show/ films/show/Ep01.mkv=one films/show/Ep02.mkv=two",
            R"({"drive_id":"90000001","file_id":"<films/show>","async_task_id":"","exist":false})");
        row("a move does not replace", "move",
            R"({"file_id":"<show/Ep01.mkv>","to_parent_file_id":"<show>","new_name":"Ep02.mkv"})",
            "409 AlreadyExist.File", Untouched);
        row("a move takes a free name", "move",
            R"({"file_id":"<show/Ep01.mkv>","to_parent_file_id":"<show>","new_name":"Ep02.mkv",
                "check_name_mode":"auto_rename"})",
            "200", "films/ show/ show/Ep02(1).mkv=one show/Ep02.mkv=two");
        row("a folder does not move into itself", "move",
            R"({"file_id":"<show>","to_parent_file_id":"<show>"})",
            "400 InvalidParameter.ToParentFileId", Untouched);
        row("nor is it copied into itself", "copy",
            R"({"file_id":"<show>","to_parent_file_id":"<show>"})",
            "400 InvalidParameter.ToParentFileId", Untouched);
        row("a copy takes a free name", "copy",
            R"({"file_id":"<show/Ep01.mkv>","to_parent_file_id":"<show>","auto_rename":"true"})",
            "200", "films/ show/ show/Ep01(1).mkv=one show/Ep01.mkv=one show/Ep02.mkv=two",
            R"({"drive_id":"90000001","file_id":"<show/Ep01(1).mkv>","async_task_id":""})");
        row("unless it is not asked to", "copy",
            R"({"file_id":"<show/Ep01.mkv>","to_parent_file_id":"<show>","auto_rename":false})",
            "409 AlreadyExist.File", Untouched);
        row("the bin keeps what is trashed", "recyclebin/trash", R"({"file_id":"<show/Ep01.mkv>"})",
            "200",
            ".localdrive-trash/ .localdrive-trash/*/ .localdrive-trash/*/Ep01.mkv=one films/ show/ "
            "show/Ep02.mkv=two",
            R"({"drive_id":"90000001","async_task_id":""})");
        row("what is deleted is gone", "delete", R"({"file_id":"<show>"})", "200", "films/");
        row("the root is not deleted", "delete", R"({"file_id":"root"})",
            "403 ForbiddenNoPermission.File", Untouched);
    }
    void changesTheFolder()
    {
        QFETCH(std::string, operation);
        QFETCH(std::string, body);
        QFETCH(std::string, reply);
        JsonReply answer = m_client->fileAt(operation, body);
        QTEST(answer.verdict(), "verdict");
        QTEST(treeOf(root()), "tree");
        const nlohmann::json expected = m_client->withIds(reply);
        nlohmann::json told = answer.body;
        told.update(expected);
        QCOMPARE(answer.body, told);
    }
    void refusesNames_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("dot") << QByteArray(".");
        QTest::newRow("dot dot") << QByteArray("..");
        QTest::newRow("a path") << QByteArray("../escaped");
        QTest::newRow("a line break") << QByteArray("two\nlines");
        QTest::newRow("a NUL") << QByteArray("nul\0here", 8);
        QTest::newRow("too long") << QByteArray(1025, 'x');
        QTest::newRow("too long for the disk") << QByteArray(300, 'x');
        QTest::newRow("the bin's") << QByteArray(".localdrive-trash");
    }
    void refusesNames()
    {
        QFETCH(QByteArray, name);
        nlohmann::json body = m_client->withIds(R"({"parent_file_id":"root","type":"folder"})");
        body["name"] = name.toStdString();
        QCOMPARE(m_client->file("create", body).status, 400);
        body["file_id"] = m_server->fileId("films");
        QCOMPARE(m_client->file("update", body).status, 400);
        QCOMPARE(treeOf(root()), std::string(Untouched));
        QVERIFY(!fs::exists(root().parent_path() / "escaped"));
    }
    void nothingLeadsOutOfTheFolder()
    {
        const fs::path outside = root().parent_path() / "outside.txt";
        std::ofstream(outside) << "secret";
        fs::create_symlink(outside, root() / "link.txt");
        fs::create_directory_symlink(outside.parent_path(), root() / "films/up");
        for (const char *path : {"link.txt", "films/up", "films/up/outside.txt", "../outside.txt",
                                 "show/../../outside.txt", "/etc/passwd", "show//Ep01.mkv"}) {
            const nlohmann::json body = {{"file_id", m_server->fileId(path)}};
            for (const char *operation : {"get", "getDownloadUrl", "getVideoPreviewPlayInfo",
                                          "delete", "recyclebin/trash"}) {
                QCOMPARE(m_client->file(operation, body).status, 404);
            }
        }
        const char *into = R"({"file_id":"<show/Ep01.mkv>","to_parent_file_id":"<films/up>"})";
        QCOMPARE(m_client->fileAt("move", into).status, 404);
        QCOMPARE(m_client->fileAt("copy", into).status, 404);

        // A folder that becomes a link after its id was given out.
        fs::rename(root() / "show", root() / "away");
        fs::create_directory_symlink(outside.parent_path(), root() / "show");
        QCOMPARE(m_client->fileAt("list", R"({"parent_file_id":"<show>"})").status, 404);
        // Deleting a folder takes the link in it away, not what it leads to.
        QCOMPARE(m_client->fileAt("delete", R"({"file_id":"<films>"})").status, 200);
        QCOMPARE(treeOf(root()),
                 std::string("away/ away/Ep01.mkv=one away/Ep02.mkv=two link.txt@ show@"));
        QCOMPARE(contentOf(outside), std::string("secret"));
    }
    void readOnlyDrivesStayAsTheyAre()
    {
        startWith(false);
        for (const char *operation :
             {"create", "update", "move", "copy", "recyclebin/trash", "delete"}) {
            const JsonReply reply = m_client->fileAt(
                operation, R"({"file_id":"<show/Ep01.mkv>","to_parent_file_id":"<films>",
                               "parent_file_id":"root","type":"folder","name":"new"})");
            QCOMPARE(reply.verdict(), std::string("403 ForbiddenNoPermission.File"));
        }
        QCOMPARE(treeOf(root()), std::string(Untouched));
    }
    void theBinIsSeenByNobody()
    {
        m_client->fileAt("recyclebin/trash", R"({"file_id":"<films>"})");
        QCOMPARE(m_client->list().names(), Names{"show"});
        const char *bin =
            R"({"file_id":"<.localdrive-trash>","parent_file_id":"<.localdrive-trash>"})";
        QCOMPARE(m_client->fileAt("list", bin).status, 404);
        QCOMPARE(m_client->fileAt("delete", bin).status, 404);
    }
    void idsStayWithTheirFiles()
    {
        const std::string first = m_server->fileId("show/Ep01.mkv");
        m_client->fileAt("update", R"({"file_id":"<show/Ep01.mkv>","name":"Ep00.mkv"})");
        m_client->fileAt("move", R"({"file_id":"<show>","to_parent_file_id":"<films>"})");
        QCOMPARE(nameOf(first), std::string("Ep00.mkv"));
        // A path that was left gives its next file a new id.
        m_server->makeFile("show/Ep01.mkv", "again");
        const std::string second = m_server->fileId("show/Ep01.mkv");
        QVERIFY(first != second);
        m_client->file("delete", {{"file_id", second}});
        m_server->makeFile("show/Ep01.mkv", "third");
        QVERIFY(m_server->fileId("show/Ep01.mkv") != second);
        QCOMPARE(m_client->file("get", {{"file_id", second}}).status, 404);
    }
    void accountsAreApart()
    {
        DriveClient other(*m_server, 1);
        nlohmann::json episode = {{"file_id", m_server->fileId("show/Ep01.mkv")}};
        QCOMPARE(other.file("get", episode).status, 404);
        episode["drive_id"] = m_server->driveId(0);
        QCOMPARE(other.file("get", episode).status, 403);
        QCOMPARE(other.list().names(), Names());
    }
    void stateOutlivesTheServer()
    {
        const QTemporaryDir state;
        localdrive::Options options;
        options.stateDir = state.filePath(QStringLiteral("state")).toStdString();
        const auto drive = std::make_unique<localdrive::Server>(); // keeps its folder
        drive->makeFile("a.mkv", "a");
        drive->makeFile("b.mkv", "b");
        options.accounts[0].root = drive->rootPath();
        start(options);
        const localdrive::Tokens tokens = m_server->loginDirectly();
        const std::string plain = m_server->fileId("b.mkv");
        const std::string renamed = m_server->fileId("a.mkv");
        m_client->file("update", {{"file_id", renamed}, {"name", "first.mkv"}});
        start(options);
        m_client->setToken(tokens.accessToken);
        QCOMPARE(nameOf(plain), std::string("b.mkv"));
        QCOMPARE(nameOf(renamed), std::string("first.mkv"));
    }

private:
    void startWith(bool writable)
    {
        localdrive::Options options;
        options.accounts[0].writable = writable;
        start(options, 2);
        m_server->makeFile("show/Ep01.mkv", "one");
        m_server->makeFile("show/Ep02.mkv", "two");
        m_server->makeFolder("films");
    }
    [[nodiscard]] fs::path root() const { return m_server->rootPath(); }
    std::string nameOf(const std::string &id)
    {
        return m_client->file("get", {{"file_id", id}}).text("name");
    }
};

QTEST_GUILESS_MAIN(TestChanges)
#include "tst_localdrive_changes.moc"
