#include "TestSupport.h"
#include "analysis/DiskScanner.h"
#include "cleaning/HiddenSpaceCard.h"
#include "cleaning/MaintenanceService.h"
#include "platform/linux/FreedesktopTrash.h"
#include "platform/linux/LinuxPlatform.h"

#include <QTest>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

// Free space that moves by a fixed step at each reading.
class SteppingVolumes : public platform::VolumeInfo {
public:
    mutable qint64 free = 1'000'000;
    qint64 step = 0;
    qint64 available = 500;
    qint64 important = 500;
    std::optional<platform::VolumeAttributes> attributesOfFileSystem(const fs::path &) const override
    {
        const qint64 now = free;
        free += step;
        return platform::VolumeAttributes{10'000'000, now, available, important};
    }
};

const char *kListing = "Snapshots for disk /:\n"
                       "com.apple.TimeMachine.2026-11-15-203724.local\n"
                       "  com.apple.TimeMachine.2026-11-16-010203.local  \n"
                       "\n"
                       "com.apple.TimeMachine.2026-11-17-garbled.local\n";

struct Snapshots : ::testing::Test {
    TempHome home;
    SteppingVolumes volumes;
    platform::QtProcessRunner processes;

    // A stand-in for the snapshot tool: prints the listing, and records each call's arguments.
    fs::path fakeTool(const std::string &listing)
    {
        const fs::path tool = home.path() / "fake-tmutil";
        writeFile(home.path() / "listing.txt", listing);
        writeFile(tool, "#!/bin/sh\nprintf '%s\\n' \"$*\" >> '" + (home.path() / "calls.txt").native() + "'\n"
                        "[ \"$1\" = listlocalsnapshots ] && cat '" + (home.path() / "listing.txt").native() + "'\nexit 3\n");
        fs::permissions(tool, fs::perms::owner_all);
        return tool;
    }
};

} // namespace

TEST(SnapshotListing, ParsesStampsInOrderAndKeepsUnreadableOnes)
{
    const auto snapshots = MaintenanceService::parseListing(kListing);
    ASSERT_EQ(snapshots.size(), 3u);
    EXPECT_EQ(snapshots[0].id, "2026-11-15-203724");
    EXPECT_EQ(snapshots[0].label, "2026-11-15-203724");
    ASSERT_TRUE(snapshots[0].createdAt.has_value());
    EXPECT_EQ(snapshots[0].createdAt->toUTC().toString(Qt::ISODate), "2026-11-15T20:37:24Z");
    EXPECT_EQ(snapshots[1].id, "2026-11-16-010203");
    EXPECT_EQ(snapshots[2].id, "2026-11-17-garbled");
    EXPECT_FALSE(snapshots[2].createdAt.has_value());
    EXPECT_TRUE(MaintenanceService::parseListing("Snapshots for disk /:\nnothing here\n").empty());
    EXPECT_TRUE(MaintenanceService::parseListing("").empty());
}

TEST_F(Snapshots, ListsAndThinsThroughTheRealChildProcessPath)
{
    MaintenanceService service(home.path(), volumes, processes, fakeTool(kListing));
    runTask(service.refreshSnapshots());
    EXPECT_EQ(service.snapshotCount(), 3);

    volumes.step = 4096; // free space grows while thinning
    runTask(service.reclaim(MaintenanceService::kDefaultPurgeBytes));
    EXPECT_EQ(service.lastReclaimedBytes(), 4096);
    EXPECT_FALSE(service.isReclaiming());
    EXPECT_EQ(readFile(home.path() / "calls.txt"),
              "listlocalsnapshots /\nthinLocalSnapshots / 53687091200 4\nlistlocalsnapshots /\n");

    volumes.step = -10'000; // and falls
    runTask(service.reclaim(5368709120));
    EXPECT_EQ(service.lastReclaimedBytes(), 0);
}

TEST_F(Snapshots, NoToolMeansNoSnapshotsAndNothingFreed)
{
    MaintenanceService service(home.path(), volumes, processes, std::nullopt);
    volumes.step = 4096;
    runTask(service.reclaim(MaintenanceService::kDefaultPurgeBytes));
    EXPECT_EQ(service.snapshotCount(), 0);
    EXPECT_EQ(service.lastReclaimedBytes(), 0);

    MaintenanceService missing(home.path(), volumes, processes, home.path() / "no-such-tool");
    runTask(missing.refreshSnapshots());
    EXPECT_EQ(missing.snapshotCount(), 0);
}

TEST_F(Snapshots, PurgeableNeverBelowZeroAndTheCardsThreshold)
{
    MaintenanceService service(home.path(), volumes, processes, fakeTool("Snapshots for disk /:\n"));
    volumes.important = 100; // below the plain figure
    EXPECT_EQ(service.purgeableBytes(home.path()), 0);

    platform::FreedesktopTrash trash(home.trash(), ::getuid());
    DiskScanner scanner(home.path(), volumes, trash);
    HiddenSpaceCard card(service, scanner);
    volumes.available = 0;
    // appear() lists the snapshots in the background: wait for each listing to end.
    const auto appear = [&] {
        card.appear();
        EXPECT_TRUE(QTest::qWaitFor([&] { return !service.isLoadingSnapshots(); }));
    };
    volumes.important = HiddenSpaceCard::kShowThreshold - 1;
    appear();
    EXPECT_FALSE(card.isShown());
    volumes.important = HiddenSpaceCard::kShowThreshold;
    appear();
    EXPECT_TRUE(card.isShown());
    EXPECT_EQ(card.detail(), "macOS calls this space \"available\" but it's still occupied by evictable system data.");
}
