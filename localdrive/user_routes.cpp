#include "routes.h"

namespace localdrive {
namespace {

constexpr std::int64_t VipExpiry = 4102444800; // 2100-01-01, in seconds

void userInfo(Call &call)
{
    const AccountOptions &facts = call.account->facts;
    call.reply({{"id", facts.userId},
                {"name", facts.nickName},
                {"avatar", facts.avatar},
                {"phone", facts.phone}});
}

void driveInfo(Call &call)
{
    const AccountOptions &facts = call.account->facts;
    call.reply({{"status", call.account->status()},
                {"user_id", facts.userId},
                {"nick_name", facts.nickName},
                {"name", facts.nickName},
                {"avatar", facts.avatar},
                {"phone", facts.phone},
                {"default_drive_id", facts.driveId},
                {"user_data", ""}});
}

void spaceInfo(Call &call)
{
    const nlohmann::json item = {{"used_size", call.account->drive.usedSpace()},
                                 {"total_size", call.account->facts.totalSpace}};
    call.reply({{"personal_space_info", item}});
}

void vipInfo(Call &call)
{
    call.reply({{"identity", "svip"}, {"promotedAt", ""}, {"expire", VipExpiry}});
}

} // namespace

std::vector<Route> userRoutes(World &)
{
    return {
        {"GET", "/oauth/users/info", Access::Token, userInfo},
        {"POST", "/adrive/v1\\.0/user/getDriveInfo", Access::Token, driveInfo},
        {"POST", "/adrive/v1\\.0/user/getSpaceInfo", Access::Token, spaceInfo},
        {"POST", "/adrive/v1\\.0/user/getVipInfo", Access::Token, vipInfo},
    };
}

} // namespace localdrive
