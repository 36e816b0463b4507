#include "player/session/play_status.h"

#include "player/session/opened_video.h"

namespace {

// A list that opens a video by its history row knows no picture; the drive's list of the folder
// does.
QString thumbnailOf(const OpenedVideo &video)
{
    const FileItem *listed = video.neighbours.find(video.file().file_id);
    return video.file().thumbnail.isEmpty() && listed ? listed->thumbnail : video.file().thumbnail;
}

} // namespace

PlayStatus statusOf(const OpenedVideo *current, const OpenedVideo *candidate)
{
    PlayStatus status;
    const OpenedVideo *chosen = candidate ? candidate : current;
    if (!chosen) {
        return status;
    }
    status.state = chosen->state;
    status.chosenId = chosen->file().file_id;
    // A candidate gives its name once libmpv has it; the first has nothing to take it from.
    const bool isNamed = chosen->state == PlayState::Loading || !current;
    const OpenedVideo *named = isNamed ? chosen : current;
    status.title = named->file().name;
    status.titledId = named->file().file_id;
    status.thumbnail = thumbnailOf(*named);
    status.isUnderWay = current && current->playback.wasSeen() && chosen->isAlive();
    if (!candidate && (current->state == PlayState::Playing || current->playback.wasSeen())) {
        status.position = current->playback.position();
        status.duration = current->playback.duration();
    }
    return status;
}
