#pragma once

#include <string>

namespace backend {

// What the platform knows this service by.
struct Application
{
    std::string id;
    std::string secret;   // Empty: the application has none, and proves itself by PKCE.
    std::string verifier; // Of PKCE; empty with a secret.
};

// Files that were named on the command line; the other places are looked at when they are empty.
struct ApplicationFiles
{
    std::string application;
    std::string pkceKey;
};

// Reads the application from the first of: the named file, MORAVU_BACKEND_CLIENT_ID and
// MORAVU_BACKEND_CLIENT_SECRET in the environment, systemd's credential "application",
// /etc/moravu-backend/application. Its lines are "client_id = ..." and "client_secret = ...".
// Without a secret the verifier comes from a key file, so that it is the same in every instance.
// Throws ConfigurationError.
Application readApplication(const ApplicationFiles &files);

} // namespace backend
