#include <gtest/gtest.h>

#include "TransportPacket.h"
#include "TsBuilder.h"

namespace {

using TTMLHost::ContinuityCheck;
using TTMLTest::Bytes;
using TTMLTest::Filling;
using TTMLTest::TsPacket;
using Verdict = ContinuityCheck::Verdict;

Verdict Check(ContinuityCheck* check, const TsPacket& packet)
{
    const Bytes bytes = packet.Get();
    return check->Check(TTMLHost::ReadTransportPacket(bytes.data()));
}

TsPacket Numbered(int counter, unsigned int seed = 0)
{
    return TsPacket(9).Counter(counter).Payload(Filling(100, seed));
}

TEST(Continuity, HoldsFromAnyStartAllRound)
{
    for (int start = 0; start < 16; ++start) {
        ContinuityCheck check;
        for (int i = 0; i < 40; ++i) {
            EXPECT_EQ(Check(&check, Numbered(start + i, static_cast<unsigned int>(i))), Verdict::InOrder);
        }
    }
}

TEST(Continuity, SeesEachGap)
{
    for (int missing = 1; missing < 15; ++missing) {
        ContinuityCheck check;
        Check(&check, Numbered(3));
        EXPECT_EQ(Check(&check, Numbered(4 + missing, 1)), Verdict::Gap) << missing;
        EXPECT_EQ(Check(&check, Numbered(5 + missing, 2)), Verdict::InOrder);
    }
}

TEST(Continuity, AllowsEachPacketOneRepetition)
{
    ContinuityCheck check;
    Check(&check, Numbered(3));
    EXPECT_EQ(Check(&check, Numbered(3)), Verdict::Duplicate);
    EXPECT_EQ(Check(&check, Numbered(4, 1)), Verdict::InOrder);
    EXPECT_EQ(Check(&check, Numbered(4, 1)), Verdict::Duplicate);
    EXPECT_EQ(Check(&check, Numbered(4, 1)), Verdict::Gap);
}

TEST(Continuity, SeesThatAPacketOfTheSameNumberIsNoRepetition)
{
    ContinuityCheck check;
    Check(&check, Numbered(3));
    EXPECT_EQ(Check(&check, Numbered(3, 1)), Verdict::Gap);
    EXPECT_EQ(Check(&check, Numbered(4, 2)), Verdict::InOrder);
}

TEST(Continuity, AllowsARepetitionAClockReferenceOfItsOwn)
{
    ContinuityCheck check;
    Check(&check, Numbered(3).Pcr(100));
    EXPECT_EQ(Check(&check, Numbered(3).Pcr(777777)), Verdict::Duplicate);
    Check(&check, Numbered(4).Pcr(100));
    EXPECT_EQ(Check(&check, Numbered(4, 1).Pcr(100)), Verdict::Gap);
    Check(&check, Numbered(5).Pcr(100));
    EXPECT_EQ(Check(&check, Numbered(5)), Verdict::Gap);
}

TEST(Continuity, DoesNotCountPacketsWithoutPayload)
{
    ContinuityCheck check;
    Check(&check, Numbered(3));
    for (int counter = 0; counter < 16; ++counter) {
        EXPECT_EQ(Check(&check, TsPacket(9).Counter(counter).Pcr(1)), Verdict::InOrder);
    }
    EXPECT_EQ(Check(&check, Numbered(4, 1)), Verdict::InOrder);
}

TEST(Continuity, TakesAnAnnouncedGap)
{
    ContinuityCheck check;
    Check(&check, Numbered(3));
    EXPECT_EQ(Check(&check, Numbered(9, 1).Discontinuity()), Verdict::Announced);
    EXPECT_EQ(Check(&check, Numbered(9, 2).Discontinuity()), Verdict::Announced);
    EXPECT_EQ(Check(&check, Numbered(10, 3)), Verdict::InOrder);
    EXPECT_EQ(Check(&check, Numbered(11, 4).Discontinuity()), Verdict::InOrder);
    EXPECT_EQ(Check(&check, Numbered(11, 4).Discontinuity()), Verdict::Duplicate);
}

TEST(Continuity, BeginsAnewWhenItHasForgotten)
{
    ContinuityCheck check;
    Check(&check, Numbered(3));
    check.Forget();
    EXPECT_EQ(Check(&check, Numbered(9)), Verdict::InOrder);
    EXPECT_EQ(Check(&check, Numbered(11, 1)), Verdict::Gap);
}

} // namespace
