#include <cstdint>

#include <gtest/gtest.h>

#include "DeliveryClock.h"

namespace {

using TTMLHost::CaptionTime;
using TTMLHost::DeliveryClock;
using TTMLHost::Segment;
using TTMLHost::ServicePace;

constexpr std::int64_t kS = 1000000000;
constexpr std::int64_t kNow = 1000 * kS;

Segment From(std::int64_t startNs, std::int64_t endNs)
{
    Segment segment;
    segment.startNs = startNs;
    segment.endNs = endNs;
    return segment;
}

CaptionTime Presented(std::int64_t presentationNs, std::int64_t referenceNs = 0)
{
    CaptionTime time;
    time.presentationNs = presentationNs;
    time.referenceNs = referenceNs;
    return time;
}

TEST(DeliveryClock, OfALiveServiceIsTheWorlds)
{
    DeliveryClock clock(ServicePace::Live, 1.0);
    EXPECT_EQ(clock.DueNs(From(0, 2 * kS), Presented(kS, kNow + 5 * kS), kNow), kNow + 5 * kS);
    EXPECT_EQ(clock.DueNs(From(0, 2 * kS), Presented(kS, kNow - 5 * kS), kNow), kNow - 5 * kS);
}

TEST(DeliveryClock, DoesNotWaitForALiveSampleOfTheFarFuture)
{
    DeliveryClock clock(ServicePace::Live, 1.0);
    EXPECT_EQ(clock.DueNs(From(0, 2 * kS), Presented(kS, kNow + 86400 * kS), kNow), kNow);
}

TEST(DeliveryClock, OfAStoredServiceStartsAtTuneIn)
{
    DeliveryClock clock(ServicePace::Stored, 1.0);
    EXPECT_EQ(clock.DueNs(From(10 * kS, 12 * kS), Presented(10 * kS), kNow), kNow);
    EXPECT_EQ(clock.DueNs(From(10 * kS, 12 * kS), Presented(11 * kS), kNow), kNow + kS);
    EXPECT_EQ(clock.DueNs(From(40 * kS, 42 * kS), Presented(41 * kS), kNow + kS), kNow + 31 * kS);
}

TEST(DeliveryClock, GoesFasterWithTheSpeed)
{
    DeliveryClock clock(ServicePace::Stored, 4.0);
    EXPECT_EQ(clock.DueNs(From(0, 2 * kS), Presented(0), kNow), kNow);
    EXPECT_EQ(clock.DueNs(From(8 * kS, 10 * kS), Presented(9 * kS), kNow), kNow + 9 * kS / 4);
}

TEST(DeliveryClock, LeavesOutGapsOfARecording)
{
    DeliveryClock clock(ServicePace::Recorded, 1.0);
    EXPECT_EQ(clock.DueNs(From(0, 2 * kS), Presented(0), kNow), kNow);
    EXPECT_EQ(clock.DueNs(From(5000 * kS, 5002 * kS), Presented(5001 * kS), kNow + kS), kNow + 3 * kS);
    EXPECT_EQ(clock.DueNs(From(5002 * kS, 5004 * kS), Presented(5002 * kS), kNow + kS), kNow + 4 * kS);
}

TEST(DeliveryClock, TakesTheSegmentsTimeForASampleThatHasNothingToDoWithIt)
{
    DeliveryClock clock(ServicePace::Stored, 1.0);
    EXPECT_EQ(clock.DueNs(From(0, 2 * kS), Presented(7000 * kS), kNow), kNow);
    EXPECT_EQ(clock.DueNs(From(2 * kS, 4 * kS), Presented(-7000 * kS), kNow), kNow + 2 * kS);
    EXPECT_EQ(clock.DueNs(From(4 * kS, 6 * kS), Presented(3 * kS), kNow), kNow + 4 * kS);
    EXPECT_EQ(clock.DueNs(From(6 * kS, 8 * kS), Presented(7 * kS), kNow), kNow + 7 * kS);
}

TEST(DeliveryClock, TellsWhenASegmentIsOver)
{
    DeliveryClock stored(ServicePace::Stored, 4.0);
    EXPECT_EQ(stored.OverNs(From(8 * kS, 10 * kS), Presented(9 * kS), kNow), kNow + kS / 4);
    EXPECT_EQ(stored.OverNs(From(8 * kS, 10 * kS), Presented(11 * kS), kNow), kNow) << "behind its end";
    EXPECT_EQ(stored.OverNs(From(8 * kS, 10 * kS), Presented(-9000 * kS), kNow), kNow + kS / 2);
    DeliveryClock live(ServicePace::Live, 4.0);
    EXPECT_EQ(live.OverNs(From(8 * kS, 10 * kS), Presented(9 * kS), kNow), kNow + kS);
}

TEST(DeliveryClock, BearsAnySpeed)
{
    DeliveryClock clock(ServicePace::Stored, 1e-300);
    EXPECT_EQ(clock.DueNs(From(0, 2 * kS), Presented(0), kNow), kNow);
    EXPECT_GT(clock.DueNs(From(0, 2 * kS), Presented(1), kNow), kNow + 1000000 * kS);
    EXPECT_GT(clock.OverNs(From(0, 2 * kS), Presented(1), kNow), kNow + 1000000 * kS);
}

TEST(DeliveryClock, GoesOnFromNowWhenItIsLate)
{
    DeliveryClock clock(ServicePace::Stored, 1.0);
    clock.DueNs(From(0, 2 * kS), Presented(0), kNow);
    EXPECT_EQ(clock.DueNs(From(2 * kS, 4 * kS), Presented(2 * kS), kNow + 60 * kS), kNow + 60 * kS);
    EXPECT_EQ(clock.DueNs(From(4 * kS, 6 * kS), Presented(4 * kS), kNow + 60 * kS), kNow + 62 * kS);
}

} // namespace
