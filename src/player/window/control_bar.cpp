#include "player/window/control_bar.h"

#include <functional>

#include <QIcon>
#include <QMenu>
#include <QPainter>
#include <QSignalBlocker>
#include <QStyleOption>
#include <QToolButton>

#include "app/environment/file_name.h"
#include "app/environment/formatting.h"
#include "player/window/player_keys.h"
#include "player/window/volume_level.h"
#include "ui/widgets/custom_pop_up_menu.h"
#include "ui/widgets/name_text.h"
#include "ui_control_bar.h"

namespace {

constexpr int LongestText = 360; // of a menu's entry, in pixels
constexpr char KeysProperty[] = "keys";

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

QAction *addEntry(QMenu &menu, const MenuEntry &entry)
{
    const QFontMetrics metrics = menu.fontMetrics();
    const QString text = withVisibleOverrides(entry.text);
    const QString hint = entry.hint.isEmpty() ? QString() : QLatin1Char('\t') + entry.hint;
    QAction *action = menu.addAction(QIcon(entry.icon), menuText(text, metrics) + hint);
    action->setToolTip(nameTip(entry.tip.isEmpty() ? text : entry.tip));
    if (!entry.tip.isEmpty() || metrics.horizontalAdvance(text) > LongestText) {
        menu.setToolTipsVisible(true);
    }
    action->setData(entry.data);
    action->setCheckable(entry.checked);
    action->setChecked(entry.checked);
    action->setEnabled(entry.enabled);
    return action;
}

// Each action tells by itself that it was chosen: its menu may be shown as a part of another.
void fillMenu(QMenu &menu, const QList<MenuEntry> &entries,
              const std::function<void(const QVariant &)> &chosen)
{
    for (const MenuEntry &entry : entries) {
        if (entry.beginsGroup) {
            menu.addSeparator();
        }
        if (!entry.children.isEmpty()) {
            auto *part = new CustomPopUpMenu(&menu);
            part->setTitle(menuText(entry.text, menu.fontMetrics()));
            menu.addMenu(part);
            fillMenu(*part, entry.children, chosen);
            continue;
        }
        QAction *action = addEntry(menu, entry);
        QObject::connect(action, &QAction::triggered, &menu, [chosen, action, entry] {
            action->setChecked(entry.checked); // a click on what is chosen changes nothing
            chosen(entry.data);
        });
    }
}

// What the button is called, and the keys that do the same.
void describe(QToolButton *button, const QString &name, const QString &keys = {})
{
    button->setAccessibleName(name);
    button->setProperty(KeysProperty, keys);
    button->setToolTip(keys.isEmpty() ? name : QStringLiteral("%1 (%2)").arg(name, keys));
}

void addButton(QMenu &menu, QToolButton *button)
{
    const QString name = button->accessibleName();
    if (button->popupMode() == QToolButton::InstantPopup) {
        QMenu *part = menu.addMenu(name);
        if (const QMenu *whole = button->menu()) {
            // The same actions: those that go from there go from here.
            part->addActions(whole->actions());
            part->setToolTipsVisible(whole->toolTipsVisible());
        }
        part->menuAction()->setEnabled(button->isEnabled());
        return;
    }
    const QString keys = button->property(KeysProperty).toString();
    QAction *action = menu.addAction(name + QLatin1Char('\t') + keys, button, &QToolButton::click);
    action->setCheckable(button->isCheckable());
    action->setChecked(button->isChecked());
}

} // namespace

ControlBar::ControlBar(QWidget *parent) : QWidget(parent), m_ui(std::make_unique<Ui::ControlBar>())
{
    m_ui->setupUi(this);
    for (auto *button : findChildren<QToolButton *>()) {
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::TabFocus);
    }
    for (auto *button : {m_ui->quality, m_ui->audio, m_ui->subtitle, m_ui->skip}) {
        dimWhenDisabled(button);
        button->setEnabled(false);
    }
    nameControls();
    forwardClicks();
    setDuration(0);
    setSeekable(false);
    setPress(Press::Plays);
    setFullScreen(false);
}

ControlBar::~ControlBar() = default;

void ControlBar::forwardClicks()
{
    connect(m_ui->previous, &QToolButton::clicked, this, &ControlBar::previousRequested);
    connect(m_ui->next, &QToolButton::clicked, this, &ControlBar::nextRequested);
    connect(m_ui->pin, &QToolButton::clicked, this, &ControlBar::pinToggled);
    connect(m_ui->videoList, &QToolButton::clicked, this, &ControlBar::listToggled);
    connect(m_ui->fullScreen, &QToolButton::clicked, this, &ControlBar::fullScreenToggled);
    connect(m_ui->volume, &QToolButton::clicked, this, &ControlBar::muteToggled);
    connect(m_ui->volumeSlider, &QSlider::valueChanged, this, &ControlBar::volumeRequested);
    connect(m_ui->seekBar, &SeekBar::seekRequested, this, &ControlBar::seekRequested);
    connect(m_ui->seekBar, &SeekBar::wheelTurned, this, &ControlBar::wheelTurned);
}

void ControlBar::nameControls()
{
    describe(m_ui->previous, QStringLiteral("上一个"));
    describe(m_ui->next, QStringLiteral("下一个"));
    describe(m_ui->quality, QStringLiteral("画质"));
    describe(m_ui->audio, QStringLiteral("音轨"));
    describe(m_ui->subtitle, QStringLiteral("字幕"));
    describe(m_ui->skip, QStringLiteral("片头片尾"));
    describe(m_ui->videoList, QStringLiteral("播放列表"));
    describe(m_ui->pin, QStringLiteral("窗口置顶"));
    m_ui->seekBar->setAccessibleName(QStringLiteral("播放进度"));
    m_ui->volumeSlider->setAccessibleName(QStringLiteral("音量"));
    showVolume();
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

void ControlBar::setRead(const QList<Stretch> &read)
{
    m_ui->seekBar->setRead(read);
}

void ControlBar::setChapters(const QList<Chapter> &chapters)
{
    m_ui->seekBar->setChapters(chapters);
}

void ControlBar::setPress(Press press)
{
    m_ui->playPause->setIcon(chosenIcon(press != Press::Pauses,
                                        QStringLiteral(":/playerIcon/play.png"),
                                        QStringLiteral(":/playerIcon/pause.png")));
    QString name;
    switch (press) {
    case Press::Pauses:
        name = QStringLiteral("暂停");
        break;
    case Press::Plays:
        name = QStringLiteral("播放");
        break;
    case Press::Retries:
        name = QStringLiteral("重试");
        break;
    }
    describe(m_ui->playPause, name, PlayerKeys::names(PlayerKeys::Action::TogglePause));
}

void ControlBar::setVolume(int volume)
{
    const QSignalBlocker blocker(m_ui->volumeSlider);
    m_ui->volumeSlider->setValue(volume);
    m_volume = volume;
    showVolume();
}

void ControlBar::setMuted(bool muted)
{
    m_isMuted = muted;
    showVolume();
}

void ControlBar::showVolume()
{
    describe(m_ui->volume, m_isMuted ? QStringLiteral("取消静音") : QStringLiteral("静音"),
             PlayerKeys::names(PlayerKeys::Action::ToggleMute));
    const QString volume = m_isMuted ? QStringLiteral("音量 %1，静音") : QStringLiteral("音量 %1");
    m_ui->volumeSlider->setToolTip(QStringLiteral("%1 (%2、%3)")
                                       .arg(volume.arg(m_volume),
                                            PlayerKeys::names(PlayerKeys::Action::VolumeUp),
                                            PlayerKeys::names(PlayerKeys::Action::VolumeDown)));
    const QString icon = volumeIconPath(m_isMuted ? 0 : m_volume);
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
    const QString keys =
        QStringLiteral("双击、") + PlayerKeys::names(PlayerKeys::Action::ToggleFullScreen);
    const QString leaving =
        QStringLiteral("、") + PlayerKeys::names(PlayerKeys::Action::LeaveFullScreen);
    describe(m_ui->fullScreen, fullScreen ? QStringLiteral("退出全屏") : QStringLiteral("全屏"),
             fullScreen ? keys + leaving : keys);
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
    if (m_shown.contains(button) && m_shown.value(button) == entries) {
        return;
    }
    m_shown.insert(button, entries);
    // The old menu may be the one whose choice brought us here.
    if (QMenu *old = button->menu()) {
        button->setMenu(nullptr);
        old->close();
        old->deleteLater();
    }
    button->setEnabled(!entries.isEmpty());
    button->setAccessibleDescription(QString());
    if (entries.isEmpty()) {
        return;
    }
    for (const MenuEntry &entry : entries) {
        if (entry.checked) {
            button->setAccessibleDescription(entry.text);
        }
    }
    auto *menu = new CustomPopUpMenu(button);
    fillMenu(*menu, entries, [this, button, chosen](const QVariant &entry) {
        m_shown.remove(button); // its check marks are what the click made of them
        emit(this->*chosen)(entry);
    });
    button->setMenu(menu);
}

void ControlBar::addTo(QMenu &menu, Group group) const
{
    QList<QToolButton *> buttons;
    switch (group) {
    case Group::Playing:
        buttons = {m_ui->playPause, m_ui->previous, m_ui->next};
        break;
    case Group::Choices:
        buttons = {m_ui->quality, m_ui->audio, m_ui->subtitle, m_ui->skip};
        break;
    case Group::Window:
        buttons = {m_ui->videoList, m_ui->pin, m_ui->fullScreen};
        break;
    }
    for (QToolButton *button : qAsConst(buttons)) {
        addButton(menu, button);
    }
}

void ControlBar::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    QStyleOption option;
    option.initFrom(this);
    style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
}
