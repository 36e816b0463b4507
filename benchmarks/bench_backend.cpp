#include <cstdio>
#include <memory>
#include <thread>

#include <httplib.h>

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>

#include "figures.h"

namespace {

constexpr int Connections = 64;
constexpr char Question[] =
    R"({"client_id":"moravu-local","client_secret":"moravu-local-secret",)"
    R"("scopes":["user:base","file:all:read","file:all:write"],"width":430,"height":430})";
constexpr double Failed = 1e9;

// A program that says where it listens.
class Service final
{
public:
    Service(const QString &program, const QStringList &arguments)
    {
        m_process.start(program, arguments);
        m_process.waitForReadyRead();
        m_address = QString::fromUtf8(m_process.readLine()).trimmed().section(QLatin1Char(' '), -1);
        // What it says from now on is nobody's concern, and must not fill a pipe.
        QObject::connect(&m_process, &QProcess::readyRead, &m_process,
                         [this] { m_process.readAll(); });
    }
    ~Service()
    {
        m_process.terminate();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(Service)

    [[nodiscard]] QString address() const { return m_address; }
    [[nodiscard]] double megabytes() const
    {
        QFile status(QStringLiteral("/proc/%1/status").arg(m_process.processId()));
        status.open(QIODevice::ReadOnly);
        static const QRegularExpression resident(QStringLiteral("VmRSS:\\s+(\\d+)"));
        return resident.match(QString::fromUtf8(status.readAll())).captured(1).toDouble() / 1024;
    }

private:
    QProcess m_process;
    QString m_address;
};

// As little as can stand between a client and the platform.
class BareBackend final
{
public:
    explicit BareBackend(const std::string &platform)
    {
        m_server.new_task_queue = [] { return new httplib::ThreadPool(Connections); };
        m_server.set_tcp_nodelay(true);
        m_server.set_keep_alive_max_count(1000000);
        m_server.Post("/app/oauth/authorize/qrcode",
                      [platform](const httplib::Request &, httplib::Response &response) {
                          httplib::Client client(platform);
                          client.set_tcp_nodelay(true); // head and body go out apart
                          const auto answer =
                              client.Post("/oauth/authorize/qrcode", Question, "application/json");
                          response.status = answer ? answer->status : 502;
                          response.set_content(answer ? answer->body : "", "application/json");
                      });
        m_port = m_server.bind_to_any_port("127.0.0.1");
        m_thread = std::thread([this] { m_server.listen_after_bind(); });
        while (!m_server.is_running()) { // stopped before, it would run for ever
            std::this_thread::yield();
        }
    }
    ~BareBackend()
    {
        m_server.stop();
        m_thread.join();
    }
    Q_DISABLE_COPY_MOVE(BareBackend)

    [[nodiscard]] QString address() const
    {
        return QStringLiteral("http://127.0.0.1:%1").arg(m_port);
    }

private:
    httplib::Server m_server;
    int m_port = 0;
    std::thread m_thread;
};

struct Load
{
    double secondsOfThousand = Failed;
    double slowest = Failed; // of 100, in ms
};

Load putLoad(const QString &address, const QString &script, int seconds)
{
    QProcess wrk;
    QEventLoop loop; // The services' output is read meanwhile.
    QObject::connect(&wrk, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), &loop,
                     &QEventLoop::quit);
    wrk.start(QStringLiteral("wrk"),
              {QStringLiteral("-t1"), QStringLiteral("-c%1").arg(Connections),
               QStringLiteral("-d%1").arg(seconds), QStringLiteral("--latency"),
               QStringLiteral("-s"), script,
               address + QStringLiteral("/app/oauth/authorize/qrcode")});
    loop.exec();
    const QString said = QString::fromUtf8(wrk.readAllStandardOutput());
    if (said.contains(QLatin1String("Non-2xx")) || said.contains(QLatin1String("Socket errors"))) {
        std::fputs(qPrintable(said), stderr);
        return {};
    }
    static const QRegularExpression rate(QStringLiteral("Requests/sec:\\s+([\\d.]+)"));
    static const QRegularExpression slow(QStringLiteral("99%\\s+([\\d.]+)(ms|s)"));
    const QRegularExpressionMatch latency = slow.match(said);
    const double unit = latency.captured(2) == QLatin1String("s") ? 1000 : 1;
    return {1000 / rate.match(said).captured(1).toDouble(), latency.captured(1).toDouble() * unit};
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    const QString script = folder.filePath(QStringLiteral("post.lua"));
    const QString secret = folder.filePath(QStringLiteral("application"));
    for (const auto &[path, content] :
         {std::pair(script, "wrk.method = 'POST'\nwrk.body = 'alphaTestNum='\n"),
          std::pair(secret, "client_id = moravu-local\nclient_secret = moravu-local-secret\n")}) {
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        file.write(content);
    }
    const Service drive(QStringLiteral(MORAVU_LOCALDRIVE),
                        {QStringLiteral("--state-dir"), folder.filePath(QStringLiteral("state"))});
    const Service ours(QStringLiteral(MORAVU_BACKEND),
                       {QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--rate"),
                        QStringLiteral("0"), QStringLiteral("--report-log"), QString(),
                        QStringLiteral("--application"), secret, QStringLiteral("--platform"),
                        drive.address()});
    const BareBackend bare(drive.address().toStdString());
    const auto forget = [&drive] {
        httplib::Client(drive.address().toStdString()).Post("/control/requests/clear");
    };
    const auto load = [&](const QString &address, int seconds) {
        forget();
        return putLoad(address, script, seconds);
    };
    constexpr int Brief = 4;
    const int lengthy = qEnvironmentVariableIsSet("MORAVU_LONG") ? 300 : 20;
    return runFigures(argc, argv,
                      {{"backend: 1,000 requests on 64 connections", "s", 1.25,
                        [&] { return load(ours.address(), Brief).secondsOfThousand; },
                        [&] { return load(bare.address(), Brief).secondsOfThousand; }, 5},
                       {"backend: 99 of 100 requests are faster than", "ms", 2.0,
                        [&] { return load(ours.address(), Brief).slowest; },
                        [&] { return load(bare.address(), Brief).slowest; }, 5},
                       {"backend: memory that more load adds",
                        "MB",
                        2.0,
                        [&] {
                            load(ours.address(), Brief);
                            const double before = ours.megabytes();
                            load(ours.address(), lengthy);
                            return ours.megabytes() - before;
                        },
                        {},
                        1}});
}
