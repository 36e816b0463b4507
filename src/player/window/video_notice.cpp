#include "player/window/video_notice.h"

#include <QAccessible>
#include <QEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>

#include "ui/widgets/notice.h"
#include "ui/widgets/waiting_spinner_widget.h"

namespace {

constexpr int ButtonOffset = 72; // from the middle, below some lines of text
constexpr QSize PlateSize(144, 112);
constexpr int PlateOffset = 16; // the ring stands in the video's middle, the text below it
constexpr int PlateCorner = 6;
constexpr qreal PlateOpacity = 0.8;

} // namespace

VideoNotice::VideoNotice(QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("videoNotice"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    parent->installEventFilter(this);
    m_spinner = new WaitingSpinnerWidget(this);
    m_source = new QPushButton(QStringLiteral("播放原画"), parent);
    m_source->setObjectName(QStringLiteral("playSource"));
    m_source->setFocusPolicy(Qt::TabFocus);
    m_source->setCursor(Qt::ArrowCursor);
    m_source->hide();
    connect(m_source, &QPushButton::clicked, this, &VideoNotice::sourceRequested);
    hide();
}

void VideoNotice::wait()
{
    m_isBuffering = false;
    showText(QString());
    show();
    m_spinner->start();
}

void VideoNotice::buffer(int percent)
{
    const bool isNews = !m_isBuffering;
    m_isBuffering = true;
    showText(percent < 0 ? QStringLiteral("正在缓冲") : QStringLiteral("正在缓冲 %1%").arg(percent),
             isNews);
    show();
    m_spinner->start();
}

void VideoNotice::say(const QString &text)
{
    m_isBuffering = false;
    m_spinner->stop();
    showText(text);
    show();
}

void VideoNotice::clear()
{
    m_isBuffering = false;
    m_spinner->stop();
    showText(QString());
    hide();
}

void VideoNotice::offerSource(bool offered)
{
    m_source->setVisible(offered);
    place();
}

void VideoNotice::showText(const QString &text, bool isNews)
{
    if (!text.isEmpty() && text != m_text && isNews) {
        QAccessibleEvent alert(this, QAccessible::Alert);
        QAccessible::updateAccessibility(&alert);
    }
    m_text = text;
    setAccessibleName(text);
    place();
    update();
}

void VideoNotice::place()
{
    const QSize room = parentWidget()->size();
    resize(room);
    m_source->adjustSize();
    m_source->raise();
    m_source->move((room.width() - m_source->width()) / 2,
                   qMin(room.height() / 2 + ButtonOffset, room.height() - m_source->height()));
}

bool VideoNotice::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize && watched == parent()) {
        place();
    }
    return QWidget::eventFilter(watched, event);
}

void VideoNotice::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::Text));
    if (m_isBuffering) {
        paintBuffering(painter);
        return;
    }
    paintNotice(painter, rect(), {m_text, QStringLiteral(":/playerIcon/video.png")});
}

// Over the picture that stands still, whatever its colours are.
void VideoNotice::paintBuffering(QPainter &painter)
{
    QRect plate(QPoint(0, 0), PlateSize);
    plate.moveCenter(rect().center());
    plate.translate(0, PlateOffset);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath shape;
    shape.addRoundedRect(plate, PlateCorner, PlateCorner);
    QColor ground = palette().color(QPalette::Window);
    ground.setAlphaF(PlateOpacity);
    painter.fillPath(shape, ground);
    painter.drawText(plate.adjusted(0, 0, 0, -PlateOffset), Qt::AlignHCenter | Qt::AlignBottom,
                     m_text);
}
