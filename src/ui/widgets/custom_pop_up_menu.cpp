#include "ui/widgets/custom_pop_up_menu.h"

#include <QGuiApplication>
#include <QScreen>
#include <QShowEvent>
#include <QToolButton>

namespace {

constexpr int AnchorGap = 4;

} // namespace

CustomPopUpMenu::CustomPopUpMenu(QWidget *parent) : QMenu(parent) {}

void CustomPopUpMenu::popUpAt(const QWidget *anchor)
{
    popup(placeAt(anchor));
}

QPoint CustomPopUpMenu::placeAt(const QWidget *anchor) const
{
    const QRect button(anchor->mapToGlobal(QPoint(0, 0)), anchor->size());
    const QScreen *buttonScreen = QGuiApplication::screenAt(button.center());
    const QRect area = (buttonScreen != nullptr ? buttonScreen : QGuiApplication::primaryScreen())
                           ->availableGeometry();
    QRect place(QPoint(0, 0), sizeHint());
    place.moveCenter(button.center());
    place.moveBottom(button.top() - AnchorGap);
    if (place.top() < area.top()) {
        place.moveTop(button.bottom() + AnchorGap);
    }
    place.moveLeft(qBound(area.left(), place.left(), area.right() - place.width()));
    return place.topLeft();
}

void CustomPopUpMenu::showEvent(QShowEvent *event)
{
    QMenu::showEvent(event);
    const auto *button = qobject_cast<QToolButton *>(parentWidget());
    if (button != nullptr && button->menu() == this) {
        move(placeAt(button));
    }
}
