// Takes a picture of every window, page and state of the program, to be looked at by people:
//   QT_SCALE_FACTOR=1.5 scripts/with-display build/release/bin/gallery FOLDER [NAME ...]
// A local drive in the same process serves and fails as each picture needs it. With names, only
// the scenes of these names are played. Checks nothing; the tests do that.
#include <clocale>
#include <functional>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDir>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QToolTip>
#include <QWindow>

#include "app/appearance.h"
#include "app/environment/app_settings.h"
#include "app/toolkit_texts.h"
#include "db/tables/operations.h"
#include "files/drive_page.h"
#include "login/qr_login_dlg.h"
#include "player/clips.h"
#include "player/session/episode_end.h"
#include "player/window/next_card.h"
#include "player/window/player_window.h"
#include "player/window/seek_bar.h"
#include "player/window/video_notice.h"
#include "ui/files/failed_files_dialog.h"
#include "ui/shell/fav_dialog.h"
#include "ui/shell/main_window.h"
#include "ui/shell/recycle_dialog.h"
#include "ui/shell/trans_dialog.h"
#include "ui/widgets/toast.h"

namespace {

const QString LongName =
    QStringLiteral("第十二届中国国际纪录片电影节获奖作品合集（蓝光修复版·导演剪辑·中英双语字幕）"
                   "Documentary.Collection.2023.2160p.UHD.BluRay.x265.10bit.HDR.TrueHD.7.1.mkv");

CloudFileDialog *shownPage(const QWidget &window)
{
    for (auto *page : window.findChildren<CloudFileDialog *>()) {
        if (page->isVisible()) {
            return page;
        }
    }
    qFatal("no file page is shown");
}

void openRow(FileTable *table, const QString &name)
{
    const auto found = [&] { return table->findItems(name, Qt::MatchExactly); };
    if (!QTest::qWaitFor([&] { return !found().isEmpty(); })) {
        qFatal("no row %s", qPrintable(name));
    }
    emit table->itemDoubleClicked(found().first());
}

// The rows of a list as if the first had been seen, others begun and the sixth played last.
void watch(CloudFileDialog *page, const FileTable *table)
{
    const int percents[] = {100, 100, 62, 9, 97, 35};
    int row = 0;
    for (const int percent : percents) {
        PlayHistory history;
        history.userId = page->userId();
        history.fileId = table->fileIdAt(row);
        history.name = table->item(row++, FileTable::NameColumn)->text();
        history.duration = 2700;
        history.playPosition = 27 * percent;
        savePlayHistory(history);
    }
    page->reloadWatched();
}

void waitForPicture(const MpvPlayerWindow *player)
{
    const auto *seekBar = player->findChild<SeekBar *>();
    if (!QTest::qWaitFor([seekBar] { return seekBar->isEnabled(); }, 20000)) {
        qWarning("nothing plays");
    }
    QTest::qWait(1500);
}

class Gallery final
{
    Q_DISABLE_COPY_MOVE(Gallery)

public:
    explicit Gallery(QString folder) : m_folder(std::move(folder)) { fillDrive(); }

    // Each scene leaves nothing behind: it may be played alone.
    void logIn();
    void files();
    void manyUsers();
    void bigFolder();
    void dialogs();
    void history();
    void help();
    void toasts();
    void sideDialogs();
    void player();

private:
    void shootFolders(MainWindow &window);
    void fillTracks(const QDir &folder);
    MpvPlayerWindow *openPlayer(FileTable *table, const QString &video);
    void shootTracks(FileTable *table);
    void shootVideoMenu(MpvPlayerWindow *player);
    void shootOverVideo(MpvPlayerWindow *player);
    void shootPlayerSizes(MpvPlayerWindow *player);
    void fillDrive();
    void fault(const std::string &path, localdrive::Fault fault = {});
    void shoot(const QString &name);
    // Shows the window where all pictures have it, and its neighbourhood empty.
    static void place(QWidget *window, const QSize &size);
    template <class Widget>
    static Widget *child(const QWidget *window, const char *name)
    {
        auto *widget = window->findChild<Widget *>(QLatin1String(name));
        if (!widget) {
            qFatal("%s is missing", name);
        }
        return widget;
    }
    // Opens the menu, takes its picture with what lies behind it, and closes it.
    void shootMenu(const QString &name, QWidget *anchor, QMenu *menu, int entry);
    template <class Action>
    void shootModal(const QString &name, Action open);

    const QString m_folder;
    DriveFixture m_drive{2, localdrive::Rules::strict(), true};
};

void Gallery::fillDrive()
{
    localdrive::Server &server = m_drive.server();
    for (const char *folder : {"电影", "示例剧集", "旅途", "音乐", "空文件夹"}) {
        server.makeFolder(folder);
    }
    for (const char *file : {"说明.txt", "旅行照片.jpg", "片尾曲.flac", "备份.zip", "固件.bin"}) {
        server.makeFile(file, std::string(48'213, 'x'));
    }
    server.makeFile(LongName.toStdString(), std::string(3'345'678, 'x'));
    const QDir root(text(server.rootPath()));
    const QString first = root.filePath(QStringLiteral("示例剧集/示例剧集 第01集.mkv"));
    if (!clips::make(first, {60, 1280, 720})) {
        qFatal("no clip could be made");
    }
    for (int episode = 2; episode <= 14; ++episode) {
        QFile::copy(first, root.filePath(QStringLiteral("示例剧集/示例剧集 第%1集.mkv")
                                             .arg(episode, 2, 10, QLatin1Char('0'))));
    }
    QFile::copy(first, root.filePath(QStringLiteral("示例剧集/") + LongName));
    fillTracks(QDir(root.filePath(QStringLiteral("旅途"))));
}

// A film with two languages of each kind, and files that might be its subtitles.
void Gallery::fillTracks(const QDir &folder)
{
    const auto write = [&folder](const QString &name, const QString &words) {
        QFile file(folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly)) {
            qFatal("%s cannot be written", qPrintable(name));
        }
        file.write("1\n00:00:00,000 --> 00:01:00,000\n" + words.toUtf8() + '\n');
    };
    const QString film = QStringLiteral("旅途.S01E02.mkv");
    write(QStringLiteral("旅途 第02集 简体.srt"), QStringLiteral("我们明天一早就出发。"));
    write(QStringLiteral("旅途 第03集 简体.srt"), QStringLiteral("下一集的字幕"));
    write(QStringLiteral("第十二届中国国际纪录片电影节获奖作品合集（蓝光修复版·导演剪辑）.ass"),
          QStringLiteral("很长的名字"));
    QTemporaryDir parts;
    write(parts.filePath(QStringLiteral("eng.srt")), QStringLiteral("We leave early tomorrow."));
    write(parts.filePath(QStringLiteral("chi.srt")), QStringLiteral("我们明天一早就出发。"));
    clips::Clip clip{60, 1280, 720};
    clip.inputs = QStringLiteral("-f lavfi -i sine=duration=60 -f lavfi -i sine=duration=60 -i %1 "
                                 "-i %2")
                      .arg(parts.filePath(QStringLiteral("eng.srt")),
                           parts.filePath(QStringLiteral("chi.srt")))
                      .split(QLatin1Char(' '));
    clip.outputs = QStringLiteral("-map 0 -map 1 -map 2 -map 3 -map 4 -c:a aac -c:s srt "
                                  "-metadata:s:a:0 language=jpn -metadata:s:a:1 language=chi "
                                  "-metadata:s:s:0 language=eng -metadata:s:s:1 language=chi")
                       .split(QLatin1Char(' '));
    if (!clips::make(folder.filePath(film), clip)) {
        qFatal("no clip with tracks could be made");
    }
}

void Gallery::fault(const std::string &path, localdrive::Fault fault)
{
    fault.path = path;
    fault.count = -1;
    m_drive.server().addFault(fault);
}

void Gallery::shoot(const QString &name)
{
    QTest::qWait(350);
    QScreen *screen = QGuiApplication::primaryScreen();
    const QString path = QDir(m_folder).filePath(name + QStringLiteral(".png"));
    if (!screen->grabWindow(0).save(path)) {
        qFatal("%s could not be written", qPrintable(path));
    }
    qInfo("%s", qPrintable(path));
}

void Gallery::place(QWidget *window, const QSize &size)
{
    window->resize(size);
    window->move(60, 40);
    window->show();
    if (!QTest::qWaitForWindowActive(window)) {
        qWarning("%s did not become active", qPrintable(window->windowTitle()));
    }
    QCursor::setPos(5, 5);
}

void Gallery::shootMenu(const QString &name, QWidget *anchor, QMenu *menu, int entry)
{
    menu->popup(anchor->mapToGlobal(QPoint(0, anchor->height())));
    menu->setActiveAction(menu->actions().at(entry));
    shoot(name);
    menu->close();
}

template <class Action>
void Gallery::shootModal(const QString &name, Action open)
{
    whenModal([this, name](QWidget *modal) {
        shoot(name);
        modal->close();
    });
    open();
}

void Gallery::logIn()
{
    localdrive::Server &server = m_drive.server();
    localdrive::Fault slow;
    slow.delay = std::chrono::seconds(2);
    fault("oauth/authorize/qrcode", slow);
    {
        QRLoginDlg dialog;
        place(&dialog, dialog.size());
        shoot(QStringLiteral("login-waiting"));
        server.clearFaults();
        QTest::qWait(2200);
        shoot(QStringLiteral("login-code"));
        child<QPushButton>(&dialog, "btnCancle")->setFocus(Qt::TabFocusReason);
        server.scanLogin(server.loginSessions().back());
        QTest::qWait(1500);
        shoot(QStringLiteral("login-scanned-focus"));
        server.cancelLogin(server.loginSessions().back());
        QTest::qWait(1500);
        shoot(QStringLiteral("login-cancelled"));
        server.expireLogin(server.loginSessions().back());
        QTest::qWait(1500);
        shoot(QStringLiteral("login-expired"));
    }
    localdrive::Fault failing;
    failing.status = 500;
    fault("oauth/authorize/qrcode", failing);
    QRLoginDlg dialog;
    place(&dialog, dialog.size());
    QTest::qWait(300);
    shoot(QStringLiteral("login-failed"));
    server.clearFaults();
}

void Gallery::files()
{
    const UserInfo user = logInAs(m_drive, QStringLiteral("王小明"), 0);
    logInAs(m_drive, QStringLiteral("一个昵称相当长的用户名字叫做张三丰"), 1);
    AppSettings().setCurUserId(user.userId.value());
    MainWindow window;
    place(&window, {1000, 680});
    QTest::qWait(600);
    shoot(QStringLiteral("files-rows"));

    auto *page = shownPage(window);
    auto *table = child<FileTable>(page, "fileList");
    table->setFocus(Qt::TabFocusReason);
    table->selectRow(2);
    QTest::mouseMove(table->viewport(), QPoint(300, 225));
    QTest::qWait(900);
    shoot(QStringLiteral("files-selected-hover-tip"));
    QToolTip::hideText();
    QTest::mouseMove(child<QPushButton>(page, "btnCreateFolder"));
    child<QPushButton>(page, "btnDelete")->setFocus(Qt::TabFocusReason);
    child<QPushButton>(page, "btnDelete")->setDown(true);
    shoot(QStringLiteral("files-buttons-hover-pressed"));
    child<QPushButton>(page, "btnDelete")->setDown(false);
    QCursor::setPos(5, 5);

    for (const char *name : {"btnBack", "pathNavList", "fileNameSearch", "fileTypeList",
                             "btnCreateFolder", "checkDelToRecycle", "btnVideoQuality"}) {
        child<QWidget>(page, name)->setFocus(Qt::TabFocusReason);
        shoot(QStringLiteral("focus-") + QLatin1String(name));
    }
    window.setAttribute(Qt::WA_KeyboardFocusChange);
    child<QWidget>(&window, "navListView")->setFocus(Qt::TabFocusReason);
    shoot(QStringLiteral("focus-navListView"));

    auto *menu = table->findChild<QMenu *>();
    menu->popup(table->viewport()->mapToGlobal(QPoint(240, 120)));
    menu->setActiveAction(menu->actions().at(1));
    shoot(QStringLiteral("files-menu"));
    menu->close();
    auto *quality = child<QToolButton>(page, "btnVideoQuality");
    shootMenu(QStringLiteral("files-quality-menu"), quality, quality->menu(), 2);
    child<QComboBox>(page, "fileTypeList")->showPopup();
    shoot(QStringLiteral("files-types"));
    child<QComboBox>(page, "fileTypeList")->hidePopup();
    table->setFocus();
    table->setCurrentCell(1, 0);
    table->editItem(table->currentItem());
    shoot(QStringLiteral("files-rename"));
    table->setDisabled(true);
    table->setDisabled(false);
    auto *search = child<QLineEdit>(page, "fileNameSearch");
    search->setText(QStringLiteral("没有这个名字"));
    shoot(QStringLiteral("files-nothing-found"));
    search->clear();

    shootFolders(window);
}

void Gallery::shootFolders(MainWindow &window)
{
    auto *page = shownPage(window);
    auto *table = child<FileTable>(page, "fileList");
    openRow(table, QStringLiteral("空文件夹"));
    QTest::qWait(400);
    shoot(QStringLiteral("files-empty"));
    child<QToolButton>(page, "btnBack")->click();
    openRow(table, QStringLiteral("示例剧集"));
    QTest::qWait(400);
    watch(page, table);
    table->setRangeSelected(QTableWidgetSelectionRange(2, 0, 4, FileTable::ColumnCount - 1), true);
    shoot(QStringLiteral("files-folder"));
    clearPlayHistory();
    window.resize(720, 480);
    shoot(QStringLiteral("files-smallest"));
    window.resize(1000, 680);
    child<QToolButton>(page, "btnBack")->click();

    localdrive::Fault slow;
    slow.delay = std::chrono::seconds(2);
    fault("openFile/list", slow);
    child<QToolButton>(page, "btnRefresh")->click();
    QTest::qWait(300);
    shoot(QStringLiteral("files-loading"));
    m_drive.server().clearFaults();
    QTest::qWait(2200);
    localdrive::Fault failing;
    failing.status = 500;
    fault("openFile/list", failing);
    child<QToolButton>(page, "btnRefresh")->click();
    QTest::qWait(400);
    shoot(QStringLiteral("files-failed"));
    m_drive.server().clearFaults();
}

void Gallery::bigFolder()
{
    logInAs(m_drive, QStringLiteral("王小明"));
    for (int number = 1; number <= 250; ++number) {
        m_drive.server().makeFile("很多文件/第" + std::to_string(number) + "集.txt", "x");
    }
    MainWindow window;
    place(&window, {1000, 680});
    QTest::qWait(600);
    auto *page = shownPage(window);
    auto *table = child<FileTable>(page, "fileList");
    openRow(table, QStringLiteral("很多文件"));
    QTest::qWait(600);
    localdrive::Fault failing;
    failing.status = 500;
    fault("openFile/list", failing);
    table->verticalScrollBar()->setValue(table->verticalScrollBar()->maximum());
    QTest::qWait(400);
    shoot(QStringLiteral("files-page-failed"));
    m_drive.server().clearFaults();
    FailedFilesDialog dialog(QStringLiteral("已移动 98 个，2 个失败"),
                             {{QString(), QStringLiteral("第7集.txt"), QStringLiteral("没有权限")},
                              {QString(), LongName, QStringLiteral("文件已不存在")}});
    place(&dialog, dialog.size());
    shoot(QStringLiteral("dialog-failed-files"));
}

void Gallery::manyUsers()
{
    const UserInfo self = logInAs(m_drive, QStringLiteral("王小明"));
    for (int number = 1; number <= 7; ++number) {
        UserInfo user = self;
        user.userId = QStringLiteral("more%1").arg(number);
        user.nickname = number == 7 ? LongName : QStringLiteral("家庭成员%1").arg(number);
        saveUserInfo(user);
    }
    const QString path = QStringLiteral("电影/纪录片/第十二届中国国际纪录片电影节获奖作品合集/"
                                        "蓝光修复版·导演剪辑·中英双语字幕/花絮/第一部分");
    m_drive.server().makeFolder(path.toStdString());
    MainWindow window;
    place(&window, {1000, 680});
    QTest::qWait(600);
    auto *table = child<FileTable>(shownPage(window), "fileList");
    for (const QString &folder : path.split(QLatin1Char('/'))) {
        openRow(table, folder);
        QTest::qWait(300);
    }
    shoot(QStringLiteral("users-deep-path"));
    window.resize(window.minimumSizeHint());
    shoot(QStringLiteral("users-deep-path-smallest"));
    for (int number = 1; number <= 7; ++number) {
        removeUser(QStringLiteral("more%1").arg(number));
    }
}

void Gallery::dialogs()
{
    const UserInfo user = logInAs(m_drive, QStringLiteral("王小明"));
    MainWindow window;
    place(&window, {1000, 680});
    QTest::qWait(600);
    auto *page = shownPage(window);
    auto *table = child<FileTable>(page, "fileList");
    table->selectRow(1);
    shootModal(QStringLiteral("dialog-new-folder"),
               [&] { child<QPushButton>(page, "btnCreateFolder")->click(); });
    child<QAbstractButton>(page, "checkDelToRecycle")->click();
    shootModal(QStringLiteral("dialog-delete"),
               [&] { child<QPushButton>(page, "btnDelete")->click(); });
    child<QAbstractButton>(page, "checkDelToRecycle")->click();
    localdrive::Fault stuck;
    stuck.delay = std::chrono::seconds(4);
    fault("recyclebin/trash", stuck);
    child<QPushButton>(page, "btnDelete")->click();
    shoot(QStringLiteral("batch-running"));
    shootModal(QStringLiteral("dialog-close-during-batch"), [&] { window.close(); });
    m_drive.server().clearFaults();
    const auto moveTo = [&] { table->findChild<QMenu *>()->actions().at(2)->trigger(); };
    shootModal(QStringLiteral("dialog-move"), moveTo);
    localdrive::Fault slow;
    slow.delay = std::chrono::seconds(3);
    fault("openFile/list", slow);
    shootModal(QStringLiteral("dialog-move-loading"), moveTo);
    m_drive.server().clearFaults();
    localdrive::Fault failing;
    failing.status = 500;
    fault("openFile/list", failing);
    shootModal(QStringLiteral("dialog-move-failed"), moveTo);
    m_drive.server().clearFaults();
}

void Gallery::history()
{
    const UserInfo user = logInAs(m_drive, QStringLiteral("王小明"));
    clearPlayHistory();
    MainWindow window;
    auto *navigation = child<QListView>(&window, "navListView");
    place(&window, {1000, 680});
    const auto open = [&] {
        const QModelIndex row = navigation->model()->index(1, 0);
        navigation->setCurrentIndex(row);
        emit navigation->clicked(row);
        QTest::qWait(200);
    };
    open();
    shoot(QStringLiteral("history-empty"));
    const QStringList names{QStringLiteral("示例剧集 第01集.mkv"), LongName,
                            QStringLiteral("示例剧集 第02集.mkv")};
    for (int i = 0; i < names.size(); ++i) {
        PlayHistory row;
        const QString path = QStringLiteral("示例剧集/") + names.at(i);
        row.fileId = text(m_drive.server().fileId(path.toStdString()));
        row.userId = user.userId.value();
        row.name = names.at(i);
        row.duration = 7240;
        row.playPosition = 1800 * (i + 1);
        row.playPercentage = 1800.0 * (i + 1) / 7240;
        savePlayHistory(row);
    }
    open();
    QTest::qWait(1500); // for the pictures
    shoot(QStringLiteral("history-rows"));
    child<QTableWidget>(&window, "historyList")->selectRow(1);
    child<QPushButton>(&window, "btnRemovePlayHistory")->click();
    shoot(QStringLiteral("history-undo"));
    window.resize(720, 480);
    shoot(QStringLiteral("history-smallest"));
}

void Gallery::help()
{
    logInAs(m_drive, QStringLiteral("王小明"));
    MainWindow window;
    auto *navigation = child<QListView>(&window, "navListView");
    place(&window, {1000, 680});
    const QModelIndex row = navigation->model()->index(2, 0);
    navigation->setCurrentIndex(row);
    emit navigation->clicked(row);
    shoot(QStringLiteral("help"));
    window.resize(720, 480);
    shoot(QStringLiteral("help-smallest"));
}

void Gallery::toasts()
{
    QWidget background;
    place(&background, {900, 600});
    Toast::showTip(QStringLiteral("复制下载链接成功"));
    QTest::qWait(200);
    shoot(QStringLiteral("toast"));
    closeToasts();
    Toast::showTip(QStringLiteral("片头片尾设置间隔太小,请重新设置") + LongName);
    QTest::qWait(200);
    shoot(QStringLiteral("toast-long"));
    closeToasts();
}

void Gallery::sideDialogs()
{
    RecycleDialog recycle;
    place(&recycle, recycle.size());
    shoot(QStringLiteral("recycle"));
    recycle.hide();
    FavDialog favourites;
    place(&favourites, favourites.size());
    shoot(QStringLiteral("favourites"));
    favourites.hide();
    TransDialog transfers;
    place(&transfers, transfers.size());
    shoot(QStringLiteral("transfers"));
}

void Gallery::player()
{
    logInAs(m_drive, QStringLiteral("王小明"));
    MainWindow window;
    place(&window, {1000, 680});
    QTest::qWait(600);
    auto *page = shownPage(window);
    auto *table = child<FileTable>(page, "fileList");
    openRow(table, QStringLiteral("示例剧集"));
    QTest::qWait(600);
    watch(page, table);
    localdrive::Fault slow;
    slow.delay = std::chrono::seconds(2);
    fault("getVideoPreviewPlayInfo|getDownloadUrl", slow);
    MpvPlayerWindow *player = openPlayer(table, QStringLiteral("示例剧集 第02集.mkv"));
    shoot(QStringLiteral("player-opening"));
    m_drive.server().clearFaults();
    waitForPicture(player);
    player->on_playPause_clicked();
    shoot(QStringLiteral("player"));
    for (const char *name : {"quality", "audio", "subtitle", "skip"}) {
        auto *button = child<QToolButton>(player, name);
        if (!button->menu()) {
            continue;
        }
        button->menu()->popup(QPoint());
        shoot(QStringLiteral("player-menu-") + QLatin1String(name));
        button->menu()->close();
    }
    shootVideoMenu(player);
    shootOverVideo(player);
    shootPlayerSizes(player);
    window.closePlayers();

    localdrive::Fault failing;
    failing.status = 500;
    fault("getVideoPreviewPlayInfo|getDownloadUrl", failing);
    openRow(table, QStringLiteral("示例剧集 第03集.mkv"));
    QTest::qWait(1000);
    shoot(QStringLiteral("player-failed"));
    m_drive.server().clearFaults();
    window.closePlayers();
    closeToasts();
    child<QToolButton>(page, "btnBack")->click();
    shootTracks(table);
    window.closePlayers();
}

MpvPlayerWindow *Gallery::openPlayer(FileTable *table, const QString &video)
{
    openRow(table, video);
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (auto *player = qobject_cast<MpvPlayerWindow *>(widget)) {
            place(player, {1120, 680});
            return player;
        }
    }
    qFatal("no player");
}

// Every part of the menu of the subtitles, and two of them in the picture.
void Gallery::shootTracks(FileTable *table)
{
    AppSettings().setVideoQuality(QStringLiteral("OrgHD")); // with all its tracks
    m_drive.server().prepareMedia("旅途/旅途.S01E02.mkv");
    openRow(table, QStringLiteral("旅途"));
    MpvPlayerWindow *player = openPlayer(table, QStringLiteral("旅途.S01E02.mkv"));
    waitForPicture(player);
    const auto *button = child<QToolButton>(player, "subtitle");
    const auto part = [button](const QString &title) -> QMenu * {
        for (const QAction *action : button->menu()->actions()) {
            if (action->menu() && action->text().startsWith(title)) {
                return action->menu();
            }
        }
        qFatal("no part %s", qPrintable(title));
    };
    button->menu()->actions().at(0)->trigger();
    QTest::qWait(1500);
    part(QStringLiteral("第二字幕"))->actions().at(3)->trigger();
    QTest::qWait(1500);
    shoot(QStringLiteral("tracks-two-subtitles"));
    button->menu()->popup(QPoint());
    shoot(QStringLiteral("tracks-subtitles"));
    for (const QAction *action : button->menu()->actions()) {
        if (QMenu *menu = action->menu()) {
            button->menu()->setActiveAction(const_cast<QAction *>(action));
            menu->popup(button->menu()->mapToGlobal(QPoint(0, 0)) -
                        QPoint(menu->sizeHint().width(), 0));
            shoot(QStringLiteral("tracks-part-%1").arg(action->text()));
            menu->close();
        }
    }
    button->menu()->close();
    child<QToolButton>(player, "audio")->menu()->popup(QPoint());
    shoot(QStringLiteral("tracks-audio"));
    child<QToolButton>(player, "audio")->menu()->close();
}

void Gallery::shootVideoMenu(MpvPlayerWindow *player)
{
    auto *video = child<QWidget>(player, "mpvWidget");
    QContextMenuEvent key(QContextMenuEvent::Keyboard, QPoint(), QPoint());
    QApplication::sendEvent(video, &key);
    auto *menu = child<QMenu>(player, "videoMenu");
    menu->move(player->mapToGlobal(QPoint(300, 60)));
    shoot(QStringLiteral("player-video-menu"));
    menu->close();
    video->setFocus();
    for (const char *name : {"seekBar", "playPause", "quality", "videoListView"}) {
        child<QWidget>(player, name)->setFocus(Qt::TabFocusReason);
        shoot(QStringLiteral("player-focus-") + QLatin1String(name));
    }
    video->setFocus();
}

// What appears for a moment.
void Gallery::shootOverVideo(MpvPlayerWindow *player)
{
    auto *video = child<QWidget>(player, "mpvWidget");
    QTest::keyClick(video, Qt::Key_BracketRight);
    shoot(QStringLiteral("player-speed"));
    auto *card = player->findChild<NextCard *>();
    card->tell({QStringLiteral("示例剧集 第03集 名字很长的一集 2160p WEB-DL H.265 AAC.mkv"), 8});
    auto *bar = player->findChild<SeekBar *>();
    bar->setRead({{0, bar->maximum() * 3 / 5}});
    const double length = bar->maximum();
    bar->setChapters({{0, QStringLiteral("片头")},
                      {length / 8, QStringLiteral("相遇")},
                      {length / 3, QStringLiteral("出发")},
                      {length * 4 / 5, QStringLiteral("片尾")}});
    QTest::mouseMove(bar, QPoint(bar->width() / 2, bar->height() / 2));
    shoot(QStringLiteral("player-next"));
    QCursor::setPos(5, 5);
    card->leave();
    player->findChild<VideoNotice *>()->buffer(37);
    shoot(QStringLiteral("player-buffering"));
    player->findChild<VideoNotice *>()->clear();
    QTest::keyClick(video, Qt::Key_F1);
    shoot(QStringLiteral("player-keys"));
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->objectName() == QLatin1String("keysDialog")) {
            window->close();
        }
    }
}

void Gallery::shootPlayerSizes(MpvPlayerWindow *player)
{
    QTest::mouseMove(child<QWidget>(player, "seekBar"));
    shoot(QStringLiteral("player-seek-tip"));
    QCursor::setPos(5, 5);
    child<QToolButton>(player, "pin")->click();
    child<QToolButton>(player, "videoList")->click();
    shoot(QStringLiteral("player-pinned-no-list"));
    child<QToolButton>(player, "videoList")->click();
    player->showMaximized();
    shoot(QStringLiteral("player-maximised"));
    player->showNormal();
    player->resize(640, 400);
    shoot(QStringLiteral("player-smallest"));
    player->resize(1120, 680);
    child<QToolButton>(player, "fullScreen")->click();
    QTest::qWait(600);
    shoot(QStringLiteral("fullscreen"));
    const QSize screen = QGuiApplication::primaryScreen()->size();
    auto *video = child<QWidget>(player, "mpvWidget");
    QTest::mouseMove(video, QPoint(screen.width() / 2, screen.height() - 100));
    shoot(QStringLiteral("fullscreen-controls"));
    QTest::mouseMove(video, QPoint(screen.width() - 40, screen.height() / 2));
    shoot(QStringLiteral("fullscreen-list"));
}

struct Scene
{
    const char *name;
    void (Gallery::*play)();
};

constexpr Scene Scenes[] = {
    {"login", &Gallery::logIn},   {"files", &Gallery::files},     {"users", &Gallery::manyUsers},
    {"big", &Gallery::bigFolder}, {"dialogs", &Gallery::dialogs}, {"history", &Gallery::history},
    {"help", &Gallery::help},     {"toasts", &Gallery::toasts},   {"side", &Gallery::sideDialogs},
    {"player", &Gallery::player},
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication application(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    std::setlocale(LC_NUMERIC, "C");
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/image/moravu.png")));
    QCoreApplication::installTranslator(new ToolkitTexts(qApp));
    loadStyleSheet();
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.isEmpty() || !QDir().mkpath(arguments.first())) {
        qFatal("gallery FOLDER [NAME ...]");
    }
    Gallery gallery(arguments.first());
    for (const Scene &scene : Scenes) {
        if (arguments.size() == 1 || arguments.contains(QLatin1String(scene.name))) {
            (gallery.*scene.play)();
        }
    }
    return 0;
}
