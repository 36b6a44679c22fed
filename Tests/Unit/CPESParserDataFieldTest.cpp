// The data field: media segment time, count, and the bounds, types and lengths of the segments.

#include <algorithm>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "PesFixture.h"

namespace TTMLTest {

namespace {

using TTML::DvbTTMLData;

constexpr std::size_t kFirstSegment = kHeaderSize + kDataFieldSize;
constexpr std::size_t kSegmentHeaderSize = 3;

} // namespace

TEST(CPESParserDataField, NeedsSevenBytes)
{
    for (std::size_t size = kHeaderSize; size < kFirstSegment; ++size) {
        SCOPED_TRACE(size);
        DvbTTMLData before;
        before.mediaSegmentTime = 8;
        before.segmentCount = 9;
        const Parsed parsed =
            ParseBytes(Pes().Pts(2).MediaTime(5).Segment(kPlain, "a").Cut(size).Bytes(), before);
        EXPECT_FALSE(parsed.result);
        EXPECT_EQ(parsed.said, (Texts{"I Got PTS value = 1", kIgnored, kDataError}));
        EXPECT_EQ(parsed.data.pts, 1U);
        EXPECT_EQ(parsed.data.mediaSegmentTime, 8U);
        EXPECT_EQ(parsed.data.segmentCount, 9U);
    }
    const Parsed parsed = ParseBytes(Pes().MediaTime(5).Segment(kPlain, "a").Cut(kFirstSegment).Bytes());
    EXPECT_FALSE(parsed.result);
    EXPECT_EQ(parsed.said, SaidOf(0, 5, {kSegmentError, kDataError}));
}

TEST(CPESParserDataField, KeepsTheLowerFourBytesOfTheMediaTime)
{
    const Parsed parsed = ParseBytes(Pes().MediaTime(0x010203040506).Segment(kPlain, "a").Bytes());
    EXPECT_TRUE(parsed.result);
    EXPECT_EQ(parsed.data.mediaSegmentTime, 0x03040506U);
    EXPECT_EQ(parsed.said, SaidOf(0, 0x03040506, {SegmentLine(kPlain)}));
    for (unsigned int bit = 0; bit < 48; ++bit) {
        SCOPED_TRACE(bit);
        const std::uint64_t time = std::uint64_t{1} << bit;
        const std::uint64_t others = 0xFFFFFFFFFFFF ^ time;
        EXPECT_EQ(ParseBytes(Pes().MediaTime(time).Segment(kPlain, "").Bytes()).data.mediaSegmentTime,
                  bit < 32 ? time : 0U);
        EXPECT_EQ(ParseBytes(Pes().MediaTime(others).Segment(kPlain, "").Bytes()).data.mediaSegmentTime,
                  others & 0xFFFFFFFF);
    }
}

TEST(CPESParserDataField, RefusesACountOfZero)
{
    for (const std::string& behind : {std::string(), std::string("\x01\x00\x01x", 4)}) {
        DvbTTMLData before;
        before.segmentCount = 9;
        const Parsed parsed = ParseBytes(Pes().MediaTime(5).Trailing(behind).Bytes(), before);
        EXPECT_FALSE(parsed.result);
        EXPECT_EQ(parsed.said, SaidOf(0, 5, {"W Invalid segment count = 0", kDataError}));
        EXPECT_EQ(parsed.data.mediaSegmentTime, 5U);
        EXPECT_EQ(parsed.data.segmentCount, 0U);
        EXPECT_TRUE(parsed.data.segments.empty());
    }
}

TEST(CPESParserDataField, HasUpTo255Segments)
{
    Pes pes;
    Texts segments;
    Texts lines;
    for (unsigned int count = 1; count <= 255; ++count) {
        SCOPED_TRACE(count);
        segments.push_back("segment " + std::to_string(count));
        lines = Joined(lines, count % 2 == 0
                                  ? InflatedLines(Deflated(segments.back()).size(), segments.back().size())
                                  : Texts{SegmentLine(kPlain)});
        if (count % 2 == 0) {
            pes.Gzip(segments.back());
        } else {
            pes.Segment(kPlain, segments.back());
        }
        const Parsed parsed = ParseBytes(pes.Bytes());
        ASSERT_TRUE(parsed.result);
        ASSERT_EQ(parsed.data.segmentCount, count);
        ASSERT_EQ(parsed.data.segments, segments);
        ASSERT_EQ(parsed.said, SaidOf(0, 0, lines));
    }
}

TEST(CPESParserDataField, Takes255SegmentsOfTheGreatestLength)
{
    Pes pes;
    Texts segments;
    for (unsigned int i = 0; i < 255; ++i) {
        segments.push_back(std::string(0xFFFF, static_cast<char>('!' + i % 90)));
        pes.Segment(kPlain, segments.back());
    }
    const Parsed parsed = ParseBytes(pes.Bytes());
    EXPECT_TRUE(parsed.result);
    EXPECT_TRUE(parsed.data.segments == segments);
}

TEST(CPESParserDataField, LacksSegmentsThatItAnnounces)
{
    // 0, 1 or 2 bytes behind the last segment are no header of another; three are.
    for (unsigned int present = 0; present < 3; ++present) {
        for (std::size_t left = 0; left < 3; ++left) {
            SCOPED_TRACE(std::to_string(present) + " segments and " + std::to_string(left) + " bytes");
            Pes pes;
            for (unsigned int i = 0; i < present; ++i) {
                pes.Segment(kPlain, "there");
            }
            pes.Count(static_cast<unsigned char>(present + 1)).Trailing(std::string(left, '\1'));
            const Parsed parsed = ParseBytes(pes.Bytes());
            EXPECT_FALSE(parsed.result);
            EXPECT_EQ(parsed.said,
                      SaidOf(0, 0, Joined(Texts(present, SegmentLine(kPlain)), {kSegmentError, kDataError})));
            EXPECT_EQ(parsed.data.segmentCount, present + 1);
            EXPECT_EQ(parsed.data.segments, Texts(present, "there"));
        }
    }
    EXPECT_TRUE(ParseBytes(Pes().Segment(kPlain, "there").Count(2).Trailing(std::string("\1\0\0", 3)).Bytes())
                    .result);
}

TEST(CPESParserDataField, AnnouncesMoreThanAnyPacketHas)
{
    const Parsed parsed = ParseBytes(Pes().Segment(kPlain, "one").Gzip("two").Count(255).Bytes());
    EXPECT_FALSE(parsed.result);
    EXPECT_EQ(parsed.data.segmentCount, 255U);
    EXPECT_EQ(parsed.data.segments, (Texts{"one", "two"}));
    EXPECT_EQ(parsed.said.back(), kDataError);
}

TEST(CPESParserDataField, IgnoresSegmentsBeyondItsCount)
{
    const Parsed parsed = ParseBytes(Pes().Segment(kPlain, "one").Segment(3, "two").Count(1).Bytes());
    EXPECT_TRUE(parsed.result);
    EXPECT_EQ(parsed.data.segments, Texts{"one"});
}

TEST(CPESParserDataField, IgnoresWhatStandsBehindTheLastSegment)
{
    EXPECT_EQ(ParseBytes(Pes().Segment(kPlain, "a").Crc().Bytes()).data.segments, Texts{"a"});
    for (std::size_t size = 0; size < 20; ++size) {
        const Parsed parsed =
            ParseBytes(Pes().Segment(kPlain, "a").Trailing(std::string(size, '\xFF')).Bytes());
        EXPECT_TRUE(parsed.result);
        EXPECT_EQ(parsed.said, SaidOf(0, 0, {SegmentLine(kPlain)}));
        EXPECT_EQ(parsed.data.segments, Texts{"a"});
    }
}

TEST(CPESParserDataField, DoesNotAskForTheCrcOrCheckIt)
{
    PesBytes bytes = Pes().Segment(kPlain, "a").Crc().Bytes();
    bytes.back() ^= 0xFF;
    EXPECT_TRUE(ParseBytes(bytes).result);
}

// Lengths.

TEST(CPESParserSegment, LongerThanWhatIsThereIsRefused)
{
    for (const std::size_t size : {0U, 1U, 2U, 100U, 255U, 256U, 1000U}) {
        for (const std::size_t announced : {size, size + 1, size + 2, size + 256, std::size_t{0xFFFF}}) {
            SCOPED_TRACE(std::to_string(announced) + " announced, " + std::to_string(size) + " there");
            const std::string text(size, 'x');
            const Parsed parsed =
                ParseBytes(Pes()
                               .Segment(kPlain, "before")
                               .LyingSegment(kPlain, static_cast<std::uint16_t>(announced), text)
                               .Bytes());
            const bool whole = announced == size;
            EXPECT_EQ(parsed.result, whole);
            EXPECT_EQ(parsed.data.segments, whole ? Texts({"before", text}) : Texts{"before"});
            EXPECT_EQ(parsed.said, SaidOf(0, 0,
                                          whole ? Texts{SegmentLine(kPlain), SegmentLine(kPlain)}
                                                : Texts{SegmentLine(kPlain), kLengthError, kDataError}));
        }
    }
}

TEST(CPESParserSegment, ShorterThanItsTextIsReadAsItSays)
{
    // The rest of the text, "\3\0\1x", is read as the next segment: one of type 3.
    const Parsed parsed = ParseBytes(
        Pes().LyingSegment(kPlain, 2, std::string("ab\3\0\1x", 6)).Segment(kPlain, "lost").Bytes());
    EXPECT_FALSE(parsed.result);
    EXPECT_EQ(parsed.data.segments, Texts{"ab"});
    EXPECT_EQ(parsed.said, SaidOf(0, 0, {SegmentLine(kPlain), SegmentLine(3), kTypeError, kDataError}));
}

TEST(CPESParserSegment, HasItsLengthTestedBeforeItsType)
{
    const Parsed parsed = ParseBytes(Pes().LyingSegment(9, 6, "12345").Bytes());
    EXPECT_FALSE(parsed.result);
    EXPECT_EQ(parsed.said, SaidOf(0, 0, {kLengthError, kDataError}));
}

TEST(CPESParserSegment, MayHaveEveryLength)
{
    for (const std::size_t size : {0U, 1U, 254U, 255U, 256U, 257U, 0x7FFFU, 0x8000U, 0xFFFEU, 0xFFFFU}) {
        SCOPED_TRACE(size);
        const std::string text = DocumentOf(size);
        const Parsed parsed = ParseBytes(Pes().Segment(kPlain, text).Bytes());
        EXPECT_TRUE(parsed.result);
        EXPECT_EQ(parsed.data.segments, Texts{text});
    }
}

TEST(CPESParserSegment, MissingItsEndIsRefusedWhereverThePacketIsCut)
{
    const Texts texts = {"first", "", "a longer third one"};
    Pes pes;
    std::vector<std::size_t> ends; // of the segments in the packet
    for (const std::string& text : texts) {
        pes.Segment(kPlain, text);
        ends.push_back(pes.Bytes().size());
    }
    for (std::size_t size = kFirstSegment; size <= ends.back(); ++size) {
        SCOPED_TRACE(size);
        std::size_t whole = 0;
        while (whole < texts.size() && ends[whole] <= size) {
            ++whole;
        }
        Texts rest(whole, SegmentLine(kPlain));
        if (whole < texts.size()) {
            const std::size_t begin = whole == 0 ? kFirstSegment : ends[whole - 1];
            rest.push_back(size < begin + kSegmentHeaderSize ? kSegmentError : kLengthError);
            rest.push_back(kDataError);
        }
        const Parsed parsed = ParseBytes(Pes(pes).Cut(size).Bytes());
        EXPECT_EQ(parsed.result, whole == texts.size());
        EXPECT_EQ(parsed.data.segments,
                  Texts(texts.begin(), texts.begin() + static_cast<std::ptrdiff_t>(whole)));
        EXPECT_EQ(parsed.said, SaidOf(0, 0, rest));
    }
}

// Types.

TEST(CPESParserSegment, IsPlainOrCompressed)
{
    for (unsigned int type = 0; type < 256; ++type) {
        SCOPED_TRACE(type);
        const Parsed parsed = ParseBytes(
            Pes().Segment(kPlain, "a").Segment(static_cast<unsigned char>(type), Deflated("b")).Bytes());
        EXPECT_EQ(parsed.result, type == kPlain || type == kCompressed);
        if (parsed.result) {
            EXPECT_EQ(parsed.data.segments, (Texts{"a", type == kPlain ? Deflated("b") : "b"}));
        } else {
            EXPECT_EQ(parsed.data.segments, Texts{"a"});
            EXPECT_EQ(parsed.said,
                      SaidOf(0, 0, {SegmentLine(kPlain), SegmentLine(type), kTypeError, kDataError}));
        }
    }
}

TEST(CPESParserSegment, OfAnotherTypeEndsThePacket)
{
    const Parsed parsed =
        ParseBytes(Pes().Segment(kPlain, "a").Gzip("b").Segment(3, "c").Segment(kPlain, "d").Bytes());
    EXPECT_FALSE(parsed.result);
    EXPECT_EQ(parsed.data.segmentCount, 4U);
    EXPECT_EQ(parsed.data.segments, (Texts{"a", "b"}));
}

TEST(CPESParserSegment, KeepsEveryByteOfAPlainText)
{
    std::string text;
    for (int i = 0; i < 512; ++i) {
        text.push_back(static_cast<char>(i));
    }
    EXPECT_EQ(ParseBytes(Pes().Segment(kPlain, text).Bytes()).data.segments, Texts{text});
    EXPECT_EQ(ParseBytes(Pes().Gzip(text).Bytes()).data.segments, Texts{text});
}

TEST(CPESParserSegment, OfLengthZeroIsAnEmptyText)
{
    const Parsed parsed =
        ParseBytes(Pes().Segment(kPlain, "").Segment(kPlain, "a").Segment(kPlain, "").Bytes());
    EXPECT_TRUE(parsed.result);
    EXPECT_EQ(parsed.data.segments, (Texts{"", "a", ""}));
}

TEST(CPESParserSegment, StandsBehindThoseThatTheRecordHasAlready)
{
    DvbTTMLData before;
    before.segments = {"old"};
    EXPECT_EQ(ParseBytes(Pes().Segment(kPlain, "new").Gzip("newer").Bytes(), before).data.segments,
              (Texts{"old", "new", "newer"}));
}

// The steps one by one.

TEST(CPESParserSegment, WithoutABufferIsRefused)
{
    for (const unsigned int length : {0U, 1U, 100U}) {
        for (const std::uint8_t type : {std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{3}}) {
            ScriptedLog::Clear();
            DvbTTMLData data;
            EXPECT_FALSE(CallHandleSegment(nullptr, length, type, data));
            EXPECT_EQ(ScriptedLog::Substance(), Texts{"W pBuf is null!"});
            EXPECT_TRUE(data.segments.empty());
        }
    }
}

TEST(CPESParserSegment, IsNoLongerThanItsLengthSays)
{
    const PesBytes bytes = {'a', 'b', 'c'};
    DvbTTMLData data;
    EXPECT_TRUE(CallHandleSegment(bytes.data(), 2, kPlain, data));
    EXPECT_EQ(data.segments, Texts{"ab"});
}

TEST(CPESParserDataField, LeavesThePositionWhereItStopped)
{
    const Pes two = Pes().Segment(kPlain, "1234").Segment(kPlain, "567");
    struct
    {
        Pes pes;
        bool result;
        std::size_t position;
    } const cases[] = {
        {Pes(two).Trailing("behind"), true, kFirstSegment + 3 + 4 + 3 + 3},
        {Pes(two).Cut(kFirstSegment - 1), false, kHeaderSize},
        {Pes(two).Count(0), false, kFirstSegment},
        {Pes(two).Cut(kFirstSegment + 2), false, kFirstSegment},
        {Pes(two).Cut(kFirstSegment + 3 + 3), false, kFirstSegment + 3},
        {Pes(two).Count(3), false, kFirstSegment + 3 + 4 + 3 + 3},
        {Pes().Segment(7, "1234"), false, kFirstSegment + 3},
    };
    for (const auto& one : cases) {
        PesBytes packet = one.pes.Bytes();
        DvbTTMLData data;
        unsigned int position = kHeaderSize;
        EXPECT_EQ(CallParseDataFields(packet, position, data), one.result);
        EXPECT_EQ(position, one.position) << Hex(packet);
    }
}

TEST(CPESParserDataField, BeginsAtThePositionThatItIsGiven)
{
    PesBytes packet = Pes().MediaTime(5).Segment(kPlain, "a").Bytes();
    packet.erase(packet.begin(), packet.begin() + kHeaderSize);
    DvbTTMLData data;
    unsigned int position = 0;
    EXPECT_TRUE(CallParseDataFields(packet, position, data));
    EXPECT_EQ(data.mediaSegmentTime, 5U);
    EXPECT_EQ(data.segments, Texts{"a"});
    EXPECT_EQ(position, packet.size());
}

} // namespace TTMLTest
