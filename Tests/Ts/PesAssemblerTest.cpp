#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "PesAssembler.h"
#include "TsBuilder.h"

namespace {

using TTMLHost::PesAssembler;
using TTMLTest::Bytes;
using TTMLTest::Filling;
using TTMLTest::TsPes;
using TTMLTest::operator+;

class Assembly : public TTMLHost::PesSink
{
public:
    void OnPacket(std::vector<unsigned char>& packet) override { packets.push_back(std::move(packet)); }
    void OnDropped(const std::string& why) override { dropped.push_back(why); }

    // In payloads of this many bytes, from memory that ends where the payload does.
    void Push(const Bytes& unit, std::size_t perPayload, bool start = true)
    {
        for (std::size_t at = 0; at < unit.size(); at += perPayload) {
            const std::size_t end = std::min(unit.size(), at + perPayload);
            const Bytes payload(unit.begin() + static_cast<std::ptrdiff_t>(at),
                                unit.begin() + static_cast<std::ptrdiff_t>(end));
            assembler.Push(start && at == 0, {payload.data(), payload.size()}, false);
        }
    }
    void PushSuspect(const Bytes& payload, bool start)
    {
        assembler.Push(start, {payload.data(), payload.size()}, true);
    }

    std::vector<Bytes> packets;
    std::vector<std::string> dropped;
    PesAssembler assembler{*this};
};

using Packets = std::vector<Bytes>;
using Texts = std::vector<std::string>;

Bytes Cut(const Bytes& bytes, std::size_t size)
{
    return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
}

TEST(PesAssembler, DeliversABoundedPacketWithItsLastByteWhateverThePayloads)
{
    const Bytes pes = TsPes().Pts(1).Data(Filling(300)).Get();
    for (std::size_t size = 1; size <= 184; ++size) {
        Assembly assembly;
        assembly.Push(Cut(pes, pes.size() - 1), size);
        EXPECT_TRUE(assembly.packets.empty()) << size;
        assembly.Push({pes.back()}, 1, false);
        EXPECT_EQ(assembly.packets, Packets{pes}) << size;
        EXPECT_TRUE(assembly.dropped.empty()) << size;
    }
}

TEST(PesAssembler, DeliversEachLengthFromTheShortestOn)
{
    for (std::size_t size = 0; size < 400; ++size) {
        const Bytes pes = TsPes().Data(Filling(size)).Get();
        Assembly assembly;
        assembly.Push(pes, 184);
        EXPECT_EQ(assembly.packets, Packets{pes}) << size;
    }
}

TEST(PesAssembler, DeliversAPacketWithOneByteBehindItsLength)
{
    const Bytes pes = {0, 0, 1, 0xbe, 0, 1, 0xff};
    Assembly assembly;
    assembly.Push(pes, 184);
    EXPECT_EQ(assembly.packets, Packets{pes});
}

TEST(PesAssembler, DeliversTheLongestBoundedPacket)
{
    const Bytes pes = TsPes().Data(Filling(65535 - 3)).Get();
    ASSERT_EQ(pes.size(), 65541U);
    Assembly assembly;
    assembly.Push(pes, 184);
    EXPECT_EQ(assembly.packets, Packets{pes});
}

TEST(PesAssembler, LeavesOutWhatFollowsTheAnnouncedLength)
{
    const Bytes pes = TsPes().Data(Filling(50)).Get();
    Assembly assembly;
    assembly.Push(pes + Filling(20), 184);
    assembly.Push(Filling(184), 184, false);
    EXPECT_EQ(assembly.packets, Packets{pes});
    EXPECT_TRUE(assembly.dropped.empty());
}

TEST(PesAssembler, DeliversAPacketOfUnknownLengthAtTheNextStart)
{
    const Bytes first = TsPes().Unbounded().Data(Filling(1000, 1)).Get();
    const Bytes second = TsPes().Data(Filling(10, 2)).Get();
    for (std::size_t size = 1; size <= 184; ++size) {
        Assembly assembly;
        assembly.Push(first, size);
        EXPECT_TRUE(assembly.packets.empty()) << size;
        assembly.Push(second, 184);
        EXPECT_EQ(assembly.packets, (Packets{first, second})) << size;
    }
}

TEST(PesAssembler, DeliversAPacketOfUnknownLengthAtTheEnd)
{
    const Bytes pes = TsPes().Unbounded().Data(Filling(1000)).Get();
    Assembly assembly;
    assembly.Push(pes, 184);
    assembly.assembler.Flush();
    EXPECT_EQ(assembly.packets, Packets{pes});
    assembly.assembler.Flush();
    EXPECT_EQ(assembly.packets.size(), 1U);
}

TEST(PesAssembler, DropsABoundedPacketThatTheEndCutsOff)
{
    Assembly assembly;
    assembly.Push(Cut(TsPes().Data(Filling(100)).Get(), 60), 184);
    assembly.assembler.Flush();
    EXPECT_TRUE(assembly.packets.empty());
    EXPECT_EQ(assembly.dropped, Texts{"the input ends in it"});
}

TEST(PesAssembler, DropsAPacketThatHoldsLessThanItAnnounces)
{
    const Bytes next = TsPes().Data(Filling(20)).Get();
    const Bytes pes = TsPes().Data(Filling(491)).Announcing(1000 - 6).Get();
    ASSERT_EQ(pes.size(), 500U);
    for (std::size_t held = 6; held <= 500; ++held) {
        Assembly assembly;
        assembly.Push(Cut(pes, held), 184);
        assembly.Push(next, 184);
        EXPECT_EQ(assembly.packets, Packets{next});
        EXPECT_EQ(assembly.dropped, Texts{"it announces 1000 bytes and holds " + std::to_string(held)});
    }
}

TEST(PesAssembler, DropsAPacketThatEndsInsideItsFirstBytes)
{
    const Bytes next = TsPes().Data(Filling(20)).Get();
    for (std::size_t held = 0; held < 6; ++held) {
        Assembly assembly;
        const Bytes start = Cut(next, held);
        assembly.assembler.Push(true, {start.data(), start.size()}, false);
        assembly.Push(next, 184);
        EXPECT_EQ(assembly.packets, Packets{next});
        EXPECT_EQ(assembly.dropped, Texts{"it ends inside its header"});
    }
}

TEST(PesAssembler, DropsWhatDoesNotBeginWithAStartCode)
{
    const Bytes pes = TsPes().Data(Filling(300)).Get();
    for (std::size_t wrong = 0; wrong < 3; ++wrong) {
        for (std::size_t size = 1; size <= 10; ++size) {
            Bytes bad = pes;
            bad[wrong] ^= 0x10;
            Assembly assembly;
            assembly.Push(bad, size);
            assembly.Push(pes, 184);
            EXPECT_EQ(assembly.packets, Packets{pes});
            EXPECT_EQ(assembly.dropped, Texts{"it does not begin with a start code"});
        }
    }
}

TEST(PesAssembler, IgnoresTheRestOfAPacketThatBeganBeforeItListened)
{
    Assembly assembly;
    const Bytes pes = TsPes().Data(Filling(300)).Get();
    assembly.Push(Filling(500), 184, false);
    assembly.Push(pes, 184);
    EXPECT_EQ(assembly.packets, Packets{pes});
    EXPECT_TRUE(assembly.dropped.empty());
}

TEST(PesAssembler, DropsADamagedPacketOnceAndGoesOnWithTheNext)
{
    Assembly assembly;
    const Bytes pes = TsPes().Data(Filling(600)).Get();
    assembly.Push(Cut(pes, 184), 184);
    assembly.assembler.Damage("a mouse was in it");
    assembly.assembler.Damage("another mouse was in it");
    assembly.Push(Filling(184), 184, false);
    assembly.Push(pes, 184);
    EXPECT_EQ(assembly.packets, Packets{pes});
    EXPECT_EQ(assembly.dropped, Texts{"a mouse was in it"});
}

TEST(PesAssembler, CountsAPacketWhoseStartIsMissing)
{
    Assembly assembly;
    const Bytes pes = TsPes().Data(Filling(600)).Get();
    assembly.Push(pes, 184);
    assembly.assembler.Damage("not said of a packet that is complete");
    assembly.Push(Filling(368), 184, false);
    assembly.Push(pes, 184);
    EXPECT_EQ(assembly.packets, (Packets{pes, pes}));
    EXPECT_EQ(assembly.dropped, Texts{"its start is missing"});
}

TEST(PesAssembler, DropsADamagedPacketOfUnknownLength)
{
    Assembly assembly;
    assembly.Push(TsPes().Unbounded().Data(Filling(600)).Get(), 184);
    assembly.assembler.Damage("a mouse was in it");
    const Bytes next = TsPes().Data(Filling(20)).Get();
    assembly.Push(next, 184);
    EXPECT_EQ(assembly.packets, Packets{next});
    EXPECT_EQ(assembly.dropped, Texts{"a mouse was in it"});
}

TEST(PesAssembler, EndsAPacketOfUnknownLengthThatGrowsTooLong)
{
    Assembly assembly;
    const std::size_t most = PesAssembler::kLongest;
    assembly.Push(TsPes().Unbounded().Data(Filling(most - 9)).Get(), 184);
    EXPECT_TRUE(assembly.packets.empty());
    EXPECT_EQ(assembly.dropped, Texts{"it is longer than 16712465 bytes"});
    assembly.Push(Filling(100000), 184, false);
    const Bytes next = TsPes().Data(Filling(20)).Get();
    assembly.Push(next, 184);
    EXPECT_EQ(assembly.packets, Packets{next});
    EXPECT_EQ(assembly.dropped.size(), 1U);
}

TEST(PesAssembler, DeliversThatOfTheGreatestLengthBelow)
{
    Assembly assembly;
    const Bytes pes = TsPes().Unbounded().Data(Filling(PesAssembler::kLongest - 10)).Get();
    assembly.Push(pes, 184);
    assembly.assembler.Flush();
    EXPECT_EQ(assembly.packets, Packets{pes});
}

TEST(PesAssembler, DeliversADoubtfulPacketOnlyWithARightCrc)
{
    const Bytes right = TsPes().Pts(7).Data(Filling(100)).WithCrc().Get();
    Assembly assembly;
    assembly.PushSuspect(right, true);
    EXPECT_EQ(assembly.packets, Packets{right});
    for (std::size_t i = 14; i < right.size(); ++i) {
        Bytes wrong = right;
        wrong[i] ^= 0x01;
        Assembly other;
        other.PushSuspect(wrong, true);
        EXPECT_TRUE(other.packets.empty()) << i;
        EXPECT_EQ(other.dropped, Texts{"other data lies in it"}) << i;
    }
}

TEST(PesAssembler, DoubtsThePacketAsLongAsItLasts)
{
    const Bytes pes = TsPes().Data(Filling(400)).Get();
    Assembly assembly;
    assembly.PushSuspect(Cut(pes, 184), true);
    assembly.Push(Bytes(pes.begin() + 184, pes.end()), 184, false);
    EXPECT_EQ(assembly.dropped, Texts{"other data lies in it"});
    assembly.Push(pes, 184);
    EXPECT_EQ(assembly.packets, Packets{pes});
}

TEST(PesAssembler, HasNoProofOfADoubtfulPacketWithoutData)
{
    for (std::size_t size = 0; size < 4; ++size) {
        Assembly assembly;
        assembly.PushSuspect(TsPes().Data(Filling(size)).Get(), true);
        EXPECT_EQ(assembly.dropped, Texts{"other data lies in it"});
    }
}

TEST(PtsOf, ReadsAll33Bits)
{
    for (const std::uint64_t pts :
         {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{0x123456789}, std::uint64_t{0x1ffffffff}}) {
        EXPECT_EQ(TTMLHost::PtsOf(TsPes().Pts(pts).Get()), pts);
    }
}

TEST(PtsOf, FindsNoneInAPacketThatHasNone)
{
    EXPECT_EQ(TTMLHost::PtsOf(TsPes().Data(Filling(20)).Get()), std::nullopt);
    const Bytes pes = TsPes().Pts(1).Get();
    for (std::size_t size = 0; size < pes.size(); ++size) {
        EXPECT_EQ(TTMLHost::PtsOf(Cut(pes, size)), std::nullopt) << size;
    }
    Bytes padding = pes;
    padding[3] = 0xbe;
    EXPECT_EQ(TTMLHost::PtsOf(padding), std::nullopt);
    Bytes shortHeader = pes;
    shortHeader[8] = 4;
    EXPECT_EQ(TTMLHost::PtsOf(shortHeader), std::nullopt);
}

TEST(IsScrambledPes, ReadsThePacketsOwnHeader)
{
    EXPECT_TRUE(TTMLHost::IsScrambledPes(TsPes().Scrambled().Get()));
    EXPECT_FALSE(TTMLHost::IsScrambledPes(TsPes().Get()));
}

} // namespace
