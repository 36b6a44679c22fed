#include <atomic>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "HostTvService.h"
#include "TemporaryFolder.h"
#include "TsBuilder.h"

namespace {

using TTMLHost::TvInspect;
using TTMLHost::TvServiceInfo;
using TTMLHost::TvStreamInfo;
using TTMLTest::Bytes;
using TTMLTest::Filling;
using TTMLTest::Joined;
using TTMLTest::PatSection;
using TTMLTest::PidWriter;
using TTMLTest::PmtSection;
using TTMLTest::TemporaryFolder;
using TTMLTest::TextBytes;
using TTMLTest::TsPacket;
using TTMLTest::TsPes;
using TTMLTest::TtmlDescriptorBytes;
using TTMLTest::operator+;

std::string Write(const TemporaryFolder& folder, const Bytes& bytes)
{
    return folder.Write("x.ts", std::string(bytes.begin(), bytes.end()));
}

std::string ErrorOf(const std::string& input)
{
    TvStreamInfo info;
    std::string error;
    EXPECT_FALSE(TvInspect(input, nullptr, &info, &error));
    return error;
}

// Two services; the subtitles of the first move from one PID to another.
Bytes SomeStream()
{
    TTMLTest::TtmlFields german;
    german.language = "deu";
    german.purpose = 0x10;
    german.profiles = {2, 1};
    PidWriter pat(0);
    PidWriter sdt(0x11);
    PidWriter eit(0x12);
    PidWriter first(0x100);
    PidWriter second(0x200);
    PidWriter video(0x101);
    PidWriter ttml(0x102);
    PidWriter moved(0x103);
    const Bytes picture = Joined(video.Unit(TsPes().Data(Filling(500)).Get()));
    const Bytes document = TsPes().Pts(1).Data(Filling(900)).Get();
    const Bytes whole = Joined(ttml.Unit(document));
    std::vector<Bytes> broken = ttml.Unit(document);
    broken.erase(broken.begin() + 2);
    return Joined(
        {pat.Sections(PatSection(0, {{2, 0x200}, {1, 0x100}})),
         sdt.Sections(TTMLTest::SdtSection(0, {{1, TextBytes("Eins")}, {2, TextBytes("Zwei")}})),
         eit.Sections(TTMLTest::EitSection(1, 0, 0, TTMLTest::RatingDescriptor(9))),
         first.Sections(
             PmtSection(1, 0, 0x101, {{0x1b, 0x101, {}}, {0x06, 0x102, TtmlDescriptorBytes(german)}})),
         second.Sections(PmtSection(2, 0, 0x1fff, {{0x04, 0x201, {}}})), TsPacket(0x101).Pcr(1).Get(),
         picture, whole, Joined(broken), Joined(ttml.Unit(document)), TsPacket(0x101).Pcr(2).Get(),
         first.Sections(PmtSection(1, 1, 0x101, {{0x1b, 0x101, {}}, {0x06, 0x103, TtmlDescriptorBytes({})}})),
         Joined(moved.Unit(document)), Joined(video.Unit(TsPes().Data(Filling(500)).Get())),
         TsPacket(0x1ffe).TransportError().Payload(Filling(184)).Get()});
}

TEST(TvInspect, SaysWhatTheStreamHolds)
{
    const TemporaryFolder folder;
    for (const std::size_t size : {std::size_t{188}, std::size_t{192}, std::size_t{204}}) {
        TvStreamInfo info;
        std::string error = "before";
        ASSERT_TRUE(
            TvInspect(Write(folder, TTMLTest::WithPacketSize(SomeStream(), size)), nullptr, &info, &error))
            << error;
        EXPECT_EQ(error, "");
        EXPECT_EQ(info.packetSize, static_cast<int>(size));
        ASSERT_EQ(info.services.size(), 2U);

        const TvServiceInfo& second = info.services[0];
        EXPECT_EQ(second.id, 2);
        EXPECT_EQ(second.name, "Zwei");
        EXPECT_EQ(second.pmtPid, 0x200);
        EXPECT_EQ(second.pcrPid, 0x1fff);
        EXPECT_EQ(second.pcrs, 0U);
        EXPECT_FALSE(second.rating);
        EXPECT_TRUE(second.ttml.empty());
        ASSERT_EQ(second.others.size(), 1U);
        EXPECT_EQ(second.others[0].kind, "audio (MPEG-2)");
        EXPECT_EQ(second.others[0].pesPackets, 0U);

        const TvServiceInfo& first = info.services[1];
        EXPECT_EQ(first.id, 1);
        EXPECT_EQ(first.name, "Eins");
        EXPECT_EQ(first.pcrPid, 0x101);
        EXPECT_EQ(first.pcrs, 2U);
        EXPECT_EQ(first.rating, 12);
        ASSERT_EQ(first.others.size(), 1U);
        EXPECT_EQ(first.others[0].pid, 0x101);
        EXPECT_EQ(first.others[0].streamType, 0x1b);
        EXPECT_EQ(first.others[0].kind, "video (H.264)");
        EXPECT_EQ(first.others[0].pesPackets, 2U);
        ASSERT_EQ(first.ttml.size(), 2U);
        EXPECT_EQ(first.ttml[0].pid, 0x102);
        EXPECT_EQ(first.ttml[0].language, "deu");
        EXPECT_EQ(first.ttml[0].purpose, 0x10);
        EXPECT_EQ(first.ttml[0].profiles, (std::vector<int>{2, 1}));
        EXPECT_EQ(first.ttml[0].pesPackets, 2U);
        EXPECT_EQ(first.ttml[1].pid, 0x103);
        EXPECT_EQ(first.ttml[1].language, "eng");
        EXPECT_EQ(first.ttml[1].pesPackets, 1U);

        EXPECT_EQ(info.statistics.packets, SomeStream().size() / 188);
        EXPECT_EQ(info.statistics.continuityErrors, 1U);
        EXPECT_EQ(info.statistics.transportErrors, 1U);
        EXPECT_EQ(info.statistics.pesDelivered, 3U);
        EXPECT_EQ(info.statistics.pesDropped, 1U);
        EXPECT_EQ(info.statistics.resynchronisations, 0U);
    }
}

TEST(TvInspect, CountsWhatIsMissingAndScrambledInEveryComponent)
{
    const TemporaryFolder folder;
    PidWriter pat(0);
    PidWriter map(0x100);
    PidWriter video(0x101);
    std::vector<Bytes> picture = video.Unit(TsPes().Data(Filling(900)).Get());
    picture.erase(picture.begin() + 2);
    Bytes scrambled = Joined(video.Unit(TsPes().Data(Filling(100)).Get()));
    scrambled[3] |= 0x80;
    TvStreamInfo info;
    std::string error;
    ASSERT_TRUE(TvInspect(Write(folder, Joined({pat.Sections(PatSection(0, {{1, 0x100}})),
                                                map.Sections(PmtSection(1, 0, 0x101, {{0x1b, 0x101, {}}})),
                                                Joined(picture), scrambled})),
                          nullptr, &info, &error))
        << error;
    EXPECT_EQ(info.statistics.continuityErrors, 1U);
    EXPECT_EQ(info.statistics.scrambledPackets, 1U);
}

TEST(TvInspect, CountsResynchronisations)
{
    const TemporaryFolder folder;
    TvStreamInfo info;
    std::string error;
    const std::string path =
        Write(folder, SomeStream() + Filling(100) + SomeStream() + Filling(10) + SomeStream());
    ASSERT_TRUE(TvInspect(path, nullptr, &info, &error)) << error;
    EXPECT_EQ(info.statistics.resynchronisations, 2U);
}

TEST(TvInspect, CompletesAPacketOfUnknownLengthAtTheEnd)
{
    const TemporaryFolder folder;
    PidWriter pat(0);
    PidWriter pmt(0x100);
    PidWriter ttml(0x102);
    TvStreamInfo info;
    std::string error;
    const std::string path = Write(
        folder, Joined({pat.Sections(PatSection(0, {{1, 0x100}})),
                        pmt.Sections(PmtSection(1, 0, 0x1fff, {{0x06, 0x102, TtmlDescriptorBytes({})}})),
                        Joined(ttml.Unit(TsPes().Unbounded().Data(Filling(500)).Get()))}));
    ASSERT_TRUE(TvInspect(path, nullptr, &info, &error)) << error;
    ASSERT_EQ(info.services.size(), 1U);
    EXPECT_EQ(info.services[0].ttml[0].pesPackets, 1U);
}

TEST(TvInspect, SaysThatAFileIsNoTransportStream)
{
    const TemporaryFolder folder;
    const std::string path = folder.Path("x.ts");
    Write(folder, Filling(100000));
    EXPECT_EQ(ErrorOf(path), "'" + path +
                                 "' is not a transport stream: no packet with sync byte 0x47 every 188, 192 "
                                 "or 204 bytes in its first 64 KB; check what file it is");
    Write(folder, {});
    EXPECT_EQ(ErrorOf(path), "Cannot read '" + path + "': it is empty; check how it was made");
}

TEST(TvInspect, SaysThatThereIsNoSuchFile)
{
    const TemporaryFolder folder;
    EXPECT_EQ(ErrorOf(folder.Path("none.ts")),
              "Cannot open '" + folder.Path("none.ts") + "': No such file or directory; check the path");
}

TEST(TvInspect, RefusesALiveInput)
{
    EXPECT_EQ(
        ErrorOf("udp://239.255.77.9:45678"),
        "Cannot inspect 'udp://239.255.77.9:45678': it has no end; record some of it and give the file");
}

TEST(TvInspect, IsCancelled)
{
    const TemporaryFolder folder;
    const std::string path = Write(folder, SomeStream());
    const std::atomic<bool> cancel{true};
    TvStreamInfo info;
    std::string error;
    EXPECT_FALSE(TvInspect(path, &cancel, &info, &error));
    EXPECT_EQ(error, "Cannot inspect '" + path + "': it was cancelled; start it again when it is wanted");
}

} // namespace
