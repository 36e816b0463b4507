#include "localdrive/disk/file_kinds.h"
#include "localdrive/routes/content.h"
#include "localdrive/routes/routes.h"
#include "localdrive/wire/api_error.h"

namespace localdrive {
namespace {

// A place among the downloads that an account may have at a time; it is free again at the end.
std::shared_ptr<void> takePlace(Account &account, int most)
{
    if (++account.downloads > most && most > 0) {
        --account.downloads;
        throw ApiError(403, "TooManyConnections", "Too many downloads at a time");
    }
    return {&account, [](void *owner) { --static_cast<Account *>(owner)->downloads; }};
}

void download(Platform &platform, Call &call)
{
    Account &account = platform.accountOfDrive(call.captures.at(0));
    platform.log.setAccount(call.logNumber, account.number);
    const Node node = account.drive.node(call.captures.at(1));
    sendFile(call, account.drive.openFile(node.path), contentTypeOf(node.name()),
             takePlace(account, platform.rules().downloadConnections));
}

} // namespace

std::vector<Route> downloadRoutes(Platform &platform)
{
    return {signedRoute(platform, "/download/([^/]+)/([^/]+)/[^/]*", download)};
}

} // namespace localdrive
