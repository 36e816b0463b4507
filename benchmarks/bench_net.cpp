#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QThread>

#include "figures.h"
#include "net/http_client.h"
#include "net/http_downloader.h"
#include "net/scripted_server.h"

namespace {

constexpr int PostCount = 2000;
constexpr int Megabyte = 1024 * 1024;
constexpr int ChunkSize = 10240;

// A server on a thread of its own; what it costs is the same for both sides.
class ServerThread final : public QThread
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ServerThread)

public:
    explicit ServerThread(ScriptedServer::Script script) : m_script(std::move(script))
    {
        start();
        m_listening.acquire();
    }
    ~ServerThread() override
    {
        quit();
        wait();
    }

    QString url() const { return m_url; }

private:
    void run() override
    {
        ScriptedServer server(m_script);
        server.keepNoRequests();
        m_url = server.url();
        m_listening.release();
        exec();
    }

    const ScriptedServer::Script m_script;
    QSemaphore m_listening;
    QString m_url;
};

void postThroughClient(const QString &url, QNetworkAccessManager *manager)
{
    QEventLoop loop;
    int left = PostCount;
    std::function<void()> next = [&] {
        HttpClient(url)
            .manager(manager)
            .json(QStringLiteral("{\"file_id\":\"1\"}"))
            .success([&](const QString &) { --left > 0 ? next() : loop.quit(); })
            .post();
    };
    next();
    loop.exec();
}

void postByHand(const QString &url, QNetworkAccessManager *manager)
{
    QEventLoop loop;
    int left = PostCount;
    std::function<void()> next = [&] {
        QNetworkRequest request{QUrl(url)};
        request.setHeader(QNetworkRequest::ContentTypeHeader,
                          QByteArrayLiteral("application/json; charset=utf-8"));
        QNetworkReply *reply = manager->post(request, QByteArrayLiteral("{\"file_id\":\"1\"}"));
        QObject::connect(reply, &QNetworkReply::finished, &loop, [&, reply] {
            const QString text = QString::fromUtf8(reply->readAll());
            reply->deleteLater();
            --left > 0 && !text.isEmpty() ? next() : loop.quit();
        });
    };
    next();
    loop.exec();
}

void downloadThroughLoader(const QString &url, const QString &path)
{
    QEventLoop loop;
    HttpDownLoader loader(url, path);
    QObject::connect(&loader, &HttpDownLoader::downFinished, &loop, &QEventLoop::quit);
    loader.start();
    loop.exec();
}

void downloadByHand(const QString &url, const QString &path, int size)
{
    QEventLoop loop;
    QNetworkAccessManager manager;
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    std::function<void()> next = [&] {
        const qint64 first = file.pos();
        QNetworkRequest request{QUrl(url)};
        request.setRawHeader("Range", "bytes=" + QByteArray::number(first) + '-' +
                                          QByteArray::number(first + ChunkSize));
        QNetworkReply *reply = manager.get(request);
        QObject::connect(reply, &QNetworkReply::finished, &loop, [&, reply] {
            file.write(reply->readAll());
            file.flush();
            reply->deleteLater();
            file.pos() < size ? next() : loop.quit();
        });
    };
    next();
    loop.exec();
}

Figure requestMemory(const QString &url, QNetworkAccessManager *manager)
{
    return {"net: memory that 10,000 more posts add",
            "MB",
            1.0,
            [=] {
                postThroughClient(url, manager);
                const double before = residentMegabytes();
                for (int i = 0; i < 5; ++i) {
                    postThroughClient(url, manager);
                }
                return residentMegabytes() - before;
            },
            {},
            3};
}

Figure posts(const QString &url, QNetworkAccessManager *manager)
{
    return {"net: 2,000 small posts in turn", "s", 1.15,
            [=] { return secondsOf([&] { postThroughClient(url, manager); }); },
            [=] { return secondsOf([&] { postByHand(url, manager); }); }};
}

Figure download(const QString &url, const QString &path, int size)
{
    return {"net: a 20 MB download in chunks", "s", 1.15,
            [=] { return secondsOf([&] { downloadThroughLoader(url, path); }); },
            [=] { return secondsOf([&] { downloadByHand(url, path, size); }); }};
}

// What a download eight times as large holds more than a small one.
Figure downloadMemory(const QString &smallUrl, const QString &largeUrl, const QString &path)
{
    return {"net: memory that a 20 MB download adds",
            "MB",
            2.0,
            [=] {
                downloadThroughLoader(smallUrl, path);
                const double before = residentMegabytes();
                downloadThroughLoader(largeUrl, path);
                return residentMegabytes() - before;
            },
            {},
            3};
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const ServerThread poster(
        [](const ReceivedRequest &) { return answer("200 OK", R"({"file_id":"1"})"); });
    const QByteArray content(20 * Megabyte, 'x');
    const QByteArray start = content.left(Megabyte);
    const ServerThread large([&](const ReceivedRequest &r) { return fileAnswer(r, content); });
    const ServerThread small([&](const ReceivedRequest &r) { return fileAnswer(r, start); });
    QNetworkAccessManager manager;
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("file"));
    return runFigures(argc, argv,
                      {posts(poster.url(), &manager), requestMemory(poster.url(), &manager),
                       download(large.url(), path, content.size()),
                       downloadMemory(small.url(), large.url(), path)});
}

#include "bench_net.moc"
