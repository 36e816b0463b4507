#include <clocale>
#include <memory>
#include <utility>

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

#include "bare_video.h"
#include "db/tables/database.h"
#include "db/tables/operations.h"
#include "figures.h"
#include "player/mpv/mpv_widget.h"
#include "player/player_fixture.h"
#include "player/window/player_window.h"
#include "support/fault_on.h"

// The player against mpv itself: the same film from the same address, in a picture of the same
// size, both drawn by OpenGL in software and without sound.

namespace {

constexpr QSize PictureSize(960, 540);
constexpr int WarmUp = 1500;     // ms
constexpr int Measured = 4000;   // ms
constexpr int ReplyTime = 250;   // ms, of each reply of the drive
constexpr int EpisodeLength = 6; // s

const QString Film = QStringLiteral("film.mkv");
const QString FirstEpisode = QStringLiteral("show/1.mkv");

void wait(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

// False after ten seconds, or as many as are given.
template <class Condition>
bool waitUntil(const Condition &condition, int seconds = 10)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < qint64(seconds) * 1000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    }
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
    wait(Measured);
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
             QStringLiteral("--geometry=%1x%2").arg(PictureSize.width()).arg(PictureSize.height()),
             QStringLiteral("--input-ipc-server=") + socket});
        m_isRunning = m_process.waitForStarted() && waitUntil([&] {
                          m_socket.abort();
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

    // False where it does not run or shows no picture.
    bool play(const QString &url)
    {
        if (!m_isRunning) {
            return false;
        }
        const QJsonObject command{
            {QStringLiteral("command"), QJsonArray{QStringLiteral("loadfile"), url}}};
        m_socket.write(QJsonDocument(command).toJson(QJsonDocument::Compact) + '\n');
        m_socket.flush();
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
    bool m_isRunning = false;
};

// Sees when a video widget shows the picture of what was loaded last.
class PictureWatch final
{
    Q_DISABLE_COPY_MOVE(PictureWatch)

public:
    explicit PictureWatch(MpvWidget &widget)
    {
        QObject::connect(&widget, &MpvWidget::playEnd, &m_scope, [this] {
            m_sinceEnd.start();
            m_hasPosition = m_isShown = false;
        });
        QObject::connect(&widget, &MpvWidget::positionChanged, &m_scope,
                         [this] { m_hasPosition = true; });
        QObject::connect(&widget, &QOpenGLWidget::frameSwapped, &m_scope, [this] {
            if (m_hasPosition && !std::exchange(m_isShown, true) && m_sinceEnd.isValid()) {
                m_gap = static_cast<double>(m_sinceEnd.nsecsElapsed()) / 1e9;
            }
        });
    }

    bool isShown() const { return m_isShown; }
    // From the end of the last video to this one's picture, in seconds; 0 before.
    double gap() const { return m_gap; }

private:
    const QObject m_scope;
    QElapsedTimer m_sinceEnd;
    bool m_hasPosition = false;
    bool m_isShown = false;
    double m_gap = 0;
};

// Our video alone, in a window of its own.
class Ours final
{
public:
    Ours() : m_picture(m_widget)
    {
        m_widget.resize(PictureSize);
        m_widget.show();
        waitUntil([this] { return m_widget.isValid(); });
        wait(500);
    }

    MpvWidget &widget() { return m_widget; }
    bool play(const QString &url)
    {
        m_widget.loadFile(url);
        return waitUntil([this] { return m_picture.isShown(); });
    }

private:
    MpvWidget m_widget;
    const PictureWatch m_picture;
};

const QString WindowOption = QStringLiteral("--window");
const QString BareOption = QStringLiteral("--bare");

void sayPlaying()
{
    QFile out;
    out.open(stdout, QIODevice::WriteOnly);
    out.write("playing\n");
}

// The whole player with its controls and without its list, its picture as large as the others'.
int showWindow(const QString &fileId)
{
    Database database;
    setDatabase(&database);
    PlayRequest request;
    request.user = listUsers().value(0);
    request.file.file_id = fileId;
    request.file.parent_file_id = QStringLiteral("root");
    request.history.fileId = fileId;
    request.file.name = QStringLiteral("film.mkv");
    request.videos.append(request.file);
    PlayerHost host;
    host.open(request);
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        auto *video = window->findChild<MpvWidget *>();
        if (!video) {
            continue;
        }
        const PictureWatch picture(*video);
        window->findChild<QWidget *>(QStringLiteral("videoListPanel"))->hide();
        QCoreApplication::processEvents();
        window->resize(window->size() + PictureSize - video->size());
        if (waitUntil([&] { return picture.isShown() && video->size() == PictureSize; })) {
            sayPlaying();
        }
        return QApplication::exec();
    }
    return 1;
}

int showBare(const QString &url)
{
    BareVideo video;
    video.resize(PictureSize);
    video.show();
    waitUntil([&] { return video.isValid(); });
    int frames = 0;
    QObject::connect(&video, &QOpenGLWidget::frameSwapped, &video, [&frames] { ++frames; });
    video.play(url);
    if (waitUntil([&] { return frames > 10; })) {
        sayPlaying();
    }
    return QApplication::exec();
}

// This program in a process of its own, as mpv is one, until it is destroyed.
class OwnProcess final
{
    Q_DISABLE_COPY_MOVE(OwnProcess)

public:
    OwnProcess(const QString &option, const QString &what)
    {
        m_process.setProcessChannelMode(QProcess::SeparateChannels);
        m_process.start(QCoreApplication::applicationFilePath(), {option, what});
        m_isPlaying = waitUntil([this] { return m_process.canReadLine(); }, 20);
        wait(WarmUp);
    }
    ~OwnProcess()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    double share() const { return m_isPlaying ? shareOfACore(m_process.processId()) : Unmeasured; }
    double megabytes() const
    {
        return m_isPlaying ? residentMegabytesOf(m_process.processId()) : Unmeasured;
    }

private:
    QProcess m_process;
    bool m_isPlaying = false;
};

double playingShareOfMpv(const QString &url)
{
    Mpv mpv;
    if (!mpv.play(url)) {
        return Unmeasured;
    }
    wait(WarmUp);
    return shareOfACore(mpv.process());
}

double pausedShareOfOurs(const QString &url)
{
    Ours ours;
    if (!ours.play(url)) {
        return Unmeasured;
    }
    ours.widget().pause();
    wait(WarmUp);
    return shareOfACore(getpid());
}

double droppedShareOfOurs(const QString &url)
{
    Ours ours;
    if (!ours.play(url)) {
        return Unmeasured;
    }
    wait(WarmUp + Measured);
    const int dropped = ours.widget().getProperty(QStringLiteral("frame-drop-count")).toInt();
    return 100.0 * dropped / (30.0 * (WarmUp + Measured) / 1000);
}

template <class Player>
double firstPicture(const QString &url)
{
    Player player;
    bool isShown = false;
    const double seconds = secondsOf([&] { isShown = player.play(url); });
    return isShown ? seconds : Unmeasured;
}

double memoryOfMpv(const QString &url)
{
    Mpv mpv;
    if (!mpv.play(url)) {
        return Unmeasured;
    }
    wait(WarmUp);
    return residentMegabytesOf(mpv.process());
}

void delayReplies(PlayerFixture &player, int milliseconds)
{
    player.server().clearFaults();
    player.server().addFault(FaultOn("/adrive/").always().delay(milliseconds));
}

// From the double-click in a list to the picture of a new window, without the time that two replies
// take: the play information and the address that only it can lead to.
double doubleClick(PlayerFixture &player)
{
    player.host().closeAll();
    delayReplies(player, ReplyTime);
    QElapsedTimer timer;
    timer.start();
    player.open(Film);
    const PictureWatch picture(*player.mpv());
    const bool isShown = waitUntil([&] { return picture.isShown(); });
    const double seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    player.host().closeAll();
    return isShown ? seconds - 2 * ReplyTime / 1000.0 : Unmeasured;
}

// From the end of one episode to the picture of the next.
double episodeGap(PlayerFixture &player, int replyTime)
{
    player.host().closeAll();
    delayReplies(player, replyTime);
    player.open(FirstEpisode);
    const PictureWatch picture(*player.mpv());
    const bool isShown = waitUntil([&] { return picture.gap() > 0; }, 30);
    player.host().closeAll();
    return isShown ? picture.gap() : Unmeasured;
}

// Grain and bit rate as films have them: flat colours would cost the decoder nothing.
clips::Clip filmLikeClip()
{
    clips::Clip clip;
    clip.seconds = 30;
    clip.width = 1280;
    clip.height = 720;
    clip.outputs = QStringLiteral("-r 30 -vf noise=alls=12:allf=t -preset veryfast -b:v 4M")
                       .split(QLatin1Char(' '));
    return clip;
}

std::vector<Figure> figures(PlayerFixture &player)
{
    const std::string address =
        player.server().downloadUrl(Film.toStdString(), std::chrono::hours(1));
    const QString url = QString::fromStdString(address);
    const QString fileId = player.item(Film).file_id;
    const auto windowShare = [=] { return OwnProcess(WindowOption, fileId).share(); };
    return {
        {"player: from loading to the first picture", "s", 1.3,
         [=] { return firstPicture<Ours>(url); }, [=] { return firstPicture<Mpv>(url); }, 5},
        {"player: double-click to picture, less two replies", "s", 1.3,
         [&player] { return doubleClick(player); }, [=] { return firstPicture<Mpv>(url); }, 5},
        {"player: between two episodes, 250 ms or 0 for a reply", "s", 1.2,
         [&player] { return episodeGap(player, ReplyTime); },
         [&player] { return episodeGap(player, 0); }, 5},
        // mpv draws into its window; a QOpenGLWidget is composed into the window once more.
        {"player: share of a core playing 720p30, window or mpv", "", NoLimit, windowShare,
         [=] { return playingShareOfMpv(url); }, 5},
        {"player: share of a core, window or bare QOpenGLWidget", "", 1.1, windowShare,
         [=] { return OwnProcess(BareOption, url).share(); }, 5},
        {"player: share of a core while paused",
         "",
         0.01,
         [=] { return pausedShareOfOurs(url); },
         {},
         3},
        {"player: dropped frames", "%", 1.0, [=] { return droppedShareOfOurs(url); }, {}, 3},
        {"player: memory while playing", "MB", 1.4,
         [=] { return OwnProcess(WindowOption, fileId).megabytes(); },
         [=] { return memoryOfMpv(url); }, 5},
    };
}

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    std::setlocale(LC_NUMERIC, "C");
    const QStringList arguments = QApplication::arguments();
    if (arguments.value(1) == WindowOption) {
        return showWindow(arguments.value(2));
    }
    if (arguments.value(1) == BareOption) {
        return showBare(arguments.value(2));
    }
    PlayerFixture player;
    player.addClip(Film, filmLikeClip());
    player.addClip(FirstEpisode, {EpisodeLength});
    player.addClip(QStringLiteral("show/2.mkv"), {EpisodeLength});
    return runFigures(argc, argv, figures(player));
}
