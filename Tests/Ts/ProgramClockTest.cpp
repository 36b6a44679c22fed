#include "ProgramClock.h"

#include <gtest/gtest.h>

#include "MonotonicTime.h"

using TTMLHost::NowNs;
using TTMLHost::ProgramClock;

namespace {

constexpr std::uint64_t kSecond27MHz = 27000000;
constexpr std::uint64_t kSecond90kHz = 90000;
constexpr std::uint64_t kTen = 10 * kSecond27MHz;

TEST(ProgramClock, DoesNotGoBackWhereItStandsStill)
{
    ProgramClock clock(1);
    clock.Begin(kTen);
    const std::uint64_t shown = *clock.Stc();
    EXPECT_GE(shown, 10 * kSecond90kHz);
    clock.BeginAgain(kTen - kSecond27MHz, NowNs());
    EXPECT_EQ(*clock.Stc(), shown);
}

TEST(ProgramClock, DoesNotGoBackWhereAReferenceComesLate)
{
    ProgramClock clock(1);
    clock.Begin(kTen);
    const std::uint64_t shown = *clock.Stc();
    clock.OnPcr(kTen - kSecond27MHz / 2, NowNs(), false);
    EXPECT_EQ(*clock.Stc(), shown);
}

TEST(ProgramClock, GoesBackWithTheStreamsOwn)
{
    for (const bool announced : {true, false}) {
        ProgramClock clock(1);
        clock.Begin(kTen);
        EXPECT_GE(*clock.Stc(), 10 * kSecond90kHz);
        clock.OnPcr(5 * kSecond27MHz, NowNs(), announced);
        EXPECT_LT(*clock.Stc(), 6 * kSecond90kHz);
    }
}

TEST(ProgramClock, GoesBackWithAnotherService)
{
    ProgramClock clock(1);
    clock.Begin(kTen);
    EXPECT_GE(*clock.Stc(), 10 * kSecond90kHz);
    clock.End();
    EXPECT_FALSE(clock.Stc());
    clock.Begin(9 * kSecond27MHz);
    EXPECT_LT(*clock.Stc(), 10 * kSecond90kHz);
}

TEST(ProgramClock, RunsOnThroughItsWrap)
{
    ProgramClock clock(1);
    clock.Begin(TTMLHost::kPcrTurn - kSecond27MHz);
    EXPECT_GT(*clock.Stc(), 1ULL << 32);
    clock.BeginAgain(kSecond27MHz, NowNs());
    EXPECT_LT(*clock.Stc(), 1ULL << 32);
}

} // namespace
