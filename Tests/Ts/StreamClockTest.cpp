#include <cstdint>
#include <optional>

#include <gtest/gtest.h>

#include "StreamClock.h"

namespace {

using Effect = TTMLHost::StreamClock::Effect;
using TTMLHost::kPcrTurn;
using TTMLHost::PcrDifference;
using TTMLHost::StreamClock;

constexpr std::int64_t kMs = 1000000;
constexpr std::int64_t kS = 1000 * kMs;
constexpr std::uint64_t kPcrMs = 27000;
constexpr std::uint64_t kPcrS = 27000000;
constexpr std::uint64_t kStcTurn = std::uint64_t{1} << 33;
constexpr std::int64_t kStart = 5000 * kS;

TEST(StreamClock, SaysNothingBeforeTheFirstReference)
{
    const StreamClock clock(1.0);
    EXPECT_EQ(clock.StcAt(kStart), std::nullopt);
}

TEST(StreamClock, RunsOnFromTheFirstReference)
{
    StreamClock clock(1.0);
    EXPECT_EQ(clock.OnPcr(100 * kPcrS, kStart, false), Effect::Set);
    EXPECT_EQ(clock.StcAt(kStart), 100U * 90000);
    EXPECT_EQ(clock.StcAt(kStart + 10 * kMs), 100U * 90000 + 900);
    EXPECT_EQ(clock.StcAt(kStart + 3600 * kS), 3700U * 90000);
}

TEST(StreamClock, RunsAtItsSpeed)
{
    StreamClock clock(2.5);
    clock.OnPcr(0, kStart, false);
    EXPECT_EQ(clock.StcAt(kStart + 2 * kS), 5U * 90000);
}

TEST(StreamClock, DoesNotRunBackwardsWhenAskedAboutThePast)
{
    StreamClock clock(1.0);
    clock.OnPcr(kPcrS, kStart, false);
    EXPECT_EQ(clock.StcAt(kStart - kS), 90000U);
}

TEST(StreamClock, StaysRightWithReferencesThatComeInTime)
{
    StreamClock clock(1.0);
    for (int i = 0; i < 1000; ++i) {
        clock.OnPcr(static_cast<std::uint64_t>(i) * 40 * kPcrMs, kStart + i * 40 * kMs, false);
        EXPECT_EQ(clock.StcAt(kStart + i * 40 * kMs), static_cast<std::uint64_t>(i) * 3600);
    }
}

TEST(StreamClock, FollowsALateReferenceByAnEighth)
{
    StreamClock clock(1.0);
    clock.OnPcr(0, kStart, false);
    EXPECT_EQ(clock.OnPcr(1000 * kPcrMs, kStart + 1080 * kMs, false), Effect::Followed);
    EXPECT_EQ(clock.StcAt(kStart + 1080 * kMs), 1070U * 90);
}

TEST(StreamClock, IsHardlyMovedByJitterAndNeverStrays)
{
    StreamClock clock(1.0);
    clock.OnPcr(0, kStart, false);
    unsigned int state = 1;
    for (int i = 1; i < 5000; ++i) {
        state = state * 1103515245U + 12345U;
        const std::int64_t lateMs = state >> 16 & 15U;
        const std::int64_t now = kStart + i * 40 * kMs + lateMs * kMs;
        ASSERT_EQ(clock.OnPcr(static_cast<std::uint64_t>(i) * 40 * kPcrMs, now, false), Effect::Followed);
        const auto shown = static_cast<std::int64_t>(*clock.StcAt(now));
        const std::int64_t right = (now - kStart) / kMs * 90;
        ASSERT_LE(shown, right);
        ASSERT_GE(shown, right - 15 * 90);
    }
}

TEST(StreamClock, IsSetByAnAnnouncedDiscontinuity)
{
    StreamClock clock(1.0);
    clock.OnPcr(1000 * kPcrS, kStart, false);
    EXPECT_EQ(clock.OnPcr(7 * kPcrS, kStart + kS, true), Effect::Set);
    EXPECT_EQ(clock.StcAt(kStart + kS), 7U * 90000);
    EXPECT_EQ(clock.OnPcr(8 * kPcrS, kStart + 2 * kS, false), Effect::Followed);
}

TEST(StreamClock, TellsOnceOfAJumpThatIsNotAnnounced)
{
    StreamClock clock(1.0);
    clock.OnPcr(1000 * kPcrS, kStart, false);
    EXPECT_EQ(clock.OnPcr(1003 * kPcrS, kStart + kS, false), Effect::Jumped);
    EXPECT_EQ(clock.StcAt(kStart + kS), 1003U * 90000);
    EXPECT_EQ(clock.OnPcr(1004 * kPcrS, kStart + 2 * kS, false), Effect::Followed);
    EXPECT_EQ(clock.OnPcr(900 * kPcrS, kStart + 3 * kS, false), Effect::Jumped);
    EXPECT_EQ(clock.OnPcr(901 * kPcrS, kStart + 4 * kS, false), Effect::Followed);
}

TEST(StreamClock, TakesUpToASecondForLateness)
{
    for (const std::int64_t sign : {-1, 1}) {
        StreamClock clock(1.0);
        clock.OnPcr(100 * kPcrS, kStart, false);
        EXPECT_EQ(clock.OnPcr(110 * kPcrS, kStart + 10 * kS + sign * kS, false), Effect::Followed) << sign;
        StreamClock other(1.0);
        other.OnPcr(100 * kPcrS, kStart, false);
        EXPECT_EQ(other.OnPcr(110 * kPcrS, kStart + 10 * kS + sign * (kS + kMs), false), Effect::Jumped)
            << sign;
    }
}

TEST(StreamClock, AllowsMoreOfTheStreamAtAHigherSpeed)
{
    StreamClock clock(4.0);
    clock.OnPcr(0, kStart, false);
    EXPECT_EQ(clock.OnPcr(40 * kPcrS, kStart + 10 * kS + 900 * kMs, false), Effect::Followed);
    EXPECT_EQ(clock.OnPcr(100 * kPcrS, kStart + 20 * kS, false), Effect::Jumped);
}

TEST(StreamClock, RunsThroughTheWrap)
{
    StreamClock clock(1.0);
    clock.OnPcr(kPcrTurn - kPcrS, kStart, false);
    EXPECT_EQ(clock.StcAt(kStart), kStcTurn - 90000);
    EXPECT_EQ(clock.StcAt(kStart + kS - 1000000), kStcTurn - 90);
    EXPECT_EQ(clock.StcAt(kStart + kS), 0U);
    EXPECT_EQ(clock.StcAt(kStart + 2 * kS), 90000U);
    EXPECT_EQ(clock.OnPcr(kPcrS, kStart + 2 * kS, false), Effect::Followed);
    EXPECT_EQ(clock.StcAt(kStart + 2 * kS), 90000U);
}

TEST(StreamClock, FollowsABackwardErrorThroughTheWrap)
{
    StreamClock clock(1.0);
    clock.OnPcr(kPcrTurn - 500 * kPcrMs, kStart, false);
    // The clock shows 300 ms after the wrap, the reference 100 ms before it.
    EXPECT_EQ(clock.OnPcr(kPcrTurn - 100 * kPcrMs, kStart + 800 * kMs, false), Effect::Followed);
    EXPECT_EQ(clock.StcAt(kStart + 800 * kMs), 250U * 90);
}

TEST(StreamClock, TakesAReferenceBeyondItsTurnForWhatIsLeftOfIt)
{
    StreamClock clock(1.0);
    clock.OnPcr(kPcrTurn + kPcrS, kStart, false);
    EXPECT_EQ(clock.StcAt(kStart), 90000U);
}

TEST(StreamClock, StandsAtEachReferenceWithoutSpeed)
{
    StreamClock clock(0.0);
    EXPECT_EQ(clock.OnPcr(100 * kPcrS, kStart, false), Effect::Set);
    EXPECT_EQ(clock.StcAt(kStart + 3600 * kS), 100U * 90000);
    EXPECT_EQ(clock.OnPcr(110 * kPcrS, kStart, false), Effect::Followed);
    EXPECT_EQ(clock.StcAt(kStart), 110U * 90000);
    EXPECT_EQ(clock.OnPcr(110 * kPcrS - 300, kStart, false), Effect::Jumped);
    EXPECT_EQ(clock.OnPcr(121 * kPcrS, kStart, false), Effect::Jumped);
    EXPECT_EQ(clock.StcAt(kStart), 121U * 90000);
}

TEST(StreamClock, ForgetsOnReset)
{
    StreamClock clock(1.0);
    clock.OnPcr(100 * kPcrS, kStart, false);
    clock.Reset();
    EXPECT_EQ(clock.StcAt(kStart), std::nullopt);
    EXPECT_EQ(clock.OnPcr(5 * kPcrS, kStart + kS, false), Effect::Set);
}

TEST(PcrDifference, TakesTheShortWayRound)
{
    EXPECT_EQ(PcrDifference(5, 8), 3);
    EXPECT_EQ(PcrDifference(8, 5), -3);
    EXPECT_EQ(PcrDifference(kPcrTurn - 1, 1), 2);
    EXPECT_EQ(PcrDifference(1, kPcrTurn - 1), -2);
    EXPECT_EQ(PcrDifference(0, kPcrTurn / 2), -static_cast<std::int64_t>(kPcrTurn / 2));
    EXPECT_EQ(PcrDifference(0, kPcrTurn / 2 - 1), static_cast<std::int64_t>(kPcrTurn / 2 - 1));
}

} // namespace
