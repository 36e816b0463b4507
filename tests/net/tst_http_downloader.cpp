#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "net/http_downloader.h"
#include "net/scripted_server.h"

namespace {

QByteArray fileContent(int size)
{
    QByteArray content(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        content[i] = char(i * 31 + i / 251);
    return content;
}

ScriptedAnswer headAnswer(const QByteArray &length, const QByteArray &status = "200 OK")
{
    return {"HTTP/1.1 " + status + "\r\nContent-Length: " + length + "\r\n\r\n"};
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(cannot be read)");
}

// One download into a folder that holds an older file under the target's name.
struct Download
{
    explicit Download(const QString &url) : loader(url, target())
    {
        QFile file(target());
        if (file.open(QIODevice::WriteOnly))
            file.write("older");
    }

    QString target() const { return dir.filePath(QStringLiteral("target")); }
    QStringList files() const { return QDir(dir.path()).entryList(QDir::Files | QDir::Hidden); }
    bool hasEnded() const { return !errors.isEmpty() || !finished.isEmpty(); }

    QTemporaryDir dir;
    HttpDownLoader loader;
    QSignalSpy errors{&loader, &HttpDownLoader::error};
    QSignalSpy written{&loader, &HttpDownLoader::readyWrite};
    QSignalSpy finished{&loader, &HttpDownLoader::downFinished};
};

} // namespace

Q_DECLARE_METATYPE(ScriptedServer::Script)

class tst_HttpDownLoader final : public QObject
{
    Q_OBJECT

private slots:
    void asksForTheRangesAsTheyFollow_data();
    void asksForTheRangesAsTheyFollow();
    void takesTheWholeFileInPlaceOfItsFirstRange();
    void endsInOneErrorAndLeavesTheTargetAlone_data();
    void endsInOneErrorAndLeavesTheTargetAlone();
    void anUnwritableTargetIsAnError();
    void canBeStartedAnewFromItsError();
    void destroyingItLeavesNothingBehind();
};

void tst_HttpDownLoader::asksForTheRangesAsTheyFollow_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<QList<QByteArray>>("ranges");

    using Ranges = QList<QByteArray>;
    QTest::newRow("empty file") << 0 << Ranges{};
    QTest::newRow("smaller than a chunk") << 100 << Ranges{"bytes=0-10240"};
    QTest::newRow("what one request asks for") << 10241 << Ranges{"bytes=0-10240"};
    QTest::newRow("one byte more") << 10242 << Ranges{"bytes=0-10240", "bytes=10241-20481"};
    QTest::newRow("three requests")
        << 25000 << Ranges{"bytes=0-10240", "bytes=10241-20481", "bytes=20482-30722"};
}

void tst_HttpDownLoader::asksForTheRangesAsTheyFollow()
{
    QFETCH(int, size);
    const QByteArray content = fileContent(size);
    ScriptedServer server([&](const ReceivedRequest &r) { return fileAnswer(r, content); });
    Download download(server.url());
    download.loader.start();
    QTRY_VERIFY(download.hasEnded());

    QList<QByteArray> ranges;
    for (const ReceivedRequest &request : server.requests()) {
        QCOMPARE(request.headers.value("user-agent"), QByteArray("QtApp-HttpDownLoader"));
        QCOMPARE(request.headers.value("accept"), QByteArray("application/octet-stream"));
        if (request.method == "GET")
            ranges += request.headers.value("range");
    }
    QTEST(ranges, "ranges");
    QCOMPARE(server.requests().value(0).method, QByteArray("HEAD"));
    QCOMPARE(download.errors.size(), 0);
    QCOMPARE(download.finished.size(), 1);
    QVERIFY(download.written.size() >= ranges.size());
    QCOMPARE(download.loader.received(), size);
    QCOMPARE(readFile(download.target()), content);
    QCOMPARE(download.files(), QStringList({QStringLiteral("target")}));
}

void tst_HttpDownLoader::takesTheWholeFileInPlaceOfItsFirstRange()
{
    const QByteArray content = fileContent(300000);
    ScriptedServer server([&](const ReceivedRequest &r) {
        return r.method == "HEAD" ? fileAnswer(r, content) : answer("200 OK", content);
    });
    Download download(server.url());
    download.loader.start();
    QTRY_VERIFY(download.hasEnded());
    QCOMPARE(download.finished.size(), 1);
    QCOMPARE(server.requests().size(), 2);
    QCOMPARE(readFile(download.target()), content);
}

void tst_HttpDownLoader::endsInOneErrorAndLeavesTheTargetAlone_data()
{
    QTest::addColumn<ScriptedServer::Script>("script");
    QTest::addColumn<QString>("error");
    QTest::addColumn<int>("requests");

    using Ending = ScriptedAnswer::Ending;
    const QString noSize = QStringLiteral("Failed to get file size.");
    const QString noData = QStringLiteral("Fail Recv File Data");
    const auto code = [](int number) {
        return QStringLiteral("Recv Data Error, Error Code is %1").arg(number);
    };
    const auto head = [](const char *name, const ScriptedAnswer &scripted, const QString &error) {
        QTest::newRow(name) << ScriptedServer::Script([scripted](const ReceivedRequest &) {
            return scripted;
        }) << error << 1;
    };
    head("no length", {"HTTP/1.1 200 OK\r\n\r\n", Ending::Close}, noSize);
    head("a length that is no number", headAnswer("many"), noSize);
    head("a negative length", headAnswer("-5"), noSize);
    head("a length beyond 32 bits", headAnswer("2147483648"), noSize);
    head("HEAD refused, with a length", headAnswer("100", "403 Forbidden"), noSize);
    head("HEAD redirected, with a length", headAnswer("100", "302 Found"), noSize);

    // Honest up to the second range, which is answered as the row says.
    static const QByteArray content = fileContent(25000);
    const auto second = [](const char *name, const ScriptedAnswer &scripted, const QString &error) {
        QTest::newRow(name) << ScriptedServer::Script([scripted](const ReceivedRequest &request) {
            return request.headers.value("range") == "bytes=10241-20481"
                       ? scripted
                       : fileAnswer(request, content);
        }) << error << 3;
    };
    const QByteArray partial = "HTTP/1.1 206 Partial Content\r\n";
    second("refused with a body", answer("403 Forbidden", "go away"), code(201));
    second("not found", answer("404 Not Found", ""), code(203));
    second("server error", answer("500 Internal Server Error", "sorry"), code(401));
    second("redirected", answer("302 Found", "moved", "Location: /x\r\n"), code(399));
    second("redirected without a body", answer("302 Found", "", "Location: /x\r\n"), noData);
    second("an empty range",
           answer("206 Partial Content", "", "Content-Range: bytes 10241-10240/25000\r\n"), noData);
    second("the whole file again", answer("200 OK", content), code(399));
    second("another range",
           answer("206 Partial Content", content.left(10), "Content-Range: bytes 0-9/25000\r\n"),
           code(399));
    second("a range without its place", answer("206 Partial Content", content.left(10)), code(399));
    second("more than the file holds",
           answer("206 Partial Content", content, "Content-Range: bytes 10241-35240/25000\r\n"),
           code(399));
    second("closed inside the range",
           {partial + "Content-Range: bytes 10241-20481/25000\r\nContent-Length: 10241\r\n\r\nhalf",
            Ending::Close},
           code(2));
    second("reset inside the range",
           {partial + "Content-Range: bytes 10241-20481/25000\r\nContent-Length: 10241\r\n\r\nhalf",
            Ending::Reset},
           code(2));

    QTest::newRow("the first range answered with a file of another size")
        << ScriptedServer::Script([](const ReceivedRequest &request) {
               return request.method == "HEAD" ? headAnswer("25000")
                                               : answer("200 OK", "another file");
           })
        << code(399) << 2;
}

void tst_HttpDownLoader::endsInOneErrorAndLeavesTheTargetAlone()
{
    QFETCH(ScriptedServer::Script, script);
    ScriptedServer server(script);
    Download download(server.url());
    download.loader.start();
    QTRY_VERIFY(download.hasEnded());
    QTest::qWait(20);
    QCOMPARE(download.errors.size(), 1);
    QTEST(download.errors.value(0).value(0).toString(), "error");
    QCOMPARE(download.finished.size(), 0);
    QTEST(server.requests().size(), "requests");
    QCOMPARE(download.files(), QStringList({QStringLiteral("target")}));
    QCOMPARE(readFile(download.target()), QByteArray("older"));
}

void tst_HttpDownLoader::anUnwritableTargetIsAnError()
{
    const QByteArray content = fileContent(10);
    ScriptedServer server([&](const ReceivedRequest &r) { return fileAnswer(r, content); });
    const QString target = QStringLiteral("/nonexistent/folder/target");
    HttpDownLoader loader(server.url(), target);
    QSignalSpy errors(&loader, &HttpDownLoader::error);
    loader.start();
    QTRY_COMPARE(errors.size(), 1);
    QCOMPARE(errors.value(0).value(0).toString(), QStringLiteral("[错误] 打开文件出错: ") + target);
    QTest::qWait(20);
    QCOMPARE(server.requests().size(), 1);
}

void tst_HttpDownLoader::canBeStartedAnewFromItsError()
{
    const QByteArray content = fileContent(25000);
    int refusals = 2;
    ScriptedServer server([&](const ReceivedRequest &r) {
        return r.method == "GET" && refusals-- > 0 ? answer("403 Forbidden", "later")
                                                   : fileAnswer(r, content);
    });
    Download download(server.url());
    connect(&download.loader, &HttpDownLoader::error, &download.loader, &HttpDownLoader::start);
    download.loader.start();
    QTRY_VERIFY(!download.finished.isEmpty());
    QCOMPARE(download.errors.size(), 2);
    QCOMPARE(readFile(download.target()), content);
}

void tst_HttpDownLoader::destroyingItLeavesNothingBehind()
{
    const QByteArray content = fileContent(5000000);
    ScriptedServer server([&](const ReceivedRequest &r) { return fileAnswer(r, content); });
    QTemporaryDir dir;
    auto loader = std::make_unique<HttpDownLoader>(server.url(), dir.filePath(QStringLiteral("t")));
    QSignalSpy errors(loader.get(), &HttpDownLoader::error);
    loader->start();
    QTRY_VERIFY(loader->received() > 0);
    loader.reset();
    QCOMPARE(errors.size(), 0);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList());
}

QTEST_GUILESS_MAIN(tst_HttpDownLoader)
#include "tst_http_downloader.moc"
