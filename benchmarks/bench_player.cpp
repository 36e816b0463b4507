#include <clocale>
#include <memory>

#include <unistd.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include "figures.h"
#include "localdrive/server.h"
#include "player/clips.h"
#include "player/mpv_widget.h"

// The player's video against mpv itself: the same film from the same address, in a window of the
// same size, both drawn by OpenGL in software and without sound.

namespace {

constexpr QSize windowSize(960, 540);
constexpr int warmUp = 1500;   // ms
constexpr int measured = 4000; // ms

void wait(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

template <class Condition>
bool waitUntil(const Condition &condition, int milliseconds = 10000)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < milliseconds)
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    return condition();
}

// The processor time that a process has used so far, in seconds.
double processorSeconds(qint64 process)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(process));
    stat.open(QIODevice::ReadOnly);
    const QByteArray line = stat.readAll();
    // The fields behind the name, which may hold blanks; user and system time are the 12th, 13th.
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    return (fields.value(11).toDouble() + fields.value(12).toDouble()) /
           static_cast<double>(sysconf(_SC_CLK_TCK));
}

double residentMegabytesOf(qint64 process)
{
    QFile statm(QStringLiteral("/proc/%1/statm").arg(process));
    statm.open(QIODevice::ReadOnly);
    const double pages = statm.readAll().split(' ').value(1).toDouble();
    return pages * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

double shareOfACore(qint64 process)
{
    QElapsedTimer timer;
    timer.start();
    const double before = processorSeconds(process);
    wait(measured);
    return (processorSeconds(process) - before) * 1000 / static_cast<double>(timer.elapsed());
}

// mpv in a process of its own, steered through its socket.
class Mpv final
{
    Q_DISABLE_COPY_MOVE(Mpv)

public:
    Mpv()
    {
        const QString socket = m_folder.filePath(QStringLiteral("socket"));
        m_process.start(
            QStringLiteral("mpv"),
            {QStringLiteral("--no-config"), QStringLiteral("--vo=gpu"),
             QStringLiteral("--gpu-sw=yes"), QStringLiteral("--ao=null"),
             QStringLiteral("--no-terminal"), QStringLiteral("--no-border"),
             QStringLiteral("--osc=no"), QStringLiteral("--idle"), QStringLiteral("--force-window"),
             QStringLiteral("--geometry=%1x%2").arg(windowSize.width()).arg(windowSize.height()),
             QStringLiteral("--input-ipc-server=") + socket});
        waitUntil([&] {
            m_socket.connectToServer(socket);
            return m_socket.waitForConnected(20);
        });
        wait(500);
    }
    ~Mpv()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    void load(const QString &url)
    {
        const QJsonObject command{
            {QStringLiteral("command"), QJsonArray{QStringLiteral("loadfile"), url}}};
        m_socket.write(QJsonDocument(command).toJson(QJsonDocument::Compact) + '\n');
        m_socket.flush();
    }
    bool waitForPicture()
    {
        return waitUntil([this] {
            m_events += m_socket.readAll();
            return m_events.contains("\"playback-restart\"");
        });
    }
    qint64 process() const { return m_process.processId(); }

private:
    QTemporaryDir m_folder;
    QProcess m_process;
    QLocalSocket m_socket;
    QByteArray m_events;
};

// Our widget in a window of its own.
class Ours final
{
public:
    Ours()
    {
        QObject::connect(&m_widget, &MpvWidget::positionChanged, &m_widget,
                         [this] { m_hasPosition = true; });
        QObject::connect(&m_widget, &QOpenGLWidget::frameSwapped, &m_widget,
                         [this] { m_wasDrawn = m_hasPosition; });
        m_widget.resize(windowSize);
        m_widget.show();
        waitUntil([this] { return m_widget.isValid(); });
        wait(500);
    }

    MpvWidget &widget() { return m_widget; }
    bool waitForPicture()
    {
        return waitUntil([this] { return m_hasPosition && m_wasDrawn; });
    }

private:
    MpvWidget m_widget;
    bool m_hasPosition = false;
    bool m_wasDrawn = false; // since there is a position
};

// Plays in a process of its own, as mpv does, until it is killed; says when the picture is there.
int playForEver(const QString &url)
{
    Ours ours;
    ours.widget().loadFile(url);
    ours.waitForPicture();
    QFile out;
    out.open(stdout, QIODevice::WriteOnly);
    out.write("playing\n");
    out.flush();
    return QApplication::exec();
}

class OwnProcess final
{
    Q_DISABLE_COPY_MOVE(OwnProcess)

public:
    explicit OwnProcess(const QString &url)
    {
        m_process.start(QCoreApplication::applicationFilePath(), {playOption(), url});
        waitUntil([this] { return m_process.canReadLine(); });
    }
    ~OwnProcess()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    static QString playOption() { return QStringLiteral("--play"); }
    qint64 id() const { return m_process.processId(); }

private:
    QProcess m_process;
};

double playingShareOfOurs(const QString &url)
{
    const OwnProcess ours(url);
    wait(warmUp);
    return shareOfACore(ours.id());
}

double playingShareOfMpv(const QString &url)
{
    Mpv mpv;
    mpv.load(url);
    mpv.waitForPicture();
    wait(warmUp);
    return shareOfACore(mpv.process());
}

double pausedShareOfOurs(const QString &url)
{
    Ours ours;
    ours.widget().loadFile(url);
    ours.waitForPicture();
    ours.widget().pause();
    wait(warmUp);
    return shareOfACore(getpid());
}

double droppedShareOfOurs(const QString &url)
{
    Ours ours;
    ours.widget().loadFile(url);
    ours.waitForPicture();
    wait(warmUp + measured);
    const int dropped = ours.widget().getProperty(QStringLiteral("frame-drop-count")).toInt();
    return 100.0 * dropped / (30.0 * (warmUp + measured) / 1000);
}

double firstPictureOfOurs(const QString &url)
{
    Ours ours;
    return secondsOf([&] {
        ours.widget().loadFile(url);
        ours.waitForPicture();
    });
}

double firstPictureOfMpv(const QString &url)
{
    Mpv mpv;
    return secondsOf([&] {
        mpv.load(url);
        mpv.waitForPicture();
    });
}

double memoryOfOurs(const QString &url)
{
    const OwnProcess ours(url);
    wait(warmUp);
    return residentMegabytesOf(ours.id());
}

double memoryOfMpv(const QString &url)
{
    Mpv mpv;
    mpv.load(url);
    mpv.waitForPicture();
    wait(warmUp);
    return residentMegabytesOf(mpv.process());
}

// Grain and bit rate as films have them: flat colours would cost the decoder nothing.
clips::Clip filmLikeClip()
{
    clips::Clip clip;
    clip.seconds = 30;
    clip.width = 1280;
    clip.height = 720;
    clip.outputs = QStringLiteral("-r 30 -vf noise=alls=12:allf=t -preset medium -b:v 4M")
                       .split(QLatin1Char(' '));
    return clip;
}

std::vector<Figure> figures(const QString &url)
{
    return {
        {"player: from loading to the first picture", "s", 1.3,
         [=] { return firstPictureOfOurs(url); }, [=] { return firstPictureOfMpv(url); }, 5},
        {"player: share of a core playing 720p30 at 960x540", "", 1.5,
         [=] { return playingShareOfOurs(url); }, [=] { return playingShareOfMpv(url); }, 5},
        {"player: share of a core while paused",
         "",
         0.01,
         [=] { return pausedShareOfOurs(url); },
         {},
         3},
        {"player: dropped frames", "%", 1.0, [=] { return droppedShareOfOurs(url); }, {}, 3},
        {"player: memory while playing", "MB", 1.4, [=] { return memoryOfOurs(url); },
         [=] { return memoryOfMpv(url); }, 5},
    };
}

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    const QStringList arguments = QApplication::arguments();
    if (arguments.value(1) == OwnProcess::playOption())
        return playForEver(arguments.value(2));
    localdrive::Server server;
    const QString film = QString::fromStdString(server.rootPath()) + QStringLiteral("/film.mkv");
    if (!server.start() || !clips::make(film, filmLikeClip()))
        return 1;
    const std::string url = server.downloadUrl("film.mkv", std::chrono::hours(1));
    return runFigures(argc, argv, figures(QString::fromStdString(url)));
}
