#include <atomic>
#include <thread>

#include <sys/socket.h>

#include "drive_client.h"

using localdrive::Break;
using localdrive::Fault;
using std::chrono::milliseconds;

namespace {

constexpr char ListPath[] = "/adrive/v1.0/openFile/list";

Fault faultFor(const char *path, Break wire = Break::None)
{
    Fault fault;
    fault.path = path;
    fault.wire = wire;
    return fault;
}

} // namespace

class FaultsTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void answersWithAStatus();
    void countsAndSkips();
    void mindsTheMethod();
    void closesBeforeTheReply();
    void closesInsideTheBody();
    void leavesOutTheLength();
    void trickles();
    void frozenRequestsDoNotHoldOthersUp_data();
    void frozenRequestsDoNotHoldOthersUp();
    void recordsRequests();
    void isSteeredOverHttp();
    void startsAgainOnItsPort();

private:
    JsonReply list() { return m_client->file("list", {{"parent_file_id", "root"}}); }

    std::unique_ptr<localdrive::Server> m_server;
    std::unique_ptr<DriveClient> m_client;
};

void FaultsTest::init()
{
    m_client.reset();
    m_server = std::make_unique<localdrive::Server>();
    m_server->makeFile("a.bin", std::string(1000, 'x'));
    QVERIFY(m_server->start());
    m_client = std::make_unique<DriveClient>(*m_server);
}

void FaultsTest::answersWithAStatus()
{
    Fault fault = faultFor("openFile/delete");
    fault.status = 429;
    fault.code = "TooManyRequests";
    m_server->addFault(fault);
    const nlohmann::json body = {{"file_id", m_server->fileId("a.bin")}};
    const JsonReply reply = m_client->file("delete", body);
    QCOMPARE(reply.status, 429);
    QCOMPARE(reply.code(), std::string("TooManyRequests"));
    QCOMPARE(m_client->file("get", body).status, 200); // it was not run
    QCOMPARE(m_client->file("delete", body).status, 200);
}

void FaultsTest::countsAndSkips()
{
    Fault fault = faultFor(ListPath);
    fault.status = 500;
    fault.skip = 1;
    fault.count = 2;
    m_server->addFault(fault);
    std::vector<int> statuses;
    statuses.reserve(5);
    for (int i = 0; i < 5; ++i)
        statuses.push_back(list().status);
    QCOMPARE(statuses, (std::vector<int>{200, 500, 500, 200, 200}));
    fault.skip = 0;
    fault.count = -1;
    m_server->addFault(fault);
    for (int i = 0; i < 5; ++i)
        QCOMPARE(list().status, 500);
    m_server->clearFaults();
    QCOMPARE(list().status, 200);
}

void FaultsTest::mindsTheMethod()
{
    Fault fault = faultFor("^/download/");
    fault.method = "HEAD";
    fault.status = 403;
    m_server->addFault(fault);
    const std::string url = m_server->downloadUrl("a.bin", std::chrono::minutes(1));
    const std::string path = url.substr(m_server->baseUrl().size());
    QCOMPARE(m_client->http().Get(path)->status, 200);
    QCOMPARE(m_client->http().Head(path)->status, 403);
}

void FaultsTest::closesBeforeTheReply()
{
    m_server->addFault(faultFor(ListPath, Break::CloseBeforeReply));
    m_client->http().set_keep_alive(false);
    QCOMPARE(list().status, 0);
    QCOMPARE(list().status, 200);
}

void FaultsTest::closesInsideTheBody()
{
    const std::string url = m_server->downloadUrl("a.bin", std::chrono::minutes(1));
    for (const int bytes : {-1, 0, 10, 999}) {
        Fault fault = faultFor("^/download/", Break::CloseInsideBody);
        fault.bodyBytes = bytes;
        m_server->addFault(fault);
        std::size_t received = 0;
        const auto result = m_client->http().Get(url.substr(m_server->baseUrl().size()),
                                                 [&received](const char *, std::size_t size) {
                                                     received += size;
                                                     return true;
                                                 });
        QVERIFY(!result);
        QCOMPARE(received, std::size_t(bytes < 0 ? 500 : bytes));
    }
}

void FaultsTest::leavesOutTheLength()
{
    m_server->addFault(faultFor("^/download/", Break::NoContentLength));
    const auto result = m_client->get(m_server->downloadUrl("a.bin", std::chrono::minutes(1)));
    QVERIFY(result);
    QVERIFY(!result->has_header("Content-Length"));
    QCOMPARE(result->body, std::string(1000, 'x'));
}

void FaultsTest::trickles()
{
    Fault fault = faultFor("^/download/", Break::Trickle);
    fault.bytesPerSecond = 2000;
    m_server->addFault(fault);
    QElapsedTimer timer;
    timer.start();
    const auto result = m_client->get(m_server->downloadUrl("a.bin", std::chrono::minutes(1)));
    QCOMPARE(result->body, std::string(1000, 'x'));
    QVERIFY(timer.elapsed() >= 450);
}

void FaultsTest::frozenRequestsDoNotHoldOthersUp_data()
{
    QTest::addColumn<int>("wire");
    QTest::newRow("before the reply") << static_cast<int>(Break::Freeze);
    QTest::newRow("inside the body") << static_cast<int>(Break::FreezeInsideBody);
}

void FaultsTest::frozenRequestsDoNotHoldOthersUp()
{
    QFETCH(int, wire);
    constexpr int Count = 20;
    Fault fault = faultFor("^/oauth/qrcode/", static_cast<Break>(wire));
    fault.count = Count;
    m_server->addFault(fault);
    std::atomic<int> ended{0};
    std::vector<std::thread> frozen;
    frozen.reserve(Count);
    for (int i = 0; i < Count; ++i) {
        frozen.emplace_back([this, &ended] {
            httplib::Client client("127.0.0.1", m_server->port());
            client.set_read_timeout(30, 0);
            client.Get("/oauth/qrcode/00/status");
            ++ended;
        });
    }
    QTRY_COMPARE(m_server->requestsTo("/oauth/qrcode/00/status").size(), std::size_t(Count));
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 10; ++i)
        QCOMPARE(list().status, 200);
    QVERIFY(timer.elapsed() < 2000);
    QCOMPARE(ended.load(), 0);

    timer.restart();
    m_server->stop();
    QVERIFY(timer.elapsed() < 2000);
    for (std::thread &thread : frozen)
        thread.join();
}

void FaultsTest::recordsRequests()
{
    m_server->clearRequests();
    const nlohmann::json body = {{"parent_file_id", "root"}, {"limit", 7}};
    m_client->file("list", body);
    m_client->getJson("/oauth/qrcode/%E9%9D%92/status?a=1&b=%26");
    const std::vector<localdrive::RequestRecord> records = m_server->requests();
    QCOMPARE(records.size(), std::size_t{2});
    QCOMPARE(records[0].method, std::string("POST"));
    QCOMPARE(records[0].path, std::string(ListPath));
    QCOMPARE(nlohmann::json::parse(records[0].body), body);
    QCOMPARE(records[0].headers.find("content-type")->second,
             std::string("application/json; charset=utf-8"));
    QCOMPARE(records[0].account, 0);
    QCOMPARE(records[0].status, 200);
    QCOMPARE(records[1].path, std::string("/oauth/qrcode/青/status"));
    QCOMPARE(records[1].query, (std::multimap<std::string, std::string>{{"a", "1"}, {"b", "&"}}));
    QCOMPARE(records[1].account, -1);
    QCOMPARE(records[1].status, 404);
    QVERIFY(records[1].number > records[0].number);
}

void FaultsTest::isSteeredOverHttp()
{
    const nlohmann::json fault = {{"path", "openFile/list$"}, {"status", 503}, {"count", 1}};
    QCOMPARE(m_client->post("/control/faults", fault).status, 200);
    QCOMPARE(m_client->post("/control/faults", {{"path", "("}}).status, 400);
    QCOMPARE(m_client->post("/control/faults", {{"wire", "melt"}}).status, 400);
    QCOMPARE(list().status, 503);
    QCOMPARE(list().status, 200);

    const nlohmann::json log = m_client->getJson("/control/requests").body["requests"];
    QCOMPARE(log.size(), std::size_t{2}); // without those that steer
    QCOMPARE(log[0]["status"], nlohmann::json(503));
    const JsonReply login = m_client->post("/control/accounts/0/login", {});
    m_client->setToken(login.body["accessToken"]);
    QCOMPARE(list().status, 200);
    m_client->post("/control/times", {{"advance", 7200000}});
    QCOMPARE(list().status, 401);
    QCOMPARE(m_client->post("/control/accounts/7/login", {}).status, 404);
}

void FaultsTest::startsAgainOnItsPort()
{
    const int port = m_server->port();
    m_server->stop();
    QCOMPARE(list().status, 0);
    QVERIFY(m_server->start());
    QCOMPARE(m_server->port(), port);
    QCOMPARE(list().status, 200);

    localdrive::Options options;
    options.port = port;
    localdrive::Server second(options);
    QVERIFY(!second.start()); // taken
}

QTEST_GUILESS_MAIN(FaultsTest)
#include "tst_localdrive_faults.moc"
