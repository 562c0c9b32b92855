#include "TestSupport.h"
#include "platform/FileWalker.h"

#include <gtest/gtest.h>
#include <mutex>
#include <set>
#include <sys/stat.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

// What `find -type f` says: the sum of %b * 512 over regular files, links not followed.
qint64 findTotal(const fs::path &root)
{
    const ProcessRun run = runProcess("find", {QString::fromStdString(root.native()), "-type", "f", "-printf", "%b\\n"});
    qint64 total = 0;
    for (const QByteArray &line : run.out.split('\n'))
        total += line.toLongLong() * 512; // an empty line reads as 0
    return total;
}

// A small tree with everything a walk can meet.
struct Tree : ::testing::Test {
    TempHome home;
    fs::path root = home.path() / "tree";

    void SetUp() override
    {
        writeFile(root / "a.txt", std::string(10000, 'a'));
        writeFile(root / ".hidden/secret.bin", std::string(70000, 's'));
        writeFile(root / "deep/er/still/deeper/file", std::string(5000, 'd'));
        writeFile(root / "Photos Library.photoslibrary/database", std::string(9000, 'p'));
        writeFile(root / "name\xff\xfe/odd", std::string(3000, 'o'));
        writeFile(home.path() / "outside/big", std::string(400000, 'x'));
        fs::create_directories(root / "empty/folder");
        fs::create_symlink(home.path() / "outside", root / "link-to-outside");
        fs::create_symlink(root / "a.txt", root / "link-to-file");
        fs::create_symlink(home.path() / "nowhere", root / "dangling");
        fs::create_hard_link(root / "a.txt", root / "deep/hardlink");
        ::mkfifo((root / "fifo").c_str(), 0600);
        writeFile(root / "zero-bytes", "");
    }
};

} // namespace

TEST_F(Tree, TotalsAreWhatFindCountsLinksAreNeverFollowedAndOptionsLeaveOutWhatTheyName)
{
    const platform::WalkTotals totals = platform::walkTree(root);
    EXPECT_EQ(totals.allocatedBytes, findTotal(root));
    EXPECT_EQ(totals.files, 7); // hard link counted again, fifo and symlinks not at all
    EXPECT_GT(totals.allocatedBytes, 0);
    EXPECT_EQ(platform::walkTree(root, {.threads = 1}).allocatedBytes, totals.allocatedBytes);
    EXPECT_EQ(platform::walkTree(root, {.threads = 7}).allocatedBytes, totals.allocatedBytes);
    // Roots that aren't folders: a file counts itself; a symlink, nothing and a fifo count 0.
    const auto roots = platform::walkTrees({root / "a.txt", root / "link-to-outside", root / "missing", root / "fifo", root});
    std::vector<qint64> sizes;
    for (const platform::WalkTotals &each : roots)
        sizes.push_back(each.allocatedBytes);
    EXPECT_EQ(sizes, (std::vector<qint64>{findTotal(root / "a.txt"), 0, 0, 0, totals.allocatedBytes}));
    // Options leave out what they name.
    const qint64 all = totals.allocatedBytes;
    const qint64 hidden = findTotal(root / ".hidden");
    const qint64 package = findTotal(root / "Photos Library.photoslibrary");
    EXPECT_EQ(platform::walkTree(root, {.skipHidden = true}).allocatedBytes, all - hidden);
    EXPECT_EQ(platform::walkTree(root, {.skipPackages = true}).allocatedBytes, all - package);
    EXPECT_EQ(platform::walkTree(root, {.maxDepth = 0}).allocatedBytes, findTotal(root / "a.txt"));
    platform::WalkOptions skipDeep;
    skipDeep.skipDescendants = [](const std::string &folder) { return folder.ends_with("/deep"); };
    EXPECT_EQ(platform::walkTree(root, skipDeep).allocatedBytes, all - findTotal(root / "deep"));
    // Each file is reported once, with its details.
    std::mutex mutex;
    std::multiset<std::string> seen;
    platform::WalkOptions options;
    options.fileDetails = true;
    options.onFile = [&](const platform::WalkedFile &file) {
        const std::lock_guard lock(mutex);
        seen.insert(file.folder + "/" + std::string(file.name));
        if (file.name == "a.txt" || file.name == "hardlink") {
            EXPECT_EQ(file.logicalSize, 10000);
        }
    };
    (void)platform::walkTree(root, options);
    EXPECT_EQ(seen.size(), 7u);
    EXPECT_EQ(seen.count((root / "name\xff\xfe/odd").native()), 1u); // bytes of the name kept
}

TEST(FileWalker, VisibleEntriesAndPackages)
{
    TempHome home;
    writeFile(home.path() / "folder/.hidden", "h");
    writeFile(home.path() / "folder/visible", "v");
    fs::create_directory(home.path() / "folder/sub");
    EXPECT_EQ(platform::listVisibleEntries(home.path() / "folder").size(), 2u);
    EXPECT_TRUE(platform::listVisibleEntries(home.path() / "missing").empty());
    EXPECT_TRUE(platform::isPackageName("Xcode.app"));
    EXPECT_TRUE(platform::isPackageName("Final Cut Library.fcpbundle"));
    EXPECT_FALSE(platform::isPackageName(".app"));
    EXPECT_FALSE(platform::isPackageName("application"));
}
