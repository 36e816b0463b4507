#include "ui/widgets/custom_pop_up_menu.h"

#include <QGuiApplication>
#include <QScreen>
#include <QShowEvent>
#include <QToolButton>

namespace {

constexpr int AnchorGap = 4;

} // namespace

CustomPopUpMenu::CustomPopUpMenu(QWidget *parent) : QMenu(parent) {}

QPoint CustomPopUpMenu::placeAt(const QWidget *button) const
{
    const QRect anchor(button->mapToGlobal(QPoint(0, 0)), button->size());
    const QScreen *buttonScreen = QGuiApplication::screenAt(anchor.center());
    const QRect area = (buttonScreen != nullptr ? buttonScreen : QGuiApplication::primaryScreen())
                           ->availableGeometry();
    QRect place(QPoint(0, 0), sizeHint());
    place.moveCenter(anchor.center());
    place.moveBottom(anchor.top() - AnchorGap);
    if (place.top() < area.top()) {
        place.moveTop(anchor.bottom() + AnchorGap);
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
