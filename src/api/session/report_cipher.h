#pragma once

#include <QByteArray>

// AES-192 in ECB mode with PKCS#7 padding and no initialisation vector. The key has 24 bytes. The
// result is at least one byte longer than `plain`, in whole blocks of 16; empty on failure, which
// is logged.
[[nodiscard]] QByteArray encryptAes192(const QByteArray &plain, const QByteArray &key);
