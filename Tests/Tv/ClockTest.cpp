#include <chrono>
#include <string>
#include <vector>

#include "TvFixture.h"

namespace {

using namespace TTMLTest;
using Texts = std::vector<std::string>;
using std::chrono::steady_clock;

constexpr std::uint64_t kWrap = std::uint64_t{1} << 33;

double SecondsSince(steady_clock::time_point start)
{
    return std::chrono::duration<double>(steady_clock::now() - start).count();
}

// What a packet's receiver sees of the time.
struct Moment
{
    double elapsed = 0;
    std::uint64_t stc = 0;
};

class Clock : public TvTest
{
protected:
    // Plays a stream and notes the moments of its packets.
    std::vector<Moment> MomentsOf(const TTMLHost::TvOptions& options, const Texts& packets)
    {
        std::vector<Moment> moments(packets.size());
        steady_clock::time_point start;
        m_recorder.When("signal 60", [&start] { start = steady_clock::now(); });
        for (std::size_t index = 0; index < packets.size(); ++index) {
            m_recorder.When(packets[index], [&moments, &start, index] {
                moments[index] = {SecondsSince(start), std::stoull(StcText())};
            });
        }
        EXPECT_EQ(Play(options), "");
        EXPECT_EQ(m_recorder.EventsLike("pes"), packets);
        return moments;
    }
};

TEST_F(Clock, PacketsComeWhenTheClockReachesTheirPlace)
{
    constexpr double kSpeed = 20.0;
    const Texts packets = {"pes 258 at 945000", "pes 258 at 1035000", "pes 258 at 1125000"};
    const auto moments = MomentsOf(InputAtSpeed(File(Seconds(3)), kSpeed), packets);
    for (std::size_t index = 0; index < moments.size(); ++index) {
        EXPECT_GE(moments[index].elapsed * kSpeed, static_cast<double>(index)) << index;
        const std::uint64_t place = (10 + index) * kSecond;
        EXPECT_GE(moments[index].stc, place - kSecond / 100) << index;
        // The upper limit is that of a machine that is very busy.
        EXPECT_LE(moments[index].stc, place + 20 * kSecond * 20) << index;
    }
}

TEST_F(Clock, TheEndComesWhenTheClockHasReachedIt)
{
    TestStream stream = Seconds(1);
    stream.Pcr(kVideo1, 14 * kSecond);
    constexpr double kSpeed = 20.0;
    const auto start = steady_clock::now();
    EXPECT_EQ(Play(InputAtSpeed(File(stream), kSpeed)), "");
    EXPECT_GE(SecondsSince(start) * kSpeed, 4.0);
}

TEST_F(Clock, RunsOnBetweenReferences)
{
    const OpenTv tv(InputAtSpeed(File(Seconds(2)), 1.0), &m_recorder);
    const TvViewer viewer(&m_recorder);
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    m_recorder.When("pes 258 at 945000", [&] {
        first = std::stoull(StcText());
        const auto start = steady_clock::now();
        while (SecondsSince(start) < 0.02) {
        }
        second = std::stoull(StcText());
    });
    TTMLHost::TvStart();
    ASSERT_TRUE(m_recorder.WaitFor("delivered"));
    EXPECT_GE(first, 10 * kSecond);
    EXPECT_GE(second, first + kSecond / 50);
}

TEST_F(Clock, AFastInputDoesNotWaitAndItsClockStandsAtTheLastPacket)
{
    TestStream stream = BothServices();
    Texts packets;
    for (std::uint64_t hour = 0; hour < 20; ++hour) {
        // References every ten seconds would be too many for a test.
        stream.Pcr(kVideo1, hour * 3600 * kSecond).Pes(kDeu, Subtitle(hour));
        packets.push_back("pes 258 at " + std::to_string(hour));
    }
    stream.Pcr(kVideo1, 100000 * kSecond % kWrap);
    const auto moments = MomentsOf(FastInput(File(stream)), packets);
    for (std::uint64_t hour = 0; hour < 20; ++hour) {
        EXPECT_EQ(moments[hour].stc, hour * 3600 * kSecond);
    }
}

TEST_F(Clock, StaysAtThePacketDeliveredLastOfAFastInput)
{
    TestStream stream = Seconds(2);
    stream.Pcr(kVideo1, 50 * kSecond);
    const OpenTv tv(FastInput(File(stream)), &m_recorder);
    const TvViewer viewer(&m_recorder);
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(StcText(), std::to_string(11 * kSecond));
}

TEST_F(Clock, GoesThroughAWrap)
{
    TestStream stream = BothServices();
    stream.Pcr(kVideo1, kWrap - kSecond)
        .Pes(kDeu, Subtitle(kWrap - 1))
        .Pcr(kVideo1, 0)
        .Pes(kDeu, Subtitle(1));
    constexpr double kSpeed = 20.0;
    const auto moments = MomentsOf(InputAtSpeed(File(stream), kSpeed),
                                   {"pes 258 at " + std::to_string(kWrap - 1), "pes 258 at 1"});
    EXPECT_GE(moments[1].elapsed * kSpeed, 1.0);
    EXPECT_LT(moments[1].stc, kWrap / 2);
}

TEST_F(Clock, FollowsAnnouncedAndUnannouncedJumps)
{
    TestStream stream = BothServices();
    stream.Pcr(kVideo1, kSecond).Pes(kDeu, Subtitle(1));
    stream.Pcr(kVideo1, 5000 * kSecond, true).Pes(kDeu, Subtitle(2));
    stream.Pcr(kVideo1, 20 * kSecond).Pes(kDeu, Subtitle(3));
    const auto moments =
        MomentsOf(InputAtSpeed(File(stream), 1.0), {"pes 258 at 1", "pes 258 at 2", "pes 258 at 3"});
    const std::uint64_t places[] = {kSecond, 5000 * kSecond, 20 * kSecond};
    for (std::size_t index = 0; index < 3; ++index) {
        EXPECT_GE(moments[index].stc, places[index]) << index;
        EXPECT_LE(moments[index].stc, places[index] + 20 * kSecond) << index;
    }
}

TEST_F(Clock, TheFirstPacketOfAFileWaitsForTheSourceInRealTimeToo)
{
    const OpenTv tv(InputAtSpeed(File(Seconds(1)), 1000.0), &m_recorder);
    const TvViewer viewer(&m_recorder);
    m_recorder.Hold("signal 60");
    TTMLHost::TvStart();
    ASSERT_TRUE(m_recorder.WaitHeld("signal 60"));
    EXPECT_EQ(TTMLHost::TvGetStatistics().pesDelivered, 0U);
    m_recorder.Release("signal 60");
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.EventsLike("pes"), Texts{"pes 258 at 945000"});
}

TEST_F(Clock, ATuneToAnotherServiceGoesOnAtTheSamePace)
{
    TestStream stream = BothServices();
    stream.Pcr(kVideo1, 0).Pes(kDeu, Subtitle(1)).Pcr(kVideo1, 2 * kSecond).Pes(kDeu, Subtitle(2));
    stream.Pcr(kVideo2, 500 * kSecond).Pes(kEng, Subtitle(3)).Pcr(kVideo1, 4 * kSecond);
    stream.Pcr(kVideo2, 503 * kSecond).Pes(kEng, Subtitle(4));
    m_recorder.When("pes 258 at 1", [] { EXPECT_TRUE(TTMLHost::TvTune("2", nullptr)); });
    constexpr double kSpeed = 20.0;
    const auto start = steady_clock::now();
    EXPECT_EQ(Play(InputAtSpeed(File(stream), kSpeed)), "");
    EXPECT_EQ(m_recorder.EventsLike("pes"), (Texts{"pes 258 at 1", "pes 514 at 3", "pes 514 at 4"}));
    EXPECT_GE(SecondsSince(start) * kSpeed, 2.0 + 3.0);
}

TEST_F(Clock, AWaitForTheClockEndsWithTheClose)
{
    // The second packet would be due in hours.
    TestStream stream = BothServices();
    stream.Pcr(kVideo1, 0).Pes(kDeu, Subtitle(1)).Pcr(kVideo1, 9 * kSecond).Pes(kDeu, Subtitle(2));
    {
        const OpenTv tv(InputAtSpeed(File(stream), 0.001), &m_recorder);
        const TvViewer viewer(&m_recorder);
        TTMLHost::TvStart();
        ASSERT_TRUE(m_recorder.WaitFor("delivered"));
    }
    EXPECT_EQ(m_recorder.EventsLike("pes"), Texts{"pes 258 at 1"});
    EXPECT_EQ(m_recorder.EventsLike("end"), Texts());
}

} // namespace
