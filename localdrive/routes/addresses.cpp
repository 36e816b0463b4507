#include "localdrive/routes/addresses.h"

#include "localdrive/media/ffmpeg_commands.h"

namespace localdrive {
namespace {

std::string address(const Platform &platform, const std::string &path, std::int64_t expires)
{
    return platform.baseUrl + encodePath(path) + '?' + platform.urls.query(path, expires);
}

} // namespace

std::string downloadAddress(const Platform &platform, Drive &drive, const Node &file,
                            std::int64_t expires)
{
    // The name comes last, because players look at the extension.
    const std::string path =
        "/download/" + drive.id() + '/' + drive.idOf(file.path) + '/' + file.name();
    return address(platform, path, expires);
}

std::string streamAddress(const Platform &platform, const Drive &drive, const std::string &mediaKey,
                          const Quality &quality, std::int64_t expires)
{
    const std::string path =
        "/stream/" + drive.id() + '/' + mediaKey + '/' + quality.id + '/' + StreamIndexName;
    return address(platform, path, expires);
}

std::string textAddress(const Platform &platform, const Drive &drive, const std::string &mediaKey,
                        std::size_t track, std::int64_t expires)
{
    const std::string path =
        "/subtitle/" + drive.id() + '/' + mediaKey + '/' + std::to_string(track) + ".vtt";
    return address(platform, path, expires);
}

std::string thumbnailAddress(const Platform &platform, Drive &drive, const Node &file)
{
    const std::string path = "/thumbnail/" + drive.id() + '/' + drive.idOf(file.path) + ".jpg";
    return address(platform, path, platform.urls.expiry(std::chrono::hours(4)));
}

} // namespace localdrive
