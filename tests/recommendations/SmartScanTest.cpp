// Smart Scan on real folders of a temporary home: which cards a scan makes,
// how they rank, what applying them does to the disk, the log, the totals
// and the other cards; and the one-button clean end to end: what it
// touches and leaves, its steps, and what it measures.
#include "ScanSupport.h"
#include "analysis/DiskForecast.h"
#include "core/ByteFormat.h"
#include "core/DefaultsKeys.h"
#include "history/CleanupHistoryStore.h"
#include "platform/FileWalker.h"
#include "platform/linux/JsonDefaultsStore.h"
#include "recommendations/EasyCleanFlow.h"

#include <gtest/gtest.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

constexpr qint64 GiB = 1'073'741'824;

Recommendation card(Recommendation::Risk risk, qint64 bytes, const char *title = "")
{
    Recommendation r;
    r.id = QUuid::createUuid();
    r.riskLevel = risk;
    r.estimatedSavings = bytes;
    r.title = QString::fromLatin1(title);
    return r;
}

std::vector<QString> rankedTitles(std::vector<Recommendation> cards)
{
    std::stable_sort(cards.begin(), cards.end(), rankBefore);
    std::vector<QString> titles;
    for (const Recommendation &r : cards)
        titles.push_back(r.title);
    return titles;
}

} // namespace

TEST(SmartScanRanking, SizeDiscountedByRiskThenTheSaferFirst)
{
    // Caution 10 GB scores 7 GB: the safe 8 GB card comes first.
    EXPECT_EQ(rankedTitles({card(Recommendation::Risk::Caution, 10'000'000'000, "caution"),
                            card(Recommendation::Risk::Safe, 8'000'000'000, "safe")}),
              (std::vector<QString>{"safe", "caution"}));
    // The snapshot card ranks as 5 GiB: between a safe 4 GB and a safe 6 GiB card.
    EXPECT_EQ(rankedTitles({card(Recommendation::Risk::Safe, 4'000'000'000, "4 GB"), makeSnapshotRecommendation(2),
                            card(Recommendation::Risk::Safe, 6 * GiB, "6 GiB")})
                  .at(1),
              makeSnapshotRecommendation(2).title);
    // Equal scores: the safer first; a full tie keeps the order given.
    EXPECT_EQ(rankedTitles({card(Recommendation::Risk::Caution, 1'000'000'000, "caution"),
                            card(Recommendation::Risk::Safe, 700'000'000, "safe"),
                            card(Recommendation::Risk::Safe, 700'000'000, "safe 2")}),
              (std::vector<QString>{"safe", "safe 2", "caution"}));
}

TEST(SmartScanDetection, MoreThanOneGiBMakesACardAndExactlyOneGiBDoesNot)
{
    ScanHome home;
    const fs::path cache = home.home.path() / ".npm/_cacache";
    fillExactly(cache, GiB);
    ASSERT_EQ(platform::walkTree(cache).allocatedBytes, GiB) << "the file system must allocate exactly what was asked";
    runTask(home.smart().scan());
    EXPECT_TRUE(home.smart().hasScanned());
    EXPECT_FALSE(cardTitled(home.smart(), "Clear npm cache"));

    allocate(cache / "one-more-block", 4096);
    runTask(home.smart().scan());
    const auto npm = cardTitled(home.smart(), "Clear npm cache");
    ASSERT_TRUE(npm);
    EXPECT_EQ(npm->estimatedSavings, GiB + 4096);
    EXPECT_EQ(npm->riskLevel, Recommendation::Risk::Safe);
    EXPECT_EQ(npm->subjectPath, home.home.path() / ".npm");
}

TEST(SmartScanDetection, OneCardPerFolderACleanableFolderIsNeverAMoveAndAMoveNeedsADrive)
{
    ScanHome home;
    const fs::path &h = home.home.path();
    // Named by two profiles: one card, worded by the first.
    allocate(h / "Library/Application Support/Adobe/Common/Media Cache/a.cfa", GiB + (8 << 20));
    // A clean target and a move suggestion at once: only the clean card.
    fillExactly(h / ".gradle/caches/modules-2", 2 * GiB + (64 << 20));
    // A move suggestion only.
    fillExactly(h / "Android/Sdk/system-images", 2 * GiB + (64 << 20));
    runTask(home.smart().scan());

    int mediaCards = 0;
    for (const Recommendation &r : home.smart().visibleRecommendations())
        mediaCards += r.subjectPath == h / "Library/Application Support/Adobe/Common/Media Cache" ? 1 : 0;
    EXPECT_EQ(mediaCards, 1);
    EXPECT_TRUE(cardTitled(home.smart(), "Clear Adobe Media Cache — "));
    EXPECT_FALSE(cardTitled(home.smart(), "Clear Premiere Pro Media Cache"));
    EXPECT_TRUE(cardTitled(home.smart(), "Clear Gradle build caches — "));
    EXPECT_FALSE(cardTitled(home.smart(), "Move Gradle caches"));
    const auto sdk = cardTitled(home.smart(), "Move Android SDK to external drive — ");
    ASSERT_TRUE(sdk);
    EXPECT_EQ(sdk->kind, Recommendation::Kind::Move);
    EXPECT_EQ(sdk->subjectPath, h / "Android/Sdk");

    // With no drive the move fails in words, can be tried again, and the card stays.
    for (int attempt = 0; attempt < 2; ++attempt) {
        runTask(home.smart().apply(*sdk));
        const auto status = home.smart().applyStatus(sdk->id);
        ASSERT_TRUE(status);
        EXPECT_EQ(status->state, SmartScanService::ApplyStatus::State::Failed);
        EXPECT_FALSE(status->text.isEmpty());
    }
    EXPECT_TRUE(cardTitled(home.smart(), "Move Android SDK"));
    EXPECT_FALSE(home.smart().lastToast());
    EXPECT_FALSE(fs::is_symlink(h / "Android/Sdk"));
}

TEST(SmartScanDetection, SnapshotsAndTheForecastJoinTheListAndASecondScanWaitsForNothing)
{
    TempHome scratch;
    ScanHome home(fakeSnapshotTool(scratch.path(), 2));
    // A disk that grew 20 GB a day for four days, 10 GB short of 95%.
    std::vector<DiskForecast::Sample> samples;
    const QDateTime start = QDateTime::currentDateTimeUtc().addDays(-4);
    for (int day = 0; day < 4; ++day)
        samples.push_back({start.addDays(day), 405'000'000'000 + day * 20'000'000'000LL, 500'000'000'000});
    home.app->platform().defaults->set(keys::forecastSamples, DiskForecast::encode(samples));
    home.app->forecast()->load();
    home.volumes->free = 500'000'000'000 - 465'000'000'000;

    QCoro::Task<void> first = home.smart().scan();
    QCoro::Task<void> second = home.smart().scan();
    EXPECT_TRUE(second.isReady()); // returned at once, changing nothing
    EXPECT_TRUE(home.smart().isScanning());
    runTask(std::move(first));
    EXPECT_FALSE(home.smart().isScanning());

    const auto cards = home.smart().visibleRecommendations();
    ASSERT_EQ(cards.size(), 2u);
    EXPECT_EQ(cards[0].estimatedSavings, 5 * GiB); // the snapshots
    EXPECT_EQ(cards[1].kind, Recommendation::Kind::Info); // the forecast, with no size: last
    EXPECT_EQ(home.app->forecast()->sampleCount(), 5); // the scan recorded one

    // An information card has nothing to apply.
    runTask(home.smart().apply(cards[1]));
    EXPECT_TRUE(home.smart().applyStatuses().isEmpty());
    home.smart().skip(cards[1].id);
    ASSERT_EQ(home.smart().skippedRecommendations().size(), 1u);
    EXPECT_EQ(home.smart().visibleRecommendations().size(), 1u);
    // A skip lasts until the next scan.
    runTask(home.smart().scan());
    EXPECT_EQ(home.smart().visibleRecommendations().size(), 2u);

    // Samples a minute apart on a busy disk tell no trend, however steep.
    const QDateTime now = QDateTime::currentDateTimeUtc();
    home.app->platform().defaults->set(
        keys::forecastSamples, DiskForecast::encode({{now.addSecs(-120), 100'000'000'000, 500'000'000'000},
                                                 {now.addSecs(-60), 460'000'000'000, 500'000'000'000}}));
    home.app->forecast()->load();
    runTask(home.smart().scan());
    ASSERT_EQ(home.smart().visibleRecommendations().size(), 1u);
    EXPECT_NE(home.smart().visibleRecommendations()[0].kind, Recommendation::Kind::Info);
}

struct SmartScanApply : ::testing::Test {
    ScanHome home;
    fs::path npm = home.home.path() / ".npm";

    Recommendation scanFor(const QString &title)
    {
        runTask(home.smart().scan());
        const auto found = cardTitled(home.smart(), title);
        if (!found)
            throw std::runtime_error("no card " + title.toStdString());
        return *found;
    }
};

TEST_F(SmartScanApply, ToTheTrashTheBytesArePendingAndHistoryPutsThemBack)
{
    allocate(npm / "_cacache/blob", GiB + (16 << 20));
    writeFile(npm / "_logs/debug.log", "log");
    const std::string signature = inodeListing(npm);
    const Recommendation clean = scanFor("Clear npm cache");
    runTask(home.smart().apply(clean));
    EXPECT_EQ(home.smart().totalPendingInTrash(), clean.estimatedSavings);
    EXPECT_EQ(home.smart().totalReclaimedThisSession(), 0);
    EXPECT_TRUE(fs::is_directory(npm)); // the folder itself stays
    EXPECT_TRUE(fs::is_empty(npm));
    ASSERT_EQ(home.history.entries().size(), 1u);
    EXPECT_EQ(home.history.restore(home.history.entries()[0].id).restored, 2);
    EXPECT_EQ(inodeListing(npm), signature);

    // Emptied elsewhere between the scan and the click: it succeeds, frees nothing, logs nothing.
    const Recommendation again = scanFor("Clear npm cache");
    fs::remove_all(npm / "_cacache");
    fs::remove_all(npm / "_logs");
    const qint64 pending = home.smart().totalPendingInTrash();
    runTask(home.smart().apply(again));
    EXPECT_TRUE(home.smart().appliedIds().contains(again.id));
    EXPECT_FALSE(home.smart().applyStatus(again.id));
    EXPECT_EQ(home.smart().totalPendingInTrash(), pending);
    EXPECT_EQ(home.history.entries().size(), 1u);
}

TEST_F(SmartScanApply, OtherCardsAreRetiredQuietlyOrUpdatedInPlace)
{
    const fs::path &h = home.home.path();
    fillExactly(h / ".cache/yarn/v6", GiB + (128 << 20));
    fillExactly(h / ".cache/google-chrome/Default/Cache", GiB + (256 << 20));
    allocate(npm / "_cacache/blob", GiB + (16 << 20));
    runTask(home.smart().scan());
    const Recommendation yarn = *cardTitled(home.smart(), "Clear Yarn cache");
    const Recommendation chrome = *cardTitled(home.smart(), "Clear Chrome cache");
    const Recommendation npmCard = *cardTitled(home.smart(), "Clear npm cache");
    const auto placeOf = [&](const QUuid &id) {
        const auto &all = home.smart().recommendations();
        return std::find_if(all.begin(), all.end(), [&](const Recommendation &r) { return r.id == id; }) - all.begin();
    };
    const auto chromePlace = placeOf(chrome.id);

    // Yarn shrinks below the limit and Chrome grows while npm is cleaned.
    for (int i = 0; i < 10; ++i)
        fs::remove(h / ".cache/yarn/v6" / ("part-" + std::to_string(i)));
    allocate(h / ".cache/google-chrome/Default/Cache/grown", 400 << 20);
    runTask(home.smart().apply(npmCard));

    EXPECT_TRUE(home.smart().appliedIds().contains(yarn.id));
    EXPECT_EQ(home.smart().totalPendingInTrash(), npmCard.estimatedSavings); // the retired card added nothing
    const auto grown = cardTitled(home.smart(), "Clear Chrome cache");
    ASSERT_TRUE(grown);
    EXPECT_EQ(grown->id, chrome.id);
    EXPECT_EQ(placeOf(chrome.id), chromePlace);
    EXPECT_EQ(grown->estimatedSavings, platform::walkTree(h / ".cache/google-chrome/Default").allocatedBytes);
    EXPECT_GT(grown->estimatedSavings, chrome.estimatedSavings);
    EXPECT_TRUE(grown->title.endsWith(formatBytes(grown->estimatedSavings)));
    EXPECT_EQ(home.smart().visibleRecommendations().size(), 1u);
}

TEST(EasyClean, CleansOnlySafeCardsWithShortNamesAndEverythingComesBackFromHistory)
{
    TempHome scratch;
    ScanHome home(fakeSnapshotTool(scratch.path(), 2));
    const fs::path &h = home.home.path();
    allocate(h / ".npm/_cacache/blob", GiB + (16 << 20));                              // safe
    allocate(h / ".cache/google-chrome/Default/Cache/data", GiB + (128 << 20));       // safe
    allocate(h / ".android/avd/Pixel.avd/snapshots/default_boot/ram.img", 2 * GiB);   // caution
    fillExactly(h / "AndroidSDK/platforms", 2 * GiB + (64 << 20));                    // a move
    const std::string npmBefore = inodeListing(h / ".npm");
    const std::string chromeBefore = inodeListing(h / ".cache/google-chrome");

    EasyCleanFlow &flow = *home.app->easyClean();
    std::vector<QString> steps;
    QObject::connect(&flow, &EasyCleanFlow::phaseChanged, &home.smart(), [&] {
        if (flow.phase() == EasyCleanFlow::Phase::Running)
            steps.push_back(flow.step());
    });
    runTask(flow.run());

    // Looking, the three safe cards by their short names, releasing.
    ASSERT_EQ(steps.size(), 5u);
    EXPECT_TRUE(steps[2].contains("Chrome cache")) << steps[2].toStdString();
    EXPECT_TRUE(steps[3].contains("npm cache")) << steps[3].toStdString();
    EXPECT_EQ(flow.freedNow(), 0); // the scripted volume didn't change
    EXPECT_EQ(flow.inTrash(), home.smart().totalPendingInTrash());
    EXPECT_GT(flow.inTrash(), 2 * GiB);
    // Thinned twice: by the snapshot card and by the flow's own last step.
    const QString calls = QString::fromStdString(readFile(scratch.path() / "calls.txt"));
    EXPECT_EQ(calls.count("thinLocalSnapshots"), 2) << calls.toStdString();

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
    EXPECT_EQ(flow.freedNow(), 0);
    EXPECT_EQ(flow.inTrash(), 0);
    EXPECT_GT(home.smart().totalReclaimedThisSession(), GiB); // deleted for good: reclaimed, not pending
    EXPECT_FALSE(fs::exists(home.home.path() / ".npm/_cacache"));
    EXPECT_EQ(entriesIn(home.home.trash() / "files"), 0u);

    // "Clean Again": nothing left, and the disk now gains by itself.
    home.volumes->step = 3'000'000;
    runTask(flow.run());
    // What the volume says, not what the steps claimed (they freed nothing).
    EXPECT_GT(flow.freedNow(), 0);
    EXPECT_EQ(flow.freedNow() % 3'000'000, 0);
}
