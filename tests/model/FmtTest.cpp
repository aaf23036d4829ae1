#include "model/Fmt.h"

#include <gtest/gtest.h>

using namespace fennic;

TEST(FmtTest, SizesUseDecimalFileStyle)
{
    EXPECT_EQ(Fmt::size(0), "Zero bytes");
    EXPECT_EQ(Fmt::size(1), "1 byte");
    EXPECT_EQ(Fmt::size(999), "999 bytes");
    EXPECT_EQ(Fmt::size(1000), "1 kB");
    EXPECT_EQ(Fmt::size(1499), "1 kB");
    EXPECT_EQ(Fmt::size(999499), "999 kB");
    EXPECT_EQ(Fmt::size(999500), "1 MB");
    EXPECT_EQ(Fmt::size(5000000), "5 MB");
    EXPECT_EQ(Fmt::size(5200000), "5.2 MB");
    EXPECT_EQ(Fmt::size(100000000), "100 MB");
    EXPECT_EQ(Fmt::size(1234567890), "1.23 GB");
    EXPECT_EQ(Fmt::size(2000000000000), "2 TB");
}

TEST(FmtTest, CountsTakeThePluralForEverythingButOne)
{
    EXPECT_EQ(Fmt::count(1, "file"), "1 file");
    EXPECT_EQ(Fmt::count(2, "file"), "2 files");
    EXPECT_EQ(Fmt::count(0, "file"), "0 files");
    EXPECT_EQ(Fmt::count(3, "match", QStringLiteral("matches")), "3 matches");
    EXPECT_EQ(Fmt::count(1234, "item"), "1,234 items");
}

TEST(FmtTest, RelativeDates)
{
    const Date now{800000000.0};
    EXPECT_EQ(Fmt::relative(now + 59.0, now), "just now");
    EXPECT_EQ(Fmt::relative(now - 59.0, now), "just now");
    EXPECT_EQ(Fmt::relative(now - 3 * 3600.0 - 10, now), "3 hr. ago");
    EXPECT_EQ(Fmt::relative(now + 2 * 86400.0 + 5, now), "in 2 days");
    EXPECT_EQ(Fmt::relative(now - 5 * 60.0, now), "5 min. ago");
}

TEST(FmtTest, DatesAndDays)
{
    // 2025-03-12 14:05 UTC (the test main runs in UTC, en-US).
    const Date d = Date::fromIso("2025-03-12T14:05:00Z");
    EXPECT_EQ(Fmt::day(d), "Wednesday, March 12");
    const QString full = Fmt::date(d);
    EXPECT_TRUE(full.contains("Mar 12, 2025")) << full.toStdString();
    EXPECT_TRUE(full.contains("2:05")) << full.toStdString();
}
