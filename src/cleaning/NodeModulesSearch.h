#pragma once

#include <QDateTime>
#include <QString>
#include <filesystem>
#include <optional>
#include <vector>

namespace tessoly {

// A node_modules folder of meaningful size in one of the user's projects.
struct NodeModulesFinding {
    std::filesystem::path url;
    qint64 bytes = 0;
    QString projectName;                      // the parent folder's name
    std::optional<QDateTime> projectLastUsed; // newest of the project's own files, if any
    // Its identity: the folder's path.
    [[nodiscard]] QString id() const;
};

// Finds node_modules folders in the project folders of a home: at most five
// levels below each root, never inside hidden folders, symbolic links or
// another node_modules, and only those of more than 50 MiB. The blocking
// steps, run off the main thread.
class NodeModulesSearch {
public:
    static constexpr int maxDepth = 5;               // a find at depth 5 counts, one at 6 isn't seen
    static constexpr qint64 minimumBytes = 52428800; // strictly more than 50 MiB
    static constexpr int activityDepth = 3;          // project files deeper than this don't count

    // Documents, Desktop, Developer, Projects, dev, code, work: those that exist.
    [[nodiscard]] static std::vector<std::filesystem::path> roots(const std::filesystem::path &home);
    // The findings, biggest first.
    [[nodiscard]] static std::vector<NodeModulesFinding> find(const std::filesystem::path &home);
    // The newest modification time among a project's own visible files at
    // most three levels down, leaving node_modules out.
    [[nodiscard]] static std::optional<QDateTime> projectLastUsed(const std::filesystem::path &project);
};

} // namespace tessoly
