#pragma once

#include <memory>

#include <QNetworkReply>

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
    // Whether the request that failed may be sent again at once; the first attempt is 1. One that
    // came too fast is held back then as long as the server wants. Who has waited in vain is told.
    [[nodiscard]] bool mayAskAgain(CallKind kind, int code, int attempt) const
    {
        const int most = isTrouble(ApiTrouble::TooFast) ? MostWhenTooFast : MostAttempts;
        return attempt < most && code != QNetworkReply::TimeoutError &&
               ::mayAskAgain(kind, code, *m_refusal);
    }

private:
    static constexpr int MostAttempts = 2;
    static constexpr int MostWhenTooFast = 5;

    [[nodiscard]] bool isTrouble(ApiTrouble trouble) const
    {
        return m_refusal->has_value() && (*m_refusal)->trouble == trouble;
    }

    std::shared_ptr<std::optional<ApiRefusal>> m_refusal =
        std::make_shared<std::optional<ApiRefusal>>();
};
