#include "player/window/video_notice.h"

#include <QEvent>
#include <QPainter>

#include "ui/widgets/notice.h"
#include "ui/widgets/waiting_spinner_widget.h"

VideoNotice::VideoNotice(QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("videoNotice"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    parent->installEventFilter(this);
    m_spinner = new WaitingSpinnerWidget(this);
    hide();
}

void VideoNotice::wait()
{
    showText(QString());
    show();
    m_spinner->start();
}

void VideoNotice::say(const QString &text)
{
    m_spinner->stop();
    showText(text);
    show();
}

void VideoNotice::clear()
{
    m_spinner->stop();
    showText(QString());
    hide();
}

void VideoNotice::showText(const QString &text)
{
    m_text = text;
    setAccessibleName(text);
    resize(parentWidget()->size());
    update();
}

bool VideoNotice::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize && watched == parent()) {
        resize(parentWidget()->size());
    }
    return QWidget::eventFilter(watched, event);
}

void VideoNotice::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::Text));
    paintNotice(painter, rect(), {m_text, QStringLiteral(":/playerIcon/video.png")});
}
