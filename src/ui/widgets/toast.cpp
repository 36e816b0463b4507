#include "ui/widgets/toast.h"

#include <QAccessible>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QLabel>
#include <QPainter>
#include <QPropertyAnimation>
#include <QScreen>
#include <QTimer>
#include <QWindow>

namespace {

constexpr int TipDuration = 1000;
constexpr int FadeInDuration = 200;
constexpr int FadeOutDuration = 2000;
constexpr QRect LabelGeometry(20, 20, 291, 31);
constexpr int LabelPadding = 8;

QPropertyAnimation *animateOpacity(QWidget *widget, double from, double to, int duration)
{
    auto *animation = new QPropertyAnimation(widget, QByteArrayLiteral("windowOpacity"), widget);
    animation->setDuration(duration);
    animation->setStartValue(from);
    animation->setEndValue(to);
    animation->start(QAbstractAnimation::DeleteWhenStopped);
    return animation;
}

} // namespace

Toast::Toast(QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("Toast"));
    setWindowTitle(QStringLiteral("Dialog"));
    setWindowFlags(windowFlags() | Qt::Tool | Qt::FramelessWindowHint);
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_X11DoNotAcceptFocus);
    setAttribute(Qt::WA_DeleteOnClose);
    resize(329, 67);

    m_label = new QLabel(this);
    m_label->setObjectName(QStringLiteral("label"));
    m_label->setGeometry(LabelGeometry);
    m_label->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    m_label->setTextFormat(Qt::PlainText);
    m_label->setWordWrap(true);
    m_label->setContentsMargins(LabelPadding, 0, LabelPadding, 0);
    QFont font = m_label->font();
    font.setPointSize(11);
    font.setBold(true);
    m_label->setFont(font);
    m_label->setStyleSheet(
        QStringLiteral("color: rgb(255, 255, 255);\nbackground-color: rgb(255, 170, 255);"));

    // A message that is still fading must not outlive the application's windows.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
            &QObject::deleteLater);
}

void Toast::showTip(const QString &text, QWidget *parent)
{
    auto *toast = new Toast(parent);
    toast->setWindowFlag(Qt::WindowStaysOnTopHint);
    toast->setText(text);
    toast->adjustSize();
    if (parent == nullptr) {
        toast->moveToPrimaryScreen();
    }
    toast->showFor(TipDuration);
}

QString Toast::text() const
{
    return m_label->text();
}

void Toast::setText(const QString &text)
{
    m_label->setText(text);
    setAccessibleName(text);
    // The label keeps its size for all usual messages and grows for one that would be cut.
    const int widest = QGuiApplication::primaryScreen()->size().width() / 2;
    const QSize needed =
        m_label->fontMetrics().boundingRect(QRect(0, 0, widest, 0), Qt::TextWordWrap, text).size() +
        QSize(2 * LabelPadding, LabelPadding);
    m_label->resize(needed.expandedTo(LabelGeometry.size()));
}

void Toast::moveToPrimaryScreen()
{
    const QSize screen = QGuiApplication::primaryScreen()->size();
    move((screen.width() - width()) / 2, screen.height() * 7 / 10);
}

void Toast::showFor(int duration)
{
    const QPropertyAnimation *fadeIn = animateOpacity(this, 0.0, 1.0, FadeInDuration);
    connect(fadeIn, &QPropertyAnimation::finished, this,
            [this, duration] { QTimer::singleShot(duration, this, &Toast::fadeOut); });
    winId(); // makes the window, which alone can let the mouse through to what lies behind it
    windowHandle()->setFlag(Qt::WindowTransparentForInput);
    show();
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void Toast::fadeOut()
{
    const QPropertyAnimation *animation = animateOpacity(this, 1.0, 0.0, FadeOutDuration);
    connect(animation, &QPropertyAnimation::finished, this, &QWidget::close);
}

void Toast::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QBrush(Qt::transparent));
    painter.drawRect(rect());
}

void Toast::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    // Without a compositor the transparent surroundings would show as a black frame.
    setMask(m_label->geometry());
}
