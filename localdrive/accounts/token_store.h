#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include <nlohmann/json_fwd.hpp>

#include "localdrive/accounts/tokens.h"
#include "localdrive/wire/clock.h"

namespace localdrive {

// Access tokens that expire and refresh tokens that work once. Thread-safe.
class TokenStore final
{
public:
    explicit TokenStore(const Clock &clock);

    void setLifetime(Milliseconds lifetime);
    Tokens issue(int account);
    // As an application without a secret gets them: without a refresh token.
    Tokens issueUnrenewable(int account);
    // A new pair for a refresh token, which is used up; the old access token stays valid until
    // it expires. Nothing when the token is unknown or was used.
    std::optional<Tokens> renew(const std::string &refreshToken);
    void revoke(int account);

    // The account of an access token. Throws ApiError 401 AccessTokenInvalid for one that was
    // never issued, AccessTokenExpired for one that was.
    [[nodiscard]] int accountOf(const std::string &accessToken) const;

    [[nodiscard]] nlohmann::json state() const;
    // Tokens of accounts that are not there any more are left out.
    void restore(const nlohmann::json &state, int accountCount);

private:
    struct Access
    {
        int account = -1;
        std::int64_t expires = 0;
    };
    Tokens issueLocked(int account, Milliseconds lifetime);

    const Clock &m_clock;
    mutable std::mutex m_mutex;
    Milliseconds m_lifetime = std::chrono::hours(2);
    std::unordered_map<std::string, Access> m_access;
    std::unordered_map<std::string, int> m_refresh;
};

} // namespace localdrive
