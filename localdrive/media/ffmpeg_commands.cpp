#include "localdrive/media/ffmpeg_commands.h"

#include <algorithm>
#include <cstdlib>

#include <nlohmann/json.hpp>

namespace localdrive {
namespace {

using Command = std::vector<std::string>;

// Containers that hold their media themselves. Playlists of every kind are left out: they could
// make ffmpeg open other files.
constexpr char Containers[] =
    "matroska,webm,mov,mp4,avi,mpegts,mpeg,mpegvideo,flv,asf,ogg,rm,ivf,h264,hevc,gif,"
    "jpeg_pipe,png_pipe,webp_pipe,bmp_pipe";

constexpr char Measures[] = "format=duration:stream=codec_type,codec_name,width,height"
                            ":stream_disposition=attached_pic:stream_tags=language";

void append(Command &command, const Command &more)
{
    command.insert(command.end(), more.begin(), more.end());
}

bool isText(const std::string &codec)
{
    return codec == "subrip" || codec == "ass" || codec == "webvtt" || codec == "mov_text";
}

Command input(const char *program)
{
    return {program, "-v", "error", "-protocol_whitelist", "file", "-format_whitelist", Containers};
}

Command ffmpegInput(const Command &before)
{
    Command command = input("ffmpeg");
    append(command, {"-nostdin", "-y"});
    append(command, before);
    append(command, {"-i", "file:/dev/stdin"});
    return command;
}

} // namespace

Command probeCommand()
{
    Command command = input("ffprobe");
    append(command, {"-show_entries", Measures, "-of", "json", "file:/dev/stdin"});
    return command;
}

std::optional<MediaInfo> readProbe(const std::string &output)
{
    const nlohmann::json probe = nlohmann::json::parse(output, nullptr, false);
    if (!probe.is_object()) {
        return std::nullopt;
    }
    MediaInfo info;
    const nlohmann::json format = probe.value("format", nlohmann::json::object());
    info.duration = std::atof(format.value("duration", "0").c_str());
    int subtitles = 0;
    const nlohmann::json streams = probe.value("streams", nlohmann::json::array());
    for (const nlohmann::json &stream : streams) {
        const std::string type = stream.value("codec_type", "");
        const nlohmann::json disposition = stream.value("disposition", nlohmann::json::object());
        const bool isCover = disposition.value("attached_pic", 0) != 0;
        if (type == "video" && info.videoCodec.empty() && !isCover) {
            info.videoCodec = stream.value("codec_name", "");
            info.width = stream.value("width", 0);
            info.height = stream.value("height", 0);
        } else if (type == "audio" && info.audioCodec.empty()) {
            info.audioCodec = stream.value("codec_name", "");
        } else if (type == "subtitle") {
            if (isText(stream.value("codec_name", ""))) {
                const nlohmann::json tags = stream.value("tags", nlohmann::json::object());
                info.texts.push_back({subtitles, tags.value("language", "und")});
            }
            ++subtitles;
        }
    }
    if (info.width <= 0 || info.height <= 0) {
        return std::nullopt;
    }
    return info;
}

bool canRepack(const MediaInfo &info, const Quality &quality)
{
    return info.height == quality.height && info.videoCodec == "h264";
}

Command streamCommand(const MediaInfo &info, const Quality &quality, int width,
                      const std::string &folder)
{
    Command command = ffmpegInput({});
    append(command, {"-map", "0:v:0", "-map", "0:a:0?", "-sn", "-dn", "-map_metadata", "-1"});
    if (canRepack(info, quality)) {
        append(command, {"-c:v", "copy"});
    } else {
        const std::string size = std::to_string(width) + ':' + std::to_string(quality.height);
        append(command, {"-vf", "scale=" + size + ":flags=fast_bilinear,format=yuv420p", "-c:v",
                         "libx264", "-preset", "ultrafast", "-crf", "28", "-force_key_frames",
                         "expr:gte(t,n_forced*4)"});
    }
    if (info.audioCodec == "aac") {
        append(command, {"-c:a", "copy"});
    } else {
        append(command, {"-c:a", "aac", "-b:a", "96k", "-ac", "2"});
    }
    append(command,
           {"-f", "hls", "-hls_time", "4", "-hls_playlist_type", "vod", "-hls_segment_filename",
            folder + "/part%05d.ts", folder + '/' + StreamIndexName});
    return command;
}

std::string textFileName(std::size_t track)
{
    return "text" + std::to_string(track) + ".vtt";
}

Command textCommand(const MediaInfo &info, const std::string &folder)
{
    Command command = ffmpegInput({});
    for (std::size_t track = 0; track < info.texts.size(); ++track) {
        append(command, {"-map", "0:s:" + std::to_string(info.texts[track].number), "-f", "webvtt",
                         folder + '/' + textFileName(track)});
    }
    return command;
}

Command thumbnailCommand(const MediaInfo &info, const std::string &picture)
{
    constexpr double LatestSecond = 120;
    const double second = std::min(LatestSecond, info.duration * 0.3);
    Command command = ffmpegInput({"-ss", std::to_string(second)});
    append(command, {"-map", "0:v:0", "-frames:v", "1", "-vf", "scale=180:-2", "-f", "image2",
                     "-update", "1", picture});
    return command;
}

} // namespace localdrive
