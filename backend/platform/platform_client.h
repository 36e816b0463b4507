#pragma once

#include <memory>
#include <string>

#include <httplib.h>
#include <nlohmann/json.hpp>

#include "backend/platform/platform_address.h"
#include "backend/platform/platform_stream.h"
#include "backend/wire/clock.h"

namespace backend {

// What came of one call to the platform.
struct PlatformAnswer
{
    int status = 0;      // 0: no whole reply came.
    std::string failure; // Why none came.
    std::string body;
    httplib::Headers headers;
};

// Calls the platform: each call once, on a connection of its own, so that nothing that was sent is
// ever sent again. A redirect is an answer like others. May be called from any thread.
class PlatformClient final
{
public:
    // An empty file of certificates means those that the system trusts. Throws ConfigurationError.
    PlatformClient(const std::string &url, const std::string &certificates, Milliseconds patience);

    PlatformAnswer post(const std::string &path, const nlohmann::json &body);

private:
    bool connect(PlatformStream &stream, Clock::time_point deadline);

    const PlatformAddress m_platform;
    const Milliseconds m_patience;
    Resolver m_resolver;
    TlsContext m_tls; // Null: plain HTTP.
};

} // namespace backend
