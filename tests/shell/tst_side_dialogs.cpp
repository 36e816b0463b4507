// The small dialogs and pages around the file manager.

#include <functional>

#include <QDesktopServices>
#include <QDir>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>
#include <QTimer>

#include "app/environment/data_dir.h"
#include "db/tables/operations.h"
#include "files/drive_page.h"
#include "login/qr_login_dlg.h"
#include "support/keyboard.h"
#include "support/test_main.h"
#include "ui/files/failed_files_dialog.h"
#include "ui/files/file_tree_dialog.h"
#include "ui/shell/fav_dialog.h"
#include "ui/shell/file_dialog.h"
#include "ui/shell/help_dialog.h"
#include "ui/shell/recycle_dialog.h"
#include "ui/shell/trans_dialog.h"
#include "ui/widgets/questions.h"

Q_DECLARE_METATYPE(std::function<void()>)

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

    void theKeyboardGoesRoundADialog_data()
    {
        QTest::addColumn<std::function<void()>>("ask");
        QTest::addColumn<QString>("stops");
        const auto run = [](auto make) -> std::function<void()> {
            return [make] { make()->exec(); };
        };
        QTest::newRow("folders") << run([] {
            return std::make_unique<FileTreeDialog>(listUsers().first());
        }) << "fileTree 取消";
        QTest::newRow("login") << run([] { return std::make_unique<QRLoginDlg>(); })
                               << "btnRefreshQrcode btnCancle";
        QTest::newRow("failed files") << run([] {
            return std::make_unique<FailedFilesDialog>(
                "2 个失败", QList<BatchFile>{{"f1", "a", ""}, {"f2", "b", "没有权限"}});
        }) << "failedFiles 重试 关闭";
        const auto none = nullptr;
        QTest::newRow("yes or no")
            << std::function<void()>([=] { askYesNo(none, "警告", "删?"); }) << "否(N) 是(Y)";
        QTest::newRow("choice") << std::function<void()>([=] {
            askChoice(none, "退出", "还有 2 个", {"等(&W)", "停(&S)"});
        }) << "取消 等(W) 停(S)";
        QTest::newRow("text") << std::function<void()>([=] {
            askText(none, "新建文件夹", "请输入新文件夹名称", "新建文件夹");
        }) << "请输入新文件夹名称 确定 取消";
    }
    void theKeyboardGoesRoundADialog()
    {
        QFETCH(std::function<void()>, ask);
        DriveFixture drive;
        logInAs(drive, "小明");
        QString forward;
        QString backward;
        QStringList silent{"never seen"};
        QTimer seen;
        seen.callOnTimeout([&] {
            QWidget *dialog = QApplication::activeModalWidget();
            if (!dialog || !dialog->isActiveWindow() || !QApplication::focusWidget()) {
                return;
            }
            seen.stop();
            silent = unspoken(*dialog);
            forward = tabStops(Qt::Key_Tab);
            backward = tabStops(Qt::Key_Backtab);
            QTest::keyClick(dialog, Qt::Key_Escape);
        });
        seen.start(10);
        ask();
        QCOMPARE(silent, QStringList());
        QTEST(forward, "stops");
        QCOMPARE(backward, forward);
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
