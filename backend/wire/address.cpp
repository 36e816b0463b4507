#include "backend/wire/address.h"

#include <algorithm>
#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>

#include "backend/wire/text.h"

namespace backend {
namespace {

constexpr int MappedBits = 96; // of ::ffff:0:0, before which the bits of an IPv4 address stand
constexpr std::array<std::uint8_t, 12> MappedStart{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff};

Address mapped(const in_addr &address)
{
    Address result;
    std::copy(MappedStart.begin(), MappedStart.end(), result.bytes.begin());
    std::memcpy(&result.bytes[MappedStart.size()], &address, sizeof address);
    return result;
}

} // namespace

std::optional<Address> Address::parse(const std::string &text)
{
    in_addr four{};
    if (::inet_pton(AF_INET, text.c_str(), &four) == 1) {
        return mapped(four);
    }
    Address result;
    if (::inet_pton(AF_INET6, text.c_str(), result.bytes.data()) == 1) {
        return result;
    }
    return std::nullopt;
}

Address Address::of(const sockaddr_storage &socketAddress)
{
    if (socketAddress.ss_family == AF_INET) {
        sockaddr_in four{};
        std::memcpy(&four, &socketAddress, sizeof four);
        return mapped(four.sin_addr);
    }
    Address result;
    sockaddr_in6 six{};
    std::memcpy(&six, &socketAddress, sizeof six);
    std::memcpy(result.bytes.data(), &six.sin6_addr, result.bytes.size());
    return result;
}

bool Address::isIpv4() const
{
    return std::equal(MappedStart.begin(), MappedStart.end(), bytes.begin());
}

bool Address::isLoopback() const
{
    return isIpv4() ? bytes[MappedStart.size()] == 127 : *this == parse("::1");
}

std::optional<Network> Network::parse(const std::string &text)
{
    const std::size_t slash = text.find('/');
    const std::optional<Address> start = Address::parse(text.substr(0, slash));
    if (!start) {
        return std::nullopt;
    }
    Network network;
    network.m_start = *start;
    if (slash != std::string::npos) {
        const std::string digits = text.substr(slash + 1);
        const int most = start->isIpv4() ? 32 : 128;
        const bool isNumber = !digits.empty() && digits.size() <= 3 &&
                              digits.find_first_not_of("0123456789") == std::string::npos;
        if (!isNumber || std::stoi(digits) > most) {
            return std::nullopt;
        }
        network.m_bits = std::stoi(digits) + (start->isIpv4() ? MappedBits : 0);
    }
    return network;
}

bool Network::contains(const Address &address) const
{
    for (int bit = 0; bit < m_bits; bit += 8) {
        const auto index = static_cast<std::size_t>(bit / 8);
        const int mask = 0xff << std::max(0, bit + 8 - m_bits);
        if (((address.bytes[index] ^ m_start.bytes[index]) & mask) != 0) {
            return false;
        }
    }
    return true;
}

bool contains(const std::vector<Network> &networks, const Address &address)
{
    return std::any_of(networks.begin(), networks.end(),
                       [&address](const Network &network) { return network.contains(address); });
}

Address clientAddress(const Address &peer, const std::string &forwardedFor,
                      const std::vector<Network> &proxies)
{
    Address client = peer;
    std::size_t end = forwardedFor.size();
    while (contains(proxies, client) && end > 0) {
        const std::size_t comma = forwardedFor.rfind(',', end - 1);
        const std::size_t begin = comma == std::string::npos ? 0 : comma + 1;
        const auto next = Address::parse(trimmed(forwardedFor.substr(begin, end - begin)));
        if (!next) {
            break;
        }
        client = *next;
        end = begin == 0 ? 0 : comma;
    }
    return client;
}

} // namespace backend
