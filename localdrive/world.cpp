#include "world.h"

#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include "api_error.h"
#include "crypto.h"

namespace localdrive {
namespace {

std::string readFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Replaces the file at once; only its owner may read it.
void writeSecretFile(const std::string &path, const std::string &content)
{
    const std::string draft = path + ".new";
    {
        const UniqueFd file(::open(draft.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
        const auto size = static_cast<ssize_t>(content.size());
        if (!file.isValid() || ::write(file.get(), content.data(), content.size()) != size)
            throw std::system_error(errno, std::generic_category(), draft);
    }
    if (::rename(draft.c_str(), path.c_str()) != 0)
        throw std::system_error(errno, std::generic_category(), path);
}

nlohmann::json readState(const std::string &path)
{
    const nlohmann::json state = nlohmann::json::parse(readFile(path), nullptr, false);
    return state.is_object() ? state : nlohmann::json::object();
}

} // namespace

Account::Account(int accountNumber, AccountOptions options, const std::string &secret)
    : number(accountNumber)
    , facts(std::move(options))
    , drive(facts.root, facts.driveId, secret, facts.writable)
    , m_status(facts.status)
{
}

std::string Account::status() const
{
    const std::lock_guard lock(m_mutex);
    return m_status;
}

void Account::setStatus(const std::string &status)
{
    const std::lock_guard lock(m_mutex);
    m_status = status;
}

World::World(Options serverOptions)
    : options(std::move(serverOptions))
    , secret(readState(stateFile()).value("secret", randomHex(32)))
    , urls(clock, secret)
    , tokens(clock)
    , logins(clock, options.qrCodeLifetime, options.autoLogin,
             static_cast<int>(options.accounts.size()))
    , media(options.stateDir + "/media")
    , pageCap(options.pageCap)
{
    urls.setLongestLife(options.urlLifetime);
    tokens.setLifetime(options.tokenLifetime);
    for (const AccountOptions &account : options.accounts) {
        const auto number = static_cast<int>(accounts.size());
        accounts.push_back(std::make_unique<Account>(number, account, secret));
    }
    restore();
    save();
}

void World::restore()
{
    const nlohmann::json state = readState(stateFile());
    if (state.contains("tokens"))
        tokens.restore(state["tokens"], static_cast<int>(accounts.size()));
    const nlohmann::json ids = state.value("ids", nlohmann::json::object());
    for (const auto &account : accounts) {
        if (ids.contains(account->facts.driveId))
            account->drive.restoreIds(ids[account->facts.driveId]);
    }
}

void World::save()
{
    const std::lock_guard lock(m_mutex);
    nlohmann::json ids = nlohmann::json::object();
    for (const auto &account : accounts)
        ids[account->facts.driveId] = account->drive.idState();
    const nlohmann::json state = {{"secret", secret}, {"tokens", tokens.state()}, {"ids", ids}};
    writeSecretFile(stateFile(), state.dump());
}

Account &World::accountOfDrive(const std::string &driveId) const
{
    for (const auto &account : accounts) {
        if (account->facts.driveId == driveId)
            return *account;
    }
    throw ApiError(404, "NotFound.Drive", "The drive does not exist");
}

void World::addReport(std::string report)
{
    const std::lock_guard lock(m_mutex);
    m_reports.push_back(std::move(report));
}

std::vector<std::string> World::reports() const
{
    const std::lock_guard lock(m_mutex);
    return m_reports;
}

} // namespace localdrive
