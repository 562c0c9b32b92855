#include "TestSupport.h"
#include "platform/linux/FreedesktopTrash.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

struct Trash : ::testing::Test {
    TempHome home;
    platform::FreedesktopTrash trash{home.trash(), ::getuid()};

    [[nodiscard]] std::string infoFor(const fs::path &trashed) const
    {
        return readFile(trashed.parent_path().parent_path() / "info" / (trashed.filename().native() + ".trashinfo"));
    }
};

// A small tmpfs mounted for one test, unmounted (lazily) at the end.
struct TmpfsMount {
    fs::path point;
    bool mounted = false;
    explicit TmpfsMount(const fs::path &where)
        : point(where)
    {
        fs::create_directories(point);
        mounted = ::mount("tmpfs", point.c_str(), "tmpfs", 0, "size=4m") == 0;
    }
    bool remountReadOnly() const
    {
        return ::mount(nullptr, point.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0;
    }
    ~TmpfsMount()
    {
        if (mounted)
            ::umount2(point.c_str(), MNT_DETACH);
    }
};

} // namespace

TEST_F(Trash, TrashCliRestoresWhatWeTrashedAndTwinsOddNamesAndLinksKeepWhatTheyAre)
{
    const fs::path original = home.path() / "Documents/Quarterly report.txt";
    writeFile(original, "numbers");

    const auto outcome = trash.trashItem(original);
    ASSERT_TRUE(outcome.ok()) << outcome.error.toStdString();
    EXPECT_EQ(outcome.trashedPath, home.trash() / "files/Quarterly report.txt");
    EXPECT_FALSE(fs::exists(original));
    EXPECT_EQ(readFile(outcome.trashedPath), "numbers");
    EXPECT_NE(infoFor(outcome.trashedPath).find("Path=" + home.path().native() + "/Documents/Quarterly%20report.txt\n"),
              std::string::npos);

    const ProcessRun listed = runProcess("trash-list", {});
    ASSERT_EQ(listed.exitCode, 0) << listed.err.toStdString();
    EXPECT_TRUE(listed.out.contains(QByteArray::fromStdString(original.native()))) << listed.out.toStdString();

    const ProcessRun restored = runProcess("trash-restore", {QString::fromStdString((home.path() / "Documents").native())}, "0\n");
    ASSERT_EQ(restored.exitCode, 0) << restored.err.toStdString();
    EXPECT_EQ(readFile(original), "numbers");
    EXPECT_FALSE(fs::exists(outcome.trashedPath));
    // Two items of one name both survive, each with its own record.
    writeFile(home.path() / "a/notes.txt", "first");
    writeFile(home.path() / "b/notes.txt", "second");
    const auto one = trash.trashItem(home.path() / "a/notes.txt");
    const auto two = trash.trashItem(home.path() / "b/notes.txt");
    ASSERT_TRUE(one.ok() && two.ok());
    EXPECT_EQ(two.trashedPath.filename(), "notes 2.txt");
    EXPECT_EQ(readFile(one.trashedPath) + readFile(two.trashedPath), "firstsecond");
    EXPECT_NE(infoFor(two.trashedPath).find("/b/notes.txt"), std::string::npos);
    EXPECT_TRUE(runProcess("trash-list", {}).out.contains(QByteArray::fromStdString((home.path() / "b/notes.txt").native())));
    // A stray item in the Trash without a record is never replaced: the next one takes another name.
    writeFile(home.trash() / "files/notes 3.txt", "stray");
    writeFile(home.path() / "c/notes.txt", "third");
    const auto three = trash.trashItem(home.path() / "c/notes.txt");
    ASSERT_TRUE(three.ok());
    EXPECT_EQ(readFile(home.trash() / "files/notes 3.txt"), "stray");
    EXPECT_EQ(readFile(three.trashedPath), "third");
    // A name that isn't UTF-8 keeps its bytes; its record encodes them.
    const fs::path odd = home.path() / "odd\xff\xfe name.bin";
    writeFile(odd, "bytes");
    const auto oddOutcome = trash.trashItem(odd);
    ASSERT_TRUE(oddOutcome.ok()) << oddOutcome.error.toStdString();
    EXPECT_EQ(oddOutcome.trashedPath.filename().native(), "odd\xff\xfe name.bin");
    EXPECT_NE(infoFor(oddOutcome.trashedPath).find("odd%FF%FE%20name.bin"), std::string::npos);
    // Links go as links, dangling or not, and what they point to stays.
    writeFile(home.path() / "keep/data/file", "keep me");
    fs::create_directory_symlink(home.path() / "keep/data", home.path() / "link-to-data");
    fs::create_symlink(home.path() / "nowhere", home.path() / "dangling");
    for (const char *name : {"link-to-data", "dangling"}) {
        const auto link = trash.trashItem(home.path() / name);
        ASSERT_TRUE(link.ok()) << link.error.toStdString();
        EXPECT_TRUE(fs::is_symlink(link.trashedPath));
    }
    EXPECT_EQ(readFile(home.path() / "keep/data/file"), "keep me");
}

TEST_F(Trash, ItemOnAnotherVolumeGoesToThatVolumesTrashAndStaysWhenItIsReadOnly)
{
    if (!canMount())
        GTEST_SKIP() << "mounting is not permitted here; the per-volume Trash is tested where it is (CI runs as root)";
    TmpfsMount volume(home.path() / "volume");
    ASSERT_TRUE(volume.mounted);
    const fs::path original = volume.point / "Projects/big.iso";
    writeFile(original, "iso");

    const auto outcome = trash.trashItem(original);
    ASSERT_TRUE(outcome.ok()) << outcome.error.toStdString();
    const fs::path volumeTrash = volume.point / (".Trash-" + std::to_string(::getuid()));
    EXPECT_EQ(outcome.trashedPath, volumeTrash / "files/big.iso");
    EXPECT_NE(infoFor(outcome.trashedPath).find("Path=Projects/big.iso\n"), std::string::npos); // relative to the top
    EXPECT_EQ(fs::status(volumeTrash).permissions() & fs::perms::all, fs::perms::owner_all);
    // A shared ".Trash" without the sticky bit is no shared Trash: anyone could
    // swap its folders, so items keep going to the user's own.
    const fs::path shared = volume.point / ".Trash" / std::to_string(::getuid());
    fs::create_directories(shared);
    fs::permissions(volume.point / ".Trash", fs::perms::all);
    writeFile(volume.point / "second.iso", "iso");
    EXPECT_EQ(trash.trashItem(volume.point / "second.iso").trashedPath, volumeTrash / "files/second.iso");
    fs::permissions(volume.point / ".Trash", fs::perms::sticky_bit, fs::perm_options::add);
    writeFile(volume.point / "third.iso", "iso");
    EXPECT_EQ(trash.trashItem(volume.point / "third.iso").trashedPath, shared / "files/third.iso");
    // Read-only: fails cleanly, the item stays and is never copied to the home Trash.
    writeFile(volume.point / "precious.txt", "precious");
    ASSERT_TRUE(volume.remountReadOnly());
    EXPECT_FALSE(trash.trashItem(volume.point / "precious.txt").ok());
    EXPECT_EQ(readFile(volume.point / "precious.txt"), "precious");
    EXPECT_FALSE(fs::exists(home.trash() / "files/precious.txt"));
}

TEST_F(Trash, WhatCantGoFailsAndLeavesNoRecordAndForgettingDropsOnlyARestoredItemsRecord)
{
    EXPECT_FALSE(trash.trashItem(home.path() / "not-there.txt").ok());
    EXPECT_TRUE(!fs::exists(home.trash() / "info") || fs::is_empty(home.trash() / "info"));
    writeFile(home.path() / "x", "x");
    ASSERT_TRUE(trash.trashItem(home.path() / "x").ok());
    EXPECT_FALSE(trash.trashItem(home.trash()).ok()) << "the Trash itself";
    EXPECT_TRUE(fs::exists(home.trash() / "files/x"));

    const fs::path original = home.path() / "doc.txt";
    writeFile(original, "doc");
    const auto outcome = trash.trashItem(original);
    ASSERT_TRUE(outcome.ok());
    const fs::path info = home.trash() / "info/doc.txt.trashinfo";
    trash.forgetTrashedItem(outcome.trashedPath); // still in the Trash: record kept
    EXPECT_TRUE(fs::exists(info));
    fs::rename(outcome.trashedPath, original);
    trash.forgetTrashedItem(outcome.trashedPath);
    EXPECT_FALSE(fs::exists(info));
}

// Root ignores permissions, so these run the real trash code as "nobody".
TEST(TrashPermissions, RefusedMoveLeavesTheItemAndNoRecord)
{
    if (::geteuid() != 0 || runProcess("setpriv", {"--version"}).exitCode != 0)
        GTEST_SKIP() << "needs root and setpriv to act as an unprivileged user";
    std::string pattern = (fs::temp_directory_path() / "tessoly-perm-XXXXXX").native();
    const fs::path top = ::mkdtemp(pattern.data());
    fs::permissions(top, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec | fs::perms::others_read
                             | fs::perms::others_exec);
    const fs::path locked = top / "locked/report.txt"; // in a folder only root may change
    writeFile(locked, "mine");
    const fs::path nobodyHome = top / "nobody";
    const fs::path open = nobodyHome / "open.txt"; // nobody may move this one
    writeFile(open, "theirs");
    const fs::path rootOwnedTrash = top / "locked/Trash";
    fs::create_directories(rootOwnedTrash);
    for (const fs::path &path : {nobodyHome, open})
        ASSERT_EQ(::chown(path.c_str(), 65534, 65534), 0);
    const auto asNobody = [](const fs::path &homeTrash, const fs::path &item) {
        return runProcess("setpriv", {"--reuid=65534", "--regid=65534", "--clear-groups", QStringLiteral(TRASH_HELPER),
                                      QString::fromStdString(homeTrash.native()), QString::fromStdString(item.native())});
    };

    const fs::path nobodyTrash = nobodyHome / ".local/share/Trash";
    const ProcessRun refusedItem = asNobody(nobodyTrash, locked);
    EXPECT_EQ(refusedItem.exitCode, 1) << refusedItem.out.toStdString() << refusedItem.err.toStdString();
    EXPECT_TRUE(refusedItem.out.contains("Permission denied")) << refusedItem.out.toStdString();
    EXPECT_EQ(readFile(locked), "mine");
    EXPECT_TRUE(fs::is_empty(nobodyTrash / "info")); // the record written first was taken back

    const ProcessRun refusedTrash = asNobody(rootOwnedTrash, open);
    EXPECT_EQ(refusedTrash.exitCode, 1) << refusedTrash.out.toStdString();
    EXPECT_EQ(readFile(open), "theirs");

    const ProcessRun allowed = asNobody(nobodyTrash, open);
    EXPECT_EQ(allowed.exitCode, 0) << allowed.out.toStdString();
    EXPECT_EQ(readFile(nobodyTrash / "files/open.txt"), "theirs");
    fs::remove_all(top);
}
