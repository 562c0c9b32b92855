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
    const QString name = QString::fromStdString(fs::path(mountPoint).filename().native()) + " label";
    return {mountPoint, true, false, false, {}, name, 1'000'000'000, free, std::move(format)};
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

TEST(DriveQualification, WhatQualifiesInWhatOrder)
{
    std::vector<platform::VolumeDescription> volumes{volume("/media/Stick", 500, "ExFAT"),
        volume("/media/DiskImage", 900, "ext4"), volume("/", 800, "ext4"), volume("/media/Hidden", 700, "ext4"),
        volume("/media/NoName", 300, "ext4"), volume("/media/Mystery", 300, std::nullopt),
        volume("/mnt/share", 600, "SMB (Windows file sharing)"), volume("/media/Backup", 300, "APFS")};
    volumes[1].isReadOnly = true;
    volumes[2].isInternal = true;
    volumes[3].isBrowsable = std::nullopt; // absent: doesn't qualify
    volumes[4].name = std::nullopt;
    volumes[6].isReadOnly = volumes[6].isInternal = std::nullopt; // absent: doesn't disqualify

    const std::vector<ExternalDrive> drives = qualifyDrives(volumes);
    // Largest free space first; the three with 300 bytes keep the system's order.
    EXPECT_EQ(mountPoints(drives),
        (std::vector<std::string>{"/mnt/share", "/media/Stick", "/media/NoName", "/media/Mystery", "/media/Backup"}));
    std::vector<bool> supported;
    for (const ExternalDrive &drive : drives) {
        supported.push_back(drive.isSupported);
        EXPECT_EQ(drive.unsupportedReason.has_value(), !drive.isSupported) << drive.mountPoint;
    }
    EXPECT_EQ(supported, (std::vector<bool>{false, false, true, false, true}));
    EXPECT_EQ(drives[1].name, "Stick label");
    EXPECT_EQ(drives[2].name, "NoName");
    EXPECT_EQ(drives[3].fileSystem, "Unknown");
    // Missing figures read as 0.
    auto bare = volume("/media/Bare", 0, QString("ext4"));
    bare.totalCapacity = bare.availableCapacity = std::nullopt;
    const std::vector<ExternalDrive> one = qualifyDrives({bare});
    ASSERT_EQ(one.size(), 1u);
    EXPECT_EQ(std::pair(one[0].totalBytes, one[0].freeBytes), (std::pair<qint64, qint64>(0, 0)));
    for (const char *yes : {"APFS", "Mac OS Extended (Journaled)", "hfs", "ext4", "ext3", "ext2", "btrfs", "xfs"})
        EXPECT_TRUE(isSupportedFormat(yes)) << yes;
    for (const char *no : {"ExFAT", "MS-DOS (FAT)", "NTFS", "Unknown", "ISO 9660", ""})
        EXPECT_FALSE(isSupportedFormat(no)) << no;
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
    ASSERT_EQ(entries.size(), 7u); // the malformed line left out
    EXPECT_EQ(entries[1].source + " " + std::to_string(entries[1].major) + ":" + std::to_string(entries[1].minor),
        "/dev/sdz1 0:22");

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
        EXPECT_EQ(drive.isSupported, drive.mountPoint != stick);
        // No label for a device that isn't there: the folder's name.
        EXPECT_EQ(drive.name.toStdString(), drive.mountPoint.filename().native());
    }
    // No table at all: nothing, quietly.
    platform::LinuxMountedVolumes missing(home.path() / "no-such-table", {media});
    EXPECT_TRUE(missing.mountedVolumes().empty());
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

TEST(RealDrives, MountedDrivesAreListedByThemselvesUntilReadOnlyOrUnplugged)
{
    SKIP_UNLESS_MOUNTABLE();
    ExternalRoot root;
    platform::LinuxMountedVolumes mounts("/proc/self/mountinfo", {root.path()});
    ExternalDriveManager manager(mounts); // refreshes at once and watches the mount table
    ASSERT_TRUE(waitForListing(manager, root.path() / "Archive", false));
    LoopDrive ext4(root.path(), "Archive", "ext4", 16, "ARCHIVE-LBL");
    ASSERT_TRUE(ext4.ok()) << ext4.error();
    LoopDrive plain(root.path(), "Unlabelled", "ext4", 8);
    ASSERT_TRUE(plain.ok()) << plain.error();
    ASSERT_TRUE(waitForListing(manager, ext4.mountPoint(), true)) << "no refresh after the drive was mounted";
    ASSERT_TRUE(waitForListing(manager, plain.mountPoint(), true));

    const ExternalDrive *archive = manager.drive(QString::fromStdString(ext4.mountPoint().native()));
    ASSERT_NE(archive, nullptr);
    EXPECT_EQ(archive->name, "ARCHIVE-LBL");
    EXPECT_TRUE(archive->isSupported);
    EXPECT_GT(archive->totalBytes, 10'000'000);
    EXPECT_GT(archive->freeBytes, 0);
    EXPECT_LE(archive->freeBytes, archive->totalBytes);
    EXPECT_EQ(manager.drive(QString::fromStdString(plain.mountPoint().native()))->name, "Unlabelled");
    EXPECT_EQ(manager.supportedDrives().size(), 2u);
    // Read-only: no longer listed. Unmounted: gone.
    ASSERT_TRUE(ext4.remount("ro"));
    runTask(manager.refresh());
    EXPECT_EQ(manager.drive(QString::fromStdString(ext4.mountPoint().native())), nullptr);
    ASSERT_TRUE(plain.unmount());
    EXPECT_TRUE(waitForListing(manager, plain.mountPoint(), false)) << "no refresh after the drive was unmounted";
    // FAT and exFAT drives are listed, as unsupported.
    for (const auto &[type, description] : {std::pair{"exfat", "ExFAT"}, std::pair{"vfat", "MS-DOS (FAT)"}}) {
        LoopDrive drive(root.path(), std::string("Stick-") + type, type, 16);
        if (!drive.ok()) {
            // Some kernels (containers) lack these file systems.
            EXPECT_NE(drive.error().find("unknown filesystem type"), std::string::npos) << drive.error();
            continue;
        }
        runTask(manager.refresh());
        const ExternalDrive *found = manager.drive(QString::fromStdString(drive.mountPoint().native()));
        ASSERT_NE(found, nullptr) << type;
        EXPECT_EQ(found->fileSystem, description);
        EXPECT_FALSE(found->isSupported);
        EXPECT_TRUE(manager.supportedDrives().empty());
    }
}
