#pragma once

#include "platform/MountedVolumes.h"

#include <QObject>
#include <memory>

class QSocketNotifier;

namespace tessoly::platform {

// One line of /proc/self/mountinfo.
struct MountEntry {
    std::filesystem::path mountPoint;
    std::string fileSystemType;
    std::string source;
    std::string options; // per-mount and super-block options, comma-joined
    unsigned major = 0;
    unsigned minor = 0;
};
[[nodiscard]] std::vector<MountEntry> parseMountInfo(const std::string &text);

// The volumes of the mount table, described as the drive list needs them:
// pseudo and system file systems are not browsable, a volume is external
// when it is mounted under one of the external roots (/media, /run/media,
// /mnt) or lies on a removable or USB block device, and its figures come
// from statvfs. Changes are noticed by polling the table for POLLPRI.
class LinuxMountedVolumes final : public QObject, public MountedVolumes {
    Q_OBJECT

public:
    explicit LinuxMountedVolumes(std::filesystem::path mountInfo = "/proc/self/mountinfo",
                                 std::vector<std::filesystem::path> externalRoots = {"/media", "/run/media", "/mnt"},
                                 QObject *parent = nullptr);
    ~LinuxMountedVolumes() override;

    [[nodiscard]] Listing listing() const override;
    void watch(std::function<void()> onChange) override;

    // "ext4" -> "ext4", "vfat" -> "MS-DOS (FAT)", "exfat" -> "ExFAT", ...
    [[nodiscard]] static QString formatDescription(const std::string &fileSystemType);

private:

    std::filesystem::path m_mountInfo;
    std::vector<std::filesystem::path> m_externalRoots;
    int m_watchFd = -1;
    QSocketNotifier *m_notifier = nullptr;
    std::vector<std::function<void()>> m_listeners;
};

} // namespace tessoly::platform
