#include "backend/secrets/crypto.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include "backend/wire/text.h"

namespace backend {
namespace {

const unsigned char *bytes(const std::string &text)
{
    return reinterpret_cast<const unsigned char *>(text.data());
}

unsigned char *bytes(std::string &text)
{
    return reinterpret_cast<unsigned char *>(text.data());
}

std::optional<std::string> fromHex(const std::string &hex)
{
    std::string data;
    data.reserve(hex.size() / 2);
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        const int high = hexValue(hex[i]);
        const int low = hexValue(hex[i + 1]);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        data += static_cast<char>(high * 16 + low);
    }
    return hex.size() % 2 == 0 ? std::optional(data) : std::nullopt;
}

} // namespace

std::string toBase64Url(const std::string &data)
{
    std::string text(4 * ((data.size() + 2) / 3) + 1, '\0');
    const int length = EVP_EncodeBlock(bytes(text), bytes(data), static_cast<int>(data.size()));
    text.resize(static_cast<std::size_t>(length));
    text.erase(std::find(text.begin(), text.end(), '='), text.end());
    std::replace(text.begin(), text.end(), '+', '-');
    std::replace(text.begin(), text.end(), '/', '_');
    return text;
}

std::string sha256(const std::string &data)
{
    std::string digest(EVP_MAX_MD_SIZE, '\0');
    unsigned int length = 0;
    if (EVP_Digest(data.data(), data.size(), bytes(digest), &length, EVP_sha256(), nullptr) != 1) {
        throw std::runtime_error("SHA-256 failed");
    }
    digest.resize(length);
    return digest;
}

std::string hmacSha256(const std::string &key, const std::string &text)
{
    std::string digest(EVP_MAX_MD_SIZE, '\0');
    unsigned int length = 0;
    if (!HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), bytes(text), text.size(),
              bytes(digest), &length)) {
        throw std::runtime_error("HMAC failed");
    }
    digest.resize(length);
    return digest;
}

std::optional<std::string> decryptAes192(const std::string &hex, const std::string &key)
{
    const std::optional<std::string> cipherText = fromHex(hex);
    if (!cipherText || cipherText->empty()) {
        return std::nullopt;
    }
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
        EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    std::string plain(cipherText->size() + EVP_MAX_BLOCK_LENGTH, '\0');
    int length = 0;
    int rest = 0;
    if (!context ||
        EVP_DecryptInit_ex(context.get(), EVP_aes_192_ecb(), nullptr, bytes(key), nullptr) != 1 ||
        EVP_DecryptUpdate(context.get(), bytes(plain), &length, bytes(*cipherText),
                          static_cast<int>(cipherText->size())) != 1 ||
        EVP_DecryptFinal_ex(context.get(), bytes(plain) + length, &rest) != 1) {
        return std::nullopt;
    }
    plain.resize(static_cast<std::size_t>(length) + static_cast<std::size_t>(rest));
    return plain;
}

} // namespace backend
