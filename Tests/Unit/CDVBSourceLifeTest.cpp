// The DVB source: construction, start and stop, showing and hiding, and the TV service's signals.

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DvbFixtures.h"
#include "ITTMLSourceControl.h"

namespace TTMLTest {

namespace {

using TTML::CDVBSource;

constexpr char kRegistersMenu[] = "I Registering Menu callbacks with vconf.";
constexpr char kSetsLanguage[] = "I Setting default language in menu.";

// A DVB source that notes what is called through the virtual table.
class NotingDvbSource : public CDVBSource
{
public:
    void PlayTrack(unsigned int trackId, const char* url, const char* arg) override
    {
        Journal::Instance().Add("source", "PlayTrack(" + std::to_string(trackId) + ", " + Quoted(url) + ", " +
                                              Quoted(arg) + ")");
        CDVBSource::PlayTrack(trackId, url, arg);
    }

protected:
    void t_SubscribeTTML() override { Journal::Instance().Add("source", "t_SubscribeTTML()"); }
};

// Construction and destruction.

using DvbLife = BroadcastTest;

TEST_F(DvbLife, BeginsWithItsBasesAndEndsBeforeThem)
{
    auto source = std::make_unique<CDVBSource>();
    EXPECT_EQ(OwnLines(), (Texts{"CTTMLSource: ", "CBCSource: ", "CDVBSource: "}));
    EXPECT_EQ(Story(), (Texts{"svc_pvr_register_signal_cb_in_list() = 0"}));
    EXPECT_EQ(source->GetSubtitleMode(), 144);
    Forget();
    source.reset();
    EXPECT_EQ(OwnLines(), (Texts{"~CDVBSource: ", "~CBCSource: ", "~CTTMLSource: "}));
    EXPECT_EQ(Story(), (Texts{"svc_pvr_unregister_signal_cb_in_list() = 0"}));
}

TEST_F(DvbLife, IsReleasedWithDestroy)
{
    auto* const source = new CDVBSource;
    Forget();
    source->Destroy();
    EXPECT_EQ(Story(), (Texts{"svc_pvr_unregister_signal_cb_in_list() = 0"}));
}

TEST_F(DvbLife, NeedsMemoryForItsParser)
{
    // It is the first allocation behind those of the bases.
    unsigned int ofBases = 0;
    {
        const FaultInjection count(Call::NEW_NOTHROW, FaultInjection::kAll);
        const TestSource bases;
        ofBases = count.Calls();
    }
    EXPECT_DEATH(
        {
            const FaultInjection noMemory(Call::NEW_NOTHROW, ofBases + 1);
            const CDVBSource source;
        },
        "Assertion `m_pPESParser' failed");
}

// Start and stop.

using DvbStart = DvbTest;

TEST_F(DvbStart, SubscribesRegistersAndPlays)
{
    m_source->OnStart();
    Drain(*m_source);
    EXPECT_EQ(Story(), Together({{kRegistersMenu, "client 8"},
                                 Subscribes(1),
                                 Registers(4),
                                 {kSetsLanguage, "client 10", "client 1"}}));
    EXPECT_EQ(m_client.Events(), (Texts{"8 @caller", "10 @caller", "1 in band @Source"}));
    EXPECT_EQ(ScriptedTvService::SubscribedTo(85), (std::vector<void*>{m_source.get()}));
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 1U);
}

TEST_F(DvbStart, EntersAndLeavesEveryOperation)
{
    m_source->OnStart();
    const Texts expected = {"OnStart: Enter",
                            "OnStart: Enter", // the base's
                            "OnStart: Exit", "OnStart: Registering Menu callbacks with vconf."};
    Texts lines = OwnLines();
    lines.resize(expected.size());
    EXPECT_EQ(lines, expected);
    EXPECT_EQ(OwnLines().back(), "OnStart: Exit");
    EXPECT_EQ(ScriptedLog::CountOf({"t_RegisterTVSCallbacks", "", "CDVBSource.cpp"}), 1U);
    EXPECT_EQ(ScriptedLog::CountOf({"t_SubscribeTTML", "Enter", "CDVBSource.cpp"}), 1U);
    EXPECT_EQ(ScriptedLog::CountOf({"t_SubscribeTTML", "Exit", "CDVBSource.cpp"}), 1U);
}

TEST_F(DvbStart, PlaysTrackZeroThroughTheVirtualTable)
{
    NotingDvbSource source;
    Forget();
    source.OnStart();
    EXPECT_EQ(Story().back(), "PlayTrack(0, null, null)");
    EXPECT_EQ(Journal::Instance().Calls("source"), (Texts{"t_SubscribeTTML()", "PlayTrack(0, null, null)"}));
    source.OnStop();
}

TEST_F(DvbStart, DoesNothingWhileSubscribed)
{
    Start();
    EXPECT_EQ(StoryOfAll([&] { m_source->OnStart(); }),
              (Texts{"I Nothing to do as caption already started"}));
    EXPECT_EQ(m_client.Events(), Texts{});
}

TEST_F(DvbStart, WithoutATtmlStreamGoesOnAndCanBeRepeated)
{
    ScriptedTvService::Change([](TvScene& scene) { scene.stream.sbtType = 1; });
    m_source->OnStart();
    Drain(*m_source);
    EXPECT_EQ(m_client.Codes(), (std::vector<int>{8, 10, 1}));
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
    m_client.Clear();
    ScriptedTvService::Show({});
    const Texts story = StoryOfAll([&] { m_source->OnStart(); });
    // The second start sets the track to stopped, so the play that follows stops nothing.
    EXPECT_EQ(m_client.Codes(), (std::vector<int>{8, 10, 1}));
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 1U);
    EXPECT_EQ(ScriptedLog::CountOf("Creating TVS signal subscriber."), 0U) << "the subscriber is kept";
}

TEST_F(DvbStart, GoesOnWithoutASignalSubscriber)
{
    ScriptedTvService::Answer(TvCall::CREATE_SIGNAL_SUBSCRIBER, TvAnswer::Failure(-1));
    m_source->OnStart();
    Drain(*m_source);
    EXPECT_EQ(Story(),
              Together({{kRegistersMenu, "client 8"},
                        Subscribes(1),
                        {"I Creating TVS signal subscriber.", "CreateSignalSubscriber() = -1, null",
                         "W Error in creating signal subscriber!", "W Error in creating signal subscriber!"},
                        {kSetsLanguage, "client 10", "client 1"}}));
}

TEST_F(DvbStart, GoesOnWhenThePesSignalCannotBeSubscribed)
{
    ScriptedTvService::Answer(TvCall::SUBSCRIBE, TvAnswer::Usual(), 5);
    ScriptedTvService::Answer(TvCall::SUBSCRIBE, TvAnswer::Failure(0));
    m_source->OnStart();
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING), Texts{});
    EXPECT_EQ(ScriptedTvService::SubscribedTo(85), std::vector<void*>{});
}

TEST_F(DvbStart, WithoutAClientIsTheSame)
{
    m_source->UnRegisterCallBack();
    m_source->OnStart();
    Drain(*m_source);
    EXPECT_EQ(Story(), Together({{kRegistersMenu}, Subscribes(1), Registers(4), {kSetsLanguage}}));
}

TEST_F(DvbStart, StopUnsubscribesAndUnregisters)
{
    Start();
    EXPECT_EQ(StoryOf([&] { m_source->OnStop(); }), Together({Unsubscribes(), {"client 9"}, Unregisters(4)}));
    EXPECT_EQ(m_client.Events(), (Texts{"9 @caller"}));
}

TEST_F(DvbStart, StopSaysAnEmptyLine)
{
    Start();
    m_source->OnStop();
    EXPECT_EQ(OwnLines().front(), "OnStop: ");
    EXPECT_EQ(ScriptedLog::CountOf({"OnStop", "Enter"}), 0U);
}

TEST_F(DvbStart, StopDoesNotWaitForTheSourceThreadNorStopTheTrack)
{
    Start();
    m_source->OnStop();
    EXPECT_EQ(ScriptedLog::CountOf({"OnStop", "Enter", "CTTMLSource.cpp"}), 0U);
    Drain(*m_source);
    EXPECT_EQ(m_client.Events(), (Texts{"9 @caller"}));
}

TEST_F(DvbStart, StopWithoutAStart)
{
    EXPECT_EQ(StoryOf([&] { m_source->OnStop(); }),
              (Texts{"W Not subscribed or already unsubscribed. t_bIsSubscribed=0", "client 9",
                     "W t_pSigSubscriber is null!"}));
}

TEST_F(DvbStart, StopTwice)
{
    Start();
    m_source->OnStop();
    EXPECT_EQ(StoryOf([&] { m_source->OnStop(); }),
              (Texts{"W Not subscribed or already unsubscribed. t_bIsSubscribed=0", "client 9",
                     "W t_pSigSubscriber is null!"}));
}

TEST_F(DvbStart, AfterAStopIsAsTheFirstTime)
{
    Start();
    m_source->OnStop();
    EXPECT_EQ(StoryOfAll([&] { m_source->OnStart(); }), Together({{kRegistersMenu, "client 8"},
                                                                  Subscribes(5),
                                                                  Registers(8),
                                                                  {kSetsLanguage, "client 10", "client 1"}}));
}

TEST_F(DvbStart, AfterAFailedUnsubscriptionDoesNothing)
{
    Start();
    ScriptedTvService::Answer(TvCall::UNSUBSCRIBE_PES, TvAnswer::Failure(0));
    EXPECT_EQ(
        StoryOf([&] { m_source->OnStop(); }),
        Together({{"UnsubscribePES(\"ttml\") = 0", "I Failed to unsubscribe!", "client 9"}, Unregisters(4)}));
    EXPECT_EQ(StoryOf([&] { m_source->OnStart(); }), (Texts{"I Nothing to do as caption already started"}));
}

TEST_F(DvbStart, StopGoesOnWhenThePesSignalCannotBeUnsubscribed)
{
    Start();
    ScriptedTvService::Answer(TvCall::UNSUBSCRIBE, TvAnswer::Failure(0));
    Texts expected = Unregisters(4);
    expected.front() = "#4.Unsubscribe(85, 1, 0) = 0";
    EXPECT_EQ(StoryOf([&] { m_source->OnStop(); }), Together({Unsubscribes(), {"client 9"}, expected}));
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING), Texts{});
}

// Showing and hiding.

TEST_F(DvbStart, ShowAndHideAreTheBases)
{
    auto& control = static_cast<TTML::ITTMLSourceControl&>(*m_source);
    const Texts story = StoryOf([&] { control.OnShow(); });
    EXPECT_EQ(story.back(), "client 11");
    EXPECT_EQ(story.at(story.size() - 2), "I HYBRID_SBT_TYPE_TTML subscribed RF PES subtitle data");
    EXPECT_EQ(StateFlags(*m_source), kShown | kActive);
    EXPECT_EQ(StoryOf([&] { control.OnHide(); }), (Texts{"I Hiding caption", "client 12"}));
    EXPECT_EQ(StateFlags(*m_source), kActive);
}

TEST_F(DvbStart, ShowOfAStartedSourceIsSubscribedAlready)
{
    Start();
    const Texts story = StoryOf([&] { m_source->OnShow(); });
    EXPECT_EQ(story.at(story.size() - 2), "W Already subscribed!");
    EXPECT_EQ(story.back(), "client 11");
    // The menu of captions is not this source's: only the lock setting is read.
    EXPECT_EQ(Journal::Instance().Calls("settings").size(), 1U);
}

TEST_F(DvbStart, AllControlGoesThroughTheSecondBaseToo)
{
    auto& control = static_cast<TTML::ITTMLSourceControl&>(*m_source);
    control.OnStart();
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 1U);
    control.OnStop();
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
}

// Signals.

using DvbSignals = DvbTest;

TEST_F(DvbSignals, OfAChangedPesSubscribeWhereNobodyIs)
{
    // Pins: m_HandleSignalPESChange.
    ScriptedTvService::Change([](TvScene& scene) { scene.stream.sbtType = 0; });
    Start();
    ScriptedTvService::Show({});
    const Texts story = StoryOfSignal(85);
    ASSERT_GT(story.size(), 3U);
    EXPECT_EQ(story.at(0), "I Received Signal SIGNAL_PES_CHANGED");
    EXPECT_EQ(story.at(1), "I PES changed signaled!");
    EXPECT_EQ(Texts(story.begin() + 2, story.end()), Subscribes(5));
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 1U);
}

TEST_F(DvbSignals, OfAChangedPesLeaveASubscriptionAsItIs)
{
    Start();
    ScriptedTvService::Change([](TvScene& scene) { scene.stream.profile = HYBRID_SBT_PROFILE_EBU_TT_D; });
    EXPECT_EQ(StoryOfSignal(85), (Texts{"I Received Signal SIGNAL_PES_CHANGED", "I PES changed signaled!",
                                        "W Already subscribed!"}));
    EXPECT_EQ(ProfileOf(*m_source), 0);
}

TEST_F(DvbSignals, OfAChangedPesSubscribeThroughTheVirtualTable)
{
    NotingDvbSource source;
    source.OnStart();
    Drain(source);
    Forget();
    ScriptedTvService::Signal(85);
    Drain(source);
    EXPECT_EQ(Journal::Instance().Calls("source"), (Texts{"t_SubscribeTTML()"}));
    source.OnStop();
}

TEST_F(DvbSignals, OfAnyOtherKindAreTheBases)
{
    Start();
    EXPECT_EQ(StoryOfSignal(59),
              Together({{"I Tvs signal: [59] Enter!", "I SIGNAL_TUNE_START", "I Hiding caption", "client 12"},
                        Unsubscribes(),
                        {"I Tvs signal: [59] Exit!", "client 2"}}));
    EXPECT_EQ(StoryOfSignal(60),
              Together({{"I Tvs signal: [60] Enter!", "I SIGNAL_TUNE_SUCCESS", "client 10"},
                        Subscribes(5),
                        {"client 1", "I Tvs signal: [60] Exit!"}}));
    EXPECT_EQ(StoryOfSignal(76),
              Together({{"I Tvs signal: [76] Enter!", "I SIGNAL_TVS_DEACTIVATE",
                         "I Handling SIGNAL_TVS_DEACTIVATE: Unregister menu callbacks", "client 9"},
                        Unsubscribes(),
                        {"I Tvs signal: [76] Exit!"}}));
    EXPECT_EQ(
        StoryOfSignal(75),
        Together({{"I Tvs signal: [75] Enter!", "I SIGNAL_TVS_ACTIVATE",
                   "I Handling SIGNAL_TVS_ACTIVATE: Register for menu callbacks", "client 8", "client 10"},
                  Subscribes(8),
                  {"I It seems SIGNAL_TUNE_SUCCESS already came before SIGNAL_TVS_ACTIVATE. Calling "
                   "PlayTrack",
                   "client 2", "client 1", "I Tvs signal: [75] Exit!"}}));
}

TEST_F(DvbSignals, OfATuneSuccessWhileSubscribedPlayAgain)
{
    Start();
    EXPECT_EQ(StoryOfSignal(60),
              (Texts{"I Tvs signal: [60] Enter!", "I SIGNAL_TUNE_SUCCESS", "client 10",
                     "W Already subscribed!", "client 2", "client 1", "I Tvs signal: [60] Exit!"}));
}

TEST_F(DvbSignals, OfTheRecorderSubscribeAndUnsubscribe)
{
    EXPECT_EQ(StoryOf([] { ScriptedRecorder::Signal(3, 1); }),
              Together({{"I PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, new state:[1]"}, Subscribes(1)}));
    EXPECT_EQ(StoryOf([] { ScriptedRecorder::Signal(3, 24); }),
              Together({{"I PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, new state:[24]"}, Unsubscribes()}));
}

TEST_F(DvbSignals, OfTrickModeSeekToTheMediaTime)
{
    Start();
    ScriptedTvService::Change([](TvScene& scene) { scene.stc = 900000; });
    StoryOfAll([] { ScriptedRecorder::Signal(16); });
    EXPECT_EQ(m_client.Events(), (Texts{"6 10000 @Source"}));
}

} // namespace

} // namespace TTMLTest
