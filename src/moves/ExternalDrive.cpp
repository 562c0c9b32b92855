#include "moves/ExternalDrive.h"

#include "platform/PathText.h"

#include <algorithm>

namespace tessoly {

bool isSupportedFormat(const QString &fileSystem)
{
    const QString lower = fileSystem.toLower();
    if (lower.contains(QLatin1String("apfs")) || lower.contains(QLatin1String("mac os extended"))
        || lower.contains(QLatin1String("hfs")))
        return true;
    // The POSIX file systems of Linux keep symlinks, modes and times as they are.
    static const QStringList posix{QStringLiteral("ext2"), QStringLiteral("ext3"), QStringLiteral("ext4"),
                                   QStringLiteral("btrfs"), QStringLiteral("xfs"), QStringLiteral("f2fs"),
                                   QStringLiteral("zfs")};
    return posix.contains(lower);
}

std::vector<ExternalDrive> qualifyDrives(const std::vector<platform::VolumeDescription> &volumes)
{
    std::vector<ExternalDrive> drives;
    for (const platform::VolumeDescription &volume : volumes) {
        if (!volume.isBrowsable.value_or(false))
            continue;
        if (volume.isReadOnly.value_or(false) || volume.isInternal.value_or(false))
            continue;
        ExternalDrive drive;
        drive.id = volume.mountPoint;
        drive.mountPoint = volume.mountPoint;
        drive.name = volume.name && !volume.name->isEmpty() ? *volume.name
                                                            : pathToText(volume.mountPoint.filename());
        if (drive.name.isEmpty())
            drive.name = pathToText(volume.mountPoint);
        drive.totalBytes = volume.totalCapacity.value_or(0);
        drive.freeBytes = volume.availableCapacity.value_or(0);
        drive.fileSystem = volume.formatDescription.value_or(QStringLiteral("Unknown"));
        drive.isSupported = isSupportedFormat(drive.fileSystem);
        if (!drive.isSupported)
            drive.unsupportedReason =
                drive.fileSystem
                + QStringLiteral(" drives can't reliably host symlinked app data. Format as APFS to use this drive.");
        drives.push_back(std::move(drive));
    }
    std::stable_sort(drives.begin(), drives.end(),
                     [](const ExternalDrive &a, const ExternalDrive &b) { return a.freeBytes > b.freeBytes; });
    return drives;
}

QVariantMap toVariant(const ExternalDrive &drive)
{
    return {
        {QStringLiteral("id"), pathToText(drive.id)},
        {QStringLiteral("name"), drive.name},
        {QStringLiteral("mountPoint"), pathToText(drive.mountPoint)},
        {QStringLiteral("totalBytes"), drive.totalBytes},
        {QStringLiteral("freeBytes"), drive.freeBytes},
        {QStringLiteral("fileSystem"), drive.fileSystem},
        {QStringLiteral("isSupported"), drive.isSupported},
        {QStringLiteral("unsupportedReason"), drive.unsupportedReason.value_or(QString())},
    };
}

} // namespace tessoly
