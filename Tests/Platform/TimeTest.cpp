// PlatformFileManager.h: time expressions and the millisecond clock.

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "CommaLocale.h"
#include "Eventually.h"
#include "PlatformFileManager.h"
#include "TestThread.h"

namespace {

long long Ms(const std::string& expression, double frameRate = 0, int tickRate = 0)
{
    return TTML::ConvertTimeExpressionToMS(expression, frameRate, tickRate);
}

TEST(TimeExpression, ReadsClockTimes)
{
    EXPECT_EQ(Ms("00:00:00"), 0);
    EXPECT_EQ(Ms("00:00:01"), 1000);
    EXPECT_EQ(Ms("00:01:00"), 60000);
    EXPECT_EQ(Ms("01:00:00"), 3600000);
    EXPECT_EQ(Ms("20:15:00.644"), 72900644);
    EXPECT_EQ(Ms("00:00:01.5"), 1500);
    EXPECT_EQ(Ms("00:00:01.25"), 1250);
    EXPECT_EQ(Ms("100:00:00"), 360000000) << "hours have two digits or more";
}

TEST(TimeExpression, ReadsFramesOfClockTimes)
{
    EXPECT_EQ(Ms("00:00:01:15"), 1500) << "30 frames a second by default";
    EXPECT_EQ(Ms("00:00:01:05", 25), 1200);
    EXPECT_EQ(Ms("00:00:00:12", 50), 240);
}

TEST(TimeExpression, ReadsOffsetTimes)
{
    EXPECT_EQ(Ms("2h"), 7200000);
    EXPECT_EQ(Ms("3m"), 180000);
    EXPECT_EQ(Ms("10s"), 10000);
    EXPECT_EQ(Ms("10.5s"), 10500);
    EXPECT_EQ(Ms("250ms"), 250);
    EXPECT_EQ(Ms("15f"), 500) << "30 frames a second by default";
    EXPECT_EQ(Ms("50f", 25), 2000);
    EXPECT_EQ(Ms("0.5h"), 1800000);
}

TEST(TimeExpression, ReadsTicks)
{
    EXPECT_EQ(Ms("3t"), 3000) << "one tick a second by default";
    EXPECT_EQ(Ms("50t", 25), 2000) << "or as many as frames, where a frame rate is given";
    EXPECT_EQ(Ms("10000000t", 0, 10000000), 1000);
    EXPECT_EQ(Ms("450000t", 25, 90000), 5000);
}

TEST(TimeExpression, IsZeroForWhatIsNone)
{
    for (const std::string text : {"", " ", "abc", "10", "s", ":", "::", "10x", "-1s", "1:2", "aa:bb:cc"}) {
        EXPECT_EQ(Ms(text), 0) << "'" << text << "'";
    }
    EXPECT_EQ(Ms(std::string(100000, 'x')), 0);
}

TEST(TimeExpression, DoesNotDependOnTheLocale)
{
    const TTMLTest::CommaLocale comma;
    if (!comma.IsThere()) {
        GTEST_SKIP() << "the machine has no locale with a decimal comma and cannot make one";
    }
    EXPECT_EQ(Ms("10.5s"), 10500);
    EXPECT_EQ(Ms("00:00:01.250"), 1250);
}

TEST(TimeExpression, IsReadByManyThreads)
{
    TTMLTest::RunTogether({4, [] {
                               for (int i = 0; i < 500; ++i) {
                                   EXPECT_EQ(Ms(std::to_string(i) + "ms"), i);
                               }
                           }});
}

TEST(MillisecondClock, GoesOnInMilliseconds)
{
    // It wraps after 49.7 days; differences modulo 2^32 do not see that.
    const std::uint32_t start = TTML::TTMLGetTimeofDay();
    PortTest::ClockComparison clock("the millisecond clock", 1000, 20);
    clock.Run(300, [start] { return static_cast<double>(TTML::TTMLGetTimeofDay() - start); });
}

TEST(MillisecondClock, DoesNotGoBackOnAnyThread)
{
    const std::uint32_t start = TTML::TTMLGetTimeofDay();
    TTMLTest::RunTogether({4, [start] {
                               std::uint32_t last = 0;
                               for (int i = 0; i < 5000; ++i) {
                                   const std::uint32_t now = TTML::TTMLGetTimeofDay() - start;
                                   EXPECT_GE(now, last);
                                   last = now;
                               }
                           }});
}

} // namespace
