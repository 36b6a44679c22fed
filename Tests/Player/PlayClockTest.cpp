#include <chrono>
#include <cstdint>

#include <gtest/gtest.h>

#include "PlayClock.h"

namespace {

using std::chrono::hours;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using TTMLHost::PlayClock;

// Any moment will do; only differences count.
const PlayClock::TimePoint kStart{hours(1000)};

TEST(PlayClock, StandsAtZeroUntilItIsStarted)
{
    const PlayClock clock(1.0);
    EXPECT_FALSE(clock.IsRunning());
    EXPECT_EQ(clock.PositionMs(kStart), 0);
    EXPECT_EQ(clock.PositionMs(kStart + hours(1)), 0);
}

TEST(PlayClock, RunsWithTheTime)
{
    PlayClock clock(1.0);
    clock.Start(kStart);
    EXPECT_TRUE(clock.IsRunning());
    EXPECT_EQ(clock.PositionMs(kStart), 0);
    EXPECT_EQ(clock.PositionMs(kStart + microseconds(1999)), 1);
    EXPECT_EQ(clock.PositionMs(kStart + milliseconds(1500)), 1500);
}

TEST(PlayClock, RunsAtItsSpeed)
{
    PlayClock fast(2.5);
    fast.Start(kStart);
    EXPECT_EQ(fast.PositionMs(kStart + milliseconds(1000)), 2500);
    PlayClock slow(0.25);
    slow.Start(kStart);
    EXPECT_EQ(slow.PositionMs(kStart + milliseconds(1000)), 250);
}

TEST(PlayClock, KeepsItsPlaceWhileItIsStopped)
{
    PlayClock clock(1.0);
    clock.Start(kStart);
    clock.Stop(kStart + milliseconds(300));
    EXPECT_FALSE(clock.IsRunning());
    EXPECT_EQ(clock.PositionMs(kStart + milliseconds(900)), 300);
    clock.Start(kStart + milliseconds(1000));
    EXPECT_EQ(clock.PositionMs(kStart + milliseconds(1200)), 500);
}

TEST(PlayClock, GoesOnUnchangedWhenItIsStartedTwice)
{
    PlayClock clock(1.0);
    clock.Start(kStart);
    clock.Start(kStart + milliseconds(400));
    EXPECT_EQ(clock.PositionMs(kStart + milliseconds(500)), 500);
}

TEST(PlayClock, IsMovedWithoutBeingStartedOrStopped)
{
    PlayClock clock(1.0);
    clock.Set(7000, kStart);
    EXPECT_EQ(clock.PositionMs(kStart + milliseconds(100)), 7000);
    clock.Start(kStart + milliseconds(100));
    clock.Set(2000, kStart + milliseconds(200));
    EXPECT_TRUE(clock.IsRunning());
    EXPECT_EQ(clock.PositionMs(kStart + milliseconds(250)), 2050);
}

TEST(PlayClock, DoesNotRunBackwardsWhenAskedAboutThePast)
{
    PlayClock clock(1.0);
    clock.Set(100, kStart);
    clock.Start(kStart);
    EXPECT_EQ(clock.PositionMs(kStart - milliseconds(50)), 100);
}

TEST(PlayClock, IsExactAtPositionsThatADoubleWouldRound)
{
    constexpr std::int64_t kFar = (std::int64_t{1} << 60) + 1;
    PlayClock clock(1.0);
    clock.Set(kFar, kStart);
    clock.Start(kStart);
    EXPECT_EQ(clock.PositionMs(kStart + milliseconds(3)), kFar + 3);
    EXPECT_EQ(clock.When(kFar + 3, kStart), kStart + milliseconds(3));
}

TEST(PlayClock, SaysWhenItReachesAPosition)
{
    PlayClock clock(4.0);
    clock.Set(1000, kStart);
    clock.Start(kStart);
    EXPECT_EQ(clock.When(1400, kStart), kStart + milliseconds(100));
    EXPECT_EQ(clock.When(1400, kStart + milliseconds(40)), kStart + milliseconds(100));
}

TEST(PlayClock, HasReachedThePositionWhenItSaidItWould)
{
    for (const double speed : {0.3, 1.0, 3.0, 7.77, 1000.0}) {
        PlayClock clock(speed);
        clock.Start(kStart);
        // A millisecond of the media, and a bit for rounding.
        const auto step = std::chrono::nanoseconds(static_cast<std::int64_t>(1e6 / speed) + 10);
        for (std::int64_t position = 1; position < 5000; position += 37) {
            const auto when = clock.When(position, kStart);
            EXPECT_GE(clock.PositionMs(when + std::chrono::nanoseconds(10)), position) << "speed " << speed;
            EXPECT_LT(clock.PositionMs(when - step), position) << "speed " << speed;
        }
    }
}

TEST(PlayClock, HasReachedWhatLiesBehindItAtOnce)
{
    PlayClock clock(1.0);
    clock.Set(1000, kStart);
    clock.Start(kStart);
    EXPECT_EQ(clock.When(1000, kStart), kStart);
    EXPECT_EQ(clock.When(-5, kStart), kStart);
}

TEST(PlayClock, NeverAsksToWaitForMoreThanADay)
{
    PlayClock clock(0.001);
    clock.Start(kStart);
    EXPECT_EQ(clock.When(std::int64_t{1} << 62, kStart), kStart + hours(24));
}

} // namespace
