// The 14 bytes of the PES header: what is refused, what is not looked at, and the presentation time stamp.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "PesFixture.h"

namespace TTMLTest {

namespace {

using TTML::CPESParser;
using TTML::DvbTTMLData;

Pes Right()
{
    return Pes().Pts(180000).MediaTime(77).Segment(kPlain, "<tt/>");
}

// The fields of the refusal's line, as a right header with a packet length of 0 has them.
struct Shown
{
    unsigned int startCode = 1;
    unsigned int streamId = 0xBD;
    unsigned int flags = 1;
    unsigned int timeFlags = 0x80;
    unsigned int headerLength = 5;
    unsigned int packetLength = 6;
};

void ExpectRefused(const Pes& pes, const Shown& shown)
{
    DvbTTMLData before;
    before.pts = 7;
    before.mediaSegmentTime = 8;
    before.segmentCount = 9;
    before.segments = {"before"};
    const Parsed parsed = ParseBytes(pes.Bytes(), before);
    EXPECT_FALSE(parsed.result);
    EXPECT_EQ(parsed.said,
              (Texts{"W Invalid PES!! startCodePrefix[" + std::to_string(shown.startCode) + "], streamId[" +
                         std::to_string(shown.streamId) + "], dataAlign[" + std::to_string(shown.flags) +
                         "], dtsPtsFlag[" + std::to_string(shown.timeFlags) + "], headerLength[" +
                         std::to_string(shown.headerLength) + "], packetLength[" +
                         std::to_string(shown.packetLength) + "]",
                     kHeaderError}));
    EXPECT_EQ(parsed.data.pts, 7U);
    EXPECT_EQ(parsed.data.mediaSegmentTime, 8U);
    EXPECT_EQ(parsed.data.segmentCount, 9U);
    EXPECT_EQ(parsed.data.segments, Texts{"before"});
}

void ExpectAccepted(const Pes& pes, std::uint64_t pts = 90000)
{
    const Parsed parsed = ParseBytes(pes.Bytes());
    EXPECT_TRUE(parsed.result);
    EXPECT_EQ(parsed.said, SaidOf(pts, 77, {SegmentLine(kPlain)}));
    EXPECT_EQ(parsed.data.pts, pts);
    EXPECT_EQ(parsed.data.mediaSegmentTime, 77U);
    EXPECT_EQ(parsed.data.segmentCount, 1U);
    EXPECT_EQ(parsed.data.segments, Texts{"<tt/>"});
}

} // namespace

TEST(CPESParser, HasNoStateOfItsOwn)
{
    EXPECT_EQ(sizeof(CPESParser), sizeof(void*));
    EXPECT_TRUE(std::is_polymorphic<CPESParser>::value);
    EXPECT_TRUE(std::has_virtual_destructor<CPESParser>::value);
    auto* const parser = new CPESParser;
    delete parser;
}

TEST(CPESParser, ARecordBeginsWithZeros)
{
    alignas(DvbTTMLData) unsigned char memory[sizeof(DvbTTMLData)];
    std::fill(std::begin(memory), std::end(memory), static_cast<unsigned char>(0xA5));
    auto* const record = new (memory) DvbTTMLData;
    EXPECT_EQ(record->pts, 0U);
    EXPECT_EQ(record->mediaSegmentTime, 0U);
    EXPECT_EQ(record->segmentCount, 0U);
    EXPECT_TRUE(record->segments.empty());
    record->~DvbTTMLData();
    EXPECT_TRUE((std::is_same<decltype(record->pts), std::uint64_t>::value));
    EXPECT_TRUE((std::is_same<decltype(record->mediaSegmentTime), std::uint64_t>::value));
    EXPECT_TRUE((std::is_same<decltype(record->segmentCount), std::uint8_t>::value));
}

TEST(CPESParser, TellsWhereEachLineComesFrom)
{
    EXPECT_TRUE(ParseBytes(Pes().Pts(2).Segment(kPlain, "a").Gzip("b").Bytes()).result);
    EXPECT_EQ(TraceOfSubstance(),
              (Texts{"m_ParsePESHeader: Got PTS value = 1", "m_ParsePESDataFields: Got mediaSegmentTime = 0",
                     "m_HandleSegmentData: Segment type=[1]; 1: un-compressed; 2: compressed",
                     "m_HandleSegmentData: Segment type=[2]; 1: un-compressed; 2: compressed",
                     "m_UnzipContent: Decompression finished success",
                     "m_UnzipContent: Compressed len=21, un-compressed len=1"}));
    EXPECT_FALSE(ParseBytes({}).result);
    EXPECT_EQ(TraceOfSubstance(), (Texts{"m_ParsePESHeader: Invalid PES packet; ignoring it",
                                         "ParsePES: Error in PES Header parsing!"}));
    EXPECT_FALSE(ParseBytes(Pes().Segment(3, "").Bytes()).result);
    EXPECT_EQ(TraceOfSubstance().back(), "ParsePES: Error in PES Data fields parsing!");
}

TEST(CPESParser, KeepsNothingFromOnePacketToTheNext)
{
    CPESParser parser;
    for (const std::string& text : {std::string("one"), std::string("two"), std::string("one")}) {
        PesBytes right = Pes().Pts(4).Gzip(text).Bytes();
        PesBytes wrong = Pes().Segment(kPlain, "lost").Segment(kCompressed, "damaged").Bytes();
        DvbTTMLData data;
        EXPECT_FALSE(parser.ParsePES(wrong, data));
        DvbTTMLData fresh;
        EXPECT_TRUE(parser.ParsePES(right, fresh));
        EXPECT_EQ(fresh.pts, 2U);
        EXPECT_EQ(fresh.segments, Texts{text});
    }
}

TEST(CPESParser, MayBeUsedByManyThreads)
{
    CPESParser parser;
    std::vector<std::unique_ptr<TestThread>> threads;
    for (unsigned int i = 0; i < 4; ++i) {
        threads.push_back(std::make_unique<TestThread>([&parser, i] {
            const Texts texts = {DocumentOf(500, i), DocumentOf(3000, i)};
            PesBytes packet = Pes().Pts(i * 2).Segment(kPlain, texts[0]).Gzip(texts[1]).Bytes();
            for (unsigned int n = 0; n < 50; ++n) {
                DvbTTMLData data;
                EXPECT_TRUE(parser.ParsePES(packet, data));
                EXPECT_EQ(data.pts, i);
                EXPECT_EQ(data.segments, texts);
            }
        }));
    }
    for (const auto& thread : threads) {
        EXPECT_TRUE(thread->WaitUntilDone());
    }
}

TEST(CPESParserHeader, RefusesWhatIsShorterThanAHeader)
{
    for (std::size_t size = 0; size < kHeaderSize; ++size) {
        SCOPED_TRACE(size);
        const Parsed parsed = ParseBytes(Right().Cut(size).Bytes());
        EXPECT_FALSE(parsed.result);
        EXPECT_EQ(parsed.said, (Texts{kIgnored, kHeaderError}));
        EXPECT_EQ(parsed.data.pts, 0U);
    }
}

TEST(CPESParserHeader, AloneLacksTheDataField)
{
    const Parsed parsed = ParseBytes(Right().Cut(kHeaderSize).Bytes());
    EXPECT_FALSE(parsed.result);
    EXPECT_EQ(parsed.said, (Texts{"I Got PTS value = 90000", kIgnored, kDataError}));
    EXPECT_EQ(parsed.data.pts, 90000U);
}

TEST(CPESParserHeader, RefusesEveryOtherStartCode)
{
    ExpectAccepted(Right().StartCode(0x000001));
    ExpectRefused(Right().PacketLength(0).StartCode(0x000002), {2});
    ExpectRefused(Right().PacketLength(0).StartCode(0x000000), {0});
    ExpectRefused(Right().PacketLength(0).StartCode(0xFFFFFF), {0xFFFFFF});
    for (unsigned int bit = 0; bit < 24; ++bit) {
        SCOPED_TRACE(bit);
        const std::uint32_t code = 1U ^ (1U << bit);
        ExpectRefused(Right().PacketLength(0).StartCode(code), {code});
    }
}

TEST(CPESParserHeader, RefusesEveryOtherStreamId)
{
    for (unsigned int id = 0; id < 256; ++id) {
        SCOPED_TRACE(id);
        const Pes pes = Right().PacketLength(0).StreamId(static_cast<unsigned char>(id));
        if (id == 0xBD) {
            ExpectAccepted(pes);
        } else {
            ExpectRefused(pes, {1, id});
        }
    }
}

TEST(CPESParserHeader, RefusesOnlyAnEmptyFirstFlagsByte)
{
    for (unsigned int flags = 0; flags < 256; ++flags) {
        SCOPED_TRACE(flags);
        const Pes pes = Right().PacketLength(0).Flags(static_cast<unsigned char>(flags));
        if (flags != 0) {
            ExpectAccepted(pes);
            ExpectRefused(Pes(pes).StreamId(0xC0), {1, 0xC0, 1});
        } else {
            ExpectRefused(pes, {1, 0xBD, 0});
        }
    }
}

TEST(CPESParserHeader, WantsAPtsWithoutADts)
{
    for (unsigned int flags = 0; flags < 256; ++flags) {
        SCOPED_TRACE(flags);
        const Pes pes = Right().PacketLength(0).TimeFlags(static_cast<unsigned char>(flags));
        if (flags >= 0x80 && flags <= 0xBF) {
            ExpectAccepted(pes);
        } else {
            ExpectRefused(pes, {1, 0xBD, 1, flags});
        }
    }
}

TEST(CPESParserHeader, IgnoresItsLength)
{
    for (unsigned int length = 0; length < 256; ++length) {
        SCOPED_TRACE(length);
        const Pes pes = Right().PacketLength(0).HeaderLength(static_cast<unsigned char>(length));
        ExpectAccepted(pes);
        ExpectRefused(Pes(pes).StreamId(0xC0), {1, 0xC0, 1, 0x80, length});
    }
}

TEST(CPESParserHeader, IgnoresThePacketLength)
{
    for (const unsigned int length : {0U, 1U, 255U, 256U, 0x7FFFU, 0x8000U, 0xFFFFU}) {
        SCOPED_TRACE(length);
        const Pes pes = Right().PacketLength(static_cast<std::uint16_t>(length));
        ExpectAccepted(pes);
        ExpectRefused(Pes(pes).StreamId(0xC0), {1, 0xC0, 1, 0x80, 5, length + 6});
    }
}

TEST(CPESParserHeader, SaysAllThatIsWrongInOneLine)
{
    ExpectRefused(
        Right().StartCode(0x123456).StreamId(0xE0).PacketLength(0xABCD).Flags(0).TimeFlags(0xC1).HeaderLength(
            255),
        {0x123456, 0xE0, 0, 0xC1, 255, 0xABCD + 6});
}

TEST(CPESParserHeader, TellsAShortOneFirst)
{
    const Parsed parsed = ParseBytes(Right().StreamId(0xC0).Cut(13).Bytes());
    EXPECT_EQ(parsed.said, (Texts{kIgnored, kHeaderError}));
}

TEST(CPESParserHeader, TakesTheDataFieldBehindFourteenBytesWhateverIsStuffed)
{
    // Five stuffing bytes, as ISO/IEC 13818-1 allows, before media time 0x0000AABBCCDD and one segment.
    PesBytes bytes = Pes().HeaderLength(10).MediaTime(0xAABBCCDD).Segment(kPlain, "<tt/>").Bytes();
    bytes.insert(bytes.begin() + kHeaderSize, 5, 0xFF);
    const Parsed parsed = ParseBytes(bytes);
    EXPECT_FALSE(parsed.result);
    EXPECT_EQ(parsed.data.mediaSegmentTime, 0xFFFFFF00U);
    EXPECT_EQ(parsed.data.segmentCount, 0U);
    EXPECT_EQ(parsed.said, SaidOf(0, 0xFFFFFF00, {"W Invalid segment count = 0", kDataError}));
}

// The time stamp.

TEST(CPESParserPts, LosesItsLowestBit)
{
    EXPECT_EQ(ParseBytes(Right().Pts(0).Bytes()).data.pts, 0U);
    EXPECT_EQ(ParseBytes(Right().Pts(1).Bytes()).data.pts, 0U);
    EXPECT_EQ(ParseBytes(Right().Pts(2).Bytes()).data.pts, 1U);
    EXPECT_EQ(ParseBytes(Right().Pts(0x1FFFFFFFF).Bytes()).data.pts, 0xFFFFFFFFU);
    ExpectAccepted(Right().Pts(0x1FFFFFFFE), 0xFFFFFFFF);
    ExpectAccepted(Right().Pts(0x100000000), 0x80000000);
}

TEST(CPESParserPts, HasEachOfItsBitsAtItsPlace)
{
    for (unsigned int bit = 0; bit < 33; ++bit) {
        SCOPED_TRACE(bit);
        const std::uint64_t alone = std::uint64_t{1} << bit;
        const std::uint64_t others = 0x1FFFFFFFF ^ alone;
        EXPECT_EQ(ParseBytes(Right().Pts(alone).Bytes()).data.pts, alone / 2);
        EXPECT_EQ(ParseBytes(Right().Pts(others).Bytes()).data.pts, others / 2);
    }
}

TEST(CPESParserPts, IsThatOfTheStandardWhateverItIs)
{
    std::mt19937_64 random(33);
    for (int i = 0; i < 2000; ++i) {
        const std::uint64_t pts = random() & 0x1FFFFFFFF;
        ASSERT_EQ(ParseBytes(Right().Pts(pts).Bytes()).data.pts, pts / 2);
    }
}

TEST(CPESParserPts, DoesNotDependOnPrefixAndMarkers)
{
    for (const std::uint64_t pts :
         {std::uint64_t{0}, std::uint64_t{0x1FFFFFFFF}, std::uint64_t{0x123456789}}) {
        for (unsigned int prefix = 0; prefix < 16; ++prefix) {
            for (unsigned int markers = 0; markers < 8; ++markers) {
                std::array<unsigned char, 5> field = PtsFieldOf(pts);
                field[0] = static_cast<unsigned char>((prefix << 4) | (field[0] & 0x0EU) | (markers & 1U));
                field[2] = static_cast<unsigned char>((field[2] & 0xFEU) | ((markers >> 1) & 1U));
                field[4] = static_cast<unsigned char>((field[4] & 0xFEU) | (markers >> 2));
                ASSERT_EQ(ParseBytes(Right().PtsField(field).Bytes()).data.pts, pts / 2)
                    << "prefix " << prefix << ", markers " << markers;
            }
        }
    }
}

TEST(CPESParserPts, ReplacesWhatWasInTheRecord)
{
    DvbTTMLData before;
    before.pts = ~std::uint64_t{0};
    before.mediaSegmentTime = ~std::uint64_t{0};
    before.segmentCount = 255;
    const Parsed parsed = ParseBytes(Right().Bytes(), before);
    EXPECT_EQ(parsed.data.pts, 90000U);
    EXPECT_EQ(parsed.data.mediaSegmentTime, 77U);
    EXPECT_EQ(parsed.data.segmentCount, 1U);
}

// The reading position, which the header leaves for the data field.

TEST(CPESParserHeader, LeavesThePositionBehindWhatItHasTested)
{
    struct
    {
        Pes pes;
        bool result;
        unsigned int position;
    } const cases[] = {
        {Right(), true, 14},
        {Right().Cut(14), true, 14},
        {Right().Cut(13), false, 0},
        {Right().StreamId(0xC0), false, 9},
        {Right().StartCode(2), false, 9},
        {Right().Flags(0), false, 9},
        {Right().TimeFlags(0xC0), false, 9},
    };
    for (const auto& one : cases) {
        PesBytes packet = one.pes.Bytes();
        DvbTTMLData data;
        unsigned int position = 0;
        EXPECT_EQ(CallParseHeader(packet, position, data), one.result);
        EXPECT_EQ(position, one.position) << Hex(packet);
    }
}

} // namespace TTMLTest
