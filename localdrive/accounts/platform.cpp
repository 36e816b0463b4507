#include "localdrive/accounts/platform.h"

#include <fstream>
#include <iterator>
#include <utility>

#include <nlohmann/json.hpp>

#include "localdrive/disk/secret_file.h"
#include "localdrive/wire/api_error.h"
#include "localdrive/wire/crypto.h"

namespace localdrive {
namespace {

std::string readFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

nlohmann::json readState(const std::string &path)
{
    const nlohmann::json state = nlohmann::json::parse(readFile(path), nullptr, false);
    return state.is_object() ? state : nlohmann::json::object();
}

} // namespace

Platform::Platform(Options serverOptions)
    : options(std::move(serverOptions))
    , secret(readState(stateFile()).value("secret", randomHex(32)))
    , controlSecret(randomHex(32))
    , urls(clock, secret)
    , tokens(clock)
    , logins(clock, options.qrCodeLifetime, options.autoLogin,
             static_cast<int>(options.accounts.size()))
    , media(options.stateDir + "/media")
    , rates(clock)
{
    setRules(options.rules);
    tokens.setLifetime(options.tokenLifetime);
    for (const AccountOptions &account : options.accounts) {
        const auto number = static_cast<int>(accounts.size());
        accounts.push_back(std::make_unique<Account>(number, account, secret));
    }
    restore();
    save();
}

void Platform::restore()
{
    const nlohmann::json state = readState(stateFile());
    if (state.contains("tokens")) {
        tokens.restore(state["tokens"], static_cast<int>(accounts.size()));
    }
    const nlohmann::json ids = state.value("ids", nlohmann::json::object());
    for (const auto &account : accounts) {
        if (ids.contains(account->facts.driveId)) {
            account->drive.restoreIds(ids[account->facts.driveId]);
        }
    }
}

void Platform::save()
{
    const std::lock_guard lock(m_mutex);
    nlohmann::json ids = nlohmann::json::object();
    for (const auto &account : accounts) {
        ids[account->facts.driveId] = account->drive.idState();
    }
    const nlohmann::json state = {{"secret", secret}, {"tokens", tokens.state()}, {"ids", ids}};
    writeSecretFile(stateFile(), state.dump());
}

Account &Platform::accountOfDrive(const std::string &driveId) const
{
    for (const auto &account : accounts) {
        if (account->facts.driveId == driveId) {
            return *account;
        }
    }
    throw ApiError(404, "NotFound.Drive", "The drive does not exist");
}

Rules Platform::rules() const
{
    const std::lock_guard lock(m_mutex);
    return m_rules;
}

void Platform::setRules(const Rules &rules)
{
    const std::lock_guard lock(m_mutex);
    m_rules = rules;
    urls.setLongestLife(rules.urlLifetime);
}

std::string Platform::nextBackend()
{
    const std::lock_guard lock(m_mutex);
    return m_backends.empty() ? std::string() : m_backends[m_backendTurn++ % m_backends.size()];
}

void Platform::setBackends(const std::vector<std::string> &addresses)
{
    const std::lock_guard lock(m_mutex);
    m_backends = addresses;
}

} // namespace localdrive
