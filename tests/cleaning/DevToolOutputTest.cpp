// Reading what docker and the simulator tool print, from recorded outputs.
#include "cleaning/DevToolOutput.h"

#include <gtest/gtest.h>
#include <limits>

using namespace tessoly;
using namespace tessoly::devtools;

TEST(DevToolOutput, SizesAreDecimalAndAnythingElseIsZero)
{
    EXPECT_EQ(parseSize("1.2GB (50%)"), 1'200'000'000);
    EXPECT_EQ(parseSize("512kB"), 512'000);
    EXPECT_EQ(parseSize("0B (0%)"), 0);
    EXPECT_EQ(parseSize("  3.5 MB"), 0); // a blank before the unit is no unit
    EXPECT_EQ(parseSize("2TB"), 2'000'000'000'000);
    EXPECT_EQ(parseSize("N/A"), 0);
    EXPECT_EQ(parseSize("7PB"), 0);
    EXPECT_EQ(parseSize("99999999999TB"), std::numeric_limits<qint64>::max()); // clamped, never wrapped
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
    EXPECT_EQ(dockerStatusFromDiskUsage("Cannot connect to the Docker daemon at unix:///var/run/docker.sock. Is the docker daemon running?\n")
                  .state,
              DockerStatus::State::NotRunning);
    EXPECT_EQ(dockerStatusFromDiskUsage("permission denied ... Error response from daemon").state, DockerStatus::State::NotRunning);

    EXPECT_EQ(reclaimedByPrune("Deleted Images:\nuntagged: a\n\nTotal reclaimed space: 2.5GB\n"), 2'500'000'000);
    EXPECT_EQ(reclaimedByPrune("Total reclaimed space: 1GB\nTotal reclaimed space: 3kB\n"), 3'000); // the last one
    EXPECT_EQ(reclaimedByPrune("WARNING! This will remove ...\n"), 0);
}

TEST(DevToolOutput, SimulatorRuntimesAndDevices)
{
    EXPECT_EQ(runtimeDisplayName("com.apple.CoreSimulator.SimRuntime.iOS-17-2"), "iOS 17.2");
    EXPECT_EQ(runtimeDisplayName("com.apple.CoreSimulator.SimRuntime.watchOS-10-0"), "watchOS 10.0");
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
    EXPECT_EQ(runtimes[1].state, "Unknown");
    EXPECT_EQ(runtimes[2].id, "A1");
    EXPECT_EQ(runtimes[2].lastUsedAt->toUTC(), QDateTime(QDate(2026, 10, 1), QTime(8, 30), Qt::UTC));
    EXPECT_TRUE(parseRuntimes("xcrun: error: unable to find utility \"simctl\"").empty());

    EXPECT_EQ(countUnavailableDevices(R"({"devices": {"iOS 17.2": [{"isAvailable": true}, {"isAvailable": false}],
                                                    "iOS 15.0": [{"isAvailable": false}, {"name": "x"}]}})"),
              2);
    EXPECT_EQ(countUnavailableDevices("not json"), 0);
}
