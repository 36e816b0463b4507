#include <algorithm>
#include <fstream>

#include "localdrive/media/ffmpeg_commands.h"
#include "localdrive/routes/addresses.h"
#include "localdrive/routes/content.h"
#include "localdrive/routes/routes.h"
#include "localdrive/wire/api_error.h"

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
        if (entry.state == state) {
            return entry.name;
        }
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

// The smallest height that takes the paid package.
constexpr int HighHeight = 720;

[[noreturn]] void throwNoPreview()
{
    throw ApiError(404, "NotFound.VideoPreviewInfo", "The file cannot be previewed");
}

MediaInfo measured(Platform &platform, int file)
{
    const std::optional<MediaInfo> info = platform.media.info(file);
    if (!info || info->duration <= 0) {
        throwNoPreview();
    }
    return *info;
}

void refuseAsRuled(PlayAnswer answer)
{
    switch (answer) {
    case PlayAnswer::Everything:
    case PlayAnswer::NoHighAddresses:
        return;
    case PlayAnswer::ExceedCapacity:
        throw ApiError(400, "ExceedCapacityForbidden", "The drive holds more than it may");
    case PlayAnswer::WaitAndRetry:
        throw ApiError(202, "VideoPreviewWaitAndRetry", "The video is being transcoded");
    case PlayAnswer::NoPreview:
        throwNoPreview();
    }
}

// The streams of a file of which at least one can be played, or that is too small for any.
std::vector<Stream> playable(Platform &platform, int file)
{
    std::vector<Stream> streams = platform.media.streams(file);
    if (streams.empty() || has(streams, StreamState::Finished)) {
        return streams;
    }
    if (has(streams, StreamState::Running)) {
        throw ApiError(202, "VideoPreviewWaitAndRetry", "The video is being transcoded");
    }
    throwNoPreview();
}

std::int64_t expiryAsked(const Platform &platform, const Call &call)
{
    const std::int64_t asked = call.number("url_expire_sec");
    const std::int64_t life = asked > 0 ? std::min(asked, LongestLife) : DefaultLife;
    return platform.urls.expiry(std::chrono::seconds(life));
}

nlohmann::json describeTexts(Platform &platform, const Call &call, const MediaInfo &info,
                             const std::string &key)
{
    const StreamState state = platform.media.textState(key);
    const std::int64_t expires = expiryAsked(platform, call);
    nlohmann::json tasks = nlohmann::json::array();
    for (std::size_t track = 0; track < info.texts.size(); ++track) {
        const std::string url =
            state == StreamState::Finished
                ? textAddress(platform, call.account->drive, key, track, expires)
                : "";
        tasks.push_back(
            {{"language", info.texts[track].language}, {"status", nameOf(state)}, {"url", url}});
    }
    return tasks;
}

nlohmann::json describe(const std::vector<Stream> &streams, const Platform &platform,
                        const Call &call, const std::string &key)
{
    const std::int64_t expires = expiryAsked(platform, call);
    const std::string wanted = call.text("template_id");
    const bool isBounded = platform.rules().playAnswer == PlayAnswer::NoHighAddresses;
    nlohmann::json tasks = nlohmann::json::array();
    for (const Stream &stream : streams) {
        if (wanted.empty() || wanted == stream.quality->id) {
            const bool isOffered = !isBounded || stream.quality->height < HighHeight;
            tasks.push_back(describe(stream, isOffered
                                                 ? streamAddress(platform, call.account->drive, key,
                                                                 *stream.quality, expires)
                                                 : ""));
        }
    }
    return tasks;
}

void playInfo(Platform &platform, Call &call)
{
    const Node node = call.file();
    Drive &drive = call.account->drive;
    const UniqueFd file = drive.openFile(node.path);
    refuseAsRuled(platform.rules().playAnswer);
    const MediaInfo info = measured(platform, file.get());
    const std::string key = MediaStore::keyOf(file.get());
    const nlohmann::json meta = {
        {"duration", info.duration}, {"width", info.width}, {"height", info.height}};
    // As they are before the streams are asked for, which begins to make what is missing.
    const nlohmann::json texts = describeTexts(platform, call, info, key);
    nlohmann::json preview = {{"category", "live_transcoding"},
                              {"meta", meta},
                              {"live_transcoding_task_list",
                               describe(playable(platform, file.get()), platform, call, key)}};
    if (call.flag("get_subtitle_info")) {
        preview["live_transcoding_subtitle_task_list"] = texts;
    }
    call.reply({{"domain_id", DomainId},
                {"drive_id", drive.id()},
                {"file_id", drive.idOf(node.path)},
                {"video_preview_play_info", preview}});
}

// A stream's index, in which each part has an address that lives as long as the index's own.
std::string signedIndex(const Platform &platform, const Call &call, const std::string &file)
{
    const std::string folder = call.request.path.substr(0, call.request.path.rfind('/') + 1);
    const std::int64_t expires = std::atoll(call.param("x-expires").c_str());
    std::ifstream index(file);
    std::string text;
    for (std::string line; std::getline(index, line);) {
        text += line;
        if (!line.empty() && line[0] != '#') {
            text += '?' + platform.urls.query(folder + line, expires);
        }
        text += '\n';
    }
    return text;
}

void streamPart(Platform &platform, Call &call)
{
    const Account &account = platform.accountOfDrive(call.captures.at(0));
    platform.log.setAccount(call.logNumber, account.number);
    const std::string &name = call.captures.at(3);
    const std::string path =
        platform.media.streamFile(call.captures.at(1), call.captures.at(2), name);
    if (name == StreamIndexName) {
        call.response.set_content(signedIndex(platform, call, path),
                                  "application/vnd.apple.mpegurl");
    } else {
        sendFile(call, openMade(path), "video/mp2t");
    }
}

void textTrack(Platform &platform, Call &call)
{
    const Account &account = platform.accountOfDrive(call.captures.at(0));
    platform.log.setAccount(call.logNumber, account.number);
    const auto track = static_cast<std::size_t>(std::atoll(call.captures.at(2).c_str()));
    sendFile(call, openMade(platform.media.textFile(call.captures.at(1), track)), "text/vtt");
}

void thumbnail(Platform &platform, Call &call)
{
    Account &account = platform.accountOfDrive(call.captures.at(0));
    platform.log.setAccount(call.logNumber, account.number);
    const UniqueFd file = account.drive.openFile(account.drive.node(call.captures.at(1)).path);
    const std::string picture = platform.media.thumbnail(file.get());
    if (picture.empty()) {
        throw ApiError(404, "NotFound.Thumbnail", "No thumbnail can be made");
    }
    sendFile(call, openMade(picture), "image/jpeg");
}

} // namespace

std::vector<Route> playRoutes(Platform &platform)
{
    return {
        {"POST", "/adrive/v1\\.0/openFile/getVideoPreviewPlayInfo", Access::Token,
         [&platform](Call &call) { playInfo(platform, call); }},
        signedRoute(platform, "/stream/([^/]+)/([0-9a-f]+)/([A-Z]+)/(index\\.m3u8|part[0-9]+\\.ts)",
                    streamPart),
        signedRoute(platform, "/subtitle/([^/]+)/([0-9a-f]+)/([0-9]+)\\.vtt", textTrack),
        signedRoute(platform, "/thumbnail/([^/]+)/([^/]+)\\.jpg", thumbnail),
    };
}

} // namespace localdrive
