#include "localdrive/routes/call.h"

#include "localdrive/wire/api_error.h"

namespace localdrive {
namespace {

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
    if (text("drive_id", own.id()) != own.id()) {
        throw ApiError(403, "ForbiddenDriveNotMatch", "The drive belongs to someone else");
    }
    return own;
}

Node Call::file() const
{
    Node node = drive().node(text("file_id"));
    if (node.isFolder) {
        throw ApiError(400, "InvalidParameter.FileId", "The file is a folder");
    }
    return node;
}

std::string Call::param(const std::string &name) const
{
    return request.get_param_value(name);
}

std::string Call::text(const char *key, const std::string &fallback) const
{
    const auto member = body.find(key);
    if (member == body.end() || member->is_null()) {
        return fallback;
    }
    if (!member->is_string()) {
        throwWrongType(key);
    }
    return member->get<std::string>();
}

std::int64_t Call::number(const char *key, std::int64_t fallback) const
{
    const auto member = body.find(key);
    if (member == body.end() || member->is_null()) {
        return fallback;
    }
    if (!member->is_number()) {
        throwWrongType(key);
    }
    return member->get<std::int64_t>();
}

bool Call::flag(const char *key, bool fallback) const
{
    const auto member = body.find(key);
    if (member == body.end() || member->is_null()) {
        return fallback;
    }
    // Some callers send truth as text.
    return *member == true || *member == "true";
}

} // namespace localdrive
