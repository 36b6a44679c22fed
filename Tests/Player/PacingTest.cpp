#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MediaMaker.h"
#include "TemporaryFolder.h"
#include "TestPlayer.h"

namespace {

using TTMLTest::AtSpeed;
using TTMLTest::Fast;
using TTMLTest::MakeFile;
using TTMLTest::PushedSample;
using TTMLTest::SamplePath;
using TTMLTest::TemporaryFolder;
using TTMLTest::TestPlayer;
using TTMLTest::Timestamps;

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST(Pacing, PushesEachSampleWhenTheClockReachesIt)
{
    constexpr double kSpeed = 200.0;
    TestPlayer player(SamplePath("subtitles.mp4"), AtSpeed(kSpeed));
    const auto start = steady_clock::now();
    const std::vector<PushedSample> samples = player.PlayToEnd();
    ASSERT_EQ(samples.size(), 12U);
    for (const PushedSample& sample : samples) {
        EXPECT_GE(sample.positionMs, sample.timestampMs);
        const double elapsedMs = std::chrono::duration<double, std::milli>(sample.when - start).count();
        EXPECT_GE(elapsedMs * kSpeed, static_cast<double>(sample.timestampMs)) << "sample " << sample.index;
    }
}

TEST(Pacing, GivesTheLastSampleItsTimeBeforeTheEnd)
{
    TestPlayer player(SamplePath("subtitles.mp4"), AtSpeed(400.0));
    player.Listener().HoldAt(11);
    player.Play();
    ASSERT_TRUE(player.Listener().WaitHeld());
    EXPECT_EQ(player.Listener().Ends(), 0U);
    const auto last = steady_clock::now();
    player.Pause();
    const long long position = player.Position();
    player.Listener().Release();
    player.Play();
    EXPECT_EQ(player.Listener().WaitForEnd(), "");
    const double elapsedMs = std::chrono::duration<double, std::milli>(steady_clock::now() - last).count();
    EXPECT_GE(elapsedMs * 400.0, static_cast<double>(60000 - position - 1));
    const long long over = player.Position();
    EXPECT_GE(over, 60000);
    TestPlayer other(SamplePath("subtitles.mp4"), AtSpeed(2000.0));
    other.PlayToEnd();
    EXPECT_EQ(player.Position(), over) << "the clock stops at the end";
}

TEST(Pacing, BeginsAtTheFirstSampleOfALateJoinedStream)
{
    const TemporaryFolder folder;
    MakeFile(folder.Path("late.mp4"),
             {"--samples", "2", "--duration", "1000", "--start-tfdt", "1760000000000"});
    TestPlayer player(folder.Path("late.mp4"), AtSpeed(20.0));
    EXPECT_EQ(player.Position(), 1760000000000);
    const std::vector<PushedSample> samples = player.PlayToEnd();
    ASSERT_EQ(samples.size(), 2U);
    EXPECT_GE(samples[1].positionMs, 1760000001000);
    EXPECT_GE(player.Position(), 1760000002000);
}

TEST(Pacing, StandsStillUntilItPlays)
{
    TestPlayer player(SamplePath("subtitles.mp4"), AtSpeed(1000000.0));
    EXPECT_EQ(player.Position(), 0);
    // While another one plays to its end, this one does nothing.
    TestPlayer other(SamplePath("subtitles.mp4"), AtSpeed(200.0));
    EXPECT_EQ(other.PlayToEnd().size(), 12U);
    EXPECT_EQ(player.Position(), 0);
    EXPECT_EQ(player.Listener().Samples().size(), 0U);
    EXPECT_EQ(player.PlayToEnd().size(), 12U);
}

TEST(Pacing, PausesClockAndSamplesUntilItPlaysAgain)
{
    TestPlayer player(SamplePath("subtitles.mp4"), AtSpeed(400.0));
    player.Listener().HoldAt(4);
    player.Play();
    ASSERT_TRUE(player.Listener().WaitHeld());
    player.Pause();
    player.Listener().Release();
    const long long position = player.Position();
    EXPECT_GE(position, 20000);
    TestPlayer other(SamplePath("subtitles.mp4"), AtSpeed(200.0));
    EXPECT_EQ(other.PlayToEnd().size(), 12U);
    EXPECT_EQ(player.Position(), position);
    EXPECT_EQ(player.Listener().Samples().size(), 5U);
    const std::vector<PushedSample> samples = player.PlayToEnd();
    ASSERT_EQ(samples.size(), 12U);
    EXPECT_EQ(samples[5].timestampMs, 25000) << "nothing was lost";
}

TEST(Pacing, PausesFastReadingToo)
{
    TestPlayer player(SamplePath("subtitles.mp4"), Fast());
    player.Listener().HoldAt(4);
    player.Play();
    ASSERT_TRUE(player.Listener().WaitHeld());
    player.Pause();
    player.Listener().Release();
    TestPlayer other(SamplePath("subtitles.mp4"), AtSpeed(200.0));
    EXPECT_EQ(other.PlayToEnd().size(), 12U);
    EXPECT_EQ(player.Listener().Samples().size(), 5U);
    EXPECT_EQ(player.Position(), 20000);
    EXPECT_EQ(player.PlayToEnd().size(), 12U);
}

TEST(Pacing, FastReadingIsAtTheSamplePushedLast)
{
    TestPlayer player(SamplePath("subtitles.mp4"), Fast());
    EXPECT_EQ(player.Position(), 0);
    for (const PushedSample& sample : player.PlayToEnd()) {
        EXPECT_EQ(sample.positionMs, sample.timestampMs);
    }
    EXPECT_EQ(player.Position(), 55000);
}

TEST(Pacing, FastReadingDoesNotWaitForTheClock)
{
    const TemporaryFolder folder;
    // A day at normal speed.
    MakeFile(folder.Path("day.mp4"), {"--samples", "24", "--duration", "3600000", "--compact"});
    TestPlayer player(folder.Path("day.mp4"), Fast());
    const std::vector<PushedSample> samples = player.PlayToEnd();
    ASSERT_EQ(samples.size(), 24U);
    EXPECT_EQ(samples[23].segEndTime, "24:00:00.000");
}

TEST(Pacing, FastReadingWaitsForASlowListener)
{
    TestPlayer player(SamplePath("subtitles.mp4"), Fast());
    player.Listener().HoldAt(2);
    player.Play();
    ASSERT_TRUE(player.Listener().WaitHeld());
    TestPlayer other(SamplePath("subtitles.mp4"), Fast());
    EXPECT_EQ(other.PlayToEnd().size(), 12U);
    EXPECT_EQ(player.Listener().Samples().size(), 3U);
    player.Listener().Release();
    EXPECT_EQ(player.Listener().WaitForEnd(), "");
    EXPECT_EQ(player.Listener().Samples().size(), 12U);
}

TEST(Pacing, AnIdlePlayerIsJustAClock)
{
    player_s* const player = TTMLHost::PlayerCreateIdle(1000000.0);
    ASSERT_NE(player, nullptr);
    long long position = -1;
    EXPECT_EQ(player_get_play_position_ex(player, &position), TTMLHost::PLAYER_OK);
    EXPECT_EQ(position, 0);
    EXPECT_TRUE(TTMLHost::PlayerTracks(player).empty());
    TTMLHost::PlayerSeek(player, 5000);
    player_get_play_position_ex(player, &position);
    EXPECT_EQ(position, 5000);
    const auto before = steady_clock::now();
    TTMLHost::PlayerPlay(player);
    // Something that takes time.
    TestPlayer other(SamplePath("subtitles.mp4"), AtSpeed(2000.0));
    EXPECT_EQ(other.PlayToEnd().size(), 12U);
    TTMLHost::PlayerPause(player);
    const auto tookMs = duration_cast<milliseconds>(steady_clock::now() - before).count();
    player_get_play_position_ex(player, &position);
    EXPECT_GE(position, 5000 + 27500 * 1000) << "27.5 ms at the least";
    EXPECT_LE(position, 5000 + (tookMs + 1) * 1000000);
    TTMLHost::PlayerClose(player);
}

} // namespace
