#include <algorithm>
#include <string>
#include <vector>

#include "TvFixture.h"

namespace {

using namespace TTMLTest;
using Texts = std::vector<std::string>;

class Tune : public TvTest
{};

TEST_F(Tune, GivesSignalsAndThenThePacketsOfTheFirstServiceWithTtml)
{
    EXPECT_EQ(PlayFast(Seconds(2)), "");
    EXPECT_EQ(m_recorder.Events(), (Texts{"signal 59", "told 59", "signal 60", "told 60", "pes 258 at 945000",
                                          "delivered", "pes 258 at 1035000", "delivered", "end: "}));
    EXPECT_EQ(m_statistics.pesDelivered, 2U);
    EXPECT_EQ(m_statistics.pesDropped, 0U);
    EXPECT_EQ(m_statistics.continuityErrors, 0U);
    EXPECT_EQ(m_statistics.packets, Seconds(2).Packets());
}

TEST_F(Tune, FindsAServiceByIdOrName)
{
    for (const char* const service : {"2", "0x2", "0X02", "Two", "two", "TWO"}) {
        m_recorder.Clear();
        EXPECT_EQ(PlayFast(Seconds(1), service), "") << service;
        EXPECT_EQ(m_recorder.EventsLike("pes"), Texts{"pes 514 at 945002"}) << service;
    }
}

TEST_F(Tune, SkipsServicesWithoutTtmlUnlessOneIsNamed)
{
    TestStream stream;
    stream.Pat({{3, 768}, {2, kMap2}}).Pmt(Map2()).Pmt(Map(3).Pid(768).Pcr(kVideo1).Video(kVideo1));
    AddSecond(&stream, kSecond);
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(m_recorder.EventsLike("pes"), Texts{"pes 514 at 135002"});
}

TEST_F(Tune, TakesTheFirstServiceInTheAssociationWhicheverMapComesFirst)
{
    TestStream stream;
    stream.Pat({{1, kMap1}, {2, kMap2}}).Pmt(Map2()).Pcr(kVideo2, 0).Pmt(Map1());
    AddSecond(&stream, kSecond);
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(m_recorder.EventsLike("pes"), Texts{"pes 258 at 135000"});
}

TEST_F(Tune, DoesNotWaitLongForAMapThatIsNotThere)
{
    TestStream stream;
    stream.Pat({{9, 4000}, {2, kMap2}}).Pmt(Map2());
    AddSecond(&stream, kSecond);
    AddSecond(&stream, 2 * kSecond);
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(m_recorder.EventsLike("pes").back(), "pes 514 at 225002");
}

TEST_F(Tune, PlaysTheLanguageThatIsAskedFor)
{
    EXPECT_EQ(PlayFast(Seconds(1), "1", "fra"), "");
    EXPECT_EQ(m_recorder.EventsLike("pes"), Texts{"pes 259 at 945001"});
    EXPECT_EQ(m_recorder.EventsLike("warning"), Texts());
}

TEST_F(Tune, PlaysTheFirstLanguageWhereTheOneAskedForIsMissing)
{
    EXPECT_EQ(PlayFast(Seconds(1), "1", "spa"), "");
    EXPECT_EQ(m_recorder.EventsLike("pes"), Texts{"pes 258 at 945000"});
    EXPECT_EQ(m_recorder.EventsLike("warning"),
              Texts{"warning: Service 1 \"One\" of '" + m_folder.Path("stream.ts") +
                    "' has no TTML in language 'spa'; playing 'deu', choose one of: deu, fra"});
}

TEST_F(Tune, AnswersForTheServiceFromItsSuccessOn)
{
    auto options = FastInput(File(Seconds(2)));
    options.service = "2";
    const OpenTv tv(options, &m_recorder);
    const TvViewer viewer(&m_recorder);
    Texts before;
    Texts success;
    Texts packet;
    const auto ask = [](Texts* answers) {
        *answers = {CurrentServiceText(), CurrentSubtitleText(), StcText(), LockText(), RatingText()};
    };
    m_recorder.When("signal 59", [&] { ask(&before); });
    m_recorder.When("signal 60", [&] { ask(&success); });
    m_recorder.When("pes 514 at 1035002", [&] { ask(&packet); });
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(before, (Texts{"none", "none", "none", "open", "none"}));
    EXPECT_EQ(success, (Texts{"service 2", "eng 0 type 2 profile 5", "1530000", "open", "0 permitted"}));
    // The stream's own time at the packet: the last reference before it.
    EXPECT_EQ(packet, (Texts{"service 2", "eng 0 type 2 profile 5", "1620000", "open", "0 permitted"}));
}

TEST_F(Tune, KeepsPacketsThatWereThereBeforeTheClockReference)
{
    // The first comes complete before the success and the second begins before it.
    TestStream stream;
    const PesBytes longPacket = Pes().Pts(3).Segment(kPlain, std::string(400, 'x')).Crc().Bytes();
    stream.Pat({{1, kMap1}}).Pmt(Map1()).Pes(kDeu, Subtitle(1)).Pcr(kVideo1, 0).Pes(kDeu, longPacket);
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(m_recorder.EventsLike("pes"), Texts{"pes 258 at 3"});
}

TEST_F(Tune, ReadsNothingWhileTheListenerHandlesASignalOfAFastInput)
{
    const OpenTv tv(FastInput(File(Seconds(3))), &m_recorder);
    const TvViewer viewer(&m_recorder);
    m_recorder.Hold("told 60");
    TTMLHost::TvStart();
    ASSERT_TRUE(m_recorder.WaitHeld("told 60"));
    const auto packets = TTMLHost::TvGetStatistics().packets;
    EXPECT_EQ(m_recorder.EventsLike("pes"), Texts());
    EXPECT_EQ(TTMLHost::TvGetStatistics().packets, packets);
    m_recorder.Release("told 60");
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.EventsLike("pes").size(), 3U);
}

TEST_F(Tune, ASignalFromOutsideStopsAFastInputToo)
{
    const OpenTv tv(FastInput(File(Seconds(3))), &m_recorder);
    const TvViewer viewer(&m_recorder);
    m_recorder.When("pes 258 at 945000", [] { TTMLHost::TvDeactivate(); });
    m_recorder.Hold("told 76");
    TTMLHost::TvStart();
    ASSERT_TRUE(m_recorder.WaitHeld("told 76"));
    m_recorder.Release("told 76");
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    const Texts events = m_recorder.Events();
    const Texts end(events.end() - 6, events.end());
    EXPECT_EQ(events[events.size() - 1], "end: ");
    EXPECT_EQ(m_recorder.EventsLike("pes"),
              (Texts{"pes 258 at 945000", "pes 258 at 1035000", "pes 258 at 1125000"}));
    const auto told = std::find(events.begin(), events.end(), "told 76");
    const auto next = std::find(events.begin(), events.end(), "pes 258 at 1035000");
    EXPECT_LT(told, next);
}

TEST_F(Tune, TunesToAnotherServiceOfTheStream)
{
    const OpenTv tv(FastInput(File(Seconds(4))), &m_recorder);
    const TvViewer viewer(&m_recorder);
    std::string error;
    std::string duringTune;
    m_recorder.When("pes 258 at 1035000", [&] {
        EXPECT_TRUE(TTMLHost::TvTune("two", &error)) << error;
        duringTune = CurrentServiceText() + ", " + CurrentSubtitleText() + ", " + StcText();
    });
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(duringTune, "none, none, none");
    Texts events;
    for (const std::string& event : m_recorder.Events()) {
        if (event != "delivered" && event.compare(0, 4, "told") != 0) {
            events.push_back(event);
        }
    }
    EXPECT_EQ(events, (Texts{"signal 59", "signal 60", "pes 258 at 945000", "pes 258 at 1035000", "signal 59",
                             "signal 60", "pes 514 at 1125002", "pes 514 at 1215002", "end: "}));
}

TEST_F(Tune, TunesToTheSameServiceAgain)
{
    const OpenTv tv(FastInput(File(Seconds(3))), &m_recorder);
    const TvViewer viewer(&m_recorder);
    m_recorder.When("pes 258 at 945000", [] { EXPECT_TRUE(TTMLHost::TvTune("1", nullptr)); });
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.EventsLike("signal"), (Texts{"signal 59", "signal 60", "signal 59", "signal 60"}));
    EXPECT_EQ(m_recorder.EventsLike("pes").size(), 3U);
}

TEST_F(Tune, RefusesAServiceThatTheStreamDoesNotHaveAndStays)
{
    const OpenTv tv(FastInput(File(Seconds(2))), &m_recorder);
    const TvViewer viewer(&m_recorder);
    std::string byId;
    std::string byName;
    m_recorder.When("pes 258 at 945000", [&] {
        EXPECT_FALSE(TTMLHost::TvTune("17", &byId));
        EXPECT_FALSE(TTMLHost::TvTune("Three", &byName));
    });
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    const std::string input = m_folder.Path("stream.ts");
    EXPECT_EQ(byId, "Cannot tune to service '17' of '" + input +
                        "': there is no such service; choose one of 1 \"One\", 2 \"Two\"");
    EXPECT_EQ(byName, "Cannot tune to service 'Three' of '" + input +
                          "': there is no such service; choose one of 1 \"One\", 2 \"Two\"");
    EXPECT_EQ(m_recorder.EventsLike("signal"), (Texts{"signal 59", "signal 60"}));
    EXPECT_EQ(m_recorder.EventsLike("pes").size(), 2U);
}

// A tune at the second subtitle of the first service, which lasts twelve seconds.
class LaterTune : public TvTest
{
protected:
    LaterTune() { m_stream.Pat({{1, kMap1}, {2, kMap2}}).Pmt(Map1()); }

    void AddSeconds(unsigned first, unsigned end)
    {
        for (std::uint64_t second = first; second < end; ++second) {
            m_stream.Pcr(kVideo1, second * kSecond).Pes(kDeu, Subtitle(second));
        }
    }
    void AddOtherService() { m_stream.Pmt(Map2()).Pcr(kVideo2, 0).Pes(kEng, Subtitle(77)); }

    // What comes of it after the signals of its start.
    Texts TuneTo(const std::string& service)
    {
        m_recorder.When("pes 258 at 1", [service] { EXPECT_TRUE(TTMLHost::TvTune(service, nullptr)); });
        EXPECT_EQ(PlayFast(m_stream), "");
        const Texts events = m_recorder.Events();
        Texts after(std::find(events.rbegin(), events.rend(), "told 59").base(), events.end());
        after.erase(std::remove(after.begin(), after.end(), "delivered"), after.end());
        return after;
    }
    std::string Failure(const std::string& service, const std::string& why) const
    {
        return "failed: Cannot tune to service " + service + " of '" + m_folder.Path("stream.ts") +
               "': " + why;
    }
    std::string NoMap() const
    {
        return Failure("2",
                       "its program map table (PMT) does not come; give a transport stream with its tables");
    }

    TestStream m_stream;
};

TEST_F(LaterTune, IsGivenUpWithoutAMap)
{
    AddSeconds(0, 12);
    EXPECT_EQ(TuneTo("2"), (Texts{NoMap(), "end: "}));
}

TEST_F(LaterTune, IsGivenUpWithoutAClock)
{
    m_stream.Pmt(Map2());
    AddSeconds(0, 12);
    EXPECT_EQ(TuneTo("2"),
              (Texts{Failure("2", "its clock reference (PCR) does not come; give a transport stream "
                                  "with the PCR component of the service"),
                     "end: "}));
}

TEST_F(LaterTune, IsGivenUpWhereNoNamesCome)
{
    AddSeconds(0, 12);
    EXPECT_EQ(TuneTo("Three"),
              (Texts{Failure("'Three'", "there is no such service; choose one of 1, 2"), "end: "}));
}

TEST_F(LaterTune, IsGivenUpAtTheEndAtTheLatest)
{
    AddSeconds(0, 4);
    EXPECT_EQ(TuneTo("2"), (Texts{NoMap(), "end: "}));
}

TEST_F(LaterTune, IsNotGivenUpBeforeFiveSeconds)
{
    // The time of the tune begins with the third second.
    AddSeconds(0, 7);
    AddOtherService();
    AddSeconds(7, 12);
    EXPECT_EQ(TuneTo("2"), (Texts{"signal 60", "told 60", "pes 514 at 77", "end: "}));
}

TEST_F(LaterTune, SucceedsAfterAllWhenTheServiceComes)
{
    AddSeconds(0, 8);
    AddOtherService();
    EXPECT_EQ(TuneTo("2"), (Texts{NoMap(), "signal 60", "told 60", "pes 514 at 77", "end: "}));
}

TEST_F(Tune, RefusesANumberThatIsNoServiceIdAtOnce)
{
    const OpenTv tv(FastInput(File(Seconds(1))), &m_recorder);
    for (const char* const service : {"65536", "0x10000", "99999999999999999999999"}) {
        std::string error;
        EXPECT_FALSE(TTMLHost::TvTune(service, &error));
        EXPECT_EQ(error, "Cannot tune to service '" + std::string(service) + "' of '" +
                             m_folder.Path("stream.ts") +
                             "': it is no service id; give one from 0 to 65535, or a name");
    }
    std::string error;
    m_recorder.When("told 60", [&error] { EXPECT_FALSE(TTMLHost::TvTune("65536", &error)); });
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(error, "Cannot tune to service '65536' of '" + m_folder.Path("stream.ts") +
                         "': there is no such service; choose one of 1 \"One\", 2 \"Two\"");
}

TEST_F(Tune, ATuneBeforeTheStartReplacesTheOptions)
{
    const OpenTv tv(FastInput(File(Seconds(1))), &m_recorder);
    const TvViewer viewer(&m_recorder);
    EXPECT_TRUE(TTMLHost::TvTune("2", nullptr));
    TTMLHost::TvSettle();
    EXPECT_EQ(m_recorder.Events(), Texts());
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.EventsLike("signal"), (Texts{"signal 59", "signal 60"}));
    EXPECT_EQ(m_recorder.EventsLike("pes"), Texts{"pes 514 at 945002"});
}

TEST_F(Tune, NothingIsTunedAfterTheEnd)
{
    const OpenTv tv(FastInput(File(Seconds(1))), &m_recorder);
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    std::string error;
    EXPECT_FALSE(TTMLHost::TvTune("2", &error));
    EXPECT_EQ(error, "Cannot tune to service '2' of '" + m_folder.Path("stream.ts") +
                         "': the input is over; open it again");
    // The queries go on.
    EXPECT_EQ(CurrentServiceText(), "service 1");
}

TEST_F(Tune, WithoutASubscriberNothingCountsAsDelivered)
{
    const OpenTv tv(FastInput(File(Seconds(2))), &m_recorder);
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.Events(), (Texts{"told 59", "told 60", "end: "}));
    EXPECT_EQ(TTMLHost::TvGetStatistics().pesDelivered, 0U);
}

} // namespace
