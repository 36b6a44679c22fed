// What a packet costs in memory, and what becomes of it when there is none.

#include <cstddef>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "InflateProbe.h"
#include "PesFixture.h"

namespace TTMLTest {

namespace {

using TTML::CPESParser;
using TTML::DvbTTMLData;

constexpr Call kAllocations[] = {Call::NEW, Call::NEW_NOTHROW, Call::C_ALLOCATION};

// Texts up to this length need no allocation.
const std::size_t kShort = std::string().capacity();

struct Cost
{
    unsigned int throwing = 0;
    unsigned int nothrow = 0;
    unsigned int c = 0;
};

Cost CostOf(const PesBytes& bytes, bool result)
{
    PesBytes packet = bytes;
    CPESParser parser;
    DvbTTMLData data;
    Cost cost;
    const FaultInjection throwing(Call::NEW, FaultInjection::kAll);
    const FaultInjection nothrow(Call::NEW_NOTHROW, FaultInjection::kAll);
    const FaultInjection c(Call::C_ALLOCATION, FaultInjection::kAll);
    const bool parsed = parser.ParsePES(packet, data);
    cost.throwing = throwing.Calls();
    cost.nothrow = nothrow.Calls();
    cost.c = c.Calls();
    const FaultPause pause;
    EXPECT_EQ(parsed, result);
    return cost;
}

// How often a vector grows until it has so many elements.
unsigned int ListGrowths(std::size_t size)
{
    std::vector<std::string> list;
    unsigned int growths = 0;
    for (std::size_t capacity = 0; list.size() < size;) {
        list.emplace_back();
        growths += list.capacity() != capacity ? 1 : 0;
        capacity = list.capacity();
    }
    return growths;
}

// How often the output buffer grows for the text.
unsigned int BufferGrowths(const std::string& compressed)
{
    InflateProbe probe;
    std::string out;
    EXPECT_TRUE(CallUnzip(compressed, out));
    unsigned int growths = 0;
    std::size_t capacity = compressed.size();
    for (const InflateProbe::Step& step : probe.Steps()) {
        if (step.before >= capacity) {
            capacity += compressed.size() / 2;
            ++growths;
        }
    }
    return growths;
}

struct Attempt
{
    bool result = false;
    bool thrown = false;
    unsigned int failed = 0;
    DvbTTMLData data;
};

// Parses with the allocation number `n` of the kind failing.
Attempt Try(const PesBytes& bytes, Call kind, unsigned int n)
{
    PesBytes packet(bytes.begin(), bytes.end());
    CPESParser parser;
    Attempt attempt;
    ScriptedLog::Clear();
    const FaultInjection noMemory(kind, n);
    try {
        attempt.result = parser.ParsePES(packet, attempt.data);
    } catch (const std::bad_alloc&) {
        attempt.thrown = true;
    }
    attempt.failed = noMemory.Failed();
    return attempt;
}

} // namespace

TEST(CPESParserMemory, IsNotNeededForARefusal)
{
    for (const Pes& pes :
         {Pes().Cut(0), Pes().Cut(13), Pes().StreamId(0xC0), Pes().Cut(14), Pes().Count(0), Pes().Count(1),
          Pes().LyingSegment(kPlain, 100, "x"), Pes().Segment(3, DocumentOf(100))}) {
        const Cost cost = CostOf(pes.Bytes(), false);
        EXPECT_EQ(cost.throwing + cost.nothrow + cost.c, 0U) << Hex(pes.Bytes());
    }
}

TEST(CPESParserMemory, OfPlainSegmentsIsTheListAndTheTexts)
{
    for (const unsigned int count : {1U, 2U, 3U, 10U, 255U}) {
        for (const std::size_t size : {std::size_t{0}, kShort, kShort + 1, std::size_t{3000}}) {
            SCOPED_TRACE(std::to_string(count) + " segments of " + std::to_string(size));
            Pes pes;
            for (unsigned int i = 0; i < count; ++i) {
                pes.Segment(kPlain, DocumentOf(size, i));
            }
            const Cost cost = CostOf(pes.Bytes(), true);
            EXPECT_LE(cost.throwing, ListGrowths(count) + (size > kShort ? count : 0));
            EXPECT_EQ(cost.nothrow + cost.c, 0U);
        }
    }
}

TEST(CPESParserMemory, OfACompressedSegmentIsAlsoTheCopyAndTheBuffer)
{
    const std::vector<std::string> texts = {"", "<tt/>", DocumentOf(3000), std::string(50000, 'x')};
    for (const std::string& text : texts) {
        SCOPED_TRACE(text.size());
        const std::string compressed = Deflated(text);
        const unsigned int growths = BufferGrowths(compressed);
        const Cost cost = CostOf(Pes().Segment(kCompressed, compressed).Bytes(), true);
        const unsigned int copy = compressed.size() > kShort ? 1 : 0;
        const unsigned int itself = text.size() > kShort ? 1 : 0;
        EXPECT_LE(cost.throwing, copy + itself + ListGrowths(1));
        EXPECT_LE(cost.c + cost.nothrow, 1 + growths);
    }
}

TEST(CPESParserMemory, IsGivenBackAfterEveryFailedAllocation)
{
    const std::string xs(3000, 'x');
    const Texts texts = {DocumentOf(500), DocumentOf(900), "<tt/>", xs, DocumentOf(40)};
    const PesBytes packet = Pes()
                                .Pts(2)
                                .MediaTime(3)
                                .Segment(kPlain, texts[0])
                                .Gzip(texts[1])
                                .Segment(kPlain, texts[2])
                                .Gzip(texts[3])
                                .Segment(kPlain, texts[4])
                                .Bytes();
    unsigned int failures = 0;
    for (const Call kind : kAllocations) {
        for (unsigned int n = 1; !::testing::Test::HasFailure(); ++n) {
            SCOPED_TRACE("kind " + std::to_string(static_cast<int>(kind)) + ", allocation " +
                         std::to_string(n));
            const Attempt attempt = Try(packet, kind, n);
            if (attempt.failed == 0) {
                EXPECT_TRUE(attempt.result);
                EXPECT_EQ(attempt.data.segments, texts);
                break;
            }
            ++failures;
            EXPECT_FALSE(attempt.result);
            EXPECT_EQ(attempt.data.pts, 1U);
            EXPECT_EQ(attempt.data.mediaSegmentTime, 3U);
            EXPECT_EQ(attempt.data.segmentCount, 5U);
            // Whole segments, as many as came before, and no other.
            ASSERT_LT(attempt.data.segments.size(), texts.size());
            EXPECT_EQ(attempt.data.segments,
                      Texts(texts.begin(),
                            texts.begin() + static_cast<std::ptrdiff_t>(attempt.data.segments.size())));
            // A refusal says so; an exception is the caller's to tell.
            const Texts said = ScriptedLog::Substance();
            EXPECT_EQ(said.back() == kDataError, !attempt.thrown);
        }
    }
    EXPECT_GE(failures, 10U);
}

TEST(CPESParserMemory, IsFoundAgainByTheNextPacket)
{
    const PesBytes packet = Pes().Gzip(DocumentOf(500)).Bytes();
    CPESParser parser;
    for (unsigned int n = 1; n < 6; ++n) {
        PesBytes first = packet;
        DvbTTMLData data;
        try {
            const FaultInjection noMemory(Call::NEW, n);
            parser.ParsePES(first, data);
        } catch (const std::bad_alloc&) {
            ScriptedLog::Clear();
        }
        DvbTTMLData next;
        EXPECT_TRUE(parser.ParsePES(first, next));
        EXPECT_EQ(next.segments, Texts{DocumentOf(500)});
    }
}

TEST(CPESParserMemory, OfABufferThatCannotBeMadeIsNotAskedOfZlib)
{
    // The first of these allocations is the output buffer; zlib has nothing to end then, or ends what it
    // began.
    InflateProbe probe;
    const Attempt attempt = Try(Pes().Gzip(DocumentOf(500)).Bytes(), Call::C_ALLOCATION, 1);
    EXPECT_EQ(attempt.failed, 1U);
    EXPECT_FALSE(attempt.result);
    EXPECT_TRUE(probe.Steps().empty());
    EXPECT_EQ(probe.Ends(), probe.Inits().size());
}

TEST(CPESParserMemory, OfABufferThatCannotGrowEndsZlib)
{
    const PesBytes packet = Pes().Gzip(std::string(3000, 'x')).Bytes();
    for (unsigned int n = 2; n < 10; ++n) {
        InflateProbe probe;
        const Attempt attempt = Try(packet, Call::C_ALLOCATION, n);
        EXPECT_EQ(attempt.failed, 1U);
        EXPECT_FALSE(attempt.result);
        EXPECT_TRUE(attempt.data.segments.empty());
        EXPECT_EQ(probe.Inits().size(), 1U);
        EXPECT_EQ(probe.Steps().size(), n - 1);
        EXPECT_EQ(probe.Ends(), 1U);
    }
}

} // namespace TTMLTest
