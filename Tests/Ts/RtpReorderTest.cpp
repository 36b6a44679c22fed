#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "RtpReorder.h"
#include "TsBuilder.h"

namespace {

using TTMLHost::DatagramCounters;
using TTMLHost::RtpReorder;
using TTMLTest::Bytes;
using TTMLTest::Number;
using TTMLTest::TextBytes;
using TTMLTest::operator+;

constexpr std::uint32_t kSender = 0xabcdef01;

Bytes Header(unsigned int first, unsigned int sequence, std::uint32_t sender = kSender)
{
    return Number(first, 1) + Bytes{33} + Number(sequence & 0xffffU, 2) + Number(99, 4) + Number(sender, 4);
}

// Carries one character.
Bytes Packet(unsigned int sequence, char text, std::uint32_t sender = kSender)
{
    return Header(0x80, sequence, sender) + Bytes{static_cast<unsigned char>(text)};
}

class Rtp : public testing::Test
{
protected:
    void Push(const Bytes& datagram) { reorder.Push({datagram.data(), datagram.size()}, &out); }
    std::string Text() const { return std::string(out.begin(), out.end()); }
    const DatagramCounters& Counters() const { return reorder.Counters(); }

    RtpReorder reorder;
    std::vector<unsigned char> out;
};

TEST_F(Rtp, HandsOnWhatComesInOrderAtOnce)
{
    for (unsigned int i = 0; i < 26; ++i) {
        Push(Packet(1000 + i, static_cast<char>('a' + i)));
        EXPECT_EQ(out.size(), i + 1);
    }
    EXPECT_EQ(Text(), "abcdefghijklmnopqrstuvwxyz");
    EXPECT_EQ(Counters().received, 26U);
    EXPECT_EQ(Counters().lost + Counters().duplicated + Counters().late + Counters().malformed, 0U);
}

TEST_F(Rtp, GoesOnThroughTheWrapOfTheSequence)
{
    const std::string text = "abcdefghij";
    for (const unsigned int i : {0U, 2U, 1U, 4U, 3U, 7U, 6U, 5U, 9U, 8U}) {
        Push(Packet(0xfffcU + i, text[i]));
    }
    EXPECT_EQ(Text(), text);
    EXPECT_EQ(Counters().lost + Counters().duplicated + Counters().late, 0U);
}

TEST_F(Rtp, PutsBackIntoOrder)
{
    Push(Packet(10, 'a'));
    Push(Packet(13, 'd'));
    Push(Packet(12, 'c'));
    EXPECT_EQ(Text(), "a");
    EXPECT_TRUE(reorder.IsWaiting());
    Push(Packet(11, 'b'));
    EXPECT_EQ(Text(), "abcd");
    EXPECT_FALSE(reorder.IsWaiting());
    EXPECT_EQ(Counters().lost, 0U);
}

TEST_F(Rtp, GivesUpWhatIsMissingWhenTheWindowIsFull)
{
    Push(Packet(100, 'a'));
    for (unsigned int i = 0; i < 31; ++i) {
        Push(Packet(102 + i, 'x'));
        EXPECT_EQ(Text(), "a");
    }
    Push(Packet(102 + 31, 'z'));
    EXPECT_EQ(Text(), "a" + std::string(31, 'x') + "z");
    EXPECT_EQ(Counters().lost, 1U);
}

TEST_F(Rtp, CountsEachMissingPacket)
{
    Push(Packet(100, 'a'));
    Push(Packet(105, 'b'));
    Push(Packet(108, 'c'));
    reorder.Flush(&out);
    EXPECT_EQ(Text(), "abc");
    EXPECT_EQ(Counters().lost, 6U);
    EXPECT_FALSE(reorder.IsWaiting());
}

TEST_F(Rtp, CountsRepetitionsAndHandsThemOnOnce)
{
    Push(Packet(10, 'a'));
    Push(Packet(10, 'a'));
    Push(Packet(12, 'c'));
    Push(Packet(12, 'c'));
    Push(Packet(11, 'b'));
    Push(Packet(11, 'b'));
    EXPECT_EQ(Text(), "abc");
    EXPECT_EQ(Counters().duplicated, 3U);
    EXPECT_EQ(Counters().lost, 0U);
    EXPECT_EQ(Counters().late, 0U);
}

TEST_F(Rtp, TellsLatePacketsFromRepetitions)
{
    Push(Packet(10, 'a'));
    Push(Packet(12, 'c'));
    reorder.Flush(&out);
    Push(Packet(11, 'b'));
    EXPECT_EQ(Text(), "ac");
    EXPECT_EQ(Counters().lost, 1U);
    EXPECT_EQ(Counters().late, 1U);
    EXPECT_EQ(Counters().duplicated, 0U);
}

TEST_F(Rtp, TakesALongOutageForALoss)
{
    Push(Packet(10, 'a'));
    Push(Packet(2010, 'b'));
    EXPECT_EQ(Text(), "ab");
    EXPECT_EQ(Counters().lost, 1999U);
}

TEST_F(Rtp, BeginsAnewWithAnotherSender)
{
    Push(Packet(10, 'a'));
    Push(Packet(12, 'c'));
    Push(Packet(500, 'd', 77));
    Push(Packet(501, 'e', 77));
    EXPECT_EQ(Text(), "acde");
    EXPECT_EQ(Counters().lost, 1U);
}

TEST_F(Rtp, BeginsAnewWhereTheSequenceDoes)
{
    Push(Packet(20000, 'a'));
    Push(Packet(5, 'b'));
    Push(Packet(6, 'c'));
    Push(Packet(30000, 'd'));
    EXPECT_EQ(Text(), "abcd");
    EXPECT_EQ(Counters().lost, 0U);
}

TEST_F(Rtp, SkipsContributorsAndExtension)
{
    for (unsigned int contributors = 0; contributors < 16; ++contributors) {
        for (unsigned int words = 0; words < 4; ++words) {
            out.clear();
            RtpReorder one;
            const Bytes datagram = Header(0x90 | contributors, 1) + Bytes(contributors * 4, 0x11) +
                                   Number(7, 2) + Number(words, 2) + Bytes(words * 4, 0x22) +
                                   TextBytes("payload");
            one.Push({datagram.data(), datagram.size()}, &out);
            EXPECT_EQ(Text(), "payload");
        }
    }
}

TEST_F(Rtp, LeavesOutPadding)
{
    for (unsigned int padding = 1; padding < 30; ++padding) {
        out.clear();
        RtpReorder one;
        const Bytes datagram =
            Header(0xa0, 1) + TextBytes("payload") + Bytes(padding - 1) + Number(padding, 1);
        one.Push({datagram.data(), datagram.size()}, &out);
        EXPECT_EQ(Text(), "payload");
    }
}

TEST_F(Rtp, CountsWhatIsNoRtp)
{
    unsigned int bad = 0;
    const auto expectBad = [&](const Bytes& datagram) {
        Push(datagram);
        EXPECT_EQ(Counters().malformed, ++bad);
        EXPECT_TRUE(out.empty());
    };
    const Bytes whole = Packet(1, 'a');
    for (std::size_t size = 0; size < 12; ++size) {
        expectBad(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
    }
    expectBad(Header(0x47, 1) + Bytes(176));                             // version 1
    expectBad(Header(0x8f, 1) + Bytes(59));                              // contributors
    expectBad(Header(0x90, 1) + Bytes(3));                               // extension header
    expectBad(Header(0x90, 1) + Number(0, 2) + Number(2, 2) + Bytes(7)); // extension
    expectBad(Header(0xa0, 1) + Bytes{0});                               // padding of 0
    expectBad(Header(0xa0, 1) + Bytes{3});                               // into the header
    expectBad(Header(0xa0, 1) + Bytes{200});                             // beyond the start
    EXPECT_EQ(Counters().received, bad);
}

TEST_F(Rtp, TakesPacketsWithoutPayload)
{
    Push(Packet(1, 'a'));
    Push(Header(0x80, 2));
    Push(Packet(3, 'b'));
    EXPECT_EQ(Text(), "ab");
    EXPECT_EQ(Counters().lost + Counters().malformed, 0U);
}

TEST_F(Rtp, DeliversAllOfAShuffledStreamInOrder)
{
    unsigned int state = 7;
    std::string expected;
    std::vector<unsigned int> window;
    unsigned int next = 65000;
    const auto sendOne = [&] {
        state = state * 1103515245U + 12345U;
        const std::size_t index = (state >> 16) % window.size();
        const unsigned int sequence = window[index];
        window.erase(window.begin() + static_cast<std::ptrdiff_t>(index));
        Push(Packet(sequence, static_cast<char>('a' + sequence % 26)));
    };
    Push(Packet(next, static_cast<char>('a' + next % 26)));
    expected += static_cast<char>('a' + next % 26);
    // Ten at a time in any order: never further apart than the window.
    for (int round = 0; round < 500; ++round) {
        for (int i = 0; i < 10; ++i) {
            window.push_back(++next);
            expected += static_cast<char>('a' + next % 26);
        }
        while (!window.empty()) {
            sendOne();
        }
    }
    EXPECT_EQ(Text(), expected);
    EXPECT_EQ(Counters().lost, 0U);
}

} // namespace
