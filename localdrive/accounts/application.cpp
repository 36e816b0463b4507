#include "localdrive/accounts/application.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "localdrive/disk/secret_file.h"
#include "localdrive/wire/crypto.h"

namespace localdrive {

ApplicationOptions applicationIn(const std::string &path)
{
    ApplicationOptions application;
    if (!std::filesystem::exists(path)) {
        application.secret = randomHex(32);
        writeSecretFile(path, "client_id = " + application.id +
                                  "\nclient_secret = " + application.secret + '\n');
        return application;
    }
    application = {{}, {}};
    std::ifstream file(path);
    for (std::string key, equals, value; file >> key >> equals >> value;) {
        (key == "client_id" ? application.id : application.secret) = value;
    }
    if (application.id.empty() || application.secret.empty()) {
        throw std::runtime_error(path + ": lacks client_id or client_secret");
    }
    return application;
}

} // namespace localdrive
