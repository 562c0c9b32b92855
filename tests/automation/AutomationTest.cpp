// The guardrail and the scheduled cleanup on a real temporary home, with a
// scripted free-space figure, an injected clock and a snapshot tool that is
// a real child process recording what it was asked.
#include "TestSupport.h"
#include "automation/AutoCleanupScheduler.h"
#include "automation/AutomationNotices.h"
#include "automation/NotificationManager.h"
#include "automation/StatusMenu.h"
#include "automation/StorageAutopilot.h"
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

namespace {

// A private bus with a real dbus-daemon, and the fake notification service on it.
struct PrivateBus {
    QProcess daemon;
    QProcess service;
    QString address;
    fs::path log;
    explicit PrivateBus(const fs::path &folder, bool withService)
        : log(folder / "notifications.jsonl")
    {
        daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address=1"});
        daemon.waitForReadyRead(10000);
        address = QString::fromUtf8(daemon.readLine()).trimmed();
        if (withService) {
            service.start(FAKE_NOTIFICATIONS, {address, QString::fromStdString(log.native())});
            service.waitForReadyRead(10000);
        }
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
        if (!fs::exists(log))
            return lines;
        for (const QByteArray &line : QByteArray::fromStdString(readFile(log)).split('\n'))
            if (!line.isEmpty())
                lines.append(QJsonDocument::fromJson(line).object());
        return lines;
    }
};

void waitFor(const std::function<bool()> &done)
{
    for (int i = 0; i < 200 && !done(); ++i)
        QTest::qWait(10);
}

} // namespace

TEST(Notifications, TheServiceReceivesTheExactTextsAndNudgesCoolDown)
{
    TempHome home;
    PrivateBus bus(home.path(), true);
    ASSERT_FALSE(bus.address.isEmpty());
    platform::FreedesktopNotifier notifier(QDBusConnection::connectToBus(bus.address, "notifications-test"));
    QDateTime now(QDate(2026, 11, 23), QTime(9, 0), Qt::UTC);
    NotificationManager manager(notifier, [&now] { return now; });
    runTask(manager.refreshAuthorization());
    ASSERT_TRUE(manager.authorizationGranted());

    manager.notifyCleanupDone(3'500'000'000);
    manager.notifyAutopilotRan(2'000'000'000, 25'000'000'000, 20);
    manager.notifyAutopilotNudge(12'000'000'000, 20);
    now = now.addSecs(5 * 3600); // 5 h later: no second nudge
    manager.notifyAutopilotNudge(12'000'000'000, 20);
    now = now.addSecs(3600); // 6 h after the first: a second one
    manager.notifyAutopilotNudge(11'000'000'000, 20);
    waitFor([&] { return bus.received().size() >= 4; });
    QTest::qWait(100);
    const QList<QJsonObject> got = bus.received();
    ASSERT_EQ(got.size(), 4);
    // Each notice with its figures, under the app's name and desktop entry.
    EXPECT_EQ(got[0]["title"].toString(), "Reclaimed 3.5 GB");
    EXPECT_EQ(got[0]["app"].toString() + "/" + got[0]["entry"].toString(), "Tessoly/tessoly");
    EXPECT_TRUE(got[1]["body"].toString().endsWith("25 GB free now."));
    EXPECT_EQ(got[2]["title"].toString(), "Disk below your 20 GB guardrail");
    EXPECT_TRUE(got[3]["body"].toString().contains("(11 GB free)"));
    EXPECT_NE(got[2]["id"], got[3]["id"]);
}

TEST(Notifications, WithoutAServiceNothingIsPostedAndNoCooldownStarts)
{
    TempHome home;
    PrivateBus bus(home.path(), false);
    platform::FreedesktopNotifier notifier(QDBusConnection::connectToBus(bus.address, "no-service-test"));
    NotificationManager manager(notifier);
    runTask(manager.refreshAuthorization());
    EXPECT_FALSE(manager.authorizationGranted());
    manager.notifyAutopilotNudge(1, 20);
    manager.notifyCleanupDone(1);
    QTest::qWait(100);
    EXPECT_TRUE(bus.received().isEmpty());
}

TEST(StatusMenuRows, RowsFollowTheAutopilotAndTheOneGibPurgeableLine)
{
    constexpr qint64 GB = 1000000000;
    StatusFigures figures{120 * GB, 500 * GB, false, QStringLiteral("Off"), 1073741823, 20};
    const auto titles = [&figures] {
        QStringList out;
        for (const StatusMenuRow &row : StatusMenu::rows(figures))
            out << (row.separator ? QStringLiteral("—") : row.title);
        return out;
    };
    EXPECT_EQ(titles(), (QStringList{"120 GB free of 500 GB", "—", "Open Tessoly", "—", "Quit Tessoly"}));
    EXPECT_EQ(StatusMenu::symbol(figures), "internaldrive") << "without the guardrail the icon never warns";

    figures.autopilotEnabled = true;
    figures.autopilotStatusLine = QStringLiteral("Monitoring — 120 GB free, guardrail 20 GB");
    figures.purgeableBytes = 1073741824;
    EXPECT_EQ(titles(), (QStringList{"120 GB free of 500 GB", "Autopilot: Monitoring — 120 GB free, guardrail 20 GB",
                                   "1.07 GB purgeable", "—", "Open Tessoly", "Run Autopilot Now",
                                   "Reclaim Purgeable Space", "—", "Quit Tessoly"}));
    figures.freeBytes = 20 * 1073741824LL - 1;
    EXPECT_EQ(StatusMenu::symbol(figures), "externaldrive.fill.trianglebadge.exclamationmark");
    EXPECT_EQ(StatusMenu::title(figures), " 21.47 GB");
}
