#pragma once

#include <optional>
#include <string>
#include <vector>

#include "localdrive/media/media_store.h"

// Command lines for ffmpeg and ffprobe, which read the file as their standard input.
namespace localdrive {

constexpr char StreamIndexName[] = "index.m3u8";

std::vector<std::string> probeCommand();
// Nothing when the output tells of no video.
std::optional<MediaInfo> readProbe(const std::string &output);

// The source's own video and sound can be the stream.
bool canRepack(const MediaInfo &info, const Quality &quality);
// An HLS stream into a folder that exists.
std::vector<std::string> streamCommand(const MediaInfo &info, const Quality &quality, int width,
                                       const std::string &folder);
// The tracks of text as WebVTT files into a folder that exists.
std::vector<std::string> textCommand(const MediaInfo &info, const std::string &folder);
std::string textFileName(std::size_t track);
std::vector<std::string> thumbnailCommand(const MediaInfo &info, const std::string &picture);

} // namespace localdrive
