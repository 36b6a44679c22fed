#include "TimeExpression.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <regex.h>

#include <gtest/gtest.h>

#include "CommaLocale.h"

using namespace TTMLTest;
using TTMLHost::ParseTimeExpression;

namespace {

using Result = std::optional<long long>;
constexpr long long kMaximum = std::numeric_limits<long long>::max();

Result Parse(const std::string& expression, double frameRate = 0.0, int tickRate = 0)
{
    long long ms = -1;
    if (ParseTimeExpression(expression, frameRate, tickRate, &ms)) {
        return ms;
    }
    EXPECT_EQ(ms, -1) << "touched by '" << expression << "'";
    return std::nullopt;
}

// A POSIX extended regular expression that is matched against whole texts.
class Pattern
{
public:
    explicit Pattern(const char* text) { EXPECT_EQ(regcomp(&m_regex, text, REG_EXTENDED), 0) << text; }
    ~Pattern() { regfree(&m_regex); }
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    // The text's part for each group, the whole first; empty where a group took no part. False without a
    // match.
    bool Match(const std::string& text, std::vector<std::string>* parts) const
    {
        regmatch_t found[8];
        found[0].rm_so = 0;
        found[0].rm_eo = static_cast<regoff_t>(text.size()); // the text may hold a zero
        if (regexec(&m_regex, text.c_str(), 8, found, REG_STARTEND) != 0) {
            return false;
        }
        parts->clear();
        for (const regmatch_t& group : found) {
            parts->push_back(group.rm_so < 0
                                 ? std::string()
                                 : text.substr(static_cast<std::size_t>(group.rm_so),
                                               static_cast<std::size_t>(group.rm_eo - group.rm_so)));
        }
        return true;
    }

private:
    regex_t m_regex;
};

// The reference: the grammar as two regular expressions, the value as one fraction of whole numbers. For
// numbers of up to 17 digits and whole rates.
class Reference
{
public:
    Result Parse(const std::string& expression, int frameRate, int tickRate) const
    {
        const int frames = frameRate != 0 ? frameRate : 30;
        const int ticks = tickRate != 0 ? tickRate : (frameRate != 0 ? frameRate : 1);
        std::vector<std::string> part;
        if (m_clock.Match(expression, &part)) {
            const long long whole =
                std::stoll(part[1]) * 3600 + std::stoll(part[2]) * 60 + std::stoll(part[3]);
            if (!part[6].empty()) {
                const long long frame = std::stoll(part[6]);
                return frame < frames ? Result(whole * 1000 + Round(static_cast<Integer>(frame * 1000),
                                                                    static_cast<Integer>(frames)))
                                      : std::nullopt;
            }
            return Scale(std::to_string(whole), part[5], 1000, 1);
        }
        if (m_offset.Match(expression, &part)) {
            const std::string metric = part[4];
            const Integer multiplier = metric == "h"    ? 3600000
                                       : metric == "m"  ? 60000
                                       : metric == "ms" ? 1
                                                        : 1000;
            const int divisor = metric == "f" ? frames : (metric == "t" ? ticks : 1);
            return Scale(part[1], part[3], multiplier, static_cast<Integer>(divisor));
        }
        return std::nullopt;
    }

private:
    __extension__ typedef unsigned __int128 Integer;

    static long long Round(Integer numerator, Integer denominator)
    {
        const Integer rounded = (2 * numerator + denominator) / (2 * denominator);
        return rounded > static_cast<Integer>(kMaximum) ? kMaximum : static_cast<long long>(rounded);
    }

    // whole.fraction * multiplier / divisor
    static long long Scale(const std::string& whole, const std::string& fraction, Integer multiplier,
                           Integer divisor)
    {
        Integer power = 1;
        for (std::size_t i = 0; i < fraction.size(); ++i) {
            power *= 10;
        }
        return Round(static_cast<Integer>(std::stoll(whole + fraction)) * multiplier, power * divisor);
    }

    const Pattern m_clock{"^([0-9]{2,}):([0-5][0-9]):([0-5][0-9])(\\.([0-9]+)|:([0-9]{2,}))?$"};
    const Pattern m_offset{"^([0-9]+)(\\.([0-9]+))?(h|m|s|ms|f|t)$"};
};

// Makes expressions of both forms, and damages some of them.
class Generator
{
public:
    std::string Next()
    {
        std::string text = m_Below(2) == 0 ? m_Clock() : m_Offset();
        if (m_Below(3) == 0) {
            m_Damage(&text);
        }
        return text;
    }
    int FrameRate() { return m_Pick<int>({0, 0, 1, 7, 24, 25, 30, 50, 60, 120, 1000, 90000}); }
    int TickRate() { return m_Pick<int>({0, 0, 1, 3, 10, 90000, 10000000, 2147483647}); }

private:
    std::size_t m_Below(std::size_t limit) { return m_random() % limit; }

    template <typename Value>
    Value m_Pick(const std::vector<Value>& values)
    {
        return values[m_Below(values.size())];
    }

    std::string m_Digits(std::size_t least, std::size_t most)
    {
        std::string digits(least + m_Below(most - least + 1), '0');
        for (char& digit : digits) {
            digit = static_cast<char>('0' + m_Below(10));
        }
        return digits;
    }

    std::string m_Sixtieth() { return std::to_string(m_Below(6)) + m_Digits(1, 1); }
    std::string m_Fraction()
    {
        return m_Below(2) == 0 ? ""
                               : "." + m_Pick<std::string>({m_Digits(1, 6), "5", "0005", "4999999", "9995"});
    }

    std::string m_Clock()
    {
        std::string text = m_Digits(2, 4) + ":" + m_Sixtieth() + ":" + m_Sixtieth();
        return m_Below(2) == 0 ? text + m_Fraction() : text + ":" + m_Digits(2, 3);
    }

    std::string m_Offset()
    {
        return m_Digits(1, 8) + m_Fraction() + m_Pick<std::string>({"h", "m", "s", "ms", "f", "t"});
    }

    void m_Damage(std::string* text)
    {
        static const std::string kCharacters = std::string("0123456789::..hmsft ,-+eExX\n\t\0", 30);
        const char character = kCharacters[m_Below(kCharacters.size())];
        const std::size_t at = m_Below(text->size());
        switch (m_Below(3)) {
        case 0:
            text->erase(at, 1);
            break;
        case 1:
            text->insert(m_Below(2) == 0 ? at : (m_Below(2) == 0 ? 0 : text->size()), 1, character);
            break;
        default:
            (*text)[at] = character;
        }
    }

    std::mt19937 m_random{20240229};
};

// Compares `count` expressions with the reference; both kinds must be among them in number.
void CompareWithReference(int count)
{
    const Reference reference;
    Generator generator;
    int valid = 0;
    for (int i = 0; i < count; ++i) {
        const std::string expression = generator.Next();
        const int frameRate = generator.FrameRate();
        const int tickRate = generator.TickRate();
        const Result expected = reference.Parse(expression, frameRate, tickRate);
        ASSERT_EQ(Parse(expression, frameRate, tickRate), expected)
            << "'" << expression << "' at " << frameRate << " frames, " << tickRate << " ticks a second";
        valid += expected.has_value() ? 1 : 0;
    }
    EXPECT_GT(valid, count / 4);
    EXPECT_GT(count - valid, count / 10);
}

} // namespace

TEST(TimeExpression, ReadsClockTime)
{
    EXPECT_EQ(Parse("00:00:00"), 0);
    EXPECT_EQ(Parse("00:00:01"), 1000);
    EXPECT_EQ(Parse("01:02:03"), 3723000);
    EXPECT_EQ(Parse("23:59:59"), 86399000);
    EXPECT_EQ(Parse("99:59:59"), 359999000);
    EXPECT_EQ(Parse("100:00:00"), 360000000);
    EXPECT_EQ(Parse("000000001:00:00"), 3600000);
}

TEST(TimeExpression, ReadsClockTimeWithAFraction)
{
    EXPECT_EQ(Parse("00:00:01.5"), 1500);
    EXPECT_EQ(Parse("00:00:01.05"), 1050);
    EXPECT_EQ(Parse("00:00:01.250"), 1250);
    EXPECT_EQ(Parse("00:00:59.999"), 59999);
    EXPECT_EQ(Parse("00:00:00.000000000000000000000000001"), 0);
}

TEST(TimeExpression, ReadsClockTimeWithFrames)
{
    EXPECT_EQ(Parse("00:00:01:00"), 1000);
    EXPECT_EQ(Parse("00:00:01:15"), 1500);
    EXPECT_EQ(Parse("00:00:01:01"), 1033);
    EXPECT_EQ(Parse("00:00:01:29"), 1967);
    EXPECT_EQ(Parse("00:00:01:12", 25.0), 1480);
    EXPECT_EQ(Parse("00:00:01:119", 120.0), 1992);
    EXPECT_EQ(Parse("00:00:01:0012", 25.0), 1480);
    EXPECT_EQ(Parse("00:00:01:29", 30000.0 / 1001.0), 1968);
}

TEST(TimeExpression, RefusesFramesFromTheFrameRateOn)
{
    EXPECT_EQ(Parse("00:00:01:30"), std::nullopt);
    EXPECT_EQ(Parse("00:00:01:25", 25.0), std::nullopt);
    EXPECT_EQ(Parse("00:00:01:30", 30000.0 / 1001.0), std::nullopt);
    EXPECT_EQ(Parse("00:00:01:99999999999999999999999999"), std::nullopt);
    EXPECT_EQ(Parse("00:00:01:24", 25.0), 1960);
}

TEST(TimeExpression, ReadsOffsetTime)
{
    EXPECT_EQ(Parse("0s"), 0);
    EXPECT_EQ(Parse("1h"), 3600000);
    EXPECT_EQ(Parse("1.5h"), 5400000);
    EXPECT_EQ(Parse("90m"), 5400000);
    EXPECT_EQ(Parse("0.1m"), 6000);
    EXPECT_EQ(Parse("12.345s"), 12345);
    EXPECT_EQ(Parse("007s"), 7000);
    EXPECT_EQ(Parse("500ms"), 500);
    EXPECT_EQ(Parse("1234567890123ms"), 1234567890123);
}

TEST(TimeExpression, ReadsFramesAndTicksAtTheirDefaultRates)
{
    EXPECT_EQ(Parse("30f"), 1000);
    EXPECT_EQ(Parse("1f"), 33);
    EXPECT_EQ(Parse("1.5f"), 50);
    EXPECT_EQ(Parse("7t"), 7000);
    EXPECT_EQ(Parse("0.25t"), 250);
}

TEST(TimeExpression, ReadsFramesAndTicksAtGivenRates)
{
    EXPECT_EQ(Parse("25f", 25.0), 1000);
    EXPECT_EQ(Parse("30f", 30000.0 / 1001.0), 1001);
    EXPECT_EQ(Parse("90000t", 0.0, 90000), 1000);
    EXPECT_EQ(Parse("10000000t", 25.0, 10000000), 1000);
    EXPECT_EQ(Parse("2147483647t", 0.0, 2147483647), 1000);
}

TEST(TimeExpression, TicksFollowAGivenFrameRate)
{
    EXPECT_EQ(Parse("50t", 25.0, 0), 2000);
    EXPECT_EQ(Parse("30t", 30000.0 / 1001.0, 0), 1001);
}

TEST(TimeExpression, RoundsToTheNearestMillisecondHalvesUp)
{
    EXPECT_EQ(Parse("0.4999999999999999999999999ms"), 0);
    EXPECT_EQ(Parse("0.5ms"), 1);
    EXPECT_EQ(Parse("1.5ms"), 2);
    EXPECT_EQ(Parse("2.5ms"), 3);
    EXPECT_EQ(Parse("00:00:00.0004999"), 0);
    EXPECT_EQ(Parse("00:00:00.0005"), 1);
    EXPECT_EQ(Parse("00:00:59.9995"), 60000);
    EXPECT_EQ(Parse("0.99999s"), 1000);
    // 0.5 ms as hours is 1/7200000, which no decimal fraction is: the last digit decides.
    EXPECT_EQ(Parse("0.000000138888888888888888888888h"), 0);
    EXPECT_EQ(Parse("0.000000138888888888888888888889h"), 1);
    EXPECT_EQ(Parse("1t", 0.0, 2000), 1);
    EXPECT_EQ(Parse("1t", 0.0, 2001), 0);
}

TEST(TimeExpression, SaturatesBeyondTheRangeOfTheResult)
{
    EXPECT_EQ(Parse("9223372036854775807ms"), kMaximum);
    EXPECT_EQ(Parse("9223372036854775806.4ms"), kMaximum - 1);
    EXPECT_EQ(Parse("9223372036854775808ms"), kMaximum);
    EXPECT_EQ(Parse("9223372036854775807.5ms"), kMaximum);
    EXPECT_EQ(Parse("9223372036854775.806s"), kMaximum - 1);
    EXPECT_EQ(Parse("9223372036854775.808s"), kMaximum);
    EXPECT_EQ(Parse("99999999999999999999h"), kMaximum);
    EXPECT_EQ(Parse("99999999999999999999:00:00"), kMaximum);
    EXPECT_EQ(Parse("2562047788015:12:55.807"), kMaximum);
    EXPECT_EQ(Parse("2562047788015:12:55.806"), kMaximum - 1);
    EXPECT_EQ(Parse("2562047788015:12:55.808"), kMaximum);
    EXPECT_EQ(Parse("99999999999999999999f"), kMaximum);
    EXPECT_EQ(Parse("99999999999999999999f", 23.976), kMaximum);
    EXPECT_EQ(Parse(std::string(400, '9') + "f", 23.976), kMaximum);
    EXPECT_EQ(Parse("1f", 1e-300), kMaximum);
    EXPECT_EQ(Parse("0f", 1e-300), 0);
    // More ticks than a number holds, and yet a time that it does.
    EXPECT_EQ(Parse("100000000000000000000t", 0.0, 1000000000), 100000000000000);
}

TEST(TimeExpression, ReadsExpressionsOfAnyLength)
{
    EXPECT_EQ(Parse(std::string(100000, '0') + "1s"), 1000);
    EXPECT_EQ(Parse("1." + std::string(100000, '0') + "1s"), 1000);
    EXPECT_EQ(Parse("0.4" + std::string(100000, '9') + "ms"), 0);
    EXPECT_EQ(Parse(std::string(100000, '9') + "s"), kMaximum);
}

TEST(TimeExpression, RefusesWhatIsNone)
{
    const std::vector<std::string> none = {
        "", " ", ":", ".", "1", "1.5", "s", "h", "ms", ".5s", "1.s", "1..5s", "1.5.5s", "1,5s", "1 s", " 1s",
        "1s ", "1s\n", "1S", "1H", "1MS", "1sm", "1mss", "1min", "1e3s", "0x10s", "+1s", "-1s", "1d", "1ft",
        // clock time
        "00:00", "0:00:00", "00:0:00", "00:00:0", "00:00:000", "00:000:00", ":00:00", "00::00",
        "00:00:", "00:60:00", "00:00:60", "00:00:60.0", "00:99:00", "00:00:99", "00:00:00.", "00:00:00.5s",
        "00:00:00,5", "00:00:00s", "00:00:00 ", " 00:00:00", "00:00:-1", "-1:00:00", "+01:00:00", "00 :00:00",
        "00:00:00:", "00:00:00:1", "00:00:00:01.0", "00:00:00:01:01", "00:00:00.5:01", "00:00:00:1a",
        "00:00:00:01f", "aa:bb:cc", "00-00-00", "00.00.00", "wallclock(00:00:00)", "\xd9\xa1s",
        "00:00:0\xef\xbc\x91"};
    for (const std::string& expression : none) {
        EXPECT_EQ(Parse(expression), std::nullopt) << "'" << expression << "'";
    }
    EXPECT_EQ(Parse(std::string("1s\0", 3)), std::nullopt);
    EXPECT_EQ(Parse(std::string("1\0s", 3)), std::nullopt);
}

TEST(TimeExpression, RefusesFramesAndTicksAtRatesThatAreNone)
{
    for (const double rate : {-1.0, -30.0, std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        EXPECT_EQ(Parse("30f", rate), std::nullopt) << rate;
        EXPECT_EQ(Parse("00:00:01:00", rate), std::nullopt) << rate;
        EXPECT_EQ(Parse("30t", rate), std::nullopt) << rate;
        EXPECT_EQ(Parse("1s", rate), 1000) << rate;
        EXPECT_EQ(Parse("00:00:01", rate), 1000) << rate;
    }
    EXPECT_EQ(Parse("30t", 0.0, -1), std::nullopt);
    EXPECT_EQ(Parse("30t", 0.0, std::numeric_limits<int>::min()), std::nullopt);
    EXPECT_EQ(Parse("30f", 0.0, -1), 1000);
}

TEST(TimeExpression, AgreesWithTheReference)
{
    CompareWithReference(150000);
}

TEST(TimeExpression, AgreesWithTheReferenceInALocaleWithADecimalComma)
{
    const CommaLocale locale;
    if (!locale.IsThere()) {
        GTEST_SKIP() << "this machine has no locale with a decimal comma and no localedef to make one";
    }
    EXPECT_EQ(Parse("1.5s"), 1500);
    EXPECT_EQ(Parse("1,5s"), std::nullopt);
    EXPECT_EQ(Parse("30f", 30000.0 / 1001.0), 1001);
    CompareWithReference(20000);
}

TEST(TimeExpression, IsWithinHalfAMillisecondAtBrokenRates)
{
    std::mt19937 random(7);
    for (const double rate : {24000.0 / 1001.0, 30000.0 / 1001.0, 60000.0 / 1001.0, 12.5, 0.1, 23.976}) {
        for (int i = 0; i < 20000; ++i) {
            const unsigned long count = random() % 100000000U;
            const Result ms = Parse(std::to_string(count) + "f", rate);
            ASSERT_TRUE(ms.has_value());
            const long double exact =
                1000.0L * static_cast<long double>(count) / static_cast<long double>(rate);
            ASSERT_LE(std::fabs(static_cast<long double>(*ms) - exact), 0.5L + 1e-4L)
                << count << " at " << rate;
        }
    }
}

TEST(TimeExpression, CountsTheSmallestFractionsAtTheSlowestRates)
{
    EXPECT_EQ(Parse("0.00000000000000002f", 1e-20), 2000000);
    EXPECT_EQ(Parse("1.00000000000000002t", 0.5), 2000);
    const std::string tiny = "0." + std::string(39, '0') + "4t";
    EXPECT_EQ(Parse(tiny, 1e-40), 4000);
    EXPECT_EQ(Parse(tiny, 1e-160), kMaximum);
}
