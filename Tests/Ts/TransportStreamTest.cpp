#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "StreamRecorder.h"
#include "TsBuilder.h"

namespace {

using TTMLHost::TransportCounters;
using TTMLTest::Bytes;
using TTMLTest::Filling;
using TTMLTest::Joined;
using TTMLTest::Notes;
using TTMLTest::PidWriter;
using TTMLTest::StreamRecorder;
using TTMLTest::TsPacket;
using TTMLTest::TsPes;
using TTMLTest::operator+;

constexpr int kPid = 300;
constexpr int kOther = 301;
using Packets = std::vector<Bytes>;

// A stream with one component that is watched.
class PesStream : public testing::Test
{
protected:
    PesStream() { recorder.stream.WatchPes(kPid, true); }

    TransportCounters Counters() const { return recorder.stream.Counters(); }
    static Bytes Pes(std::size_t size, unsigned int seed = 0)
    {
        return TsPes().Pts(seed).Data(Filling(size, seed)).Get();
    }

    StreamRecorder recorder;
    PidWriter writer{kPid, 5};
};

TEST_F(PesStream, DeliversPacketsAsBroadcastWithTheirTime)
{
    const Bytes first = Pes(600, 1);
    const Bytes second = Pes(20, 2);
    recorder.Push(Joined({Joined(writer.Unit(first)), Joined(writer.Unit(second))}));
    EXPECT_EQ(recorder.PesPackets(), (Packets{first, second}));
    EXPECT_EQ(recorder.pes[0].pid, kPid);
    EXPECT_EQ(recorder.pes[0].pts, 1U);
    EXPECT_EQ(recorder.pes[1].pts, 2U);
    EXPECT_EQ(Counters().pesCompleted, 2U);
    EXPECT_EQ(Counters().pesDropped, 0U);
    EXPECT_EQ(Counters().packets, 5U);
    EXPECT_EQ(Counters().continuityErrors, 0U);
}

TEST_F(PesStream, PassesOverOtherPids)
{
    PidWriter other(kOther);
    recorder.Push(Joined({Joined(other.Unit(Pes(600))), TsPacket(0x1fff).Payload(Filling(184)).Get()}));
    EXPECT_TRUE(recorder.notes.empty());
    EXPECT_EQ(Counters().packets, 5U);
}

TEST_F(PesStream, ReadsPacketsAtAnyDistance)
{
    const Bytes pes = Pes(600);
    const Bytes spread = TTMLTest::WithPacketSize(Joined(writer.Unit(pes)), 204);
    recorder.stream.Push(spread.data(), 4, 204);
    EXPECT_EQ(recorder.PesPackets(), Packets{pes});
}

TEST_F(PesStream, DropsAPacketWhereAnyOfItsTransportPacketsIsMissing)
{
    const Bytes pes = Pes(900);
    const Bytes before = Pes(10, 1);
    const Bytes after = Pes(10, 2);
    for (std::size_t missing = 0; missing < 5; ++missing) {
        StreamRecorder stream;
        stream.stream.WatchPes(kPid, true);
        PidWriter packets(kPid);
        stream.Push(Joined(packets.Unit(before)));
        std::vector<Bytes> unit = packets.Unit(pes);
        ASSERT_EQ(unit.size(), 5U);
        unit.erase(unit.begin() + static_cast<std::ptrdiff_t>(missing));
        stream.Push(Joined({Joined(unit), Joined(packets.Unit(after))}));
        EXPECT_EQ(stream.PesPackets(), (Packets{before, after})) << missing;
        EXPECT_EQ(stream.notes, (Notes{"pes 300", "gap 300",
                                       missing == 0 ? "dropped 300: its start is missing"
                                                    : "dropped 300: a transport packet is missing in it",
                                       "pes 300"}))
            << missing;
        EXPECT_EQ(stream.stream.Counters().pesDropped, 1U);
        EXPECT_EQ(stream.stream.Counters().continuityErrors, 1U);
    }
}

TEST_F(PesStream, DropsAPacketOnceHoweverManyGapsItHas)
{
    std::vector<Bytes> unit = writer.Unit(Pes(1500));
    const Bytes next = Pes(10, 1);
    recorder.Push(Joined({unit[0], unit[2], unit[4], unit[6], Joined(writer.Unit(next))}));
    EXPECT_EQ(recorder.PesPackets(), Packets{next});
    EXPECT_EQ(Counters().pesDropped, 1U);
    EXPECT_EQ(Counters().continuityErrors, 4U);
}

TEST_F(PesStream, SaysNothingOfAPacketThatWasUnderWayBefore)
{
    const std::vector<Bytes> unit = writer.Unit(Pes(900));
    const Bytes next = Pes(10, 1);
    recorder.Push(Joined({unit[1], unit[3], Joined(writer.Unit(next))}));
    EXPECT_EQ(recorder.PesPackets(), Packets{next});
    EXPECT_EQ(Counters().pesDropped, 0U);
}

TEST_F(PesStream, TakesRepeatedTransportPacketsOnce)
{
    const Bytes pes = Pes(900);
    for (const Bytes& packet : writer.Unit(pes)) {
        recorder.Push(packet + packet);
    }
    EXPECT_EQ(recorder.notes, Notes{"pes 300"});
    EXPECT_EQ(recorder.PesPackets(), Packets{pes});
    EXPECT_EQ(Counters().continuityErrors, 0U);
}

TEST_F(PesStream, DropsAPacketWhereATransportPacketComesThreeTimes)
{
    const std::vector<Bytes> unit = writer.Unit(Pes(400));
    recorder.Push(unit[0] + unit[1] + unit[1] + unit[1] + unit[2]);
    EXPECT_EQ(recorder.notes, (Notes{"gap 300", "dropped 300: a transport packet is missing in it"}));
}

TEST_F(PesStream, DropsAPacketWithATransportErrorAndCountsNoGap)
{
    const std::vector<Bytes> unit = writer.Unit(Pes(400));
    Bytes damaged = unit[1];
    damaged[1] |= 0x80;
    const Bytes next = Pes(10, 1);
    recorder.Push(Joined({unit[0], damaged, unit[2], Joined(writer.Unit(next))}));
    EXPECT_EQ(recorder.notes, (Notes{"dropped 300: a transport packet in it is damaged", "pes 300"}));
    EXPECT_EQ(recorder.PesPackets(), Packets{next});
    EXPECT_EQ(Counters().transportErrors, 1U);
    EXPECT_EQ(Counters().continuityErrors, 0U);
    EXPECT_EQ(Counters().pesDropped, 1U);
}

TEST_F(PesStream, CountsTransportErrorsOfAllPids)
{
    recorder.Push(TsPacket(kOther).TransportError().Payload(Filling(184)).Get() +
                  TsPacket(0x1fff).TransportError().Payload(Filling(184)).Get());
    EXPECT_EQ(Counters().transportErrors, 2U);
    EXPECT_TRUE(recorder.notes.empty());
}

TEST_F(PesStream, DropsAPacketWhoseAdaptationFieldLiesAboutItsLength)
{
    for (int length = 184; length < 256; ++length) {
        StreamRecorder stream;
        stream.stream.WatchPes(kPid, true);
        PidWriter packets(kPid);
        const Bytes pes = Pes(400);
        const std::vector<Bytes> unit = packets.Unit(pes, 150);
        Bytes lying = unit[1];
        lying[4] = static_cast<unsigned char>(length);
        stream.Push(Joined({unit[0], lying, unit[2], Joined(packets.Unit(pes))}));
        EXPECT_EQ(stream.PesPackets(), Packets{pes}) << length;
        EXPECT_EQ(stream.stream.Counters().transportErrors, 1U);
        EXPECT_EQ(stream.stream.Counters().pesDropped, 1U);
    }
}

TEST_F(PesStream, SkipsPacketsWithoutPayload)
{
    const Bytes pes = Pes(600);
    const std::vector<Bytes> unit = writer.Unit(pes);
    const Bytes empty = TsPacket(kPid).Counter(5).Pcr(1).Get();
    recorder.Push(unit[0] + empty + unit[1] + empty + empty + unit[2] + unit[3]);
    EXPECT_EQ(recorder.PesPackets(), Packets{pes});
    EXPECT_EQ(Counters().continuityErrors, 0U);
}

TEST_F(PesStream, DropsAPacketThatAnAnnouncedDiscontinuityBreaksOff)
{
    const std::vector<Bytes> unit = writer.Unit(Pes(400));
    writer.Skip(4);
    const Bytes next = Pes(300, 1);
    PidWriter jumped(kPid, 2);
    const Bytes go = jumped.Next(Filling(100)).Discontinuity().Get();
    recorder.Push(Joined({unit[0], go, Joined(jumped.Unit(next))}));
    EXPECT_EQ(recorder.notes, (Notes{"dropped 300: the stream breaks off in it", "pes 300"}));
    EXPECT_EQ(Counters().continuityErrors, 0U);
}

TEST_F(PesStream, GoesOnBehindAnAnnouncedDiscontinuity)
{
    const Bytes first = TsPes().Unbounded().Data(Filling(200)).Get();
    const Bytes second = Pes(100, 1);
    const Bytes start = Joined(writer.Unit(first));
    PidWriter jumped(kPid, 1);
    recorder.Push(Joined({start, jumped.Next(second, true).Discontinuity().Get()}));
    EXPECT_EQ(recorder.PesPackets(), (Packets{first, second}));
    EXPECT_EQ(Counters().continuityErrors, 0U);
}

TEST_F(PesStream, DropsAPacketThatHoldsLessThanItAnnounces)
{
    const Bytes next = Pes(10, 1);
    recorder.Push(Joined(
        {Joined(writer.Unit(TsPes().Data(Filling(491)).Announcing(994).Get())), Joined(writer.Unit(next))}));
    EXPECT_EQ(recorder.notes, (Notes{"dropped 300: it announces 1000 bytes and holds 500", "pes 300"}));
    EXPECT_EQ(Counters().pesDropped, 1U);
}

TEST_F(PesStream, CompletesAPacketOfUnknownLengthAtTheEnd)
{
    const Bytes pes = TsPes().Pts(3).Unbounded().Data(Filling(1000)).Get();
    recorder.Push(Joined(writer.Unit(pes)));
    EXPECT_TRUE(recorder.notes.empty());
    recorder.stream.Flush();
    EXPECT_EQ(recorder.PesPackets(), Packets{pes});
    EXPECT_EQ(recorder.pes[0].pts, 3U);
}

TEST_F(PesStream, DropsAnIncompletePacketAtTheEnd)
{
    recorder.Push(writer.Unit(Pes(1000))[0]);
    recorder.stream.Flush();
    EXPECT_EQ(recorder.notes, Notes{"dropped 300: the input ends in it"});
}

TEST_F(PesStream, TellsOfScramblingOnceUntilItIsClearAgain)
{
    const Bytes pes = Pes(100);
    const auto scrambled = [&] { return writer.Next(Filling(184), true).Scrambled().Get(); };
    recorder.Push(
        Joined({scrambled(), scrambled(), scrambled(), Joined(writer.Unit(pes)), scrambled(), scrambled()}));
    EXPECT_EQ(recorder.notes, (Notes{"scrambled 300", "pes 300", "scrambled 300"}));
    EXPECT_EQ(Counters().scrambledPackets, 5U);
    EXPECT_EQ(Counters().pesDropped, 0U);
    EXPECT_EQ(Counters().continuityErrors, 0U);
}

TEST_F(PesStream, DropsAPacketThatBecomesScrambled)
{
    std::vector<Bytes> unit = writer.Unit(Pes(400));
    unit[1][3] |= 0x80;
    recorder.Push(Joined(unit));
    EXPECT_EQ(recorder.notes, (Notes{"scrambled 300", "dropped 300: it is scrambled"}));
}

TEST_F(PesStream, DropsAPacketThatSaysItselfThatItIsScrambled)
{
    const Bytes pes = TsPes().Scrambled().Data(Filling(100)).Get();
    recorder.Push(Joined({Joined(writer.Unit(pes)), Joined(writer.Unit(pes))}));
    EXPECT_EQ(recorder.notes,
              (Notes{"scrambled 300", "dropped 300: it is scrambled", "dropped 300: it is scrambled"}));
    EXPECT_EQ(Counters().pesDropped, 2U);
    EXPECT_EQ(Counters().pesCompleted, 0U);
}

TEST_F(PesStream, BelievesADoubtfulTransportPacketOnlyWithARightCrc)
{
    const Bytes proven = TsPes().Data(Filling(50)).WithCrc().Get();
    const Bytes first = Joined(writer.Unit(proven));
    recorder.stream.Push({first.data(), 1, 188, true});
    const Bytes second = Joined(writer.Unit(Pes(50)));
    recorder.stream.Push({second.data(), 1, 188, true});
    EXPECT_EQ(recorder.notes, (Notes{"pes 300", "dropped 300: other data lies in it"}));
    EXPECT_EQ(Counters().packets, 2U);
}

TEST_F(PesStream, DoubtsOnlyTheLastOfABatch)
{
    const Bytes pes = Pes(50);
    const Bytes all = Joined({Joined(writer.Unit(pes)), Joined(writer.Unit(pes)), Joined(writer.Unit(pes))});
    recorder.stream.Push({all.data(), 3, 188, true});
    EXPECT_EQ(recorder.PesPackets(), (Packets{pes, pes}));
    EXPECT_EQ(Counters().packets, 3U);
}

TEST_F(PesStream, LetsTheListenerTakeThePacket)
{
    class Taker : public TTMLHost::TransportListener
    {
    public:
        void OnPes(int /*pid*/, std::vector<unsigned char>& packet,
                   std::optional<std::uint64_t> /*pts*/) override
        {
            taken.push_back(std::move(packet));
        }
        std::vector<Bytes> taken;
    };
    Taker taker;
    TTMLHost::TransportStream stream(taker);
    stream.WatchPes(kPid, true);
    for (unsigned int i = 0; i < 3; ++i) {
        const Bytes packets = Joined(writer.Unit(Pes(500, i)));
        stream.Push(packets.data(), packets.size() / 188, 188);
    }
    EXPECT_EQ(taker.taken, (Packets{Pes(500, 0), Pes(500, 1), Pes(500, 2)}));
}

TEST_F(PesStream, EndsWhenTheListenerEndsItInACall)
{
    recorder.onNote = [&](const std::string& note) {
        if (note == "pes 300") {
            recorder.stream.WatchPes(kPid, false);
        }
    };
    const Bytes first = TsPes().Unbounded().Data(Filling(100)).Get();
    // The packet that completes the first one holds a second one whole.
    recorder.Push(
        Joined({Joined(writer.Unit(first)), Joined(writer.Unit(Pes(50))), Joined(writer.Unit(Pes(50)))}));
    EXPECT_EQ(recorder.PesPackets(), Packets{first});
    EXPECT_EQ(Counters().pesCompleted, 1U);
}

TEST_F(PesStream, BeginsAnewWhenTheListenerBeginsItAgainInACall)
{
    recorder.onNote = [&](const std::string& note) {
        if (note == "gap 300") {
            recorder.stream.WatchPes(kPid, false);
            recorder.stream.WatchPes(kPid, true);
        }
    };
    const std::vector<Bytes> unit = writer.Unit(Pes(400));
    writer.Skip(1);
    const Bytes next = Pes(20, 1);
    recorder.Push(Joined({unit[0], Joined(writer.Unit(Pes(30))), Joined(writer.Unit(next))}));
    // The packet after the gap was the old watch's.
    EXPECT_EQ(recorder.notes, (Notes{"gap 300", "pes 300"}));
    EXPECT_EQ(recorder.PesPackets(), Packets{next});
}

TEST_F(PesStream, BeginsOtherComponentsInACall)
{
    recorder.onNote = [&](const std::string& note) {
        recorder.stream.WatchPes(note == "pes 300" ? kOther : kPid, true);
        recorder.stream.WatchPes(note == "pes 300" ? kPid : kOther, false);
    };
    PidWriter other(kOther);
    Notes expected;
    for (int i = 0; i < 50; ++i) {
        recorder.Push(Joined({Joined(writer.Unit(Pes(300))), Joined(other.Unit(Pes(300)))}));
        expected.insert(expected.end(), {"pes 300", "pes 301"});
    }
    EXPECT_EQ(recorder.notes, expected);
}

TEST_F(PesStream, SaysNothingOfWhatWasUnderWayWhenItEnds)
{
    recorder.Push(writer.Unit(Pes(400))[0]);
    recorder.stream.WatchPes(kPid, false);
    recorder.stream.Flush();
    EXPECT_TRUE(recorder.notes.empty());
}

TEST_F(PesStream, IgnoresPidsThatCannotBe)
{
    for (const int pid : {-1, 8191, 8192, 1000000}) {
        recorder.stream.WatchPes(pid, true);
        recorder.stream.WatchPcr(pid, true);
        recorder.stream.CountPes(pid, true);
        recorder.stream.WatchPes(pid, false);
    }
    EXPECT_EQ(recorder.stream.PesStarts(-1), 0U);
}

TEST(TransportStream, TellsTheClockReferencesOfWatchedPids)
{
    StreamRecorder recorder;
    recorder.stream.WatchPcr(kPid, true);
    recorder.Push(TsPacket(kPid).Pcr(123456789).Payload(Filling(50)).Get() +
                  TsPacket(kOther).Pcr(5).Payload(Filling(50)).Get() +
                  TsPacket(kPid).Payload(Filling(184)).Get() + TsPacket(kPid).Payload(Filling(50)).Get() +
                  TsPacket(kPid).Pcr(7).Discontinuity().Get());
    ASSERT_EQ(recorder.pcrs.size(), 2U);
    EXPECT_EQ(recorder.pcrs[0].pid, kPid);
    EXPECT_EQ(recorder.pcrs[0].pcr, 123456789U);
    EXPECT_FALSE(recorder.pcrs[0].discontinuity);
    EXPECT_EQ(recorder.pcrs[1].pcr, 7U);
    EXPECT_TRUE(recorder.pcrs[1].discontinuity);
    // Gaps of a PID that is watched for its clock alone are nobody's loss.
    EXPECT_EQ(recorder.stream.Counters().continuityErrors, 0U);
}

TEST(TransportStream, TellsTheClockReferenceBeforeThePacketThatItCameWith)
{
    StreamRecorder recorder;
    recorder.stream.WatchPcr(kPid, true);
    recorder.stream.WatchPes(kPid, true);
    recorder.Push(TsPacket(kPid).UnitStart().Pcr(9).Payload(TsPes().Data(Filling(50)).Get()).Get());
    EXPECT_EQ(recorder.notes, (Notes{"pcr 300", "pes 300"}));
}

TEST(TransportStream, TellsNoClockReferenceOfDamagedOrDoubtfulPackets)
{
    StreamRecorder recorder;
    recorder.stream.WatchPcr(kPid, true);
    const Bytes damaged = TsPacket(kPid).TransportError().Pcr(9).Get();
    recorder.Push(damaged);
    const Bytes doubtful = TsPacket(kPid).Pcr(9).Get();
    recorder.stream.Push({doubtful.data(), 1, 188, true});
    EXPECT_TRUE(recorder.pcrs.empty());
}

TEST(TransportStream, EndsToTellClockReferences)
{
    StreamRecorder recorder;
    recorder.stream.WatchPcr(kPid, true);
    recorder.onNote = [&](const std::string&) { recorder.stream.WatchPcr(kPid, false); };
    recorder.Push(TsPacket(kPid).Pcr(1).Get() + TsPacket(kPid).Pcr(2).Get());
    EXPECT_EQ(recorder.pcrs.size(), 1U);
}

TEST(TransportStream, CountsTheStartsOfPesPackets)
{
    StreamRecorder recorder;
    recorder.stream.CountPes(kPid, true);
    PidWriter writer(kPid);
    const Bytes pes = TsPes().Data(Filling(400)).Get();
    recorder.Push(Joined(
        {Joined(writer.Unit(pes)), Joined(writer.Unit(pes)), writer.Next(Filling(184, 3), true).Get()}));
    EXPECT_EQ(recorder.stream.PesStarts(kPid), 2U);
    EXPECT_TRUE(recorder.notes.empty());
    recorder.stream.CountPes(kPid, false);
    recorder.Push(Joined(writer.Unit(pes)));
    EXPECT_EQ(recorder.stream.PesStarts(kPid), 2U);
}

TEST(TransportStream, SurvivesRandomPackets)
{
    StreamRecorder recorder;
    recorder.stream.WatchPes(kPid, true);
    recorder.stream.WatchPcr(kPid, true);
    for (unsigned int round = 0; round < 20000; ++round) {
        Bytes packet = Filling(188, round);
        packet[0] = 0x47;
        const int pids[] = {0, 0x11, 0x12, kPid, kPid, 0x100};
        const int pid = pids[round % 6];
        packet[1] = static_cast<unsigned char>((packet[1] & (round % 5 == 0 ? 0xe0 : 0x60)) | pid >> 8);
        packet[2] = static_cast<unsigned char>(pid);
        recorder.Push(packet);
    }
    recorder.stream.Flush();
    EXPECT_EQ(recorder.stream.Counters().packets, 20000U);
    EXPECT_GT(recorder.stream.Counters().continuityErrors, 0U);
}

} // namespace
