#include <cstddef>

#include <gtest/gtest.h>

#include "TransportPacket.h"
#include "TsBuilder.h"

namespace {

using TTMLHost::ReadTransportPacket;
using TTMLHost::TransportPacket;
using TTMLTest::Bytes;
using TTMLTest::Filling;
using TTMLTest::TsPacket;

Bytes PayloadOf(const TransportPacket& packet)
{
    return Bytes(packet.payload.data, packet.payload.data + packet.payload.size);
}

TEST(TransportPacket, HasItsFields)
{
    const Bytes bytes = TsPacket(0x1abc).Counter(11).UnitStart().Payload(Filling(184)).Get();
    const TransportPacket packet = ReadTransportPacket(bytes.data());
    EXPECT_EQ(packet.bytes, bytes.data());
    EXPECT_EQ(packet.pid, 0x1abc);
    EXPECT_EQ(packet.counter, 11);
    EXPECT_TRUE(packet.unitStart);
    EXPECT_TRUE(packet.hasPayload);
    EXPECT_FALSE(packet.transportError);
    EXPECT_FALSE(packet.scrambled);
    EXPECT_FALSE(packet.discontinuity);
    EXPECT_FALSE(packet.malformed);
    EXPECT_FALSE(packet.pcr27MHz);
    EXPECT_EQ(PayloadOf(packet), Filling(184));
}

TEST(TransportPacket, HasItsFlags)
{
    EXPECT_TRUE(ReadTransportPacket(TsPacket(1).TransportError().Get().data()).transportError);
    EXPECT_TRUE(ReadTransportPacket(TsPacket(1).Scrambled().Get().data()).scrambled);
    EXPECT_TRUE(ReadTransportPacket(TsPacket(1).Discontinuity().Get().data()).discontinuity);
}

TEST(TransportPacket, HasAPayloadOfEachLength)
{
    for (std::size_t size = 0; size <= 184; ++size) {
        const Bytes bytes = TsPacket(1).Payload(Filling(size)).Get();
        const TransportPacket packet = ReadTransportPacket(bytes.data());
        EXPECT_TRUE(packet.hasPayload);
        EXPECT_FALSE(packet.malformed) << size;
        EXPECT_EQ(PayloadOf(packet), Filling(size)) << size;
    }
}

TEST(TransportPacket, HasNoPayloadBehindAFieldThatLiesAboutItsLength)
{
    for (int length = 184; length < 256; ++length) {
        const Bytes bytes = TsPacket(1).Pcr(5).Payload(Filling(100)).LyingLength(length).Get();
        const TransportPacket packet = ReadTransportPacket(bytes.data());
        EXPECT_TRUE(packet.malformed) << length;
        EXPECT_EQ(packet.payload.size, 0U) << length;
        EXPECT_FALSE(packet.pcr27MHz) << length;
    }
}

TEST(TransportPacket, HasNoClockReferenceInAFieldTooShortForOne)
{
    for (int length = 0; length < 7; ++length) {
        const Bytes bytes =
            TsPacket(1).Pcr(5).Discontinuity().Payload(Filling(100)).LyingLength(length).Get();
        const TransportPacket packet = ReadTransportPacket(bytes.data());
        EXPECT_FALSE(packet.pcr27MHz) << length;
        EXPECT_EQ(packet.discontinuity, length > 0);
        EXPECT_EQ(packet.payload.size, static_cast<std::size_t>(183 - length));
    }
}

TEST(TransportPacket, HasAllBitsOfItsClockReference)
{
    for (const std::uint64_t base : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{0x155555555},
                                     std::uint64_t{0x0aaaaaaaa}, std::uint64_t{0x1ffffffff}}) {
        for (const std::uint64_t extension : {0U, 1U, 255U, 256U, 299U}) {
            const std::uint64_t pcr = base * 300 + extension;
            EXPECT_EQ(ReadTransportPacket(TsPacket(1).Pcr(pcr).Get().data()).pcr27MHz, pcr);
        }
    }
}

} // namespace
