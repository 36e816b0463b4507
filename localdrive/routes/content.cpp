#include "localdrive/routes/content.h"

#include <algorithm>
#include <array>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>

#include "localdrive/wire/api_error.h"
#include "localdrive/wire/byte_range.h"

namespace localdrive {
namespace {

constexpr std::size_t PieceSize = std::size_t{1} << 17;

// Writes bytes of a file from an offset on; false when the file is shorter by now.
bool sendPiece(int file, std::int64_t offset, std::size_t length, httplib::DataSink &sink)
{
    static thread_local std::array<char, PieceSize> piece;
    const ssize_t count = ::pread(file, piece.data(), std::min(length, piece.size()), offset);
    return count > 0 && sink.write(piece.data(), static_cast<std::size_t>(count));
}

std::string entityTag(const struct stat &status)
{
    return '"' + std::to_string(status.st_ino) + '-' + std::to_string(status.st_size) + '-' +
           std::to_string(status.st_mtim.tv_sec) + '.' + std::to_string(status.st_mtim.tv_nsec) +
           '"';
}

RangeVerdict wantedRange(const httplib::Request &request, const std::string &tag, std::int64_t size,
                         ByteRange &range)
{
    const std::string condition = request.get_header_value("If-Range");
    if (!condition.empty() && condition != tag) {
        return RangeVerdict::Whole;
    }
    return readRange(request.get_header_value("Range"), size, range);
}

} // namespace

void sendFile(const Call &call, UniqueFd opened, const std::string &contentType,
              const std::shared_ptr<void> &held)
{
    struct stat status
    {
    };
    if (::fstat(opened.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        throw ApiError(404, "NotFound.File", "The file does not exist");
    }
    const std::int64_t size = status.st_size;
    const std::string tag = entityTag(status);
    ByteRange range{0, size - 1};
    const RangeVerdict verdict = wantedRange(call.request, tag, size, range);
    const std::string total = '/' + std::to_string(size);
    if (verdict == RangeVerdict::Unsatisfiable) {
        call.response.set_header("Content-Range", "bytes */" + std::to_string(size));
        throw ApiError(416, "InvalidRange", "The range lies outside the file");
    }
    if (verdict == RangeVerdict::Part) {
        call.response.status = 206;
        call.response.set_header("Content-Range", "bytes " + std::to_string(range.first) + '-' +
                                                      std::to_string(range.last) + total);
    }
    call.response.set_header("Accept-Ranges", "bytes");
    call.response.set_header("ETag", tag);
    const auto length = static_cast<std::size_t>(range.last - range.first + 1);
    if (length == 0) {
        call.response.set_content(std::string(), contentType);
        return;
    }
    const auto file = std::make_shared<UniqueFd>(std::move(opened));
    call.response.set_content_provider(
        length, contentType,
        [file, held, first = range.first](std::size_t offset, std::size_t left,
                                          httplib::DataSink &sink) {
            return sendPiece(file->get(), first + static_cast<std::int64_t>(offset), left, sink);
        });
}

UniqueFd openMade(const std::string &path)
{
    return UniqueFd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

Route signedRoute(Platform &platform, const char *path, void (*operation)(Platform &, Call &))
{
    return {"GET", path, Access::Open, [&platform, operation](Call &call) {
                platform.urls.check(call.request.path, call.param("x-expires"),
                                    call.param("x-signature"));
                operation(platform, call);
            }};
}

} // namespace localdrive
