#pragma once

#include <functional>
#include <regex>
#include <string>
#include <vector>

#include <httplib.h>

#include "localdrive/accounts/platform.h"
#include "localdrive/routes/call.h"

namespace localdrive {

// Whom a route serves. All but Open take no body but JSON.
enum class Access {
    Open,
    Application, // Checked by the operation.
    Token,
    Control, // Who knows the control secret.
};

struct Route
{
    Route(const char *requestMethod, const char *pathExpression, Access access,
          std::function<void(Call &)> operation);

    std::string method;
    std::regex path; // Matches the whole decoded path.
    Access access;
    std::function<void(Call &)> run;
};

// Brings each request to its operation: keeps the log, applies the faults, knows the account by
// its token and turns errors into error bodies. Serves loopback callers only.
class Dispatcher final
{
public:
    Dispatcher(Platform &platform, std::vector<Route> routes);

    void serve(const httplib::Request &request, httplib::Response &response) const;

private:
    void serveRecorded(Call &call) const;
    void runRoute(Call &call) const;
    // Unless the faults are cleared, or the peer goes.
    void delay(Milliseconds time, int clearCount) const;
    void run(Call &call) const;
    [[nodiscard]] bool mayCall(const httplib::Request &request) const;
    void authorize(Call &call, Access access) const;
    void checkRate(const Call &call) const;

    Platform &m_platform;
    std::vector<Route> m_routes;
};

} // namespace localdrive
