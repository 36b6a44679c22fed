// The broadcast base where platform callbacks come at the wrong time: while a source is being made, while and
// after it goes, and with signals on their way.

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "BroadcastFixtures.h"

namespace TTMLTest {

namespace {

class BroadcastRobustness : public BaseSourceTest
{
protected:
    // Sends the signal on a thread of its own, which stays inside the operation until the gate opens.
    std::unique_ptr<TestThread> HoldInside(const std::string& operation, const std::function<void()>& send)
    {
        m_source->During(operation, [this] {
            m_inside.Open();
            m_goOn.Wait();
        });
        auto thread = std::make_unique<TestThread>(send);
        m_inside.Wait();
        return thread;
    }

    Gate m_inside{"the callback is inside"};
    Gate m_goOn{"the callback may go on"};
};

using BroadcastBirth = BroadcastTest;

TEST_F(BroadcastBirth, RecorderSignalsBeforeItIsCompleteDoNothing)
{
    unsigned int sent = 0;
    ScriptedRecorder::AtEndOfRegistration([&] {
        sent += ScriptedRecorder::Signal(PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_PLAYING);
        sent += ScriptedRecorder::Signal(PS_SIGNAL_TYPE_TRICK_MODE_START);
        sent += ScriptedRecorder::Signal(99);
    });
    TestSource source;
    EXPECT_EQ(sent, 3U);
    EXPECT_EQ(Story(), (Texts{"svc_pvr_register_signal_cb_in_list() = 0"}));
    EXPECT_FALSE(source.IsSubscribed());
    EXPECT_EQ(StoryOf([] { ScriptedRecorder::Signal(99); }),
              (Texts{"t_PvrSignalCbHandler(99)", "I Signal not handled:[99]"}));
}

// Callbacks while and after the source goes.

TEST_F(BroadcastRobustness, RecorderSignalsInsideAreWaitedFor)
{
    const auto recorder = HoldInside("t_SubscribeTTML()", [] {
        ScriptedRecorder::Signal(PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_PLAYING);
    });
    const BlockedThread destroyer([&] { m_source.reset(); });
    EXPECT_FALSE(destroyer.IsDone());
    m_goOn.Open();
    destroyer.WaitUntilDone();
}

TEST_F(BroadcastRobustness, SignalsInsideTheCallbackAreWaitedFor)
{
    // Pins: CBroadcastGate, ~CBroadcastGate.
    Start();
    ScriptedLog::On({"t_TVSSignalCB", "Enter"}, [this] {
        m_inside.Open();
        m_goOn.Wait();
    });
    const TestThread service([] { ScriptedTvService::Signal(SIGNAL_TUNE_SUCCESS); });
    m_inside.Wait();
    const BlockedThread destroyer([&] { m_source.reset(); });
    EXPECT_FALSE(destroyer.IsDone());
    m_goOn.Open();
    destroyer.WaitUntilDone();
    service.WaitUntilDone();
    EXPECT_EQ(m_client.Events(), Texts{});
}

TEST_F(BroadcastRobustness, SignalsThatAreHandledAreWaitedFor)
{
    Start();
    const auto service =
        HoldInside("t_SubscribeTTML()", [] { ScriptedTvService::Signal(SIGNAL_TUNE_SUCCESS); });
    service->WaitUntilDone();
    const BlockedThread destroyer([&] { m_source.reset(); });
    EXPECT_FALSE(destroyer.IsDone());
    m_goOn.Open();
    destroyer.WaitUntilDone();
}

TEST_F(BroadcastRobustness, ASignalThatOvertakesTheDestructionDoesNothing)
{
    Start();
    void* const address = m_source.get();
    ScriptedLog::On({"t_TVSSignalCB", "Enter"}, [this] {
        m_inside.Open();
        m_goOn.Wait();
    });
    int result = -1;
    const TestThread service([&] { result = ScriptedTvService::LateSignal(SIGNAL_TUNE_SUCCESS, address); });
    m_inside.Wait();
    m_source.reset();
    Forget();
    m_goOn.Open();
    service.WaitUntilDone();
    EXPECT_EQ(result, 1);
    EXPECT_EQ(Story(), Texts{});
}

TEST_F(BroadcastRobustness, CallbacksAfterTheDestructionBeganDoNothing)
{
    Start();
    void* const address = m_source.get();
    unsigned int places = 0;
    const auto send = [&] {
        ++places;
        ScriptedRecorder::LateSignal(address, PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_PLAYING);
        ScriptedRecorder::LateSignal(address, PS_SIGNAL_TYPE_TRICK_MODE_START);
        for (const int signal : {59, 60, 62, 75, 76, 85}) {
            EXPECT_EQ(ScriptedTvService::LateSignal(signal, address), 1);
        }
    };
    ScriptedTvService::During(TvCall::DESTROY_SIGNAL_SUBSCRIBER, send);
    ScriptedRecorder::DuringRemoval(send);
    ScriptedLog::On({"~CBCSource", ""}, send);
    ScriptedLog::On({"~CTTMLSource", ""}, send);
    Forget();
    m_source.reset();
    EXPECT_EQ(places, 4U);
    EXPECT_EQ(Journal::Instance().Calls("source"), Texts{});
    EXPECT_EQ(m_client.Events(), Texts{});
    send();
    EXPECT_EQ(Journal::Instance().Calls("source"), Texts{});
}

TEST_F(BroadcastRobustness, AnAddressThatIsUsedAgainIsTheNewSource)
{
    void* const first = m_source.get();
    m_source.reset();
    // The place of the next source may be that of the first.
    auto next = std::make_unique<TestSource>();
    Forget();
    ScriptedRecorder::Signal(99);
    EXPECT_EQ(Journal::Instance().Calls("source"), (Texts{"t_PvrSignalCbHandler(99)"}));
    if (first != next.get()) {
        ScriptedRecorder::LateSignal(first, 99);
        EXPECT_EQ(Journal::Instance().Calls("source").size(), 1U);
    }
}

TEST_F(BroadcastRobustness, AStrangersAddressIsNoSource)
{
    Start();
    int stranger = 0;
    EXPECT_EQ(ScriptedTvService::LateSignal(60, &stranger), 1);
    ScriptedRecorder::LateSignal(&stranger, 3, 1);
    Drain(*m_source);
    EXPECT_EQ(Journal::Instance().Calls("source"), Texts{});
    EXPECT_EQ(stranger, 0);
}

// Signals on their way to the source thread.

TEST_F(BroadcastRobustness, QueuedSignalsAreFreedUnhandled)
{
    Start();
    HoldInside("OnHide()", [] { ScriptedTvService::Signal(SIGNAL_TUNE_START); });
    for (int i = 0; i < 50; ++i) {
        ScriptedTvService::Signal(SIGNAL_TVS_ACTIVATE);
    }
    const BlockedThread destroyer([&] { m_source.reset(); });
    EXPECT_FALSE(destroyer.IsDone());
    Forget();
    m_goOn.Open();
    destroyer.WaitUntilDone();
    // The one that was being handled is finished.
    EXPECT_EQ(ScriptedLog::CountOf("Tvs signal: [59] Exit!"), 1U);
    EXPECT_EQ(ScriptedLog::CountOf("Tvs signal: [75] Enter!"), 0U);
}

TEST_F(BroadcastRobustness, SignalsOfASourceThatWasNeverStartedAreFreed)
{
    m_source->t_RegisterTVSCallbacks();
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(ScriptedTvService::Signal(SIGNAL_TUNE_SUCCESS), (std::vector<int>{1}));
    }
    Forget();
    m_source.reset();
    EXPECT_EQ(Journal::Instance().Calls("source"), Texts{});
}

TEST_F(BroadcastRobustness, SignalsOfASourceWithoutATaskAreFreed)
{
    m_source.reset();
    {
        const FaultInjection noMemory(Call::NEW_NOTHROW);
        m_source = std::make_unique<TestSource>();
        EXPECT_EQ(noMemory.Failed(), 1U);
    }
    m_source->t_RegisterTVSCallbacks();
    EXPECT_EQ(ScriptedTvService::Signal(SIGNAL_TUNE_SUCCESS), (std::vector<int>{1}));
    EXPECT_EQ(ScriptedLog::CountOf("m_pSourceTask is null"), 1U);
    m_source->OnShow();
    EXPECT_EQ(StateFlags(*m_source), kShown | kActive);
}

TEST_F(BroadcastRobustness, SignalsThatCannotBeQueuedAreFreed)
{
    Start();
    HoldInside("OnHide()", [] { ScriptedTvService::Signal(SIGNAL_TUNE_START); });
    {
        const FaultInjection noMemory(Call::NEW, 1, FaultInjection::kAll);
        for (int i = 0; i < 200; ++i) {
            EXPECT_EQ(ScriptedTvService::LateSignal(SIGNAL_TVS_ACTIVATE, m_source.get()), 1);
        }
        EXPECT_GT(noMemory.Failed(), 0U);
    }
    Forget();
    m_goOn.Open();
    Drain(*m_source);
    const unsigned int handled = ScriptedLog::CountOf("Tvs signal: [75] Exit!");
    EXPECT_LT(handled, 200U);
    EXPECT_EQ(StoryOfSignal(75).size(), 4U) << "later ones come through";
}

TEST_F(BroadcastRobustness, SignalsOfASecondLifeAreHandled)
{
    for (int life = 0; life < 3; ++life) {
        Start();
        StoryOfSignal(60);
        EXPECT_TRUE(m_source->IsSubscribed());
        m_source = std::make_unique<TestSource>();
        m_source->RegisterCallBack(&BroadcastTest::ClientCallback, m_client.UserData());
    }
}

// The end without an orderly stop.

TEST_F(BroadcastRobustness, TheSignalSubscriberIsReleasedInSilence)
{
    Start();
    m_source.reset();
    Texts lines;
    for (const auto& text : Story()) {
        if (text.substr(0, 2) == "I " || text.substr(0, 2) == "W " || text.substr(0, 2) == "E ") {
            lines.push_back(text);
        }
    }
    EXPECT_EQ(lines, Texts{});
    EXPECT_EQ(Story().back(), "svc_pvr_unregister_signal_cb_in_list() = 0");
    for (const int signal : {59, 60, 62, 75, 76}) {
        EXPECT_EQ(ScriptedTvService::SubscribedTo(signal), std::vector<void*>{});
    }
}

TEST_F(BroadcastRobustness, TheSourceThreadEndsBeforeAnyPartGoes)
{
    Start();
    unsigned int threads = 99;
    ScriptedLog::On({"~CBCSource", ""}, [&] { threads = static_cast<unsigned int>(LiveThreads()); });
    const int before = LiveThreads();
    m_source.reset();
    EXPECT_EQ(static_cast<int>(threads), before - 1);
}

TEST_F(BroadcastRobustness, TheTasksLinesAppearOnceAtTheEnd)
{
    Start();
    m_source.reset();
    EXPECT_EQ(ScriptedLog::CountOf("Task: Stop task event: stopping infinite loop."), 1U);
    EXPECT_EQ(ScriptedLog::CountOf("After pthread_join"), 1U);
}

} // namespace

} // namespace TTMLTest
