#pragma once

#include "platform/PlaceGuard.h"

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

    // Documents, Desktop, Developer, Projects, dev, code, work: those that
    // exist and the guard allows, resolved (a link to the user's own folder
    // on another disk is followed), and why any other was left out.
    [[nodiscard]] static platform::SearchRoots roots(const std::filesystem::path &home);
    // Why a folder may not be removed as a project's node_modules (empty when
    // it may): it must be named so and lie inside a project folder searched.
    [[nodiscard]] static QString refusalToRemove(const std::filesystem::path &folder, const std::filesystem::path &home);
    // The findings, biggest first.
    [[nodiscard]] static std::vector<NodeModulesFinding> find(const std::filesystem::path &home);
    // The newest modification time among a project's own visible files at
    // most three levels down, leaving node_modules out.
    [[nodiscard]] static std::optional<QDateTime> projectLastUsed(const std::filesystem::path &project);
};

} // namespace tessoly
