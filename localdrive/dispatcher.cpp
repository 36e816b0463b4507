#include "dispatcher.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "api_error.h"
#include "crypto.h"
#include "wire_server.h"

namespace localdrive {
namespace {

constexpr char JsonType[] = "application/json; charset=utf-8";

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

/// A page of the open web must not reach this server through the user's browser.
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

void parseBody(Call &call)
{
    if (call.request.body.empty() ||
        call.request.get_header_value("Content-Type").find("json") == std::string::npos)
        return;
    call.body = nlohmann::json::parse(call.request.body, nullptr, false);
    if (!call.body.is_object())
        throw ApiError(400, "InvalidParameter", "The body is not a JSON object");
}

/// Applies what of a fault changes the finished reply.
void breakReply(const Fault &fault, httplib::Response &response)
{
    if (fault.body)
        response.set_content(*fault.body, JsonType);
    if (fault.wire == Break::BrokenJson)
        response.body.resize(response.body.size() / 2);
    Connection::current()->breakReply(fault.wire, fault.bodyBytes, fault.bytesPerSecond);
}

[[noreturn]] void throwWrongType(const char *key)
{
    throw ApiError(400, "InvalidParameter", std::string("Wrong type of ") + key);
}

} // namespace

void Call::reply(const nlohmann::json &json, int status) const
{
    response.status = status;
    response.set_content(json.dump(), JsonType);
}

void Call::replyPage(const std::string &html) const
{
    response.set_content(html, "text/html; charset=utf-8");
}

Drive &Call::drive() const
{
    Drive &own = account->drive;
    if (text("drive_id", own.id()) != own.id())
        throw ApiError(403, "ForbiddenDriveNotMatch", "The drive belongs to someone else");
    return own;
}

Node Call::file() const
{
    Node node = drive().node(text("file_id"));
    if (node.isFolder)
        throw ApiError(400, "InvalidParameter.FileId", "The file is a folder");
    return node;
}

std::string Call::param(const std::string &name) const
{
    return request.get_param_value(name);
}

std::string Call::text(const char *key, const std::string &fallback) const
{
    const auto member = body.find(key);
    if (member == body.end() || member->is_null())
        return fallback;
    if (!member->is_string())
        throwWrongType(key);
    return member->get<std::string>();
}

std::int64_t Call::number(const char *key, std::int64_t fallback) const
{
    const auto member = body.find(key);
    if (member == body.end() || member->is_null())
        return fallback;
    if (!member->is_number())
        throwWrongType(key);
    return member->get<std::int64_t>();
}

bool Call::flag(const char *key) const
{
    const auto member = body.find(key);
    if (member == body.end() || member->is_null())
        return false;
    // Some callers send truth as text.
    return *member == true || *member == "true";
}

Route::Route(const char *requestMethod, const char *pathExpression, Access routeAccess,
             std::function<void(Call &)> operation)
    : method(requestMethod), path(pathExpression), access(routeAccess), run(std::move(operation))
{
}

Dispatcher::Dispatcher(World &world, std::vector<Route> routes)
    : m_world(world), m_routes(std::move(routes))
{
}

void Dispatcher::serve(const httplib::Request &request, httplib::Response &response) const
{
    Call call{request, response, {}};
    if (!comesFromHere(request)) {
        sendError(response, 403, "ForbiddenOrigin", "Only this machine is served");
        return;
    }
    if (request.path.rfind("/control/", 0) == 0) {
        run(call);
    } else {
        serveRecorded(call);
    }
}

void Dispatcher::serveRecorded(Call &call) const
{
    call.logNumber = m_world.log.add(recordOf(call.request));
    const std::optional<Fault> fault = m_world.faults.take(call.request.method, call.request.path);
    if (fault && fault->delay.count() > 0)
        Connection::current()->sleep(fault->delay);
    if (fault && fault->status != 0) {
        sendError(call.response, fault->status, fault->code.empty() ? "InjectedFault" : fault->code,
                  fault->message);
    } else {
        run(call);
    }
    if (fault)
        breakReply(*fault, call.response);
    m_world.log.setStatus(call.logNumber, call.response.status);
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
        if (!fits || !std::regex_match(call.request.path, match, route.path))
            continue;
        call.captures.assign(std::next(match.begin()), match.end());
        if (route.access == Access::Token)
            authorize(call);
        parseBody(call);
        route.run(call);
        return;
    }
    throw ApiError(404, "NotFound.Api", "There is no such operation");
}

void Dispatcher::authorize(Call &call) const
{
    constexpr char Scheme[] = "Bearer ";
    const std::string header = call.request.get_header_value("Authorization");
    if (header.rfind(Scheme, 0) != 0)
        throw ApiError(401, "AccessTokenInvalid", "The access token is missing");
    call.account = &m_world.account(m_world.tokens.accountOf(header.substr(sizeof Scheme - 1)));
    m_world.log.setAccount(call.logNumber, call.account->number);
}

} // namespace localdrive
