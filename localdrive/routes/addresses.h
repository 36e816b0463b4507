#pragma once

#include <cstdint>
#include <string>

#include "localdrive/accounts/platform.h"

// Signed addresses of this server, whole ("http://127.0.0.1:…"), valid until a time.
namespace localdrive {

std::string downloadAddress(const Platform &platform, Drive &drive, const Node &file,
                            std::int64_t expires);

std::string streamAddress(const Platform &platform, const Drive &drive, const std::string &mediaKey,
                          const Quality &quality, std::int64_t expires);

// Of a track of text, by its place among those of the media.
std::string textAddress(const Platform &platform, const Drive &drive, const std::string &mediaKey,
                        std::size_t track, std::int64_t expires);

// Lives as long as an address may.
std::string thumbnailAddress(const Platform &platform, Drive &drive, const Node &file);

} // namespace localdrive
