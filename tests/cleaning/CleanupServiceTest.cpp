#include "TestSupport.h"
#include "cleaning/CleanupCatalogue.h"
#include "history/CleanupHistoryStore.h"
#include "cleaning/CleanupService.h"
#include "cleaning/SystemDataXRay.h"
#include "platform/FileWalker.h"
#include "platform/linux/FreedesktopTrash.h"

#include <QSignalSpy>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <set>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

CleanupTarget target(const QString &id, const QString &path)
{
    return CleanupTarget{id, id, QString(), QStringLiteral("folder"), path, SafetyLevel::Safe};
}

// Sets or clears the immutable flag; even root can't move such a file.
bool setImmutable(const fs::path &path, bool on)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    int flags = 0;
    bool ok = ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
    if (ok) {
        flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
        ok = ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
    }
    ::close(fd);
    return ok;
}

struct Cleaning : ::testing::Test {
    TempHome home;
    platform::FreedesktopTrash trash{home.trash(), ::getuid()};
    CleanupHistoryStore history{home.historyFile(), trash};
    CleanupService service{home.path(), trash, history};
    // What the cleaner told last of each folder, and the last clean's outcome.
    std::map<QString, CleanupTargetState> told;
    CleanupService::CleanOutcome last;

    void tell(const CleanupTargetState &state) { told[state.target.id] = state; }
    qint64 clean(const std::vector<CleanupTarget> &targets, bool deleteImmediately = false)
    {
        last = runTask(service.clean(targets, QStringLiteral("Test"), deleteImmediately,
                                     [this](const CleanupTargetState &state) { tell(state); }));
        return last.totalBytes;
    }
};

} // namespace

TEST(Catalogue, IdsAreUniquePathsLieInTheHomeAndNestedRowsComeFirst)
{
    std::set<QString> ids;
    for (const CleanupProfile profile : allCleanupProfiles) {
        EXPECT_EQ(cleanupProfileFromRaw(rawValue(profile)), profile);
        for (const CleanupTarget &row : targets(profile)) {
            ids.insert(row.id);
            EXPECT_FALSE(row.path.startsWith('/') || row.path.startsWith('~')) << row.id.toStdString();
        }
    }
    EXPECT_EQ(ids.size(), allCleanupTargets().size());
    EXPECT_FALSE(cleanupProfileFromRaw("gamer").has_value());
    // Bridge's cache lies inside Adobe's: emptied first, or its row would find nothing.
    const auto adobe = targets(CleanupProfile::AdobeCreative);
    const auto at = [&](const char *id) { return std::find_if(adobe.begin(), adobe.end(), [&](const auto &t) { return t.id == id; }); };
    EXPECT_LT(at("adobe.bridge"), at("adobe.caches"));
}

TEST_F(Cleaning, MeasureReadsEveryKindOfFolderAndNothingToCleanMeansNoLogEntry)
{
    const fs::path &h = home.path();
    writeFile(h / "full/one/blob", std::string(50000, 'x'));
    writeFile(h / "full/one/.inner-hidden", std::string(20000, 'y')); // counted: inside a subfolder
    writeFile(h / "full/two", std::string(8000, 'z'));
    writeFile(h / "full/.top-hidden", std::string(90000, 'h'));       // not counted: hidden at the top
    writeFile(h / "hidden-only/.DS_Store", "h");
    writeFile(h / "zero/empty-file", "");
    writeFile(h / "a-file", "not a folder");
    fs::create_directory_symlink(h / "full", h / "linked");
    // The test's own folders, not the app's data folder (".local" sorts first).
    const auto tree = [&] { const std::string all = describeTree(h); return all.substr(all.find("a-file ")); };
    const std::string before = tree();
    const std::vector<CleanupTargetState> measured = runTask(service.measure(
        {target("full", "full"), target("missing", "missing"), target("hidden", "hidden-only"), target("file", "a-file"),
         target("linked", "linked"), target("absolute", qtPath(h / "full"))},
        [this](const CleanupTargetState &state) { tell(state); }));
    ASSERT_EQ(measured.size(), 6u);
    EXPECT_EQ(measured[4].target.id, "linked"); // in the order asked
    auto &states = told;
    EXPECT_EQ(states["full"].childCount, 2);
    EXPECT_GE(states["full"].bytes, 78000);
    EXPECT_LT(states["full"].bytes, 90000 + 78000);
    EXPECT_EQ(states["absolute"].bytes, states["full"].bytes);
    EXPECT_FALSE(states["missing"].exists);
    EXPECT_EQ(states["file"].childCount, 0);
    for (const char *id : {"hidden", "file", "linked"})
        EXPECT_TRUE(states[id].exists) << id;
    for (const char *id : {"hidden", "linked"})
        EXPECT_EQ(states[id].bytes + states[id].childCount, 0) << id;

    EXPECT_EQ(clean({target("missing", "missing"), target("hidden", "hidden-only"), target("zero", "zero"),
                     target("linked", "linked")}),
              0);
    EXPECT_EQ(clean({}), 0);
    EXPECT_FALSE(last.entry.has_value());
    EXPECT_TRUE(history.entries().empty());
    EXPECT_EQ(tree(), before);

    // Deleted outright: gone, not in the Trash, logged without a trashed path.
    writeFile(home.path() / "npm/_cacache/index", std::string(30000, 'i'));
    EXPECT_GT(clean({target("npm", "npm")}, true), 0);
    EXPECT_FALSE(fs::exists(home.path() / "npm/_cacache"));
    EXPECT_EQ(entriesIn(home.trash() / "files"), 0u);
    ASSERT_EQ(history.entries().size(), 1u);
    EXPECT_FALSE(history.entries().front().items.front().trashedPath.has_value());
}

TEST_F(Cleaning, CleanEmptiesTheFolderKeepsItAndLogsWhatWent)
{
    const fs::path cache = home.cacheHome() / "mozilla/firefox"; // where that catalogue folder lives here
    writeFile(cache / "cache2/entries/A1", std::string(40000, 'a'));
    writeFile(cache / "startupCache", std::string(12000, 'b'));
    writeFile(cache / ".parentlock", "lock");
    const fs::path outside = home.path() / "Projects/keep-me";
    writeFile(outside / "source.c", "int main(){}");
    fs::create_directory_symlink(outside, cache / "link-out");
    const std::string before = describeTree(cache);

    const qint64 total = clean({target("ff", "Library/Caches/Firefox"), target("ff-again", "Library/Caches/Firefox")});
    EXPECT_GT(total, 52000);
    EXPECT_TRUE(fs::is_directory(cache)); // the folder itself stays
    EXPECT_EQ(readFile(cache / ".parentlock"), "lock");
    EXPECT_EQ(readFile(outside / "source.c"), "int main(){}"); // the link went, not what it points to
    ASSERT_EQ(history.entries().size(), 1u);
    const CleanupHistoryEntry &entry = history.entries().front();
    EXPECT_EQ(entry.items.size(), 3u); // the second row found the folder empty
    EXPECT_EQ(entry.bytesReclaimed, total);
    EXPECT_EQ(last.entry->id, entry.id);
    qint64 sum = 0;
    for (const auto &item : entry.items) {
        ASSERT_TRUE(item.trashedPath.has_value());
        EXPECT_TRUE(fs::exists(fs::symlink_status(*item.trashedPath)));
        sum += item.bytes;
    }
    EXPECT_EQ(sum, total);
    EXPECT_EQ(told["ff"].childCount, 0); // measured again after emptying

    const ProcessRun listed = runProcess("trash-list", {});
    EXPECT_TRUE(listed.out.contains(QByteArray::fromStdString((cache / "startupCache").native()))) << listed.out.toStdString();

    const auto counts = history.restore(entry.id);
    EXPECT_EQ(counts.restored, 3);
    EXPECT_EQ(counts.failed, 0);
    EXPECT_EQ(describeTree(cache), before); // byte for byte, links and all
    EXPECT_TRUE(fs::is_empty(home.trash() / "info"));
}

TEST_F(Cleaning, ProtectedEntryStaysAndIsLeftOutOfTotalAndLog)
{
    const fs::path folder = home.cacheHome() / "Homebrew";
    writeFile(folder / "protected.tar.gz", std::string(60000, 'p'));
    writeFile(folder / "free.tar.gz", std::string(20000, 'f'));
    if (!setImmutable(folder / "protected.tar.gz", true))
        GTEST_SKIP() << "this file system or user can't set the immutable flag";
    const qint64 freeBytes = platform::walkTree(folder / "free.tar.gz").allocatedBytes;

    const qint64 total = clean({target("brew", "Library/Caches/Homebrew")});
    setImmutable(folder / "protected.tar.gz", false);

    EXPECT_EQ(total, freeBytes);
    EXPECT_EQ(readFile(folder / "protected.tar.gz"), std::string(60000, 'p'));
    EXPECT_FALSE(fs::exists(folder / "free.tar.gz"));
    ASSERT_EQ(history.entries().size(), 1u);
    ASSERT_EQ(history.entries().front().items.size(), 1u);
    EXPECT_EQ(history.entries().front().items.front().originalPath, folder / "free.tar.gz");
    EXPECT_EQ(told["brew"].childCount, 1); // the second measurement still sees it
}

TEST_F(Cleaning, ACacheOnItsOwnFileSystemSaysItsTrashFreesNothingYetAndTheXRayCountsThatTrash)
{
    if (!canMount())
        GTEST_SKIP() << "mounting isn't permitted here (needs root with mount rights); CI runs this as root";
    const fs::path cache = home.cacheHome();
    fs::create_directories(cache);
    const QString mountPoint = QString::fromStdString(cache.native());
    ASSERT_EQ(runProcess("mount", {"-t", "tmpfs", "-o", "size=16m", "tmpfs", mountPoint}).exitCode, 0);
    const std::shared_ptr<void> unmount(nullptr, [&](void *) { runProcess("umount", {"-l", mountPoint}); });
    writeFile(cache / "yarn/v6/package.tgz", std::string(1 << 20, 'y'));

    const qint64 freed = clean({target("yarn", "Library/Caches/Yarn")});
    EXPECT_GT(freed, 0);
    EXPECT_TRUE(fs::exists(cache / (".Trash-" + std::to_string(::getuid())) / "files/v6/package.tgz"));
    EXPECT_EQ(last.trashedElsewhereBytes, freed);
    EXPECT_TRUE(last.notice().contains("went to a Trash on the file system it lives on")) << last.notice().toStdString();
    // The Trash slice counts that Trash beside the home's.
    EXPECT_GE(SystemDataXRay::sizeOf(".Trash (all)", home.path()), freed);
    // And the entry still puts it back.
    EXPECT_EQ(history.restore(history.entries().front().id).restored, 1);
    EXPECT_EQ(readFile(cache / "yarn/v6/package.tgz"), std::string(1 << 20, 'y'));
}
