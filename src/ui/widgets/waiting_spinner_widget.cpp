#include "ui/widgets/waiting_spinner_widget.h"

#include <chrono>

#include <QEvent>
#include <QPainter>

namespace {

constexpr int DotCount = 12;
constexpr int Diameter = 48;
constexpr qreal DotRadius = 3;
constexpr qreal FaintestOpacity = 0.12;
constexpr std::chrono::milliseconds StepTime(80);

} // namespace

WaitingSpinnerWidget::WaitingSpinnerWidget(QWidget *parent) : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFixedSize(Diameter, Diameter);
    setAccessibleName(QStringLiteral("正在加载"));
    m_timer.setInterval(StepTime);
    connect(&m_timer, &QTimer::timeout, this, &WaitingSpinnerWidget::rotate);
    parent->installEventFilter(this);
    hide();
}

void WaitingSpinnerWidget::start()
{
    if (m_timer.isActive()) {
        return;
    }
    m_current = 0;
    m_timer.start();
    centre();
    raise();
    show();
}

void WaitingSpinnerWidget::stop()
{
    m_timer.stop();
    hide();
}

void WaitingSpinnerWidget::rotate()
{
    m_current = (m_current + 1) % DotCount;
    update();
}

bool WaitingSpinnerWidget::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize && watched == parent()) {
        centre();
    }
    return QWidget::eventFilter(watched, event);
}

void WaitingSpinnerWidget::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().color(QPalette::Highlight));
    painter.translate(rect().center());
    const qreal orbit = Diameter / 2.0 - DotRadius - 1;
    for (int dot = 0; dot < DotCount; ++dot) {
        const int age = (m_current - dot + DotCount) % DotCount;
        painter.setOpacity(qMax(FaintestOpacity, 1.0 - qreal(age) / DotCount));
        painter.save();
        painter.rotate(360.0 * dot / DotCount);
        painter.drawEllipse(QPointF(0, -orbit), DotRadius, DotRadius);
        painter.restore();
    }
}

void WaitingSpinnerWidget::centre()
{
    const QSize space = parentWidget()->size();
    move((space.width() - width()) / 2, (space.height() - height()) / 2);
}
