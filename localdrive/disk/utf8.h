#pragma once

#include <string>

namespace localdrive {

// True for well-formed UTF-8 (no overlong forms, no surrogates).
bool isUtf8(const std::string &text);

} // namespace localdrive
