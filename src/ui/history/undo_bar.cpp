#include "ui/history/undo_bar.h"

#include <chrono>

#include <QAccessible>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include "ui/widgets/list_keys.h"

namespace {

constexpr std::chrono::seconds OfferTime(10);

} // namespace

UndoBar::UndoBar(QWidget *parent) : QFrame(parent)
{
    m_label = new QLabel(this);
    auto *button = new QPushButton(QStringLiteral("撤销"), this);
    button->setObjectName(QStringLiteral("btnUndo"));
    button->setAutoDefault(false);
    button->setToolTip(QStringLiteral("撤销 (Ctrl+Z)"));
    // Only while the offer stands: a hidden button hears no shortcut.
    addShortcuts(list_keys::Action::Undo, button, Qt::WindowShortcut, button,
                 &QAbstractButton::click);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_label, 1);
    layout->addWidget(button);
    m_timer.setSingleShot(true);
    m_timer.setInterval(OfferTime);
    connect(&m_timer, &QTimer::timeout, this, &UndoBar::onTimeout);
    connect(button, &QPushButton::clicked, this, &UndoBar::onUndoClicked);
    hide();
}

void UndoBar::offer(const QString &text)
{
    m_label->setText(text);
    m_timer.start();
    show();
    QAccessibleEvent alert(m_label, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void UndoBar::withdraw()
{
    m_timer.stop();
    hide();
}

void UndoBar::onUndoClicked()
{
    withdraw();
    emit undoRequested();
}

void UndoBar::onTimeout()
{
    hide();
    emit expired();
}
