#pragma once

#include <functional>
#include <string>

#include "backend/platform/platform_client.h"
#include "backend/secrets/application.h"
#include "backend/wire/reply.h"

namespace backend {

// The platform's two operations for those who have an application there, and what clients are told
// of their results. May be called from any thread; a call takes as long as the client's patience.
class Platform final
{
public:
    using Log = std::function<void(const std::string &)>;

    // The log is told why the platform could not be used.
    Platform(Application application, PlatformClient &client, Log log);

    Reply issueQrCode();
    Reply exchangeCode(const std::string &code);
    Reply renew(const std::string &refreshToken);
    // Without what nobody may learn.
    [[nodiscard]] bool isClean(const std::string &text) const;

private:
    [[nodiscard]] nlohmann::json credentials() const;
    // The value is the code or token in the grant.
    Reply requestTokens(const nlohmann::json &grant, const std::string &value);
    // The grant is what the client showed; empty: nothing.
    Reply refusal(const std::string &operation, const PlatformAnswer &answer,
                  const std::string &grant);
    Reply unusable(const std::string &operation, const std::string &why);
    [[nodiscard]] std::string scrubbed(const std::string &text, const std::string &grant) const;

    const Application m_application;
    PlatformClient &m_client;
    const Log m_log;
};

} // namespace backend
