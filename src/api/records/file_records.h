#pragma once

#include "api/records/serializer.h"

// Listing and describing the files of a drive.

// What the drive knows of a video; `duration` in seconds as text, sizes in pixels.
class VideoMetaData final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, duration)
    FIELD(int, height)
    FIELD(int, width)
    FIELD(QString, time)
    FIELD(QString, videoMediaAudioStream)
    FIELD(QString, videoMediaVideoStream)
};

// A file or folder of the drive. `type` is "file" or "folder", `size` a byte count in decimal, and
// all times stay text as the server sends them; folders have no size, and everything but the ids
// and the name may be missing.
class FileItem final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, trashed)
    FIELD(QString, name)
    FIELD(QString, thumbnail)
    FIELD(QString, type)
    FIELD(QString, category)
    FIELD(QString, hidden)
    FIELD(QString, status)
    FIELD(QString, description)
    FIELD(QString, meta)
    FIELD(QString, url)
    FIELD(QString, size)
    FIELD(bool, starred)
    FIELD(QString, location)
    FIELD(QString, deleted)
    FIELD(QString, channel)
    FIELD(QString, user_tags)
    FIELD(QString, mime_type)
    FIELD(QString, parent_file_id)
    FIELD(QString, drive_id)
    FIELD(QString, file_id)
    FIELD(QString, file_extension)
    FIELD(QString, revision_id)
    FIELD(QString, content_hash)
    FIELD(QString, content_hash_name)
    FIELD(QString, encrypt_mode)
    FIELD(QString, domain_id)
    FIELD(QString, download_url)
    FIELD(QString, user_meta)
    FIELD(QString, content_type)
    FIELD(QString, created_at)
    FIELD(QString, updated_at)
    FIELD(QString, local_created_at)
    FIELD(QString, local_modified_at)
    FIELD(QString, trashed_at)
    FIELD(int, punish_flag)
    FIELD(VideoMetaData, video_media_metadata)
};

// One page of a listing; `next_marker` asks for the next page and is empty on the last one.
class FileItems final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QList<FileItem>, items)
    FIELD(QString, next_marker)
};

// All keys are sent, also those left at 0 or empty.
class FileListReq final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, drive_id)
    FIELD(QString, fields)
    FIELD(int, image_thumbnail_width)
    FIELD(int, limit)
    FIELD(QString, marker)
    FIELD(QString, category)
    FIELD(QString, type)
    FIELD(QString, order_by)
    FIELD(QString, order_direction)
    FIELD(QString, parent_file_id)
    FIELD(int, video_thumbnail_time)
    FIELD(int, video_thumbnail_width)
};

class GetFileReq final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, drive_id)
    FIELD(QString, file_id)
    FIELD(QString, category)
    FIELD(int, video_thumbnail_time)
    FIELD(int, video_thumbnail_width)
    FIELD(int, image_thumbnail_width)
};

// `expire_sec` is the life of the address in seconds.
class GetFileDownloadUrlReq final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, drive_id)
    FIELD(QString, file_id)
    FIELD(int, expire_sec)
};

class GetDownloadUrlResp final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, url)
    FIELD(QString, expiration)
    FIELD(QString, string)
};
