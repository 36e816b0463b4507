#include <sys/resource.h>

#include <QNetworkInterface>

#include "backend_test.h"
#include "scripted_platform.h"

namespace {

const std::string Get = "GET /health HTTP/1.1\r\nHost: h\r\n";
const std::string Post = "POST /app/cloudtv/pc/refresh HTTP/1.1\r\nHost: h\r\n";
const std::string LoginReply =
    "HTTP/1.1 200 OK\r\nContent-Length: 27\r\n\r\n{\"qrCodeUrl\":\"u\",\"sid\":\"s\"}";

} // namespace

// What clients may do, and what happens to the others meanwhile.
class TestClients final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_options = optionsFor(m_platform.url()); }
    void cleanup() { m_server.reset(); }
    void answersWhatIsSent_data();
    void answersWhatIsSent();
    void repliesInFull();
    void slowClientsAreSentAway();
    void aHugeBodyIsNotRead();
    void idleConnectionsKeepNobodyOut();
    void tooManyCallsAreRefused();
    void eachAddressHasItsOwnBucket_data();
    void eachAddressHasItsOwnBucket();
    void aTokenIsSpentForWhoIsThere();
    void nobodyIsLetInBeyondTheLimit();
    void nobodySpeaksInTheClear();
    void requestsUnderWayAreAnsweredAtTheEnd();

private:
    int start()
    {
        m_server = std::make_unique<backend::Server>(m_options);
        m_server->start();
        return m_server->port();
    }

    const ScriptedPlatform m_platform{LoginReply, Manner::Closes};
    backend::Options m_options;
    std::unique_ptr<backend::Server> m_server;
};

void TestClients::answersWhatIsSent_data()
{
    QTest::addColumn<std::string>("bytes");
    QTest::addColumn<QString>("statuses");
    const auto row = [](const char *name, const std::string &bytes, const char *statuses) {
        QTest::newRow(name) << bytes << QString(statuses);
    };
    const auto length = [](const std::string &value) {
        return Post + "Content-Length: " + value + "\r\n\r\n";
    };
    row("two at once", Get + "\r\n" + Get + "Connection: close\r\n\r\n", "200 200");
    row("empty lines before", "\r\n\r\n" + Get + "Connection: x, CLOSE\r\n\r\n", "200");
    row("HTTP/1.0", "GET /health HTTP/1.0\r\n\r\n", "200");
    row("the whole address", "GET http://h/health HTTP/1.0\r\n\r\n", "200");
    row("a waiting body",
        Post + "Connection: close\r\nExpect: 100-continue\r\nContent-Length: 1\r\n\r\n", "100");
    row("another path", "GET /healthy HTTP/1.0\r\n\r\n", "404");
    row("another method", "HEAD /health HTTP/1.0\r\n\r\n", "405");
    row("no HTTP", "hello\r\n\r\n", "400");
    row("another version", "GET /health HTTP/2.0\r\n\r\n", "505");
    row("no host", "GET /health HTTP/1.1\r\n\r\n", "400");
    row("two hosts", Get + "Host: i\r\n\r\n", "400");
    row("a blank before the colon", Get + "A : b\r\n\r\n", "400");
    row("a line that goes on", Get + " b\r\n\r\n", "400");
    row("a zero byte", Get + "A: " + std::string(1, '\0') + "\r\n\r\n", "400");
    row("a broken escape", "GET /health?a=%4 HTTP/1.1\r\nHost: h\r\n\r\n", "400");
    row("a long address", "GET /" + std::string(8200, 'a') + " HTTP/1.1\r\n\r\n", "414");
    row("a large head", Get + "A: " + std::string(20000, 'a'), "431");
    row("no length", length(""), "400");
    row("a negative length", length("-1"), "400");
    row("two lengths", length("1\r\nContent-Length: 2"), "400");
    row("a large body", length("65537"), "413");
    row("a length of twenty digits", length("18446744073709551617"), "413");
    row("chunks", Post + "Transfer-Encoding: chunked\r\n\r\n", "411");
    row("a packed body", Post + "Content-Encoding: gzip\r\n\r\n", "415");
    const std::string token = std::string("GET ") + TokenPath;
    row("a code and a token", token + "?authCode=a&refreshToken=b HTTP/1.0\r\n\r\n", "400");
    row("neither", token + "?alphaTestNum= HTTP/1.0\r\n\r\n", "400");
    row("two codes", token + "?authCode=a&authCode=b HTTP/1.0\r\n\r\n", "400");
    row("an empty code", token + "?authCode= HTTP/1.0\r\n\r\n", "400");
    row("a code of two lines", token + "?authCode=a%0Ab HTTP/1.0\r\n\r\n", "400");
}

void TestClients::answersWhatIsSent()
{
    QFETCH(std::string, bytes);
    Peer peer(start());
    QVERIFY(peer.send(bytes));
    const QString reply = QString::fromUtf8(peer.received(300));
    QStringList statuses;
    for (auto found = QRegularExpression(QStringLiteral("HTTP/1.1 (\\d+)")).globalMatch(reply);
         found.hasNext();) {
        statuses += found.next().captured(1);
    }
    QTEST(statuses.join(QLatin1Char(' ')), "statuses");
    QVERIFY(bytes.rfind("HEAD", 0) != 0 || reply.endsWith(QStringLiteral("\r\n\r\n")));
}

void TestClients::repliesInFull()
{
    const int port = start();
    const QByteArray type = "Content-Type: application/json; charset=utf-8\r\n";
    const QByteArray kept = "Cache-Control: no-store\r\n";
    Peer healthy(port);
    healthy.send(Get + "\r\n");
    QCOMPARE(healthy.received(300), "HTTP/1.1 200 OK\r\n" + type + "Content-Length: 15\r\n" + kept +
                                        "\r\n{\"status\":\"ok\"}");
    Peer mistaken(port);
    mistaken.send("HEAD /health HTTP/1.0\r\n\r\n");
    QCOMPARE(mistaken.received(), "HTTP/1.1 405 Method Not Allowed\r\n" + type +
                                      "Content-Length: 73\r\n" + kept +
                                      "Allow: GET\r\nConnection: close\r\n\r\n");
}

void TestClients::slowClientsAreSentAway()
{
    m_options.requestPatience = backend::Milliseconds(500);
    const int port = start();
    Peer silent(port);
    Peer slow(port);
    QElapsedTimer timer;
    timer.start();
    for (char next : Post) {
        slow.send(std::string(1, next));
        std::this_thread::sleep_for(std::chrono::milliseconds(40));
        if (timer.elapsed() > 900) {
            break;
        }
    }
    QVERIFY(slow.received().startsWith("HTTP/1.1 408"));
    QVERIFY(!silent.waitForReadyRead(10) && silent.isOpen());
    m_options.idlePatience = backend::Milliseconds(300);
    Peer idle(start());
    timer.restart();
    while (idle.isOpen() && timer.elapsed() < 20000) {
        idle.send("\r\n"); // is no request
        idle.waitForDisconnected(40);
    }
    QVERIFY(!idle.isOpen());
}

void TestClients::aHugeBodyIsNotRead()
{
    Peer peer(start());
    QVERIFY(peer.send(Post + "Content-Length: 1000000000\r\n\r\n"));
    const std::string megabyte(1 << 20, 'x');
    int sent = 0;
    while (sent < 1000 && peer.send(megabyte)) {
        ++sent;
    }
    QVERIFY2(sent < 1000, "a gigabyte was taken");
    QCOMPARE(ask(m_server->port(), "qrcode").status, 200);
}

void TestClients::idleConnectionsKeepNobodyOut()
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min<rlim_t>(4096, limit.rlim_max);
    setrlimit(RLIMIT_NOFILE, &limit);
    m_options.connections = 900; // so that some have to make room
    const int port = start();
    std::vector<std::unique_ptr<Peer>> idle;
    for (int i = 0; i < 1000; ++i) {
        idle.push_back(std::make_unique<Peer>(port));
        QVERIFY(idle.back()->isOpen());
        idle.back()->send(i % 2 ? Post : "");
    }
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(ask(port, "qrcode").status, 200);
    QVERIFY(timer.elapsed() < 5000);
}

void TestClients::tooManyCallsAreRefused()
{
    const ScriptedPlatform frozen("", Manner::Hangs);
    m_options = optionsFor(frozen.url());
    m_options.callsAtOnce = 2;
    m_options.waitingCalls = 1;
    const int port = start();
    std::vector<std::unique_ptr<Peer>> peers;
    for (int i = 0; i < 3; ++i) {
        peers.push_back(std::make_unique<Peer>(port));
        peers.back()->send("GET /app/oauth/accessToken?authCode=a HTTP/1.0\r\n\r\n");
        QTRY_COMPARE(frozen.requests().size(), std::size_t(std::min(i + 1, 2)));
    }
    QTRY_COMPARE(ask(port, "qrcode").status, 503);
    QCOMPARE(ask(port, "qrcode").retryAfter, std::string("1"));
    httplib::Client client("127.0.0.1", port);
    QCOMPARE(answerOf(client.Get("/health")).status, 200);
    for (const auto &peer : peers) {
        QVERIFY(peer->received().startsWith("HTTP/1.1 502"));
    }
}

void TestClients::eachAddressHasItsOwnBucket_data()
{
    QTest::addColumn<QString>("proxy");
    QTest::addColumn<QStringList>("forwarded"); // of each request in turn
    QTest::addColumn<QString>("statuses");      // with two requests in a bucket
    const auto row = [](const char *name, const char *proxy, const char *forwarded,
                        const char *statuses) {
        QTest::newRow(name) << QString(proxy) << QString(forwarded).split(QLatin1Char(';'))
                            << QString(statuses);
    };
    row("nobody named: the header is nothing", "10.0.0.1", "1.1.1.1;2.2.2.2;3.3.3.3",
        "200 200 429");
    row("a named proxy is believed", "127.0.0.0/8", "1.1.1.1;1.1.1.1;2.2.2.2;1.1.1.1",
        "200 200 200 429");
    row("only what it added itself", "127.0.0.1",
        "9.9.9.9, 1.1.1.1;8.8.8.8,1.1.1.1;7.7.7.7 , 1.1.1.1", "200 200 429");
    row("through two proxies", "127.0.0.1", "1.1.1.1,127.0.0.1;2.2.2.2,127.0.0.1;1.1.1.1;1.1.1.1",
        "200 200 200 429");
    row("a household of IPv6", "127.0.0.1", "2001:db8::1;2001:db8::2;2001:db8::3;2001:db8:0:1::1",
        "200 200 429 200");
    row("what is no address", "127.0.0.1", "x;x;y", "200 200 429");
}

void TestClients::eachAddressHasItsOwnBucket()
{
    QFETCH(QString, proxy);
    QFETCH(QStringList, forwarded);
    m_options.proxies = {proxy.toStdString()};
    m_options.requestsPerSecond = 0.05;
    m_options.burst = 2;
    const int port = start();
    QStringList statuses;
    for (const QString &addresses : qAsConst(forwarded)) {
        const Answer answer = ask(port, "qrcode", {{"X-Forwarded-For", addresses.toStdString()}});
        statuses += QString::number(answer.status);
        QCOMPARE(answer.retryAfter, std::string(answer.status == 429 ? "20" : ""));
    }
    QTEST(statuses.join(QLatin1Char(' ')), "statuses");
    httplib::Client client("127.0.0.1", port);
    const httplib::Headers last = {{"X-Forwarded-For", forwarded.last().toStdString()}};
    QCOMPARE(client.Get("/nothing", last)->status, statuses.last() == "429" ? 429 : 404);
    QCOMPARE(client.Get("/health", last)->status, 200);
}

void TestClients::aTokenIsSpentForWhoIsThere()
{
    const ScriptedPlatform frozen("", Manner::Hangs);
    m_options = optionsFor(frozen.url());
    m_options.callsAtOnce = 1;
    const std::string question = "GET /app/oauth/accessToken?refreshToken=";
    const int port = start();
    std::vector<std::unique_ptr<Peer>> peers;
    for (const char *token : {"first", "gone", "last"}) {
        peers.push_back(std::make_unique<Peer>(port));
        peers.back()->send(question + token + " HTTP/1.0\r\n\r\n");
        QTRY_COMPARE(frozen.requests().size(), std::size_t(1));
    }
    peers[1].reset();
    QVERIFY(peers[2]->received().startsWith("HTTP/1.1 502"));
    QCOMPARE(frozen.requests().size(), std::size_t(2));
    QVERIFY(frozen.requests()[1].find("last") != std::string::npos);
    m_server.reset();
    m_options.queuePatience = backend::Milliseconds(0); // so that each has waited too long
    QCOMPARE(ask(start(), "refreshToken=late").status, 503);
    QCOMPARE(frozen.requests().size(), std::size_t(2));
}

void TestClients::nobodyIsLetInBeyondTheLimit()
{
    const ScriptedPlatform frozen("", Manner::Hangs);
    m_options = optionsFor(frozen.url());
    m_options.connections = 1;
    QStringList answered;
    m_options.log = [&answered](const std::string &line) {
        answered += QString::fromStdString(line).section(QLatin1Char(' '), 0, 2);
    };
    const int port = start();
    Peer calling(port);
    calling.send("GET /app/oauth/accessToken?authCode=a HTTP/1.0\r\n\r\n");
    QTRY_COMPARE(frozen.requests().size(), std::size_t(1));
    Peer next(port);
    next.send("GET /health HTTP/1.0\r\n\r\n");
    QVERIFY(next.received().startsWith("HTTP/1.1 200"));
    m_server->stop();
    QCOMPARE(answered.filter(QStringLiteral("GET")),
             QStringList({"GET /app/oauth/accessToken 502", "GET /health 200"}));
}

void TestClients::nobodySpeaksInTheClear()
{
    QHostAddress own;
    for (const QHostAddress &address : QNetworkInterface::allAddresses()) {
        const bool isIpv4 = address.protocol() == QAbstractSocket::IPv4Protocol;
        own = isIpv4 && !address.isLoopback() ? address : own;
    }
    if (own.isNull()) {
        QSKIP("This machine has no address but its own");
    }
    m_options.host = "0.0.0.0";
    for (const auto &[proxy, status] :
         {std::pair("10.1.2.3/32", 403), std::pair("0.0.0.0/0", 200)}) {
        m_server.reset();
        m_options.proxies = {proxy};
        httplib::Client client(own.toString().toStdString(), start());
        QCOMPARE(answerOf(client.Get("/health")).status, status);
        QCOMPARE(ask(m_server->port(), "qrcode").status, 200);
    }
}

void TestClients::requestsUnderWayAreAnsweredAtTheEnd()
{
    const ScriptedPlatform slow(LoginReply, Manner::Trickles);
    m_options = optionsFor(slow.url());
    m_options.platformPatience = std::chrono::seconds(10);
    const int port = start();
    Peer idle(port);
    Answer answer;
    std::thread client([&answer, port] { answer = ask(port, "qrcode"); });
    QTRY_COMPARE(slow.requests().size(), std::size_t(1));
    m_server->stop();
    client.join();
    QCOMPARE(answer.status, 200);
    QCOMPARE(idle.received(), QByteArray());
    QVERIFY(!Peer(port).isOpen());
    m_server->start();
    QCOMPARE(ask(port, "authCode=a").status, 502); // at the same port
}

QTEST_GUILESS_MAIN(TestClients)
#include "tst_backend_clients.moc"
