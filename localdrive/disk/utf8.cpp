#include "localdrive/disk/utf8.h"

#include <nlohmann/json.hpp>

namespace localdrive {

bool isUtf8(const std::string &text)
{
    // The JSON library is the judge, because JSON is where the text must go.
    try {
        return !nlohmann::json(text).dump().empty();
    } catch (const nlohmann::json::exception &) {
        return false;
    }
}

} // namespace localdrive
