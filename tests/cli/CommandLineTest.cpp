#include "TestSupport.h"
#include "cleaning/CleanupHistoryStore.h"
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

// Runs the real tessoly executable in the test's temporary home.
ProcessRun runTessoly(const QStringList &arguments)
{
    return runProcess(QStringLiteral(TESSOLY_BINARY), arguments);
}

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
    }
    EXPECT_EQ(runTessoly({"help"}).exitCode, 0);
}

TEST_F(Cli, UnreadableHistoryNeverStopsTheProgram)
{
    writeFile(home.historyFile(), "\xff\xfe garbage");
    const ProcessRun run = runTessoly({"history"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.startsWith("Nothing here yet."));
    EXPECT_EQ(readFile(home.historyFile()), "\xff\xfe garbage");
}
