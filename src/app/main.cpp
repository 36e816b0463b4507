#include <clocale>

#include <QApplication>
#include <QIcon>
#include <QNetworkProxyFactory>
#include <QPixmap>
#include <QStyle>

#include "api/session/session.h"
#include "app/appearance.h"
#include "app/arguments.h"
#include "app/data_notices.h"
#include "app/environment/app_settings.h"
#include "app/last_window.h"
#include "app/single_instance.h"
#include "app/termination_signals.h"
#include "app/toolkit_texts.h"
#include "db/tables/database.h"
#include "db/tables/operations.h"
#include "login/qr_login_dlg.h"
#include "ui/shell/main_window.h"
#include "ui/widgets/toast.h"
#include "ui/widgets/window_place.h"

namespace {

void prepareToolkit()
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QCoreApplication::setApplicationName(QStringLiteral("moravu"));
    QCoreApplication::setApplicationVersion(QStringLiteral(MORAVU_VERSION));
    // By this name Wayland finds the icon of the windows.
    QGuiApplication::setDesktopFileName(QStringLiteral("org.moravu.moravu"));
}

// The skin's fonts from the first widget on: what is measured before the skin reaches it would load
// others. Where there is no YaHei, its stand-in has the Chinese forms of the characters, not the
// Japanese ones that the system's own choice may have.
void chooseFonts()
{
    const QString noto = QStringLiteral("Noto Sans CJK SC");
    const QString yahei = QStringLiteral("Microsoft YaHei");
    QFont::insertSubstitution(QStringLiteral("Microsoft Yahei"), noto);
    QFont font = QApplication::font();
    font.setFamilies({noto, yahei, QStringLiteral("PingFang SC"), font.family()});
    QApplication::setFont(font);
}

void prepareApplication()
{
    // Qt took the user's locale over; libmpv works with no other number format than this one.
    std::setlocale(LC_NUMERIC, "C");
    QNetworkProxyFactory::setUseSystemConfiguration(true);
    chooseFonts();
    // All icons come with the program: there is nothing to look for in the desktop's theme.
    QIcon::setThemeSearchPaths({QStringLiteral(":/icons")});
    QApplication::setWindowIcon(QPixmap(QStringLiteral(":/image/moravu.png")));
    QCoreApplication::installTranslator(new ToolkitTexts(qApp));
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
    constexpr int Border = 8; // of the window manager's frame, which is not there yet
    const int title = window.style()->pixelMetric(QStyle::PM_TitleBarHeight) + Border;
    fitToScreen(window, {Border, title, Border, Border});
}

void closeDatabase()
{
    closeDatabaseOrTell();
    Database *const handle = database();
    setDatabase(nullptr);
    delete handle;
}

} // namespace

int main(int argc, char *argv[])
{
    const Arguments arguments = answerArguments(argc, argv);
    if (arguments.exitCode) {
        return *arguments.exitCode;
    }
    prepareToolkit();
    QApplication application(argc, argv);
    const TerminationSignals signalsToEnd;
    SingleInstance instance;
    if (!arguments.isNewInstance && instance.claim() == SingleInstance::Role::Second) {
        return 0;
    }
    const LastWindow lastWindow;
    instance.setBringForward([&lastWindow] { return lastWindow.bringForward(); });
    prepareApplication();
    loadStyleSheet();
    AppSettings settings;
    openDatabase();
    if (!waitForDatabase()) {
        return 0;
    }
    const QString putAsideTold = tellOfUnusableData();
    connectSession();
    if (!isLoggedIn(settings) && !logIn()) {
        return 0;
    }

    MainWindow window(nullptr);
    restoreWindow(window, settings);
    watchDatabase(window, putAsideTold);
    window.show();
    Session::instance().setEnding(
        [&] { return signalsToEnd.haveArrived() || !window.isVisible(); });
    const int exitCode = QApplication::exec();

    window.closePlayers();
    settings.saveWindowState(window.saveGeometry(), window.saveState(0));
    closeDatabase();
    return exitCode;
}
