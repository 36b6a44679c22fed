#include "Duration.h"

#include <climits>

#include <gtest/gtest.h>

using TTMLClient::ClockTime;
using TTMLClient::ParseDuration;

namespace {

// Milliseconds, or -1 for what is no duration.
long long Parsed(const std::string& text)
{
    const auto duration = ParseDuration(text);
    return duration ? duration->count() : -1;
}

TEST(Duration, ReadsEveryUnit)
{
    EXPECT_EQ(Parsed("1500ms"), 1500);
    EXPECT_EQ(Parsed("2s"), 2000);
    EXPECT_EQ(Parsed("3m"), 180000);
    EXPECT_EQ(Parsed("1h"), 3600000);
    EXPECT_EQ(Parsed("0s"), 0);
}

TEST(Duration, ReadsFractionsAndCutsThemAtAMillisecond)
{
    EXPECT_EQ(Parsed("1.5s"), 1500);
    EXPECT_EQ(Parsed("0.25m"), 15000);
    EXPECT_EQ(Parsed("1.2345678901234567890s"), 1234);
    EXPECT_EQ(Parsed("0.9ms"), 0);
}

TEST(Duration, RefusesWhatIsNone)
{
    for (const char* text : {"", "s", "10", "10 s", " 10s", "10s ", "-1s", "+1s", "1,5s", "1.s", ".5s", "1.5",
                             "10S", "1e3ms", "0x10s", "ten", "10sec", "1s2s"}) {
        EXPECT_EQ(Parsed(text), -1) << "'" << text << "'";
    }
}

TEST(Duration, RefusesWhatIsLongerThanAYear)
{
    EXPECT_EQ(Parsed("8784h"), 8784LL * 3600 * 1000);
    EXPECT_EQ(Parsed("8785h"), -1);
    EXPECT_EQ(Parsed("99999999999999999999999ms"), -1);
}

TEST(ClockTime, WritesHoursMinutesSecondsMilliseconds)
{
    EXPECT_EQ(ClockTime(0), "00:00:00.000");
    EXPECT_EQ(ClockTime(3723004), "01:02:03.004");
    EXPECT_EQ(ClockTime(-1500), "-00:00:01.500");
    EXPECT_EQ(ClockTime(360000000), "100:00:00.000");
    EXPECT_EQ(ClockTime(LLONG_MIN), "-2562047788015:12:55.808");
}

} // namespace
