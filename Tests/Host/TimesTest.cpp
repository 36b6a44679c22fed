#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CaptureStderr.h"
#include "ChildProcess.h"
#include "PlatformFileManager.h"

using namespace TTMLTest;

namespace {

using Lines = std::vector<std::string>;

std::int64_t MonotonicMs()
{
    timespec now{};
    EXPECT_EQ(clock_gettime(CLOCK_MONOTONIC, &now), 0);
    return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

} // namespace

TEST(ConvertTimeExpression, AnswersTheMediaTimeWithoutAWord)
{
    const CaptureStderr log;
    EXPECT_EQ(TTML::ConvertTimeExpressionToMS("00:00:02.500", 0.0, 0), 2500);
    EXPECT_EQ(TTML::ConvertTimeExpressionToMS("50f", 25.0, 0), 2000);
    EXPECT_EQ(TTML::ConvertTimeExpressionToMS("90000t", 0.0, 90000), 1000);
    EXPECT_EQ(TTML::ConvertTimeExpressionToMS("0s", 0.0, 0), 0);
    EXPECT_EQ(log.LogLines(), Lines{});
}

TEST(ConvertTimeExpression, AnswersZeroAndWarnsOnceForAnythingElse)
{
    const CaptureStderr log;
    EXPECT_EQ(TTML::ConvertTimeExpressionToMS("1,5s", 0.0, 0), 0);
    EXPECT_EQ(TTML::ConvertTimeExpressionToMS("", 0.0, 0), 0);
    EXPECT_EQ(TTML::ConvertTimeExpressionToMS("1\ns", 0.0, 0), 0);
    EXPECT_EQ(log.LogLines(), (Lines{"W TTMLHOST: '1,5s' is no TTML time expression; it counts as 0",
                                     "W TTMLHOST: '' is no TTML time expression; it counts as 0",
                                     "W TTMLHOST: '1\\ns' is no TTML time expression; it counts as 0"}));
}

TEST(ConvertTimeExpression, ShowsTheBeginningOfALongExpression)
{
    const CaptureStderr log;
    EXPECT_EQ(TTML::ConvertTimeExpressionToMS(std::string(80, '1'), 0.0, 0), 0);
    EXPECT_EQ(TTML::ConvertTimeExpressionToMS(std::string(100000, '1'), 0.0, 0), 0);
    const std::string shown(80, '1');
    EXPECT_EQ(log.LogLines(),
              (Lines{"W TTMLHOST: '" + shown + "' is no TTML time expression; it counts as 0",
                     "W TTMLHOST: '" + shown + "...' is no TTML time expression; it counts as 0"}));
}

TEST(GetTimeofDay, CountsTheMillisecondsOfTheMonotonicClock)
{
    const std::int64_t before = MonotonicMs();
    const std::uint32_t first = TTML::TTMLGetTimeofDay();
    const std::int64_t between = MonotonicMs();
    std::int64_t now = between;
    while (now < between + 50) {
        now = MonotonicMs();
    }
    const std::uint32_t second = TTML::TTMLGetTimeofDay();
    const std::int64_t after = MonotonicMs();
    const std::int64_t elapsed = static_cast<std::int64_t>(second) - static_cast<std::int64_t>(first);
    EXPECT_GE(elapsed, now - between);
    EXPECT_LE(elapsed, after - before);
}

TEST(GetTimeofDay, BeginsWhenTheLibraryIsLoaded)
{
    // A program that asks at once is told no more than the time for which it has run.
    const std::int64_t before = MonotonicMs();
    const ChildResult result = RunChild({TTML_TEST_LOG_PROBE, "clock"});
    const std::int64_t after = MonotonicMs();
    ASSERT_EQ(result.status, 0);
    EXPECT_LE(std::stoll(result.out), after - before);
}
