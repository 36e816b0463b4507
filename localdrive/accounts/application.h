#pragma once

#include <string>

namespace localdrive {

// An application of the platform, as the product backend shows itself to be one.
struct ApplicationOptions
{
    std::string id = "moravu-local";
    std::string secret = "moravu-local-secret";
};

// Reads "client_id = ..." and "client_secret = ..." from a file, as the product backend does; where
// there is none, one with a random secret is made first. Throws std::runtime_error.
ApplicationOptions applicationIn(const std::string &path);

} // namespace localdrive
