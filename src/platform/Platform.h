#pragma once

#include "platform/DefaultsStore.h"
#include "platform/Locations.h"
#include "platform/MountedVolumes.h"
#include "platform/Notifier.h"
#include "platform/PdfRenderer.h"
#include "platform/ProcessRunner.h"
#include "platform/Revealer.h"
#include "platform/Trash.h"
#include "platform/VolumeInfo.h"

#include <memory>
#include <optional>

namespace tessoly::platform {

// The operations the system needs from the OS, one owned implementation
// each. The application builds one of these at start; tests fill it with
// fakes where a real implementation can't be driven.
struct Platform {
    std::unique_ptr<Locations> locations;
    std::unique_ptr<DefaultsStore> defaults;
    std::unique_ptr<VolumeInfo> volumes;
    std::unique_ptr<Trash> trash;
    std::unique_ptr<Revealer> revealer;
    std::unique_ptr<ProcessRunner> processes;
    std::unique_ptr<MountedVolumes> mounts;
    std::unique_ptr<Notifier> notifier;
    // Prints the storage report; it uses processes, so it comes after them.
    std::unique_ptr<PdfRenderer> pdfRenderer;
    // The local snapshot tool, where the system has one.
    std::optional<std::filesystem::path> snapshotTool;
    // The docker command (it may not exist: then Docker isn't installed) and
    // the simulator tool (xcrun), where the system has one.
    std::filesystem::path dockerTool;
    std::optional<std::filesystem::path> simulatorTool;
};

// The Linux implementations, rooted at the locations the environment gives.
[[nodiscard]] std::unique_ptr<Platform> makeLinuxPlatform();

} // namespace tessoly::platform
