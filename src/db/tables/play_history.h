#pragma once

#include "db/dq/dq_model.h"

// How far a video of the drive has been watched, and how it was shown.
class PlayHistory final : public DQTable<PlayHistory>
{
public:
    static constexpr DQNames names{"PlayHistory"};

    DQField<QString> fileId{this, "fileId", DQNotNull | DQUnique};
    DQField<QString> parentFileId{this, "parentFileId"};
    DQField<QString> userId{this, "userId"};
    DQField<QString> name{this, "name"};
    DQField<int> duration{this, "duration"};
    DQField<double> playPercentage{this, "playPercentage"}; // 0 to 1
    DQField<int> playPosition{this, "playPosition"};        // in the unit of duration
    DQField<QString> videoQualityId{this, "videoQualityId"};
    DQField<int> screenScaleType{this, "screenScaleType"};
    DQField<int> subTitleType{this, "subTitleType"};
    DQField<QString> subTitle{this, "subTitle"};
    DQField<QDateTime> createTime{this, "createTime", DQDefault("CURRENT_TIMESTAMP")};
    DQField<QDateTime> updateTime{this, "updateTime", DQDefault("CURRENT_TIMESTAMP")};
};
