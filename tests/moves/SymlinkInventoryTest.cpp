// The inventory of moved items, rebuilt from the history and the disk, and
// the bring-back with each of its ways to fail.
#include "MovesSupport.h"
#include "moves/SymlinkInventory.h"

#include <gtest/gtest.h>
#include <set>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;
using Status = SymlinkRecord::Status;

namespace {

struct Inventory : ::testing::Test, MoveHome {
    GrantedDestinations destinations{home.defaultsFile(), home.path() / "drive"};
    SymlinkInventory inventory{history, operations, destinations.store, home.path()};
    fs::path drive = home.path() / "drive/Tessoly Storage";
    // A moved folder as a finished move leaves it: data on the drive, a link at home.
    CleanupHistoryEntry::Item moved(const std::string &name, bool link, bool external)
    {
        CleanupHistoryEntry::Item item;
        item.originalPath = home.path() / "Projects" / name;
        item.externalPath = drive / name;
        item.bytes = 4096;
        if (external)
            writeFile(drive / name / "data.bin", "payload of " + name);
        fs::create_directories(home.path() / "Projects");
        if (link)
            fs::create_symlink(drive / name, item.originalPath);
        return item;
    }

    void log(CleanupHistoryEntry::Kind kind, qint64 secondsSinceEpoch, std::vector<CleanupHistoryEntry::Item> items,
        CleanupHistoryEntry::Status status = CleanupHistoryEntry::Status::Unrestorable)
    {
        CleanupHistoryEntry entry = CleanupHistoryEntry::make(kind, "test", 0, std::move(items));
        entry.timestamp = QDateTime::fromSecsSinceEpoch(secondsSinceEpoch, Qt::UTC);
        entry.status = status;
        history.append(entry);
    }

    SymlinkRecord only()
    {
        inventory.refresh();
        EXPECT_EQ(inventory.records().size(), 1u);
        return inventory.records().at(0);
    }
};

std::vector<std::pair<std::string, Status>> listed(const std::vector<SymlinkRecord> &records)
{
    std::vector<std::pair<std::string, Status>> out;
    for (const SymlinkRecord &record : records)
        out.emplace_back(record.originalPath.filename().native(), record.status);
    return out;
}

} // namespace

TEST_F(Inventory, RecordsComeOnlyFromMovesNewestFirstWithTheirStatus)
{
    log(CleanupHistoryEntry::Kind::MoveToExternal, 1000,
        {moved("A-active", true, true), moved("B-unplugged", true, false)},
        CleanupHistoryEntry::Status::Active); // the entry's own status plays no part
    CleanupHistoryEntry::Item noExternal = moved("E-no-external", true, true);
    noExternal.externalPath = std::nullopt;
    log(CleanupHistoryEntry::Kind::MoveToExternal, 3000,
        {moved("C-symlink-gone", false, true), moved("D-broken", false, false), noExternal});
    // Another kind never yields a record, even with an external path.
    log(CleanupHistoryEntry::Kind::BigFileTrash, 2000, {moved("F-other-kind", true, true)});
    log(CleanupHistoryEntry::Kind::SmartCleanup, 4000, {moved("G-other-kind", true, true)});

    inventory.refresh();
    const auto expected = std::vector<std::pair<std::string, Status>>{{"C-symlink-gone", Status::SymlinkMissing},
        {"D-broken", Status::Broken}, {"A-active", Status::Active}, {"B-unplugged", Status::ExternalMissing}};
    ASSERT_EQ(listed(inventory.records()), expected);
    const auto &r = inventory.records();
    EXPECT_EQ(r[2].movedAt, QDateTime::fromSecsSinceEpoch(1000, Qt::UTC));
    EXPECT_EQ(r[2].externalPath, drive / "A-active");
    EXPECT_EQ(r[2].id, history.entries().back().items[0].id);
    EXPECT_EQ(inventory.totalBytes(), 4 * 4096);
    EXPECT_EQ(inventory.activeCount(), 1);
    EXPECT_EQ(inventory.attentionCount(), 3);
    inventory.refresh();
    EXPECT_EQ(listed(inventory.records()), expected); // stable from one refresh to the next
}

TEST_F(Inventory, BringBackPutsTheDataInPlaceOfTheLink)
{
    log(CleanupHistoryEntry::Kind::MoveToExternal, 1000, {moved("Film", true, true)});
    buildRichTree(drive / "Film");
    const std::string before = treeSignature(drive / "Film");
    const fs::path original = home.path() / "Projects/Film";
    // Something at the staging name: a leftover of a bring-back that died
    // half way, or a file of the person's that happens to carry that name.
    writeFile(home.path() / "Projects/Film.tessoly-restore/half.bin", "the person's own bytes");
    const std::string theirs = treeSignature(home.path() / "Projects/Film.tessoly-restore");
    // Free space exactly equal to the size passes.
    const qint64 size = operations.MoveFileOperations::allocatedSize(drive / "Film");
    operations.onFreeSpace = [size](const fs::path &) { return std::optional<qint64>(size); };

    const std::optional<BringBackError> error = runTask(inventory.bringBack(only()));
    ASSERT_FALSE(error.has_value()) << error->errorDescription().toStdString();
    EXPECT_FALSE(fs::is_symlink(original));
    EXPECT_EQ(treeSignature(original), before);
    EXPECT_FALSE(fs::exists(home.path() / "Projects/Film.tessoly-restore"));
    EXPECT_FALSE(fs::exists(original / "half.bin"));
    EXPECT_FALSE(fs::exists(drive / "Film"));
    // The drive's copy went to the Trash, not away; so did what stood at the
    // staging name, byte for byte.
    std::set<std::string> trashed;
    for (const fs::directory_entry &entry : fs::directory_iterator(home.trash() / "files"))
        trashed.insert(treeSignature(entry.path()));
    EXPECT_TRUE(trashed.contains(before));
    EXPECT_TRUE(trashed.contains(theirs));
    EXPECT_EQ(inventory.records().at(0).status, Status::Broken);
    EXPECT_EQ(history.entries().size(), 1u);
    // A stale screen: the old path is a real folder now.
    EXPECT_EQ(runTask(inventory.bringBack(inventory.records().at(0)))->kind, BringBackError::Kind::ExternalMissing);
}

TEST_F(Inventory, BringBackFailuresAndRefusalsLeaveTheLinkAndTheDataAlone)
{
    log(CleanupHistoryEntry::Kind::MoveToExternal, 1000, {moved("Film", true, true)});
    const fs::path original = home.path() / "Projects/Film";
    const fs::path staging = home.path() / "Projects/Film.tessoly-restore";
    const std::string external = treeSignature(drive / "Film");
    const auto expectUnchanged = [&](const std::optional<BringBackError> &error, BringBackError::Kind kind) {
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(error->kind, kind) << error->errorDescription().toStdString();
        EXPECT_TRUE(fs::is_symlink(original));
        EXPECT_EQ(fs::read_symlink(original), drive / "Film");
        EXPECT_EQ(treeSignature(drive / "Film"), external);
        EXPECT_FALSE(fs::exists(staging));
    };

    operations.onSize = [](const fs::path &) { return std::optional<qint64>(3'000'000'000); };
    for (const qint64 free : {2'999'999'999LL, 1'500'000LL}) {
        operations.onFreeSpace = [free](const fs::path &) { return std::optional<qint64>(free); };
        const std::optional<BringBackError> error = runTask(inventory.bringBack(only()));
        expectUnchanged(error, BringBackError::Kind::NotEnoughSpace);
        EXPECT_EQ(error->needed, 3'000'000'000);
        EXPECT_EQ(error->available, free);
    }
    operations.onSize = nullptr;
    operations.onFreeSpace = [](const fs::path &) { return std::optional<qint64>(); }; // unreadable: no reason to stop

    operations.onCopy = [&](const fs::path &from, const fs::path &to) {
        (void)operations.realCopy(from, to);
        return QStringLiteral("Input/output error");
    };
    expectUnchanged(runTask(inventory.bringBack(only())), BringBackError::Kind::CopyFailed);

    operations.onCopy = [&](const fs::path &from, const fs::path &to) {
        const QString error = operations.realCopy(from, to);
        writeFile(to / "extra.bin", std::string(20000, 'e'));
        return error;
    };
    expectUnchanged(runTask(inventory.bringBack(only())), BringBackError::Kind::VerificationFailed);
    operations.onCopy = nullptr;
    // A real folder where the link was: nothing to bring back over.
    fs::remove(original);
    fs::create_directories(original);
    writeFile(original / "mine.txt", "the user's own");
    const SymlinkRecord stale = only();
    EXPECT_EQ(stale.status, Status::SymlinkMissing);
    EXPECT_EQ(runTask(inventory.bringBack(stale))->kind, BringBackError::Kind::NotASymlink);
    EXPECT_EQ(readFile(original / "mine.txt"), "the user's own");
    EXPECT_EQ(treeSignature(drive / "Film"), external);
    // Only an item of "Tessoly Storage" on a granted drive is taken: a log
    // edited (or written by something else) to name another folder of the
    // person's, or a folder named like the storage folder on no granted drive,
    // must not be copied and trashed.
    const fs::path taxes = home.path() / "Projects/Taxes";
    qint64 when = 1000;
    for (const fs::path &elsewhere : {home.path() / "Documents/Taxes", home.path() / "Other/Tessoly Storage/Taxes"}) {
        writeFile(elsewhere / "2025.pdf", "keep me");
        fs::remove(taxes);
        fs::create_symlink(elsewhere, taxes);
        CleanupHistoryEntry::Item item;
        item.originalPath = taxes;
        item.externalPath = elsewhere;
        log(CleanupHistoryEntry::Kind::MoveToExternal, when += 1000, {item});
        inventory.refresh();
        const std::optional<BringBackError> error = runTask(inventory.bringBack(inventory.records().at(0)));
        ASSERT_TRUE(error.has_value()) << elsewhere;
        EXPECT_EQ(error->kind, BringBackError::Kind::CopyFailed);
        EXPECT_EQ(readFile(elsewhere / "2025.pdf"), "keep me");
        EXPECT_TRUE(fs::is_symlink(taxes));
        EXPECT_FALSE(fs::exists(home.trash() / "files"));
    }
}
