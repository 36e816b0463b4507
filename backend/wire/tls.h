#pragma once

#include <memory>

#include <openssl/ssl.h>

namespace backend {

struct TlsDeleter
{
    void operator()(SSL *ssl) const { SSL_free(ssl); }
    void operator()(SSL_CTX *context) const { SSL_CTX_free(context); }
};

using TlsSession = std::unique_ptr<SSL, TlsDeleter>;
using TlsContext = std::unique_ptr<SSL_CTX, TlsDeleter>; // Null: plain HTTP.

} // namespace backend
