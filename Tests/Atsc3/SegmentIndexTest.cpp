#include <cstdint>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "MediaTime.h"
#include "MpdText.h"
#include "SegmentIndex.h"

namespace {

using TTMLHost::CaptionSet;
using TTMLHost::Segment;
using TTMLHost::SegmentIndex;
using TTMLTest::CaptionText;
using TTMLTest::MpdText;
using TTMLTest::ParsedMpd;
using TTMLTest::PeriodText;

constexpr std::int64_t kS = 1000000000;

CaptionSet Set(const std::string& segments)
{
    const TTMLHost::Mpd mpd = ParsedMpd(MpdText("", PeriodText("", CaptionText("", segments))));
    return mpd.periods.at(0).captions.at(0);
}

// "number name start-end" with times in seconds, or "none".
std::string At(const SegmentIndex& index, std::int64_t ordinal)
{
    const std::optional<Segment> segment = index.At(ordinal);
    return segment ? std::to_string(segment->number) + " " + segment->reference + " " +
                         std::to_string(segment->startNs / kS) + "-" + std::to_string(segment->endNs / kS)
                   : "none";
}

const std::string kTimeline =
    "<SegmentTemplate media=\"$Time$\" startNumber=\"5\" timescale=\"10\" presentationTimeOffset=\"100\">"
    "<SegmentTimeline><S t=\"100\" d=\"20\" r=\"1\"/><S t=\"200\" d=\"50\"";

TEST(SegmentIndex, CountsSegmentsOfOneDuration)
{
    const CaptionSet set = Set("<SegmentTemplate media=\"$Number$\" startNumber=\"3\" duration=\"4\"/>");
    const SegmentIndex index(set, 100 * kS, 109 * kS);
    EXPECT_EQ(index.Count(), 3);
    EXPECT_EQ(At(index, 0), "3 3 100-104");
    EXPECT_EQ(At(index, 2), "5 5 108-112");
    EXPECT_EQ(At(index, 3), "none");
    EXPECT_EQ(At(index, -1), "none");
    EXPECT_EQ(index.OrdinalOf(5), 2);
}

TEST(SegmentIndex, HasAsManyAsFitThePeriod)
{
    const CaptionSet set = Set("<SegmentTemplate media=\"$Number$\" duration=\"2\"/>");
    EXPECT_EQ(SegmentIndex(set, 0, 8 * kS).Count(), 4);
    EXPECT_EQ(SegmentIndex(set, 0, 8 * kS + 1).Count(), 5);
    EXPECT_EQ(SegmentIndex(set, 0, 0).Count(), 0);
    EXPECT_EQ(SegmentIndex(set, 5 * kS, kS).Count(), 0);
    EXPECT_FALSE(SegmentIndex(set, 0, std::nullopt).Count().has_value());
    EXPECT_EQ(At(SegmentIndex(set, 0, std::nullopt), 1000000), "1000001 1000001 2000000-2000002");
}

TEST(SegmentIndex, HasNoneBehindAPeriodThatItsSegmentsFill)
{
    const CaptionSet set =
        Set("<SegmentTemplate media=\"$Number$\" timescale=\"90000\" duration=\"180180\"/>");
    EXPECT_EQ(SegmentIndex(set, 0, std::int64_t{28028} * TTMLHost::kNsPerMs).Count(), 14);
    EXPECT_EQ(SegmentIndex(set, 500 * TTMLHost::kNsPerMs, std::int64_t{28528} * TTMLHost::kNsPerMs).Count(),
              14);
    EXPECT_EQ(SegmentIndex(set, 0, std::int64_t{28029} * TTMLHost::kNsPerMs).Count(), 15);
}

TEST(SegmentIndex, EndsWithTheLastNumber)
{
    const CaptionSet set = Set("<SegmentTemplate media=\"$Number$\" duration=\"2\" endNumber=\"3\"/>");
    EXPECT_EQ(SegmentIndex(set, 0, std::nullopt).Count(), 3);
    EXPECT_EQ(SegmentIndex(set, 0, 4 * kS).Count(), 2);
}

TEST(SegmentIndex, FindsTheSegmentAtATime)
{
    const CaptionSet set =
        Set("<SegmentTemplate media=\"$Number$\" duration=\"2002000\" timescale=\"1000000\"/>");
    const SegmentIndex index(set, 10 * kS, std::nullopt);
    EXPECT_EQ(index.OrdinalAt(0), 0);
    EXPECT_EQ(index.OrdinalAt(10 * kS), 0);
    EXPECT_EQ(index.OrdinalAt(12 * kS), 0);
    EXPECT_EQ(index.OrdinalAt(12 * kS + 2000000), 1);
    for (const std::int64_t ordinal : {1, 2, 3, 1000, 796069158}) {
        EXPECT_EQ(index.OrdinalAt(index.At(ordinal)->startNs), ordinal);
        EXPECT_EQ(index.OrdinalAt(index.At(ordinal)->endNs - 1000), ordinal);
    }
}

TEST(SegmentIndex, FollowsATimeline)
{
    const CaptionSet set = Set(kTimeline + "/></SegmentTimeline></SegmentTemplate>");
    const SegmentIndex index(set, 1000 * kS, std::nullopt);
    EXPECT_EQ(index.Count(), 3);
    EXPECT_EQ(At(index, 0), "5 100 1000-1002");
    EXPECT_EQ(At(index, 1), "6 120 1002-1004");
    EXPECT_EQ(At(index, 2), "7 200 1010-1015");
    EXPECT_EQ(At(index, 3), "none");
    EXPECT_EQ(index.OrdinalAt(0), 0);
    EXPECT_EQ(index.OrdinalAt(1003 * kS), 1);
    EXPECT_EQ(index.OrdinalAt(1005 * kS), 2) << "in the gap";
    EXPECT_EQ(index.OrdinalAt(1014 * kS), 2);
    EXPECT_EQ(index.OrdinalAt(1015 * kS), 3);
}

TEST(SegmentIndex, LetsTheLastRunGoOn)
{
    const CaptionSet set = Set(kTimeline + " r=\"-1\"/></SegmentTimeline></SegmentTemplate>");
    const SegmentIndex open(set, 0, std::nullopt);
    EXPECT_FALSE(open.Count().has_value());
    EXPECT_EQ(At(open, 12), "17 700 60-65");
    EXPECT_EQ(open.OrdinalAt(61 * kS), 12);
    const SegmentIndex closed(set, 0, 21 * kS);
    EXPECT_EQ(closed.Count(), 5);
    EXPECT_EQ(At(closed, 4), "9 300 20-25");
    EXPECT_EQ(At(closed, 5), "none");
}

TEST(SegmentIndex, TakesAListInItsOrder)
{
    const CaptionSet set =
        Set("<SegmentList duration=\"4\"><SegmentURL media=\"a\"/><SegmentURL media=\"b\"/>"
            "</SegmentList>");
    const SegmentIndex index(set, 0, std::nullopt);
    EXPECT_EQ(index.Count(), 2);
    EXPECT_EQ(At(index, 1), "2 b 4-8");
    EXPECT_EQ(At(index, 2), "none");
}

TEST(SegmentIndex, OfASingleFileIsThatForThePeriod)
{
    const CaptionSet set = Set("<SegmentBase/>");
    const SegmentIndex index(set, 5 * kS, 60 * kS);
    EXPECT_EQ(index.Count(), 1);
    EXPECT_EQ(At(index, 0), "1  5-60");
    EXPECT_EQ(index.OrdinalAt(30 * kS), 0);
    EXPECT_EQ(At(SegmentIndex(set, 5 * kS, std::nullopt), 0), "1  5-5");
}

TEST(SegmentIndex, StaysWithinItsLimits)
{
    const CaptionSet set =
        Set("<SegmentTemplate media=\"$Number$-$Time$\" timescale=\"1\"><SegmentTimeline>"
            "<S t=\"1000000000000000000\" d=\"1000000000000000000\" r=\"-1\"/></SegmentTimeline>"
            "</SegmentTemplate>");
    const SegmentIndex index(set, 0, std::nullopt);
    for (const std::int64_t ordinal : {std::int64_t{0}, std::int64_t{1}, std::int64_t{1} << 40U}) {
        const std::optional<Segment> segment = index.At(ordinal);
        ASSERT_TRUE(segment.has_value());
        EXPECT_EQ(segment->startNs, TTMLHost::kFarthestNs);
    }
    EXPECT_EQ(index.OrdinalAt(INT64_MAX), 0);
    EXPECT_EQ(index.OrdinalAt(INT64_MIN / 2), 0);
}

} // namespace
