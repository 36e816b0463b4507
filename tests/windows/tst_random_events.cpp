// A user at random: every event is drawn from a seed, against a drive that fails now and then.
// MORAVU_SEED repeats a run, MORAVU_LONG makes it a long one.

#include <clocale>
#include <filesystem>
#include <random>

#include <QComboBox>
#include <QDeadlineTimer>
#include <QHeaderView>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QTabBar>
#include <QTabWidget>
#include <QToolButton>

#include "app/environment/app_settings.h"
#include "login/qr_login_dlg.h"
#include "player/clips.h"
#include "player/player_window.h"
#include "ui/windows/main_window.h"
#include "windows/drive_page.h"

namespace {

constexpr int Accounts = 2;
constexpr unsigned KeptSeed = 20261122;
// What was sent before a logout may still be on its way to the drive.
constexpr std::int64_t Grace = 1000; // ms
constexpr int ClearButtonFade = 400; // ms, twice Qt's own
// A confirmed login is through well before this.
constexpr int Patience = 5000; // ms

std::int64_t now()
{
    return QDateTime::currentMSecsSinceEpoch();
}

struct Absence
{
    int account;
    std::int64_t from;
    std::int64_t to = 0; // 0: not over yet
};

QString difference(const QStringList &shown, const QStringList &expected)
{
    QStringList lines;
    for (const QString &name : expected) {
        if (!shown.contains(name))
            lines << QStringLiteral("missing ") + name;
    }
    for (const QString &name : shown) {
        if (!expected.contains(name))
            lines << QStringLiteral("surplus ") + name;
    }
    return lines.join(QLatin1Char('\n'));
}

} // namespace

class TestRandomEvents final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void survives();

private:
    using Event = void (TestRandomEvents::*)();

    void answerModalWindows();
    void confirmLogin(const QRLoginDlg &dialog);
    int random(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(m_random); }
    QTabWidget *tabs() const;
    CloudFileDialog *page() const;
    FileTable *table() const { return page()->findChild<FileTable *>(); }
    void press(const char *button) const;
    int randomRow() { return table()->rowCount() > 0 ? random(table()->rowCount()) : -1; }
    QString nameAt(int row) const { return table()->item(row, 0)->text(); }

    void open();
    void openVideo();
    void closePlayer();
    void goBack();
    void sort();
    void search();
    void refresh();
    void switchUser();
    void rename();
    void remove();
    void scroll();
    void logOut();
    void logInAnother();
    void breakSomething();
    void wait();

    void checkAbsences() const;
    void checkTables();

    std::unique_ptr<DriveFixture> m_drive;
    std::unique_ptr<MainWindow> m_window;
    std::mt19937 m_random;
    QTimer m_answers;
    QDeadlineTimer m_patience;
    QList<Absence> m_absences;
    int m_renamed = 0;
};

void TestRandomEvents::init()
{
    m_drive = std::make_unique<DriveFixture>(Accounts);
    for (int account = 0; account < Accounts; ++account) {
        for (int number = 0; number < 230; ++number)
            m_drive->server().makeFile("文件" + std::to_string(number) + ".txt", "x", account);
        for (const char *name : {"甲/一.txt", "甲/二/三.txt", "乙/四.txt"})
            m_drive->server().makeFile(name, "x", account);
        for (const char *name : {"第1集.mkv", "第2集.mkv"}) {
            QVERIFY(clips::make(text(m_drive->server().rootPath(account)) + QLatin1Char('/') +
                                QLatin1String(name)));
        }
    }
    logInAs(*m_drive, QStringLiteral("小明"), 0);
    logInAs(*m_drive, QStringLiteral("小红"), 1);
    AppSettings().setVideoQuality(QStringLiteral("OrgHD"));
    m_window = std::make_unique<MainWindow>();
    m_window->show();
    connect(&m_answers, &QTimer::timeout, this, &TestRandomEvents::answerModalWindows);
    m_answers.start(10);
}

void TestRandomEvents::cleanup()
{
    m_answers.stop();
    m_window->closePlayers();
    // Qt leaks the animation of a search box's clear button that goes while it fades.
    QTest::qWait(ClearButtonFade);
    m_window.reset();
    closeToasts();
    m_drive.reset();
}

void TestRandomEvents::answerModalWindows()
{
    QWidget *modal = QApplication::activeModalWidget();
    if (auto *login = qobject_cast<QRLoginDlg *>(modal))
        confirmLogin(*login);
    else if (auto *box = qobject_cast<QMessageBox *>(modal))
        box->done(random(2) == 0 ? QMessageBox::Yes : QMessageBox::No);
}

void TestRandomEvents::confirmLogin(const QRLoginDlg &dialog)
{
    localdrive::Server &server = m_drive->server();
    const std::vector<std::string> sids = server.loginSessions();
    if (sids.empty())
        return;
    int account = 0;
    for (const UserInfo &user : listUsers()) {
        if (text(server.userId(0)) == user.userId.value())
            account = 1;
    }
    server.scanLogin(sids.back());
    if (!server.confirmLogin(sids.back(), account)) {
        // Confirmed long ago, and a fault came in between: with another code, then.
        if (m_patience.hasExpired()) {
            m_patience.setRemainingTime(Patience);
            dialog.findChild<QAbstractButton *>(QStringLiteral("btnRefreshQrcode"))->click();
        }
        return;
    }
    m_patience.setRemainingTime(Patience);
    for (Absence &absence : m_absences) {
        if (absence.account == account && absence.to == 0)
            absence.to = now();
    }
}

QTabWidget *TestRandomEvents::tabs() const
{
    return m_window->findChild<QTabWidget *>(QStringLiteral("userTab"));
}

CloudFileDialog *TestRandomEvents::page() const
{
    return qobject_cast<CloudFileDialog *>(tabs()->currentWidget());
}

void TestRandomEvents::press(const char *button) const
{
    page()->findChild<QAbstractButton *>(QLatin1String(button))->click();
}

void TestRandomEvents::open()
{
    const int row = randomRow();
    // Folders come first whatever the order.
    const int folder = table()->rowCount() > 0 ? random(qMin(3, table()->rowCount())) : -1;
    const int target = random(2) == 0 ? row : folder;
    if (target >= 0 && !nameAt(target).endsWith(QLatin1String(".mkv")))
        emit table()->itemDoubleClicked(table()->item(target, 0));
}

void TestRandomEvents::openVideo()
{
    for (int row = 0; row < table()->rowCount(); ++row) {
        if (nameAt(row).endsWith(QLatin1String(".mkv")) && !table()->isRowHidden(row)) {
            emit table()->itemDoubleClicked(table()->item(row, 0));
            QTest::qWait(random(400));
            return;
        }
    }
}

void TestRandomEvents::closePlayer()
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (qobject_cast<MpvPlayerWindow *>(window))
            window->close();
    }
}

void TestRandomEvents::goBack()
{
    press("btnBack");
}

void TestRandomEvents::sort()
{
    QHeaderView *header = table()->horizontalHeader();
    const int column = random(FileTable::ColumnCount);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                      QPoint(header->sectionViewportPosition(column) + 20, 15));
}

void TestRandomEvents::search()
{
    const QStringList texts{QString(), QString(), QStringLiteral("1"), QStringLiteral("集")};
    page()
        ->findChild<QLineEdit *>(QStringLiteral("fileNameSearch"))
        ->setText(texts.at(random(texts.size())));
}

void TestRandomEvents::refresh()
{
    press("btnRefresh");
}

void TestRandomEvents::switchUser()
{
    const int tab = random(tabs()->count());
    QTest::mouseClick(tabs()->tabBar(), Qt::LeftButton, {},
                      tabs()->tabBar()->tabRect(tab).center());
}

void TestRandomEvents::rename()
{
    const int row = randomRow();
    if (row >= 0 && nameAt(row).endsWith(QLatin1String(".txt")))
        table()->item(row, 0)->setText(QStringLiteral("新%1.txt").arg(++m_renamed));
}

void TestRandomEvents::remove()
{
    const int row = randomRow();
    if (row < 0 || !nameAt(row).endsWith(QLatin1String(".txt")))
        return;
    table()->clearSelection();
    table()->setCurrentCell(row, 0);
    if (random(4) == 0)
        press("checkDelToRecycle");
    press("btnDelete");
}

void TestRandomEvents::scroll()
{
    QScrollBar *bar = table()->verticalScrollBar();
    bar->setValue(random(2) == 0 ? bar->maximum() : random(bar->maximum() + 1));
}

void TestRandomEvents::logOut()
{
    if (random(3) != 0)
        return;
    const QString userId = page()->userId();
    press("btnUserLogout");
    for (int account = 0; account < Accounts; ++account) {
        if (text(m_drive->server().userId(account)) == userId)
            m_absences.append({account, now()});
    }
    QTRY_VERIFY_WITH_TIMEOUT(tabs()->count() > 0 && page(), 20000);
}

void TestRandomEvents::logInAnother()
{
    if (listUsers().size() < Accounts)
        press("btnNewUser");
}

void TestRandomEvents::breakSomething()
{
    localdrive::Fault fault;
    const std::array<const char *, 5> paths{"/openFile/list", "/openFile/update",
                                            "/openFile/(recyclebin|delete)", "/user/",
                                            "/openFile/"};
    fault.path = paths.at(random(int(paths.size())));
    switch (random(4)) {
    case 0:
        fault.status = 500;
        break;
    case 1:
        fault.wire = localdrive::Break::CloseBeforeReply;
        break;
    case 2:
        fault.wire = localdrive::Break::BrokenJson;
        break;
    default:
        fault.delay = std::chrono::milliseconds(random(300));
    }
    m_drive->server().addFault(fault);
}

void TestRandomEvents::wait()
{
    QTest::qWait(random(60));
}

void TestRandomEvents::survives()
{
    const unsigned seed = qEnvironmentVariableIsSet("MORAVU_SEED")
                              ? qEnvironmentVariable("MORAVU_SEED").toUInt()
                              : KeptSeed;
    m_random.seed(seed);
    qInfo() << "seed" << seed;
    const std::array<Event, 21> events{&TestRandomEvents::open,
                                       &TestRandomEvents::open,
                                       &TestRandomEvents::open,
                                       &TestRandomEvents::openVideo,
                                       &TestRandomEvents::closePlayer,
                                       &TestRandomEvents::goBack,
                                       &TestRandomEvents::goBack,
                                       &TestRandomEvents::sort,
                                       &TestRandomEvents::search,
                                       &TestRandomEvents::search,
                                       &TestRandomEvents::refresh,
                                       &TestRandomEvents::switchUser,
                                       &TestRandomEvents::rename,
                                       &TestRandomEvents::rename,
                                       &TestRandomEvents::remove,
                                       &TestRandomEvents::scroll,
                                       &TestRandomEvents::logOut,
                                       &TestRandomEvents::logInAnother,
                                       &TestRandomEvents::breakSomething,
                                       &TestRandomEvents::wait,
                                       &TestRandomEvents::wait};
    const int count = qEnvironmentVariableIsSet("MORAVU_LONG") ? 2000 : 100;
    for (int number = 0; number < count; ++number) {
        (this->*events.at(random(int(events.size()))))();
        QTRY_VERIFY_WITH_TIMEOUT(page(), 20000);
    }
    m_drive->server().clearFaults();
    closePlayer();
    checkTables();
    checkAbsences();
}

void TestRandomEvents::checkTables()
{
    for (int tab = 0; tab < tabs()->count(); ++tab) {
        tabs()->setCurrentIndex(tab);
        QAbstractItemView *path =
            page()->findChild<QAbstractItemView *>(QStringLiteral("pathNavList"));
        emit path->clicked(path->model()->index(0, 0));
        QTest::qWait(700); // requests that were delayed
        refresh();
        page()->findChild<QComboBox *>()->setCurrentIndex(0);
        QStringList expected;
        const bool isFirst = page()->userId() == text(m_drive->server().userId(0));
        const std::filesystem::path root = m_drive->server().rootPath(isFirst ? 0 : 1);
        for (const auto &entry : std::filesystem::directory_iterator(root)) {
            const QString name = text(entry.path().filename().string());
            if (!name.startsWith(QLatin1String(".localdrive"))) // the drive's own bin
                expected << name;
        }
        expected.sort();
        QStringList shown;
        const auto read = [this, &shown] {
            QScrollBar *bar = table()->verticalScrollBar();
            bar->setValue(0);
            bar->setValue(bar->maximum());
            shown.clear();
            for (int row = 0; row < table()->rowCount(); ++row)
                shown << nameAt(row);
            shown.sort();
            return shown;
        };
        QTRY_VERIFY2(read() == expected, qPrintable(difference(shown, expected)));
    }
}

void TestRandomEvents::checkAbsences() const
{
    for (const localdrive::RequestRecord &request : m_drive->server().requests()) {
        for (const Absence &absence : m_absences) {
            const bool isInside = request.time > absence.from + Grace &&
                                  (absence.to == 0 || request.time < absence.to);
            QVERIFY2(request.account != absence.account || !isInside, request.path.c_str());
        }
    }
}

int main(int argc, char *argv[])
{
    // The long run takes longer than a test function usually may.
    if (!qEnvironmentVariableIsSet("QTEST_FUNCTION_TIMEOUT"))
        qputenv("QTEST_FUNCTION_TIMEOUT", "1700000");
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    std::setlocale(LC_NUMERIC, "C");
    TestRandomEvents test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_random_events.moc"
