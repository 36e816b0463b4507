#pragma once

#include <optional>
#include <string>

// Digests, random tokens and ciphers. Digests are lower-case hex unless said otherwise.
namespace localdrive {

std::string sha256(const std::string &data); // The 32 bytes.
std::string sha256Hex(const std::string &data);
std::string hmacHex(const std::string &key, const std::string &text);
std::string randomHex(int bytes);
std::string toBase64Url(const std::string &data);
std::optional<std::string> fromBase64Url(const std::string &text);
bool equalInConstantTime(const std::string &a, const std::string &b);

// AES-192 in ECB mode with PKCS#7 padding from hex text; nothing when the text is not hex, not
// whole blocks, or the padding is wrong.
std::optional<std::string> decryptReport(const std::string &hex);

} // namespace localdrive
