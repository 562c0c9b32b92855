// Which folders are offered for offloading and which known locations are
// suggested for a move. Sizes are allocated sizes: the files are made with
// fallocate (real blocks, no data written) and hard links, which count each
// time they are met, so gigabytes cost almost nothing.
#include "MovesSupport.h"
#include "moves/OffloadScanner.h"

#include <QDateTime>
#include <algorithm>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

constexpr qint64 kChunk = 16LL << 20; // one extent: the allocated size is exact
constexpr qint64 kGiB = 1LL << 30;

struct Offload : ::testing::Test {
    TempHome home;
    QDateTime now = QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch(), Qt::UTC);
    qint64 oldSeconds = now.toSecsSinceEpoch() - 15'552'000; // exactly 180 days
    fs::path pool = home.path() / ".pool";
    bool poolReady = false;
    // 1 GiB of allocated blocks in 64 files, all last modified exactly 180 days ago.
    void SetUp() override
    {
        try {
            for (int i = 0; i < kGiB / kChunk; ++i) {
                allocate(pool / ("chunk" + std::to_string(i)), kChunk);
                setModified(pool / ("chunk" + std::to_string(i)), oldSeconds);
            }
        } catch (const std::runtime_error &) {
            return;
        }
        struct stat st{};
        ::stat((pool / "chunk0").c_str(), &st);
        poolReady = qint64(st.st_blocks) * 512 == kChunk;
    }

    // Hard links to the pool: `gib` GiB of old data in a folder.
    void fill(const fs::path &folder, int gib = 1)
    {
        fs::create_directories(folder);
        for (int copy = 0; copy < gib; ++copy)
            for (int i = 0; i < kGiB / kChunk; ++i)
                fs::create_hard_link(pool / ("chunk" + std::to_string(i)),
                    folder / ("part" + std::to_string(copy) + "-" + std::to_string(i)));
    }

    void touchAt(const fs::path &file, qint64 seconds)
    {
        writeFile(file, "x");
        setModified(file, seconds);
    }
};

std::string describe(const std::vector<OffloadCandidate> &candidates)
{
    std::string out;
    for (const OffloadCandidate &c : candidates)
        out += c.category.toStdString() + "|" + c.displayName.toStdString() + "|" + std::to_string(c.bytes) + "\n";
    return out;
}

} // namespace

TEST_F(Offload, CandidatesAreBigAndUntouchedForHalfAYear)
{
    if (!poolReady)
        GTEST_SKIP() << "this file system doesn't allocate 16 MiB with fallocate as exactly 16 MiB of blocks";
    const fs::path docs = home.path() / "Documents";
    fill(docs / "Old Project"); // exactly 1 GiB, exactly 180 days
    fill(docs / "One Second Young");
    touchAt(docs / "One Second Young/latest.txt", oldSeconds + 1);
    fill(docs / "Just Under");
    fs::remove(docs / "Just Under/part0-0");
    allocate(docs / "Just Under/short", kChunk - 4096);
    setModified(docs / "Just Under/short", oldSeconds - 100);
    fill(home.path() / "Movies/Recent", 2);
    touchAt(home.path() / "Movies/Recent/edited-yesterday.txt", now.toSecsSinceEpoch() - 86'400);
    fill(home.path() / "Movies/.Hidden Old");
    fill(home.path() / "Pictures/Photos.photoslibrary");
    fill(home.path() / "Elsewhere/Already Moved");
    fs::create_directories(home.path() / "Music");
    fs::create_directory_symlink(home.path() / "Elsewhere/Already Moved", home.path() / "Music/Already Moved");
    for (int i = 0; i < 50; ++i)
        fs::create_directories(home.path() / "Desktop/Only Folders" / std::to_string(i) / "deeper");
    fill(home.path() / "Desktop/Big Old", 2); // bigger: listed first
    fill(home.path() / "Documents"); // loose files in a top folder aren't judged themselves
    // No Downloads at all: nothing to say about it.

    const fs::path backups = home.path() / "Library/Application Support/MobileSync/Backup";
    fill(backups / "00008101-AAAA");
    writeFile(backups / "00008101-AAAA/Info.plist", R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>
  <key>Device Name</key><string>Anna's device</string><key>Display Name</key><string>Anna's iPhone</string>
</dict></plist>)");
    fill(backups / "00008101-BBBB");
    writeFile(backups / "00008101-BBBB/Info.plist", R"(<?xml version="1.0"?><plist version="1.0"><dict><key>Device Name</key><string>Ben's iPad</string>
<key>Nested</key><dict><key>Display Name</key><string>not this one</string></dict></dict></plist>)");
    fill(backups / "00008101-CCCC");
    writeFile(backups / "00008101-CCCC/Info.plist", "\x01\x02 not a property list");
    fill(backups / "00008101-DDDD"); // no Info.plist at all
    for (const char *id : {"00008101-AAAA", "00008101-BBBB", "00008101-CCCC"})
        setModified(backups / id / "Info.plist", oldSeconds - 10);
    fill(home.path() / "Library/Developer/Xcode/Archives");

    const std::vector<OffloadCandidate> found = OffloadScanner::findCandidates(home.path(), now);
    const std::string gib = std::to_string(kGiB);
    // Biggest first. Equal sizes keep the order of the search, which within
    // one folder is the listing's order: compare those as a set.
    for (std::size_t i = 1; i < found.size(); ++i)
        EXPECT_GE(found[i - 1].bytes, found[i].bytes);
    std::vector<OffloadCandidate> sorted = found;
    std::stable_sort(sorted.begin(), sorted.end(), [](const OffloadCandidate &a, const OffloadCandidate &b) {
        return a.bytes != b.bytes ? a.bytes > b.bytes : a.displayName < b.displayName;
    });
    const std::string backup = std::to_string(kGiB + 4096); // a backup's Info.plist adds a block
    ASSERT_EQ(describe(sorted), "Desktop|Big Old|" + std::to_string(2 * kGiB) + "\niPhone backup|00008101-CCCC|" + backup
                                    + "\niPhone backup|Anna's iPhone|" + backup + "\niPhone backup|Ben's iPad|" + backup
                                    + "\niPhone backup|00008101-DDDD|" + gib + "\nDocuments|Old Project|" + gib
                                    + "\nXcode archives|Xcode Archives|" + gib + "\n");
    // Among equal sizes the three sources keep their order: personal folders, backups, archives.
    EXPECT_EQ(found[4].category, "Documents");
    EXPECT_EQ(found[6].category, "Xcode archives");
    EXPECT_EQ(found[4].url, docs / "Old Project");
    EXPECT_EQ(found[4].lastUsed, QDateTime::fromSecsSinceEpoch(oldSeconds, Qt::UTC));

    OffloadScanner scanner(home.path());
    runTask(scanner.scan());
    // The scan takes its own "now", a second or so later than the one above:
    // a folder one second short of the limit may have reached it since.
    for (const OffloadCandidate &candidate : found)
        EXPECT_NE(std::find(scanner.candidates().begin(), scanner.candidates().end(), candidate),
                  scanner.candidates().end())
            << candidate.displayName.toStdString();
    const std::size_t before = scanner.candidates().size();
    // A candidate that gets moved (now a link) drops out of the list.
    fs::rename(docs / "Old Project", home.path() / "Elsewhere/Old Project");
    fs::create_directory_symlink(home.path() / "Elsewhere/Old Project", docs / "Old Project");
    scanner.dropMovedCandidates();
    EXPECT_EQ(scanner.candidates().size(), before - 1);
}

TEST_F(Offload, SuggestionsAreKnownLocationsOfTwoGigabytesOrMore)
{
    EXPECT_TRUE(MoveSuggestions::findSuggestions(home.path()).empty()); // none of the nine present
    if (!poolReady)
        GTEST_SKIP() << "this file system doesn't allocate 16 MiB with fallocate as exactly 16 MiB of blocks";
    fill(home.path() / ".gradle/caches", 2); // exactly 2 GiB
    fill(home.path() / "AndroidSDK", 3);
    fill(home.path() / "Library/Developer/Xcode/DerivedData", 2);
    fs::remove(home.path() / "Library/Developer/Xcode/DerivedData/part0-0"); // just under
    fill(home.path() / "Elsewhere/avd", 3);
    fs::create_directories(home.path() / ".android");
    fs::create_directory_symlink(home.path() / "Elsewhere/avd", home.path() / ".android/avd"); // already moved

    MoveSuggestions suggestions(home.path());
    runTask(suggestions.analyze());
    const auto &list = suggestions.suggestions();
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].url, home.path() / "AndroidSDK");
    EXPECT_EQ(list[0].bytes, 3 * kGiB);
    EXPECT_EQ(list[1].url, home.path() / ".gradle/caches");
    EXPECT_EQ(list[1].bytes, 2 * kGiB);
    // The moved location isn't offered for offloading either.
    for (const OffloadCandidate &candidate : OffloadScanner::findCandidates(home.path(), now))
        EXPECT_NE(candidate.url.filename(), "avd");
}
