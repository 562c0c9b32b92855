// A whole move to a real drive on another file system and back, with a
// tree that has everything a copy can get wrong, and the drive unplugged
// in between.
#include "MovesSupport.h"
#include "history/CleanupHistoryStore.h"
#include "moves/ExternalDestinationStore.h"
#include "moves/FolderMover.h"
#include "moves/SymlinkInventory.h"
#include "platform/linux/FreedesktopTrash.h"
#include "platform/linux/LinuxPlatform.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

TEST(RealMove, ToAnExt4DriveAndBackWithTheDriveUnpluggedInBetween)
{
    if (!canMount())
        GTEST_SKIP() << "mounting isn't permitted here (needs root with mount rights); CI runs this as root";
    TempHome home;
    ExternalRoot drives;
    LoopDrive drive(drives.path(), "Archive", "ext4", 32, "Archive");
    ASSERT_TRUE(drive.ok()) << drive.error();
    struct stat homeStat {
    }, driveStat{};
    ::stat(home.path().c_str(), &homeStat);
    ::stat(drive.mountPoint().c_str(), &driveStat);
    ASSERT_NE(homeStat.st_dev, driveStat.st_dev) << "the drive must be another file system";

    platform::FreedesktopTrash trash(home.trash(), ::getuid());
    platform::StatvfsVolumeInfo volumes;
    MoveFileOperations operations(trash, volumes);
    CleanupHistoryStore history(home.historyFile(), trash);
    FolderMover mover(operations, history, home.path());
    GrantedDestinations destinations(home.defaultsFile(), drive.mountPoint());
    ASSERT_TRUE(destinations.granted);
    SymlinkInventory inventory(history, operations, destinations.store, home.path());

    const fs::path source = home.path() / "Projects/Caf\xe9 Film";
    buildRichTree(source);
    const std::string before = treeSignature(source);
    ASSERT_NE(before.find("caf\\xe9"), std::string::npos);
    ASSERT_NE(before.find("same-as=a/hard-two"), std::string::npos) << before;

    const std::unique_ptr<ScopedURL> scope = ScopedURL::fromPath(drive.mountPoint(), "Tessoly Storage");
    ASSERT_NE(scope, nullptr);
    MoveProgress last;
    runTask(mover.move(source, scope->url(), false, [&](const MoveProgress &progress) { last = progress; }));
    ASSERT_EQ(last.stage, MoveProgress::Stage::Done) << last.text().toStdString();
    const fs::path external = drive.mountPoint() / "Tessoly Storage/Caf\xe9 Film";
    EXPECT_EQ(last.movedTo, external);
    EXPECT_TRUE(last.disposedToTrash);

    // Byte for byte, with names, modes, times, links and the hard link pair.
    EXPECT_EQ(treeSignature(external), before);
    EXPECT_TRUE(fs::is_symlink(source));
    EXPECT_EQ(fs::read_symlink(source), external);
    EXPECT_EQ(readFile(source / "a/b/c/deep.bin"), readFile(external / "a/b/c/deep.bin")); // through the link
    EXPECT_TRUE(pendingEntries(source.parent_path()).empty());
    ASSERT_EQ(history.entries().size(), 1u);
    const CleanupHistoryEntry::Item item = history.entries()[0].items.at(0);
    EXPECT_EQ(item.externalPath, external);
    ASSERT_TRUE(item.trashedPath.has_value());
    EXPECT_EQ(treeSignature(*item.trashedPath), before); // the original, whole, in the home Trash

    inventory.refresh();
    ASSERT_EQ(inventory.records().size(), 1u);
    EXPECT_EQ(inventory.records()[0].status, SymlinkRecord::Status::Active);
    EXPECT_EQ(inventory.records()[0].bytes, item.bytes);

    // Unplugged: the record says so, and the way back refuses without touching the link.
    ASSERT_TRUE(drive.unmount());
    inventory.refresh();
    ASSERT_EQ(inventory.records().size(), 1u);
    const SymlinkRecord unplugged = inventory.records()[0];
    EXPECT_EQ(unplugged.status, SymlinkRecord::Status::ExternalMissing);
    EXPECT_EQ(inventory.attentionCount(), 1);
    std::optional<BringBackError> error = runTask(inventory.bringBack(unplugged));
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->kind, BringBackError::Kind::ExternalMissing);
    EXPECT_TRUE(fs::is_symlink(source));
    EXPECT_EQ(fs::read_symlink(source), external);

    // Plugged in again at the same place: active again.
    ASSERT_TRUE(drive.mount()) << drive.error();
    inventory.refresh();
    EXPECT_EQ(inventory.records().at(0).status, SymlinkRecord::Status::Active);

    error = runTask(inventory.bringBack(inventory.records().at(0)));
    ASSERT_FALSE(error.has_value()) << error->errorDescription().toStdString();
    EXPECT_FALSE(fs::is_symlink(source));
    EXPECT_EQ(treeSignature(source), before);
    EXPECT_FALSE(fs::exists(source.parent_path() / "Caf\xe9 Film.tessoly-restore"));
    EXPECT_FALSE(fs::exists(external));
    // The external copy is in the drive's own Trash, as a safety net.
    const fs::path driveTrash = drive.mountPoint() / (".Trash-" + std::to_string(::getuid())) / "files/Caf\xe9 Film";
    EXPECT_EQ(treeSignature(driveTrash), before);
    // The record stays, broken, until dismissed; the history wasn't touched.
    ASSERT_EQ(inventory.records().size(), 1u);
    EXPECT_EQ(inventory.records()[0].status, SymlinkRecord::Status::Broken);
    EXPECT_EQ(history.entries().size(), 1u);
}
