#include "backend/wire/reply.h"

#include <algorithm>
#include <iterator>

namespace backend {
namespace {

struct Reason
{
    int status;
    const char *text;
};

constexpr Reason Reasons[] = {
    {200, "OK"},
    {400, "Bad Request"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {408, "Request Timeout"},
    {411, "Length Required"},
    {413, "Content Too Large"},
    {414, "URI Too Long"},
    {415, "Unsupported Media Type"},
    {429, "Too Many Requests"},
    {431, "Request Header Fields Too Large"},
    {500, "Internal Server Error"},
    {502, "Bad Gateway"},
    {503, "Service Unavailable"},
    {505, "HTTP Version Not Supported"},
};

const char *reasonOf(int status)
{
    const Reason *found = std::find_if(std::begin(Reasons), std::end(Reasons),
                                       [status](const Reason &r) { return r.status == status; });
    return found == std::end(Reasons) ? "" : found->text;
}

// What the platform sent may be no UTF-8.
std::string textOf(const nlohmann::json &body)
{
    return body.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace

Reply success(const nlohmann::json &body)
{
    Reply reply;
    reply.body = textOf(body);
    return reply;
}

Reply failure(int status, const std::string &code, const std::string &message)
{
    Reply reply;
    reply.status = status;
    reply.body = textOf({{"code", code}, {"message", message}});
    return reply;
}

Reply tooManyRequests(int retryAfter)
{
    Reply reply = failure(429, "TooManyRequests", "Too many requests, try again later");
    reply.retryAfter = std::max(retryAfter, 1);
    return reply;
}

Reply overloaded()
{
    Reply reply = failure(503, "Overloaded", "Too much to do, try again later");
    reply.retryAfter = 1;
    return reply;
}

std::string toHttp(const Reply &reply, bool closesConnection, bool isHead)
{
    std::string bytes =
        "HTTP/1.1 " + std::to_string(reply.status) + ' ' + reasonOf(reply.status) + "\r\n";
    const auto header = [&bytes](const char *name, const std::string &value) {
        bytes.append(name).append(": ").append(value).append("\r\n");
    };
    header("Content-Type", "application/json; charset=utf-8");
    header("Content-Length", std::to_string(reply.body.size()));
    header("Cache-Control", "no-store");
    if (reply.retryAfter > 0) {
        header("Retry-After", std::to_string(reply.retryAfter));
    }
    if (!reply.allowed.empty()) {
        header("Allow", reply.allowed);
    }
    if (closesConnection) {
        header("Connection", "close");
    }
    return bytes + "\r\n" + (isHead ? std::string() : reply.body);
}

} // namespace backend
