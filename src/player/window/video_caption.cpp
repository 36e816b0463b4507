#include "player/window/video_caption.h"

#include <QAccessible>

namespace {

constexpr int Shown = 1000; // milliseconds
constexpr int Margin = 16;

} // namespace

VideoCaption::VideoCaption(QWidget *video) : QLabel(video)
{
    setObjectName(QStringLiteral("videoCaption"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setTextFormat(Qt::PlainText);
    m_timeUp.setSingleShot(true);
    m_timeUp.setInterval(Shown);
    connect(&m_timeUp, &QTimer::timeout, this, &QWidget::hide);
    hide();
}

void VideoCaption::say(const QString &text)
{
    const int room = parentWidget()->width() - 2 * Margin;
    ensurePolished();
    setText(fontMetrics().elidedText(text, Qt::ElideRight, room));
    resize(sizeHint().boundedTo(QSize(room, sizeHint().height())));
    move(Margin, Margin);
    show();
    raise();
    m_timeUp.start();
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}
