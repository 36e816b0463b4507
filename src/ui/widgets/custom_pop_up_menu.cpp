#include "ui/widgets/custom_pop_up_menu.h"

#include <QGuiApplication>
#include <QScreen>

namespace {

constexpr int anchorGap = 4;

} // namespace

CustomPopUpMenu::CustomPopUpMenu(QWidget *parent) : QMenu(parent) {}

void CustomPopUpMenu::popUpAt(const QWidget *anchor)
{
    const QRect button(anchor->mapToGlobal(QPoint(0, 0)), anchor->size());
    const QScreen *buttonScreen = QGuiApplication::screenAt(button.center());
    const QRect area = (buttonScreen != nullptr ? buttonScreen : QGuiApplication::primaryScreen())
                           ->availableGeometry();
    QRect place(QPoint(0, 0), sizeHint());
    place.moveCenter(button.center());
    place.moveBottom(button.top() - anchorGap);
    if (place.top() < area.top()) {
        place.moveTop(button.bottom() + anchorGap);
    }
    place.moveLeft(qBound(area.left(), place.left(), area.right() - place.width()));
    popup(place.topLeft());
}
