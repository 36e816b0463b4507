#include "ui/shell/file_dialog.h"

#include <QCoreApplication>
#include <QDebug>

#include "api/records/account_records.h"
#include "api/session/open_api_client.h"
#include "api/session/session.h"
#include "app/environment/app_settings.h"
#include "db/tables/operations.h"
#include "login/qr_login_dlg.h"
#include "net/log_failure.h"
#include "player/session/play_request.h"
#include "ui/files/cloud_file_dialog.h"
#include "ui/files/file_batches.h"
#include "ui/files/file_names.h"
#include "ui/files/link_copy.h"
#include "ui/shell/avatar_loader.h"
#include "ui/shell/trans_dialog.h"
#include "ui/widgets/questions.h"
#include "ui_file_dialog.h"

namespace {

// Among the stored users; -1 for one whom another process logged out.
int storedPlaceOf(const QString &userId)
{
    const QList<UserInfo> users = listUsers();
    const auto found = std::find_if(users.begin(), users.end(), [&userId](const UserInfo &user) {
        return user.userId.value() == userId;
    });
    return found == users.end() ? -1 : int(found - users.begin());
}

} // namespace

FileDialog::FileDialog(FileBatches *batches, QWidget *parent)
    : DialogPage(parent)
    , m_ui(std::make_unique<Ui::FileDialog>())
    , m_transfers(std::make_unique<TransDialog>())
    , m_batches(batches ? batches : new FileBatches(this))
    , m_names(new FileNames(m_batches))
    , m_links(new LinkCopy(this))
{
    m_ui->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    rebuild();
}

FileDialog::~FileDialog() = default;

void FileDialog::rebuild()
{
    const QWidget *focused = window()->focusWidget();
    const bool hadFocus = focused && isAncestorOf(focused);
    m_users = listUsers();
    while (m_ui->userTab->count() > 0) {
        removeTab(0);
    }
    const QString currentUserId = AppSettings().curUserId();
    int selected = -1;
    for (int index = 0; index < m_users.size(); ++index) {
        addTab(m_users.at(index));
        if (m_users.at(index).userId.value() == currentUserId) {
            selected = index;
        }
    }
    if (selected >= 0) {
        qDebug() << "init select tab:" << selected;
        m_ui->userTab->setCurrentIndex(selected);
        makeUserCurrent(selected);
        emit userSwitched(m_nickname, QString());
    }
    emit listStatusChanged(listStatus());
    // Once, however often the tabs are made anew.
    connect(m_ui->userTab, &QTabWidget::tabBarClicked, this, &FileDialog::onTabClicked,
            Qt::UniqueConnection);
    // The keyboard was in one of the pages that have gone.
    if (hadFocus) {
        focusList();
    }
}

void FileDialog::removeTab(int index)
{
    // There is none for a user who is no longer stored: another process has logged them out.
    QWidget *page = m_ui->userTab->widget(index);
    if (!page) {
        return;
    }
    // Taking a tab out deletes no page.
    m_ui->userTab->removeTab(index);
    page->disconnect(this);
    page->deleteLater();
}

void FileDialog::addTab(const UserInfo &user)
{
    const QString nickname = user.nickname.value();
    auto *page = new CloudFileDialog(user, m_batches, m_names, m_links);
    qDebug() << "add tab:" << nickname;
    connectAccounts(page);
    connect(page, &CloudFileDialog::refreshDiskSpace, this, &FileDialog::refreshDiskSpace);
    connect(page, &CloudFileDialog::videoOpenRequested, this, &FileDialog::videoOpenRequested);
    connect(page, &CloudFileDialog::listStatusChanged, this, [this, page](const QString &text) {
        if (page == m_ui->userTab->currentWidget()) {
            emit listStatusChanged(text);
        }
    });
    connect(page, &CloudFileDialog::listSettingsChanged, this,
            [this, page] { onListSettingsChanged(page); });
    connect(page, &CloudFileDialog::startDownload, m_transfers.get(),
            &TransDialog::onStartDownload);
    m_ui->userTab->addUser(page, nickname);
    loadAvatar(user, page);
    loadName(user);
}

void FileDialog::connectAccounts(CloudFileDialog *page)
{
    connect(page, &CloudFileDialog::userChangedFromCloudDisk, this, &FileDialog::onUserChanged);
    connect(page, &CloudFileDialog::newUserWanted, this, [this, page] { logInAnother(page); });
    connect(page, &CloudFileDialog::logoutWanted, this, [this, page] { logOut(page); });
}

void FileDialog::loadAvatar(const UserInfo &user, CloudFileDialog *page)
{
    auto *loader = new AvatarLoader(page);
    connect(loader, &AvatarLoader::loaded, this, [this, page](const QIcon &avatar) {
        m_ui->userTab->setTabIcon(m_ui->userTab->indexOf(page), avatar);
    });
    loader->load(user.avatar.value());
}

// A login goes on without a name where the drive's information has none.
void FileDialog::loadName(const UserInfo &user)
{
    if (!user.nickname.value().isEmpty()) {
        return;
    }
    const auto done = [this, userId = user.userId.value()](const UserInfoResp &reply) {
        if (!reply.name.isEmpty()) {
            storeMissingNickname(userId, reply.name);
            showName(userId);
        }
    };
    const auto failed = [](const QString &error, int code) {
        logFailure(QStringLiteral("getUserInfo"), code, error);
    };
    m_replies.limitWait(
        OpenApiClient(user).userInfo(m_replies.guard(done), m_replies.guard(failed)));
}

// The stored name of a user whose tab has none yet.
void FileDialog::showName(const QString &userId)
{
    const auto shown = std::find_if(m_users.begin(), m_users.end(), [&userId](const auto &user) {
        return user.userId.value() == userId;
    });
    UserInfo stored;
    if (shown == m_users.end() || !loadUserInfo(userId, stored)) {
        return;
    }
    shown->nickname = stored.nickname;
    const int index = int(shown - m_users.begin());
    m_ui->userTab->setUserName(index, stored.nickname.value());
    if (AppSettings().curUserId() == userId) {
        m_nickname = stored.nickname.value();
        emit userSwitched(m_nickname, pageAt(index)->diskSpace());
    }
}

void FileDialog::makeUserCurrent(int index)
{
    Session::instance().setCurrentUser(m_users.at(index));
    m_nickname = m_users.at(index).nickname.value();
}

void FileDialog::onTabClicked(int index)
{
    if (index < 0 || index >= m_users.size()) {
        return;
    }
    const UserInfo &user = m_users.at(index);
    qDebug() << "user Switch to:" << user.nickname.value() << ": " << user.userId.value();
    makeUserCurrent(index);
    // A hidden page would hand the keyboard on to whatever comes next.
    const QWidget *earlier = m_ui->userTab->currentWidget();
    const bool hadFocus = earlier && earlier->isAncestorOf(window()->focusWidget());
    // Any button's click comes here, but only the left one's turns to the tab.
    m_ui->userTab->setCurrentIndex(index);
    if (hadFocus) {
        focusList();
    }
    emit userSwitched(m_nickname, pageAt(index)->diskSpace());
    emit listStatusChanged(listStatus());
}

void FileDialog::onUserChanged(int changeType, int pos, int /*skipToPos*/, const QString &nickname)
{
    switch (changeType) {
    case 1:
        qDebug() << "login one user:" << nickname;
        rebuild();
        return;
    case -1:
        qDebug() << "logout one user:" << nickname;
        rebuild();
        return;
    case 0:
        removeTab(pos);
        qDebug() << "all logout, relogin";
        // The page that sent this is still on the stack and must not go during the login.
        QMetaObject::invokeMethod(this, &FileDialog::relogin, Qt::QueuedConnection);
        return;
    default:
        return;
    }
}

void FileDialog::relogin()
{
    m_users.clear();
    while (m_ui->userTab->count() > 0) {
        removeTab(0);
    }
    m_nickname.clear();
    emit userSwitched(m_nickname, QString());
    emit listStatusChanged(QString());
    QRLoginDlg dialog;
    dialog.setQuitOnCancel(true);
    if (dialog.exec() == QDialog::Accepted) {
        rebuild();
        focusList();
    } else {
        // Without a user no page is left from which one could log in.
        QCoreApplication::exit(0);
    }
}

void FileDialog::logInAnother(CloudFileDialog *page)
{
    UserInfo earlier;
    earlier.userId = AppSettings().curUserId();
    QRLoginDlg dialog;
    QString newUserId;
    connect(&dialog, &QRLoginDlg::loginSuccess, this,
            [&newUserId](const QString &userId) { newUserId = userId; });
    if (dialog.exec() != QDialog::Accepted) {
        // An account that was refused has been made the current one, while nobody sees its page.
        Session::instance().setCurrentUser(earlier);
        emit userSwitched(m_nickname, page->diskSpace());
        return;
    }
    UserInfo user;
    loadUserInfo(newUserId, user);
    const int pos = storedPlaceOf(page->userId());
    emit page->userChangedFromCloudDisk(1, pos, pos, user.nickname.value());
}

bool FileDialog::mayStopBatches(const QString &userId)
{
    const int files = m_batches->remaining(userId) + m_names->remaining(userId);
    return files == 0 ||
           askYesNo(this, QStringLiteral("退出登录"),
                    QStringLiteral("还有 %1 个文件没有处理完，退出登录后不再处理。要退出吗?")
                        .arg(files));
}

void FileDialog::logOut(CloudFileDialog *page)
{
    const QString userId = page->userId();
    if (!mayStopBatches(userId)) {
        return;
    }
    UserInfo user;
    loadUserInfo(userId, user);
    const int pos = storedPlaceOf(userId);
    // Without the user's tokens nothing more can be sent.
    m_batches->cancel(userId);
    m_names->forget(userId);
    m_links->forget(userId);
    removeUser(userId);
    const QList<UserInfo> users = listUsers();
    if (users.isEmpty()) {
        Session::instance().setCurrentUser(UserInfo());
        emit page->userChangedFromCloudDisk(0, pos, -1, user.nickname.value());
    } else {
        // The user who now stands in the same place, or the last one.
        const int next = qBound(0, pos, users.size() - 1);
        if (AppSettings().curUserId() == userId) {
            Session::instance().setCurrentUser(users.at(next));
        }
        emit page->userChangedFromCloudDisk(-1, pos, next, user.nickname.value());
    }
    page->deleteLater();
}

void FileDialog::onListSettingsChanged(const CloudFileDialog *changed)
{
    for (CloudFileDialog *page : pages()) {
        if (page != changed) {
            page->applyListSettings();
        }
    }
}

void FileDialog::updateVideoQuality()
{
    for (CloudFileDialog *page : pages()) {
        page->initVideoQualityMenu();
    }
}

void FileDialog::showWatched(const PlayHistory &row)
{
    for (CloudFileDialog *page : pages()) {
        page->showWatched(row);
    }
}

void FileDialog::reloadWatched()
{
    for (CloudFileDialog *page : pages()) {
        page->reloadWatched();
    }
}

void FileDialog::focusList()
{
    if (CloudFileDialog *page = pageAt(m_ui->userTab->currentIndex())) {
        page->enterList();
    }
}

double FileDialog::usedShare() const
{
    const CloudFileDialog *page = pageAt(m_ui->userTab->currentIndex());
    return page ? page->usedShare() : -1;
}

QString FileDialog::listStatus() const
{
    const CloudFileDialog *page = pageAt(m_ui->userTab->currentIndex());
    return page ? page->listStatus() : QString();
}

CloudFileDialog *FileDialog::pageAt(int index) const
{
    return qobject_cast<CloudFileDialog *>(m_ui->userTab->widget(index));
}

QList<CloudFileDialog *> FileDialog::pages() const
{
    QList<CloudFileDialog *> pages;
    for (int index = 0; index < m_ui->userTab->count(); ++index) {
        if (CloudFileDialog *page = pageAt(index)) {
            pages << page;
        }
    }
    return pages;
}
