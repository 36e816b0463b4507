#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "localdrive/disk/file_ids.h"
#include "localdrive/disk/folder_tree.h"

namespace localdrive {

// What to do when a name is taken.
enum class OnConflict { Refuse, AutoRename };

// One account's drive: files by id, and the changes that the Open API offers. Everything fails
// by ApiError. Thread-safe.
class Drive final
{
public:
    Drive(const std::string &root, std::string driveId, const std::string &secret, bool writable);

    // While it is held nothing changes: several answers that belong to one state of the drive.
    [[nodiscard]] std::unique_lock<std::recursive_mutex> hold()
    {
        return std::unique_lock(m_mutex);
    }

    [[nodiscard]] const std::string &id() const { return m_id; }
    [[nodiscard]] bool isWritable() const { return m_writable; }

    [[nodiscard]] Node node(const std::string &fileId); // "root" is the root folder.
    [[nodiscard]] std::vector<Node> children(const Node &folder) const;
    [[nodiscard]] std::string idOf(const std::string &path);
    [[nodiscard]] UniqueFd openFile(const std::string &path) const { return m_tree.openFile(path); }
    [[nodiscard]] std::int64_t usedSpace() const; // Sum of all file sizes.

    Node createFolder(const std::string &parentId, const std::string &name, OnConflict conflict);
    Node rename(const std::string &fileId, const std::string &name, OnConflict conflict);
    Node move(const std::string &fileId, const std::string &toParentId, const std::string &newName,
              OnConflict conflict);
    Node copy(const std::string &fileId, const std::string &toParentId, OnConflict conflict);
    void trash(const std::string &fileId);
    void remove(const std::string &fileId);

    // The ids that differ from those every run derives, for storing.
    [[nodiscard]] nlohmann::json idState();
    void restoreIds(const nlohmann::json &state);

private:
    std::optional<std::string> pathOf(const std::string &fileId);
    void indexAll();
    Node changeable(const std::string &fileId);
    Node targetFolder(const std::string &fileId);
    std::string freePath(const std::string &folder, const std::string &name, OnConflict conflict);
    Node relocate(const Node &node, const std::string &folder, const std::string &name,
                  OnConflict conflict);
    void requireWritable() const;
    Node found(const std::string &path) const;

    std::string m_id;
    const bool m_writable;
    FolderTree m_tree;
    std::recursive_mutex m_mutex; // Guards the ids, and makes a check and its change one step.
    FileIds m_ids;
    std::int64_t m_indexed = 0;
};

} // namespace localdrive
