// The developer deep clean through real child processes: fake docker and
// xcrun programs print recorded outputs (or hang), and node_modules
// folders of real projects go to the real Trash.
#include "TestSupport.h"
#include "history/CleanupHistoryStore.h"
#include "cleaning/DevDeepClean.h"
#include "platform/linux/FreedesktopTrash.h"
#include "platform/linux/JsonDefaultsStore.h"
#include "platform/linux/LinuxPlatform.h"

#include <QElapsedTimer>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

constexpr qint64 MiB = 1 << 20;

// A program that answers from a script of shell cases on "$*".
fs::path fakeTool(const fs::path &folder, const std::string &name, const std::string &cases)
{
    const fs::path tool = folder / name;
    writeFile(tool, "#!/bin/sh\necho \"$*\" >> '" + (folder / (name + ".calls")).native() + "'\ncase \"$*\" in\n" + cases + "\nesac\n");
    fs::permissions(tool, fs::perms::owner_all);
    return tool;
}

const char *kRuntimes = R"({"A1": {"identifier": "A1", "runtimeIdentifier": "com.apple.CoreSimulator.SimRuntime.iOS-17-2",
 "sizeBytes": 7000000000, "deletable": true, "state": "Ready"},
 "B2": {"identifier": "B2", "runtimeIdentifier": "com.apple.CoreSimulator.SimRuntime.watchOS-10-0", "sizeBytes": 0}})";

struct DevClean : ::testing::Test {
    TempHome home;
    platform::FreedesktopTrash trash{home.trash(), ::getuid()};
    platform::QtProcessRunner processes;
    CleanupHistoryStore history{home.historyFile(), trash};
    platform::JsonDefaultsStore defaults{home.defaultsFile()};
    fs::path tools = home.path() / "tools";

    std::unique_ptr<DevDeepClean> make(fs::path docker, std::optional<fs::path> xcrun = std::nullopt,
                                       std::chrono::milliseconds limit = std::chrono::milliseconds(20000))
    {
        return std::make_unique<DevDeepClean>(home.path(), trash, processes, history, defaults,
                                              DevDeepClean::Tools{std::move(docker), std::move(xcrun), limit});
    }
    DevClean() { fs::create_directories(tools); }
};

} // namespace

TEST_F(DevClean, AScanPublishesTheThreeFindings)
{
    allocate(home.path() / "code/site/node_modules/react/index.js", 60 * MiB);
    writeFile(home.path() / "code/site/package.json", "{}");
    const fs::path docker = fakeTool(tools, "docker",
                                     "'system df --format {{json .}}') printf '%s\\n' "
                                     "'{\"Reclaimable\":\"1.2GB (50%)\",\"Type\":\"Images\"}' '{\"Reclaimable\":\"512kB\"}' ;;");
    const fs::path xcrun = fakeTool(tools, "xcrun",
                                    "'simctl runtime list -j') cat <<'EOF'\n" + std::string(kRuntimes) + "\nEOF\n;;\n"
                                    "'simctl list devices -j') echo '{\"devices\":{\"iOS 17.2\":[{\"isAvailable\":false}]}}' ;;");
    auto dev = make(docker, xcrun);
    runTask(dev->scan());
    EXPECT_TRUE(dev->hasScanned());
    EXPECT_FALSE(dev->isScanning());
    ASSERT_EQ(dev->nodeModules().size(), 1u);
    EXPECT_EQ(dev->nodeModules()[0].projectName, "site");
    EXPECT_EQ(dev->docker(), (DockerStatus{DockerStatus::State::Ready, 1'200'512'000}));
    ASSERT_EQ(dev->runtimes().size(), 1u); // the one of size 0 is dropped
    EXPECT_EQ(dev->runtimes()[0].name, "iOS 17.2");
    EXPECT_EQ(dev->unavailableSimDevices(), 1);
}

TEST_F(DevClean, DockerMissingStoppedOrHungAndNoSimulatorToolOnLinux)
{
    auto missing = make(tools / "no-docker-here");
    runTask(missing->scan());
    EXPECT_EQ(missing->docker().state, DockerStatus::State::NotInstalled);

    const fs::path stopped = fakeTool(tools, "docker-stopped",
                                      "*) echo 'Cannot connect to the Docker daemon at unix:///var/run/docker.sock. "
                                      "Is the docker daemon running?' >&2 ;;");
    auto dev = make(stopped);
    runTask(dev->scan());
    EXPECT_EQ(dev->docker().state, DockerStatus::State::NotRunning);
    EXPECT_TRUE(dev->runtimes().empty()); // no xcrun: an empty list, not an error

    // A daemon that hangs: the scan ends at the time limit, the other jobs' results stand.
    allocate(home.path() / "Projects/api/node_modules/x/blob", 60 * MiB);
    const fs::path hung = fakeTool(tools, "docker-hung", "*) sleep 60 ;;");
    auto patient = make(hung, std::nullopt, std::chrono::milliseconds(1000));
    QElapsedTimer clock;
    clock.start();
    runTask(patient->scan());
    EXPECT_LT(clock.elapsed(), 10'000);
    EXPECT_EQ(patient->docker().state, DockerStatus::State::NotResponding);
    EXPECT_EQ(patient->nodeModules().size(), 1u);
}

TEST_F(DevClean, PruneAndRuntimeActionsSayWhatTheToolsDid)
{
    const fs::path docker = fakeTool(tools, "docker",
                                     "'system df --format {{json .}}') echo '{\"Reclaimable\":\"2GB\"}' ;;\n"
                                     "'system prune -af') echo 'Deleted build cache objects:'; echo 'abc' ;;");
    const fs::path xcrun = fakeTool(tools, "xcrun",
                                    "'simctl runtime list -j') cat <<'EOF'\n" + std::string(kRuntimes) + "\nEOF\n;;\n"
                                    "'simctl runtime delete A1') echo 'Unable to delete runtime: it is in use.' >&2 ;;\n"
                                    "'simctl list devices -j') echo '{\"devices\":{}}' ;;\n"
                                    "'simctl delete unavailable') ;;");
    auto dev = make(docker, xcrun);
    runTask(dev->scan());
    runTask(dev->pruneDocker());
    EXPECT_EQ(dev->result("docker")->message, "Prune ran — nothing unused to remove.");
    EXPECT_TRUE(dev->result("docker")->success);
    EXPECT_TRUE(dev->workingIds().isEmpty());

    runTask(dev->deleteRuntime(dev->runtimes().at(0)));
    EXPECT_FALSE(dev->result("A1")->success);
    EXPECT_EQ(dev->result("A1")->message, "Couldn't delete iOS 17.2: Unable to delete runtime: it is in use.");
    runTask(dev->removeUnavailableDevices());
    EXPECT_EQ(dev->result("sim.unavailable")->message, "Removed simulator devices whose runtime is gone.");
    EXPECT_EQ(readFile(tools / "docker.calls"), "system df --format {{json .}}\nsystem prune -af\nsystem df --format {{json .}}\n");

    const fs::path pruning = fakeTool(tools, "docker2", "'system prune -af') printf 'x\\nTotal reclaimed space: 2.5GB\\n' ;;\n"
                                                        "*) echo '{\"Reclaimable\":\"0B\"}' ;;");
    auto second = make(pruning);
    runTask(second->pruneDocker());
    EXPECT_EQ(second->result("docker")->message, "Docker reclaimed 2.5 GB. To shrink the disk image file itself, lower the "
                                                 "disk limit in Docker Desktop → Settings → Resources.");
}

TEST_F(DevClean, NodeModulesGoToTheTrashWholeWithOneLogEntry)
{
    const fs::path modules = home.path() / "Desktop/site/node_modules";
    allocate(modules / "react/index.js", 60 * MiB);
    writeFile(modules / "react/package.json", "{\"name\":\"react\"}");
    auto dev = make(tools / "none");
    runTask(dev->scan());
    ASSERT_EQ(dev->nodeModules().size(), 1u);
    const NodeModulesFinding finding = dev->nodeModules()[0];
    runTask(dev->deleteNodeModules(finding));

    EXPECT_FALSE(fs::exists(modules));
    EXPECT_EQ(readFile(home.trash() / "files/node_modules/react/package.json"), "{\"name\":\"react\"}");
    EXPECT_EQ(dev->result(finding.id())->message, "Moved to Trash — empty the Trash to reclaim 62.9 MB.");
    EXPECT_TRUE(dev->nodeModules().empty());
    ASSERT_EQ(history.entries().size(), 1u);
    const CleanupHistoryEntry entry = history.entries()[0];
    EXPECT_EQ(entry.kind, CleanupHistoryEntry::Kind::SmartCleanup);
    EXPECT_EQ(entry.summary, "Deleted node_modules from site");
    EXPECT_EQ(entry.bytesReclaimed, finding.bytes);
    ASSERT_EQ(entry.items.size(), 1u);
    EXPECT_FALSE(entry.items[0].trashedPath.has_value()); // dependencies are reinstalled, not restored

    // A folder that is gone by the time of the click stays listed with words.
    allocate(home.path() / "code/gone/node_modules/x/blob", 60 * MiB);
    runTask(dev->scan());
    const NodeModulesFinding gone = dev->nodeModules().at(0);
    fs::remove_all(gone.url);
    runTask(dev->deleteNodeModules(gone));
    EXPECT_FALSE(dev->result(gone.id())->success);
    EXPECT_EQ(dev->result(gone.id())->message, "Couldn't delete node_modules — check folder permissions.");
    EXPECT_EQ(dev->nodeModules().size(), 1u);

    // For good when the setting says so.
    defaults.set("TessolySettings.deleteImmediately", true);
    allocate(home.path() / "code/gone/node_modules/x/blob", 60 * MiB);
    runTask(dev->scan());
    runTask(dev->deleteNodeModules(dev->nodeModules().at(0)));
    EXPECT_EQ(dev->result(gone.id())->message, "Deleted — run npm install in gone if you return to it.");
    EXPECT_FALSE(fs::exists(home.trash() / "files/node_modules.2"));
    EXPECT_FALSE(fs::exists(gone.url));
}
