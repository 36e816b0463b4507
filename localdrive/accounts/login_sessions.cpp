#include "localdrive/accounts/login_sessions.h"

#include "localdrive/wire/crypto.h"

namespace localdrive {

namespace {
constexpr Milliseconds CodeLifetime = std::chrono::minutes(10);
} // namespace

LoginSessions::LoginSessions(const Clock &clock, Milliseconds lifetime,
                             std::optional<Milliseconds> autoLogin, int accountCount)
    : m_clock(clock), m_lifetime(lifetime), m_autoLogin(autoLogin), m_accountCount(accountCount)
{
}

std::string LoginSessions::create(const std::string &challenge)
{
    const std::lock_guard lock(m_mutex);
    const std::string sid = randomHex(16);
    m_sessions[sid].created = m_clock.now();
    m_sessions[sid].challenge = challenge;
    m_sids.push_back(sid);
    return sid;
}

void LoginSessions::advance(Session &session)
{
    const bool isOpen = session.status == "WaitLogin" || session.status == "ScanSuccess";
    const std::int64_t age = m_clock.now() - session.created;
    if (!isOpen) {
        return;
    }
    if (age > m_lifetime.count()) {
        session.status = "QRCodeExpired";
    } else if (m_autoLogin && age >= m_autoLogin->count()) {
        confirmSession(session, m_nextAccount);
        m_nextAccount = (m_nextAccount + 1) % m_accountCount;
    } else if (m_autoLogin && age * 2 >= m_autoLogin->count()) {
        session.status = "ScanSuccess";
    }
}

void LoginSessions::confirmSession(Session &session, int account)
{
    session.status = "LoginSuccess";
    session.account = account;
    session.authCode = randomHex(16);
    m_codes[session.authCode] = {{account, session.challenge}, m_clock.now()};
}

std::optional<LoginSessions::State> LoginSessions::state(const std::string &sid)
{
    const std::lock_guard lock(m_mutex);
    const auto session = m_sessions.find(sid);
    if (session == m_sessions.end()) {
        return std::nullopt;
    }
    advance(session->second);
    return State{session->second.status, session->second.authCode};
}

std::vector<std::string> LoginSessions::sids() const
{
    const std::lock_guard lock(m_mutex);
    return m_sids;
}

bool LoginSessions::change(const std::string &sid, const std::string &status)
{
    const std::lock_guard lock(m_mutex);
    const auto session = m_sessions.find(sid);
    if (session == m_sessions.end()) {
        return false;
    }
    advance(session->second);
    const std::string &now = session->second.status;
    if (now != "WaitLogin" && now != "ScanSuccess") {
        return false;
    }
    session->second.status = status;
    return true;
}

bool LoginSessions::scan(const std::string &sid)
{
    return change(sid, "ScanSuccess");
}

bool LoginSessions::cancel(const std::string &sid)
{
    return change(sid, "CANCELED");
}

bool LoginSessions::expire(const std::string &sid)
{
    return change(sid, "QRCodeExpired");
}

bool LoginSessions::confirm(const std::string &sid, int account)
{
    if (account < 0 || account >= m_accountCount || !scan(sid)) {
        return false;
    }
    const std::lock_guard lock(m_mutex);
    confirmSession(m_sessions[sid], account);
    return true;
}

std::optional<LoginSessions::Grant> LoginSessions::redeem(const std::string &authCode)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_codes.find(authCode);
    if (found == m_codes.end()) {
        return std::nullopt;
    }
    const Code code = found->second;
    m_codes.erase(found);
    const bool isFresh = m_clock.now() - code.created <= CodeLifetime.count();
    return isFresh ? std::optional(code.grant) : std::nullopt;
}

} // namespace localdrive
