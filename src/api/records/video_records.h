#pragma once

#include "api/records/serializer.h"

// The transcoded streams that the drive offers for a video.

// `duration` in seconds, the picture's size in pixels.
class Meta final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(double, duration)
    FIELD(int, width)
    FIELD(int, height)
};

// One quality of a video; it can be played once `status` is "finished" and `url` is there.
class LiveTranscodingTask final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, stage)
    FIELD(QString, status)
    FIELD(int, template_height)
    FIELD(int, template_width)
    FIELD(QString, template_id)
    FIELD(QString, template_name)
    FIELD(QString, url)
};

class VideoPreviewPlayInfo final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, category)
    FIELD(Meta, meta)
    FIELD(QList<LiveTranscodingTask>, live_transcoding_task_list)
};

class VideoPreviewPlayInfoResp final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, domain_id)
    FIELD(QString, drive_id)
    FIELD(QString, file_id)
    FIELD(VideoPreviewPlayInfo, video_preview_play_info)
};

class VideoPreviewPlayInfoReq final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, drive_id)
    FIELD(QString, file_id)
    FIELD(QString, category)
    FIELD(bool, get_subtitle_info)
    FIELD(QString, template_id)
    FIELD(int, url_expire_sec)
    FIELD(bool, only_vip)
};
