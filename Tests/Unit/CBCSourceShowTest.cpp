// The broadcast base: what channel lock and child rating do to showing and hiding.

#include <string>

#include <gtest/gtest.h>

#include "LockFixtures.h"

namespace TTMLTest {

namespace {

using BroadcastShowing = LockTest;

constexpr char kIgnored[] = "W Caption Got Show Message but channel lock is ON. So Ignoring Show Message";

TEST_F(BroadcastShowing, AFreeCaptionIsSubscribedAndShown)
{
    EXPECT_EQ(
        StoryOf([&] { m_source->OnShow(); }),
        Joined({{"OnShow()"}, kLockSettingOff, ParentalLock(1, false), {"t_SubscribeTTML()", "client 11"}}));
    EXPECT_EQ(StateFlags(*m_source), kShown | kActive);
}

TEST_F(BroadcastShowing, ACaptionCountsAsShownOnceTheClientKnows)
{
    std::uint32_t during = 99;
    m_client.On(11, [&] { during = StateFlags(*m_source); });
    m_source->OnShow();
    EXPECT_EQ(during, kActive);
}

TEST_F(BroadcastShowing, AChildLockedCaptionIsNotShown)
{
    SetLockSetting(true);
    LockService();
    SetPermitted(false);
    // The second question is not needed any more.
    const Texts story = StoryOf([&] { m_source->OnShow(); });
    EXPECT_EQ(story.front(), "OnShow()");
    EXPECT_EQ(story.at(story.size() - 2), "I Child Lock Status:: 1");
    EXPECT_EQ(story.back(), kIgnored);
    EXPECT_EQ(StateFlags(*m_source), kActive);
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_FALSE(m_source->IsSubscribed());
}

TEST_F(BroadcastShowing, ALockedChannelIsNotShownWhateverTheSetting)
{
    SetParentalLock(true);
    EXPECT_EQ(StoryOf([&] { m_source->OnShow(); }),
              Joined({{"OnShow()"}, kLockSettingOff, ParentalLock(1, true), {kIgnored}}));
    EXPECT_EQ(StateFlags(*m_source), kActive);
}

TEST_F(BroadcastShowing, ACaptionIsShownOnceTheServiceHasEnded)
{
    SetLockSetting(true);
    SetParentalLock(true);
    LockService();
    Terminate();
    m_source->OnShow();
    EXPECT_EQ(m_client.Events(), (Texts{"11 @caller"}));
}

TEST_F(BroadcastShowing, HidingAsksNothing)
{
    SetLockSetting(true);
    SetParentalLock(true);
    EXPECT_EQ(StoryOf([&] { m_source->OnHide(); }), (Texts{"OnHide()", "I Hiding caption", "client 12"}));
}

TEST_F(BroadcastShowing, HidingKeepsTheSubscription)
{
    m_source->OnShow();
    m_source->OnHide();
    EXPECT_TRUE(m_source->IsSubscribed());
    EXPECT_EQ(StateFlags(*m_source), kActive);
    EXPECT_EQ(m_client.Events(), (Texts{"11 @caller", "12 @caller"}));
}

TEST_F(BroadcastShowing, ACaptionThatIsShownStaysSoWhenALaterShowIsIgnored)
{
    m_source->OnShow();
    SetParentalLock(true);
    m_source->OnShow();
    EXPECT_EQ(StateFlags(*m_source), kShown | kActive);
    EXPECT_EQ(m_client.CountOf(11), 1U);
}

// The signal.

constexpr char kNotVisible[] = "I Caption not visible, channel lock on.";
const Texts kLockedEnter = {"I Tvs signal: [62] Enter!", "I SIGNAL_SERVICE_LOCKED"};
const Texts kLockedExit = {"I Tvs signal: [62] Exit!"};

TEST_F(BroadcastShowing, ASignalForAFreeServiceChangesNothing)
{
    Start();
    m_source->OnShow();
    EXPECT_EQ(StoryOfSignal(62),
              Joined({kLockedEnter, kLockSettingOff, ParentalLock(3, false), kLockedExit}));
    EXPECT_EQ(StateFlags(*m_source), kShown | kActive);
}

TEST_F(BroadcastShowing, ASignalForALockedServiceHidesIt)
{
    Start();
    m_source->OnShow();
    SetLockSetting(true);
    LockService();
    SetLockType(1);
    EXPECT_EQ(StoryOfSignal(62), Joined({kLockedEnter,
                                         kLockSettingOn,
                                         ChannelInfo(3, true),
                                         SupportOfRating(4, 1, "W Not supported! LockType: 1"),
                                         {"I Child Lock Status:: 1"},
                                         {kNotVisible, "OnHide()", "I Hiding caption", "client 12"},
                                         kLockedExit}));
    EXPECT_EQ(StateFlags(*m_source), kActive);
    EXPECT_TRUE(m_source->IsSubscribed());
}

TEST_F(BroadcastShowing, ASignalForALockedChannelHidesItWithTheSettingOff)
{
    Start();
    SetParentalLock(true);
    EXPECT_EQ(StoryOfSignal(62), Joined({kLockedEnter,
                                         kLockSettingOff,
                                         ParentalLock(2, true),
                                         {kNotVisible, "OnHide()", "I Hiding caption", "client 12"},
                                         kLockedExit}));
}

TEST_F(BroadcastShowing, ASignalForALockedServiceWithAPermittedRatingChangesNothing)
{
    Start();
    SetLockSetting(true);
    LockService();
    const Texts story = StoryOfSignal(62);
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(ScriptedLog::CountOf("Caption not visible, channel lock on."), 0U);
}

TEST_F(BroadcastShowing, ASignalOnceTheServiceHasEndedChangesNothing)
{
    Start();
    SetLockSetting(true);
    LockService();
    SetParentalLock(true);
    Terminate();
    EXPECT_EQ(StoryOfSignal(62), Joined({kLockedEnter,
                                         kLockSettingOn,
                                         {kWasTerminated, "W TVS is terminated", "I Child Lock Status:: 0"},
                                         {kWasTerminated, "W TVS is terminated!"},
                                         kLockedExit}));
}

} // namespace

} // namespace TTMLTest
