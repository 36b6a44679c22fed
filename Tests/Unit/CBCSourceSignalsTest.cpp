// The broadcast base: TV service signals, from the callback over the source thread to what they bring about.

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "BroadcastFixtures.h"

namespace TTMLTest {

namespace {

using BroadcastSignals = BaseSourceTest;

constexpr char kCreate[] = "I Creating TVS signal subscriber.";

// What a tune success brings about while the service is active.
const Texts kPlays = {"I Tvs signal: [60] Enter!",
                      "I SIGNAL_TUNE_SUCCESS",
                      "t_NotifySetMenuLang()",
                      "client 10",
                      "t_SubscribeTTML()",
                      "t_NotifyPlayTrack()",
                      "client 1",
                      "I Tvs signal: [60] Exit!"};
const Texts kPlaysAgain = {"I Tvs signal: [60] Enter!",
                           "I SIGNAL_TUNE_SUCCESS",
                           "t_NotifySetMenuLang()",
                           "client 10",
                           "t_SubscribeTTML()",
                           "t_NotifyPlayTrack()",
                           "client 2",
                           "client 1",
                           "I Tvs signal: [60] Exit!"};
const Texts kHidesAndStops = {"I Tvs signal: [59] Enter!",
                              "I SIGNAL_TUNE_START",
                              "OnHide()",
                              "I Hiding caption",
                              "client 12",
                              "t_UnSubscribeTTML()",
                              "t_NotifyStopTrack()",
                              "I Tvs signal: [59] Exit!"};
const Texts kWaits = {"I Tvs signal: [60] Enter!", "I SIGNAL_TUNE_SUCCESS",
                      "W SIGNAL_TUNE_SUCCESS came without SIGNAL_TVS_ACTIVATE!", "I Tvs signal: [60] Exit!"};
const Texts kActivates = {"I Tvs signal: [75] Enter!",
                          "I SIGNAL_TVS_ACTIVATE",
                          "I Handling SIGNAL_TVS_ACTIVATE: Register for menu callbacks",
                          "t_NotifyRegisterMenuCB()",
                          "client 8",
                          "t_NotifySetMenuLang()",
                          "client 10",
                          "t_SubscribeTTML()",
                          "I Tvs signal: [75] Exit!"};
const Texts kActivatesAndPlays = {
    "I Tvs signal: [75] Enter!",
    "I SIGNAL_TVS_ACTIVATE",
    "I Handling SIGNAL_TVS_ACTIVATE: Register for menu callbacks",
    "t_NotifyRegisterMenuCB()",
    "client 8",
    "t_NotifySetMenuLang()",
    "client 10",
    "t_SubscribeTTML()",
    "I It seems SIGNAL_TUNE_SUCCESS already came before SIGNAL_TVS_ACTIVATE. Calling PlayTrack",
    "t_NotifyPlayTrack()",
    "client 1",
    "I Tvs signal: [75] Exit!"};
const Texts kActivatedAgain = {"I Tvs signal: [75] Enter!", "I SIGNAL_TVS_ACTIVATE",
                               "I SIGNAL_TVS_ACTIVATE again!", "I Tvs signal: [75] Exit!"};
const Texts kDeactivates = {"I Tvs signal: [76] Enter!",
                            "I SIGNAL_TVS_DEACTIVATE",
                            "I Handling SIGNAL_TVS_DEACTIVATE: Unregister menu callbacks",
                            "t_NotifyUnRegisterMenuCB()",
                            "client 9",
                            "t_UnSubscribeTTML()",
                            "I Tvs signal: [76] Exit!"};
const Texts kDeactivatedAgain = {"I Tvs signal: [76] Enter!", "I SIGNAL_TVS_DEACTIVATE",
                                 "I SIGNAL_TVS_DEACTIVATE again!", "I Tvs signal: [76] Exit!"};

Texts Joined(Texts first, const Texts& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// The callback.

TEST_F(BroadcastSignals, WithoutASourceAreRefused)
{
    Start();
    EXPECT_EQ(TraceOf([] { EXPECT_EQ(ScriptedTvService::LateSignal(60, nullptr), 0); }),
              (Texts{"t_TVSSignalCB: Enter", "t_TVSSignalCB: pTTMLSource is Null pointer"}));
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING), (Texts{"pTTMLSource is Null pointer"}));
    m_source->m_keepPosts = true;
    ScriptedTvService::LateSignal(60, nullptr);
    EXPECT_EQ(m_source->m_posts.size(), 0U);
}

TEST_F(BroadcastSignals, ArePostedToTheSourceThread)
{
    Start();
    std::vector<pid_t> handled;
    m_source->During("OnHide()", [&] { handled.push_back(ThisThreadId()); });
    {
        EXPECT_EQ(ScriptedTvService::Signal(59), (std::vector<int>{1}));
        Drain(*m_source);
    }
    EXPECT_EQ(m_client.Events(), (Texts{"12 @Source"}));
    EXPECT_EQ(handled, ThreadsNamed("Source"));
}

TEST_F(BroadcastSignals, EnterAndLeaveTheCallback)
{
    Start();
    m_source->m_keepPosts = true;
    EXPECT_EQ(TraceOf([&] { EXPECT_EQ(ScriptedTvService::LateSignal(60, m_source.get()), 1); }),
              (Texts{"t_TVSSignalCB: Enter", "t_TVSSignalCB: Exit"}));
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_INFO).size(), 2U);
    ASSERT_EQ(m_source->m_posts.size(), 1U);
    const auto [data, handler] = m_source->m_posts.front();
    m_source->m_keepPosts = false;
    handler(14, data);
}

TEST_F(BroadcastSignals, CarryTheirData)
{
    Start();
    TSSignalData data = {};
    for (int i = 0; i < 8; ++i) {
        data.data.l[i] = 100 + i;
    }
    ScriptedTvService::Signal(59, data);
    Drain(*m_source);
    EXPECT_EQ(std::memcmp(&m_source->m_lastData, &data, sizeof(data)), 0);
}

TEST_F(BroadcastSignals, AreHandledInTheOrderInWhichTheyCome)
{
    Start();
    const Texts story = StoryOfAll([&] {
        for (const int signal : {76, 60, 75, 59}) {
            ScriptedTvService::Signal(signal);
        }
    });
    EXPECT_EQ(story, Joined(Joined(kDeactivates, kWaits),
                            Joined(kActivatesAndPlays, Joined(kHidesAndStops, {"client 2"}))));
}

// A signal that the test has caught on its way to the source thread.
class CaughtSignal : public BaseSourceTest
{
protected:
    CaughtSignal()
    {
        Start();
        m_source->m_keepPosts = true;
        TSSignalData data = {};
        data.data.l[0] = 42;
        ScriptedTvService::Signal(59, data);
        m_source->m_keepPosts = false;
        if (m_source->m_posts.size() == 1) {
            m_record = m_source->m_posts.front().first;
            m_handler = m_source->m_posts.front().second;
        }
        Forget();
    }

    // The record is the signal's number, its data and the source, each where its alignment puts it.
    static constexpr std::size_t kSourcePlace =
        (sizeof(std::int32_t) + sizeof(TSSignalData) + alignof(void*) - 1) / alignof(void*) * alignof(void*);

    void* m_record = nullptr;
    TTML::SourceCallbackFunc m_handler = nullptr;
};

TEST_F(CaughtSignal, IsARecordOfSignalDataAndSource)
{
    ASSERT_NE(m_record, nullptr);
    const auto* const bytes = static_cast<const char*>(m_record);
    std::int32_t signal = 0;
    TSSignalData data = {};
    void* source = nullptr;
    std::memcpy(&signal, bytes, sizeof(signal));
    std::memcpy(&data, bytes + 4, sizeof(data));
    std::memcpy(&source, bytes + kSourcePlace, sizeof(source));
    EXPECT_EQ(signal, 59);
    EXPECT_EQ(data.data.l[0], 42);
    EXPECT_EQ(source, m_source.get());
    m_handler(14, m_record);
}

TEST_F(CaughtSignal, IsHandledAndFreed)
{
    ASSERT_NE(m_handler, nullptr);
    EXPECT_EQ(StoryOf([&] { m_handler(14, m_record); }), kHidesAndStops);
}

TEST_F(CaughtSignal, IsRefusedWithoutData)
{
    ASSERT_NE(m_handler, nullptr);
    EXPECT_EQ(StoryOf([&] { m_handler(14, nullptr); }), (Texts{"W pTvsData is null!"}));
    EXPECT_EQ(StoryOf([&] { m_handler(13, nullptr); }), (Texts{"W pTvsData is null!"}));
    m_handler(14, m_record);
}

TEST_F(CaughtSignal, IsFreedUnhandledWithAnotherCode)
{
    ASSERT_NE(m_handler, nullptr);
    EXPECT_EQ(StoryOf([&] { m_handler(13, m_record); }), (Texts{"W Invalid callback type!"}));
}

TEST_F(CaughtSignal, IsFreedWithoutASource)
{
    ASSERT_NE(m_handler, nullptr);
    std::memset(static_cast<char*>(m_record) + kSourcePlace, 0, sizeof(void*));
    EXPECT_EQ(StoryOf([&] { m_handler(14, m_record); }), (Texts{"W pBCSource is Null pointer"}));
}

TEST_F(CaughtSignal, LeavesEnterAndExitInTheLog)
{
    ASSERT_NE(m_handler, nullptr);
    const Texts trace = TraceOf([&] { m_handler(13, m_record); });
    EXPECT_EQ(trace, (Texts{"m_TVSSignalCBOnSourceThread: Enter",
                            "m_TVSSignalCBOnSourceThread: Invalid callback type!",
                            "m_TVSSignalCBOnSourceThread: Exit"}));
}

// Each row of the table.

TEST_F(BroadcastSignals, TuneStartHidesUnsubscribesAndStops)
{
    Start();
    EXPECT_EQ(StoryOfSignal(59), kHidesAndStops);
    EXPECT_EQ(StateFlags(*m_source), kActive);
}

TEST_F(BroadcastSignals, TuneStartEndsTheTrack)
{
    Start();
    StoryOfSignal(60);
    m_source->OnShow();
    EXPECT_EQ(StateFlags(*m_source), kShown | kTuned | kActive);
    // The stop is queued, so its notice comes behind the signal.
    EXPECT_EQ(StoryOfSignal(59), Joined(kHidesAndStops, {"client 2"}));
    EXPECT_EQ(StateFlags(*m_source), kActive);
    EXPECT_FALSE(m_source->IsSubscribed());
}

TEST_F(BroadcastSignals, TuneStartWorksWhileTheServiceIsNotActive)
{
    Start();
    StoryOfSignal(76);
    StoryOfSignal(60);
    EXPECT_EQ(StateFlags(*m_source), kTuned);
    EXPECT_EQ(StoryOfSignal(59), kHidesAndStops);
    EXPECT_EQ(StateFlags(*m_source), 0U);
}

TEST_F(BroadcastSignals, TuneSuccessRightAfterConstructionPlays)
{
    Start();
    EXPECT_EQ(StoryOfSignal(60), kPlays);
    EXPECT_EQ(StateFlags(*m_source), kTuned | kActive);
    EXPECT_TRUE(m_source->IsSubscribed());
}

TEST_F(BroadcastSignals, TuneSuccessPlaysAtOnceOnTheSourceThread)
{
    Start();
    StoryOfSignal(60);
    EXPECT_EQ(m_client.Events(), (Texts{"10 @Source", "1 in band @Source"}));
}

TEST_F(BroadcastSignals, TuneSuccessAgainStopsAndPlays)
{
    Start();
    StoryOfSignal(60);
    EXPECT_EQ(StoryOfSignal(60), kPlaysAgain);
}

TEST_F(BroadcastSignals, TuneSuccessIsOnlyRememberedWhileTheServiceIsNotActive)
{
    Start();
    StoryOfSignal(76);
    EXPECT_EQ(StoryOfSignal(60), kWaits);
    EXPECT_EQ(StateFlags(*m_source), kTuned);
}

TEST_F(BroadcastSignals, ActivationOfAnActiveServiceChangesNothing)
{
    Start();
    EXPECT_EQ(StoryOfSignal(75), kActivatedAgain) << "a new source takes the service for active";
    EXPECT_EQ(StoryOfSignal(75), kActivatedAgain);
    EXPECT_EQ(StateFlags(*m_source), kActive);
}

TEST_F(BroadcastSignals, ActivationRegistersAndSubscribes)
{
    Start();
    StoryOfSignal(76);
    EXPECT_EQ(StoryOfSignal(75), kActivates);
    EXPECT_EQ(StateFlags(*m_source), kActive);
}

TEST_F(BroadcastSignals, ActivationPlaysWhenTheTuneCameFirst)
{
    Start();
    StoryOfSignal(76);
    StoryOfSignal(60);
    EXPECT_EQ(StoryOfSignal(75), kActivatesAndPlays);
    EXPECT_EQ(StateFlags(*m_source), kTuned | kActive);
    EXPECT_EQ(m_client.CountOf(1), 1U);
}

TEST_F(BroadcastSignals, ActivationPlaysAgainWhenATuneSucceededBeforeTheDeactivation)
{
    Start();
    StoryOfSignal(60);
    StoryOfSignal(76);
    Texts expected = kActivatesAndPlays;
    expected.insert(expected.end() - 2, "client 2"); // deactivation does not stop the track
    EXPECT_EQ(StoryOfSignal(75), expected);
}

TEST_F(BroadcastSignals, ActivationDoesNotPlayAfterANewTuneBegan)
{
    Start();
    StoryOfSignal(60);
    StoryOfSignal(76);
    StoryOfSignal(59);
    EXPECT_EQ(StoryOfSignal(75), kActivates);
    EXPECT_EQ(StoryOfSignal(60), kPlays);
}

TEST_F(BroadcastSignals, DeactivationUnregistersAndUnsubscribes)
{
    Start();
    EXPECT_EQ(StoryOfSignal(76), kDeactivates);
    EXPECT_EQ(StateFlags(*m_source), 0U);
}

TEST_F(BroadcastSignals, DeactivationDoesNotStopTheTrack)
{
    Start();
    StoryOfSignal(60);
    EXPECT_EQ(StoryOfSignal(76), kDeactivates);
    EXPECT_EQ(m_client.CountOf(2), 0U);
    EXPECT_EQ(StateFlags(*m_source), kTuned);
}

TEST_F(BroadcastSignals, DeactivationAgainChangesNothing)
{
    Start();
    StoryOfSignal(76);
    EXPECT_EQ(StoryOfSignal(76), kDeactivatedAgain);
    EXPECT_EQ(StateFlags(*m_source), 0U);
}

TEST_F(BroadcastSignals, OthersAreOnlyLogged)
{
    Start();
    for (const int signal : {0, -1, kOtherSignal, 63, 74, 77, 85, 178}) {
        const std::string number = std::to_string(signal);
        EXPECT_EQ(StoryOfAll([&] { ScriptedTvService::LateSignal(signal, m_source.get()); }),
                  (Texts{"I Tvs signal: [" + number + "] Enter!", "I Seems invalid signal!",
                         "I Tvs signal: [" + number + "] Exit!"}));
    }
    EXPECT_EQ(StateFlags(*m_source), kActive);
}

// Orders of signals.

TEST_F(BroadcastSignals, PlayOnceWhenTheServiceIsActivatedAfterTheTune)
{
    Start();
    StoryOfAll([&] {
        for (const int signal : {76, 60, 75}) {
            ScriptedTvService::Signal(signal);
        }
    });
    EXPECT_EQ(m_client.Codes(), (std::vector<int>{9, 8, 10, 1}));
}

TEST_F(BroadcastSignals, RepeatedTakeNoEffect)
{
    Start();
    StoryOfAll([&] {
        for (const int signal : {75, 75, 76, 76, 76, 75, 75}) {
            ScriptedTvService::Signal(signal);
        }
    });
    EXPECT_EQ(m_client.Codes(), (std::vector<int>{9, 8, 10}));
}

TEST_F(BroadcastSignals, FollowZapping)
{
    Start();
    StoryOfAll([&] {
        for (const int signal : {59, 60, 59, 60, 59, 59, 60}) {
            ScriptedTvService::Signal(signal);
            Drain(*m_source);
        }
    });
    EXPECT_EQ(m_client.Codes(), (std::vector<int>{12, 10, 1, 12, 2, 10, 1, 12, 2, 12, 10, 1}));
}

TEST_F(BroadcastSignals, WithoutAClientAreHandledTheSame)
{
    m_source->UnRegisterCallBack();
    Start();
    StoryOfSignal(60);
    EXPECT_TRUE(m_source->IsSubscribed());
    EXPECT_EQ(StateFlags(*m_source), kTuned | kActive);
    StoryOfSignal(59);
    EXPECT_EQ(StateFlags(*m_source), kActive);
}

TEST_F(BroadcastSignals, EndWithTheRegistration)
{
    Start();
    m_source->t_UnregisterTVSCallbacks();
    EXPECT_EQ(ScriptedTvService::Signal(60), std::vector<int>{});
    Forget();
    m_source->t_RegisterTVSCallbacks();
    EXPECT_EQ(Story().front(), kCreate);
    EXPECT_EQ(StoryOfSignal(60), kPlays);
}

TEST_F(BroadcastSignals, NeedMemoryForTheirRecord)
{
    Start();
    EXPECT_DEATH(
        {
            const FaultInjection noMemory(Call::NEW_NOTHROW);
            ScriptedTvService::Signal(60);
        },
        "Assertion `pTvsData' failed");
}

} // namespace

} // namespace TTMLTest
