#include "player/window/video_menu.h"

#include <QAction>

#include "player/mpv/mpv_widget.h"
#include "player/session/episode_end.h"
#include "player/session/play_session.h"
#include "player/session/speed.h"
#include "player/window/control_bar.h"
#include "player/window/player_actions.h"
#include "player/window/player_keys.h"
#include "ui/widgets/custom_pop_up_menu.h"

namespace {

using Action = PlayerKeys::Action;

constexpr int Steps[] = {5, -5, 30, -30}; // seconds

QString withKeys(const QString &text, const QString &keys)
{
    return text + QLatin1Char('\t') + keys;
}

QAction *addAction(QMenu &menu, PlayerActions &actions, Action action)
{
    QAction *entry = menu.addAction(withKeys(PlayerKeys::text(action), PlayerKeys::names(action)),
                                    &actions, [&actions, action] { actions.run(action); });
    entry->setEnabled(actions.isPossible(action));
    return entry;
}

void setMark(QAction *entry, bool on)
{
    entry->setCheckable(true);
    entry->setChecked(on);
}

void addSteps(QMenu &menu, PlayerActions &actions)
{
    QMenu *part = menu.addMenu(QStringLiteral("跳转"));
    const bool canSeek = actions.parts().video->knownPosition().has_value();
    for (const int step : Steps) {
        part->addAction(withKeys(PlayerKeys::textOfStep(step), PlayerKeys::nameOfStep(step)),
                        &actions, [&actions, step] { actions.seek(step); })
            ->setEnabled(canSeek);
    }
    part->addSeparator();
    addAction(*part, actions, Action::NextChapter);
    addAction(*part, actions, Action::PreviousChapter);
}

void addSpeeds(QMenu &menu, PlayerActions &actions)
{
    PlaySession &session = *actions.parts().session;
    const double now = session.speed();
    QMenu *part = menu.addMenu(QStringLiteral("播放速度"));
    for (const double speed : OfferedSpeeds) {
        const QString keys = speed == 1.0 ? PlayerKeys::names(Action::OwnSpeed) : QString();
        const QString text = QStringLiteral("%1 倍").arg(speed);
        QAction *entry = part->addAction(keys.isEmpty() ? text : withKeys(text, keys), &session,
                                         [&session, speed] { session.setSpeed(speed); });
        entry->setCheckable(qFuzzyCompare(speed, now));
        entry->setChecked(qFuzzyCompare(speed, now));
    }
    part->addSeparator();
    addAction(*part, actions, Action::Faster);
    addAction(*part, actions, Action::Slower);
}

void addSleep(QMenu &menu, PlayerActions &actions)
{
    const EpisodeEnd &end = actions.parts().session->episodeEnd();
    QAction *entry = menu.addAction(QStringLiteral("播完本集后暂停"));
    setMark(entry, end.pauses());
    entry->setEnabled(end.canPause());
    QObject::connect(entry, &QAction::triggered, &actions, &PlayerActions::setPausesAtEnd);
}

void addSound(QMenu &menu, PlayerActions &actions)
{
    addAction(menu, actions, Action::VolumeUp);
    addAction(menu, actions, Action::VolumeDown);
    setMark(addAction(menu, actions, Action::ToggleMute), actions.parts().video->isMute());
    QMenu *part = menu.addMenu(QStringLiteral("声音延迟"));
    for (const Action action : {Action::SoundLater, Action::SoundEarlier, Action::SoundInTime}) {
        addAction(*part, actions, action);
    }
}

} // namespace

void showVideoMenu(QWidget *parent, const ControlBar &bar, PlayerActions &actions,
                   const QPoint &place)
{
    auto *menu = new CustomPopUpMenu(parent);
    menu->setObjectName(QStringLiteral("videoMenu"));
    QObject::connect(menu, &QMenu::aboutToHide, menu, &QObject::deleteLater);
    bar.addTo(*menu, ControlBar::Group::Playing);
    addSleep(*menu, actions);
    addSteps(*menu, actions);
    addSpeeds(*menu, actions);
    menu->addSeparator();
    addSound(*menu, actions);
    menu->addSeparator();
    bar.addTo(*menu, ControlBar::Group::Choices);
    menu->addSeparator();
    addAction(*menu, actions, Action::TakeScreenshot);
    bar.addTo(*menu, ControlBar::Group::Window);
    menu->addActions(parent->actions());
    addAction(*menu, actions, Action::ShowKeys);
    menu->popup(place);
}
