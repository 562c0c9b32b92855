#pragma once

#include <QtGlobal>
#include <filesystem>
#include <optional>

namespace tessoly::platform {

// Figures of the volume that holds a path. Either figure may be missing.
struct VolumeAttributes {
    std::optional<qint64> systemSize{};
    std::optional<qint64> systemFreeSize{};
    // Space available to a program, plainly and for "important" use (which
    // may count space the system could purge). Linux has no purgeable
    // space: both are the space available to the user.
    std::optional<qint64> availableCapacity{};
    std::optional<qint64> availableCapacityForImportantUsage{};
};

class VolumeInfo {
public:
    virtual ~VolumeInfo() = default;
    // nullopt when the query itself failed.
    [[nodiscard]] virtual std::optional<VolumeAttributes> attributesOfFileSystem(const std::filesystem::path &path) const = 0;
};

} // namespace tessoly::platform
