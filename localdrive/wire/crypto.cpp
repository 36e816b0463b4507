#include "localdrive/wire/crypto.h"

#include <stdexcept>

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

namespace localdrive {
namespace {

const unsigned char *bytes(const std::string &text)
{
    return reinterpret_cast<const unsigned char *>(text.data());
}

std::string toHex(const unsigned char *data, std::size_t length)
{
    constexpr char Digits[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(length * 2);
    for (std::size_t i = 0; i < length; ++i) {
        hex += Digits[data[i] >> 4];
        hex += Digits[data[i] & 15];
    }
    return hex;
}

} // namespace

std::string sha256(const std::string &data)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(data.data(), data.size(), digest, &length, EVP_sha256(), nullptr) != 1) {
        throw std::runtime_error("SHA-256 failed");
    }
    return {reinterpret_cast<const char *>(digest), length};
}

std::string sha256Hex(const std::string &data)
{
    const std::string digest = sha256(data);
    return toHex(bytes(digest), digest.size());
}

std::string hmacHex(const std::string &key, const std::string &text)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (!HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), bytes(text), text.size(),
              digest, &length)) {
        throw std::runtime_error("HMAC failed");
    }
    return toHex(digest, length);
}

std::string randomHex(int count)
{
    std::string data(static_cast<std::size_t>(count), '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char *>(data.data()), count) != 1) {
        throw std::runtime_error("no random numbers");
    }
    return toHex(bytes(data), data.size());
}

std::string toBase64Url(const std::string &data)
{
    std::string text(4 * ((data.size() + 2) / 3) + 1, '\0');
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char *>(text.data()), bytes(data),
                                       static_cast<int>(data.size()));
    text.resize(static_cast<std::size_t>(length));
    while (!text.empty() && text.back() == '=') {
        text.pop_back();
    }
    for (char &c : text) {
        c = c == '+' ? '-' : c == '/' ? '_' : c;
    }
    return text;
}

std::optional<std::string> fromBase64Url(const std::string &text)
{
    std::string padded = text;
    for (char &c : padded) {
        c = c == '-' ? '+' : c == '_' ? '/' : c;
    }
    const std::size_t padding = (4 - padded.size() % 4) % 4;
    padded.append(padding, '=');
    std::string data(padded.size() / 4 * 3 + 1, '\0');
    const int length = EVP_DecodeBlock(reinterpret_cast<unsigned char *>(data.data()),
                                       bytes(padded), static_cast<int>(padded.size()));
    if (length < static_cast<int>(padding)) {
        return std::nullopt;
    }
    data.resize(static_cast<std::size_t>(length) - padding);
    return data;
}

bool equalInConstantTime(const std::string &a, const std::string &b)
{
    return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

} // namespace localdrive
