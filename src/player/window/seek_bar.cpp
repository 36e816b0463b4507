#include "player/window/seek_bar.h"

#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QSignalBlocker>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QWheelEvent>

#include "app/environment/formatting.h"
#include "ui/widgets/name_text.h"

namespace {

constexpr int ArrowStep = 5;    // seconds
constexpr int PageStep = 30;    // seconds
constexpr int GrooveHeight = 6; // pixels, as in the style sheet
constexpr int TipGap = 8;
constexpr int LongestTitle = 320;
constexpr int MarkWidth = 2;
constexpr int MarkOverhang = 2;

} // namespace

SeekBar::SeekBar(QWidget *parent) : QSlider(Qt::Horizontal, parent)
{
    setFocusPolicy(Qt::TabFocus);
    setMouseTracking(true);
    setSingleStep(ArrowStep);
    setPageStep(PageStep);
    m_tip = new QLabel(this, Qt::ToolTip);
    m_tip->setObjectName(QStringLiteral("seekTip"));
    m_tip->setTextFormat(Qt::PlainText);
    connect(this, &QSlider::valueChanged, this, [this](int second) {
        if (m_requested < 0) {
            emit seekRequested(second);
        }
    });
}

void SeekBar::setTotalTime(int seconds)
{
    const QSignalBlocker blocker(this);
    setRange(0, seconds);
}

void SeekBar::setValueNoSignal(int value)
{
    if (m_requested >= 0) {
        return;
    }
    const QSignalBlocker blocker(this);
    setValue(value);
}

void SeekBar::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        return;
    }
    setSliderDown(true);
    showTimeAt(event);
    seekTo(secondAt(event->x()));
}

void SeekBar::mouseMoveEvent(QMouseEvent *event)
{
    showTimeAt(event);
    if (m_requested >= 0) {
        setSliderPosition(secondAt(event->x()));
    }
}

void SeekBar::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || m_requested < 0) {
        return;
    }
    if (const int second = secondAt(event->x()); second != m_requested) {
        seekTo(second);
    }
    endDrag();
}

void SeekBar::wheelEvent(QWheelEvent *event)
{
    emit wheelTurned(event->angleDelta().y());
}

// A disabled widget is given no wheel events; the wheel is not the bar's, however.
bool SeekBar::event(QEvent *event)
{
    if (event->type() == QEvent::Wheel) {
        wheelEvent(static_cast<QWheelEvent *>(event));
        return true;
    }
    return QSlider::event(event);
}

// A disabled widget gets no release: the next video would find the handle held.
void SeekBar::changeEvent(QEvent *event)
{
    QSlider::changeEvent(event);
    if (event->type() == QEvent::EnabledChange && !isEnabled()) {
        endDrag();
        m_tip->hide();
    }
}

void SeekBar::endDrag()
{
    m_requested = -1;
    setSliderDown(false);
}

SeekBar::Way SeekBar::way() const
{
    QStyleOptionSlider option;
    initStyleOption(&option);
    const auto part = [this, &option](QStyle::SubControl control) {
        return style()->subControlRect(QStyle::CC_Slider, &option, control, this);
    };
    const QRect groove = part(QStyle::SC_SliderGroove);
    const QRect handle = part(QStyle::SC_SliderHandle);
    // The handle's middle follows the pointer, so half of it is out of reach at either end.
    return {groove, handle, groove.x() + handle.width() / 2, groove.width() - handle.width()};
}

int SeekBar::xOf(const Way &way, double second) const
{
    return way.first + qRound(way.length * qBound(0.0, second / qMax(1, maximum()), 1.0));
}

int SeekBar::secondAt(int x) const
{
    const Way way = this->way();
    return QStyle::sliderValueFromPosition(minimum(), maximum(), x - way.first, way.length);
}

QString SeekBar::tipAt(int second) const
{
    const QString time = formatClock(second);
    const Chapter *found = nullptr;
    for (const Chapter &chapter : m_chapters) {
        if (chapter.start < second + 1) {
            found = &chapter;
        }
    }
    if (!found) {
        return time;
    }
    return time + QStringLiteral("　") +
           m_tip->fontMetrics().elidedText(visibleName(found->title), Qt::ElideRight, LongestTitle);
}

// Above the bar, where it covers none of the controls.
void SeekBar::showTimeAt(const QMouseEvent *event)
{
    if (maximum() == 0) {
        return;
    }
    m_tip->setText(tipAt(secondAt(event->x())));
    m_tip->adjustSize();
    const QRect screen = this->screen()->availableGeometry();
    const int left = event->globalX() - m_tip->width() / 2;
    m_tip->move(qBound(screen.left(), left, screen.right() + 1 - m_tip->width()),
                mapToGlobal(QPoint(0, 0)).y() - TipGap - m_tip->height());
    m_tip->show();
}

void SeekBar::leaveEvent(QEvent *event)
{
    m_tip->hide();
    QSlider::leaveEvent(event);
}

void SeekBar::hideEvent(QHideEvent *event)
{
    m_tip->hide();
    QSlider::hideEvent(event);
}

void SeekBar::setRead(const QList<Stretch> &read)
{
    m_read = read;
    update();
}

void SeekBar::setChapters(const QList<Chapter> &chapters)
{
    m_chapters = chapters;
    update();
}

// What the style has drawn already stays under the handle, and under what has been played.
void SeekBar::paintEvent(QPaintEvent *event)
{
    QSlider::paintEvent(event);
    if (!isEnabled() || maximum() == 0) {
        return;
    }
    const Way way = this->way();
    QPainter painter(this);
    painter.setClipRegion(QRegion(rect()) - way.handle);
    const int height = GrooveHeight;
    const int top = way.handle.center().y() - height / 2 + 1;
    for (const Stretch &stretch : qAsConst(m_read)) {
        const int from = qMax(xOf(way, stretch.from), way.handle.center().x());
        painter.fillRect(QRect(QPoint(from, top), QSize(xOf(way, stretch.to) - from, height)) &
                             rect(),
                         m_readColour);
    }
    for (const Chapter &chapter : qAsConst(m_chapters)) {
        if (chapter.start > 0 && chapter.start < maximum()) {
            painter.fillRect(xOf(way, chapter.start) - MarkWidth / 2, top - MarkOverhang, MarkWidth,
                             height + 2 * MarkOverhang, m_markColour);
        }
    }
}

void SeekBar::seekTo(int second)
{
    m_requested = second;
    setValue(second);
    emit seekRequested(second);
}
