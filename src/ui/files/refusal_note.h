#pragma once

#include <memory>

#include "api/session/api_failure.h"
#include "api/session/open_api_client.h"

// What the server said of one request beside its result, for the callbacks of that request. Copies
// share the note.
class RefusalNote final
{
public:
    // For OpenApiClient::whenRefused().
    [[nodiscard]] ApiRefusalHandler handler() const
    {
        return [refusal = m_refusal](const ApiRefusal &said) { *refusal = said; };
    }

    [[nodiscard]] const std::optional<ApiRefusal> &refusal() const { return *m_refusal; }
    // The success has an empty record that says nothing.
    [[nodiscard]] bool saysNotJson() const { return isTrouble(ApiTrouble::NotJson); }
    // The request came too fast and may be sent again at once: it is held back as long as the
    // server wanted. A server that is never content is asked no further; the first attempt is 1.
    [[nodiscard]] bool asksToWait(int attempt) const
    {
        return isTrouble(ApiTrouble::TooFast) && attempt < MostAttempts;
    }

private:
    static constexpr int MostAttempts = 5;

    [[nodiscard]] bool isTrouble(ApiTrouble trouble) const
    {
        return m_refusal->has_value() && (*m_refusal)->trouble == trouble;
    }

    std::shared_ptr<std::optional<ApiRefusal>> m_refusal =
        std::make_shared<std::optional<ApiRefusal>>();
};
