#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "clock.h"
#include "drive.h"
#include "faults.h"
#include "login_sessions.h"
#include "media_store.h"
#include "request_log.h"
#include "server.h"
#include "signed_urls.h"
#include "token_store.h"

namespace localdrive {

constexpr char DomainId[] = "localdrive";

struct Account
{
    Account(int accountNumber, AccountOptions options, const std::string &secret);

    [[nodiscard]] std::string status() const;
    void setStatus(const std::string &status);

    const int number;
    const AccountOptions facts; ///< But for the status, which may change.
    Drive drive;

private:
    mutable std::mutex m_mutex;
    std::string m_status;
};

/// Everything the operations work on. The state that outlives a run (secret, tokens, ids) is read
/// in the constructor and written by save().
struct World
{
    explicit World(Options serverOptions);

    void save();
    [[nodiscard]] Account &account(int number) const { return *accounts.at(number); }
    /// Throws ApiError for a drive that is not of this server.
    [[nodiscard]] Account &accountOfDrive(const std::string &driveId) const;

    const Options options;
    Clock clock;
    const std::string secret;
    SignedUrls urls;
    TokenStore tokens;
    LoginSessions logins;
    Faults faults;
    RequestLog log;
    MediaStore media;
    std::vector<std::unique_ptr<Account>> accounts;
    std::atomic<int> pageCap;
    std::string baseUrl; ///< Set once, before the first request.

    void addReport(std::string report);
    [[nodiscard]] std::vector<std::string> reports() const;

private:
    [[nodiscard]] std::string stateFile() const { return options.stateDir + "/state.json"; }
    void restore();

    mutable std::mutex m_mutex;
    std::vector<std::string> m_reports;
};

} // namespace localdrive
