#include <algorithm>
#include <string>

#include "Atsc3Fixture.h"
#include "Gate.h"
#include "TestThread.h"

namespace {

using namespace TTMLTest;

struct Receiver
{
    TvRecorder* recorder;
    std::string name;
};

void OnCaption(TSCaption& caption, void* userData)
{
    const auto* const receiver = static_cast<const Receiver*>(userData);
    receiver->recorder->Note(receiver->name + " " + std::string(caption.data.begin(), caption.data.end()) +
                             " " + std::to_string(caption.type));
    // The caption is the callback's for as long as the call lasts.
    caption.data.push_back('!');
    caption.type = 0;
}

// Three captions of a service of three segments: "1", "2" and "3".
class Atsc3Caption : public Atsc3Test
{
protected:
    Atsc3Caption() { EXPECT_EQ(TVServiceAPI::CreateDataSubscriber(PROFILE_MAIN, 0, &m_subscriber), 0); }
    ~Atsc3Caption() override { TVServiceAPI::Destroy(m_subscriber); }

    void Open()
    {
        const std::string input =
            Service("s.mpd", OneCaptionSet("mediaPresentationDuration=\"PT6S\"", 2000), 3, 2000);
        std::string error;
        ASSERT_TRUE(TTMLHost::TvOpenAtsc3(FastService(input), &m_recorder, &error)) << error;
    }

    int Subscribe(Receiver* receiver)
    {
        int id = 0;
        EXPECT_EQ(m_subscriber->SubscribeCaption(&OnCaption, receiver, id), 1);
        return id;
    }

    TVServiceAPI::IDataSubscriber* m_subscriber = nullptr;
    Receiver m_first{&m_recorder, "first"};
    Receiver m_second{&m_recorder, "second"};
};

TEST_F(Atsc3Caption, EachGetsACaptionOfItsOwnInOrder)
{
    Open();
    const int first = Subscribe(&m_first);
    const int second = Subscribe(&m_second);
    EXPECT_NE(first, second);
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.Events(),
              (Texts{"told 59", "told 60", "first 1 3", "second 1 3", "delivered", "first 2 3", "second 2 3",
                     "delivered", "first 3 3", "second 3 3", "delivered", "end: "}));
    EXPECT_EQ(m_subscriber->UnsubscribeCaption(first), 1);
    EXPECT_EQ(m_subscriber->UnsubscribeCaption(second), 1);
    EXPECT_EQ(m_subscriber->UnsubscribeCaption(second), 0);
}

TEST_F(Atsc3Caption, WithoutSubscribersNothingIsDelivered)
{
    Open();
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.Events(), (Texts{"told 59", "told 60", "end: "}));
    EXPECT_EQ(TTMLHost::TvGetStatistics().captionsDelivered, 0U);
}

TEST_F(Atsc3Caption, EndsForTheOneThatIsTakenBack)
{
    Open();
    const int first = Subscribe(&m_first);
    const int second = Subscribe(&m_second);
    m_recorder.When("second 2 3", [&] { EXPECT_EQ(m_subscriber->UnsubscribeCaption(first), 1); });
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.EventsLike("first"), (Texts{"first 1 3", "first 2 3"}));
    EXPECT_EQ(m_recorder.EventsLike("second"), (Texts{"second 1 3", "second 2 3", "second 3 3"}));
    EXPECT_EQ(m_subscriber->UnsubscribeCaption(second), 1);
}

TEST_F(Atsc3Caption, UnsubscribingWaitsForACallUnderWay)
{
    Open();
    const int first = Subscribe(&m_first);
    m_recorder.When("first 1 3", [this] { m_recorder.Note("call ends"); });
    m_recorder.Hold("first 1 3");
    TTMLHost::TvStart();
    ASSERT_TRUE(m_recorder.WaitHeld("first 1 3"));
    {
        Gate unsubscribes("about to unsubscribe");
        const TestThread other([&] {
            unsubscribes.Open();
            EXPECT_EQ(m_subscriber->UnsubscribeCaption(first), 1);
            m_recorder.Note("unsubscribed");
        });
        ASSERT_TRUE(unsubscribes.Wait());
        m_recorder.Release("first 1 3");
    }
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    const Texts events = m_recorder.Events();
    const auto unsubscribed = std::find(events.begin(), events.end(), "unsubscribed");
    EXPECT_LT(std::find(events.begin(), events.end(), "call ends"), unsubscribed);
    EXPECT_EQ(std::find_if(unsubscribed, events.end(),
                           [](const std::string& event) { return event.compare(0, 5, "first") == 0; }),
              events.end())
        << "no call after the return";
}

TEST_F(Atsc3Caption, UnsubscribingInsideTheCallbackDoesNotWait)
{
    Open();
    const int first = Subscribe(&m_first);
    m_recorder.When("first 2 3", [&] { EXPECT_EQ(m_subscriber->UnsubscribeCaption(first), 1); });
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.EventsLike("first"), (Texts{"first 1 3", "first 2 3"}));
    EXPECT_EQ(m_recorder.Count("delivered"), 2U);
}

TEST_F(Atsc3Caption, SubscribingInsideTheCallbackCountsFromTheNextCaption)
{
    Open();
    const int first = Subscribe(&m_first);
    int second = 0;
    m_recorder.When("first 2 3", [&] { second = Subscribe(&m_second); });
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.EventsLike("second"), Texts{"second 3 3"});
    EXPECT_EQ(m_subscriber->UnsubscribeCaption(first), 1);
    EXPECT_EQ(m_subscriber->UnsubscribeCaption(second), 1);
}

TEST_F(Atsc3Caption, NothingIsDeliveredAfterTheTermination)
{
    Open();
    const int first = Subscribe(&m_first);
    std::string answers;
    m_recorder.When("first 2 3", [&] {
        TTMLHost::TvTerminate();
        int other = 0;
        EXPECT_EQ(m_subscriber->SubscribeCaption(&OnCaption, &m_second, other), 0);
        EXPECT_FALSE(TTMLHost::TvTune("1", nullptr));
        TTMLHost::TvSignalMpd();
        answers = CurrentServiceText() + ", " + Atsc3Text() + ", " + CaptionTrackText() + ", " + MpdAnswer(1);
    });
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "") << "it is read to its end all the same";
    EXPECT_EQ(answers, "none, none, none, none");
    EXPECT_EQ(m_recorder.Events(),
              (Texts{"told 59", "told 60", "first 1 3", "delivered", "first 2 3", "delivered", "end: "}));
    EXPECT_EQ(m_subscriber->UnsubscribeCaption(first), 1) << "what is subscribed can be taken back";
}

TEST_F(Atsc3Caption, SubscriptionsSurviveTheInput)
{
    Open();
    const int first = Subscribe(&m_first);
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    TTMLHost::TvClose();
    m_recorder.Clear();
    Open();
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.EventsLike("first").size(), 3U);
    EXPECT_EQ(m_subscriber->UnsubscribeCaption(first), 1);
}

} // namespace
