#include "localdrive/wire/signed_urls.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <utility>

#include "localdrive/wire/api_error.h"
#include "localdrive/wire/crypto.h"

namespace localdrive {

SignedUrls::SignedUrls(const Clock &clock, std::string secret)
    : m_clock(clock), m_secret(std::move(secret))
{
}

std::int64_t SignedUrls::expiry(Milliseconds asked) const
{
    const std::int64_t bound = m_longestLife;
    return m_clock.now() + (bound > 0 ? std::min(bound, asked.count()) : asked.count());
}

std::string SignedUrls::sign(const std::string &path, const std::string &expires) const
{
    return hmacHex(m_secret, path + '\n' + expires).substr(0, 32);
}

std::string SignedUrls::query(const std::string &path, std::int64_t expires) const
{
    const std::string time = std::to_string(expires);
    return "x-expires=" + time + "&x-signature=" + sign(path, time);
}

void SignedUrls::check(const std::string &path, const std::string &expires,
                       const std::string &signature) const
{
    if (!equalInConstantTime(sign(path, expires), signature)) {
        throw ApiError(403, "SignatureDoesNotMatch", "The address is not signed for this");
    }
    if (std::strtoll(expires.c_str(), nullptr, 10) <= m_clock.now()) {
        throw ApiError(403, "AccessDenied.Expired", "The address has expired");
    }
}

std::string encodePath(const std::string &path)
{
    constexpr char Digits[] = "0123456789ABCDEF";
    std::string text;
    for (const unsigned char c : path) {
        if (std::isalnum(c) || c == '-' || c == '.' || c == '_' || c == '~' || c == '/') {
            text += static_cast<char>(c);
        } else {
            text += '%';
            text += Digits[c >> 4];
            text += Digits[c & 15];
        }
    }
    return text;
}

} // namespace localdrive
