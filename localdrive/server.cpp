#include "localdrive/server.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <utility>

#include <nlohmann/json.hpp>

#include "localdrive/accounts/platform.h"
#include "localdrive/routes/addresses.h"
#include "localdrive/routes/dispatcher.h"
#include "localdrive/routes/routes.h"
#include "localdrive/wire/wire_server.h"

namespace fs = std::filesystem;

namespace localdrive {
namespace {

constexpr char Host[] = "127.0.0.1";

struct Person
{
    const char *nickName;
    const char *phone;
};

constexpr Person People[] = {{"青柚用户", "138****0001"},
                             {"小明", "138****0002"},
                             {"小红", "138****0003"},
                             {"Élise", "138****0004"}};

void fillIn(std::string &value, const std::string &fallback)
{
    if (value.empty()) {
        value = fallback;
    }
}

// Gives an account what its options leave open; its folder, too, if it has none.
void complete(AccountOptions &account, std::size_t number, const fs::path &scratch)
{
    const Person &person = People[number % std::size(People)];
    const std::string digits = std::to_string(number + 1);
    fillIn(account.userId, "localuser" + digits);
    fillIn(account.driveId, "9000000" + digits);
    fillIn(account.nickName, person.nickName);
    fillIn(account.phone, person.phone);
    if (account.root.empty()) {
        account.root = scratch / ("drive" + digits);
        fs::create_directories(account.root);
    }
}

std::vector<Route> allRoutes(Platform &platform)
{
    std::vector<Route> routes;
    for (auto *part : {&controlRoutes, &oauthRoutes, &loginRoutes, &backendGate, &userRoutes,
                       &fileRoutes, &playRoutes, &downloadRoutes}) {
        for (Route &route : part(platform)) {
            routes.push_back(std::move(route));
        }
    }
    return routes;
}

} // namespace

class Server::Private final
{
public:
    explicit Private(Options options)
        : platform(completed(std::move(options)))
        , dispatcher(platform, allRoutes(platform))
        , port(platform.options.port)
    {
    }
    ~Private()
    {
        std::error_code ignored;
        if (!scratch.empty()) {
            fs::remove_all(scratch, ignored);
        }
    }
    Private(const Private &) = delete;
    Private &operator=(const Private &) = delete;
    Private(Private &&) = delete;
    Private &operator=(Private &&) = delete;

    Options completed(Options options)
    {
        if (options.accounts.empty()) {
            options.accounts.emplace_back();
        }
        for (std::size_t i = 0; i < options.accounts.size(); ++i) {
            const bool needsScratch = options.stateDir.empty() || options.accounts[i].root.empty();
            if (needsScratch && scratch.empty()) {
                scratch = makeScratch();
            }
            complete(options.accounts[i], i, scratch);
        }
        if (options.stateDir.empty()) {
            options.stateDir = scratch / "state";
        }
        fs::create_directories(options.stateDir);
        return options;
    }

    static fs::path makeScratch()
    {
        std::string name = fs::temp_directory_path() / "localdrive-XXXXXX";
        if (!mkdtemp(name.data())) {
            throw std::runtime_error("no temporary folder: " + name);
        }
        return name;
    }

    fs::path scratch; // Before the platform, whose options it completes.
    Platform platform;
    Dispatcher dispatcher;
    int port; // 0 until the first start, when any will do.
    std::unique_ptr<WireServer> http;
    std::thread listener;
};

Server::Server(Options options) : d(std::make_unique<Private>(std::move(options))) {}

Server::~Server()
{
    d->platform.media.stop(); // requests that wait for ffmpeg end first
    stop();
}

bool Server::start()
{
    if (d->http) {
        return true;
    }
    const auto serve = [this](const httplib::Request &request, httplib::Response &response) {
        d->dispatcher.serve(request, response);
    };
    auto http = std::make_unique<WireServer>(serve, d->platform.options.patience);
    const bool isBound = d->port == 0 ? (d->port = http->bind_to_any_port(Host)) > 0
                                      : http->bind_to_port(Host, d->port);
    if (!isBound) {
        return false;
    }
    http->widenQueue();
    d->platform.baseUrl = "http://" + std::string(Host) + ':' + std::to_string(d->port);
    d->http = std::move(http);
    d->listener = std::thread([server = d->http.get()] { server->listen_after_bind(); });
    while (!d->http->is_running()) {
        std::this_thread::yield();
    }
    return true;
}

void Server::stop()
{
    if (!d->http) {
        return;
    }
    d->http->stop();
    d->http->shutDownConnections();
    d->listener.join();
    d->http.reset();
}

int Server::port() const
{
    return d->port;
}

std::string Server::baseUrl() const
{
    return d->platform.baseUrl;
}

std::string Server::controlSecret() const
{
    return d->platform.controlSecret;
}

std::vector<RequestRecord> Server::requests() const
{
    return d->platform.log.records();
}

std::vector<RequestRecord> Server::requestsTo(const std::string &path) const
{
    std::vector<RequestRecord> records = d->platform.log.records();
    records.erase(std::remove_if(records.begin(), records.end(),
                                 [&path](const RequestRecord &r) { return r.path != path; }),
                  records.end());
    return records;
}

void Server::clearRequests()
{
    d->platform.log.clear();
}

void Server::setBackends(const std::vector<std::string> &addresses)
{
    d->platform.setBackends(addresses);
}

void Server::addFault(const Fault &fault)
{
    d->platform.faults.add(fault);
}

void Server::clearFaults()
{
    d->platform.faults.clear();
}

void Server::advanceClock(Milliseconds by)
{
    d->platform.clock.advance(by);
}

void Server::setTokenLifetime(Milliseconds lifetime)
{
    d->platform.tokens.setLifetime(lifetime);
}

void Server::setUrlLifetime(Milliseconds lifetime)
{
    Rules changed = rules();
    changed.urlLifetime = lifetime;
    setRules(changed);
}

void Server::setPageCap(int entries)
{
    Rules changed = rules();
    changed.pageCap = entries;
    setRules(changed);
}

Rules Server::rules() const
{
    return d->platform.rules();
}

void Server::setRules(const Rules &rules)
{
    d->platform.setRules(rules);
}

int Server::accountCount() const
{
    return static_cast<int>(d->platform.accounts.size());
}

std::string Server::userId(int account) const
{
    return d->platform.account(account).facts.userId;
}

std::string Server::driveId(int account) const
{
    return d->platform.account(account).facts.driveId;
}

void Server::setAccountStatus(int account, const std::string &status)
{
    d->platform.account(account).setStatus(status);
}

Tokens Server::loginDirectly(int account)
{
    const Tokens tokens = d->platform.tokens.issue(d->platform.account(account).number);
    d->platform.save();
    return tokens;
}

void Server::revokeTokens(int account)
{
    d->platform.tokens.revoke(account);
    d->platform.save();
}

std::vector<std::string> Server::loginSessions() const
{
    return d->platform.logins.sids();
}

bool Server::scanLogin(const std::string &sid)
{
    return d->platform.logins.scan(sid);
}

bool Server::confirmLogin(const std::string &sid, int account)
{
    return d->platform.logins.confirm(sid, account);
}

bool Server::cancelLogin(const std::string &sid)
{
    return d->platform.logins.cancel(sid);
}

bool Server::expireLogin(const std::string &sid)
{
    return d->platform.logins.expire(sid);
}

std::string Server::rootPath(int account) const
{
    return d->platform.account(account).facts.root;
}

void Server::makeFile(const std::string &path, const std::string &content, int account)
{
    const fs::path file = fs::path(rootPath(account)) / path;
    fs::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary);
    stream << content;
    if (!stream.flush()) {
        throw fs::filesystem_error("cannot write", file, std::make_error_code(std::errc::io_error));
    }
}

void Server::makeFolder(const std::string &path, int account)
{
    fs::create_directories(fs::path(rootPath(account)) / path);
}

std::string Server::fileId(const std::string &path, int account) const
{
    return d->platform.account(account).drive.idOf(path);
}

std::string Server::downloadUrl(const std::string &path, Milliseconds lifetime, int account) const
{
    Drive &drive = d->platform.account(account).drive;
    return downloadAddress(d->platform, drive, drive.node(drive.idOf(path)),
                           d->platform.urls.expiry(lifetime));
}

bool Server::prepareMedia(const std::string &path, int account)
{
    const Drive &drive = d->platform.account(account).drive;
    const UniqueFd file = drive.openFile(path);
    d->platform.media.makeStreams(file.get());
    return !d->platform.media.thumbnail(file.get()).empty();
}

} // namespace localdrive
