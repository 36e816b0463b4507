#pragma once

#include <future>
#include <mutex>
#include <string>
#include <vector>

#include <sys/socket.h>

#include "backend/wire/clock.h"

namespace backend {

struct PlatformAddress
{
    std::string host;
    int port = 443;
    bool isTls = true;

    // From "https://HOST[:PORT]". Throws ConfigurationError for anything else; without TLS the
    // secret would be read on the way, so http:// is for this machine only.
    static PlatformAddress parse(const std::string &url);
};

// The socket addresses of a host, looked up on a thread of their own: a name server that does not
// answer holds up no call past its deadline. What was found serves for a minute, and for as long
// as newer addresses cannot be had. May be called from any thread.
class Resolver final
{
public:
    explicit Resolver(PlatformAddress platform);

    using Addresses = std::vector<sockaddr_storage>;
    // Empty when none is known by then.
    Addresses addresses(Clock::time_point deadline);

private:
    const PlatformAddress m_platform;
    std::mutex m_mutex;
    Addresses m_known;
    Clock::time_point m_expiry{};
    std::shared_future<Addresses> m_lookup; // Not valid: none is under way.
};

} // namespace backend
