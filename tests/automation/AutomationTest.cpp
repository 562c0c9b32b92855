// The guardrail and the scheduled cleanup on a real temporary home, with a
// scripted free-space figure, an injected clock and a snapshot tool that is
// a real child process recording what it was asked.
#include "TestSupport.h"
#include "automation/AutoCleanupScheduler.h"
#include "automation/NotificationManager.h"
#include "automation/StatusMenu.h"
#include "automation/StorageAutopilot.h"
#include "cleaning/CleanupService.h"
#include "cleaning/MaintenanceService.h"
#include "history/CleanupHistoryStore.h"
#include "core/SettingsStore.h"
#include "platform/Platform.h"
#include "platform/linux/FreedesktopNotifier.h"
#include "platform/linux/FreedesktopTrash.h"
#include "platform/linux/JsonDefaultsStore.h"
#include "platform/linux/LinuxPlatform.h"

#include <QDBusConnection>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

constexpr qint64 GiB = 1073741824;

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
    std::unique_ptr<CleanupService> cleanup;
    std::unique_ptr<MaintenanceService> maintenance;
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
        cleanup = std::make_unique<CleanupService>(home.path(), *platform.trash, *history);
        maintenance = std::make_unique<MaintenanceService>(home.path(), *platform.volumes, *platform.processes, tool);
    }
    std::unique_ptr<StorageAutopilot> autopilot()
    {
        return std::make_unique<StorageAutopilot>(platform, *settings, *cleanup, *maintenance, notices, [this] { return now; });
    }
    std::unique_ptr<AutoCleanupScheduler> scheduler()
    {
        return std::make_unique<AutoCleanupScheduler>(platform, *settings, *cleanup, notices, [this] { return now; });
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
    // Below the limit: a safe cache is deleted outright, and the shortfall (1 GiB) asks for 5 GiB of thinning.
    // A folder rated caution (the emulator's images) is never part of it.
    allocate(home.path() / ".npm/_cacache/blob", 1 << 20);
    allocate(home.path() / ".android/avd/Pixel.avd/userdata.img", 1 << 20);
    volumes->free = 19 * GiB;
    runTask(pilot->check());
    ASSERT_TRUE(pilot->lastRunAt().has_value());
    EXPECT_EQ(*pilot->lastRunAt(), now);
    EXPECT_FALSE(fs::exists(home.path() / ".npm/_cacache"));
    EXPECT_TRUE(fs::exists(home.path() / ".android/avd/Pixel.avd/userdata.img"));
    EXPECT_TRUE(!fs::exists(home.trash() / "files") || fs::is_empty(home.trash() / "files")) << "the guardrail went through the Trash";
    EXPECT_EQ(thinRequests(), "5368709120\n");
    EXPECT_EQ(history->entries().size(), 1u);
    EXPECT_EQ(pilot->lastFreedBytes(), 1 << 20);
    EXPECT_EQ(notices.said, QStringList{QStringLiteral("ran %1 %2 20").arg(1 << 20).arg(19 * GiB)});
    // The cooldown holds across a restart: 5 h 59 min later nothing, 6 h later a run.
    auto restarted = autopilot();
    ASSERT_TRUE(restarted->lastRunAt().has_value());
    now = now.addSecs(6 * 3600 - 60);
    runTask(restarted->check());
    EXPECT_EQ(restarted->lastRunAt(), pilot->lastRunAt());
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

namespace {

// A private bus with a real dbus-daemon, and the fake notification service on it once started.
struct PrivateBus {
    QProcess daemon;
    QProcess service;
    QString address;
    fs::path log;
    explicit PrivateBus(const fs::path &folder)
        : log(folder / "notifications.jsonl")
    {
        daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address=1"});
        daemon.waitForReadyRead(10000);
        address = QString::fromUtf8(daemon.readLine()).trimmed();
    }
    void startService()
    {
        service.start(FAKE_NOTIFICATIONS, {address, QString::fromStdString(log.native())});
        service.waitForReadyRead(10000); // it says "ready" once it owns the name
    }
    ~PrivateBus()
    {
        service.kill();
        service.waitForFinished();
        daemon.kill();
        daemon.waitForFinished();
    }
    [[nodiscard]] QList<QJsonObject> received() const
    {
        QList<QJsonObject> lines;
        for (const QByteArray &line : QByteArray::fromStdString(fs::exists(log) ? readFile(log) : "").split('\n'))
            if (!line.isEmpty())
                lines.append(QJsonDocument::fromJson(line).object());
        return lines;
    }
};

} // namespace

TEST(Notifications, TheServiceReceivesEachNoticeAndNudgesCoolDown)
{
    TempHome home;
    PrivateBus bus(home.path());
    ASSERT_FALSE(bus.address.isEmpty());
    platform::FreedesktopNotifier notifier(QDBusConnection::connectToBus(bus.address, "notifications-test"));
    QDateTime now(QDate(2026, 11, 23), QTime(9, 0), Qt::UTC);
    NotificationManager manager(notifier, [&now] { return now; });
    // Without a service: nothing can be posted, and no cooldown starts.
    runTask(manager.refreshAuthorization());
    EXPECT_FALSE(manager.authorizationGranted());
    manager.notifyAutopilotNudge(1, 20);

    bus.startService();
    runTask(manager.refreshAuthorization());
    ASSERT_TRUE(manager.authorizationGranted());
    manager.notifyCleanupDone(3'500'000'000);
    manager.notifyAutopilotRan(2'000'000'000, 25'000'000'000, 20);
    manager.notifyAutopilotNudge(12'000'000'000, 20);
    now = now.addSecs(5 * 3600); // 5 h later: no second nudge
    manager.notifyAutopilotNudge(12'000'000'000, 20);
    now = now.addSecs(3600); // 6 h after the first: a second one
    manager.notifyAutopilotNudge(11'000'000'000, 20);
    // The last one sent arrives last: everything before it is in by then.
    const auto lastArrived = [&] {
        const QList<QJsonObject> got = bus.received();
        return !got.isEmpty() && got.last()["body"].toString().contains("(11 GB free)");
    };
    for (int i = 0; i < 1000 && !lastArrived(); ++i)
        QTest::qWait(10);
    const QList<QJsonObject> got = bus.received();
    ASSERT_EQ(got.size(), 4);
    // Each notice with its figures.
    EXPECT_EQ(got[0]["title"].toString(), "Reclaimed 3.5 GB");
    EXPECT_TRUE(got[1]["body"].toString().contains("25 GB free"));
    EXPECT_TRUE(got[2]["title"].toString().contains("20 GB"));
    EXPECT_TRUE(got[2]["body"].toString().contains("(12 GB free)"));
    EXPECT_NE(got[2]["id"], got[3]["id"]);
}

TEST(StatusMenuRows, RowsFollowTheAutopilotAndTheOneGibPurgeableLine)
{
    using Action = StatusMenuRow::Action;
    constexpr qint64 GB = 1000000000, low = 20 * 1073741824LL - 1; // just below a 20 GB guardrail
    StatusFigures figures{low, 500 * GB, false, QStringLiteral("Monitoring"), 1073741823, 20};
    const auto actions = [&figures] {
        std::vector<Action> out;
        for (const StatusMenuRow &row : StatusMenu::rows(figures))
            out.push_back(row.action);
        return out;
    };
    EXPECT_EQ(actions(), (std::vector<Action>{Action::None, Action::None, Action::OpenApp, Action::None, Action::Quit}));
    const QString calm = StatusMenu::symbol(figures); // without the guardrail the icon never warns

    figures.autopilotEnabled = true;
    figures.purgeableBytes = 1073741824;
    EXPECT_EQ(actions(), (std::vector<Action>{Action::None, Action::None, Action::None, Action::None, Action::OpenApp,
                             Action::RunAutopilot, Action::ReclaimPurgeable, Action::None, Action::Quit}));
    EXPECT_TRUE(StatusMenu::rows(figures)[1].title.contains("Monitoring"));
    EXPECT_TRUE(StatusMenu::rows(figures)[2].title.startsWith("1.07 GB"));
    EXPECT_NE(StatusMenu::symbol(figures), calm);
    figures.freeBytes = low + 1;
    EXPECT_EQ(StatusMenu::symbol(figures), calm);
}
