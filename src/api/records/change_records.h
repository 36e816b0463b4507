#pragma once

#include "api/records/serializer.h"

// Creating, renaming, copying, moving and deleting files.

class CreateFolderReq final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, check_name_mode)
    FIELD(QString, drive_id)
    FIELD(QString, name)
    FIELD(QString, parent_file_id)
    FIELD(QString, type)
};

class FileUpdateReq final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, drive_id)
    FIELD(QString, file_id)
    FIELD(QString, name)
};

// Unlike in FileItem, the size is a number and the times are date-times.
class FileUpdateResp final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, drive_id)
    FIELD(QString, file_id)
    FIELD(QString, name)
    FIELD(int, size)
    FIELD(QString, file_extension)
    FIELD(QString, content_hash)
    FIELD(QString, category)
    FIELD(QString, type)
    FIELD(QDateTime, created_at)
    FIELD(QDateTime, updated_at)
};

// `auto_rename` is a text ("true" or "false").
class FileCopyReq final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, drive_id)
    FIELD(QString, file_id)
    FIELD(QString, to_parent_file_id)
    FIELD(QString, auto_rename)
};

class FileCopyResp final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, drive_id)
    FIELD(QString, file_id)
    FIELD(QString, async_task_id)
};

class FileMoveReq final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, drive_id)
    FIELD(QString, file_id)
    FIELD(QString, to_parent_file_id)
    FIELD(QString, check_name_mode)
    FIELD(QString, new_name)
};

class FileMoveResp final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, drive_id)
    FIELD(QString, file_id)
    FIELD(QString, async_task_id)
    FIELD(bool, exist)
};

class FileTrashReq final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, drive_id)
    FIELD(QString, file_id)
};

class FileTrashResp final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, drive_id)
    FIELD(QString, file_id)
    FIELD(QString, async_task_id)
};

class FileDeleteReq final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, drive_id)
    FIELD(QString, file_id)
};

class FileDeleteResp final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, drive_id)
    FIELD(QString, file_id)
    FIELD(QString, async_task_id)
};

class CreateFilePartInfo final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(int, part_number)
    FIELD(QString, upload_url)
    FIELD(int, part_size)
};

class CreateFileReq final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, drive_id)
    FIELD(QString, parent_file_id)
    FIELD(QString, name)
    FIELD(QString, type)
    FIELD(QString, check_name_mode)
    FIELD(QList<CreateFilePartInfo>, part_info_list)
    FIELD(bool, parallel_upload)
    FIELD(QString, pre_hash)
    FIELD(int, size)
    FIELD(QString, content_hash)
    FIELD(QString, content_hash_name)
    FIELD(QString, proof_code)
    FIELD(QString, proof_version)
    FIELD(QDateTime, local_created_at)
    FIELD(QDateTime, local_modified_at)
    FIELD(int, video_thumbnail_time)
};

class PartInfo final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(int, part_number)
    FIELD(QString, upload_url)
    FIELD(int, part_size)
};

// The reply to creating a file or a folder.
class CreateFileResp final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, drive_id)
    FIELD(QString, file_id)
    FIELD(QString, status)
    FIELD(QString, parent_file_id)
    FIELD(QString, upload_id)
    FIELD(QString, file_name)
    FIELD(bool, available)
    FIELD(bool, exist)
    FIELD(bool, rapid_upload)
    FIELD(QList<PartInfo>, part_info_list)
};

// One stream of a file made of several.
class StreamInfo final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, content_hash)
    FIELD(QString, content_hash_name)
    FIELD(QString, proof_version)
    FIELD(QString, proof_code)
    FIELD(QString, content_md5)
    FIELD(QString, pre_hash)
    FIELD(QString, size)
    FIELD(QList<QString>, part_info_list)
};
