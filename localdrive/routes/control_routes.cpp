#include "localdrive/routes/routes.h"
#include "localdrive/wire/api_error.h"

namespace localdrive {
namespace {

template <typename T>
struct Named
{
    const char *name;
    T value;
};

constexpr Named<Break> Breaks[] = {
    {"none", Break::None},
    {"close-before-reply", Break::CloseBeforeReply},
    {"close-inside-body", Break::CloseInsideBody},
    {"broken-json", Break::BrokenJson},
    {"no-content-length", Break::NoContentLength},
    {"trickle", Break::Trickle},
    {"freeze", Break::Freeze},
    {"freeze-inside-body", Break::FreezeInsideBody},
};

constexpr Named<PlayAnswer> PlayAnswers[] = {
    {"everything", PlayAnswer::Everything},
    {"no-high-addresses", PlayAnswer::NoHighAddresses},
    {"exceed-capacity", PlayAnswer::ExceedCapacity},
    {"wait-and-retry", PlayAnswer::WaitAndRetry},
    {"no-preview", PlayAnswer::NoPreview},
};

constexpr Named<int Rules::*> NumberRules[] = {
    {"pageCap", &Rules::pageCap},
    {"listsPerSecond", &Rules::listsPerSecond},
    {"downloadAddressesPerSecond", &Rules::downloadAddressesPerSecond},
    {"otherCallsPerSecond", &Rules::otherCallsPerSecond},
    {"downloadConnections", &Rules::downloadConnections},
};

constexpr Named<bool Rules::*> FlagRules[] = {
    {"documentedDriveInfo", &Rules::documentedDriveInfo},
    {"expiredCodeIsError", &Rules::expiredCodeIsError},
};

template <typename T, std::size_t Size>
T valueOf(const Named<T> (&table)[Size], const std::string &name)
{
    for (const Named<T> &row : table) {
        if (name == row.name) {
            return row.value;
        }
    }
    throw ApiError(400, "InvalidParameter", "Unknown: " + name);
}

nlohmann::json grouped(const std::multimap<std::string, std::string> &entries)
{
    nlohmann::json object = nlohmann::json::object();
    for (const auto &[name, value] : entries) {
        object[name] = value;
    }
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

// What tests of the whole program and people with a demonstration in mind may ask for.
class SteeringOperations final
{
public:
    explicit SteeringOperations(Platform &platform) : m_platform(platform) {}

    // ?after=NUMBER leaves out what came before.
    void listRequests(Call &call) const
    {
        const std::int64_t after = std::atoll(call.param("after").c_str());
        nlohmann::json list = nlohmann::json::array();
        for (const RequestRecord &record : m_platform.log.records()) {
            if (record.number > after) {
                list.push_back(describe(record));
            }
        }
        // Bodies and paths may hold any bytes.
        call.response.set_content(nlohmann::json{{"requests", list}}.dump(
                                      -1, ' ', false, nlohmann::json::error_handler_t::replace),
                                  JsonType);
    }

    void clearRequests(Call &call) const
    {
        m_platform.log.clear();
        call.reply(nlohmann::json::object());
    }

    // The members of a Fault: delay in milliseconds, wire as a name.
    void addFault(Call &call) const
    {
        Fault fault;
        fault.path = call.text("path");
        fault.method = call.text("method");
        fault.count = static_cast<int>(call.number("count", fault.count));
        fault.skip = static_cast<int>(call.number("skip", fault.skip));
        fault.delay = Milliseconds(call.number("delay"));
        fault.status = static_cast<int>(call.number("status"));
        fault.code = call.text("code");
        fault.message = call.text("message");
        if (call.body.contains("body")) {
            fault.body = call.text("body");
        }
        fault.wire = valueOf(Breaks, call.text("wire", "none"));
        fault.bodyBytes = call.number("bodyBytes", fault.bodyBytes);
        fault.bytesPerSecond = call.number("bytesPerSecond", fault.bytesPerSecond);
        try {
            m_platform.faults.add(fault);
        } catch (const std::invalid_argument &error) {
            throw ApiError(400, "InvalidParameter.Path", error.what());
        }
        call.reply(nlohmann::json::object());
    }

    void clearFaults(Call &call) const
    {
        m_platform.faults.clear();
        call.reply(nlohmann::json::object());
    }

    // {"advance": ms, "tokenLifetime": ms}, each of them optional.
    void setTimes(Call &call) const
    {
        m_platform.clock.advance(Milliseconds(call.number("advance")));
        if (call.body.contains("tokenLifetime")) {
            m_platform.tokens.setLifetime(Milliseconds(call.number("tokenLifetime")));
        }
        call.reply({{"now", m_platform.clock.now()}});
    }

    // The members of Rules that shall change; "strict" first sets all as the platform has them.
    void setRules(Call &call) const
    {
        Rules rules = m_platform.rules();
        if (call.body.contains("strict")) {
            rules = call.flag("strict") ? Rules::strict() : Rules();
        }
        for (const auto &rule : NumberRules) {
            rules.*rule.value = static_cast<int>(call.number(rule.name, rules.*rule.value));
        }
        for (const auto &rule : FlagRules) {
            rules.*rule.value = call.flag(rule.name, rules.*rule.value);
        }
        rules.urlLifetime = Milliseconds(call.number("urlLifetime", rules.urlLifetime.count()));
        if (call.body.contains("playAnswer")) {
            rules.playAnswer = valueOf(PlayAnswers, call.text("playAnswer"));
        }
        m_platform.setRules(rules);
        call.reply(nlohmann::json::object());
    }

    void listLogins(Call &call) const
    {
        nlohmann::json list = nlohmann::json::array();
        for (const std::string &sid : m_platform.logins.sids()) {
            list.push_back({{"sid", sid}, {"status", m_platform.logins.state(sid)->status}});
        }
        call.reply({{"logins", list}});
    }

    void press(Call &call) const
    {
        const std::string &sid = call.captures.at(0);
        const std::string &action = call.captures.at(1);
        LoginSessions &logins = m_platform.logins;
        const bool isDone = action == "scan" ? logins.scan(sid)
                            : action == "confirm"
                                ? logins.confirm(sid, static_cast<int>(call.number("account")))
                            : action == "cancel" ? logins.cancel(sid)
                                                 : logins.expire(sid);
        if (!isDone) {
            throw ApiError(409, "InvalidState", "The QR code is not waiting for this");
        }
        call.reply(nlohmann::json::object());
    }

    void listAccounts(Call &call) const
    {
        nlohmann::json list = nlohmann::json::array();
        for (const auto &account : m_platform.accounts) {
            list.push_back({{"account", account->number},
                            {"userId", account->facts.userId},
                            {"driveId", account->facts.driveId},
                            {"nickName", account->facts.nickName},
                            {"status", account->status()},
                            {"writable", account->drive.isWritable()}});
        }
        call.reply({{"accounts", list}});
    }

    // {"status": text}
    void changeAccount(Call &call) const
    {
        Account &account = accountOf(call);
        if (call.body.size() != 1 || !call.body.contains("status")) {
            throw ApiError(400, "InvalidParameter", "Only the status can be changed");
        }
        account.setStatus(call.text("status"));
        call.reply(nlohmann::json::object());
    }

    void login(Call &call) const
    {
        const Tokens tokens = m_platform.tokens.issue(accountOf(call).number);
        m_platform.save();
        call.reply({{"tokenType", tokens.tokenType},
                    {"accessToken", tokens.accessToken},
                    {"refreshToken", tokens.refreshToken},
                    {"expiresIn", tokens.expiresIn}});
    }

    void revoke(Call &call) const
    {
        m_platform.tokens.revoke(accountOf(call).number);
        m_platform.save();
        call.reply(nlohmann::json::object());
    }

private:
    [[nodiscard]] Account &accountOf(const Call &call) const
    {
        const auto number = static_cast<std::size_t>(std::atoi(call.captures.at(0).c_str()));
        if (number >= m_platform.accounts.size()) {
            throw ApiError(404, "NotFound.Account", "There is no such account");
        }
        return *m_platform.accounts[number];
    }

    Platform &m_platform;
};

struct ControlRoute
{
    const char *method;
    const char *path;
    void (SteeringOperations::*run)(Call &) const;
};

constexpr ControlRoute ControlRoutes[] = {
    {"GET", "/control/requests", &SteeringOperations::listRequests},
    {"POST", "/control/requests/clear", &SteeringOperations::clearRequests},
    {"POST", "/control/faults", &SteeringOperations::addFault},
    {"POST", "/control/faults/clear", &SteeringOperations::clearFaults},
    {"POST", "/control/times", &SteeringOperations::setTimes},
    {"POST", "/control/rules", &SteeringOperations::setRules},
    {"GET", "/control/logins", &SteeringOperations::listLogins},
    {"POST", "/control/logins/([0-9a-f]+)/(scan|confirm|cancel|expire)",
     &SteeringOperations::press},
    {"GET", "/control/accounts", &SteeringOperations::listAccounts},
    {"POST", "/control/accounts/([0-9]+)", &SteeringOperations::changeAccount},
    {"POST", "/control/accounts/([0-9]+)/login", &SteeringOperations::login},
    {"POST", "/control/accounts/([0-9]+)/revoke", &SteeringOperations::revoke},
};

} // namespace

std::vector<Route> controlRoutes(Platform &platform)
{
    std::vector<Route> routes;
    for (const ControlRoute &entry : ControlRoutes) {
        routes.emplace_back(entry.method, entry.path, Access::Control,
                            [operations = SteeringOperations(platform),
                             run = entry.run](Call &call) { (operations.*run)(call); });
    }
    return routes;
}

} // namespace localdrive
