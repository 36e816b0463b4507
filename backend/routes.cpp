#include "backend/routes.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "backend/reports/report.h"

namespace backend {
namespace {

Reply health(const Request &, Services &)
{
    return success({{"status", "ok"}});
}

Reply issueQrCode(const Request &, Services &services)
{
    return services.platform.issueQrCode();
}

// A value that is there once and may be a code or a token.
std::optional<std::string> grant(const Request &request, const char *name)
{
    constexpr std::size_t Longest = 4096;
    const auto [begin, end] = request.query.equal_range(name);
    if (begin == end || std::next(begin) != end || begin->second.empty() ||
        begin->second.size() > Longest) {
        return std::nullopt;
    }
    const std::string &value = begin->second;
    const bool isVisible =
        std::all_of(value.begin(), value.end(), [](char c) { return c > ' ' && c < 127; });
    return isVisible ? std::optional(value) : std::nullopt;
}

Reply issueTokens(const Request &request, Services &services)
{
    const bool hasCode = request.query.count("authCode") > 0;
    const bool hasToken = request.query.count("refreshToken") > 0;
    const auto value = grant(request, hasCode ? "authCode" : "refreshToken");
    if (hasCode == hasToken || !value) {
        return failure(400, "InvalidParameter",
                       "Exactly one of authCode and refreshToken is needed");
    }
    return hasCode ? services.platform.exchangeCode(*value) : services.platform.renew(*value);
}

Reply keepReport(const Request &request, Services &services)
{
    const nlohmann::json body = nlohmann::json::parse(request.body, nullptr, false);
    const auto data = body.is_object() ? body.find("data") : body.end();
    const bool hasData = body.is_object() && data != body.end() && data->is_string();
    const auto line = hasData ? reportLine(data->get<std::string>(), utcNow()) : std::nullopt;
    if (!line) {
        return failure(400, "InvalidReport", "The report cannot be decrypted");
    }
    if (!services.reports.append(*line)) {
        return failure(500, "ReportLost", "The report could not be kept");
    }
    return success({{"code", 200}, {"msg", "success"}});
}

Reply notFound(const Request &, Services &)
{
    return failure(404, "NotFound", "There is nothing at this address");
}

Reply notAllowed(const Request &request, Services &);

constexpr Route Routes[] = {
    {"GET", "/health", Lane::None, health},
    {"POST", "/app/oauth/authorize/qrcode", Lane::Platform, issueQrCode},
    {"GET", "/app/oauth/accessToken", Lane::Platform, issueTokens},
    {"POST", "/app/cloudtv/pc/refresh", Lane::Disk, keepReport},
};
constexpr Route NoPath = {"", "", Lane::Refusal, notFound};
constexpr Route OtherMethod = {"", "", Lane::Refusal, notAllowed};

const Route *routeOf(const std::string &path)
{
    return std::find_if(std::begin(Routes), std::end(Routes),
                        [&path](const Route &route) { return path == route.path; });
}

Reply notAllowed(const Request &request, Services &)
{
    Reply reply = failure(405, "MethodNotAllowed", "This address takes another method");
    reply.allowed = routeOf(request.path)->method;
    return reply;
}

} // namespace

const Route &routeFor(const Request &request)
{
    const Route *route = routeOf(request.path);
    return route == std::end(Routes)         ? NoPath
           : request.method == route->method ? *route
                                             : OtherMethod;
}

} // namespace backend
