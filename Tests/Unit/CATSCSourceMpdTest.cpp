// The ATSC 3.0 source: fetching the service's MPD.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "AtscFixtures.h"

TTML_EXPOSE_FUNCTION(AtscGetMpd, bool (TTML::CATSCSource::*)(std::string&), TTML::CATSCSource::m_GetMpd)
TTML_EXPOSE_FUNCTION(AtscUpdateMpd, void (TTML::CATSCSource::*)(), TTML::CATSCSource::m_UpdateMpdProperties)

namespace TTMLTest {

namespace {

class AtscMpd : public AtscTest
{
protected:
    bool Get() { return CallPrivate<AtscGetMpd>(*m_source, m_mpd); }
    void Update() { CallPrivate<AtscUpdateMpd>(*m_source); }
    void ExpectTimes(long long start, long long delay)
    {
        EXPECT_EQ(StateOf(*m_source).start, start);
        EXPECT_EQ(StateOf(*m_source).delay, delay);
    }

    std::string m_mpd;
};

TEST_F(AtscMpd, IsFetchedForTheServiceThatIsOn)
{
    bool good = false;
    EXPECT_EQ(StoryOf([&] { good = Get(); }), FetchesMpd(1));
    EXPECT_TRUE(good);
    EXPECT_EQ(m_mpd, kMpd);
}

TEST_F(AtscMpd, IsFetchedWithTheWholeServiceId)
{
    ScriptedTvService::Change([](TvScene& scene) {
        scene.attributes[SERVICE_ATTRIBUTE_ID] = {5, 0xFEDCBA9876543210ULL};
    });
    const Texts story = StoryOf([&] { Get(); });
    EXPECT_EQ(story.at(9), "I service id is 18364758544493064720");
    EXPECT_EQ(story.at(11).rfind("#2.GetMpdData(18364758544493064720) = 1", 0), 0U);
}

TEST_F(AtscMpd, IsFetchedWithAnIdOfAllOnesWithoutOne)
{
    for (const bool hasSet : {true, false}) {
        ScriptedTvService::Change([&](TvScene& scene) {
            scene.hasAttributes = hasSet;
            scene.attributes.erase(SERVICE_ATTRIBUTE_ID);
        });
        const Texts story = StoryOf([&] { EXPECT_TRUE(Get()); });
        EXPECT_EQ(story.at(8), "I Route service!");
        EXPECT_EQ(story.at(9), "I service id is 18446744073709551615");
        EXPECT_NE(story.at(11).find(".GetMpdData(18446744073709551615) = 1"), std::string::npos);
    }
}

// Each step that can fail, in turn.

TEST_F(AtscMpd, IsNotThereWithoutTheService)
{
    constexpr char kFailed[] = "W Error in t_GetServiceInfo!";
    ScriptedTvService::Answer(TvCall::CREATE_SERVICE_NAVIGATION, TvAnswer::Failure(-1));
    EXPECT_EQ(StoryOf([&] { EXPECT_FALSE(Get()); }),
              (Texts{"IsTvsTerminated() = 0", "CreateServiceNavigation(1, 0) = -1, null",
                     "I CreateServiceNavigation failed!", kFailed}));
    ScriptedTvService::Answer(TvCall::GET_TV_MODE, TvAnswer::Failure(0));
    EXPECT_EQ(StoryOf([&] { EXPECT_FALSE(Get()); }).back(), kFailed);
    ScriptedTvService::Answer(TvCall::GET_CURRENT_SERVICE_INFO, TvAnswer::Failure(0));
    EXPECT_EQ(StoryOf([&] { EXPECT_FALSE(Get()); }).back(), kFailed);
    ScriptedTvService::Change([](TvScene& scene) { scene.terminated = true; });
    EXPECT_EQ(StoryOf([&] { EXPECT_FALSE(Get()); }),
              (Texts{"IsTvsTerminated() = 1", "W TVS is terminated!", kFailed}));
    EXPECT_EQ(m_mpd, "");
}

TEST_F(AtscMpd, IsNotThereWithoutAControl)
{
    int session = 0;
    for (const TvAnswer answer : {TvAnswer::Failure(-1), TvAnswer::Failure(1), TvAnswer::Null()}) {
        ScriptedTvService::Answer(TvCall::CREATE_ATSC3_DATA_CONTROL, answer);
        EXPECT_EQ(StoryOf([&] { EXPECT_FALSE(Get()); }),
                  Together({AsksForService(12, ++session),
                            {"I Route service!", "I service id is 1001",
                             "CreateATSC3DataControl(1, 0) = " + std::to_string(*answer.result) + ", null",
                             "W Error in CreateATSC3DataControl!"}}));
    }
}

TEST_F(AtscMpd, IsNotThereWhenTheControlHasNone)
{
    ScriptedTvService::Answer(TvCall::GET_MPD_DATA, TvAnswer::Failure(0));
    EXPECT_EQ(StoryOf([&] { EXPECT_FALSE(Get()); }),
              Together({AsksForService(12, 1),
                        {"I Route service!", "I service id is 1001", "CreateATSC3DataControl(1, 0) = 0, #2",
                         "#2.GetMpdData(1001) = 0", "I GetMpdData() return: false", "Destroy(#2)"}}));
}

TEST_F(AtscMpd, IsThereWithAnyResultButZero)
{
    ScriptedTvService::Answer(TvCall::GET_MPD_DATA, TvAnswer::Result(-1));
    EXPECT_EQ(StoryOf([&] { EXPECT_TRUE(Get()); }).at(12), "I GetMpdData() return: true");
    EXPECT_EQ(m_mpd, kMpd);
}

// What becomes of the times.

TEST_F(AtscMpd, GivesTheTimes)
{
    EXPECT_EQ(StoryOf([&] { Update(); }), UpdatesMpd(1));
    ExpectTimes(kMpdStart, kMpdDelay);
}

TEST_F(AtscMpd, ThatCannotBeFetchedLeavesNoTimes)
{
    Update();
    ScriptedTvService::Answer(TvCall::GET_MPD_DATA, TvAnswer::Failure(0));
    EXPECT_EQ(StoryOf([&] { Update(); }).back(), "Destroy(#4)") << "nothing is read";
    ExpectTimes(0, 0);
    Update();
    ScriptedTvService::Answer(TvCall::CREATE_SERVICE_NAVIGATION, TvAnswer::Null());
    Update();
    ExpectTimes(0, 0);
}

TEST_F(AtscMpd, ThatComesWithAFailureIsNotRead)
{
    ScriptedTvService::Answer(TvCall::GET_MPD_DATA, TvAnswer::Result(0));
    Update();
    ExpectTimes(0, 0);
}

TEST_F(AtscMpd, WithoutTheAttributesLeavesNoTimes)
{
    Update();
    ScriptedTvService::Change([](TvScene& scene) { scene.mpd = "<MPD/>"; });
    Texts story = StoryOf([&] { Update(); });
    EXPECT_EQ(Texts(story.end() - 2, story.end()),
              (Texts{"W mpd property (availabilityStartTime=\") not found in mpdContent",
                     "W mpd property (suggestedPresentationDelay=\") not found in mpdContent"}));
    ExpectTimes(0, 0);
    ScriptedTvService::Change([](TvScene& scene) { scene.mpd = ""; });
    Update();
    ExpectTimes(0, 0);
}

TEST_F(AtscMpd, IsNotAskedForInKorea)
{
    MakeInKorea();
    EXPECT_EQ(StoryOf([&] { Update(); }), (Texts{"I MPD parsing not required for Korea!"}));
    ExpectTimes(0, 0);
}

TEST_F(AtscMpd, ForgetsTheTimesBeforeItIsAskedFor)
{
    Update();
    ScriptedTvService::During(TvCall::GET_MPD_DATA, [this] { ExpectTimes(0, 0); });
    Update();
    ExpectTimes(kMpdStart, kMpdDelay);
}

} // namespace

} // namespace TTMLTest
