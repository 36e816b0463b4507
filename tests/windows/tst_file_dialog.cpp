#include "ui/windows/file_dialog.h"

#include <QBuffer>
#include <QCheckBox>
#include <QHeaderView>
#include <QPixmap>
#include <QPushButton>
#include <QSignalSpy>
#include <QTabBar>
#include <QTest>
#include <QToolButton>

#include "app/environment/app_settings.h"
#include "login/qr_login_dlg.h"
#include "windows/drive_page.h"

namespace {

const QString red = QStringLiteral("小红");
const QString ming = QStringLiteral("小明");

QTabWidget *tabs(const FileDialog &dialog)
{
    return dialog.findChild<QTabWidget *>(QStringLiteral("userTab"));
}

QStringList tabTexts(const FileDialog &dialog)
{
    QStringList texts;
    for (int index = 0; index < tabs(dialog)->count(); ++index)
        texts << tabs(dialog)->tabText(index);
    return texts;
}

QWidget *inPage(const FileDialog &dialog, int index, const char *name)
{
    return tabs(dialog)->widget(index)->findChild<QWidget *>(QLatin1String(name));
}

void clickTab(const FileDialog &dialog, int index)
{
    QTabBar *bar = tabs(dialog)->tabBar();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(index).center());
}

} // namespace

class TestFileDialog final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void hasOneTabForEachUser();
    void withoutUsersThereAreNoTabs();
    void aStaleCurrentUserSelectsNothing();
    void switchesOnEveryClickOnce();
    void eachPageWorksWithItsOwnUser();
    void showsAnotherPagesSettings();
    void loggingOutGoesOnWithTheNextUser();
    void aNewLoginMakesTheTabsAnew();
    void rebuildingLeavesNoPageBehind();
    void tellsTheDiskSpaceAlsoOfLaterTabs();
    void theLastLogoutAsksForALogin_data();
    void theLastLogoutAsksForALogin();
    void picturesBecomeIcons_data();
    void picturesBecomeIcons();

private:
    std::unique_ptr<DriveFixture> m_drive;
    UserInfo m_ming;
};

void TestFileDialog::init()
{
    m_drive = std::make_unique<DriveFixture>(3);
    m_ming = logInAs(*m_drive, ming);
}

void TestFileDialog::cleanup()
{
    settle(*m_drive);
    m_drive.reset();
}

void TestFileDialog::hasOneTabForEachUser()
{
    logInAs(*m_drive, red, 1);
    const LogCapture log;
    const FileDialog dialog;
    QCOMPARE(tabTexts(dialog), QStringList({ming, red}));
    QCOMPARE(tabs(dialog)->currentIndex(), 1);
    QCOMPARE(dialog.nickname(), red);
    QVERIFY(log.lines().contains(QStringLiteral("init select tab: 1")));
    QVERIFY(log.lines().contains(QStringLiteral("add tab: \"小红\"")));
}

void TestFileDialog::withoutUsersThereAreNoTabs()
{
    removeUser(m_ming.userId.value());
    const FileDialog dialog;
    QCOMPARE(tabs(dialog)->count(), 0);
    QCOMPARE(dialog.nickname(), QString());
}

void TestFileDialog::aStaleCurrentUserSelectsNothing()
{
    logInAs(*m_drive, red, 1);
    AppSettings().setCurUserId(QStringLiteral("nobody"));
    const LogCapture log;
    const FileDialog dialog;
    QCOMPARE(tabTexts(dialog), QStringList({ming, red}));
    QCOMPARE(tabs(dialog)->currentIndex(), 0);
    QCOMPARE(dialog.nickname(), QString());
    QVERIFY(log.lines().filter(QStringLiteral("init select tab:")).isEmpty());
    QCOMPARE(AppSettings().curUserId(), QStringLiteral("nobody"));
}

void TestFileDialog::switchesOnEveryClickOnce()
{
    const UserInfo second = logInAs(*m_drive, red, 1);
    FileDialog dialog;
    dialog.resize(900, 600);
    dialog.show();
    // However often the tabs were made anew.
    auto *page = qobject_cast<CloudFileDialog *>(tabs(dialog)->widget(0));
    emit page->userChangedFromCloudDisk(1, 0, 0, ming);
    page = qobject_cast<CloudFileDialog *>(tabs(dialog)->widget(0));
    emit page->userChangedFromCloudDisk(1, 0, 0, ming);
    QSignalSpy switched(&dialog, &FileDialog::userSwitched);
    clickTab(dialog, 0);
    QCOMPARE(switched.size(), 1);
    QCOMPARE(switched.first().first().toString(), ming);
    QCOMPARE(AppSettings().curUserId(), m_ming.userId.value());
    clickTab(dialog, 0);
    QCOMPARE(switched.size(), 2);
    clickTab(dialog, 1);
    QCOMPARE(AppSettings().curUserId(), second.userId.value());
    QCOMPARE(dialog.nickname(), red);
    emit tabs(dialog)->tabBarClicked(-1);
    emit tabs(dialog)->tabBarClicked(2);
    QCOMPARE(switched.size(), 3);
}

void TestFileDialog::eachPageWorksWithItsOwnUser()
{
    logInAs(*m_drive, red, 1);
    m_drive->server().makeFile("mine.txt", "", 0);
    m_drive->server().makeFile("hers.txt", "", 1);
    const FileDialog dialog;
    const auto shown = [&dialog](int index) {
        const auto *table = qobject_cast<FileTable *>(inPage(dialog, index, "fileList"));
        return table->rowCount() > 0 ? table->item(0, 0)->text() : QString();
    };
    QTRY_COMPARE(shown(0), QStringLiteral("mine.txt"));
    QTRY_COMPARE(shown(1), QStringLiteral("hers.txt"));
}

void TestFileDialog::showsAnotherPagesSettings()
{
    logInAs(*m_drive, red, 1);
    FileDialog dialog;
    dialog.resize(900, 600);
    dialog.show();
    qobject_cast<QCheckBox *>(inPage(dialog, 1, "checkDelToRecycle"))->click();
    QVERIFY(!qobject_cast<QCheckBox *>(inPage(dialog, 0, "checkDelToRecycle"))->isChecked());
    const auto header = [&dialog](int index) {
        return qobject_cast<FileTable *>(inPage(dialog, index, "fileList"))->horizontalHeader();
    };
    QTest::mouseClick(header(1)->viewport(), Qt::LeftButton, {}, QPoint(20, 15));
    QCOMPARE(header(1)->sortIndicatorSection(), 0);
    QCOMPARE(header(0)->sortIndicatorSection(), 0);
    QCOMPARE(header(0)->sortIndicatorOrder(), header(1)->sortIndicatorOrder());
    AppSettings().setVideoQuality(QStringLiteral("SD"));
    dialog.updateVideoQuality();
    for (int index = 0; index < 2; ++index) {
        QCOMPARE(qobject_cast<QToolButton *>(inPage(dialog, index, "btnVideoQuality"))->text(),
                 QStringLiteral("标清540p"));
    }
}

void TestFileDialog::loggingOutGoesOnWithTheNextUser()
{
    const UserInfo second = logInAs(*m_drive, red, 1);
    AppSettings().setCurUserId(m_ming.userId.value());
    const FileDialog dialog;
    const QSignalSpy switched(&dialog, &FileDialog::userSwitched);
    qobject_cast<QPushButton *>(inPage(dialog, 0, "btnUserLogout"))->click();
    QCOMPARE(tabTexts(dialog), QStringList{red});
    QCOMPARE(AppSettings().curUserId(), second.userId.value());
    QCOMPARE(switched.size(), 1);
    QCOMPARE(switched.first().first().toString(), red);
    QCOMPARE(dialog.nickname(), red);
}

void TestFileDialog::aNewLoginMakesTheTabsAnew()
{
    const FileDialog dialog;
    whenModal([this](QWidget *modal) {
        QVERIFY(qobject_cast<QRLoginDlg *>(modal));
        localdrive::Server &server = m_drive->server();
        QTRY_COMPARE(server.loginSessions().size(), 1U);
        server.scanLogin(server.loginSessions().front());
        server.confirmLogin(server.loginSessions().front(), 1);
    });
    qobject_cast<QPushButton *>(inPage(dialog, 0, "btnNewUser"))->click();
    QTRY_COMPARE(tabs(dialog)->count(), 2);
    QCOMPARE(tabs(dialog)->currentIndex(), 1);
    QCOMPARE(AppSettings().curUserId(), text(m_drive->server().userId(1)));
    QCOMPARE(dialog.nickname(), tabTexts(dialog).last());
}

void TestFileDialog::rebuildingLeavesNoPageBehind()
{
    const FileDialog dialog;
    const QPointer<QWidget> first(tabs(dialog)->widget(0));
    const auto announce = [&dialog](int changeType) {
        auto *page = qobject_cast<CloudFileDialog *>(tabs(dialog)->widget(0));
        emit page->userChangedFromCloudDisk(changeType, 0, 0, ming);
    };
    for (int time = 0; time < 3; ++time)
        announce(1);
    QTRY_VERIFY(!first);
    QTRY_COMPARE(dialog.findChildren<CloudFileDialog *>().size(), 1);
    announce(7);
    QCOMPARE(tabs(dialog)->count(), 1);
}

void TestFileDialog::tellsTheDiskSpaceAlsoOfLaterTabs()
{
    FileDialog dialog;
    QStringList told;
    connect(&dialog, &FileDialog::refreshDiskSpace, this, [&told](QString &info) { told << info; });
    QTRY_COMPARE(told.size(), 1);
    auto *page = qobject_cast<CloudFileDialog *>(tabs(dialog)->widget(0));
    emit page->userChangedFromCloudDisk(1, 0, 0, ming);
    QTRY_COMPARE(told.size(), 2);
}

void TestFileDialog::theLastLogoutAsksForALogin_data()
{
    QTest::addColumn<bool>("goneAlready");
    QTest::newRow("here") << false;
    QTest::newRow("after another process logged all users out") << true;
}

void TestFileDialog::theLastLogoutAsksForALogin()
{
    QFETCH(bool, goneAlready);
    const FileDialog dialog;
    const QSignalSpy switched(&dialog, &FileDialog::userSwitched);
    if (goneAlready)
        removeUser(m_ming.userId.value());
    const QPointer<QWidget> page(tabs(dialog)->widget(0));
    whenModal([&](QWidget *modal) {
        auto *login = qobject_cast<QRLoginDlg *>(modal);
        QVERIFY(login);
        QCOMPARE(tabs(dialog)->count(), 0);
        QCOMPARE(switched.last().first().toString(), QString());
        QVERIFY(login->quitOnCancel());
        localdrive::Server &server = m_drive->server();
        QTRY_COMPARE(server.loginSessions().size(), 1U);
        server.scanLogin(server.loginSessions().front());
        server.confirmLogin(server.loginSessions().front(), 2);
    });
    const LogCapture log;
    qobject_cast<QPushButton *>(inPage(dialog, 0, "btnUserLogout"))->click();
    QVERIFY(log.lines().contains(QStringLiteral("all logout, relogin")));
    QTRY_COMPARE(AppSettings().curUserId(), text(m_drive->server().userId(2)));
    QTRY_COMPARE(tabs(dialog)->count(), 1);
    QTRY_VERIFY(!page);
}

void TestFileDialog::picturesBecomeIcons_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("hasIcon");
    QPixmap picture(40, 40);
    picture.fill(Qt::red);
    QByteArray png;
    QBuffer buffer(&png);
    picture.save(&buffer, "PNG");
    QTest::newRow("a picture") << png << true;
    QTest::newRow("no picture") << QByteArrayLiteral("<html></html>") << false;
}

void TestFileDialog::picturesBecomeIcons()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, hasIcon);
    m_drive->server().makeFile("face.png", content.toStdString());
    UserInfo user = m_ming;
    user.avatar = text(m_drive->server().downloadUrl("face.png", std::chrono::minutes(5)));
    saveUserInfo(user);
    const FileDialog dialog;
    if (hasIcon) {
        QTRY_VERIFY(!tabs(dialog)->tabIcon(0).isNull());
        QCOMPARE(tabs(dialog)->tabIcon(0).pixmap(16).toImage().pixelColor(8, 8), QColor(Qt::red));
    } else {
        QTest::qWait(200);
        QVERIFY(tabs(dialog)->tabIcon(0).isNull());
    }
}

QTEST_MAIN(TestFileDialog)
#include "tst_file_dialog.moc"
