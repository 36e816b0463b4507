#include "localdrive/routes/dispatcher.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <utility>

#include "localdrive/wire/api_error.h"
#include "localdrive/wire/connection.h"
#include "localdrive/wire/crypto.h"
#include "localdrive/wire/peer.h"

namespace localdrive {
namespace {

constexpr Milliseconds DelayStep(20);

void sendError(httplib::Response &response, int status, const std::string &code,
               const std::string &message)
{
    const nlohmann::json body = {
        {"code", code}, {"message", message}, {"requestId", randomHex(16)}};
    response.status = status;
    response.set_content(body.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace),
                         JsonType);
}

bool isOwnHost(std::string host)
{
    host = host.substr(0, host.find(':'));
    return host.empty() || host == "127.0.0.1" || host == "localhost";
}

// A page of the open web must not reach this server through the user's browser.
bool comesFromHere(const httplib::Request &request)
{
    const std::string origin = request.get_header_value("Origin");
    const std::size_t scheme = origin.find("://");
    const bool isOwnOrigin =
        origin.empty() || (scheme != std::string::npos && isOwnHost(origin.substr(scheme + 3)));
    return isOwnOrigin && isOwnHost(request.get_header_value("Host"));
}

RequestRecord recordOf(const httplib::Request &request)
{
    RequestRecord record;
    record.time = Clock::machineTime();
    record.method = request.method;
    record.path = request.path;
    record.query = request.params;
    record.body = request.body;
    for (const auto &[name, value] : Connection::current()->originalHeaders) {
        std::string key = name;
        std::transform(key.begin(), key.end(), key.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        record.headers.emplace(std::move(key), value);
    }
    return record;
}

void parseBody(Call &call, Access access)
{
    const httplib::Request &request = call.request;
    const bool isJson = request.get_header_value("Content-Type").find("json") != std::string::npos;
    if (request.body.empty()) {
        return;
    }
    if (!isJson && access != Access::Open) {
        throw ApiError(415, "UnsupportedMediaType", "The body is not said to be JSON");
    }
    call.body = isJson ? nlohmann::json::parse(request.body, nullptr, false) : call.body;
    if (!call.body.is_object()) {
        throw ApiError(400, "InvalidParameter", "The body is not a JSON object");
    }
}

// The token of a caller; empty when there is none.
std::string bearerToken(const httplib::Request &request)
{
    const std::string scheme = "Bearer ";
    const std::string header = request.get_header_value("Authorization");
    return header.rfind(scheme, 0) == 0 ? header.substr(scheme.size()) : std::string();
}

// Applies what of a fault changes the finished reply.
void breakReply(const Fault &fault, httplib::Response &response)
{
    if (fault.body) {
        response.set_content(*fault.body, JsonType);
    }
    if (fault.wire == Break::BrokenJson) {
        response.body.resize(response.body.size() / 2);
    }
    Connection::current()->breakReply(fault.wire, fault.bodyBytes, fault.bytesPerSecond);
}

} // namespace

Route::Route(const char *requestMethod, const char *pathExpression, Access routeAccess,
             std::function<void(Call &)> operation)
    : method(requestMethod), path(pathExpression), access(routeAccess), run(std::move(operation))
{
}

Dispatcher::Dispatcher(Platform &platform, std::vector<Route> routes)
    : m_platform(platform), m_routes(std::move(routes))
{
}

void Dispatcher::serve(const httplib::Request &request, httplib::Response &response) const
{
    Call call{request, response, {}};
    if (!mayCall(request)) {
        sendError(response, 403, "ForbiddenOrigin", "Somebody else is served here");
        return;
    }
    if (request.path.rfind("/control/", 0) == 0) {
        run(call);
    } else {
        serveRecorded(call);
    }
}

bool Dispatcher::mayCall(const httplib::Request &request) const
{
    return comesFromHere(request) &&
           (!m_platform.options.ownerOnly || isOwnPeer(Connection::current()->socket()));
}

void Dispatcher::serveRecorded(Call &call) const
{
    call.logNumber = m_platform.log.add(recordOf(call.request));
    const int clearCount = m_platform.faults.clearCount();
    const std::optional<Fault> fault =
        m_platform.faults.take(call.request.method, call.request.path);
    if (fault && fault->delay.count() > 0) {
        delay(fault->delay, clearCount);
    }
    if (fault && fault->status != 0) {
        sendError(call.response, fault->status, fault->code.empty() ? "InjectedFault" : fault->code,
                  fault->message);
    } else {
        run(call);
    }
    if (fault) {
        breakReply(*fault, call.response);
    }
    m_platform.log.setStatus(call.logNumber, call.response.status);
}

void Dispatcher::delay(Milliseconds time, int clearCount) const
{
    const auto end = std::chrono::steady_clock::now() + time;
    while (m_platform.faults.clearCount() == clearCount && std::chrono::steady_clock::now() < end) {
        const auto left = std::chrono::ceil<Milliseconds>(end - std::chrono::steady_clock::now());
        if (!Connection::current()->sleep(std::min(left, DelayStep))) {
            return;
        }
    }
}

void Dispatcher::run(Call &call) const
{
    try {
        call.response.status = 200;
        runRoute(call);
    } catch (const ApiError &error) {
        sendError(call.response, error.status, error.code, error.what());
    } catch (const std::exception &error) {
        sendError(call.response, 500, "InternalError", error.what());
    }
}

void Dispatcher::runRoute(Call &call) const
{
    const bool isHead = call.request.method == "HEAD";
    for (const Route &route : m_routes) {
        std::smatch match;
        const bool fits = route.method == call.request.method || (isHead && route.method == "GET");
        if (!fits || !std::regex_match(call.request.path, match, route.path)) {
            continue;
        }
        call.captures.assign(std::next(match.begin()), match.end());
        authorize(call, route.access);
        parseBody(call, route.access);
        route.run(call);
        return;
    }
    throw ApiError(404, "NotFound.Api", "There is no such operation");
}

void Dispatcher::authorize(Call &call, Access access) const
{
    const std::string token = bearerToken(call.request);
    if (access == Access::Control && !equalInConstantTime(token, m_platform.controlSecret)) {
        throw ApiError(401, "ControlSecretInvalid", "Steering takes the control secret");
    }
    if (access == Access::Token) {
        call.account = &m_platform.account(m_platform.tokens.accountOf(token));
        m_platform.log.setAccount(call.logNumber, call.account->number);
        checkRate(call);
    }
}

void Dispatcher::checkRate(const Call &call) const
{
    const Rules rules = m_platform.rules();
    const auto endsWith = [&path = call.request.path](const std::string &end) {
        return path.size() >= end.size() &&
               path.compare(path.size() - end.size(), end.size(), end) == 0;
    };
    const auto [kind, most] =
        endsWith("/openFile/list") ? std::pair(CallKind::List, rules.listsPerSecond)
        : endsWith("/openFile/getDownloadUrl")
            ? std::pair(CallKind::DownloadAddress, rules.downloadAddressesPerSecond)
            : std::pair(CallKind::Other, rules.otherCallsPerSecond);
    if (most == 0) {
        return;
    }
    const Milliseconds wait = m_platform.rates.count(call.account->number, kind, most);
    if (wait.count() > 0) {
        call.response.set_header("x-retry-after", std::to_string(wait.count()));
        throw ApiError(429, "TooManyRequests", "Too many requests within a second");
    }
}

} // namespace localdrive
