#include "player/session/offered_subtitle.h"

#include <algorithm>

#include <QUrl>

#include "api/records/subtitle_records.h"
#include "net/web_address.h"
#include "player/session/episode_number.h"
#include "player/session/track_labels.h"
#include "player/session/track_memory.h"

namespace {

// The drive's ids hold no colon.
QString transcodedPrefix()
{
    return QStringLiteral("live_transcoding:");
}

} // namespace

bool OfferedSubtitle::isTranscoded() const
{
    return id.startsWith(transcodedPrefix());
}

QList<OfferedSubtitle> transcodedSubtitles(const VideoPreviewSubtitlesResp &reply)
{
    QList<OfferedSubtitle> offered;
    const auto &tasks = reply.video_preview_play_info.live_transcoding_subtitle_task_list;
    for (const LiveTranscodingSubtitleTask &task : tasks) {
        if (task.status != QLatin1String("finished") || !mayBeAsked(QUrl(task.url))) {
            continue;
        }
        const auto before =
            std::count_if(offered.cbegin(), offered.cend(), [&task](const OfferedSubtitle &one) {
                return one.language == task.language;
            });
        const QString number = before > 0 ? QStringLiteral(" #%1").arg(before + 1) : QString();
        offered.append({transcodedPrefix() + task.language + number,
                        languageName(task.language) + QStringLiteral(" 转码字幕") + number,
                        task.language, task.url});
    }
    return offered;
}

void suggestFor(const QString &videoName, QList<OfferedSubtitle> &offered)
{
    const std::optional<EpisodeNumber> episode = episodeOf(videoName);
    for (OfferedSubtitle &one : offered) {
        one.isSuggested = episode && isSameEpisode(*episode, episodeOf(one.name));
    }
}

const OfferedSubtitle *findLanguage(const QList<OfferedSubtitle> &offered, const QString &language)
{
    const auto found =
        std::find_if(offered.cbegin(), offered.cend(), [&language](const OfferedSubtitle &one) {
            return !language.isEmpty() && isSameLanguage(one.language, language);
        });
    return found == offered.cend() ? nullptr : &*found;
}

const OfferedSubtitle *findOffered(const QList<OfferedSubtitle> &offered, const QString &id)
{
    const auto found = std::find_if(offered.cbegin(), offered.cend(),
                                    [&id](const OfferedSubtitle &one) { return one.id == id; });
    return found == offered.cend() ? nullptr : &*found;
}
