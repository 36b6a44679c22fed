#include <cstddef>
#include <string>

#include <gtest/gtest.h>

#include "DvbText.h"
#include "TsBuilder.h"

namespace {

using TTMLTest::Bytes;

std::string Decode(const std::string& text)
{
    const Bytes bytes = TTMLTest::TextBytes(text);
    return TTMLHost::DecodeDvbText({bytes.data(), bytes.size()});
}

TEST(DvbText, IsIso6937ByDefault)
{
    EXPECT_EQ(Decode("Das Erste HD"), "Das Erste HD");
    EXPECT_EQ(Decode("M\xc8unchen"), "München");
    EXPECT_EQ(Decode("caf\xc2"
                     "e"),
              "café");
    EXPECT_EQ(Decode("\xf1\xfb"), "æß");
}

TEST(DvbText, HasTheEuroSignInTheDefaultTable)
{
    EXPECT_EQ(Decode("5 \xa4 mehr"), "5 € mehr");
}

TEST(DvbText, IsIso8859WhereAByteSaysSo)
{
    EXPECT_EQ(Decode("\x01\xbf"), "П");             // 8859-5
    EXPECT_EQ(Decode("\x03\xe1"), "α");             // 8859-7
    EXPECT_EQ(Decode("\x05M\xfcnchen"), "München"); // 8859-9
    EXPECT_EQ(Decode("\x0b\xa4 \xfc"), "€ ü");      // 8859-15
}

TEST(DvbText, IsIso8859WhereThreeBytesSaySo)
{
    EXPECT_EQ(Decode(std::string("\x10\x00\x01M\xfcnchen", 10)), "München");
    EXPECT_EQ(Decode(std::string("\x10\x00\x02\xb3\xf3"
                                 "d\xbc",
                                 7)),
              "łódź");
}

TEST(DvbText, IsUnicodeWhereAByteSaysSo)
{
    EXPECT_EQ(Decode("\x15Grüße €"), "Grüße €");
    EXPECT_EQ(Decode(std::string("\x11\x00G\x00r\x00\xfc\x20\xac", 9)), "Grü€");
}

TEST(DvbText, IsKoreanOrChineseWhereAByteSaysSo)
{
    EXPECT_EQ(Decode("\x12\xb0\xa1"), "가");
    EXPECT_EQ(Decode("\x13\xd6\xd0"), "中");
}

TEST(DvbText, LosesItsControlCodes)
{
    EXPECT_EQ(Decode("a\x86long\x87 name\x8a"
                     "b"),
              "along name b");
    EXPECT_EQ(Decode("\x15"
                     "a\xee\x82\x86long\xee\x82\x87 name\xee\x82\x8a"
                     "b\xc2\x8a"
                     "c\n\x7f"),
              "along name b c");
    EXPECT_EQ(Decode("a\tb"), "ab");
}

TEST(DvbText, HasReplacementsForWhatCannotBeRead)
{
    EXPECT_EQ(Decode("\x15"
                     "a\xff"
                     "b"),
              "a\xef\xbf\xbd"
              "b");
    EXPECT_EQ(Decode("\x15"
                     "a\xe2\x82"),
              "a\xef\xbf\xbd");
    EXPECT_EQ(Decode(std::string("\x11\x00G\x00", 4)), "G\xef\xbf\xbd");
}

TEST(DvbText, IsAsciiInATableThatIsNotKnown)
{
    EXPECT_EQ(Decode("\x08"
                     "a\xe4"
                     "b"),
              "a\xef\xbf\xbd"
              "b");
    EXPECT_EQ(Decode("\x1f\x01"
                     "abc"),
              "abc");
    EXPECT_EQ(Decode(std::string("\x10\x00\x0c"
                                 "abc",
                                 6)),
              "abc");
}

TEST(DvbText, MayEndInItsSelector)
{
    EXPECT_EQ(Decode(""), "");
    for (int first = 0; first < 0x20; ++first) {
        EXPECT_EQ(Decode(std::string(1, static_cast<char>(first))), "") << first;
    }
    EXPECT_EQ(Decode(std::string("\x10\x00", 2)), "");
}

TEST(DvbText, IsWellFormedWhateverTheBytes)
{
    unsigned int state = 1;
    for (int round = 0; round < 5000; ++round) {
        std::string text;
        for (int i = 0; i < round % 40; ++i) {
            state = state * 1103515245U + 12345U;
            text += static_cast<char>(state >> 16);
        }
        const std::string decoded = Decode(text);
        // Decoding it once more as UTF-8 changes nothing.
        ASSERT_EQ(Decode("\x15" + decoded), decoded) << round;
    }
}

} // namespace
