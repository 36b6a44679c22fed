// PlatformTvService.h: signals, and their order with what can be asked.

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "CallbackContract.h"
#include "TestThread.h"
#include "TvSessions.h"

namespace {

using namespace PortTest;
using namespace TVServiceAPI;

template <int Slot>
int OnSignal(ESignalType /*signal*/, EProfile /*profile*/, unsigned short /*index*/, TSSignalData /*data*/,
             void* userData)
{
    Receiver::Call(userData);
    return Slot; // nobody looks at it
}

TSSignalCallback Callback(int slot)
{
    return slot == 0 ? &OnSignal<0> : &OnSignal<1>;
}

bool Subscribe(ISignalSubscriber* subscriber, int slot, Receiver* receiver)
{
    return subscriber->Subscribe(SIGNAL_TVS_ACTIVATE, receiver, PROFILE_MAIN, 0, Callback(slot)) > 0;
}

// One signal of subscribers that stay; each subscription is ended by itself.
class SignalSubscriptions : public Subscription
{
public:
    SignalSubscriptions()
    {
        for (int slot = 0; slot < 2; ++slot) {
            EXPECT_EQ(CreateSignalSubscriber(Callback(slot), &m_subscribers[slot]), 0);
        }
    }
    ~SignalSubscriptions() override
    {
        for (int slot = 0; slot < 2; ++slot) {
            EXPECT_EQ(DestroySignalSubscriber(Callback(slot)), 0);
        }
    }
    SignalSubscriptions(const SignalSubscriptions&) = delete;
    SignalSubscriptions& operator=(const SignalSubscriptions&) = delete;

    bool Begin(int slot, Receiver* receiver) override
    {
        return Subscribe(m_subscribers[slot], slot, receiver);
    }
    bool End(int slot) override
    {
        return m_subscribers[slot]->Unsubscribe(SIGNAL_TVS_ACTIVATE, PROFILE_MAIN, 0, Callback(slot)) > 0;
    }
    void Raise() override { EXPECT_TRUE(Port().Television()->Activate()); }

private:
    ISignalSubscriber* m_subscribers[2] = {};
};

// Subscribers that are released with their subscription.
class SignalSubscribers : public Subscription
{
public:
    bool Begin(int slot, Receiver* receiver) override
    {
        ISignalSubscriber* subscriber = nullptr;
        return CreateSignalSubscriber(Callback(slot), &subscriber) == 0 && subscriber != nullptr &&
               Subscribe(subscriber, slot, receiver);
    }
    bool End(int slot) override { return DestroySignalSubscriber(Callback(slot)) == 0; }
    void Raise() override { EXPECT_TRUE(Port().Television()->Activate()); }
};

bool CanActivate()
{
    return Port().Television() != nullptr && Port().Television()->Activate();
}

std::unique_ptr<Subscription> MakeSubscriptions()
{
    return CanActivate() ? std::make_unique<SignalSubscriptions>() : nullptr;
}

std::unique_ptr<Subscription> MakeSubscribers()
{
    return CanActivate() ? std::make_unique<SignalSubscribers>() : nullptr;
}

const SubscriptionKind kSubscriptions{"Subscriptions", "giving the screen to the TV service",
                                      &MakeSubscriptions};
const SubscriptionKind kSubscribers{"Subscribers", "giving the screen to the TV service", &MakeSubscribers};
PORT_INSTANTIATE(TvSignal, CallbackContract, kSubscriptions);
PORT_INSTANTIATE(TvSignal, SerialCallbackContract, kSubscriptions);
PORT_INSTANTIATE(TvSignalSubscribers, CallbackContract, kSubscribers);
PORT_INSTANTIATE(TvSignalSubscribers, SerialCallbackContract, kSubscribers);

class TvSignal : public TelevisionTest
{};

TEST_F(TvSignal, IsSubscribedToWithoutATelevision)
{
    ISignalSubscriber* subscriber = nullptr;
    ASSERT_EQ(CreateSignalSubscriber(Callback(0), &subscriber), 0);
    ASSERT_NE(subscriber, nullptr);
    Receiver receiver("signal");
    EXPECT_TRUE(Subscribe(subscriber, 0, &receiver));
    EXPECT_GT(subscriber->Unsubscribe(SIGNAL_TVS_ACTIVATE, PROFILE_MAIN, 0, Callback(0)), 0);
    receiver.ExpectNoMore();
    EXPECT_EQ(DestroySignalSubscriber(Callback(0)), 0);
    EXPECT_NE(DestroySignalSubscriber(Callback(0)), 0) << "there is none left";
}

// The next five tests hold for two subscribers of one callback, as two sources of one kind have them.

class TvSignalOfTwo : public TelevisionTest
{
protected:
    void SetUp() override
    {
        PORT_NEEDS(CanActivate(), "giving the screen to the TV service");
        ASSERT_EQ(CreateSignalSubscriber(Callback(0), &m_older), 0);
        ASSERT_EQ(CreateSignalSubscriber(Callback(0), &m_younger), 0);
        ASSERT_NE(m_older, m_younger);
    }

    static void Raise() { EXPECT_TRUE(Tv().Activate()); }
    static void End(ISignalSubscriber* subscriber)
    {
        EXPECT_GT(subscriber->Unsubscribe(SIGNAL_TVS_ACTIVATE, PROFILE_MAIN, 0, Callback(0)), 0);
    }
    static void Destroy() { EXPECT_EQ(DestroySignalSubscriber(Callback(0)), 0); }

    ISignalSubscriber* m_older = nullptr;
    ISignalSubscriber* m_younger = nullptr;
    Receiver m_first{"older"};
    Receiver m_second{"younger"};
};

TEST_F(TvSignalOfTwo, EachHasItsOwnUserData)
{
    EXPECT_TRUE(Subscribe(m_older, 0, &m_first));
    EXPECT_TRUE(Subscribe(m_younger, 0, &m_second));
    Raise();
    EXPECT_TRUE(m_first.WaitForCalls(1));
    EXPECT_TRUE(m_second.WaitForCalls(1));
    End(m_older);
    m_first.ExpectNoMore();
    Raise();
    EXPECT_TRUE(m_second.WaitForCalls(2));
    End(m_younger);
    Destroy();
    Destroy();
}

TEST_F(TvSignalOfTwo, TheOneThatHasEndedIsReleasedFirst)
{
    EXPECT_TRUE(Subscribe(m_older, 0, &m_first));
    EXPECT_TRUE(Subscribe(m_younger, 0, &m_second));
    End(m_younger);
    m_second.ExpectNoMore();
    Destroy();
    Raise();
    EXPECT_TRUE(m_first.WaitForCalls(1)) << "the older one lives";
    Destroy();
    m_first.ExpectNoMore();
}

TEST_F(TvSignalOfTwo, TheOneThatNeverBeganIsReleasedBeforeOneThatGoesOn)
{
    EXPECT_TRUE(Subscribe(m_older, 0, &m_first));
    Destroy();
    Raise();
    EXPECT_TRUE(m_first.WaitForCalls(1));
    Destroy();
    m_first.ExpectNoMore();
}

TEST_F(TvSignalOfTwo, TheOneThatHasEndedGoesBeforeOneThatNeverBegan)
{
    EXPECT_TRUE(Subscribe(m_younger, 0, &m_second));
    End(m_younger);
    Destroy();
    EXPECT_TRUE(Subscribe(m_older, 0, &m_first)) << "the other one is still there";
    Raise();
    EXPECT_TRUE(m_first.WaitForCalls(1));
    Destroy();
    m_first.ExpectNoMore();
}

TEST_F(TvSignalOfTwo, TheOldestIsReleasedWhereBothGoOn)
{
    EXPECT_TRUE(Subscribe(m_older, 0, &m_first));
    EXPECT_TRUE(Subscribe(m_younger, 0, &m_second));
    Destroy();
    m_first.ExpectNoMore();
    Raise();
    EXPECT_TRUE(m_second.WaitForCalls(1));
    Destroy();
    m_second.ExpectNoMore();
}

TEST_F(TvSignal, OfATuneComesBeforeItsSuccess)
{
    PORT_NEEDS(Offers(Broadcast::Dvb), "a DVB service with subtitles");
    SignalWatch watch;
    Tv().Tune(Broadcast::Dvb, false);
    ASSERT_TRUE(watch.WaitFor(SIGNAL_TUNE_SUCCESS));
    const std::vector<ESignalType> signals = watch.Signals();
    const auto start = std::find(signals.begin(), signals.end(), SIGNAL_TUNE_START);
    const auto success = std::find(signals.begin(), signals.end(), SIGNAL_TUNE_SUCCESS);
    EXPECT_LT(start - signals.begin(), success - signals.begin());
    EXPECT_EQ(std::count(signals.begin(), signals.end(), SIGNAL_TUNE_SUCCESS), 1);
}

TEST_F(TvSignal, OfASuccessFindsTheServiceInsideTheCallback)
{
    PORT_NEEDS(Offers(Broadcast::Dvb), "a DVB service with subtitles");
    std::uint64_t id = 0;
    SignalWatch watch;
    watch.During([&id](ESignalType signal) {
        if (signal == SIGNAL_TUNE_SUCCESS) {
            id = TunedServiceId(); // with a session that is created and released inside
        }
    });
    Tv().Tune(Broadcast::Dvb, false);
    ASSERT_TRUE(watch.WaitFor(SIGNAL_TUNE_SUCCESS));
    EXPECT_NE(id, 0U);
}

TEST_F(TvSignal, OfATuneComesForEachTune)
{
    PORT_NEEDS(Offers(Broadcast::OtherDvb), "a second DVB service");
    PORT_TUNES(Broadcast::Dvb, "a DVB service with subtitles", false);
    SignalWatch watch;
    Tv().Tune(Broadcast::OtherDvb, false);
    ASSERT_TRUE(watch.WaitFor(SIGNAL_TUNE_SUCCESS));
    EXPECT_EQ(watch.Count(SIGNAL_TUNE_START), 1U);
    Tv().Tune(Broadcast::Dvb, false);
    ASSERT_TRUE(watch.WaitFor(SIGNAL_TUNE_SUCCESS, 2));
    EXPECT_EQ(watch.Count(SIGNAL_TUNE_START), 2U);
}

TEST_F(TvSignal, OfALockComesOnceItCanBeAskedFor)
{
    PORT_TUNES(Broadcast::Dvb, "a DVB service with subtitles", false);
    bool withheld = false;
    SignalWatch watch;
    watch.During([&withheld](ESignalType signal) {
        if (signal == SIGNAL_SERVICE_LOCKED) {
            EXPECT_GT(NewAvControl()->GetParentalLock(withheld), 0);
        }
    });
    PORT_NEEDS(Tv().Lock(true), "locking the service");
    ASSERT_TRUE(watch.WaitFor(SIGNAL_SERVICE_LOCKED));
    EXPECT_TRUE(withheld);
    int result = 0;
    TCServiceData data = ServiceData({SERVICE_ATTRIBUTE_LOCK}, &result);
    ASSERT_NE(data.Find(SERVICE_ATTRIBUTE_LOCK), nullptr);
    EXPECT_NE(data.Find(SERVICE_ATTRIBUTE_LOCK)->integer, 0);
    EXPECT_TRUE(Tv().Lock(false));
    EXPECT_GT(NewAvControl()->GetParentalLock(withheld), 0);
    EXPECT_FALSE(withheld);
    data = ServiceData({SERVICE_ATTRIBUTE_LOCK}, &result);
    ASSERT_NE(data.Find(SERVICE_ATTRIBUTE_LOCK), nullptr);
    EXPECT_EQ(data.Find(SERVICE_ATTRIBUTE_LOCK)->integer, 0);
}

TEST_F(TvSignal, OfANewMpdSaysSoInItsFirstWord)
{
    PORT_TUNES(Broadcast::Atsc3, "an ATSC 3.0 service with captions", false);
    SignalWatch watch;
    PORT_NEEDS(Tv().AnnounceMpd(), "telling of a new MPD");
    ASSERT_TRUE(watch.WaitFor(SIGNAL_ATSC3_SIGNALING));
    EXPECT_EQ(watch.LastData(SIGNAL_ATSC3_SIGNALING).data.l[0], 8);
}

} // namespace
