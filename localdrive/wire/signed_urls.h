#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "localdrive/wire/clock.h"

namespace localdrive {

// Signs addresses of this server and checks them. An address is valid for its path and until
// its time; the query carries both. Thread-safe.
class SignedUrls final
{
public:
    SignedUrls(const Clock &clock, std::string secret);

    void setLongestLife(Milliseconds life) { m_longestLife = life.count(); } // 0: no bound.
    // When an address that was asked for so long ends.
    [[nodiscard]] std::int64_t expiry(Milliseconds asked) const;
    // "x-expires=…&x-signature=…" for a path (decoded).
    [[nodiscard]] std::string query(const std::string &path, std::int64_t expires) const;
    // Throws ApiError 403 when the signature is wrong or the time is over.
    void check(const std::string &path, const std::string &expires,
               const std::string &signature) const;

private:
    [[nodiscard]] std::string sign(const std::string &path, const std::string &expires) const;

    const Clock &m_clock;
    const std::string m_secret;
    std::atomic<std::int64_t> m_longestLife{0};
};

// Percent-encodes all but unreserved characters and slashes.
std::string encodePath(const std::string &path);

} // namespace localdrive
