#include "player/window/control_bar.h"

#include <QIcon>
#include <QMenu>
#include <QPainter>
#include <QSignalBlocker>
#include <QSlider>
#include <QStyleOption>
#include <QToolButton>
#include <QWidgetAction>

#include "app/environment/formatting.h"
#include "player/window/volume_level.h"
#include "ui/widgets/custom_pop_up_menu.h"
#include "ui_control_bar.h"

namespace {

constexpr int LongestText = 360; // of a menu's entry, in pixels

QString timeText(int position, int duration)
{
    return formatClock(position) + QLatin1Char('/') + formatClock(duration);
}

// File names can be longer than the screen is wide, and hold an ampersand.
QString menuText(const QString &text, const QFontMetrics &metrics)
{
    return metrics.elidedText(text, Qt::ElideMiddle, LongestText)
        .replace(QLatin1Char('&'), QStringLiteral("&&"));
}

QIcon chosenIcon(bool on, const QString &onPath, const QString &offPath)
{
    return QIcon(on ? onPath : offPath);
}

// Styles take the colour out of a disabled icon, but this one is white already.
void dimWhenDisabled(QToolButton *button)
{
    constexpr double Opacity = 0.35;
    QIcon icon = button->icon();
    const QPixmap shown = icon.pixmap(icon.availableSizes().constFirst());
    QPixmap dimmed(shown.size());
    dimmed.setDevicePixelRatio(shown.devicePixelRatio());
    dimmed.fill(Qt::transparent);
    QPainter painter(&dimmed);
    painter.setOpacity(Opacity);
    painter.drawPixmap(0, 0, shown);
    icon.addPixmap(dimmed, QIcon::Disabled);
    button->setIcon(icon);
}

} // namespace

ControlBar::ControlBar(QWidget *parent) : QWidget(parent), m_ui(std::make_unique<Ui::ControlBar>())
{
    m_ui->setupUi(this);
    for (auto *button : findChildren<QToolButton *>()) {
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::NoFocus);
    }
    for (auto *button : {m_ui->quality, m_ui->audio, m_ui->subtitle, m_ui->skip}) {
        dimWhenDisabled(button);
        button->setEnabled(false);
    }
    makeVolumeMenu();
    forwardClicks();
    resetTime();
}

ControlBar::~ControlBar() = default;

void ControlBar::forwardClicks()
{
    connect(m_ui->previous, &QToolButton::clicked, this, &ControlBar::previousRequested);
    connect(m_ui->next, &QToolButton::clicked, this, &ControlBar::nextRequested);
    connect(m_ui->pin, &QToolButton::clicked, this, &ControlBar::pinToggled);
    connect(m_ui->videoList, &QToolButton::clicked, this, &ControlBar::listToggled);
    connect(m_ui->fullScreen, &QToolButton::clicked, this, &ControlBar::fullScreenToggled);
    connect(m_ui->seekBar, &SeekBar::seekRequested, this, &ControlBar::seekRequested);
    connect(m_ui->seekBar, &SeekBar::wheelTurned, this, &ControlBar::wheelTurned);
}

void ControlBar::makeVolumeMenu()
{
    auto *menu = new CustomPopUpMenu(m_ui->volume);
    m_volumeSlider = new QSlider(Qt::Horizontal);
    m_volumeSlider->setObjectName(QStringLiteral("volumeSlider"));
    m_volumeSlider->setRange(0, HighestVolume);
    m_volumeSlider->setMinimumSize(160, 32);
    connect(m_volumeSlider, &QSlider::valueChanged, this, &ControlBar::volumeRequested);
    auto *action = new QWidgetAction(menu);
    action->setDefaultWidget(m_volumeSlider);
    menu->addAction(action);
    m_ui->volume->setMenu(menu);
}

void ControlBar::resetTime()
{
    setDuration(0);
    setTime(0, 0);
    setSeekable(false);
}

void ControlBar::setDuration(int duration)
{
    m_ui->seekBar->setTotalTime(duration);
}

void ControlBar::setTime(int position, int duration)
{
    m_ui->seekBar->setValueNoSignal(position);
    m_ui->timeLabel->setText(timeText(position, duration));
}

void ControlBar::setSeekable(bool seekable)
{
    m_ui->seekBar->setEnabled(seekable);
}

void ControlBar::setPaused(bool paused)
{
    m_ui->playPause->setIcon(chosenIcon(paused, QStringLiteral(":/playerIcon/play.png"),
                                        QStringLiteral(":/playerIcon/pause.png")));
    m_ui->playPause->setToolTip(paused ? QStringLiteral("播放") : QStringLiteral("暂停"));
}

void ControlBar::setVolume(int volume)
{
    const QSignalBlocker blocker(m_volumeSlider);
    m_volumeSlider->setValue(volume);
    m_ui->volume->setToolTip(QStringLiteral("音量 %1").arg(volume));
    const QString icon = volumeIconPath(volume);
    if (!icon.isEmpty()) {
        m_ui->volume->setIcon(QIcon(icon));
    }
}

void ControlBar::setPinned(bool pinned)
{
    m_ui->pin->setChecked(pinned);
    m_ui->pin->setIcon(chosenIcon(pinned, QStringLiteral(":/playerIcon/pin_on.png"),
                                  QStringLiteral(":/playerIcon/pin.png")));
}

void ControlBar::setListShown(bool shown)
{
    m_ui->videoList->setChecked(shown);
}

void ControlBar::setFullScreen(bool fullScreen)
{
    m_ui->fullScreen->setIcon(chosenIcon(fullScreen,
                                         QStringLiteral(":/playerIcon/fullscreen_exit.png"),
                                         QStringLiteral(":/playerIcon/fullscreen.png")));
    m_ui->fullScreen->setToolTip(fullScreen ? QStringLiteral("退出全屏") : QStringLiteral("全屏"));
}

void ControlBar::setQualityMenu(const QList<MenuEntry> &entries)
{
    setMenu(m_ui->quality, entries, &ControlBar::qualityChosen);
}

void ControlBar::setAudioMenu(const QList<MenuEntry> &entries)
{
    setMenu(m_ui->audio, entries, &ControlBar::audioChosen);
}

void ControlBar::setSubtitleMenu(const QList<MenuEntry> &entries)
{
    setMenu(m_ui->subtitle, entries, &ControlBar::subtitleChosen);
}

void ControlBar::setSkipMenu(const QList<MenuEntry> &entries)
{
    setMenu(m_ui->skip, entries, &ControlBar::skipChosen);
}

void ControlBar::setMenu(QToolButton *button, const QList<MenuEntry> &entries, Chosen chosen)
{
    // The old menu may be the one whose choice brought us here.
    if (QMenu *old = button->menu()) {
        button->setMenu(nullptr);
        old->close();
        old->deleteLater();
    }
    button->setEnabled(!entries.isEmpty());
    if (entries.isEmpty()) {
        return;
    }
    auto *menu = new CustomPopUpMenu(button);
    for (const MenuEntry &entry : entries) {
        if (entry.beginsGroup) {
            menu->addSeparator();
        }
        const QFontMetrics metrics = menu->fontMetrics();
        QAction *action = menu->addAction(QIcon(entry.icon), menuText(entry.text, metrics));
        action->setToolTip(entry.text);
        if (metrics.horizontalAdvance(entry.text) > LongestText) {
            menu->setToolTipsVisible(true);
        }
        action->setData(entry.data);
        action->setCheckable(entry.checked);
        action->setChecked(entry.checked);
        action->setEnabled(entry.enabled);
    }
    connect(menu, &QMenu::triggered, this,
            [this, chosen](const QAction *action) { emit(this->*chosen)(action->data()); });
    button->setMenu(menu);
}

void ControlBar::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    QStyleOption option;
    option.initFrom(this);
    style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
}
