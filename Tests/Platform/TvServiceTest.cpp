// PlatformTvService.h: session objects and what is asked of them.

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Eventually.h"
#include "TestThread.h"
#include "TvSessions.h"

namespace {

using namespace PortTest;
using namespace TVServiceAPI;

constexpr int kUntouched = -4711;
constexpr double kTicksPerSecond = 90000;

class TvService : public TelevisionTest
{};

// What needs no broadcast.

TEST_F(TvService, IsAlive)
{
    for (const bool before : {false, true}) {
        bool terminated = before;
        TCServiceUtility::IsTvsTerminated(terminated);
        EXPECT_FALSE(terminated);
    }
}

TEST_F(TvService, GivesSessionsOfTheMainScreen)
{
    EXPECT_NE(NewNavigation(), nullptr);
    EXPECT_NE(NewSourceControl(), nullptr);
    EXPECT_NE(NewAvControl(), nullptr);
    EXPECT_NE(NewRatingUtil(), nullptr);
    EXPECT_NE(NewSpecApp(), nullptr);
    EXPECT_NE(NewDataControl(), nullptr);
    EXPECT_NE(NewAtsc3DataControl(), nullptr);
    EXPECT_NE(NewDataSubscriber(), nullptr);
    EXPECT_NE(NewServiceDataAux(), nullptr);
}

TEST_F(TvService, GivesSessionsOfTheProcessesOwnProfileAndGroup)
{
    IDataControl* control = nullptr;
    EXPECT_EQ(CreateDataControl(CTVServiceSubscriber::m_profile, CTVServiceSubscriber::m_group, &control), 0);
    EXPECT_NE(control, nullptr);
    Destroy(control);
}

TEST_F(TvService, IgnoresTheReleaseOfNothing)
{
    Destroy(nullptr);
}

TEST_F(TvService, GivesEachCallerASessionOfItsOwn)
{
    const auto one = NewDataControl();
    auto other = NewDataControl();
    EXPECT_NE(one, other);
    other.reset();
    unsigned long long stc = 0;
    (void)one->GetSTCCount(stc); // still there
}

TEST_F(TvService, GivesAndTakesManySessionsOnManyThreads)
{
    TTMLTest::RunTogether({4, [] {
                               for (int i = 0; i < 100; ++i) {
                                   (void)NewNavigation();
                                   (void)NewDataControl();
                                   (void)NewServiceDataAux();
                                   (void)NewDataSubscriber();
                               }
                           }});
}

TEST_F(TvService, CollectsTheAttributesThatAreToBeAnswered)
{
    TCCriteriaHelper helper;
    EXPECT_EQ(helper.Attributes(), std::vector<int>());
    helper.Fetch(SERVICE_ATTRIBUTE_ATSC3);
    helper.Fetch(SERVICE_ATTRIBUTE_ID);
    const auto criteria = TCNavigationModeHelper::GetNavigationCriteria(helper, 3, 4, 5, -1);
    helper.Fetch(SERVICE_ATTRIBUTE_LOCK); // the criteria are a copy
    EXPECT_EQ(criteria.navigationMode, 3);
    EXPECT_EQ(criteria.firstLimit, 4);
    EXPECT_EQ(criteria.secondLimit, 5);
    EXPECT_EQ(criteria.thirdLimit, -1);
    EXPECT_EQ(criteria.attributes, (std::vector<int>{SERVICE_ATTRIBUTE_ATSC3, SERVICE_ATTRIBUTE_ID}));
}

// Without a tuned service.

TEST_F(TvService, TellsNothingOfAServiceWhereNoneIsTuned)
{
    PORT_NEEDS(Port().Television(), "a television that is not tuned");
    Tv().Untune();
    int result = kUntouched;
    const TCServiceData data = ServiceData({SERVICE_ATTRIBUTE_ID}, &result);
    EXPECT_LE(result, 0);
    EXPECT_FALSE(data.hasAttributes);
    EXPECT_TRUE(data.attributes.empty());

    const auto control = NewDataControl();
    int language = kUntouched;
    int index = kUntouched;
    EXPECT_LE(control->GetCurrentHybridSBT(language, index), 0);
    EXPECT_EQ(language, kUntouched);
    EXPECT_EQ(index, kUntouched);
    unsigned long long stc = 4711;
    EXPECT_EQ(control->GetSTCCount(stc), 0);
    EXPECT_EQ(stc, 4711U);
    TCCaption caption;
    caption.id = "before";
    caption.profile = 7;
    EXPECT_LE(control->GetCurrentCaption(caption), 0);
    EXPECT_EQ(caption.id, "before");
    EXPECT_EQ(caption.profile, 7);

    std::string mpd = "before";
    EXPECT_EQ(NewAtsc3DataControl()->GetMpdData(1, mpd), 0);
    EXPECT_EQ(mpd, "before");

    TSHybridSBT stream{kUntouched, 9};
    EXPECT_EQ(NewServiceDataAux()->GetHybridSBT(1, 0, 0x656e67, stream), 0);
    EXPECT_EQ(stream.sbtType, kUntouched);
    EXPECT_EQ(stream.profile, 9);

    bool locked = true;
    if (NewAvControl()->GetParentalLock(locked) > 0) {
        EXPECT_FALSE(locked) << "nothing is withheld where nothing is tuned";
    } else {
        EXPECT_TRUE(locked) << "a failure leaves it as it was";
    }
}

// With one.

TEST_F(TvService, TellsIdAndAttributesOfTheTunedService)
{
    PORT_TUNES(Broadcast::Dvb, "a DVB service with subtitles", false);
    int result = kUntouched;
    const TCServiceData data =
        ServiceData({SERVICE_ATTRIBUTE_ID, SERVICE_ATTRIBUTE_LOCK, SERVICE_ATTRIBUTE_ATSC3}, &result);
    EXPECT_GT(result, 0);
    EXPECT_TRUE(data.hasAttributes);
    ASSERT_NE(data.Find(SERVICE_ATTRIBUTE_ID), nullptr);
    EXPECT_NE(data.Find(SERVICE_ATTRIBUTE_ID)->number, 0U);
    if (const auto id = Tv().Facts(Broadcast::Dvb).serviceId) {
        EXPECT_EQ(data.Find(SERVICE_ATTRIBUTE_ID)->number, *id);
    }
    if (const TCServiceValue* const locked = data.Find(SERVICE_ATTRIBUTE_LOCK)) {
        EXPECT_EQ(locked->integer, 0);
    }
    if (const TCServiceValue* const atsc3 = data.Find(SERVICE_ATTRIBUTE_ATSC3)) {
        EXPECT_EQ(atsc3->integer, 0);
    }
}

TEST_F(TvService, LeavesOutAttributesThatItDoesNotHaveOrWasNotAskedFor)
{
    PORT_TUNES(Broadcast::Dvb, "a DVB service with subtitles", false);
    int result = kUntouched;
    const TCServiceData data = ServiceData({SERVICE_ATTRIBUTE_ID, 0x7fff0000}, &result);
    EXPECT_GT(result, 0);
    EXPECT_EQ(data.attributes.size(), 1U);
    EXPECT_NE(data.Find(SERVICE_ATTRIBUTE_ID), nullptr);
    EXPECT_EQ(data.Find(0x7fff0000), nullptr);
}

TEST_F(TvService, IsOnABroadcastSource)
{
    PORT_TUNES(Broadcast::Dvb, "a DVB service with subtitles", false);
    int type = kUntouched;
    EXPECT_GT(NewSourceControl()->GetCurrentSourceInfo(type), 0);
    EXPECT_TRUE(type == 0 || type == 29) << type;
}

TEST_F(TvService, TellsLocksAndRatings)
{
    PORT_TUNES(Broadcast::Dvb, "a DVB service with subtitles", false);
    bool locked = true;
    EXPECT_GT(NewAvControl()->GetParentalLock(locked), 0);
    EXPECT_FALSE(locked);
    int rating = kUntouched;
    bool permitted = false;
    EXPECT_GT(NewRatingUtil()->GetRating(rating, permitted), 0);
    EXPECT_GE(rating, 0) << "an age, or 0 without one";
    EXPECT_LE(rating, 21);
    EXPECT_TRUE(permitted);
    int type = kUntouched;
    EXPECT_GT(NewSpecApp()->GetValue(SO_SPEC_VALUE_LOCK_TYPE, type), 0);
    EXPECT_NE(type, kUntouched);
}

TEST_F(TvService, TellsTheSubtitleStreamThatIsOn)
{
    PORT_TUNES(Broadcast::Dvb, "a DVB service with subtitles", false);
    const BroadcastFacts facts = Tv().Facts(Broadcast::Dvb);
    int language = kUntouched;
    int index = kUntouched;
    ASSERT_GT(NewDataControl()->GetCurrentHybridSBT(language, index), 0);
    EXPECT_EQ(language, LanguageCode(facts.language));
    EXPECT_GE(index, 0);
    const auto aux = NewServiceDataAux();
    TSHybridSBT stream{kUntouched, 0};
    EXPECT_NE(aux->GetHybridSBT(TunedServiceId(), index, language, stream), 0);
    EXPECT_EQ(stream.sbtType, HYBRID_SBT_TYPE_TTML);
    EXPECT_EQ(stream.profile, facts.profile);
    // The record is the caller's.
    stream.profile = 0;
    TSHybridSBT again;
    EXPECT_NE(aux->GetHybridSBT(TunedServiceId(), index, language, again), 0);
    EXPECT_EQ(again.profile, facts.profile);
}

TEST_F(TvService, HasNoCaptionsAndNoMpdOnADvbService)
{
    PORT_TUNES(Broadcast::Dvb, "a DVB service with subtitles", false);
    TCCaption caption;
    caption.id = "before";
    EXPECT_LE(NewDataControl()->GetCurrentCaption(caption), 0);
    EXPECT_EQ(caption.id, "before");
    std::string mpd = "before";
    EXPECT_EQ(NewAtsc3DataControl()->GetMpdData(TunedServiceId(), mpd), 0);
    EXPECT_EQ(mpd, "before");
}

TEST_F(TvService, TellsTheOtherServiceAfterATune)
{
    PORT_NEEDS(Offers(Broadcast::OtherDvb), "a second DVB service");
    PORT_TUNES(Broadcast::Dvb, "a DVB service with subtitles", false);
    const std::uint64_t first = TunedServiceId();
    ASSERT_TRUE(TuneTo(Broadcast::OtherDvb));
    EXPECT_NE(TunedServiceId(), first);
    if (const auto id = Tv().Facts(Broadcast::OtherDvb).serviceId) {
        EXPECT_EQ(TunedServiceId(), *id);
    }
    int language = kUntouched;
    int index = kUntouched;
    EXPECT_GT(NewDataControl()->GetCurrentHybridSBT(language, index), 0);
    EXPECT_EQ(language, LanguageCode(Tv().Facts(Broadcast::OtherDvb).language));
}

TEST_F(TvService, CountsTheSystemTimeClockAt90Kilohertz)
{
    PORT_TUNES(Broadcast::Dvb, "a DVB service with subtitles", true);
    const auto control = NewDataControl();
    const auto read = [&control] {
        unsigned long long stc = ~0ULL;
        EXPECT_NE(control->GetSTCCount(stc), 0);
        EXPECT_LT(stc, 1ULL << 33) << "it has 33 bits";
        return stc;
    };
    // It wraps; what has gone by does not.
    const unsigned long long start = read();
    ClockComparison clock("the system time clock", kTicksPerSecond, kTicksPerSecond / 4);
    clock.Run(kTicksPerSecond, [&] { return static_cast<double>((read() - start) & ((1ULL << 33) - 1)); });
}

TEST_F(TvService, AnswersManyThreadsWithSessionsOfTheirOwn)
{
    PORT_TUNES(Broadcast::Dvb, "a DVB service with subtitles", false);
    const std::uint64_t id = TunedServiceId();
    TTMLTest::RunTogether({4, [id] {
                               const auto control = NewDataControl();
                               for (int i = 0; i < 50; ++i) {
                                   unsigned long long stc = 0;
                                   EXPECT_NE(control->GetSTCCount(stc), 0);
                                   EXPECT_EQ(TunedServiceId(), id);
                               }
                           }});
}

} // namespace
