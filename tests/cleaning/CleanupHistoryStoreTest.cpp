#include "TestSupport.h"
#include "history/CleanupHistoryModel.h"
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

struct History : ::testing::Test {
    TempHome home;
    platform::FreedesktopTrash trash{home.trash(), ::getuid()};

    // Trashes a file holding content for real and returns its log item.
    CleanupHistoryEntry::Item trashed(const fs::path &original, const std::string &content)
    {
        writeFile(original, content);
        const auto outcome = trash.trashItem(original);
        EXPECT_TRUE(outcome.ok()) << outcome.error.toStdString();
        CleanupHistoryEntry::Item item;
        item.originalPath = original;
        item.trashedPath = outcome.trashedPath;
        item.bytes = static_cast<qint64>(content.size());
        return item;
    }
};

} // namespace

TEST_F(History, MissingFileIsAnEmptyLogAndNothingIsWrittenUntilAChange)
{
    CleanupHistoryStore store(home.historyFile(), trash);
    EXPECT_TRUE(store.entries().empty());
    EXPECT_EQ(store.restore(QUuid::createUuid()).restored, 0);
    EXPECT_FALSE(fs::exists(home.historyFile()));
}

TEST_F(History, TheThousandAndFirstAppendDropsTheOldest)
{
    std::vector<CleanupHistoryEntry> entries; // newest first: "entry 999" ... "entry 0"
    for (int i = 999; i >= 0; --i)
        entries.push_back(CleanupHistoryEntry::make(Kind::ProfileCleanup, QString("entry %1").arg(i), i, {}));
    writeFile(home.historyFile(), encodeHistory(entries).toStdString());
    {
        CleanupHistoryStore store(home.historyFile(), trash);
        ASSERT_EQ(store.entries().size(), 1000u);
        store.append(CleanupHistoryEntry::make(Kind::ProfileCleanup, "newest", 0, {}));
        EXPECT_EQ(store.entries().size(), 1000u);
        EXPECT_EQ(store.entries().front().summary, "newest");
        EXPECT_EQ(store.entries().back().summary, "entry 1"); // "entry 0" was the oldest
    }
    CleanupHistoryStore reloaded(home.historyFile(), trash);
    EXPECT_EQ(reloaded.entries().size(), 1000u);
    EXPECT_EQ(reloaded.entries().front().summary, "newest");
}

TEST_F(History, CorruptFileIsAnEmptyLogReplacedAtTheNextAppendWithItsBytesKeptBeside)
{
    // Truncated, empty, binary: each reads as an empty log, and the next
    // write keeps the old bytes beside the new log.
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
        QStringList kept;
        QObject::connect(&store, &CleanupHistoryStore::unreadableFileKept, [&](const QString &path) { kept << path; });
        EXPECT_EQ(store.append(CleanupHistoryEntry::make(Kind::BigFileTrash, "Trashed 1 duplicate of a.iso", 10, {})), "");
        EXPECT_EQ(kept.size(), 1);
        const std::vector<fs::path> copies = keptCopies(home.historyFile());
        ASSERT_EQ(copies.size(), static_cast<std::size_t>(round));
        EXPECT_EQ(readFile(copies.back()), bad);
        CleanupHistoryStore reloaded(home.historyFile(), trash);
        ASSERT_EQ(reloaded.entries().size(), 1u);
        EXPECT_EQ(reloaded.entries().front().summary, "Trashed 1 duplicate of a.iso");
    }
}

TEST_F(History, AFolderInTheLogsPlaceIsNeverReplacedAndTheWriteSaysWhy)
{
    fs::create_directories(home.historyFile() / "inside");
    writeFile(home.historyFile() / "inside/note.txt", "someone's");
    CleanupHistoryStore store(home.historyFile(), trash);
    EXPECT_TRUE(store.entries().empty());
    const auto entry = CleanupHistoryEntry::make(Kind::ProfileCleanup, "General profile cleanup", 1, {});
    const QString error = store.append(entry);
    EXPECT_NE(error.indexOf("is a folder"), -1) << error.toStdString();
    EXPECT_EQ(readFile(home.historyFile() / "inside/note.txt"), "someone's");
    // Kept in memory, and written once the folder is out of the way.
    EXPECT_NE(store.entry(entry.id), nullptr);
    fs::rename(home.historyFile(), home.path() / "moved-away");
    EXPECT_EQ(store.append(CleanupHistoryEntry::make(Kind::ProfileCleanup, "second", 1, {})), "");
    CleanupHistoryStore reloaded(home.historyFile(), trash);
    ASSERT_EQ(reloaded.entries().size(), 2u);
    EXPECT_EQ(reloaded.entries().back().id, entry.id);
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
    CleanupHistoryStore reloaded(home.historyFile(), trash);
    ASSERT_EQ(reloaded.entries().size(), 1u);
    EXPECT_EQ(reloaded.entries().front().status, Status::FullyRestored);
    // A second restore of the same entry by a store that still thinks it is active moves nothing.
    const auto again = window.restore(mine.id);
    EXPECT_EQ(again.restored, 0);
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
    CleanupHistoryEntry::Item outside;
    outside.originalPath = home.path() / "Desktop/thesis.txt";
    outside.trashedPath = home.path() / "Documents/thesis.txt";
    expectRefused(outside, home.path() / "Documents", "isn't an item of the Trash");

    // Inside the Trash, but the Trash's record names another original.
    CleanupHistoryEntry::Item other = trashed(home.path() / "Caches/one.bin", "one");
    other.originalPath = home.path() / "Elsewhere/one.bin";
    fs::create_directories(home.path() / "Elsewhere");
    expectRefused(other, home.trash(), "came from");

    // A link inside the Trash that leads out of it.
    fs::create_directories(home.path() / "Private");
    writeFile(home.path() / "Private/key.pem", "secret");
    fs::create_directory_symlink(home.path() / "Private", home.trash() / "files/door");
    CleanupHistoryEntry::Item throughLink;
    throughLink.originalPath = home.path() / "Public/key.pem";
    throughLink.trashedPath = home.trash() / "files/door/key.pem";
    fs::create_directories(home.path() / "Public");
    expectRefused(throughLink, home.path() / "Private", "isn't an item of the Trash");

    // The Trash's files folder itself replaced by a link to another folder.
    const fs::path realFiles = home.path() / "real-files";
    fs::rename(home.trash() / "files", realFiles);
    fs::create_directory_symlink(home.path() / "Private", home.trash() / "files");
    CleanupHistoryEntry::Item viaFiles;
    viaFiles.originalPath = home.path() / "Public/key.pem";
    viaFiles.trashedPath = home.trash() / "files/key.pem";
    expectRefused(viaFiles, home.path() / "Private", "isn't an item of the Trash");
    EXPECT_EQ(readFile(home.path() / "Private/key.pem"), "secret");
}

TEST_F(History, NewEntriesStartByKind)
{
    EXPECT_EQ(CleanupHistoryEntry::make(Kind::MoveToExternal, "m", 1, {}).status, Status::Unrestorable);
    CleanupHistoryEntry::Item deleted;
    deleted.originalPath = "/x";
    const auto entry = CleanupHistoryEntry::make(Kind::SmartCleanup, "s", 1, {deleted});
    EXPECT_EQ(entry.status, Status::Active); // deleted outright, yet active
    EXPECT_EQ(entry.timestamp.time().msec(), 0);
}

TEST_F(History, RestorePutsEverythingBackAndDropsTheTrashRecords)
{
    CleanupHistoryStore store(home.historyFile(), trash);
    const fs::path a = home.path() / "Library/Caches/one";
    const fs::path b = home.path() / "Library/Caches/t\xffwo"; // not UTF-8
    auto itemA = trashed(a, "alpha");
    auto itemB = trashed(b, "beta");
    const auto entry = CleanupHistoryEntry::make(Kind::ProfileCleanup, "General profile cleanup", 9, {itemA, itemB});
    store.append(entry);

    CleanupHistoryStore reloaded(home.historyFile(), trash); // through the file, bytes and all
    const auto counts = reloaded.restore(entry.id);
    EXPECT_EQ(counts.restored, 2);
    EXPECT_EQ(counts.failed, 0);
    EXPECT_EQ(readFile(a), "alpha");
    EXPECT_EQ(readFile(b), "beta");
    EXPECT_TRUE(fs::is_empty(home.trash() / "info"));
    EXPECT_TRUE(fs::is_empty(home.trash() / "files"));
    const CleanupHistoryEntry *after = reloaded.entry(entry.id);
    ASSERT_NE(after, nullptr);
    EXPECT_EQ(after->status, Status::FullyRestored);
    EXPECT_EQ(after->bytesReclaimed, 9);
    EXPECT_FALSE(after->items[0].trashedPath.has_value());
    EXPECT_EQ(restoreMessage(counts), "Restored 2 items from Trash.");
    EXPECT_EQ(CleanupHistoryStore(home.historyFile(), trash).entry(entry.id)->status, Status::FullyRestored);
}

TEST_F(History, RestoreNeverOverwritesAndCountsEachFailure)
{
    CleanupHistoryStore store(home.historyFile(), trash);
    const fs::path kept = home.path() / "kept.txt";
    const fs::path occupied = home.path() / "occupied.txt";
    const fs::path emptied = home.path() / "emptied.txt";
    auto itemKept = trashed(kept, "kept");
    auto itemOccupied = trashed(occupied, "old");
    auto itemEmptied = trashed(emptied, "gone");
    CleanupHistoryEntry::Item deleted; // deleted outright
    deleted.originalPath = home.path() / "deleted.txt";
    fs::remove(*itemEmptied.trashedPath); // the Trash was emptied
    writeFile(occupied, "new"); // the place is taken again

    const auto entry = CleanupHistoryEntry::make(Kind::ProfileCleanup, "p", 4, {itemKept, itemOccupied, itemEmptied, deleted});
    store.append(entry);
    const auto first = store.restore(entry.id);
    EXPECT_EQ(first.restored, 1);
    EXPECT_EQ(first.failed, 3);
    EXPECT_EQ(store.entry(entry.id)->status, Status::PartiallyRestored);
    EXPECT_EQ(readFile(occupied), "new");
    EXPECT_EQ(readFile(*itemOccupied.trashedPath), "old"); // still safe in the Trash
    EXPECT_EQ(restoreMessage(first), "Restored 1, couldn't restore 3 (originals may now exist).");

    fs::remove(occupied); // the way is clear again: a second restore gets it back...
    const auto second = store.restore(entry.id);
    EXPECT_EQ(second.restored, 1);
    EXPECT_EQ(second.failed, 3); // ...but the item restored before counts as failed
    EXPECT_EQ(store.entry(entry.id)->status, Status::PartiallyRestored);
    EXPECT_EQ(readFile(occupied), "old");

    const auto third = store.restore(entry.id); // nothing left
    EXPECT_EQ(third.restored, 0);
    EXPECT_EQ(store.entry(entry.id)->status, Status::Unrestorable);
    EXPECT_EQ(restoreMessage(third),
              "Couldn't restore — items may have been emptied from Trash or the original locations now exist.");
}

TEST_F(History, RestoreEdgeCases)
{
    CleanupHistoryStore store(home.historyFile(), trash);
    const auto empty = CleanupHistoryEntry::make(Kind::ProfileCleanup, "empty", 0, {});
    CleanupHistoryEntry::Item deleted;
    deleted.originalPath = home.path() / "nm";
    const auto deletedOnly = CleanupHistoryEntry::make(Kind::SmartCleanup, "Deleted node_modules from web", 5, {deleted});
    store.append(empty);
    store.append(deletedOnly);
    const std::string before = readFile(home.historyFile());

    const auto unknown = store.restore(QUuid::createUuid());
    EXPECT_EQ(unknown.restored + unknown.failed, 0);
    EXPECT_EQ(readFile(home.historyFile()), before);

    const auto none = store.restore(empty.id);
    EXPECT_EQ(none.restored + none.failed, 0);
    EXPECT_EQ(store.entry(empty.id)->status, Status::FullyRestored);
    EXPECT_EQ(restoreMessage(none), "Restored 0 items from Trash.");

    store.restore(deletedOnly.id);
    EXPECT_EQ(store.entry(deletedOnly.id)->status, Status::Unrestorable);

    // A vanished parent folder is a failure; no folder is re-created.
    auto orphan = trashed(home.path() / "gone-folder/file", "f");
    fs::remove_all(home.path() / "gone-folder");
    const auto orphanEntry = CleanupHistoryEntry::make(Kind::ProfileCleanup, "o", 1, {orphan});
    store.append(orphanEntry);
    EXPECT_EQ(store.restore(orphanEntry.id).failed, 1);
    EXPECT_FALSE(fs::exists(home.path() / "gone-folder"));
}

TEST_F(History, RemoveItemShortensOrRemovesTheEntry)
{
    CleanupHistoryStore store(home.historyFile(), trash);
    CleanupHistoryEntry::Item one;
    one.originalPath = "/a";
    CleanupHistoryEntry::Item two;
    two.originalPath = "/b";
    const auto entry = CleanupHistoryEntry::make(Kind::MoveToExternal, "m", 7, {one, two});
    store.append(entry);

    store.removeItem(one.id);
    ASSERT_EQ(store.entries().size(), 1u);
    EXPECT_EQ(store.entries().front().items.size(), 1u);
    EXPECT_EQ(store.entries().front().bytesReclaimed, 7);
    store.removeItem(QUuid::createUuid()); // unknown: nothing happens
    EXPECT_EQ(store.entries().size(), 1u);
    store.removeItem(two.id);
    EXPECT_TRUE(store.entries().empty());
    EXPECT_TRUE(CleanupHistoryStore(home.historyFile(), trash).entries().empty());
}

TEST_F(History, PageFiguresAndRows)
{
    CleanupHistoryStore store(home.historyFile(), trash);
    CleanupHistoryModel model(store, QString::fromStdString(home.path().native()));
    std::vector<CleanupHistoryEntry::Item> many;
    for (int i = 0; i < 12; ++i) {
        CleanupHistoryEntry::Item item;
        item.originalPath = home.path() / ("Library/Caches/c" + std::to_string(i));
        item.bytes = 1000;
        many.push_back(item);
    }
    store.append(CleanupHistoryEntry::make(Kind::ProfileCleanup, "General profile cleanup", 12000, many));
    store.append(CleanupHistoryEntry::make(Kind::MoveToExternal, "Moved a to b", 5000, {many.front()}));

    EXPECT_EQ(model.rowCount(), 2);
    EXPECT_EQ(model.totalReclaimed(), 17000);
    EXPECT_EQ(model.operations(), 2);
    EXPECT_EQ(model.restorable(), 1);
    const QModelIndex profile = model.index(1);
    EXPECT_EQ(model.data(profile, CleanupHistoryModel::ItemCountTextRole).toString(), "12 items");
    EXPECT_EQ(model.data(profile, CleanupHistoryModel::StatusLabelRole).toString(), "In Trash · restorable");
    EXPECT_EQ(model.data(profile, CleanupHistoryModel::ShownItemsRole).toList().size(), 10);
    EXPECT_EQ(model.data(profile, CleanupHistoryModel::MoreItemsRole).toInt(), 2);
    EXPECT_EQ(model.data(profile, CleanupHistoryModel::ShownItemsRole).toList().front().toMap().value("path").toString(),
              "~/Library/Caches/c0");
    EXPECT_EQ(model.data(model.index(0), CleanupHistoryModel::ItemCountTextRole).toString(), "1 item");
    EXPECT_EQ(model.data(model.index(0), CleanupHistoryModel::StatusLabelRole).toString(), "Final");
}
