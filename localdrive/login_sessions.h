#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "clock.h"
#include "server.h"

namespace localdrive {

/// The QR codes handed out and what the phone did with them. Thread-safe.
class LoginSessions final
{
public:
    struct State
    {
        std::string status;   ///< WaitLogin, ScanSuccess, LoginSuccess, CANCELED or QRCodeExpired.
        std::string authCode; ///< Not empty with LoginSuccess.
    };

    LoginSessions(const Clock &clock, Milliseconds lifetime, std::optional<Milliseconds> autoLogin,
                  int accountCount);

    std::string create();
    /// Brings automatic scans up to date first. Nothing for an unknown sid.
    [[nodiscard]] std::optional<State> state(const std::string &sid);
    [[nodiscard]] std::vector<std::string> sids() const;

    /// What a person may do; false when the session is unknown or already over.
    bool scan(const std::string &sid);
    bool confirm(const std::string &sid, int account);
    bool cancel(const std::string &sid);
    bool expire(const std::string &sid);

    /// The account that confirmed; a code works once.
    std::optional<int> redeem(const std::string &authCode);

private:
    struct Session
    {
        std::string status = "WaitLogin";
        std::string authCode;
        std::int64_t created = 0;
        int account = -1;
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
    std::vector<std::string> m_sids; ///< In the order of creation.
    std::map<std::string, int> m_codes;
    int m_nextAccount = 0; ///< Automatic logins take the accounts in turn.
};

} // namespace localdrive
