#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <sys/socket.h>

namespace backend {

// An IP address; one of IPv4 is held as IPv6 maps it.
struct Address
{
    std::array<std::uint8_t, 16> bytes{};

    static std::optional<Address> parse(const std::string &text);
    static Address of(const sockaddr_storage &socketAddress);
    [[nodiscard]] bool isIpv4() const;
    [[nodiscard]] bool isLoopback() const;
};

inline bool operator==(const Address &a, const Address &b)
{
    return a.bytes == b.bytes;
}

// All addresses that begin alike: "10.0.0.0/8", or a single one, "::1".
class Network final
{
public:
    static std::optional<Network> parse(const std::string &text);

    [[nodiscard]] bool contains(const Address &address) const;

private:
    Address m_start;
    int m_bits = 128;
};

bool contains(const std::vector<Network> &networks, const Address &address);

// Who sent a request: the peer, or, if that is one of the proxies, the last address of an
// X-Forwarded-For header that is none of them. What stands before it anyone may have made up.
Address clientAddress(const Address &peer, const std::string &forwardedFor,
                      const std::vector<Network> &proxies);

} // namespace backend
