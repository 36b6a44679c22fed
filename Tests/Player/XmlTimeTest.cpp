#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "XmlTime.h"

namespace {

using TTMLHost::ParseDateTime;
using TTMLHost::ParseDuration;

constexpr std::int64_t kUntouched = -987654321;

std::int64_t DateTime(const std::string& text)
{
    std::int64_t ms = kUntouched;
    EXPECT_TRUE(ParseDateTime(text, &ms)) << text;
    return ms;
}

std::int64_t Duration(const std::string& text)
{
    std::int64_t ms = kUntouched;
    EXPECT_TRUE(ParseDuration(text, &ms)) << text;
    return ms;
}

TEST(DateTime, CountsFromTheEpoch)
{
    EXPECT_EQ(DateTime("1970-01-01T00:00:00Z"), 0);
    EXPECT_EQ(DateTime("1970-01-02T00:00:01Z"), 86401000);
    EXPECT_EQ(DateTime("2000-02-29T12:00:00Z"), 951825600000);
    EXPECT_EQ(DateTime("2024-05-17T08:30:15Z"), 1715934615000);
    EXPECT_EQ(DateTime("2100-03-01T00:00:00Z"), 4107542400000);
}

TEST(DateTime, CountsBackBeforeTheEpoch)
{
    EXPECT_EQ(DateTime("1969-12-31T23:59:59Z"), -1000);
    EXPECT_EQ(DateTime("1601-01-01T00:00:00Z"), -11644473600000);
    EXPECT_EQ(DateTime("-0001-12-31T00:00:00Z"), -62167305600000);
}

TEST(DateTime, TakesAMissingZoneForUtc)
{
    EXPECT_EQ(DateTime("2024-05-17T08:30:15"), 1715934615000);
}

TEST(DateTime, ReadsZones)
{
    EXPECT_EQ(DateTime("2024-05-17T10:30:15+02:00"), 1715934615000);
    EXPECT_EQ(DateTime("2024-05-17T03:00:15-05:30"), 1715934615000);
    EXPECT_EQ(DateTime("2024-05-17T22:30:15+14:00"), 1715934615000);
}

TEST(DateTime, ReadsFractionsAndCutsThemAtTheMillisecond)
{
    EXPECT_EQ(DateTime("1970-01-01T00:00:00.5Z"), 500);
    EXPECT_EQ(DateTime("1970-01-01T00:00:00.25"), 250);
    EXPECT_EQ(DateTime("1970-01-01T00:00:00.123999999999999999999Z"), 123);
    EXPECT_EQ(DateTime("1970-01-01T00:00:00.007+00:00"), 7);
}

TEST(DateTime, KnowsTheEndOfTheDay)
{
    EXPECT_EQ(DateTime("1970-01-01T24:00:00Z"), 86400000);
}

TEST(DateTime, IgnoresWhiteSpaceAroundIt)
{
    EXPECT_EQ(DateTime(" \n1970-01-01T00:00:01Z\t"), 1000);
}

TEST(DateTime, RefusesWhatIsNone)
{
    for (const char* const text : {"",
                                   " ",
                                   "now",
                                   "1970-01-01",
                                   "1970-01-01T00:00Z",
                                   "1970-01-01 00:00:00Z",
                                   "70-01-01T00:00:00Z",
                                   "1970-1-01T00:00:00Z",
                                   "1970-13-01T00:00:00Z",
                                   "1970-00-01T00:00:00Z",
                                   "1970-01-32T00:00:00Z",
                                   "1970-01-00T00:00:00Z",
                                   "2023-02-29T00:00:00Z",
                                   "1900-02-29T00:00:00Z",
                                   "1970-01-01T24:00:01Z",
                                   "1970-01-01T25:00:00Z",
                                   "1970-01-01T00:60:00Z",
                                   "1970-01-01T00:00:60Z",
                                   "1970-01-01T00:00:00.Z",
                                   "1970-01-01T00:00:00ZZ",
                                   "1970-01-01T00:00:00+2:00",
                                   "1970-01-01T00:00:00+15:00",
                                   "1970-01-01T00:00:00+01:60",
                                   "1970-01-01T00:00:00x",
                                   "1234567-01-01T00:00:00Z"}) {
        std::int64_t ms = kUntouched;
        EXPECT_FALSE(ParseDateTime(text, &ms)) << text;
        EXPECT_EQ(ms, kUntouched) << text;
    }
}

TEST(Duration, ReadsEachUnit)
{
    EXPECT_EQ(Duration("PT1S"), 1000);
    EXPECT_EQ(Duration("PT1M"), 60000);
    EXPECT_EQ(Duration("PT1H"), 3600000);
    EXPECT_EQ(Duration("P1D"), 86400000);
    EXPECT_EQ(Duration("P1M"), 30LL * 86400000);
    EXPECT_EQ(Duration("P1Y"), 365LL * 86400000);
    EXPECT_EQ(Duration("PT0S"), 0);
}

TEST(Duration, AddsUpWhatItHas)
{
    EXPECT_EQ(Duration("P1DT2H3M4.5S"), 93784500);
    EXPECT_EQ(Duration("P1Y2M3DT4H5M6S"), (365LL + 60 + 3) * 86400000 + 14706000);
    EXPECT_EQ(Duration("PT90M"), 5400000);
    EXPECT_EQ(Duration("PT1H30S"), 3630000);
    EXPECT_EQ(Duration("PT634.566S"), 634566);
    EXPECT_EQ(Duration("PT1000000S"), 1000000000);
}

TEST(Duration, MayBeNegative)
{
    EXPECT_EQ(Duration("-PT1.25S"), -1250);
}

TEST(Duration, CutsFractionsAtTheMillisecond)
{
    EXPECT_EQ(Duration("PT0.0019S"), 1);
    EXPECT_EQ(Duration("PT1.99999999999999999999S"), 1999);
}

TEST(Duration, IgnoresWhiteSpaceAroundIt)
{
    EXPECT_EQ(Duration("\t PT2S\r\n"), 2000);
}

TEST(Duration, RefusesWhatIsNone)
{
    for (const char* const text : {"",
                                   "P",
                                   "PT",
                                   "T1S",
                                   "1S",
                                   "PT1",
                                   "P1S",
                                   "PT1D",
                                   "P1DT",
                                   "PT1S1M",
                                   "PT1M1M",
                                   "PT1.5M",
                                   "P1.5D",
                                   "PT.5S",
                                   "PT1.S",
                                   "PT-1S",
                                   "P-1D",
                                   "--PT1S",
                                   "PT1S ?",
                                   "PT1,5S",
                                   "pt1s",
                                   "PT9999999999999999999S",
                                   "P999999999999999999Y"}) {
        std::int64_t ms = kUntouched;
        EXPECT_FALSE(ParseDuration(text, &ms)) << text;
        EXPECT_EQ(ms, kUntouched) << text;
    }
}

} // namespace
