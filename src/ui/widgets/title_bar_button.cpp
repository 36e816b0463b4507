#include "ui/widgets/title_bar_button.h"

#include <QPainter>
#include <QStyleOption>

namespace {

constexpr int buttonWidth = 40;
constexpr int buttonHeight = 30;
constexpr int signSize = 10;
const QColor closeHover(232, 17, 35);

void drawSign(QPainter &painter, const QRect &box, const QString &name, bool maximized)
{
    if (name == QLatin1String("btnMinimize")) {
        painter.drawLine(box.left(), box.center().y(), box.right(), box.center().y());
    } else if (name == QLatin1String("btnClose")) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.drawLine(box.topLeft(), box.bottomRight());
        painter.drawLine(box.topRight(), box.bottomLeft());
    } else if (maximized) {
        const QRect front = box.adjusted(0, 2, -2, 0);
        painter.drawRect(front.adjusted(0, 0, -1, -1));
        painter.drawPolyline(QPolygon() << box.topLeft() + QPoint(2, 1) << box.topLeft() + QPoint(2, 0)
                                        << box.topRight() << box.bottomRight() - QPoint(0, 2)
                                        << box.bottomRight() - QPoint(1, 2));
    } else {
        painter.drawRect(box.adjusted(0, 0, -1, -1));
    }
}

} // namespace

TitleBarButton::TitleBarButton(QWidget *parent) : QAbstractButton(parent)
{
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_Hover);
}

QSize TitleBarButton::sizeHint() const { return {buttonWidth, buttonHeight}; }

void TitleBarButton::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    QStyleOption option;
    option.initFrom(this);
    style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
    QColor ink = palette().color(QPalette::WindowText);
    if (underMouse() && isEnabled()) {
        const bool closes = objectName() == QLatin1String("btnClose");
        QColor back = closes ? closeHover : ink;
        back.setAlpha(isDown() ? (closes ? 200 : 60) : (closes ? 255 : 30));
        painter.fillRect(rect(), back);
        ink = closes ? QColor(Qt::white) : ink;
    }
    painter.setPen(ink);
    QRect box(0, 0, signSize, signSize);
    box.moveCenter(rect().center());
    const bool maximized = property("maximizeProperty").toString() == QLatin1String("restore");
    drawSign(painter, box, objectName(), maximized);
}

void TitleBarButton::enterEvent(QEvent *event)
{
    QAbstractButton::enterEvent(event);
    update();
}

void TitleBarButton::leaveEvent(QEvent *event)
{
    QAbstractButton::leaveEvent(event);
    update();
}
