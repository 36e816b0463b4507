#pragma once

#include <functional>
#include <regex>
#include <string>
#include <vector>

#include <httplib.h>
#include <nlohmann/json.hpp>

#include "world.h"

namespace localdrive {

/// One request on its way through an operation.
struct Call
{
    const httplib::Request &request;
    httplib::Response &response;
    std::vector<std::string> captures;              ///< Groups of the route's expression.
    nlohmann::json body = nlohmann::json::object(); ///< An object; empty when none was sent.
    Account *account = nullptr;                     ///< Owner of the token.
    std::int64_t logNumber = 0;

    void reply(const nlohmann::json &json, int status = 200) const;
    void replyPage(const std::string &html) const;
    /// The caller's drive. A body that names another one fails by ApiError 403.
    [[nodiscard]] Drive &drive() const;
    [[nodiscard]] Node file() const; ///< The file that the body names; 400 for a folder.
    [[nodiscard]] std::string param(const std::string &name) const;
    /// A member of the body: the fallback when it is absent or null; 400 when of another type.
    [[nodiscard]] std::string text(const char *key, const std::string &fallback = {}) const;
    [[nodiscard]] std::int64_t number(const char *key, std::int64_t fallback = 0) const;
    [[nodiscard]] bool flag(const char *key) const;
};

enum class Access { Open, Token };

struct Route
{
    Route(const char *requestMethod, const char *pathExpression, Access access,
          std::function<void(Call &)> operation);

    std::string method;
    std::regex path; ///< Matches the whole decoded path.
    Access access;
    std::function<void(Call &)> run;
};

/// Brings each request to its operation: keeps the log, applies the faults, knows the account by
/// its token and turns errors into error bodies. Serves loopback callers only.
class Dispatcher final
{
public:
    Dispatcher(World &world, std::vector<Route> routes);

    void serve(const httplib::Request &request, httplib::Response &response) const;

private:
    void serveRecorded(Call &call) const;
    void runRoute(Call &call) const;
    void run(Call &call) const;
    void authorize(Call &call) const;

    World &m_world;
    std::vector<Route> m_routes;
};

} // namespace localdrive
