#include "ui/windows/file_dialog.h"

#include <QCoreApplication>
#include <QDebug>

#include "api/session/session.h"
#include "app/environment/app_settings.h"
#include "db/tables/operations.h"
#include "login/qr_login_dlg.h"
#include "player/play_request.h"
#include "ui/windows/avatar_loader.h"
#include "ui/windows/cloud_file_dialog.h"
#include "ui/windows/trans_dialog.h"
#include "ui_file_dialog.h"

FileDialog::FileDialog(QWidget *parent)
    : DialogPage(parent)
    , m_ui(std::make_unique<Ui::FileDialog>())
    , m_transfers(std::make_unique<TransDialog>())
{
    m_ui->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    rebuild();
}

FileDialog::~FileDialog() = default;

void FileDialog::rebuild()
{
    m_users = listUsers();
    while (m_ui->userTab->count() > 0)
        removeTab(0);
    const QString currentUserId = AppSettings().curUserId();
    int selected = -1;
    for (int index = 0; index < m_users.size(); ++index) {
        addTab(m_users.at(index));
        if (m_users.at(index).userId.value() == currentUserId)
            selected = index;
    }
    if (selected >= 0) {
        qDebug() << "init select tab:" << selected;
        m_ui->userTab->setCurrentIndex(selected);
        makeCurrent(selected);
        emit userSwitched(m_nickname, QString());
    }
    // Once, however often the tabs are made anew.
    connect(m_ui->userTab, &QTabWidget::tabBarClicked, this, &FileDialog::switchUser,
            Qt::UniqueConnection);
}

void FileDialog::removeTab(int index)
{
    // A user whom another process logged out has no place among the stored ones.
    QWidget *page = m_ui->userTab->widget(index);
    if (!page)
        return;
    // Taking a tab out deletes no page.
    m_ui->userTab->removeTab(index);
    page->disconnect(this);
    page->deleteLater();
}

void FileDialog::addTab(const UserInfo &user)
{
    const QString nickname = user.nickname.value();
    auto *page = new CloudFileDialog(user);
    qDebug() << "add tab:" << nickname;
    connect(page, &CloudFileDialog::userChangedFromCloudDisk, this, &FileDialog::changeUser);
    connect(page, &CloudFileDialog::refreshDiskSpace, this, &FileDialog::refreshDiskSpace);
    connect(page, &CloudFileDialog::videoOpenRequested, this, &FileDialog::videoOpenRequested);
    connect(page, &CloudFileDialog::listSettingsChanged, this,
            [this, page] { showSharedSettings(page); });
    connect(page, &CloudFileDialog::startDownload, m_transfers.get(),
            &TransDialog::onStartDownload);
    const int tab = m_ui->userTab->addTab(page, nickname);
    m_ui->userTab->setTabToolTip(tab, nickname);
    loadAvatar(user, page);
}

void FileDialog::loadAvatar(const UserInfo &user, CloudFileDialog *page)
{
    auto *loader = new AvatarLoader(page);
    connect(loader, &AvatarLoader::loaded, this, [this, page](const QIcon &avatar) {
        m_ui->userTab->setTabIcon(m_ui->userTab->indexOf(page), avatar);
    });
    loader->load(user.avatar.value());
}

void FileDialog::makeCurrent(int index)
{
    Session::instance().setCurrentUser(m_users.at(index));
    m_nickname = m_users.at(index).nickname.value();
}

void FileDialog::switchUser(int index)
{
    if (index < 0 || index >= m_users.size())
        return;
    const UserInfo &user = m_users.at(index);
    qDebug() << "user Switch to:" << user.nickname.value() << ": " << user.userId.value();
    AppSettings().setCurUserId(user.userId.value());
    makeCurrent(index);
    // Any button's click comes here, but only the left one's turns to the tab.
    m_ui->userTab->setCurrentIndex(index);
    emit userSwitched(m_nickname, pageAt(index)->diskSpace());
}

void FileDialog::changeUser(int changeType, int pos, int /*skipToPos*/, const QString &nickname)
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
    while (m_ui->userTab->count() > 0)
        removeTab(0);
    m_nickname.clear();
    emit userSwitched(m_nickname, QString());
    QRLoginDlg dialog;
    dialog.setQuitOnCancel(true);
    if (dialog.exec() == QDialog::Accepted)
        rebuild();
    else
        // Without a user no page is left from which one could log in.
        QCoreApplication::exit(0);
}

void FileDialog::showSharedSettings(const CloudFileDialog *changed)
{
    for (CloudFileDialog *page : pages()) {
        if (page != changed)
            page->applyListSettings();
    }
}

void FileDialog::updateVideoQuality()
{
    for (CloudFileDialog *page : pages())
        page->initVideoQualityMenu();
}

CloudFileDialog *FileDialog::pageAt(int index) const
{
    return qobject_cast<CloudFileDialog *>(m_ui->userTab->widget(index));
}

QList<CloudFileDialog *> FileDialog::pages() const
{
    QList<CloudFileDialog *> pages;
    for (int index = 0; index < m_ui->userTab->count(); ++index) {
        if (CloudFileDialog *page = pageAt(index))
            pages << page;
    }
    return pages;
}
