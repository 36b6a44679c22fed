// The ATSC 3.0 source: the media time, from the last caption's reference time, the clock and the MPD.

#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "AtscFixtures.h"
#include "ITTMLSource.h"

TTML_EXPOSE_FUNCTION(AtscSetReference, bool (TTML::CATSCSource::*)(long long, long long),
                     TTML::CATSCSource::m_SetReferenceTimeInfo)
TTML_EXPOSE_FUNCTION(AtscMpdOffset, long long (TTML::CATSCSource::*)(), TTML::CATSCSource::m_GetMpdTimeOffset)

namespace TTMLTest {

namespace {

constexpr long long kUntouched = -777;
constexpr long long kLargest = std::numeric_limits<long long>::max();
constexpr long long kSmallest = std::numeric_limits<long long>::min();

class AtscClock : public AtscTest
{
protected:
    // A caption's times.
    bool Set(long long referenceTime, long long offset)
    {
        return CallPrivate<AtscSetReference>(*m_source, referenceTime, offset);
    }
    long long AfterCal() { return StateOf(*m_source).afterCal; }
    long long Ask()
    {
        long long time = kUntouched;
        Forget();
        EXPECT_EQ(m_source->GetVideoCurrentTime(&time), 0);
        return time;
    }
    static void SetClock(std::uint32_t milliseconds) { ScriptedFileManager::SetTimeOfDay(milliseconds); }
};

// Reference times.

TEST_F(AtscClock, KeepsTheTimesOfACaption)
{
    SetClock(4294967295);
    EXPECT_EQ(
        StoryOf([&] { EXPECT_TRUE(Set(5000000123, 1000000000)); }),
        (Texts{"TTMLGetTimeofDay() = 4294967295",
               "I Timing_Info: sys_time = [4294967295] when captionReferenceTime =[5000000123], offset = "
               "[1000000000]; RefTimeAfterCal = [4000]"}));
    const AtscState state = StateOf(*m_source);
    EXPECT_EQ(state.sysTime, 4294967295U);
    EXPECT_EQ(state.referenceTime, 5000000123);
    EXPECT_EQ(state.offset, 1000000000);
    EXPECT_EQ(state.afterCal, 4000);
}

TEST_F(AtscClock, ConvertsNanosecondsToMilliseconds)
{
    const std::vector<std::pair<long long, long long>> times = {
        {2000000000, 2000}, {0, 0},       {999999, 0},
        {1000000, 1},       {1999999, 1}, {1556668800123456789, 1556668800123}};
    for (const auto& [nanoseconds, milliseconds] : times) {
        EXPECT_TRUE(Set(nanoseconds, 0));
        EXPECT_EQ(AfterCal(), milliseconds);
    }
}

// 10^18 - 1 has no double of its own; the nearest is 10^18.
TEST_F(AtscClock, ConvertsByWayOfADouble)
{
    Set(999999999999999999, 0);
    EXPECT_EQ(AfterCal(), 1000000000000);
}

TEST_F(AtscClock, TakesTheOffsetFromTheReferenceTime)
{
    EXPECT_TRUE(Set(10, 10));
    EXPECT_EQ(AfterCal(), 0);
    EXPECT_TRUE(Set(3000000, 1000001));
    EXPECT_EQ(AfterCal(), 1);
    EXPECT_TRUE(Set(0, -5));
    EXPECT_EQ(AfterCal(), 0);
    EXPECT_TRUE(Set(0, -5000000));
    EXPECT_EQ(AfterCal(), 5);
}

TEST_F(AtscClock, RefusesTimesBeforeTheirOffsetOrTheEpoch)
{
    Set(7000000, 1000000);
    SetClock(2000);
    const std::vector<std::pair<long long, long long>> times = {
        {5, 10}, {-1, -5}, {-1, 0}, {kSmallest, kSmallest}, {kSmallest, kLargest}, {0, 1}, {9, kLargest}};
    for (const auto& [referenceTime, offset] : times) {
        EXPECT_EQ(StoryOf([&, time = referenceTime, from = offset] { EXPECT_FALSE(Set(time, from)); }),
                  (Texts{"E Ignoring caption data as referenceTime [" + std::to_string(referenceTime) +
                         "] or offset [" + std::to_string(offset) + "] is invalid!"}));
    }
    const AtscState state = StateOf(*m_source);
    EXPECT_EQ(state.sysTime, 1000U) << "nothing is kept of them";
    EXPECT_EQ(state.referenceTime, 7000000);
    EXPECT_EQ(state.offset, 1000000);
    EXPECT_EQ(state.afterCal, 6);
}

// The undefined-behaviour sanitizer watches.
TEST_F(AtscClock, TakesTimesAtTheEndOfTheirRange)
{
    EXPECT_TRUE(Set(kLargest, kLargest));
    EXPECT_EQ(AfterCal(), 0);
    EXPECT_TRUE(Set(kLargest, 0));
    EXPECT_EQ(AfterCal(), 9223372036854);
    EXPECT_TRUE(Set(kLargest, kSmallest));
    EXPECT_TRUE(Set(0, kSmallest));
    Ask();
}

// The media time.

TEST_F(AtscClock, NeedsAPlaceForTheTime)
{
    EXPECT_EQ(StoryOf([&] { EXPECT_EQ(m_source->GetVideoCurrentTime(nullptr), 1); }),
              (Texts{"W pTimeInMS is NULL"}));
}

TEST_F(AtscClock, GoesOnFromTheLastReferenceTime)
{
    SetClock(5000);
    Set(60000000000, 0);
    EXPECT_EQ(Ask(), 60000);
    SetClock(5001);
    EXPECT_EQ(Ask(), 60001);
    SetClock(65000);
    EXPECT_EQ(Ask(), 120000);
    EXPECT_EQ(Story(),
              (Texts{"TTMLGetTimeofDay() = 65000",
                     "I Timing_Info: Interval since the caption reference time was received: [60000]",
                     "I mpdOffset=0"}));
}

TEST_F(AtscClock, EntersAndLeavesEveryOperation)
{
    long long time = 0;
    const Texts trace = TraceOf([&] { m_source->GetVideoCurrentTime(&time); });
    EXPECT_EQ(trace.front(), "GetVideoCurrentTime: Enter");
    EXPECT_EQ(trace.back(), "GetVideoCurrentTime: Exit");
}

TEST_F(AtscClock, IsTheClocksBeforeAnyCaption)
{
    SetClock(12345);
    EXPECT_EQ(Ask(), 12345);
    Subscribe();
    EXPECT_EQ(Ask(), 12345 - kMpdStart - kMpdDelay);
}

TEST_F(AtscClock, TakesTheMpdsTimesOff)
{
    Subscribe();
    SetClock(100);
    Deliver(CaptionOf("<tt/>", 1556668810000000000));
    SetClock(350);
    EXPECT_EQ(Ask(), 10250 - kMpdDelay);
    EXPECT_EQ(Story(), (Texts{"TTMLGetTimeofDay() = 350",
                              "I Timing_Info: Interval since the caption reference time was received: [250]",
                              "I mpdOffset=1556668801500"}));
}

TEST_F(AtscClock, TakesThemOffNoMoreAfterTheSubscription)
{
    Subscribe();
    Deliver(CaptionOf("<tt/>", 5000000));
    Unsubscribe();
    EXPECT_EQ(Ask(), 5);
}

TEST_F(AtscClock, TakesNothingOffInKorea)
{
    MakeInKorea();
    Subscribe();
    SetClock(100);
    Deliver(CaptionOf("<tt/>", 1556668810000000000));
    SetClock(350);
    EXPECT_EQ(Ask(), 1556668810250);
    EXPECT_EQ(Story(),
              (Texts{"TTMLGetTimeofDay() = 350",
                     "I Timing_Info: Interval since the caption reference time was received: [250]"}));
    EXPECT_EQ(StoryOf([&] { EXPECT_EQ(CallPrivate<AtscMpdOffset>(*m_source), 0); }), Texts{});
}

TEST_F(AtscClock, GoesBackWhenTheClockWraps)
{
    SetClock(4294967290);
    Set(10000000000, 0);
    SetClock(5);
    EXPECT_EQ(Ask(), 10000 - 4294967285);
    EXPECT_EQ(Story().at(1),
              "I Timing_Info: Interval since the caption reference time was received: [-4294967285]");
}

TEST_F(AtscClock, GoesBackWithTheClock)
{
    SetClock(1000);
    Set(10000000000, 0);
    SetClock(900);
    EXPECT_EQ(Ask(), 9900);
    EXPECT_EQ(Story().at(1), "I Timing_Info: Interval since the caption reference time was received: [-100]");
}

TEST_F(AtscClock, AnswersThroughTheInterface)
{
    auto& source = static_cast<TTML::ITTMLSource&>(*m_source);
    long long time = 0;
    EXPECT_EQ(source.GetVideoCurrentTime(&time), 0);
    EXPECT_EQ(time, 1000);
}

TEST_F(AtscClock, SaysTheMpdsTimes)
{
    Subscribe();
    long long offset = 0;
    EXPECT_EQ(StoryOf([&] { offset = CallPrivate<AtscMpdOffset>(*m_source); }),
              (Texts{"I mpdOffset=1556668801500"}));
    EXPECT_EQ(offset, kMpdStart + kMpdDelay);
}

// The undefined-behaviour sanitizer watches.
TEST_F(AtscClock, AddsTimesWithoutALimit)
{
    ScriptedTvService::Change([](TvScene& scene) {
        scene.mpd = "availabilityStartTime=\"1970-01-01T00:00:inf\" suggestedPresentationDelay=\"PTinfS\"";
    });
    Subscribe();
    Set(kLargest, 0);
    Ask();
    EXPECT_EQ(ScriptedLog::CountOf({"GetVideoCurrentTime", "Exit"}), 1U);
}

} // namespace

} // namespace TTMLTest
