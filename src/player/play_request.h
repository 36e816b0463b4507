#pragma once

#include "api/records/file_records.h"
#include "db/tables/play_history.h"
#include "db/tables/user_info.h"

#include <QList>

// What a list hands to the player: whose drive, which video, its neighbours, where it stopped.
struct PlayRequest
{
    UserInfo user;
    FileItem file;
    QList<FileItem> videos; // the folder's videos in the order shown, the file among them
    PlayHistory history;    // the stored row of the file, or a new one with its keys filled
};
