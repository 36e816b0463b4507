#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include <nlohmann/json_fwd.hpp>

namespace localdrive {

// Opaque ids for the paths of one drive. An id stays with its file through renames and moves of
// this server; a path that was left or deleted gives its next file a new id. Ids are derived
// from the path with a secret, so that they are the same in every run with the same secret;
// only what differs from that is state. Not thread-safe.
class FileIds final
{
public:
    FileIds(std::string secret, std::string driveId);

    std::string idFor(const std::string &path);
    [[nodiscard]] std::optional<std::string> pathFor(const std::string &id) const;
    void moved(const std::string &from, const std::string &to); // With all that lies below.
    void removed(const std::string &path);                      // With all that lies below.

    [[nodiscard]] nlohmann::json state() const;
    void restore(const nlohmann::json &state);

private:
    [[nodiscard]] std::string derive(const std::string &path, int generation) const;

    std::string m_secret;
    std::string m_driveId;
    std::unordered_map<std::string, std::string> m_idByPath;
    std::unordered_map<std::string, std::string> m_pathById;
    std::unordered_set<std::string> m_retired;
};

// True for the path itself and all that lies below it.
bool isAtOrBelow(const std::string &path, const std::string &ancestor);

} // namespace localdrive
