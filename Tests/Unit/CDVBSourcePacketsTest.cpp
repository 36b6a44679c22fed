// The DVB source: packets, from the TV service's thread to the client.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CPESParser.h"
#include "DvbFixtures.h"

TTML_EXPOSE(PacketParser, TTML::CDVBSource, TTML::CPESParser*, m_pPESParser)
TTML_EXPOSE(PacketPts, TTML::CDVBSource, std::atomic<unsigned long long>, m_ullPts)
TTML_EXPOSE(PacketMediaTime, TTML::CDVBSource, std::atomic<unsigned long long>, m_ullMediaTime)
TTML_EXPOSE(PacketLastSegment, TTML::CDVBSource, std::string, m_strLastSegment)

namespace TTMLTest {

namespace {

constexpr char kArrived[] = "I pesData.pid=291, pesData.pts=90000";
constexpr char kDuplicate[] = "W Discarding duplicate data!";
constexpr char kFailed[] = "W PES parsing failed!!!";

class DvbPackets : public DvbTest
{
protected:
    DvbPackets()
    {
        Start();
        m_client.Clear();
    }

    // Sends the packet on a thread of the TV service's.
    static void Send(const PesBytes& bytes)
    {
        RunOnThread("TvService", [&] { EXPECT_EQ(ScriptedTvService::Packet(bytes), 1U); });
    }
    Texts StoryOfPacket(const PesBytes& bytes)
    {
        m_client.Clear();
        return StoryOf([&] { Send(bytes); });
    }
    // The texts that the client was given.
    Texts Delivered() const
    {
        Texts texts;
        for (const auto& record : m_client.Records()) {
            texts.push_back(record.data);
        }
        return texts;
    }
    void ExpectTimes(unsigned long long pts, unsigned long long mediaTime)
    {
        EXPECT_EQ(Private<PacketPts>(*m_source), pts);
        EXPECT_EQ(Private<PacketMediaTime>(*m_source), mediaTime);
    }
};

TEST_F(DvbPackets, ReachTheClientOnTheThreadThatBringsThem)
{
    EXPECT_EQ(StoryOfPacket(Pes().Pts(90000).MediaTime(10).Segment(kPlain, "<tt/>").Bytes()),
              (Texts{kArrived, "client 0"}));
    EXPECT_EQ(m_client.Events(), (Texts{"0 <tt/> @TvService"}));
    ExpectTimes(45000, 10);
}

TEST_F(DvbPackets, FillOnlyTypeAndTextOfTheRecord)
{
    Send(Pes().Pts(90000).MediaTime(10).Segment(kPlain, "<tt/>").Bytes());
    ASSERT_EQ(m_client.Records().size(), 1U);
    const TTML::TTMLRawDataInfo record = m_client.Records().front();
    EXPECT_EQ(record.index, 0);
    EXPECT_EQ(record.dataType, 0);
    EXPECT_EQ(record.timestamp, 0);
    EXPECT_EQ(record.segStartTimeMs, 0);
    EXPECT_EQ(record.segEndTimeMs, 0);
    EXPECT_EQ(record.trackDescriptor, "");
    EXPECT_EQ(record.data, "<tt/>");
    EXPECT_EQ(record.secondaryData, "");
    EXPECT_EQ(record.userData, m_client.UserData());
}

TEST_F(DvbPackets, CarryTheDescriptorOfTheTrack)
{
    m_source->PlayTrack(0, nullptr, "eng");
    Send(Pes().Segment(kPlain, "<tt/>").Bytes());
    ASSERT_EQ(m_client.CountOf(0), 1U);
    EXPECT_EQ(m_client.Records().front().trackDescriptor, "eng");
}

TEST_F(DvbPackets, CarryTheProfileOfTheirSubscription)
{
    for (const auto& [byte, type] : std::vector<std::pair<int, int>>{{0x04, 2}, {0x05, 0}, {0x08, -1}}) {
        Unsubscribe();
        ScriptedTvService::Change(
            [&, &value = byte](TvScene& scene) { scene.stream.profile = static_cast<unsigned char>(value); });
        Subscribe();
        m_client.Clear();
        Send(Pes().Segment(kPlain, "<tt>" + std::to_string(byte) + "</tt>").Bytes());
        ASSERT_EQ(m_client.CountOf(0), 1U);
        EXPECT_EQ(m_client.Records().front().dataType, type);
    }
}

TEST_F(DvbPackets, AreInflated)
{
    Send(Pes().Gzip("<tt>gzip</tt>").Bytes());
    EXPECT_EQ(Delivered(), (Texts{"<tt>gzip</tt>"}));
}

TEST_F(DvbPackets, KeepEveryByteOfTheirText)
{
    const std::string text("<tt>\0\xff</tt>", 11);
    Send(Pes().Segment(kPlain, text).Bytes());
    EXPECT_EQ(Delivered(), (Texts{text}));
}

TEST_F(DvbPackets, AreDeliveredInThePlaceOfEachSegment)
{
    EXPECT_EQ(StoryOfPacket(Pes().Segment(kPlain, "a").Gzip("b").Segment(kPlain, "c").Bytes()),
              (Texts{kArrived, "client 0", "client 0", "client 0"}));
    EXPECT_EQ(Delivered(), (Texts{"a", "b", "c"}));
}

TEST_F(DvbPackets, AreDeliveredWithoutAStartedTrack)
{
    m_source->StopTrack();
    Drain(*m_source);
    Send(Pes().Segment(kPlain, "<tt/>").Bytes());
    EXPECT_EQ(Delivered(), (Texts{"<tt/>"}));
}

TEST_F(DvbPackets, AreFreedWithoutAClient)
{
    m_source->UnRegisterCallBack();
    Send(Pes().Segment(kPlain, "a text that is kept on the heap, which a leak would show").Bytes());
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(ScriptedLog::CountOf("m_pCoreCBFunc is null!"), 1U);
    EXPECT_EQ(Private<PacketLastSegment>(*m_source),
              "a text that is kept on the heap, which a leak would show");
}

// What is not for the source.

TEST_F(DvbPackets, OfOtherTypesAreDropped)
{
    Send(Pes().Pts(90000).MediaTime(7).Segment(kPlain, "first").Bytes());
    for (const int type : {0, 1, 3, 5, -4}) {
        TSPESData packet;
        packet.dataType = type;
        packet.pesData = {17, 18};
        packet.data = Pes().Pts(180000).MediaTime(9).Segment(kPlain, "second").Bytes();
        m_client.Clear();
        EXPECT_EQ(StoryOf([&] { ScriptedTvService::Packet(packet); }),
                  (Texts{"I pesData.pid=17, pesData.pts=18",
                         "W Caption type is not PES_DATA_TYPE_TTML. Type:[" + std::to_string(type) + "]"}));
        ExpectTimes(45000, 7);
    }
    EXPECT_EQ(m_client.Events(), Texts{});
}

TEST_F(DvbPackets, WithoutASourceAreDropped)
{
    TSPESData packet;
    packet.dataType = PES_DATA_TYPE_TTML;
    packet.pesData = {291, 90000};
    EXPECT_EQ(StoryOf([&] { ScriptedTvService::LatePacket(packet, nullptr); }),
              (Texts{kArrived, "W Source pointer is null"}));
    packet.dataType = 3;
    EXPECT_EQ(StoryOf([&] { ScriptedTvService::LatePacket(packet, nullptr); }),
              (Texts{kArrived, "W Caption type is not PES_DATA_TYPE_TTML. Type:[3]"}))
        << "the type is looked at first";
}

TEST_F(DvbPackets, AreNotReadWithoutAParser)
{
    TTML::CPESParser* const parser = Private<PacketParser>(*m_source);
    Private<PacketParser>(*m_source) = nullptr;
    EXPECT_EQ(StoryOfPacket(Pes().Segment(kPlain, "<tt/>").Bytes()),
              (Texts{kArrived, "E m_pPESParser is null!!!"}));
    EXPECT_EQ(m_client.Events(), Texts{});
    Private<PacketParser>(*m_source) = parser;
}

// Packets that cannot be read.

TEST_F(DvbPackets, ThatCannotBeReadLeaveTheTimesAlone)
{
    Send(Pes().Pts(90000).MediaTime(10).Segment(kPlain, "a").Bytes());
    const std::vector<PesBytes> damaged = {
        {},
        Pes().Pts(2).MediaTime(2).Segment(kPlain, "b").StreamId(0xC0).Bytes(),
        Pes().Pts(2).MediaTime(2).Bytes(),
        Pes().Pts(2).MediaTime(2).Segment(kPlain, "b").Segment(3, "c").Bytes(),
        Pes().Pts(2).MediaTime(2).Segment(kPlain, "b").Compressed("c", Wrapper::ZLIB).Bytes(),
        Pes().Pts(2).MediaTime(2).Segment(kPlain, "b").Count(2).Bytes()};
    for (const auto& bytes : damaged) {
        EXPECT_EQ(StoryOfPacket(bytes), (Texts{kArrived, kFailed}));
        EXPECT_EQ(m_client.Events(), Texts{});
        ExpectTimes(45000, 10);
    }
    EXPECT_EQ(Private<PacketLastSegment>(*m_source), "a");
}

TEST_F(DvbPackets, AfterOneThatCannotBeReadAreDeliveredAgain)
{
    Send({1, 2, 3});
    Send(Pes().Segment(kPlain, "<tt/>").Bytes());
    EXPECT_EQ(Delivered(), (Texts{"<tt/>"}));
}

TEST_F(DvbPackets, SetTheirTimesBeforeTheirTextIsDelivered)
{
    unsigned long long pts = 0;
    m_client.On(0, [&] { pts = Private<PacketPts>(*m_source); });
    Send(Pes().Pts(90000).Segment(kPlain, "<tt/>").Bytes());
    EXPECT_EQ(pts, 45000U);
}

// Repeats.

TEST_F(DvbPackets, ThatRepeatTheLastTextAreDropped)
{
    const PesBytes packet = Pes().Pts(90000).Segment(kPlain, "<tt/>").Bytes();
    EXPECT_EQ(StoryOfPacket(packet), (Texts{kArrived, "client 0"}));
    EXPECT_EQ(StoryOfPacket(Pes().Pts(180000).MediaTime(5).Segment(kPlain, "<tt/>").Bytes()),
              (Texts{kArrived, kDuplicate}));
    ExpectTimes(90000, 5);
}

TEST_F(DvbPackets, ThatRepeatAnOlderTextAreDelivered)
{
    for (const char* const text : {"A", "B", "A"}) {
        Send(Pes().Segment(kPlain, text).Bytes());
    }
    EXPECT_EQ(Delivered(), (Texts{"A", "B", "A"}));
}

TEST_F(DvbPackets, CompareTheTextsNotTheirPacking)
{
    Send(Pes().Segment(kPlain, "<tt/>").Bytes());
    Send(Pes().Gzip("<tt/>").Bytes());
    EXPECT_EQ(Delivered(), (Texts{"<tt/>"}));
}

TEST_F(DvbPackets, CompareLengthAndBytes)
{
    const Texts texts = {"ab", "a", "ab", std::string("ab\0", 3), std::string("ab\0c", 4), "ac"};
    for (const auto& text : texts) {
        Send(Pes().Segment(kPlain, text).Bytes());
    }
    EXPECT_EQ(Delivered(), texts);
}

TEST_F(DvbPackets, WithoutATextRepeatTheInitialOne)
{
    EXPECT_EQ(StoryOfPacket(Pes().Segment(kPlain, "").Bytes()), (Texts{kArrived, kDuplicate}));
    Send(Pes().Segment(kPlain, "a").Bytes());
    EXPECT_EQ(StoryOfPacket(Pes().Segment(kPlain, "").Bytes()), (Texts{kArrived, "client 0"}));
    EXPECT_EQ(Delivered(), (Texts{""}));
}

TEST_F(DvbPackets, CompareSegmentsWithinOnePacketToo)
{
    EXPECT_EQ(StoryOfPacket(Pes()
                                .Segment(kPlain, "a")
                                .Segment(kPlain, "a")
                                .Segment(kPlain, "b")
                                .Segment(kPlain, "a")
                                .Bytes()),
              (Texts{kArrived, "client 0", kDuplicate, "client 0", "client 0"}));
    EXPECT_EQ(Delivered(), (Texts{"a", "b", "a"}));
    EXPECT_EQ(StoryOfPacket(Pes().Segment(kPlain, "a").Segment(kPlain, "c").Bytes()),
              (Texts{kArrived, kDuplicate, "client 0"}));
}

TEST_F(DvbPackets, RememberTheLastTextAcrossSubscriptions)
{
    Send(Pes().Segment(kPlain, "a").Bytes());
    Unsubscribe();
    Subscribe();
    EXPECT_EQ(StoryOfPacket(Pes().Segment(kPlain, "a").Bytes()), (Texts{kArrived, kDuplicate}));
}

TEST_F(DvbPackets, OfAllSegmentsThatFitAreDelivered)
{
    Pes pes;
    Texts texts;
    for (int i = 0; i < 255; ++i) {
        texts.push_back("<tt>" + std::to_string(i) + "</tt>");
        pes.Segment(kPlain, texts.back());
    }
    Send(pes.Bytes());
    EXPECT_EQ(Delivered(), texts);
}

TEST_F(DvbPackets, EnterAndLeaveTheirHandlers)
{
    const Texts trace = TraceOf([] { ScriptedTvService::Packet(Pes().Segment(kPlain, "<tt/>").Bytes()); });
    EXPECT_EQ(trace.at(0), "m_OnPESDataCallback: Enter");
    EXPECT_EQ(trace.at(1), "m_OnPESDataCallback: pesData.pid=291, pesData.pts=90000");
    EXPECT_EQ(trace.at(2), "m_HandlePESData: Enter");
    EXPECT_EQ(trace.at(trace.size() - 2), "m_HandlePESData: Exit");
    EXPECT_EQ(trace.back(), "m_OnPESDataCallback: Exit");
}

// Memory.

TEST_F(DvbPackets, NeedMemoryForTheirRecord)
{
    EXPECT_DEATH(
        {
            const FaultInjection noMemory(Call::NEW_NOTHROW);
            ScriptedTvService::Packet(Pes().Segment(kPlain, "<tt/>").Bytes());
        },
        "Assertion `pSubtitleData' failed");
}

TEST_F(DvbPackets, WithoutMemoryForTheirSegmentsFail)
{
    const PesBytes packet =
        Pes().Segment(kPlain, "a text that is too long to be kept without an allocation").Bytes();
    for (unsigned int allocation = 1; allocation <= 2; ++allocation) {
        const Texts story = StoryOf([&] {
            const FaultInjection noMemory(Call::NEW, allocation);
            EXPECT_EQ(ScriptedTvService::Packet(packet), 1U);
            EXPECT_EQ(noMemory.Failed(), 1U);
        });
        EXPECT_EQ(story, (Texts{kArrived, kFailed}));
        ExpectTimes(0, 0);
    }
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(StoryOfPacket(packet), (Texts{kArrived, "client 0"}));
}

} // namespace

} // namespace TTMLTest
