#pragma once

#include <cstdint>
#include <string>

namespace localdrive {

// Bytes first to last, both included.
struct ByteRange
{
    std::int64_t first = 0;
    std::int64_t last = 0;
};

enum class RangeVerdict { Whole, Part, Unsatisfiable };

// Reads a Range header for content of a size. Headers of another unit, of several ranges or of a
// wrong form ask for the whole, as HTTP lets a server choose.
RangeVerdict readRange(const std::string &header, std::int64_t size, ByteRange &range);

} // namespace localdrive
