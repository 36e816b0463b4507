#include "drive_test.h"

using std::chrono::milliseconds;
using std::chrono::seconds;

class TestContent final : public DriveTest
{
    Q_OBJECT

private slots:
    void init()
    {
        start();
        for (int i = 0; m_content.size() < 400000; ++i) {
            m_content += static_cast<char>(i * 7 + i / 251);
        }
        m_server->makeFile(m_name, m_content);
        m_server->makeFile("other.mkv", "other");
        m_server->makeFile("empty.txt", "");
    }
    void answersRanges_data()
    {
        QTest::addColumn<QString>("range");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("contentRange");
        QTest::addColumn<int>("offset");
        QTest::addColumn<int>("length");
        const auto row = [](const char *name, const char *range, int status,
                            const char *contentRange, int offset, int length) {
            QTest::newRow(name) << QString::fromLatin1(range) << status
                                << QString::fromLatin1(contentRange) << offset << length;
        };
        row("the whole", "", 200, "", 0, 400000);
        row("first byte", "bytes=0-0", 206, "bytes 0-0/400000", 0, 1);
        row("over a piece's border", "bytes=131000-132000", 206, "bytes 131000-132000/400000",
            131000, 1001);
        row("from the middle", "bytes=200000-", 206, "bytes 200000-399999/400000", 200000, 200000);
        row("the end", "bytes=-10", 206, "bytes 399990-399999/400000", 399990, 10);
        row("past the end", "bytes=399999-500000", 206, "bytes 399999-399999/400000", 399999, 1);
        row("outside", "bytes=400000-", 416, "bytes */400000", 0, -1);
        row("none of the end", "bytes=-0", 416, "bytes */400000", 0, -1);
        row("several", "bytes=0-1,4-5", 200, "", 0, 400000);
    }
    void answersRanges()
    {
        QFETCH(QString, range);
        QFETCH(QString, contentRange);
        QFETCH(int, offset);
        QFETCH(int, length);
        const httplib::Headers headers = {{"Range", range.toStdString()}};
        const auto part =
            m_client->get(address(m_name), range.isEmpty() ? httplib::Headers() : headers);
        QTEST(part->status, "status");
        QCOMPARE(part->get_header_value("Content-Range"), contentRange.toStdString());
        if (length < 0) {
            return;
        }
        QVERIFY(part->body == m_content.substr(static_cast<std::size_t>(offset),
                                               static_cast<std::size_t>(length)));
        QCOMPARE(part->get_header_value("Content-Type"), std::string("video/x-matroska"));
        QCOMPARE(part->get_header_value("Accept-Ranges"), std::string("bytes"));
        const std::string url = m_client->pathOf(address(m_name));
        for (const auto &reply : {m_client->http().Get(url), m_client->http().Head(url)}) {
            QCOMPARE(reply->get_header_value("Content-Length"), std::string("400000"));
        }
        const auto empty = m_client->get(address("empty.txt"));
        QCOMPARE(empty->status, 200);
        QCOMPARE(empty->get_header_value("Content-Length"), std::string("0"));
    }
    void rangesOfAChangedFileAreRefused()
    {
        const std::string url = address("other.mkv");
        const std::string tag = m_client->get(url)->get_header_value("ETag");
        const httplib::Headers range = {{"Range", "bytes=1-2"}, {"If-Range", tag}};
        QCOMPARE(m_client->get(url, range)->body, std::string("th"));
        m_server->makeFile("other.mkv", "changed");
        QCOMPARE(m_client->get(url, range)->status, 200);
        QCOMPARE(m_client->get(url, range)->body, std::string("changed"));
    }
    void lifetimesAreBounded_data()
    {
        QTest::addColumn<int>("asked");
        QTest::addColumn<int>("bound");
        QTest::addColumn<int>("expected");
        QTest::newRow("as asked") << 115200 << 0 << 115200;
        QTest::newRow("fifteen minutes when nothing is asked") << 0 << 0 << 900;
        QTest::newRow("not longer than the bound") << 115200 << 20 << 20;
        QTest::newRow("shorter than the bound") << 10 << 20 << 10;
    }
    void lifetimesAreBounded()
    {
        QFETCH(int, asked);
        QFETCH(int, bound);
        QFETCH(int, expected);
        m_server->setUrlLifetime(seconds(bound));
        const JsonReply reply = m_client->file(
            "getDownloadUrl", {{"file_id", m_server->fileId(m_name)}, {"expire_sec", asked}});
        const QDateTime end = QDateTime::fromString(
            QString::fromStdString(reply.text("expiration")), Qt::ISODateWithMs);
        const qint64 left = QDateTime::currentDateTimeUtc().secsTo(end);
        QVERIFY2(left <= expected && left >= expected - 5, qPrintable(QString::number(left)));
    }
    void addressesAreForOneFileOnly()
    {
        const std::string own = address("other.mkv");
        std::string longer = own;
        longer[longer.find("x-expires=") + 10] = '9';
        std::string foreign = address(m_name);
        foreign = foreign.substr(0, foreign.find('?')) + own.substr(own.find('?'));
        const std::string bare = own.substr(0, own.find('?'));
        for (const std::string &url : {longer, foreign, bare, own + "0"}) {
            QCOMPARE(m_client->get(url)->status, 403);
        }
        QCOMPARE(m_client->get(own)->status, 200);
    }
    void addressesNeedNoToken()
    {
        const std::string url = address("other.mkv");
        m_server->revokeTokens(0);
        QCOMPARE(m_client->get(url)->body, std::string("other"));
        QCOMPARE(m_client->list().status, 401);
    }

private:
    std::string address(const std::string &path)
    {
        return m_client->file("getDownloadUrl", {{"file_id", m_server->fileId(path)}}).text("url");
    }

    std::string m_content;
    const std::string m_name = "第 1 集 “a&b=c?#%20”.mkv";
};

QTEST_GUILESS_MAIN(TestContent)
#include "tst_localdrive_content.moc"
