#include <QDialog>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTemporaryDir>
#include <QTest>
#include <QTextCodec>
#include <QTimer>

#include "app/environment/app_settings.h"
#include "db/tables/database.h"
#include "db/tables/operations.h"
#include "net/file_size_limit.h"
#include "net/guarded.h"
#include "net/http_client.h"
#include "net/scripted_server.h"

namespace {

// The callbacks of one request, in the order in which they ran: "success:TEXT", "fail:CODE",
// "complete".
struct Calls
{
    QStringList entries;
    QString error;

    HttpClient &listen(HttpClient &client)
    {
        return client
            .success([this](const QString &text) { entries += QStringLiteral("success:") + text; })
            .fail([this](const QString &text, int code) {
                error = text;
                entries += QStringLiteral("fail:%1").arg(code);
            })
            .complete([this] { entries += QStringLiteral("complete"); });
    }

    bool isComplete() const { return entries.contains(QStringLiteral("complete")); }
};

QByteArray gzippedHello()
{
    return QByteArray::fromHex("1f8b0800000000000203cb48cdc9c95728cf2fca49010085114a0d0b000000");
}

QStringList *capturedMessages = nullptr;

void captureMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    capturedMessages->append(message);
}

// Collects what is logged while it lives.
class MessageCapture final
{
    Q_DISABLE_COPY_MOVE(MessageCapture)

public:
    MessageCapture() : m_previous(qInstallMessageHandler(captureMessage))
    {
        capturedMessages = &messages;
    }
    ~MessageCapture() { qInstallMessageHandler(m_previous); }

    QStringList messages;

private:
    const QtMessageHandler m_previous;
};

} // namespace

Q_DECLARE_METATYPE(ScriptedAnswer)
Q_DECLARE_METATYPE(std::function<void(HttpClient &)>)

class tst_HttpClient final : public QObject
{
    Q_OBJECT

private slots:
    void sendsWhatWasBuilt_data();
    void sendsWhatWasBuilt();
    void callsBackOnceInOrder_data();
    void callsBackOnceInOrder();
    void aRefusedConnectionFails();
    void aLargeReplyArrivesWhole();
    void theCodecIsTheCallersOrUtf8_data();
    void theCodecIsTheCallersOrUtf8();
    void logsOnlyWhenAsked();
    void logsParametersThatAreTheBody_data();
    void logsParametersThatAreTheBody();
    void aCallbackMayDeleteTheManager();
    void aCallbackMayOpenADialogAndFireAnother();
    void aDeletedManagerEndsTheRequestSilently();
    void nothingIsLeftAfterTheLastCallback();
    void uploadsAreExactForms_data();
    void uploadsAreExactForms();
    void anUnreadableFileAbandonsTheUpload();
    void downloadsIntoTheFile();
    void aFailedDownloadLeavesTheTargetAlone_data();
    void aFailedDownloadLeavesTheTargetAlone();
    void aFullDiskFailsTheDownload_data();
    void aFullDiskFailsTheDownload();
    void repeatsWithTheStoredToken_data();
    void repeatsWithTheStoredToken();
    void guardedCallsNothingOnceItsContextIsGone();
};

void tst_HttpClient::sendsWhatWasBuilt_data()
{
    using Fire = std::function<void(HttpClient &)>;
    QTest::addColumn<Fire>("fire");
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<QByteArray>("body");

    const QByteArray form = "application/x-www-form-urlencoded";
    const QByteArray json = "application/json; charset=utf-8";
    const QString object = QStringLiteral(R"({"name":"青柚"})");
    const auto withPair = [](HttpClient &c) -> HttpClient & {
        return c.param(QStringLiteral("a"), QStringLiteral("1"))
            .param(QStringLiteral("b"), QStringLiteral("x y"));
    };
    QTest::newRow("GET without parameters has no question mark")
        << Fire([](HttpClient &c) { c.get(); }) << QByteArray("GET") << QByteArray("/p")
        << QByteArray() << QByteArray();
    QTest::newRow("GET carries its parameters in the query")
        << Fire([=](HttpClient &c) { withPair(c).get(); }) << QByteArray("GET")
        << QByteArray("/p?a=1&b=x%20y") << QByteArray() << QByteArray();
    QTest::newRow("POST form") << Fire([=](HttpClient &c) { withPair(c).post(); })
                               << QByteArray("POST") << QByteArray("/p") << form
                               << QByteArray("a=1&b=x y");
    QTest::newRow("PUT form") << Fire([=](HttpClient &c) { withPair(c).put(); })
                              << QByteArray("PUT") << QByteArray("/p") << form
                              << QByteArray("a=1&b=x y");
    QTest::newRow("POST JSON beats the caller's content type") << Fire([=](HttpClient &c) {
        c.header(QStringLiteral("content-type"), QStringLiteral("text/plain")).json(object).post();
    }) << QByteArray("POST") << QByteArray("/p") << json << object.toUtf8();
    QTest::newRow("PUT JSON") << Fire([=](HttpClient &c) { c.json(object).put(); })
                              << QByteArray("PUT") << QByteArray("/p") << json << object.toUtf8();
    QTest::newRow("DELETE") << Fire([](HttpClient &c) { c.remove(); }) << QByteArray("DELETE")
                            << QByteArray("/p") << QByteArray() << QByteArray();
}

void tst_HttpClient::sendsWhatWasBuilt()
{
    QFETCH(std::function<void(HttpClient &)>, fire);
    ScriptedServer server([](const ReceivedRequest &) { return answer("200 OK", "done"); });
    Calls calls;
    HttpClient client(server.url(QStringLiteral("/p")));
    fire(
        calls.listen(client).headers({{QStringLiteral("Authorization"), QStringLiteral("Bearer t")},
                                      {QStringLiteral("X-Name"), QStringLiteral("柚")}}));
    QTRY_VERIFY(calls.isComplete());
    const ReceivedRequest request = server.requests().value(0);
    QTEST(request.method, "method");
    QTEST(request.target, "target");
    QTEST(request.headers.value("content-type"), "contentType");
    QTEST(request.body, "body");
    QCOMPARE(request.headers.value("authorization"), QByteArray("Bearer t"));
    QCOMPARE(request.headers.value("x-name"), QByteArray("柚"));
    QCOMPARE(server.requests().size(), 1);
}

void tst_HttpClient::callsBackOnceInOrder_data()
{
    QTest::addColumn<ScriptedAnswer>("scripted");
    QTest::addColumn<QString>("firstCall");

    using Ending = ScriptedAnswer::Ending;
    const QByteArray json = R"({"code":"NotFound"})";
    const auto row = [](const char *name, const ScriptedAnswer &scripted, const QString &call) {
        QTest::newRow(name) << scripted << call;
    };
    row("text", answer("200 OK", "hello"), QStringLiteral("success:hello"));
    row("line breaks are dropped", answer("200 OK", "{\r\n\"a\":\n1}\n"),
        QStringLiteral("success:{\"a\":1}"));
    row("empty", answer("200 OK", ""), QStringLiteral("success:"));
    row("no content", {"HTTP/1.1 204 No Content\r\n\r\n"}, QStringLiteral("success:"));
    row("gzipped", answer("200 OK", gzippedHello(), "Content-Encoding: gzip\r\n"),
        QStringLiteral("success:hello world"));
    row("not UTF-8", answer("200 OK", "\xff\xfe-"), QStringLiteral("success:\ufffd\ufffd-"));
    row("redirected", answer("302 Found", "", "Location: /elsewhere\r\n"),
        QStringLiteral("success:"));
    row("400 and JSON", answer("400 Bad Request", json), QStringLiteral("fail:302"));
    row("401", answer("401 Unauthorized", json), QStringLiteral("fail:204"));
    row("403", answer("403 Forbidden", json), QStringLiteral("fail:201"));
    row("404", answer("404 Not Found", json), QStringLiteral("fail:203"));
    row("429", answer("429 Too Many Requests", json), QStringLiteral("fail:299"));
    row("500", answer("500 Internal Server Error", json), QStringLiteral("fail:401"));
    row("503", answer("503 Service Unavailable", ""), QStringLiteral("fail:403"));
    row("closed inside the body",
        {"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf", Ending::Close},
        QStringLiteral("fail:2"));
    row("reset inside the body",
        {"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf", Ending::Reset},
        QStringLiteral("fail:2"));
    row("closed without an answer", {"", Ending::Close}, QStringLiteral("fail:2"));
    row("not HTTP", {"hello\r\n\r\n", Ending::Close}, QStringLiteral("fail:2"));
}

void tst_HttpClient::callsBackOnceInOrder()
{
    QFETCH(ScriptedAnswer, scripted);
    QFETCH(QString, firstCall);
    ScriptedServer server([scripted](const ReceivedRequest &) { return scripted; });
    Calls calls;
    HttpClient client(server.url());
    calls.listen(client).post();
    QVERIFY2(calls.entries.isEmpty(), "nothing may run before the event loop");
    QTRY_VERIFY(calls.isComplete());
    QTest::qWait(5);
    QCOMPARE(calls.entries, QStringList({firstCall, QStringLiteral("complete")}));
    QCOMPARE(calls.error.isEmpty(), firstCall.startsWith(QLatin1String("success")));
}

void tst_HttpClient::aRefusedConnectionFails()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const QString url = QStringLiteral("http://127.0.0.1:%1/").arg(server.serverPort());
    server.close();
    Calls calls;
    HttpClient client(url);
    calls.listen(client).get();
    QTRY_VERIFY(calls.isComplete());
    QCOMPARE(calls.entries, QStringList({QStringLiteral("fail:1"), QStringLiteral("complete")}));
    QCOMPARE(calls.error, QStringLiteral("Connection refused"));
}

void tst_HttpClient::aLargeReplyArrivesWhole()
{
    const int size = 50 * 1024 * 1024;
    ScriptedServer server(
        [](const ReceivedRequest &) { return answer("200 OK", QByteArray(size, 'x')); });
    QString response;
    HttpClient(server.url()).success([&](const QString &text) { response = text; }).get();
    QTRY_COMPARE_WITH_TIMEOUT(response.size(), size, 30000);
    QCOMPARE(response.count(QLatin1Char('x')), size);
}

void tst_HttpClient::theCodecIsTheCallersOrUtf8_data()
{
    QTest::addColumn<QString>("charset");
    QTest::addColumn<QByteArray>("body");

    const QString text = QStringLiteral("青柚");
    QTest::newRow("UTF-8 by default") << QString() << text.toUtf8();
    QTest::newRow("GBK") << QStringLiteral("GBK")
                         << QTextCodec::codecForName("GBK")->fromUnicode(text);
    QTest::newRow("an unknown codec is ignored") << QStringLiteral("nonsense") << text.toUtf8();
}

void tst_HttpClient::theCodecIsTheCallersOrUtf8()
{
    QFETCH(QString, charset);
    QFETCH(QByteArray, body);
    ScriptedServer server([body](const ReceivedRequest &) { return answer("200 OK", body); });
    QString response;
    HttpClient(server.url())
        .charset(charset)
        .success([&](const QString &text) { response = text; })
        .get();
    QTRY_COMPARE(response, QStringLiteral("青柚"));
}

void tst_HttpClient::logsOnlyWhenAsked()
{
    ScriptedServer server([](const ReceivedRequest &request) {
        return request.target == "/good" ? answer("200 OK", "fine") : answer("404 Not Found", "");
    });
    MessageCapture capture;
    Calls quiet;
    HttpClient quietClient(server.url(QStringLiteral("/good")));
    quiet.listen(quietClient).post();
    QTRY_VERIFY(quiet.isComplete());
    QCOMPARE(capture.messages, QStringList());

    for (const QString &path : {QStringLiteral("/good"), QStringLiteral("/bad")}) {
        Calls calls;
        HttpClient client(server.url(path));
        calls.listen(client)
            .debug(true)
            .param(QStringLiteral("a"), QStringLiteral("1"))
            .param(QStringLiteral("b"), QStringLiteral("%1"))
            .post();
        QTRY_VERIFY(calls.isComplete());
    }
    const QString parameters = QStringLiteral("[参数] a=1\n       b=%1\n");
    const QString error = QStringLiteral("Error transferring %1 - server replied: Not Found")
                              .arg(server.url(QStringLiteral("/bad")));
    QCOMPARE(capture.messages,
             QStringList({QStringLiteral("[网址] \"%1\"").arg(server.url(QStringLiteral("/good"))),
                          parameters, QStringLiteral("[结束] 成功: fine"),
                          QStringLiteral("[网址] \"%1\"").arg(server.url(QStringLiteral("/bad"))),
                          parameters, QStringLiteral("[结束] 失败: ") + error}));
}

void tst_HttpClient::logsParametersThatAreTheBody_data()
{
    using Fire = std::function<void(HttpClient &)>;
    QTest::addColumn<Fire>("fire");
    QTest::addColumn<QString>("query");
    QTest::addColumn<QStringList>("parameters");

    const QStringList logged{QStringLiteral("[参数] a=1\n")};
    QTest::newRow("GET") << Fire([](HttpClient &c) { c.get(); }) << QStringLiteral("?a=1")
                         << QStringList();
    QTest::newRow("DELETE") << Fire([](HttpClient &c) { c.remove(); }) << QString()
                            << QStringList();
    QTest::newRow("PUT") << Fire([](HttpClient &c) { c.put(); }) << QString() << logged;
    QTest::newRow("upload") << Fire([](HttpClient &c) { c.upload(QByteArray("x"), QString()); })
                            << QString() << logged;
}

void tst_HttpClient::logsParametersThatAreTheBody()
{
    QFETCH(std::function<void(HttpClient &)>, fire);
    QFETCH(QString, query);
    QFETCH(QStringList, parameters);
    ScriptedServer server([](const ReceivedRequest &) { return answer("200 OK", "fine"); });
    MessageCapture capture;
    Calls calls;
    HttpClient client(server.url());
    fire(calls.listen(client).debug(true).param(QStringLiteral("a"), QStringLiteral("1")));
    QTRY_VERIFY(calls.isComplete());
    const QString address = QStringLiteral("[网址] \"%1%2\"").arg(server.url(), query);
    QCOMPARE(capture.messages, QStringList({address}) + parameters +
                                   QStringList({QStringLiteral("[结束] 成功: fine")}));
}

void tst_HttpClient::aCallbackMayDeleteTheManager()
{
    ScriptedServer server([](const ReceivedRequest &) { return answer("200 OK", "hello"); });
    auto *owner = new QObject;
    auto *manager = new QNetworkAccessManager(owner);
    QStringList calls;
    HttpClient(server.url())
        .manager(manager)
        .success([&](const QString &) {
            delete owner;
            calls += QStringLiteral("success");
        })
        .complete([&] { calls += QStringLiteral("complete"); })
        .get();
    QTRY_COMPARE(calls, QStringList({QStringLiteral("success"), QStringLiteral("complete")}));
    QTest::qWait(10);
}

void tst_HttpClient::aCallbackMayOpenADialogAndFireAnother()
{
    ScriptedServer server([](const ReceivedRequest &r) { return answer("200 OK", r.target); });
    QStringList calls;
    HttpClient(server.url(QStringLiteral("/first")))
        .success([&](const QString &text) {
            QDialog dialog;
            HttpClient(server.url(QStringLiteral("/second")))
                .success([&](const QString &inner) { calls += inner; })
                .complete([&] { dialog.accept(); })
                .get();
            dialog.exec();
            calls += text;
        })
        .complete([&] { calls += QStringLiteral("complete"); })
        .get();
    QTRY_COMPARE(calls, QStringList({QStringLiteral("/second"), QStringLiteral("/first"),
                                     QStringLiteral("complete")}));
}

void tst_HttpClient::aDeletedManagerEndsTheRequestSilently()
{
    ScriptedServer server([](const ReceivedRequest &) { return ScriptedAnswer{}; });
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

void tst_HttpClient::nothingIsLeftAfterTheLastCallback()
{
    const int count = 10000;
    ScriptedServer server([](const ReceivedRequest &) { return answer("200 OK", "x"); });
    server.keepNoRequests();
    QNetworkAccessManager manager;
    QEventLoop loop; // QTRY_ sleeps between its looks
    int done = 0;
    int alive = 0;
    std::function<void()> fire = [&] {
        HttpClient client(server.url());
        std::shared_ptr<void> witness(&alive, [&](void *) { --alive; });
        ++alive;
        client.manager(&manager)
            .json(QStringLiteral("{}"))
            .complete([&, witness] {
                if (++done < count) {
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

void tst_HttpClient::guardedCallsNothingOnceItsContextIsGone()
{
    auto context = std::make_unique<QObject>();
    QStringList calls;
    const std::function<void(const QString &)> callback =
        guarded(context.get(), [&](const QString &text) { calls += text; });
    callback(QStringLiteral("before"));
    context.reset();
    callback(QStringLiteral("after"));
    QCOMPARE(calls, QStringList({QStringLiteral("before")}));
}

namespace {

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

void tst_HttpClient::uploadsAreExactForms_data()
{
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QByteArray>("parts");

    const QByteArray field = "--B\r\nContent-Disposition: form-data; name=\"名\"\r\n\r\n值\r\n";
    QTest::newRow("one path") << QStringList({QStringLiteral("a 柚.bin")})
                              << field + "--B\r\nContent-Disposition: form-data; name=\"file\"; "
                                         "filename=\"a 柚.bin\"\r\n\r\n[a 柚.bin]\r\n--B--\r\n";
    QTest::newRow("several paths, an empty one is skipped")
        << QStringList({QStringLiteral("a"), QString(), QStringLiteral("q\"uote")})
        << field + "--B\r\nContent-Disposition: form-data; name=\"files\"; "
                   "filename=\"a\"\r\n\r\n[a]\r\n"
                   "--B\r\nContent-Disposition: form-data; name=\"files\"; filename=\"q%22uote\""
                   "\r\n\r\n[q\"uote]\r\n--B--\r\n";
    QTest::newRow("data") << QStringList()
                          << field +
                                 "--B\r\nContent-Disposition: form-data; name=\"file\"; "
                                 "filename=\"no-name\"\r\n\r\n" +
                                 QByteArray("\0\r\n\xff", 4) + "\r\n--B--\r\n";
}

void tst_HttpClient::uploadsAreExactForms()
{
    QFETCH(QStringList, files);
    QTemporaryDir dir;
    QStringList paths;
    for (const QString &name : qAsConst(files)) {
        paths += name.isEmpty() ? QString() : dir.filePath(name);
        if (!name.isEmpty())
            writeFile(paths.last(), '[' + name.toUtf8() + ']');
    }
    ScriptedServer server([](const ReceivedRequest &) { return answer("200 OK", "stored"); });
    Calls calls;
    HttpClient client(server.url());
    calls.listen(client).param(QStringLiteral("名"), QStringLiteral("值"));
    if (paths.isEmpty()) {
        client.upload(QByteArray("\0\r\n\xff", 4), QStringLiteral("name.bin"));
    } else if (paths.size() == 1) {
        client.upload(paths.first());
    } else {
        client.upload(paths);
    }
    QTRY_VERIFY(calls.isComplete());
    QCOMPARE(calls.entries.first(), QStringLiteral("success:stored"));

    const ReceivedRequest request = server.requests().value(0);
    const QByteArray prefix = "multipart/form-data; boundary=\"";
    const QByteArray type = request.headers.value("content-type");
    QVERIFY2(type.startsWith(prefix) && type.endsWith('"'), type);
    const QByteArray boundary = type.mid(prefix.size(), type.size() - prefix.size() - 1);
    QByteArray body = request.body;
    QTEST(body.replace("--" + boundary, "--B"), "parts");
}

void tst_HttpClient::anUnreadableFileAbandonsTheUpload()
{
    ScriptedServer server([](const ReceivedRequest &) { return answer("200 OK", ""); });
    QTemporaryDir dir;
    const QString readable = dir.filePath(QStringLiteral("readable"));
    const QString missing = dir.filePath(QStringLiteral("missing"));
    writeFile(readable, "x");
    const QString error =
        QStringLiteral("打开文件失败[No such file or directory]: %1").arg(missing);
    for (const bool logs : {false, true}) {
        MessageCapture capture;
        Calls calls;
        HttpClient client(server.url());
        calls.listen(client).debug(logs).upload(QStringList{readable, missing});
        QTRY_VERIFY(calls.isComplete());
        QCOMPARE(calls.entries,
                 QStringList({QStringLiteral("fail:-1"), QStringLiteral("complete")}));
        QCOMPARE(calls.error, error);
        QCOMPARE(capture.messages.contains(error), logs);
    }
    QTest::qWait(20);
    QCOMPARE(server.requests().size(), 0);
}

void tst_HttpClient::downloadsIntoTheFile()
{
    const QByteArray content = QByteArray("\0\n\r\xff", 4).repeated(100000);
    ScriptedServer server([&](const ReceivedRequest &) { return answer("200 OK", content); });
    QTemporaryDir dir;
    const QString target = dir.filePath(QStringLiteral("target"));
    Calls calls;
    HttpClient client(server.url());
    calls.listen(client).download(target);
    QTRY_VERIFY(calls.isComplete());
    QCOMPARE(calls.entries,
             QStringList({QStringLiteral("success:") + target, QStringLiteral("complete")}));
    QCOMPARE(readFile(target), content);
}

void tst_HttpClient::aFailedDownloadLeavesTheTargetAlone_data()
{
    QTest::addColumn<ScriptedAnswer>("scripted");
    QTest::addColumn<QString>("targetName");
    QTest::addColumn<QString>("firstCall");

    using Ending = ScriptedAnswer::Ending;
    const QString target = QStringLiteral("target");
    QTest::newRow("refused with a body")
        << answer("403 Forbidden", "go away") << target << QStringLiteral("fail:201");
    QTest::newRow("redirected") << answer("302 Found", "moved", "Location: /x\r\n") << target
                                << QStringLiteral("fail:299");
    QTest::newRow("cut inside the body")
        << ScriptedAnswer{"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf", Ending::Close}
        << target << QStringLiteral("fail:2");
    QTest::newRow("target in a missing folder")
        << answer("200 OK", "x") << QStringLiteral("missing/target") << QStringLiteral("fail:-1");
}

void tst_HttpClient::aFailedDownloadLeavesTheTargetAlone()
{
    QFETCH(ScriptedAnswer, scripted);
    QFETCH(QString, targetName);
    QFETCH(QString, firstCall);
    ScriptedServer server([scripted](const ReceivedRequest &) { return scripted; });
    QTemporaryDir dir;
    const QString target = dir.filePath(targetName);
    writeFile(dir.filePath(QStringLiteral("target")), "precious");
    MessageCapture capture;
    Calls calls;
    HttpClient client(server.url());
    calls.listen(client).download(target);
    QTRY_VERIFY(calls.isComplete());
    QCOMPARE(calls.entries, QStringList({firstCall, QStringLiteral("complete")}));
    const bool isOpened = firstCall != QLatin1String("fail:-1");
    const QString message = QStringLiteral("[错误] 打开文件出错: ") + target;
    QCOMPARE(capture.messages, isOpened ? QStringList() : QStringList({message}));
    QTRY_COMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList({QStringLiteral("target")}));
    QCOMPARE(readFile(dir.filePath(QStringLiteral("target"))), QByteArray("precious"));
}

void tst_HttpClient::aFullDiskFailsTheDownload_data()
{
    QTest::addColumn<int>("limit");
    QTest::newRow("no room from the middle on") << 50000;
    QTest::newRow("no room for the last byte") << 399999;
}

void tst_HttpClient::aFullDiskFailsTheDownload()
{
    QFETCH(int, limit);
    ScriptedServer server(
        [](const ReceivedRequest &) { return answer("200 OK", QByteArray(400000, 'x')); });
    QTemporaryDir dir;
    const QString target = dir.filePath(QStringLiteral("target"));
    writeFile(target, "precious");
    const FileSizeLimit sizeLimit(limit);
    Calls calls;
    HttpClient client(server.url());
    calls.listen(client).download(target);
    QTRY_VERIFY(calls.isComplete());
    QCOMPARE(calls.entries, QStringList({QStringLiteral("fail:-1"), QStringLiteral("complete")}));
    QCOMPARE(calls.error, QStringLiteral("File too large"));
    QTRY_COMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList({QStringLiteral("target")}));
    QCOMPARE(readFile(target), QByteArray("precious"));
}

void tst_HttpClient::repeatsWithTheStoredToken_data()
{
    QTest::addColumn<QString>("currentUser");
    QTest::addColumn<QByteArray>("sentAuthorization");
    QTest::addColumn<QByteArray>("repeatedAuthorization");

    QTest::newRow("the stored token")
        << "u1" << QByteArray("Bearer old") << QByteArray("Bearer new");
    QTest::newRow("no header, no token") << "u1" << QByteArray() << QByteArray();
    QTest::newRow("an unknown user")
        << "u2" << QByteArray("Bearer old") << QByteArray("Bearer old");
}

void tst_HttpClient::repeatsWithTheStoredToken()
{
    QFETCH(QString, currentUser);
    QFETCH(QByteArray, sentAuthorization);
    QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    AppSettings().setCurUserId(currentUser);
    openDatabase();
    const std::unique_ptr<Database> owner(database());
    UserInfo user;
    user.userId = QStringLiteral("u1");
    user.accessToken = QStringLiteral("new");
    saveUserInfo(user);

    int rejections = 1;
    ScriptedServer server([&](const ReceivedRequest &) {
        return rejections-- > 0 ? answer("401 Unauthorized", "") : answer("200 OK", "fine");
    });
    MessageCapture capture;
    QStringList calls;
    HttpClient client(server.url());
    if (!sentAuthorization.isEmpty())
        client.header(QStringLiteral("Authorization"), QString::fromLatin1(sentAuthorization));
    client.json(QStringLiteral("{}"))
        .fail([&, weak = client.weak()](const QString &, int) { HttpClient(weak).repeat(); })
        .success([&](const QString &text) { calls += text; })
        .put();
    QTRY_COMPARE(calls, QStringList({QStringLiteral("fine")}));
    setDatabase(nullptr);

    QCOMPARE(capture.messages,
             QStringList({QStringLiteral("repeat request \"%1\"").arg(server.url())}));
    QCOMPARE(server.requests().size(), 2);
    QCOMPARE(server.requests().at(1).method, QByteArray("PUT"));
    QCOMPARE(server.requests().at(1).body, QByteArray("{}"));
    QCOMPARE(server.requests().at(0).headers.value("authorization"), sentAuthorization);
    QTEST(server.requests().at(1).headers.value("authorization"), "repeatedAuthorization");
}

QTEST_MAIN(tst_HttpClient)
#include "tst_http_client.moc"
