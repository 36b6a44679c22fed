// The DVB source on all its threads at once: client, source, recorder and packets.

#include <atomic>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DvbFixtures.h"

namespace TTMLTest {

namespace {

class DvbConcurrency : public DvbTest
{
protected:
    DvbConcurrency()
    {
        ScriptedTvService::During(TvCall::SUBSCRIBE_PES,
                                  [this] { m_doubled += ScriptedTvService::PacketSubscriptions(); });
    }

    // Each subscription was made while there was none, and all are taken back: the service refuses to take
    // back what is not there.
    void ExpectOneAtATime()
    {
        m_source->OnStop();
        Drain(*m_source);
        EXPECT_EQ(m_doubled, 0U);
        EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
        unsigned int made = 0;
        unsigned int ended = 0;
        for (const auto& call : Journal::Instance().Calls("tv service")) {
            made += call == "SubscribePES(\"ttml\") = 1" ? 1U : 0U;
            ended += call == "UnsubscribePES(\"ttml\") = 1" ? 1U : 0U;
        }
        EXPECT_EQ(made, ended);
        EXPECT_GT(made, 0U);
    }

    std::atomic<unsigned int> m_doubled{0};
};

TEST_F(DvbConcurrency, SubscriptionsFromAllThreadsAreMadeAndEndedOnceEach)
{
    m_source->OnStart();
    RunTogether({Repeat(60,
                        [&](int) {
                            m_source->OnShow();
                            m_source->OnHide();
                        }),
                 Repeat(60, [&](int round) { ScriptedTvService::Signal(round % 2 == 0 ? 59 : 60); }),
                 Repeat(60, [&](int round) { ScriptedRecorder::Signal(3, round % 2 == 0 ? 24 : 1); }),
                 Repeat(60, [&](int) { ScriptedTvService::Signal(85); }), Repeat(120, [&](int round) {
                     ScriptedTvService::Packet(
                         Pes().Segment(kPlain, "text " + std::to_string(round)).Bytes());
                 })});
    ExpectOneAtATime();
}

TEST_F(DvbConcurrency, TwoSubscribersAtOnceMakeOneSubscription)
{
    // The first is held inside the service until the second is on its way.
    Gate inside("the first is subscribing");
    Gate goOn("the service may answer");
    ScriptedTvService::During(TvCall::CREATE_DATA_CONTROL, [&] {
        inside.Open();
        goOn.Wait();
    });
    const TestThread first([&] { Subscribe(); });
    inside.Wait();
    const BlockedThread second([&] { Subscribe(); });
    goOn.Open();
    first.WaitUntilDone();
    second.WaitUntilDone();
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 1U);
    EXPECT_EQ(ScriptedLog::CountOf("Already subscribed!"), 1U);
    ExpectOneAtATime();
}

TEST_F(DvbConcurrency, TwoUnsubscribersAtOnceEndItOnce)
{
    Subscribe();
    Gate inside("the first is unsubscribing");
    Gate goOn("the service may answer");
    ScriptedTvService::During(TvCall::UNSUBSCRIBE_PES, [&] {
        inside.Open();
        goOn.Wait();
    });
    const TestThread first([&] { Unsubscribe(); });
    inside.Wait();
    const BlockedThread second([&] { Unsubscribe(); });
    goOn.Open();
    first.WaitUntilDone();
    second.WaitUntilDone();
    EXPECT_EQ(ScriptedLog::CountOf("Not subscribed or already unsubscribed. t_bIsSubscribed=0"), 1U);
    ExpectOneAtATime();
}

TEST_F(DvbConcurrency, AnUnsubscriptionDuringASubscriptionHasTheLastWord)
{
    Gate inside("somebody is subscribing");
    Gate goOn("the service may answer");
    ScriptedTvService::During(TvCall::SUBSCRIBE_PES, [&] {
        inside.Open();
        goOn.Wait();
    });
    const TestThread first([&] { Subscribe(); });
    inside.Wait();
    const BlockedThread second([&] { Unsubscribe(); });
    EXPECT_FALSE(second.IsDone());
    goOn.Open();
    first.WaitUntilDone();
    second.WaitUntilDone();
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
}

TEST_F(DvbConcurrency, ASubscriptionDuringAnUnsubscriptionHasTheLastWord)
{
    Subscribe();
    Gate inside("somebody is unsubscribing");
    Gate goOn("the service may answer");
    ScriptedTvService::During(TvCall::UNSUBSCRIBE_PES, [&] {
        inside.Open();
        goOn.Wait();
    });
    const TestThread first([&] { Unsubscribe(); });
    inside.Wait();
    const BlockedThread second([&] { Subscribe(); });
    goOn.Open();
    first.WaitUntilDone();
    second.WaitUntilDone();
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 1U);
    ExpectOneAtATime();
}

TEST_F(DvbConcurrency, StartsAndStopsFromTwoClientsLeaveNothingBehind)
{
    RunTogether({Repeat(40, [&](int) { m_source->OnStart(); }), Repeat(40, [&](int) { m_source->OnStop(); }),
                 Repeat(40, [&](int round) { ScriptedTvService::Signal(round % 2 == 0 ? 59 : 60); }),
                 Repeat(40, [&](int) { m_source->OnShow(); })});
    m_source->OnStop();
    Drain(*m_source);
    EXPECT_EQ(m_doubled, 0U);
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
}

TEST_F(DvbConcurrency, DestructionUnderFireReleasesEverything)
{
    for (int life = 0; life < 15; ++life) {
        m_source->OnStart();
        std::atomic<bool> goes{false};
        Gate fired("signals and packets come");
        const auto fire = [&](const std::function<void()>& send) {
            return [&, send] {
                while (!goes) {
                    send();
                    fired.Open();
                }
                send();
            };
        };
        const TestThread packets(fire([] { ScriptedTvService::Packet(Pes().Segment(kPlain, "a").Bytes()); }));
        const TestThread signals(fire([] {
            ScriptedTvService::Signal(59);
            ScriptedTvService::Signal(60);
        }));
        const TestThread recorder(fire([] {
            ScriptedRecorder::Signal(3, 24);
            ScriptedRecorder::Signal(3, 1);
            ScriptedRecorder::Signal(16);
        }));
        fired.Wait();
        m_source.reset();
        goes = true;
        packets.WaitUntilDone();
        signals.WaitUntilDone();
        recorder.WaitUntilDone();
        EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
        m_source = std::make_unique<TTML::CDVBSource>();
        m_source->RegisterCallBack(&BroadcastTest::ClientCallback, m_client.UserData());
    }
}

TEST_F(DvbConcurrency, TheClockRunsBesideThePackets)
{
    Start();
    ScriptedTvService::Change([](TvScene& scene) { scene.stc = 0; });
    RunTogether(
        {Repeat(200,
                [&](int round) {
                    // Each pair makes one second.
                    const auto step = static_cast<std::uint64_t>(round);
                    ScriptedTvService::Packet(
                        Pes().Pts(90 * step).MediaTime(10 * step + 10000).Segment(kPlain, "a").Bytes());
                }),
         Repeat(200, [&](int) {
             long long time = 0;
             m_source->GetVideoCurrentTime(&time);
             EXPECT_TRUE(time == 1000 || time == 0) << time; // 0 until the first packet
         })});
}

} // namespace

} // namespace TTMLTest
