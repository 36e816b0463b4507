#pragma once

#include <QList>

#include "api/records/file_records.h"
#include "db/tables/play_history.h"
#include "db/tables/user_info.h"

// What a list hands to the player: whose drive, which video, its neighbours, where it stopped.
struct PlayRequest
{
    UserInfo user;
    FileItem file;
    // The videos that the list shows of the file's folder, the file among them. Empty: the list
    // knows nothing of the folder, and the file's name and folder may be out of date.
    QList<FileItem> videos;
    PlayHistory history; // the stored row of the file, or a new one with its keys filled
};
