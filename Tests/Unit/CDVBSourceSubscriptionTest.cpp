// The DVB source: subscribing to packets and the end of that, and the profile of the data.

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "DvbFixtures.h"

namespace TTMLTest {

namespace {

using DvbSubscription = DvbTest;

constexpr char kIsTerminated[] = "IsTvsTerminated() = 0";
constexpr char kNotTtml[] = "W Type not TTML hybridSbt.sbtType=0";

// The texts up to the one given, which is not among them.
Texts UpTo(const Texts& texts, const std::string& end)
{
    Texts part;
    for (const auto& text : texts) {
        if (text == end) {
            return part;
        }
        part.push_back(text);
    }
    ADD_FAILURE() << "no '" << end << "' there";
    return part;
}

TEST_F(DvbSubscription, AsksForTheStreamAndSubscribes)
{
    EXPECT_EQ(StoryOf([&] { Subscribe(); }), Subscribes(1));
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 1U);
    EXPECT_EQ(ProfileOf(*m_source), 0);
}

TEST_F(DvbSubscription, IsNotMadeTwice)
{
    Subscribe();
    EXPECT_EQ(StoryOf([&] { Subscribe(); }), (Texts{"W Already subscribed!"}));
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 1U);
}

TEST_F(DvbSubscription, EntersAndLeavesEveryOperation)
{
    const Texts trace = TraceOf([&] { Subscribe(); });
    EXPECT_EQ(trace.front(), "t_SubscribeTTML: Enter");
    EXPECT_EQ(trace.at(1), "m_GetTSHybridSBT: Enter");
    EXPECT_EQ(trace.back(), "t_SubscribeTTML: Exit");
    EXPECT_EQ(TraceOf([&] { Unsubscribe(); }),
              (Texts{"t_UnSubscribeTTML: Enter",
                     "t_UnSubscribeTTML: Unsubscribed successfully for RF DVB TTML PES data",
                     "t_UnSubscribeTTML: Exit"}));
}

// Each step that can fail, in turn.

TEST_F(DvbSubscription, FailsOnceTheServiceHasEnded)
{
    ScriptedTvService::Change([](TvScene& scene) { scene.terminated = true; });
    EXPECT_EQ(StoryOf([&] { Subscribe(); }),
              (Texts{"IsTvsTerminated() = 1", "W TVS is terminated!", kNotTtml}));
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
}

TEST_F(DvbSubscription, FailsWithoutADataControl)
{
    for (const TvAnswer answer : {TvAnswer::Failure(1), TvAnswer::Failure(-1), TvAnswer::Null()}) {
        ScriptedTvService::Answer(TvCall::CREATE_DATA_CONTROL, answer);
        EXPECT_EQ(
            StoryOf([&] { Subscribe(); }),
            (Texts{kIsTerminated, "CreateDataControl(1, 0) = " + std::to_string(*answer.result) + ", null",
                   "W  CreateDataControl failed", kNotTtml}));
    }
}

TEST_F(DvbSubscription, FailsWithoutACurrentStream)
{
    int session = 0;
    for (const int result : {0, -1}) {
        const std::string control = "#" + std::to_string(++session);
        ScriptedTvService::Answer(TvCall::GET_CURRENT_HYBRID_SBT, TvAnswer::Failure(result));
        EXPECT_EQ(StoryOf([&] { Subscribe(); }),
                  (Texts{kIsTerminated, "CreateDataControl(1, 0) = 0, " + control,
                         control + ".GetCurrentHybridSBT(-1, 65535) = " + std::to_string(result),
                         "W  GetCurrentHybridSBT failed", "Destroy(" + control + ")", kNotTtml}));
    }
}

TEST_F(DvbSubscription, FailsWithoutTheService)
{
    ScriptedTvService::Answer(TvCall::CREATE_SERVICE_NAVIGATION, TvAnswer::Failure(-1));
    EXPECT_EQ(StoryOf([&] { Subscribe(); }),
              Together({UpTo(AsksForTheStream(1), "CreateServiceNavigation(1, 0) = 0, #2"),
                        {"CreateServiceNavigation(1, 0) = -1, null", "I CreateServiceNavigation failed!",
                         kNotTtml}}));
}

TEST_F(DvbSubscription, FailsWithoutTheTvMode)
{
    ScriptedTvService::Answer(TvCall::GET_TV_MODE, TvAnswer::Failure(0));
    EXPECT_EQ(StoryOf([&] { Subscribe(); }),
              Together({UpTo(AsksForTheStream(1), "#2.GetTvMode() = 1, 5"),
                        {"#2.GetTvMode() = 0", "W GetTvMode failed", "Destroy(#2)", kNotTtml}}));
}

TEST_F(DvbSubscription, FailsWithoutTheServicesData)
{
    ScriptedTvService::Answer(TvCall::GET_CURRENT_SERVICE_INFO, TvAnswer::Failure(0));
    EXPECT_EQ(StoryOf([&] { Subscribe(); }),
              Together({UpTo(AsksForTheStream(1), "#2.GetCurrentServiceInfo(5, 0, -1, -1, -1, [12]) = 1"),
                        {"#2.GetCurrentServiceInfo(5, 0, -1, -1, -1, [12]) = 0",
                         "W GetCurrentServiceInfo failed!!", "Destroy(#2)", kNotTtml}}));
}

TEST_F(DvbSubscription, FailsWhenTheServiceEndsMeanwhile)
{
    ScriptedTvService::AtEndOf(TvCall::GET_CURRENT_HYBRID_SBT, [] {
        ScriptedTvService::Change([](TvScene& scene) { scene.terminated = true; });
    });
    EXPECT_EQ(StoryOf([&] { Subscribe(); }),
              Together({{"IsTvsTerminated() = 0", "CreateDataControl(1, 0) = 0, #1",
                         "#1.GetCurrentHybridSBT(-1, 65535) = 1, 6647399, 2", "Destroy(#1)",
                         "I current languageCode : 6647399 at currentIndex : 2"},
                        {"IsTvsTerminated() = 1", "W TVS is terminated!", kNotTtml}}));
}

TEST_F(DvbSubscription, FailsWithoutFurtherData)
{
    for (const TvAnswer answer : {TvAnswer::Failure(-1), TvAnswer::Null()}) {
        ScriptedTvService::Answer(TvCall::SERVICE_DATA_AUX, answer);
        const Texts story = StoryOf([&] { Subscribe(); });
        ASSERT_EQ(story.size(), 17U);
        EXPECT_EQ(story.at(13), "I service id is 1001");
        EXPECT_EQ(story.at(15), "W Error in ServiceDataAux!");
        EXPECT_EQ(story.at(16), kNotTtml);
    }
}

TEST_F(DvbSubscription, FailsWithoutTheStreamsDescription)
{
    ScriptedTvService::Answer(TvCall::GET_HYBRID_SBT, TvAnswer::Failure(0));
    EXPECT_EQ(StoryOf([&] { Subscribe(); }),
              Together({UpTo(AsksForTheStream(1), "#3.GetHybridSBT(1001, 2, 6647399) = 1, 2, 3"),
                        {"#3.GetHybridSBT(1001, 2, 6647399) = 0", "Destroy(#3)", kNotTtml}}));
}

TEST_F(DvbSubscription, FailsWhenTheDescriptionComesWithAFailure)
{
    ScriptedTvService::Answer(TvCall::GET_HYBRID_SBT, TvAnswer::Result(0));
    EXPECT_EQ(StoryOf([&] { Subscribe(); }).back(), "W Type not TTML hybridSbt.sbtType=2");
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
}

TEST_F(DvbSubscription, TakesAnyResultButZeroOfTheDescriptionForSuccess)
{
    ScriptedTvService::Answer(TvCall::GET_HYBRID_SBT, TvAnswer::Result(-1));
    Subscribe();
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 1U);
}

TEST_F(DvbSubscription, IsNotMadeForOtherStreams)
{
    for (const int type : {0, 1, 3, -1}) {
        ScriptedTvService::Change([&](TvScene& scene) { scene.stream = {type, 3}; });
        const Texts story = StoryOf([&] { Subscribe(); });
        EXPECT_EQ(story.size(), 18U);
        EXPECT_EQ(story.back(), "W Type not TTML hybridSbt.sbtType=" + std::to_string(type));
    }
    EXPECT_EQ(ProfileOf(*m_source), -1);
}

TEST_F(DvbSubscription, FailsWhenTheServiceRefusesIt)
{
    ScriptedTvService::Answer(TvCall::SUBSCRIBE_PES, TvAnswer::Failure(0));
    EXPECT_EQ(StoryOf([&] { Subscribe(); }),
              Together({AsksForTheStream(1),
                        {"I Subscribing for DVB TTML subtitles only when the current channel is DVB TTML.",
                         "I Setting IMSC1 profile", "SubscribePES(\"ttml\") = 0",
                         "E Failed to subscribe RF subtitle data for HYBRID_SBT_TYPE_TTML"}}));
    EXPECT_EQ(StoryOf([&] { Unsubscribe(); }),
              (Texts{"W Not subscribed or already unsubscribed. t_bIsSubscribed=0"}));
    EXPECT_EQ(StoryOf([&] { Subscribe(); }), Subscribes(4)) << "it can be tried again";
}

// The service id.

TEST_F(DvbSubscription, PassesTheWholeServiceIdOn)
{
    ScriptedTvService::Change([](TvScene& scene) {
        scene.attributes[SERVICE_ATTRIBUTE_ID] = {5, 0xFEDCBA9876543210ULL};
    });
    const Texts story = StoryOf([&] { Subscribe(); });
    EXPECT_EQ(story.at(13), "I service id is 18364758544493064720");
    EXPECT_EQ(story.at(15), "#3.GetHybridSBT(18364758544493064720, 2, 6647399) = 1, 2, 3");
}

TEST_F(DvbSubscription, AsksForAnIdOfAllOnesWithoutOne)
{
    for (const bool hasList : {true, false}) {
        ScriptedTvService::Change([&](TvScene& scene) {
            scene.hasAttributes = hasList;
            scene.attributes.erase(SERVICE_ATTRIBUTE_ID);
        });
        const Texts story = StoryOf([&] { Subscribe(); });
        EXPECT_EQ(story.at(13), "I service id is 18446744073709551615");
        EXPECT_NE(story.at(15).find(".GetHybridSBT(18446744073709551615, 2, 6647399) = 1"),
                  std::string::npos);
        Unsubscribe();
    }
}

// The profile byte.

TEST_F(DvbSubscription, TakesTheProfileFromTheBits)
{
    // Pins: m_SetTTMLProfile.
    const std::vector<std::pair<int, int>> profiles = {
        {0x00, -1}, {0x01, 0},  {0x02, 0}, {0x03, 0},  {0x04, 2},  {0x05, 0}, {0x06, 0},
        {0x07, 0},  {0x08, -1}, {0x0C, 2}, {0xF0, -1}, {0xF8, -1}, {0xFC, 2}, {0xFF, 0}};
    for (const auto& [byte, profile] : profiles) {
        ScriptedTvService::Change(
            [&, &value = byte](TvScene& scene) { scene.stream.profile = static_cast<unsigned char>(value); });
        const Texts story = StoryOf([&] { Subscribe(); });
        EXPECT_EQ(ProfileOf(*m_source), profile) << byte;
        ASSERT_EQ(story.size(), 21U);
        EXPECT_EQ(story.at(18), profile == 0   ? "I Setting IMSC1 profile"
                                : profile == 2 ? "I Setting EBUTTD profile"
                                               : "W No TTML profile detected, got this value from TVS:" +
                                                     std::to_string(byte));
        EXPECT_EQ(story.at(19), "SubscribePES(\"ttml\") = 1") << "subscribed whatever the profile";
        Unsubscribe();
    }
}

// The end.

TEST_F(DvbSubscription, IsTakenBack)
{
    Subscribe();
    EXPECT_EQ(StoryOf([&] { Unsubscribe(); }), Unsubscribes());
    EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
    EXPECT_EQ(ProfileOf(*m_source), 0) << "the profile stays";
}

TEST_F(DvbSubscription, IsNotTakenBackTwice)
{
    const Texts refused = {"W Not subscribed or already unsubscribed. t_bIsSubscribed=0"};
    EXPECT_EQ(StoryOf([&] { Unsubscribe(); }), refused);
    Subscribe();
    Unsubscribe();
    EXPECT_EQ(StoryOf([&] { Unsubscribe(); }), refused);
}

TEST_F(DvbSubscription, StaysWhenItCannotBeTakenBack)
{
    Subscribe();
    ScriptedTvService::Answer(TvCall::UNSUBSCRIBE_PES, TvAnswer::Failure(0));
    EXPECT_EQ(StoryOf([&] { Unsubscribe(); }),
              (Texts{"UnsubscribePES(\"ttml\") = 0", "I Failed to unsubscribe!"}));
    EXPECT_EQ(StoryOf([&] { Subscribe(); }), (Texts{"W Already subscribed!"}));
    EXPECT_EQ(StoryOf([&] { Unsubscribe(); }), Unsubscribes());
}

} // namespace

} // namespace TTMLTest
