#pragma once

#include <QAbstractItemView>
#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QTest>
#include <QTimer>

#include "db/tables/operations.h"
#include "session/drive_fixture.h"
#include "ui/widgets/toast.h"
#include "ui/windows/cloud_file_dialog.h"
#include "ui/windows/file_table.h"

// A user of the fixture's drive with a name for the tabs.
inline UserInfo logInAs(DriveFixture &drive, const QString &nickname, int account = 0)
{
    UserInfo user = drive.logIn(account);
    user.nickname = nickname;
    saveUserInfo(user);
    return user;
}

// Lets the requests end that a closed page has left behind: Qt leaks those that are under way when
// the process ends.
inline void settle(DriveFixture &drive)
{
    QTest::qWait(20);
    const auto answered = [&drive] {
        const std::vector<localdrive::RequestRecord> requests = drive.server().requests();
        return std::all_of(
            requests.begin(), requests.end(),
            [](const localdrive::RequestRecord &request) { return request.status != 0; });
    };
    QTRY_VERIFY(answered());
    QTest::qWait(20);
}

// The page of a user whose drive holds what the test made, shown on the screen.
class DrivePage final
{
    Q_DISABLE_COPY_MOVE(DrivePage)

public:
    explicit DrivePage(const UserInfo &user) : dialog(user)
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
        for (int row = 0; row < model->rowCount(); ++row)
            text += model->index(row, 0).data().toString();
        return text;
    }

    QStringList names() const
    {
        QStringList names;
        for (int row = 0; row < table()->rowCount(); ++row) {
            if (!table()->isRowHidden(row))
                names << table()->item(row, FileTable::NameColumn)->text();
        }
        return names;
    }
    int rowOf(const QString &name) const
    {
        for (int row = 0; row < table()->rowCount(); ++row) {
            if (table()->item(row, FileTable::NameColumn)->text() == name)
                return row;
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

// The texts of the messages that are visible, the same text as often as it is.
inline QStringList toasts()
{
    QStringList texts;
    for (const QWidget *window : QApplication::topLevelWidgets()) {
        if (qobject_cast<const Toast *>(window) && window->isVisible())
            texts << window->findChild<QLabel *>()->text();
    }
    texts.sort();
    return texts;
}

inline void closeToasts()
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (qobject_cast<Toast *>(window))
            delete window;
    }
}
