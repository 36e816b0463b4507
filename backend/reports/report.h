#pragma once

#include <optional>
#include <string>

namespace backend {

// The line of the log for a client's report of its system: the JSON text of its known fields, with
// the time, and without the two tokens that it carries. Takes the hex text of the encrypted
// report; nothing when it cannot be decrypted or a field is of another kind than it should be.
std::optional<std::string> reportLine(const std::string &hex, const std::string &time);

// "2026-11-23T08:00:00Z"
std::string utcNow();

} // namespace backend
