#include "player/window/video_menu.h"

#include <QAction>

#include "player/mpv/mpv_widget.h"
#include "player/window/control_bar.h"
#include "player/window/player_keys.h"
#include "player/window/volume_level.h"
#include "ui/widgets/custom_pop_up_menu.h"

namespace {

struct Step
{
    const char *text;
    int seconds;
};

constexpr Step Steps[] = {
    {"快进 5 秒", 5}, {"后退 5 秒", -5}, {"快进 30 秒", 30}, {"后退 30 秒", -30}};

constexpr double Speeds[] = {0.5, 0.75, 1.0, 1.25, 1.5, 2.0};

QString withKeys(const QString &text, const QString &keys)
{
    return text + QLatin1Char('\t') + keys;
}

void addSteps(QMenu &menu, MpvWidget &video)
{
    const bool canSeek = video.knownPosition().has_value();
    for (const Step &step : Steps) {
        const QString text =
            withKeys(QString::fromUtf8(step.text), PlayerKeys::nameOfStep(step.seconds));
        menu.addAction(text, &video,
                       [&video, seconds = step.seconds] { video.seekRelative(seconds); })
            ->setEnabled(canSeek);
    }
}

void addVolume(QMenu &menu, MpvWidget &video)
{
    const auto addStep = [&menu, &video](const QString &text, PlayerKeys::Action action, bool up) {
        menu.addAction(withKeys(text, PlayerKeys::names(action)), &video,
                       [&video, up] { video.setVolume(volumeAfterStep(video.volume(), up)); });
    };
    addStep(QStringLiteral("增大音量"), PlayerKeys::Action::VolumeUp, true);
    addStep(QStringLiteral("减小音量"), PlayerKeys::Action::VolumeDown, false);
    QAction *mute = menu.addAction(QStringLiteral("静音"), &video,
                                   [&video] { video.setMute(!video.isMute()); });
    mute->setCheckable(true);
    mute->setChecked(video.isMute());
}

void addSpeeds(QMenu &menu, MpvWidget &video)
{
    const QString property = QStringLiteral("speed");
    const double now = video.getProperty(property).toDouble();
    QMenu *speeds = menu.addMenu(QStringLiteral("播放速度"));
    for (const double speed : Speeds) {
        QAction *action =
            speeds->addAction(QStringLiteral("%1 倍").arg(speed), &video,
                              [&video, property, speed] { video.setProperty(property, speed); });
        action->setCheckable(qFuzzyCompare(speed, now));
        action->setChecked(qFuzzyCompare(speed, now));
    }
}

} // namespace

void showVideoMenu(QWidget *parent, const ControlBar &bar, MpvWidget &video, const QPoint &place)
{
    auto *menu = new CustomPopUpMenu(parent);
    menu->setObjectName(QStringLiteral("videoMenu"));
    QObject::connect(menu, &QMenu::aboutToHide, menu, &QObject::deleteLater);
    bar.addTo(*menu, ControlBar::Group::Playing);
    menu->addSeparator();
    addSteps(*menu, video);
    menu->addSeparator();
    addVolume(*menu, video);
    menu->addSeparator();
    bar.addTo(*menu, ControlBar::Group::Choices);
    addSpeeds(*menu, video);
    menu->addSeparator();
    bar.addTo(*menu, ControlBar::Group::Window);
    menu->addActions(parent->actions());
    menu->popup(place);
}
