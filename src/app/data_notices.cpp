#include "app/data_notices.h"

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

// False when the user chose to end the program.
bool askToTryAgain()
{
    QMessageBox box(QMessageBox::Warning, QStringLiteral("数据库被占用"),
                    QStringLiteral("另一个程序正在使用青柚的本地数据，请关闭它后重试。"));
    box.addButton(QStringLiteral("重试"), QMessageBox::AcceptRole);
    const QPushButton *const leave = box.addButton(QStringLiteral("退出"), QMessageBox::RejectRole);
    // It may become free while the question stands.
    database()->setStateListener([&box] { box.accept(); });
    box.exec();
    database()->setStateListener({});
    return box.clickedButton() != leave;
}

} // namespace

bool waitForDatabase()
{
    while (database()->state() == Database::State::Locked) {
        if (!askToTryAgain()) {
            return false;
        }
        database()->tryAgain();
    }
    return true;
}

void tellOfUnusableData()
{
    const QFileInfo folder(dataDir());
    if (!folder.isDir() || !folder.isWritable()) {
        Toast::showTip(QStringLiteral("数据文件夹无法写入，登录和设置不会保存：") +
                       QDir::toNativeSeparators(folder.filePath()));
    } else if (!isSettingsFileUsable()) {
        Toast::showTip(QStringLiteral("设置文件无法使用，设置不会保存"));
    } else if (!database()->putAside().isEmpty()) {
        Toast::showTip(QStringLiteral("本地数据库已损坏，原文件保留在：") +
                       QDir::toNativeSeparators(database()->putAside()));
    }
}

void showUnwrittenData(QMainWindow &window)
{
    auto *const sign = new QLabel(QStringLiteral("磁盘无法写入，更改暂存在内存中"), &window);
    sign->setObjectName(QStringLiteral("unwrittenSign"));
    sign->setToolTip(QStringLiteral("可以写入时会自动保存；在此之前退出程序会丢失这些更改"));
    window.statusBar()->addPermanentWidget(sign);
    const auto update = [sign] {
        sign->setVisible(database()->state() == Database::State::InMemory);
    };
    database()->setStateListener(update);
    update();
}
