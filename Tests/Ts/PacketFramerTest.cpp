#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "PacketFramer.h"
#include "TsBuilder.h"

namespace {

using TTMLHost::PacketBatch;
using TTMLHost::PacketFramer;
using TTMLTest::Bytes;
using TTMLTest::Filling;
using TTMLTest::TsPacket;
using TTMLTest::operator+;
using Pieces = PacketFramer::Pieces;

constexpr std::size_t kSizes[] = {188, 192, 204};

// Packets that can be told apart, without sync bytes inside.
std::vector<Bytes> SomePackets(int count)
{
    std::vector<Bytes> packets;
    for (int i = 0; i < count; ++i) {
        packets.push_back(
            TsPacket(256 + i % 7).Counter(i).Payload(Filling(184, static_cast<unsigned int>(i))).Get());
    }
    return packets;
}

struct Framed
{
    std::vector<Bytes> packets;
    std::vector<std::size_t> suspects; // indexes
};

void TakeAll(PacketFramer* framer, Framed* framed)
{
    PacketBatch batch;
    while (framer->Next(&batch)) {
        ASSERT_GT(batch.count, 0U);
        for (std::size_t i = 0; i < batch.count; ++i) {
            const unsigned char* const packet = batch.packets + i * batch.stride;
            framed->packets.emplace_back(packet, packet + 188);
        }
        if (batch.lastIsSuspect) {
            framed->suspects.push_back(framed->packets.size() - 1);
        }
    }
}

// Pushes in pieces that lie in memory of their own.
Framed Frame(PacketFramer* framer, const Bytes& input, std::size_t piece)
{
    Framed framed;
    for (std::size_t at = 0; at < input.size(); at += piece) {
        const Bytes bytes(input.begin() + static_cast<std::ptrdiff_t>(at),
                          input.begin() + static_cast<std::ptrdiff_t>(std::min(input.size(), at + piece)));
        framer->Push({bytes.data(), bytes.size()});
        TakeAll(framer, &framed);
    }
    framer->Finish();
    TakeAll(framer, &framed);
    return framed;
}

class PacketSizes : public testing::TestWithParam<std::size_t>
{};

TEST_P(PacketSizes, AreFoundInPiecesOfEachSize)
{
    const std::vector<Bytes> packets = SomePackets(12);
    const Bytes input = TTMLTest::WithPacketSize(TTMLTest::Joined(packets), GetParam());
    for (std::size_t piece = 1; piece <= input.size(); ++piece) {
        // Pieces that end after packets may be taken for datagrams.
        const int kinds = piece % GetParam() == 0 ? 2 : 1;
        for (int kind = 0; kind < kinds; ++kind) {
            PacketFramer framer(kind == 0 ? Pieces::Anywhere : Pieces::AfterPackets);
            const Framed framed = Frame(&framer, input, piece);
            ASSERT_EQ(framed.packets, packets) << piece;
            ASSERT_TRUE(framed.suspects.empty()) << piece;
            ASSERT_EQ(framer.PacketSize(), GetParam()) << piece;
            ASSERT_EQ(framer.Resynchronisations(), 0U) << piece;
            ASSERT_EQ(framer.SkippedBytes(), 0U) << piece;
            ASSERT_EQ(framer.TotalBytes(), input.size()) << piece;
            ASSERT_EQ(framer.CutOffBytes(), 0U) << piece;
        }
    }
}

TEST_P(PacketSizes, AreFoundBehindGarbageOfEachLength)
{
    const std::vector<Bytes> packets = SomePackets(6);
    const Bytes input = TTMLTest::WithPacketSize(TTMLTest::Joined(packets), GetParam());
    for (std::size_t garbage = 1; garbage <= 420; ++garbage) {
        for (const std::size_t piece : {std::size_t{1}, std::size_t{100}, std::size_t{100000}}) {
            PacketFramer framer(Pieces::Anywhere);
            ASSERT_EQ(Frame(&framer, Filling(garbage, 9) + input, piece).packets, packets) << garbage;
            ASSERT_EQ(framer.PacketSize(), GetParam()) << garbage;
            ASSERT_EQ(framer.SkippedBytes(), garbage);
            ASSERT_EQ(framer.Resynchronisations(), 0U);
        }
    }
}

TEST_P(PacketSizes, AreFoundAgainAfterGarbageOfEachLength)
{
    const std::vector<Bytes> packets = SomePackets(14);
    const Bytes before =
        TTMLTest::WithPacketSize(TTMLTest::Joined({packets.begin(), packets.begin() + 7}), GetParam());
    const Bytes after =
        TTMLTest::WithPacketSize(TTMLTest::Joined({packets.begin() + 7, packets.end()}), GetParam());
    for (std::size_t garbage = 1; garbage <= 420; ++garbage) {
        for (const std::size_t piece :
             {std::size_t{1}, std::size_t{188}, std::size_t{777}, std::size_t{100000}}) {
            PacketFramer framer(Pieces::Anywhere);
            const Framed framed = Frame(&framer, before + Filling(garbage, 9) + after, piece);
            ASSERT_EQ(framed.packets, packets) << garbage << " in pieces of " << piece;
            ASSERT_EQ(framed.suspects, std::vector<std::size_t>{6}) << garbage << " in pieces of " << piece;
            ASSERT_EQ(framer.Resynchronisations(), 1U);
            ASSERT_EQ(framer.SkippedBytes(), garbage);
        }
    }
}

TEST_P(PacketSizes, AreFoundAgainWhenBytesAreMissing)
{
    const std::vector<Bytes> packets = SomePackets(14);
    const Bytes input = TTMLTest::WithPacketSize(TTMLTest::Joined(packets), GetParam());
    // In the seventh packet, from its second byte on.
    const std::size_t from = 6 * GetParam() + (GetParam() == 192 ? 4 : 0) + 1;
    for (std::size_t missing = 1; missing < 187; ++missing) {
        const Bytes cut = Bytes(input.begin(), input.begin() + static_cast<std::ptrdiff_t>(from)) +
                          Bytes(input.begin() + static_cast<std::ptrdiff_t>(from + missing), input.end());
        PacketFramer framer(Pieces::Anywhere);
        const Framed framed = Frame(&framer, cut, 1000);
        ASSERT_EQ(framed.packets.size(), 14U) << missing;
        ASSERT_EQ(framed.suspects, std::vector<std::size_t>{6}) << missing;
        for (std::size_t i = 0; i < 14; ++i) {
            ASSERT_EQ(framed.packets[i] == packets[i], i != 6) << missing;
        }
        ASSERT_EQ(framer.Resynchronisations(), 1U);
        ASSERT_EQ(framer.SkippedBytes(), 0U);
    }
}

TEST_P(PacketSizes, AreToldOfFewPackets)
{
    for (int count = 1; count < 5; ++count) {
        const std::vector<Bytes> packets = SomePackets(count);
        const Bytes input = TTMLTest::WithPacketSize(TTMLTest::Joined(packets), GetParam());
        for (const std::size_t piece : {std::size_t{1}, std::size_t{100}, std::size_t{100000}}) {
            PacketFramer framer(Pieces::Anywhere);
            EXPECT_EQ(Frame(&framer, input, piece).packets, packets) << count << " in pieces of " << piece;
            EXPECT_EQ(framer.PacketSize(), GetParam());
        }
        for (const std::size_t piece : {GetParam(), 2 * GetParam(), 10 * GetParam()}) {
            PacketFramer framer(Pieces::AfterPackets);
            EXPECT_EQ(Frame(&framer, input, piece).packets, packets) << count << " in pieces of " << piece;
            EXPECT_EQ(framer.PacketSize(), GetParam());
        }
    }
}

TEST_P(PacketSizes, LeaveOutALastPacketThatIsCutOff)
{
    const std::vector<Bytes> packets = SomePackets(8);
    const Bytes input = TTMLTest::WithPacketSize(TTMLTest::Joined(packets), GetParam());
    const std::size_t start = 7 * GetParam() + (GetParam() == 192 ? 4 : 0);
    for (std::size_t held = 0; held < 188; ++held) {
        PacketFramer framer(Pieces::Anywhere);
        const Bytes cut(input.begin(), input.begin() + static_cast<std::ptrdiff_t>(start + held));
        EXPECT_EQ(Frame(&framer, cut, 500).packets, std::vector<Bytes>(packets.begin(), packets.end() - 1));
        EXPECT_EQ(framer.CutOffBytes(), held);
    }
}

INSTANTIATE_TEST_SUITE_P(PacketFramer, PacketSizes, testing::ValuesIn(kSizes));

TEST(PacketFramer, DoesNotCopyPacketsThatLieInOnePiece)
{
    const Bytes input = TTMLTest::Joined(SomePackets(20));
    PacketFramer framer(Pieces::Anywhere);
    framer.Push({input.data(), input.size()});
    PacketBatch batch;
    ASSERT_TRUE(framer.Next(&batch));
    EXPECT_EQ(batch.packets, input.data());
    EXPECT_EQ(batch.stride, 188U);
    // The last one may still turn out to be cut into.
    EXPECT_EQ(batch.count, 19U);
    EXPECT_FALSE(framer.Next(&batch));
    framer.Push({input.data(), input.size()});
    ASSERT_TRUE(framer.Next(&batch));
    EXPECT_EQ(batch.count, 1U);
    ASSERT_TRUE(framer.Next(&batch));
    EXPECT_EQ(batch.packets, input.data());
    EXPECT_EQ(batch.count, 19U);
}

TEST(PacketFramer, HandsOutDatagramsAtOnce)
{
    const std::vector<Bytes> packets = SomePackets(3);
    PacketFramer framer(Pieces::AfterPackets);
    for (const Bytes& packet : packets) {
        framer.Push({packet.data(), packet.size()});
        Framed framed;
        TakeAll(&framer, &framed);
        EXPECT_EQ(framed.packets, std::vector<Bytes>{packet});
    }
}

TEST(PacketFramer, LosesOnlyThePacketWithADamagedSyncByte)
{
    std::vector<Bytes> packets = SomePackets(20);
    // Before the first five in a row, those before it go too.
    for (std::size_t bad = 5; bad < 20; ++bad) {
        std::vector<Bytes> damaged = packets;
        damaged[bad][0] = 0x46;
        PacketFramer framer(Pieces::Anywhere);
        const Framed framed = Frame(&framer, TTMLTest::Joined(damaged), 1000);
        std::vector<Bytes> others = packets;
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(bad));
        EXPECT_EQ(framed.packets, others) << bad;
        EXPECT_EQ(framer.SkippedBytes(), 188U) << bad;
    }
}

TEST(PacketFramer, FindsPacketsOfAnotherSizeWhereCapturesAreJoined)
{
    const std::vector<Bytes> packets = SomePackets(20);
    const Bytes first = TTMLTest::Joined({packets.begin(), packets.begin() + 10});
    const Bytes second =
        TTMLTest::WithPacketSize(TTMLTest::Joined({packets.begin() + 10, packets.end()}), 204);
    PacketFramer framer(Pieces::Anywhere);
    EXPECT_EQ(Frame(&framer, first + second, 333).packets, packets);
    EXPECT_EQ(framer.PacketSize(), 204U);
}

TEST(PacketFramer, GoesOnWithTheSameSizeWhereverAFileIsCut)
{
    // Behind the damage, packets of any size could begin.
    const Bytes input = TTMLTest::WithPacketSize(TTMLTest::Joined(SomePackets(6)), 204) + Bytes(1, 0) +
                        Bytes(5 * 204UL, 0x47);
    PacketFramer whole(Pieces::Anywhere);
    const Framed expected = Frame(&whole, input, input.size());
    ASSERT_EQ(whole.PacketSize(), 204U);
    for (std::size_t piece = 1; piece < input.size(); ++piece) {
        PacketFramer framer(Pieces::Anywhere);
        EXPECT_EQ(Frame(&framer, input, piece).packets, expected.packets) << piece;
        EXPECT_EQ(framer.PacketSize(), 204U) << piece;
    }
}

TEST(PacketFramer, SurvivesAnyGarbageBetweenPackets)
{
    // With sync bytes in it, so that packets may be made up or lost, but never more than is there.
    const std::vector<Bytes> packets = SomePackets(7);
    unsigned int state = 1;
    for (int round = 0; round < 2000; ++round) {
        Bytes input;
        for (const Bytes& packet : packets) {
            state = state * 1103515245U + 12345U;
            Bytes garbage = Filling(state >> 16 & 255U, state);
            for (std::size_t i = 0; i < garbage.size(); i += 1 + (state >> 8 & 7U)) {
                garbage[i] = 0x47;
            }
            input = input + packet + (round % 3 == 0 ? Bytes() : garbage);
        }
        PacketFramer framer(round % 2 == 0 ? Pieces::Anywhere : Pieces::AfterPackets);
        const Framed framed = Frame(&framer, input, 1 + (state >> 4 & 511U));
        ASSERT_LE(framed.packets.size(), input.size() / 188 + 7);
        for (const Bytes& packet : framed.packets) {
            ASSERT_EQ(packet[0], 0x47);
        }
    }
}

TEST(PacketFramer, SaysThatItIsNoTransportStreamAfter64Kilobytes)
{
    const Bytes packets = TTMLTest::Joined(SomePackets(10));
    for (const std::size_t piece : {std::size_t{100}, std::size_t{1000000}}) {
        PacketFramer late(Pieces::Anywhere);
        EXPECT_TRUE(Frame(&late, Filling(65536) + packets, piece).packets.empty());
        EXPECT_TRUE(late.IsNotTransportStream());
        EXPECT_EQ(late.PacketSize(), 0U);
        PacketFramer intime(Pieces::Anywhere);
        EXPECT_EQ(Frame(&intime, Filling(65535) + packets, piece).packets.size(), 10U);
        EXPECT_FALSE(intime.IsNotTransportStream());
    }
}

TEST(PacketFramer, DoesNotSaySoAsLongAsThereMayBePackets)
{
    PacketFramer framer(Pieces::Anywhere);
    const Bytes garbage = Filling(65535);
    framer.Push({garbage.data(), garbage.size()});
    PacketBatch batch;
    EXPECT_FALSE(framer.Next(&batch));
    EXPECT_FALSE(framer.IsNotTransportStream());
    framer.Finish();
    EXPECT_FALSE(framer.Next(&batch));
    EXPECT_TRUE(framer.IsNotTransportStream());
}

TEST(PacketFramer, SaysThatShortOtherFilesAreNoTransportStream)
{
    for (const std::string text : {"", "G", "GG", "<tt xmlns='http://www.w3.org/ns/ttml'/>"}) {
        PacketFramer framer(Pieces::Anywhere);
        EXPECT_TRUE(Frame(&framer, TTMLTest::TextBytes(text), 100).packets.empty());
        EXPECT_TRUE(framer.IsNotTransportStream()) << text;
    }
    PacketFramer framer(Pieces::Anywhere);
    EXPECT_TRUE(Frame(&framer, Bytes(1) + Bytes(187, 'G'), 100).packets.empty());
    EXPECT_TRUE(framer.IsNotTransportStream());
}

TEST(PacketFramer, DescribesWhatIsNoTransportStream)
{
    EXPECT_EQ(
        TTMLHost::DescribeNoTransportStream("x.bin", 70000),
        "'x.bin' is not a transport stream: no packet with sync byte 0x47 every 188, 192 or 204 bytes in its "
        "first 64 KB; check what file it is");
    EXPECT_EQ(TTMLHost::DescribeNoTransportStream("-", 500),
              "standard input is not a transport stream: no packet with sync byte 0x47 every 188, 192 or 204 "
              "bytes in its 500 bytes; check what file it is");
    EXPECT_EQ(TTMLHost::DescribeNoTransportStream("x.ts", 0),
              "Cannot read 'x.ts': it is empty; check how it was made");
}

} // namespace
