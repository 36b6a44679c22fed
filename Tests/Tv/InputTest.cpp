#include <chrono>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "TvFixture.h"

namespace {

using namespace TTMLTest;
using Texts = std::vector<std::string>;

// What is wrong with an input, and what is said of it.
class BadInput : public TvTest
{
protected:
    std::string Name() const { return "'" + m_folder.Path("stream.ts") + "'"; }
    Texts Warnings() const { return m_recorder.EventsLike("warning"); }
    std::string PlayBytes(const std::string& bytes) { return Play(FastInput(File(bytes))); }
};

TEST_F(BadInput, AFileThatIsNotThereCannotBeOpened)
{
    EXPECT_EQ(TvOpenError(FastInput("/nowhere.ts")),
              "Cannot open '/nowhere.ts': No such file or directory; check the path");
}

TEST_F(BadInput, NoTransportStream)
{
    const std::string error = PlayBytes(std::string(300, 'x'));
    EXPECT_EQ(error, Name() +
                         " is not a transport stream: no packet with sync byte 0x47 every 188, 192 or 204 "
                         "bytes in its 300 bytes; check what file it is");
    EXPECT_EQ(m_recorder.Events(), (Texts{"signal 59", "told 59", "end: " + error}));
}

TEST_F(BadInput, NoTransportStreamIsSeenEarly)
{
    const std::string error = PlayBytes(std::string(5000000, 'x'));
    EXPECT_EQ(error, Name() +
                         " is not a transport stream: no packet with sync byte 0x47 every 188, 192 or 204 "
                         "bytes in its first 64 KB; check what file it is");
}

TEST_F(BadInput, NoAssociationTableWithinFiveSeconds)
{
    TestStream stream;
    for (std::uint64_t second = 0; second < 8; ++second) {
        stream.Pcr(kVideo1, second * kSecond).Video(kVideo1, 10);
    }
    EXPECT_EQ(PlayFast(stream), "Cannot tune in " + Name() +
                                    ": no program association table (PAT) came within 5 s; give a transport "
                                    "stream with its tables");
    EXPECT_EQ(m_statistics.packets, 55U) << "the rest is not read";
}

TEST_F(BadInput, NoAssociationTableInAShortFile)
{
    TestStream stream;
    stream.Pcr(kVideo1, 0).Video(kVideo1, 10).Pcr(kVideo1, kSecond);
    EXPECT_EQ(PlayFast(stream),
              "Cannot tune in " + Name() +
                  ": it has no program association table (PAT); give a transport stream with "
                  "its tables");
}

TEST_F(BadInput, NoSuchServiceById)
{
    EXPECT_EQ(PlayFast(Seconds(1), "77"),
              "Cannot tune to service '77' of " + Name() +
                  ": there is no such service; choose one of 1 \"One\", 2 \"Two\"");
}

TEST_F(BadInput, NoSuchServiceByName)
{
    EXPECT_EQ(PlayFast(Seconds(1), "Three"),
              "Cannot tune to service 'Three' of " + Name() +
                  ": there is no such service; choose one of 1 \"One\", 2 \"Two\"");
}

TEST_F(BadInput, AServiceByNameInAStreamWithoutNames)
{
    TestStream stream;
    stream.Pat({{1, kMap1}}).Pmt(Map1());
    for (std::uint64_t second = 0; second < 8; ++second) {
        stream.Pcr(kVideo1, second * kSecond);
    }
    EXPECT_EQ(PlayFast(stream, "One"),
              "Cannot tune to service 'One' of " + Name() + ": there is no such service; choose one of 1");
}

TEST_F(BadInput, AServiceWithoutMapOrClock)
{
    TestStream noMap;
    noMap.Pat({{1, kMap1}}).Sdt({{1, "One"}}).Video(kVideo1, 20);
    EXPECT_EQ(PlayFast(noMap, "1"),
              "Cannot tune to service 1 \"One\" of " + Name() +
                  ": its program map table (PMT) does not come; give a transport stream "
                  "with its tables");
    m_recorder.Clear();
    TestStream noClock;
    noClock.Pat({{1, kMap1}}).Pmt(Map1()).Pes(kDeu, Subtitle(1));
    EXPECT_EQ(PlayFast(noClock),
              "Cannot tune to service 1 of " + Name() +
                  ": its clock reference (PCR) does not come; give a transport stream with "
                  "the PCR component of the service");
    EXPECT_EQ(m_recorder.EventsLike("signal"), Texts{"signal 59"});
}

TEST_F(BadInput, NoTtmlInTheService)
{
    TestStream stream;
    stream.Pat({{3, 768}, {2, kMap2}}).Sdt({{3, "Radio"}, {2, "Two"}}).Pmt(Map2());
    stream.Pmt(Map(3).Pid(768).Pcr(kVideo1).Video(kVideo1).Video(kMap1));
    AddSecond(&stream, 0);
    EXPECT_EQ(
        PlayFast(stream, "Radio"),
        "Cannot play subtitles of service 3 \"Radio\" of " + Name() +
            ": it has no TTML, only video (H.264), video (H.264); choose a service that has them: 2 \"Two\"");
    EXPECT_EQ(m_recorder.EventsLike("signal"), (Texts{"signal 59", "signal 60"}));
    EXPECT_EQ(Warnings(), Texts());
}

TEST_F(BadInput, NoTtmlInAnyService)
{
    TestStream stream;
    stream.Pat({{3, 768}, {4, 800}}).Sdt({{3, "Radio"}}).Pmt(Map(3).Pid(768).Pcr(kVideo1).Video(kVideo1));
    AddSecond(&stream, 0);
    EXPECT_EQ(PlayFast(stream), "Cannot play subtitles of " + Name() +
                                    ": no service has TTML (3 \"Radio\": video (H.264); 4: nothing); give a "
                                    "stream with TTML subtitles");
    EXPECT_EQ(m_recorder.EventsLike("signal"), Texts{"signal 59"});
}

TEST_F(BadInput, ScrambledSubtitlesAreReportedOnce)
{
    TestStream stream = BothServices();
    stream.Pcr(kVideo1, 0).Pes(kDeu, Subtitle(1), true).Pes(kDeu, Subtitle(2)).Pes(kDeu, Subtitle(3), true);
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(m_recorder.EventsLike("pes"), Texts{"pes 258 at 2"});
    EXPECT_EQ(Warnings(),
              Texts{"warning: The subtitles of service 1 \"One\" of " + Name() +
                    " (PID 258) are scrambled and left out, the first of them before packet 7; give a "
                    "descrambled stream"});
    EXPECT_EQ(m_statistics.scrambledPackets, 2U);
}

TEST_F(BadInput, ALastPacketThatIsCutOffIsReported)
{
    TestStream stream = Seconds(1);
    stream.Video(kVideo1, 4);
    EXPECT_EQ(PlayBytes(stream.CutBy(88)), "");
    EXPECT_EQ(Warnings(),
              Texts{"warning: The last packet of " + Name() +
                    " is cut off after 100 of 188 bytes and left out; check whether the recording is "
                    "complete"});
    EXPECT_EQ(m_recorder.EventsLike("pes").size(), 1U);
    EXPECT_EQ(m_statistics.packets, stream.Packets() - 1);
}

TEST_F(BadInput, GarbageBetweenPacketsIsSkipped)
{
    TestStream stream = Seconds(1);
    stream.Video(kVideo1, 10).Garbage(std::string(1000, 'x')).Video(kVideo1, 10);
    AddSecond(&stream, 20 * kSecond);
    stream.Garbage(std::string(77, 'y')).Video(kVideo1, 10);
    AddSecond(&stream, 21 * kSecond);
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(m_recorder.EventsLike("pes").size(), 3U);
    EXPECT_EQ(Warnings().size(), 1U);
    EXPECT_EQ(m_statistics.resynchronisations, 2U);
}

TEST_F(BadInput, ADamagedPacketIsLeftOutAndReportedOnce)
{
    const PesBytes longPacket = Pes().Pts(9).Segment(kPlain, std::string(400, 'x')).Crc().Bytes();
    const PesBytes firstHalf(longPacket.begin(), longPacket.begin() + 184);
    const PesBytes lastPart(longPacket.begin() + 368, longPacket.end());
    TestStream stream = BothServices();
    stream.Pcr(kVideo1, 0).Pes(kDeu, Subtitle(1));
    for (int round = 0; round < 2; ++round) {
        // Its second packet is missing.
        stream.Pes(kDeu, firstHalf).Lose(kDeu).Rest(kDeu, lastPart);
    }
    stream.Pes(kDeu, Subtitle(2));
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(m_recorder.EventsLike("pes"), (Texts{"pes 258 at 1", "pes 258 at 2"}));
    EXPECT_EQ(m_statistics.pesDropped, 2U);
    EXPECT_EQ(m_statistics.continuityErrors, 2U);
    ASSERT_EQ(Warnings().size(), 1U);
    EXPECT_EQ(Warnings()[0],
              "warning: A subtitle packet of " + Name() +
                  " (PID 258) is left out before packet 10: a transport packet is missing in it; more of "
                  "them are counted only; check the reception");
}

TEST_F(BadInput, AClockThatJumpsUnannouncedIsReportedOnce)
{
    TestStream stream = Seconds(1);
    AddSecond(&stream, 9 * kSecond);
    AddSecond(&stream, 3609 * kSecond);
    AddSecond(&stream, 7 * kSecond);
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(Warnings(), Texts{"warning: The clock of " + Name() +
                                " (PID 257) jumps ahead by 3600.0 s before packet 23 and does not announce "
                                "it; it is followed, and more jumps are not reported; check how the stream "
                                "was put together"});
    EXPECT_EQ(m_recorder.EventsLike("pes").size(), 4U);
}

TEST_F(BadInput, AClockThatWrapsOrAnnouncesItsJumpIsRight)
{
    constexpr std::uint64_t kTurn = std::uint64_t{1} << 33;
    TestStream stream = BothServices();
    stream.Pcr(kVideo1, kTurn - kSecond).Pcr(kVideo1, kSecond).Pcr(kVideo1, 5000 * kSecond, true);
    stream.Pcr(kVideo1, 5001 * kSecond).Pcr(kVideo1, 0, true).Pes(kDeu, Subtitle(1));
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(Warnings(), Texts());
}

TEST_F(BadInput, APipeThatNothingComesFromIsReportedOnceAndWaitedFor)
{
    const std::string path = m_folder.Path("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const OpenTv tv(FastInput(path), &m_recorder);
    const int writer = open(path.c_str(), O_WRONLY);
    ASSERT_GE(writer, 0);
    const std::string bytes = Seconds(1).Bytes();
    const auto start = std::chrono::steady_clock::now();
    TTMLHost::TvStart();
    ASSERT_TRUE(m_recorder.WaitFor("warning: Nothing has come from '" + path + "' for 5 s; waiting for it"));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(write(writer, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    EXPECT_EQ(close(writer), 0);
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.EventsLike("told"), (Texts{"told 59", "told 60"}));
    EXPECT_EQ(Warnings().size(), 1U);
}

TEST_F(BadInput, NothingIsReportedOfWhatIsRight)
{
    EXPECT_EQ(PlayFast(Seconds(5)), "");
    EXPECT_EQ(Warnings(), Texts());
}

} // namespace
