#include <cstdint>
#include <optional>

#include <gtest/gtest.h>

#include "ClockJump.h"
#include "StreamClock.h"

namespace {

using TTMLHost::ClockJump;
using TTMLHost::kPcrTurn;

constexpr std::int64_t kS = 1000000000;
constexpr std::uint64_t kPcrS = 27000000;
constexpr int kPid = 257;

TEST(ClockJump, IsBackOrFarAhead)
{
    ClockJump ahead(false);
    EXPECT_EQ(ahead.OnPcr(kPid, 100 * kPcrS, 0, false), std::nullopt);
    EXPECT_EQ(ahead.OnPcr(kPid, 110 * kPcrS, 0, false), std::nullopt);
    EXPECT_EQ(ahead.OnPcr(kPid, 121 * kPcrS, 0, false), 11.0);
    ClockJump back(false);
    EXPECT_EQ(back.OnPcr(kPid, 100 * kPcrS, 0, false), std::nullopt);
    EXPECT_EQ(back.OnPcr(kPid, 99 * kPcrS, 0, false), std::nullopt);
    EXPECT_EQ(back.OnPcr(kPid, 97 * kPcrS, 0, false), -2.0);
}

TEST(ClockJump, IsToldOnce)
{
    ClockJump jump(false);
    jump.OnPcr(kPid, 100 * kPcrS, 0, false);
    EXPECT_EQ(jump.OnPcr(kPid, 0, 0, false), -100.0);
    EXPECT_EQ(jump.OnPcr(kPid, 100 * kPcrS, 0, false), std::nullopt);
}

TEST(ClockJump, IsNoWrapAndNoneThatIsAnnounced)
{
    ClockJump jump(false);
    EXPECT_EQ(jump.OnPcr(kPid, kPcrTurn - kPcrS, 0, false), std::nullopt);
    EXPECT_EQ(jump.OnPcr(kPid, kPcrS, 0, false), std::nullopt);
    EXPECT_EQ(jump.OnPcr(kPid, 5000 * kPcrS, 0, true), std::nullopt);
    EXPECT_EQ(jump.OnPcr(kPid, 5001 * kPcrS, 0, false), std::nullopt);
    EXPECT_EQ(jump.OnPcr(kPid, 3 * kPcrS, 0, true), std::nullopt);
}

TEST(ClockJump, IsNotToAnotherPidAndBack)
{
    ClockJump jump(false);
    EXPECT_EQ(jump.OnPcr(kPid, 100 * kPcrS, 0, false), std::nullopt);
    EXPECT_EQ(jump.OnPcr(kPid + 1, 900 * kPcrS, 0, false), std::nullopt);
    EXPECT_EQ(jump.OnPcr(kPid, 200 * kPcrS, 0, false), std::nullopt);
}

TEST(ClockJump, IsNoGapInTheReceptionThatTookAsLong)
{
    ClockJump jump(true);
    EXPECT_EQ(jump.OnPcr(kPid, 100 * kPcrS, 0, false), std::nullopt);
    EXPECT_EQ(jump.OnPcr(kPid, 160 * kPcrS, 60 * kS, false), std::nullopt);
    EXPECT_EQ(jump.OnPcr(kPid, 180 * kPcrS, 61 * kS, false), 20.0);
}

} // namespace
