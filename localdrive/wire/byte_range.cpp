#include "localdrive/wire/byte_range.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>

namespace localdrive {
namespace {

// A decimal number of digits only; -1 for an empty text, nothing for anything else.
std::optional<std::int64_t> readNumber(const std::string &text)
{
    if (text.empty()) {
        return -1;
    }
    const bool isDecimal =
        std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    std::int64_t number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (!isDecimal) {
        return std::nullopt;
    }
    return result.ec == std::errc() ? number : std::numeric_limits<std::int64_t>::max();
}

} // namespace

RangeVerdict readRange(const std::string &header, std::int64_t size, ByteRange &range)
{
    const std::string unit = "bytes=";
    const std::size_t dash = header.find('-');
    if (header.compare(0, unit.size(), unit) != 0 || dash == std::string::npos) {
        return RangeVerdict::Whole;
    }
    const auto first = readNumber(header.substr(unit.size(), dash - unit.size()));
    const auto last = readNumber(header.substr(dash + 1));
    if (!first || !last || (*first < 0 && *last < 0) || (*last >= 0 && *last < *first)) {
        return RangeVerdict::Whole;
    }
    if (*first < 0) { // the last so many bytes
        range = {std::max<std::int64_t>(size - *last, 0), size - 1};
        return *last == 0 || size == 0 ? RangeVerdict::Unsatisfiable : RangeVerdict::Part;
    }
    if (*first >= size) {
        return RangeVerdict::Unsatisfiable;
    }
    range = {*first, *last < 0 ? size - 1 : std::min(*last, size - 1)};
    return RangeVerdict::Part;
}

} // namespace localdrive
