// Smart Scan on real folders of a temporary home: which cards a scan makes,
// how they rank and read, and what applying them does to the disk, the
// log, the totals and the other cards.
#include "core/DefaultsKeys.h"
#include "ScanSupport.h"
#include "analysis/DiskForecast.h"
#include "history/CleanupHistoryStore.h"
#include "core/ByteFormat.h"
#include "platform/FileWalker.h"
#include "platform/linux/JsonDefaultsStore.h"

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

// Every status a card went through, in order.
struct StatusLog {
    StatusLog(SmartScanService &smart, const QUuid &id)
    {
        QObject::connect(&smart, &SmartScanService::applyStatusesChanged, &smart, [this, &smart, id] {
            if (auto status = smart.applyStatus(id); status && (seen.empty() || seen.back() != *status))
                seen.push_back(*status);
        });
    }
    std::vector<SmartScanService::ApplyStatus> seen;
};

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
              "Free hidden snapshot space (2 Time Machine snapshots)");
    // Equal scores: the safer first; a full tie keeps the order given.
    EXPECT_EQ(rankedTitles({card(Recommendation::Risk::Caution, 1'000'000'000, "caution"),
                            card(Recommendation::Risk::Safe, 700'000'000, "safe"),
                            card(Recommendation::Risk::Safe, 700'000'000, "safe 2")}),
              (std::vector<QString>{"safe", "safe 2", "caution"}));
}

TEST(SmartScanWords, ForecastSnapshotsAndShortNames)
{
    const auto title = [](double days) {
        const auto made = makeForecastRecommendation(days, 3'000'000'000);
        return made ? made->title : QStringLiteral("none");
    };
    EXPECT_EQ(title(29.9), "Heads up — disk will hit 95% in about 29 days");
    EXPECT_EQ(title(30.0), "none");
    EXPECT_EQ(title(0.5), "Heads up — disk will hit 95% today");
    EXPECT_EQ(title(1.9), "Heads up — disk will hit 95% in 1 day");
    EXPECT_FALSE(makeForecastRecommendation(std::nullopt, std::nullopt).has_value());
    const auto forecast = *makeForecastRecommendation(3, 3'000'000'000);
    EXPECT_EQ(forecast.oneLiner, "At your current rate (3 GB/day), your disk fills up soon.");
    EXPECT_FALSE(forecast.hasAction);
    EXPECT_EQ(forecast.estimatedSavings, 0);

    EXPECT_EQ(makeSnapshotRecommendation(1).title, "Free hidden snapshot space (1 Time Machine snapshot)");
    EXPECT_EQ(shortName("Clear Xcode DerivedData — 12 GB"), "Xcode DerivedData");
    EXPECT_EQ(shortName(makeSnapshotRecommendation(2).title), "hidden snapshots (2 Time Machine snapshots)");
    EXPECT_EQ(shortName("Move Android SDK to external drive — 2.3 GB"), "Move Android SDK to external drive");
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
    EXPECT_EQ(home.smart().scanProgress(), "Done");

    allocate(cache / "one-more-block", 4096);
    runTask(home.smart().scan());
    const auto npm = cardTitled(home.smart(), "Clear npm cache");
    ASSERT_TRUE(npm);
    EXPECT_EQ(npm->title, "Clear npm cache — " + formatBytes(GiB + 4096));
    EXPECT_EQ(npm->estimatedSavings, GiB + 4096);
    EXPECT_EQ(npm->riskLevel, Recommendation::Risk::Safe);
    EXPECT_EQ(npm->tint, "indigo");
    EXPECT_EQ(npm->subjectPath, home.home.path() / ".npm");
    EXPECT_EQ(npm->explanation, "Tessoly will move every item inside the folder to the Trash. The folder itself is "
                                "preserved because apps may need it. Safe — npm's global package download cache. "
                                "Re-fetched as needed.");
}

TEST(SmartScanDetection, OneCardPerFolderAndACleanableFolderIsNeverAMove)
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
    EXPECT_TRUE(sdk->explanation.startsWith("Path: " + QString::fromStdString((h / "Android/Sdk").native()) + "\n\n"));
}

TEST(SmartScanDetection, SnapshotsAndTheForecastJoinTheListAndASecondScanWaitsForNothing)
{
    TempHome scratch;
    const fs::path tool = fakeSnapshotTool(scratch.path(), 2);
    ScanHome home(tool);
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
    EXPECT_EQ(home.smart().scanProgress(), "Measuring caches and developer files…");
    runTask(std::move(first));
    EXPECT_FALSE(home.smart().isScanning());

    const auto cards = home.smart().visibleRecommendations();
    ASSERT_EQ(cards.size(), 2u);
    EXPECT_EQ(cards[0].title, "Free hidden snapshot space (2 Time Machine snapshots)");
    EXPECT_EQ(cards[0].estimatedSavings, 5 * GiB);
    EXPECT_EQ(cards[1].kind, Recommendation::Kind::Info); // no size: last
    EXPECT_TRUE(cards[1].title.startsWith("Heads up — disk will hit 95% "));
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

TEST_F(SmartScanApply, ACleanThatFreesNothingSaysSoAndTheCardLeaves)
{
    allocate(npm / "_cacache/blob", GiB + (16 << 20));
    const Recommendation cardBefore = scanFor("Clear npm cache");
    fs::remove_all(npm / "_cacache"); // emptied elsewhere in the meantime
    StatusLog log(home.smart(), cardBefore.id);
    runTask(home.smart().apply(cardBefore));

    ASSERT_EQ(log.seen.size(), 2u);
    EXPECT_EQ(log.seen[0].text, "Working…");
    EXPECT_EQ(log.seen[1].state, SmartScanService::ApplyStatus::State::Succeeded);
    EXPECT_EQ(log.seen[1].text, "Nothing left to clear in npm cache — it's already clean.");
    EXPECT_TRUE(home.smart().appliedIds().contains(cardBefore.id));
    EXPECT_FALSE(home.smart().applyStatus(cardBefore.id));
    ASSERT_TRUE(home.smart().lastToast());
    EXPECT_EQ(home.smart().lastToast()->title, "Nothing left to clear in npm cache — it's already clean.");
    EXPECT_EQ(home.smart().totalReclaimedThisSession(), 0);
    EXPECT_EQ(home.smart().totalPendingInTrash(), 0);
    EXPECT_TRUE(home.history.entries().empty());
}

TEST_F(SmartScanApply, ToTheTrashTheBytesArePendingAndHistoryPutsThemBack)
{
    allocate(npm / "_cacache/blob", GiB + (16 << 20));
    writeFile(npm / "_logs/debug.log", "log");
    const std::string signature = inodeListing(npm);
    const Recommendation clean = scanFor("Clear npm cache");
    runTask(home.smart().apply(clean));

    const qint64 bytes = clean.estimatedSavings;
    EXPECT_EQ(home.smart().totalPendingInTrash(), bytes);
    EXPECT_EQ(home.smart().totalReclaimedThisSession(), 0);
    EXPECT_EQ(home.smart().lastToast()->title,
              "Moved " + formatBytes(bytes) + " from npm cache to the Trash — empty the Trash to reclaim the space.");
    EXPECT_TRUE(fs::is_directory(npm)); // the folder itself stays
    EXPECT_TRUE(fs::is_empty(npm));
    ASSERT_EQ(home.history.entries().size(), 1u);
    const CleanupHistoryEntry entry = home.history.entries()[0];
    EXPECT_EQ(entry.kind, CleanupHistoryEntry::Kind::ProfileCleanup);
    EXPECT_EQ(entry.summary, "Smart Scan profile cleanup");
    EXPECT_EQ(home.history.restore(entry.id).restored, 2);
    EXPECT_EQ(inodeListing(npm), signature);
}

TEST_F(SmartScanApply, DeletedForGoodTheBytesAreReclaimed)
{
    home.app->platform().defaults->set("TessolySettings.deleteImmediately", true);
    allocate(npm / "_cacache/blob", GiB + (16 << 20));
    const Recommendation clean = scanFor("Clear npm cache");
    runTask(home.smart().apply(clean));
    EXPECT_EQ(home.smart().totalReclaimedThisSession(), clean.estimatedSavings);
    EXPECT_EQ(home.smart().totalPendingInTrash(), 0);
    EXPECT_EQ(home.smart().lastToast()->title, "Reclaimed " + formatBytes(clean.estimatedSavings) + " from npm cache.");
    EXPECT_FALSE(fs::exists(home.home.trash() / "files/_cacache"));
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
    EXPECT_EQ(home.smart().lastToast()->title, "Moved " + formatBytes(npmCard.estimatedSavings) +
                                                   " from npm cache to the Trash — empty the Trash to reclaim the space.");
    EXPECT_EQ(home.smart().totalPendingInTrash(), npmCard.estimatedSavings); // the retired card added nothing
    const auto grown = cardTitled(home.smart(), "Clear Chrome cache");
    ASSERT_TRUE(grown);
    EXPECT_EQ(grown->id, chrome.id);
    EXPECT_EQ(placeOf(chrome.id), chromePlace);
    EXPECT_EQ(grown->estimatedSavings, platform::walkTree(h / ".cache/google-chrome/Default").allocatedBytes);
    EXPECT_GT(grown->estimatedSavings, chrome.estimatedSavings);
    EXPECT_EQ(grown->title, "Clear Chrome cache — " + formatBytes(grown->estimatedSavings));
    EXPECT_EQ(home.smart().visibleRecommendations().size(), 1u);
}

TEST_F(SmartScanApply, AMoveWithNoDriveFailsInWordsAndCanBeTriedAgain)
{
    fillExactly(home.home.path() / "AndroidSDK/platforms", 2 * GiB + (64 << 20));
    const Recommendation move = scanFor("Move Android SDK to external drive");
    const QString words =
        "No external drive with enough free space is connected. Plug an APFS-formatted drive in, then retry.";
    for (int attempt = 0; attempt < 2; ++attempt) {
        runTask(home.smart().apply(move));
        const auto status = home.smart().applyStatus(move.id);
        ASSERT_TRUE(status);
        EXPECT_EQ(status->state, SmartScanService::ApplyStatus::State::Failed);
        EXPECT_EQ(status->text, words);
    }
    EXPECT_TRUE(cardTitled(home.smart(), "Move Android SDK")); // still showing, with its words
    EXPECT_FALSE(home.smart().lastToast());
    EXPECT_FALSE(fs::is_symlink(home.home.path() / "AndroidSDK"));
}
