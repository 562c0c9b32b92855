#pragma once

#include "platform/MountedVolumes.h"

#include <QString>
#include <QVariantMap>
#include <filesystem>
#include <optional>
#include <vector>

namespace tessoly {

// A volume that may receive moved data; its identity is its mount point.
struct ExternalDrive {
    std::filesystem::path id;
    QString name;
    std::filesystem::path mountPoint;
    qint64 totalBytes = 0;
    qint64 freeBytes = 0;
    QString fileSystem;
    bool isSupported = false;
    std::optional<QString> unsupportedReason{};
    friend bool operator==(const ExternalDrive &, const ExternalDrive &) = default;
};

// Whether a format (as the system describes it) can host symlinked data.
[[nodiscard]] bool isSupportedFormat(const QString &fileSystem);

// The drive list from the system's volumes: browsable, writable, not internal,
// sorted by free space (largest first, ties in the system's order).
[[nodiscard]] std::vector<ExternalDrive> qualifyDrives(const std::vector<platform::VolumeDescription> &volumes);

// For the screens: id, name, mountPoint, totalBytes, freeBytes, fileSystem,
// isSupported, unsupportedReason.
[[nodiscard]] QVariantMap toVariant(const ExternalDrive &drive);

} // namespace tessoly
