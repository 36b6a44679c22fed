// The broadcast base: the questions about channel lock and child rating.

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "LockFixtures.h"

TTML_EXPOSE_FUNCTION(AskIsChannelLockOn, bool (*)(), TTML::CBCSource::m_IsChannelLockOn)
TTML_EXPOSE_FUNCTION(AskChannelInfo, void (TTML::CBCSource::*)(bool&), TTML::CBCSource::m_GetChannelInfo)
TTML_EXPOSE_FUNCTION(AskChildLockStatus, bool (TTML::CBCSource::*)(), TTML::CBCSource::m_GetChildLockStatus)
TTML_EXPOSE_FUNCTION(AskIsChannelLocked, bool (TTML::CBCSource::*)(), TTML::CBCSource::m_IsChannelLocked)
TTML_EXPOSE_FUNCTION(AskIsChildRating, bool (TTML::CBCSource::*)(), TTML::CBCSource::m_IsChildRating)
TTML_EXPOSE_FUNCTION(AskIsSupportChildRating, bool (TTML::CBCSource::*)(),
                     TTML::CBCSource::m_IsSupportChildRating)

namespace TTMLTest {

namespace {

class BroadcastLocks : public LockTest
{
protected:
    // Whether the service is locked, where the answer was `before`.
    bool AskChannel(bool before)
    {
        bool isLocked = before;
        Forget();
        CallPrivate<AskChannelInfo>(*m_source, isLocked);
        return isLocked;
    }
    // Asks a question and returns its answer.
    template <class Tag>
    bool Ask()
    {
        Forget();
        return CallPrivate<Tag>(*m_source);
    }
};

// The setting.

TEST_F(BroadcastLocks, TheSettingIsReadFromTheStore)
{
    Forget();
    EXPECT_FALSE(CallPrivateStatic<AskIsChannelLockOn>());
    EXPECT_EQ(Story(), (Texts{kLockSettingOff[0], kLockSettingOff[1]}));
    SetLockSetting(true);
    Forget();
    EXPECT_TRUE(CallPrivateStatic<AskIsChannelLockOn>());
    EXPECT_EQ(Story(), kLockSettingOn);
}

TEST_F(BroadcastLocks, TheSettingIsOffWhenItCannotBeRead)
{
    for (const int result : {-1, 1}) {
        ScriptedSettings::Fail(SettingsCall::GET, result);
        Forget();
        EXPECT_FALSE(CallPrivateStatic<AskIsChannelLockOn>());
        EXPECT_EQ(Story(),
                  (Texts{"vconf_get_bool(\"db/menu/broadcasting/channel_lock\") = " + std::to_string(result),
                         "I Get child lock failed."}));
    }
    ScriptedSettings::SetMissing(kChannelLockKey);
    EXPECT_FALSE(CallPrivateStatic<AskIsChannelLockOn>());
}

// Whether the service is locked.

TEST_F(BroadcastLocks, AServiceIsLockedByItsAttribute)
{
    EXPECT_FALSE(AskChannel(true));
    EXPECT_EQ(Story(), ChannelInfo(1, false));
    LockService();
    EXPECT_TRUE(AskChannel(false));
    EXPECT_EQ(Story(), ChannelInfo(2, true));
    ScriptedTvService::Change(
        [](TvScene& scene) { scene.attributes[SERVICE_ATTRIBUTE_LOCK].integer = -256; });
    EXPECT_TRUE(AskChannel(false)) << "any value but 0";
}

TEST_F(BroadcastLocks, AServiceWithoutTheAttributeCountsAsLocked)
{
    ScriptedTvService::Change([](TvScene& scene) { scene.attributes.erase(SERVICE_ATTRIBUTE_LOCK); });
    EXPECT_TRUE(AskChannel(false));
    EXPECT_EQ(Story(), ChannelInfo(1, true));
    ScriptedTvService::Change([](TvScene& scene) { scene.hasAttributes = false; });
    EXPECT_TRUE(AskChannel(false));
    LockService(false);
    EXPECT_TRUE(AskChannel(false)) << "there is no set of attributes at all";
}

TEST_F(BroadcastLocks, AServiceWithoutNavigationCountsAsLocked)
{
    for (const TvAnswer answer : {TvAnswer::Failure(-1), TvAnswer::Failure(3), TvAnswer::Null()}) {
        ScriptedTvService::Answer(TvCall::CREATE_SERVICE_NAVIGATION, answer);
        EXPECT_TRUE(AskChannel(false));
        EXPECT_EQ(Story(),
                  (Texts{kIsTerminated, "Fetch(22)", "GetNavigationCriteria(0, -1, -1, -1, [22])",
                         "CreateServiceNavigation(7, 3) = " + std::to_string(*answer.result) + ", null",
                         "W CreateServiceNavigation() giving invalid results.",
                         "I GetChannelInfo isLocked value: 1"}));
    }
}

TEST_F(BroadcastLocks, AnUnknownTvModeIsAWarning)
{
    for (const int result : {0, -1}) {
        ScriptedTvService::Answer(TvCall::GET_TV_MODE, TvAnswer::Failure(result));
        AskChannel(false);
        EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING), (Texts{"GetTvMode failed."}));
        EXPECT_EQ(ScriptedLog::CountOf("GetChannelInfo isLocked value: 0") +
                      ScriptedLog::CountOf("GetChannelInfo isLocked value: 1"),
                  1U);
    }
}

TEST_F(BroadcastLocks, AServiceOfWhichNothingIsKnownCountsAsLocked)
{
    for (const int result : {0, -1}) {
        ScriptedTvService::Answer(TvCall::GET_CURRENT_SERVICE_INFO, TvAnswer::Failure(result));
        EXPECT_TRUE(AskChannel(false));
        const Texts story = Story();
        ASSERT_EQ(story.size(), 9U);
        EXPECT_EQ(story.at(6), "W GetCurrentServiceInfo api failed.");
        EXPECT_EQ(story.at(7).substr(0, 7), "Destroy");
        EXPECT_EQ(story.at(8), "I GetChannelInfo isLocked value: 1");
    }
}

TEST_F(BroadcastLocks, TheAnswerStaysUntouchedOnceTheServiceHasEnded)
{
    Terminate();
    for (const bool before : {false, true}) {
        EXPECT_EQ(AskChannel(before), before);
        EXPECT_EQ(Story(), (Texts{kWasTerminated, "W TVS is terminated"}));
    }
}

// Whether child rating is supported.

TEST_F(BroadcastLocks, RatingIsSupportedByTwoLockTypes)
{
    for (const auto& [type, supported] : std::vector<std::pair<int, bool>>{{8, true},
                                                                           {14, true},
                                                                           {0, false},
                                                                           {7, false},
                                                                           {9, false},
                                                                           {13, false},
                                                                           {15, false},
                                                                           {-8, false}}) {
        SetLockType(type);
        EXPECT_EQ(Ask<AskIsSupportChildRating>(), supported) << type;
        EXPECT_EQ(Story().back(), supported ? "I Supports child rating."
                                            : "W Not supported! LockType: " + std::to_string(type));
    }
}

TEST_F(BroadcastLocks, RatingSupportAsksForTwoValues)
{
    Ask<AskIsSupportChildRating>();
    EXPECT_EQ(Story(), SupportOfRating(1, 8, "I Supports child rating."));
    SetLockType(2);
    Ask<AskIsSupportChildRating>();
    EXPECT_EQ(Story(), SupportOfRating(2, 2, "W Not supported! LockType: 2"));
}

TEST_F(BroadcastLocks, RatingIsNotSupportedWithoutTheSpecification)
{
    for (const TvAnswer answer : {TvAnswer::Failure(-1), TvAnswer::Null()}) {
        ScriptedTvService::Answer(TvCall::CREATE_SO_SPEC_APP, answer);
        EXPECT_FALSE(Ask<AskIsSupportChildRating>());
        EXPECT_EQ(Story(), (Texts{kIsTerminated,
                                  "CreateSOSpecApp(1, 3) = " + std::to_string(*answer.result) + ", null",
                                  "I Create SOSpecApp failed."}));
    }
}

TEST_F(BroadcastLocks, RatingSupportDoesNotUseTheSecondAnswer)
{
    ScriptedTvService::Answer(TvCall::GET_VALUE, TvAnswer::Usual());
    ScriptedTvService::Answer(TvCall::GET_VALUE, TvAnswer::Failure(-1));
    EXPECT_TRUE(Ask<AskIsSupportChildRating>());
    ScriptedTvService::Change([](TvScene& scene) { scene.specValues[0] = 8; });
    SetLockType(1);
    EXPECT_FALSE(Ask<AskIsSupportChildRating>());
}

TEST_F(BroadcastLocks, RatingIsNotSupportedWhenTheLockTypeCannotBeAsked)
{
    ScriptedTvService::Answer(TvCall::GET_VALUE, TvAnswer::Failure(0));
    EXPECT_FALSE(Ask<AskIsSupportChildRating>());
}

TEST_F(BroadcastLocks, RatingIsNotSupportedOnceTheServiceHasEnded)
{
    Terminate();
    EXPECT_FALSE(Ask<AskIsSupportChildRating>());
    EXPECT_EQ(Story(), (Texts{kWasTerminated, "W TVS is terminated!"}));
}

// The rating.

TEST_F(BroadcastLocks, ARatingThatIsNotPermittedIsAChildRating)
{
    EXPECT_FALSE(Ask<AskIsChildRating>());
    EXPECT_EQ(Story(), Rating(1, true));
    SetPermitted(false);
    EXPECT_TRUE(Ask<AskIsChildRating>());
    Texts story = Story();
    Texts expected = Rating(2, false);
    // Line and release have no order.
    std::sort(story.begin(), story.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(story, expected);
}

TEST_F(BroadcastLocks, ARatingNeedsAPositiveResult)
{
    SetPermitted(false);
    for (const int result : {0, -1}) {
        ScriptedTvService::Answer(TvCall::GET_RATING, TvAnswer::Result(result));
        EXPECT_FALSE(Ask<AskIsChildRating>());
        EXPECT_EQ(ScriptedLog::CountOf("Child Rating."), 0U);
    }
    ScriptedTvService::Answer(TvCall::GET_RATING, TvAnswer::Result(2));
    EXPECT_TRUE(Ask<AskIsChildRating>());
}

TEST_F(BroadcastLocks, ARatingNeedsTheUtility)
{
    SetPermitted(false);
    for (const TvAnswer answer : {TvAnswer::Failure(1), TvAnswer::Null()}) {
        ScriptedTvService::Answer(TvCall::CREATE_RATING_UTIL, answer);
        EXPECT_FALSE(Ask<AskIsChildRating>());
        EXPECT_EQ(Story(),
                  (Texts{kIsTerminated, "CreateRatingUtil() = " + std::to_string(*answer.result) + ", null",
                         "I RatingUtil is false."}));
    }
}

TEST_F(BroadcastLocks, ThereIsNoRatingOnceTheServiceHasEnded)
{
    SetPermitted(false);
    Terminate();
    EXPECT_FALSE(Ask<AskIsChildRating>());
    EXPECT_EQ(Story(), (Texts{kWasTerminated, "W TVS is terminated!"}));
}

// The child lock.

TEST_F(BroadcastLocks, TheChildLockIsOffWithTheSettingWithoutACallOfTheTvService)
{
    LockService();
    EXPECT_FALSE(Ask<AskChildLockStatus>());
    EXPECT_EQ(Story(), kLockSettingOff);
    EXPECT_EQ(Journal::Instance().Calls("tv service"), Texts{});
}

TEST_F(BroadcastLocks, TheChildLockIsOffWhenTheSettingCannotBeRead)
{
    ScriptedSettings::SetMissing(kChannelLockKey);
    EXPECT_FALSE(Ask<AskChildLockStatus>());
    EXPECT_EQ(Story(), (Texts{"vconf_get_bool(\"db/menu/broadcasting/channel_lock\") = -1",
                              "I Get child lock failed.", "I Child Lock is off!!"}));
}

TEST_F(BroadcastLocks, AFreeServiceIsFreeWhateverItsRating)
{
    SetLockSetting(true);
    SetPermitted(false);
    EXPECT_FALSE(Ask<AskChildLockStatus>());
    EXPECT_EQ(Story(), Joined({kLockSettingOn, ChannelInfo(1, false), {"I Child Lock Status:: 0"}}));
}

TEST_F(BroadcastLocks, ALockedServiceStaysLockedWithoutSupportOfRating)
{
    SetLockSetting(true);
    LockService();
    SetLockType(3);
    EXPECT_TRUE(Ask<AskChildLockStatus>());
    EXPECT_EQ(Story(), Joined({kLockSettingOn,
                               ChannelInfo(1, true),
                               SupportOfRating(2, 3, "W Not supported! LockType: 3"),
                               {"I Child Lock Status:: 1"}}));
}

TEST_F(BroadcastLocks, ALockedServiceIsFreeWhenItsRatingIsPermitted)
{
    SetLockSetting(true);
    LockService();
    EXPECT_FALSE(Ask<AskChildLockStatus>());
    EXPECT_EQ(Story(), Joined({kLockSettingOn,
                               ChannelInfo(1, true),
                               SupportOfRating(2, 8, "I Supports child rating."),
                               Rating(3, true),
                               {"I Child Lock Status:: 0"}}));
}

TEST_F(BroadcastLocks, ALockedServiceIsLockedWhenItsRatingIsNotPermitted)
{
    SetLockSetting(true);
    LockService();
    SetLockType(14);
    SetPermitted(false);
    EXPECT_TRUE(Ask<AskChildLockStatus>());
    EXPECT_EQ(Story().back(), "I Child Lock Status:: 1");
    EXPECT_EQ(ScriptedLog::CountOf("Child Rating."), 1U);
}

TEST_F(BroadcastLocks, ALockedServiceIsFreeWhenItsRatingCannotBeAsked)
{
    SetLockSetting(true);
    LockService();
    SetPermitted(false);
    ScriptedTvService::Answer(TvCall::CREATE_RATING_UTIL, TvAnswer::Failure(-1));
    EXPECT_FALSE(Ask<AskChildLockStatus>());
}

TEST_F(BroadcastLocks, TheChildLockIsOffOnceTheServiceHasEnded)
{
    SetLockSetting(true);
    LockService();
    Terminate();
    EXPECT_FALSE(Ask<AskChildLockStatus>());
    EXPECT_EQ(Story(),
              Joined({kLockSettingOn, {kWasTerminated, "W TVS is terminated", "I Child Lock Status:: 0"}}));
}

// The lock of picture and sound.

TEST_F(BroadcastLocks, TheChannelIsLockedWhenTheAvControlSaysSo)
{
    EXPECT_FALSE(Ask<AskIsChannelLocked>());
    EXPECT_EQ(Story(), ParentalLock(1, false));
    SetParentalLock(true);
    EXPECT_TRUE(Ask<AskIsChannelLocked>());
    EXPECT_EQ(Story(), ParentalLock(2, true));
}

TEST_F(BroadcastLocks, TheChannelIsFreeWithoutTheAvControl)
{
    SetParentalLock(true);
    for (const TvAnswer answer : {TvAnswer::Failure(-7), TvAnswer::Null()}) {
        ScriptedTvService::Answer(TvCall::CREATE_AV_CONTROL, answer);
        EXPECT_FALSE(Ask<AskIsChannelLocked>());
        // Without an object there is nothing to release, but a release of null does no harm.
        Texts story = Story();
        story.erase(std::remove(story.begin(), story.end(), "Destroy(null)"), story.end());
        EXPECT_EQ(story, (Texts{kIsTerminated,
                                "CreateAVControl(7, 3) = " + std::to_string(*answer.result) + ", null",
                                "I Failed to get parental lock status!", "I Channel lock status :: 0"}));
    }
}

TEST_F(BroadcastLocks, TheChannelIsFreeWhenTheLockCannotBeAsked)
{
    SetParentalLock(true);
    int session = 0;
    for (const int result : {0, -1}) {
        ++session;
        ScriptedTvService::Answer(TvCall::GET_PARENTAL_LOCK, TvAnswer::Failure(result));
        EXPECT_FALSE(Ask<AskIsChannelLocked>());
        EXPECT_EQ(Story(), (Texts{kIsTerminated, "CreateAVControl(7, 3) = 0, " + Number(session),
                                  Number(session) + ".GetParentalLock() = " + std::to_string(result),
                                  "I Failed to get parental lock status!", "Destroy(" + Number(session) + ")",
                                  "I Channel lock status :: 0"}));
    }
}

TEST_F(BroadcastLocks, TheChannelIsFreeOnceTheServiceHasEnded)
{
    SetParentalLock(true);
    Terminate();
    EXPECT_FALSE(Ask<AskIsChannelLocked>());
    EXPECT_EQ(Story(), (Texts{kWasTerminated, "W TVS is terminated!"}));
}

} // namespace

} // namespace TTMLTest
