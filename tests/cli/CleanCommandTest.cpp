// `tessoly clean` never claims what did not happen: a log it could not write
// (a folder in its place, a full disk) and entries that stayed in place are
// said in words and in the exit status; a log that isn't Tessoly's keeps its
// bytes beside it.
#include "TestSupport.h"
#include "history/CleanupHistoryEntry.h"
#include "history/HistoryJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>
#include <sys/mount.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

struct CleanCommand : ::testing::Test {
    TempHome home;
    // The npm cache of the web developer profile.
    fs::path cache = home.path() / ".npm";

    void fillCache()
    {
        writeFile(cache / "_cacache/index", std::string(6000, 'i'));
        writeFile(cache / "_logs/one.log", "log");
        writeFile(cache / "anonymous-cli-metrics.json", "{}");
    }
    ProcessRun clean(bool json = false)
    {
        QStringList arguments{"clean", "webDeveloper", "--only", "web.npm"};
        if (json)
            arguments << "--json";
        return runTessoly(arguments);
    }
    [[nodiscard]] std::size_t trashed() const
    {
        std::error_code error;
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(home.trash() / "files", error), fs::directory_iterator()));
    }
};

} // namespace

TEST_F(CleanCommand, ALogThatIsNotTessolysKeepsItsBytesAndTheCommandSaysSoOnce)
{
    int round = 0;
    for (const std::string &bad : {std::string("[{\"id\": \"trunc"), std::string(), std::string("\x7f" "ELF\x02\x01\x01\0\0", 9)}) {
        SCOPED_TRACE(++round);
        writeFile(home.historyFile(), bad);
        const ProcessRun listed = runTessoly({"history"});
        EXPECT_EQ(listed.exitCode, 0);
        EXPECT_TRUE(listed.err.contains("isn't a log Tessoly can read")) << listed.err.toStdString();
        EXPECT_EQ(readFile(home.historyFile()), bad);

        fillCache();
        const ProcessRun run = clean();
        EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
        EXPECT_EQ(run.err.count("its bytes were kept as"), 1) << run.err.toStdString();
        const std::vector<fs::path> copies = keptCopies(home.historyFile());
        ASSERT_EQ(copies.size(), static_cast<std::size_t>(round));
        EXPECT_EQ(readFile(copies.back()), bad);
        const auto entries = decodeHistory(QByteArray::fromStdString(readFile(home.historyFile())));
        ASSERT_TRUE(entries.has_value());
        EXPECT_EQ(entries->size(), 1u);
        fs::remove(home.historyFile());
    }
}

TEST_F(CleanCommand, ALogThatCantBeWrittenMakesTheCleanFailWithWords)
{
    // A folder stands where the log belongs.
    fs::create_directories(home.historyFile() / "not-a-log");
    fillCache();
    const ProcessRun text = clean();
    EXPECT_EQ(text.exitCode, 1);
    EXPECT_TRUE(text.err.contains("could not be recorded in the log")) << text.err.toStdString();
    EXPECT_TRUE(text.err.contains("is a folder")) << text.err.toStdString();
    EXPECT_FALSE(text.out.contains("tessoly restore")) << "an id restore can't find must not be printed";
    EXPECT_EQ(trashed(), 3u); // the items are in the Trash, as the words say

    fillCache();
    const ProcessRun json = clean(true);
    EXPECT_EQ(json.exitCode, 1);
    const QJsonObject result = QJsonDocument::fromJson(json.out).object();
    EXPECT_FALSE(result.value("recorded").toBool());
    EXPECT_EQ(result.value("entryId").toString(), "");
    EXPECT_TRUE(result.value("logError").toString().contains("could not be recorded"));
    EXPECT_TRUE(fs::is_directory(home.historyFile() / "not-a-log"));
}

TEST_F(CleanCommand, AFullDiskUnderTheLogMakesTheCleanFailWithWords)
{
    if (!canMount())
        GTEST_SKIP() << "mounting isn't permitted here (needs root with mount rights); CI runs this as root";
    const fs::path folder = home.historyFile().parent_path();
    fs::create_directories(folder);
    ASSERT_EQ(::mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=64k"), 0);
    struct Unmount {
        fs::path folder;
        ~Unmount() { ::umount2(folder.c_str(), MNT_DETACH); }
    } unmount{folder};
    // Fill the little disk to its last block.
    for (int i = 0; i < 100; ++i)
        writeFile(folder / ("filler" + std::to_string(i)), std::string(4096, 'f'));

    fillCache();
    const ProcessRun run = clean();
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains("could not be recorded in the log")) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains("No space left on device")) << run.err.toStdString();
    EXPECT_FALSE(run.out.contains("tessoly restore"));
    EXPECT_FALSE(fs::exists(home.historyFile()));
}

TEST_F(CleanCommand, EntriesThatStayInPlaceAreCountedWithTheirReason)
{
    fillCache();
    const fs::path locked = cache / "_logs";
    if (runProcess("chattr", {"+i", QString::fromStdString(locked.native())}).exitCode != 0)
        GTEST_SKIP() << "needs chattr on a file system with immutable files";
    struct Unlock {
        fs::path path;
        ~Unlock() { runProcess("chattr", {"-i", QString::fromStdString(path.native())}); }
    } unlock{locked};

    const ProcessRun text = clean();
    EXPECT_EQ(text.exitCode, 1);
    EXPECT_TRUE(text.out.contains("Moved to the Trash: 2 items")) << text.out.toStdString();
    EXPECT_TRUE(text.out.contains("1 item stayed where it was:")) << text.out.toStdString();
    EXPECT_TRUE(text.out.contains("“_logs” couldn't be moved to the Trash: Operation not permitted")) << text.out.toStdString();
    EXPECT_TRUE(text.out.contains("tessoly restore")); // what went is recorded and restorable
    EXPECT_EQ(readFile(locked / "one.log"), "log");

    const ProcessRun json = clean(true);
    EXPECT_EQ(json.exitCode, 1);
    const QJsonObject result = QJsonDocument::fromJson(json.out).object();
    const QJsonArray stayed = result.value("leftBehind").toArray();
    ASSERT_EQ(stayed.size(), 1);
    EXPECT_EQ(stayed.at(0).toObject().value("path").toString().toStdString(), locked.native());
    EXPECT_TRUE(stayed.at(0).toObject().value("reason").toString().contains("Operation not permitted"));
}
