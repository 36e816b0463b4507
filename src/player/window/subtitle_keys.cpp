#include "player/window/subtitle_keys.h"

#include "player/session/subtitle_command.h"
#include "player/window/player_keys.h"

QList<MenuEntry> withSubtitleKeys(QList<MenuEntry> menu)
{
    using Action = PlayerKeys::Action;
    const auto delay = [](int tenths) {
        return SubtitleCommand{SubtitleCommand::Kind::Delay, tenths}.toData();
    };
    for (MenuEntry &entry : menu) {
        entry.children = withSubtitleKeys(entry.children);
        if (entry.data == delay(1)) {
            entry.hint = PlayerKeys::names(Action::SubtitlesLater);
        } else if (entry.data == delay(-1)) {
            entry.hint = PlayerKeys::names(Action::SubtitlesEarlier);
        }
    }
    return menu;
}
