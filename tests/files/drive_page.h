#pragma once

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QNetworkReply>
#include <QScrollBar>
#include <QTest>
#include <QTimer>

#include "db/tables/operations.h"
#include "session/drive_fixture.h"
#include "support/fault_on.h"
#include "support/test_main.h"
#include "support/toasts.h"
#include "ui/files/cloud_file_dialog.h"
#include "ui/files/file_table.h"

// A user of the fixture's drive with a name for the tabs.
inline UserInfo logInAs(DriveFixture &drive, const QString &nickname, int account = 0)
{
    UserInfo user = drive.logIn(account);
    user.nickname = nickname;
    saveUserInfo(user);
    return user;
}

// Files of one byte; a path that ends with a slash becomes a folder.
inline void makeFiles(DriveFixture &drive, const std::vector<std::string> &paths)
{
    for (const std::string &path : paths) {
        if (path.back() == '/') {
            drive.server().makeFolder(path.substr(0, path.size() - 1));
        } else {
            drive.server().makeFile(path, "x");
        }
    }
}

// What lies in the drive's root folder, sorted.
inline QString namesIn(DriveFixture &drive)
{
    const QDir root(text(drive.server().rootPath()));
    return root.entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name).join(' ');
}

// Lets the requests end that a closed page has left behind: Qt leaks those that are under way when
// the process ends. What a click calls for is sent by then, too.
inline void settle(DriveFixture &drive)
{
    const auto isQuiet = [&drive] {
        const std::vector<localdrive::RequestRecord> requests = drive.server().requests();
        return qApp->findChildren<QNetworkReply *>().isEmpty() &&
               std::all_of(
                   requests.begin(), requests.end(),
                   [](const localdrive::RequestRecord &request) { return request.status != 0; });
    };
    // An answer may call for a further page.
    for (int time = 0; time < 2; ++time) {
        QTest::qWait(20);
        QTRY_VERIFY(isQuiet());
    }
}

// The page of a user whose drive holds what the test made, shown on the screen.
class DrivePage final
{
    Q_DISABLE_COPY_MOVE(DrivePage)

public:
    explicit DrivePage(const UserInfo &user, FileBatches *batches = nullptr) : dialog(user, batches)
    {
        dialog.resize(900, 600);
        dialog.show();
    }

    template <class Widget>
    Widget *child(const char *name) const
    {
        return dialog.findChild<Widget *>(QLatin1String(name));
    }
    FileTable *table() const { return child<FileTable>("fileList"); }
    QString count() const { return child<QLabel>("countLabel")->text(); }
    QString path() const
    {
        const QAbstractItemModel *model = child<QAbstractItemView>("pathNavList")->model();
        QString text;
        for (int row = 0; row < model->rowCount(); ++row) {
            text += model->index(row, 0).data().toString();
        }
        return text;
    }

    void press(const char *button) const { child<QAbstractButton>(button)->click(); }
    void search(const QString &text) const { child<QLineEdit>("fileNameSearch")->setText(text); }
    void scrollToEnd() const
    {
        QScrollBar *bar = table()->verticalScrollBar();
        bar->setValue(0);
        bar->setValue(bar->maximum());
    }

    QStringList names() const
    {
        QStringList names;
        for (int row = 0; row < table()->rowCount(); ++row) {
            if (!table()->isRowHidden(row)) {
                names << table()->item(row, FileTable::NameColumn)->text();
            }
        }
        return names;
    }
    int rowOf(const QString &name) const
    {
        for (int row = 0; row < table()->rowCount(); ++row) {
            if (table()->item(row, FileTable::NameColumn)->text() == name) {
                return row;
            }
        }
        return -1;
    }
    void select(const QStringList &names) const
    {
        table()->clearSelection();
        for (const QString &name : names) {
            const QModelIndex index = table()->model()->index(rowOf(name), 0);
            table()->selectionModel()->setCurrentIndex(index, QItemSelectionModel::Select |
                                                                  QItemSelectionModel::Rows);
        }
    }
    void doubleClick(const QString &name) const
    {
        QTableWidgetItem *item = table()->item(rowOf(name), FileTable::NameColumn);
        QVERIFY(item);
        emit table()->itemDoubleClicked(item);
    }
    void chooseFromMenu(const QString &text) const
    {
        for (QAction *action : table()->findChild<QMenu *>()->actions()) {
            if (action->text() == text) {
                action->trigger();
                return;
            }
        }
        QFAIL("no such menu entry");
    }

    CloudFileDialog dialog;
};

// Does something to the next modal window, once it is there.
template <class Action>
void whenModal(Action action)
{
    auto *timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, action] {
        if (QWidget *modal = QApplication::activeModalWidget()) {
            timer->deleteLater();
            timer->stop();
            action(modal);
        }
    });
    timer->start(10);
}
