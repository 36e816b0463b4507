#include "player/window/next_card.h"

#include <QAccessible>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

#include "player/session/episode_end.h"
#include "ui/widgets/name_text.h"

namespace {

constexpr int Width = 300;
constexpr int Padding = 12;
constexpr int Distance = 16; // from the video's edges

} // namespace

NextCard::NextCard(QWidget *video) : QFrame(video)
{
    setObjectName(QStringLiteral("nextCard"));
    setCursor(Qt::ArrowCursor);
    setFixedWidth(Width);
    layOut();
    video->installEventFilter(this);
    hide();
}

void NextCard::layOut()
{
    m_when = new QLabel;
    m_when->setObjectName(QStringLiteral("when"));
    m_name = new QLabel;
    m_name->setObjectName(QStringLiteral("nextName"));
    m_name->setTextFormat(Qt::PlainText);
    m_stay = new QPushButton(QStringLiteral("停在这里"));
    m_stay->setObjectName(QStringLiteral("stayHere"));
    m_stay->setToolTip(QStringLiteral("播完本集后暂停"));
    m_stay->setFocusPolicy(Qt::TabFocus);
    auto *close = new QToolButton;
    close->setObjectName(QStringLiteral("closeCard"));
    close->setIcon(QIcon(QStringLiteral(":/playerIcon/title_close.png")));
    close->setAutoRaise(true);
    close->setFocusPolicy(Qt::TabFocus);
    close->setToolTip(QStringLiteral("不再提示"));
    close->setAccessibleName(close->toolTip());

    auto *head = new QHBoxLayout;
    head->addWidget(m_when, 1);
    head->addWidget(close);
    auto *rows = new QVBoxLayout(this);
    rows->setContentsMargins(Padding, Padding / 2, Padding / 2, Padding);
    rows->setSpacing(Padding / 2);
    rows->addLayout(head);
    rows->addWidget(m_name);
    rows->addWidget(m_stay, 0, Qt::AlignLeft);
    setTabOrder(m_stay, close);
    connect(m_stay, &QPushButton::clicked, this, &NextCard::stayRequested);
    connect(close, &QToolButton::clicked, this, &NextCard::dismissed);
}

void NextCard::tell(const NextUp &next)
{
    const QString name = visibleName(next.name);
    m_when->setText(QStringLiteral("%1 秒后播放").arg(next.seconds));
    ensurePolished();
    m_name->ensurePolished();
    m_name->setText(m_name->fontMetrics().elidedText(name, Qt::ElideMiddle, Width - 2 * Padding));
    m_name->setToolTip(nameTip(next.name));
    if (!isHidden()) {
        return;
    }
    setAccessibleName(QStringLiteral("即将播放：") + name);
    adjustSize();
    place();
    show();
    raise();
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

// Qt would hand the focus on to whatever comes next, and the keys with it.
void NextCard::leave()
{
    const bool hadFocus = focusWidget() && focusWidget()->hasFocus();
    if (hadFocus) {
        parentWidget()->setFocus();
    }
    hide();
}

void NextCard::place()
{
    move(qMax(0, parentWidget()->width() - width() - Distance), Distance);
}

bool NextCard::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize && watched == parent()) {
        place();
    }
    return QFrame::eventFilter(watched, event);
}
