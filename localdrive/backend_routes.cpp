#include "api_error.h"
#include "crypto.h"
#include "routes.h"

namespace localdrive {
namespace {

void issueQrCode(World &world, Call &call)
{
    const std::string sid = world.logins.create();
    call.reply({{"code", 200},
                {"msg", "success"},
                {"qrCodeUrl", world.baseUrl + "/oauth/qrcode/" + sid},
                {"sid", sid}});
}

Tokens exchange(World &world, const Call &call)
{
    if (call.request.has_param("refreshToken")) {
        const std::optional<Tokens> tokens = world.tokens.renew(call.param("refreshToken"));
        if (!tokens)
            throw ApiError(400, "RefreshTokenInvalid", "The refresh token is unknown or used");
        return *tokens;
    }
    const std::optional<int> account = world.logins.redeem(call.param("authCode"));
    if (!account)
        throw ApiError(400, "InvalidCode", "The code is unknown or used");
    return world.tokens.issue(*account);
}

void issueTokens(World &world, Call &call)
{
    const Tokens tokens = exchange(world, call);
    world.save();
    call.reply({{"tokenType", tokens.tokenType},
                {"accessToken", tokens.accessToken},
                {"refreshToken", tokens.refreshToken},
                {"expiresIn", tokens.expiresIn}});
}

void receiveReport(World &world, Call &call)
{
    const std::optional<std::string> report = decryptReport(call.text("data"));
    if (!report || !nlohmann::json::accept(*report))
        throw ApiError(400, "InvalidParameter.Data", "The report cannot be decrypted");
    world.addReport(*report);
    call.reply({{"code", 200}, {"msg", "success"}});
}

} // namespace

std::vector<Route> backendRoutes(World &world)
{
    return {
        {"POST", "/app/oauth/authorize/qrcode", Access::Open,
         [&world](Call &call) { issueQrCode(world, call); }},
        {"GET", "/app/oauth/accessToken", Access::Open,
         [&world](Call &call) { issueTokens(world, call); }},
        {"POST", "/app/cloudtv/pc/refresh", Access::Open,
         [&world](Call &call) { receiveReport(world, call); }},
    };
}

} // namespace localdrive
