// The small dialogs and pages around the file manager.

#include <QDesktopServices>
#include <QDir>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>

#include "app/environment/data_dir.h"
#include "ui/windows/fav_dialog.h"
#include "ui/windows/help_dialog.h"
#include "ui/windows/recycle_dialog.h"
#include "ui/windows/trans_dialog.h"
#include "windows/drive_page.h"

class UrlReceiver final : public QObject
{
    Q_OBJECT

public:
    QStringList opened;

public slots:
    void open(const QUrl &url) { opened << url.toString(); }
};

class TestSideDialogs final : public QObject
{
    Q_OBJECT

private slots:
    void bearTheirNames();
    void theHelpPageOpensThreePages();
    void numbersATakenName_data();
    void numbersATakenName();
    void downloadsIntoTheUsersFolder();
};

void TestSideDialogs::bearTheirNames()
{
    const RecycleDialog recycle;
    const FavDialog favourites;
    const TransDialog transfers;
    QCOMPARE(recycle.objectName(), QStringLiteral("RecycleDialog"));
    QCOMPARE(recycle.windowTitle(), QStringLiteral("Dialog"));
    QCOMPARE(recycle.findChild<QLabel *>(QStringLiteral("label"))->text(),
             QStringLiteral("回收站"));
    QCOMPARE(favourites.objectName(), QStringLiteral("FavDialog"));
    QCOMPARE(transfers.objectName(), QStringLiteral("TrasnDialog"));
}

void TestSideDialogs::theHelpPageOpensThreePages()
{
    const DriveFixture home;
    const QStringList pages{QStringLiteral("https://a.example/tv"),
                            QStringLiteral("https://a.example/pc"),
                            QStringLiteral("https://a.example/bug")};
    {
        QSettings settings(dataDir() + QStringLiteral("/mrsettings.ini"), QSettings::IniFormat);
        settings.setValue(QStringLiteral("helpTvUrl"), pages.at(0));
        settings.setValue(QStringLiteral("helpPcUrl"), pages.at(1));
        settings.setValue(QStringLiteral("helpReportUrl"), pages.at(2));
    }
    UrlReceiver receiver;
    QDesktopServices::setUrlHandler(QStringLiteral("https"), &receiver, "open");
    const HelpDialog dialog;
    for (const char *name : {"btnDownloadTV", "btnDownloadPc", "btnReportBug"})
        dialog.findChild<QPushButton *>(QLatin1String(name))->click();
    QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
    QCOMPARE(receiver.opened, pages);
}

void TestSideDialogs::numbersATakenName_data()
{
    QTest::addColumn<QStringList>("taken");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("target");
    const QString film = QStringLiteral("第1集.mkv");
    const QString second = QStringLiteral("第1集 (1).mkv");
    QTest::newRow("a free name") << QStringList() << film << film;
    QTest::newRow("a taken name") << QStringList{film} << film << second;
    QTest::newRow("a taken number")
        << QStringList{film, second} << film << QStringLiteral("第1集 (2).mkv");
    QTest::newRow("no extension") << QStringList{QStringLiteral("README")}
                                  << QStringLiteral("README") << QStringLiteral("README (1)");
    QTest::newRow("a way out of the folder")
        << QStringList() << QStringLiteral("../../x.sh") << QStringLiteral("x.sh");
}

void TestSideDialogs::numbersATakenName()
{
    QFETCH(QStringList, taken);
    QFETCH(QString, name);
    QFETCH(QString, target);
    const QTemporaryDir folder;
    for (const QString &file : taken) {
        QFile made(folder.filePath(file));
        QVERIFY(made.open(QIODevice::WriteOnly));
    }
    QCOMPARE(TransDialog::targetFile(folder.path(), name), folder.filePath(target));
}

void TestSideDialogs::downloadsIntoTheUsersFolder()
{
    DriveFixture drive;
    const UserInfo user = logInAs(drive, QStringLiteral("小明"));
    const std::string content(30000, 'x');
    drive.server().makeFile("a.bin", content);
    const LogCapture log;
    CloudFileDialog page(user);
    TransDialog transfers;
    connect(&page, &CloudFileDialog::startDownload, &transfers, &TransDialog::onStartDownload);
    const QString url = text(drive.server().downloadUrl("a.bin", std::chrono::minutes(1)));
    emit page.startDownload(QStringLiteral("下载.bin"), url);
    emit page.startDownload(QStringLiteral("下载.bin"), url); // before the first has its file
    QVERIFY(!log.lines().filter(QStringLiteral("url:")).isEmpty());
    for (const auto &name : {QStringLiteral("/下载.bin"), QStringLiteral("/下载 (1).bin")}) {
        QFile saved(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation) + name);
        QTRY_VERIFY(saved.exists());
        QVERIFY(saved.fileName().startsWith(QDir::homePath()));
        QVERIFY(saved.open(QIODevice::ReadOnly));
        QCOMPARE(saved.readAll(), QByteArray::fromStdString(content));
    }
}

QTEST_MAIN(TestSideDialogs)
#include "tst_side_dialogs.moc"
