#include "addresses.h"

namespace localdrive {
namespace {

std::string address(const World &world, const std::string &path, std::int64_t expires)
{
    return world.baseUrl + encodePath(path) + '?' + world.urls.query(path, expires);
}

} // namespace

std::string downloadAddress(const World &world, Drive &drive, const Node &file,
                            std::int64_t expires)
{
    // The name comes last, because players look at the extension.
    const std::string path =
        "/download/" + drive.id() + '/' + drive.idOf(file.path) + '/' + file.name();
    return address(world, path, expires);
}

} // namespace localdrive
