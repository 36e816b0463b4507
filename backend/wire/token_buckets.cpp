#include "backend/wire/token_buckets.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

namespace backend {
namespace {

constexpr std::size_t SetCount = 16384;

Address household(Address address)
{
    if (!address.isIpv4()) {
        std::fill(address.bytes.begin() + 8, address.bytes.end(), std::uint8_t{0});
    }
    return address;
}

std::uint64_t randomSeed()
{
    std::random_device device;
    return (std::uint64_t{device()} << 32) | device();
}

} // namespace

TokenBuckets::TokenBuckets(double perSecond, double capacity)
    : m_perSecond(perSecond), m_capacity(capacity), m_seed(randomSeed()), m_sets(SetCount)
{
}

int TokenBuckets::take(const Address &address, Clock::time_point now)
{
    const Address owner = household(address);
    Bucket &bucket = bucketOf(owner);
    if (bucket.filled == Clock::time_point{} || !(bucket.owner == owner)) {
        bucket = {owner, m_capacity, now};
    }
    const std::chrono::duration<double> passed = now - bucket.filled;
    bucket.tokens = std::min(m_capacity, bucket.tokens + passed.count() * m_perSecond);
    bucket.filled = now;
    if (bucket.tokens < 1) {
        constexpr double Longest = 1e9;
        return static_cast<int>(std::min(Longest, std::ceil((1 - bucket.tokens) / m_perSecond)));
    }
    bucket.tokens -= 1;
    return 0;
}

// The owner's bucket, or the one that it may have.
TokenBuckets::Bucket &TokenBuckets::bucketOf(const Address &owner)
{
    // Seeded, so that nobody can tell which addresses share a set.
    std::uint64_t hash = m_seed;
    for (std::size_t half : {std::size_t{0}, std::size_t{8}}) {
        std::uint64_t part = 0;
        std::memcpy(&part, &owner.bytes[half], sizeof part);
        hash = (hash ^ part) * 0x9e3779b97f4a7c15U;
        hash ^= hash >> 32U;
    }
    Set &set = m_sets[hash % SetCount];
    const auto own = std::find_if(set.begin(), set.end(),
                                  [&owner](const Bucket &b) { return b.owner == owner; });
    return own != set.end()
               ? *own
               : *std::min_element(set.begin(), set.end(), [](const Bucket &a, const Bucket &b) {
                     return a.filled < b.filled;
                 });
}

} // namespace backend
