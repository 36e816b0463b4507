#pragma once

#include "api/records/video_records.h"

// The subtitles that the drive made with a video's transcoded streams. They come in the body that
// tells of the streams, under keys of their own.

// The subtitles of one language; they can be had once `status` is "finished" and `url` is there.
class LiveTranscodingSubtitleTask final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, language)
    FIELD(QString, status)
    FIELD(QString, url)
};

class VideoPreviewSubtitles final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QList<LiveTranscodingSubtitleTask>, live_transcoding_subtitle_task_list)
};

class VideoPreviewSubtitlesResp final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(VideoPreviewSubtitles, video_preview_play_info)
};

// All that the play information tells: each record reads its own keys from the same body.
struct VideoPlayInfo
{
    VideoPreviewPlayInfoResp streams{};
    VideoPreviewSubtitlesResp subtitles{};

    void fromJson(const QJsonValue &body)
    {
        streams.fromJson(body);
        subtitles.fromJson(body);
    }
};
