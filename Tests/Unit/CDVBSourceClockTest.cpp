// The DVB source: the media clock, from the last packet's times and the decoder's system time clock.

#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DvbFixtures.h"
#include "IMutex.h"

TTML_EXPOSE(ClockMutex, TTML::CDVBSource, TTML::IMutex*, m_pTimeMutex)
TTML_EXPOSE_FUNCTION(SetTimes, void (TTML::CDVBSource::*)(unsigned long long, unsigned long long),
                     TTML::CDVBSource::m_SetPtsMediaTime)
TTML_EXPOSE_FUNCTION(GetTimes, void (TTML::CDVBSource::*)(unsigned long long&, unsigned long long&),
                     TTML::CDVBSource::m_GetPtsMediaTime)

namespace TTMLTest {

namespace {

constexpr long long kUntouched = -777;

constexpr char kOverScale[] = "I PTS is gtreater than full scale";
constexpr char kNormal[] = "I Normal case, diff = pts - stc";
constexpr char kLate[] = "I PES is late, diff = stc - pts";
constexpr char kWrapped[] = "I PTS probably wrapped round";
constexpr char kInvalid[] = "W Invalid video current timez";
constexpr char kNoStc[] = "W Error in getting STC count from TVS!";

void SetStc(unsigned long long stc)
{
    ScriptedTvService::Change([&](TvScene& scene) { scene.stc = stc; });
}

class DvbClock : public DvbTest
{
protected:
    // Asks for the time, expecting the result; returns what stands in the output then.
    long long Ask(int expectedResult)
    {
        long long time = kUntouched;
        Forget();
        EXPECT_EQ(m_source->GetVideoCurrentTime(&time), expectedResult);
        return time;
    }
    void Set(unsigned long long pts, unsigned long long mediaTime)
    {
        CallPrivate<SetTimes>(*m_source, pts, mediaTime);
    }
    // What was asked of the TV service and said, behind the questions.
    static Texts Lines()
    {
        Texts lines;
        for (const auto& text : Story()) {
            if (text.substr(0, 2) == "I " || text.substr(0, 2) == "W ") {
                lines.push_back(text);
            }
        }
        return lines;
    }
};

// The question to the TV service.

TEST_F(DvbClock, AsksForTheStc)
{
    // Pins: m_GetSTCCount.
    SetStc(900000);
    EXPECT_EQ(Ask(0), 10000);
    EXPECT_EQ(Story(), (Texts{"IsTvsTerminated() = 0", "CreateDataControl(1, 0) = 0, #1",
                              "#1.GetSTCCount() = 1, 900000", "Destroy(#1)", kLate,
                              "I mediaTime=0, pts=0, stc=450000, diff=-10000, curTime=10000"}));
}

TEST_F(DvbClock, EntersAndLeavesEveryOperation)
{
    long long time = 0;
    const Texts trace = TraceOf([&] { m_source->GetVideoCurrentTime(&time); });
    EXPECT_EQ(trace.front(), "GetVideoCurrentTime: Enter");
    EXPECT_EQ(trace.back(), "GetVideoCurrentTime: Exit");
}

TEST_F(DvbClock, RefusesANullOutput)
{
    Forget();
    EXPECT_EQ(m_source->GetVideoCurrentTime(nullptr), 1);
    EXPECT_EQ(Story(), (Texts{"W pTimeInMS is NULL"}));
}

TEST_F(DvbClock, StandsOnceTheServiceHasEnded)
{
    ScriptedTvService::Change([](TvScene& scene) { scene.terminated = true; });
    EXPECT_EQ(Ask(1), kUntouched);
    EXPECT_EQ(Story(), (Texts{"IsTvsTerminated() = 1", "W TVS is terminated!", kNoStc}));
}

TEST_F(DvbClock, StandsWithoutADataControl)
{
    for (const TvAnswer answer : {TvAnswer::Failure(-1), TvAnswer::Failure(1), TvAnswer::Null()}) {
        ScriptedTvService::Answer(TvCall::CREATE_DATA_CONTROL, answer);
        EXPECT_EQ(Ask(1), kUntouched);
        EXPECT_EQ(Story(), (Texts{"IsTvsTerminated() = 0",
                                  "CreateDataControl(1, 0) = " + std::to_string(*answer.result) + ", null",
                                  "W Error in creating data control!", kNoStc}));
    }
}

TEST_F(DvbClock, StandsWithoutAnStc)
{
    ScriptedTvService::Answer(TvCall::GET_STC_COUNT, TvAnswer::Failure(0));
    EXPECT_EQ(Ask(1), kUntouched);
    EXPECT_EQ(Story(), (Texts{"IsTvsTerminated() = 0", "CreateDataControl(1, 0) = 0, #1",
                              "#1.GetSTCCount() = 0", "Destroy(#1)", kNoStc}));
}

TEST_F(DvbClock, TakesAnyResultButZeroForSuccess)
{
    SetStc(90000);
    for (const int result : {-1, 2}) {
        ScriptedTvService::Answer(TvCall::GET_STC_COUNT, TvAnswer::Result(result));
        EXPECT_EQ(Ask(0), 1000);
    }
}

TEST_F(DvbClock, IgnoresTheLowestBitOfTheStc)
{
    SetStc(90001);
    EXPECT_EQ(Ask(0), 1000);
    EXPECT_EQ(Lines().back(), "I mediaTime=0, pts=0, stc=45000, diff=-1000, curTime=1000");
}

// The times.

TEST_F(DvbClock, KeepsTheTwoTimesAsTheyAre)
{
    constexpr unsigned long long kMaximum = std::numeric_limits<unsigned long long>::max();
    Set(kMaximum, kMaximum - 1);
    unsigned long long pts = 0;
    unsigned long long mediaTime = 0;
    CallPrivate<GetTimes>(*m_source, pts, mediaTime);
    EXPECT_EQ(pts, kMaximum);
    EXPECT_EQ(mediaTime, kMaximum - 1);
}

TEST_F(DvbClock, FollowsThePackets)
{
    Start();
    SetStc(90000);
    ScriptedTvService::Packet(Pes().Pts(180000).MediaTime(50000).Segment(kPlain, "a").Bytes());
    EXPECT_EQ(Ask(0), 4000) << "the packet's media time is a second ahead";
    ScriptedTvService::Packet(Pes().Pts(90000).MediaTime(70000).Segment(kPlain, "a").Bytes());
    EXPECT_EQ(Ask(0), 7000) << "a repeat sets the times as well";
}

TEST_F(DvbClock, TakesTheLowerHalfOfTheMediaTimeFromAPacket)
{
    Start();
    SetStc(0);
    ScriptedTvService::Packet(Pes().MediaTime(0x010203040506ULL).Segment(kPlain, "a").Bytes());
    EXPECT_EQ(Ask(0), 0x03040506 / 10);
}

TEST_F(DvbClock, GoesOnFromTheLastPacketAcrossSubscriptions)
{
    Start();
    ScriptedTvService::Packet(Pes().Pts(90000).MediaTime(50000).Segment(kPlain, "a").Bytes());
    m_source->OnStop();
    SetStc(180000);
    EXPECT_EQ(Ask(0), 6000);
    m_source->OnStart();
    EXPECT_EQ(Ask(0), 6000);
}

TEST_F(DvbClock, ShowsOnlyTimesThatBelongTogether)
{
    // Each pair makes the same time; a mixture would not.
    SetStc(0);
    const auto write = [&] {
        for (unsigned long long i = 0; i < 3000; ++i) {
            Set(45 * i, 10 * i + 10000);
        }
    };
    const auto read = [&] {
        for (int i = 0; i < 500; ++i) {
            long long time = 0;
            EXPECT_EQ(m_source->GetVideoCurrentTime(&time), 0);
            EXPECT_EQ(time, 1000);
        }
    };
    Set(0, 10000);
    RunTogether({write, read, read});
}

// A mutex that counts what is done with it.
class CountingMutex : public TTML::IMutex
{
public:
    int Lock() override
    {
        ++m_locks;
        return 0;
    }
    int Unlock() override
    {
        ++m_unlocks;
        return 0;
    }
    bool TryLock(unsigned long /*waitingTime*/) override { return false; }
    void Destroy() override { ++m_destructions; }

    unsigned int m_locks = 0;
    unsigned int m_unlocks = 0;
    unsigned int m_destructions = 0;
};

TEST_F(DvbClock, KeepsItsTimesTogetherWithAMutexThatItDestroys)
{
    CountingMutex mutex;
    Private<ClockMutex>(*m_source)->Destroy();
    Private<ClockMutex>(*m_source) = &mutex;
    Ask(0);
    EXPECT_EQ(mutex.m_locks, 1U);
    Start();
    ScriptedTvService::Packet(Pes().Segment(kPlain, "a").Bytes());
    EXPECT_EQ(mutex.m_locks, 2U);
    ScriptedTvService::Packet(Pes().Bytes());
    EXPECT_EQ(mutex.m_locks, 2U) << "a packet that cannot be read touches no time";
    EXPECT_EQ(mutex.m_unlocks, 2U);
    EXPECT_EQ(mutex.m_destructions, 0U);
    m_source.reset();
    EXPECT_EQ(mutex.m_destructions, 1U);
    EXPECT_EQ(mutex.m_locks, 2U);
}

TEST_F(DvbClock, RunsWithoutAMutex)
{
    Private<ClockMutex>(*m_source)->Destroy();
    Private<ClockMutex>(*m_source) = nullptr;
    Start();
    ScriptedTvService::Packet(Pes().Pts(90000).MediaTime(50000).Segment(kPlain, "a").Bytes());
    EXPECT_EQ(Ask(0), 4000);
    m_source.reset();
}

// The four branches, with the limits of each.

struct Moment
{
    std::string name;
    unsigned long long pts;
    unsigned long long halfStc;
    unsigned long long mediaTime;
    const char* line;
    long long diffMs;
    long long time;
};

void PrintTo(const Moment& moment, std::ostream* stream)
{
    *stream << moment.name;
}

const std::vector<Moment> kMoments = {
    {"NothingYet", 0, 0, 0, kLate, 0, 0},
    {"StcAlone", 0, 450000, 0, kLate, -10000, 10000},
    {"OverScaleCancelsOut", 0x90000000, 0x10000000, 123456, kOverScale, 0, 12345},
    {"WrappedFarAhead", 0x10, 0xF0000000, 0xFFFFFFFF, kWrapped, 5965232, 423531497},
    {"WrappedBeforeZero", 0x10, 0xF0000000, 0, kWrapped, 5965232, -5965232},
    {"NormalAhead", 90000, 45000, 20000, kNormal, 1000, 1000},
    {"NormalAtTheMediaTime", 90000, 45000, 10000, kNormal, 1000, 0},
    {"NormalBeforeZero", 450000, 0, 0, kNormal, 10000, -10000},
    {"LateByOneTick", 45000, 45001, 100, kLate, 0, 10},
    {"LateByOneMillisecond", 45000, 45045, 100, kLate, -1, 11},
    {"Equal", 45000, 45000, 100, kLate, 0, 10},
    {"PtsAtHalfScale", 0x80000000, 0x7FFFFFFF, 1000, kNormal, 0, 100},
    {"PtsOverHalfScaleStcBelow", 0x80000001, 0x7FFFFFFF, 1000, kOverScale, -47721858, 47721958},
    {"PtsOverHalfScaleStcAtIt", 0x80000001, 0x80000000, 1000, kNormal, 0, 100},
    {"PtsAndStcOverHalfScale", 0xFFFFFFFF, 0x80000000, 0xFFFFFFFF, kNormal, 47721858, 381774871},
    {"LargestPtsWithoutStc", 0xFFFFFFFF, 0, 0, kOverScale, 47721858, -47721858},
    {"LatestThatIsLate", 0, 0x7FFFFFFF, 0, kLate, -47721858, 47721858},
    {"FirstThatHasWrapped", 0, 0x80000000, 0xFFFFFFFF, kWrapped, 47721858, 381774871},
    {"LargestStc", 0, 0xFFFFFFFF, 0xFFFFFFFF, kWrapped, 0, 429496729},
    {"WrappedByOneTick", 0, 0xFFFFFFFF, 10, kWrapped, 0, 1},
    {"StcPastTheScale", 0, 0x100000000, 50, kWrapped, 0, 5},
    {"HalfAMillisecondMore", 0, 0, 15, kLate, 0, 1},
    {"DifferenceIsCutDownwards", 89, 0, 1000, kNormal, 1, 99},
    {"DifferenceIsCutUpwards", 0, 89, 1000, kLate, -1, 101},
    {"DifferenceBelowOneMillisecond", 44, 0, 1000, kNormal, 0, 100},
    {"TimeIsCutTowardsZero", 45, 0, 5, kNormal, 1, 0},
    {"TimeIsCutToMinusOne", 90, 0, 5, kNormal, 2, -1},
};

class DvbClockAt : public DvbClock, public ::testing::WithParamInterface<Moment>
{};

TEST_P(DvbClockAt, ShowsTheTime)
{
    const Moment& moment = GetParam();
    Set(moment.pts, moment.mediaTime);
    SetStc(2 * moment.halfStc);
    // A negative time is a failure, and stays in the output.
    EXPECT_EQ(Ask(moment.time < 0 ? 1 : 0), moment.time);
    Texts expected = {moment.line, "I mediaTime=" + std::to_string(moment.mediaTime) +
                                       ", pts=" + std::to_string(moment.pts) +
                                       ", stc=" + std::to_string(moment.halfStc) +
                                       ", diff=" + std::to_string(moment.diffMs) +
                                       ", curTime=" + std::to_string(moment.time)};
    if (moment.time < 0) {
        expected.emplace_back(kInvalid);
    }
    EXPECT_EQ(Lines(), expected);
}

INSTANTIATE_TEST_SUITE_P(Each, DvbClockAt, ::testing::ValuesIn(kMoments),
                         [](const auto& instance) { return instance.param.name; });

TEST_F(DvbClock, DoesNotOverflow)
{
    constexpr unsigned long long kMaximum = std::numeric_limits<unsigned long long>::max();
    for (const unsigned long long stc : {0ULL, 1ULL, kMaximum}) {
        for (const unsigned long long pts : {0ULL, kMaximum / 2, kMaximum}) {
            Set(pts, 0xFFFFFFFF);
            SetStc(stc);
            long long time = 0;
            const int result = m_source->GetVideoCurrentTime(&time);
            EXPECT_EQ(result, time < 0 ? 1 : 0);
        }
    }
}

} // namespace

} // namespace TTMLTest
