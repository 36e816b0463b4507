#include "player/window/player_actions.h"

#include <algorithm>
#include <iterator>

#include "player/mpv/mpv_widget.h"
#include "player/session/chapters.h"
#include "player/session/episode_end.h"
#include "player/session/play_session.h"
#include "player/session/speed.h"
#include "player/session/subtitle_command.h"
#include "player/window/full_screen.h"
#include "player/window/keys_dialog.h"
#include "player/window/screenshots.h"
#include "player/window/video_caption.h"
#include "player/window/volume_level.h"
#include "ui/widgets/name_text.h"

namespace {

constexpr int AudioStep = 100; // milliseconds

QString speedText(double speed)
{
    return QStringLiteral("速度 %1 倍").arg(speed);
}

QString delayText(int milliseconds)
{
    if (milliseconds == 0) {
        return QStringLiteral("声音不延迟");
    }
    return (milliseconds > 0 ? QStringLiteral("声音延后 %1 秒") : QStringLiteral("声音提前 %1 秒"))
        .arg(qAbs(milliseconds) / 1000.0, 0, 'f', 1);
}

} // namespace

struct PlayerActions::Deed
{
    PlayerKeys::Action action;
    void (*run)(PlayerActions &);
    bool (PlayerActions::*isPossible)() const = nullptr; // null: always
};

const PlayerActions::Deed PlayerActions::Deeds[] = {
    {PlayerKeys::Action::VolumeUp, [](PlayerActions &a) { a.stepVolume(true); }},
    {PlayerKeys::Action::VolumeDown, [](PlayerActions &a) { a.stepVolume(false); }},
    {PlayerKeys::Action::ToggleMute,
     [](PlayerActions &a) { a.setMuted(!a.m_parts.video->isMute()); }},
    {PlayerKeys::Action::TogglePause, [](PlayerActions &a) { a.m_parts.session->togglePause(); }},
    {PlayerKeys::Action::ToggleFullScreen,
     [](PlayerActions &a) { a.m_parts.fullScreen->toggle(); }},
    {PlayerKeys::Action::LeaveFullScreen, [](PlayerActions &a) { a.m_parts.fullScreen->leave(); }},
    {PlayerKeys::Action::Faster, [](PlayerActions &a) { a.stepSpeed(true); }},
    {PlayerKeys::Action::Slower, [](PlayerActions &a) { a.stepSpeed(false); }},
    {PlayerKeys::Action::OwnSpeed, [](PlayerActions &a) { a.m_parts.session->setSpeed(1); }},
    {PlayerKeys::Action::SoundLater, [](PlayerActions &a) { a.stepAudioDelay(AudioStep); },
     &PlayerActions::hasPicture},
    {PlayerKeys::Action::SoundEarlier, [](PlayerActions &a) { a.stepAudioDelay(-AudioStep); },
     &PlayerActions::hasPicture},
    {PlayerKeys::Action::SoundInTime,
     [](PlayerActions &a) { a.stepAudioDelay(-a.m_parts.session->audioDelay()); },
     &PlayerActions::hasPicture},
    {PlayerKeys::Action::SubtitlesLater, [](PlayerActions &a) { a.shiftSubtitles(1); },
     &PlayerActions::hasPicture},
    {PlayerKeys::Action::SubtitlesEarlier, [](PlayerActions &a) { a.shiftSubtitles(-1); },
     &PlayerActions::hasPicture},
    {PlayerKeys::Action::NextChapter, [](PlayerActions &a) { a.stepChapter(true); },
     &PlayerActions::hasNextChapter},
    {PlayerKeys::Action::PreviousChapter, [](PlayerActions &a) { a.stepChapter(false); },
     &PlayerActions::hasPreviousChapter},
    {PlayerKeys::Action::TakeScreenshot, [](PlayerActions &a) { a.takeScreenshot(); },
     &PlayerActions::hasPicture},
    {PlayerKeys::Action::ShowKeys, [](PlayerActions &a) { KeysDialog::open(a.m_parts.window); }},
};

PlayerActions::PlayerActions(const Parts &parts, QObject *parent) : QObject(parent), m_parts(parts)
{
    connect(m_parts.session, &PlaySession::speedChanged, m_parts.caption,
            [caption = m_parts.caption](double speed) { caption->say(speedText(speed)); });
    connect(m_parts.session, &PlaySession::noted, m_parts.caption, &VideoCaption::say);
}

// The session says what has come of it.
void PlayerActions::shiftSubtitles(int tenths)
{
    m_parts.session->chooseSubtitle(SubtitleCommand{SubtitleCommand::Kind::Delay, tenths}.toData());
}

void PlayerActions::run(PlayerKeys::Action action)
{
    static_assert(std::size(Deeds) == PlayerKeys::ActionCount, "an action lacks its deed");
    for (const Deed &deed : Deeds) {
        if (deed.action == action) {
            deed.run(*this);
        }
    }
}

bool PlayerActions::isPossible(PlayerKeys::Action action) const
{
    for (const Deed &deed : Deeds) {
        if (deed.action == action && deed.isPossible) {
            return (this->*deed.isPossible)();
        }
    }
    return true;
}

bool PlayerActions::hasPicture() const
{
    return m_parts.session->status().state == PlayState::Playing;
}

void PlayerActions::seek(int seconds)
{
    m_parts.video->seekRelative(seconds);
}

void PlayerActions::stepVolume(bool up)
{
    setVolume(volumeAfterStep(m_parts.video->volume(), up));
}

// Who turns the sound up or down wants to hear it.
void PlayerActions::setVolume(int volume)
{
    m_parts.video->setVolume(volume);
    if (m_parts.video->isMute()) {
        setMuted(false);
    }
    m_parts.caption->say(QStringLiteral("音量 %1").arg(m_parts.video->volume()));
}

void PlayerActions::setMuted(bool muted)
{
    m_parts.video->setMute(muted);
    m_parts.caption->say(muted ? QStringLiteral("静音") : QStringLiteral("取消静音"));
    emit mutedChanged(muted);
}

void PlayerActions::setPausesAtEnd(bool pauses)
{
    m_parts.session->episodeEnd().setPauses(pauses);
    m_parts.caption->say(pauses ? QStringLiteral("播完本集后暂停")
                                : QStringLiteral("播完本集后继续"));
}

void PlayerActions::stepSpeed(bool up)
{
    m_parts.session->setSpeed(speedAfterStep(m_parts.session->speed(), up));
}

void PlayerActions::stepAudioDelay(int step)
{
    if (hasPicture()) {
        m_parts.session->setAudioDelay(m_parts.session->audioDelay() + step);
        m_parts.caption->say(delayText(m_parts.session->audioDelay()));
    }
}

int PlayerActions::chapterAfter(bool forward) const
{
    const double position = m_parts.video->getProperty(QStringLiteral("time-pos")).toDouble();
    return chapterAfterStep(chaptersOf(*m_parts.video), position, forward);
}

void PlayerActions::stepChapter(bool forward)
{
    const int chapter = chapterAfter(forward);
    if (chapter >= 0) {
        m_parts.video->setProperty(QStringLiteral("chapter"), chapter);
        m_parts.caption->say(visibleName(chaptersOf(*m_parts.video).value(chapter).title));
    }
}

void PlayerActions::takeScreenshot()
{
    const PlayStatus status = m_parts.session->status();
    m_parts.screenshots->take(hasPicture() ? status.title : QString(), status.position);
}
