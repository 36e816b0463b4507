#include <filesystem>

#include "drive_test.h"

namespace fs = std::filesystem;

namespace {

nlohmann::json byName(int limit)
{
    return {{"parent_file_id", "root"},
            {"order_by", "name"},
            {"order_direction", "ASC"},
            {"limit", limit}};
}

std::string joined(const Names &names)
{
    std::string text;
    for (const std::string &name : names) {
        text += (text.empty() ? "" : " ") + name;
    }
    return text;
}

} // namespace

class TestListing final : public DriveTest
{
    Q_OBJECT

private slots:
    void init() { start(); }
    void sortsAndFilters_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const char *query, const char *expected) {
            QTest::newRow(name) << QString::fromUtf8(query) << QString::fromUtf8(expected);
        };
        row("by name, links are not there", R"({"order_by":"name","order_direction":"ASC"})",
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
        row("folders", R"({"order_by":"name","order_direction":"ASC","type":"folder"})",
            "e-folder");
        row("files", R"({"order_by":"name","order_direction":"ASC","type":"file"})",
            "a.mp4 b.srt c.zip d.jpg f.mkv");
        row("videos", R"({"order_by":"name","order_direction":"ASC","category":"video"})",
            "a.mp4 f.mkv");
        row("two categories",
            R"({"order_by":"name","order_direction":"ASC","category":"zip,image"})", "c.zip d.jpg");
    }
    void sortsAndFilters()
    {
        QFETCH(QString, query);
        QFETCH(QString, expected);
        const std::vector<std::pair<std::string, std::size_t>> files = {
            {"a.mp4", 40}, {"b.srt", 20}, {"c.zip", 50}, {"d.jpg", 10}, {"f.mkv", 30}};
        for (const auto &[name, size] : files) {
            m_server->makeFile(name, std::string(size, 'x'));
        }
        m_server->makeFolder("e-folder");
        const fs::path root = m_server->rootPath();
        auto time = fs::file_time_type::clock::now();
        for (const char *name : {"a.mp4", "b.srt", "c.zip", "d.jpg", "e-folder", "f.mkv"}) {
            fs::last_write_time(root / name, time -= std::chrono::seconds(1));
        }
        fs::create_symlink("a.mp4", root / "b-link.mp4");
        fs::create_directory_symlink("/", root / "everything");

        nlohmann::json body = nlohmann::json::parse(query.toStdString());
        body["parent_file_id"] = "root";
        QCOMPARE(joined(m_client->file("list", body).names()), expected.toStdString());
        body["limit"] = 1;
        std::vector<int> pages;
        QCOMPARE(joined(listAll(body, &pages)), expected.toStdString());
    }
    void pagesExactly_data()
    {
        QTest::addColumn<int>("files");
        QTest::addColumn<int>("limit");
        QTest::addColumn<int>("cap");
        QTest::addColumn<QVector<int>>("pages");
        QTest::newRow("an empty folder is one empty page") << 0 << 10 << 0 << QVector<int>{0};
        QTest::newRow("a full page has no next one") << 10 << 10 << 0 << QVector<int>{10};
        QTest::newRow("one more") << 11 << 10 << 0 << QVector<int>{10, 1};
        QTest::newRow("no limit means fifty") << 120 << 0 << 0 << QVector<int>{50, 50, 20};
        QTest::newRow("the highest limit") << 401 << 200 << 0 << QVector<int>{200, 200, 1};
        QTest::newRow("pages are capped") << 5 << 200 << 2 << QVector<int>{2, 2, 1};
    }
    void pagesExactly()
    {
        QFETCH(int, files);
        QFETCH(int, limit);
        QFETCH(int, cap);
        QFETCH(QVector<int>, pages);
        Names expected;
        for (int i = 0; i < files; ++i) {
            expected.push_back("file " + std::to_string(1000 + i));
            m_server->makeFile(expected.back(), "x");
        }
        m_server->setPageCap(cap);
        std::vector<int> sizes;
        QCOMPARE(listAll(byName(limit), &sizes), expected);
        QCOMPARE(QVector<int>(sizes.begin(), sizes.end()), pages);
    }
    void markerKeepsItsPlaceWhileTheFolderChanges()
    {
        for (const char *name : {"b", "d", "f", "h"}) {
            m_server->makeFile(name, "x");
        }
        nlohmann::json query = byName(2);
        const JsonReply first = m_client->file("list", query);
        QCOMPARE(first.names(), (Names{"b", "d"}));

        m_server->makeFile("a", "x"); // before the place: neither shifts nor repeats
        m_server->makeFile("e", "x");
        QCOMPARE(m_client->fileAt("delete", R"({"file_id":"<d>"})").status, 200);
        query["marker"] = first.body["next_marker"];
        query["limit"] = 10;
        QCOMPARE(m_client->file("list", query).names(), (Names{"e", "f", "h"}));
    }
    void refusesWrongQueries_data()
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
    void refusesWrongQueries()
    {
        QFETCH(QString, change);
        nlohmann::json query = byName(10);
        query.update(nlohmann::json::parse(change.toStdString()));
        const JsonReply reply = m_client->file("list", query);
        QTEST(reply.status, "status");
        for (const char *key : {"code", "message", "requestId"}) {
            QVERIFY(!reply.text(key).empty());
        }
    }

private:
    // Everything a listing gives, page by page; the sizes of the pages on the side.
    Names listAll(nlohmann::json query, std::vector<int> *pages)
    {
        Names names;
        query["marker"] = "";
        do {
            const JsonReply reply = m_client->file("list", query);
            const Names page = reply.names();
            names.insert(names.end(), page.begin(), page.end());
            pages->push_back(static_cast<int>(page.size()));
            query["marker"] = reply.text("next_marker");
        } while (query["marker"] != "");
        return names;
    }
};

QTEST_GUILESS_MAIN(TestListing)
#include "tst_localdrive_listing.moc"
