// The small dialogs and pages around the file manager.

#include <QDesktopServices>
#include <QDir>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>

#include "app/environment/data_dir.h"
#include "db/tables/operations.h"
#include "files/drive_page.h"
#include "support/test_main.h"
#include "ui/shell/fav_dialog.h"
#include "ui/shell/file_dialog.h"
#include "ui/shell/help_dialog.h"
#include "ui/shell/recycle_dialog.h"
#include "ui/shell/space_bar.h"
#include "ui/shell/trans_dialog.h"

class TestSideDialogs final : public QObject
{
    Q_OBJECT

public slots:
    void openUrl(const QUrl &url) { m_opened << url.toString(); }

private slots:
    void bearTheirNames()
    {
        const RecycleDialog recycle;
        QCOMPARE(recycle.objectName() + recycle.windowTitle(), QString("RecycleDialogDialog"));
        QCOMPARE(recycle.findChild<QLabel *>("label")->text(), QString("回收站"));
        QCOMPARE(FavDialog().objectName() + TransDialog().objectName(),
                 QString("FavDialogTrasnDialog"));
    }

    void theHelpPageOpensThreePages()
    {
        const DriveFixture home;
        const QStringList keys{"helpTvUrl", "helpPcUrl", "helpReportUrl"};
        QStringList pages;
        for (const QString &key : keys) {
            pages << "https://a.example/" + key;
            QSettings(dataDir() + "/mrsettings.ini", QSettings::IniFormat)
                .setValue(key, pages.last());
        }
        QDesktopServices::setUrlHandler("https", this, "openUrl");
        const HelpDialog dialog;
        for (const char *name : {"btnDownloadTV", "btnDownloadPc", "btnReportBug"}) {
            dialog.findChild<QPushButton *>(name)->click();
        }
        QDesktopServices::unsetUrlHandler("https");
        QCOMPARE(m_opened, pages);
    }

    void showsHowFullTheDriveIs_data()
    {
        QTest::addColumn<double>("share");
        QTest::addColumn<QString>("shown");
        QTest::newRow("not known") << -1.0 << "";
        QTest::newRow("in part") << 0.425 << "已用 43%";
        QTest::newRow("nearly full") << 0.9 << "已用 90% nearly full";
        QTest::newRow("more than there is") << 1.2 << "已用 100% nearly full";
    }
    void showsHowFullTheDriveIs()
    {
        QFETCH(double, share);
        QWidget window;
        auto *bar = new SpaceBar(&window);
        bar->setShare(share);
        const QString sign = bar->property("nearlyFull").toBool() ? " nearly full" : "";
        QTEST(bar->isVisibleTo(&window) ? bar->toolTip() + sign : QString(), "shown");
    }

    void numbersATakenName_data()
    {
        QTest::addColumn<QStringList>("taken");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("target");
        const QStringList films{"第1集.mkv", "第1集 (1).mkv"};
        QTest::newRow("a free name") << QStringList() << "第1集.mkv"
                                     << "第1集.mkv";
        QTest::newRow("a taken number") << films << "第1集.mkv"
                                        << "第1集 (2).mkv";
        QTest::newRow("no extension") << QStringList{"README"} << "README"
                                      << "README (1)";
        QTest::newRow("a way out of the folder") << QStringList() << "../../x.sh"
                                                 << "x.sh";
    }
    void numbersATakenName()
    {
        QFETCH(QStringList, taken);
        QFETCH(QString, name);
        QFETCH(QString, target);
        const QTemporaryDir folder;
        for (const QString &file : taken) {
            QVERIFY(QFile(folder.filePath(file)).open(QIODevice::WriteOnly));
        }
        QCOMPARE(TransDialog::targetFile(folder.path(), name), folder.filePath(target));
    }

    void downloadsIntoTheUsersFolder()
    {
        DriveFixture drive;
        const std::string content(30000, 'x');
        drive.server().makeFile("a.bin", content);
        const QString url = text(drive.server().downloadUrl("a.bin", std::chrono::minutes(1)));
        logInAs(drive, "小明");
        const FileDialog dialog;
        auto *page = dialog.findChild<CloudFileDialog *>();
        const LogCapture log;
        emit page->startDownload("缺.bin", url + "x");
        QTRY_COMPARE(toasts().size(), 1);
        QVERIFY2(toasts().first().startsWith("缺.bin 下载失败："), qPrintable(toasts().first()));
        closeToasts();
        emit page->startDownload("下载.bin", url);
        emit page->startDownload("下载.bin", url); // before the first has its file
        QCOMPARE(log.lines().filter("url:").size(), 3);
        for (const char *name : {"/下载.bin", "/下载 (1).bin"}) {
            QFile saved(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation) + name);
            QTRY_VERIFY(saved.exists());
            QVERIFY(saved.fileName().startsWith(QDir::homePath()));
            QVERIFY(saved.open(QIODevice::ReadOnly));
            QCOMPARE(saved.readAll(), QByteArray::fromStdString(content));
        }
    }

private:
    QStringList m_opened;
};

MORAVU_TEST(TestSideDialogs)
#include "tst_side_dialogs.moc"
