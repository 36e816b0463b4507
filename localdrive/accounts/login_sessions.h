#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "localdrive/wire/clock.h"

namespace localdrive {

// The QR codes handed out and what the phone did with them. Thread-safe.
class LoginSessions final
{
public:
    struct State
    {
        std::string status;   // WaitLogin, ScanSuccess, LoginSuccess, CANCELED or QRCodeExpired.
        std::string authCode; // Not empty with LoginSuccess.
    };

    LoginSessions(const Clock &clock, Milliseconds lifetime, std::optional<Milliseconds> autoLogin,
                  int accountCount);

    // What a code stands for.
    struct Grant
    {
        int account = -1;
        std::string challenge; // As given to create().
    };

    // The challenge (PKCE, method S256) is of an application that has no secret; empty: it has one.
    std::string create(const std::string &challenge = {});
    // Brings automatic scans up to date first. Nothing for an unknown sid.
    [[nodiscard]] std::optional<State> state(const std::string &sid);
    [[nodiscard]] std::vector<std::string> sids() const;

    // What a person may do; false when the session is unknown or already over.
    bool scan(const std::string &sid);
    bool confirm(const std::string &sid, int account);
    bool cancel(const std::string &sid);
    bool expire(const std::string &sid);

    // Nothing for a code that is unknown, was used or is too old; a code works once.
    std::optional<Grant> redeem(const std::string &authCode);

private:
    struct Session
    {
        std::string status = "WaitLogin";
        std::string authCode;
        std::string challenge;
        std::int64_t created = 0;
        int account = -1;
    };
    struct Code
    {
        Grant grant;
        std::int64_t created = 0;
    };
    void advance(Session &session);
    void confirmSession(Session &session, int account);
    bool change(const std::string &sid, const std::string &status);

    const Clock &m_clock;
    const Milliseconds m_lifetime;
    const std::optional<Milliseconds> m_autoLogin;
    const int m_accountCount;
    mutable std::mutex m_mutex;
    std::map<std::string, Session> m_sessions;
    std::vector<std::string> m_sids; // In the order of creation.
    std::map<std::string, Code> m_codes;
    int m_nextAccount = 0; // Automatic logins take the accounts in turn.
};

} // namespace localdrive
