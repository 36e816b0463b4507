#pragma once

#include <cstdint>
#include <string>

#include "world.h"

/// Signed addresses of this server, whole ("http://127.0.0.1:…"), valid until a time.
namespace localdrive {

std::string downloadAddress(const World &world, Drive &drive, const Node &file,
                            std::int64_t expires);

std::string streamAddress(const World &world, const Drive &drive, const std::string &mediaKey,
                          const Quality &quality, std::int64_t expires);

/// Lives as long as an address may.
std::string thumbnailAddress(const World &world, Drive &drive, const Node &file);

} // namespace localdrive
