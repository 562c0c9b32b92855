// The one-button clean and a move card, end to end on real folders: what
// the flow touches and leaves, the words of each step, what it measures,
// and a move card applied to a real loop-mounted drive.
#include "../moves/MovesSupport.h"
#include "ScanSupport.h"
#include "core/ByteFormat.h"
#include "recommendations/EasyCleanFlow.h"

#include <gtest/gtest.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

constexpr qint64 GiB = 1'073'741'824;

fs::path fakeSnapshotTool(const fs::path &folder)
{
    writeFile(folder / "listing.txt", "Snapshots for disk /:\ncom.apple.TimeMachine.2026-11-15-203724.local\n"
                                      "com.apple.TimeMachine.2026-11-16-010203.local\n");
    const fs::path tool = folder / "fake-tmutil";
    writeFile(tool, "#!/bin/sh\necho \"$1\" >> '" + (folder / "calls.txt").native() + "'\n[ \"$1\" = listlocalsnapshots ] && cat '" +
                        (folder / "listing.txt").native() + "'\nexit 0\n");
    fs::permissions(tool, fs::perms::owner_all);
    return tool;
}

void recordSteps(EasyCleanFlow &flow, QObject &context, std::vector<QString> &steps)
{
    QObject::connect(&flow, &EasyCleanFlow::phaseChanged, &context, [&flow, &steps] {
        if (flow.phase() == EasyCleanFlow::Phase::Running)
            steps.push_back(flow.step());
    });
}

} // namespace

TEST(EasyClean, CleansOnlySafeCardsWithShortNamesAndEverythingComesBackFromHistory)
{
    TempHome scratch;
    ScanHome home(fakeSnapshotTool(scratch.path()));
    const fs::path &h = home.home.path();
    allocate(h / ".npm/_cacache/blob", GiB + (16 << 20));                              // safe
    allocate(h / ".cache/google-chrome/Default/Cache/data", GiB + (128 << 20));       // safe
    allocate(h / ".android/avd/Pixel.avd/snapshots/default_boot/ram.img", 2 * GiB);   // caution
    fillExactly(h / "AndroidSDK/platforms", 2 * GiB + (64 << 20));                    // a move
    const std::string npmBefore = inodeListing(h / ".npm");
    const std::string chromeBefore = inodeListing(h / ".cache/google-chrome");

    EasyCleanFlow &flow = *home.app->easyClean();
    EXPECT_EQ(flow.phaseName(), "idle");
    std::vector<QString> steps;
    QObject context;
    recordSteps(flow, context, steps);
    runTask(flow.run());

    EXPECT_EQ(steps, (std::vector<QString>{
                         "Looking at your disk…",
                         "Cleaning 1 of 3 — hidden snapshots (2 Time Machine snapshots)…",
                         "Cleaning 2 of 3 — Chrome cache…",
                         "Cleaning 3 of 3 — npm cache…",
                         "Releasing hidden space macOS was holding…",
                     }));
    EXPECT_EQ(flow.phaseName(), "done");
    EXPECT_EQ(flow.freedNow(), 0); // the scripted volume didn't change
    EXPECT_EQ(flow.inTrash(), home.smart().totalPendingInTrash());
    EXPECT_GT(flow.inTrash(), 2 * GiB);
    // Thinned twice: by the snapshot card and by the flow's own last step.
    const std::string calls = readFile(scratch.path() / "calls.txt");
    const auto thinned = QString::fromStdString(calls).count(QStringLiteral("thinLocalSnapshots"));
    EXPECT_EQ(thinned, 2) << calls;

    // Caution and move cards stay, untouched, for the full interface.
    EXPECT_TRUE(cardTitled(home.smart(), "Clear Android Virtual Device snapshots"));
    EXPECT_TRUE(cardTitled(home.smart(), "Move Android SDK to external drive"));
    EXPECT_TRUE(fs::exists(h / ".android/avd/Pixel.avd/snapshots/default_boot/ram.img"));
    EXPECT_FALSE(fs::is_symlink(h / "AndroidSDK"));

    ASSERT_EQ(home.history.entries().size(), 2u);
    const std::vector<CleanupHistoryEntry> entries = home.history.entries();
    for (const CleanupHistoryEntry &entry : entries)
        EXPECT_EQ(home.history.restore(entry.id).failed, 0);
    EXPECT_EQ(inodeListing(h / ".npm"), npmBefore);
    EXPECT_EQ(inodeListing(h / ".cache/google-chrome"), chromeBefore);
}

TEST(EasyClean, TellsWhatTheDiskGainedNeverLessThanNothing)
{
    ScanHome home;
    allocate(home.home.path() / ".npm/_cacache/blob", GiB + (16 << 20));
    home.app->platform().defaults->set("TessolySettings.deleteImmediately", true);
    home.volumes->step = -1'000'000; // something else fills the disk meanwhile
    EasyCleanFlow &flow = *home.app->easyClean();
    runTask(flow.run());
    EXPECT_EQ(flow.phaseName(), "done");
    EXPECT_EQ(flow.freedNow(), 0);
    EXPECT_EQ(flow.inTrash(), 0);
    EXPECT_FALSE(fs::exists(home.home.path() / ".npm/_cacache"));

    // "Clean Again": nothing left, and the disk now gains by itself.
    home.volumes->step = 3'000'000;
    runTask(flow.run());
    // What the volume says, not what the steps claimed (they freed nothing).
    EXPECT_GT(flow.freedNow(), 0);
    EXPECT_EQ(flow.freedNow() % 3'000'000, 0);
}

TEST(SmartScanMove, AMoveCardMovesToARealDriveAndLeavesALink)
{
    if (!canMount())
        GTEST_SKIP() << "mounting isn't permitted here (needs root with mount rights); CI runs this as root";
    ExternalRoot drives;
    qputenv("TESSOLY_EXTERNAL_ROOTS", QByteArray::fromStdString(drives.path().native()));
    LoopDrive drive(drives.path(), "Archive", "ext4", 2600, "Archive");
    ASSERT_TRUE(drive.ok()) << drive.error();
    ScanHome home;
    qunsetenv("TESSOLY_EXTERNAL_ROOTS");
    ScriptedPrompter prompter;
    prompter.folders.push_back(drive.mountPoint());
    home.app->setPrompter(&prompter);

    const fs::path sdk = home.home.path() / "AndroidSDK";
    fillExactly(sdk / "platforms", 2 * GiB + (8 << 20));
    writeFile(sdk / "licenses/android-sdk-license", "24333f8a63b6825ea9c5514f83c2829b004d1fee");
    const std::string before = inodeListing(sdk, false);
    runTask(home.smart().scan());
    const Recommendation move = *cardTitled(home.smart(), "Move Android SDK to external drive");

    std::vector<QString> stages;
    QObject::connect(&home.smart(), &SmartScanService::applyStatusesChanged, &home.smart(), [&] {
        if (auto status = home.smart().applyStatus(move.id); status && (stages.empty() || stages.back() != status->text))
            stages.push_back(status->text);
    });
    runTask(home.smart().apply(move));

    const fs::path external = drive.mountPoint() / "Tessoly Storage/AndroidSDK";
    ASSERT_TRUE(fs::is_symlink(sdk)) << (stages.empty() ? "" : stages.back().toStdString());
    EXPECT_EQ(fs::read_symlink(sdk), external);
    EXPECT_EQ(inodeListing(external, false), before);
    EXPECT_EQ(readFile(external / "licenses/android-sdk-license"), "24333f8a63b6825ea9c5514f83c2829b004d1fee");
    ASSERT_GE(stages.size(), 4u);
    EXPECT_EQ(stages.front(), "Working…");
    EXPECT_NE(std::find(stages.begin(), stages.end(), "Verifying the copy…"), stages.end());
    const QString words = stages.back();
    EXPECT_TRUE(words.startsWith("Moved Android SDK to Archive. The original is in the Trash — empty it to free "))
        << words.toStdString();
    EXPECT_EQ(home.smart().totalPendingInTrash(), move.estimatedSavings);
    EXPECT_TRUE(home.smart().appliedIds().contains(move.id));
    EXPECT_EQ(home.history.entries().size(), 1u);
}
