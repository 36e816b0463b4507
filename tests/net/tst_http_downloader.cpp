#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "net/file_size_limit.h"
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

Q_DECLARE_METATYPE(ScriptedAnswer)
Q_DECLARE_METATYPE(ScriptedServer::Script)

namespace {

QString errorWithCode(int code)
{
    return QStringLiteral("Recv Data Error, Error Code is %1").arg(code);
}

// The server answers HEAD as the row says.
void addHeadRow(const char *name, const ScriptedAnswer &scripted)
{
    QTest::newRow(name) << ScriptedServer::Script(
                               [scripted](const ReceivedRequest &) { return scripted; })
                        << QStringLiteral("Failed to get file size.") << 1;
}

void addHeadRows()
{
    addHeadRow("no length", {"HTTP/1.1 200 OK\r\n\r\n", ScriptedAnswer::Ending::Close});
    addHeadRow("a length that is no number", headAnswer("many"));
    addHeadRow("a negative length", headAnswer("-5"));
    addHeadRow("a length beyond 32 bits", headAnswer("2147483648"));
    addHeadRow("HEAD refused, with a length", headAnswer("100", "403 Forbidden"));
    addHeadRow("HEAD redirected, with a length", headAnswer("100", "302 Found"));
}

// An honest server up to the second range, which it answers as the row says.
void addSecondRangeRow(const char *name, const ScriptedAnswer &scripted, const QString &error)
{
    const auto script = [scripted, content = fileContent(25000)](const ReceivedRequest &request) {
        return request.headers.value("range") == "bytes=10241-20481" ? scripted
                                                                     : fileAnswer(request, content);
    };
    QTest::newRow(name) << ScriptedServer::Script(script) << error << 3;
}

void addSecondRangeRows()
{
    using Ending = ScriptedAnswer::Ending;
    const QByteArray half = "HTTP/1.1 206 Partial Content\r\n"
                            "Content-Range: bytes 10241-20481/25000\r\n"
                            "Content-Length: 10241\r\n\r\nhalf";
    const QString noData = QStringLiteral("Fail Recv File Data");
    const QByteArray wholeFile = fileContent(25000);
    addSecondRangeRow("refused with a body", answer("403 Forbidden", "go away"),
                      errorWithCode(201));
    addSecondRangeRow("not found", answer("404 Not Found", ""), errorWithCode(203));
    addSecondRangeRow("server error", answer("500 Internal Server Error", "sorry"),
                      errorWithCode(401));
    addSecondRangeRow("redirected", answer("302 Found", "moved", "Location: /x\r\n"),
                      errorWithCode(399));
    addSecondRangeRow("redirected without a body", answer("302 Found", "", "Location: /x\r\n"),
                      noData);
    addSecondRangeRow(
        "an empty range",
        answer("206 Partial Content", "", "Content-Range: bytes 10241-10240/25000\r\n"), noData);
    addSecondRangeRow("the whole file again", answer("200 OK", wholeFile), errorWithCode(399));
    addSecondRangeRow(
        "another range",
        answer("206 Partial Content", wholeFile.left(10), "Content-Range: bytes 0-9/25000\r\n"),
        errorWithCode(399));
    addSecondRangeRow("a range without its place",
                      answer("206 Partial Content", wholeFile.left(10)), errorWithCode(399));
    addSecondRangeRow(
        "more than the file holds",
        answer("206 Partial Content", wholeFile, "Content-Range: bytes 10241-35240/25000\r\n"),
        errorWithCode(399));
    addSecondRangeRow("closed inside the range", {half, Ending::Close}, errorWithCode(2));
    addSecondRangeRow("reset inside the range", {half, Ending::Reset}, errorWithCode(2));
}

void addWrongFileRow()
{
    const auto script = [](const ReceivedRequest &request) {
        return request.method == "HEAD" ? headAnswer("25000") : answer("200 OK", "another file");
    };
    QTest::newRow("the first range answered with a file of another size")
        << ScriptedServer::Script(script) << errorWithCode(399) << 2;
}

} // namespace

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
    void aFullDiskIsAnError();
    void canBeStartedAnewFromItsError_data();
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
    const QString message = QStringLiteral("[结束] 成功: ") + download.target();
    QTest::ignoreMessage(QtDebugMsg, qPrintable(message));
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

    addHeadRows();
    addSecondRangeRows();
    addWrongFileRow();
}

void tst_HttpDownLoader::endsInOneErrorAndLeavesTheTargetAlone()
{
    QFETCH(ScriptedServer::Script, script);
    QFETCH(QString, error);
    ScriptedServer server(script);
    Download download(server.url());
    QTest::ignoreMessage(QtDebugMsg, qPrintable(QStringLiteral("[结束] 失败: ") + error));
    download.loader.start();
    QTRY_VERIFY(download.hasEnded());
    QTest::qWait(20);
    QCOMPARE(download.errors.size(), 1);
    QCOMPARE(download.errors.value(0).value(0).toString(), error);
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
    const QString message = QStringLiteral("[错误] 打开文件出错: ") + target;
    QTest::ignoreMessage(QtDebugMsg, qPrintable(message));
    loader.start();
    QTRY_COMPARE(errors.size(), 1);
    QCOMPARE(errors.value(0).value(0).toString(), message);
    QTest::qWait(20);
    QCOMPARE(server.requests().size(), 1);
}

void tst_HttpDownLoader::aFullDiskIsAnError()
{
    const QByteArray content = fileContent(100000);
    ScriptedServer server([&](const ReceivedRequest &r) { return fileAnswer(r, content); });
    Download download(server.url());
    const FileSizeLimit limit(50000);
    download.loader.start();
    QTRY_VERIFY(download.hasEnded());
    QTest::qWait(20);
    QCOMPARE(download.errors.size(), 1);
    QCOMPARE(download.errors.value(0).value(0).toString(), QStringLiteral("File too large"));
    QCOMPARE(server.requests().size(), 6);
    QCOMPARE(download.files(), QStringList({QStringLiteral("target")}));
    QCOMPARE(readFile(download.target()), QByteArray("older"));
}

void tst_HttpDownLoader::canBeStartedAnewFromItsError_data()
{
    QTest::addColumn<ScriptedAnswer>("failure");

    QTest::newRow("refused") << answer("403 Forbidden", "later");
    QTest::newRow("another range, aborted half-way")
        << ScriptedAnswer{"HTTP/1.1 206 Partial Content\r\nContent-Range: bytes 5-9/25000\r\n"
                          "Content-Length: 5\r\n\r\nhal"};
}

void tst_HttpDownLoader::canBeStartedAnewFromItsError()
{
    QFETCH(ScriptedAnswer, failure);
    const QByteArray content = fileContent(25000);
    int failures = 2;
    ScriptedServer server([&](const ReceivedRequest &r) {
        return r.method == "GET" && failures-- > 0 ? failure : fileAnswer(r, content);
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
