#pragma once

#include <optional>
#include <string>

// Digests, random tokens and their text. Digests are lower-case hex unless said otherwise.
namespace localdrive {

std::string sha256(const std::string &data); // The 32 bytes.
std::string sha256Hex(const std::string &data);
std::string hmacHex(const std::string &key, const std::string &text);
std::string randomHex(int bytes);
std::string toBase64Url(const std::string &data);
std::optional<std::string> fromBase64Url(const std::string &text);
bool equalInConstantTime(const std::string &a, const std::string &b);

} // namespace localdrive
