#include <atomic>
#include <thread>

#include <sys/fsuid.h>
#include <unistd.h>

#include "caller.h"
#include "drive_test.h"
#include "support/fault_on.h"

Q_DECLARE_METATYPE(localdrive::Fault)

using localdrive::Break;
using std::chrono::milliseconds;
using std::chrono::minutes;

class TestWire final : public DriveTest
{
    Q_OBJECT

private slots:
    void init()
    {
        start();
        m_server->makeFile("a.bin", std::string(1000, 'x'));
    }

    void faultsStrike_data()
    {
        QTest::addColumn<localdrive::Fault>("fault");
        QTest::addColumn<QString>("statuses"); // Of five listings.
        const auto row = [](const char *name, const localdrive::Fault &fault,
                            const char *statuses) {
            QTest::newRow(name) << fault << QString::fromLatin1(statuses);
        };
        row("once", FaultOn("openFile/list").status(500), "500 200 200 200 200");
        row("later", FaultOn("openFile/list").after(1).times(2).status(500), "200 500 500 200 200");
        row("always", FaultOn("").always().status(403), "403 403 403 403 403");
        row("another method", FaultOn("list").method("GET").status(500), "200 200 200 200 200");
        row("another path", FaultOn("list*openFile").status(500), "200 200 200 200 200");
        row("a glob", FaultOn("adrive/v[0-3].?/*list").status(500), "500 200 200 200 200");
        row("a glob that lists others", FaultOn("v[02-9].0").status(500), "200 200 200 200 200");
        row("one of two", FaultOn("delete|list").status(500), "500 200 200 200 200");
        row("none of two", FaultOn("delete|move").status(500), "200 200 200 200 200");
        row("closed", FaultOn("list").times(2).closes(), "0 0 200 200 200");
    }
    void faultsStrike()
    {
        QFETCH(localdrive::Fault, fault);
        m_client->http().set_keep_alive(false);
        m_server->addFault(fault);
        QStringList statuses;
        for (int i = 0; i < 5; ++i) {
            statuses << QString::number(m_client->list().status);
        }
        QTEST(statuses.join(QLatin1Char(' ')), "statuses");
        m_server->clearFaults();
        QCOMPARE(m_client->list().status, 200);
    }

    void refusesExpressions()
    {
        for (const char *path :
             {"^/openFile", "list$", "a.*b", "(a|b)", "part\\.ts", "[a-z", "[*]", "[|]", "]a["}) {
            QVERIFY_EXCEPTION_THROWN(m_server->addFault(FaultOn(path)), std::invalid_argument);
        }
    }

    void aStatusIsInPlaceOfTheOperation()
    {
        m_server->addFault(FaultOn("openFile/delete").status(429, "TooManyRequests"));
        const char *body = R"({"file_id":"<a.bin>"})";
        QCOMPARE(m_client->fileAt("delete", body).verdict(), std::string("429 TooManyRequests"));
        QCOMPARE(m_client->fileAt("delete", body).verdict(), std::string("200"));
    }

    void breaksBodies()
    {
        const std::string url = m_server->downloadUrl("a.bin", minutes(1));
        for (const int bytes : {-1, 0, 10, 999}) {
            localdrive::Fault fault = FaultOn("/download/").cuts();
            fault.bodyBytes = bytes;
            m_server->addFault(fault);
            std::size_t received = 0;
            const auto count = [&received](const char *, std::size_t size) {
                return (received += size) > 0;
            };
            QVERIFY(!m_client->http().Get(m_client->pathOf(url), count));
            QCOMPARE(received, std::size_t(bytes < 0 ? 500 : bytes));
        }
        m_server->addFault(FaultOn("/download/").wire(Break::NoContentLength));
        const auto endless = m_client->get(url);
        QVERIFY(!endless->has_header("Content-Length"));
        QCOMPARE(endless->body, std::string(1000, 'x'));

        m_server->addFault(FaultOn("/download/").trickles(2000));
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(m_client->get(url)->body, std::string(1000, 'x'));
        QVERIFY(timer.elapsed() >= 450);
    }

    void whoWaitsHoldsNobodyUp_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("count");
        QTest::newRow("idle") << "" << 300;
        QTest::newRow("half a head") << "GET /oauth/qrcode/00/status HTTP/1.1\r\nHost: 127" << 300;
        QTest::newRow("half a body")
            << "POST /oauth/access_token HTTP/1.1\r\nContent-Length: 9\r\n\r\n{" << 300;
        QTest::newRow("frozen") << "GET /frozen HTTP/1.1\r\n\r\n" << 40;
        QTest::newRow("frozen inside the body") << "GET /half HTTP/1.1\r\n\r\n" << 40;
    }
    void whoWaitsHoldsNobodyUp()
    {
        QFETCH(QString, text);
        QFETCH(int, count);
        localdrive::Options options;
        options.patience = {minutes(10), minutes(10)}; // No wait ends by itself.
        start(options);
        m_server->addFault(FaultOn("/frozen").always().freezes());
        m_server->addFault(FaultOn("/half").always().wire(Break::FreezeInsideBody));
        std::vector<Caller> waiting;
        for (int i = 0; i < count; ++i) {
            waiting.emplace_back(m_server->port(), text.toStdString());
        }
        // A connection that is kept waits as well, and gives way like the others.
        m_client->http().set_keep_alive(false);
        m_client->http().set_read_timeout(100, 0);
        for (int i = 0; i < 10; ++i) {
            QCOMPARE(m_client->list().status, 200);
        }
        m_server->stop(); // does not wait for them either
    }

    void patienceEnds()
    {
        localdrive::Options options;
        options.patience = {milliseconds(200), milliseconds(500)};
        start(options);
        for (const char *text : {"", "GET / HT", "POST / HTTP/1.1\r\nContent-Length: 9\r\n\r\n{"}) {
            QElapsedTimer timer;
            timer.start();
            Caller caller(m_server->port(), text);
            while (!caller.hasEnded() && timer.elapsed() < 3000) {
                caller.answer();
            }
            QVERIFY2(timer.elapsed() < 2500, text);
        }
        m_server->addFault(FaultOn("list").delay(800)); // the server's time is not the caller's
        QCOMPARE(m_client->list().status, 200);
    }

    void contradictionsAreRefused_data()
    {
        QTest::addColumn<QString>("head");
        QTest::addColumn<QString>("answer");
        const auto row = [](const char *name, const char *head, const char *answer) {
            QTest::newRow(name) << QString::fromLatin1(head) << QString::fromLatin1(answer);
        };
        row("one length", "Content-Length: 2\r\n", "HTTP/1.1 404 Not Found");
        row("twice the same", "Content-Length: 2\r\nContent-Length: 2\r\n",
            "HTTP/1.1 404 Not Found");
        row("two lengths", "Content-Length: 2\r\nContent-Length: 1\r\n",
            "HTTP/1.1 400 Bad Request");
        row("a length and parts", "Content-Length: 2\r\nTransfer-Encoding: chunked\r\n",
            "HTTP/1.1 400 Bad Request");
        row("no number", "Content-Length: +2\r\n", "HTTP/1.1 400 Bad Request");
        row("too much", "Content-Length: 1048577\r\n", "HTTP/1.1 413 Payload Too Large");
    }
    void contradictionsAreRefused()
    {
        QFETCH(QString, head);
        const QString text = QStringLiteral("POST /x HTTP/1.1\r\n%1\r\n{}").arg(head);
        Caller caller(m_server->port(), text.toStdString());
        QTEST(QString::fromStdString(caller.answer()), "answer");
    }

    void recordsRequests()
    {
        m_server->clearRequests();
        m_client->list();
        m_client->getJson("/oauth/qrcode/%E9%9D%92/status?a=1&b=%26");
        const std::vector<localdrive::RequestRecord> records = m_server->requests();
        QCOMPARE(records.size(), std::size_t{2});
        QCOMPARE(records[0].body, std::string(R"({"parent_file_id":"root"})"));
        QCOMPARE(records[0].account * 1000 + records[0].status, 200);
        QCOMPARE(records[1].path, std::string("/oauth/qrcode/青/status"));
        QCOMPARE(records[1].query,
                 (std::multimap<std::string, std::string>{{"a", "1"}, {"b", "&"}}));
        QCOMPARE(records[1].account * 1000 + records[1].status, -596); // nobody's, 404
    }

    void theRecordIsBounded()
    {
        for (int i = 0; i < 40; ++i) {
            m_client->post("/x", std::string(1000000, 'x'));
        }
        const std::vector<localdrive::RequestRecord> records = m_server->requests();
        QCOMPARE(records.size(), std::size_t{33}); // of 32 MiB
        QCOMPARE(records.back().number, std::int64_t{40});
    }

    void isSteeredOverHttp_data()
    {
        QTest::addColumn<std::string>("path");
        QTest::addColumn<std::string>("body");
        QTest::addColumn<std::string>("verdict");
        QTest::addColumn<std::string>("listing"); // The verdict on one afterwards.
        using T = std::string;
        const auto row = [](const char *name, const char *path, const char *body,
                            const char *verdict, const char *listing = "200") {
            QTest::newRow(name) << T(path) << T(body) << T(verdict) << T(listing);
        };
        const auto fault = [](const char *name, const char *members, const char *listing) {
            QTest::newRow(name) << T("faults") << "{\"path\":\"openFile/list\"," + T(members) + '}'
                                << T("200") << T(listing);
        };
        fault("a fault", R"("status":503,"code":"Busy")", "503 Busy");
        fault("a fault of its method", R"("status":503,"method":"GET")", "200");
        fault("a fault that comes later", R"("status":503,"skip":1)", "200");
        fault("a fault that never comes", R"("status":503,"count":0)", "200");
        fault("a body", R"("status":404,"body":"{}")", "404 ");
        fault("a delay", R"("delay":300)", "200");
        fault("a break", R"("wire":"close-before-reply")", "0");
        row("an expression", "faults", R"({"path":"^x"})", "400 InvalidParameter.Path");
        row("an unknown break", "faults", R"({"wire":"melt"})", "400 InvalidParameter");
        row("an unknown answer", "rules", R"({"playAnswer":"melt"})", "400 InvalidParameter");
        row("rules", "rules",
            R"({"strict":true,"pageCap":7,"urlLifetime":9,"expiredCodeIsError":false,
                "playAnswer":"no-preview"})",
            "200");
        row("the clock", "times", R"({"advance":7200000})", "200", "401 AccessTokenExpired");
        row("lost tokens", "accounts/0/revoke", "{}", "200", "401 AccessTokenInvalid");
        row("nobody's tokens", "accounts/7/login", "{}", "404 NotFound.Account");
        row("nothing makes a drive writable", "accounts/0", R"({"writable":true})",
            "400 InvalidParameter");
        row("JSON is said to be JSON", "faults", "", "415 UnsupportedMediaType");
    }
    void isSteeredOverHttp()
    {
        QFETCH(std::string, path);
        QFETCH(std::string, body);
        const httplib::Headers headers = {{"Authorization", "Bearer " + m_server->controlSecret()}};
        const char *type = body.empty() ? "text/plain" : "application/json";
        const auto reply = m_client->http().Post("/control/" + path, headers,
                                                 body.empty() ? "{\"status\":503}" : body, type);
        const JsonReply answer{reply->status, nlohmann::json::parse(reply->body)};
        QTEST(answer.verdict(), "verdict");
        QElapsedTimer timer;
        timer.start();
        QTEST(m_client->list().verdict(), "listing");
        QVERIFY(body.find("delay") == std::string::npos || timer.elapsed() >= 300);
        const localdrive::Rules rules = m_server->rules();
        const bool isRuled = path == "rules" && reply->status == 200;
        QCOMPARE(rules.pageCap + rules.urlLifetime.count() + rules.listsPerSecond,
                 isRuled ? 7 + 9 + 4 : 0);
        QCOMPARE(rules.playAnswer == localdrive::PlayAnswer::NoPreview, isRuled);
        QCOMPARE(rules.documentedDriveInfo && !rules.expiredCodeIsError, isRuled);
        const auto log = m_client->http().Get("/control/requests", headers);
        QCOMPARE(nlohmann::json::parse(log->body)["requests"].size(),
                 std::size_t{1}); // the listing
        QCOMPARE(m_client->post("/control/" + path, {}).verdict(),
                 std::string("401 ControlSecretInvalid"));
    }

    void showsWhatItSteers()
    {
        start({}, 2);
        const httplib::Headers headers = {{"Authorization", "Bearer " + m_server->controlSecret()}};
        const auto shown = [&](const std::string &path) {
            return nlohmann::json::parse(m_client->http().Get("/control/" + path, headers)->body);
        };
        const auto steer = [&](const std::string &path, const char *body) {
            return m_client->http()
                .Post("/control/" + path, headers, body, "application/json")
                ->status;
        };
        for (const auto &[action, result] :
             {std::pair("cancel", "CANCELED"), std::pair("confirm", "LoginSuccess"),
              std::pair("expire", "QRCodeExpired")}) {
            const std::string sid = newCode();
            const std::string login = "logins/" + sid + '/';
            for (const auto &[step, status] :
                 {std::pair("scan", "ScanSuccess"), std::pair(action, result)}) {
                QCOMPARE(steer(login + step, R"({"account":1})"), 200);
                QCOMPARE(shown("logins")["logins"].back(),
                         (nlohmann::json{{"sid", sid}, {"status", status}}));
            }
            QCOMPARE(steer(login + action, R"({"account":1})"), 409);
        }
        QCOMPARE(steer("accounts/1", R"({"status":"disabled"})"), 200);
        QCOMPARE(steer("accounts/1", R"({"status":"enabled","writable":true})"), 400);
        const nlohmann::json accounts = shown("accounts")["accounts"];
        QCOMPARE(accounts.size(), std::size_t{2});
        QCOMPARE(accounts[0]["status"], nlohmann::json("enabled"));
        QCOMPARE(accounts[1]["status"], nlohmann::json("disabled"));
        QCOMPARE(accounts[1]["userId"], nlohmann::json(m_server->userId(1)));
        const std::int64_t last = shown("requests")["requests"].back()["number"];
        QCOMPARE(m_client->list().status, 200);
        const nlohmann::json later = shown("requests?after=" + std::to_string(last))["requests"];
        QCOMPARE(later.size(), std::size_t{1});
        QCOMPARE(later[0]["path"], nlohmann::json("/adrive/v1.0/openFile/list"));
        QCOMPARE(steer("requests/clear", "{}"), 200);
        QVERIFY(shown("requests")["requests"].empty());
    }

    void tellsThatNoBackendAnswers()
    {
        QCOMPARE(m_client->getJson("/app/x").verdict(), std::string("404 NotFound.Api"));
        m_server->setBackends({"http://127.0.0.1:1"});
        QCOMPARE(m_client->getJson("/app/x").verdict(), std::string("502 BackendUnavailable"));
    }

    void servesItsOwner()
    {
        localdrive::Options options;
        options.ownerOnly = true;
        start(options);
        QCOMPARE(m_client->list().status, 200);
        const std::string confirm = "/scan/" + newCode() + "/confirm";
        httplib::Params form = {{"account", "0"}};
        QCOMPARE(m_client->http().Post(confirm, form)->status, 403);
        form.emplace("secret", m_server->controlSecret());
        QCOMPARE(m_client->http().Post(confirm, form)->status, 303);
        if (geteuid() != 0) {
            QSKIP("Only the administrator can be somebody else");
        }
        setfsuid(65534); // the kernel gives a socket to whom files would belong
        Caller stranger(m_server->port(), "GET /oauth/qrcode/00/status HTTP/1.1\r\n\r\n");
        setfsuid(0);
        QCOMPARE(stranger.answer(), std::string("HTTP/1.1 403 Forbidden"));
    }

    void startsAgainOnItsPort()
    {
        const int port = m_server->port();
        m_server->stop();
        QCOMPARE(m_client->list().status, 0);
        QVERIFY(m_server->start());
        QCOMPARE(m_server->port(), port);
        QCOMPARE(m_client->list().status, 200);

        localdrive::Options options;
        options.port = port;
        localdrive::Server second(options);
        QVERIFY(!second.start()); // taken
    }

private:
    // The sid of one.
    std::string newCode()
    {
        const char *body = R"({"client_id":"moravu-local","client_secret":"moravu-local-secret",
                               "scopes":["user:base"]})";
        return m_client->post("/oauth/authorize/qrcode", nlohmann::json::parse(body)).text("sid");
    }
};

QTEST_GUILESS_MAIN(TestWire)
#include "tst_localdrive_wire.moc"
