// Which mounted volumes may receive a move, from the volume descriptions,
// from a mount table, and from real loop-mounted drives.
#include "MovesSupport.h"
#include "moves/ExternalDriveManager.h"
#include "platform/linux/LinuxMountedVolumes.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <gtest/gtest.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

platform::VolumeDescription volume(const std::string &mountPoint, qint64 free, std::optional<QString> format)
{
    platform::VolumeDescription description;
    description.mountPoint = mountPoint;
    description.isBrowsable = true;
    description.isReadOnly = false;
    description.isInternal = false;
    description.name = QString::fromStdString(fs::path(mountPoint).filename().native()) + " label";
    description.totalCapacity = 1'000'000'000;
    description.availableCapacity = free;
    description.formatDescription = std::move(format);
    return description;
}

std::vector<std::string> mountPoints(const std::vector<ExternalDrive> &drives)
{
    std::vector<std::string> points;
    for (const ExternalDrive &drive : drives)
        points.push_back(drive.mountPoint.native());
    return points;
}

const platform::VolumeDescription *find(const std::vector<platform::VolumeDescription> &volumes, const fs::path &point)
{
    for (const auto &v : volumes)
        if (v.mountPoint == point)
            return &v;
    return nullptr;
}

} // namespace

TEST(DriveQualification, WhatQualifiesAndHowItIsDescribed)
{
    std::vector<platform::VolumeDescription> volumes;
    volumes.push_back(volume("/media/Stick", 500, QString("ExFAT")));
    auto readOnly = volume("/media/DiskImage", 900, QString("ext4"));
    readOnly.isReadOnly = true;
    volumes.push_back(readOnly);
    auto internal = volume("/", 800, QString("ext4"));
    internal.isInternal = true;
    volumes.push_back(internal);
    auto hidden = volume("/media/Hidden", 700, QString("ext4"));
    hidden.isBrowsable = std::nullopt; // absent: doesn't qualify
    volumes.push_back(hidden);
    auto unnamed = volume("/media/NoName", 300, QString("ext4"));
    unnamed.name = std::nullopt;
    volumes.push_back(unnamed);
    volumes.push_back(volume("/media/Mystery", 300, std::nullopt));
    auto network = volume("/mnt/share", 600, QString("SMB (Windows file sharing)"));
    network.isReadOnly = std::nullopt; // absent: doesn't disqualify
    network.isInternal = std::nullopt;
    volumes.push_back(network);
    volumes.push_back(volume("/media/Backup", 300, QString("APFS")));

    const std::vector<ExternalDrive> drives = qualifyDrives(volumes);
    // Largest free space first; the three with 300 bytes keep the system's order.
    EXPECT_EQ(mountPoints(drives),
        (std::vector<std::string>{"/mnt/share", "/media/Stick", "/media/NoName", "/media/Mystery", "/media/Backup"}));

    const ExternalDrive &share = drives[0];
    EXPECT_FALSE(share.isSupported);
    EXPECT_EQ(share.unsupportedReason,
        QString("SMB (Windows file sharing) drives can't reliably host symlinked app data. Format as APFS to use "
                "this drive."));
    const ExternalDrive &stick = drives[1];
    EXPECT_EQ(stick.name, "Stick label");
    EXPECT_FALSE(stick.isSupported);
    EXPECT_TRUE(stick.unsupportedReason.value_or("").startsWith("ExFAT drives can't reliably host symlinked app data."));
    EXPECT_EQ(drives[2].name, "NoName");
    EXPECT_TRUE(drives[2].isSupported);
    EXPECT_FALSE(drives[2].unsupportedReason.has_value());
    EXPECT_EQ(drives[3].fileSystem, "Unknown");
    EXPECT_FALSE(drives[3].isSupported);
    EXPECT_EQ(drives[3].unsupportedReason,
        QString("Unknown drives can't reliably host symlinked app data. Format as APFS to use this drive."));
    EXPECT_TRUE(drives[4].isSupported);
    // Missing figures read as 0.
    auto bare = volume("/media/Bare", 0, QString("ext4"));
    bare.totalCapacity = std::nullopt;
    bare.availableCapacity = std::nullopt;
    const std::vector<ExternalDrive> one = qualifyDrives({bare});
    ASSERT_EQ(one.size(), 1u);
    EXPECT_EQ(one[0].totalBytes, 0);
    EXPECT_EQ(one[0].freeBytes, 0);
    for (const char *yes : {"APFS", "Mac OS Extended (Journaled)", "hfs", "ext4", "ext3", "ext2", "btrfs", "xfs"})
        EXPECT_TRUE(isSupportedFormat(yes)) << yes;
    for (const char *no : {"ExFAT", "MS-DOS (FAT)", "NTFS", "Unknown", "ISO 9660", ""})
        EXPECT_FALSE(isSupportedFormat(no)) << no;
    EXPECT_EQ(platform::LinuxMountedVolumes::formatDescription("exfat"), "ExFAT");
    EXPECT_EQ(platform::LinuxMountedVolumes::formatDescription("vfat"), "MS-DOS (FAT)");
    EXPECT_EQ(platform::LinuxMountedVolumes::formatDescription("ext4"), "ext4");
}

TEST(MountTable, ParsesEscapesOptionsAndSkipsPseudoFileSystems)
{
    TempHome home;
    const fs::path media = home.path() / "media";
    const fs::path spaced = media / "My Drive\tTab";
    const fs::path stick = media / "Stick";
    const fs::path locked = media / "Locked";
    const fs::path inside = home.path() / "internal-disk";
    for (const fs::path &p : {spaced, stick, locked, inside})
        fs::create_directories(p);
    // @M is the external root, @I a folder outside it, @H the home.
    std::string table = R"(22 1 0:21 / /proc rw,nosuid - proc proc rw
23 1 0:22 / @M/Stick rw,relatime shared:5 - exfat /dev/sdz1 rw,fmask=0022
24 1 0:23 / @M/My\040Drive\011Tab rw,relatime - ext4 /dev/sdz2 rw
25 1 0:24 / @M/Locked ro,relatime - ext4 /dev/sdz3 ro
26 1 0:25 / @I rw - ext4 /dev/sdz4 rw
27 1 0:26 / @M/Stick/tmp rw - tmpfs tmpfs rw
28 1 0:27 / @H/gone rw - ext4 /dev/sdz5 rw
malformed line without separator
)";
    for (const auto &[mark, path] : {std::pair{"@M", media}, std::pair{"@I", inside}, std::pair{"@H", home.path()}})
        for (std::size_t at; (at = table.find(mark)) != std::string::npos;)
            table.replace(at, 2, path.native());

    const std::vector<platform::MountEntry> entries = platform::parseMountInfo(table);
    ASSERT_EQ(entries.size(), 7u);
    EXPECT_EQ(entries[2].mountPoint, spaced);
    EXPECT_EQ(entries[1].fileSystemType, "exfat");
    EXPECT_EQ(entries[1].source, "/dev/sdz1");
    EXPECT_EQ(entries[1].major, 0u);
    EXPECT_EQ(entries[1].minor, 22u);
    EXPECT_NE(entries[3].options.find("ro"), std::string::npos);

    writeFile(home.path() / "mountinfo", table);
    platform::LinuxMountedVolumes mounts(home.path() / "mountinfo", {media});
    const std::vector<platform::VolumeDescription> volumes = mounts.mountedVolumes();
    // proc and tmpfs are hidden volumes; a mount point that doesn't exist can't be read.
    EXPECT_EQ(find(volumes, "/proc"), nullptr);
    EXPECT_EQ(find(volumes, stick / "tmp"), nullptr);
    EXPECT_EQ(find(volumes, home.path() / "gone"), nullptr);
    ASSERT_NE(find(volumes, spaced), nullptr);
    EXPECT_EQ(find(volumes, spaced)->isInternal, false);
    EXPECT_EQ(find(volumes, stick)->formatDescription, QString("ExFAT"));
    EXPECT_EQ(find(volumes, locked)->isReadOnly, true);
    EXPECT_EQ(find(volumes, inside)->isInternal, true);

    const std::vector<ExternalDrive> drives = qualifyDrives(volumes);
    // Listed: the two writable volumes under the external root. Not: read-only, internal.
    ASSERT_EQ(drives.size(), 2u) << ::testing::PrintToString(mountPoints(drives));
    std::vector<std::string> points = mountPoints(drives);
    std::sort(points.begin(), points.end());
    EXPECT_EQ(points, (std::vector<std::string>{spaced.native(), stick.native()}));
    for (const ExternalDrive &drive : drives) {
        if (drive.mountPoint == stick) {
            EXPECT_FALSE(drive.isSupported);
            EXPECT_TRUE(drive.unsupportedReason->startsWith("ExFAT"));
            EXPECT_EQ(drive.name, "Stick"); // no label for a device that isn't there
        } else {
            EXPECT_TRUE(drive.isSupported);
            EXPECT_EQ(drive.name, "My Drive\tTab");
        }
    }
    // No table at all: nothing, quietly.
    platform::LinuxMountedVolumes missing(home.path() / "no-such-table", {media});
    EXPECT_TRUE(missing.mountedVolumes().empty());
}

TEST(RealDrives, LoopMountedDrivesAreListedThroughTheManager)
{
    if (!canMount())
        GTEST_SKIP() << "mounting isn't permitted here (needs root with mount rights); CI runs this as root";
    ExternalRoot root;
    LoopDrive ext4(root.path(), "Archive", "ext4", 16, "ARCHIVE-LBL");
    ASSERT_TRUE(ext4.ok()) << ext4.error();
    LoopDrive plain(root.path(), "Unlabelled", "ext4", 8);
    ASSERT_TRUE(plain.ok()) << plain.error();

    platform::LinuxMountedVolumes mounts("/proc/self/mountinfo", {root.path()});
    ExternalDriveManager manager(mounts);
    runTask(manager.refresh());
    EXPECT_FALSE(manager.isRefreshing());
    const ExternalDrive *archive = manager.drive(QString::fromStdString(ext4.mountPoint().native()));
    ASSERT_NE(archive, nullptr) << "the ext4 loop drive isn't listed";
    EXPECT_EQ(archive->name, "ARCHIVE-LBL");
    EXPECT_EQ(archive->fileSystem, "ext4");
    EXPECT_TRUE(archive->isSupported);
    EXPECT_GT(archive->totalBytes, 10'000'000);
    EXPECT_GT(archive->freeBytes, 0);
    EXPECT_LE(archive->freeBytes, archive->totalBytes);
    const ExternalDrive *unlabelled = manager.drive(QString::fromStdString(plain.mountPoint().native()));
    ASSERT_NE(unlabelled, nullptr);
    EXPECT_EQ(unlabelled->name, "Unlabelled");
    // The bigger drive comes first.
    ASSERT_GE(manager.drives().size(), 2u);
    EXPECT_EQ(manager.supportedDrives().size(), manager.drives().size());

    // Read-only: no longer listed. Unmounted: gone.
    ASSERT_TRUE(ext4.remount("ro"));
    runTask(manager.refresh());
    EXPECT_EQ(manager.drive(QString::fromStdString(ext4.mountPoint().native())), nullptr);
    ASSERT_TRUE(plain.unmount());
    runTask(manager.refresh());
    EXPECT_EQ(manager.drive(QString::fromStdString(plain.mountPoint().native())), nullptr);
}

TEST(RealDrives, FatAndExfatDrivesAreListedAsUnsupported)
{
    if (!canMount())
        GTEST_SKIP() << "mounting isn't permitted here (needs root with mount rights); CI runs this as root";
    ExternalRoot root;
    int tried = 0;
    for (const auto &[type, description] : {std::pair{"exfat", "ExFAT"}, std::pair{"vfat", "MS-DOS (FAT)"}}) {
        LoopDrive drive(root.path(), std::string("Stick-") + type, type, 16);
        if (!drive.ok()) {
            // Some kernels (containers) lack these file systems.
            EXPECT_NE(drive.error().find("unknown filesystem type"), std::string::npos) << drive.error();
            continue;
        }
        ++tried;
        platform::LinuxMountedVolumes mounts("/proc/self/mountinfo", {root.path()});
        ExternalDriveManager manager(mounts);
        runTask(manager.refresh());
        const ExternalDrive *found = manager.drive(QString::fromStdString(drive.mountPoint().native()));
        ASSERT_NE(found, nullptr) << type;
        EXPECT_EQ(found->fileSystem, description);
        EXPECT_FALSE(found->isSupported);
        ASSERT_TRUE(found->unsupportedReason.has_value());
        EXPECT_TRUE(found->unsupportedReason->startsWith(description));
        EXPECT_TRUE(manager.supportedDrives().empty());
    }
    if (tried == 0)
        GTEST_SKIP() << "this kernel can mount neither exfat nor vfat; the mount-table test covers their description";
}

// Waits, handling events, until the manager lists (or stops listing) a mount point.
static bool waitForListing(ExternalDriveManager &manager, const fs::path &mountPoint, bool listed)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < 10'000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        if ((manager.drive(QString::fromStdString(mountPoint.native())) != nullptr) == listed && !manager.isRefreshing())
            return true;
    }
    return false;
}

TEST(RealDrives, MountingAndUnmountingRefreshTheListByThemselves)
{
    if (!canMount())
        GTEST_SKIP() << "mounting isn't permitted here (needs root with mount rights); CI runs this as root";
    ExternalRoot root;
    platform::LinuxMountedVolumes mounts("/proc/self/mountinfo", {root.path()});
    ExternalDriveManager manager(mounts); // refreshes at once and watches the mount table
    const fs::path mountPoint = root.path() / "Plugged";
    ASSERT_TRUE(waitForListing(manager, mountPoint, false));
    {
        LoopDrive drive(root.path(), "Plugged", "ext4", 8);
        ASSERT_TRUE(drive.ok()) << drive.error();
        EXPECT_TRUE(waitForListing(manager, mountPoint, true)) << "no refresh after the drive was mounted";
    }
    EXPECT_TRUE(waitForListing(manager, mountPoint, false)) << "no refresh after the drive was unmounted";
}
