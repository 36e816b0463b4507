#include <algorithm>

#include "localdrive/routes/routes.h"
#include "localdrive/wire/api_error.h"
#include "localdrive/wire/crypto.h"

namespace localdrive {
namespace {

constexpr std::size_t DigestLength = 43; // Of SHA-256 in Base64 for addresses, without padding.

// What an application asks for on behalf of its users. One that has a secret shows it; one that has
// none announces a code challenge with the QR code and proves itself by its verifier.
class OAuthOperations final
{
public:
    explicit OAuthOperations(Platform &platform) : m_platform(platform) {}

    void giveQrCode(Call &call) const
    {
        const std::string challenge = readChallenge(call);
        checkApplication(call, challenge.empty());
        checkScopes(call);
        const std::string sid = m_platform.logins.create(challenge);
        call.reply({{"qrCodeUrl", m_platform.baseUrl + "/oauth/qrcode/" + sid}, {"sid", sid}});
    }

    void giveTokens(Call &call) const
    {
        const std::string type = call.text("grant_type");
        const Tokens tokens = type == "authorization_code" ? byCode(call)
                              : type == "refresh_token"    ? byRefreshToken(call)
                                                           : throw unknownGrant();
        m_platform.save();
        nlohmann::json reply = {{"token_type", tokens.tokenType},
                                {"access_token", tokens.accessToken},
                                {"expires_in", tokens.expiresIn}};
        if (!tokens.refreshToken.empty()) {
            reply["refresh_token"] = tokens.refreshToken;
        }
        call.reply(reply);
    }

private:
    static ApiError unknownGrant()
    {
        return {400, "InvalidParameter.GrantType", "authorization_code or refresh_token"};
    }

    static std::string readChallenge(const Call &call)
    {
        const std::string challenge = call.text("code_challenge");
        const bool isDigest = call.text("code_challenge_method") == "S256" &&
                              challenge.size() == DigestLength && fromBase64Url(challenge);
        if (!challenge.empty() && !isDigest) {
            throw ApiError(400, "InvalidParameter.CodeChallenge", "Only S256 is known");
        }
        return challenge;
    }

    static void checkScopes(const Call &call)
    {
        const nlohmann::json scopes = call.body.value("scopes", nlohmann::json());
        const auto isScope = [](const nlohmann::json &scope) {
            return scope == "user:base" || scope == "file:all:read" || scope == "file:all:write";
        };
        if (!scopes.is_array() || scopes.empty() ||
            !std::all_of(scopes.begin(), scopes.end(), isScope)) {
            throw ApiError(400, "InvalidParameter.Scopes", "Scopes that nobody may have");
        }
    }

    void checkApplication(const Call &call, bool needsSecret) const
    {
        const ApplicationOptions &application = m_platform.options.application;
        const std::string secret = call.text("client_secret");
        if (call.text("client_id") != application.id) {
            throw ApiError(400, "InvalidParameter.ClientId", "There is no such application");
        }
        if ((needsSecret || !secret.empty()) && !equalInConstantTime(secret, application.secret)) {
            throw ApiError(400, "InvalidParameter.ClientSecret", "The secret is another");
        }
    }

    [[nodiscard]] Tokens byCode(const Call &call) const
    {
        const std::string verifier = call.text("code_verifier");
        checkApplication(call, verifier.empty());
        const auto grant = m_platform.logins.redeem(call.text("code"));
        const std::string challenge = verifier.empty() ? "" : toBase64Url(sha256(verifier));
        if (!grant || grant->challenge != challenge) {
            throw ApiError(400, "InvalidCode", "The code is unknown, used or someone else's");
        }
        return challenge.empty() ? m_platform.tokens.issue(grant->account)
                                 : m_platform.tokens.issueUnrenewable(grant->account);
    }

    [[nodiscard]] Tokens byRefreshToken(const Call &call) const
    {
        checkApplication(call, true);
        const auto tokens = m_platform.tokens.renew(call.text("refresh_token"));
        if (!tokens) {
            throw ApiError(400, "RefreshTokenInvalid", "The refresh token is unknown or used");
        }
        return *tokens;
    }

    Platform &m_platform;
};

} // namespace

std::vector<Route> oauthRoutes(Platform &platform)
{
    const OAuthOperations operations(platform);
    return {
        {"POST", "/oauth/authorize/qrcode", Access::Application,
         [operations](Call &call) { operations.giveQrCode(call); }},
        {"POST", "/oauth/access_token", Access::Application,
         [operations](Call &call) { operations.giveTokens(call); }},
    };
}

} // namespace localdrive
