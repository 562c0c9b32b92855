// The log and the settings shared by every Tessoly process of the user: real
// `tessoly` processes cleaning, restoring and changing settings at once in
// one home, one of them killed while it holds the lock, and a window-side
// application following what the command lines do.
#include "TestSupport.h"
#include "application/TessolyApp.h"
#include "cleaning/CleanupCatalogue.h"
#include "history/CleanupHistoryModel.h"
#include "history/CleanupHistoryStore.h"
#include "cleaning/CleanupService.h"
#include "history/HistoryJson.h"
#include "core/SettingsStore.h"
#include "platform/Platform.h"
#include "platform/linux/FreedesktopTrash.h"
#include "platform/linux/JsonDefaultsStore.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <gtest/gtest.h>
#include <map>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

const QString kTessoly = QStringLiteral(TESSOLY_BINARY);

// Catalogue targets whose folders neither coincide nor lie inside each
// other, so that processes cleaning different targets never touch the same file.
std::vector<std::pair<CleanupProfile, CleanupTarget>> separateTargets(const fs::path &home)
{
    std::vector<std::pair<CleanupProfile, CleanupTarget>> chosen;
    std::vector<fs::path> taken;
    for (const CleanupProfile profile : allCleanupProfiles) {
        for (const CleanupTarget &target : targets(profile)) {
            const std::string path = CleanupService::resolve(target, home).native();
            const bool clash = std::any_of(taken.begin(), taken.end(), [&](const fs::path &other) {
                return path == other.native() || path.starts_with(other.native() + "/")
                    || other.native().starts_with(path + "/");
            });
            if (!clash) {
                taken.emplace_back(path);
                chosen.emplace_back(profile, target);
            }
        }
    }
    return chosen;
}

QJsonObject jsonOf(const ProcessRun &run)
{
    return QJsonDocument::fromJson(run.out).object();
}

} // namespace

TEST(SharedFiles, ManyProcessesAtOnceKeepEveryEntryAndEveryValue)
{
    // Settings each process changes: numbers and a name, whose lost update
    // would always show, and switches.
    const QStringList keys{"TessolySettings.lowDiskThresholdPercent", "TessolySettings.externalDriveMinFreeGB",
                           "TessolySettings.autopilotMinFreeGB",      "TessolySettings.defaultExternalDriveName",
                           "TessolySettings.notificationsEnabled",    "TessolySettings.warnOnSlowExternalDrive",
                           "TessolySettings.autopilotEnabled",        "TessolySettings.showMenubarIcon"};
    for (const int processes : {2, 8}) {
        SCOPED_TRACE(processes);
        TempHome home;
        const auto targets = separateTargets(home.path());
        ASSERT_GE(targets.size(), static_cast<std::size_t>(2 * processes));
        const int rounds = processes == 2 ? 10 : 4;
        std::vector<QString> logged;              // every entry id a clean printed
        std::vector<QString> previous(processes); // the entry each process cleaned last round
        std::map<QString, QString> lastWritten;   // key -> the value written last

        for (int round = 0; round < rounds; ++round) {
            SCOPED_TRACE(round);
            // Each process cleans its own folder (two of them, by turns), puts
            // back what it cleaned the round before and changes its setting.
            std::vector<Command> commands;
            for (int i = 0; i < processes; ++i) {
                const auto &[profile, target] = targets.at(static_cast<std::size_t>(2 * i + round % 2));
                const fs::path folder = CleanupService::resolve(target, home.path());
                writeFile(folder / ("r" + std::to_string(round) + "-a.bin"), std::string(5000, 'a'));
                writeFile(folder / ("r" + std::to_string(round) + "-dir/b.bin"), std::string(9000, 'b'));
                commands.push_back({kTessoly, {"clean", rawValue(profile), "--only", target.id, "--json"}});
            }
            for (int i = 0; i < processes; ++i) {
                if (!previous[i].isEmpty())
                    commands.push_back({kTessoly, {"restore", previous[i], "--json"}});
            }
            for (int i = 0; i < processes; ++i) {
                const QString &key = keys.at(i % keys.size());
                const QString value = key.endsWith("Name") ? QStringLiteral("Drive %1-%2").arg(i).arg(round)
                    : key.endsWith("Enabled") || key.endsWith("Drive") || key.endsWith("Icon")
                    ? (round % 2 == 0 ? QStringLiteral("false") : QStringLiteral("true"))
                    : QString::number(1000 * round + i);
                commands.push_back({kTessoly, {"settings", key, value}});
                lastWritten[key] = value;
            }
            const std::vector<ProcessRun> runs = runTogether(commands);
            for (int i = 0; i < processes; ++i) {
                const ProcessRun &clean = runs.at(static_cast<std::size_t>(i));
                ASSERT_EQ(clean.exitCode, 0) << clean.out.toStdString() << clean.err.toStdString();
                const QJsonObject result = jsonOf(clean);
                ASSERT_TRUE(result.value("recorded").toBool()) << clean.out.toStdString();
                previous[i] = result.value("entryId").toString();
                logged.push_back(previous[i]);
            }
            for (std::size_t r = static_cast<std::size_t>(processes); r < runs.size(); ++r)
                ASSERT_EQ(runs.at(r).exitCode, 0) << runs.at(r).out.toStdString() << runs.at(r).err.toStdString();
            // The log decodes after every round.
            ASSERT_TRUE(decodeHistory(QByteArray::fromStdString(readFile(home.historyFile()))).has_value());
        }

        const auto entries = decodeHistory(QByteArray::fromStdString(readFile(home.historyFile())));
        ASSERT_TRUE(entries.has_value());
        EXPECT_EQ(entries->size(), logged.size());
        for (const QString &id : logged) {
            const auto count = std::count_if(entries->begin(), entries->end(), [&](const CleanupHistoryEntry &entry) {
                return entry.id == QUuid(id);
            });
            EXPECT_EQ(count, 1) << id.toStdString();
        }
        // Every entry but the last round's was restored in full by another process.
        const auto restored = std::count_if(entries->begin(), entries->end(), [](const CleanupHistoryEntry &entry) {
            return entry.status == CleanupHistoryEntry::Status::FullyRestored;
        });
        EXPECT_EQ(restored, static_cast<long>(logged.size()) - processes);

        platform::JsonDefaultsStore defaults(home.defaultsFile());
        SettingsStore settings(defaults);
        for (const auto &[key, value] : lastWritten)
            EXPECT_EQ(settings.value(key).toString(), value) << key.toStdString(); // a bool reads "true" or "false"
    }
}

TEST(SharedFiles, AProcessKilledWhileItHoldsTheLockDoesNotStopTheNext)
{
    if (runProcess("strace", {"-V"}).exitCode != 0)
        GTEST_SKIP() << "needs strace";
    TempHome home;
    const auto targets = separateTargets(home.path());
    const auto &[profile, target] = targets.front();
    const fs::path folder = CleanupService::resolve(target, home.path());
    writeFile(folder / "first.bin", "first");
    // LeakSanitizer can't stop the world under ptrace.
    qputenv("ASAN_OPTIONS", "detect_leaks=0");
    // The first clean takes the log's lock, and is killed inside the write
    // of the log (its first fsync), with the lock held.
    const ProcessRun killed = runProcess("strace", {"-f", "-qq", "-o", "/dev/null", "-e", "trace=fsync", "-e",
                                                    "inject=fsync:signal=SIGKILL", kTessoly, "clean", rawValue(profile),
                                                    "--only", target.id});
    EXPECT_NE(killed.exitCode, 0);
    const auto leftovers = std::count_if(fs::directory_iterator(home.historyFile().parent_path()), fs::directory_iterator(),
                                         [](const fs::directory_entry &entry) {
                                             return entry.path().filename().native().starts_with(".history.json.");
                                         });
    EXPECT_EQ(leftovers, 1) << "the process should have died half way through writing the log";
    EXPECT_FALSE(fs::exists(home.historyFile()));
    // The next process goes on at once: the lock went with the killed one.
    writeFile(folder / "second.bin", "second");
    const ProcessRun next = runProcess(kTessoly, {"clean", rawValue(profile), "--only", target.id, "--json"});
    qunsetenv("ASAN_OPTIONS");
    EXPECT_EQ(next.exitCode, 0) << next.err.toStdString();
    EXPECT_TRUE(jsonOf(next).value("recorded").toBool());
    const auto entries = decodeHistory(QByteArray::fromStdString(readFile(home.historyFile())));
    ASSERT_TRUE(entries.has_value());
    // The killed clean's journal became an entry too: its item is in the Trash and comes back.
    ASSERT_EQ(entries->size(), 2u);
    EXPECT_TRUE(entries->at(1).summary.endsWith("(interrupted)")) << entries->at(1).summary.toStdString();
    ASSERT_EQ(entries->at(1).items.size(), 1u);
    EXPECT_EQ(readFile(*entries->at(1).items.front().trashedPath), "first");
}

TEST(SharedFiles, TheWindowFollowsWhatACommandLineDoes)
{
    TempHome home;
    platform::FreedesktopTrash trash(home.trash(), ::getuid());
    CleanupHistoryStore history(home.historyFile(), trash);
    TessolyApp app(platform::makeLinuxPlatform(), &history);
    app.followSharedFiles();
    const auto targets = separateTargets(home.path());
    const auto &[profile, target] = targets.front();
    writeFile(CleanupService::resolve(target, home.path()) / "cache.bin", std::string(8000, 'c'));
    // A clean from a terminal: the window's log and its History page show it.
    QSignalSpy changed(&history, &CleanupHistoryStore::entriesChanged);
    const ProcessRun clean = runProcess(kTessoly, {"clean", rawValue(profile), "--only", target.id, "--json"});
    ASSERT_EQ(clean.exitCode, 0) << clean.err.toStdString();
    ASSERT_TRUE(changed.wait(20000)); // the folder watcher, not a poll of ours
    const QString id = jsonOf(clean).value("entryId").toString();
    ASSERT_EQ(history.entries().size(), 1u);
    EXPECT_EQ(history.entries().front().id, QUuid(id));
    EXPECT_EQ(app.historyModel()->rowCount(), 1);
    // A setting changed from a terminal reaches the bound property.
    QSignalSpy deleteChanged(app.settings(), &SettingsStore::deleteImmediatelyChanged);
    ASSERT_EQ(runProcess(kTessoly, {"settings", "TessolySettings.deleteImmediately", "true"}).exitCode, 0);
    ASSERT_TRUE(deleteChanged.wait(20000));
    EXPECT_TRUE(app.settings()->deleteImmediately());
    // The window's own next writes keep what the command line wrote.
    app.settings()->setLowDiskThresholdPercent(70);
    EXPECT_EQ(history.append(CleanupHistoryEntry::make(CleanupHistoryEntry::Kind::BigFileTrash, "window's", 1, {})), "");
    CleanupHistoryStore reread(home.historyFile(), trash);
    ASSERT_EQ(reread.entries().size(), 2u);
    EXPECT_EQ(reread.entries().back().id, QUuid(id));
    platform::JsonDefaultsStore defaults(home.defaultsFile());
    EXPECT_EQ(defaults.boolValue("TessolySettings.deleteImmediately"), true);
    EXPECT_EQ(defaults.integerValue("TessolySettings.lowDiskThresholdPercent"), 70);
}
