#include <filesystem>

#include "drive_client.h"

namespace {

using Names = std::vector<std::string>;

/// Everything a listing gives, page by page; the sizes of the pages on the side.
Names listAll(DriveClient &client, nlohmann::json query, std::vector<std::size_t> *pages = nullptr)
{
    Names names;
    std::string marker;
    do {
        query["marker"] = marker;
        const JsonReply reply = client.file("list", query);
        const Names page = namesOf(reply);
        names.insert(names.end(), page.begin(), page.end());
        if (pages)
            pages->push_back(page.size());
        marker = reply.body.value("next_marker", std::string());
    } while (!marker.empty());
    return names;
}

nlohmann::json byName(int limit)
{
    return {{"parent_file_id", "root"},
            {"order_by", "name"},
            {"order_direction", "ASC"},
            {"limit", limit}};
}

} // namespace

class ListingTest final : public QObject
{
    Q_OBJECT

private slots:
    void sortsAndFilters_data();
    void sortsAndFilters();
    void pagesExactly_data();
    void pagesExactly();
    void pageCapShortensPagesOnly();
    void markerKeepsItsPlaceWhileTheFolderChanges();
    void refusesWrongQueries_data();
    void refusesWrongQueries();
    void showsNoLinks();
};

void ListingTest::sortsAndFilters_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QStringList>("expected");
    const auto row = [](const char *name, const char *query, const char *expected) {
        QTest::newRow(name) << QString::fromUtf8(query)
                            << QString::fromUtf8(expected).split(QLatin1Char(' '));
    };
    row("by name", R"({"order_by":"name","order_direction":"ASC"})",
        "a.mp4 b.srt c.zip d.jpg e-folder f.mkv");
    row("by name, downwards", R"({"order_by":"name","order_direction":"DESC"})",
        "f.mkv e-folder d.jpg c.zip b.srt a.mp4");
    row("by size, folders are empty", R"({"order_by":"size","order_direction":"ASC"})",
        "e-folder d.jpg b.srt f.mkv a.mp4 c.zip");
    row("by size, downwards", R"({"order_by":"size","order_direction":"DESC"})",
        "c.zip a.mp4 f.mkv b.srt d.jpg e-folder");
    row("by time", R"({"order_by":"updated_at","order_direction":"ASC"})",
        "f.mkv e-folder d.jpg c.zip b.srt a.mp4");
    row("by time, downwards unless said otherwise", R"({"order_by":"updated_at"})",
        "a.mp4 b.srt c.zip d.jpg e-folder f.mkv");
    row("folders", R"({"order_by":"name","order_direction":"ASC","type":"folder"})", "e-folder");
    row("files", R"({"order_by":"name","order_direction":"ASC","type":"file"})",
        "a.mp4 b.srt c.zip d.jpg f.mkv");
    row("videos", R"({"order_by":"name","order_direction":"ASC","category":"video"})",
        "a.mp4 f.mkv");
    row("two categories", R"({"order_by":"name","order_direction":"ASC","category":"zip,image"})",
        "c.zip d.jpg");
}

void ListingTest::sortsAndFilters()
{
    QFETCH(QString, query);
    QFETCH(QStringList, expected);
    localdrive::Server server;
    const std::vector<std::pair<std::string, std::size_t>> files = {
        {"a.mp4", 40}, {"b.srt", 20}, {"c.zip", 50}, {"d.jpg", 10}, {"f.mkv", 30}};
    for (const auto &[name, size] : files)
        server.makeFile(name, std::string(size, 'x'));
    server.makeFolder("e-folder");
    auto time = std::filesystem::file_time_type::clock::now();
    for (const char *name : {"a.mp4", "b.srt", "c.zip", "d.jpg", "e-folder", "f.mkv"}) {
        const std::filesystem::path path = server.rootPath() + '/' + name;
        std::filesystem::last_write_time(path, time -= std::chrono::seconds(1));
    }
    QVERIFY(server.start());
    DriveClient client(server);

    nlohmann::json body = nlohmann::json::parse(utf8(query));
    body["parent_file_id"] = "root";
    Names names;
    for (const QString &name : expected)
        names.push_back(utf8(name));
    QCOMPARE(namesOf(client.file("list", body)), names);
    body["limit"] = 1;
    QCOMPARE(listAll(client, body), names);
}

void ListingTest::pagesExactly_data()
{
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("limit");
    QTest::addColumn<QVector<int>>("pages");
    QTest::newRow("an empty folder is one empty page") << 0 << 10 << QVector<int>{0};
    QTest::newRow("one page") << 9 << 10 << QVector<int>{9};
    QTest::newRow("a full page has no next one") << 10 << 10 << QVector<int>{10};
    QTest::newRow("one more") << 11 << 10 << QVector<int>{10, 1};
    QTest::newRow("no limit means fifty") << 120 << 0 << QVector<int>{50, 50, 20};
    QTest::newRow("the highest limit") << 401 << 200 << QVector<int>{200, 200, 1};
}

void ListingTest::pagesExactly()
{
    QFETCH(int, files);
    QFETCH(int, limit);
    QFETCH(QVector<int>, pages);
    localdrive::Server server;
    Names expected;
    for (int i = 0; i < files; ++i) {
        expected.push_back("file " + std::to_string(1000 + i));
        server.makeFile(expected.back(), "x");
    }
    QVERIFY(server.start());
    DriveClient client(server);

    std::vector<std::size_t> sizes;
    QCOMPARE(listAll(client, byName(limit), &sizes), expected);
    QCOMPARE(QVector<int>(sizes.begin(), sizes.end()), pages);
}

void ListingTest::pageCapShortensPagesOnly()
{
    localdrive::Server server;
    Names expected;
    for (const char *name : {"a", "b", "c", "d", "e"}) {
        server.makeFile(name, "x");
        expected.emplace_back(name);
    }
    QVERIFY(server.start());
    server.setPageCap(2);
    DriveClient client(server);
    std::vector<std::size_t> sizes;
    QCOMPARE(listAll(client, byName(200), &sizes), expected);
    QCOMPARE(sizes, (std::vector<std::size_t>{2, 2, 1}));
}

void ListingTest::markerKeepsItsPlaceWhileTheFolderChanges()
{
    localdrive::Server server;
    for (const char *name : {"b", "d", "f", "h"})
        server.makeFile(name, "x");
    QVERIFY(server.start());
    DriveClient client(server);
    nlohmann::json query = byName(2);
    const JsonReply first = client.file("list", query);
    QCOMPARE(namesOf(first), (Names{"b", "d"}));

    server.makeFile("a", "x"); // before the place: neither shifts nor repeats
    server.makeFile("e", "x");
    QCOMPARE(client.file("delete", {{"file_id", server.fileId("d")}}).status, 200);
    query["marker"] = first.body["next_marker"];
    query["limit"] = 10;
    QCOMPARE(namesOf(client.file("list", query)), (Names{"e", "f", "h"}));
}

void ListingTest::refusesWrongQueries_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<int>("status");
    const auto row = [](const char *name, const char *change, int status) {
        QTest::newRow(name) << QString::fromUtf8(change) << status;
    };
    row("limit too high", R"({"limit":201})", 400);
    row("negative limit", R"({"limit":-1})", 400);
    row("limit as text", R"({"limit":"10"})", 400);
    row("unknown order", R"({"order_by":"colour"})", 400);
    row("unknown direction", R"({"order_direction":"asc"})", 400);
    row("made-up marker", R"({"marker":"MTIzNDU2"})", 400);
    row("not base64", R"({"marker":"%%%"})", 400);
    row("unknown folder", R"({"parent_file_id":"0123456789"})", 404);
    row("someone else's drive", R"({"drive_id":"1"})", 403);
}

void ListingTest::refusesWrongQueries()
{
    QFETCH(QString, change);
    QFETCH(int, status);
    localdrive::Server server;
    QVERIFY(server.start());
    DriveClient client(server);
    nlohmann::json query = byName(10);
    query.update(nlohmann::json::parse(utf8(change)));
    const JsonReply reply = client.file("list", query);
    QCOMPARE(reply.status, status);
    for (const char *key : {"code", "message", "requestId"})
        QVERIFY(!reply.body.at(key).get<std::string>().empty());
}

void ListingTest::showsNoLinks()
{
    localdrive::Server server;
    server.makeFile("real.txt", "x");
    std::filesystem::create_symlink("real.txt", server.rootPath() + "/link.txt");
    std::filesystem::create_directory_symlink("/", server.rootPath() + "/everything");
    QVERIFY(server.start());
    DriveClient client(server);
    QCOMPARE(namesOf(client.file("list", byName(10))), (Names{"real.txt"}));
}

QTEST_GUILESS_MAIN(ListingTest)
#include "tst_localdrive_listing.moc"
