// The cleanup log: its file format against golden bytes, and the store on a
// real temporary home and the real Trash: its limit, damaged and blocked
// files, two stores on one file, and restores that never take what the
// Trash doesn't vouch for nor replace what is there.
#include "TestSupport.h"
#include "history/CleanupHistoryStore.h"
#include "history/HistoryJson.h"
#include "platform/linux/FreedesktopTrash.h"

#include <QSignalSpy>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;
using Kind = CleanupHistoryEntry::Kind;
using Status = CleanupHistoryEntry::Status;

namespace {

const fs::path kGolden = fs::path(TESSOLY_TEST_DATA) / "history-golden.json";

CleanupHistoryEntry::Item item(const char *id, const char *original, qint64 bytes)
{
    CleanupHistoryEntry::Item value;
    value.id = QUuid(QString::fromLatin1(id));
    value.originalPath = original;
    value.bytes = bytes;
    return value;
}

CleanupHistoryEntry entry(const char *id, CleanupHistoryEntry::Kind kind, CleanupHistoryEntry::Status status,
                          const QString &summary, qint64 bytes, const char *timestamp,
                          std::vector<CleanupHistoryEntry::Item> items)
{
    CleanupHistoryEntry value;
    value.id = QUuid(QString::fromLatin1(id));
    value.kind = kind;
    value.status = status;
    value.summary = summary;
    value.bytesReclaimed = bytes;
    value.timestamp = QDateTime::fromString(QString::fromLatin1(timestamp), Qt::ISODate);
    value.items = std::move(items);
    return value;
}

std::vector<CleanupHistoryEntry> goldenEntries()
{
    using K = CleanupHistoryEntry::Kind;
    using S = CleanupHistoryEntry::Status;
    auto cache = item("A1B2C3D4-E5F6-4711-8899-AABBCCDDEEFF", "/home/ann/Library/Caches/com.example \"quoted\"", 1024000);
    cache.trashedPath = "/home/ann/.local/share/Trash/files/com.example \"quoted\"";
    auto log = item("B1B2C3D4-E5F6-4711-8899-AABBCCDDEEFF", "/home/ann/Library/Logs/tab\there\\back", 512000);
    auto moved = item("C1B2C3D4-E5F6-4711-8899-AABBCCDDEEFF", "/home/ann/Movies/Final Cut — 2026", 4200000000);
    moved.externalPath = "/media/ann/Backup/Tessoly Storage/Final Cut — 2026";
    return {
        entry("0F8B2C1E-6A3D-4E21-9B7C-2D4E6F8A0B1C", K::ProfileCleanup, S::PartiallyRestored, "Developer profile cleanup",
              1536000, "2026-11-22T19:08:45Z", {cache, log}),
        entry("1F8B2C1E-6A3D-4E21-9B7C-2D4E6F8A0B1C", K::MoveToExternal, S::Unrestorable,
              "Moved Final Cut — 2026 to Backup", 4200000000, "2026-01-02T03:04:05Z", {moved}),
        entry("2F8B2C1E-6A3D-4E21-9B7C-2D4E6F8A0B1C", K::SmartCleanup, S::FullyRestored, "Nothing", 0,
              "2025-12-31T23:59:59Z", {}),
    };
}

CleanupHistoryEntry::Item itemAt(const fs::path &original, std::optional<fs::path> trashed = std::nullopt)
{
    CleanupHistoryEntry::Item item;
    item.originalPath = original;
    item.trashedPath = std::move(trashed);
    return item;
}

struct History : ::testing::Test {
    TempHome home;
    platform::FreedesktopTrash trash{home.trash(), ::getuid()};

    // Trashes a file holding content for real and returns its log item.
    CleanupHistoryEntry::Item trashed(const fs::path &original, const std::string &content)
    {
        writeFile(original, content);
        const auto outcome = trash.trashItem(original);
        EXPECT_TRUE(outcome.ok()) << outcome.error.toStdString();
        CleanupHistoryEntry::Item item = itemAt(original, outcome.trashedPath);
        item.bytes = static_cast<qint64>(content.size());
        return item;
    }
    CleanupHistoryStore reloaded() { return CleanupHistoryStore(home.historyFile(), trash); }
};

} // namespace

TEST(HistoryJson, WritesExactlyTheGoldenBytesAndReadsThemBack)
{
    const QByteArray golden = QByteArray::fromStdString(readFile(kGolden));
    ASSERT_FALSE(golden.isEmpty());
    EXPECT_EQ(encodeHistory(goldenEntries()).toStdString(), golden.toStdString());
    const auto decoded = decodeHistory(golden);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(*decoded, goldenEntries());
    EXPECT_EQ(encodeHistory({}), "[\n\n]");
}

TEST(HistoryJson, OneBadValueFailsTheWholeFileAndNullPathsAreAbsent)
{
    const QByteArray good = QByteArray::fromStdString(readFile(kGolden));
    EXPECT_TRUE(decodeHistory(good).has_value());
    const std::pair<const char *, const char *> breakages[] = {
        {"\"summary\" : \"Nothing\",", ""},                         // a required key missing
        {"\"kind\" : \"smartCleanup\"", "\"kind\" : \"vacuum\""},   // an unknown kind
        {"\"bytesReclaimed\" : 0", "\"bytesReclaimed\" : 0.5"},     // not an integer
        {"2025-12-31T23:59:59Z", "yesterday"},                       // not a date
        {"\"originalPath\" : \"\\/home\\/ann\\/Movies", "\"originalPath\" : 7, \"x\" : \"\\/"}, // wrong type
    };
    for (const auto &[from, to] : breakages) {
        QByteArray broken = good;
        broken.replace(from, to);
        ASSERT_NE(broken, good) << from;
        EXPECT_FALSE(decodeHistory(broken).has_value()) << from;
    }
    EXPECT_FALSE(decodeHistory("{}").has_value());
    EXPECT_FALSE(decodeHistory("[").has_value());

    // Optional paths written as null read as absent.
    QByteArray nulls = good;
    nulls.replace("\"originalPath\" : \"\\/home\\/ann\\/Library\\/Logs",
                  "\"trashedPath\" : null, \"externalPath\" : null, \"originalPath\" : \"\\/home\\/ann\\/Library\\/Logs");
    ASSERT_NE(nulls, good);
    const auto decoded = decodeHistory(nulls);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_FALSE(decoded->front().items.at(1).trashedPath.has_value());
    EXPECT_FALSE(decoded->front().items.at(1).externalPath.has_value());
}

TEST_F(History, TheThousandAndFirstAppendDropsTheOldest)
{
    std::vector<CleanupHistoryEntry> entries; // newest first: "entry 999" ... "entry 0"
    for (int i = 999; i >= 0; --i)
        entries.push_back(CleanupHistoryEntry::make(Kind::ProfileCleanup, QString("entry %1").arg(i), i, {}));
    writeFile(home.historyFile(), encodeHistory(entries).toStdString());
    CleanupHistoryStore store(home.historyFile(), trash);
    ASSERT_EQ(store.entries().size(), 1000u);
    store.append(CleanupHistoryEntry::make(Kind::ProfileCleanup, "newest", 0, {}));
    const auto expectNewest = [](const CleanupHistoryStore &s) {
        EXPECT_EQ(s.entries().size(), 1000u);
        EXPECT_EQ(s.entries().front().summary, "newest");
        EXPECT_EQ(s.entries().back().summary, "entry 1"); // "entry 0" was the oldest
    };
    expectNewest(store);
    expectNewest(reloaded());
}

TEST_F(History, CorruptFileIsAnEmptyLogReplacedAtTheNextAppendWithItsBytesKeptBeside)
{
    const std::string truncated = "[{\"id\": ";
    const std::string binary("\x89PNG\r\n\x1a\n\0\0\xff", 11);
    int round = 0;
    for (const std::string &bad : {truncated, std::string(), binary}) {
        SCOPED_TRACE(++round);
        writeFile(home.historyFile(), bad);
        CleanupHistoryStore store(home.historyFile(), trash);
        EXPECT_TRUE(store.entries().empty());
        EXPECT_TRUE(store.fileWasUnreadable());
        EXPECT_EQ(readFile(home.historyFile()), bad); // loading touches nothing
        QSignalSpy kept(&store, &CleanupHistoryStore::unreadableFileKept);
        EXPECT_EQ(store.append(CleanupHistoryEntry::make(Kind::BigFileTrash, "Trashed 1 duplicate of a.iso", 10, {})), "");
        EXPECT_EQ(kept.count(), 1);
        const std::vector<fs::path> copies = keptCopies(home.historyFile());
        ASSERT_EQ(copies.size(), static_cast<std::size_t>(round));
        EXPECT_EQ(readFile(copies.back()), bad);
        ASSERT_EQ(reloaded().entries().size(), 1u);
        EXPECT_EQ(reloaded().entries().front().summary, "Trashed 1 duplicate of a.iso");
    }
}

TEST_F(History, AMissingFileIsEmptyAndAFolderInItsPlaceIsNeverReplaced)
{
    {
        CleanupHistoryStore store(home.historyFile(), trash);
        EXPECT_TRUE(store.entries().empty());
        EXPECT_EQ(store.restore(QUuid::createUuid()).restored, 0);
        EXPECT_FALSE(fs::exists(home.historyFile())); // nothing written until a change
    }
    writeFile(home.historyFile() / "inside/note.txt", "someone's");
    CleanupHistoryStore store(home.historyFile(), trash);
    const auto entry = CleanupHistoryEntry::make(Kind::ProfileCleanup, "General profile cleanup", 1, {});
    EXPECT_NE(store.append(entry).indexOf("is a folder"), -1);
    EXPECT_EQ(readFile(home.historyFile() / "inside/note.txt"), "someone's");
    // Kept in memory, and written once the folder is out of the way.
    fs::rename(home.historyFile(), home.path() / "moved-away");
    EXPECT_EQ(store.append(CleanupHistoryEntry::make(Kind::ProfileCleanup, "second", 1, {})), "");
    ASSERT_EQ(reloaded().entries().size(), 2u);
    EXPECT_EQ(reloaded().entries().back().id, entry.id);
}

TEST_F(History, TwoStoresOnOneFileKeepEachOthersChangesAndTheWatcherFollows)
{
    CleanupHistoryStore window(home.historyFile(), trash);
    window.watchForChanges();
    CleanupHistoryStore other(home.historyFile(), trash);
    const auto mine = CleanupHistoryEntry::make(Kind::ProfileCleanup, "window's", 1, {trashed(home.path() / "a", "a")});
    window.append(mine);
    const auto theirs = CleanupHistoryEntry::make(Kind::ProfileCleanup, "other's", 1, {trashed(home.path() / "b", "b")});
    other.append(theirs); // re-reads the file: the window's entry stays
    ASSERT_EQ(other.entries().size(), 2u);

    QSignalSpy changed(&window, &CleanupHistoryStore::entriesChanged);
    ASSERT_TRUE(changed.wait(2000)) << "the window's store didn't notice the other's write";
    ASSERT_EQ(window.entries().size(), 2u);
    EXPECT_EQ(window.entries().front().id, theirs.id);

    // A restore by one is seen by the other, and the other's next change keeps it.
    EXPECT_EQ(other.restore(mine.id).restored, 1);
    window.removeItem(theirs.items.front().id);
    ASSERT_EQ(reloaded().entries().size(), 1u);
    EXPECT_EQ(reloaded().entries().front().status, Status::FullyRestored);
    // A second restore of the same entry by a store that still thinks it is active moves nothing.
    EXPECT_EQ(window.restore(mine.id).restored, 0);
}

TEST_F(History, RestoreTakesOnlyItemsOfTheTrashThatRememberTheirPlace)
{
    CleanupHistoryStore store(home.historyFile(), trash);
    const auto expectRefused = [&](CleanupHistoryEntry::Item item, const fs::path &stays, const char *words) {
        const auto entry = CleanupHistoryEntry::make(Kind::ProfileCleanup, "edited", 1, {item});
        store.append(entry);
        const std::string before = describeTree(stays);
        const auto counts = store.restore(entry.id);
        EXPECT_EQ(counts.restored, 0);
        EXPECT_EQ(counts.failed, 1);
        ASSERT_EQ(counts.problems.size(), 1);
        EXPECT_NE(counts.problems.front().indexOf(words), -1) << counts.problems.front().toStdString();
        EXPECT_EQ(describeTree(stays), before);
        std::error_code error;
        EXPECT_FALSE(fs::exists(item.originalPath, error));
    };

    // A trashedPath edited to name a file of the person's outside every Trash.
    writeFile(home.path() / "Documents/thesis.txt", "years of work");
    expectRefused(itemAt(home.path() / "Desktop/thesis.txt", home.path() / "Documents/thesis.txt"), home.path() / "Documents",
                  "isn't an item of the Trash");

    // Inside the Trash, but the Trash's record names another original.
    CleanupHistoryEntry::Item other = trashed(home.path() / "Caches/one.bin", "one");
    other.originalPath = home.path() / "Elsewhere/one.bin";
    fs::create_directories(home.path() / "Elsewhere");
    expectRefused(other, home.trash(), "came from");

    // A link inside the Trash that leads out of it.
    writeFile(home.path() / "Private/key.pem", "secret");
    fs::create_directories(home.path() / "Public");
    fs::create_directory_symlink(home.path() / "Private", home.trash() / "files/door");
    expectRefused(itemAt(home.path() / "Public/key.pem", home.trash() / "files/door/key.pem"), home.path() / "Private",
                  "isn't an item of the Trash");

    // The Trash's files folder itself replaced by a link to another folder.
    fs::rename(home.trash() / "files", home.path() / "real-files");
    fs::create_directory_symlink(home.path() / "Private", home.trash() / "files");
    expectRefused(itemAt(home.path() / "Public/key.pem", home.trash() / "files/key.pem"), home.path() / "Private",
                  "isn't an item of the Trash");
    EXPECT_EQ(readFile(home.path() / "Private/key.pem"), "secret");
}

TEST_F(History, RestorePutsEverythingBackAndDropsTheTrashRecords)
{
    CleanupHistoryStore store(home.historyFile(), trash);
    const fs::path a = home.path() / "Library/Caches/one";
    const fs::path b = home.path() / "Library/Caches/t\xffwo"; // not UTF-8
    const auto entry = CleanupHistoryEntry::make(Kind::ProfileCleanup, "General profile cleanup", 9,
                                                 {trashed(a, "alpha"), trashed(b, "beta")});
    store.append(entry);

    CleanupHistoryStore again = reloaded(); // through the file, bytes and all
    const auto counts = again.restore(entry.id);
    EXPECT_EQ(counts.restored, 2);
    EXPECT_EQ(counts.failed, 0);
    EXPECT_EQ(readFile(a), "alpha");
    EXPECT_EQ(readFile(b), "beta");
    EXPECT_TRUE(fs::is_empty(home.trash() / "info"));
    EXPECT_TRUE(fs::is_empty(home.trash() / "files"));
    const CleanupHistoryEntry *after = again.entry(entry.id);
    ASSERT_NE(after, nullptr);
    EXPECT_EQ(after->bytesReclaimed, 9);
    EXPECT_FALSE(after->items[0].trashedPath.has_value());
    EXPECT_EQ(reloaded().entry(entry.id)->status, Status::FullyRestored);
}

TEST_F(History, RestoreNeverOverwritesAndCountsEachFailure)
{
    CleanupHistoryStore store(home.historyFile(), trash);
    const fs::path occupied = home.path() / "occupied.txt";
    auto itemOccupied = trashed(occupied, "old");
    auto itemEmptied = trashed(home.path() / "emptied.txt", "gone");
    auto orphan = trashed(home.path() / "gone-folder/file", "f");
    fs::remove(*itemEmptied.trashedPath); // the Trash was emptied
    fs::remove_all(home.path() / "gone-folder"); // a vanished parent is never re-created
    writeFile(occupied, "new"); // the place is taken again
    const auto entry = CleanupHistoryEntry::make(Kind::ProfileCleanup, "p", 5,
        {trashed(home.path() / "kept.txt", "kept"), itemOccupied, itemEmptied, orphan, itemAt(home.path() / "deleted.txt")});
    store.append(entry);

    const auto first = store.restore(entry.id);
    EXPECT_EQ(first.restored, 1);
    EXPECT_EQ(first.failed, 4);
    EXPECT_EQ(store.entry(entry.id)->status, Status::PartiallyRestored);
    EXPECT_EQ(readFile(occupied), "new");
    EXPECT_EQ(readFile(*itemOccupied.trashedPath), "old"); // still safe in the Trash
    EXPECT_FALSE(fs::exists(home.path() / "gone-folder"));

    fs::remove(occupied); // the way is clear again: a second restore gets it back
    const auto second = store.restore(entry.id);
    EXPECT_EQ(second.restored, 1);
    EXPECT_EQ(store.entry(entry.id)->status, Status::PartiallyRestored);
    EXPECT_EQ(readFile(occupied), "old");

    EXPECT_EQ(store.restore(entry.id).restored, 0); // nothing left
    EXPECT_EQ(store.entry(entry.id)->status, Status::Unrestorable);

    // An entry of deleted items only can't be restored; an unknown id changes nothing.
    const auto deletedOnly = CleanupHistoryEntry::make(Kind::SmartCleanup, "d", 5, {itemAt(home.path() / "nm")});
    store.append(deletedOnly);
    EXPECT_EQ(store.entry(deletedOnly.id)->status, Status::Active);
    store.restore(deletedOnly.id);
    EXPECT_EQ(store.entry(deletedOnly.id)->status, Status::Unrestorable);
    const std::string before = readFile(home.historyFile());
    const auto unknown = store.restore(QUuid::createUuid());
    EXPECT_EQ(unknown.restored + unknown.failed, 0);
    EXPECT_EQ(readFile(home.historyFile()), before);
}

TEST_F(History, RemovingItemsShortensThenDropsTheEntry)
{
    CleanupHistoryStore store(home.historyFile(), trash);
    const auto moved = CleanupHistoryEntry::make(Kind::MoveToExternal, "Moved a to b", 5000, {itemAt("/a"), itemAt("/b")});
    store.append(moved);
    store.removeItem(moved.items[0].id);
    store.removeItem(QUuid::createUuid()); // unknown: nothing happens
    ASSERT_EQ(reloaded().entries().size(), 1u);
    EXPECT_EQ(reloaded().entries().front().items.size(), 1u);
    EXPECT_EQ(reloaded().entries().front().bytesReclaimed, 5000);
    store.removeItem(moved.items[1].id);
    EXPECT_TRUE(reloaded().entries().empty());
}
