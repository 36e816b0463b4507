#include "backend/secrets/secret_file.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

#include "backend/secrets/environment.h"
#include "backend/wire/configuration_error.h"
#include "backend/wire/unique_fd.h"

namespace backend {
namespace {

constexpr std::size_t LargestFile = 65536;

bool isCredential(const std::string &path)
{
    const std::string folder = environment("CREDENTIALS_DIRECTORY");
    return !folder.empty() && path.rfind(folder + '/', 0) == 0;
}

} // namespace

std::string readSecretFile(const std::string &path)
{
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    struct stat facts
    {
    };
    if (!file || ::fstat(file.get(), &facts) != 0) {
        throw ConfigurationError(path + ": " + std::strerror(errno));
    }
    if (!S_ISREG(facts.st_mode)) {
        throw ConfigurationError(path + ": is not a file");
    }
    const mode_t foreign = isCredential(path) ? S_IRWXO : S_IRWXG | S_IRWXO;
    if ((facts.st_mode & foreign) != 0) {
        throw ConfigurationError(path + ": others can reach it; chmod 600 keeps them out");
    }
    std::string content(LargestFile + 1, '\0');
    std::size_t size = 0;
    ssize_t count = 0;
    while ((count = ::read(file.get(), &content[size], content.size() - size)) > 0) {
        size += static_cast<std::size_t>(count);
    }
    if (count < 0 || size > LargestFile) {
        throw ConfigurationError(path + (count < 0 ? ": cannot be read" : ": is too large"));
    }
    content.resize(size);
    return content;
}

} // namespace backend
