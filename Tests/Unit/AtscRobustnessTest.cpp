// The ATSC 3.0 source against the clock: construction, destruction, start and stop while signals, captions
// and notices are under way.

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "AtscFixtures.h"

namespace TTMLTest {

namespace {

class AtscRobustness : public AtscTest
{
protected:
    // Holds the client inside the callback with the code until m_goOn opens.
    void HoldClientAt(int code)
    {
        m_client.On(code, [this] {
            m_inside.Open();
            m_goOn.Wait();
        });
    }
    // Has the source thread handle a signal and stay inside until m_goOn opens. What is sent meanwhile waits.
    void HoldSourceThread()
    {
        HoldClientAt(12);
        ScriptedTvService::Signal(SIGNAL_TUNE_START);
        m_inside.Wait();
    }
    static TSSignalData NewMpd()
    {
        TSSignalData data = {};
        data.data.l[0] = kMpdIsThere;
        return data;
    }
    static int BannerValue() { return ScriptedSettings::ValueOf(kBannerKey); }

    Gate m_inside{"the callback is inside"};
    Gate m_goOn{"the callback may go on"};
};

// Construction.

TEST_F(AtscRobustness, CallbacksBeforeItIsCompleteDoNothing)
{
    m_source.reset();
    unsigned int sent = 0;
    const std::string last =
        "Got package name: [" + std::string(kTvPackage) + "] for pid [" + std::to_string(getpid()) + "]";
    ScriptedLog::On({"t_IsPvrPlayerMode", last}, [&] {
        Forget();
        sent += ScriptedSettings::Notice(kBannerKey);
        sent += ScriptedRecorder::Signal(PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_PLAYING);
        sent += ScriptedRecorder::Signal(PS_SIGNAL_TYPE_TRICK_MODE_START);
    });
    m_source = std::make_unique<TTML::CATSCSource>();
    EXPECT_EQ(sent, 3U);
    EXPECT_EQ(Story(), Texts{});
    ScriptedLog::Reset();
    EXPECT_EQ(StoryOf([] { ScriptedSettings::Notice(kBannerKey); }).size(), 2U) << "now it is";
}

// Destruction.

TEST_F(AtscRobustness, DestroyedWithoutAStopItReleasesEverythingInSilence)
{
    Start();
    Deliver(CaptionOf("<tt/>"));
    Forget();
    m_source.reset();
    Texts lines;
    for (const auto& text : Story()) {
        const std::string start = text.substr(0, 2);
        if (start == "I " || start == "W " || start == "E " || start == "cl") {
            lines.push_back(text);
        }
    }
    EXPECT_EQ(lines, (Texts{"I TTML info banner CC key is written as [0]"}));
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
    for (const int signal : {59, 60, 62, 75, 76, 178}) {
        EXPECT_EQ(ScriptedTvService::SubscribedTo(signal), std::vector<void*>{}) << signal;
    }
    EXPECT_EQ(ScriptedSettings::Registrations(kBannerKey), 0U);
    EXPECT_EQ(ScriptedRecorder::Registrations(), 0U);
}

TEST_F(AtscRobustness, DestroyedInKoreaOrInThePvrPlayerItReleasesEverything)
{
    for (const bool korea : {true, false}) {
        korea ? MakeInKorea() : MakeInThePvrPlayer();
        m_source->OnStart();
        ScriptedRecorder::Signal(PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_PLAYING);
        EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 1U);
        m_source.reset();
        EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
        EXPECT_EQ(ScriptedTvService::SubscribedTo(59), std::vector<void*>{});
    }
}

TEST_F(AtscRobustness, DestroyedWithASubscriptionThatCannotBeTakenBackItIsNotReachedAnyMore)
{
    for (const bool stops : {true, false}) {
        if (!m_source) {
            Make();
        }
        Start();
        ScriptedTvService::Answer(TvCall::UNSUBSCRIBE_CAPTION, TvAnswer::Failure(0));
        if (stops) {
            m_source->OnStop();
        }
        m_source.reset();
        EXPECT_GE(ScriptedTvService::Caption(CaptionOf("late")), 1U) << "the service goes on calling";
        EXPECT_EQ(m_client.CountOf(0), 0U);
    }
}

TEST_F(AtscRobustness, CaptionsInsideAreWaitedFor)
{
    Start();
    HoldClientAt(0);
    const TestThread service([] { Deliver(CaptionOf("<tt/>")); });
    m_inside.Wait();
    const BlockedThread destroyer([&] { m_source.reset(); });
    EXPECT_FALSE(destroyer.IsDone());
    m_goOn.Open();
    destroyer.WaitUntilDone();
    service.WaitUntilDone();
    EXPECT_EQ(m_client.CountOf(0), 1U);
    EXPECT_EQ(BannerValue(), 0);
}

TEST_F(AtscRobustness, NoticesInsideAreWaitedFor)
{
    ScriptedSettings::During(SettingsCall::GET, [this] {
        m_inside.Open();
        m_goOn.Wait();
    });
    const TestThread settings([] { ScriptedSettings::Notice(kBannerKey); });
    m_inside.Wait();
    const BlockedThread destroyer([&] { m_source.reset(); });
    EXPECT_FALSE(destroyer.IsDone());
    m_goOn.Open();
    destroyer.WaitUntilDone();
    settings.WaitUntilDone();
    EXPECT_EQ(BannerValue(), 0);
}

TEST_F(AtscRobustness, CaptionsThatOvertakeTheDestructionDoNothing)
{
    Start();
    void* const address = m_source.get();
    ScriptedLog::On({"m_CaptionCB", ""}, [this] {
        m_inside.Open();
        m_goOn.Wait();
    });
    TSCaption caption = CaptionOf("late");
    const TestThread service([&] { ScriptedTvService::LateCaption(caption, address); });
    m_inside.Wait();
    m_source.reset();
    m_goOn.Open();
    service.WaitUntilDone();
    EXPECT_EQ(m_client.CountOf(0), 0U);
}

TEST_F(AtscRobustness, CallbacksAfterTheDestructionBeganDoNothing)
{
    Start();
    void* const address = m_source.get();
    unsigned int places = 0;
    const auto send = [&] {
        ++places;
        TSCaption caption = CaptionOf("late");
        ScriptedTvService::LateCaption(caption, address);
        ScriptedSettings::LateNotice(address);
        ScriptedRecorder::LateSignal(address, PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_PLAYING);
        ScriptedRecorder::LateSignal(address, PS_SIGNAL_TYPE_TRICK_MODE_START);
        for (const int signal : {59, 60, 75, 76, 178}) {
            EXPECT_EQ(ScriptedTvService::LateSignal(signal, address, NewMpd()), 1);
        }
    };
    ScriptedTvService::During(TvCall::UNSUBSCRIBE_CAPTION, send);
    ScriptedTvService::During(TvCall::DESTROY_SIGNAL_SUBSCRIBER, send);
    ScriptedSettings::During(SettingsCall::IGNORE, send);
    ScriptedSettings::During(SettingsCall::SET, send);
    ScriptedRecorder::DuringRemoval(send);
    ScriptedLog::On({"~CBCSource", ""}, send);
    ScriptedLog::On({"~CTTMLSource", ""}, send);
    m_source.reset();
    EXPECT_EQ(places, 7U);
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
    EXPECT_EQ(ScriptedLog::CountOf("Trickmode started"), 0U);
    EXPECT_EQ(ScriptedLog::CountOf({"m_CCInfoBannerKeyUpdateCb", "TTML CC info banner status:[0]"}), 0U);
    EXPECT_EQ(ScriptedLog::CountOf("Received signal ATSC3_SERVICE_SIGNALING_DONE_MPD"), 0U);
    ScriptedSettings::During(SettingsCall::SET, nullptr);
    send();
    EXPECT_EQ(m_client.Events(), Texts{}) << "nor when it is gone";
}

TEST_F(AtscRobustness, QueuedSignalsAreNotHandledOnceItGoes)
{
    Start();
    HoldSourceThread();
    for (const int signal : {60, 178, 76, 75, 60, 59, 60}) {
        ScriptedTvService::Signal(signal, NewMpd());
    }
    const BlockedThread destroyer([&] { m_source.reset(); });
    EXPECT_FALSE(destroyer.IsDone());
    Forget();
    m_goOn.Open();
    destroyer.WaitUntilDone();
    EXPECT_EQ(ScriptedLog::CountOf("SIGNAL_TUNE_SUCCESS"), 0U);
    EXPECT_EQ(ScriptedLog::CountOf("Received signal ATSC3_SERVICE_SIGNALING_DONE_MPD"), 0U);
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
}

// A signal that subscribes, or reads an MPD, while the source goes: held in each call of the TV service, in
// turn.
TEST_F(AtscRobustness, WhatIsUnderWayIsTakenBackByTheDestruction)
{
    for (const TvCall call :
         {TvCall::IS_TVS_TERMINATED, TvCall::CREATE_SERVICE_NAVIGATION, TvCall::GET_TV_MODE,
          TvCall::GET_CURRENT_SERVICE_INFO, TvCall::CREATE_DATA_SUBSCRIBER, TvCall::SUBSCRIBE_CAPTION,
          TvCall::CREATE_ATSC3_DATA_CONTROL, TvCall::GET_MPD_DATA}) {
        SCOPED_TRACE(static_cast<int>(call));
        if (!m_source) {
            Make();
        }
        Start();
        ScriptedTvService::Signal(SIGNAL_TUNE_START);
        Drain(*m_source);
        CountingGate inside("the subscription is inside the TV service");
        Gate goOn("the TV service may answer");
        ScriptedTvService::During(call, [&] {
            inside.Add();
            goOn.Wait();
        });
        ScriptedTvService::Signal(SIGNAL_TUNE_SUCCESS);
        inside.WaitFor(1);
        {
            const BlockedThread destroyer([&] { m_source.reset(); });
            EXPECT_FALSE(destroyer.IsDone());
            goOn.Open();
            destroyer.WaitUntilDone();
        }
        ScriptedTvService::During(call, nullptr);
        EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
    }
}

// Stop.

TEST_F(AtscRobustness, ATuneThatWaitsDoesNotSubscribeAfterTheStop)
{
    Start();
    HoldSourceThread();
    ScriptedTvService::Signal(SIGNAL_TUNE_SUCCESS);
    m_source->OnStop();
    m_goOn.Open();
    Drain(*m_source);
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
    EXPECT_EQ(ScriptedLog::CountOf("SIGNAL_TUNE_SUCCESS"), 1U) << "it does all else";
}

TEST_F(AtscRobustness, AnActivationThatWaitsDoesNotSubscribeAfterTheStop)
{
    Start();
    ScriptedTvService::Signal(SIGNAL_TVS_DEACTIVATE);
    Drain(*m_source);
    HoldSourceThread();
    ScriptedTvService::Signal(SIGNAL_TVS_ACTIVATE);
    m_source->OnStop();
    m_goOn.Open();
    Drain(*m_source);
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
}

TEST_F(AtscRobustness, ATuneThatIsSubscribingIsUnsubscribedByTheStop)
{
    for (const TvCall call : {TvCall::CREATE_SERVICE_NAVIGATION, TvCall::CREATE_DATA_SUBSCRIBER,
                              TvCall::SUBSCRIBE_CAPTION, TvCall::GET_MPD_DATA}) {
        SCOPED_TRACE(static_cast<int>(call));
        Start();
        ScriptedTvService::Signal(SIGNAL_TUNE_START);
        Drain(*m_source);
        Gate inside("the subscription is inside the TV service");
        Gate goOn("the TV service may answer");
        ScriptedTvService::During(call, [&] {
            inside.Open();
            goOn.Wait();
        });
        ScriptedTvService::Signal(SIGNAL_TUNE_SUCCESS);
        inside.Wait();
        {
            const BlockedThread stopper([&] { m_source->OnStop(); });
            goOn.Open();
            stopper.WaitUntilDone();
        }
        ScriptedTvService::During(call, nullptr);
        Drain(*m_source);
        EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
        EXPECT_EQ(BannerValue(), 0);
    }
}

TEST_F(AtscRobustness, AfterAStopAndAStartTunesSubscribeAgain)
{
    Start();
    m_source->OnStop();
    Start();
    StoryOfSignal(59);
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
    StoryOfSignal(60);
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 1U);
}

TEST_F(AtscRobustness, StopWaitsForTheCaptionInside)
{
    Start();
    HoldClientAt(0);
    const TestThread service([] { Deliver(CaptionOf("<tt/>")); });
    m_inside.Wait();
    const BlockedThread stopper([&] { m_source->OnStop(); });
    EXPECT_FALSE(stopper.IsDone());
    m_goOn.Open();
    stopper.WaitUntilDone();
    service.WaitUntilDone();
    m_client.Clear();
    EXPECT_EQ(ScriptedTvService::Caption(CaptionOf("late")), 0U);
    TSCaption later = CaptionOf("later");
    ScriptedTvService::LateCaption(later, m_source.get());
    EXPECT_EQ(m_client.CountOf(0), 0U) << "no data come after the return";
    EXPECT_EQ(BannerValue(), 0);
}

TEST_F(AtscRobustness, TheCaptionThatComesWithTheSubscriptionIsDelivered)
{
    ScriptedTvService::AtEndOf(TvCall::SUBSCRIBE_CAPTION, [] { Deliver(CaptionOf("<tt/>")); });
    m_source->OnStart();
    Drain(*m_source);
    EXPECT_EQ(m_client.CountOf(0), 1U);
}

// The information banner.

// The caption has been handed out and is about to set the key when the unsubscription has cleared it.
TEST_F(AtscRobustness, ACaptionInFlightDoesNotSetTheBannerAgain)
{
    Start();
    HoldClientAt(0);
    const TestThread service([] { Deliver(CaptionOf("<tt/>")); });
    m_inside.Wait();
    // The unsubscription waits for the caption, behind the clearing.
    const BlockedThread unsubscriber([&] { Unsubscribe(); });
    EXPECT_FALSE(unsubscriber.IsDone());
    EXPECT_EQ(ScriptedLog::CountOf("TTML info banner CC key is written as [0]"), 1U);
    m_goOn.Open();
    unsubscriber.WaitUntilDone();
    service.WaitUntilDone();
    EXPECT_EQ(BannerValue(), 0);
    EXPECT_EQ(ScriptedLog::CountOf("TTML info banner CC key is written as [1]"), 0U);
}

TEST_F(AtscRobustness, ABannerThatIsJustBeingSetIsClearedBehindThat)
{
    Start();
    ScriptedSettings::During(SettingsCall::SET, [this] {
        if (!m_inside.IsOpen()) {
            m_inside.Open();
            m_goOn.Wait();
        }
    });
    const TestThread service([] { Deliver(CaptionOf("<tt/>")); });
    m_inside.Wait();
    const BlockedThread stopper([&] { m_source->OnStop(); });
    EXPECT_FALSE(stopper.IsDone());
    m_goOn.Open();
    stopper.WaitUntilDone();
    service.WaitUntilDone();
    EXPECT_EQ(BannerValue(), 0);
}

// A caption whose subscription the service would not end, and which asks for the profile.
TEST_F(AtscRobustness, ACaptionInFlightDoesNotMakeTheProfileKnownAgain)
{
    Start();
    ScriptedTvService::During(TvCall::GET_CURRENT_CAPTION, [this] {
        m_inside.Open();
        m_goOn.Wait();
    });
    const TestThread service([] { Deliver(CaptionOf("<tt/>")); });
    m_inside.Wait();
    const BlockedThread stopper([&] { m_source->OnStop(); });
    EXPECT_FALSE(stopper.IsDone());
    m_goOn.Open();
    stopper.WaitUntilDone();
    service.WaitUntilDone();
    EXPECT_EQ(StateOf(*m_source).caption.profile, 255);
}

// The same where the service does not wait for it, as it refuses to end the subscription.
TEST_F(AtscRobustness, ACaptionThatNobodyWaitsForDoesNotMakeTheProfileKnownAgain)
{
    Start();
    ScriptedTvService::Answer(TvCall::UNSUBSCRIBE_CAPTION, TvAnswer::Failure(0));
    ScriptedTvService::During(TvCall::GET_CURRENT_CAPTION, [this] {
        m_inside.Open();
        m_goOn.Wait();
    });
    const TestThread service([] { Deliver(CaptionOf("<tt/>")); });
    m_inside.Wait();
    const BlockedThread unsubscriber([&] { Unsubscribe(); });
    EXPECT_FALSE(unsubscriber.IsDone());
    m_goOn.Open();
    unsubscriber.WaitUntilDone();
    service.WaitUntilDone();
    EXPECT_EQ(StateOf(*m_source).caption.profile, 255);
}

TEST_F(AtscRobustness, CaptionsThatTheServiceGoesOnSendingAreNotDelivered)
{
    // Pins: SetDataWanted.
    Start();
    ScriptedTvService::Answer(TvCall::UNSUBSCRIBE_CAPTION, TvAnswer::Failure(0));
    m_source->OnStop();
    m_client.Clear();
    EXPECT_EQ(ScriptedTvService::Caption(CaptionOf("late")), 1U);
    EXPECT_EQ(m_client.CountOf(0), 0U);
    EXPECT_EQ(BannerValue(), 0);
    EXPECT_EQ(StateOf(*m_source).caption.profile, 255);
}

// What waits for callbacks holds nothing that a callback needs.

TEST_F(AtscRobustness, AClientMayShowAndAskInsideACaptionWhileSomebodyUnsubscribes)
{
    Start();
    m_client.On(0, [&] {
        m_inside.Open();
        m_goOn.Wait();
        long long time = 0;
        m_source->GetVideoCurrentTime(&time);
        m_source->OnShow();
        m_source->OnHide();
        m_source->PauseTrack(true);
    });
    const TestThread service([] { Deliver(CaptionOf("<tt/>")); });
    m_inside.Wait();
    {
        const BlockedThread recorder(
            [] { ScriptedRecorder::Signal(PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_STOPPED); });
        EXPECT_FALSE(recorder.IsDone());
        m_goOn.Open();
        recorder.WaitUntilDone();
    }
    service.WaitUntilDone();
    // The client showed the caption after the recorder had begun to unsubscribe.
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 1U);
}

TEST_F(AtscRobustness, AClientMayShowInsideACaptionWhileTheSourceStops)
{
    Start();
    m_client.On(0, [&] {
        m_inside.Open();
        m_goOn.Wait();
        m_source->OnShow();
    });
    const TestThread service([] { Deliver(CaptionOf("<tt/>")); });
    m_inside.Wait();
    {
        const BlockedThread stopper([&] { m_source->OnStop(); });
        EXPECT_FALSE(stopper.IsDone());
        m_goOn.Open();
        stopper.WaitUntilDone();
    }
    service.WaitUntilDone();
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U) << "the stop has the last word";
    EXPECT_EQ(BannerValue(), 0);
}

TEST_F(AtscRobustness, AClientMayHideAndShowInsideTheBannersNotice)
{
    Start();
    ScriptedLog::On({"m_CCInfoBannerKeyUpdateCb", "TTML CC info banner status:[1]"}, [&] {
        m_source->OnHide();
        m_source->OnShow();
        long long time = 0;
        m_source->GetVideoCurrentTime(&time);
    });
    Deliver(CaptionOf("<tt/>"));
    EXPECT_EQ(BannerValue(), 1);
    EXPECT_EQ(m_client.CountOf(11), 1U);
}

} // namespace

} // namespace TTMLTest
