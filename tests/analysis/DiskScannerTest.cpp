// The disk figures from scripted volume readings, trashing a big file
// through the real Trash, and the forecast's history in the shared defaults
// file: thinning, the cap, the fit, and what a damaged stored value does.
#include "../recommendations/ScanSupport.h"
#include "analysis/DiskForecast.h"
#include "analysis/DiskScanner.h"
#include "core/DefaultsKeys.h"
#include "platform/linux/JsonDefaultsStore.h"

#include <QSignalSpy>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tessoly {
// Places rows in bigFiles, which no operation of the app fills.
struct DiskScannerTestAccess {
    static void setBigFiles(DiskScanner &scanner, QList<DiskItem> items) { scanner.m_bigFiles = std::move(items); }
};
} // namespace tessoly

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

DiskItem itemAt(const fs::path &path)
{
    DiskItem item;
    item.url = path;
    return item;
}

constexpr qint64 MiB = 1 << 20;

struct Forecast : ::testing::Test {
    TempHome home;
    platform::JsonDefaultsStore defaults{home.defaultsFile()};
    QDateTime now = QDateTime::fromSecsSinceEpoch(1'790'000'000, Qt::UTC);
    DiskForecast forecast{defaults, [this] { return now; }};

    // Samples one day apart with the used figures given.
    void daily(std::initializer_list<qint64> used, qint64 total = 1000 * MiB * 1024)
    {
        for (const qint64 value : used) {
            forecast.recordSample(value, total);
            now = now.addDays(1);
        }
    }
    [[nodiscard]] QJsonArray stored() const
    {
        return QJsonDocument::fromJson(defaults.object(keys::forecastSamples)->toByteArray()).array();
    }
};

struct Scanner : ::testing::Test {
    TempHome home;
    ScriptedVolumes volumes;
    platform::FreedesktopTrash trash{home.trash(), ::getuid()};
};

} // namespace

TEST_F(Scanner, FiguresFromTheVolumeAndTheLastGoodOnesKept)
{
    const struct {
        std::optional<qint64> capacity, free;
        qint64 used;
        double fraction;
    } cases[] = {
        {500'000, 200'000, 300'000, 0.6},
        {800'000, std::nullopt, 800'000, 1.0}, // no free figure: none free
        {std::nullopt, 0, 0, 0.0},             // unreadable: zeros and no division
    };
    for (const auto &c : cases) {
        volumes.capacity = c.capacity;
        volumes.free = c.free;
        DiskScanner scanner(home.path(), volumes, trash);
        EXPECT_EQ(scanner.totalCapacity(), c.capacity.value_or(0));
        EXPECT_EQ(scanner.totalFree(), c.capacity ? c.free.value_or(0) : 0);
        EXPECT_EQ(scanner.totalUsed(), c.used);
        EXPECT_DOUBLE_EQ(scanner.usedFraction(), c.fraction);
        EXPECT_TRUE(scanner.breakdown().isEmpty());
        // A reading that fails later keeps the figures.
        volumes.capacity.reset();
        scanner.refreshVolumeInfo();
        EXPECT_EQ(scanner.totalCapacity(), c.capacity.value_or(0));
        EXPECT_EQ(scanner.totalUsed(), c.used);
    }
}

TEST_F(Scanner, TrashMovesTheItemDropsItsRowAndRefreshes)
{
    volumes.capacity = 1000;
    volumes.free = 100;
    DiskScanner scanner(home.path(), volumes, trash);
    const fs::path file = home.path() / "Movies/big.mov";
    writeFile(file, "movie");
    const DiskItem row = itemAt(file);
    const DiskItem other = itemAt(home.path() / "other");
    DiskScannerTestAccess::setBigFiles(scanner, {row, other});
    QSignalSpy rows(&scanner, &DiskScanner::bigFilesChanged);

    volumes.free = 400;
    scanner.trash(row);
    EXPECT_EQ(readFile(home.trash() / "files/big.mov"), "movie");
    EXPECT_FALSE(fs::exists(file));
    ASSERT_EQ(scanner.bigFiles().size(), 1);
    EXPECT_EQ(scanner.bigFiles().front().id, other.id);
    EXPECT_EQ(rows.count(), 1);
    EXPECT_EQ(scanner.totalFree(), 400);

    // An item not listed is still trashed, and the figures read again.
    writeFile(home.path() / "loose.bin", "x");
    const int before = volumes.readings;
    scanner.trash(itemAt(home.path() / "loose.bin"));
    EXPECT_FALSE(fs::exists(home.path() / "loose.bin"));
    EXPECT_EQ(volumes.readings, before + 1);
}

TEST_F(Scanner, AFailedTrashChangesNothing)
{
    DiskScanner scanner(home.path(), volumes, trash);
    const DiskItem ghost = itemAt(home.path() / "vanished.mov");
    DiskScannerTestAccess::setBigFiles(scanner, {ghost});
    const int before = volumes.readings;
    scanner.trash(ghost);
    EXPECT_EQ(scanner.bigFiles().size(), 1);
    EXPECT_EQ(volumes.readings, before);
    EXPECT_EQ(entriesIn(home.trash() / "files"), 0u);
}

TEST_F(Forecast, ThinsBySixHoursOrHalfAGigabyteAndKeepsTheLastThirty)
{
    constexpr qint64 GiB = 1024 * MiB;
    forecast.recordSample(100 * GiB, 500 * GiB);
    now = now.addSecs(21599);
    forecast.recordSample(100 * GiB + 512 * MiB - 1, 500 * GiB); // too soon, too small
    EXPECT_EQ(forecast.sampleCount(), 1);
    forecast.recordSample(100 * GiB - 512 * MiB, 500 * GiB); // exactly 512 MiB less
    EXPECT_EQ(forecast.sampleCount(), 2);
    now = now.addSecs(21600); // exactly six hours after the last kept one
    forecast.recordSample(100 * GiB - 512 * MiB, 500 * GiB);
    EXPECT_EQ(forecast.sampleCount(), 3);
    EXPECT_EQ(stored().size(), 3);

    // The thirty-first sample drops the oldest; a fresh load sees the same.
    now = now.addDays(1);
    for (int i = 0; i < 31; ++i)
        daily({i * 1000 * MiB});
    ASSERT_EQ(forecast.sampleCount(), 30);
    EXPECT_EQ(forecast.samples().front().usedBytes, 1000 * MiB);
    EXPECT_EQ(stored().size(), 30);
    // Timestamps are stored as seconds since 2001-01-01 UTC.
    EXPECT_DOUBLE_EQ(stored().last().toObject().value("timestamp").toDouble(),
                     static_cast<double>(now.addDays(-1).toSecsSinceEpoch() - 978307200));
    DiskForecast again(defaults);
    again.load();
    EXPECT_EQ(again.samples(), forecast.samples());
}

TEST_F(Forecast, TheFitUsesTheLastTenAndMeasuresFromTheNewestSample)
{
    EXPECT_FALSE(forecast.daysUntilFull(0.95));
    daily({100 * MiB * 1024});
    EXPECT_FALSE(forecast.daysUntilFull(0.95)); // one sample
    EXPECT_FALSE(forecast.growthBytesPerDay());

    // 1 GiB a day on a 1000 GiB disk: from 110 GiB, 950 - 110 = 840 days.
    for (int day = 1; day <= 10; ++day)
        daily({(100 + day) * 1024 * MiB});
    EXPECT_EQ(*forecast.growthBytesPerDay(), 1024 * MiB);
    EXPECT_NEAR(*forecast.daysUntilFull(0.95), 840.0, 1e-6);
    // An eleventh sample in the window: the oldest falls out of the fit, not the store.
    EXPECT_EQ(forecast.sampleCount(), 11);
    daily({50 * 1024 * MiB});
    EXPECT_LT(*forecast.growthBytesPerDay(), 0); // shrinking over the window
    EXPECT_FALSE(forecast.daysUntilFull(0.95));
    EXPECT_EQ(*forecast.daysUntilFull(0.04), 0.0); // already past the level, whatever the trend
}

TEST_F(Forecast, SamplesAtOneInstantGiveNoAnswerUnlessTheLevelIsReached)
{
    forecast.recordSample(100 * MiB, 1000 * MiB);
    forecast.recordSample(900 * MiB, 1000 * MiB); // same instant, moved enough to be kept
    EXPECT_FALSE(forecast.daysUntilFull(0.95));
    EXPECT_FALSE(forecast.growthBytesPerDay());
    EXPECT_EQ(*forecast.daysUntilFull(0.5), 0.0);
}

TEST_F(Forecast, ADamagedStoredValueReadsAsNoHistoryUntilTheNextSampleReplacesIt)
{
    for (const QByteArray &bad : {QByteArray("not json"), QByteArray("[{\"timestamp\":1}]"),
                                  QByteArray("[{\"timestamp\":1,\"usedBytes\":2.5,\"totalBytes\":3}]"), QByteArray("{}")}) {
        defaults.set(keys::forecastSamples, bad);
        DiskForecast fresh(defaults);
        fresh.load();
        EXPECT_EQ(fresh.sampleCount(), 0) << bad.toStdString();
        EXPECT_EQ(defaults.object(keys::forecastSamples)->toByteArray(), bad); // left as it was
    }
    forecast.load();
    daily({5 * MiB});
    EXPECT_EQ(stored().size(), 1);
    defaults.set(keys::forecastSamples, QStringLiteral("a string, not data"));
    DiskForecast wrongType(defaults);
    wrongType.load();
    EXPECT_EQ(wrongType.sampleCount(), 0);
}
