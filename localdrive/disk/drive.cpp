#include "localdrive/disk/drive.h"

#include <utility>

#include <nlohmann/json.hpp>

#include "localdrive/disk/file_kinds.h"
#include "localdrive/wire/api_error.h"
#include "localdrive/wire/clock.h"

namespace localdrive {
namespace {

// An unknown id makes the whole folder be walked; not more often than this.
constexpr std::int64_t IndexInterval = 2000;

// "film.mkv" → "film(2).mkv".
std::string numberedName(const std::string &name, int number)
{
    const std::string extension = extensionOf(name);
    const std::size_t stem = extension.empty() ? name.size() : name.size() - extension.size() - 1;
    return name.substr(0, stem) + '(' + std::to_string(number) + ')' + name.substr(stem);
}

[[noreturn]] void throwNotFound()
{
    throw ApiError(404, "NotFound.File", "The file does not exist");
}

} // namespace

Drive::Drive(const std::string &root, std::string driveId, const std::string &secret, bool writable)
    : m_id(std::move(driveId)), m_writable(writable), m_tree(root), m_ids(secret, m_id)
{
}

Node Drive::found(const std::string &path) const
{
    std::optional<Node> node = m_tree.find(path);
    if (!node) {
        throwNotFound();
    }
    return *node;
}

std::optional<std::string> Drive::pathOf(const std::string &fileId)
{
    const std::lock_guard lock(m_mutex);
    std::optional<std::string> path = m_ids.pathFor(fileId);
    if (path || Clock::machineTime() - m_indexed < IndexInterval) {
        return path;
    }
    indexAll();
    return m_ids.pathFor(fileId);
}

void Drive::indexAll()
{
    m_tree.walk([this](const Node &node) { m_ids.idFor(node.path); });
    m_indexed = Clock::machineTime();
}

std::int64_t Drive::usedSpace() const
{
    std::int64_t sum = 0;
    m_tree.walk([&sum](const Node &node) { sum += node.size; });
    return sum;
}

Node Drive::node(const std::string &fileId)
{
    if (fileId == "root") {
        return found({});
    }
    const std::optional<std::string> path = pathOf(fileId);
    if (!path) {
        throwNotFound();
    }
    return found(*path);
}

std::vector<Node> Drive::children(const Node &folder) const
{
    if (!folder.isFolder) {
        throw ApiError(400, "InvalidParameter.ParentFileId", "The parent is not a folder");
    }
    return m_tree.children(folder.path);
}

std::string Drive::idOf(const std::string &path)
{
    if (path.empty()) {
        return "root";
    }
    const std::lock_guard lock(m_mutex);
    return m_ids.idFor(path);
}

void Drive::requireWritable() const
{
    if (!m_writable) {
        throw ApiError(403, "ForbiddenNoPermission.File", "The drive is read-only");
    }
}

Node Drive::changeable(const std::string &fileId)
{
    requireWritable();
    Node result = node(fileId);
    if (result.path.empty()) {
        throw ApiError(403, "ForbiddenNoPermission.File", "The root folder cannot be changed");
    }
    return result;
}

Node Drive::targetFolder(const std::string &fileId)
{
    requireWritable();
    Node folder = node(fileId);
    if (!folder.isFolder) {
        throw ApiError(400, "InvalidParameter.ParentFileId", "The parent is not a folder");
    }
    return folder;
}

std::string Drive::freePath(const std::string &folder, const std::string &name, OnConflict conflict)
{
    if (!isUsableName(name) || (folder.empty() && name == FolderTree::BinName)) {
        throw ApiError(400, "InvalidParameter.Name", "The name cannot be used");
    }
    std::string path = joinPath(folder, name);
    if (conflict == OnConflict::Refuse) {
        return path; // the disk refuses it
    }
    for (int number = 1; m_tree.find(path); ++number) {
        path = joinPath(folder, numberedName(name, number));
    }
    return path;
}

Node Drive::createFolder(const std::string &parentId, const std::string &name, OnConflict conflict)
{
    const std::lock_guard lock(m_mutex);
    const std::string path = freePath(targetFolder(parentId).path, name, conflict);
    m_tree.makeFolder(path);
    return found(path);
}

Node Drive::relocate(const Node &node, const std::string &folder, const std::string &name,
                     OnConflict conflict)
{
    if (joinPath(folder, name) == node.path) {
        return node;
    }
    if (node.isFolder && isAtOrBelow(folder, node.path)) {
        throw ApiError(400, "InvalidParameter.ToParentFileId", "A folder cannot go into itself");
    }
    const std::string path = freePath(folder, name, conflict);
    m_ids.idFor(node.path);
    m_tree.rename(node.path, path);
    m_ids.moved(node.path, path);
    return found(path);
}

Node Drive::rename(const std::string &fileId, const std::string &name, OnConflict conflict)
{
    const std::lock_guard lock(m_mutex);
    const Node node = changeable(fileId);
    return relocate(node, node.parentPath(), name, conflict);
}

Node Drive::move(const std::string &fileId, const std::string &toParentId,
                 const std::string &newName, OnConflict conflict)
{
    const std::lock_guard lock(m_mutex);
    const Node node = changeable(fileId);
    const std::string name = newName.empty() ? node.name() : newName;
    return relocate(node, targetFolder(toParentId).path, name, conflict);
}

Node Drive::copy(const std::string &fileId, const std::string &toParentId, OnConflict conflict)
{
    const std::lock_guard lock(m_mutex);
    const Node node = changeable(fileId);
    const Node folder = targetFolder(toParentId);
    if (node.isFolder && isAtOrBelow(folder.path, node.path)) {
        throw ApiError(400, "InvalidParameter.ToParentFileId", "A folder cannot go into itself");
    }
    const std::string path = freePath(folder.path, node.name(), conflict);
    m_tree.copy(node.path, path);
    return found(path);
}

void Drive::trash(const std::string &fileId)
{
    const std::lock_guard lock(m_mutex);
    const Node node = changeable(fileId);
    m_tree.trash(node.path);
    m_ids.removed(node.path);
}

void Drive::remove(const std::string &fileId)
{
    const std::lock_guard lock(m_mutex);
    const Node node = changeable(fileId);
    m_tree.remove(node.path);
    m_ids.removed(node.path);
}

nlohmann::json Drive::idState()
{
    const std::lock_guard lock(m_mutex);
    return m_ids.state();
}

void Drive::restoreIds(const nlohmann::json &state)
{
    const std::lock_guard lock(m_mutex);
    m_ids.restore(state);
}

} // namespace localdrive
