#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include "Pacer.h"
#include "StreamClock.h"

namespace {

using TTMLHost::kPcrTurn;
using TTMLHost::Pacer;

constexpr std::int64_t kMs = 1000000;
constexpr std::int64_t kS = 1000 * kMs;
constexpr std::uint64_t kPcrMs = 27000;
constexpr std::uint64_t kPcrS = 27000000;
constexpr std::int64_t kStart = 5000 * kS;

TEST(Pacer, FirstReferenceIsDueNow)
{
    Pacer pacer(1.0);
    EXPECT_EQ(pacer.DueNs(123 * kPcrS, kStart, false), kStart);
}

TEST(Pacer, LaterOnesAreDueAsMuchLater)
{
    Pacer pacer(1.0);
    pacer.DueNs(100 * kPcrS, kStart, false);
    EXPECT_EQ(pacer.DueNs(100 * kPcrS + 40 * kPcrMs, kStart + kMs, false), kStart + 40 * kMs);
    // Whatever the time is when they are read.
    EXPECT_EQ(pacer.DueNs(100 * kPcrS + 80 * kPcrMs, kStart + 95 * kMs, false), kStart + 80 * kMs);
    EXPECT_EQ(pacer.DueNs(108 * kPcrS, kStart + 2 * kMs, false), kStart + 8 * kS);
}

TEST(Pacer, DividesByItsSpeed)
{
    Pacer pacer(4.0);
    pacer.DueNs(0, kStart, false);
    EXPECT_EQ(pacer.DueNs(8 * kPcrS, kStart, false), kStart + 2 * kS);
}

TEST(Pacer, GoesOnThroughTheWrapAndAllRound)
{
    Pacer pacer(1.0);
    std::uint64_t pcr = kPcrTurn - 4 * kPcrS;
    std::int64_t due = kStart;
    // 30 hours, past a whole turn.
    for (int i = 0; i < 30 * 3600 / 8; ++i) {
        ASSERT_EQ(pacer.DueNs(pcr, due, false), due);
        pcr = (pcr + 8 * kPcrS) % kPcrTurn;
        due += 8 * kS;
    }
}

TEST(Pacer, BeginsAnewAtAnAnnouncedDiscontinuity)
{
    Pacer pacer(1.0);
    pacer.DueNs(100 * kPcrS, kStart, false);
    EXPECT_EQ(pacer.DueNs(101 * kPcrS, kStart, false), kStart + kS);
    EXPECT_EQ(pacer.DueNs(105 * kPcrS, kStart + kS, true), kStart + kS);
    EXPECT_EQ(pacer.DueNs(106 * kPcrS, kStart + kS, false), kStart + 2 * kS);
}

TEST(Pacer, BeginsAnewWhereReferencesGoBackOrFarAhead)
{
    Pacer pacer(1.0);
    pacer.DueNs(100 * kPcrS, kStart, false);
    EXPECT_EQ(pacer.DueNs(100 * kPcrS - 1, kStart + kMs, false), kStart + kMs);
    EXPECT_EQ(pacer.DueNs(101 * kPcrS - 1, kStart + kMs, false), kStart + kMs + kS);
    EXPECT_EQ(pacer.DueNs(111 * kPcrS - 1, kStart + kS, false), kStart + kMs + 11 * kS);
    EXPECT_EQ(pacer.DueNs(121 * kPcrS, kStart + 12 * kS, false), kStart + 12 * kS);
}

TEST(Pacer, IsNotAheadOfWhatWasDueBeforeADiscontinuity)
{
    Pacer pacer(1.0);
    pacer.DueNs(100 * kPcrS, kStart, false);
    EXPECT_EQ(pacer.DueNs(105 * kPcrS, kStart, false), kStart + 5 * kS);
    EXPECT_EQ(pacer.DueNs(0, kStart, true), kStart + 5 * kS);
}

TEST(Pacer, GoesOnFromNowWhenItIsLateByMoreThanASecond)
{
    Pacer pacer(1.0);
    pacer.DueNs(0, kStart, false);
    EXPECT_EQ(pacer.DueNs(kPcrS, kStart + 2 * kS, false), kStart + kS);
    EXPECT_EQ(pacer.DueNs(2 * kPcrS, kStart + 60 * kS, false), kStart + 60 * kS);
    EXPECT_EQ(pacer.DueNs(3 * kPcrS, kStart + 60 * kS, false), kStart + 61 * kS);
}

TEST(Pacer, AtTheSlowestSpeedIsDueInAWhileAndNotInThePast)
{
    for (const double speed : {1e-12, 1e-300, std::numeric_limits<double>::denorm_min()}) {
        Pacer pacer(speed);
        pacer.DueNs(0, kStart, false);
        EXPECT_EQ(pacer.DueNs(10 * kPcrS, kStart, false), kStart + 3000000000 * kS) << speed;
    }
}

TEST(Pacer, ForgetsOnReset)
{
    Pacer pacer(1.0);
    pacer.DueNs(0, kStart, false);
    pacer.Reset();
    EXPECT_EQ(pacer.DueNs(5 * kPcrS, kStart + kMs, false), kStart + kMs);
}

} // namespace
