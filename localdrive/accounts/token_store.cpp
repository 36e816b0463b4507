#include "localdrive/accounts/token_store.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "localdrive/wire/api_error.h"
#include "localdrive/wire/crypto.h"

namespace localdrive {
namespace {

// Tokens that expired long ago are forgotten when new ones are issued.
constexpr std::int64_t ForgetAfter = 24LL * 3600 * 1000;
constexpr Milliseconds UnrenewableLifetime = std::chrono::hours(30 * 24);

template <class Map, class Predicate>
void eraseIf(Map &map, Predicate predicate)
{
    for (auto entry = map.begin(); entry != map.end();) {
        entry = predicate(entry->second) ? map.erase(entry) : std::next(entry);
    }
}

} // namespace

TokenStore::TokenStore(const Clock &clock) : m_clock(clock) {}

void TokenStore::setLifetime(Milliseconds lifetime)
{
    const std::lock_guard lock(m_mutex);
    m_lifetime = lifetime;
}

Tokens TokenStore::issue(int account)
{
    const std::lock_guard lock(m_mutex);
    return issueLocked(account, m_lifetime);
}

Tokens TokenStore::issueUnrenewable(int account)
{
    const std::lock_guard lock(m_mutex);
    Tokens tokens = issueLocked(account, UnrenewableLifetime);
    m_refresh.erase(tokens.refreshToken);
    tokens.refreshToken.clear();
    return tokens;
}

Tokens TokenStore::issueLocked(int account, Milliseconds lifetime)
{
    const std::int64_t now = m_clock.now();
    eraseIf(m_access, [now](const Access &access) { return access.expires + ForgetAfter < now; });
    Tokens tokens;
    tokens.tokenType = "Bearer";
    tokens.accessToken = "at" + randomHex(24);
    tokens.refreshToken = "rt" + randomHex(24);
    tokens.expiresIn = static_cast<int>((lifetime.count() + 999) / 1000);
    m_access[tokens.accessToken] = {account, now + lifetime.count()};
    m_refresh[tokens.refreshToken] = account;
    return tokens;
}

std::optional<Tokens> TokenStore::renew(const std::string &refreshToken)
{
    const std::lock_guard lock(m_mutex);
    const auto known = m_refresh.find(refreshToken);
    if (known == m_refresh.end()) {
        return std::nullopt;
    }
    const int account = known->second;
    m_refresh.erase(known);
    return issueLocked(account, m_lifetime);
}

void TokenStore::revoke(int account)
{
    const std::lock_guard lock(m_mutex);
    eraseIf(m_access, [account](const Access &access) { return access.account == account; });
    eraseIf(m_refresh, [account](int owner) { return owner == account; });
}

int TokenStore::accountOf(const std::string &accessToken) const
{
    const std::lock_guard lock(m_mutex);
    const auto known = m_access.find(accessToken);
    if (known == m_access.end()) {
        throw ApiError(401, "AccessTokenInvalid", "The access token is not valid");
    }
    if (known->second.expires <= m_clock.now()) {
        throw ApiError(401, "AccessTokenExpired", "The access token has expired");
    }
    return known->second.account;
}

nlohmann::json TokenStore::state() const
{
    const std::lock_guard lock(m_mutex);
    nlohmann::json access = nlohmann::json::object();
    for (const auto &[token, entry] : m_access) {
        access[token] = {{"account", entry.account}, {"expires", entry.expires}};
    }
    return {{"access", access}, {"refresh", m_refresh}};
}

void TokenStore::restore(const nlohmann::json &state, int accountCount)
{
    const std::lock_guard lock(m_mutex);
    m_refresh = state.value("refresh", m_refresh);
    eraseIf(m_refresh, [accountCount](int account) { return account >= accountCount; });
    const nlohmann::json access = state.value("access", nlohmann::json::object());
    for (const auto &[token, entry] : access.items()) {
        m_access[token] = {entry.value("account", -1), entry.value("expires", std::int64_t{0})};
    }
    eraseIf(m_access,
            [accountCount](const Access &entry) { return entry.account >= accountCount; });
}

} // namespace localdrive
