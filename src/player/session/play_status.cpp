#include "player/session/play_status.h"

#include "player/session/opened_video.h"

PlayStatus statusOf(const OpenedVideo *current, const OpenedVideo *candidate)
{
    PlayStatus status;
    const OpenedVideo *chosen = candidate ? candidate : current;
    if (!chosen) {
        return status;
    }
    status.state = chosen->state;
    status.chosenId = chosen->file().file_id;
    // A candidate gives its name once libmpv has it.
    const OpenedVideo *named = chosen->state == PlayState::Loading ? chosen : current;
    status.title = named ? named->file().name : QString();
    if (!candidate && (current->state == PlayState::Playing || current->playback.wasSeen())) {
        status.position = current->playback.position();
        status.duration = current->playback.duration();
    }
    return status;
}
