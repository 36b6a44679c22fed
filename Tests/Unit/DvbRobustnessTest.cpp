// The DVB source against the clock: destruction, start and stop while signals and packets are under way.

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DvbFixtures.h"

namespace TTMLTest {

namespace {

PesBytes Packet(const std::string& text)
{
    return Pes().Pts(90000).MediaTime(10).Segment(kPlain, text).Bytes();
}

TSPESData PacketRecord(const std::string& text)
{
    TSPESData packet;
    packet.dataType = PES_DATA_TYPE_TTML;
    packet.data = Packet(text);
    return packet;
}

class DvbRobustness : public DvbTest
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

    Gate m_inside{"the callback is inside"};
    Gate m_goOn{"the callback may go on"};
};

// Construction and destruction.

TEST_F(DvbRobustness, RecorderSignalsBeforeItIsCompleteDoNothing)
{
    ScriptedRecorder::AtEndOfRegistration(
        [] { ScriptedRecorder::Signal(PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_PLAYING); });
    m_source.reset();
    Forget();
    m_source = std::make_unique<TTML::CDVBSource>();
    EXPECT_EQ(Story(), (Texts{"svc_pvr_register_signal_cb_in_list() = 0"}));
}

TEST_F(DvbRobustness, DestroyedWithoutAStopItReleasesEverythingInSilence)
{
    Start();
    m_source.reset();
    Texts lines;
    for (const auto& text : Story()) {
        const std::string start = text.substr(0, 2);
        if (start == "I " || start == "W " || start == "E " || start == "cl") {
            lines.push_back(text);
        }
    }
    EXPECT_EQ(lines, Texts{});
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
    for (const int signal : {59, 60, 62, 75, 76, 85}) {
        EXPECT_EQ(ScriptedTvService::SubscribedTo(signal), std::vector<void*>{});
    }
}

TEST_F(DvbRobustness, DestroyedWithASubscriptionThatCannotBeTakenBackItIsNotReachedAnyMore)
{
    Start();
    void* const address = m_source.get();
    ScriptedTvService::Answer(TvCall::UNSUBSCRIBE_PES, TvAnswer::Failure(0), 2);
    m_source->OnStop();
    Forget();
    m_source.reset();
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING), Texts{});
    EXPECT_EQ(ScriptedTvService::Packet(Packet("late")), 1U) << "the service goes on calling";
    ScriptedTvService::LatePacket(PacketRecord("later"), address);
    EXPECT_EQ(m_client.CountOf(0), 0U);
}

TEST_F(DvbRobustness, PacketsInsideAreWaitedFor)
{
    Start();
    HoldClientAt(0);
    const TestThread service([] { ScriptedTvService::Packet(Packet("<tt/>")); });
    m_inside.Wait();
    const BlockedThread destroyer([&] { m_source.reset(); });
    EXPECT_FALSE(destroyer.IsDone());
    m_goOn.Open();
    destroyer.WaitUntilDone();
    EXPECT_EQ(m_client.CountOf(0), 1U);
}

TEST_F(DvbRobustness, PacketsThatOvertakeTheDestructionDoNothing)
{
    Start();
    void* const address = m_source.get();
    ScriptedLog::On({"m_OnPESDataCallback", "Enter"}, [this] {
        m_inside.Open();
        m_goOn.Wait();
    });
    const TestThread service([&] { ScriptedTvService::LatePacket(PacketRecord("late"), address); });
    m_inside.Wait();
    m_source.reset();
    m_goOn.Open();
    service.WaitUntilDone();
    EXPECT_EQ(m_client.CountOf(0), 0U);
}

TEST_F(DvbRobustness, CallbacksAfterTheDestructionBeganDoNothing)
{
    Start();
    void* const address = m_source.get();
    unsigned int places = 0;
    const auto send = [&] {
        ++places;
        ScriptedTvService::LatePacket(PacketRecord("late"), address);
        ScriptedRecorder::LateSignal(address, PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_PLAYING);
        ScriptedRecorder::LateSignal(address, PS_SIGNAL_TYPE_TRICK_MODE_START);
        for (const int signal : {59, 60, 75, 76, 85}) {
            EXPECT_EQ(ScriptedTvService::LateSignal(signal, address), 1);
        }
    };
    ScriptedTvService::During(TvCall::UNSUBSCRIBE_PES, send);
    ScriptedTvService::During(TvCall::DESTROY_SIGNAL_SUBSCRIBER, send);
    ScriptedRecorder::DuringRemoval(send);
    ScriptedLog::On({"~CBCSource", ""}, send);
    ScriptedLog::On({"~CTTMLSource", ""}, send);
    m_source.reset();
    EXPECT_EQ(places, 5U);
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
    EXPECT_EQ(ScriptedLog::CountOf("Trickmode started"), 0U);
}

TEST_F(DvbRobustness, QueuedSignalsAreNotHandledOnceItGoes)
{
    Start();
    HoldSourceThread();
    for (const int signal : {60, 85, 76, 75, 60, 59, 60}) {
        ScriptedTvService::Signal(signal);
    }
    const BlockedThread destroyer([&] { m_source.reset(); });
    EXPECT_FALSE(destroyer.IsDone());
    Forget();
    m_goOn.Open();
    destroyer.WaitUntilDone();
    EXPECT_EQ(ScriptedLog::CountOf("SIGNAL_TUNE_SUCCESS"), 0U);
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
}

// A signal that subscribes while the source goes: held in each call of the TV service, in turn.
TEST_F(DvbRobustness, ASubscriptionUnderWayIsTakenBackByTheDestruction)
{
    for (const TvCall call :
         {TvCall::IS_TVS_TERMINATED, TvCall::CREATE_DATA_CONTROL, TvCall::GET_CURRENT_HYBRID_SBT,
          TvCall::GET_TV_MODE, TvCall::GET_HYBRID_SBT, TvCall::SUBSCRIBE_PES}) {
        if (!m_source) {
            m_source = std::make_unique<TTML::CDVBSource>();
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
        EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U) << static_cast<int>(call);
    }
}

// Stop.

TEST_F(DvbRobustness, ATuneThatWaitsDoesNotSubscribeAfterTheStop)
{
    // Pins: SetStopped.
    for (const int signal : {60, 85}) {
        SCOPED_TRACE(signal);
        Start();
        Gate inside("the source thread is held");
        Gate goOn("the source thread may go on");
        m_client.On(12, [&] {
            inside.Open();
            goOn.Wait();
        });
        ScriptedTvService::Signal(SIGNAL_TUNE_START);
        inside.Wait();
        ScriptedTvService::Signal(signal);
        m_source->OnStop();
        goOn.Open();
        Drain(*m_source);
        EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
    }
}

TEST_F(DvbRobustness, AnActivationThatWaitsDoesNotSubscribeAfterTheStop)
{
    Start();
    ScriptedTvService::Signal(SIGNAL_TVS_DEACTIVATE);
    Drain(*m_source);
    HoldSourceThread();
    ScriptedTvService::Signal(SIGNAL_TVS_ACTIVATE);
    m_source->OnStop();
    m_goOn.Open();
    Drain(*m_source);
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
}

TEST_F(DvbRobustness, ATuneThatIsSubscribingIsUnsubscribedByTheStop)
{
    for (const TvCall call : {TvCall::CREATE_DATA_CONTROL, TvCall::GET_HYBRID_SBT, TvCall::SUBSCRIBE_PES}) {
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
        EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U) << static_cast<int>(call);
    }
}

TEST_F(DvbRobustness, AfterAStopAndAStartTunesSubscribeAgain)
{
    Start();
    m_source->OnStop();
    Start();
    StoryOfSignal(59);
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
    StoryOfSignal(60);
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 1U);
}

TEST_F(DvbRobustness, StopWaitsForThePacketInside)
{
    Start();
    HoldClientAt(0);
    const TestThread service([] { ScriptedTvService::Packet(Packet("<tt/>")); });
    m_inside.Wait();
    const BlockedThread stopper([&] { m_source->OnStop(); });
    EXPECT_FALSE(stopper.IsDone());
    m_goOn.Open();
    stopper.WaitUntilDone();
    m_client.Clear();
    EXPECT_EQ(ScriptedTvService::Packet(Packet("late")), 0U);
    ScriptedTvService::LatePacket(PacketRecord("later"), m_source.get());
    EXPECT_EQ(m_client.CountOf(0), 0U) << "no data come after the return";
}

TEST_F(DvbRobustness, ThePacketThatComesWithTheSubscriptionIsDelivered)
{
    ScriptedTvService::AtEndOf(TvCall::SUBSCRIBE_PES, [] { ScriptedTvService::Packet(Packet("<tt/>")); });
    m_source->OnStart();
    Drain(*m_source);
    EXPECT_EQ(m_client.CountOf(0), 1U);
}

// What waits for callbacks holds nothing that a callback needs.

TEST_F(DvbRobustness, AClientMayShowAndAskInsideAPacketWhileSomebodyUnsubscribes)
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
    const TestThread service([] { ScriptedTvService::Packet(Packet("<tt/>")); });
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
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 1U);
}

TEST_F(DvbRobustness, AClientMayShowInsideAPacketWhileTheSourceStops)
{
    Start();
    m_client.On(0, [&] {
        m_inside.Open();
        m_goOn.Wait();
        m_source->OnShow();
    });
    const TestThread service([] { ScriptedTvService::Packet(Packet("<tt/>")); });
    m_inside.Wait();
    {
        const BlockedThread stopper([&] { m_source->OnStop(); });
        EXPECT_FALSE(stopper.IsDone());
        m_goOn.Open();
        stopper.WaitUntilDone();
    }
    service.WaitUntilDone();
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U) << "the stop has the last word";
}

TEST_F(DvbRobustness, SignalsAreTakenWhileSomebodyUnsubscribesSignals)
{
    Start();
    ScriptedLog::On({"t_TVSSignalCB", "Enter"}, [this] {
        m_inside.Open();
        m_goOn.Wait();
    });
    const TestThread service([] { ScriptedTvService::Signal(SIGNAL_TUNE_SUCCESS); });
    m_inside.Wait();
    const BlockedThread stopper([&] { m_source->OnStop(); });
    EXPECT_FALSE(stopper.IsDone());
    m_goOn.Open();
    stopper.WaitUntilDone();
    service.WaitUntilDone();
    Drain(*m_source);
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
}

} // namespace

} // namespace TTMLTest
