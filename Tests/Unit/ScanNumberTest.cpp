// Numbers in texts, as scanf reads them in the C locale.

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CommaLocale.h"
#include "ScanNumber.h"

namespace TTMLTest {

namespace {

using TTML::ScanFloat;
using TTML::ScanInt;
using TTML::ToInt32;
using TTML::ToInt64;

constexpr std::int32_t kNoInt = -777;
constexpr float kNoFloat = -777.5F;

// What one scan found.
struct Int
{
    bool found = false;
    std::int32_t value = kNoInt;
    std::ptrdiff_t length = 0; // of what was read; 0 for none

    bool operator==(const Int& other) const
    {
        return found == other.found && value == other.value && length == other.length;
    }
};

struct Float
{
    bool found = false;
    float value = kNoFloat;

    bool operator==(const Float& other) const
    {
        if (found != other.found || std::isnan(value) != std::isnan(other.value)) {
            return false;
        }
        // Zeros have a sign; what is no number has nothing else that counts.
        return std::isnan(value) ||
               (value == other.value && std::signbit(value) == std::signbit(other.value));
    }
};

void PrintTo(const Int& result, std::ostream* stream)
{
    *stream << result.found << " " << result.value << " after " << result.length;
}

void PrintTo(const Float& result, std::ostream* stream)
{
    *stream << result.found << " " << result.value;
}

Int IntOf(const char* text)
{
    Int result;
    const char* end = text;
    result.found = ScanInt(end, result.value);
    result.length = result.found ? end - text : 0;
    return result;
}

Float FloatOf(const char* text)
{
    Float result;
    result.found = ScanFloat(text, result.value);
    return result;
}

Int IntOfScanf(const char* text)
{
    Int result;
    int length = 0;
    // "%d" reads a long and cuts it to an int. Where a long has 32 bits it would tell of other numbers; ours
    // are the same everywhere.
    long long value = 0;
    result.found = std::sscanf(text, "%lld%n", &value, &length) == 1;
    result.value = result.found ? static_cast<std::int32_t>(value) : kNoInt;
    result.length = result.found ? length : 0;
    return result;
}

Float FloatOfScanf(const char* text)
{
    Float result;
    result.found = std::sscanf(text, "%f", &result.value) == 1;
    return result;
}

// Makes texts out of pieces of numbers, the same ones in every run.
class TextMaker
{
public:
    explicit TextMaker(std::uint64_t seed)
        : m_state(seed)
    {}

    const char* Next()
    {
        static constexpr std::array<const char*, 40> pieces = {
            "0",    "1",   "2",          "7",          "9",
            "19",   "365", "2147483647", "2147483648", "9223372036854775807",
            ".",    ".",   "-",          "+",          "e",
            "E",    "e+",  "e-",         "38",         "-45",
            " ",    "T",   "\t\n",       ":",          "0x",
            "0X",   "p",   "P-",         "a",          "f",
            "i",    "n",   "inf",        "NaN",        "infinity",
            "nan(", "i)",  "_",          ",",          "H"};
        std::size_t length = 0;
        const unsigned int count = Draw() % 6 + 1;
        for (unsigned int piece = 0; piece < count; ++piece) {
            const char* const text = pieces.at(Draw() % pieces.size());
            const std::size_t size = std::strlen(text);
            std::memcpy(m_text.data() + length, text, size);
            length += size;
        }
        m_text.at(length) = '\0';
        return m_text.data();
    }

private:
    unsigned int Draw()
    {
        m_state ^= m_state << 13U;
        m_state ^= m_state >> 7U;
        m_state ^= m_state << 17U;
        return static_cast<unsigned int>(m_state >> 33U);
    }

    std::uint64_t m_state;
    std::array<char, 6 * 20 + 1> m_text{};
};

// Integers.

TEST(ScanInt, ReadsDigitsAndMovesBehindThem)
{
    EXPECT_EQ(IntOf("0"), (Int{true, 0, 1}));
    EXPECT_EQ(IntOf("2019-05"), (Int{true, 2019, 4}));
    EXPECT_EQ(IntOf("-05"), (Int{true, -5, 3}));
    EXPECT_EQ(IntOf("+7T"), (Int{true, 7, 2}));
    EXPECT_EQ(IntOf("0008"), (Int{true, 8, 4})) << "not octal";
    EXPECT_EQ(IntOf("0x10"), (Int{true, 0, 1})) << "not hexadecimal";
}

TEST(ScanInt, SkipsWhiteSpaceInFront)
{
    EXPECT_EQ(IntOf(" \t\n\v\f\r12 "), (Int{true, 12, 8}));
    EXPECT_EQ(IntOf("\xA0"
                    "1"),
              Int{});
}

TEST(ScanInt, LeavesTheValueWithoutANumber)
{
    for (const char* text : {"", " ", "-", "+", "--1", "+-1", "- 1", "T1", ".5", "a", "\n"}) {
        EXPECT_EQ(IntOf(text), Int{}) << text;
    }
}

TEST(ScanInt, TakesTheLowerHalfOfALongNumber)
{
    EXPECT_EQ(IntOf("2147483647"), (Int{true, 2147483647, 10}));
    EXPECT_EQ(IntOf("2147483648"), (Int{true, std::numeric_limits<std::int32_t>::min(), 10}));
    EXPECT_EQ(IntOf("-2147483649"), (Int{true, 2147483647, 11}));
    EXPECT_EQ(IntOf("4294967297"), (Int{true, 1, 10}));
    EXPECT_EQ(IntOf("9223372036854775807"), (Int{true, -1, 19}));
    EXPECT_EQ(IntOf("9223372036854775808"), (Int{true, -1, 19})) << "the largest instead";
    EXPECT_EQ(IntOf("-9223372036854775807"), (Int{true, 1, 20}));
    EXPECT_EQ(IntOf("-9223372036854775808"), (Int{true, 0, 20}));
    EXPECT_EQ(IntOf("-99999999999999999999"), (Int{true, 0, 21})) << "the smallest instead";
}

// Floating point.

TEST(ScanFloat, ReadsNumbers)
{
    EXPECT_EQ(FloatOf("0"), (Float{true, 0.0F}));
    EXPECT_EQ(FloatOf("-0"), (Float{true, -0.0F}));
    EXPECT_EQ(FloatOf("0.7S"), (Float{true, 0.7F}));
    EXPECT_EQ(FloatOf(".5"), (Float{true, 0.5F}));
    EXPECT_EQ(FloatOf("5."), (Float{true, 5.0F}));
    EXPECT_EQ(FloatOf(" \t1.5e2H"), (Float{true, 150.0F}));
    EXPECT_EQ(FloatOf("1e"), (Float{true, 1.0F}));
    EXPECT_EQ(FloatOf("1e+S"), (Float{true, 1.0F}));
    EXPECT_EQ(FloatOf("0x1p4S"), (Float{true, 16.0F}));
    EXPECT_EQ(FloatOf("1,5"), (Float{true, 1.0F}));
    EXPECT_EQ(FloatOf("16777217"), (Float{true, 16777216.0F})) << "in single precision";
}

TEST(ScanFloat, ReadsWhatIsBeyondTheRange)
{
    constexpr float INFINITE = std::numeric_limits<float>::infinity();
    EXPECT_EQ(FloatOf("1e39"), (Float{true, INFINITE}));
    EXPECT_EQ(FloatOf("-1e99999999999999999999"), (Float{true, -INFINITE}));
    EXPECT_EQ(FloatOf("1e-99999"), (Float{true, 0.0F}));
    EXPECT_EQ(FloatOf("inf"), (Float{true, INFINITE}));
    EXPECT_EQ(FloatOf("-INFINITY"), (Float{true, -INFINITE}));
    EXPECT_EQ(FloatOf("nan"), (Float{true, std::numeric_limits<float>::quiet_NaN()}));
}

// The point is read as part of the number, whose longest beginning that is one is the 0.
TEST(ScanFloat, ReadsAHexadecimalPointAloneAsZero)
{
    EXPECT_EQ(FloatOf("0x."), (Float{true, 0.0F}));
    EXPECT_EQ(FloatOf("-0X.S"), (Float{true, -0.0F}));
}

TEST(ScanFloat, LeavesTheValueWithoutANumber)
{
    for (const char* text :
         {"", " ", "-", ".", "+.", "S", "-S", "e5", ".e5", "in", "na", "infi", "0x", "0xg"}) {
        EXPECT_EQ(FloatOf(text), Float{}) << text;
    }
}

// Both, against the C library.

TEST(ScanNumber, AgreesWithScanf)
{
    TextMaker maker(88172645463325252ULL);
    for (int i = 0; i < 2000000; ++i) {
        const char* const text = maker.Next();
        ASSERT_EQ(IntOf(text), IntOfScanf(text)) << "'" << text << "', text " << i;
        ASSERT_EQ(FloatOf(text), FloatOfScanf(text)) << "'" << text << "', text " << i;
    }
}

TEST(ScanNumber, IsTheSameInALocaleWithADecimalComma)
{
    constexpr int kCount = 50000;
    std::vector<Float> floats;
    std::vector<Int> ints;
    TextMaker maker(1);
    for (int i = 0; i < kCount; ++i) {
        const char* const text = maker.Next();
        floats.push_back(FloatOfScanf(text));
        ints.push_back(IntOfScanf(text));
    }
    const CommaLocale locale;
    if (!locale.IsThere()) {
        GTEST_SKIP() << "this machine has no locale with a decimal comma and no localedef to make one";
    }
    EXPECT_EQ(FloatOf("1.5"), (Float{true, 1.5F}));
    EXPECT_EQ(FloatOf("1,5"), (Float{true, 1.0F}));
    TextMaker again(1);
    for (int i = 0; i < kCount; ++i) {
        const char* const text = again.Next();
        ASSERT_EQ(FloatOf(text), floats.at(static_cast<std::size_t>(i))) << "'" << text << "'";
        ASSERT_EQ(IntOf(text), ints.at(static_cast<std::size_t>(i))) << "'" << text << "'";
    }
}

// A reader that measures its text first, as scanf does, would read these 200 billion characters.
TEST(ScanNumber, ReadsNoFurtherThanTheNumber)
{
    const std::string text = "7:" + std::string(10000000, '1');
    for (int i = 0; i < 20000; ++i) {
        ASSERT_EQ(IntOf(text.c_str()), (Int{true, 7, 1}));
        ASSERT_EQ(FloatOf(text.c_str()), (Float{true, 7.0F}));
    }
}

TEST(ScanNumber, ReadsNumbersOfTenMillionDigits)
{
    const std::string ones(10000000, '1');
    EXPECT_EQ(IntOf(ones.c_str()), (Int{true, -1, 10000000}));
    EXPECT_EQ(FloatOf(ones.c_str()), (Float{true, std::numeric_limits<float>::infinity()}));
    const std::string zeros(10000000, '0');
    EXPECT_EQ(FloatOf(("0." + zeros + "1").c_str()), (Float{true, 0.0F}));
    EXPECT_EQ(FloatOf((zeros + "25").c_str()), (Float{true, 25.0F}));
    EXPECT_EQ(IntOf((zeros + "25").c_str()), (Int{true, 25, 10000002}));
}

// Conversions.

TEST(ScanNumber, TruncatesTowardsZero)
{
    EXPECT_EQ(ToInt32(1.9F), 1);
    EXPECT_EQ(ToInt32(-1.9F), -1);
    EXPECT_EQ(ToInt32(-0.5F), 0);
    EXPECT_EQ(ToInt64(699.99), 699);
    EXPECT_EQ(ToInt64(-699.99), -699);
}

TEST(ScanNumber, TakesTheNearestWhereANumberDoesNotFit)
{
    constexpr float INFINITE = std::numeric_limits<float>::infinity();
    EXPECT_EQ(ToInt32(2147483520.0F), 2147483520) << "the last float that fits";
    EXPECT_EQ(ToInt32(2147483648.0F), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(ToInt32(-2147483648.0F), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(ToInt32(-2147483904.0F), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(ToInt32(INFINITE), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(ToInt32(-INFINITE), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(ToInt32(std::numeric_limits<float>::quiet_NaN()), 0);
    EXPECT_EQ(ToInt64(9223372036854774784.0), 9223372036854774784LL);
    EXPECT_EQ(ToInt64(9223372036854775808.0), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(ToInt64(-9223372036854775808.0), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(ToInt64(-1e300), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(ToInt64(static_cast<double>(INFINITE)), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(ToInt64(std::numeric_limits<double>::quiet_NaN()), 0);
}

} // namespace

} // namespace TTMLTest
