// The ATSC 3.0 source: subscribing to captions and the end of that, and the TV service's and the recorder's
// signals.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "AtscFixtures.h"

TTML_EXPOSE_FUNCTION(AtscIsService, bool (TTML::CATSCSource::*)(), TTML::CATSCSource::m_IsATSC3Service)

namespace TTMLTest {

namespace {

constexpr char kAsksForSetting[] = "vconf_get_bool(\"db/menu/broadcasting/atsc3_enable\") = 0, 1";
constexpr char kNoService[] = "I Not ATSC3.0 service!";

class AtscSubscription : public AtscTest
{
protected:
    bool IsAtsc3Service() { return CallPrivate<AtscIsService>(*m_source); }

    // A session object of the platform's that the source did not create.
    static TVServiceAPI::IDataSubscriber* Stray()
    {
        TVServiceAPI::IDataSubscriber* stray = nullptr;
        TVServiceAPI::CreateDataSubscriber(PROFILE_MAIN, 0, &stray);
        return stray;
    }
};

// Whether the service is one.

TEST_F(AtscSubscription, AsksTheSettingAndTheService)
{
    bool is = false;
    EXPECT_EQ(StoryOf([&] { is = IsAtsc3Service(); }), AsksWhetherAtsc3(1));
    EXPECT_TRUE(is);
}

TEST_F(AtscSubscription, TakesAnyIndicationButZeroOfTheService)
{
    for (const int value : {1, 7, -1}) {
        ScriptedTvService::Change([&](TvScene& scene) {
            scene.attributes[SERVICE_ATTRIBUTE_ATSC3] = {value, 0};
        });
        EXPECT_TRUE(IsAtsc3Service()) << value;
    }
    ScriptedTvService::Change([](TvScene& scene) { scene.attributes[SERVICE_ATTRIBUTE_ATSC3] = {0, 99}; });
    EXPECT_FALSE(IsAtsc3Service());
}

TEST_F(AtscSubscription, NeedsTheIndication)
{
    ScriptedTvService::Change([](TvScene& scene) { scene.attributes.erase(SERVICE_ATTRIBUTE_ATSC3); });
    bool is = true;
    EXPECT_EQ(StoryOf([&] { is = IsAtsc3Service(); }), AsksWhetherAtsc3(1));
    EXPECT_FALSE(is);
    ScriptedTvService::Change([](TvScene& scene) {
        scene.hasAttributes = false;
        scene.attributes[SERVICE_ATTRIBUTE_ATSC3] = {1, 0};
    });
    EXPECT_FALSE(IsAtsc3Service());
}

TEST_F(AtscSubscription, NeedsTheSetting)
{
    bool is = true;
    ScriptedSettings::SetBool(kEnableKey, false);
    EXPECT_EQ(StoryOf([&] { is = IsAtsc3Service(); }),
              (Texts{"vconf_get_bool(\"db/menu/broadcasting/atsc3_enable\") = 0, 0",
                     "I db/menu/broadcasting/atsc3_enable ret : 0, value : 0"}));
    EXPECT_FALSE(is);
    ScriptedSettings::SetMissing(kEnableKey);
    EXPECT_EQ(StoryOf([&] { is = IsAtsc3Service(); }),
              (Texts{"vconf_get_bool(\"db/menu/broadcasting/atsc3_enable\") = -1",
                     "I db/menu/broadcasting/atsc3_enable ret : -1, value : 0"}));
    EXPECT_FALSE(is);
}

TEST_F(AtscSubscription, NeedsTheService)
{
    bool is = true;
    ScriptedTvService::Answer(TvCall::CREATE_SERVICE_NAVIGATION, TvAnswer::Failure(-1));
    EXPECT_EQ(StoryOf([&] { is = IsAtsc3Service(); }),
              (Texts{kAsksForSetting, "IsTvsTerminated() = 0", "CreateServiceNavigation(1, 0) = -1, null",
                     "I CreateServiceNavigation failed!"}));
    EXPECT_FALSE(is);
    ScriptedTvService::Answer(TvCall::GET_CURRENT_SERVICE_INFO, TvAnswer::Failure(0));
    EXPECT_EQ(StoryOf([&] { is = IsAtsc3Service(); }).at(8), "W GetCurrentServiceInfo failed!!");
    EXPECT_FALSE(is);
    ScriptedTvService::Change([](TvScene& scene) { scene.terminated = true; });
    EXPECT_EQ(StoryOf([&] { is = IsAtsc3Service(); }),
              (Texts{kAsksForSetting, "IsTvsTerminated() = 1", "W TVS is terminated!"}));
    EXPECT_FALSE(is);
}

// Subscribing.

TEST_F(AtscSubscription, IsMadeAndTheMpdRead)
{
    EXPECT_EQ(StoryOf([&] { Subscribe(); }), SubscribesToCaptions(1));
    const AtscState state = StateOf(*m_source);
    EXPECT_TRUE(state.subscribed);
    EXPECT_TRUE(state.hasSubscriber);
    EXPECT_EQ(state.subscriptionId, 1);
    EXPECT_EQ(state.start, kMpdStart);
    EXPECT_EQ(state.delay, kMpdDelay);
}

TEST_F(AtscSubscription, NeedsNoMpdInKorea)
{
    MakeInKorea();
    EXPECT_EQ(StoryOf([&] { Subscribe(); }),
              Together({AsksWhetherAtsc3(1),
                        {"CreateDataSubscriber(1, 0) = 0, #2", "#2.SubscribeCaption() = 1, 1",
                         "I MPD parsing not required for Korea!", "I ATSC3.0 Subscription Successful!!"}}));
    EXPECT_EQ(StateOf(*m_source).start, 0);
    EXPECT_EQ(StateOf(*m_source).delay, 0);
}

TEST_F(AtscSubscription, IsNotMadeTwice)
{
    Subscribe();
    EXPECT_EQ(StoryOf([&] { Subscribe(); }), (Texts{"W Already subscribed!"}));
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 1U);
}

TEST_F(AtscSubscription, EntersAndLeavesEveryOperation)
{
    const Texts trace = TraceOf([&] { Subscribe(); });
    EXPECT_EQ(trace.front(), "t_SubscribeTTML: Enter");
    EXPECT_EQ(trace.at(1), "m_IsATSC3Service: Enter");
    EXPECT_EQ(trace.back(), "t_SubscribeTTML: Exit");
    EXPECT_EQ(ScriptedLog::CountOf({"m_UpdateMpdProperties", "Enter"}), 1U);
    EXPECT_EQ(ScriptedLog::CountOf({"m_GetMpd", "Exit"}), 1U);
    const Texts end = TraceOf([&] { Unsubscribe(); });
    EXPECT_EQ(end.front(), "t_UnSubscribeTTML: Enter");
    EXPECT_EQ(end.at(1), "Reset: Enter") << "the MPD's times";
    EXPECT_EQ(end.back(), "t_UnSubscribeTTML: Exit");
    EXPECT_EQ(TraceOf([&] { Unsubscribe(); }),
              (Texts{"t_UnSubscribeTTML: Enter", "t_UnSubscribeTTML: Already unsubscribed",
                     "t_UnSubscribeTTML: Exit"}));
}

// Each step that can fail, in turn.

TEST_F(AtscSubscription, IsNotMadeForOtherServices)
{
    ScriptedTvService::Change([](TvScene& scene) { scene.attributes[SERVICE_ATTRIBUTE_ATSC3] = {0, 0}; });
    EXPECT_EQ(StoryOf([&] { Subscribe(); }), Together({AsksWhetherAtsc3(1), {kNoService}}));
    ScriptedSettings::SetBool(kEnableKey, false);
    EXPECT_EQ(StoryOf([&] { Subscribe(); }).back(), kNoService);
    EXPECT_FALSE(StateOf(*m_source).subscribed);
}

TEST_F(AtscSubscription, ReplacesASubscriberThatWasLeft)
{
    ForceSubscriber(*m_source, Stray());
    const Texts story = StoryOf([&] { Subscribe(); });
    EXPECT_EQ(story, Together({AsksWhetherAtsc3(2),
                               {"W Data subscriber must be null!", "Destroy(#1)",
                                "CreateDataSubscriber(1, 0) = 0, #3", "#3.SubscribeCaption() = 1, 1"},
                               UpdatesMpd(4),
                               {"I ATSC3.0 Subscription Successful!!"}}));
}

TEST_F(AtscSubscription, FailsWithoutASubscriber)
{
    int session = 0;
    for (const TvAnswer answer : {TvAnswer::Failure(-1), TvAnswer::Failure(1), TvAnswer::Null()}) {
        ScriptedTvService::Answer(TvCall::CREATE_DATA_SUBSCRIBER, answer);
        EXPECT_EQ(StoryOf([&] { Subscribe(); }),
                  Together({AsksWhetherAtsc3(++session),
                            {"CreateDataSubscriber(1, 0) = " + std::to_string(*answer.result) + ", null",
                             "W CreateDataSubscriber is failed!"}}));
        EXPECT_FALSE(StateOf(*m_source).subscribed);
        EXPECT_FALSE(StateOf(*m_source).hasSubscriber);
    }
    EXPECT_EQ(StoryOf([&] { Subscribe(); }), SubscribesToCaptions(4)) << "it can be tried again";
}

// A subscriber that is there is used, and released in the end, whatever came with it.
TEST_F(AtscSubscription, NeedsNothingButTheSubscriber)
{
    for (const int result : {1, -1}) {
        ScriptedTvService::Answer(TvCall::CREATE_DATA_SUBSCRIBER, TvAnswer::Result(result));
        Subscribe();
        EXPECT_TRUE(StateOf(*m_source).subscribed);
        EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 1U);
        Unsubscribe();
        EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
    }
    EXPECT_EQ(ScriptedLog::CountOf("CreateDataSubscriber is failed!"), 0U);
}

TEST_F(AtscSubscription, FailsWhenTheServiceRefusesIt)
{
    int session = 1;
    for (const int result : {0, -1}) {
        ScriptedTvService::Answer(TvCall::SUBSCRIBE_CAPTION, TvAnswer::Failure(result));
        const std::string subscriber = "#" + std::to_string(session + 1);
        EXPECT_EQ(StoryOf([&] { Subscribe(); }),
                  Together({AsksWhetherAtsc3(session),
                            {"CreateDataSubscriber(1, 0) = 0, " + subscriber,
                             subscriber + ".SubscribeCaption() = " + std::to_string(result),
                             "W ATSC3.0 Subscription Unsuccessful!!", "Destroy(" + subscriber + ")"}}));
        EXPECT_FALSE(StateOf(*m_source).subscribed);
        EXPECT_FALSE(StateOf(*m_source).hasSubscriber);
        EXPECT_EQ(StateOf(*m_source).start, 0) << "the MPD is not asked for";
        session += 2;
    }
    EXPECT_EQ(StoryOf([&] { Unsubscribe(); }), (Texts{"W Already unsubscribed"}));
    EXPECT_EQ(StoryOf([&] { Subscribe(); }), SubscribesToCaptions(5)) << "it can be tried again";
}

TEST_F(AtscSubscription, DoesWithoutAnMpd)
{
    ScriptedTvService::Answer(TvCall::GET_MPD_DATA, TvAnswer::Failure(0));
    EXPECT_EQ(StoryOf([&] { Subscribe(); }).back(), "I ATSC3.0 Subscription Successful!!");
    EXPECT_TRUE(StateOf(*m_source).subscribed);
    EXPECT_EQ(StateOf(*m_source).start, 0);
}

TEST_F(AtscSubscription, ForgetsTheLastCaption)
{
    Subscribe();
    Deliver(CaptionOf("<tt/>"));
    Unsubscribe();
    EXPECT_FALSE(StateOf(*m_source).last.empty());
    Subscribe();
    EXPECT_TRUE(StateOf(*m_source).last.empty());
    Deliver(CaptionOf("<tt/>"));
    EXPECT_EQ(m_client.CountOf(0), 2U) << "it is none of this subscription's repeats";
}

TEST_F(AtscSubscription, ThatFailsKeepsTheLastCaption)
{
    Subscribe();
    Deliver(CaptionOf("<tt/>"));
    Unsubscribe();
    ScriptedTvService::Answer(TvCall::SUBSCRIBE_CAPTION, TvAnswer::Failure(0));
    Subscribe();
    EXPECT_FALSE(StateOf(*m_source).last.empty());
}

// The end.

TEST_F(AtscSubscription, IsTakenBack)
{
    Subscribe();
    Deliver(CaptionOf("<tt/>"));
    ASSERT_EQ(ScriptedSettings::ValueOf(kBannerKey), 1);
    EXPECT_EQ(StoryOf([&] { Unsubscribe(); }), EndsCaptions(2));
    const AtscState state = StateOf(*m_source);
    EXPECT_FALSE(state.subscribed);
    EXPECT_FALSE(state.hasSubscriber);
    EXPECT_EQ(state.start, 0);
    EXPECT_EQ(state.delay, 0);
    EXPECT_EQ(state.caption.profile, 255);
    EXPECT_EQ(state.caption.id, "cc1") << "only the profile is unknown again";
    EXPECT_EQ(ScriptedSettings::ValueOf(kBannerKey), 0);
    EXPECT_EQ(state.referenceTime, 2000000000) << "the times of the captions stay";
}

TEST_F(AtscSubscription, IsTakenBackByItsOwnId)
{
    Subscribe();
    Unsubscribe();
    Subscribe();
    EXPECT_EQ(StoryOf([&] { Unsubscribe(); }), EndsCaptions(6, 2));
}

TEST_F(AtscSubscription, IsNotTakenBackTwice)
{
    EXPECT_EQ(StoryOf([&] { Unsubscribe(); }), (Texts{"W Already unsubscribed"}));
    Subscribe();
    Unsubscribe();
    EXPECT_EQ(StoryOf([&] { Unsubscribe(); }), (Texts{"W Already unsubscribed"}));
}

TEST_F(AtscSubscription, EndsEvenIfTheServiceKeepsIt)
{
    for (const int result : {0, -1}) {
        Subscribe();
        ScriptedTvService::Answer(TvCall::UNSUBSCRIBE_CAPTION, TvAnswer::Failure(result));
        const Texts story = StoryOf([&] { Unsubscribe(); });
        ASSERT_EQ(story.size(), 7U);
        EXPECT_NE(story.at(4).find(") = " + std::to_string(result)), std::string::npos);
        EXPECT_EQ(story.at(5), "W Unsubscribe Unsuccessful!!");
        EXPECT_EQ(story.at(6).rfind("Destroy(#", 0), 0U);
        EXPECT_FALSE(StateOf(*m_source).subscribed);
        EXPECT_FALSE(StateOf(*m_source).hasSubscriber);
    }
}

TEST_F(AtscSubscription, EndsWithoutASubscriber)
{
    ForceSubscribed(*m_source, true);
    ForceProfile(*m_source, 1);
    EXPECT_EQ(StoryOf([&] { Unsubscribe(); }),
              Together({WritesBanner(0), {"W m_pDataSubscriber is null!!"}}));
    EXPECT_FALSE(StateOf(*m_source).subscribed);
    EXPECT_EQ(StateOf(*m_source).caption.profile, 255);
}

TEST_F(AtscSubscription, EndsWhenTheBannerCannotBeCleared)
{
    Subscribe();
    ScriptedSettings::Fail(SettingsCall::SET, -1);
    EXPECT_EQ(
        StoryOf([&] { Unsubscribe(); }),
        (Texts{"vconf_set_bool(\"memory/tv-viewer/infobanner/ttml\", 0) = -1", "W Error in setting vconf key",
               "#2.UnsubscribeCaption(1) = 1", "I Unsubscribe Successful!!", "Destroy(#2)"}));
}

// Registration for signals.

using AtscSignals = AtscTest;

TEST_F(AtscSignals, AreThoseOfTheBaseAndOneMore)
{
    EXPECT_EQ(StoryOf([&] { Register(); }), RegistersSignals(1));
    for (const int signal : {59, 60, 62, 75, 76, 178}) {
        EXPECT_EQ(ScriptedTvService::SubscribedTo(signal), (std::vector<void*>{m_source.get()})) << signal;
    }
    EXPECT_EQ(StoryOf([&] { Unregister(); }), UnregistersSignals(1));
}

TEST_F(AtscSignals, AreThoseOfTheBaseInKorea)
{
    MakeInKorea();
    EXPECT_EQ(StoryOf([&] { Register(); }), RegistersSignals(1, true));
    EXPECT_EQ(StoryOf([&] { Unregister(); }), UnregistersSignals(1, true));
}

TEST_F(AtscSignals, SayAnEmptyLineWhenRegistered)
{
    const Texts trace = TraceOf([&] { Register(); });
    EXPECT_EQ(trace.at(0), "t_RegisterTVSCallbacks: ");
    EXPECT_EQ(trace.at(1), "t_RegisterTVSCallbacks: Enter") << "the base's";
    const Texts end = TraceOf([&] { Unregister(); });
    EXPECT_EQ(end.at(0), "t_UnregisterTVSCallbacks: Enter");
    EXPECT_EQ(end.back(), "t_UnregisterTVSCallbacks: Exit");
}

TEST_F(AtscSignals, AreNotThereWithoutASubscriber)
{
    ScriptedTvService::Answer(TvCall::CREATE_SIGNAL_SUBSCRIBER, TvAnswer::Null());
    EXPECT_EQ(StoryOf([&] { Register(); }),
              (Texts{"I Creating TVS signal subscriber.", "CreateSignalSubscriber() = 0, null",
                     "W Error in creating signal subscriber!", "W Error in creating signal subscriber!"}));
    EXPECT_EQ(StoryOf([&] { Unregister(); }), (Texts{"W t_pSigSubscriber is null!"}));
}

TEST_F(AtscSignals, MayFailWithoutAWordForTheirOwn)
{
    ScriptedTvService::Answer(TvCall::SUBSCRIBE, TvAnswer::Usual(), 5);
    ScriptedTvService::Answer(TvCall::SUBSCRIBE, TvAnswer::Failure(0));
    Texts expected = RegistersSignals(1);
    expected.back() = "#1.Subscribe(178, 1, 0) = 0";
    EXPECT_EQ(StoryOf([&] { Register(); }), expected);
    ScriptedTvService::Answer(TvCall::UNSUBSCRIBE, TvAnswer::Failure(0));
    expected = UnregistersSignals(1);
    expected.front() = "#1.Unsubscribe(178, 1, 0) = 0";
    EXPECT_EQ(StoryOf([&] { Unregister(); }), expected);
}

// What signals do.

TEST_F(AtscSignals, OfANewMpdReadIt)
{
    Start();
    ScriptedTvService::Change(
        [](TvScene& scene) { scene.mpd = "availabilityStartTime=\"1970-01-01T00:00:07Z\""; });
    EXPECT_EQ(
        StoryOfSignal(kAtsc3Signal, kMpdIsThere),
        Together({{"I eventData.data.l[VALUE_ZERO]=8", "I Received signal ATSC3_SERVICE_SIGNALING_DONE_MPD"},
                  AsksForService(12, 7),
                  {"I Route service!", "I service id is 1001", "CreateATSC3DataControl(1, 0) = 0, #8",
                   "#8.GetMpdData(1001) = 1, \"availabilityStartTime=\"1970-01-01T00:00:07Z\"\"",
                   "I GetMpdData() return: true", "Destroy(#8)",
                   "I Found the property (availabilityStartTime=\") with value (1970-01-01T00:00:07Z) in Mpd",
                   "I Found mpd@ast: 1970-01-01T00:00:07Z => 7.000000000, gmtOffset:0",
                   "W mpd property (suggestedPresentationDelay=\") not found in mpdContent"}}));
    EXPECT_EQ(StateOf(*m_source).start, 7000);
    EXPECT_EQ(StateOf(*m_source).delay, 0) << "nothing is left of the one before";
}

TEST_F(AtscSignals, OfTheSameMpdReadItToo)
{
    Start();
    EXPECT_EQ(
        StoryOfSignal(kAtsc3Signal, kMpdIsThere),
        Together({{"I eventData.data.l[VALUE_ZERO]=8", "I Received signal ATSC3_SERVICE_SIGNALING_DONE_MPD"},
                  UpdatesMpd(7)}));
}

TEST_F(AtscSignals, OfOtherSignallingDoNothing)
{
    Start();
    for (const int word : {0, 7, 9, -1}) {
        EXPECT_EQ(StoryOfSignal(kAtsc3Signal, word),
                  (Texts{"I eventData.data.l[VALUE_ZERO]=" + std::to_string(word)}));
    }
    EXPECT_EQ(StateOf(*m_source).start, kMpdStart);
}

TEST_F(AtscSignals, OfANewMpdInKoreaDoNothing)
{
    MakeInKorea();
    Start();
    const Texts story = StoryOfAll([&] {
        TSSignalData data = {};
        data.data.l[0] = kMpdIsThere;
        ScriptedTvService::LateSignal(kAtsc3Signal, m_source.get(), data);
    });
    EXPECT_EQ(story,
              (Texts{"I eventData.data.l[VALUE_ZERO]=8", "I Received signal ATSC3_SERVICE_SIGNALING_DONE_MPD",
                     "I MPD parsing not required for Korea!"}));
}

TEST_F(AtscSignals, OfAnyOtherKindAreTheBases)
{
    Start();
    EXPECT_EQ(StoryOfSignal(59),
              Together({{"I Tvs signal: [59] Enter!", "I SIGNAL_TUNE_START", "I Hiding caption", "client 12"},
                        EndsCaptions(3),
                        {"I Tvs signal: [59] Exit!", "client 2"}}));
    EXPECT_EQ(StoryOfSignal(60),
              Together({{"I Tvs signal: [60] Enter!", "I SIGNAL_TUNE_SUCCESS", "client 10"},
                        SubscribesToCaptions(7, 2),
                        {"client 1", "I Tvs signal: [60] Exit!"}}));
    EXPECT_EQ(StoryOfSignal(76),
              Together({{"I Tvs signal: [76] Enter!", "I SIGNAL_TVS_DEACTIVATE",
                         "I Handling SIGNAL_TVS_DEACTIVATE: Unregister menu callbacks", "client 9"},
                        EndsCaptions(8, 2),
                        {"I Tvs signal: [76] Exit!"}}));
    EXPECT_EQ(StoryOfAll([&] { ScriptedTvService::LateSignal(kOtherSignal, m_source.get()); }),
              (Texts{"I Tvs signal: [61] Enter!", "I Seems invalid signal!", "I Tvs signal: [61] Exit!"}));
}

TEST_F(AtscSignals, OfATuneToAnotherKindOfServiceSubscribeNothing)
{
    Start();
    StoryOfSignal(59);
    ScriptedTvService::Change([](TvScene& scene) { scene.attributes[SERVICE_ATTRIBUTE_ATSC3] = {0, 0}; });
    EXPECT_EQ(StoryOfSignal(60),
              Together({{"I Tvs signal: [60] Enter!", "I SIGNAL_TUNE_SUCCESS", "client 10"},
                        AsksWhetherAtsc3(7),
                        {kNoService, "client 1", "I Tvs signal: [60] Exit!"}}));
}

TEST_F(AtscSignals, OfTheRecorderSubscribeAndUnsubscribe)
{
    MakeInThePvrPlayer();
    EXPECT_EQ(StoryOf([] { ScriptedRecorder::Signal(3, 1); }),
              Together({{"I PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, new state:[1]"}, SubscribesToCaptions(1)}));
    EXPECT_EQ(StoryOf([] { ScriptedRecorder::Signal(3, 24); }),
              Together({{"I PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, new state:[24]"}, EndsCaptions(2)}));
}

TEST_F(AtscSignals, OfTrickModeSeekToTheMediaTime)
{
    MakeInKorea();
    Start();
    Deliver(CaptionOf("<tt/>", 10000000000));
    m_client.Clear();
    ScriptedFileManager::SetTimeOfDay(1250);
    StoryOfAll([] { ScriptedRecorder::Signal(16); });
    EXPECT_EQ(m_client.Events(), (Texts{"6 10250 @Source"}));
}

} // namespace

} // namespace TTMLTest
