#include "api/session/report_cipher.h"

#include <memory>

#include <openssl/evp.h>

#include <QDebug>

namespace {

constexpr int BlockSize = 16;
constexpr int KeySize = 24;

const unsigned char *bytes(const QByteArray &data)
{
    return reinterpret_cast<const unsigned char *>(data.constData());
}

} // namespace

QByteArray encryptAes192(const QByteArray &plain, const QByteArray &key)
{
    if (key.size() != KeySize) {
        qWarning() << "AES-192 needs a key of" << KeySize << "bytes, got" << key.size();
        return {};
    }
    QByteArray cipher(plain.size() + BlockSize, Qt::Uninitialized);
    auto *out = reinterpret_cast<unsigned char *>(cipher.data());
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
        EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    int written = 0;
    int padded = 0;
    // Padding is PKCS#7 unless it is switched off.
    if (!context ||
        EVP_EncryptInit_ex(context.get(), EVP_aes_192_ecb(), nullptr, bytes(key), nullptr) != 1 ||
        EVP_EncryptUpdate(context.get(), out, &written, bytes(plain), plain.size()) != 1 ||
        EVP_EncryptFinal_ex(context.get(), out + written, &padded) != 1) {
        qWarning() << "AES-192 encryption failed";
        return {};
    }
    cipher.truncate(written + padded);
    return cipher;
}
