// What the command line itself adds, each command once as a real child
// process: refusing wrong arguments, the --json shape, exit codes, the
// words it prints, and escaping what a terminal would act on. And `tessoly
// clean` never claims what did not happen: a log it could not write (a
// folder in its place, a full disk) and entries that stayed in place are
// said in words and in the exit status; a log that isn't Tessoly's keeps
// its bytes beside it.
#include "TestSupport.h"
#include "cli/TerminalText.h"
#include "history/HistoryJson.h"

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
    static ProcessRun clean(bool json = false)
    {
        QStringList arguments{"clean", "webDeveloper", "--only", "web.npm"};
        return runTessoly(json ? arguments << "--json" : arguments);
    }
    // A clean whose entry could not be written says so and offers no id to restore.
    static void expectUnrecorded(const ProcessRun &run, const char *reason)
    {
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_TRUE(run.err.contains("could not be recorded in the log")) << run.err.toStdString();
        EXPECT_TRUE(run.err.contains(reason)) << run.err.toStdString();
        EXPECT_FALSE(run.out.contains("tessoly restore")) << "an id restore can't find must not be printed";
    }
};

} // namespace

TEST(Cli, StatusPrintsTheVolumeFiguresAndWritesNothing)
{
    TempHome home;
    const ProcessRun text = runTessoly({"status"});
    ASSERT_EQ(text.exitCode, 0) << text.err.toStdString();
    EXPECT_TRUE(text.out.contains(" free of ")) << text.out.toStdString();

    const ProcessRun json = runTessoly({"status", "--json"});
    ASSERT_EQ(json.exitCode, 0);
    const QJsonObject object = jsonObject(json.out);
    EXPECT_GT(object.value("capacityBytes").toInteger(), 0);
    EXPECT_EQ(object.value("usedBytes").toInteger(),
              object.value("capacityBytes").toInteger() - object.value("freeBytes").toInteger());
    EXPECT_EQ(object.value("home").toString(), qtPath(home.path()));
    EXPECT_FALSE(fs::exists(home.historyFile()));
    EXPECT_FALSE(fs::exists(home.defaultsFile()));
}

TEST(Cli, WrongArgumentsGetOneLineStatusTwoAndTheSameWordsAsJson)
{
    TempHome home;
    const QString unknownId = "0F8B2C1E-6A3D-4E21-9B7C-2D4E6F8A0B1C";
    const QList<QStringList> wrong{
        {"restore", "not-a-uuid"}, {"restore", unknownId}, {"restore"}, {"frobnicate"}, {"status", "--bogus"},
        {"status", "extra"}, {"clean", "generalUser", "--only", "ios.derived"}, {"clean", "gamer"},
        {"measure", "--only", "x"}, {"reclaim", "--bytes", "lots"}, {"search", "x", "--limit", "0"},
        {"xray", "--perform", "xray.nothing"}, {"devclean", "--prune-docker", "--remove-unavailable"},
        {"smart-scan", "--apply", "3"}, {"drives", "extra"}, {"move", "--to", "Archive"}, {"bring-back", "not-an-id"},
        {"bring-back", unknownId}};
    for (const QStringList &arguments : wrong) {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        const ProcessRun run = runTessoly(arguments);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.err.count('\n'), 1) << run.err.toStdString();
        EXPECT_TRUE(run.err.startsWith("tessoly: ")) << run.err.toStdString();
        EXPECT_TRUE(run.out.isEmpty()) << run.out.toStdString();
        const ProcessRun json = runTessoly(arguments + QStringList{"--json"});
        EXPECT_EQ(json.exitCode, 2);
        EXPECT_EQ(jsonObject(json.out).value("error").toString().toUtf8(), json.err.mid(9).chopped(1)) << json.out.toStdString();
    }
    EXPECT_EQ(runTessoly({"help"}).exitCode, 0);
    EXPECT_FALSE(fs::exists(home.historyFile()));
}

TEST(TerminalText, WhatATerminalWouldActOnIsEscaped)
{
    const struct {
        QString name;
        QString shown;
    } cases[] = {
        {"plain name.txt", "plain name.txt"},
        {"a\x1b[2Jb", "a\\x1b[2Jb"},
        {"two\nlines\r\t", "two\\nlines\\r\\t"},
        {QString("del\x7f") + QChar(0x9b) + "c1", "del\\x7f\\x9bc1"},
        {QString("gpj") + QChar(0x202e) + ".exe" + QChar(0x2028), "gpj\\u202e.exe\\u2028"},
        {QString("raw") + QChar(0xdcff), "raw\\xff"}, // a byte that isn't UTF-8
        {"café 📁 日本", "café 📁 日本"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(printable(c.name), c.shown) << c.name.toStdString();
}

TEST(Cli, SearchShowsHostileNamesEscapedAndExactInJson)
{
    TempHome home;
    const fs::path hostile = home.path() / "Documents/evil\x1b]0;owned\x07\nfake line\x7f\xc2\x9b.bin";
    writeFile(hostile, "x");
    allocate(home.path() / "Documents/evil-but-big.iso", 12 << 20);
    const ProcessRun words = runTessoly({"search", "evil"});
    ASSERT_EQ(words.exitCode, 0) << words.err.toStdString();
    EXPECT_TRUE(words.out.contains("~/Documents/evil\\x1b]0;owned\\x07\\nfake line\\x7f\\x9b.bin\n")) << words.out.toStdString();
    for (const char *raw : {"\x1b", "\x07", "\x7f", "\xc2\x9b", "\nfake"})
        EXPECT_FALSE(words.out.contains(raw)) << raw;

    const QJsonArray all = jsonObject(runTessoly({"search", "EVIL", "--json"}).out).value("results").toArray();
    ASSERT_EQ(all.size(), 2);
    EXPECT_EQ(all[1].toObject().value("path").toString(), qtPath(hostile));
    const QJsonArray big = jsonObject(runTessoly({"search", "evil", "--min-mb", "10", "--json"}).out).value("results").toArray();
    ASSERT_EQ(big.size(), 1);
    EXPECT_EQ(big[0].toObject().value("path").toString(), qtPath(home.path() / "Documents/evil-but-big.iso"));
}

// The catalogue's folders where they live on Linux (browser caches under
// XDG_CACHE_HOME), measured, cleaned and put back through history and restore.
TEST(Cli, ProfilesMeasureCleanHistoryAndRestoreFollowXdgCacheHome)
{
    TempHome home;
    const fs::path elsewhere = home.path() / "fast-disk/cache";
    EnvOverride cacheHome("XDG_CACHE_HOME", QByteArray::fromStdString(elsewhere.native()));
    const fs::path chrome = elsewhere / "google-chrome";
    writeFile(chrome / "Default/Cache/data_0", std::string(300000, 'c'));
    writeFile(chrome / "Default/Cache/data_1", std::string(100000, 'd'));
    writeFile(chrome / ".hidden-top", "stays");
    const std::string before = describeTree(chrome);

    EXPECT_TRUE(runTessoly({"profiles"}).out.contains("~/fast-disk/cache/google-chrome"));
    const ProcessRun measured = runTessoly({"measure", "generalUser", "--json"});
    ASSERT_EQ(measured.exitCode, 0) << measured.err.toStdString();
    const QJsonArray rows = jsonObject(measured.out).value("targets").toArray();
    const QJsonObject chromeRow = rowWhere(rows, "id", "user.chrome");
    EXPECT_EQ(chromeRow.value("location").toString(), qtPath(chrome));
    EXPECT_GE(chromeRow.value("bytes").toInteger(), 400000);
    EXPECT_EQ(chromeRow.value("items").toInt(), 1);
    EXPECT_FALSE(rowWhere(rows, "id", "user.safari").value("present").toBool());
    EXPECT_TRUE(runTessoly({"measure", "generalUser"}).out.contains("Not present"));

    const ProcessRun cleaned = runTessoly({"clean", "generalUser", "--only", "user.chrome,user.safari"});
    ASSERT_EQ(cleaned.exitCode, 0) << cleaned.err.toStdString();
    EXPECT_TRUE(cleaned.out.contains("Moved to the Trash: 1 item")) << cleaned.out.toStdString();
    EXPECT_TRUE(cleaned.err.isEmpty()) << "progress lines only when stderr is a terminal";
    EXPECT_FALSE(fs::exists(chrome / "Default"));
    EXPECT_EQ(readFile(chrome / ".hidden-top"), "stays");
    const qsizetype at = cleaned.out.indexOf("tessoly restore ");
    ASSERT_GE(at, 0);
    const QString id = QString::fromUtf8(cleaned.out.mid(at + 16).trimmed());

    EXPECT_TRUE(runTessoly({"history"}).out.toUpper().contains(id.toUpper().toUtf8()));
    ASSERT_EQ(jsonArray(runTessoly({"history", "--json"}).out).size(), 1);
    const ProcessRun restored = runTessoly({"restore", id.toLower()});
    EXPECT_EQ(restored.exitCode, 0) << restored.err.toStdString();
    EXPECT_TRUE(restored.out.startsWith("Restored 1 item")) << restored.out.toStdString();
    EXPECT_EQ(describeTree(chrome), before);
    const ProcessRun again = runTessoly({"restore", id, "--json"});
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(jsonObject(again.out).value("status").toString(), "fullyRestored");
}

TEST(Cli, SnapshotsAndReclaimThroughANamedTool)
{
    TempHome home;
    const ProcessRun none = runTessoly({"snapshots"});
    EXPECT_EQ(none.exitCode, 0);
    EnvOverride tool("TESSOLY_SNAPSHOT_TOOL", QByteArray::fromStdString(fakeSnapshotTool(home.path(), 1).native()));
    const ProcessRun listed = runTessoly({"snapshots"});
    EXPECT_EQ(listed.exitCode, 0);
    EXPECT_TRUE(listed.out.startsWith("2026-11-10-010203\n")) << listed.out.toStdString();
    EXPECT_FALSE(none.out.contains("2026-11-10")) << "snapshots listed without a tool";
    const ProcessRun reclaimed = runTessoly({"reclaim", "--bytes", "1000", "--json"});
    EXPECT_EQ(reclaimed.exitCode, 0) << reclaimed.err.toStdString();
    EXPECT_EQ(jsonObject(reclaimed.out).value("snapshotsLeft").toInt(), 1);
    EXPECT_TRUE(readFile(home.path() / "calls.txt").find("thinLocalSnapshots / 1000") != std::string::npos)
        << readFile(home.path() / "calls.txt");
}

TEST_F(CleanCommand, ALogThatIsNotTessolysKeepsItsBytesAndTheCommandSaysSoOnce)
{
    const std::string bad("\x7f" "ELF\x02\x01\x01\0\0", 9);
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
    ASSERT_EQ(copies.size(), 1u);
    EXPECT_EQ(readFile(copies.back()), bad);
    const auto entries = decodeHistory(QByteArray::fromStdString(readFile(home.historyFile())));
    ASSERT_TRUE(entries.has_value());
    EXPECT_EQ(entries->size(), 1u);
}

TEST_F(CleanCommand, ALogThatCantBeWrittenMakesTheCleanFailWithWords)
{
    fs::create_directories(home.historyFile() / "not-a-log");
    fillCache();
    expectUnrecorded(clean(), "is a folder");
    EXPECT_EQ(entriesIn(home.trash() / "files"), 3u); // the items are in the Trash, as the words say

    fillCache();
    const ProcessRun json = clean(true);
    EXPECT_EQ(json.exitCode, 1);
    const QJsonObject result = jsonObject(json.out);
    EXPECT_FALSE(result.value("recorded").toBool());
    EXPECT_EQ(result.value("entryId").toString(), "");
    EXPECT_TRUE(result.value("logError").toString().contains("could not be recorded"));
    EXPECT_TRUE(fs::is_directory(home.historyFile() / "not-a-log"));

    if (!canMount())
        GTEST_SKIP() << "mounting isn't permitted here (needs root with mount rights); CI runs this as root";
    // A full little disk under the log.
    fs::remove_all(home.historyFile());
    const fs::path folder = home.historyFile().parent_path();
    ASSERT_EQ(::mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=64k"), 0);
    const std::shared_ptr<void> unmount(nullptr, [&](void *) { ::umount2(folder.c_str(), MNT_DETACH); });
    for (int i = 0; i < 100; ++i)
        writeFile(folder / ("filler" + std::to_string(i)), std::string(4096, 'f'));
    fillCache();
    expectUnrecorded(clean(), "No space left on device");
    EXPECT_FALSE(fs::exists(home.historyFile()));
}

TEST_F(CleanCommand, EntriesThatStayInPlaceAreCountedWithTheirReason)
{
    fillCache();
    const fs::path locked = cache / "_logs";
    if (runProcess("chattr", {"+i", qtPath(locked)}).exitCode != 0)
        GTEST_SKIP() << "needs chattr on a file system with immutable files";
    const std::shared_ptr<void> unlock(nullptr, [&](void *) { runProcess("chattr", {"-i", qtPath(locked)}); });

    const ProcessRun text = clean();
    EXPECT_EQ(text.exitCode, 1);
    EXPECT_TRUE(text.out.contains("“_logs” couldn't be moved to the Trash: Operation not permitted")) << text.out.toStdString();
    EXPECT_TRUE(text.out.contains("tessoly restore")); // what went is recorded and restorable
    EXPECT_EQ(readFile(locked / "one.log"), "log");

    const ProcessRun json = clean(true);
    EXPECT_EQ(json.exitCode, 1);
    const QJsonArray stayed = jsonObject(json.out).value("leftBehind").toArray();
    ASSERT_EQ(stayed.size(), 1);
    EXPECT_EQ(stayed.at(0).toObject().value("path").toString(), qtPath(locked));
    EXPECT_TRUE(stayed.at(0).toObject().value("reason").toString().contains("Operation not permitted"));
}
