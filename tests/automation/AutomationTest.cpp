// The guardrail and the scheduled cleanup on a real temporary home, with a
// scripted free-space figure, an injected clock and a snapshot tool that is
// a real child process recording what it was asked.
#include "TestSupport.h"
#include "automation/AutoCleanupScheduler.h"
#include "automation/AutomationNotices.h"
#include "automation/StorageAutopilot.h"
#include "cleaning/CleanupHistoryStore.h"
#include "core/SettingsStore.h"
#include "platform/Platform.h"
#include "platform/linux/FreedesktopTrash.h"
#include "platform/linux/JsonDefaultsStore.h"
#include "platform/linux/LinuxPlatform.h"

#include <gtest/gtest.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

constexpr qint64 GiB = 1073741824;

class ScriptedVolumes : public platform::VolumeInfo {
public:
    qint64 free = 100 * GiB;
    std::optional<platform::VolumeAttributes> attributesOfFileSystem(const fs::path &) const override
    {
        return platform::VolumeAttributes{500 * GiB, free, free, free};
    }
};

struct RecordingNotices : AutomationNotices {
    QStringList said;
    void notifyAutopilotRan(qint64 freed, qint64 freeNow, int minFreeGB) override
    {
        said << QStringLiteral("ran %1 %2 %3").arg(freed).arg(freeNow).arg(minFreeGB);
    }
    void notifyAutopilotNudge(qint64 freeNow, int minFreeGB) override { said << QStringLiteral("nudge %1 %2").arg(freeNow).arg(minFreeGB); }
    void notifyCleanupDone(qint64 freed) override { said << QStringLiteral("done %1").arg(freed); }
};

struct Automation : ::testing::Test {
    TempHome home;
    platform::Platform platform;
    ScriptedVolumes *volumes = nullptr;
    std::unique_ptr<CleanupHistoryStore> history;
    std::unique_ptr<SettingsStore> settings;
    RecordingNotices notices;
    QDateTime now = QDateTime(QDate(2026, 11, 23), QTime(12, 0), Qt::UTC);
    fs::path thinCalls = home.path() / "thin-calls";

    Automation()
    {
        platform.defaults = std::make_unique<platform::JsonDefaultsStore>(home.defaultsFile());
        platform.trash = std::make_unique<platform::FreedesktopTrash>(home.trash(), ::getuid());
        auto scripted = std::make_unique<ScriptedVolumes>();
        volumes = scripted.get();
        platform.volumes = std::move(scripted);
        platform.processes = std::make_unique<platform::QtProcessRunner>();
        const fs::path tool = home.path() / "snapshot-tool";
        writeFile(tool, "#!/bin/sh\n[ \"$1\" = thinLocalSnapshots ] && echo \"$3\" >> '" + thinCalls.native() + "'\nexit 0\n");
        fs::permissions(tool, fs::perms::owner_all);
        platform.snapshotTool = tool;
        history = std::make_unique<CleanupHistoryStore>(home.historyFile(), *platform.trash);
        settings = std::make_unique<SettingsStore>(*platform.defaults);
    }
    std::unique_ptr<StorageAutopilot> autopilot()
    {
        return std::make_unique<StorageAutopilot>(home.path(), platform, *settings, *history, notices, [this] { return now; });
    }
    std::unique_ptr<AutoCleanupScheduler> scheduler()
    {
        return std::make_unique<AutoCleanupScheduler>(home.path(), platform, *settings, *history, notices, [this] { return now; });
    }
    std::string thinRequests() const { return fs::exists(thinCalls) ? readFile(thinCalls) : std::string(); }
};

} // namespace

TEST_F(Automation, TheGuardrailRunsOnlyBelowItsLimitAndAfterItsCooldown)
{
    settings->setAutopilotEnabled(true);
    settings->setAutopilotMinFreeGB(20);
    volumes->free = 20 * GiB; // exactly the limit: no run
    auto pilot = autopilot();
    runTask(pilot->check());
    EXPECT_FALSE(pilot->lastRunAt().has_value());
    EXPECT_EQ(pilot->statusLine(), "Monitoring — 21.47 GB free, guardrail 20 GB");

    // Below the limit: a safe cache is deleted outright, and the shortfall (1 GiB) asks for 5 GiB of thinning.
    allocate(home.path() / ".npm/_cacache/blob", 1 << 20);
    volumes->free = 19 * GiB;
    runTask(pilot->check());
    ASSERT_TRUE(pilot->lastRunAt().has_value());
    EXPECT_EQ(*pilot->lastRunAt(), now);
    EXPECT_FALSE(fs::exists(home.path() / ".npm/_cacache"));
    EXPECT_TRUE(!fs::exists(home.trash() / "files") || fs::is_empty(home.trash() / "files")) << "the guardrail went through the Trash";
    EXPECT_EQ(thinRequests(), "5368709120\n");
    ASSERT_EQ(history->entries().size(), 1u);
    EXPECT_EQ(history->entries()[0].summary, "Autopilot profile cleanup");
    EXPECT_EQ(pilot->lastFreedBytes(), 1 << 20);
    EXPECT_EQ(notices.said, QStringList{QStringLiteral("ran %1 %2 20").arg(1 << 20).arg(19 * GiB)});

    // The cooldown holds across a restart: 5 h 59 min later nothing, 6 h later a run.
    auto restarted = autopilot();
    ASSERT_TRUE(restarted->lastRunAt().has_value());
    now = now.addSecs(6 * 3600 - 60);
    runTask(restarted->check());
    EXPECT_EQ(restarted->lastRunAt(), pilot->lastRunAt());
    EXPECT_TRUE(restarted->statusLine().startsWith("Below guardrail (")) << restarted->statusLine().toStdString();
    now = now.addSecs(60);
    volumes->free = 10 * GiB; // shortfall 10 GiB: asked for the shortfall
    runTask(restarted->check());
    EXPECT_EQ(*restarted->lastRunAt(), now);
    EXPECT_EQ(thinRequests(), "5368709120\n10737418240\n");
    EXPECT_EQ(notices.said.last(), QStringLiteral("nudge %1 20").arg(10 * GiB)) << "nothing freed, still below";
}

TEST_F(Automation, NoNudgeWhenSpaceCameBackAndALimitOfZeroNeverRuns)
{
    settings->setAutopilotEnabled(true);
    settings->setAutopilotMinFreeGB(0);
    volumes->free = 0;
    auto pilot = autopilot();
    runTask(pilot->check());
    EXPECT_FALSE(pilot->lastRunAt().has_value());

    // A manual run that frees nothing while free space is above the limit says nothing.
    settings->setAutopilotMinFreeGB(20);
    volumes->free = 30 * GiB;
    runTask(pilot->runGuardrail());
    EXPECT_TRUE(pilot->lastRunAt().has_value());
    EXPECT_TRUE(notices.said.isEmpty());
    EXPECT_EQ(thinRequests(), "");

    // Off: the free figure is still read.
    settings->setAutopilotEnabled(false);
    volumes->free = 7 * GiB;
    runTask(pilot->check());
    EXPECT_EQ(pilot->currentFreeBytes(), 7 * GiB);
    EXPECT_EQ(pilot->statusLine(), "Off");
}

TEST_F(Automation, TheScheduleRunsWeeklyAndRecordsEvenANothingRun)
{
    settings->setAutoCleanupEnabled(true);
    settings->setAutoCleanupFrequency("weekly");
    settings->setAutoCleanupProfile("webDeveloper");
    auto schedule = scheduler();
    runTask(schedule->check()); // never ran: runs at once, frees nothing, still recorded
    ASSERT_TRUE(schedule->lastRunAt().has_value());
    EXPECT_EQ(schedule->lastFreedBytes(), 0);
    EXPECT_TRUE(notices.said.isEmpty());

    allocate(home.path() / ".npm/_cacache/blob", 1 << 20);
    const QDateTime first = *schedule->lastRunAt();
    now = now.addSecs(7 * 86400 - 60);
    runTask(schedule->check());
    EXPECT_EQ(*schedule->lastRunAt(), first);
    now = now.addSecs(60);
    runTask(schedule->check());
    EXPECT_EQ(*schedule->lastRunAt(), now);
    EXPECT_EQ(schedule->lastFreedBytes(), 1 << 20);
    EXPECT_EQ(notices.said, QStringList{QStringLiteral("done %1").arg(1 << 20)});
    EXPECT_TRUE(fs::exists(home.trash() / "files/_cacache")) << "the scheduled cleanup follows deleteImmediately (off)";

    // An unknown profile: no run, and the last run stays.
    settings->setAutoCleanupProfile("noSuchProfile");
    now = now.addSecs(30 * 86400);
    runTask(schedule->check());
    EXPECT_FALSE(schedule->isRunning());
    EXPECT_EQ(*schedule->lastRunAt(), now.addSecs(-30 * 86400));
}
