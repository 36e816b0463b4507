#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "backend/wire/address.h"

namespace backend {

// How often each address may ask: its bucket holds so many requests and fills at so many a second.
// The table has a fixed size. When it is full, the bucket that was not asked for longest is
// forgotten; it is the one most likely to be full again. Addresses of IPv6 count by the 64 bits
// that a household is given. For one thread.
class TokenBuckets final
{
public:
    using Clock = std::chrono::steady_clock;

    TokenBuckets(double perSecond, double capacity);

    // Takes a token. The result is 0, or, when there is none, the seconds until there will be.
    int take(const Address &address, Clock::time_point now = Clock::now());

private:
    static constexpr std::size_t Ways = 4;
    struct Bucket
    {
        Address owner;
        double tokens = 0;
        Clock::time_point filled{}; // The epoch of the clock: never used.
    };
    using Set = std::array<Bucket, Ways>;

    Bucket &bucketOf(const Address &owner);

    const double m_perSecond;
    const double m_capacity;
    const std::uint64_t m_seed;
    std::vector<Set> m_sets;
};

} // namespace backend
