#include "ui/shell/user_tabs.h"

#include <QKeyEvent>
#include <QTabBar>

#include "ui/widgets/name_text.h"

UserTabs::UserTabs(QWidget *parent) : QTabWidget(parent)
{
    tabBar()->installEventFilter(this);
}

int UserTabs::addUser(QWidget *page, const QString &nickname)
{
    const int index = addTab(page, QString());
    setUserName(index, nickname);
    return index;
}

void UserTabs::setUserName(int index, const QString &nickname)
{
    QString text = visibleName(nickname);
    setTabText(index, text.replace(QLatin1Char('&'), QLatin1String("&&")));
    setTabToolTip(index, nameTip(nickname));
}

bool UserTabs::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == tabBar()) {
        if (event->type() == QEvent::Wheel) {
            return true;
        }
        if (event->type() == QEvent::KeyPress) {
            return filterTabBarKey(*static_cast<QKeyEvent *>(event));
        }
    }
    return QTabWidget::eventFilter(watched, event);
}

bool UserTabs::filterTabBarKey(const QKeyEvent &event)
{
    if (event.key() != Qt::Key_Left && event.key() != Qt::Key_Right) {
        return false;
    }
    const int index = currentIndex() + (event.key() == Qt::Key_Left ? -1 : 1);
    if (index >= 0 && index < count()) {
        emit tabBarClicked(index);
    }
    return true;
}

void UserTabs::keyPressEvent(QKeyEvent *event)
{
    const bool isTab = event->key() == Qt::Key_Tab || event->key() == Qt::Key_Backtab;
    if (!isTab || !event->modifiers().testFlag(Qt::ControlModifier)) {
        event->ignore();
        return;
    }
    const bool goesBack =
        event->key() == Qt::Key_Backtab || event->modifiers().testFlag(Qt::ShiftModifier);
    if (count() > 1) {
        emit tabBarClicked((currentIndex() + (goesBack ? count() - 1 : 1)) % count());
    }
}
