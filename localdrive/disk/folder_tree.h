#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "localdrive/disk/unique_fd.h"

namespace localdrive {

// A file or folder of the disk, by its path relative to the tree's root ("" is the root).
struct Node
{
    std::string path;
    bool isFolder = false;
    std::int64_t size = 0;
    std::int64_t modified = 0; // Milliseconds since the epoch.
    std::int64_t created = 0;

    [[nodiscard]] std::string name() const;
    [[nodiscard]] std::string parentPath() const;
};

std::string joinPath(const std::string &folder, const std::string &name);

// The files below one folder of the disk, and nothing else: every path is walked component by
// component without following symbolic links, so that neither dot-dot nor a link (also one that
// is put there meanwhile) leads out. Links and special files do not exist for it. Operations
// fail by ApiError.
class FolderTree final
{
public:
    // Name, in the root, of the bin that trash() fills. It is neither listed nor reachable.
    static const char *const BinName;

    explicit FolderTree(const std::string &root);

    [[nodiscard]] std::optional<Node> find(const std::string &path) const;
    [[nodiscard]] std::vector<Node> children(const std::string &folder) const;
    [[nodiscard]] UniqueFd openFile(const std::string &path) const;
    // Everything below the root, folders before what they hold; unreadable folders are skipped.
    void walk(const std::function<void(const Node &)> &visit) const;

    void makeFolder(const std::string &path);
    void rename(const std::string &from, const std::string &to); // Never replaces anything.
    void copy(const std::string &from, const std::string &to);
    void trash(const std::string &path);
    void remove(const std::string &path);

private:
    [[nodiscard]] UniqueFd openFolder(const std::string &path) const;
    void copyFile(const Node &from, const std::string &to);

    UniqueFd m_root;
};

// A name for one entry of a folder: UTF-8, 1 to 1,024 bytes, no slash, no control character.
bool isUsableName(const std::string &name);

} // namespace localdrive
