#include <algorithm>
#include <fstream>

#include "addresses.h"
#include "api_error.h"
#include "content.h"
#include "ffmpeg_commands.h"
#include "routes.h"

namespace localdrive {
namespace {

constexpr std::int64_t DefaultLife = 900;
constexpr std::int64_t LongestLife = 14400;

struct StateName
{
    StreamState state;
    const char *name;
};

constexpr StateName StateNames[] = {{StreamState::Finished, "finished"},
                                    {StreamState::Running, "running"},
                                    {StreamState::Failed, "failed"}};

const char *nameOf(StreamState state)
{
    for (const StateName &entry : StateNames) {
        if (entry.state == state)
            return entry.name;
    }
    return "";
}

bool has(const std::vector<Stream> &streams, StreamState state)
{
    return std::any_of(streams.begin(), streams.end(),
                       [state](const Stream &stream) { return stream.state == state; });
}

nlohmann::json describe(const Stream &stream, const std::string &url)
{
    const bool isFinished = stream.state == StreamState::Finished;
    return {{"template_id", stream.quality->id}, {"template_name", stream.quality->id},
            {"template_width", stream.width},    {"template_height", stream.quality->height},
            {"status", nameOf(stream.state)},    {"stage", isFinished ? "stage_all" : ""},
            {"url", isFinished ? url : ""}};
}

[[noreturn]] void throwNoPreview()
{
    throw ApiError(404, "NotFound.VideoPreviewInfo", "The file cannot be previewed");
}

void playInfo(World &world, Call &call)
{
    const Node node = call.file();
    Drive &drive = call.account->drive;
    const UniqueFd file = drive.openFile(node.path);
    const std::optional<MediaInfo> info = world.media.info(file.get());
    if (!info || info->duration <= 0)
        throwNoPreview();
    const std::vector<Stream> streams = world.media.streams(file.get());
    if (!has(streams, StreamState::Finished) && has(streams, StreamState::Running))
        throw ApiError(202, "VideoPreviewWaitAndRetry", "The video is being transcoded");
    if (!streams.empty() && !has(streams, StreamState::Finished))
        throwNoPreview();

    const std::int64_t asked = call.number("url_expire_sec");
    const std::int64_t life = asked > 0 ? std::min(asked, LongestLife) : DefaultLife;
    const std::int64_t expires = world.urls.expiry(std::chrono::seconds(life));
    const std::string wanted = call.text("template_id");
    const std::string key = MediaStore::keyOf(file.get());
    nlohmann::json tasks = nlohmann::json::array();
    for (const Stream &stream : streams) {
        const std::string url = streamAddress(world, drive, key, *stream.quality, expires);
        if (wanted.empty() || wanted == stream.quality->id)
            tasks.push_back(describe(stream, url));
    }
    const nlohmann::json meta = {
        {"duration", info->duration}, {"width", info->width}, {"height", info->height}};
    call.reply({{"domain_id", DomainId},
                {"drive_id", drive.id()},
                {"file_id", drive.idOf(node.path)},
                {"video_preview_play_info",
                 {{"category", "live_transcoding"},
                  {"meta", meta},
                  {"live_transcoding_task_list", tasks}}}});
}

/// A stream's index, in which each part has an address that lives as long as the index's own.
std::string signedIndex(const World &world, const Call &call, const std::string &file)
{
    const std::string folder = call.request.path.substr(0, call.request.path.rfind('/') + 1);
    const std::int64_t expires = std::atoll(call.param("x-expires").c_str());
    std::ifstream index(file);
    std::string text;
    for (std::string line; std::getline(index, line);) {
        text += line;
        if (!line.empty() && line[0] != '#')
            text += '?' + world.urls.query(folder + line, expires);
        text += '\n';
    }
    return text;
}

void streamPart(World &world, Call &call)
{
    const Account &account = world.accountOfDrive(call.captures.at(0));
    world.log.setAccount(call.logNumber, account.number);
    const std::string &name = call.captures.at(3);
    const std::string path = world.media.streamFile(call.captures.at(1), call.captures.at(2), name);
    if (name == StreamIndexName) {
        call.response.set_content(signedIndex(world, call, path), "application/vnd.apple.mpegurl");
    } else {
        sendFile(call, openMade(path), "video/mp2t");
    }
}

void thumbnail(World &world, Call &call)
{
    Account &account = world.accountOfDrive(call.captures.at(0));
    world.log.setAccount(call.logNumber, account.number);
    const UniqueFd file = account.drive.openFile(account.drive.node(call.captures.at(1)).path);
    const std::string picture = world.media.thumbnail(file.get());
    if (picture.empty())
        throw ApiError(404, "NotFound.Thumbnail", "No thumbnail can be made");
    sendFile(call, openMade(picture), "image/jpeg");
}

} // namespace

std::vector<Route> playRoutes(World &world)
{
    return {
        {"POST", "/adrive/v1\\.0/openFile/getVideoPreviewPlayInfo", Access::Token,
         [&world](Call &call) { playInfo(world, call); }},
        signedRoute(world, "/stream/([^/]+)/([0-9a-f]+)/([A-Z]+)/(index\\.m3u8|part[0-9]+\\.ts)",
                    streamPart),
        signedRoute(world, "/thumbnail/([^/]+)/([^/]+)\\.jpg", thumbnail),
    };
}

} // namespace localdrive
