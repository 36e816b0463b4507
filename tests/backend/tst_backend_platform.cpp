#include "backend/platform/platform_address.h"
#include "backend/wire/configuration_error.h"
#include "backend_test.h"
#include "scripted_platform.h"

namespace {

std::string reply(const std::string &status, const std::string &body,
                  const std::string &headers = {})
{
    return "HTTP/1.1 " + status + "\r\n" + headers +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

const std::string Unavailable = "502 PlatformUnavailable: The platform cannot be used: ";
constexpr char LargeReply[] = "the reply is too large";

} // namespace

// What clients are told of a platform that behaves in any way it likes.
class TestPlatform final : public QObject
{
    Q_OBJECT

private slots:
    void tellsWhatCameOfACall_data();
    void tellsWhatCameOfACall();
    void verifiesThePlatform_data();
    void verifiesThePlatform();
    void readsItsAddress_data();
    void readsItsAddress();
};

void TestPlatform::tellsWhatCameOfACall_data()
{
    QTest::addColumn<std::string>("question");
    QTest::addColumn<std::string>("bytes");
    QTest::addColumn<int>("manner");
    QTest::addColumn<std::string>("verdict");
    std::string question;
    const auto row = [&question](const std::string &name, const std::string &bytes,
                                 const std::string &verdict, Manner manner = Manner::Closes) {
        QTest::newRow((question.substr(0, question.find('=')) + ", " + name).c_str())
            << question << bytes << int(manner) << verdict;
    };
    const auto down = [&row](const char *name, const std::string &bytes, const std::string &why,
                             Manner manner = Manner::Hangs) {
        row(name, bytes, Unavailable + why, manner);
    };
    const std::string begun = "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n{";
    const std::string large(90000, 'x');
    for (const char *each : {"qrcode", "authCode=c", "refreshToken=r"}) {
        question = each;
        const bool isQr = question == "qrcode";
        const std::string lacking =
            isQr ? "its reply has no usable sid or qrCodeUrl" : "its reply has no access_token";
        // A grant that is refused is the client's affair, all else the service's.
        const auto refusal = [isQr](const char *status, const char *code, const char *message) {
            return isQr ? Unavailable + "status " + status + ' ' + code + ' ' + message
                        : std::string("400 ") + code + ": " + message;
        };
        down("hangs", "", "no reply in time");
        down("hangs inside the body", begun, "no reply in time");
        down("trickles", reply("200 OK", "{}"), "no reply in time", Manner::Trickles);
        down("closes", "", "the connection ended early", Manner::Closes);
        down("closes inside the body", begun, "the connection ended early", Manner::Closes);
        down("is no HTTP", "220 ready\r\n", "the reply is no HTTP");
        down("a line without end", large, "the reply is no HTTP");
        down("a head without end", "HTTP/1.1 200 OK\r\n" + large, LargeReply);
        down("a large body", reply("200 OK", std::string(65537, ' ')), LargeReply);
        down("a chunk without end",
             "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nfffffff\r\n" + large,
             LargeReply);
        down("redirects", reply("302 Found", "{}", "Location: http://127.0.0.1:1/\r\n"),
             "status 302  ");
        down("breaks", reply("500 Oops", R"({"code":"Oops","message":"a\nb"})"),
             "status 500 Oops a b");
        down("refuses without JSON", reply("400 Bad", "<html>"), "status 400  ");
        for (const char *body :
             {"", "null", "[]", "{}", "<html>", R"({"sid":7,"access_token":7})"}) {
            row("answers " + std::string(body), reply("200 OK", body), Unavailable + lacking);
        }
        row("is asked too fast", reply("429 No", "{}", "x-retry-after: 1200\r\nRetry-After: 9\r\n"),
            "429 after 2");
        row("is asked too fast, in seconds", reply("429 No", "", "Retry-After: 90000\r\n"),
            "429 after 90000");
        row("is asked too fast, for no time", reply("429 No", "", "Retry-After: -9\r\n"),
            "429 after 1");
        row("refuses", reply("400 Bad", R"({"code":"InvalidCode","message":"Used"})"),
            refusal("400", "InvalidCode", "Used"));
        row("repeats the secret",
            reply("403 No", nlohmann::json{{"Code", "Bad"}, {"Message", Secret}}.dump()),
            refusal("403", "Bad", "(withheld)"));
        row("refuses in its headers",
            reply("401 No", "", "x-ca-error-code: Bad\r\nx-ca-error-message: Key\r\n"),
            refusal("401", "Bad", "Key"));
    }
    question = "qrcode";
    row("gives a code", reply("200 OK", R"({"qrCodeUrl":"https://a/b","sid":"a-Z_09"})"),
        R"(200 {"code":200,"msg":"success","qrCodeUrl":"https://a/b","sid":"a-Z_09"})");
    for (const char *sid : {"", "a/b", "a b", "a?b"}) {
        row(sid, reply("200 OK", nlohmann::json{{"qrCodeUrl", "u"}, {"sid", sid}}.dump()),
            Unavailable + "its reply has no usable sid or qrCodeUrl");
    }
    row("gives the secret",
        reply("200 OK", nlohmann::json{{"qrCodeUrl", Secret}, {"sid", "a"}}.dump()),
        "502 PlatformUnavailable: The reply was withheld");
    question = "refreshToken=once-use";
    row("repeats the token", reply("400 No", R"({"code":"Bad","message":"not once-use"})"),
        "400 Bad: (withheld)");
    question = "refreshToken=r%2B%3D";
    row("gives tokens",
        reply("200 OK", R"({"token_type":"T","access_token":"a",)"
                        R"("refresh_token":"r","expires_in":60})"),
        R"(200 {"accessToken":"a","expiresIn":60,"refreshToken":"r","tokenType":"T"})");
    row("gives an access token only", reply("200 OK", R"({"access_token":"a","expires_in":0})"),
        R"(200 {"accessToken":"a","expiresIn":7200,"refreshToken":"","tokenType":"Bearer"})");
}

void TestPlatform::tellsWhatCameOfACall()
{
    QFETCH(std::string, question);
    QFETCH(std::string, bytes);
    QFETCH(int, manner);
    const ScriptedPlatform platform(bytes, Manner(manner));
    backend::Options options = optionsFor(platform.url());
    std::string log;
    options.log = [&log](const std::string &line) { log += line + '\n'; };
    backend::Server server(options);
    server.start();
    QElapsedTimer timer;
    timer.start();
    QTEST(ask(server.port(), question).verdict(), "verdict");
    QVERIFY2(timer.elapsed() < 2000, "a call outlived its deadline");
    QCOMPARE(platform.requests().size(), std::size_t(1)); // a grant that was sent is used up
    server.stop();
    QVERIFY2(log.find(Secret) == std::string::npos, log.c_str());
    QVERIFY2(log.find('?') == std::string::npos, log.c_str());
}

void TestPlatform::verifiesThePlatform_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isTrusted");
    QTest::addColumn<int>("status");
    QTest::newRow("a certificate that is trusted") << QStringLiteral("IP:127.0.0.1") << true << 200;
    QTest::newRow("one that nobody vouches for") << QStringLiteral("IP:127.0.0.1") << false << 502;
    QTest::newRow("one for another host") << QStringLiteral("DNS:localhost") << true << 502;
}

void TestPlatform::verifiesThePlatform()
{
    QFETCH(QString, name);
    QFETCH(bool, isTrusted);
    const QTemporaryDir folder;
    const std::string certificate = folder.filePath(QStringLiteral("c.pem")).toStdString();
    const std::string key = folder.filePath(QStringLiteral("k.pem")).toStdString();
    QCOMPARE(
        QProcess::execute(QStringLiteral("openssl"),
                          {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256",
                           "-nodes", "-subj", "/CN=x", "-addext", "subjectAltName=" + name,
                           "-keyout", key.c_str(), "-out", certificate.c_str()}),
        0);
    httplib::SSLServer platform(certificate.c_str(), key.c_str());
    platform.Post("/oauth/authorize/qrcode", [](const httplib::Request &, httplib::Response &res) {
        res.set_content(R"({"qrCodeUrl":"u","sid":"s"})", "application/json");
    });
    const int port = platform.bind_to_any_port("127.0.0.1");
    std::thread thread([&platform] { platform.listen_after_bind(); });
    backend::Options options = optionsFor("https://127.0.0.1:" + std::to_string(port));
    options.platformCertificates = isTrusted ? certificate : "";
    options.tlsCertificate = certificate; // and its own clients speak TLS as well
    options.tlsKey = key;
    backend::Server server(options);
    server.start();
    httplib::SSLClient client("127.0.0.1", server.port());
    client.enable_server_certificate_verification(false);
    QTEST(answerOf(client.Post(QrCodePath)).status, "status");
    platform.stop();
    thread.join();
}

void TestPlatform::readsItsAddress_data()
{
    QTest::addColumn<std::string>("read"); // the host, "tls" or "plain" and the port, or the error
    const auto row = [](const char *url, const char *read) {
        QTest::newRow(url) << std::string(read);
    };
    row("https://h", "h tls 443");
    row("https://h:8443/", "h tls 8443");
    row("https://[2001:db8::1]", "2001:db8::1 tls 443");
    row("http://[::1]:1//", "::1 plain 1");
    row("http://127.0.0.1", "127.0.0.1 plain 80");
    row("http://localhost:65535", "localhost plain 65535");
    row("http://10.1.2.3", "the secret goes to another machine by https:// only");
    row("http://[2001:db8::1]", "the secret goes to another machine by https:// only");
    row("ftp://h", "is no web address");
    for (const char *url : {"https://", "https://h:", "https://h:0", "https://h:65536",
                            "https://h:123456", "https://h:8x", "https://u@h", "https://h/b"}) {
        row(url, "is no address of the form https://HOST[:PORT]");
    }
}

void TestPlatform::readsItsAddress()
{
    const std::string url = QTest::currentDataTag();
    std::string read;
    try {
        const auto address = backend::PlatformAddress::parse(url);
        read = address.host + (address.isTls ? " tls " : " plain ") + std::to_string(address.port);
    } catch (const backend::ConfigurationError &error) {
        read = error.what();
        QCOMPARE(read.substr(0, url.size() + 2), url + ": ");
        read.erase(0, url.size() + 2);
    }
    QTEST(read, "read");
}

QTEST_GUILESS_MAIN(TestPlatform)
#include "tst_backend_platform.moc"
