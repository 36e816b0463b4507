#include "localdrive/disk/secret_file.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>

#include "localdrive/disk/unique_fd.h"
#include "localdrive/wire/crypto.h"

namespace localdrive {
namespace {

[[noreturn]] void throwErrno(const std::string &path)
{
    throw std::system_error(errno, std::generic_category(), path);
}

} // namespace

void writeSecretFile(const std::string &path, const std::string &content)
{
    // Never a file that lies there already: somebody else might read it, or be writing it.
    const std::string draft = path + ".draft-" + randomHex(6);
    const UniqueFd file(::open(draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    const auto size = static_cast<ssize_t>(content.size());
    if (!file.isValid() || ::write(file.get(), content.data(), content.size()) != size) {
        throwErrno(draft);
    }
    if (::rename(draft.c_str(), path.c_str()) != 0) {
        throwErrno(path);
    }
}

} // namespace localdrive
