#include "app/data_notices.h"

#include <memory>

#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>
#include <QStatusBar>

#include "app/environment/data_dir.h"
#include "app/environment/settings_file.h"
#include "db/tables/database.h"
#include "ui/widgets/toast.h"

namespace {

// True when the user wants another try. A signal that ends the program closes the box without any
// answer.
bool askToTryAgain(const QString &title, const QString &text)
{
    QMessageBox box(QMessageBox::Warning, title, text);
    const QPushButton *const again = box.addButton(QStringLiteral("重试"), QMessageBox::AcceptRole);
    box.addButton(QStringLiteral("退出"), QMessageBox::RejectRole);
    // The file may become free while the question stands.
    database()->setListener([&box] { box.accept(); });
    box.exec();
    database()->setListener({});
    return box.clickedButton() == again;
}

QString noticeOf(const QString &putAside)
{
    return QStringLiteral("本地数据库已损坏，原文件保留在：") + QDir::toNativeSeparators(putAside);
}

} // namespace

bool waitForDatabase()
{
    while (database()->state() == Database::State::Locked) {
        const bool again =
            askToTryAgain(QStringLiteral("数据库被占用"),
                          QStringLiteral("另一个程序正在使用青柚的本地数据，请关闭它后重试。"));
        if (!again && database()->state() == Database::State::Locked) {
            return false;
        }
        database()->tryAgain();
    }
    return true;
}

void closeDatabaseOrTell()
{
    while (!database()->close()) {
        const bool again =
            askToTryAgain(QStringLiteral("更改尚未保存"),
                          QStringLiteral("本地数据无法写入磁盘，登录和播放记录等更改尚未保存。\n"
                                         "现在退出，这些更改会丢失。"));
        if (!again && database()->isWaitingToWrite()) {
            return;
        }
    }
}

QString tellOfUnusableData()
{
    const QFileInfo folder(dataDir());
    const QString putAside = database()->putAside();
    QStringList notices; // in one toast: two would lie over each other
    if (!folder.isDir() || !folder.isWritable()) {
        notices << QStringLiteral("数据文件夹无法写入，登录和设置不会保存：") +
                       QDir::toNativeSeparators(folder.filePath());
    } else if (!isSettingsFileUsable()) {
        notices << QStringLiteral("设置文件无法使用，设置不会保存");
    }
    if (!putAside.isEmpty()) {
        notices << noticeOf(putAside);
    }
    if (!notices.isEmpty()) {
        Toast::showTip(notices.join(QLatin1Char('\n')));
    }
    return putAside;
}

void watchDatabase(QMainWindow &window, const QString &putAsideTold)
{
    auto *const sign = new QLabel(QStringLiteral("磁盘无法写入，更改暂存在内存中"), &window);
    sign->setObjectName(QStringLiteral("unwrittenSign"));
    sign->setToolTip(QStringLiteral("可以写入时会自动保存；在此之前退出程序会丢失这些更改"));
    window.statusBar()->addPermanentWidget(sign);
    const auto update = [sign, told = std::make_shared<QString>(putAsideTold)] {
        sign->setVisible(database()->state() != Database::State::Ready);
        if (*told != database()->putAside()) {
            *told = database()->putAside();
            Toast::showTip(noticeOf(*told));
        }
    };
    database()->setListener(update);
    update();
}
