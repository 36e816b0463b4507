#include "backend/secrets/server_tls.h"

#include <openssl/pem.h>

#include "backend/secrets/secret_file.h"
#include "backend/wire/configuration_error.h"

namespace backend {

TlsContext serverTls(const std::string &certificate, const std::string &key)
{
    if (certificate.empty() && key.empty()) {
        return nullptr;
    }
    const std::string pem = readSecretFile(key);
    const std::unique_ptr<BIO, decltype(&BIO_free)> memory(
        BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())), &BIO_free);
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> privateKey(
        PEM_read_bio_PrivateKey(memory.get(), nullptr, nullptr, nullptr), &EVP_PKEY_free);
    TlsContext context(SSL_CTX_new(TLS_server_method()));
    if (!context || SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) != 1) {
        throw ConfigurationError("TLS cannot be set up");
    }
    SSL_CTX_set_options(context.get(), SSL_OP_NO_RENEGOTIATION | SSL_OP_IGNORE_UNEXPECTED_EOF);
    SSL_CTX_set_mode(context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE |
                                        SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER |
                                        SSL_MODE_RELEASE_BUFFERS);
    if (SSL_CTX_use_certificate_chain_file(context.get(), certificate.c_str()) != 1) {
        throw ConfigurationError(certificate + ": no certificate can be read");
    }
    if (!privateKey || SSL_CTX_use_PrivateKey(context.get(), privateKey.get()) != 1) {
        throw ConfigurationError(key + ": is no key of the certificate");
    }
    return context;
}

} // namespace backend
