// System data on a real temporary home: what each X-Ray slice measures on
// Linux, the overlaps taken out, links measuring nothing, the clean action
// through the real Trash; and local snapshots listed and thinned through a
// stand-in tool, with the hidden-space card's threshold.
#include "../moves/MovesSupport.h"
#include "../recommendations/ScanSupport.h"
#include "analysis/DiskScanner.h"
#include "cleaning/CleanupService.h"
#include "cleaning/HiddenSpaceCard.h"
#include "cleaning/MaintenanceService.h"
#include "cleaning/SystemDataXRay.h"
#include "history/CleanupHistoryStore.h"
#include "platform/Platform.h"
#include "platform/linux/FreedesktopTrash.h"
#include "platform/linux/LinuxPlatform.h"

#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

constexpr qint64 MiB = 1 << 20;

const XRaySlice *sliceOf(const std::vector<XRaySlice> &slices, const char *id)
{
    const auto it = std::find_if(slices.begin(), slices.end(), [id](const XRaySlice &s) { return s.id == QLatin1String(id); });
    return it == slices.end() ? nullptr : &*it;
}

struct XRay : ::testing::Test {
    TempHome home;
    std::unique_ptr<platform::Platform> platform = platform::makeLinuxPlatform();
    RecordingRevealer *revealer = nullptr;
    CleanupHistoryStore history{home.historyFile(), *platform->trash};
    CleanupService cleanup{home.path(), *platform->trash, history};
    MaintenanceService maintenance{home.path(), *platform->volumes, *platform->processes, std::nullopt};
    XRay()
    {
        auto recording = std::make_unique<RecordingRevealer>();
        revealer = recording.get();
        platform->revealer = std::move(recording);
    }
};

const char *kListing = "Snapshots for disk /:\n"
                       "com.apple.TimeMachine.2026-11-15-203724.local\n"
                       "  com.apple.TimeMachine.2026-11-16-010203.local  \n"
                       "\n"
                       "com.apple.TimeMachine.2026-11-17-garbled.local\n";

struct Snapshots : ::testing::Test {
    TempHome home;
    ScriptedVolumes volumes;
    platform::QtProcessRunner processes;
};

} // namespace

TEST(XRaySlices, OverlapsAreTakenOutButNeverBelowZero)
{
    XRayMeasurements measured;
    measured.bytes = {{"xray.appsupport", 5 * MiB}, {"xray.iosbackups", 7 * MiB}, {"xray.containers", 9 * MiB},
                      {"xray.docker", 4 * MiB}, {"xray.userlogs", MiB}, {"xray.diagreports", 2 * MiB}};
    measured.nested = {{"xray.appsupport", 7 * MiB}, {"xray.containers", 4 * MiB}};
    const std::vector<XRaySlice> slices = SystemDataXRay::buildSlices(measured, 0, 0, "/home/u");
    EXPECT_EQ(sliceOf(slices, "xray.appsupport"), nullptr) << "an outer slice below 0 must be left out";
    ASSERT_NE(sliceOf(slices, "xray.containers"), nullptr);
    EXPECT_EQ(sliceOf(slices, "xray.containers")->bytes, 5 * MiB);
    ASSERT_NE(sliceOf(slices, "xray.logs"), nullptr);
    EXPECT_EQ(sliceOf(slices, "xray.logs")->bytes, MiB); // only what its clean clears
    EXPECT_EQ(sliceOf(slices, "xray.logs")->targets.size(), 1u);
    EXPECT_EQ(sliceOf(slices, "xray.purgeable"), nullptr);
    for (std::size_t i = 1; i < slices.size(); ++i)
        EXPECT_GE(slices[i - 1].bytes, slices[i].bytes);

    // Purgeable space shows with snapshots even at 0 bytes.
    const auto withSnapshots = SystemDataXRay::buildSlices({}, 0, 1, "/home/u");
    ASSERT_EQ(withSnapshots.size(), 1u);
    EXPECT_EQ(withSnapshots[0].id, "xray.purgeable");
}

TEST_F(XRay, LinuxPlacesAreMeasuredAndTheTrashComesOutOfAppData)
{
    allocate(home.cacheHome() / "browser/blob", 3 * MiB);
    allocate(home.dataHome() / "game/level.pak", 6 * MiB);
    allocate(home.trash() / "files/old.iso", 2 * MiB);
    allocate(home.path() / ".local/state/app/logs/today.txt", MiB);
    allocate(home.cacheHome() / "browser/debug.log", MiB); // a log inside the caches: counted once, as a log
    allocate(home.path() / ".local/state/zsh/history", MiB); // state, not a log
    allocate(home.path() / ".local/state/syncthing/key.pem", MiB);
    allocate(home.path() / ".var/app/org.example.App/data", 4 * MiB);
    allocate(home.path() / ".docker/desktop/vms/0/data/Docker.raw", MiB); // not inside .var/app: no subtraction
    allocate(home.path() / ".thunderbird/profile/Inbox", 2 * MiB);

    const XRayMeasurements measured = SystemDataXRay::measure(home.path());
    EXPECT_EQ(measured.bytes.value("xray.usercaches") - measured.nested.value("xray.usercaches"), 3 * MiB);
    // Trashes on other mounted volumes count too, and other tests may mount some meanwhile.
    EXPECT_GE(measured.bytes.value("xray.trash"), 2 * MiB);
    EXPECT_EQ(measured.bytes.value("xray.userlogs"), 2 * MiB);
    EXPECT_EQ(measured.nested.value("xray.appsupport"), 2 * MiB);
    EXPECT_EQ(measured.nested.value("xray.containers"), 0);

    SystemDataXRay xray(*platform, cleanup, maintenance);
    runTask(xray.scan());
    ASSERT_TRUE(xray.hasScanned());
    const auto &slices = xray.slices();
    ASSERT_NE(sliceOf(slices, "xray.appsupport"), nullptr);
    EXPECT_GE(sliceOf(slices, "xray.appsupport")->bytes, 6 * MiB);
    EXPECT_LT(sliceOf(slices, "xray.appsupport")->bytes, 8 * MiB) << "the Trash was counted twice";
    EXPECT_EQ(sliceOf(slices, "xray.containers")->bytes, 4 * MiB);
    EXPECT_EQ(sliceOf(slices, "xray.docker")->revealURL, home.path() / ".docker/desktop/vms/0/data");
    EXPECT_EQ(sliceOf(slices, "xray.mail")->bytes, 2 * MiB);
    EXPECT_EQ(sliceOf(slices, "xray.iosbackups"), nullptr);
    EXPECT_EQ(sliceOf(slices, "xray.developer"), nullptr);

    runTask(xray.perform(*sliceOf(slices, "xray.trash")));
    ASSERT_EQ(revealer->revealed.size(), 1u);
    EXPECT_EQ(revealer->revealed[0], home.trash());
    EXPECT_FALSE(xray.result("xray.trash").has_value());
}

TEST_F(XRay, AFolderThatIsALinkMeasuresNothing)
{
    allocate(home.path() / "elsewhere/cache/blob", 5 * MiB);
    fs::create_symlink(home.path() / "elsewhere/cache", home.cacheHome());
    EXPECT_EQ(SystemDataXRay::sizeOf("Library/Caches", home.path()), 0);
    SystemDataXRay xray(*platform, cleanup, maintenance);
    runTask(xray.scan());
    EXPECT_EQ(sliceOf(xray.slices(), "xray.usercaches"), nullptr);
}

TEST_F(XRay, CleaningRunsOnceAndTheSliceKeepsItsPlace)
{
    allocate(home.cacheHome() / "a/blob", 2 * MiB);
    allocate(home.cacheHome() / "b/blob", MiB);
    allocate(home.dataHome() / "big/data", 40 * MiB);
    SystemDataXRay xray(*platform, cleanup, maintenance);
    runTask(xray.scan());
    const auto before = xray.slices();
    const auto place = std::find_if(before.begin(), before.end(), [](const XRaySlice &s) { return s.id == u"xray.usercaches"; });
    ASSERT_NE(place, before.end());

    // Two clicks on "Clean": the second finds the first still working and returns.
    QCoro::Task<void> first = xray.perform(*place);
    EXPECT_TRUE(xray.workingSliceIds().contains("xray.usercaches"));
    runTask(xray.perform(*place));
    runTask(std::move(first));
    EXPECT_TRUE(xray.workingSliceIds().isEmpty());
    ASSERT_EQ(history.entries().size(), 1u);
    EXPECT_EQ(history.entries()[0].items.size(), 2u);
    const auto result = xray.result("xray.usercaches");
    ASSERT_TRUE(result.has_value());
    EXPECT_TRUE(result->success);
    EXPECT_FALSE(fs::exists(home.cacheHome() / "a"));

    // Same order, the cleaned slice in place at 0.
    ASSERT_EQ(xray.slices().size(), before.size());
    for (std::size_t i = 0; i < before.size(); ++i)
        EXPECT_EQ(xray.slices()[i].id, before[i].id);
    EXPECT_EQ(xray.slices()[std::size_t(place - before.begin())].bytes, 0);

    // Again: nothing left.
    runTask(xray.perform(xray.slices()[std::size_t(place - before.begin())]));
    EXPECT_NE(xray.result("xray.usercaches")->message, result->message);
    EXPECT_EQ(history.entries().size(), 1u);
}

TEST(SnapshotListing, ParsesStampsInOrderAndKeepsUnreadableOnes)
{
    const auto snapshots = MaintenanceService::parseListing(kListing);
    ASSERT_EQ(snapshots.size(), 3u);
    EXPECT_EQ(snapshots[0].id, "2026-11-15-203724");
    ASSERT_TRUE(snapshots[0].createdAt.has_value());
    EXPECT_EQ(snapshots[0].createdAt->toUTC().toString(Qt::ISODate), "2026-11-15T20:37:24Z");
    EXPECT_EQ(snapshots[1].id, "2026-11-16-010203");
    EXPECT_EQ(snapshots[2].id, "2026-11-17-garbled");
    EXPECT_FALSE(snapshots[2].createdAt.has_value());
    EXPECT_TRUE(MaintenanceService::parseListing("Snapshots for disk /:\nnothing here\n").empty());
    EXPECT_TRUE(MaintenanceService::parseListing("").empty());
}

TEST_F(Snapshots, ListsAndThinsThroughTheRealChildProcessPathAndNothingWithoutATool)
{
    MaintenanceService service(home.path(), volumes, processes, fakeSnapshotTool(home.path(), 3));
    EXPECT_EQ(runTask(service.listSnapshots()).size(), 3u);

    volumes.step = 4096; // free space grows while thinning
    const MaintenanceService::ThinOutcome thinned = runTask(service.reclaim(MaintenanceService::kDefaultPurgeBytes));
    EXPECT_EQ(thinned.reclaimedBytes, 4096);
    EXPECT_EQ(thinned.snapshotsLeft.size(), 3u);
    EXPECT_EQ(readFile(home.path() / "calls.txt"),
              "listlocalsnapshots /\nthinLocalSnapshots / 53687091200 4\nlistlocalsnapshots /\n");

    volumes.step = -10'000; // and falls
    EXPECT_EQ(runTask(service.reclaim(5368709120)).reclaimedBytes, 0);

    // A tool that isn't there lists nothing; without a tool nothing is freed.
    MaintenanceService missing(home.path(), volumes, processes, home.path() / "no-such-tool");
    EXPECT_TRUE(runTask(missing.listSnapshots()).empty());
    MaintenanceService none(home.path(), volumes, processes, std::nullopt);
    volumes.step = 4096;
    const MaintenanceService::ThinOutcome nothing = runTask(none.reclaim(MaintenanceService::kDefaultPurgeBytes));
    EXPECT_TRUE(nothing.snapshotsLeft.empty());
    EXPECT_EQ(nothing.reclaimedBytes, 0);
}

TEST_F(Snapshots, PurgeableNeverBelowZeroAndTheCardsThreshold)
{
    MaintenanceService service(home.path(), volumes, processes, fakeSnapshotTool(home.path(), 0));
    volumes.important = 100; // below the plain figure
    EXPECT_EQ(service.purgeableBytes(home.path()), 0);

    platform::FreedesktopTrash trash(home.trash(), ::getuid());
    DiskScanner scanner(home.path(), volumes, trash);
    HiddenSpaceCard card(service, scanner);
    volumes.available = 0;
    // appear() lists the snapshots in the background: wait for each listing to end.
    const auto appear = [&] {
        QSignalSpy listed(&card, &HiddenSpaceCard::changed);
        card.appear();
        EXPECT_TRUE(QTest::qWaitFor([&] { return listed.count() >= 2; })); // the figure, then the listing
    };
    volumes.important = HiddenSpaceCard::kShowThreshold - 1;
    appear();
    EXPECT_FALSE(card.isShown());
    volumes.important = HiddenSpaceCard::kShowThreshold;
    appear();
    EXPECT_TRUE(card.isShown());
}
