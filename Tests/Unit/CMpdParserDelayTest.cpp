// The MPD's suggested presentation delay: from an xs:duration to milliseconds.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "CommaLocale.h"
#include "DurationReading.h"
#include "MpdFixture.h"
#include "PrivateAccess.h"

TTML_EXPOSE_FUNCTION(MpdDelay, std::int64_t (*)(const std::string&), TTML::CMpdParser::m_ISO8601TimeToSecond)

namespace TTMLTest {

namespace {

using MpdDelayTime = MpdTest;

const Texts kInvalid = {"W Invalid time format!"};

std::string LineOf(const std::string& text, const DurationReading& reading)
{
    std::array<char, 256> numbers{};
    std::snprintf(numbers.data(), numbers.size(), " ==> hour[%d], minute[%d], second[%f] = %lld MS",
                  reading.hours, reading.minutes, static_cast<double>(reading.seconds),
                  static_cast<long long>(reading.milliseconds));
    return "I mpd@spd: " + text + numbers.data();
}

// Values.

TEST_F(MpdDelayTime, AddsItsParts)
{
    EXPECT_EQ(Delay("PT2S"), 2000);
    EXPECT_EQ(Delay("PT1.5S"), 1500);
    EXPECT_EQ(Delay("PT1M"), 60000);
    EXPECT_EQ(Delay("PT1H"), 3600000);
    EXPECT_EQ(Delay("PT1H30M"), 5400000);
    EXPECT_EQ(Delay("PT1H2M3.5S"), 3723500);
    EXPECT_EQ(DelayLines(),
              (Texts{"I mpd@spd: PT1H2M3.5S ==> hour[1], minute[2], second[3.500000] = 3723500 MS"}));
}

TEST_F(MpdDelayTime, TakesSecondsInSinglePrecision)
{
    EXPECT_EQ(Delay("PT0.7S"), 699);
    EXPECT_EQ(DelayLines(), (Texts{"I mpd@spd: PT0.7S ==> hour[0], minute[0], second[0.700000] = 699 MS"}));
    EXPECT_EQ(Delay("PT0.1S"), 100);
    // 3600 s and more leave no room for what is below 2^-12 s.
    EXPECT_EQ(Delay("PT1H0.0001S"), 3600000);
    EXPECT_EQ(Delay("PT1H0.7S"), 3600699);
    // 4660 h are 16776000 s, where the next even number of seconds is all that is told apart beyond 2^24.
    EXPECT_EQ(Delay("PT4661H0.3S"), 16779600000);
}

TEST_F(MpdDelayTime, ConvertsTheSumOfHoursAndMinutesOnce)
{
    // 3600 * 4660 + 60 * 20 + 17 = 16777217 is the first whole number that single precision has not; seconds
    // are added to the converted sum.
    EXPECT_EQ(Delay("PT4660H20M17S"), 16777216000);
    EXPECT_EQ(Delay("PT4660H20M18S"), 16777218000);
}

TEST_F(MpdDelayTime, CutsHoursAndMinutes)
{
    EXPECT_EQ(Delay("PT1.5M"), 60000);
    EXPECT_EQ(Delay("PT1.9H"), 3600000);
    EXPECT_EQ(DelayLines(),
              (Texts{"I mpd@spd: PT1.9H ==> hour[1], minute[0], second[0.000000] = 3600000 MS"}));
    EXPECT_EQ(Delay("PT0.9H0.9M0.9S"), 899);
    EXPECT_EQ(Delay("PT-1.9M"), -60000);
}

TEST_F(MpdDelayTime, TakesPartsInAnyOrder)
{
    EXPECT_EQ(Delay("PT5S1H"), 3605000);
    EXPECT_EQ(Delay("PT5S1M1H"), 3665000);
}

TEST_F(MpdDelayTime, TakesTheLastOfAKind)
{
    EXPECT_EQ(Delay("PT1S2S"), 2000);
    EXPECT_EQ(Delay("PT1H1M2M1S2H"), 7321000);
}

TEST_F(MpdDelayTime, OfNoPartsIsZero)
{
    EXPECT_EQ(Delay("PT"), 0);
    EXPECT_EQ(DelayLines(), (Texts{"I mpd@spd: PT ==> hour[0], minute[0], second[0.000000] = 0 MS"}));
}

// What is none.

TEST_F(MpdDelayTime, WithoutPtIsZeroWithoutAWord)
{
    for (const char* const text : {"", "P", "T", "2", "2S", "pT2S", "Pt2S", " PT2S", "P1DT2H", "P1D",
                                   "P0DT5S", "-PT2S", "TP2S", "P T2S"}) {
        EXPECT_EQ(Delay(text), 0) << text;
        EXPECT_EQ(DelayLines(), Texts{}) << text;
    }
}

TEST_F(MpdDelayTime, WithoutADesignatorAtTheEndIsInvalid)
{
    for (const char* const text :
         {"PT10", "PT1h", "PT1s", "PT1H1", "PT1H ", "PT1S.", "PTx", "PT ", "PT1H1M1", "PT2D", "PT2SZ"}) {
        EXPECT_EQ(Delay(text), 0) << text;
        EXPECT_EQ(DelayLines(), kInvalid) << text;
    }
}

TEST_F(MpdDelayTime, StepsOverWhatIsNoDesignator)
{
    EXPECT_EQ(Delay("PT5xyzS"), 5000);
    EXPECT_EQ(Delay("PT1 H 2 M"), 3720000);
    EXPECT_EQ(Delay("PT1,5S"), 1000) << "no decimal comma";
    EXPECT_EQ(Delay("PT2P3T4S"), 2000);
}

// Numbers.

TEST_F(MpdDelayTime, WithoutANumberTakesTheLastOne)
{
    EXPECT_EQ(Delay("PTS"), 0);
    EXPECT_EQ(DelayLines(), (Texts{"I mpd@spd: PTS ==> hour[0], minute[0], second[0.000000] = 0 MS"}));
    EXPECT_EQ(Delay("PT5HM"), 18300000);
    EXPECT_EQ(DelayLines(),
              (Texts{"I mpd@spd: PT5HM ==> hour[5], minute[5], second[0.000000] = 18300000 MS"}));
    EXPECT_EQ(Delay("PT1.5MxS"), 61500);
}

TEST_F(MpdDelayTime, ReadsSignsAndExponents)
{
    EXPECT_EQ(Delay("PT-5S"), -5000);
    EXPECT_EQ(Delay("PT+5S"), 5000);
    EXPECT_EQ(Delay("PT1e1S"), 10000);
    EXPECT_EQ(Delay("PT0x10S"), 16000);
    EXPECT_EQ(Delay("PT.5S"), 500);
    EXPECT_EQ(Delay("PT5.S"), 5000);
}

// The undefined-behaviour sanitizer watches.
TEST_F(MpdDelayTime, TakesTheNearestWhereANumberDoesNotFit)
{
    EXPECT_EQ(Delay("PT1e38S"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(Delay("PT-1e38S"), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(Delay("PTinfS"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(Delay("PTnanS"), 0);
    EXPECT_EQ(Delay("PTnanH1S"), 1000);
    Delay("PT1e38H");
    EXPECT_EQ(DelayLines().at(0).rfind("I mpd@spd: PT1e38H ==> hour[2147483647], ", 0), 0U);
    Delay("PT-infM");
    EXPECT_EQ(DelayLines().at(0).rfind("I mpd@spd: PT-infM ==> hour[0], minute[-2147483648], ", 0), 0U);
}

TEST_F(MpdDelayTime, LetsWholeSecondsWrap)
{
    // 596523 h 14 min 8 s are 2^31 s.
    EXPECT_EQ(Delay("PT596523H14M"), 2147483648000) << "2147483640 s in single precision";
    EXPECT_EQ(Delay("PT596523H15M"), -2147483648000) << "2147483700 - 2^32 in single precision";
    EXPECT_EQ(Delay("PT1193047H"), 1904000) << "4294969200 - 2^32";
}

// A reader that goes to the end of the text for each part would read 10^13 characters.
TEST_F(MpdDelayTime, IsReadInTenMegabytes)
{
    std::string many = "PT";
    for (int i = 0; i < 2500000; ++i) {
        many += "1H2S";
    }
    EXPECT_EQ(CallPrivateStatic<MpdDelay>(many), 3602000);
    std::string empty = "PT3";
    empty.append(10000000, 'M');
    EXPECT_EQ(CallPrivateStatic<MpdDelay>(empty), 180000);
    EXPECT_EQ(CallPrivateStatic<MpdDelay>("PT" + std::string(10000000, '1') + "S"),
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(CallPrivateStatic<MpdDelay>("PT1" + std::string(10000000, ' ') + "S"), 1000);
    EXPECT_EQ(CallPrivateStatic<MpdDelay>("PT" + std::string(10000000, 'x')), 0);
    std::string blanks = "PT";
    for (int i = 0; i < 1000; ++i) {
        blanks += std::string(10000, ' ') + "7S";
    }
    EXPECT_EQ(CallPrivateStatic<MpdDelay>(blanks), 7000);
    std::string nans = "PTnan(";
    nans.append(10000000, 'S');
    EXPECT_EQ(CallPrivateStatic<MpdDelay>(nans), 0);
}

// Against a second reading of the rules.

class DurationMaker
{
public:
    explicit DurationMaker(unsigned int seed)
        : m_random(seed)
    {}

    std::string Next()
    {
        std::string text = Draw(20) != 0 ? "PT" : Pick({"P", "T", "pt", "P1DT", "", "PPT", " PT"});
        for (unsigned int parts = Draw(5); parts > 0; --parts) {
            text += Number() + Pick({"H", "M", "S", "S", "M", "H", "h", " S", "xM", "TH", " "});
        }
        return text;
    }

private:
    unsigned int Draw(unsigned int end) { return static_cast<unsigned int>(m_random()) % end; }
    std::string Pick(std::initializer_list<const char*> choices)
    {
        return *(choices.begin() + Draw(static_cast<unsigned int>(choices.size())));
    }
    std::string Number()
    {
        const std::string digits = std::to_string(Draw(1U << Draw(17)));
        switch (Draw(8)) {
        case 0:
            return "";
        case 1:
            return Pick({"-", "+", " ", ".", "e1 ", "-.", "+ 1 "});
        case 2:
            return Pick({"-", "+", " ", "0"}) + digits;
        case 3:
            return digits + "e" + Pick({"0", "1", "-1", "+2", "-3", ""}) + " "; // no digits of the next part
        case 4:
            return digits;
        default:
            return digits + "." + std::to_string(Draw(1000));
        }
    }

    std::mt19937 m_random;
};

void CompareWithTheReading(unsigned int seed, int count)
{
    DurationMaker maker(seed);
    std::array<int, 3> outcomes{};
    for (int i = 0; i < count; ++i) {
        const std::string text = maker.Next();
        const DurationReading reading = ReadDuration(text);
        ScriptedLog::Clear();
        ASSERT_EQ(CallPrivateStatic<MpdDelay>(text), reading.milliseconds)
            << "'" << text << "', text " << i << " of seed " << seed;
        Texts expected;
        if (reading.outcome == DurationReading::Outcome::GOOD) {
            expected.push_back(LineOf(text, reading));
        } else if (reading.outcome == DurationReading::Outcome::CUT_SHORT) {
            expected = kInvalid;
        }
        ASSERT_EQ(ScriptedLog::Substance(), expected)
            << "'" << text << "', text " << i << " of seed " << seed;
        ++outcomes.at(static_cast<std::size_t>(reading.outcome));
    }
    Journal::Instance().Clear();
    for (const int times : outcomes) {
        EXPECT_GT(times, count / 50) << "every outcome is among them";
    }
}

TEST_F(MpdDelayTime, AgreesWithASecondReading)
{
    for (unsigned int seed = 1; seed <= 10; ++seed) {
        CompareWithTheReading(seed, 10000);
    }
}

TEST_F(MpdDelayTime, IsTheSameInALocaleWithADecimalComma)
{
    DurationMaker maker(11);
    std::vector<std::pair<std::string, std::int64_t>> expected;
    for (int i = 0; i < 5000; ++i) {
        const std::string text = maker.Next();
        expected.emplace_back(text, ReadDuration(text).milliseconds);
    }
    const CommaLocale locale;
    if (!locale.IsThere()) {
        GTEST_SKIP() << "this machine has no locale with a decimal comma and no localedef to make one";
    }
    EXPECT_EQ(Delay("PT0.7S"), 699);
    EXPECT_EQ(Start("1970-01-01T00:00:00.5Z"), 500);
    for (const auto& [text, milliseconds] : expected) {
        ASSERT_EQ(CallPrivateStatic<MpdDelay>(text), milliseconds) << text;
    }
}

} // namespace

} // namespace TTMLTest
