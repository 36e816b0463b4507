#pragma once

#include <memory>
#include <string>

#include "backend/wire/tls.h"

namespace backend {

// What connections of clients are encrypted with; null without a certificate. Throws
// ConfigurationError when one of the files is missing or the two do not belong together.
TlsContext serverTls(const std::string &certificate, const std::string &key);

} // namespace backend
