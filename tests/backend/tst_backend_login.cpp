#include <fcntl.h>
#include <sys/stat.h>

#include "backend/reports/rotating_log.h"
#include "backend/wire/unique_fd.h"
#include "backend_test.h"
#include "localdrive/server.h"

namespace {

constexpr char Report[] =
    R"({"appVersion":"1.0","brand":"","device":"","deviceId":"d","model":"","nickname":"小\n明",)"
    R"("osType":3,"osVersion":"Debian","part_info_list":[],"refreshToken":"secret-r",)"
    R"("token":"secret-t","tokenExpiresIn":0,"userAvatar":"","userId":"u","username":"138"})";

// As the client encrypts it, by another program.
std::string encrypted(const QByteArray &plain)
{
    QProcess openssl;
    openssl.start(QStringLiteral("openssl"),
                  {"enc", "-aes-192-ecb", "-K", QByteArray("Qm3vT8pLxR2nWk7ZcY4hJdFs").toHex()});
    openssl.write(plain);
    openssl.closeWriteChannel();
    openssl.waitForFinished();
    return openssl.readAllStandardOutput().toHex().toStdString();
}

} // namespace

// Whole logins against the local drive as the platform, and the program from outside.
class TestLogin final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(m_drive.start()); }
    void logsInThroughTwoBehindABalancer();
    void logsInWithoutASecret();
    void keepsReportsWithoutTheirTokens();
    void losesNoReportWhenTheLogCannotBeRotated();
    void keepsNothingInWhatIsNoFile();
    void refusesReports_data();
    void refusesReports();
    void startsOnlyWhenItIsSafe_data();
    void startsOnlyWhenItIsSafe();

private:
    static void write(const QString &path, const QByteArray &content, int permissions = 0x6000)
    {
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(content);
        file.setPermissions(QFile::Permissions(permissions));
    }
    // The tokens of a login whose QR code is confirmed as a phone would.
    Answer logIn(int port)
    {
        const std::string sid = ask(port, "qrcode").text("sid");
        m_drive.confirmLogin(sid);
        httplib::Client platform("127.0.0.1", m_drive.port());
        const Answer poll = answerOf(platform.Get("/oauth/qrcode/" + sid + "/status"));
        return ask(port, "authCode=" + poll.text("authCode"));
    }
    std::unique_ptr<backend::Server> started(const backend::Options &options)
    {
        auto server = std::make_unique<backend::Server>(options);
        server->start();
        return server;
    }

    localdrive::Server m_drive;
    const QTemporaryDir m_folder;
};

void TestLogin::logsInThroughTwoBehindABalancer()
{
    backend::Options options = optionsFor(m_drive.baseUrl());
    options.proxies = {"127.0.0.1"};
    const auto first = started(options);
    const auto second = started(options);
    const int port = started(options)->port(); // free again
    const QString configuration = m_folder.filePath(QStringLiteral("haproxy.cfg"));
    write(configuration,
          QStringLiteral("defaults\n mode http\n timeout connect 5s\n timeout client 9s\n"
                         " timeout server 15s\n option forwardfor\n"
                         "listen backend\n bind 127.0.0.1:%1\n"
                         " option httpchk GET /health\n balance roundrobin\n"
                         " server a 127.0.0.1:%2 check inter 100\n"
                         " server b 127.0.0.1:%3 check inter 100\n")
              .arg(port)
              .arg(first->port())
              .arg(second->port())
              .toUtf8());
    QProcess balancer;
    balancer.start(QStringLiteral("/usr/sbin/haproxy"), {"-db", "-f", configuration});
    QTRY_VERIFY(Peer(port).isOpen());
    std::string token;
    for (int login = 0; login < 3; ++login) { // each begins at one and ends at the other
        const Answer tokens = logIn(port);
        QCOMPARE(tokens.status, 200);
        QCOMPARE(tokens.text("tokenType"), std::string("Bearer"));
        token = tokens.text("refreshToken");
    }
    QCOMPARE(ask(port, "refreshToken=" + token).status, 200);
    QCOMPARE(ask(port, "refreshToken=" + token).text("code"), std::string("RefreshTokenInvalid"));
    QCOMPARE(nlohmann::json::parse(m_drive.requestsTo("/oauth/authorize/qrcode").back().body),
             nlohmann::json::parse(
                 R"({"client_id":"moravu-local","client_secret":"moravu-local-secret","width":430,)"
                 R"("height":430,"scopes":["user:base","file:all:read","file:all:write"]})"));
    second->stop();
    QTRY_COMPARE(logIn(port).status, 200);
    balancer.terminate();
    QVERIFY(balancer.waitForFinished());
}

void TestLogin::logsInWithoutASecret()
{
    backend::Options options = optionsFor(m_drive.baseUrl());
    options.application = {"moravu-local", {}, std::string(43, 'v')};
    const auto server = started(options);
    const Answer tokens = logIn(server->port());
    QCOMPARE(tokens.status, 200);
    QCOMPARE(tokens.text("refreshToken"), std::string());
    const std::size_t calls = m_drive.requests().size();
    QCOMPARE(ask(server->port(), "refreshToken=r").text("code"), std::string("RefreshUnsupported"));
    QCOMPARE(m_drive.requests().size(), calls);
}

void TestLogin::keepsReportsWithoutTheirTokens()
{
    backend::Options options = optionsFor(m_drive.baseUrl());
    options.reportLog = m_folder.filePath(QStringLiteral("logs/reports.log")).toStdString();
    options.reportLogSize = 600; // two lines
    options.reportLogFiles = 2;
    const auto server = started(options);
    const auto another = started(options); // they share the log
    const std::string body = nlohmann::json{{"data", encrypted(Report)}}.dump();
    for (int i = 0; i < 5; ++i) {
        httplib::Client client("127.0.0.1", (i % 2 == 0 ? server : another)->port());
        QCOMPARE(answerOf(client.Post(ReportPath, body, "application/json")).status, 200);
    }
    nlohmann::json expected = nlohmann::json::parse(Report);
    for (const char *key : {"refreshToken", "token", "part_info_list", "time"}) {
        expected.erase(key);
    }
    for (const auto &[name, count] : {std::pair(".1", 2), std::pair("", 1)}) {
        QFile file(QString::fromStdString(options.reportLog + name));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.permissions() & QFile::Permissions(0x77), QFile::Permissions());
        const QList<QByteArray> lines = file.readAll().trimmed().split('\n');
        QCOMPARE(lines.size(), count);
        nlohmann::json line = nlohmann::json::parse(lines.first().toStdString());
        const std::string time = line.at("time");
        const auto received = QDateTime::fromString(QString::fromStdString(time), Qt::ISODate);
        QVERIFY2(received.isValid() && qAbs(received.secsTo(QDateTime::currentDateTimeUtc())) < 600,
                 time.c_str());
        line.erase("time");
        QCOMPARE(line, expected);
    }
    QCOMPARE(QDir(m_folder.filePath(QStringLiteral("logs"))).count(), 4U); // with "." and ".."
}

void TestLogin::losesNoReportWhenTheLogCannotBeRotated()
{
    backend::Options options = optionsFor(m_drive.baseUrl());
    const QString path = m_folder.filePath(QStringLiteral("kept.log"));
    options.reportLog = path.toStdString();
    options.reportLogSize = 600; // two lines
    options.reportLogFiles = 2;
    write(path, {}, 0x6044);
    QVERIFY(QDir(m_folder.path()).mkdir(QStringLiteral("kept.log.1")));
    const auto server = started(options);
    httplib::Client client("127.0.0.1", server->port());
    const std::string body = nlohmann::json{{"data", encrypted(Report)}}.dump();
    for (const int status : {200, 200, 500, 500}) {
        QCOMPARE(answerOf(client.Post(ReportPath, body, "application/json")).status, status);
    }
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll().count('\n'), 2);
    QCOMPARE(file.permissions() & QFile::Permissions(0x77), QFile::Permissions());
}

void TestLogin::keepsNothingInWhatIsNoFile()
{
    const QTemporaryDir folder;
    const QByteArray pipe = folder.filePath(QStringLiteral("pipe")).toLocal8Bit();
    QCOMPARE(::mkfifo(pipe.constData(), 0600), 0);
    const backend::UniqueFd reader(::open(pipe.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    backend::RotatingLog log(pipe.toStdString(), 1000, 2);
    QVERIFY(!log.append("line"));
}

void TestLogin::refusesReports_data()
{
    QTest::addColumn<std::string>("body");
    const auto row = [](const char *name, const nlohmann::json &body) {
        QTest::newRow(name) << body.dump();
    };
    const std::string good = encrypted(Report);
    QTest::newRow("no JSON") << std::string("{\"data\":");
    row("a list", nlohmann::json::array({good}));
    row("no data", {{"date", good}});
    row("another kind", {{"data", 7}});
    row("nothing", {{"data", ""}});
    row("half a byte", {{"data", good + "0"}});
    row("no hex", {{"data", std::string(32, 'g')}});
    for (std::size_t i = 0; i < good.size(); i += 2) {
        if (good[i] < '9' && good[i + 1] == 'f') { // 16 * h + 15 is 16 * (h + 1) - 1
            std::string almost = good;
            almost.replace(i, 2, {char(good[i] + 1), 'g'});
            QTest::addRow("almost hex, at %d", int(i)) << nlohmann::json{{"data", almost}}.dump();
        }
    }
    row("half a block", {{"data", good.substr(0, 16)}});
    row("another text", {{"data", "00" + good.substr(2)}});
    row("an empty report", {{"data", encrypted("{}")}});
    row("a field of another kind",
        {{"data", encrypted(QByteArray(Report).replace("\"osType\":3", "\"osType\":\"3\""))}});
}

void TestLogin::refusesReports()
{
    QFETCH(std::string, body);
    const auto server = started(optionsFor(m_drive.baseUrl()));
    httplib::Client client("127.0.0.1", server->port());
    QCOMPARE(answerOf(client.Post(ReportPath, body, "application/json")).verdict(),
             std::string("400 InvalidReport: The report cannot be decrypted"));
}

void TestLogin::startsOnlyWhenItIsSafe_data()
{
    QTest::addColumn<QByteArray>("content"); // of the application's file; "!": others can read it
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QString>("options");
    QTest::addColumn<QByteArray>("says");
    const auto row = [](const char *name, const QByteArray &content, const char *key,
                        const char *options, const char *says) {
        QTest::newRow(name) << content << QByteArray(key) << QString(options) << QByteArray(says);
    };
    const char *const whole = "# ours\nclient_id = i\nclient_secret=hush-hush\n";
    const char *const id = "client_id = i\n";
    const char *const long32 = "hush-hush-hush-hush-hush-hush-hush";
    row("a file for its owner's eyes", whole, "", "", "listening on http");
    row("one that others can read", "!client_id = i\nclient_secret=hush-hush\n", "", "",
        "others can reach it");
    const QByteArray tooLarge = whole + QByteArray(65536, '\n');
    row("one that is no longer than it may be", tooLarge.left(65536), "", "", "listening on http");
    row("a larger one", tooLarge, "", "", "is too large");
    row("no file", "", "", "", "No such file");
    row("no id", "client_secret = hush-hush\n", "", "", "client_id is missing");
    row("a secret without its key", "client_id = i\nhush-hush\n", "", "", "neither client_id nor");
    row("a short key", id, "hush-hush", "", "at least 32 bytes");
    row("a key", id, long32, "", "listening on http");
    row("a file that systemd hands over", whole, "", "CREDENTIALS_DIRECTORY", "listening on http");
    row("the secret to another machine in the clear", whole, "", "--platform http://10.1.2.3",
        "by https:// only");
    row("tokens to the network in the clear", whole, "", "--host 0.0.0.0", "with TLS, or behind");
    row("the same behind a proxy", whole, "", "--host 0.0.0.0 --proxy 10.0.0.0/8", "listening on");
    row("a network that is none", whole, "", "--proxy 10.0.0.0/33", "is no address of a proxy");
    row("a certificate without its key", whole, "", "--tls-certificate c",
        "a certificate and a key");
}

void TestLogin::startsOnlyWhenItIsSafe()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, key);
    QFETCH(QString, options);
    QFETCH(QByteArray, says);
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("application"));
    const QString keyFile = folder.filePath(QStringLiteral("key"));
    if (!content.isEmpty()) {
        write(file, content.mid(content.startsWith('!')),
              content.startsWith('!') ? 0x6044 : 0x6000);
    }
    write(keyFile, key);
    QProcess program;
    program.setProcessChannelMode(QProcess::MergedChannels);
    QStringList arguments{"--port", "0", "--report-log", ""};
    if (options == QLatin1String("CREDENTIALS_DIRECTORY")) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(options, folder.path());
        program.setProcessEnvironment(environment);
    } else {
        arguments << "--application" << file << "--pkce-key" << keyFile
                  << options.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    }
    program.start(QStringLiteral(BACKEND_PROGRAM), arguments);
    constexpr int Patience = 60000; // milliseconds
    while (!program.canReadLine() && program.waitForReadyRead(Patience)) {
    }
    const QByteArray line = program.readLine();
    QVERIFY2(line.contains(says) && !line.contains("hush"), line.constData());
    if (line.startsWith("listening")) { // What ends by itself must not be ended.
        program.terminate();
    }
    QVERIFY(program.waitForFinished(Patience));
    QCOMPARE(program.exitCode(), line.startsWith("listening") ? 0 : 1);
}

QTEST_GUILESS_MAIN(TestLogin)
#include "tst_backend_login.moc"
