// The inventory of moved items, rebuilt from the history and the disk, and
// the bring-back with each of its ways to fail.
#include "moves/SymlinkInventory.h"
#include "MovesSupport.h"
#include "history/CleanupHistoryStore.h"
#include "platform/linux/FreedesktopTrash.h"
#include "platform/linux/LinuxPlatform.h"

#include <gtest/gtest.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;
using Status = SymlinkRecord::Status;

namespace {

struct Inventory : ::testing::Test {
    TempHome home;
    platform::FreedesktopTrash trash{home.trash(), ::getuid()};
    platform::StatvfsVolumeInfo volumes;
    HookedOperations operations{trash, volumes};
    CleanupHistoryStore history{home.historyFile(), trash};
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

std::vector<std::string> names(const std::vector<SymlinkRecord> &records)
{
    std::vector<std::string> out;
    for (const SymlinkRecord &record : records)
        out.push_back(record.originalPath.filename().native());
    return out;
}

} // namespace

TEST_F(Inventory, RecordsComeOnlyFromMovesNewestFirstWithTheirStatus)
{
    inventory.refresh();
    EXPECT_TRUE(inventory.records().empty());
    EXPECT_EQ(inventory.totalBytes(), 0);
    EXPECT_EQ(inventory.activeCount(), 0);
    EXPECT_EQ(inventory.attentionCount(), 0);

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
    EXPECT_FALSE(inventory.isRefreshing());
    EXPECT_EQ(names(inventory.records()),
        (std::vector<std::string>{"C-symlink-gone", "D-broken", "A-active", "B-unplugged"}));
    const auto &r = inventory.records();
    EXPECT_EQ(r[0].status, Status::SymlinkMissing);
    EXPECT_EQ(r[1].status, Status::Broken);
    EXPECT_EQ(r[2].status, Status::Active);
    EXPECT_EQ(r[3].status, Status::ExternalMissing);
    EXPECT_EQ(r[2].movedAt, QDateTime::fromSecsSinceEpoch(1000, Qt::UTC));
    EXPECT_EQ(r[2].externalPath, drive / "A-active");
    EXPECT_EQ(r[2].id, history.entries().back().items[0].id);
    EXPECT_EQ(inventory.totalBytes(), 4 * 4096);
    EXPECT_EQ(inventory.activeCount(), 1);
    EXPECT_EQ(inventory.attentionCount(), 3);
    // A link to a folder that is gone is still a link; a dangling drive path too.
    inventory.refresh();
    EXPECT_EQ(names(inventory.records())[2], "A-active"); // stable from one refresh to the next
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
    bool inTrash = false;
    bool stagingKept = false;
    for (const fs::directory_entry &entry : fs::directory_iterator(home.trash() / "files")) {
        inTrash = inTrash || treeSignature(entry.path()) == before;
        stagingKept = stagingKept
            || (entry.path().filename() == "Film.tessoly-restore" && readFile(entry.path() / "half.bin") == "the person's own bytes");
    }
    EXPECT_TRUE(inTrash);
    EXPECT_TRUE(stagingKept);
    EXPECT_EQ(inventory.records().at(0).status, Status::Broken);
    EXPECT_EQ(history.entries().size(), 1u);

    // A stale screen: the old path is a real folder now.
    EXPECT_EQ(runTask(inventory.bringBack(inventory.records().at(0)))->kind, BringBackError::Kind::ExternalMissing);
}

TEST_F(Inventory, BringBackFailuresLeaveTheLinkAndTheDriveAlone)
{
    log(CleanupHistoryEntry::Kind::MoveToExternal, 1000, {moved("Film", true, true)});
    const fs::path original = home.path() / "Projects/Film";
    const fs::path staging = home.path() / "Projects/Film.tessoly-restore";
    const std::string external = treeSignature(drive / "Film");
    const auto expectUnchanged = [&](const std::optional<BringBackError> &error, const std::string &message) {
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(error->errorDescription().toStdString(), message);
        EXPECT_TRUE(fs::is_symlink(original));
        EXPECT_EQ(fs::read_symlink(original), drive / "Film");
        EXPECT_EQ(treeSignature(drive / "Film"), external);
        EXPECT_FALSE(fs::exists(staging));
    };

    operations.onSize = [](const fs::path &) { return std::optional<qint64>(3'000'000'000); };
    operations.onFreeSpace = [](const fs::path &) { return std::optional<qint64>(2'999'999'999); };
    expectUnchanged(runTask(inventory.bringBack(only())),
        "Not enough free space on the internal disk. Needs 3 GB, 3 GB available.");
    operations.onFreeSpace = [](const fs::path &) { return std::optional<qint64>(1'500'000); };
    expectUnchanged(runTask(inventory.bringBack(only())),
        "Not enough free space on the internal disk. Needs 3 GB, 1.5 MB available.");
    operations.onSize = nullptr;
    operations.onFreeSpace
        = [](const fs::path &) { return std::optional<qint64>(); }; // unreadable: not a reason to stop

    operations.onCopy = [&](const fs::path &from, const fs::path &to) {
        (void)operations.realCopy(from, to);
        return QStringLiteral("Input/output error");
    };
    expectUnchanged(runTask(inventory.bringBack(only())), "Couldn't copy back: Input/output error");

    operations.onCopy = [&](const fs::path &from, const fs::path &to) {
        const QString error = operations.realCopy(from, to);
        writeFile(to / "extra.bin", std::string(20000, 'e'));
        return error;
    };
    expectUnchanged(
        runTask(inventory.bringBack(only())), "The copied data didn't match the original size. Nothing was changed.");
    operations.onCopy = nullptr;

    // A real folder where the link was: nothing to bring back over.
    fs::remove(original);
    fs::create_directories(original);
    writeFile(original / "mine.txt", "the user's own");
    const SymlinkRecord stale = only();
    EXPECT_EQ(stale.status, Status::SymlinkMissing);
    const std::optional<BringBackError> error = runTask(inventory.bringBack(stale));
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->errorDescription(),
        "The original path is no longer a symlink — looks like it's already been restored or replaced.");
    EXPECT_EQ(readFile(original / "mine.txt"), "the user's own");
    EXPECT_EQ(treeSignature(drive / "Film"), external);
}

TEST_F(Inventory, BringBackTakesOnlyFromTessolyStorageOnAGrantedDrive)
{
    // A log edited (or written by something else) to name another folder of
    // the person's as the external copy: it must not be copied and trashed.
    const fs::path elsewhere = home.path() / "Documents/Taxes";
    writeFile(elsewhere / "2025.pdf", "keep me");
    const fs::path original = home.path() / "Projects/Taxes";
    fs::create_directories(original.parent_path());
    fs::create_symlink(elsewhere, original);
    CleanupHistoryEntry::Item item;
    item.originalPath = original;
    item.externalPath = elsewhere;
    item.bytes = 4096;
    log(CleanupHistoryEntry::Kind::MoveToExternal, 1000, {item});

    const std::optional<BringBackError> error = runTask(inventory.bringBack(only()));
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->kind, BringBackError::Kind::CopyFailed);
    EXPECT_NE(error->errorDescription().indexOf("Tessoly Storage"), -1) << error->errorDescription().toStdString();
    EXPECT_EQ(readFile(elsewhere / "2025.pdf"), "keep me");
    EXPECT_TRUE(fs::is_symlink(original));

    // A folder named like the storage folder, but on no granted drive, is refused too.
    const fs::path fake = home.path() / "Other/Tessoly Storage/Taxes";
    fs::create_directories(fake.parent_path());
    fs::rename(elsewhere, fake);
    fs::remove(original);
    fs::create_symlink(fake, original);
    CleanupHistoryEntry::Item second = item;
    second.id = QUuid::createUuid();
    second.externalPath = fake;
    log(CleanupHistoryEntry::Kind::MoveToExternal, 2000, {second});
    inventory.refresh();
    const std::optional<BringBackError> refused = runTask(inventory.bringBack(inventory.records().at(0)));
    ASSERT_TRUE(refused.has_value());
    EXPECT_EQ(readFile(fake / "2025.pdf"), "keep me");
}
