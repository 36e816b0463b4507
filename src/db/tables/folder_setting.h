#pragma once

#include "db/dq/dq_model.h"

// What the player remembers for all videos of one folder of the drive.
class FolderSetting final : public DQTable<FolderSetting>
{
public:
    static constexpr DQNames names{"FolderSetting", "VideoFolderSetting"};

    DQField<QString> folderId{this, "folderId", DQNotNull | DQUnique};
    DQField<QString> folderName{this, "folderName"};
    DQField<QString> userId{this, "userId"};
    DQField<int> skipHeadPos{this, "skipHeadPos"};
    DQField<int> skipTailPos{this, "skipTailPos"};
    DQField<QString> audioTrackId{this, "audioTrackId"};
    DQField<QString> subtitleTrackId{this, "subtitleTrackId"};
    DQField<QString> sortBy{this, "sortBy"};
    DQField<QString> sortDirection{this, "sortDirection"};
    DQField<QString> lastPlayFileId{this, "lastPlayFileId"};
    DQField<QDateTime> updateTime{this, "updateTime", DQDefault("CURRENT_TIMESTAMP")};
    DQField<QDateTime> createTime{this, "createTime", DQDefault("CURRENT_TIMESTAMP")};
};
