// The builder of PES packets against packets written out byte by byte.

#include <string>

#include <gtest/gtest.h>

#include "PesBuilder.h"
#include "PesReading.h"

namespace TTMLTest {

TEST(PesBuilder, BuildsWhatTheStandardsHave)
{
    EXPECT_EQ(Hex(Pes().Pts(0x123456789).MediaTime(0x010203040506).Segment(kPlain, "ab").Bytes()),
              "00 00 01 BD 00 14 84 80 05 29 8D 15 CF 13 01 02 03 04 05 06 01 01 00 02 61 62");
    EXPECT_EQ(Hex(Pes().Bytes()), "00 00 01 BD 00 0F 84 80 05 21 00 01 00 01 00 00 00 00 00 00 00");
}

TEST(PesBuilder, ChangesOneFieldAtATime)
{
    EXPECT_EQ(Hex(Pes()
                      .StartCode(0xA1A2A3)
                      .StreamId(0xA4)
                      .PacketLength(0xA5A6)
                      .Flags(0xA7)
                      .TimeFlags(0xA8)
                      .HeaderLength(0xA9)
                      .PtsField({0xAA, 0xAB, 0xAC, 0xAD, 0xAE})
                      .Count(0xB0)
                      .LyingSegment(0xB1, 0xB2B3, "x")
                      .Trailing("y")
                      .Bytes()),
              "A1 A2 A3 A4 A5 A6 A7 A8 A9 AA AB AC AD AE 00 00 00 00 00 00 B0 B1 B2 B3 78 79");
    EXPECT_EQ(Hex(Pes().Cut(4).Bytes()), "00 00 01 BD");
    EXPECT_TRUE(Pes().Cut(0).Bytes().empty());
}

TEST(PesBuilder, LeavesALengthThatHasNoRoomAtZero)
{
    const std::string text(0xFFFF, 'x');
    const PesBytes bytes = Pes().Segment(kPlain, text).Bytes();
    EXPECT_EQ(bytes[4], 0);
    EXPECT_EQ(bytes[5], 0);
    const PesBytes longest = Pes().Segment(kPlain, text.substr(18)).Bytes();
    EXPECT_EQ(longest.size(), 6U + 0xFFFF);
    EXPECT_EQ(longest[4], 0xFF);
    EXPECT_EQ(longest[5], 0xFF);
}

TEST(PesBuilder, EndsWithTheChecksumOfTheDataField)
{
    const std::string digits = "123456789";
    EXPECT_EQ(MpegCrc(PesBytes(digits.begin(), digits.end())), 0x0376E6E7U);
    const PesBytes bytes = Pes().MediaTime(7).Segment(kPlain, "a").Crc().Bytes();
    // A field with its checksum behind it leaves nothing.
    EXPECT_EQ(MpegCrc(PesBytes(bytes.begin() + 14, bytes.end())), 0U);
}

TEST(PesBuilder, CompressesAsTheReadingInflates)
{
    std::string content;
    EXPECT_TRUE(ReadGzip(Deflated("<tt/>"), content));
    EXPECT_EQ(content, "<tt/>");
    EXPECT_EQ(Deflated("<tt/>").substr(0, 2), "\x1F\x8B");
    EXPECT_EQ(Deflated("<tt/>", Wrapper::ZLIB).front(), '\x78');
    EXPECT_EQ(Deflated("<tt/>").substr(10, Deflated("<tt/>").size() - 18), Deflated("<tt/>", Wrapper::NONE));
    EXPECT_EQ(Pes().Gzip("<tt/>", 3).Bytes().size(), 14 + 7 + 3 + Deflated("<tt/>").size() + 3);
}

} // namespace TTMLTest
