#pragma once

#include <optional>
#include <string>

namespace backend {

// Base64 for addresses, without padding.
std::string toBase64Url(const std::string &data);
std::string sha256(const std::string &data);
std::string hmacSha256(const std::string &key, const std::string &text);

// AES-192 in ECB mode with PKCS#7 padding, from hex text. Nothing when the text is not hex, not
// whole blocks, or the padding is wrong; with a foreign key the padding is right now and then.
std::optional<std::string> decryptAes192(const std::string &hex, const std::string &key);

} // namespace backend
