#include <algorithm>
#include <string>
#include <vector>

#include "Gate.h"
#include "TestThread.h"
#include "TvFixture.h"

namespace {

using namespace TTMLTest;
using Texts = std::vector<std::string>;

struct Receiver
{
    TvRecorder* recorder;
    std::string name;
};

void OnPes(TSPESData& packet, void* userData)
{
    const auto* const receiver = static_cast<const Receiver*>(userData);
    receiver->recorder->Note(receiver->name + " " + std::to_string(packet.data.size()));
    // The packet is the callback's for as long as the call lasts.
    packet.data.clear();
}

class PesSubscription : public TvTest
{
protected:
    PesSubscription()
        : m_size(std::to_string(Subtitle(0).size()))
    {}

    // Opens a stream of five packets, of which each waits for its Release("packet").
    void Open()
    {
        std::string error;
        ASSERT_TRUE(TTMLHost::TvOpen(FastInput(File(Seconds(5))), &m_recorder, &error)) << error;
    }

    bool Subscribe(const std::string& name, Receiver* receiver)
    {
        return CTVServiceSubscriber(name).SubscribePES(&OnPes, receiver);
    }

    bool Unsubscribe(const std::string& name) { return CTVServiceSubscriber(name).UnsubscribePES(); }

    Texts Times(unsigned count, const std::string& name) const { return Texts(count, name + " " + m_size); }

    const std::string m_size;
    Receiver m_first{&m_recorder, "first"};
    Receiver m_second{&m_recorder, "second"};
};

TEST_F(PesSubscription, EachGetsAPacketOfItsOwnInOrder)
{
    Open();
    EXPECT_TRUE(Subscribe("ttml", &m_first));
    EXPECT_TRUE(Subscribe("ttml", &m_second));
    EXPECT_TRUE(Subscribe("other", &m_first));
    m_recorder.When("told 60", [this] { m_recorder.Clear(); });
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    const std::string first = "first " + m_size;
    const std::string second = "second " + m_size;
    const Texts events = m_recorder.Events();
    EXPECT_EQ(Texts(events.begin(), events.begin() + 4), (Texts{first, second, first, "delivered"}));
    EXPECT_EQ(m_recorder.Count("delivered"), 5U);
    EXPECT_EQ(TTMLHost::TvGetStatistics().pesDelivered, 5U);
    EXPECT_TRUE(Unsubscribe("ttml"));
    EXPECT_TRUE(Unsubscribe("ttml"));
    EXPECT_TRUE(Unsubscribe("other"));
    EXPECT_FALSE(Unsubscribe("ttml"));
}

TEST_F(PesSubscription, TheSameOnceMoreCountsAndDoesNotDoubleTheCalls)
{
    Open();
    EXPECT_TRUE(Subscribe("ttml", &m_first));
    EXPECT_TRUE(Subscribe("ttml", &m_first));
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.EventsLike("first"), Times(5, "first"));
    EXPECT_TRUE(Unsubscribe("ttml"));
    EXPECT_TRUE(Unsubscribe("ttml"));
    EXPECT_FALSE(Unsubscribe("ttml"));
}

TEST_F(PesSubscription, CallsGoOnUntilTheLastOfTheNameIsTakenBack)
{
    Open();
    EXPECT_TRUE(Subscribe("ttml", &m_first));
    EXPECT_TRUE(Subscribe("ttml", &m_second));
    EXPECT_FALSE(Unsubscribe("TTML")) << "another name";
    unsigned packets = 0;
    m_recorder.When("delivered", [&] {
        ++packets;
        if (packets == 2 || packets == 3) {
            EXPECT_TRUE(Unsubscribe("ttml"));
        }
    });
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.EventsLike("first"), Times(3, "first"));
    EXPECT_EQ(m_recorder.EventsLike("second"), Times(3, "second"));
    EXPECT_EQ(packets, 3U);
}

TEST_F(PesSubscription, UnsubscribingWaitsForACallUnderWay)
{
    Open();
    EXPECT_TRUE(Subscribe("ttml", &m_first));
    const std::string call = "first " + m_size;
    m_recorder.When(call, [this] { m_recorder.Note("call ends"); });
    m_recorder.Hold(call);
    TTMLHost::TvStart();
    ASSERT_TRUE(m_recorder.WaitHeld(call));
    {
        Gate unsubscribes("about to unsubscribe");
        const TestThread other([&] {
            unsubscribes.Open();
            EXPECT_TRUE(Unsubscribe("ttml"));
            m_recorder.Note("unsubscribed");
        });
        ASSERT_TRUE(unsubscribes.Wait());
        m_recorder.Release(call);
    }
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    const Texts events = m_recorder.Events();
    const auto last = std::find(events.rbegin(), events.rend(), "call ends");
    const auto unsubscribed = std::find(events.rbegin(), events.rend(), "unsubscribed");
    EXPECT_LT(unsubscribed, last) << "no call after the return";
}

TEST_F(PesSubscription, UnsubscribingInsideTheCallbackDoesNotWait)
{
    Open();
    EXPECT_TRUE(Subscribe("ttml", &m_first));
    m_recorder.When("first " + m_size, [this] { EXPECT_TRUE(Unsubscribe("ttml")); });
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.EventsLike("first"), Times(1, "first"));
    EXPECT_EQ(m_recorder.Count("delivered"), 1U);
}

TEST_F(PesSubscription, IsRefusedWithoutACallbackAndAfterTheTermination)
{
    EXPECT_FALSE(CTVServiceSubscriber("ttml").SubscribePES(nullptr, nullptr));
    Open();
    EXPECT_TRUE(Subscribe("ttml", &m_first));
    TTMLHost::TvTerminate();
    EXPECT_FALSE(Subscribe("ttml", &m_second));
    EXPECT_TRUE(Unsubscribe("ttml")) << "what is subscribed can be taken back";
}

TEST_F(PesSubscription, SurvivesTheInput)
{
    Open();
    EXPECT_TRUE(Subscribe("ttml", &m_first));
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    TTMLHost::TvClose();
    m_recorder.Clear();
    Open();
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.EventsLike("first").size(), 5U);
    EXPECT_TRUE(Unsubscribe("ttml"));
}

void OnCaption(TSCaption& /*caption*/, void* /*userData*/)
{}

TEST_F(PesSubscription, CaptionsAreSubscribedToById)
{
    TVServiceAPI::IDataSubscriber* subscriber = nullptr;
    ASSERT_EQ(TVServiceAPI::CreateDataSubscriber(PROFILE_MAIN, 0, &subscriber), 0);
    int first = 0;
    int second = 0;
    EXPECT_EQ(subscriber->SubscribeCaption(&OnCaption, nullptr, first), 1);
    EXPECT_EQ(subscriber->SubscribeCaption(&OnCaption, nullptr, second), 1);
    EXPECT_NE(first, second);
    EXPECT_EQ(subscriber->UnsubscribeCaption(first), 1);
    EXPECT_EQ(subscriber->UnsubscribeCaption(first), 0);
    EXPECT_EQ(subscriber->UnsubscribeCaption(second), 1);
    EXPECT_EQ(subscriber->SubscribeCaption(nullptr, nullptr, first), 0);
    TVServiceAPI::Destroy(subscriber);
}

} // namespace
