// Two DVB sources at once. The TV service and the recorder know their subscriptions by a name or a callback
// alone, which the two have in common.

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "DvbFixtures.h"
#include "TTMLRawDataInfo.h"

namespace TTMLTest {

namespace {

// A client of one of several sources.
class Counter
{
public:
    static void Callback(int code, void* data)
    {
        auto* user = data;
        if (code == TTML::CALLBACK_DATA) {
            const std::unique_ptr<TTML::TTMLRawDataInfo> record(static_cast<TTML::TTMLRawDataInfo*>(data));
            user = record->userData;
        } else if (code == TTML::CALLBACK_STARTED) {
            user = static_cast<const TTML::TTMLStartNotice*>(data)->userData;
        } else if (code == TTML::CALLBACK_SEEK_STARTED) {
            user = static_cast<const TTML::TTMLSeekNotice*>(data)->userData;
        }
        auto* const self = static_cast<Counter*>(user);
        ++self->m_counts.at(static_cast<std::size_t>(code));
        if (code == TTML::CALLBACK_DATA && self->m_onData) {
            self->m_onData();
        }
    }

    unsigned int Of(int code) const { return m_counts.at(static_cast<std::size_t>(code)); }

    std::function<void()> m_onData;

private:
    std::array<std::atomic<unsigned int>, 14> m_counts = {};
};

struct Pair
{
    std::unique_ptr<TTML::CDVBSource> source = std::make_unique<TTML::CDVBSource>();
    Counter client;

    Pair() { source->RegisterCallBack(&Counter::Callback, &client); }
    void Start() const { source->OnStart(); }
};

class DvbTwoSources : public BroadcastTest, public ::testing::WithParamInterface<bool>
{
protected:
    DvbTwoSources()
    {
        m_first.Start();
        m_second.Start();
        BroadcastTest::Drain(*m_first.source);
        BroadcastTest::Drain(*m_second.source);
    }

    // The parameter says whether the older one leaves or the younger one.
    Pair& Leaving() { return GetParam() ? m_first : m_second; }
    Pair& Staying() { return GetParam() ? m_second : m_first; }

    // Everything still reaches the one that stays.
    void ExpectAlive(const Pair& pair)
    {
        for (const int signal : {59, 60, 62, 75, 76, 85}) {
            EXPECT_EQ(ScriptedTvService::SubscribedTo(signal), (std::vector<void*>{pair.source.get()}))
                << signal;
        }
        const unsigned int data = pair.client.Of(0);
        ScriptedTvService::Packet(Pes().Segment(kPlain, "text " + std::to_string(++m_texts)).Bytes());
        EXPECT_EQ(pair.client.Of(0), data + 1);
        const unsigned int hidden = pair.client.Of(12);
        ScriptedTvService::Signal(SIGNAL_TUNE_START);
        Drain(*pair.source);
        EXPECT_EQ(pair.client.Of(12), hidden + 1);
        EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
        ScriptedRecorder::Signal(PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_PLAYING);
        EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 1U);
    }

    Pair m_first;
    Pair m_second;
    int m_texts = 0;
};

TEST_P(DvbTwoSources, BothAreServed)
{
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 2U);
    EXPECT_EQ(ScriptedRecorder::Registrations(), 2U);
    ScriptedTvService::Packet(Pes().Segment(kPlain, "<tt/>").Bytes());
    EXPECT_EQ(m_first.client.Of(0), 1U);
    EXPECT_EQ(m_second.client.Of(0), 1U);
    m_first.source->OnStop();
    m_second.source->OnStop();
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
}

TEST_P(DvbTwoSources, OneThatStopsLeavesTheOtherAlone)
{
    Leaving().source->OnStop();
    const unsigned int data = Leaving().client.Of(0);
    const unsigned int hidden = Leaving().client.Of(12);
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 1U);
    const int signal = 59;
    EXPECT_EQ(ScriptedTvService::SubscribedTo(signal), (std::vector<void*>{Staying().source.get()}));
    ScriptedTvService::Packet(Pes().Segment(kPlain, "<tt/>").Bytes());
    EXPECT_EQ(Leaving().client.Of(0), data) << "the service still calls it, but it wants nothing";
    EXPECT_EQ(Staying().client.Of(0), 1U);
    ScriptedTvService::Signal(signal);
    Drain(*Leaving().source);
    Drain(*Staying().source);
    EXPECT_EQ(Leaving().client.Of(12), hidden);
    EXPECT_EQ(Staying().client.Of(12), 1U);
}

TEST_P(DvbTwoSources, OneThatStopsAndGoesLeavesTheOtherAlone)
{
    Leaving().source->OnStop();
    Leaving().source.reset();
    ExpectAlive(Staying());
}

TEST_P(DvbTwoSources, OneThatGoesWithoutAStopLeavesTheOtherAlone)
{
    Leaving().source.reset();
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 1U);
    EXPECT_EQ(ScriptedRecorder::Registrations(), 1U);
    ExpectAlive(Staying());
}

TEST_P(DvbTwoSources, OneThatComesBackIsServedAgain)
{
    Leaving().source->OnStop();
    Leaving().source->OnStart();
    Drain(*Leaving().source);
    ScriptedTvService::Packet(Pes().Segment(kPlain, "<tt/>").Bytes());
    EXPECT_EQ(m_first.client.Of(0), 1U);
    EXPECT_EQ(m_second.client.Of(0), 1U);
}

TEST_P(DvbTwoSources, AStopWaitsForTheOwnPacketEvenWhereTheServiceDoesNot)
{
    Gate inside("the client is inside");
    Gate goOn("the client may go on");
    Leaving().client.m_onData = [&] {
        inside.Open();
        goOn.Wait();
    };
    const TestThread service([] { ScriptedTvService::Packet(Pes().Segment(kPlain, "<tt/>").Bytes()); });
    inside.Wait();
    {
        const BlockedThread stopper([&] { Leaving().source->OnStop(); });
        EXPECT_FALSE(stopper.IsDone());
        goOn.Open();
        stopper.WaitUntilDone();
    }
    service.WaitUntilDone();
    EXPECT_EQ(Leaving().client.Of(0), 1U);
}

TEST_P(DvbTwoSources, ADestructionWaitsForTheOwnPacketEvenWhereTheServiceDoesNot)
{
    Gate inside("the client is inside");
    Gate goOn("the client may go on");
    Leaving().client.m_onData = [&] {
        inside.Open();
        goOn.Wait();
    };
    const TestThread service([] { ScriptedTvService::Packet(Pes().Segment(kPlain, "<tt/>").Bytes()); });
    inside.Wait();
    {
        const BlockedThread destroyer([&] { Leaving().source.reset(); });
        EXPECT_FALSE(destroyer.IsDone());
        goOn.Open();
        destroyer.WaitUntilDone();
    }
    service.WaitUntilDone();
    ExpectAlive(Staying());
}

TEST_P(DvbTwoSources, OneIsNotHeldUpByAPacketOfTheOther)
{
    Gate inside("the client is inside");
    Gate goOn("the client may go on");
    Staying().client.m_onData = [&] {
        inside.Open();
        goOn.Wait();
    };
    const TestThread service([] { ScriptedTvService::Packet(Pes().Segment(kPlain, "<tt/>").Bytes()); });
    inside.Wait();
    Leaving().source->OnStop();
    Leaving().source.reset();
    goOn.Open();
    service.WaitUntilDone();
    EXPECT_EQ(Staying().client.Of(0), 1U);
}

TEST_P(DvbTwoSources, RecorderSignalsReachOnlyTheLiving)
{
    void* const address = Leaving().source.get();
    Leaving().source.reset();
    ScriptedTvService::Signal(SIGNAL_TUNE_START);
    Drain(*Staying().source);
    Forget();
    // While one is registered the recorder may call both.
    ScriptedRecorder::Signal(99);
    ScriptedRecorder::LateSignal(address, 99);
    EXPECT_EQ(ScriptedLog::CountOf("Signal not handled:[99]"), 1U);
}

INSTANTIATE_TEST_SUITE_P(The, DvbTwoSources, ::testing::Bool(), [](const auto& instance) {
    return instance.param ? "OlderLeaves" : "YoungerLeaves";
});

} // namespace

} // namespace TTMLTest
