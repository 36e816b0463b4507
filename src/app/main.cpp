#include <clocale>

#include <QApplication>
#include <QIcon>

#include "api/session/session.h"
#include "app/appearance.h"
#include "app/arguments.h"
#include "app/environment/app_settings.h"
#include "db/tables/database.h"
#include "db/tables/operations.h"
#include "login/qr_login_dlg.h"
#include "ui/widgets/toast.h"
#include "ui/windows/main_window.h"

namespace {

void prepareToolkit()
{
    // Full screen moves the video to another window, which must not cost its OpenGL context.
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QCoreApplication::setApplicationName(QStringLiteral("moravu"));
    QCoreApplication::setApplicationVersion(QStringLiteral(MORAVU_VERSION));
    // By this name Wayland finds the icon of the windows.
    QGuiApplication::setDesktopFileName(QStringLiteral("org.moravu.moravu"));
}

void prepareApplication()
{
    // Qt took the user's locale over; libmpv works with no other number format than this one.
    std::setlocale(LC_NUMERIC, "C");
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/image/moravu.png")));
}

void connectSession()
{
    Session::instance().setNotifier([](const QString &message) { Toast::showTip(message); });
}

bool isLoggedIn(const AppSettings &settings)
{
    return countUsers() > 0 && !settings.curUserId().isEmpty();
}

bool logIn()
{
    QRLoginDlg dialog(nullptr);
    return dialog.exec() == QDialog::Accepted;
}

void restoreWindow(MainWindow &window, const AppSettings &settings)
{
    QByteArray geometry;
    QByteArray state;
    settings.readWindowState(geometry, state);
    window.restoreGeometry(geometry);
    window.restoreState(state, 0);
}

void closeDatabase()
{
    Database *const handle = database();
    handle->close();
    setDatabase(nullptr);
    delete handle;
}

} // namespace

int main(int argc, char *argv[])
{
    if (const std::optional<int> exitCode = answerArguments(argc, argv))
        return *exitCode;
    prepareToolkit();
    QApplication application(argc, argv);
    prepareApplication();
    loadStyleSheet();
    AppSettings settings;
    openDatabase();
    connectSession();
    if (!isLoggedIn(settings) && !logIn())
        return 0;

    MainWindow window(nullptr);
    restoreWindow(window, settings);
    window.show();
    const int exitCode = QApplication::exec();

    window.closePlayers();
    settings.saveWindowState(window.saveGeometry(), window.saveState(0));
    closeDatabase();
    return exitCode;
}
