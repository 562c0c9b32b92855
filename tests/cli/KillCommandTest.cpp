// `tessoly duplicates --keep` and `tessoly easy-clean` killed with SIGKILL
// while they put things in the Trash, at a moment chosen at random among
// the items: afterwards every item in the Trash is in the log, and
// restoring the log puts every file back, the very same file.
// TESSOLY_KILL_ROUNDS sets the kills per command (default 4).
#include "../recommendations/ScanSupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

int rounds()
{
    const int wanted = qEnvironmentVariableIntValue("TESSOLY_KILL_ROUNDS");
    return wanted > 0 ? wanted : 4;
}

struct Killed : ::testing::Test {
    TempHome home;
    fs::path files() const { return home.trash() / "files"; }

    void SetUp() override { qputenv("ASAN_OPTIONS", "detect_leaks=0"); } // a killed process leaks by design
    void TearDown() override { qunsetenv("ASAN_OPTIONS"); }

    // Runs the command and kills it once `items` entries are in the Trash;
    // returns whether it was killed (it may finish first).
    bool runUntilTrashHolds(const QStringList &arguments, std::size_t items)
    {
        QProcess process;
        process.start(QStringLiteral(TESSOLY_BINARY), arguments);
        EXPECT_TRUE(process.waitForStarted(10000));
        bool killed = false;
        while (!process.waitForFinished(1)) {
            if (entriesIn(home.trash() / "info") >= items) {
                ::kill(pid_t(process.processId()), SIGKILL);
                killed = true;
                process.waitForFinished(10000);
                break;
            }
        }
        return killed;
    }

    // Every item in the Trash is named by the log (read by a new process,
    // which takes in what the killed one left), and each entry restores.
    void expectEverythingLoggedThenRestore()
    {
        const ProcessRun listed = runProcess(TESSOLY_BINARY, {"history", "--json"});
        ASSERT_EQ(listed.exitCode, 0) << listed.err.toStdString();
        std::set<std::string> logged;
        std::vector<QString> restorable;
        for (const QJsonValue &entry : QJsonDocument::fromJson(listed.out).array()) {
            if (entry.toObject().value("status").toString() == "active")
                restorable.push_back(entry.toObject().value("id").toString());
            for (const QJsonValue &item : entry.toObject().value("items").toArray())
                logged.insert(item.toObject().value("trashedPath").toString().toStdString());
        }
        std::error_code error;
        for (const fs::directory_entry &item : fs::directory_iterator(files(), error))
            EXPECT_TRUE(logged.contains(item.path().native())) << item.path() << " is in the Trash but in no log entry";
        for (const QString &id : restorable) {
            const ProcessRun restored = runProcess(TESSOLY_BINARY, {"restore", id});
            EXPECT_EQ(restored.exitCode, 0) << restored.out.toStdString() << restored.err.toStdString();
        }
        EXPECT_EQ(entriesIn(files()), 0u) << "something stayed in the Trash";
        EXPECT_EQ(entriesIn(home.trash() / "info"), 0u) << "a Trash record without its item";
    }
};

} // namespace

TEST_F(Killed, KeepingOneDuplicateLosesNoCopyFromTheLog)
{
    const fs::path docs = home.path() / "Documents";
    constexpr int copies = 600;
    for (int i = 0; i <= copies; ++i) { // sparse: identical, and quick to hash
        const fs::path file = docs / ("d" + std::to_string(i % 7)) / ("copy-" + std::to_string(i) + ".bin");
        fs::create_directories(file.parent_path());
        writeFile(file, "");
        fs::resize_file(file, 1 << 20);
    }
    const fs::path kept = fs::canonical(docs / "d0/copy-0.bin");
    const std::string before = inodeListing(docs);
    for (int round = 0; round < rounds(); ++round) {
        const auto at = std::size_t(QRandomGenerator::global()->bounded(1, copies));
        SCOPED_TRACE("killed after " + std::to_string(at) + " items");
        runUntilTrashHolds({"duplicates", "--keep", QString::fromStdString(kept.native())}, at);
        expectEverythingLoggedThenRestore();
        EXPECT_EQ(inodeListing(docs), before);
    }
}

TEST_F(Killed, TheOneButtonCleanLosesNoCacheEntryFromTheLog)
{
    const fs::path npm = home.path() / ".npm";
    allocate(npm / "_cacache/index", 1'100'000'000); // over the 1 GiB a card needs
    constexpr int entries = 800;
    for (int i = 0; i < entries; ++i)
        writeFile(npm / ("entry-" + std::to_string(i)), std::string(std::size_t(100 + i), 'n'));
    const std::string before = inodeListing(npm);
    for (int round = 0; round < rounds(); ++round) {
        const auto at = std::size_t(QRandomGenerator::global()->bounded(1, entries));
        SCOPED_TRACE("killed after " + std::to_string(at) + " items");
        runUntilTrashHolds({"easy-clean"}, at);
        expectEverythingLoggedThenRestore();
        EXPECT_EQ(inodeListing(npm), before);
    }
}
