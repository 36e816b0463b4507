#include "ui/widgets/title_bar.h"

#include <QApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QToolButton>

namespace {

constexpr int IconSize = 18;

// For the eye and for the screen reader.
void nameButton(QAbstractButton *button, const QString &name)
{
    button->setToolTip(name);
    button->setAccessibleName(name);
}

// Ends in dots where the text is cut.
class TitleLabel final : public QLabel
{
public:
    using QLabel::QLabel;

protected:
    void paintEvent(QPaintEvent *event) override
    {
        Q_UNUSED(event)
        QPainter painter(this);
        const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, width());
        style()->drawItemText(&painter, rect(), Qt::AlignLeft | Qt::AlignVCenter, palette(),
                              isEnabled(), shown, foregroundRole());
    }
};

} // namespace

TitleBar::TitleBar(QWidget *window) : QWidget(window)
{
    setObjectName(QStringLiteral("titleBar"));
    setAttribute(Qt::WA_StyledBackground);
    m_iconLabel = new QLabel(this);
    m_iconLabel->setObjectName(QStringLiteral("labelIcon"));
    m_iconLabel->setFixedSize(IconSize, IconSize);
    m_titleLabel = new TitleLabel(window->windowTitle(), this);
    m_titleLabel->setObjectName(QStringLiteral("labelTitle"));
    m_titleLabel->setTextFormat(Qt::PlainText);
    // A long title is cut; it must not keep the window from becoming narrow.
    m_titleLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);

    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(10, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(m_iconLabel);
    layout->addWidget(m_titleLabel, 1);
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(0);
    layout->addLayout(buttons);
    m_minimizeButton = addButton(QStringLiteral("minimizeButton"), tr("Minimize"));
    m_maximizeButton = addButton(QStringLiteral("maximizeButton"), tr("Maximize"));
    m_closeButton = addButton(QStringLiteral("closeButton"), tr("Close"));
    for (QAbstractButton *button : {m_minimizeButton, m_maximizeButton, m_closeButton}) {
        buttons->addWidget(button);
    }

    window->installEventFilter(this);
    updateIcon();
    updateButtons();
}

QAbstractButton *TitleBar::addButton(const QString &name, const QString &toolTip)
{
    auto *button = new QToolButton(this);
    button->setObjectName(name);
    button->setFocusPolicy(Qt::NoFocus);
    nameButton(button, toolTip);
    connect(button, &QAbstractButton::clicked, this, &TitleBar::onClicked);
    return button;
}

void TitleBar::updateButtons()
{
    const Qt::WindowFlags flags = window()->windowFlags();
    m_minimizeButton->setVisible(flags.testFlag(Qt::WindowMinimizeButtonHint));
    m_maximizeButton->setVisible(flags.testFlag(Qt::WindowMaximizeButtonHint));
    updateMaximizeButton();
}

bool TitleBar::eventFilter(QObject *watched, QEvent *event)
{
    auto *widget = qobject_cast<QWidget *>(watched);
    if (widget != nullptr && widget->isWindow()) {
        switch (event->type()) {
        case QEvent::WindowTitleChange:
            m_titleLabel->setText(widget->windowTitle());
            break;
        case QEvent::WindowIconChange:
            updateIcon();
            break;
        case QEvent::WindowStateChange:
        case QEvent::Resize:
            updateMaximizeButton();
            break;
        case QEvent::Polish:
            applySkinAgain();
            break;
        default:
            break;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void TitleBar::mouseDoubleClickEvent(QMouseEvent *event)
{
    const bool maximizable = window()->windowFlags().testFlag(Qt::WindowMaximizeButtonHint);
    if (event->button() == Qt::LeftButton && maximizable) {
        toggleMaximized();
        return;
    }
    QWidget::mouseDoubleClickEvent(event);
}

void TitleBar::onClicked()
{
    const QObject *button = sender();
    if (button == m_minimizeButton) {
        window()->showMinimized();
    } else if (button == m_maximizeButton) {
        toggleMaximized();
    } else if (button == m_closeButton) {
        window()->close();
    }
}

void TitleBar::updateIcon()
{
    const QIcon icon = window()->windowIcon();
    m_iconLabel->setPixmap(icon.pixmap(m_iconLabel->size()));
    m_iconLabel->setVisible(!icon.isNull());
}

void TitleBar::updateMaximizeButton()
{
    if (!window()->isWindow()) {
        return;
    }
    const bool maximized = window()->isMaximized();
    const QString state = maximized ? QStringLiteral("restore") : QStringLiteral("maximize");
    if (m_maximizeButton->property("maximizeProperty") == state) {
        return;
    }
    nameButton(m_maximizeButton, maximized ? tr("Restore") : tr("Maximize"));
    m_maximizeButton->setProperty("maximizeProperty", state);
    // Rules of the style sheet that select on the property are applied anew.
    m_maximizeButton->setStyle(QApplication::style());
}

void TitleBar::applySkinAgain()
{
    // Rules that select on the window's class or name could not match while its base class was
    // being constructed, and what matched then is remembered.
    QWidgetList parts = findChildren<QWidget *>();
    parts.prepend(this);
    for (QWidget *part : qAsConst(parts)) {
        part->style()->unpolish(part);
        part->style()->polish(part);
    }
}

void TitleBar::toggleMaximized()
{
    window()->isMaximized() ? window()->showNormal() : window()->showMaximized();
}
