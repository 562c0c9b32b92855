// Duplicates on a real temporary home: the size and content rules, what is
// never looked at, the hash cache across scans, and keeping one copy with
// the others going to the real Trash and back.
#include "TestSupport.h"
#include "history/CleanupHistoryStore.h"
#include "cleaning/ContentHashes.h"
#include "cleaning/DuplicateFinder.h"
#include "platform/linux/FreedesktopTrash.h"

#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

// A file of `bytes` bytes (sparse): zeros except for a mark at `at` (none when at < 0).
void writeSized(const fs::path &file, qint64 bytes, qint64 at = -1, char mark = 'x')
{
    writeFile(file, "");
    fs::resize_file(file, std::uintmax_t(bytes));
    if (at >= 0)
        std::fstream(file, std::ios::binary | std::ios::in | std::ios::out).seekp(at).put(mark);
}

struct Duplicates : ::testing::Test {
    TempHome home;
    platform::FreedesktopTrash trash{home.trash(), ::getuid()};
    CleanupHistoryStore history{home.historyFile(), trash};
    fs::path cacheFile = home.cacheHome() / "com.tessoly.app/content-hashes";
    fs::path docs = home.path() / "Documents";

    std::unique_ptr<DuplicateFinder> scanned()
    {
        auto finder = std::make_unique<DuplicateFinder>(home.path(), trash, history, cacheFile);
        runTask(finder->scan());
        return finder;
    }
};

} // namespace

TEST_F(Duplicates, SizeAndContentDecideAndTheRestIsNeverLookedAt)
{
    const qint64 MiB = DuplicateFinder::minBytes;
    writeSized(docs / "small-a", MiB - 1);
    writeSized(home.path() / "Downloads/small-b", MiB - 1); // under the minimum: never compared
    writeSized(docs / "same-a", MiB);
    writeSized(home.path() / "Desktop/same-b", MiB);          // exactly the minimum: a group
    writeSized(docs / "empty-a", 0);
    writeSized(docs / "empty-b", 0);
    writeSized(docs / "diff-a", 2 * MiB, 2 * MiB - 1, 'a');
    writeSized(docs / "diff-b", 2 * MiB, 2 * MiB - 1, 'b');   // same size, last byte differs
    writeSized(docs / "trio/one", 10 * MiB, MiB, 'm');
    writeSized(docs / "trio/two", 10 * MiB, MiB, 'm');
    writeSized(docs / "trio/three", 10 * MiB, MiB, 'm');
    writeSized(docs / ".hidden-copy", 10 * MiB, MiB, 'm');     // hidden: never listed
    writeSized(docs / "Library.photoslibrary/copy", 10 * MiB, MiB, 'm'); // inside a package: never listed
    writeSized(home.path() / ".local/share/elsewhere", 10 * MiB, MiB, 'm'); // outside the personal folders

    const auto finder = scanned();
    ASSERT_EQ(finder->groups().size(), 2u);
    const DuplicateGroup &trio = finder->groups()[0];
    EXPECT_EQ(trio.files.size(), 3u);
    EXPECT_EQ(trio.wastedBytes(), 20 * MiB);
    EXPECT_EQ(finder->groups()[1].files.size(), 2u);
    EXPECT_EQ(finder->groups()[1].bytes, MiB);
    EXPECT_EQ(finder->totalReclaimable(), 21 * MiB);
}

TEST_F(Duplicates, TheCacheSparesASecondReadAndADamagedOneOnlyCostsTime)
{
    // 100 files of one size, each different in a middle byte but for two pairs.
    const qint64 size = DuplicateFinder::minBytes + 4096;
    for (int i = 0; i < 100; ++i)
        writeSized(docs / ("f" + std::to_string(i)), size, size / 2, char(i < 4 ? 'p' + i / 2 : i));
    auto first = scanned();
    ASSERT_EQ(first->groups().size(), 2u);
    EXPECT_EQ(first->lastScanStats().hashedFiles, 100);
    ASSERT_TRUE(fs::exists(cacheFile));

    // Unchanged: nothing is read again, and the answer is the same.
    auto second = scanned();
    EXPECT_EQ(second->lastScanStats().hashedFiles, 0);
    EXPECT_EQ(second->lastScanStats().cachedFiles, 100);
    EXPECT_EQ(second->groups().size(), 2u);

    // A changed file (same size, new content) is hashed again and leaves its group.
    writeSized(docs / "f0", size, size / 2, 'z');
    auto third = scanned();
    EXPECT_EQ(third->lastScanStats().hashedFiles, 1);
    EXPECT_EQ(third->groups().size(), 1u);

    // A damaged cache only costs time.
    writeFile(cacheFile, "TSYHASH1 not a record");
    auto fourth = scanned();
    EXPECT_EQ(fourth->lastScanStats().hashedFiles, 100);
    EXPECT_EQ(fourth->groups().size(), 1u);
}

TEST_F(Duplicates, KeepingOneTrashesTheOthersInOneRestorableEntry)
{
    const qint64 size = 3 * DuplicateFinder::minBytes;
    writeSized(docs / "photo.jpg", size, 7, 'q');
    writeSized(home.path() / "Downloads/photo (1).jpg", size, 7, 'q');
    writeSized(home.path() / "Pictures/photo copy.jpg", size, 7, 'q');
    const auto finder = scanned();
    ASSERT_EQ(finder->groups().size(), 1u);
    const QString id = finder->groups()[0].id;
    const std::vector<fs::path> files = finder->groups()[0].files;
    const fs::path kept = docs / "photo.jpg";
    ASSERT_NE(std::find(files.begin(), files.end(), fs::canonical(kept)), files.end());

    EXPECT_FALSE(finder->keepFile(id, qtPath(fs::canonical(kept))).isEmpty());
    EXPECT_TRUE(finder->groups().empty());
    EXPECT_EQ(finder->totalReclaimable(), 0);
    EXPECT_TRUE(fs::exists(kept));
    EXPECT_FALSE(fs::exists(home.path() / "Downloads/photo (1).jpg"));
    ASSERT_EQ(history.entries().size(), 1u);
    const CleanupHistoryEntry &entry = history.entries().front();
    EXPECT_EQ(entry.bytesReclaimed, 2 * size);
    ASSERT_EQ(entry.items.size(), 2u);

    const auto counts = history.restore(entry.id);
    EXPECT_EQ(counts.restored, 2);
    EXPECT_TRUE(fs::exists(home.path() / "Downloads/photo (1).jpg"));
    EXPECT_TRUE(fs::exists(home.path() / "Pictures/photo copy.jpg"));
}

TEST_F(Duplicates, TheKeepTrustsNoCopyThatChangedAndNoDigestOnlyTheCacheVouchedFor)
{
    const qint64 size = DuplicateFinder::minBytes;
    struct Case {
        const char *what;
        std::function<void()> afterScan; // done between the scan and the keep
        bool forgeCache = false;         // b.bin's cache record claims a.bin's digest
        int trashed;
        int stayed;
        const char *words;
    };
    const std::vector<Case> cases{
        {"the kept file is gone", [&] { fs::remove(docs / "a.bin"); }, false, 0, 0, "is no longer there as it was found"},
        {"the kept file was rewritten", [&] { writeSized(docs / "a.bin", size, 5, 'k'); }, false, 0, 0,
         "is no longer there as it was found"},
        {"the other copy was rewritten, same size", [&] { writeSized(docs / "b.bin", size, 5, 'k'); }, false, 0, 1,
         "One copy changed or vanished since the scan, so it was left alone."},
        {"the other copy was written again, same bytes", [&] { writeSized(docs / "b.bin", size); }, false, 1, 0,
         "Kept a.bin, trashed the rest."},
        {"a forged cache record", [] {}, true, 0, 1, "One copy changed or vanished since the scan"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        fs::remove_all(docs);
        fs::remove(cacheFile);
        writeSized(docs / "a.bin", size);
        writeSized(docs / "b.bin", size, c.forgeCache ? 9 : -1, 'f');
        if (c.forgeCache) {
            ContentHashCache forged(cacheFile);
            forged.keep(*fileIdentity(docs / "b.bin"), *sha256OfFile(docs / "a.bin"));
            ASSERT_TRUE(forged.save().isEmpty());
        }
        const auto finder = scanned();
        ASSERT_EQ(finder->groups().size(), 1u);
        const std::string before = readFile(docs / "b.bin");
        c.afterScan();
        const auto outcome = finder->keep(finder->groups()[0].id, fs::canonical(docs) / "a.bin");
        EXPECT_EQ(outcome.trashed, c.trashed);
        EXPECT_EQ(outcome.stayed, c.stayed);
        EXPECT_TRUE(outcome.words.contains(QString::fromUtf8(c.words))) << outcome.words.toStdString();
        EXPECT_EQ(fs::exists(docs / "b.bin"), c.trashed == 0) << "a copy that isn't one went to the Trash";
        if (c.trashed == 0 && fs::exists(docs / "b.bin") && !c.forgeCache && c.stayed == 0) {
            EXPECT_EQ(readFile(docs / "b.bin"), before);
        }
    }
}

TEST_F(Duplicates, PersonalFoldersAreTheUsersOwnAndNoFileCountsTwice)
{
    // Documents lives elsewhere, and Pictures is a folder inside it: searched once.
    writeFile(home.path() / ".config/user-dirs.dirs",
              "XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\nXDG_PICTURES_DIR=\"$HOME/Dokumente/Bilder\"\n");
    const qint64 size = DuplicateFinder::minBytes;
    writeSized(home.path() / "Dokumente/Bilder/one.raw", size, 1, 'u');
    writeSized(home.path() / "Dokumente/other.raw", size, 1, 'v');
    writeSized(home.path() / "Documents/ignored.raw", size, 1, 'v'); // not a personal folder here
    const auto finder = scanned();
    EXPECT_TRUE(finder->groups().empty());
    writeSized(home.path() / "Dokumente/Bilder/two.raw", size, 1, 'u');
    EXPECT_EQ(scanned()->groups().size(), 1u);
}
