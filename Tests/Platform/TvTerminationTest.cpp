// PlatformTvService.h: what is left when the TV service has ended.

#include <string>

#include <gtest/gtest.h>

#include "CallbackContract.h"
#include "TvSessions.h"

namespace {

using namespace PortTest;
using namespace TVServiceAPI;

constexpr int kUntouched = -4711;

void OnPacket(TSPESData& /*packet*/, void* userData)
{
    Receiver::Call(userData);
}

void OnCaption(TSCaption& /*caption*/, void* userData)
{
    Receiver::Call(userData);
}

class TvTermination : public TelevisionTest
{
protected:
    // With the service tuned where there is one.
    void SetUp() override
    {
        PORT_NEEDS(Port().Television(), "ending the TV service");
        if (Offers(Broadcast::Dvb)) {
            ASSERT_TRUE(TuneTo(Broadcast::Dvb));
        }
    }
};

TEST_F(TvTermination, IsTold)
{
    EXPECT_FALSE(IsTerminated());
    PORT_NEEDS(Tv().Terminate(), "ending the TV service");
    EXPECT_TRUE(IsTerminated());
}

TEST_F(TvTermination, MakesEveryQueryFailAndLeaveItsOutputs)
{
    const auto navigation = NewNavigation();
    const auto source = NewSourceControl();
    const auto av = NewAvControl();
    const auto ratings = NewRatingUtil();
    const auto spec = NewSpecApp();
    const auto control = NewDataControl();
    const auto atsc3 = NewAtsc3DataControl();
    const auto aux = NewServiceDataAux();
    const std::uint64_t id = TunedServiceId();
    PORT_NEEDS(Tv().Terminate(), "ending the TV service");

    int number = kUntouched;
    int other = kUntouched;
    EXPECT_LE(navigation->GetTvMode(number), 0);
    TCServiceData data;
    EXPECT_LE(navigation->GetCurrentServiceInfo(0, TCNavigationCriteria(), data), 0);
    EXPECT_FALSE(data.hasAttributes);
    EXPECT_LE(source->GetCurrentSourceInfo(number), 0);
    bool flag = true;
    EXPECT_LE(av->GetParentalLock(flag), 0);
    EXPECT_LE(ratings->GetRating(number, flag), 0);
    EXPECT_TRUE(flag);
    EXPECT_LE(spec->GetValue(SO_SPEC_VALUE_LOCK_TYPE, number), 0);
    EXPECT_LE(control->GetCurrentHybridSBT(number, other), 0);
    unsigned long long stc = 4711;
    EXPECT_EQ(control->GetSTCCount(stc), 0);
    EXPECT_EQ(stc, 4711U);
    TCCaption track;
    track.id = "before";
    EXPECT_LE(control->GetCurrentCaption(track), 0);
    EXPECT_EQ(track.id, "before");
    std::string mpd = "before";
    EXPECT_EQ(atsc3->GetMpdData(id, mpd), 0);
    EXPECT_EQ(mpd, "before");
    TSHybridSBT stream{kUntouched, 0};
    EXPECT_EQ(aux->GetHybridSBT(id, 0, 0, stream), 0);
    EXPECT_EQ(stream.sbtType, kUntouched);
    EXPECT_EQ(number, kUntouched);
    EXPECT_EQ(other, kUntouched);
}

TEST_F(TvTermination, LetsSubscriptionsEndAndSessionsGo)
{
    Receiver receiver("subscription", true);
    CTVServiceSubscriber packets("port-test");
    auto captions = NewDataSubscriber();
    int id = 0;
    EXPECT_TRUE(packets.SubscribePES(&OnPacket, &receiver));
    EXPECT_GT(captions->SubscribeCaption(&OnCaption, &receiver, id), 0);
    {
        const SignalWatch watch;
        PORT_NEEDS(Tv().Terminate(), "ending the TV service");
        // Whatever they answer, they return, and nobody is called afterwards.
        (void)packets.UnsubscribePES();
        (void)captions->UnsubscribeCaption(id);
        receiver.ExpectNoMore();
        captions.reset();
    }
    EXPECT_TRUE(IsTerminated());
}

TEST_F(TvTermination, EndsTheDeliveryOfPackets)
{
    PORT_NEEDS(Offers(Broadcast::Dvb), "a DVB service with subtitles");
    Receiver receiver("packet");
    CTVServiceSubscriber packets("port-test");
    TTMLTest::Gate terminated("the TV service has ended");
    bool able = false;
    receiver.During([&] {
        if (!terminated.IsOpen()) {
            able = Tv().Terminate(); // inside a callback, as when another process ends meanwhile
            receiver.ExpectNoMore();
            terminated.Open();
        }
    });
    ASSERT_TRUE(packets.SubscribePES(&OnPacket, &receiver));
    ASSERT_TRUE(terminated.Wait());
    (void)packets.UnsubscribePES();
    PORT_NEEDS(able, "ending the TV service");
    EXPECT_TRUE(IsTerminated());
}

} // namespace
