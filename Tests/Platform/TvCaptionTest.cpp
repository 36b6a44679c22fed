// PlatformTvService.h: captions of ATSC 3.0 services, their track and their MPD.

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CallbackContract.h"
#include "TvSessions.h"

namespace {

using namespace PortTest;
using namespace TVServiceAPI;

constexpr std::size_t kLargeCaption = 524288;
constexpr std::size_t kLargeMpd = 65536;

template <int Slot>
void OnCaption(TSCaption& caption, void* userData)
{
    EXPECT_FALSE(caption.data.empty());
    caption.data.clear(); // it may be changed
    caption.type = 0;
    Receiver::Call(userData);
}

class CaptionSubscriptions : public Subscription
{
public:
    bool Begin(int slot, Receiver* receiver) override
    {
        int id = 0;
        if (m_subscriber->SubscribeCaption(slot == 0 ? &OnCaption<0> : &OnCaption<1>, receiver, id) <= 0) {
            return false;
        }
        m_ids[slot] = id;
        return true;
    }
    bool End(int slot) override { return m_subscriber->UnsubscribeCaption(m_ids[slot]) > 0; }
    void Raise() override {} // the broadcaster does

private:
    const SessionOf<IDataSubscriber> m_subscriber = NewDataSubscriber();
    std::atomic<int> m_ids[2] = {{-4711}, {-4712}}; // nobody's at first
};

std::unique_ptr<Subscription> MakeCaptions()
{
    TelevisionControl* const tv = Port().Television();
    if (tv == nullptr || !tv->Offers(Broadcast::Atsc3)) {
        return nullptr;
    }
    tv->Tune(Broadcast::Atsc3, false);
    return std::make_unique<CaptionSubscriptions>();
}

const SubscriptionKind kCaptions{"Subscriptions", "an ATSC 3.0 service with captions", &MakeCaptions};
PORT_INSTANTIATE(TvCaption, CallbackContract, kCaptions);
PORT_INSTANTIATE(TvCaption, SerialCallbackContract, kCaptions);

struct CaptionAt
{
    TSCaption caption;
    std::chrono::steady_clock::time_point when;
};

// Keeps the captions.
class CaptionLog
{
public:
    CaptionLog() { EXPECT_GT(m_subscriber->SubscribeCaption(&Take, this, m_id), 0); }
    ~CaptionLog() { EXPECT_GT(m_subscriber->UnsubscribeCaption(m_id), 0); }
    CaptionLog(const CaptionLog&) = delete;
    CaptionLog& operator=(const CaptionLog&) = delete;

    bool WaitFor(unsigned int count) const { return m_count.WaitFor(count); }
    std::vector<CaptionAt> Captions()
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_captions;
    }

private:
    static void Take(TSCaption& caption, void* userData)
    {
        auto* const log = static_cast<CaptionLog*>(userData);
        {
            const std::lock_guard<std::mutex> guard(log->m_mutex);
            log->m_captions.push_back({caption, std::chrono::steady_clock::now()});
        }
        log->m_count.Add();
    }

    const SessionOf<IDataSubscriber> m_subscriber = NewDataSubscriber();
    int m_id = 0;
    TTMLTest::CountingGate m_count{"captions"};
    std::mutex m_mutex;
    std::vector<CaptionAt> m_captions; // guarded by m_mutex
};

class TvCaption : public TelevisionTest
{};

TEST_F(TvCaption, IsSubscribedToWithoutATunedService)
{
    const auto subscriber = NewDataSubscriber();
    Receiver receiver("caption");
    int first = 0;
    int second = 0;
    EXPECT_GT(subscriber->SubscribeCaption(&OnCaption<0>, &receiver, first), 0);
    EXPECT_GT(subscriber->SubscribeCaption(&OnCaption<1>, &receiver, second), 0);
    EXPECT_NE(first, second) << "each has its own id";
    EXPECT_GT(subscriber->UnsubscribeCaption(first), 0);
    EXPECT_LE(subscriber->UnsubscribeCaption(first), 0);
    EXPECT_GT(subscriber->UnsubscribeCaption(second), 0);
}

TEST_F(TvCaption, IsADocumentOfItsType)
{
    PORT_NEEDS(Offers(Broadcast::Atsc3), "an ATSC 3.0 service with captions");
    CaptionLog log;
    Tv().Tune(Broadcast::Atsc3, false);
    ASSERT_TRUE(log.WaitFor(2));
    for (const CaptionAt& at : log.Captions()) {
        EXPECT_EQ(at.caption.type, CLOSED_CAPTION_TYPE_ATSC3);
        const std::string text(at.caption.data.begin(), at.caption.data.end());
        EXPECT_EQ(text.find('<'), 0U) << "it begins with the document: " << text.substr(0, 40);
        EXPECT_NE(text.find("tt"), std::string::npos);
    }
}

TEST_F(TvCaption, HasItsReferenceTimeInNanoseconds)
{
    PORT_NEEDS(Offers(Broadcast::Atsc3), "an ATSC 3.0 service with captions");
    CaptionLog log;
    Tv().Tune(Broadcast::Atsc3, true);
    ASSERT_TRUE(log.WaitFor(3));
    const std::vector<CaptionAt> captions = log.Captions();
    // The first may be late: it had begun when the service was tuned to.
    const double referenceS =
        static_cast<double>(captions[2].caption.referenceTime - captions[0].caption.referenceTime) / 1e9;
    const double worldS = std::chrono::duration<double>(captions[2].when - captions[0].when).count();
    EXPECT_GE(captions[1].caption.referenceTime, captions[0].caption.referenceTime);
    EXPECT_GT(referenceS, worldS / 4) << "of another unit";
    EXPECT_LT(referenceS, worldS * 4 + 4) << "of another unit";
    // The offset is a part of what a presentation is delayed by.
    EXPECT_LT(captions[0].caption.offset, 60000000000LL);
    EXPECT_GE(captions[0].caption.offset, 0);
}

TEST_F(TvCaption, HasItsReferenceTimeOnTheWallClock)
{
    PORT_NEEDS(Offers(Broadcast::Atsc3), "an ATSC 3.0 service with captions");
    const auto available = Tv().Facts(Broadcast::Atsc3).availableMs;
    PORT_NEEDS(available, "an ATSC 3.0 service whose availability start is known");
    CaptionLog log;
    Tv().Tune(Broadcast::Atsc3, false);
    ASSERT_TRUE(log.WaitFor(1));
    const std::int64_t ms = log.Captions()[0].caption.referenceTime / 1000000;
    EXPECT_GE(ms, *available) << "counted from 1970, it is not before the service's beginning";
}

TEST_F(TvCaption, IsEachSubscribersOwnToChange)
{
    PORT_NEEDS(Offers(Broadcast::Atsc3), "an ATSC 3.0 service with captions");
    Receiver before("before");
    Receiver after("after");
    CaptionSubscriptions others; // they change what they are given
    ASSERT_TRUE(others.Begin(0, &before));
    CaptionLog log;
    ASSERT_TRUE(others.Begin(1, &after));
    Tv().Tune(Broadcast::Atsc3, false);
    EXPECT_TRUE(log.WaitFor(2));
    EXPECT_TRUE(before.WaitForCalls(1));
    EXPECT_TRUE(after.WaitForCalls(1));
    EXPECT_TRUE(others.End(0));
    EXPECT_TRUE(others.End(1));
    for (const CaptionAt& at : log.Captions()) {
        EXPECT_EQ(at.caption.type, CLOSED_CAPTION_TYPE_ATSC3);
        EXPECT_FALSE(at.caption.data.empty());
    }
}

TEST_F(TvCaption, MayBeAsLargeAsTheSourceLayerTakes)
{
    PORT_NEEDS(Offers(Broadcast::LargeAtsc3), "captions of 524,288 bytes");
    CaptionLog log;
    Tv().Tune(Broadcast::LargeAtsc3, false);
    ASSERT_TRUE(log.WaitFor(2));
    for (const CaptionAt& at : log.Captions()) {
        EXPECT_EQ(at.caption.data.size(), kLargeCaption);
        const std::string end(at.caption.data.end() - 5, at.caption.data.end());
        EXPECT_EQ(end, "</tt>") << "it is whole";
    }
}

TEST_F(TvCaption, TrackIsTold)
{
    PORT_TUNES(Broadcast::Atsc3, "an ATSC 3.0 service with captions", false);
    const BroadcastFacts facts = Tv().Facts(Broadcast::Atsc3);
    const auto control = NewDataControl();
    TCCaption track;
    ASSERT_GT(control->GetCurrentCaption(track), 0);
    EXPECT_EQ(track.id, facts.captionId);
    EXPECT_EQ(track.languageCode, LanguageCode(facts.language));
    EXPECT_EQ(track.profile, facts.profile);
    // The record is the caller's.
    track.id.clear();
    TCCaption again;
    EXPECT_GT(control->GetCurrentCaption(again), 0);
    EXPECT_EQ(again.id, facts.captionId);
}

TEST_F(TvCaption, ServiceSaysThatItIsAtsc3)
{
    PORT_TUNES(Broadcast::Atsc3, "an ATSC 3.0 service with captions", false);
    int result = 0;
    const TCServiceData data = ServiceData({SERVICE_ATTRIBUTE_ID, SERVICE_ATTRIBUTE_ATSC3}, &result);
    EXPECT_GT(result, 0);
    ASSERT_NE(data.Find(SERVICE_ATTRIBUTE_ATSC3), nullptr);
    EXPECT_NE(data.Find(SERVICE_ATTRIBUTE_ATSC3)->integer, 0);
    ASSERT_NE(data.Find(SERVICE_ATTRIBUTE_ID), nullptr);
    EXPECT_NE(data.Find(SERVICE_ATTRIBUTE_ID)->number, 0U);
    int type = -1;
    EXPECT_GT(NewSourceControl()->GetCurrentSourceInfo(type), 0);
    EXPECT_TRUE(type == 0 || type == 29) << type;
}

TEST_F(TvCaption, MpdIsTold)
{
    PORT_TUNES(Broadcast::Atsc3, "an ATSC 3.0 service with captions", false);
    const auto control = NewAtsc3DataControl();
    std::string mpd;
    ASSERT_NE(control->GetMpdData(TunedServiceId(), mpd), 0);
    EXPECT_NE(mpd.find("<MPD"), std::string::npos);
    EXPECT_NE(mpd.find("availabilityStartTime"), std::string::npos);
    EXPECT_NE(mpd.find(Tv().Facts(Broadcast::Atsc3).mpdPart), std::string::npos);
    // The text is the caller's.
    const std::string first = mpd;
    mpd.assign(mpd.size(), '#');
    std::string again;
    EXPECT_NE(control->GetMpdData(TunedServiceId(), again), 0);
    EXPECT_EQ(again, first);
}

TEST_F(TvCaption, MpdOfAnotherServiceIsNotTold)
{
    PORT_TUNES(Broadcast::Atsc3, "an ATSC 3.0 service with captions", false);
    std::string mpd = "before";
    EXPECT_EQ(NewAtsc3DataControl()->GetMpdData(~std::uint64_t{0}, mpd), 0);
    EXPECT_EQ(mpd, "before");
}

TEST_F(TvCaption, MpdMayBeLong)
{
    PORT_TUNES(Broadcast::LargeAtsc3, "captions of 524,288 bytes", false);
    std::string mpd;
    ASSERT_NE(NewAtsc3DataControl()->GetMpdData(TunedServiceId(), mpd), 0);
    EXPECT_GT(mpd.size(), kLargeMpd);
    EXPECT_NE(mpd.find("</MPD>"), std::string::npos) << "it is whole";
    TCCaption track;
    ASSERT_GT(NewDataControl()->GetCurrentCaption(track), 0);
    EXPECT_EQ(track.id, Tv().Facts(Broadcast::LargeAtsc3).captionId);
}

} // namespace
