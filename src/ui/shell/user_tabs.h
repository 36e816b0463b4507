#pragma once

#include <QTabWidget>

// Tabs that turn only by clicks and keys, both of which announce themselves by tabBarClicked: who
// listens makes the tab's user the current one, so that the page that is shown is always that
// user's. The mouse wheel turns nothing. Names are shown as they are: they make no mnemonics.
class UserTabs final : public QTabWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(UserTabs)

public:
    explicit UserTabs(QWidget *parent = nullptr);

    int addUser(QWidget *page, const QString &nickname);
    void setUserName(int index, const QString &nickname);

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    // Ctrl+Tab goes round the tabs. It is kept here also with a single tab: around this widget
    // others would turn their pages.
    void keyPressEvent(QKeyEvent *event) override;

private:
    bool filterTabBarKey(const QKeyEvent &event);
};
