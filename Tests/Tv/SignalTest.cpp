#include <mutex>
#include <string>
#include <vector>

#include <pthread.h>

#include "Gate.h"
#include "TestThread.h"
#include "TvFixture.h"

namespace {

using namespace TTMLTest;
using Texts = std::vector<std::string>;
using TVServiceAPI::CreateSignalSubscriber;
using TVServiceAPI::DestroySignalSubscriber;
using TVServiceAPI::ISignalSubscriber;

// What a subscription's user data points to.
struct Receiver
{
    TvRecorder* recorder;
    std::string name;
};

void Note(const Receiver& receiver, ESignalType signal)
{
    receiver.recorder->Note(receiver.name + " " + std::to_string(signal));
}

int OnSignal(ESignalType signal, EProfile /*profile*/, unsigned short /*index*/, TSSignalData /*data*/,
             void* userData)
{
    Note(*static_cast<Receiver*>(userData), signal);
    return 1;
}

int OnOtherSignal(ESignalType signal, EProfile profile, unsigned short index, TSSignalData /*data*/,
                  void* userData)
{
    EXPECT_EQ(profile, PROFILE_MAIN);
    EXPECT_EQ(index, 0);
    Note(*static_cast<Receiver*>(userData), signal);
    // Nobody looks at it.
    return 0;
}

ISignalSubscriber* NewSubscriber(TSSignalCallback callback = &OnSignal)
{
    ISignalSubscriber* subscriber = nullptr;
    EXPECT_EQ(CreateSignalSubscriber(callback, &subscriber), 0);
    return subscriber;
}

int Subscribe(ISignalSubscriber* subscriber, ESignalType signal, Receiver* receiver)
{
    return subscriber->Subscribe(signal, receiver, PROFILE_MAIN, 0, &OnSignal);
}

int Unsubscribe(ISignalSubscriber* subscriber, ESignalType signal)
{
    return subscriber->Unsubscribe(signal, PROFILE_MAIN, 0, &OnSignal);
}

void ActivateAndSettle()
{
    TTMLHost::TvActivate();
    TTMLHost::TvSettle();
}

class Signal : public TvTest
{
protected:
    Receiver m_first{&m_recorder, "first"};
    Receiver m_second{&m_recorder, "second"};
};

TEST_F(Signal, AreGivenInOrderOnAThreadOfTheirOwn)
{
    std::string thread;
    m_recorder.When("first 75", [&thread] {
        char name[16] = {};
        pthread_getname_np(pthread_self(), name, sizeof(name));
        thread = name;
    });
    ISignalSubscriber* const subscriber = NewSubscriber();
    EXPECT_EQ(Subscribe(subscriber, SIGNAL_TVS_ACTIVATE, &m_first), 1);
    EXPECT_EQ(Subscribe(subscriber, SIGNAL_TVS_DEACTIVATE, &m_first), 1);
    for (int round = 0; round < 3; ++round) {
        TTMLHost::TvActivate();
        TTMLHost::TvDeactivate();
    }
    TTMLHost::TvSettle();
    EXPECT_EQ(m_recorder.Events(),
              (Texts{"first 75", "first 76", "first 75", "first 76", "first 75", "first 76"}));
    EXPECT_EQ(thread, "TvSignals");
    EXPECT_EQ(DestroySignalSubscriber(&OnSignal), 0);
    ActivateAndSettle();
    EXPECT_EQ(m_recorder.Events().size(), 6U) << "its subscriptions went with it";
}

TEST_F(Signal, AreGivenToEachSubscriberOfACallbackByItself)
{
    ISignalSubscriber* const one = NewSubscriber();
    ISignalSubscriber* const other = NewSubscriber();
    EXPECT_NE(one, other);
    EXPECT_EQ(Subscribe(one, SIGNAL_TVS_ACTIVATE, &m_first), 1);
    EXPECT_EQ(Subscribe(other, SIGNAL_TVS_ACTIVATE, &m_second), 1);
    ActivateAndSettle();
    EXPECT_EQ(m_recorder.Events(), (Texts{"first 75", "second 75"}));
    EXPECT_EQ(Unsubscribe(one, SIGNAL_TVS_ACTIVATE), 1);
    EXPECT_EQ(Unsubscribe(one, SIGNAL_TVS_ACTIVATE), 0) << "there is nothing left to take back";
    ActivateAndSettle();
    EXPECT_EQ(m_recorder.Events(), (Texts{"first 75", "second 75", "second 75"}));
    // The one without subscriptions goes first, whichever is the older.
    EXPECT_EQ(DestroySignalSubscriber(&OnSignal), 0);
    ActivateAndSettle();
    EXPECT_EQ(m_recorder.Count("second 75"), 3U);
    EXPECT_EQ(DestroySignalSubscriber(&OnSignal), 0);
    ActivateAndSettle();
    EXPECT_EQ(m_recorder.Count("second 75"), 3U);
    EXPECT_NE(DestroySignalSubscriber(&OnSignal), 0);
}

TEST_F(Signal, TheOldestSubscriberGoesWhereAllHaveSubscriptions)
{
    ISignalSubscriber* const one = NewSubscriber();
    ISignalSubscriber* const other = NewSubscriber();
    Subscribe(one, SIGNAL_TVS_ACTIVATE, &m_first);
    Subscribe(other, SIGNAL_TVS_ACTIVATE, &m_second);
    EXPECT_EQ(DestroySignalSubscriber(&OnSignal), 0);
    ActivateAndSettle();
    EXPECT_EQ(m_recorder.Events(), Texts{"second 75"});
    EXPECT_EQ(DestroySignalSubscriber(&OnSignal), 0);
}

TEST_F(Signal, ASubscriberThatHasNotBegunYetIsSparedByOneThatGoes)
{
    ISignalSubscriber* const starting = NewSubscriber();
    ISignalSubscriber* const going = NewSubscriber();
    Subscribe(going, SIGNAL_TVS_ACTIVATE, &m_second);
    Unsubscribe(going, SIGNAL_TVS_ACTIVATE);
    EXPECT_EQ(DestroySignalSubscriber(&OnSignal), 0);
    EXPECT_EQ(Subscribe(starting, SIGNAL_TVS_ACTIVATE, &m_first), 1);
    ActivateAndSettle();
    EXPECT_EQ(m_recorder.Events(), Texts{"first 75"});
    EXPECT_EQ(DestroySignalSubscriber(&OnSignal), 0);
}

TEST_F(Signal, AreGivenOnceHoweverOftenTheyAreSubscribedTo)
{
    ISignalSubscriber* const subscriber = NewSubscriber();
    EXPECT_EQ(Subscribe(subscriber, SIGNAL_TVS_ACTIVATE, &m_first), 1);
    EXPECT_EQ(Subscribe(subscriber, SIGNAL_TVS_ACTIVATE, &m_first), 1);
    ActivateAndSettle();
    EXPECT_EQ(m_recorder.Events(), Texts{"first 75"});
    EXPECT_EQ(Unsubscribe(subscriber, SIGNAL_TVS_ACTIVATE), 1);
    ActivateAndSettle();
    EXPECT_EQ(m_recorder.Events(), Texts{"first 75"}) << "one unsubscription ends it";
    EXPECT_EQ(DestroySignalSubscriber(&OnSignal), 0);
}

TEST_F(Signal, AreOnlyThoseOfTheScreenThatIsAskedFor)
{
    ISignalSubscriber* const subscriber = NewSubscriber(&OnOtherSignal);
    EXPECT_EQ(
        subscriber->Subscribe(SIGNAL_TVS_ACTIVATE, &m_first, static_cast<EProfile>(2), 0, &OnOtherSignal), 1);
    EXPECT_EQ(subscriber->Subscribe(SIGNAL_TVS_ACTIVATE, &m_first, PROFILE_MAIN, 1, &OnOtherSignal), 1);
    EXPECT_EQ(subscriber->Subscribe(SIGNAL_TVS_ACTIVATE, &m_second, PROFILE_MAIN, 0, &OnOtherSignal), 1);
    ActivateAndSettle();
    EXPECT_EQ(m_recorder.Events(), Texts{"second 75"});
    EXPECT_EQ(DestroySignalSubscriber(&OnOtherSignal), 0);
}

TEST_F(Signal, NothingIsCreatedWithoutACallback)
{
    ISignalSubscriber* subscriber = nullptr;
    EXPECT_NE(CreateSignalSubscriber(nullptr, &subscriber), 0);
    EXPECT_EQ(subscriber, nullptr);
    EXPECT_NE(CreateSignalSubscriber(&OnSignal, nullptr), 0);
    ISignalSubscriber* const created = NewSubscriber();
    EXPECT_EQ(created->Subscribe(SIGNAL_TVS_ACTIVATE, &m_first, PROFILE_MAIN, 0, nullptr), 0);
    EXPECT_EQ(DestroySignalSubscriber(&OnSignal), 0);
}

TEST_F(Signal, UnsubscribingWaitsForACallUnderWay)
{
    ISignalSubscriber* const subscriber = NewSubscriber();
    Subscribe(subscriber, SIGNAL_TVS_ACTIVATE, &m_first);
    m_recorder.When("first 75", [this] { m_recorder.Note("call ends"); });
    m_recorder.Hold("first 75");
    TTMLHost::TvActivate();
    ASSERT_TRUE(m_recorder.WaitHeld("first 75"));
    {
        Gate unsubscribes("about to unsubscribe");
        const TestThread other([&] {
            unsubscribes.Open();
            Unsubscribe(subscriber, SIGNAL_TVS_ACTIVATE);
            m_recorder.Note("unsubscribed");
        });
        ASSERT_TRUE(unsubscribes.Wait());
        m_recorder.Release("first 75");
    }
    EXPECT_EQ(m_recorder.Events(), (Texts{"first 75", "call ends", "unsubscribed"}));
    EXPECT_EQ(DestroySignalSubscriber(&OnSignal), 0);
}

TEST_F(Signal, DestroyingASubscriberWaitsForACallUnderWay)
{
    Subscribe(NewSubscriber(), SIGNAL_TVS_ACTIVATE, &m_first);
    m_recorder.When("first 75", [this] { m_recorder.Note("call ends"); });
    m_recorder.Hold("first 75");
    TTMLHost::TvActivate();
    ASSERT_TRUE(m_recorder.WaitHeld("first 75"));
    {
        Gate destroys("about to destroy");
        const TestThread other([&] {
            destroys.Open();
            DestroySignalSubscriber(&OnSignal);
            m_recorder.Note("destroyed");
        });
        ASSERT_TRUE(destroys.Wait());
        m_recorder.Release("first 75");
    }
    EXPECT_EQ(m_recorder.Events(), (Texts{"first 75", "call ends", "destroyed"}));
}

TEST_F(Signal, NothingWaitsInsideItsOwnCallback)
{
    ISignalSubscriber* const subscriber = NewSubscriber();
    Subscribe(subscriber, SIGNAL_TVS_ACTIVATE, &m_first);
    Subscribe(subscriber, SIGNAL_TVS_DEACTIVATE, &m_first);
    m_recorder.When("first 75", [&] {
        EXPECT_EQ(Unsubscribe(subscriber, SIGNAL_TVS_ACTIVATE), 1);
        m_recorder.Note("unsubscribed");
    });
    m_recorder.When("first 76", [&] {
        EXPECT_EQ(DestroySignalSubscriber(&OnSignal), 0);
        m_recorder.Note("destroyed");
    });
    TTMLHost::TvActivate();
    TTMLHost::TvActivate();
    TTMLHost::TvDeactivate();
    TTMLHost::TvDeactivate();
    TTMLHost::TvSettle();
    EXPECT_EQ(m_recorder.Events(), (Texts{"first 75", "unsubscribed", "first 76", "destroyed"}));
}

TEST_F(Signal, SettlingWaitsForEverythingRaisedBefore)
{
    Subscribe(NewSubscriber(), SIGNAL_TVS_ACTIVATE, &m_first);
    m_recorder.Hold("first 75");
    TTMLHost::TvActivate();
    ASSERT_TRUE(m_recorder.WaitHeld("first 75"));
    TTMLHost::TvActivate();
    {
        Gate settles("about to settle");
        const TestThread other([&] {
            settles.Open();
            TTMLHost::TvSettle();
            m_recorder.Note("settled");
        });
        ASSERT_TRUE(settles.Wait());
        m_recorder.Release("first 75");
    }
    EXPECT_EQ(m_recorder.Events(), (Texts{"first 75", "first 75", "settled"}));
    EXPECT_EQ(DestroySignalSubscriber(&OnSignal), 0);
}

TEST_F(Signal, ClosingDropsWhatWaitsAndKeepsTheSubscriptions)
{
    Subscribe(NewSubscriber(), SIGNAL_TVS_ACTIVATE, &m_first);
    m_recorder.Hold("first 75");
    TTMLHost::TvActivate();
    ASSERT_TRUE(m_recorder.WaitHeld("first 75"));
    TTMLHost::TvActivate();
    TTMLHost::TvActivate();
    {
        Gate closes("about to close");
        const TestThread other([&] {
            closes.Open();
            TTMLHost::TvClose();
            m_recorder.Note("closed");
        });
        ASSERT_TRUE(closes.Wait());
        m_recorder.Release("first 75");
    }
    EXPECT_EQ(m_recorder.Events().back(), "closed") << "nothing comes after the return";
    m_recorder.Clear();
    m_recorder.When("first 75", {});
    ActivateAndSettle();
    EXPECT_EQ(m_recorder.Events(), Texts{"first 75"});
    EXPECT_EQ(DestroySignalSubscriber(&OnSignal), 0);
}

} // namespace
