#include <cstdint>

#include <gtest/gtest.h>

#include "CaptionTimeline.h"
#include "MediaTime.h"

namespace {

using TTMLHost::CaptionSet;
using TTMLHost::CaptionTime;
using TTMLHost::CaptionTimeline;
using TTMLHost::Mpd;
using TTMLHost::MpdPeriod;

constexpr std::int64_t kMs = 1000000;
constexpr std::int64_t kStartMs = 1715941815500;

struct Service
{
    Mpd mpd;
    MpdPeriod period;
    CaptionSet set;
    CaptionTimeline::Receiver receiver = CaptionTimeline::Receiver::ReadsMpd;

    CaptionTime At(std::int64_t time, std::int64_t timescale) const
    {
        return CaptionTimeline(mpd, receiver).Of(period, set, time, timescale);
    }
    // What a source has for its clock when it gets the caption: it takes the offset and what the MPD says.
    std::int64_t ClockMs(const CaptionTime& time) const
    {
        return (time.referenceNs - time.offsetNs) / kMs - mpd.availabilityStartMs -
               mpd.suggestedPresentationDelayMs;
    }
};

TEST(CaptionTimeline, PutsASampleOnTheWallClock)
{
    Service service;
    service.mpd.availabilityStartMs = kStartMs;
    service.mpd.suggestedPresentationDelayMs = 2500;
    const CaptionTime time = service.At(180000, 90000);
    EXPECT_EQ(time.presentationNs, 2000 * kMs);
    EXPECT_EQ(time.referenceNs, (kStartMs + 2500 + 2000) * kMs);
    EXPECT_EQ(time.offsetNs, 0);
    EXPECT_EQ(service.ClockMs(time), 2000);
}

TEST(CaptionTimeline, HasNoOffsetWhereThePeriodsStartIsThePresentationTimeOffset)
{
    Service service;
    service.mpd.availabilityStartMs = kStartMs;
    service.period.startMs = 60000;
    service.set.segments.timescale = 1000;
    service.set.segments.presentationTimeOffset = 60000;
    const CaptionTime time = service.At(61000, 1000);
    EXPECT_EQ(time.referenceNs, (kStartMs + 61000) * kMs);
    EXPECT_EQ(time.offsetNs, 0);
    EXPECT_EQ(service.ClockMs(time), 61000);
}

TEST(CaptionTimeline, TellsHowFarTheDocumentsTimesAreFromThePresentations)
{
    Service service;
    service.mpd.availabilityStartMs = kStartMs;
    service.mpd.suggestedPresentationDelayMs = 700;
    service.period.startMs = 60000;
    service.set.segments.timescale = 48000;
    service.set.segments.presentationTimeOffset = 480000;
    const CaptionTime time = service.At(11000, 1000);
    EXPECT_EQ(time.presentationNs, 61000 * kMs);
    EXPECT_EQ(time.referenceNs, (kStartMs + 700 + 61000) * kMs);
    EXPECT_EQ(time.offsetNs, 50000 * kMs);
    EXPECT_EQ(service.ClockMs(time), 11000);
}

TEST(CaptionTimeline, CountsFromTheEpochWithoutAnAvailabilityStart)
{
    const CaptionTime time = Service().At(2000, 1000);
    EXPECT_EQ(time.referenceNs, 2000 * kMs);
    EXPECT_EQ(time.offsetNs, 0);
}

TEST(CaptionTimeline, KnowsTimesSince1970UnderALaterStart)
{
    Service service;
    service.mpd.availabilityStartMs = 1593730498000; // 44 s after the segment
    service.mpd.suggestedPresentationDelayMs = 1000;
    const CaptionTime time = service.At(1593730454316000, 1000000);
    EXPECT_EQ(time.referenceNs, 1593730454316 * kMs);
    EXPECT_EQ(time.offsetNs, -1593730499000 * kMs);
    EXPECT_EQ(service.ClockMs(time), 1593730454316);
}

TEST(CaptionTimeline, LeavesTimesSince1970ToWhoDoesNotReadTheMpd)
{
    Service service;
    service.mpd.availabilityStartMs = 1593730498000;
    service.mpd.suggestedPresentationDelayMs = 1000;
    service.receiver = CaptionTimeline::Receiver::IgnoresMpd;
    const CaptionTime time = service.At(1593730454316000, 1000000);
    EXPECT_EQ(time.referenceNs, 1593730454316 * kMs);
    EXPECT_EQ(time.offsetNs, 0);
}

TEST(CaptionTimeline, TakesTimesSince1970UnderTheirOwnStartAsTheyAre)
{
    Service service;
    const CaptionTime time = service.At(1593730454316000, 1000000);
    EXPECT_EQ(time.referenceNs, 1593730454316 * kMs);
    EXPECT_EQ(time.offsetNs, 0);
    EXPECT_EQ(service.ClockMs(time), 1593730454316);
}

TEST(CaptionTimeline, LetsALongPresentationRunFromItsStart)
{
    Service service;
    service.mpd.availabilityStartMs = 1262304000000; // ten years ago
    const std::int64_t tenYearsMs = std::int64_t{3652} * 86400 * 1000;
    const CaptionTime time = service.At(tenYearsMs, 1000);
    EXPECT_EQ(time.referenceNs, (1262304000000 + tenYearsMs) * kMs);
    EXPECT_EQ(time.offsetNs, 0);
}

TEST(CaptionTimeline, StaysWithinItsLimits)
{
    Service service;
    service.mpd.availabilityStartMs = INT64_MAX;
    service.mpd.suggestedPresentationDelayMs = INT64_MAX;
    service.period.startMs = INT64_MAX;
    for (const std::int64_t time : {INT64_MAX, INT64_MIN, std::int64_t{0}}) {
        const CaptionTime caption = service.At(time, 1);
        EXPECT_LE(caption.referenceNs, TTMLHost::kFarthestNs);
        EXPECT_GE(caption.referenceNs, -TTMLHost::kFarthestNs);
    }
}

} // namespace
