#pragma once

#include "platform/Platform.h"

namespace tessoly::platform {

// Volume figures from statvfs: capacity f_blocks*f_frsize, free f_bavail*f_frsize.
class StatvfsVolumeInfo final : public VolumeInfo {
public:
    [[nodiscard]] std::optional<VolumeAttributes> attributesOfFileSystem(const std::filesystem::path &path) const override;
};

// org.freedesktop.FileManager1.ShowItems over the session bus, falling back
// to opening the parent folder with xdg-open. Shown means the bus call was
// answered or xdg-open exited 0.
class FileManagerRevealer final : public Revealer {
public:
    void reveal(const std::filesystem::path &item) override;
    QCoro::Task<QString> show(std::filesystem::path item) override;
};

// QProcess with an argument vector; output read after exit.
class QtProcessRunner final : public ProcessRunner {
public:
    using ProcessRunner::run;
    [[nodiscard]] QCoro::Task<ProcessOutput> run(std::filesystem::path program, QStringList arguments,
                                                 std::optional<std::chrono::milliseconds> timeLimit) override;
};

// One of Tessoly's own programs: beside the running one (a build tree),
// else where the package installs them.
[[nodiscard]] std::filesystem::path helperProgram(const char *name);

// Whether the machine has a graphics device to render with (a DRM node).
// Without one, OpenGL is emulated on the processor, which draws the window
// slower and keeps tens of megabytes loaded for the life of the process.
[[nodiscard]] bool hasGraphicsDevice();

} // namespace tessoly::platform
