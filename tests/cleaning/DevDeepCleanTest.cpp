// The developer deep clean: what docker and the simulator tool print, read
// from recorded outputs; the node_modules search on real project trees (its
// depth limit, size floor and what counts as a project's activity); and the
// clean itself through real child processes (fake docker and xcrun programs
// that answer or hang) with node_modules going to the real Trash.
#include "TestSupport.h"
#include "cleaning/DevDeepClean.h"
#include "cleaning/DevToolOutput.h"
#include "cleaning/NodeModulesSearch.h"
#include "history/CleanupHistoryStore.h"
#include "platform/FileWalker.h"
#include "platform/linux/FreedesktopTrash.h"
#include "platform/linux/JsonDefaultsStore.h"
#include "platform/linux/LinuxPlatform.h"

#include <QTest>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::devtools;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

constexpr qint64 MiB = 1 << 20;

// A program that answers from a script of shell cases on "$*".
fs::path fakeTool(const fs::path &folder, const std::string &name, const std::string &cases)
{
    writeExecutable(folder / name, "echo \"$*\" >> '" + (folder / (name + ".calls")).native() + "'\ncase \"$*\" in\n" + cases + "\nesac\n");
    return folder / name;
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

void touch(const fs::path &file, qint64 seconds)
{
    writeFile(file, "x");
    const struct timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ::utimensat(AT_FDCWD, file.c_str(), times, 0);
}

std::vector<std::string> projects(const std::vector<NodeModulesFinding> &findings)
{
    std::vector<std::string> names;
    for (const NodeModulesFinding &finding : findings)
        names.push_back(finding.projectName.toStdString());
    return names;
}

} // namespace

TEST(DevToolOutput, SizesAreDecimalAndAnythingElseIsZero)
{
    const std::pair<const char *, qint64> sizes[] = {
        {"1.2GB (50%)", 1'200'000'000}, {"512kB", 512'000}, {"0B (0%)", 0}, {"2TB", 2'000'000'000'000},
        {"  3.5 MB", 0}, // a blank before the unit is no unit
        {"N/A", 0}, {"7PB", 0},
        {"99999999999TB", std::numeric_limits<qint64>::max()}, // clamped, never wrapped
    };
    for (const auto &[text, bytes] : sizes)
        EXPECT_EQ(parseSize(text), bytes) << text;
}

TEST(DevToolOutput, DockerDiskUsageAndPrune)
{
    const QString df = "{\"Active\":\"2\",\"Reclaimable\":\"1.2GB (50%)\",\"Size\":\"2.4GB\",\"Type\":\"Images\"}\n"
                       "{\"Active\":\"0\",\"Reclaimable\":\"512kB\",\"Type\":\"Containers\"}\n"
                       "not json at all\n\n"
                       "{\"Reclaimable\":\"0B (0%)\",\"Type\":\"Local Volumes\"}\n"
                       "{\"Reclaimable\":\"300MB\",\"Type\":\"Build Cache\"}\n";
    EXPECT_EQ(dockerStatusFromDiskUsage(df), (DockerStatus{DockerStatus::State::Ready, 1'500'512'000}));
    const QString huge = "{\"Reclaimable\":\"9000000TB\"}\n";
    // A sum that would overflow stays at the top.
    EXPECT_EQ(dockerStatusFromDiskUsage(huge + huge).reclaimableBytes, std::numeric_limits<qint64>::max());
    EXPECT_EQ(dockerStatusFromDiskUsage(""), (DockerStatus{DockerStatus::State::NotRunning, 0}));
    EXPECT_EQ(dockerStatusFromDiskUsage("permission denied ... Error response from daemon").state, DockerStatus::State::NotRunning);

    EXPECT_EQ(reclaimedByPrune("Deleted Images:\nuntagged: a\n\nTotal reclaimed space: 2.5GB\n"), 2'500'000'000);
    EXPECT_EQ(reclaimedByPrune("Total reclaimed space: 1GB\nTotal reclaimed space: 3kB\n"), 3'000); // the last one
    EXPECT_EQ(reclaimedByPrune("WARNING! This will remove ...\n"), 0);
}

TEST(DevToolOutput, SimulatorRuntimesAndDevices)
{
    EXPECT_EQ(runtimeDisplayName("com.apple.CoreSimulator.SimRuntime.iOS-17-2"), "iOS 17.2");
    const QString list = R"({
      "A1": {"identifier": "A1", "runtimeIdentifier": "com.apple.CoreSimulator.SimRuntime.iOS-17-2",
             "sizeBytes": 7000000000, "lastUsedAt": "2026-10-01T08:30:00Z", "deletable": true, "state": "Ready"},
      "B2": {"identifier": "B2", "runtimeIdentifier": "com.apple.CoreSimulator.SimRuntime.iOS-16-4",
             "sizeBytes": 8000000000, "lastUsedAt": "yesterday", "deletable": false},
      "C3": {"identifier": "C3", "runtimeIdentifier": "com.apple.CoreSimulator.SimRuntime.tvOS-17-0", "sizeBytes": 0},
      "D4": {"runtimeIdentifier": "com.apple.CoreSimulator.SimRuntime.xrOS-1-0", "sizeBytes": 5000000000},
      "E5": {"identifier": "E5", "runtimeIdentifier": "com.apple.CoreSimulator.SimRuntime.iOS-99-0", "sizeBytes": 1e308},
      "F6": {"identifier": "F6", "runtimeIdentifier": "com.apple.CoreSimulator.SimRuntime.iOS-1-0", "sizeBytes": -5}
    })";
    const auto runtimes = parseRuntimes(list);
    ASSERT_EQ(runtimes.size(), 3u); // no size, no identifier, a negative size: dropped
    EXPECT_EQ(runtimes[0].bytes, std::numeric_limits<qint64>::max());
    EXPECT_EQ(runtimes[1].name, "iOS 16.4");
    EXPECT_FALSE(runtimes[1].deletable);
    EXPECT_FALSE(runtimes[1].lastUsedAt.has_value());
    EXPECT_EQ(runtimes[2].id, "A1");
    EXPECT_EQ(runtimes[2].lastUsedAt->toUTC(), QDateTime(QDate(2026, 10, 1), QTime(8, 30), Qt::UTC));
    EXPECT_TRUE(parseRuntimes("xcrun: error: unable to find utility \"simctl\"").empty());

    EXPECT_EQ(countUnavailableDevices(R"({"devices": {"iOS 17.2": [{"isAvailable": true}, {"isAvailable": false}],
                                                    "iOS 15.0": [{"isAvailable": false}, {"name": "x"}]}})"),
              2);
    EXPECT_EQ(countUnavailableDevices("not json"), 0);
}

TEST(NodeModulesSearch, DepthFloorLinksHiddenFoldersAndNesting)
{
    TempHome home;
    const fs::path &h = home.path();
    // Depth counts from the root: Projects/a/b/c/d/node_modules is at depth 5.
    fillExactly(h / "Projects/a/b/c/deep5/node_modules/pkg", 60 * MiB);
    fillExactly(h / "Projects/a/b/c/d/deep6/node_modules/pkg", 60 * MiB);
    // The floor: exactly 50 MiB stays out, one block more is in.
    fillExactly(h / "code/exact/node_modules/pkg", 50 * MiB);
    fillExactly(h / "code/above/node_modules/pkg", 50 * MiB + 4096);
    ASSERT_EQ(platform::walkTree(h / "code/exact/node_modules").allocatedBytes, 50 * MiB);
    // Nested node_modules are part of the outer one, never a find of their own.
    fillExactly(h / "work/app/node_modules/left-pad/node_modules/inner", 70 * MiB);
    // A symbolic link named node_modules, a hidden folder and a folder outside the roots.
    fillExactly(h / "elsewhere/store/node_modules", 80 * MiB);
    fs::create_directories(h / "dev/linked");
    fs::create_directory_symlink(h / "elsewhere/store/node_modules", h / "dev/linked/node_modules");
    fillExactly(h / "dev/.hidden-project/node_modules/pkg", 80 * MiB);

    const auto findings = NodeModulesSearch::find(h);
    EXPECT_EQ(projects(findings), (std::vector<std::string>{"app", "deep5", "above"}));
    ASSERT_EQ(findings.size(), 3u);
    EXPECT_EQ(findings[0].url, h / "work/app/node_modules");
    EXPECT_EQ(findings[0].bytes, 70 * MiB);
    EXPECT_EQ(findings[2].bytes, 50 * MiB + 4096);
    EXPECT_EQ(findings[0].id(), QString::fromStdString((h / "work/app/node_modules").native()));
}

TEST(NodeModulesSearch, ProjectActivityIsItsOwnVisibleFilesThreeLevelsDown)
{
    TempHome home;
    const fs::path project = home.path() / "Projects/site";
    fillExactly(project / "node_modules/pkg", 60 * MiB);
    EXPECT_FALSE(NodeModulesSearch::projectLastUsed(project)); // only node_modules: no activity
    touch(project / ".env", 1'800'000'000);                   // hidden: not activity
    EXPECT_FALSE(NodeModulesSearch::projectLastUsed(project));
    touch(project / "src/lib/deeper/too-deep.js", 1'790'000'000); // depth 4: not looked at
    touch(project / "package.json", 1'600'000'000);
    touch(project / "src/lib/util.js", 1'700'000'000); // depth 3: counts
    ASSERT_TRUE(NodeModulesSearch::projectLastUsed(project));
    EXPECT_EQ(NodeModulesSearch::projectLastUsed(project)->toSecsSinceEpoch(), 1'700'000'000);

    const auto findings = NodeModulesSearch::find(home.path());
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_EQ(findings[0].projectName, "site");
    EXPECT_EQ(findings[0].projectLastUsed->toSecsSinceEpoch(), 1'700'000'000);
}

TEST(NodeModulesSearch, RootsAreTheProjectFoldersThatExistWithDocumentsFromUserDirs)
{
    TempHome home;
    const fs::path &h = home.path();
    EXPECT_TRUE(NodeModulesSearch::roots(h).folders.empty());
    fs::create_directories(h / "Dokumente");
    fs::create_directories(h / "code");
    writeFile(h / "work", "a file, not a folder");
    writeFile(h / ".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n");
    EXPECT_EQ(NodeModulesSearch::roots(h).folders, (std::vector<fs::path>{h / "Dokumente", h / "code"}));
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

    // A daemon that hangs: killed at the time limit, the other jobs' results stand.
    allocate(home.path() / "Projects/api/node_modules/x/blob", 60 * MiB);
    const fs::path hung = fakeTool(tools, "docker-hung", "*) echo $$ > '" + (tools / "hung.pid").native() + "'; exec sleep 600 ;;");
    auto patient = make(hung, std::nullopt, std::chrono::milliseconds(1000));
    runTask(patient->scan());
    EXPECT_EQ(patient->docker().state, DockerStatus::State::NotResponding);
    EXPECT_EQ(patient->nodeModules().size(), 1u);
    const pid_t pid = std::stoi(readFile(tools / "hung.pid"));
    EXPECT_TRUE(QTest::qWaitFor([pid] { return ::kill(pid, 0) != 0; })) << "the hung tool was left running";
}

TEST_F(DevClean, AScanPublishesTheFindingsAndTheActionsSayWhatTheToolsDid)
{
    allocate(home.path() / "code/site/node_modules/react/index.js", 60 * MiB);
    writeFile(home.path() / "code/site/package.json", "{}");
    const fs::path docker = fakeTool(tools, "docker",
                                     "'system df --format {{json .}}') printf '%s\\n' "
                                     "'{\"Reclaimable\":\"1.2GB (50%)\",\"Type\":\"Images\"}' '{\"Reclaimable\":\"512kB\"}' ;;\n"
                                     "'system prune -af') echo 'Deleted build cache objects:'; echo 'abc' ;;");
    const fs::path xcrun = fakeTool(tools, "xcrun",
                                    "'simctl runtime list -j') cat <<'EOF'\n" + std::string(kRuntimes) + "\nEOF\n;;\n"
                                    "'simctl runtime delete A1') echo 'Unable to delete runtime: it is in use.' >&2 ;;\n"
                                    "'simctl list devices -j') echo '{\"devices\":{\"iOS 17.2\":[{\"isAvailable\":false}]}}' ;;\n"
                                    "'simctl delete unavailable') ;;");
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

    runTask(dev->pruneDocker());
    EXPECT_TRUE(dev->result("docker")->success);
    EXPECT_TRUE(dev->workingIds().isEmpty());

    runTask(dev->deleteRuntime(dev->runtimes().at(0)));
    EXPECT_FALSE(dev->result("A1")->success);
    EXPECT_TRUE(dev->result("A1")->message.contains("it is in use")) << dev->result("A1")->message.toStdString();
    runTask(dev->removeUnavailableDevices());
    EXPECT_TRUE(dev->result("sim.unavailable")->success);
    EXPECT_EQ(readFile(tools / "docker.calls"), "system df --format {{json .}}\nsystem prune -af\nsystem df --format {{json .}}\n");

    const fs::path pruning = fakeTool(tools, "docker2", "'system prune -af') printf 'x\\nTotal reclaimed space: 2.5GB\\n' ;;\n"
                                                        "*) echo '{\"Reclaimable\":\"0B\"}' ;;");
    auto second = make(pruning);
    runTask(second->pruneDocker());
    EXPECT_TRUE(second->result("docker")->message.contains("2.5 GB")) << second->result("docker")->message.toStdString();
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
    EXPECT_TRUE(dev->result(finding.id())->success);
    EXPECT_TRUE(dev->nodeModules().empty());
    ASSERT_EQ(history.entries().size(), 1u);
    const CleanupHistoryEntry entry = history.entries()[0];
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
    EXPECT_EQ(dev->nodeModules().size(), 1u);

    // For good when the setting says so.
    defaults.set("TessolySettings.deleteImmediately", true);
    allocate(home.path() / "code/gone/node_modules/x/blob", 60 * MiB);
    runTask(dev->scan());
    runTask(dev->deleteNodeModules(dev->nodeModules().at(0)));
    EXPECT_TRUE(dev->result(gone.id())->success);
    EXPECT_FALSE(fs::exists(home.trash() / "files/node_modules.2"));
    EXPECT_FALSE(fs::exists(gone.url));
}
