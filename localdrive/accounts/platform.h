#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "localdrive/accounts/account.h"
#include "localdrive/accounts/call_rates.h"
#include "localdrive/accounts/login_sessions.h"
#include "localdrive/accounts/token_store.h"
#include "localdrive/media/media_store.h"
#include "localdrive/wire/clock.h"
#include "localdrive/wire/faults.h"
#include "localdrive/wire/request_log.h"
#include "localdrive/wire/signed_urls.h"

namespace localdrive {

constexpr char DomainId[] = "localdrive";

// Everything the operations work on. The state that outlives a run (secret, tokens, ids) is read
// in the constructor and written by save().
struct Platform
{
    explicit Platform(Options serverOptions);

    void save();
    [[nodiscard]] Account &account(int number) const { return *accounts.at(number); }
    // Throws ApiError for a drive that is not of this server.
    [[nodiscard]] Account &accountOfDrive(const std::string &driveId) const;

    const Options options;
    Clock clock;
    const std::string secret;
    const std::string controlSecret; // Another one in every run.
    SignedUrls urls;
    TokenStore tokens;
    LoginSessions logins;
    Faults faults;
    RequestLog log;
    MediaStore media;
    std::vector<std::unique_ptr<Account>> accounts;
    CallRates rates;
    std::string baseUrl; // Set once, before the first request.

    // May be changed while requests are served.
    [[nodiscard]] Rules rules() const;
    void setRules(const Rules &rules);

    // The address of the product backend whose turn it is; empty: there is none behind this drive.
    [[nodiscard]] std::string nextBackend();
    void setBackends(const std::vector<std::string> &addresses);

private:
    [[nodiscard]] std::string stateFile() const { return options.stateDir + "/state.json"; }
    void restore();

    mutable std::mutex m_mutex;
    Rules m_rules;
    std::vector<std::string> m_backends;
    std::size_t m_backendTurn = 0;
};

} // namespace localdrive
