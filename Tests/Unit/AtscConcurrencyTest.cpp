// The ATSC 3.0 source on all its threads at once: client, source, recorder, settings and captions.

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "AtscFixtures.h"

TTML_EXPOSE_FUNCTION(AtscReadMpd, void (TTML::CATSCSource::*)(), TTML::CATSCSource::m_UpdateMpdProperties)

namespace TTMLTest {

namespace {

void SignalNewMpd()
{
    TSSignalData mpd = {};
    mpd.data.l[0] = kMpdIsThere;
    ScriptedTvService::Signal(kAtsc3Signal, mpd);
}

// The source thread reading an MPD for a signal: it has the text, and not yet gone on with it.
class HeldMpdReading
{
public:
    HeldMpdReading()
    {
        ScriptedTvService::AtEndOf(TvCall::GET_MPD_DATA, [gates = m_gates] {
            if (!gates->inside.IsOpen()) {
                gates->inside.Open();
                gates->goOn.Wait();
            }
        });
        SignalNewMpd();
        m_gates->inside.Wait();
    }
    void GoOn() const { m_gates->goOn.Open(); }

private:
    struct SGates
    {
        Gate inside{"the source thread has the MPD"};
        Gate goOn{"the reading may go on"};
    };
    const std::shared_ptr<SGates> m_gates = std::make_shared<SGates>();
};

class AtscConcurrency : public AtscTest
{
protected:
    AtscConcurrency()
    {
        ScriptedTvService::During(TvCall::SUBSCRIBE_CAPTION,
                                  [this] { m_doubled += ScriptedTvService::CaptionSubscriptions(); });
    }

    // Each subscription was made while there was none, and all are taken back with their subscribers: the
    // service refuses to take back what is not there, and misses what is left.
    void ExpectOneAtATime()
    {
        m_source->OnStop();
        Drain(*m_source);
        EXPECT_EQ(m_doubled, 0U);
        EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
        const Texts calls = Journal::Instance().Calls("tv service");
        const auto countOf = [&](const std::string& part) {
            return std::count_if(calls.begin(), calls.end(), [&](const std::string& call) {
                return call.find(part) != std::string::npos;
            });
        };
        EXPECT_GT(countOf(".SubscribeCaption() = 1"), 0);
        EXPECT_EQ(countOf(".SubscribeCaption() = 1"), countOf(".UnsubscribeCaption("));
        EXPECT_EQ(countOf("CreateDataSubscriber(1, 0) = 0"), countOf(".UnsubscribeCaption("));
        EXPECT_EQ(ScriptedLog::CountOf("Data subscriber must be null!"), 0U);
        EXPECT_EQ(ScriptedLog::CountOf("m_pDataSubscriber is null!!"), 0U);
        EXPECT_EQ(ScriptedSettings::ValueOf(kBannerKey), 0);
    }

    static void DeliverNumber(int number)
    {
        Deliver(CaptionOf("text " + std::to_string(number), 1000000LL * number));
    }

    std::atomic<unsigned int> m_doubled{0};
};

TEST_F(AtscConcurrency, SubscriptionsFromAllThreadsAreMadeAndEndedOnceEach)
{
    m_source->OnStart();
    RunTogether({Repeat(40,
                        [&](int) {
                            m_source->OnShow();
                            m_source->OnHide();
                        }),
                 Repeat(40, [&](int round) { ScriptedTvService::Signal(round % 2 == 0 ? 59 : 60); }),
                 Repeat(40, [&](int round) { ScriptedRecorder::Signal(3, round % 2 == 0 ? 24 : 1); }),
                 Repeat(40, [&](int) { SignalNewMpd(); }),
                 Repeat(40, [&](int) { ScriptedSettings::Notice(kBannerKey); }),
                 Repeat(80, [&](int round) { DeliverNumber(round); })});
    ExpectOneAtATime();
}

TEST_F(AtscConcurrency, SubscribersAndUnsubscribersWithoutASignal)
{
    RunTogether({Repeat(50, [&](int) { Subscribe(); }), Repeat(50, [&](int) { Subscribe(); }),
                 Repeat(50, [&](int) { Unsubscribe(); }), Repeat(50, [&](int) { Unsubscribe(); })});
    Subscribe();
    ExpectOneAtATime();
}

TEST_F(AtscConcurrency, TwoSubscribersAtOnceMakeOneSubscription)
{
    Gate inside("the first is subscribing");
    Gate goOn("the service may answer");
    ScriptedTvService::During(TvCall::CREATE_SERVICE_NAVIGATION, [&] {
        inside.Open();
        goOn.Wait();
    });
    const TestThread first([&] { Subscribe(); });
    inside.Wait();
    const BlockedThread second([&] { Subscribe(); });
    goOn.Open();
    first.WaitUntilDone();
    second.WaitUntilDone();
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 1U);
    EXPECT_EQ(ScriptedLog::CountOf("Already subscribed!"), 1U);
    ExpectOneAtATime();
}

TEST_F(AtscConcurrency, TwoUnsubscribersAtOnceEndItOnce)
{
    Subscribe();
    Gate inside("the first is unsubscribing");
    Gate goOn("the service may answer");
    ScriptedTvService::During(TvCall::UNSUBSCRIBE_CAPTION, [&] {
        inside.Open();
        goOn.Wait();
    });
    const TestThread first([&] { Unsubscribe(); });
    inside.Wait();
    const BlockedThread second([&] { Unsubscribe(); });
    goOn.Open();
    first.WaitUntilDone();
    second.WaitUntilDone();
    EXPECT_EQ(ScriptedLog::CountOf("Already unsubscribed"), 1U);
    ExpectOneAtATime();
}

TEST_F(AtscConcurrency, AnUnsubscriptionDuringASubscriptionHasTheLastWord)
{
    Gate inside("somebody is subscribing");
    Gate goOn("the service may answer");
    ScriptedTvService::During(TvCall::GET_MPD_DATA, [&] {
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
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
    EXPECT_EQ(StateOf(*m_source).start, 0);
}

TEST_F(AtscConcurrency, ASubscriptionDuringAnUnsubscriptionHasTheLastWord)
{
    Subscribe();
    Gate inside("somebody is unsubscribing");
    Gate goOn("the service may answer");
    ScriptedTvService::During(TvCall::UNSUBSCRIBE_CAPTION, [&] {
        inside.Open();
        goOn.Wait();
    });
    const TestThread first([&] { Unsubscribe(); });
    inside.Wait();
    const BlockedThread second([&] { Subscribe(); });
    goOn.Open();
    first.WaitUntilDone();
    second.WaitUntilDone();
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 1U);
    EXPECT_EQ(StateOf(*m_source).start, kMpdStart);
    ExpectOneAtATime();
}

// A signal has the MPD read on the source thread, where nobody who unsubscribes waits for it.
TEST_F(AtscConcurrency, AnMpdThatIsJustReadDoesNotOutliveTheSubscription)
{
    Start();
    const HeldMpdReading reading;
    Unsubscribe();
    reading.GoOn();
    Drain(*m_source);
    EXPECT_EQ(StateOf(*m_source).start, 0);
    EXPECT_EQ(StateOf(*m_source).delay, 0);
    SignalNewMpd();
    Drain(*m_source);
    EXPECT_EQ(StateOf(*m_source).start, kMpdStart) << "one that is read later counts";
}

TEST_F(AtscConcurrency, AnMpdThatIsJustReadDoesNotReplaceThatOfTheNextSubscription)
{
    Start();
    const HeldMpdReading reading;
    ScriptedTvService::Change([](TvScene& scene) {
        scene.mpd = "availabilityStartTime=\"1970-01-01T00:00:09Z\" suggestedPresentationDelay=\"PT1S\"";
    });
    Unsubscribe();
    Subscribe();
    reading.GoOn();
    Drain(*m_source);
    EXPECT_EQ(StateOf(*m_source).start, 9000);
    EXPECT_EQ(StateOf(*m_source).delay, 1000);
}

TEST_F(AtscConcurrency, OfTwoMpdReadingsTheOneThatBeganLastCounts)
{
    Start();
    const HeldMpdReading reading;
    ScriptedTvService::Answer(TvCall::GET_MPD_DATA, TvAnswer::Failure(0));
    CallPrivate<AtscReadMpd>(*m_source);
    reading.GoOn();
    Drain(*m_source);
    EXPECT_EQ(StateOf(*m_source).start, 0) << "it found none";
}

TEST_F(AtscConcurrency, StartsAndStopsFromTwoClientsLeaveNothingBehind)
{
    RunTogether({Repeat(30, [&](int) { m_source->OnStart(); }), Repeat(30, [&](int) { m_source->OnStop(); }),
                 Repeat(30, [&](int round) { ScriptedTvService::Signal(round % 2 == 0 ? 59 : 60); }),
                 Repeat(30, [&](int) { m_source->OnShow(); }),
                 Repeat(60, [&](int round) { DeliverNumber(round); })});
    m_source->OnStop();
    Drain(*m_source);
    EXPECT_EQ(m_doubled, 0U);
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
    EXPECT_EQ(ScriptedSettings::ValueOf(kBannerKey), 0);
}

TEST_F(AtscConcurrency, DestructionUnderFireReleasesEverything)
{
    for (int life = 0; life < 10; ++life) {
        m_source->OnStart();
        std::atomic<bool> goes{false};
        Gate fired("signals and captions come");
        const auto fire = [&](const std::function<void()>& send) {
            return [&, send] {
                while (!goes) {
                    send();
                    fired.Open();
                }
                send();
            };
        };
        std::atomic<int> number{0};
        const TestThread captions(fire([&] { DeliverNumber(++number); }));
        const TestThread signals(fire([] {
            ScriptedTvService::Signal(59);
            ScriptedTvService::Signal(60);
        }));
        const TestThread recorder(fire([] {
            ScriptedRecorder::Signal(3, 24);
            ScriptedRecorder::Signal(3, 1);
            ScriptedRecorder::Signal(16);
        }));
        const TestThread settings(fire([] { ScriptedSettings::Notice(kBannerKey); }));
        fired.Wait();
        m_source.reset();
        goes = true;
        captions.WaitUntilDone();
        signals.WaitUntilDone();
        recorder.WaitUntilDone();
        settings.WaitUntilDone();
        EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
        EXPECT_EQ(ScriptedSettings::ValueOf(kBannerKey), 0);
        Make();
    }
}

// The times of one caption, or of one MPD, belong together.
TEST_F(AtscConcurrency, TheClockRunsBesideTheCaptions)
{
    MakeInKorea();
    Subscribe();
    ScriptedFileManager::SetTimeOfDay(0);
    RunTogether({Repeat(200,
                        [&](int round) {
                            // Each pair makes one second, with one offset and another.
                            const long long offset = round % 2 == 0 ? 0 : 7000000;
                            Deliver(CaptionOf("text " + std::to_string(round), 1000000000 + offset, offset));
                        }),
                 Repeat(200, [&](int) {
                     long long time = -1;
                     m_source->GetVideoCurrentTime(&time);
                     EXPECT_TRUE(time == 1000 || time == 0) << time; // 0 until the first caption
                 })});
}

TEST_F(AtscConcurrency, TheClockRunsBesideNewMpds)
{
    ScriptedTvService::Change([](TvScene& scene) {
        scene.mpd = "availabilityStartTime=\"1970-01-01T00:00:09Z\" suggestedPresentationDelay=\"PT1S\"";
    });
    Start();
    ScriptedFileManager::SetTimeOfDay(20000);
    RunTogether({Repeat(50, [&](int) { SignalNewMpd(); }), Repeat(100, [&](int) {
                     long long time = -1;
                     m_source->GetVideoCurrentTime(&time);
                     EXPECT_TRUE(time == 10000 || time == 20000) << time; // while it is read anew
                 })});
}

} // namespace

} // namespace TTMLTest
