// The forecast's history in the shared defaults file: thinning, the cap,
// the fit, and what a damaged stored value does.
#include "core/DefaultsKeys.h"
#include "TestSupport.h"
#include "analysis/DiskForecast.h"
#include "platform/linux/JsonDefaultsStore.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace tessoly;
using namespace tessoly::test;

namespace {

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

} // namespace

TEST_F(Forecast, ThinsBySixHoursOrHalfAGigabyteAndBothBoundariesKeep)
{
    forecast.recordSample(100 * MiB * 1024, 500LL * 1024 * MiB);
    now = now.addSecs(21599);
    forecast.recordSample(100 * MiB * 1024 + 512 * MiB - 1, 500LL * 1024 * MiB); // too soon, too small
    EXPECT_EQ(forecast.sampleCount(), 1);
    forecast.recordSample(100 * MiB * 1024 - 512 * MiB, 500LL * 1024 * MiB); // exactly 512 MiB less
    EXPECT_EQ(forecast.sampleCount(), 2);
    now = now.addSecs(21600); // exactly six hours after the last kept one
    forecast.recordSample(100 * MiB * 1024 - 512 * MiB, 500LL * 1024 * MiB);
    EXPECT_EQ(forecast.sampleCount(), 3);
    EXPECT_EQ(stored().size(), 3);
}

TEST_F(Forecast, TheThirtyFirstSampleDropsTheOldestAndAFreshLoadSeesTheSame)
{
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
