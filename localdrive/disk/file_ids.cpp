#include "localdrive/disk/file_ids.h"

#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "localdrive/wire/crypto.h"

namespace localdrive {

namespace {
constexpr std::size_t IdLength = 40;
} // namespace

bool isAtOrBelow(const std::string &path, const std::string &ancestor)
{
    return ancestor.empty() || (path.compare(0, ancestor.size(), ancestor) == 0 &&
                                (path.size() == ancestor.size() || path[ancestor.size()] == '/'));
}

FileIds::FileIds(std::string secret, std::string driveId)
    : m_secret(std::move(secret)), m_driveId(std::move(driveId))
{
}

std::string FileIds::derive(const std::string &path, int generation) const
{
    const std::string seed = m_driveId + '\0' + path + '\0' + std::to_string(generation);
    return hmacHex(m_secret, seed).substr(0, IdLength);
}

std::string FileIds::idFor(const std::string &path)
{
    const auto known = m_idByPath.find(path);
    if (known != m_idByPath.end()) {
        return known->second;
    }
    for (int generation = 0;; ++generation) {
        std::string id = derive(path, generation);
        if (m_retired.count(id) != 0 || m_pathById.count(id) != 0) {
            continue;
        }
        m_idByPath.emplace(path, id);
        m_pathById.emplace(id, path);
        return id;
    }
}

std::optional<std::string> FileIds::pathFor(const std::string &id) const
{
    const auto found = m_pathById.find(id);
    if (found == m_pathById.end()) {
        return std::nullopt;
    }
    return found->second;
}

void FileIds::moved(const std::string &from, const std::string &to)
{
    std::vector<std::pair<std::string, std::string>> moving;
    for (const auto &[path, id] : m_idByPath) {
        if (isAtOrBelow(path, from)) {
            moving.emplace_back(path, id);
        }
    }
    for (const auto &[path, id] : moving) {
        m_idByPath.erase(path);
    }
    for (const auto &[path, id] : moving) {
        const std::string target = to + path.substr(from.size());
        m_idByPath[target] = id;
        m_pathById[id] = target;
    }
}

void FileIds::removed(const std::string &path)
{
    for (auto entry = m_idByPath.begin(); entry != m_idByPath.end();) {
        if (!isAtOrBelow(entry->first, path)) {
            ++entry;
            continue;
        }
        m_retired.insert(entry->second);
        m_pathById.erase(entry->second);
        entry = m_idByPath.erase(entry);
    }
}

nlohmann::json FileIds::state() const
{
    nlohmann::json moved = nlohmann::json::object();
    for (const auto &[path, id] : m_idByPath) {
        if (derive(path, 0) != id) {
            moved[id] = path;
        }
    }
    return {{"moved", moved}, {"retired", m_retired}};
}

void FileIds::restore(const nlohmann::json &state)
{
    m_retired = state.value("retired", m_retired);
    const auto moved = state.value("moved", std::unordered_map<std::string, std::string>());
    for (const auto &[id, path] : moved) {
        m_idByPath[path] = id;
        m_pathById[id] = path;
    }
}

} // namespace localdrive
