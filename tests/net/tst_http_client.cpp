#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTest>
#include <QTextCodec>

#include "app/environment/app_settings.h"
#include "db/tables/database.h"
#include "db/tables/operations.h"
#include "net/file_size_limit.h"
#include "net/http_client.h"
#include "net/scripted_server.h"
#include "support/log_capture.h"
#include "support/temporary_home.h"

namespace {

using Fire = std::function<void(HttpClient &)>;
using Method = PendingReply (HttpClient::*)();
using Ending = ScriptedAnswer::Ending;

const QByteArray Binary("\0\r\n\xff", 4);

// The callbacks of one request, in the order in which they ran: "success:TEXT", "fail:CODE",
// "complete".
struct Calls
{
    QStringList entries;
    QString error;

    HttpClient &listen(HttpClient &client)
    {
        return client.success([this](const QString &text) { entries += "success:" + text; })
            .fail([this](const QString &text, int code) {
                error = text;
                entries += QString("fail:%1").arg(code);
            })
            .refused([this](const HttpRefusal &refusal) {
                entries += QString("refused:%1 %2 %3")
                               .arg(refusal.status)
                               .arg(refusal.body)
                               .arg(refusal.retryAfter.count());
            })
            .complete([this] { entries += "complete"; });
    }
    bool isComplete() const { return entries.contains("complete"); }
};

ScriptedServer::Script always(const ScriptedAnswer &scripted)
{
    return [scripted](const ReceivedRequest &) { return scripted; };
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(cannot be read)");
}

} // namespace

Q_DECLARE_METATYPE(ScriptedAnswer)
Q_DECLARE_METATYPE(Method)

class TestHttpClient final : public QObject
{
    Q_OBJECT

private slots:
    void sendsWhatWasBuilt_data()
    {
        QTest::addColumn<Method>("method");
        QTest::addColumn<bool>("hasForm");
        QTest::addColumn<bool>("hasJson");
        QTest::addColumn<QByteArray>("sent"); // request line, content type, body
        QTest::newRow("GET without a query")
            << Method(&HttpClient::get) << false << false << QByteArray("GET /p||");
        QTest::newRow("GET") << Method(&HttpClient::get) << true << false
                             << QByteArray("GET /p?a=1&b=x%20%251||");
        QTest::newRow("DELETE") << Method(&HttpClient::remove) << true << false
                                << QByteArray("DELETE /p||");
        const QByteArray form = " /p|application/x-www-form-urlencoded|a=1&b=x %1";
        QTest::newRow("POST form") << Method(&HttpClient::post) << true << false << "POST" + form;
        QTest::newRow("PUT form") << Method(&HttpClient::put) << true << false << "PUT" + form;
        const QByteArray json = " /p|application/json; charset=utf-8|{\"name\":\"青柚\"}";
        QTest::newRow("POST JSON") << Method(&HttpClient::post) << false << true << "POST" + json;
        QTest::newRow("PUT JSON") << Method(&HttpClient::put) << true << true << "PUT" + json;
    }
    void sendsWhatWasBuilt()
    {
        QFETCH(Method, method);
        QFETCH(bool, hasForm);
        QFETCH(bool, hasJson);
        for (const QByteArray &status : {QByteArray("200 OK"), QByteArray("404 Not Found")}) {
            ScriptedServer server(always(answer(status, "fine")));
            LogCapture log;
            Calls calls;
            HttpClient client(server.url("/p"));
            calls.listen(client).debug(true).headers(
                {{"Authorization", "Bearer t"}, {"X-Name", "柚"}, {"content-type", "text/plain"}});
            if (hasForm) {
                client.param("a", "1").param("b", "x %1");
            }
            if (hasJson) {
                client.json(R"({"name":"青柚"})");
            }
            (client.*method)();
            client.debug(false); // too late for the request that is on its way
            QTRY_VERIFY(calls.isComplete());
            QCOMPARE(server.requests().size(), 1);
            const ReceivedRequest request = server.requests()[0];
            const bool hasBody = request.method.startsWith('P');
            const QByteArray type = hasBody ? request.headers.value("content-type") : QByteArray();
            QTEST(request.method + ' ' + request.target + '|' + type + '|' + request.body, "sent");
            QCOMPARE(request.headers.value("authorization"), QByteArray("Bearer t"));
            QCOMPARE(request.headers.value("x-name"), QByteArray("柚"));

            const QString query = hasForm && request.method == "GET" ? "?a=1&b=x %1" : "";
            QStringList lines{"[网址] \"" + server.url("/p") + query + '"'};
            if (hasForm && hasBody) {
                lines += "[参数] a=1\n       b=x %1\n";
            }
            lines += calls.error.isEmpty() ? "[结束] 成功: fine" : "[结束] 失败: " + calls.error;
            QCOMPARE(log.lines(), lines);
        }
    }
    void callsBackOnceInOrder_data()
    {
        QTest::addColumn<ScriptedAnswer>("scripted");
        QTest::addColumn<QString>("charset");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const ScriptedAnswer &scripted, const QString &call,
                            const QString &charset = {}) {
            QTest::newRow(name) << scripted << charset << call;
        };
        row("line breaks are dropped", answer("200 OK", "{\r\n\"a\":\n1}\n"), "success:{\"a\":1}");
        row("no content", {"HTTP/1.1 204 No Content\r\n\r\n"}, "success:");
        row("gzipped",
            answer("200 OK",
                   QByteArray::fromHex(
                       "1f8b0800000000000203cb48cdc9c95728cf2fca49010085114a0d0b000000"),
                   "Content-Encoding: gzip\r\n"),
            "success:hello world");
        row("not UTF-8", answer("200 OK", "\xff\xfe-"), QStringLiteral("success:\ufffd\ufffd-"));
        row("GBK", answer("200 OK", QTextCodec::codecForName("GBK")->fromUnicode("青柚")),
            "success:青柚", "GBK");
        row("an unknown codec is ignored", answer("200 OK", "青柚"), "success:青柚", "nonsense");
        row("redirected", answer("302 Found", "", "Location: file:///etc/passwd\r\n"), "success:");
        const auto refused = [&](const char *status, const QByteArray &headers,
                                 const QString &calls) {
            row(status, answer(status, "{\"code\":\n\"x\"}", headers), calls);
        };
        refused("400 Bad Request", "", R"(refused:400 {"code":"x"} 0,fail:302)");
        refused("401 Unauthorized", "", R"(refused:401 {"code":"x"} 0,fail:204)");
        refused("429 Too Many Requests", "x-retry-after: 700\r\nRetry-After: 9\r\n",
                R"(refused:429 {"code":"x"} 700,fail:299)");
        refused("503 Service Unavailable", "Retry-After: 2\r\n",
                R"(refused:503 {"code":"x"} 2000,fail:403)");
        const QByteArray half = "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf";
        row("closed inside the body", {half, Ending::Close}, "fail:2");
        row("reset inside the body", {half, Ending::Reset}, "fail:2");
        row("closed without an answer", {"", Ending::Close}, "fail:2");
        row("not HTTP", {"hello\r\n\r\n", Ending::Close}, "fail:2");
    }
    void callsBackOnceInOrder()
    {
        QFETCH(ScriptedAnswer, scripted);
        QFETCH(QString, charset);
        QFETCH(QString, expected);
        ScriptedServer server(always(scripted));
        // Replies are UTF-8 wherever the user lives.
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
        Calls calls;
        HttpClient client(server.url());
        calls.listen(client).charset(charset).post();
        client.charset("UTF-16").debug(true); // as above
        QVERIFY2(calls.entries.isEmpty(), "nothing may run before the event loop");
        LogCapture log;
        QTRY_VERIFY(calls.isComplete());
        QTextCodec::setCodecForLocale(nullptr);
        QTest::qWait(5);
        QCOMPARE(calls.entries.join(','), expected + ",complete");
        QCOMPARE(calls.error.isEmpty(), expected.startsWith("success"));
        QCOMPARE(log.lines(), QStringList());
    }
    void asksOnlyTheWeb_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("call");
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        QTest::newRow("nobody listens")
            << QString("http://127.0.0.1:%1/").arg(server.serverPort()) << "fail:1";
        for (const char *url : {"file:///etc/hostname", "ftp://127.0.0.1/x", "data:text/plain,x",
                                "qrc:/x", "http:///no-host", "no address", ""}) {
            QTest::newRow(url) << url << "fail:-1";
        }
    }
    void asksOnlyTheWeb()
    {
        QFETCH(QString, url);
        QFETCH(QString, call);
        const QTemporaryDir folder;
        const QString target = folder.filePath("target");
        for (const Fire &fire : {Fire([](HttpClient &c) { c.get(); }),
                                 Fire([](HttpClient &c) { c.upload(Binary, {}); }),
                                 Fire([&](HttpClient &c) { c.download(target); })}) {
            Calls calls;
            HttpClient client(url);
            fire(calls.listen(client));
            QTRY_VERIFY(calls.isComplete());
            QCOMPARE(calls.entries, QStringList({call, "complete"}));
        }
        QVERIFY(!QFile::exists(target));
    }
    // Qt sends again by itself what is cut before the first byte of a reply, on a connection that
    // was kept open and on a new one.
    void aCallThatIsCutIsSentOnceIfItMustBe_data()
    {
        QTest::addColumn<Method>("method");
        QTest::addColumn<int>("unharmed"); // requests before it
        QTest::addColumn<bool>("isOnce");
        for (const int unharmed : {0, 1}) {
            for (const bool isOnce : {true, false}) {
                QTest::addRow("POST %d %d", unharmed, isOnce)
                    << Method(&HttpClient::post) << unharmed << isOnce;
                QTest::addRow("PUT %d %d", unharmed, isOnce)
                    << Method(&HttpClient::put) << unharmed << isOnce;
            }
        }
    }
    void aCallThatIsCutIsSentOnceIfItMustBe()
    {
        QFETCH(Method, method);
        QFETCH(int, unharmed);
        QFETCH(bool, isOnce);
        int left = unharmed;
        ScriptedServer server([&](const ReceivedRequest &) {
            return left-- > 0 ? answer("200 OK", "") : ScriptedAnswer{"", Ending::Close};
        });
        QNetworkAccessManager manager;
        QByteArray body; // more than is read at once
        for (int i = 0; i < 30000; ++i) {
            body += QByteArray::number(i);
        }
        for (int i = 0; i <= unharmed; ++i) {
            Calls calls;
            HttpClient client(server.url());
            calls.listen(client).manager(&manager).json(body);
            ((isOnce ? client.once() : client).*method)();
            QTRY_VERIFY(calls.isComplete());
            QCOMPARE(calls.entries.first(), i < unharmed ? "success:" : "fail:2");
            QCOMPARE(calls.error, i < unharmed ? "" : "Connection closed");
            QCOMPARE(server.requests()[i].body, body);
        }
        const int sent = server.requests().size() - unharmed;
        QVERIFY2(isOnce ? sent == 1 : sent > 1, qPrintable(QString::number(sent)));
    }
    void aReplyMayBeAsLongAsItsLimit()
    {
        const int mega = 1024 * 1024;
        for (const auto &[limit, size, beginning] :
             {std::tuple(mega, mega, "success:x"), std::tuple(mega, mega + 1, "fail:-1"),
              std::tuple(16 * mega, 16 * mega, "success:x"),
              std::tuple(16 * mega, 64 * mega, "fail:-1")}) {
            ScriptedServer server(always(answer("200 OK", QByteArray(size, 'x'))));
            Calls calls;
            HttpClient client(server.url());
            calls.listen(client);
            if (limit != mega) { // which is the default
                client.limit(limit);
            }
            client.get();
            QTRY_VERIFY(calls.isComplete());
            QVERIFY(calls.entries.first().startsWith(beginning));
        }
    }
    void aCallbackMayDeleteTheManager()
    {
        ScriptedServer server(always(answer("200 OK", "hello")));
        auto *owner = new QObject;
        QStringList calls;
        HttpClient(server.url())
            .manager(new QNetworkAccessManager(owner))
            .success([&](const QString &) {
                delete owner;
                calls += "success";
            })
            .complete([&] { calls += "complete"; })
            .get();
        QTRY_COMPARE(calls, QStringList({"success", "complete"}));
        QTest::qWait(10);
    }
    void aDeletedManagerEndsTheRequestSilently()
    {
        ScriptedServer server(always({}));
        auto manager = std::make_unique<QNetworkAccessManager>();
        Calls calls;
        HttpClient::Weak request;
        {
            HttpClient client(server.url());
            request = client.weak();
            calls.listen(client).manager(manager.get()).get();
        }
        QTRY_COMPARE(server.requests().size(), 1);
        QVERIFY(!request.expired());
        manager.reset();
        QTest::qWait(10);
        QCOMPARE(calls.entries, QStringList());
        QVERIFY(request.expired());
    }
    void nothingIsLeftAfterTheLastCallback()
    {
        ScriptedServer server(always(answer("200 OK", "x")));
        server.keepNoRequests();
        QNetworkAccessManager manager;
        QEventLoop loop; // QTRY_ sleeps between its looks
        int left = 2000;
        int alive = 0;
        std::function<void()> fire = [&] {
            HttpClient client(server.url());
            std::shared_ptr<void> witness(&alive, [&](void *) { --alive; });
            ++alive;
            client.manager(&manager)
                .json("{}")
                .complete([&, witness] {
                    if (--left > 0) {
                        fire();
                    } else {
                        loop.quit();
                    }
                })
                .post();
        };
        fire();
        loop.exec();
        QTRY_COMPARE(alive, 0);
        QCOMPARE(manager.findChildren<QNetworkReply *>().size(), 0);
    }
    void uploadsAreExactForms_data()
    {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QByteArray>("parts");
        const QByteArray part = "--B\r\nContent-Disposition: form-data; name=";
        const QByteArray field = part + "\"名\"\r\n\r\n值\r\n" + part;
        QTest::newRow("one path") << QStringList{"a 柚.bin"}
                                  << field + "\"file\"; filename=\"a 柚.bin\"\r\n\r\n[a 柚.bin]\r\n"
                                             "--B--\r\n";
        QTest::newRow("several paths, an empty one is skipped")
            << QStringList{"a", "", "q\"uote"}
            << field + "\"files\"; filename=\"a\"\r\n\r\n[a]\r\n" + part +
                   "\"files\"; filename=\"q%22uote\"\r\n\r\n[q\"uote]\r\n--B--\r\n";
        QTest::newRow("data") << QStringList()
                              << field + "\"file\"; filename=\"no-name\"\r\n\r\n" + Binary +
                                     "\r\n--B--\r\n";
    }
    void uploadsAreExactForms()
    {
        QFETCH(QStringList, files);
        const QTemporaryDir dir;
        QStringList paths;
        for (const QString &name : qAsConst(files)) {
            paths += name.isEmpty() ? QString() : dir.filePath(name);
            if (!name.isEmpty()) {
                writeFile(paths.last(), '[' + name.toUtf8() + ']');
            }
        }
        ScriptedServer server(always(answer("200 OK", "stored")));
        Calls calls;
        HttpClient client(server.url());
        calls.listen(client).param("名", "值").header("Content-Type", "text/plain");
        if (paths.isEmpty()) {
            client.upload(Binary, "name.bin");
        } else {
            client.upload(paths);
        }
        QTRY_VERIFY(calls.isComplete());
        QCOMPARE(calls.entries.first(), "success:stored");

        const ReceivedRequest request = server.requests().value(0);
        const QByteArray prefix = "multipart/form-data; boundary=\"";
        const QByteArray type = request.headers.value("content-type");
        QVERIFY2(type.startsWith(prefix) && type.endsWith('"'), type);
        const QByteArray boundary = type.mid(prefix.size(), type.size() - prefix.size() - 1);
        QByteArray body = request.body;
        QTEST(body.replace("--" + boundary, "--B"), "parts");
    }
    void anUnreadableFileAbandonsTheUpload()
    {
        ScriptedServer server(always(answer("200 OK", "")));
        const QTemporaryDir dir;
        writeFile(dir.filePath("readable"), "x");
        const QString missing = dir.filePath("missing");
        const QString error = "打开文件失败[No such file or directory]: " + missing;
        LogCapture log;
        Calls calls;
        HttpClient client(server.url());
        calls.listen(client).debug(true).upload(QStringList{dir.filePath("readable"), missing});
        QTRY_VERIFY(calls.isComplete());
        QCOMPARE(calls.entries, QStringList({"fail:-1", "complete"}));
        QCOMPARE(calls.error, error);
        QCOMPARE(log.lines().filter(error), QStringList{error});
        QCOMPARE(server.requests().size(), 0);
    }
    void downloadsIntoTheFile_data()
    {
        QTest::addColumn<ScriptedAnswer>("scripted");
        QTest::addColumn<int>("diskSpace");
        QTest::addColumn<QString>("firstCall"); // or the beginning of it
        QTest::addColumn<QByteArray>("content");
        const auto row = [](const char *name, const ScriptedAnswer &scripted, const QString &call,
                            const QByteArray &content = "precious", int space = 1 << 30) {
            QTest::newRow(name) << scripted << space << call << content;
        };
        const QByteArray large = Binary.repeated(500000);
        row("beyond the limit of other replies", answer("200 OK", large), "success:", large);
        row("refused with a body", answer("403 Forbidden", "go away"), "fail:201");
        row("redirected", answer("302 Found", "moved", "Location: /x\r\n"), "fail:299");
        row("cut inside the body",
            {"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf", Ending::Close}, "fail:2");
        row("no room from the middle on", answer("200 OK", large), "fail:-1", "precious", 50000);
        row("no room for the last byte", answer("200 OK", large), "fail:-1", "precious", 1999999);
    }
    void downloadsIntoTheFile()
    {
        QFETCH(ScriptedAnswer, scripted);
        QFETCH(int, diskSpace);
        QFETCH(QString, firstCall);
        ScriptedServer server(always(scripted));
        const QTemporaryDir dir;
        const QString target = dir.filePath("target");
        writeFile(target, "precious");
        const FileSizeLimit sizeLimit(diskSpace);
        Calls calls;
        HttpClient client(server.url());
        calls.listen(client).download(target);
        QTRY_VERIFY(calls.isComplete());
        QCOMPARE(calls.entries.size(), 2);
        QCOMPARE(calls.entries[0], firstCall == "success:" ? firstCall + target : firstCall);
        QTRY_COMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList("target"));
        QTEST(readFile(target), "content");

        LogCapture log;
        const QString nowhere = dir.filePath("missing/target");
        client.download(nowhere);
        QTRY_COMPARE(calls.entries.size(), 4);
        QCOMPARE(calls.entries[2], "fail:-1");
        QCOMPARE(log.lines(), QStringList("[错误] 打开文件出错: " + nowhere));
    }
    void downloadsIntoMemory()
    {
        const QByteArray large = Binary.repeated(1000);
        for (const auto &[scripted, limit, first] :
             {std::tuple(answer("200 OK", large), 4000, "bytes:4000"),
              std::tuple(answer("200 OK", large), 3999, "fail:-1"),
              std::tuple(answer("302 Found", "x", "Location: /x\r\n"), 4000, "fail:299"),
              std::tuple(answer("403 Forbidden", "go away"), 4000, "refused:403 go away 0")}) {
            ScriptedServer server(always(scripted));
            Calls calls;
            HttpClient client(server.url());
            calls.listen(client).limit(limit).download([&](const QByteArray &bytes) {
                QCOMPARE(bytes, large);
                calls.entries += QString("bytes:%1").arg(bytes.size());
            });
            QTRY_VERIFY(calls.isComplete());
            QCOMPARE(calls.entries.first(), first);
            client.repeat();
            QTRY_COMPARE(calls.entries.filter(first).size(), 2);
        }
    }
    void repeatsWithTheStoredToken_data()
    {
        QTest::addColumn<QString>("currentUser");
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<QByteArray>("repeated");
        QTest::newRow("the stored token")
            << "u1" << QByteArray("Bearer old") << QByteArray("Bearer new");
        QTest::newRow("no header, no token") << "u1" << QByteArray() << QByteArray();
        QTest::newRow("an unknown user")
            << "u2" << QByteArray("Bearer old") << QByteArray("Bearer old");
    }
    void repeatsWithTheStoredToken()
    {
        QFETCH(QString, currentUser);
        QFETCH(QByteArray, sent);
        const TemporaryHome home;
        AppSettings().setCurUserId(currentUser);
        openDatabase();
        const std::unique_ptr<Database> owner(database());
        UserInfo user;
        user.userId = QString("u1");
        user.accessToken = QString("new");
        saveUserInfo(user);
        const QString target = home.filePath("target");
        for (const Fire &fire : {Fire([](HttpClient &c) { c.json("{}").put(); }),
                                 Fire([&](HttpClient &c) { c.download(target); })}) {
            int rejections = 1;
            ScriptedServer server([&](const ReceivedRequest &) {
                return rejections-- > 0 ? answer("401 Unauthorized", "") : answer("200 OK", "fine");
            });
            LogCapture log;
            Calls calls;
            HttpClient client(server.url());
            if (!sent.isEmpty()) {
                client.header("Authorization", sent);
            }
            calls.listen(client).fail(
                [&, weak = client.weak()](const QString &, int) { HttpClient(weak).repeat(); });
            fire(client);
            QTRY_COMPARE(calls.entries.filter("complete").size(), 2);
            QCOMPARE(log.lines(), QStringList("repeat request \"" + server.url() + '"'));
            const auto requests = server.requests();
            QCOMPARE(requests.size(), 2);
            QCOMPARE(requests[1].method + requests[1].body, requests[0].method + requests[0].body);
            QCOMPARE(requests[0].headers.value("authorization"), sent);
            QTEST(requests[1].headers.value("authorization"), "repeated");
        }
        QCOMPARE(readFile(target), QByteArray("fine"));
        setDatabase(nullptr);
    }
};

QTEST_GUILESS_MAIN(TestHttpClient)
#include "tst_http_client.moc"
