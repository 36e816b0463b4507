#include "addresses.h"

#include "ffmpeg_commands.h"

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

std::string streamAddress(const World &world, const Drive &drive, const std::string &mediaKey,
                          const Quality &quality, std::int64_t expires)
{
    const std::string path =
        "/stream/" + drive.id() + '/' + mediaKey + '/' + quality.id + '/' + StreamIndexName;
    return address(world, path, expires);
}

std::string thumbnailAddress(const World &world, Drive &drive, const Node &file)
{
    const std::string path = "/thumbnail/" + drive.id() + '/' + drive.idOf(file.path) + ".jpg";
    return address(world, path, world.urls.expiry(std::chrono::hours(4)));
}

} // namespace localdrive
