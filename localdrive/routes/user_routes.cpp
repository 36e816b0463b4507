#include "localdrive/routes/routes.h"

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

void driveInfo(const Platform &platform, Call &call)
{
    const AccountOptions &facts = call.account->facts;
    nlohmann::json reply = {{"user_id", facts.userId},
                            {"name", facts.nickName},
                            {"avatar", facts.avatar},
                            {"default_drive_id", facts.driveId}};
    if (platform.rules().documentedDriveInfo) {
        reply.update(
            {{"resource_drive_id", facts.driveId + "1"}, {"backup_drive_id", facts.driveId}});
    } else {
        reply.update({{"status", call.account->status()},
                      {"nick_name", facts.nickName},
                      {"phone", facts.phone},
                      {"user_data", ""}});
    }
    call.reply(reply);
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

std::vector<Route> userRoutes(Platform &platform)
{
    return {
        {"GET", "/oauth/users/info", Access::Token, userInfo},
        {"POST", "/adrive/v1\\.0/user/getDriveInfo", Access::Token,
         [&platform](Call &call) { driveInfo(platform, call); }},
        {"POST", "/adrive/v1\\.0/user/getSpaceInfo", Access::Token, spaceInfo},
        {"POST", "/adrive/v1\\.0/user/getVipInfo", Access::Token, vipInfo},
    };
}

} // namespace localdrive
