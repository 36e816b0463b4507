#include "backend/secrets/application.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "backend/secrets/crypto.h"
#include "backend/secrets/environment.h"
#include "backend/secrets/secret_file.h"
#include "backend/wire/configuration_error.h"
#include "backend/wire/text.h"

namespace fs = std::filesystem;

namespace backend {
namespace {

constexpr char Folder[] = "/etc/moravu-backend";
constexpr std::size_t ShortestKey = 32;

// Nothing that JSON would have to escape: a reply can then be searched for a secret as it stands.
void requireToken(const std::string &value, const std::string &what)
{
    const bool isToken = !value.empty() && std::all_of(value.begin(), value.end(), [](char c) {
        return c > ' ' && c < 127 && c != '"' && c != '\\';
    });
    if (!isToken) {
        throw ConfigurationError(what + " is missing or holds a blank, a quote or a backslash");
    }
}

Application parse(const std::string &content, const std::string &path)
{
    Application application;
    std::istringstream lines(content);
    for (std::string line; std::getline(lines, line);) {
        line = trimmed(line);
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const std::size_t equals = std::min(line.find('='), line.size());
        const std::string key = trimmed(line.substr(0, equals));
        const std::string value = equals < line.size() ? trimmed(line.substr(equals + 1)) : "";
        if (key == "client_id") {
            application.id = value;
        } else if (key == "client_secret") {
            application.secret = value;
        } else {
            // Not quoted: it may be a secret without its key.
            throw ConfigurationError(path + ": a line is neither client_id nor client_secret");
        }
    }
    requireToken(application.id, path + ": client_id");
    return application;
}

// The content of a file of that name, from where systemd or the administrator put it.
std::string findFile(const std::string &named, const char *name, std::string &path)
{
    path = named;
    if (!named.empty()) {
        return readSecretFile(named);
    }
    const std::string credentials = environment("CREDENTIALS_DIRECTORY");
    path = (fs::path(credentials) / name).string();
    std::error_code ignored;
    if (!credentials.empty() && fs::exists(path, ignored)) {
        return readSecretFile(path);
    }
    path = (fs::path(Folder) / name).string();
    return readSecretFile(path);
}

std::string verifierOf(const std::string &id, const std::string &keyFile)
{
    std::string path;
    std::string key;
    try {
        key = findFile(keyFile, "pkce-key", path);
    } catch (const ConfigurationError &error) {
        throw ConfigurationError(std::string("without a client_secret a PKCE key is needed: ") +
                                 error.what());
    }
    if (key.size() < ShortestKey) {
        throw ConfigurationError(path + ": a key has at least 32 bytes");
    }
    return toBase64Url(hmacSha256(key, id));
}

} // namespace

Application readApplication(const ApplicationFiles &files)
{
    Application application;
    application.id = environment("MORAVU_BACKEND_CLIENT_ID");
    if (files.application.empty() && !application.id.empty()) {
        application.secret = environment("MORAVU_BACKEND_CLIENT_SECRET");
        requireToken(application.id, "MORAVU_BACKEND_CLIENT_ID");
    } else {
        std::string path;
        const std::string content = findFile(files.application, "application", path);
        application = parse(content, path);
    }
    if (application.secret.empty()) {
        application.verifier = verifierOf(application.id, files.pkceKey);
    } else {
        requireToken(application.secret, "client_secret");
    }
    return application;
}

} // namespace backend
