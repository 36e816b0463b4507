#include "drive_test.h"

using std::chrono::minutes;
using std::chrono::seconds;

class TestLogin final : public DriveTest
{
    Q_OBJECT

private slots:
    void init() { start({}, 2); }
    void aPersonScansAndConfirms()
    {
        const JsonReply code = askForCode();
        const std::string sid = code.text("sid");
        const std::string url = m_server->baseUrl() + "/oauth/qrcode/" + sid;
        QCOMPARE(code.body, (nlohmann::json{{"sid", sid}, {"qrCodeUrl", url}}));
        QCOMPARE(poll(sid).body, (nlohmann::json{{"status", "WaitLogin"}, {"authCode", ""}}));
        m_client->http().set_follow_location(true);
        for (const std::string &address :
             {"/o/oauth/authorize?sid=" + sid, m_client->pathOf(url)}) {
            const std::string page = m_client->http().Get(address)->body;
            for (const char *action : {"scan", "confirm", "cancel"}) {
                QVERIFY(page.find("action=\"/scan/" + sid + '/' + action + '"') !=
                        std::string::npos);
            }
        }
        m_client->http().set_follow_location(false);
        QCOMPARE(press(sid, "scan"), 303);
        QCOMPARE(status(sid), std::string("ScanSuccess"));
        QCOMPARE(press(sid, "confirm", {{"account", "1"}}), 303);
        const JsonReply done = poll(sid);
        QCOMPARE(done.text("status"), std::string("LoginSuccess"));

        const JsonReply tokens = exchange(done.text("authCode"));
        const nlohmann::json expected = {{"token_type", "Bearer"},
                                         {"access_token", tokens.text("access_token")},
                                         {"refresh_token", tokens.text("refresh_token")},
                                         {"expires_in", 7200}};
        QCOMPARE(tokens.body, expected);
        m_client->setToken(tokens.text("access_token"));
        QCOMPARE(m_client->user(), m_server->userId(1));
    }
    void aPersonCancels()
    {
        const std::string sid = newSid();
        QVERIFY(m_server->scanLogin(sid));
        QVERIFY(m_server->cancelLogin(sid));
        QCOMPARE(status(sid), std::string("CANCELED"));
        QVERIFY(!m_server->confirmLogin(sid));
        QCOMPARE(press(sid, "scan"), 409);
        QCOMPARE(m_client->getJson("/oauth/qrcode/0123/status").status, 404);
    }
    void codesExpire()
    {
        const std::string sid = newSid();
        m_server->advanceClock(seconds(179));
        QCOMPARE(status(sid), std::string("WaitLogin"));
        m_server->advanceClock(seconds(2));
        QCOMPARE(status(sid), std::string("QRCodeExpired"));
        QVERIFY(!m_server->confirmLogin(sid));
    }
    void automaticLoginTakesAccountsInTurn()
    {
        localdrive::Options options;
        options.autoLogin = seconds(3);
        start(options, 2);
        for (const int account : {0, 1, 0}) {
            const std::string sid = newSid();
            QCOMPARE(status(sid), std::string("WaitLogin"));
            m_server->advanceClock(seconds(2));
            QCOMPARE(status(sid), std::string("ScanSuccess"));
            m_server->advanceClock(seconds(1));
            m_client->setToken(exchange(poll(sid).text("authCode")).text("access_token"));
            QCOMPARE(m_client->user(), m_server->userId(account));
        }
    }
    void authorisationCodesWorkOnce()
    {
        const std::string code = confirmedCode(newSid());
        QCOMPARE(exchange(code).verdict(), std::string("200"));
        QCOMPARE(exchange(code).verdict(), std::string("400 InvalidCode"));
        const std::string old = confirmedCode(newSid());
        m_server->advanceClock(minutes(10) + seconds(1));
        QCOMPARE(exchange(old).verdict(), std::string("400 InvalidCode"));
    }
    // The verifier and its challenge are the example of RFC 7636, appendix B.
    void applicationsWithoutASecretShowAVerifier()
    {
        const char *challenge = R"({"client_secret":null,"code_challenge_method":"S256",
            "code_challenge":"E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM"})";
        const char *verifier = R"({"client_secret":null,
            "code_verifier":"dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk"})";
        const auto newCode = [&] { return confirmedCode(askForCode(challenge).text("sid")); };
        const JsonReply tokens = exchange(newCode(), verifier);
        const nlohmann::json expected = {{"token_type", "Bearer"},
                                         {"access_token", tokens.text("access_token")},
                                         {"expires_in", 30 * 24 * 3600}};
        QCOMPARE(tokens.body, expected);
        m_client->setToken(tokens.text("access_token"));
        QCOMPARE(m_client->user(), m_server->userId(0));
        for (const char *wrong : {R"({"code_verifier":"other"})", "{}"}) {
            QCOMPARE(exchange(newCode(), wrong).verdict(), std::string("400 InvalidCode"));
        }
        const std::string withSecret = confirmedCode(newSid());
        QCOMPARE(exchange(withSecret, verifier).verdict(), std::string("400 InvalidCode"));
    }
    void refusesApplications_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<std::string>("verdict");
        const auto row = [](const char *name, const char *change, const char *what) {
            QTest::newRow(name) << QString::fromUtf8(change)
                                << "400 InvalidParameter." + std::string(what);
        };
        row("another id", R"({"client_id":"other"})", "ClientId");
        row("another secret", R"({"client_secret":"other"})", "ClientSecret");
        row("no secret and no challenge", R"({"client_secret":null})", "ClientSecret");
        row("a plain challenge", R"({"code_challenge":"x","code_challenge_method":"plain"})",
            "CodeChallenge");
        row("no scope", R"({"scopes":[]})", "Scopes");
        row("an unknown scope", R"({"scopes":["user:base","all"]})", "Scopes");
    }
    void refusesApplications()
    {
        QFETCH(QString, change);
        QTEST(askForCode(change.toUtf8().constData()).verdict(), "verdict");
    }
    void accessTokensExpire()
    {
        m_server->setTokenLifetime(seconds(10));
        const localdrive::Tokens tokens = m_server->loginDirectly();
        QCOMPARE(tokens.expiresIn, 10);
        m_client->setToken(tokens.accessToken);
        QCOMPARE(m_client->list().status, 200);
        m_server->advanceClock(seconds(10));
        QCOMPARE(m_client->list().verdict(), std::string("401 AccessTokenExpired"));
    }
    void refreshTokensWorkOnce()
    {
        const localdrive::Tokens tokens = m_server->loginDirectly(1);
        const JsonReply renewed = exchange(tokens.refreshToken);
        QCOMPARE(renewed.status, 200);
        QCOMPARE(exchange(tokens.refreshToken).verdict(), std::string("400 RefreshTokenInvalid"));
        for (const std::string &token : {tokens.accessToken, renewed.text("access_token")}) {
            m_client->setToken(token); // the old one is good until it expires
            QCOMPARE(m_client->list().status, 200);
        }
        const std::string next = renewed.text("refresh_token");
        QCOMPARE(exchange(next, R"({"client_secret":null})").status, 400);
        QCOMPARE(exchange(next).status, 200);
    }
    void tokensAreRefused_data()
    {
        QTest::addColumn<std::string>("token");
        QTest::newRow("none") << std::string();
        QTest::newRow("unknown") << std::string("at0123");
        QTest::newRow("revoked") << std::string("revoked");
    }
    void tokensAreRefused()
    {
        QFETCH(std::string, token);
        if (token == "revoked") {
            token = m_server->loginDirectly().accessToken;
            m_server->revokeTokens(0);
        }
        m_client->setToken(token);
        QCOMPARE(m_client->list().verdict(), std::string("401 AccessTokenInvalid"));
    }
    void pressesComeFromThisMachineOnly()
    {
        const std::string path = "/scan/" + newSid() + "/confirm";
        QCOMPARE(m_client->http().Post(path, {{"Origin", "https://example.org"}}, "", "")->status,
                 403);
        QCOMPARE(m_client->http().Post(path, {{"Host", "example.org"}}, "", "")->status, 403);
        const auto press = [&](const char *body, const char *type) {
            return m_client->http()
                .Post(path, {{"Origin", m_server->baseUrl()}}, body, type)
                ->status;
        };
        QCOMPARE(press(R"({"account": 1})", "application/json"), 415);
        QCOMPARE(press("account=one", "application/x-www-form-urlencoded"), 400);
        QCOMPARE(press("", ""), 303);
    }

private:
    static constexpr char Application[] =
        R"({"client_id":"moravu-local","client_secret":"moravu-local-secret",
            "scopes":["user:base","file:all:read","file:all:write"],"width":430,"height":430})";

    JsonReply askForCode(const char *change = "{}")
    {
        return m_client->post("/oauth/authorize/qrcode", merged(change));
    }
    static nlohmann::json merged(const char *change)
    {
        nlohmann::json body = nlohmann::json::parse(Application);
        body.merge_patch(nlohmann::json::parse(change)); // null takes a member away
        return body;
    }
    std::string newSid() { return askForCode().text("sid"); }
    JsonReply poll(const std::string &sid)
    {
        return m_client->getJson("/oauth/qrcode/" + sid + "/status");
    }
    std::string status(const std::string &sid) { return poll(sid).text("status"); }
    std::string confirmedCode(const std::string &sid)
    {
        m_server->confirmLogin(sid);
        return poll(sid).text("authCode");
    }
    // The grant by a code, or by a refresh token, which begins with "rt".
    JsonReply exchange(const std::string &token, const char *change = "{}")
    {
        nlohmann::json body = merged(change);
        const bool isRefresh = token.rfind("rt", 0) == 0;
        body["grant_type"] = isRefresh ? "refresh_token" : "authorization_code";
        body[isRefresh ? "refresh_token" : "code"] = token;
        return m_client->post("/oauth/access_token", body);
    }
    int press(const std::string &sid, const std::string &action, const httplib::Params &form = {})
    {
        return m_client->http().Post("/scan/" + sid + '/' + action, form)->status;
    }
};

QTEST_GUILESS_MAIN(TestLogin)
#include "tst_localdrive_login.moc"
