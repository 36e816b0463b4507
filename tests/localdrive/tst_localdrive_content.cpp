#include "drive_client.h"

using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

std::string sampleContent()
{
    std::string content;
    for (int i = 0; i < 400000; ++i)
        content += static_cast<char>(i * 7 + i / 251);
    return content;
}

} // namespace

class ContentTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void sendsTheWholeFile();
    void answersHead();
    void answersRanges_data();
    void answersRanges();
    void rangesOfAChangedFileAreRefused();
    void sendsAnEmptyFile();
    void addressesExpire();
    void lifetimesAreBounded_data();
    void lifetimesAreBounded();
    void addressesAreForOneFileOnly();
    void addressesNeedNoToken();

private:
    std::string address(const std::string &path)
    {
        return m_client->file("getDownloadUrl", {{"file_id", m_server->fileId(path)}}).body["url"];
    }

    const std::string m_content = sampleContent();
    const std::string m_name = "第 1 集 “a&b=c?#%20”.mkv";
    std::unique_ptr<localdrive::Server> m_server;
    std::unique_ptr<DriveClient> m_client;
};

void ContentTest::init()
{
    m_client.reset();
    m_server = std::make_unique<localdrive::Server>();
    m_server->makeFile(m_name, m_content);
    m_server->makeFile("other.mkv", "other");
    QVERIFY(m_server->start());
    m_client = std::make_unique<DriveClient>(*m_server);
}

void ContentTest::sendsTheWholeFile()
{
    const JsonReply reply =
        m_client->file("getDownloadUrl", {{"file_id", m_server->fileId(m_name)}});
    QCOMPARE(reply.body["size"], nlohmann::json(m_content.size()));
    const auto result = m_client->get(reply.body["url"]);
    QCOMPARE(result->status, 200);
    QVERIFY(result->body == m_content);
    QCOMPARE(result->get_header_value("Content-Length"), std::to_string(m_content.size()));
    QCOMPARE(result->get_header_value("Accept-Ranges"), std::string("bytes"));
    QCOMPARE(result->get_header_value("Content-Type"), std::string("video/x-matroska"));
}

void ContentTest::answersHead()
{
    const std::string path = address(m_name).substr(m_server->baseUrl().size());
    const auto result = m_client->http().Head(path);
    QCOMPARE(result->status, 200);
    QCOMPARE(result->get_header_value("Content-Length"), std::to_string(m_content.size()));
    QVERIFY(result->body.empty());
}

void ContentTest::answersRanges_data()
{
    QTest::addColumn<QString>("range");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("contentRange");
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("length");
    const auto row = [](const char *name, const char *range, int status, const char *contentRange,
                        int offset, int length) {
        QTest::newRow(name) << QString::fromLatin1(range) << status
                            << QString::fromLatin1(contentRange) << offset << length;
    };
    row("first byte", "bytes=0-0", 206, "bytes 0-0/400000", 0, 1);
    row("over a piece's border", "bytes=131000-132000", 206, "bytes 131000-132000/400000", 131000,
        1001);
    row("from the middle", "bytes=200000-", 206, "bytes 200000-399999/400000", 200000, 200000);
    row("the end", "bytes=-10", 206, "bytes 399990-399999/400000", 399990, 10);
    row("past the end", "bytes=399999-500000", 206, "bytes 399999-399999/400000", 399999, 1);
    row("outside", "bytes=400000-", 416, "bytes */400000", 0, -1);
    row("several", "bytes=0-1,4-5", 200, "", 0, 400000);
}

void ContentTest::answersRanges()
{
    QFETCH(QString, range);
    QFETCH(int, status);
    QFETCH(QString, contentRange);
    QFETCH(int, offset);
    QFETCH(int, length);
    const auto result = m_client->get(address(m_name), {{"Range", utf8(range)}});
    QCOMPARE(result->status, status);
    QCOMPARE(result->get_header_value("Content-Range"), utf8(contentRange));
    if (length < 0)
        return;
    QVERIFY(result->body ==
            m_content.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(length)));
    QCOMPARE(result->get_header_value("Content-Length"), std::to_string(length));
}

void ContentTest::rangesOfAChangedFileAreRefused()
{
    const std::string url = address("other.mkv");
    const std::string tag = m_client->get(url)->get_header_value("ETag");
    const httplib::Headers range = {{"Range", "bytes=1-2"}, {"If-Range", tag}};
    QCOMPARE(m_client->get(url, range)->body, std::string("th"));
    m_server->makeFile("other.mkv", "changed");
    QCOMPARE(m_client->get(url, range)->status, 200);
    QCOMPARE(m_client->get(url, range)->body, std::string("changed"));
}

void ContentTest::sendsAnEmptyFile()
{
    m_server->makeFile("empty.txt", "");
    const auto result = m_client->get(address("empty.txt"));
    QCOMPARE(result->status, 200);
    QCOMPARE(result->get_header_value("Content-Length"), std::string("0"));
}

void ContentTest::addressesExpire()
{
    const std::string url = m_server->downloadUrl(m_name, seconds(60));
    m_server->advanceClock(milliseconds(59000));
    QCOMPARE(m_client->get(url)->status, 200);
    m_server->advanceClock(seconds(1));
    const auto result = m_client->get(url);
    QCOMPARE(result->status, 403);
    QCOMPARE(nlohmann::json::parse(result->body)["code"], nlohmann::json("AccessDenied.Expired"));
}

void ContentTest::lifetimesAreBounded_data()
{
    QTest::addColumn<int>("asked");
    QTest::addColumn<int>("bound");
    QTest::addColumn<int>("expected");
    QTest::newRow("as asked") << 115200 << 0 << 115200;
    QTest::newRow("fifteen minutes when nothing is asked") << 0 << 0 << 900;
    QTest::newRow("not longer than the bound") << 115200 << 20 << 20;
    QTest::newRow("shorter than the bound") << 10 << 20 << 10;
}

void ContentTest::lifetimesAreBounded()
{
    QFETCH(int, asked);
    QFETCH(int, bound);
    QFETCH(int, expected);
    m_server->setUrlLifetime(seconds(bound));
    const JsonReply reply = m_client->file(
        "getDownloadUrl", {{"file_id", m_server->fileId(m_name)}, {"expire_sec", asked}});
    const QDateTime end =
        QDateTime::fromString(QString::fromStdString(reply.body["expiration"]), Qt::ISODateWithMs);
    const qint64 left = QDateTime::currentDateTimeUtc().secsTo(end);
    QVERIFY2(left <= expected && left >= expected - 5, qPrintable(QString::number(left)));
}

void ContentTest::addressesAreForOneFileOnly()
{
    const std::string own = address("other.mkv");
    std::string longer = own;
    const std::size_t digit = longer.find("x-expires=") + 10;
    longer[digit] = '9';
    std::string foreign = address(m_name);
    foreign = foreign.substr(0, foreign.find('?')) + own.substr(own.find('?'));
    const std::string bare = own.substr(0, own.find('?'));
    for (const std::string &url : {longer, foreign, bare, own + "0"})
        QCOMPARE(m_client->get(url)->status, 403);
    QCOMPARE(m_client->get(own)->status, 200);
}

void ContentTest::addressesNeedNoToken()
{
    const std::string url = address("other.mkv");
    m_server->revokeTokens(0);
    QCOMPARE(m_client->get(url)->body, std::string("other"));
    QCOMPARE(m_client->file("list", {{"parent_file_id", "root"}}).status, 401);
}

QTEST_GUILESS_MAIN(ContentTest)
#include "tst_localdrive_content.moc"
