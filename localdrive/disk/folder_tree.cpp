#include "localdrive/disk/folder_tree.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <system_error>

#include <dirent.h>
#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>

#include "localdrive/disk/utf8.h"
#include "localdrive/wire/api_error.h"
#include "localdrive/wire/clock.h"

namespace localdrive {
namespace {

constexpr int OpenFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr std::size_t LongestName = 1024;

[[noreturn]] void throwErrno(int error)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
        throw ApiError(404, "NotFound.File", "The file does not exist");
    case EEXIST:
    case ENOTEMPTY:
        throw ApiError(409, "AlreadyExist.File", "A file of this name exists");
    case EACCES:
    case EPERM:
    case EROFS:
        throw ApiError(403, "ForbiddenNoPermission.File", "The file must not be changed");
    case ENAMETOOLONG:
    case EINVAL:
        throw ApiError(400, "InvalidParameter.Name", "The name cannot be used");
    case ENOSPC:
    case EDQUOT:
        throw ApiError(403, "QuotaExhausted.Drive", "The drive is full");
    default:
        throw ApiError(500, "InternalError", std::generic_category().message(error));
    }
}

std::string lastPart(const std::string &path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string allButLastPart(const std::string &path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

std::int64_t milliseconds(const struct statx_timestamp &time)
{
    return time.tv_sec * 1000 + time.tv_nsec / 1000000;
}

std::optional<Node> nodeAt(int folder, const std::string &name, const std::string &path)
{
    struct statx status;
    const int flags = AT_SYMLINK_NOFOLLOW | (name.empty() ? AT_EMPTY_PATH : 0);
    if (statx(folder, name.c_str(), flags, STATX_BASIC_STATS | STATX_BTIME, &status) != 0) {
        return std::nullopt;
    }
    Node node;
    node.path = path;
    node.isFolder = S_ISDIR(status.stx_mode);
    if (!node.isFolder && !S_ISREG(status.stx_mode)) {
        return std::nullopt;
    }
    node.size = node.isFolder ? 0 : static_cast<std::int64_t>(status.stx_size);
    node.modified = milliseconds(status.stx_mtime);
    const bool knowsBirth = (status.stx_mask & STATX_BTIME) != 0;
    node.created =
        knowsBirth ? std::min(milliseconds(status.stx_btime), node.modified) : node.modified;
    return node;
}

std::vector<std::string> namesIn(int folder)
{
    UniqueFd own(::openat(folder, ".", OpenFolderFlags));
    const std::unique_ptr<DIR, int (*)(DIR *)> stream(fdopendir(own.get()), &closedir);
    if (!stream) {
        throwErrno(errno);
    }
    static_cast<void>(own.release()); // the stream closes it
    std::vector<std::string> names;
    while (const dirent *entry = readdir(stream.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(name);
        }
    }
    return names;
}

// Removes also what the tree does not show: links (not what they lead to) and special files.
void removeAt(int parent, const std::string &name)
{
    if (::unlinkat(parent, name.c_str(), 0) == 0) {
        return;
    }
    if (errno != EISDIR && errno != EPERM) {
        throwErrno(errno);
    }
    const UniqueFd folder(::openat(parent, name.c_str(), OpenFolderFlags));
    if (!folder.isValid()) {
        throwErrno(errno);
    }
    for (const std::string &below : namesIn(folder.get())) {
        removeAt(folder.get(), below);
    }
    if (::unlinkat(parent, name.c_str(), AT_REMOVEDIR) != 0) {
        throwErrno(errno);
    }
}

} // namespace

const char *const FolderTree::BinName = ".localdrive-trash";

std::string joinPath(const std::string &folder, const std::string &name)
{
    return folder.empty() ? name : folder + '/' + name;
}

std::string Node::name() const
{
    return lastPart(path);
}

std::string Node::parentPath() const
{
    return allButLastPart(path);
}

bool isUsableName(const std::string &name)
{
    const bool hasControl = std::any_of(name.begin(), name.end(), [](unsigned char c) {
        return c < 0x20 || c == 0x7f || c == '/';
    });
    return !name.empty() && name.size() <= LongestName && !hasControl && name != "." &&
           name != ".." && isUtf8(name);
}

FolderTree::FolderTree(const std::string &root)
    : m_root(::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    if (!m_root.isValid()) {
        throw std::system_error(errno, std::generic_category(), root);
    }
}

UniqueFd FolderTree::openFolder(const std::string &path) const
{
    UniqueFd folder(::openat(m_root.get(), ".", OpenFolderFlags));
    std::size_t begin = 0;
    while (folder.isValid() && !path.empty() && begin <= path.size()) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        const std::string part = path.substr(begin, end - begin);
        if (part.empty() || part == "." || part == ".." || (begin == 0 && part == BinName)) {
            errno = ENOENT;
            return {};
        }
        folder = UniqueFd(::openat(folder.get(), part.c_str(), OpenFolderFlags));
        begin = end + 1;
    }
    return folder;
}

std::optional<Node> FolderTree::find(const std::string &path) const
{
    if (path.empty()) {
        return nodeAt(m_root.get(), {}, {});
    }
    const std::string name = lastPart(path);
    if (name.empty() || name == "." || name == ".." || path == BinName) {
        return std::nullopt;
    }
    const UniqueFd folder = openFolder(allButLastPart(path));
    return folder.isValid() ? nodeAt(folder.get(), name, path) : std::nullopt;
}

std::vector<Node> FolderTree::children(const std::string &path) const
{
    const UniqueFd folder = openFolder(path);
    if (!folder.isValid()) {
        throwErrno(errno);
    }
    std::vector<Node> nodes;
    for (const std::string &name : namesIn(folder.get())) {
        // A name that is not UTF-8 could not be told in JSON.
        if (!isUsableName(name) || (path.empty() && name == BinName)) {
            continue;
        }
        if (std::optional<Node> node = nodeAt(folder.get(), name, joinPath(path, name))) {
            nodes.push_back(std::move(*node));
        }
    }
    return nodes;
}

UniqueFd FolderTree::openFile(const std::string &path) const
{
    const std::optional<Node> node = find(path);
    if (!node || node->isFolder) {
        throwErrno(ENOENT);
    }
    const UniqueFd folder = openFolder(allButLastPart(path));
    UniqueFd file(::openat(folder.get(), lastPart(path).c_str(),
                           O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    if (!file.isValid()) {
        throwErrno(errno);
    }
    return file;
}

void FolderTree::walk(const std::function<void(const Node &)> &visit) const
{
    std::vector<std::string> folders = {std::string()};
    while (!folders.empty()) {
        const std::string folder = std::move(folders.back());
        folders.pop_back();
        try {
            for (Node &node : children(folder)) {
                visit(node);
                if (node.isFolder) {
                    folders.push_back(std::move(node.path));
                }
            }
        } catch (const ApiError &) {
            continue;
        }
    }
}

void FolderTree::makeFolder(const std::string &path)
{
    const UniqueFd parent = openFolder(allButLastPart(path));
    if (!parent.isValid() || ::mkdirat(parent.get(), lastPart(path).c_str(), 0777) != 0) {
        throwErrno(errno);
    }
}

void FolderTree::rename(const std::string &from, const std::string &to)
{
    const UniqueFd source = openFolder(allButLastPart(from));
    const UniqueFd target = openFolder(allButLastPart(to));
    if (!source.isValid() || !target.isValid()) {
        throwErrno(ENOENT);
    }
    if (::renameat2(source.get(), lastPart(from).c_str(), target.get(), lastPart(to).c_str(),
                    RENAME_NOREPLACE) != 0) {
        throwErrno(errno);
    }
}

void FolderTree::copyFile(const Node &from, const std::string &to)
{
    const UniqueFd source = openFile(from.path);
    const UniqueFd parent = openFolder(allButLastPart(to));
    const UniqueFd target(::openat(parent.get(), lastPart(to).c_str(),
                                   O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!target.isValid()) {
        throwErrno(errno);
    }
    constexpr std::size_t Piece = std::size_t{1} << 24;
    ssize_t copied = 0;
    do {
        copied = ::sendfile(target.get(), source.get(), nullptr, Piece);
    } while (copied > 0);
    if (copied < 0) {
        throwErrno(errno);
    }
}

void FolderTree::copy(const std::string &from, const std::string &to)
{
    const std::optional<Node> node = find(from);
    if (!node) {
        throwErrno(ENOENT);
    }
    if (!node->isFolder) {
        copyFile(*node, to);
        return;
    }
    const std::vector<Node> below = children(from);
    makeFolder(to);
    for (const Node &child : below) {
        copy(child.path, joinPath(to, child.name()));
    }
}

void FolderTree::trash(const std::string &path)
{
    const UniqueFd source = openFolder(allButLastPart(path));
    if (!source.isValid()) {
        throwErrno(errno);
    }
    if (::mkdirat(m_root.get(), BinName, 0700) != 0 && errno != EEXIST) {
        throwErrno(errno);
    }
    const UniqueFd bin(::openat(m_root.get(), BinName, OpenFolderFlags));
    const std::string time = isoTime(Clock::machineTime());
    for (int number = 0; number < 1000; ++number) {
        // A folder for each keeps the name, however long, and whatever else was trashed.
        const std::string slot = time + '-' + std::to_string(number);
        if (::mkdirat(bin.get(), slot.c_str(), 0700) != 0) {
            continue;
        }
        const UniqueFd target(::openat(bin.get(), slot.c_str(), OpenFolderFlags));
        const std::string name = lastPart(path);
        if (::renameat(source.get(), name.c_str(), target.get(), name.c_str()) != 0) {
            throwErrno(errno);
        }
        return;
    }
    throwErrno(EEXIST);
}

void FolderTree::remove(const std::string &path)
{
    if (!find(path)) {
        throwErrno(ENOENT);
    }
    const UniqueFd parent = openFolder(allButLastPart(path));
    if (!parent.isValid()) {
        throwErrno(errno);
    }
    removeAt(parent.get(), lastPart(path));
}

} // namespace localdrive
