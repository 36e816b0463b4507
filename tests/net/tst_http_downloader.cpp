#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "net/file_size_limit.h"
#include "net/http_downloader.h"
#include "net/reply_guard.h"
#include "net/scripted_server.h"
#include "support/log_capture.h"

namespace {

using Ending = ScriptedAnswer::Ending;
using Ranges = QList<QByteArray>;

QByteArray fileContent(int size)
{
    QByteArray content(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i) {
        content[i] = char(i * 31 + i / 251);
    }
    return content;
}

ScriptedServer::Script fileServer(const QByteArray &content)
{
    return [content](const ReceivedRequest &request) { return fileAnswer(request, content); };
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
        if (file.open(QIODevice::WriteOnly)) {
            file.write("older");
        }
    }

    QString target() const { return dir.filePath("target"); }
    QStringList files() const { return QDir(dir.path()).entryList(QDir::Files | QDir::Hidden); }
    bool hasEnded() const { return !errors.isEmpty() || !finished.isEmpty(); }

    QTemporaryDir dir;
    HttpDownLoader loader;
    QSignalSpy errors{&loader, &HttpDownLoader::error};
    QSignalSpy written{&loader, &HttpDownLoader::readyWrite};
    QSignalSpy finished{&loader, &HttpDownLoader::downFinished};
};

QString errorWithCode(int code)
{
    return QString("Recv Data Error, Error Code is %1").arg(code);
}

} // namespace

Q_DECLARE_METATYPE(ScriptedAnswer)
Q_DECLARE_METATYPE(ScriptedServer::Script)

class TestHttpDownLoader final : public QObject
{
    Q_OBJECT

private slots:
    void asksForTheRangesAsTheyFollow_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<Ranges>("ranges");
        QTest::newRow("empty file") << 0 << Ranges{};
        QTest::newRow("what one request asks for") << 10241 << Ranges{"bytes=0-10240"};
        QTest::newRow("one byte more") << 10242 << Ranges{"bytes=0-10240", "bytes=10241-20481"};
    }
    void asksForTheRangesAsTheyFollow()
    {
        QFETCH(int, size);
        const QByteArray content = fileContent(size);
        ScriptedServer server(fileServer(content));
        Download download(server.url());
        LogCapture log;
        download.loader.start();
        QTRY_VERIFY(download.hasEnded());
        Ranges ranges;
        for (const ReceivedRequest &request : server.requests()) {
            QCOMPARE(request.headers.value("user-agent"), QByteArray("QtApp-HttpDownLoader"));
            QCOMPARE(request.headers.value("accept"), QByteArray("application/octet-stream"));
            QCOMPARE(request.headers.value("accept-encoding"), QByteArray("identity"));
            if (request.method == "GET") {
                ranges += request.headers.value("range");
            }
        }
        QTEST(ranges, "ranges");
        QCOMPARE(server.requests().value(0).method, QByteArray("HEAD"));
        QCOMPARE(log.lines(), QStringList("[结束] 成功: " + download.target()));
        QCOMPARE(download.errors.size(), 0);
        QCOMPARE(download.finished.size(), 1);
        QVERIFY(download.written.size() >= ranges.size());
        QCOMPARE(download.loader.received(), size);
        QCOMPARE(readFile(download.target()), content);
        QCOMPARE(download.files(), QStringList("target"));
    }
    void takesTheWholeFileInPlaceOfItsFirstRange()
    {
        const QByteArray content = fileContent(300000);
        ScriptedServer server([&](const ReceivedRequest &r) {
            return r.method == "HEAD" ? fileAnswer(r, content) : answer("200 OK", content);
        });
        Download download(server.url());
        download.loader.start();
        QTRY_VERIFY(download.hasEnded());
        QCOMPARE(server.requests().size(), 2);
        QCOMPARE(readFile(download.target()), content);
    }
    void endsInOneErrorAndLeavesTheTargetAlone_data()
    {
        QTest::addColumn<ScriptedServer::Script>("script");
        QTest::addColumn<QString>("error");
        QTest::addColumn<int>("requests");
        const auto head = [](const char *status, const QByteArray &headers) {
            const ScriptedAnswer scripted{"HTTP/1.1 " + QByteArray(status) + "\r\n" + headers +
                                              "\r\n\r\n",
                                          headers.isEmpty() ? Ending::Close : Ending::Keep};
            QTest::addRow("HEAD: %s %s", status, headers.constData())
                << ScriptedServer::Script([scripted](const ReceivedRequest &) { return scripted; })
                << "Failed to get file size." << 1;
        };
        head("200 OK", "");
        for (const char *length : {"many", "-5", "2147483648"}) {
            head("200 OK", QByteArray("Content-Length: ") + length);
        }
        head("403 Forbidden", "Content-Length: 100");
        head("302 Found", "Content-Length: 100");

        // An honest server up to the second range, which it answers as the row says.
        const QByteArray whole = fileContent(25000);
        const auto row = [&](const char *name, const ScriptedAnswer &scripted,
                             const QString &error) {
            const auto script = [scripted, whole](const ReceivedRequest &request) {
                const bool isSecond = request.headers.value("range") == "bytes=10241-20481";
                return isSecond ? scripted : fileAnswer(request, whole);
            };
            QTest::newRow(name) << ScriptedServer::Script(script) << error << 3;
        };
        const auto range = [&](const char *name, const QByteArray &place, const QByteArray &bytes,
                               const QString &error) {
            row(name, answer("206 Partial Content", bytes, "Content-Range: " + place + "\r\n"),
                error);
        };
        const QString noData = "Fail Recv File Data";
        row("refused with a body", answer("400 Bad Request", "go away"), errorWithCode(302));
        row("server error", answer("500 Internal Server Error", "sorry"), errorWithCode(401));
        row("redirected", answer("302 Found", "moved", "Location: /x\r\n"), errorWithCode(399));
        row("redirected without a body", answer("302 Found", ""), noData);
        row("the whole file again", answer("200 OK", whole), errorWithCode(399));
        row("a range without its place", answer("206 Partial Content", "x"), errorWithCode(399));
        range("an empty range", "bytes 10241-10240/25000", "", noData);
        range("another range", "bytes 0-9/25000", "0123456789", errorWithCode(399));
        range("a file that was replaced", "bytes 10241-10250/24999", "0123456789",
              errorWithCode(399));
        range("more than the file holds", "bytes 10241-35240/25000", whole, errorWithCode(399));
        const QByteArray half = "HTTP/1.1 206 Partial Content\r\nContent-Length: 10241\r\n"
                                "Content-Range: bytes 10241-20481/25000\r\n\r\nhalf";
        row("closed inside the range", {half, Ending::Close}, errorWithCode(2));
        row("silent inside the range", {half}, errorWithCode(4));
        row("silent inside another range",
            {"HTTP/1.1 206 Partial Content\r\nContent-Length: 10241\r\n"
             "Content-Range: bytes 0-10240/25000\r\n\r\nhalf"},
            errorWithCode(399));
        QTest::newRow("the first range answered with a file of another size")
            << ScriptedServer::Script([whole](const ReceivedRequest &request) {
                   return request.method == "HEAD" ? fileAnswer(request, whole)
                                                   : answer("200 OK", "another file");
               })
            << errorWithCode(399) << 2;
    }
    void endsInOneErrorAndLeavesTheTargetAlone()
    {
        QFETCH(ScriptedServer::Script, script);
        QFETCH(QString, error);
        ScriptedServer server(script);
        Download download(server.url());
        ReplyGuard::setPatience({std::chrono::milliseconds(300), {}});
        LogCapture log;
        download.loader.start();
        QTRY_VERIFY(download.hasEnded());
        QTest::qWait(20);
        QCOMPARE(download.errors, QList<QVariantList>{{error}});
        QCOMPARE(log.lines(), QStringList("[结束] 失败: " + error));
        QCOMPARE(download.finished.size(), 0);
        QTEST(server.requests().size(), "requests");
        if (QByteArray(QTest::currentDataTag()).startsWith("silent")) {
            QTRY_COMPARE(server.openConnections(), 0);
        }
        QCOMPARE(download.files(), QStringList("target"));
        QCOMPARE(readFile(download.target()), QByteArray("older"));
    }
    void whatCannotBeAskedWrittenOrHeldIsAnError()
    {
        ScriptedServer server(fileServer(fileContent(100)));
        const QString nowhere = "/nonexistent/folder/target";
        for (const auto &[url, error] :
             {std::pair(QString("file:///etc/hostname"), errorWithCode(301)),
              std::pair(server.url(), "[错误] 打开文件出错: " + nowhere)}) {
            HttpDownLoader loader(url, nowhere);
            QSignalSpy errors(&loader, &HttpDownLoader::error);
            loader.start();
            QCOMPARE(errors.size(), 0);
            QTRY_COMPARE(errors, QList<QVariantList>{{error}});
        }
        QCOMPARE(server.requests().size(), 1);

        Download download(server.url());
        download.loader.setLargest(99);
        download.loader.start();
        QTRY_COMPARE(download.errors, QList<QVariantList>{{"The file is larger than 99 bytes"}});
        download.loader.setLargest(100);
        download.loader.start();
        QTRY_COMPARE(download.finished.size(), 1);
    }
    void aFullDiskIsAnError()
    {
        ScriptedServer server(fileServer(fileContent(100000)));
        Download download(server.url());
        const FileSizeLimit limit(50000);
        download.loader.start();
        QTRY_VERIFY(download.hasEnded());
        QTest::qWait(20);
        QCOMPARE(download.errors, QList<QVariantList>{{"File too large"}});
        QCOMPARE(server.requests().size(), 6);
        QCOMPARE(download.files(), QStringList("target"));
        QCOMPARE(readFile(download.target()), QByteArray("older"));
    }
    void canBeStartedAnewFromItsError_data()
    {
        QTest::addColumn<ScriptedAnswer>("failure");
        QTest::newRow("refused") << answer("403 Forbidden", "later");
        QTest::newRow("another range, aborted half-way")
            << ScriptedAnswer{"HTTP/1.1 206 Partial Content\r\nContent-Length: 5\r\n"
                              "Content-Range: bytes 5-9/25000\r\n\r\nhal"};
    }
    void canBeStartedAnewFromItsError()
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
    void destroyingItLeavesNothingBehind()
    {
        ScriptedServer server(fileServer(fileContent(5000000)));
        const QTemporaryDir dir;
        auto loader = std::make_unique<HttpDownLoader>(server.url(), dir.filePath("t"));
        QSignalSpy errors(loader.get(), &HttpDownLoader::error);
        loader->start();
        QTRY_VERIFY(loader->received() > 0);
        loader.reset();
        QCOMPARE(errors.size(), 0);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestHttpDownLoader)
#include "tst_http_downloader.moc"
