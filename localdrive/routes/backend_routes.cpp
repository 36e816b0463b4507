#include "localdrive/routes/routes.h"
#include "localdrive/wire/api_error.h"
#include "localdrive/wire/crypto.h"

namespace localdrive {
namespace {

void issueQrCode(Platform &platform, Call &call)
{
    const std::string sid = platform.logins.create();
    call.reply({{"code", 200},
                {"msg", "success"},
                {"qrCodeUrl", platform.baseUrl + "/oauth/qrcode/" + sid},
                {"sid", sid}});
}

Tokens exchange(Platform &platform, const Call &call)
{
    if (call.request.has_param("refreshToken")) {
        const std::optional<Tokens> tokens = platform.tokens.renew(call.param("refreshToken"));
        if (!tokens) {
            throw ApiError(400, "RefreshTokenInvalid", "The refresh token is unknown or used");
        }
        return *tokens;
    }
    const auto grant = platform.logins.redeem(call.param("authCode"));
    if (!grant) {
        throw ApiError(400, "InvalidCode", "The code is unknown or used");
    }
    return platform.tokens.issue(grant->account);
}

void issueTokens(Platform &platform, Call &call)
{
    const Tokens tokens = exchange(platform, call);
    platform.save();
    call.reply({{"tokenType", tokens.tokenType},
                {"accessToken", tokens.accessToken},
                {"refreshToken", tokens.refreshToken},
                {"expiresIn", tokens.expiresIn}});
}

void receiveReport(Platform &platform, Call &call)
{
    const std::optional<std::string> report = decryptReport(call.text("data"));
    if (!report || !nlohmann::json::accept(*report)) {
        throw ApiError(400, "InvalidParameter.Data", "The report cannot be decrypted");
    }
    platform.addReport(*report);
    call.reply({{"code", 200}, {"msg", "success"}});
}

} // namespace

std::vector<Route> backendRoutes(Platform &platform)
{
    return {
        {"POST", "/app/oauth/authorize/qrcode", Access::Open,
         [&platform](Call &call) { issueQrCode(platform, call); }},
        {"GET", "/app/oauth/accessToken", Access::Open,
         [&platform](Call &call) { issueTokens(platform, call); }},
        {"POST", "/app/cloudtv/pc/refresh", Access::Open,
         [&platform](Call &call) { receiveReport(platform, call); }},
    };
}

} // namespace localdrive
