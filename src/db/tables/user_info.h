#pragma once

#include "db/dq/dq_model.h"

// An account that has logged in, with its tokens. `updateTime` is the clock of the tokens: the
// moment they were stored.
class UserInfo final : public DQTable<UserInfo>
{
public:
    static constexpr DQNames names{"UserInfo"};

    DQField<QString> userId{this, "userId", DQNotNull | DQUnique};
    DQField<QString> driveId{this, "driveId"};
    DQField<QString> sboxDriveId{this, "sboxDriveId"};
    DQField<QString> albumDriveId{this, "albumDriveId"};
    DQField<QString> username{this, "username"};
    DQField<QString> nickname{this, "nickname"};
    DQField<QString> avatar{this, "avatar"};
    DQField<QString> accessToken{this, "accessToken"};
    DQField<QString> tokenType{this, "tokenType"};
    DQField<QString> refreshToken{this, "refreshToken"};
    DQField<int> tokenExpiresIn{this, "tokenExpiresIn"}; // seconds from updateTime
    DQField<int> status{this, "status"};
    DQField<QDateTime> createTime{this, "createTime", DQDefault("CURRENT_TIMESTAMP")};
    DQField<QDateTime> updateTime{this, "updateTime", DQDefault("CURRENT_TIMESTAMP")};
};
