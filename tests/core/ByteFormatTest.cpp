#include "core/ByteFormat.h"
#include "core/RelativeTime.h"

#include <gtest/gtest.h>

using namespace tessoly;

TEST(ByteFormat, DecimalUnitsWithUnitDigitsSplitAtTheBlank)
{
    EXPECT_EQ(formatBytes(0), "Zero KB");
    EXPECT_EQ(formatBytes(1), "1 KB");
    EXPECT_EQ(formatBytes(999), "1 KB");
    EXPECT_EQ(formatBytes(1500), "2 KB");
    EXPECT_EQ(formatBytes(999'499), "999 KB");
    EXPECT_EQ(formatBytes(999'999), "1 MB"); // never "1,000 KB"
    EXPECT_EQ(formatBytes(1'234'567), "1.2 MB");
    EXPECT_EQ(formatBytes(734'003'200), "734 MB");
    EXPECT_EQ(formatBytes(1'234'567'890), "1.23 GB");
    EXPECT_EQ(formatBytes(2'000'000'000), "2 GB");
    EXPECT_EQ(formatBytes(3'456'789'000'000), "3,456.79 GB"); // no TB
    EXPECT_EQ(formatBytes(-1'500'000), "-1.5 MB");
    // Split at the blank.
    const auto split = splitFormattedSize(formatBytes(85'070'000'000));
    EXPECT_EQ(split.number, "85.07");
    EXPECT_EQ(split.unit, "GB");
    EXPECT_EQ(splitFormattedSize("Zero KB").number, "Zero");
    EXPECT_EQ(splitFormattedSize("nothing").number, "—");
}

TEST(RelativeTime, LargestWholeUnitInWords)
{
    const QDateTime now = QDateTime::fromSecsSinceEpoch(1'800'000'000, Qt::UTC);
    EXPECT_EQ(formatRelativeTime(now.addSecs(-1), now), "1 second ago");
    EXPECT_EQ(formatRelativeTime(now.addSecs(-7200), now), "2 hours ago");
    EXPECT_EQ(formatRelativeTime(now.addDays(-1), now), "1 day ago");
    EXPECT_EQ(formatRelativeTime(now.addDays(-15), now), "2 weeks ago");
    EXPECT_EQ(formatRelativeTime(now.addDays(-400), now), "1 year ago");
    EXPECT_EQ(formatRelativeTime(now.addSecs(180), now), "in 3 minutes");
    EXPECT_EQ(formatRelativeTime(now, now), "now");
    EXPECT_EQ(formatRelativeTime(now.addMSecs(400), now), "now");
}
