#include "api_error.h"
#include "routes.h"

namespace localdrive {
namespace {

struct BreakName
{
    Break kind;
    const char *name;
};

constexpr BreakName BreakNames[] = {
    {Break::None, "none"},
    {Break::CloseBeforeReply, "close-before-reply"},
    {Break::CloseInsideBody, "close-inside-body"},
    {Break::BrokenJson, "broken-json"},
    {Break::NoContentLength, "no-content-length"},
    {Break::Trickle, "trickle"},
    {Break::Freeze, "freeze"},
    {Break::FreezeInsideBody, "freeze-inside-body"},
};

Break breakOf(const std::string &name)
{
    for (const BreakName &entry : BreakNames) {
        if (name == entry.name)
            return entry.kind;
    }
    throw ApiError(400, "InvalidParameter.Wire", "Unknown kind of break: " + name);
}

nlohmann::json grouped(const std::multimap<std::string, std::string> &entries)
{
    nlohmann::json object = nlohmann::json::object();
    for (const auto &[name, value] : entries)
        object[name] = value;
    return object;
}

nlohmann::json describe(const RequestRecord &record)
{
    return {{"number", record.number},
            {"time", record.time},
            {"method", record.method},
            {"path", record.path},
            {"query", grouped(record.query)},
            {"headers", grouped(record.headers)},
            {"body", record.body},
            {"account", record.account},
            {"status", record.status}};
}

/// What tests of the whole program and people with a demonstration in mind may ask for.
class Control final
{
public:
    explicit Control(World &world) : m_world(world) {}

    /// ?after=NUMBER leaves out what came before.
    void listRequests(Call &call) const
    {
        const std::int64_t after = std::atoll(call.param("after").c_str());
        nlohmann::json list = nlohmann::json::array();
        for (const RequestRecord &record : m_world.log.records()) {
            if (record.number > after)
                list.push_back(describe(record));
        }
        // Bodies and paths may hold any bytes.
        call.response.set_content(nlohmann::json{{"requests", list}}.dump(
                                      -1, ' ', false, nlohmann::json::error_handler_t::replace),
                                  "application/json; charset=utf-8");
    }

    void clearRequests(Call &call) const
    {
        m_world.log.clear();
        call.reply(nlohmann::json::object());
    }

    /// The members of a Fault: delay in milliseconds, wire as a name.
    void addFault(Call &call) const
    {
        Fault fault;
        fault.path = call.text("path", ".*");
        fault.method = call.text("method");
        fault.count = static_cast<int>(call.number("count", fault.count));
        fault.skip = static_cast<int>(call.number("skip", fault.skip));
        fault.delay = Milliseconds(call.number("delay"));
        fault.status = static_cast<int>(call.number("status"));
        fault.code = call.text("code");
        fault.message = call.text("message");
        if (call.body.contains("body"))
            fault.body = call.text("body");
        fault.wire = breakOf(call.text("wire", "none"));
        fault.bodyBytes = call.number("bodyBytes", fault.bodyBytes);
        fault.bytesPerSecond = call.number("bytesPerSecond", fault.bytesPerSecond);
        try {
            m_world.faults.add(fault);
        } catch (const std::regex_error &error) {
            throw ApiError(400, "InvalidParameter.Path", error.what());
        }
        call.reply(nlohmann::json::object());
    }

    void clearFaults(Call &call) const
    {
        m_world.faults.clear();
        call.reply(nlohmann::json::object());
    }

    /// {"advance": ms, "tokenLifetime": ms, "urlLifetime": ms}, each of them optional.
    void setTimes(Call &call) const
    {
        m_world.clock.advance(Milliseconds(call.number("advance")));
        if (call.body.contains("tokenLifetime"))
            m_world.tokens.setLifetime(Milliseconds(call.number("tokenLifetime")));
        if (call.body.contains("urlLifetime"))
            m_world.urls.setLongestLife(Milliseconds(call.number("urlLifetime")));
        call.reply({{"now", m_world.clock.now()}});
    }

    void listLogins(Call &call) const
    {
        nlohmann::json list = nlohmann::json::array();
        for (const std::string &sid : m_world.logins.sids())
            list.push_back({{"sid", sid}, {"status", m_world.logins.state(sid)->status}});
        call.reply({{"logins", list}});
    }

    void press(Call &call) const
    {
        const std::string &sid = call.captures.at(0);
        const std::string &action = call.captures.at(1);
        LoginSessions &logins = m_world.logins;
        const bool isDone = action == "scan" ? logins.scan(sid)
                            : action == "confirm"
                                ? logins.confirm(sid, static_cast<int>(call.number("account")))
                            : action == "cancel" ? logins.cancel(sid)
                                                 : logins.expire(sid);
        if (!isDone)
            throw ApiError(409, "InvalidState", "The QR code is not waiting for this");
        call.reply(nlohmann::json::object());
    }

    void listAccounts(Call &call) const
    {
        nlohmann::json list = nlohmann::json::array();
        for (const auto &account : m_world.accounts) {
            list.push_back({{"account", account->number},
                            {"userId", account->facts.userId},
                            {"driveId", account->facts.driveId},
                            {"nickName", account->facts.nickName},
                            {"status", account->status()},
                            {"writable", account->drive.isWritable()}});
        }
        call.reply({{"accounts", list}});
    }

    /// {"status": text, "writable": bool}, each of them optional.
    void changeAccount(Call &call) const
    {
        Account &account = accountOf(call);
        if (call.body.contains("status"))
            account.setStatus(call.text("status"));
        if (call.body.contains("writable"))
            account.drive.setWritable(call.flag("writable"));
        call.reply(nlohmann::json::object());
    }

    void login(Call &call) const
    {
        const Tokens tokens = m_world.tokens.issue(accountOf(call).number);
        m_world.save();
        call.reply({{"tokenType", tokens.tokenType},
                    {"accessToken", tokens.accessToken},
                    {"refreshToken", tokens.refreshToken},
                    {"expiresIn", tokens.expiresIn}});
    }

    void revoke(Call &call) const
    {
        m_world.tokens.revoke(accountOf(call).number);
        m_world.save();
        call.reply(nlohmann::json::object());
    }

    void listReports(Call &call) const
    {
        nlohmann::json list = nlohmann::json::array();
        for (const std::string &report : m_world.reports())
            list.push_back(nlohmann::json::parse(report));
        call.reply({{"reports", list}});
    }

private:
    [[nodiscard]] Account &accountOf(const Call &call) const
    {
        const auto number = static_cast<std::size_t>(std::atoi(call.captures.at(0).c_str()));
        if (number >= m_world.accounts.size())
            throw ApiError(404, "NotFound.Account", "There is no such account");
        return *m_world.accounts[number];
    }

    World &m_world;
};

struct ControlRoute
{
    const char *method;
    const char *path;
    void (Control::*run)(Call &) const;
};

constexpr ControlRoute ControlRoutes[] = {
    {"GET", "/control/requests", &Control::listRequests},
    {"POST", "/control/requests/clear", &Control::clearRequests},
    {"POST", "/control/faults", &Control::addFault},
    {"POST", "/control/faults/clear", &Control::clearFaults},
    {"POST", "/control/times", &Control::setTimes},
    {"GET", "/control/logins", &Control::listLogins},
    {"POST", "/control/logins/([0-9a-f]+)/(scan|confirm|cancel|expire)", &Control::press},
    {"GET", "/control/accounts", &Control::listAccounts},
    {"POST", "/control/accounts/([0-9]+)", &Control::changeAccount},
    {"POST", "/control/accounts/([0-9]+)/login", &Control::login},
    {"POST", "/control/accounts/([0-9]+)/revoke", &Control::revoke},
    {"GET", "/control/reports", &Control::listReports},
};

} // namespace

std::vector<Route> controlRoutes(World &world)
{
    std::vector<Route> routes;
    for (const ControlRoute &entry : ControlRoutes) {
        routes.emplace_back(
            entry.method, entry.path, Access::Open,
            [control = Control(world), run = entry.run](Call &call) { (control.*run)(call); });
    }
    return routes;
}

} // namespace localdrive
