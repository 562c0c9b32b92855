#pragma once

#include <QtGlobal>
#include <filesystem>
#include <optional>

namespace tessoly::platform {

// Figures of the volume that holds a path. Either figure may be missing.
struct VolumeAttributes {
    std::optional<qint64> systemSize;
    std::optional<qint64> systemFreeSize;
};

class VolumeInfo {
public:
    virtual ~VolumeInfo() = default;
    // nullopt when the query itself failed.
    [[nodiscard]] virtual std::optional<VolumeAttributes> attributesOfFileSystem(const std::filesystem::path &path) const = 0;
};

} // namespace tessoly::platform
