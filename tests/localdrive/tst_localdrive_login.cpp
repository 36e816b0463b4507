#include "drive_client.h"

using std::chrono::seconds;

class LoginTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void aPersonScansAndConfirms();
    void aPersonCancels();
    void codesExpire();
    void automaticLoginTakesAccountsInTurn();
    void authorisationCodesWorkOnce();
    void accessTokensExpire();
    void refreshTokensWorkOnce();
    void tokensAreRefused_data();
    void tokensAreRefused();
    void theWebAddressLeadsToTheScanPage();
    void pressesComeFromThisMachineOnly();
    void keepsReports();

private:
    std::string newSid()
    {
        return m_client->post("/app/oauth/authorize/qrcode", {}).body.value("sid", std::string());
    }
    JsonReply poll(const std::string &sid)
    {
        return m_client->getJson("/oauth/qrcode/" + sid + "/status");
    }
    std::string status(const std::string &sid) { return poll(sid).body.at("status"); }
    JsonReply exchange(const std::string &query)
    {
        return m_client->getJson("/app/oauth/accessToken?alphaTestNum=&" + query);
    }
    int listStatus() { return m_client->file("list", {{"parent_file_id", "root"}}).status; }

    std::unique_ptr<localdrive::Server> m_server;
    std::unique_ptr<DriveClient> m_client;
};

void LoginTest::init()
{
    localdrive::Options options;
    options.accounts.resize(2);
    m_client.reset();
    m_server = std::make_unique<localdrive::Server>(options);
    QVERIFY(m_server->start());
    m_client = std::make_unique<DriveClient>(*m_server);
}

void LoginTest::aPersonScansAndConfirms()
{
    const JsonReply code = m_client->post("/app/oauth/authorize/qrcode", {});
    const std::string sid = code.body["sid"];
    const nlohmann::json expected = {{"code", 200},
                                     {"msg", "success"},
                                     {"sid", sid},
                                     {"qrCodeUrl", m_server->baseUrl() + "/oauth/qrcode/" + sid}};
    QCOMPARE(code.body, expected);
    QCOMPARE(poll(sid).body, (nlohmann::json{{"status", "WaitLogin"}, {"authCode", ""}}));
    QCOMPARE(m_client->http().Post("/scan/" + sid + "/scan")->status, 303);
    QCOMPARE(status(sid), std::string("ScanSuccess"));
    QCOMPARE(m_client->http()
                 .Post("/scan/" + sid + "/confirm", httplib::Params{{"account", "1"}})
                 ->status,
             303);
    const JsonReply done = poll(sid);
    QCOMPARE(done.body["status"], nlohmann::json("LoginSuccess"));

    const JsonReply tokens = exchange("authCode=" + done.body["authCode"].get<std::string>());
    QCOMPARE(tokens.status, 200);
    QCOMPARE(tokens.body.size(), std::size_t{4});
    QCOMPARE(tokens.body["tokenType"], nlohmann::json("Bearer"));
    QCOMPARE(tokens.body["expiresIn"], nlohmann::json(7200));
    m_client->setToken(tokens.body["accessToken"]);
    const JsonReply drive = m_client->post("/adrive/v1.0/user/getDriveInfo", {});
    QCOMPARE(drive.body["user_id"], nlohmann::json(m_server->userId(1)));
}

void LoginTest::aPersonCancels()
{
    const std::string sid = newSid();
    QVERIFY(m_server->scanLogin(sid));
    QVERIFY(m_server->cancelLogin(sid));
    QCOMPARE(status(sid), std::string("CANCELED"));
    QVERIFY(!m_server->confirmLogin(sid));
    QCOMPARE(m_client->http().Post("/scan/" + sid + "/scan")->status, 409);
    QCOMPARE(m_client->getJson("/oauth/qrcode/0123/status").status, 404);
}

void LoginTest::codesExpire()
{
    const std::string sid = newSid();
    m_server->advanceClock(seconds(179));
    QCOMPARE(status(sid), std::string("WaitLogin"));
    m_server->advanceClock(seconds(2));
    QCOMPARE(status(sid), std::string("QRCodeExpired"));
    QVERIFY(!m_server->confirmLogin(sid));
}

void LoginTest::automaticLoginTakesAccountsInTurn()
{
    localdrive::Options options;
    options.accounts.resize(2);
    options.autoLogin = seconds(3);
    m_server = std::make_unique<localdrive::Server>(options);
    QVERIFY(m_server->start());
    m_client = std::make_unique<DriveClient>(*m_server);
    for (const int account : {0, 1, 0}) {
        const std::string sid = newSid();
        QCOMPARE(status(sid), std::string("WaitLogin"));
        m_server->advanceClock(seconds(2));
        QCOMPARE(status(sid), std::string("ScanSuccess"));
        m_server->advanceClock(seconds(1));
        const std::string code = poll(sid).body["authCode"];
        m_client->setToken(exchange("authCode=" + code).body["accessToken"]);
        const JsonReply user = m_client->post("/adrive/v1.0/user/getDriveInfo", {});
        QCOMPARE(user.body["user_id"], nlohmann::json(m_server->userId(account)));
    }
}

void LoginTest::authorisationCodesWorkOnce()
{
    const std::string sid = newSid();
    QVERIFY(m_server->confirmLogin(sid));
    const std::string query = "authCode=" + poll(sid).body["authCode"].get<std::string>();
    QCOMPARE(exchange(query).status, 200);
    const JsonReply again = exchange(query);
    QCOMPARE(again.status, 400);
    QCOMPARE(again.code(), std::string("InvalidCode"));
}

void LoginTest::accessTokensExpire()
{
    m_server->setTokenLifetime(seconds(10));
    const localdrive::Tokens tokens = m_server->loginDirectly();
    QCOMPARE(tokens.expiresIn, 10);
    m_client->setToken(tokens.accessToken);
    QCOMPARE(listStatus(), 200);
    m_server->advanceClock(seconds(10));
    const JsonReply reply = m_client->file("list", {{"parent_file_id", "root"}});
    QCOMPARE(reply.status, 401);
    QCOMPARE(reply.code(), std::string("AccessTokenExpired"));
}

void LoginTest::refreshTokensWorkOnce()
{
    const localdrive::Tokens tokens = m_server->loginDirectly(1);
    const JsonReply renewed = exchange("refreshToken=" + tokens.refreshToken);
    QCOMPARE(renewed.status, 200);
    QCOMPARE(exchange("refreshToken=" + tokens.refreshToken).status, 400);
    for (const std::string &token :
         {tokens.accessToken, renewed.body["accessToken"].get<std::string>()}) {
        m_client->setToken(token); // the old one is good until it expires
        QCOMPARE(listStatus(), 200);
    }
    const std::string next = renewed.body["refreshToken"];
    QCOMPARE(exchange("refreshToken=" + next).status, 200);
}

void LoginTest::tokensAreRefused_data()
{
    QTest::addColumn<QString>("token");
    QTest::newRow("none") << QString();
    QTest::newRow("unknown") << QStringLiteral("at0123");
    QTest::newRow("revoked") << QStringLiteral("revoked");
}

void LoginTest::tokensAreRefused()
{
    QFETCH(QString, token);
    std::string sent = utf8(token);
    if (sent == "revoked") {
        sent = m_server->loginDirectly().accessToken;
        m_server->revokeTokens(0);
    }
    m_client->setToken(sent);
    const JsonReply reply = m_client->file("list", {{"parent_file_id", "root"}});
    QCOMPARE(reply.status, 401);
    QCOMPARE(reply.code(), std::string("AccessTokenInvalid"));
}

void LoginTest::theWebAddressLeadsToTheScanPage()
{
    const std::string sid = newSid();
    m_client->http().set_follow_location(true);
    const auto page = m_client->http().Get("/o/oauth/authorize?sid=" + sid);
    QCOMPARE(page->status, 200);
    for (const char *action : {"scan", "confirm", "cancel"})
        QVERIFY(page->body.find("action=\"/scan/" + sid + '/' + action + '"') != std::string::npos);
}

void LoginTest::pressesComeFromThisMachineOnly()
{
    const std::string path = "/scan/" + newSid() + "/confirm";
    QCOMPARE(m_client->http().Post(path, {{"Origin", "https://example.org"}}, "", "")->status, 403);
    QCOMPARE(m_client->http().Post(path, {{"Host", "example.org"}}, "", "")->status, 403);
    QCOMPARE(m_client->http().Post(path, {{"Origin", m_server->baseUrl()}}, "", "")->status, 303);
}

void LoginTest::keepsReports()
{
    const std::string path = "/app/cloudtv/pc/refresh";
    QCOMPARE(m_client->post(path, {{"data", "00112233"}}).status, 400);
    QCOMPARE(m_client->post(path, {{"data", "e31501a53c36d9e9701f14914f1f1ee2"}}).status, 200);
    QCOMPARE(m_server->reports(), (std::vector<std::string>{R"({"userId":"1"})"}));
}

QTEST_GUILESS_MAIN(LoginTest)
#include "tst_localdrive_login.moc"
