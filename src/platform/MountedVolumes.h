#pragma once

#include <QString>
#include <QtGlobal>
#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

namespace tessoly::platform {

// What the system says of one mounted volume. Any value may be unknown.
struct VolumeDescription {
    std::filesystem::path mountPoint;
    std::optional<bool> isBrowsable{};
    std::optional<bool> isReadOnly{};
    std::optional<bool> isInternal{};
    std::optional<bool> isRemovable{};
    std::optional<QString> name{};
    std::optional<qint64> totalCapacity{};
    std::optional<qint64> availableCapacity{};
    std::optional<QString> formatDescription{};
};

class MountedVolumes {
public:
    virtual ~MountedVolumes() = default;
    using Listing = std::function<std::vector<VolumeDescription>()>;
    // A self-contained listing that a worker thread may run even after this
    // object is gone: the mounted volumes in the system's order, hidden ones
    // left out, volumes whose values can't be read not listed.
    [[nodiscard]] virtual Listing listing() const = 0;
    [[nodiscard]] std::vector<VolumeDescription> mountedVolumes() const { return listing()(); }
    // Calls back on the main thread after something was mounted or unmounted.
    virtual void watch(std::function<void()> onChange) = 0;
};

} // namespace tessoly::platform
