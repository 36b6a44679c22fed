// The MPD's availability start time: from an xs:dateTime to milliseconds since the epoch.

#include <array>
#include <cstdio>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ClockProbe.h"
#include "MpdFixture.h"
#include "PrivateAccess.h"

TTML_EXPOSE_FUNCTION(MpdStart, std::int64_t (*)(const char*), TTML::CMpdParser::m_EpochTimeToMilliSecond)
TTML_EXPOSE_FUNCTION(MpdGmtOffset, std::int32_t (*)(), TTML::CMpdParser::m_GmtOffset)

namespace TTMLTest {

namespace {

using MpdStartTime = MpdTest;

constexpr std::time_t kWinter = 1705312800; // 2024-01-15T10:00:00Z
constexpr std::time_t kSummer = 1721037600; // 2024-07-15T10:00:00Z

Texts StartLines()
{
    Texts lines;
    for (const auto& text : ScriptedLog::Substance()) {
        if (text.find("property") == std::string::npos) {
            lines.push_back(text);
        }
    }
    return lines;
}

// Values.

TEST_F(MpdStartTime, IsCountedFromTheEpoch)
{
    EXPECT_EQ(Start("1970-01-01T00:00:00Z"), 0);
    EXPECT_EQ(Start("1970-01-01T00:00:01Z"), 1000);
    EXPECT_EQ(Start("2019-05-01T00:00:00Z"), 1556668800000);
    EXPECT_EQ(Start("2000-02-29T12:34:56Z"), 951827696000);
    EXPECT_EQ(Start("2038-01-19T03:14:07Z"), 2147483647000);
}

TEST_F(MpdStartTime, AddsTheFraction)
{
    EXPECT_EQ(Start("2019-05-01T00:00:00.5Z"), 1556668800500);
    EXPECT_EQ(Start("2019-05-01T09:30:00.5Z"), 1556703000500);
    EXPECT_EQ(Start("2019-05-01T00:00:00.125Z"), 1556668800125);
    EXPECT_EQ(StartLines(), (Texts{"I Found mpd@ast: 2019-05-01T00:00:00.125Z => 1556668800.125000000, "
                                   "gmtOffset:0"}));
    EXPECT_EQ(Start("1970-01-01T00:00:00.0009Z"), 0) << "truncated";
}

// 59.3 in single precision is 15545139 / 2^18 = 59.2999992..., its fraction 0.2999992..., a thousand times
// which is 299.9992... in single precision too. In double precision it would be 300.
TEST_F(MpdStartTime, TakesTheFractionInSinglePrecision)
{
    EXPECT_EQ(Start("1970-01-01T00:00:59.3Z"), 59299);
    EXPECT_EQ(StartLines(), (Texts{"I Found mpd@ast: 1970-01-01T00:00:59.3Z => 59.299999237, gmtOffset:0"}));
    // 0.7 * 1000 is rounded up to 700 before it is truncated.
    EXPECT_EQ(Start("1970-01-01T00:00:00.7Z"), 700);
}

TEST_F(MpdStartTime, IgnoresWhatFollowsTheSeconds)
{
    for (const char* const end : {"Z", "", "+09:00", "-05:00", " UTC", "Zulu"}) {
        EXPECT_EQ(Start(std::string("2019-05-01T00:00:00") + end), 1556668800000) << end;
        EXPECT_EQ(Start(std::string("2019-05-01T00:00:00.5") + end), 1556668800500) << end;
    }
}

TEST_F(MpdStartTime, TakesFieldsBeyondTheirRangeOn)
{
    EXPECT_EQ(Start("1970-01-01T24:00:00Z"), 86400000);
    EXPECT_EQ(Start("1970-01-01T00:00:61Z"), 61000);
    EXPECT_EQ(Start("1970-13-01T00:00:00Z"), 31536000000);
    EXPECT_EQ(Start("1970-01-32T00:00:00Z"), 2678400000);
    EXPECT_EQ(Start("2019-5-1T0:0:0Z"), 1556668800000) << "no zeros in front";
    EXPECT_EQ(Start(" 2019- 05- 01T 00: 00: 00Z"), 1556668800000) << "blanks in front of numbers";
}

TEST_F(MpdStartTime, SplitsNegativeSecondsTowardsZero)
{
    EXPECT_EQ(Start("1970-01-01T00:01:-1.5Z"), 58500);
}

// What is none is read as the epoch, as far as it is none.

TEST_F(MpdStartTime, IsNotKnownWhenTheTextIsNone)
{
    for (const char* const text : {"", "now", "T", "-", "tomorrow at noon"}) {
        EXPECT_EQ(Start(text), 0) << text;
        EXPECT_EQ(StartLines(),
                  (Texts{"I Found mpd@ast: " + std::string(text) + " => 0.000000000, gmtOffset:0"}));
    }
}

TEST_F(MpdStartTime, IsReadAsFarAsItGoes)
{
    EXPECT_EQ(Start("2019"), 1546300800000);
    EXPECT_EQ(Start("2019-05-01"), 1556668800000);
    EXPECT_EQ(Start("2019-05-01 09:30:00Z"), 1556668800000) << "no T";
    EXPECT_EQ(Start("2019-05-01t09:30:00Z"), 1556668800000) << "a small t";
    EXPECT_EQ(Start("2019-05-01T09"), 1556701200000);
    EXPECT_EQ(Start("2019-05-01T09:30Z"), 1556703000000);
}

TEST_F(MpdStartTime, OfANullIsZeroWithoutAWord)
{
    EXPECT_EQ(CallPrivateStatic<MpdStart>(nullptr), 0);
    EXPECT_EQ(ScriptedLog::Substance(), Texts{});
}

TEST_F(MpdStartTime, IsASumOf32Bits)
{
    if (sizeof(std::time_t) == 4) {
        EXPECT_EQ(Start("2040-01-01T00:00:00Z"), -1000) << "the C library cannot tell a time past 2038";
        EXPECT_EQ(StartLines(),
                  (Texts{"W mktime returns -1",
                         "I Found mpd@ast: 2040-01-01T00:00:00Z => -1.000000000, gmtOffset:0"}));
        return;
    }
    // 2040-01-01 is 2208988800 s, which is 2085978496 s below 2^32.
    EXPECT_EQ(Start("2040-01-01T00:00:00Z"), -2085978496000);
    EXPECT_EQ(StartLines(), (Texts{"I Found mpd@ast: 2040-01-01T00:00:00Z => -2085978496.000000000, "
                                   "gmtOffset:0"}));
}

// Values that only just fit something, or do not. The undefined-behaviour sanitizer watches.
TEST_F(MpdStartTime, OfAbsurdNumbersIsSomething)
{
    for (const char* const number :
         {"2147483647", "2147483648", "-2147483648", "99999999999999999999", "-99999999999999999999"}) {
        const std::string n = number;
        for (const std::string& text :
             {n + "-01-01T00:00:00Z", "2019-" + n + "-01T00:00:00Z", "2019-05-" + n + "T00:00:00Z",
              "2019-05-01T" + n + ":00:00Z", "2019-05-01T00:" + n + ":00Z", "2019-05-01T00:00:" + n + "Z",
              n + "-" + n + "-" + n + "T" + n + ":" + n + ":" + n + "Z"}) {
            Start(text);
            EXPECT_EQ(ScriptedLog::CountOf({"m_EpochTimeToMilliSecond", "Exit"}), 1U) << text;
        }
    }
    for (const char* const seconds : {"1e38", "-1e38", "inf", "-inf", "nan", "3e9", "-3e9", "1e-40"}) {
        Start(std::string("2019-05-01T00:00:") + seconds);
        EXPECT_EQ(ScriptedLog::CountOf({"m_EpochTimeToMilliSecond", "Exit"}), 1U) << seconds;
    }
}

TEST_F(MpdStartTime, IsReadInTenMegabytes)
{
    const std::string ones(10000000, '1');
    EXPECT_EQ(Start("1970-01-01T00:00:01" + std::string(".") + ones), 1111);
    EXPECT_EQ(Start("1970-01-01T00:00:01Z" + ones), 1000);
    Start(ones);
    EXPECT_EQ(ScriptedLog::CountOf({"m_EpochTimeToMilliSecond", "Exit"}), 1U);
}

// The local zone.

TEST_F(MpdStartTime, IsTheSameInAnyZone)
{
    for (const char* const rule : {"UTC0", "AAA-9", "BBB+8", "CCC-5:45", "DDD+3:30EEE,M3.2.0,M11.1.0",
                                   "FFF-10GGG,M10.1.0,M4.1.0/3", "HHH-1III,M3.5.0,M10.5.0/3", "JJJ-14"}) {
        const ZoneGuard zone(rule);
        for (const std::time_t now : {kWinter, kSummer}) {
            ClockProbe clock;
            clock.SetNow(now);
            EXPECT_EQ(Start("1970-01-01T00:00:00Z"), 0) << rule;
            EXPECT_EQ(Start("2019-05-01T00:00:00Z"), 1556668800000) << rule;
            EXPECT_EQ(Start("2019-12-01T00:00:00Z"), 1575158400000) << rule;
        }
    }
}

TEST_F(MpdStartTime, SaysTheZonesStandardOffset)
{
    const ZoneGuard zone("HHH-1III,M3.5.0,M10.5.0/3");
    for (const std::time_t now : {kWinter, kSummer}) {
        ClockProbe clock;
        clock.SetNow(now);
        Start("2019-07-01T12:00:00.25+02:00");
        EXPECT_EQ(StartLines(), (Texts{"I Found mpd@ast: 2019-07-01T12:00:00.25+02:00 => "
                                       "1561982400.250000000, gmtOffset:3600"}));
    }
}

TEST_F(MpdStartTime, KnowsTheOffsetEastOfUtc)
{
    const std::vector<std::pair<const char*, std::int32_t>> zones = {
        {"UTC0", 0}, {"EST5EDT,M3.2.0,M11.1.0", -18000}, {"IST-5:30", 19800}, {"XXX-14", 50400}};
    for (const auto& [rule, offset] : zones) {
        const ZoneGuard zone(rule);
        for (const std::time_t now : {kWinter, kSummer, std::time_t{0}}) {
            ClockProbe clock;
            clock.SetNow(now);
            EXPECT_EQ(CallPrivateStatic<MpdGmtOffset>(), offset) << rule;
        }
    }
    EXPECT_EQ(ScriptedLog::Substance(), Texts{});
}

// Seconds of summer and winter, and the hours that a change of the clocks leaves out and repeats.
TEST_F(MpdStartTime, AgreesWithTheCalendarInEightZones)
{
    struct Instant
    {
        std::string text;
        long long milliseconds;
    };
    constexpr std::time_t kFirst = 1577836800; // 2020-01-01T00:00:00Z
    constexpr std::time_t kEnd = 2145916800;   // 2038-01-01T00:00:00Z
    std::mt19937 random(20200101);
    std::uniform_int_distribution<std::time_t> any(kFirst, kEnd - 1);
    std::vector<Instant> instants;
    while (instants.size() < 10000) {
        const std::time_t drawn = any(random);
        std::tm utc{};
        gmtime_r(&drawn, &utc);
        std::array<char, 32> text{};
        std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc);
        instants.push_back({text.data(), 1000LL * timegm(&utc)});
    }
    for (const char* const name : {"UTC", "Asia/Tokyo", "Asia/Kolkata", "Europe/Berlin", "America/New_York",
                                   "America/St_Johns", "Australia/Sydney", "Pacific/Chatham"}) {
        if (!ZoneGuard::IsThere(name)) {
            GTEST_SKIP() << "this machine has no time zone " << name << "; install tzdata";
        }
        const ZoneGuard zone(name);
        ClockProbe clock;
        bool summer = false;
        for (const auto& instant : instants) {
            clock.SetNow(summer ? kSummer : kWinter);
            summer = !summer;
            ASSERT_EQ(CallPrivateStatic<MpdStart>(instant.text.c_str()), instant.milliseconds)
                << instant.text << " in " << name;
        }
        ScriptedLog::Clear();
        Journal::Instance().Clear();
    }
}

// Moscow's standard time was four hours ahead of UTC from 2011-03-27 to 2014-10-26, and has been three ahead
// since. 2012-06-01T00:00:00 read as local time of then is 2012-05-31T20:00:00Z: 15492 days of 86400 s less
// 14400 s, which makes 1338494400. The offset that is to undo the reading is that of today, 10800. So the sum
// is 1338505200, an hour less than the instant in UTC.
TEST_F(MpdStartTime, IsAnHourOffBeforeMoscowChangedItsStandardTime)
{
    if (!ZoneGuard::IsThere("Europe/Moscow")) {
        GTEST_SKIP() << "this machine has no time zone Europe/Moscow; install tzdata";
    }
    const ZoneGuard zone("Europe/Moscow");
    EXPECT_EQ(Start("2012-06-01T00:00:00Z"), 1338505200000);
    EXPECT_EQ(StartLines(), (Texts{"I Found mpd@ast: 2012-06-01T00:00:00Z => 1338505200.000000000, "
                                   "gmtOffset:10800"}));
    EXPECT_EQ(Start("2015-06-01T00:00:00Z"), 1433116800000) << "the zone is as it is today";
}

// What the calendar fails to tell.

TEST_F(MpdStartTime, GoesOnWhenTheTimeIsOneSecondBeforeTheEpoch)
{
    // That is what a failure looks like.
    EXPECT_EQ(Start("1969-12-31T23:59:59.5Z"), -500);
    EXPECT_EQ(StartLines(), (Texts{"W mktime returns -1",
                                   "I Found mpd@ast: 1969-12-31T23:59:59.5Z => -0.500000000, gmtOffset:0"}));
}

TEST_F(MpdStartTime, GoesOnWhenTheTimeCannotBeTold)
{
    const ZoneGuard zone("AAA-2");
    ClockProbe clock;
    clock.FailMktime(1);
    EXPECT_EQ(Start("2019-05-01T00:00:00.25Z"), 7199250);
    EXPECT_EQ(StartLines(),
              (Texts{"W mktime returns -1",
                     "I Found mpd@ast: 2019-05-01T00:00:00.25Z => 7199.250000000, gmtOffset:7200"}));
    EXPECT_EQ(ScriptedLog::CountOf({"m_EpochTimeToMilliSecond", "mktime returns -1"}), 1U);
}

TEST_F(MpdStartTime, GoesOnWhenTheOffsetCannotBeTold)
{
    ClockProbe clock;
    clock.SetNow(1000);
    clock.FailMktime(2);
    // The offset is the time now less -1.
    EXPECT_EQ(Start("1970-01-01T01:00:00Z"), 4601000);
    EXPECT_EQ(StartLines(),
              (Texts{"W mktime returns -1", "I Found mpd@ast: 1970-01-01T01:00:00Z => 4601.000000000, "
                                            "gmtOffset:1001"}));
    EXPECT_EQ(ScriptedLog::CountOf({"m_GmtOffset", "mktime returns -1"}), 1U);
}

TEST_F(MpdStartTime, TakesNoOffsetWhenTheTimeNowCannotBeTakenApart)
{
    const ZoneGuard zone("AAA-2");
    ClockProbe clock;
    clock.FailGmtime();
    EXPECT_EQ(Start("1970-01-01T03:00:00Z"), 3600000) << "still a local time";
    EXPECT_EQ(StartLines(), (Texts{"W ptm is null!",
                                   "I Found mpd@ast: 1970-01-01T03:00:00Z => 3600.000000000, gmtOffset:0"}));
    EXPECT_EQ(ScriptedLog::CountOf({"m_GmtOffset", "Exit"}), 1U);
}

} // namespace

} // namespace TTMLTest
