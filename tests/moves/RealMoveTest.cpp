// Moves to real loop-mounted drives and back: a tree with everything a copy
// can get wrong with the drive unplugged in between, a copy on a fragmented
// drive weighing what its original weighs, sparse files keeping their holes
// both ways, extended attributes, and a drive of another block size failing
// the bring-back's check with nothing touched.
#include "MovesSupport.h"
#include "moves/SymlinkInventory.h"
#include "platform/FileCopy.h"
#include "platform/FileWalker.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

qint64 dataBytes(const fs::path &path)
{
    platform::WalkOptions options;
    options.dataExtents = true;
    return platform::walkTree(path, options).allocatedBytes;
}

qint64 blockBytes(const fs::path &path)
{
    struct stat st{};
    return ::lstat(path.c_str(), &st) == 0 ? static_cast<qint64>(st.st_blocks) * 512 : -1;
}

// A sparse file of `size` bytes with `chunks` data ranges of `chunk` bytes spread over it.
void writeSparse(const fs::path &path, qint64 size, int chunks, qint64 chunk)
{
    fs::create_directories(path.parent_path());
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    ASSERT_GE(fd, 0);
    std::string data(static_cast<std::size_t>(chunk), '\0');
    for (int i = 0; i < chunks; ++i) {
        for (std::size_t k = 0; k < data.size(); ++k)
            data[k] = static_cast<char>('a' + (i * 7 + k) % 26);
        ASSERT_EQ(::pwrite(fd, data.data(), data.size(), static_cast<off_t>(size / chunks * i + 12345)),
                  static_cast<ssize_t>(data.size()));
    }
    ASSERT_EQ(::ftruncate(fd, static_cast<off_t>(size)), 0);
    ::close(fd);
}

bool sameBytes(const fs::path &a, const fs::path &b)
{
    return runProcess("cmp", {QString::fromStdString(a.native()), QString::fromStdString(b.native())}).exitCode == 0;
}

struct DataMove : ::testing::Test, MoveHome {
    ExternalRoot root;

    void SetUp() override { SKIP_UNLESS_MOUNTABLE(); }

    MoveProgress moveTo(const fs::path &source, const LoopDrive &drive)
    {
        return move(source, ScopedURL::fromPath(drive.mountPoint(), "Tessoly Storage")->url());
    }
};

} // namespace

TEST_F(DataMove, ToAnExt4DriveAndBackWithTheDriveUnpluggedInBetween)
{
    LoopDrive drive(root.path(), "Archive", "ext4", 32, "Archive");
    ASSERT_TRUE(drive.ok()) << drive.error();
    struct stat homeStat{}, driveStat{};
    ::stat(home.path().c_str(), &homeStat);
    ::stat(drive.mountPoint().c_str(), &driveStat);
    ASSERT_NE(homeStat.st_dev, driveStat.st_dev) << "the drive must be another file system";
    GrantedDestinations destinations(home.defaultsFile(), drive.mountPoint());
    ASSERT_TRUE(destinations.granted);
    SymlinkInventory inventory(history, operations, destinations.store, home.path());

    const fs::path source = home.path() / "Projects/Caf\xe9 Film";
    buildRichTree(source);
    const std::string before = treeSignature(source);
    ASSERT_NE(before.find("caf\\xe9"), std::string::npos);
    ASSERT_NE(before.find("same-as=a/hard-two"), std::string::npos) << before;

    const MoveProgress last = moveTo(source, drive);
    ASSERT_EQ(last.stage, MoveProgress::Stage::Done) << last.text().toStdString();
    const fs::path external = drive.mountPoint() / "Tessoly Storage/Caf\xe9 Film";
    // Byte for byte, with names, modes, times, links and the hard link pair.
    EXPECT_EQ(treeSignature(external), before);
    EXPECT_EQ(fs::read_symlink(source), external);
    ASSERT_EQ(history.entries().size(), 1u);
    const std::optional<fs::path> trashed = history.entries()[0].items.at(0).trashedPath;
    ASSERT_TRUE(trashed.has_value());
    EXPECT_EQ(treeSignature(*trashed), before); // the original, whole, in the home Trash
    inventory.refresh();
    ASSERT_EQ(inventory.records().size(), 1u);
    EXPECT_EQ(inventory.records()[0].status, SymlinkRecord::Status::Active);
    // Unplugged: the record says so, and the way back refuses without touching the link.
    ASSERT_TRUE(drive.unmount());
    inventory.refresh();
    ASSERT_EQ(inventory.records().size(), 1u);
    EXPECT_EQ(inventory.records()[0].status, SymlinkRecord::Status::ExternalMissing);
    std::optional<BringBackError> error = runTask(inventory.bringBack(inventory.records()[0]));
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->kind, BringBackError::Kind::ExternalMissing);
    EXPECT_EQ(fs::read_symlink(source), external);
    // Plugged in again at the same place: active again.
    ASSERT_TRUE(drive.mount()) << drive.error();
    inventory.refresh();
    EXPECT_EQ(inventory.records().at(0).status, SymlinkRecord::Status::Active);

    error = runTask(inventory.bringBack(inventory.records().at(0)));
    ASSERT_FALSE(error.has_value()) << error->errorDescription().toStdString();
    EXPECT_EQ(treeSignature(source), before);
    EXPECT_FALSE(fs::exists(source.parent_path() / "Caf\xe9 Film.tessoly-restore"));
    EXPECT_FALSE(fs::exists(external));
    // The external copy is in the drive's own Trash, as a safety net.
    const fs::path driveTrash = drive.mountPoint() / (".Trash-" + std::to_string(::getuid())) / "files/Caf\xe9 Film";
    EXPECT_EQ(treeSignature(driveTrash), before);
}

TEST(DataSize, SparseCopiesKeepTheirHolesAndCopiesKeepAttributes)
{
    TempHome home;
    const fs::path source = home.path() / "Images/disk.img";
    writeSparse(source, qint64{64} << 20, 5, qint64{1} << 20);
    const qint64 sourceData = dataBytes(source);
    EXPECT_GE(sourceData, qint64{5} << 20);
    EXPECT_LE(sourceData, (qint64{5} << 20) + 10 * 4096);
    ASSERT_EQ(::setxattr(source.c_str(), "user.origin", "camera", 6, 0), 0) << "user attributes on the test's file system";
    fs::create_symlink("disk.img", home.path() / "Images/latest");
    setModified(source, 1'600'000'000, 123'456'789);

    const fs::path copy = home.path() / "Copy";
    ASSERT_EQ(platform::copyItem(home.path() / "Images", copy), "");
    EXPECT_EQ(fs::file_size(copy / "disk.img"), qint64{64} << 20);
    EXPECT_EQ(dataBytes(copy / "disk.img"), sourceData);
    EXPECT_LE(blockBytes(copy / "disk.img"), blockBytes(source) + 4 * 4096);
    EXPECT_TRUE(sameBytes(source, copy / "disk.img"));
    char value[16] = {};
    EXPECT_EQ(::getxattr((copy / "disk.img").c_str(), "user.origin", value, sizeof value), 6);
    EXPECT_STREQ(value, "camera");
    EXPECT_EQ(treeSignature(copy), treeSignature(home.path() / "Images")); // times, modes, the link
}

TEST_F(DataMove, AFragmentedDriveTakesAndGivesBackAFolderTenTimes)
{
    LoopDrive drive(root.path(), "Worn", "ext4", 160, "Worn");
    ASSERT_TRUE(drive.ok()) << drive.error();
    // Fill the drive with 8 KiB files, then free every other one: its free
    // space is all two-block holes, so bigger files land in many pieces.
    const fs::path filler = drive.mountPoint() / "filler";
    fs::create_directories(filler);
    const std::string block(8192, 'f');
    int made = 0;
    for (;; ++made) {
        const int fd = ::open((filler / std::to_string(made)).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        const bool full = fd < 0 || ::write(fd, block.data(), block.size()) != static_cast<ssize_t>(block.size());
        if (fd >= 0)
            ::close(fd);
        if (full)
            break;
    }
    fs::remove(filler / std::to_string(made));
    ASSERT_GT(made, 1000);
    for (int i = 0; i < made; i += 2)
        fs::remove(filler / std::to_string(i));
    ::sync();

    const fs::path source = home.path() / "Projects/Shots";
    for (int i = 0; i < 900; ++i)
        writeFile(source / ("set" + std::to_string(i % 12)) / ("shot" + std::to_string(i) + ".raw"),
                  std::string(static_cast<std::size_t>(40000 + i % 7 * 1000), static_cast<char>('a' + i % 26)));
    const std::string before = treeSignature(source);

    int fragmentedSeen = 0;
    for (int round = 0; round < 10; ++round) {
        SCOPED_TRACE(round);
        const MoveProgress moved = moveTo(source, drive);
        ASSERT_EQ(moved.stage, MoveProgress::Stage::Done) << moved.text().toStdString();
        // Some copies carry extent-tree blocks: st_blocks no longer equals the
        // data, and the check must not care.
        platform::WalkOptions options;
        options.onFile = [&](const platform::WalkedFile &file) {
            struct stat st{};
            const std::string path = file.folder + "/" + std::string(file.name);
            if (::stat(path.c_str(), &st) == 0 && st.st_blocks * 512 > (st.st_size + 4095) / 4096 * 4096)
                ++fragmentedSeen;
        };
        (void)platform::walkTree(moved.movedTo, options);
        EXPECT_EQ(dataBytes(moved.movedTo), dataBytes(history.entries().front().items.front().trashedPath.value()));

        const std::optional<BringBackError> error = bringBackNewest(drive.mountPoint());
        ASSERT_FALSE(error.has_value()) << error->errorDescription().toStdString();
        ASSERT_EQ(treeSignature(source), before);
        // Empty both Trashes, as a person would, so the drive stays full of holes.
        fs::remove_all(home.trash());
        fs::remove_all(drive.mountPoint() / (".Trash-" + std::to_string(::getuid())));
        ::sync();
    }
    EXPECT_GT(fragmentedSeen, 0) << "the drive never fragmented a copy; the test proves nothing";
}

TEST_F(DataMove, ASparseDiskImageFitsASmallDriveAndComesBackHoleForHole)
{
    LoopDrive drive(root.path(), "Small", "ext4", 512, "Small");
    ASSERT_TRUE(drive.ok()) << drive.error();
    const fs::path source = home.path() / "VMs/Linux.img";
    writeSparse(source, qint64{2} << 30, 5, qint64{2} << 20);
    const fs::path reference = home.path() / "reference.img";
    ASSERT_EQ(platform::copyItem(source, reference), "");
    const qint64 blocksBefore = blockBytes(source);

    const MoveProgress moved = moveTo(source, drive);
    ASSERT_EQ(moved.stage, MoveProgress::Stage::Done) << moved.text().toStdString();
    EXPECT_LE(std::llabs(blockBytes(moved.movedTo) - blocksBefore), 8 * 4096);
    EXPECT_TRUE(sameBytes(moved.movedTo, reference));

    const std::optional<BringBackError> error = bringBackNewest(drive.mountPoint());
    ASSERT_FALSE(error.has_value()) << error->errorDescription().toStdString();
    EXPECT_FALSE(fs::is_symlink(source));
    EXPECT_LE(std::llabs(blockBytes(source) - blocksBefore), 8 * 4096);
    EXPECT_EQ(fs::file_size(source), qint64{2} << 30);
    EXPECT_TRUE(sameBytes(source, reference));
}

TEST_F(DataMove, ADriveOfAnotherBlockSizeStillFailsTheCheckWithNothingTouched)
{
    LoopDrive drive(root.path(), "Old", "ext4-1k", 64, "Old");
    ASSERT_TRUE(drive.ok()) << drive.error();
    const fs::path source = home.path() / "Notes";
    for (int i = 0; i < 50; ++i)
        writeFile(source / ("note" + std::to_string(i) + ".txt"), std::string(static_cast<std::size_t>(300 + i), 'n'));
    const std::string before = treeSignature(source);

    const MoveProgress moved = moveTo(source, drive);
    ASSERT_EQ(moved.stage, MoveProgress::Stage::Done) << moved.text().toStdString();
    EXPECT_EQ(treeSignature(moved.movedTo), before);

    const std::optional<BringBackError> error = bringBackNewest(drive.mountPoint());
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->kind, BringBackError::Kind::VerificationFailed);
    EXPECT_EQ(fs::read_symlink(source), moved.movedTo);
    EXPECT_EQ(treeSignature(moved.movedTo), before);
    EXPECT_FALSE(fs::exists(home.path() / "Notes.tessoly-restore"));
}
