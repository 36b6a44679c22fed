// Compressed segments: what is inflated, what is refused, and how zlib is asked.

#include <cstddef>
#include <random>
#include <string>

#include <gtest/gtest.h>
#include <zlib.h>

#include "InflateProbe.h"
#include "PesFixture.h"
#include "PesReading.h"

namespace TTMLTest {

namespace {

constexpr std::size_t kMemberHeader = 10;
constexpr std::size_t kMemberTrailer = 8;

// One compressed segment between two plain ones; nothing of it is kept when it is refused.
void ExpectRefused(const std::string& compressed)
{
    const Parsed parsed =
        ParseBytes(Pes().Segment(kPlain, "a").Segment(kCompressed, compressed).Segment(kPlain, "c").Bytes());
    EXPECT_FALSE(parsed.result);
    EXPECT_EQ(parsed.said,
              SaidOf(0, 0, {SegmentLine(kPlain), SegmentLine(kCompressed), kInflateError, kDataError}));
    EXPECT_EQ(parsed.data.segments, Texts{"a"});
}

void ExpectInflated(const std::string& compressed, const std::string& text)
{
    const Parsed parsed =
        ParseBytes(Pes().Segment(kPlain, "a").Segment(kCompressed, compressed).Segment(kPlain, "c").Bytes());
    EXPECT_TRUE(parsed.result);
    Texts lines = Joined({SegmentLine(kPlain)}, InflatedLines(compressed.size(), text.size()));
    lines.push_back(SegmentLine(kPlain));
    EXPECT_EQ(parsed.said, SaidOf(0, 0, lines));
    EXPECT_TRUE(parsed.data.segments == (Texts{"a", text, "c"}));
}

std::string RandomText(std::size_t size, unsigned int seed)
{
    std::mt19937 random(seed);
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        text.push_back(static_cast<char>(random()));
    }
    return text;
}

// Texts that need no growth of the buffer, one, or many.
Texts TextsToGrowFor()
{
    return {"", "<tt/>", DocumentOf(3000), std::string(20000, 'x'), RandomText(500, 2)};
}

// Every step has what the buffer has left, which grows when that is nothing and at no other time.
void ExpectGrowth(const InflateProbe& probe, std::size_t compressed)
{
    EXPECT_EQ(probe.Ends(), 1U);
    ASSERT_FALSE(probe.Steps().empty());
    std::size_t capacity = compressed;
    for (const InflateProbe::Step& step : probe.Steps()) {
        capacity += step.before >= capacity ? compressed / 2 : 0;
        EXPECT_EQ(step.flush, Z_SYNC_FLUSH);
        EXPECT_EQ(step.room, capacity - step.before);
    }
    EXPECT_EQ(probe.Steps().back().result, Z_STREAM_END);
}

} // namespace

TEST(CPESParserInflate, GivesTextsOfEveryLength)
{
    for (const std::size_t size :
         {0U, 1U, 2U, 17U, 18U, 19U, 20U, 21U, 255U, 3000U, 32768U, 65536U, 200000U}) {
        SCOPED_TRACE(size);
        const std::string text = DocumentOf(size);
        ExpectInflated(Deflated(text), text);
    }
}

TEST(CPESParserInflate, GivesTextsOfEveryDeflateLevel)
{
    const std::string text = DocumentOf(20000);
    for (int level = 0; level <= 9; ++level) {
        SCOPED_TRACE(level);
        ExpectInflated(Deflated(text, Wrapper::GZIP, level), text);
    }
}

TEST(CPESParserInflate, GivesTextsThatCannotBeCompressed)
{
    for (const std::size_t size : {1U, 100U, 65000U}) {
        const std::string text = RandomText(size, 1);
        ExpectInflated(Deflated(text), text);
        ExpectInflated(Deflated(text, Wrapper::GZIP, 0), text);
    }
}

TEST(CPESParserInflate, DeliversMillionsOfZerosWhole)
{
    // The sanitizers' realloc copies all that is there, at each of two thousand growths.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    const std::string zeros(5000000, '\0');
#else
    const std::string zeros(60000000, '\0');
#endif
    ExpectInflated(Deflated(zeros), zeros);
}

TEST(CPESParserInflate, RefusesOtherWrappers)
{
    ExpectRefused(Deflated("<tt/>", Wrapper::ZLIB));
    ExpectRefused(Deflated("<tt/>", Wrapper::NONE));
    ExpectRefused(Deflated(DocumentOf(3000), Wrapper::ZLIB));
    ExpectRefused(Deflated(DocumentOf(3000), Wrapper::NONE));
    ExpectRefused("<tt/>");
}

TEST(CPESParserInflate, IgnoresWhatStandsBehindTheStream)
{
    const std::string compressed = Deflated("<tt/>");
    for (std::size_t size = 1; size <= 40; ++size) {
        SCOPED_TRACE(size);
        ExpectInflated(compressed + std::string(size, '\0'), "<tt/>");
        ExpectInflated(compressed + std::string(size, '\xFF'), "<tt/>");
    }
    EXPECT_EQ(ParseBytes(Pes().Gzip("<tt/>", 188).Bytes()).data.segments, Texts{"<tt/>"});
}

TEST(CPESParserInflate, GivesTheFirstOfSeveralMembers)
{
    ExpectInflated(Deflated("first") + Deflated("second"), "first");
    ExpectInflated(Deflated("") + Deflated("second"), "");
}

TEST(CPESParserInflate, RefusesTheStreamCutAnywhere)
{
    for (const std::string& text : {std::string(), std::string("<tt/>"), DocumentOf(2000)}) {
        const std::string compressed = Deflated(text);
        for (std::size_t size = 0; size < compressed.size(); ++size) {
            SCOPED_TRACE(size);
            ExpectRefused(compressed.substr(0, size));
        }
        ExpectInflated(compressed, text);
    }
}

TEST(CPESParserInflate, RefusesSegmentsTooShortForAnything)
{
    ExpectRefused("");
    for (int byte = 0; byte < 256; ++byte) {
        ExpectRefused(std::string(1, static_cast<char>(byte)));
    }
    ExpectRefused("\x1F\x8B");
}

TEST(CPESParserInflate, SeesDamageInEveryByte)
{
    const std::string text = DocumentOf(700);
    const std::string compressed = Deflated(text);
    for (std::size_t at = 0; at < compressed.size(); ++at) {
        for (unsigned int bit = 0; bit < 8; ++bit) {
            SCOPED_TRACE("byte " + std::to_string(at) + ", bit " + std::to_string(bit));
            std::string damaged = compressed;
            damaged[at] = static_cast<char>(static_cast<unsigned char>(damaged[at]) ^ (1U << bit));
            // MTIME, XFL and OS of the header and its flag FTEXT (RFC 1952) say nothing about how to inflate.
            const bool unused = (at >= 4 && at < kMemberHeader) || (at == 3 && bit == 0);
            const bool inDeflate = at >= kMemberHeader && at < compressed.size() - kMemberTrailer;
            const Parsed parsed = ParseBytes(Pes().Segment(kCompressed, damaged).Bytes());
            if (parsed.result) {
                // In the deflate stream the damage may have made a reference to another copy of a word.
                EXPECT_TRUE(unused || inDeflate);
                EXPECT_EQ(parsed.data.segments, Texts{text});
            } else {
                EXPECT_FALSE(unused);
                EXPECT_EQ(parsed.data.segments, Texts{});
                EXPECT_EQ(parsed.said, SaidOf(0, 0, {SegmentLine(kCompressed), kInflateError, kDataError}));
            }
        }
    }
}

TEST(CPESParserInflate, SeesEveryOtherValueOfEachByte)
{
    const std::string text = "<tt><body>a, b, a, b, a, b</body></tt>";
    const std::string compressed = Deflated(text);
    for (std::size_t at = 0; at < compressed.size(); ++at) {
        for (unsigned int change = 1; change < 256; ++change) {
            std::string damaged = compressed;
            damaged[at] = static_cast<char>(static_cast<unsigned char>(damaged[at]) ^ change);
            std::string content;
            const bool readable = ReadGzip(damaged, content);
            const Parsed parsed = ParseBytes(Pes().Segment(kCompressed, damaged).Bytes());
            ASSERT_EQ(parsed.result, readable) << "byte " << at << ", change " << change;
            ASSERT_EQ(parsed.data.segments, readable ? Texts{text} : Texts{});
        }
    }
}

TEST(CPESParserInflate, RefusesAWrongLengthOrChecksum)
{
    std::string wrongLength = Deflated("<tt/>");
    wrongLength[wrongLength.size() - 4] = 6;
    ExpectRefused(wrongLength);
    std::string wrongChecksum = Deflated("<tt/>");
    wrongChecksum[wrongChecksum.size() - 8] ^= 1;
    ExpectRefused(wrongChecksum);
}

TEST(CPESParserInflate, EndsThePacketWhereItFails)
{
    const Parsed parsed = ParseBytes(
        Pes().Gzip("a").Segment(kCompressed, Deflated("b").substr(1)).Gzip("c").Segment(kPlain, "d").Bytes());
    EXPECT_FALSE(parsed.result);
    EXPECT_EQ(parsed.data.segmentCount, 4U);
    EXPECT_EQ(parsed.data.segments, Texts{"a"});
}

// The operation by itself.

TEST(CPESParserInflate, AppendsToTheTextThatItIsGiven)
{
    std::string out = "before, ";
    EXPECT_TRUE(CallUnzip(Deflated("<tt/>"), out));
    EXPECT_EQ(out, "before, <tt/>");
    const Texts lines = InflatedLines(Deflated("<tt/>").size(), out.size());
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{lines[1], lines[2]}));
}

TEST(CPESParserInflate, LeavesTheTextAloneWhenItFails)
{
    // Damage in the checksum, which is seen only when the whole text is there.
    std::string compressed = Deflated(DocumentOf(5000));
    compressed[compressed.size() - 8] ^= 1;
    std::string out = "before";
    EXPECT_FALSE(CallUnzip(compressed, out));
    EXPECT_EQ(out, "before");
    EXPECT_EQ(ScriptedLog::Substance(), Texts{kInflateError});
}

// What zlib is asked.

TEST(CPESParserInflate, AsksZlibForGzipOnly)
{
    const std::string compressed = Deflated(DocumentOf(100)) + "padding";
    std::string out;
    InflateProbe probe;
    EXPECT_TRUE(CallUnzip(compressed, out));
    ASSERT_EQ(probe.Inits().size(), 1U);
    const InflateProbe::Init& init = probe.Inits()[0];
    EXPECT_EQ(init.windowBits, 31);
    EXPECT_EQ(init.version.substr(0, 2), "1.");
    EXPECT_EQ(init.streamSize, static_cast<int>(sizeof(z_stream)));
    EXPECT_TRUE(init.defaultAllocator);
    EXPECT_EQ(init.input, compressed);
    EXPECT_EQ(init.totalOut, 0U);
    EXPECT_EQ(probe.Ends(), 1U);
}

TEST(CPESParserInflate, GrowsTheBufferByHalfTheCompressedLength)
{
    for (const std::string& text : TextsToGrowFor()) {
        SCOPED_TRACE(text.size());
        const std::string compressed = Deflated(text);
        std::string out;
        InflateProbe probe;
        EXPECT_TRUE(CallUnzip(compressed, out));
        EXPECT_TRUE(out == text);
        ExpectGrowth(probe, compressed.size());
        const std::size_t half = compressed.size() / 2;
        const std::size_t growths =
            text.size() > compressed.size() ? (text.size() - compressed.size() + half - 1) / half : 0;
        EXPECT_GE(probe.Steps().size(), 1 + growths);
        EXPECT_LE(probe.Steps().size(), 2 + growths);
    }
}

TEST(CPESParserInflate, GrowsTheBufferOnlyWhenItIsFull)
{
    for (const std::string& text : TextsToGrowFor()) {
        SCOPED_TRACE(text.size());
        const std::string compressed = Deflated(text);
        std::string out;
        InflateProbe probe;
        probe.LimitSteps(1);
        EXPECT_TRUE(CallUnzip(compressed, out));
        EXPECT_TRUE(out == text);
        EXPECT_GE(probe.Steps().size(), text.size());
        ExpectGrowth(probe, compressed.size());
    }
}

TEST(CPESParserInflate, RefusedByZlibFromTheStartIsNotEnded)
{
    for (const int result : {Z_MEM_ERROR, Z_VERSION_ERROR, Z_STREAM_ERROR}) {
        InflateProbe probe;
        probe.FailInit(result);
        const Parsed parsed = ParseBytes(Pes().Gzip("<tt/>").Bytes());
        EXPECT_FALSE(parsed.result);
        EXPECT_EQ(parsed.said, SaidOf(0, 0, {SegmentLine(kCompressed), "W Inflate init2 error", kDataError}));
        EXPECT_EQ(parsed.data.segments, Texts{});
        EXPECT_TRUE(probe.Steps().empty());
        EXPECT_EQ(probe.Ends(), 0U);
    }
}

TEST(CPESParserInflate, RefusedByZlibAtAnyStepIsEnded)
{
    const PesBytes packet = Pes().Gzip(std::string(3000, 'x')).Bytes();
    std::size_t steps = 0;
    {
        InflateProbe probe;
        EXPECT_TRUE(ParseBytes(packet).result);
        steps = probe.Steps().size();
    }
    ASSERT_GT(steps, 10U);
    for (const int result : {Z_NEED_DICT, Z_ERRNO, Z_STREAM_ERROR, Z_DATA_ERROR, Z_MEM_ERROR, Z_BUF_ERROR,
                             Z_VERSION_ERROR, 77}) {
        for (unsigned int step = 1; step <= steps; ++step) {
            InflateProbe probe;
            probe.FailStep(step, result);
            const Parsed parsed = ParseBytes(packet);
            ASSERT_FALSE(parsed.result) << "step " << step << ", result " << result;
            EXPECT_EQ(parsed.said, SaidOf(0, 0, {SegmentLine(kCompressed), kInflateError, kDataError}));
            EXPECT_EQ(parsed.data.segments, Texts{});
            EXPECT_EQ(probe.Steps().size(), step);
            EXPECT_EQ(probe.Ends(), 1U);
        }
    }
}

} // namespace TTMLTest
