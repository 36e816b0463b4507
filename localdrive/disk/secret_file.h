#pragma once

#include <string>

namespace localdrive {

// Replaces the file at once by one that only its owner may read. Throws std::system_error.
void writeSecretFile(const std::string &path, const std::string &content);

} // namespace localdrive
