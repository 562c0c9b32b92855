// The mover's state machine: each step made to fail in turn, the disposal
// of the original, verification with repairs, and a drive that fills up.
// After every failure the original must be whole at its place, the copy
// gone, no staging name left and no history written.
#include "moves/FolderMover.h"
#include "MovesSupport.h"
#include "history/CleanupHistoryStore.h"
#include "moves/CopyVerifier.h"
#include "platform/linux/FreedesktopTrash.h"
#include "platform/linux/LinuxPlatform.h"

#include <QRandomGenerator>
#include <QRegularExpression>
#include <atomic>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;
using Stage = MoveProgress::Stage;

namespace {

std::string stages(const std::vector<MoveProgress> &events)
{
    static const char *names[]
        = {"planning", "copying", "verifying", "creatingSymlink", "finalizing", "done", "failed"};
    std::string out;
    for (const MoveProgress &event : events)
        out += std::string(out.empty() ? "" : ",") + names[static_cast<int>(event.stage)];
    return out;
}

std::string randomBytes(std::size_t size)
{
    std::string data(size, '\0');
    QRandomGenerator generator(42);
    for (char &c : data)
        c = static_cast<char>(generator.generate() & 0xff);
    return data;
}

struct Mover : ::testing::Test {
    TempHome home;
    platform::FreedesktopTrash trash{home.trash(), ::getuid()};
    platform::StatvfsVolumeInfo volumes;
    HookedOperations operations{trash, volumes};
    std::unique_ptr<CleanupHistoryStore> history = std::make_unique<CleanupHistoryStore>(home.historyFile(), trash);
    std::unique_ptr<FolderMover> mover = std::make_unique<FolderMover>(operations, *history, home.path());
    fs::path source = home.path() / "Projects/Film";
    fs::path root = home.path() / "drive/Tessoly Storage";
    fs::path destination = root / "Film";
    std::vector<MoveProgress> events;
    std::string before;

    void SetUp() override
    {
        buildRichTree(source);
        fs::create_directories(root);
        before = treeSignature(source);
    }

    const MoveProgress &run(bool deleteImmediately = false, std::optional<fs::path> from = std::nullopt)
    {
        events.clear();
        runTask(mover->move(from.value_or(source), root, deleteImmediately,
            [this](const MoveProgress &progress) { events.push_back(progress); }));
        EXPECT_FALSE(events.empty());
        return events.back();
    }

    void resetHistory()
    {
        mover.reset();
        history.reset();
        fs::remove(home.historyFile());
        history = std::make_unique<CleanupHistoryStore>(home.historyFile(), trash);
        mover = std::make_unique<FolderMover>(operations, *history, home.path());
    }

    // The state every failure must leave behind.
    void expectNothingChanged(const std::string &message)
    {
        ASSERT_FALSE(events.empty());
        EXPECT_EQ(events.back().stage, Stage::Failed);
        EXPECT_EQ(events.back().error.errorDescription().toStdString(), message);
        EXPECT_EQ(events.back().text().toStdString(), message);
        EXPECT_EQ(treeSignature(source), before) << "the original changed";
        EXPECT_FALSE(fs::exists(fs::symlink_status(destination))) << "the copy was left on the drive";
        EXPECT_TRUE(pendingEntries(source.parent_path()).empty()) << "a staging name was left";
        EXPECT_TRUE(history->entries().empty());
        EXPECT_FALSE(fs::exists(home.trash() / "files"));
    }
};

} // namespace

TEST_F(Mover, ASuccessfulMoveReportsEachStageOnceAndLogsOneEntry)
{
    const qint64 needed = operations.MoveFileOperations::allocatedSize(source);
    std::string pendingName;
    operations.onSymlink = [&](const fs::path &at, const fs::path &target) {
        // Between the rename and the link: the original under its staging name.
        const auto pending = pendingEntries(source.parent_path());
        if (pending.size() == 1) {
            pendingName = pending[0].filename().native();
            EXPECT_EQ(treeSignature(pending[0]), before);
        }
        EXPECT_FALSE(fs::exists(fs::symlink_status(source)));
        return operations.MoveFileOperations::createSymbolicLink(at, target);
    };
    const MoveProgress &done = run(false, source / ""); // a trailing slash names the same folder

    EXPECT_EQ(stages(events), "planning,copying,verifying,creatingSymlink,finalizing,done");
    EXPECT_EQ(events[1].bytesCopied, 0);
    EXPECT_EQ(events[1].totalBytes, needed);
    ASSERT_EQ(done.stage, Stage::Done);
    EXPECT_EQ(done.symlinkPath, source);
    EXPECT_EQ(done.movedTo, destination);
    EXPECT_EQ(done.movedBytes, needed);
    EXPECT_TRUE(done.disposedToTrash);
    EXPECT_TRUE(QRegularExpression("^\\.Film\\.tessoly-pending\\.[0-9A-F]{8}$")
                    .match(QString::fromStdString(pendingName))
                    .hasMatch())
        << pendingName;

    // The link stands where the original was; the copy is the original.
    EXPECT_TRUE(fs::is_symlink(source));
    EXPECT_EQ(fs::read_symlink(source), destination);
    EXPECT_EQ(treeSignature(destination), before);
    EXPECT_TRUE(pendingEntries(source.parent_path()).empty());

    ASSERT_EQ(history->entries().size(), 1u);
    const CleanupHistoryEntry &entry = history->entries()[0];
    EXPECT_EQ(entry.kind, CleanupHistoryEntry::Kind::MoveToExternal);
    EXPECT_EQ(entry.summary, "Moved Film to Tessoly Storage");
    ASSERT_EQ(entry.items.size(), 1u);
    EXPECT_EQ(entry.items[0].externalPath, destination);
    ASSERT_TRUE(entry.items[0].trashedPath.has_value());
    EXPECT_EQ(entry.items[0].trashedPath->parent_path(), home.trash() / "files");
    EXPECT_EQ(treeSignature(*entry.items[0].trashedPath), before) << "the Trash holds the whole original";
    // Written to the disk, not just kept in memory.
    CleanupHistoryStore reread(home.historyFile(), trash);
    ASSERT_EQ(reread.entries().size(), 1u);
    EXPECT_EQ(reread.entries()[0], entry);

    // Moving again: the destination is taken now.
    fs::remove(source);
    buildRichTree(source);
    EXPECT_EQ(run().error.kind, MoveError::Kind::DestinationExists);
}

TEST_F(Mover, PreflightFailuresTouchNothing)
{
    // Nothing at the source.
    const fs::path missing = home.path() / "Projects/Nothing";
    events.clear();
    runTask(mover->move(missing, root, false, [this](const MoveProgress &p) { events.push_back(p); }));
    EXPECT_EQ(stages(events), "planning,failed");
    expectNothingChanged("The file or folder no longer exists at its original location.");

    // What the guard keeps: a personal folder as a whole, the home, a place outside it.
    writeFile(home.path() / "Documents/letter.txt", "mine");
    for (const fs::path &kept : {home.path() / "Documents", home.path(), home.path().parent_path()}) {
        run(false, kept);
        EXPECT_EQ(stages(events), "planning,failed") << kept;
        EXPECT_EQ(events.back().error.kind, MoveError::Kind::Refused) << kept;
        EXPECT_TRUE(events.back().text().contains("leaves it alone")) << events.back().text().toStdString();
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
    EXPECT_EQ(events.back().error.errorDescription(),
        "A folder with that name already exists on the external drive. Move or rename it first.");
    EXPECT_EQ(copies.load(), 0);
    EXPECT_EQ(treeSignature(destination), partial) << "an existing folder on the drive was touched";
    EXPECT_EQ(treeSignature(source), before);
    // A dangling symlink there counts as something too.
    fs::remove_all(destination);
    fs::create_symlink("nowhere", destination);
    EXPECT_EQ(run().error.kind, MoveError::Kind::DestinationExists);
    fs::remove(destination);

    // Not enough room, with both figures in words.
    operations.onSize = [](const fs::path &) { return std::optional<qint64>(2'500'000'000); };
    operations.onFreeSpace = [](const fs::path &) { return std::optional<qint64>(1'200'000); };
    run();
    EXPECT_EQ(stages(events), "planning,failed");
    EXPECT_EQ(events.back().error.needed, 2'500'000'000);
    EXPECT_EQ(events.back().error.available, 1'200'000);
    expectNothingChanged("Not enough free space on the external drive. Needs 2.5 GB, 1.2 MB available.");
    EXPECT_EQ(copies.load(), 0);
    // Unreadable free space counts as none.
    operations.onFreeSpace = [](const fs::path &) { return std::optional<qint64>(); };
    run();
    expectNothingChanged("Not enough free space on the external drive. Needs 2.5 GB, Zero KB available.");

    // Exactly as much free space as needed is enough.
    operations.onSize = nullptr;
    const qint64 needed = operations.MoveFileOperations::allocatedSize(source);
    operations.onFreeSpace = [needed](const fs::path &) { return std::optional<qint64>(needed); };
    EXPECT_EQ(run().stage, Stage::Done);
    operations.onFreeSpace = [needed](const fs::path &) { return std::optional<qint64>(needed - 1); };
    fs::remove(source);
    fs::rename(destination, source);
    fs::remove_all(home.trash());
    resetHistory();
    EXPECT_EQ(run().error.kind, MoveError::Kind::InsufficientSpace);
}

TEST_F(Mover, AFailedCopyIsRemoved)
{
    operations.onCopy = [&](const fs::path &from, const fs::path &to) {
        (void)operations.realCopy(from, to); // a whole copy on the disk, then the failure
        EXPECT_TRUE(fs::exists(to / "a/b/c/deep.bin"));
        return QStringLiteral("Input/output error");
    };
    run();
    EXPECT_EQ(stages(events), "planning,copying,failed");
    expectNothingChanged("Couldn't copy to the external drive: Input/output error");
}

TEST_F(Mover, AFailedRenameAsideRemovesTheCopyAndLeavesTheOriginal)
{
    operations.onMove = [](const fs::path &, const fs::path &to) {
        EXPECT_TRUE(isPendingName(to)) << to;
        return QStringLiteral("Permission denied");
    };
    run();
    EXPECT_EQ(stages(events), "planning,copying,verifying,failed");
    expectNothingChanged(
        "Couldn't move the original aside to make room for the symlink: Permission denied. Nothing was changed.");
}

TEST_F(Mover, AFailedLinkPutsTheOriginalBack)
{
    operations.onSymlink = [](const fs::path &, const fs::path &) { return QStringLiteral("Read-only file system"); };
    run();
    EXPECT_EQ(stages(events), "planning,copying,verifying,creatingSymlink,failed");
    expectNothingChanged("Couldn't create the symlink at the original location: Read-only file system. The original "
                         "was put back and the copy was deleted.");
}

TEST_F(Mover, DisposalOfTheOriginalNeverFailsTheMove)
{
    const auto isPending = [](const fs::path &path) { return isPendingName(path); };
    const auto reset = [&] {
        if (fs::is_symlink(source))
            fs::remove(source);
        fs::remove_all(destination);
        for (const fs::path &pending : pendingEntries(source.parent_path()))
            fs::rename(pending, source);
        if (!fs::exists(source))
            buildRichTree(source);
        fs::remove_all(home.trash());
        resetHistory();
    };
    const auto trashedPath = [&]() { return history->entries().at(0).items.at(0).trashedPath; };

    // To the Trash, the Trash refuses: deleted instead.
    operations.onTrash = [&](const fs::path &path) -> std::optional<platform::TrashOutcome> {
        if (isPending(path))
            return platform::TrashOutcome{{}, QStringLiteral("no Trash on this volume")};
        return std::nullopt;
    };
    MoveProgress done = run(false);
    ASSERT_EQ(done.stage, Stage::Done);
    EXPECT_FALSE(done.disposedToTrash);
    EXPECT_FALSE(trashedPath().has_value());
    EXPECT_TRUE(pendingEntries(source.parent_path()).empty());
    EXPECT_EQ(treeSignature(destination), before);

    // Deleted right away.
    reset();
    operations.onTrash = nullptr;
    done = run(true);
    ASSERT_EQ(done.stage, Stage::Done);
    EXPECT_FALSE(done.disposedToTrash);
    EXPECT_FALSE(trashedPath().has_value());
    EXPECT_TRUE(pendingEntries(source.parent_path()).empty());
    EXPECT_FALSE(fs::exists(home.trash() / "files"));

    // Deleting fails, the Trash takes it.
    reset();
    operations.onRemove = [&](const fs::path &path) {
        return isPending(path) ? QStringLiteral("Device or resource busy") : operations.realRemove(path);
    };
    done = run(true);
    ASSERT_EQ(done.stage, Stage::Done);
    EXPECT_TRUE(done.disposedToTrash);
    ASSERT_TRUE(trashedPath().has_value());
    EXPECT_EQ(treeSignature(*trashedPath()), before);

    // Both fail: the original stays under its staging name, the move is still done.
    reset();
    operations.onTrash = [&](const fs::path &path) -> std::optional<platform::TrashOutcome> {
        if (isPending(path))
            return platform::TrashOutcome{{}, QStringLiteral("no Trash")};
        return std::nullopt;
    };
    for (const bool deleteImmediately : {true, false}) {
        reset();
        done = run(deleteImmediately);
        ASSERT_EQ(done.stage, Stage::Done);
        EXPECT_FALSE(done.disposedToTrash);
        EXPECT_FALSE(trashedPath().has_value());
        const auto pending = pendingEntries(source.parent_path());
        ASSERT_EQ(pending.size(), 1u);
        EXPECT_EQ(treeSignature(pending[0]), before);
        EXPECT_TRUE(fs::is_symlink(source));
    }
}

TEST_F(Mover, ASingleFileMovesUnverified)
{
    const fs::path file = home.path() / "Projects/movie.mov";
    writeFile(file, randomBytes(50000));
    const std::string content = readFile(file);
    EXPECT_EQ(verifyCopy(file, root / "anything", operations).checkedFiles, 0);
    EXPECT_TRUE(verifyCopy(file, root / "anything", operations).ok);
    const MoveProgress &done = run(false, file);
    ASSERT_EQ(done.stage, Stage::Done);
    EXPECT_EQ(readFile(root / "movie.mov"), content);
    EXPECT_EQ(fs::read_symlink(file), root / "movie.mov");
    EXPECT_EQ(readFile(file), content); // through the link
    EXPECT_EQ(history->entries().at(0).summary, "Moved movie.mov to Tessoly Storage");
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
    EXPECT_EQ(report.detail(), QString("1 of %1 files couldn't be copied: notes.md").arg(report.checkedFiles));
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
    const MoveProgress &done = run();
    ASSERT_EQ(done.stage, Stage::Done) << done.text().toStdString();
    EXPECT_EQ(copies.load(), 4); // the tree, then the grown file and the new one, then the last one
    EXPECT_EQ(readFile(destination / "a/b/c/deep.bin"), grown);
    EXPECT_EQ(readFile(destination / "a/added-while-copying.txt"), "new"); // carried over, not lost
    EXPECT_EQ(readFile(source / "a/added-while-copying.txt"), "new");     // through the link
    EXPECT_EQ(readFile(destination / "a/just-before.txt"), "late");
    EXPECT_EQ(readFile(destination / "a/notes.md"), "# notes\n"); // deleted from the source, kept in the copy
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
    EXPECT_EQ(stages(events), "planning,copying,verifying,failed");
    EXPECT_EQ(copies.load(), 5);
    expectNothingChanged("The copied data didn't match the original (4 of 6 files couldn't be copied: a.bin, b.bin, "
                         "c.bin, …). The original is untouched.");
}

TEST_F(Mover, ADriveThatFillsUpDuringTheCopy)
{
    if (!canMount())
        GTEST_SKIP() << "mounting isn't permitted here (needs root with mount rights); CI runs this as root";
    ExternalRoot drives;
    LoopDrive tiny(drives.path(), "Tiny", "ext4", 4);
    ASSERT_TRUE(tiny.ok()) << tiny.error();
    fs::remove_all(source);
    for (const char *name : {"one.raw", "two.raw", "three.raw"})
        writeFile(source / name, randomBytes(2'000'000));
    before = treeSignature(source);
    root = tiny.mountPoint() / "Tessoly Storage";
    destination = root / "Film";
    fs::create_directories(root);
    // The preflight believes there is room; the drive knows better.
    operations.onFreeSpace = [](const fs::path &) { return std::optional<qint64>(1'000'000'000'000); };
    run();
    EXPECT_EQ(stages(events), "planning,copying,failed");
    const QString message = events.back().text();
    EXPECT_TRUE(message.startsWith("Couldn't copy to the external drive: “")) << message.toStdString();
    EXPECT_TRUE(message.endsWith(".raw” couldn't be copied: No space left on device")) << message.toStdString();
    expectNothingChanged(message.toStdString());
    EXPECT_TRUE(fs::is_empty(root));
}
