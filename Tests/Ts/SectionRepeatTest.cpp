// Tables that are sent again and again, which the reader need not take apart each time.

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "StreamRecorder.h"
#include "TsBuilder.h"

namespace {

using TTMLTest::Bytes;
using TTMLTest::Filling;
using TTMLTest::Notes;
using TTMLTest::PatSection;
using TTMLTest::PidWriter;
using TTMLTest::PmtSection;
using TTMLTest::StreamRecorder;
using TTMLTest::operator+;

constexpr int kPmtPid = 0x100;
constexpr std::size_t kPayload = 184;

// The PMT of service 1, over three packets unless a larger size of its descriptors is given.
Bytes LongPmt(int version, std::size_t size = 400)
{
    return PmtSection(1, version, 0x101, {{0x06, 0x102, Filling(size)}});
}

// What begins with a pointer, in payloads.
std::vector<Bytes> Payloads(Bytes all)
{
    all.resize((all.size() + kPayload - 1) / kPayload * kPayload, 0xff);
    std::vector<Bytes> payloads;
    for (std::size_t at = 0; at < all.size(); at += kPayload) {
        const auto begin = all.begin() + static_cast<std::ptrdiff_t>(at);
        payloads.emplace_back(begin, begin + kPayload);
    }
    return payloads;
}

std::vector<Bytes> LongPayloads(int version)
{
    return Payloads(Bytes{0} + LongPmt(version));
}

Bytes ShortPayload(const Bytes& sections)
{
    Bytes payload = Bytes{0} + sections;
    payload.resize(kPayload, 0xff);
    return payload;
}

Bytes ShortPmt(int service, int version)
{
    return PmtSection(service, version, 0x101, {});
}

Bytes Damaged(Bytes section)
{
    section.back() ^= 1;
    return section;
}

class SectionRepeat : public testing::Test
{
protected:
    SectionRepeat() { recorder.Push(pat.Sections(PatSection(0, {{1, kPmtPid}, {2, kPmtPid}}))); }

    void SendPmt(const Bytes& section) { recorder.Push(pmt.Sections(section)); }

    StreamRecorder recorder;
    PidWriter pat{0};
    PidWriter pmt{kPmtPid};
};

TEST_F(SectionRepeat, IsToldOnce)
{
    for (int i = 0; i < 40; ++i) {
        SendPmt(ShortPmt(1, 0));
    }
    EXPECT_EQ(recorder.notes, (Notes{"pat", "pmt 1 v0"}));
}

TEST_F(SectionRepeat, OfATableThatWasAnotherInBetweenIsToldAgain)
{
    for (const int version : {0, 0, 1, 1, 0, 0}) {
        SendPmt(ShortPmt(1, version));
    }
    EXPECT_EQ(recorder.notes, (Notes{"pat", "pmt 1 v0", "pmt 1 v1", "pmt 1 v0"}));
}

// The PMT's PID is read all the time, for the other service.
TEST_F(SectionRepeat, IsToldWhenItsServiceIsListedOnlyThen)
{
    for (int version = 1; version <= 3; ++version) {
        recorder.Push(pat.Sections(version == 2 ? PatSection(version, {{1, kPmtPid}, {2, kPmtPid}})
                                                : PatSection(version, {{1, kPmtPid}})));
        SendPmt(ShortPmt(2, 0));
        SendPmt(ShortPmt(2, 0));
    }
    EXPECT_EQ(recorder.notes, (Notes{"pat", "pat", "pat", "pmt 2 v0", "pat"}));
}

TEST_F(SectionRepeat, OfTwoSectionsInOnePacketIsOfBoth)
{
    recorder.Push(pat.Sections(PatSection(1, {{1, kPmtPid}})));
    SendPmt(ShortPmt(1, 0) + ShortPmt(2, 0));
    recorder.Push(pat.Sections(PatSection(2, {{1, kPmtPid}, {2, kPmtPid}})));
    SendPmt(ShortPmt(1, 0) + ShortPmt(2, 0));
    EXPECT_EQ(recorder.notes, (Notes{"pat", "pat", "pmt 1 v0", "pat", "pmt 2 v0"}));
}

TEST_F(SectionRepeat, WithAWrongCrcIsCountedEachTime)
{
    for (int i = 0; i < 3; ++i) {
        SendPmt(ShortPmt(1, 0) + Damaged(ShortPmt(2, 0)));
        SendPmt(ShortPmt(1, 0) + Damaged(ShortPmt(2, 0)));
        SendPmt(Damaged(ShortPmt(1, 0)));
        SendPmt(Damaged(ShortPmt(1, 0)));
    }
    EXPECT_EQ(recorder.stream.Counters().badSections, 12U);
    EXPECT_EQ(recorder.notes, (Notes{"pat", "pmt 1 v0"}));
}

// After sixteen packets the counter is where it would be without them.
TEST_F(SectionRepeat, ThatBeginsALongerSectionDoesNotGoOnWithTheOneBefore)
{
    constexpr int kCounters = 16;
    const Bytes sections = ShortPmt(2, 0) + LongPmt(1, 560);
    const std::vector<Bytes> payloads = Payloads(Bytes{0} + sections);
    for (int i = 0; i <= kCounters; ++i) {
        recorder.Push(pmt.Next(payloads[0], true).Get());
    }
    for (std::size_t i = 1; i < payloads.size(); ++i) {
        recorder.Push(pmt.Next(payloads[i]).Get());
    }
    EXPECT_EQ(recorder.notes, (Notes{"pat", "pmt 2 v0"}));
    SendPmt(sections);
    EXPECT_EQ(recorder.notes, (Notes{"pat", "pmt 2 v0", "pmt 1 v1"}));
}

// The last packet of a longer section, with a short one behind it.
TEST_F(SectionRepeat, ThatEndedALongerSectionDoesNotEndItAgain)
{
    std::vector<Bytes> payloads = LongPayloads(1);
    const std::size_t tail = 1 + LongPmt(1).size() - 2 * kPayload;
    Bytes last = Bytes{static_cast<unsigned char>(tail)} +
                 Bytes(payloads[2].begin(), payloads[2].begin() + static_cast<std::ptrdiff_t>(tail)) +
                 ShortPmt(2, 0);
    last.resize(kPayload, 0xff);
    recorder.Push(pmt.Next(payloads[0], true).Get());
    recorder.Push(pmt.Next(payloads[1]).Get());
    recorder.Push(pmt.Next(last, true).Get());
    EXPECT_EQ(recorder.notes, (Notes{"pat", "pmt 1 v1", "pmt 2 v0"}));
    // The services are new ones.
    recorder.Push(pat.Sections(PatSection(1, {{3, kPmtPid}})));
    recorder.Push(pat.Sections(PatSection(2, {{1, kPmtPid}, {2, kPmtPid}})));
    recorder.Push(pmt.Next(last, true).Get());
    EXPECT_EQ(recorder.notes, (Notes{"pat", "pmt 1 v1", "pmt 2 v0", "pat", "pat", "pmt 2 v0"}));
}

// Whatever the counter is then.
TEST_F(SectionRepeat, LeavesALongerSectionWhole)
{
    for (int repeats = 0; repeats < 20; ++repeats) {
        StreamRecorder other;
        other.Push(PidWriter(0).Sections(PatSection(0, {{1, kPmtPid}})));
        PidWriter writer(kPmtPid);
        for (int i = 0; i <= repeats; ++i) {
            other.Push(writer.Sections(ShortPmt(1, 0)));
        }
        other.Push(writer.Sections(LongPmt(1)));
        EXPECT_EQ(other.notes, (Notes{"pat", "pmt 1 v0", "pmt 1 v1"})) << repeats;
    }
}

TEST_F(SectionRepeat, LeavesALongerSectionWithAGapOut)
{
    for (int repeats = 0; repeats < 20; ++repeats) {
        StreamRecorder other;
        other.Push(PidWriter(0).Sections(PatSection(0, {{1, kPmtPid}})));
        PidWriter writer(kPmtPid);
        for (int i = 0; i <= repeats; ++i) {
            other.Push(writer.Sections(ShortPmt(1, 0)));
        }
        const std::vector<Bytes> payloads = LongPayloads(1);
        other.Push(writer.Next(payloads[0], true).Get());
        writer.Skip(1);
        other.Push(writer.Next(payloads[2]).Get());
        EXPECT_EQ(other.notes, (Notes{"pat", "pmt 1 v0", "gap 256"})) << repeats;
    }
}

// The same stream twice: as it is, and with stuffing of which each packet has its own, so that none repeats
// another. What is behind the first byte of stuffing means nothing.
TEST_F(SectionRepeat, IsReadAsIfItWereNone)
{
    constexpr int kRounds = 300;
    constexpr int kSteps = 60;
    for (unsigned int round = 0; round < kRounds; ++round) {
        std::mt19937 random(round);
        const auto any = [&](std::size_t below) { return static_cast<std::size_t>(random() % below); };
        StreamRecorder repeating;
        StreamRecorder varied;
        PidWriter pats(0);
        PidWriter writer(kPmtPid);
        const auto send = [&](PidWriter* pid, const Bytes& payload, bool unitStart, int step) {
            const Bytes packet = pid->Next(payload, unitStart).Get();
            repeating.Push(packet);
            Bytes other = packet;
            if (other[other.size() - 2] == 0xff && other.back() == 0xff) {
                other.back() = static_cast<unsigned char>(step);
            }
            varied.Push(other);
        };
        send(&pats, ShortPayload(PatSection(0, {{1, kPmtPid}, {2, kPmtPid}})), true, 0);
        const Bytes choices[] = {ShortPayload(ShortPmt(1, 0)),
                                 ShortPayload(ShortPmt(1, 1)),
                                 ShortPayload(ShortPmt(2, 0)),
                                 ShortPayload(ShortPmt(1, 0) + ShortPmt(2, 1)),
                                 ShortPayload(Damaged(ShortPmt(1, 0))),
                                 ShortPayload(ShortPmt(1, 0) + Damaged(ShortPmt(2, 1))),
                                 LongPayloads(2)[0],
                                 LongPayloads(2)[1],
                                 LongPayloads(2)[2]};
        std::size_t last = 0;
        for (int step = 1; step <= kSteps; ++step) {
            writer.Skip(any(8) == 0 ? static_cast<int>(any(15)) : 0);
            // Often the same once more, or the next one, as the packets of a longer section come.
            const std::size_t choice = any(4);
            last = choice < 2    ? last
                   : choice == 2 ? (last + 1) % std::size(choices)
                                 : any(std::size(choices));
            constexpr std::size_t kFirstWithoutStart = 7;
            send(&writer, choices[last], last < kFirstWithoutStart, step);
        }
        ASSERT_EQ(repeating.notes, varied.notes) << round;
        ASSERT_EQ(repeating.stream.Counters().badSections, varied.stream.Counters().badSections) << round;
    }
}

} // namespace
