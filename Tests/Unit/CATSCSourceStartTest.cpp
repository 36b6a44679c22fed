// The ATSC 3.0 source: start and stop, showing and hiding.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "AtscFixtures.h"
#include "ITTMLSourceControl.h"

namespace TTMLTest {

namespace {

using TTML::CATSCSource;

constexpr char kRegistersMenu[] = "I Registering Menu callbacks with vconf.";
constexpr char kNoLanguage[] = "I Set language as No information in the beginning.";
constexpr char kClearsLanguage[] = "vconf_set_int(\"db/menu/caption/captionlanguage\", 0) = 0";
constexpr char kSetsLanguage[] = "I Setting default language in menu.";
constexpr char kTvMode[] = "I In Tv-viewer mode";
constexpr char kBootUp[] =
    "I Subscribing for captions only when the current channel is ATSC3.0 at the time of boot-up.";

// What is said in front of everything that depends on the mode.
Texts Begins()
{
    return {kRegistersMenu, "client 8", kNoLanguage, kClearsLanguage};
}

Texts StartsOnAtsc3(bool korea = false)
{
    Texts subscribes = SubscribesToCaptions(2);
    int registers = 6;
    if (korea) {
        subscribes =
            Together({AsksWhetherAtsc3(2),
                      {"CreateDataSubscriber(1, 0) = 0, #3", "#3.SubscribeCaption() = 1, 1",
                       "I MPD parsing not required for Korea!", "I ATSC3.0 Subscription Successful!!"}});
        registers = 4;
    }
    return Together({Begins(),
                     {kTvMode},
                     AsksWhetherAtsc3(1),
                     {kBootUp},
                     subscribes,
                     {kSetsLanguage, "client 10"},
                     RegistersSignals(registers, korea)});
}

// An ATSC 3.0 source that notes what is called through the virtual table, and does it.
class NotingAtscSource : public CATSCSource
{
public:
    void PlayTrack(unsigned int trackId, const char* url, const char* arg) override
    {
        Note("PlayTrack(" + std::to_string(trackId) + ", " + Quoted(url) + ", " + Quoted(arg) + ")");
        CATSCSource::PlayTrack(trackId, url, arg);
    }

protected:
    void t_RegisterTVSCallbacks() override
    {
        Note("t_RegisterTVSCallbacks()");
        CATSCSource::t_RegisterTVSCallbacks();
    }
    void t_UnregisterTVSCallbacks() override
    {
        Note("t_UnregisterTVSCallbacks()");
        CATSCSource::t_UnregisterTVSCallbacks();
    }
    void t_SubscribeTTML() override
    {
        Note("t_SubscribeTTML()");
        CATSCSource::t_SubscribeTTML();
    }
    void t_UnSubscribeTTML() override
    {
        Note("t_UnSubscribeTTML()");
        CATSCSource::t_UnSubscribeTTML();
    }
    bool t_GetServiceInfo(int attribute, TCServiceData& data) override
    {
        Note("t_GetServiceInfo(" + std::to_string(attribute) + ")");
        return CATSCSource::t_GetServiceInfo(attribute, data);
    }
    bool t_IsSourceTypeSupported() override
    {
        Note("t_IsSourceTypeSupported()");
        return CATSCSource::t_IsSourceTypeSupported();
    }
    void t_NotifyRegisterMenuCB() override { Note("t_NotifyRegisterMenuCB()"); }
    void t_NotifyUnRegisterMenuCB() override { Note("t_NotifyUnRegisterMenuCB()"); }
    void t_NotifySetMenuLang() override { Note("t_NotifySetMenuLang()"); }

private:
    static void Note(const std::string& operation) { Journal::Instance().Add("source", operation); }
};

// Start.

using AtscStart = AtscTest;

TEST_F(AtscStart, SubscribesPlaysAndRegistersOnAnAtsc3Service)
{
    EXPECT_EQ(OwnStoryOf([&] { m_source->OnStart(); }), StartsOnAtsc3());
    Drain(*m_source);
    EXPECT_EQ(m_client.Events().back(), "1 in band @Source");
    EXPECT_EQ(m_client.CountOf(1), 1U);
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 1U);
    EXPECT_EQ(ScriptedSettings::ValueOf(kLanguageKey), 0);
    EXPECT_TRUE(StateOf(*m_source).subscribed);
}

TEST_F(AtscStart, NeedsNoMpdInKorea)
{
    MakeInKorea();
    EXPECT_EQ(OwnStoryOf([&] { m_source->OnStart(); }), StartsOnAtsc3(true));
    EXPECT_EQ(ScriptedTvService::SubscribedTo(kAtsc3Signal), std::vector<void*>{});
    EXPECT_EQ(ScriptedTvService::SubscribedTo(59), (std::vector<void*>{m_source.get()}));
}

TEST_F(AtscStart, OnlyRegistersOnAnotherService)
{
    ScriptedTvService::Change([](TvScene& scene) { scene.attributes[SERVICE_ATTRIBUTE_ATSC3] = {0, 0}; });
    EXPECT_EQ(OwnStoryOf([&] { m_source->OnStart(); }),
              Together({Begins(), {kTvMode}, AsksWhetherAtsc3(1), RegistersSignals(2)}));
    Drain(*m_source);
    EXPECT_EQ(m_client.Codes(), (std::vector<int>{8})) << "nothing is played";
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
}

TEST_F(AtscStart, OnlyRegistersWhereAtsc3IsSwitchedOff)
{
    ScriptedSettings::SetBool(kEnableKey, false);
    EXPECT_EQ(OwnStoryOf([&] { m_source->OnStart(); }),
              Together({Begins(),
                        {kTvMode, "vconf_get_bool(\"db/menu/broadcasting/atsc3_enable\") = 0, 0",
                         "I db/menu/broadcasting/atsc3_enable ret : 0, value : 0"},
                        RegistersSignals(1)}));
}

TEST_F(AtscStart, PlaysAndRegistersInThePvrPlayer)
{
    MakeInThePvrPlayer();
    EXPECT_EQ(OwnStoryOf([&] { m_source->OnStart(); }),
              Together({Begins(), {"I In PVR mode", kSetsLanguage, "client 10"}, RegistersSignals(1)}));
    Drain(*m_source);
    EXPECT_EQ(m_client.Events(), (Texts{"8 @caller", "10 @caller", "1 in band @Source"}));
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U) << "that is for the recorder to say";
}

TEST_F(AtscStart, GoesOnWithoutASubscription)
{
    ScriptedTvService::Answer(TvCall::CREATE_DATA_SUBSCRIBER, TvAnswer::Failure(-1));
    EXPECT_EQ(OwnStoryOf([&] { m_source->OnStart(); }),
              Together({Begins(),
                        {kTvMode},
                        AsksWhetherAtsc3(1),
                        {kBootUp},
                        AsksWhetherAtsc3(2),
                        {"CreateDataSubscriber(1, 0) = -1, null", "W CreateDataSubscriber is failed!",
                         kSetsLanguage, "client 10"},
                        RegistersSignals(3)}));
    Drain(*m_source);
    EXPECT_EQ(m_client.CountOf(1), 1U) << "it plays all the same";
}

TEST_F(AtscStart, GoesOnWhenTheLanguageCannotBeCleared)
{
    ScriptedSettings::Fail(SettingsCall::SET, -1);
    Texts expected = StartsOnAtsc3();
    expected.at(3) = "vconf_set_int(\"db/menu/caption/captionlanguage\", 0) = -1";
    EXPECT_EQ(OwnStoryOf([&] { m_source->OnStart(); }), expected);
}

TEST_F(AtscStart, GoesOnWithoutASignalSubscriber)
{
    ScriptedTvService::Answer(TvCall::CREATE_SIGNAL_SUBSCRIBER, TvAnswer::Failure(-1));
    const Texts story = OwnStoryOf([&] { m_source->OnStart(); });
    const Texts last(story.end() - 4, story.end());
    EXPECT_EQ(last,
              (Texts{"I Creating TVS signal subscriber.", "CreateSignalSubscriber() = -1, null",
                     "W Error in creating signal subscriber!", "W Error in creating signal subscriber!"}));
}

TEST_F(AtscStart, DoesNothingWhileSubscribed)
{
    Start();
    EXPECT_EQ(StoryOfAll([&] { m_source->OnStart(); }),
              (Texts{"I Nothing to do as caption already started"}));
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(ScriptedLog::CountOf({"OnStart", "Enter", "CTTMLSource.cpp"}), 0U);
}

TEST_F(AtscStart, CallsThroughTheVirtualTable)
{
    NotingAtscSource source;
    source.OnStart();
    EXPECT_EQ(Journal::Instance().Calls("source"),
              (Texts{"t_NotifyRegisterMenuCB()", "t_GetServiceInfo(156)", "t_SubscribeTTML()",
                     "t_GetServiceInfo(156)", "t_GetServiceInfo(12)", "t_NotifySetMenuLang()",
                     "PlayTrack(0, null, null)", "t_RegisterTVSCallbacks()"}));
    Forget();
    source.OnStop();
    EXPECT_EQ(Journal::Instance().Calls("source"),
              (Texts{"t_UnSubscribeTTML()", "t_NotifyUnRegisterMenuCB()", "t_UnregisterTVSCallbacks()"}));
    Forget();
    source.OnShow();
    EXPECT_EQ(Journal::Instance().Calls("source"), (Texts{"t_IsSourceTypeSupported()", "t_SubscribeTTML()",
                                                          "t_GetServiceInfo(156)", "t_GetServiceInfo(12)"}));
    source.OnStop();
}

TEST_F(AtscStart, CallsThroughTheVirtualTableInThePvrPlayerToo)
{
    MakeInThePvrPlayer();
    NotingAtscSource source;
    source.OnStart();
    EXPECT_EQ(Journal::Instance().Calls("source"),
              (Texts{"t_NotifyRegisterMenuCB()", "t_NotifySetMenuLang()", "PlayTrack(0, null, null)",
                     "t_RegisterTVSCallbacks()"}));
    source.OnStop();
}

TEST_F(AtscStart, StartsTheBaseFirst)
{
    m_source->OnStart();
    const Texts lines = OwnLines();
    const Texts expected = {"OnStart: Enter", "OnStart: Enter", "OnStart: Exit",
                            "OnStart: Registering Menu callbacks with vconf."};
    EXPECT_EQ(Texts(lines.begin(), lines.begin() + 4), expected);
    EXPECT_EQ(lines.back(), "OnStart: Exit");
}

// Stop.

TEST_F(AtscStart, StopUnsubscribesAndUnregisters)
{
    Start();
    EXPECT_EQ(StoryOf([&] { m_source->OnStop(); }),
              Together({EndsCaptions(3), {"client 9"}, UnregistersSignals(6)}));
    EXPECT_EQ(OwnLines().front(), "OnStop: ");
    EXPECT_EQ(ScriptedLog::CountOf({"OnStop", "Enter"}), 0U) << "nor does it stop the source thread";
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
    EXPECT_FALSE(StateOf(*m_source).subscribed);
}

TEST_F(AtscStart, StopInKoreaEndsNoMpdSignal)
{
    MakeInKorea();
    Start();
    EXPECT_EQ(StoryOf([&] { m_source->OnStop(); }),
              Together({EndsCaptions(3), {"client 9"}, UnregistersSignals(4, true)}));
}

TEST_F(AtscStart, StopInThePvrPlayer)
{
    MakeInThePvrPlayer();
    Start();
    EXPECT_EQ(StoryOf([&] { m_source->OnStop(); }),
              Together({{"W Already unsubscribed", "client 9"}, UnregistersSignals(1)}));
}

TEST_F(AtscStart, StopWithoutAStartOrTwice)
{
    const Texts nothing = {"W Already unsubscribed", "client 9", "W t_pSigSubscriber is null!"};
    EXPECT_EQ(StoryOf([&] { m_source->OnStop(); }), nothing);
    Start();
    m_source->OnStop();
    EXPECT_EQ(StoryOf([&] { m_source->OnStop(); }), nothing);
}

TEST_F(AtscStart, AfterAStopIsAsTheFirstTime)
{
    Start();
    m_source->OnStop();
    EXPECT_EQ(OwnStoryOf([&] { m_source->OnStart(); }), Together({Begins(),
                                                                  {kTvMode},
                                                                  AsksWhetherAtsc3(7),
                                                                  {kBootUp},
                                                                  SubscribesToCaptions(8, 2),
                                                                  {kSetsLanguage, "client 10"},
                                                                  RegistersSignals(12)}));
}

// Showing and hiding.

const Texts kAsksForCaptions = {"vconf_get_int(\"db/menu/caption/caption\") = 0, 1"};

Texts AsksForSourceType(int session, int type)
{
    const std::string control = "#" + std::to_string(session);
    return {"IsTvsTerminated() = 0", "CreateSourceControl(1, 0) = 0, " + control,
            control + ".GetCurrentSourceInfo() = 1, " + std::to_string(type),
            "I GetCurrentSourceInfo returns=[" + std::to_string(type) + "]", "Destroy(" + control + ")"};
}

Texts AsksForLocks(int session)
{
    const std::string control = "#" + std::to_string(session);
    return {"vconf_get_bool(\"db/menu/broadcasting/channel_lock\") = 0, 0",
            "I Get channel lock value success, nChannelLock = 0",
            "I Child Lock is off!!",
            "IsTvsTerminated() = 0",
            "CreateAVControl(7, 3) = 0, " + control,
            control + ".GetParentalLock() = 1, 0",
            "Destroy(" + control + ")",
            "I Channel lock status :: 0"};
}

using AtscShow = AtscTest;

TEST_F(AtscShow, AsksForTheSettingAndTheSourceAndShows)
{
    EXPECT_EQ(StoryOf([&] { m_source->OnShow(); }), Together({kAsksForCaptions,
                                                              AsksForSourceType(1, 0),
                                                              AsksForLocks(2),
                                                              SubscribesToCaptions(3),
                                                              {"client 11"}}));
    EXPECT_EQ(StateFlags(*m_source), kShown | kActive);
}

TEST_F(AtscShow, TakesAnySettingButOff)
{
    for (const int value : {2, -1, 1000}) {
        ScriptedSettings::SetInt(kCaptionKey, value);
        EXPECT_EQ(StoryOf([&] { m_source->OnShow(); }).back(), "client 11") << value;
    }
}

TEST_F(AtscShow, DoesNothingWhileCaptionsAreOff)
{
    ScriptedSettings::SetInt(kCaptionKey, 0);
    EXPECT_EQ(StoryOf([&] { m_source->OnShow(); }),
              (Texts{"vconf_get_int(\"db/menu/caption/caption\") = 0, 0",
                     "W Reading vconf_get_int for CAPTION_STATUS returns OFF or Invalid."}));
    EXPECT_EQ(StateFlags(*m_source), kActive);
}

TEST_F(AtscShow, TakesAnUnreadableSettingForOff)
{
    ScriptedSettings::SetMissing(kCaptionKey);
    EXPECT_EQ(StoryOf([&] { m_source->OnShow(); }),
              (Texts{"vconf_get_int(\"db/menu/caption/caption\") = -1",
                     "W Reading vconf_get_int for CAPTION_STATUS returns OFF or Invalid."}));
    ScriptedSettings::SetInt(kCaptionKey, 1);
    ScriptedSettings::Fail(SettingsCall::GET, -7);
    EXPECT_EQ(StoryOf([&] { m_source->OnShow(); }).back(),
              "W Reading vconf_get_int for CAPTION_STATUS returns OFF or Invalid.");
}

TEST_F(AtscShow, DoesNothingOnAnotherSource)
{
    ScriptedTvService::Change([](TvScene& scene) { scene.sourceType = 5; });
    EXPECT_EQ(
        StoryOf([&] { m_source->OnShow(); }),
        Together({kAsksForCaptions, AsksForSourceType(1, 5), {"W Source type not supported! return."}}));
    EXPECT_EQ(m_client.Events(), Texts{});
}

TEST_F(AtscShow, DoesNotAskForTheSourceInThePvrPlayer)
{
    MakeInThePvrPlayer();
    ScriptedTvService::Change([](TvScene& scene) { scene.sourceType = 5; });
    EXPECT_EQ(StoryOf([&] { m_source->OnShow(); }),
              Together({kAsksForCaptions, AsksForLocks(1), SubscribesToCaptions(2), {"client 11"}}));
}

TEST_F(AtscShow, HidesAsTheBaseDoes)
{
    auto& control = static_cast<TTML::ITTMLSourceControl&>(*m_source);
    control.OnShow();
    EXPECT_EQ(StoryOf([&] { control.OnHide(); }), (Texts{"I Hiding caption", "client 12"}));
    EXPECT_EQ(StateFlags(*m_source), kActive);
    EXPECT_TRUE(StateOf(*m_source).subscribed) << "the subscription stays";
    EXPECT_EQ(ScriptedLog::CountOf({"OnHide", "Enter", "CATSCSource.cpp"}), 1U);
    EXPECT_EQ(ScriptedLog::CountOf({"OnHide", "Exit", "CATSCSource.cpp"}), 1U);
    m_source->OnStop();
}

TEST_F(AtscShow, AllControlGoesThroughTheSecondBaseToo)
{
    auto& control = static_cast<TTML::ITTMLSourceControl&>(*m_source);
    control.OnStart();
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 1U);
    control.OnShow();
    EXPECT_EQ(m_client.CountOf(11), 1U);
    control.OnStop();
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
}

} // namespace

} // namespace TTMLTest
