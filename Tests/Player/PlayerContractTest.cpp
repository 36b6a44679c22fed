#include <limits>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Gate.h"
#include "MediaMaker.h"
#include "TestPlayer.h"

namespace {

using TTMLTest::AtSpeed;
using TTMLTest::Fast;
using TTMLTest::OpenError;
using TTMLTest::PushedSample;
using TTMLTest::RecordingListener;
using TTMLTest::SamplePath;
using TTMLTest::TestPlayer;
using TTMLTest::Timestamps;

TEST(PlayerContract, BoundaryCallsRefuseNullAndUnknownKinds)
{
    long long number = 0;
    unsigned char flag = 0;
    EXPECT_EQ(player_get_play_position_ex(nullptr, &number), TTMLHost::PLAYER_INVALID_ARGUMENT);
    EXPECT_EQ(player_get_base_time(nullptr, &number), TTMLHost::PLAYER_INVALID_ARGUMENT);
    EXPECT_EQ(player_get_adaptive_streaming_info(nullptr, &flag, PLATFORM_PLAYER_STREAMING_INFO_IS_LIVE),
              TTMLHost::PLAYER_INVALID_ARGUMENT);
    TestPlayer player(SamplePath("subtitles.mp4"), Fast());
    EXPECT_EQ(player_get_play_position_ex(player.Get(), nullptr), TTMLHost::PLAYER_INVALID_ARGUMENT);
    EXPECT_EQ(player_get_base_time(player.Get(), nullptr), TTMLHost::PLAYER_INVALID_ARGUMENT);
    EXPECT_EQ(
        player_get_adaptive_streaming_info(player.Get(), nullptr, PLATFORM_PLAYER_STREAMING_INFO_IS_LIVE),
        TTMLHost::PLAYER_INVALID_ARGUMENT);
    for (const int kind : {0, 18, 20, -19}) {
        EXPECT_EQ(player_get_adaptive_streaming_info(player.Get(), &flag, kind),
                  TTMLHost::PLAYER_INVALID_ARGUMENT);
    }
}

TEST(PlayerContract, AFileIsNotLiveAndHasNoBaseTime)
{
    TestPlayer player(SamplePath("subtitles.mp4"), Fast());
    // One byte is written, and no more.
    unsigned char flags[2] = {0xAA, 0xAA};
    EXPECT_EQ(player_get_adaptive_streaming_info(player.Get(), flags, PLATFORM_PLAYER_STREAMING_INFO_IS_LIVE),
              TTMLHost::PLAYER_OK);
    EXPECT_EQ(flags[0], 0);
    EXPECT_EQ(flags[1], 0xAA);
    long long base = 0;
    EXPECT_EQ(player_get_base_time(player.Get(), &base), TTMLHost::PLAYER_NOT_LIVE);
}

TEST(PlayerContract, NullPlayersAreIgnored)
{
    TTMLHost::PlayerPlay(nullptr);
    TTMLHost::PlayerPause(nullptr);
    TTMLHost::PlayerSeek(nullptr, 1);
    TTMLHost::PlayerClose(nullptr);
    EXPECT_TRUE(TTMLHost::PlayerTracks(nullptr).empty());
}

TEST(PlayerContract, NeedsAListenerAndASpeed)
{
    std::string error;
    EXPECT_EQ(TTMLHost::PlayerOpen("a.mp4", Fast(), nullptr, &error), nullptr);
    EXPECT_EQ(error, "Cannot open 'a.mp4': nobody listens; give a listener");
    for (const double speed :
         {0.0, -1.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(OpenError("a.mp4", AtSpeed(speed)),
                  "Cannot play 'a.mp4': the speed is not above 0; give 1 for normal speed");
        EXPECT_EQ(TTMLHost::PlayerCreateIdle(speed), nullptr);
    }
}

TEST(PlayerContract, NobodyHasToLookAtTheError)
{
    RecordingListener listener;
    EXPECT_EQ(TTMLHost::PlayerOpen("/nowhere.mp4", Fast(), &listener, nullptr), nullptr);
}

TEST(PlayerContract, ClosesWithoutHavingPlayed)
{
    TestPlayer player(SamplePath("subtitles.mp4"), Fast());
    player.Close();
    EXPECT_EQ(player.Listener().Samples().size(), 0U);
    EXPECT_EQ(player.Listener().Ends(), 0U);
}

TEST(PlayerContract, ClosesWhileItWaitsForTheClock)
{
    TestPlayer player(SamplePath("subtitles.mp4"), AtSpeed(0.001));
    player.Play();
    ASSERT_TRUE(player.Listener().WaitForSamples(1));
    player.Close();
    EXPECT_EQ(player.Listener().Samples().size(), 1U);
    EXPECT_EQ(player.Listener().Ends(), 0U);
}

TEST(PlayerContract, ClosesOnceTheListenerReturns)
{
    TestPlayer player(SamplePath("subtitles.mp4"), Fast());
    player.Listener().HoldAt(2);
    player.Play();
    ASSERT_TRUE(player.Listener().WaitHeld());
    TTMLTest::Gate closed("closed");
    player_s* const handle = player.Get();
    std::thread closer([&] {
        TTMLHost::PlayerClose(handle);
        EXPECT_FALSE(player.Listener().IsInside());
        closed.Open();
    });
    EXPECT_FALSE(closed.IsOpen());
    player.Listener().Release();
    EXPECT_TRUE(closed.Wait());
    closer.join();
    player.Forget();
    const std::size_t count = player.Listener().Samples().size();
    EXPECT_GE(count, 3U);
    EXPECT_EQ(player.Listener().Samples().size(), count);
}

TEST(PlayerContract, SeeksOnceTheListenerReturns)
{
    TestPlayer player(SamplePath("subtitles.mp4"), Fast());
    player.Listener().HoldAt(2);
    player.Play();
    ASSERT_TRUE(player.Listener().WaitHeld());
    player.Pause();
    TTMLTest::Gate sought("sought");
    std::thread seeker([&] {
        player.Seek(40000);
        EXPECT_FALSE(player.Listener().IsInside());
        sought.Open();
    });
    player.Listener().Release();
    EXPECT_TRUE(sought.Wait());
    seeker.join();
    const std::vector<PushedSample> samples = player.PlayToEnd();
    EXPECT_EQ(Timestamps(samples), (std::vector<long long>{0, 5000, 10000, 40000, 45000, 50000, 55000}));
}

TEST(PlayerContract, IsAskedForItsPositionByManyThreads)
{
    TestPlayer player(SamplePath("subtitles.mp4"), AtSpeed(500.0));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            long long last = -1;
            while (player.Listener().Ends() == 0) {
                const long long position = player.Position();
                EXPECT_GE(position, last);
                last = position;
            }
        });
    }
    player.PlayToEnd();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(PlayerContract, SeveralPlayersDoNotDisturbEachOther)
{
    TestPlayer first(SamplePath("subtitles.mp4"), AtSpeed(300.0));
    TestPlayer second(SamplePath("subtitles.mp4"), Fast());
    first.Play();
    EXPECT_EQ(second.PlayToEnd().size(), 12U);
    EXPECT_EQ(first.PlayToEnd().size(), 12U);
}

} // namespace
