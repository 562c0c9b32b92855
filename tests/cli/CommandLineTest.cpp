#include "TestSupport.h"
#include "history/CleanupHistoryStore.h"
#include "cli/TerminalText.h"
#include "platform/linux/FreedesktopTrash.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

struct Cli : ::testing::Test {
    TempHome home;
    platform::FreedesktopTrash trash{home.trash(), ::getuid()};
};

} // namespace

TEST_F(Cli, StatusPrintsTheVolumeFigures)
{
    const ProcessRun text = runTessoly({"status"});
    ASSERT_EQ(text.exitCode, 0) << text.err.toStdString();
    EXPECT_TRUE(text.out.contains(" free of ")) << text.out.toStdString();
    EXPECT_TRUE(text.out.contains("% used"));

    const ProcessRun json = runTessoly({"status", "--json"});
    ASSERT_EQ(json.exitCode, 0);
    const QJsonObject object = QJsonDocument::fromJson(json.out).object();
    EXPECT_GT(object.value("capacityBytes").toInteger(), 0);
    EXPECT_EQ(object.value("usedBytes").toInteger(),
              object.value("capacityBytes").toInteger() - object.value("freeBytes").toInteger());
    EXPECT_EQ(object.value("home").toString().toStdString(), home.path().native());
    EXPECT_EQ(object.value("interfaceMode").toString(), "simple");
    EXPECT_FALSE(fs::exists(home.historyFile())); // looking writes nothing
    EXPECT_FALSE(fs::exists(home.defaultsFile()));
}

TEST_F(Cli, HistoryAndRestoreWorkOnTheRealLog)
{
    const fs::path original = home.path() / "Library/Caches/com.example/blob";
    writeFile(original, "cache");
    const auto outcome = trash.trashItem(original.parent_path());
    ASSERT_TRUE(outcome.ok());
    CleanupHistoryEntry::Item item;
    item.originalPath = original.parent_path();
    item.trashedPath = outcome.trashedPath;
    item.bytes = 4096;
    const auto entry = CleanupHistoryEntry::make(CleanupHistoryEntry::Kind::ProfileCleanup, "General profile cleanup", 4096, {item});
    {
        CleanupHistoryStore store(home.historyFile(), trash);
        store.append(entry);
    }
    const QString id = entry.id.toString(QUuid::WithoutBraces).toUpper();

    const ProcessRun listed = runTessoly({"history"});
    ASSERT_EQ(listed.exitCode, 0);
    EXPECT_TRUE(listed.out.contains(id.toUtf8()));
    EXPECT_TRUE(listed.out.contains("General profile cleanup"));
    EXPECT_TRUE(listed.out.contains("In Trash · restorable"));

    const ProcessRun json = runTessoly({"history", "--json"});
    EXPECT_EQ(QJsonDocument::fromJson(json.out).array().size(), 1);

    const ProcessRun restored = runTessoly({"restore", id.toLower()});
    EXPECT_EQ(restored.exitCode, 0) << restored.err.toStdString();
    EXPECT_EQ(restored.out, "Restored 1 item from Trash.\n");
    EXPECT_EQ(readFile(original), "cache");

    const ProcessRun again = runTessoly({"restore", id, "--json"}); // now "Restored": the page's gate applies
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(QJsonDocument::fromJson(again.out).object().value("status").toString(), "fullyRestored");
}

TEST_F(Cli, WrongCommandsGetOneLineAndStatusTwo)
{
    const QList<QStringList> wrong{{"restore", "not-a-uuid"},
                                   {"restore", "0F8B2C1E-6A3D-4E21-9B7C-2D4E6F8A0B1C"},
                                   {"restore"},
                                   {"frobnicate"},
                                   {"status", "--bogus"},
                                   {"status", "extra"}};
    for (const QStringList &arguments : wrong) {
        const ProcessRun run = runTessoly(arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments.join(' ').toStdString();
        EXPECT_EQ(run.err.count('\n'), 1) << run.err.toStdString();
        EXPECT_TRUE(run.err.startsWith("tessoly: "));
        EXPECT_TRUE(run.out.isEmpty());
        // A script gets the same words as JSON on stdout.
        const ProcessRun json = runTessoly(arguments + QStringList{"--json"});
        EXPECT_EQ(json.exitCode, 2);
        const QJsonObject error = QJsonDocument::fromJson(json.out).object();
        EXPECT_EQ(error.value("error").toString().toUtf8(), json.err.mid(9).chopped(1)) << json.out.toStdString();
    }
    EXPECT_EQ(runTessoly({"help"}).exitCode, 0);
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

TEST_F(Cli, HostileNamesAreShownEscapedAndExactInJson)
{
    const fs::path hostile = home.path() / "Documents/evil\x1b]0;owned\x07\nfake line\x7f\xc2\x9b.bin";
    writeFile(hostile, "x");
    const ProcessRun words = runTessoly({"search", "evil"});
    ASSERT_EQ(words.exitCode, 0) << words.err.toStdString();
    EXPECT_TRUE(words.out.contains("~/Documents/evil\\x1b]0;owned\\x07\\nfake line\\x7f\\x9b.bin\n"))
        << words.out.toStdString();
    for (const char *raw : {"\x1b", "\x07", "\x7f", "\xc2\x9b", "\nfake"})
        EXPECT_FALSE(words.out.contains(raw)) << raw;

    const ProcessRun json = runTessoly({"search", "evil", "--json"});
    const QJsonArray results = QJsonDocument::fromJson(json.out).object().value("results").toArray();
    ASSERT_EQ(results.size(), 1) << json.out.toStdString();
    EXPECT_EQ(results[0].toObject().value("path").toString().toStdString(), hostile.native());
}

TEST_F(Cli, UnreadableHistoryNeverStopsTheProgram)
{
    writeFile(home.historyFile(), "\xff\xfe garbage");
    const ProcessRun run = runTessoly({"history"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.startsWith("Nothing here yet."));
    EXPECT_EQ(readFile(home.historyFile()), "\xff\xfe garbage");
}

TEST_F(Cli, MeasureAndCleanAProfileThenRestoreIt)
{
    const fs::path chrome = home.cacheHome() / "google-chrome";
    writeFile(chrome / "Default/Cache/data_0", std::string(300000, 'c'));
    writeFile(chrome / "Default/Cache/data_1", std::string(100000, 'd'));
    writeFile(chrome / ".hidden-top", "stays");
    const std::string before = describeTree(chrome);

    const ProcessRun measured = runTessoly({"measure", "generalUser", "--json"});
    ASSERT_EQ(measured.exitCode, 0) << measured.err.toStdString();
    const QJsonArray rows = QJsonDocument::fromJson(measured.out).object().value("targets").toArray();
    ASSERT_EQ(rows.size(), 5);
    EXPECT_EQ(rows[0].toObject().value("id").toString(), "user.chrome");
    EXPECT_TRUE(rows[0].toObject().value("present").toBool());
    EXPECT_EQ(rows[0].toObject().value("items").toInt(), 1);
    EXPECT_FALSE(rows[1].toObject().value("present").toBool());
    EXPECT_TRUE(runTessoly({"measure"}).out.contains("Not present"));

    const ProcessRun cleaned = runTessoly({"clean", "generalUser", "--only", "user.chrome,user.safari"});
    ASSERT_EQ(cleaned.exitCode, 0) << cleaned.err.toStdString();
    EXPECT_TRUE(cleaned.out.contains("Moved to the Trash: 1 item")) << cleaned.out.toStdString();
    EXPECT_TRUE(cleaned.err.isEmpty()); // no progress lines when stderr is no terminal
    EXPECT_FALSE(fs::exists(chrome / "Default"));
    EXPECT_EQ(readFile(chrome / ".hidden-top"), "stays");
    const qsizetype at = cleaned.out.indexOf("tessoly restore ");
    ASSERT_GE(at, 0);
    const QString id = QString::fromUtf8(cleaned.out.mid(at + 16).trimmed());

    const ProcessRun restored = runTessoly({"restore", id});
    EXPECT_EQ(restored.out, "Restored 1 item from Trash.\n");
    EXPECT_EQ(describeTree(chrome), before);

    EXPECT_EQ(runTessoly({"clean", "generalUser", "--only", "ios.derived"}).exitCode, 2);
    EXPECT_EQ(runTessoly({"clean", "gamer"}).exitCode, 2);
    EXPECT_EQ(runTessoly({"measure", "--only", "x"}).exitCode, 2);
}

TEST_F(Cli, SnapshotsThroughANamedTool)
{
    const fs::path tool = home.path() / "fake-tmutil";
    writeFile(tool, "#!/bin/sh\n[ \"$1\" = listlocalsnapshots ] && printf 'Snapshots for disk /:\\n"
                    "com.apple.TimeMachine.2026-11-20-101500.local\\n'\nexit 0\n");
    fs::permissions(tool, fs::perms::owner_all);
    qputenv("TESSOLY_SNAPSHOT_TOOL", QByteArray::fromStdString(tool.native()));
    const ProcessRun listed = runTessoly({"snapshots"});
    const ProcessRun reclaimed = runTessoly({"reclaim", "--bytes", "1000", "--json"});
    qunsetenv("TESSOLY_SNAPSHOT_TOOL");
    EXPECT_EQ(listed.exitCode, 0);
    EXPECT_TRUE(listed.out.startsWith("2026-11-20-101500\n")) << listed.out.toStdString();
    EXPECT_EQ(QJsonDocument::fromJson(reclaimed.out).object().value("snapshotsLeft").toInt(), 1);
    EXPECT_TRUE(runTessoly({"snapshots"}).out.startsWith("No local snapshots."));
    EXPECT_EQ(runTessoly({"reclaim", "--bytes", "lots"}).exitCode, 2);
}
