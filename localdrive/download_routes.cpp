#include "content.h"
#include "file_kinds.h"
#include "routes.h"

namespace localdrive {
namespace {

void download(World &world, Call &call)
{
    Account &account = world.accountOfDrive(call.captures.at(0));
    world.log.setAccount(call.logNumber, account.number);
    const Node node = account.drive.node(call.captures.at(1));
    sendFile(call, account.drive.openFile(node.path), contentTypeOf(node.name()));
}

} // namespace

std::vector<Route> downloadRoutes(World &world)
{
    return {signedRoute(world, "/download/([^/]+)/([^/]+)/[^/]*", download)};
}

} // namespace localdrive
