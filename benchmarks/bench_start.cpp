// From the start of the process to what a user sees, by looking at the screen: the program with a
// stored user against an empty window with the same skin.

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QMainWindow>
#include <QProcess>
#include <QScreen>

#include "db/tables/operations.h"
#include "figures.h"
#include "session/drive_fixture.h"

namespace {

constexpr qint64 Patience = 20000; // ms
// No white: the window manager's titles are.
const QRgb WindowColour = qRgb(0xf5, 0xf7, 0xf8);
const QRgb SelectedRow = qRgb(0xe4, 0xf2, 0xea);

// A line down the middle of the screen, where the window manager puts the first window.
bool isShown(const QList<QRgb> &colours)
{
    QScreen *screen = QGuiApplication::primaryScreen();
    const QSize size = screen->size();
    const QImage line = screen->grabWindow(0, size.width() / 2, 0, 1, size.height())
                            .toImage()
                            .convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < line.height(); ++y) {
        if (colours.contains(line.pixel(0, y))) {
            return true;
        }
    }
    return false;
}

double secondsUntil(const QString &program, const QStringList &arguments,
                    const QList<QRgb> &colours)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    QElapsedTimer timer;
    timer.start();
    process.start(program, arguments);
    while (!isShown(colours) && timer.elapsed() < Patience) {
        process.waitForReadyRead(1);
    }
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    process.kill();
    process.waitForFinished();
    while (isShown({WindowColour, SelectedRow}) && timer.elapsed() < 2 * Patience) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return seconds;
}

int showBareWindow()
{
    QFile skin(QStringLiteral(":/skin/qss/Ubuntu.qss"));
    if (skin.open(QIODevice::ReadOnly)) {
        qApp->setStyleSheet(QString::fromUtf8(skin.readAll()));
    }
    QMainWindow window;
    window.resize(1000, 700);
    window.show();
    return QApplication::exec();
}

} // namespace

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    if (QCoreApplication::arguments().value(1) == QLatin1String("--bare")) {
        return showBareWindow();
    }
    DriveFixture drive;
    for (int number = 0; number < 50; ++number) {
        drive.server().makeFile(std::to_string(number) + ".txt", "x");
    }
    drive.logIn();
    const QString program = QStringLiteral(MORAVU_PROGRAM);
    const QString own = QCoreApplication::applicationFilePath();
    const QList<QRgb> window{WindowColour};
    return runFigures(argc, argv,
                      {{"start: to the main window's first paint", "s", 1.5,
                        [&] { return secondsUntil(program, {}, window); },
                        [&] { return secondsUntil(own, {QStringLiteral("--bare")}, window); }, 15},
                       {"start: to the first rows",
                        "s",
                        2,
                        [&] { return secondsUntil(program, {}, {SelectedRow}); },
                        {}}});
}
