// PlatformMediaPlayer.h: the media player.

#include <atomic>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Eventually.h"
#include "PlatformMediaPlayer.h"
#include "PortUnderTest.h"
#include "TestThread.h"

namespace {

using namespace PortTest;

// By how much a position may lag behind the clock, or a seek miss its target: subtitles bear no more.
constexpr long long kToleranceMs = 250;

// A player and its way back.
struct Closer
{
    void operator()(player_s* player) const { Port().Media()->Close(player); }
};
using OpenPlayer = std::unique_ptr<player_s, Closer>;

long long Position(player_s* player)
{
    long long position = -1;
    EXPECT_EQ(player_get_play_position_ex(player, &position), 0);
    return position;
}

class Player : public testing::Test
{
protected:
    void SetUp() override
    {
        PORT_NEEDS(Port().Media(), "media with a subtitle track");
        m_player.reset(Port().Media()->OpenOnDemand());
        ASSERT_NE(m_player, nullptr);
    }

    void Play() { Port().Media()->Play(m_player.get()); }
    void Pause() { Port().Media()->Pause(m_player.get()); }
    void Seek(long long ms) { Port().Media()->Seek(m_player.get(), ms); }

    bool PlayBeyond(long long ms)
    {
        return Eventually("the position", [&] { return Position(m_player.get()) > ms; });
    }

    OpenPlayer m_player;
};

TEST_F(Player, StandsUntilItPlays)
{
    const long long start = Position(m_player.get());
    EXPECT_GE(start, 0);
    EXPECT_LE(start, kToleranceMs) << "the content starts at 0";
    EXPECT_EQ(Position(m_player.get()), start);
}

TEST_F(Player, CountsItsPositionInMilliseconds)
{
    Play();
    ASSERT_TRUE(PlayBeyond(0));
    ClockComparison clock("the play position", 1000, kToleranceMs);
    clock.Run(1000, [this] { return static_cast<double>(Position(m_player.get())); });
}

TEST_F(Player, StandsWhileItIsPaused)
{
    Play();
    ASSERT_TRUE(PlayBeyond(100));
    Pause();
    const long long paused = Position(m_player.get());
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(Position(m_player.get()), paused);
    }
    Play();
    EXPECT_TRUE(PlayBeyond(paused));
    EXPECT_LE(Position(m_player.get()), paused + 5000) << "it goes on where it was paused";
}

TEST_F(Player, IsSoughtToAPosition)
{
    Play();
    ASSERT_TRUE(PlayBeyond(0));
    Pause();
    for (const long long target : {20000LL, 5000LL, 0LL}) {
        Seek(target);
        EXPECT_TRUE(Eventually("the position after a seek to " + std::to_string(target), [&] {
            return std::llabs(Position(m_player.get()) - target) <= kToleranceMs;
        }));
    }
}

TEST_F(Player, PushesSamplesOnTheScaleOfThePosition)
{
    Play();
    MediaSample sample;
    ASSERT_TRUE(Port().Media()->WaitForSample(m_player.get(), &sample));
    EXPECT_NE(sample.text.find("tt"), std::string::npos) << "no TTML: " << sample.text;
    EXPECT_GE(sample.timestampMs, 0);
    EXPECT_LE(sample.timestampMs, 10000) << "of another unit, or another scale";
    // Pushed when they are due, or earlier by what a player reads ahead.
    EXPECT_TRUE(PlayBeyond(sample.timestampMs));
}

TEST_F(Player, SaysThatTheContentIsNotLive)
{
    // One byte is written, and no more.
    unsigned char value[8];
    std::memset(value, 0xAA, sizeof(value));
    if (player_get_adaptive_streaming_info(m_player.get(), value, PLATFORM_PLAYER_STREAMING_INFO_IS_LIVE) ==
        0) {
        EXPECT_EQ(value[0], 0);
    }
    for (std::size_t i = 1; i < sizeof(value); ++i) {
        EXPECT_EQ(value[i], 0xAA) << "byte " << i;
    }
}

TEST_F(Player, RefusesWithAnErrorCodeWithoutAPlayer)
{
    long long number = 0;
    unsigned char live = 0;
    EXPECT_NE(player_get_play_position_ex(nullptr, &number), 0);
    EXPECT_NE(player_get_base_time(nullptr, &number), 0);
    EXPECT_NE(player_get_adaptive_streaming_info(nullptr, &live, PLATFORM_PLAYER_STREAMING_INFO_IS_LIVE), 0);
}

TEST_F(Player, AnswersManyThreadsAtTheRateOfTheDisplay)
{
    constexpr int kFrames = 300;
    Play();
    const auto start = std::chrono::steady_clock::now();
    const auto ask = [this] {
        long long last = 0;
        for (int i = 0; i < kFrames; ++i) {
            unsigned char live = 0;
            (void)player_get_adaptive_streaming_info(m_player.get(), &live,
                                                     PLATFORM_PLAYER_STREAMING_INFO_IS_LIVE);
            const long long now = Position(m_player.get());
            EXPECT_GE(now, last) << "the position went back";
            last = now;
        }
    };
    TTMLTest::RunTogether({3, ask});
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    EXPECT_LT(took.count() / kFrames, 16.0) << "ms for a frame's calls";
}

class LivePlayer : public testing::Test
{
protected:
    void SetUp() override
    {
        PORT_NEEDS(Port().Media(), "live media");
        m_player.reset(Port().Media()->OpenLive());
        PORT_NEEDS(m_player, "live media");
    }

    OpenPlayer m_player;
};

TEST_F(LivePlayer, SaysThatTheContentIsLive)
{
    unsigned char value[8];
    std::memset(value, 0xAA, sizeof(value));
    value[0] = 0;
    ASSERT_EQ(
        player_get_adaptive_streaming_info(m_player.get(), value, PLATFORM_PLAYER_STREAMING_INFO_IS_LIVE), 0);
    EXPECT_NE(value[0], 0);
    for (std::size_t i = 1; i < sizeof(value); ++i) {
        EXPECT_EQ(value[i], 0xAA) << "byte " << i;
    }
}

TEST_F(LivePlayer, HasABaseTimeOnTheScaleOfThePosition)
{
    Port().Media()->Play(m_player.get());
    long long base = -1;
    ASSERT_EQ(player_get_base_time(m_player.get(), &base), 0);
    EXPECT_LE(base, Position(m_player.get())) << "the stream's timeline begins before what is played of it";
    const long long before = Position(m_player.get());
    EXPECT_TRUE(Eventually("the live position", [&] { return Position(m_player.get()) > before; }));
    long long again = -1;
    EXPECT_EQ(player_get_base_time(m_player.get(), &again), 0);
    EXPECT_EQ(again, base) << "it does not move with the position";
}

} // namespace
