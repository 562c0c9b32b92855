// The mover's state machine: each step made to fail in turn, the disposal
// of the original, verification with repairs, and a drive that fills up.
// After every failure the original must be whole at its place, the copy
// gone, no staging name left and no history written.
#include "MovesSupport.h"
#include "moves/CopyVerifier.h"

#include <atomic>
#include <fstream>
#include <gtest/gtest.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;
using Stage = MoveProgress::Stage;
using Kind = MoveError::Kind;

namespace {

std::string stages(const std::vector<MoveProgress> &events)
{
    static const char *names[] = {"planning", "copying", "verifying", "creatingSymlink", "finalizing", "done", "failed"};
    std::string out;
    for (const MoveProgress &event : events)
        out += std::string(out.empty() ? "" : ",") + names[static_cast<int>(event.stage)];
    return out;
}

HookedOperations::Hook<qint64> answer(std::optional<qint64> value)
{
    return [value](const fs::path &) { return value; };
}

struct Mover : ::testing::Test, MoveHome {
    fs::path source = home.path() / "Projects/Film";
    fs::path root = home.path() / "drive/Tessoly Storage";
    fs::path destination = root / "Film";
    std::string before;

    void SetUp() override
    {
        buildRichTree(source);
        fs::create_directories(root);
        before = treeSignature(source);
    }

    MoveProgress run(bool deleteImmediately = false, std::optional<fs::path> from = std::nullopt)
    {
        return move(from.value_or(source), root, deleteImmediately);
    }

    // The state every failure must leave behind.
    void expectNothingChanged(Kind kind, const std::string &stagesSeen)
    {
        ASSERT_FALSE(events.empty());
        EXPECT_EQ(stages(events), stagesSeen);
        EXPECT_EQ(events.back().error.kind, kind) << events.back().text().toStdString();
        EXPECT_EQ(treeSignature(source), before) << "the original changed";
        EXPECT_FALSE(fs::exists(fs::symlink_status(destination))) << "the copy was left on the drive";
        EXPECT_TRUE(pendingEntries(source.parent_path()).empty()) << "a staging name was left";
        EXPECT_TRUE(history.entries().empty());
        EXPECT_FALSE(fs::exists(home.trash() / "files"));
    }
};

} // namespace

TEST_F(Mover, ASuccessfulMoveReportsEachStageOnceAndLogsOneEntry)
{
    const qint64 needed = operations.MoveFileOperations::allocatedSize(source);
    bool sawPending = false;
    operations.onSymlink = [&](const fs::path &at, const fs::path &target) {
        // Between the rename and the link: the original under its staging name.
        const auto pending = pendingEntries(source.parent_path());
        if (pending.size() == 1) {
            sawPending = isPendingName(pending[0]) && pending[0].filename().native().starts_with(".Film.");
            EXPECT_EQ(treeSignature(pending[0]), before);
        }
        EXPECT_FALSE(fs::exists(fs::symlink_status(source)));
        return operations.MoveFileOperations::createSymbolicLink(at, target);
    };
    const MoveProgress done = run(false, source / ""); // a trailing slash names the same folder
    operations.onSymlink = nullptr;

    EXPECT_EQ(stages(events), "planning,copying,verifying,creatingSymlink,finalizing,done");
    EXPECT_EQ(events[1].totalBytes, needed);
    ASSERT_EQ(done.stage, Stage::Done);
    EXPECT_EQ(done.symlinkPath, source);
    EXPECT_EQ(done.movedTo, destination);
    EXPECT_EQ(done.movedBytes, needed);
    EXPECT_TRUE(done.disposedToTrash);
    EXPECT_TRUE(sawPending);
    // The link stands where the original was; the copy is the original.
    EXPECT_EQ(fs::read_symlink(source), destination);
    EXPECT_EQ(treeSignature(destination), before);
    EXPECT_TRUE(pendingEntries(source.parent_path()).empty());

    ASSERT_EQ(history.entries().size(), 1u);
    const CleanupHistoryEntry &entry = history.entries()[0];
    EXPECT_EQ(entry.kind, CleanupHistoryEntry::Kind::MoveToExternal);
    ASSERT_EQ(entry.items.size(), 1u);
    EXPECT_EQ(entry.items[0].externalPath, destination);
    ASSERT_TRUE(entry.items[0].trashedPath.has_value());
    EXPECT_EQ(entry.items[0].trashedPath->parent_path(), home.trash() / "files");
    EXPECT_EQ(treeSignature(*entry.items[0].trashedPath), before) << "the Trash holds the whole original";
    EXPECT_EQ(CleanupHistoryStore(home.historyFile(), trash).entries(), history.entries()) << "not written to the disk";
    // Moving again: the destination is taken now.
    fs::remove(source);
    buildRichTree(source);
    EXPECT_EQ(run().error.kind, Kind::DestinationExists);
    // A single file moves too (nothing to verify in it).
    const fs::path file = home.path() / "Projects/movie.mov";
    writeFile(file, std::string(50000, 'm'));
    ASSERT_EQ(run(false, file).stage, Stage::Done);
    EXPECT_EQ(readFile(root / "movie.mov"), std::string(50000, 'm'));
    EXPECT_EQ(fs::read_symlink(file), root / "movie.mov");
}

TEST_F(Mover, PreflightFailuresTouchNothing)
{
    run(false, home.path() / "Projects/Nothing");
    expectNothingChanged(Kind::SourceMissing, "planning,failed");
    // What the guard keeps: a personal folder as a whole, the home, a place outside it.
    writeFile(home.path() / "Documents/letter.txt", "mine");
    for (const fs::path &kept : {home.path() / "Documents", home.path(), home.path().parent_path()}) {
        run(false, kept);
        expectNothingChanged(Kind::Refused, "planning,failed");
    }
    EXPECT_EQ(readFile(home.path() / "Documents/letter.txt"), "mine");
    EXPECT_TRUE(fs::is_empty(root));
    // An earlier, partial copy at the destination: stopped before any copying, and kept.
    writeFile(destination / "a/notes.md", "half");
    const std::string partial = treeSignature(destination);
    std::atomic<int> copies{0};
    operations.onCopy = [&](const fs::path &from, const fs::path &to) {
        ++copies;
        return operations.realCopy(from, to);
    };
    run();
    EXPECT_EQ(stages(events), "planning,failed");
    EXPECT_EQ(events.back().error.kind, Kind::DestinationExists);
    EXPECT_EQ(treeSignature(destination), partial) << "an existing folder on the drive was touched";
    EXPECT_EQ(treeSignature(source), before);
    // A dangling symlink there counts as something too.
    fs::remove_all(destination);
    fs::create_symlink("nowhere", destination);
    EXPECT_EQ(run().error.kind, Kind::DestinationExists);
    fs::remove(destination);
    // Not enough room; unreadable free space counts as none.
    operations.onSize = answer(2'500'000'000);
    for (const std::optional<qint64> free : {std::optional<qint64>(1'200'000), std::optional<qint64>()}) {
        operations.onFreeSpace = answer(free);
        run();
        expectNothingChanged(Kind::InsufficientSpace, "planning,failed");
        EXPECT_EQ(events.back().error.needed, 2'500'000'000);
        EXPECT_EQ(events.back().error.available, free.value_or(0));
    }
    EXPECT_EQ(copies.load(), 0);
    // Exactly as much free space as needed is enough, a byte less isn't.
    operations.onSize = nullptr;
    const qint64 needed = operations.MoveFileOperations::allocatedSize(source);
    operations.onFreeSpace = answer(needed);
    EXPECT_EQ(run().stage, Stage::Done);
    operations.onFreeSpace = answer(needed - 1);
    fs::remove(source);
    fs::rename(destination, source);
    EXPECT_EQ(run().error.kind, Kind::InsufficientSpace);
}

TEST_F(Mover, EachFailingStepLeavesTheOriginalAndRemovesTheCopy)
{
    // The copy fails after writing everything.
    operations.onCopy = [&](const fs::path &from, const fs::path &to) {
        (void)operations.realCopy(from, to);
        EXPECT_TRUE(fs::exists(to / "a/b/c/deep.bin"));
        return QStringLiteral("Input/output error");
    };
    run();
    expectNothingChanged(Kind::CopyFailed, "planning,copying,failed");
    operations.onCopy = nullptr;
    // The original can't step aside.
    operations.onMove = [](const fs::path &, const fs::path &to) {
        EXPECT_TRUE(isPendingName(to)) << to;
        return QStringLiteral("Permission denied");
    };
    run();
    expectNothingChanged(Kind::RenameFailed, "planning,copying,verifying,failed");
    operations.onMove = nullptr;
    // The link can't be made: the original is put back.
    operations.onSymlink = [](const fs::path &, const fs::path &) { return QStringLiteral("Read-only file system"); };
    run();
    expectNothingChanged(Kind::SymlinkFailed, "planning,copying,verifying,creatingSymlink,failed");
}

TEST_F(Mover, DisposalOfTheOriginalNeverFailsTheMove)
{
    struct Case {
        bool deleteImmediately, trashFails, removeFails;
        bool trashed, leftPending; // where the original ends up
    };
    const Case cases[] = {
        {false, true, false, false, false}, // the Trash refuses: deleted instead
        {true, false, false, false, false}, // deleted right away
        {true, false, true, true, false},   // deleting fails: the Trash takes it
        {true, true, true, false, true},    // both fail: left under its staging name
        {false, true, true, false, true},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(::testing::Message() << c.deleteImmediately << c.trashFails << c.removeFails);
        if (fs::is_symlink(source))
            fs::remove(source);
        fs::remove_all(destination);
        for (const fs::path &pending : pendingEntries(source.parent_path()))
            fs::rename(pending, source);
        if (!fs::exists(source))
            buildRichTree(source);
        fs::remove_all(home.trash());
        operations.onTrash = [&](const fs::path &path) -> std::optional<platform::TrashOutcome> {
            if (c.trashFails && isPendingName(path))
                return platform::TrashOutcome{{}, QStringLiteral("no Trash on this volume")};
            return std::nullopt;
        };
        operations.onRemove = [&](const fs::path &path) {
            return c.removeFails && isPendingName(path) ? QStringLiteral("Device or resource busy")
                                                        : operations.realRemove(path);
        };

        const MoveProgress done = run(c.deleteImmediately);
        ASSERT_EQ(done.stage, Stage::Done);
        EXPECT_EQ(done.disposedToTrash, c.trashed);
        EXPECT_TRUE(fs::is_symlink(source));
        EXPECT_EQ(treeSignature(destination), before);
        const std::optional<fs::path> trashed = history.entries().front().items.at(0).trashedPath;
        ASSERT_EQ(trashed.has_value(), c.trashed);
        EXPECT_EQ(trashed ? treeSignature(*trashed) : before, before) << "the Trash doesn't hold the original";
        EXPECT_EQ(fs::exists(home.trash() / "files"), c.trashed);
        const auto pending = pendingEntries(source.parent_path());
        ASSERT_EQ(pending.size(), c.leftPending ? 1u : 0u);
        EXPECT_EQ(c.leftPending ? treeSignature(pending[0]) : before, before) << "the original left aside changed";
    }
}

TEST_F(Mover, VerificationRepairsWhatChangedAndCarriesOverWhatIsNew)
{
    // Direct: after a real copy, one copied file cut short, one source file
    // grown, one added, one deleted.
    ASSERT_EQ(operations.realCopy(source, destination), QString());
    ::truncate((destination / "a/b/c/deep.bin").c_str(), 10);
    writeFile(source / "a/notes.md", "# notes\nand a line written during the copy\n");
    writeFile(source / "a/new-during-copy.txt", "born late");
    fs::remove(source / "top.txt");
    VerificationReport report = verifyCopy(source, destination, operations);
    EXPECT_TRUE(report.ok) << report.detail().toStdString();
    EXPECT_EQ(report.repairedFiles, 3);
    // Every regular file of the copy with a regular counterpart: not top.txt (gone), not the links.
    EXPECT_EQ(report.checkedFiles, 9);
    EXPECT_EQ(readFile(destination / "a/b/c/deep.bin"), readFile(source / "a/b/c/deep.bin"));
    EXPECT_EQ(readFile(destination / "a/notes.md"), readFile(source / "a/notes.md"));
    EXPECT_EQ(readFile(destination / "a/new-during-copy.txt"), "born late");
    EXPECT_TRUE(fs::exists(destination / "top.txt"));
    // A missing one that can't be copied again is named.
    fs::remove(destination / "a/notes.md");
    operations.onCopy = [](const fs::path &, const fs::path &) { return QStringLiteral("no"); };
    report = verifyCopy(source, destination, operations);
    EXPECT_FALSE(report.ok);
    EXPECT_EQ(report.mismatches, QStringList{"a/notes.md"});
}

TEST_F(Mover, FilesThatGrowAppearOrVanishDuringTheCopyDontFailTheMove)
{
    std::atomic<int> copies{0};
    operations.onCopy = [&](const fs::path &from, const fs::path &to) {
        const QString error = operations.realCopy(from, to);
        if (copies++ == 0) {
            std::ofstream(source / "a/b/c/deep.bin", std::ios::app) << "appended while copying";
            writeFile(source / "a/added-while-copying.txt", "new");
            fs::remove(source / "a/notes.md");
        }
        return error;
    };
    // And one more between the check and the moment the original steps aside:
    // the last pass carries it over too.
    operations.onMove = [&](const fs::path &from, const fs::path &to) {
        if (from == source && !fs::exists(source / "a/just-before.txt"))
            writeFile(source / "a/just-before.txt", "late");
        return operations.MoveFileOperations::moveItem(from, to);
    };
    const std::string grown = readFile(source / "a/b/c/deep.bin") + "appended while copying";
    const MoveProgress done = run();
    ASSERT_EQ(done.stage, Stage::Done) << done.text().toStdString();
    EXPECT_EQ(copies.load(), 4); // the tree, then the grown file and the new one, then the last one
    EXPECT_EQ(readFile(destination / "a/b/c/deep.bin"), grown);
    EXPECT_EQ(readFile(destination / "a/added-while-copying.txt"), "new"); // carried over, not lost
    EXPECT_EQ(readFile(source / "a/added-while-copying.txt"), "new");     // through the link
    EXPECT_EQ(readFile(destination / "a/just-before.txt"), "late");
    EXPECT_EQ(readFile(destination / "a/notes.md"), "# notes\n"); // deleted from the source, kept in the copy
}

// A file born just before the original steps aside that can't be carried
// over: the original comes back whole, with it, and the copy goes.
TEST_F(Mover, ALastFileThatCantBeCarriedOverKeepsTheOriginal)
{
    const std::string contents = describeTree(source);
    operations.onMove = [&](const fs::path &from, const fs::path &to) {
        if (from == source)
            writeFile(source / "a/just-before.txt", "late");
        return operations.MoveFileOperations::moveItem(from, to);
    };
    operations.onCopy = [&](const fs::path &from, const fs::path &to) {
        return from.filename() == "just-before.txt" ? QStringLiteral("Input/output error") : operations.realCopy(from, to);
    };
    const MoveProgress failed = run();
    EXPECT_EQ(failed.error.kind, Kind::VerificationFailed) << failed.text().toStdString();
    EXPECT_EQ(readFile(source / "a/just-before.txt"), "late");
    fs::remove(source / "a/just-before.txt");
    EXPECT_EQ(describeTree(source), contents);
    EXPECT_FALSE(fs::exists(fs::symlink_status(destination)));
    EXPECT_TRUE(pendingEntries(source.parent_path()).empty());
    EXPECT_TRUE(history.entries().empty());
}

TEST_F(Mover, UnrepairableFilesAreNamedAndTheCopyRemoved)
{
    fs::remove_all(source);
    for (const char *name : {"a.bin", "b.bin", "e.bin", "f.bin", "nested/c.bin", "nested/d.bin"})
        writeFile(source / name, std::string(3000, 'x'));
    before = treeSignature(source);
    std::atomic<int> copies{0};
    operations.onCopy = [&](const fs::path &from, const fs::path &to) {
        if (copies++ > 0)
            return QStringLiteral("Input/output error");
        const QString error = operations.realCopy(from, to);
        for (const char *name : {"a.bin", "b.bin", "nested/c.bin", "nested/d.bin"})
            ::truncate((to / name).c_str(), 100);
        return error;
    };
    run();
    expectNothingChanged(Kind::VerificationFailed, "planning,copying,verifying,failed");
    EXPECT_EQ(copies.load(), 5);
    EXPECT_TRUE(events.back().error.text.startsWith("4 of 6 ")) << events.back().text().toStdString();
}

TEST_F(Mover, ADriveThatFillsUpDuringTheCopy)
{
    SKIP_UNLESS_MOUNTABLE();
    ExternalRoot drives;
    LoopDrive tiny(drives.path(), "Tiny", "ext4", 4);
    ASSERT_TRUE(tiny.ok()) << tiny.error();
    fs::remove_all(source);
    for (const char *name : {"one.raw", "two.raw", "three.raw"})
        writeFile(source / name, std::string(2'000'000, name[1]));
    before = treeSignature(source);
    root = tiny.mountPoint() / "Tessoly Storage";
    destination = root / "Film";
    fs::create_directories(root);
    // The preflight believes there is room; the drive knows better.
    operations.onFreeSpace = answer(1'000'000'000'000);
    run();
    expectNothingChanged(Kind::CopyFailed, "planning,copying,failed");
    EXPECT_TRUE(events.back().error.text.contains("No space left on device")) << events.back().text().toStdString();
    EXPECT_TRUE(fs::is_empty(root));
}
