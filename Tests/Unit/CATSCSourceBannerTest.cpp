// The ATSC 3.0 source: the information banner's settings key.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "AtscFixtures.h"

TTML_EXPOSE_FUNCTION(AtscBannerNotice, void (*)(_keynode_t*, void*),
                     TTML::CATSCSource::m_CCInfoBannerKeyUpdateCb)

namespace TTMLTest {

namespace {

class AtscBannerKey : public AtscTest
{
protected:
    AtscBannerKey() { Subscribe(); }

    int Value() const { return ScriptedSettings::ValueOf(kBannerKey); }
    // What the banner has of the next caption.
    Texts StoryOfCaption()
    {
        Forget();
        Deliver(CaptionOf("text " + std::to_string(++m_texts)));
        return Journal::Instance().Calls("settings");
    }

    int m_texts = 0;
};

constexpr char kSets[] = "vconf_set_bool(\"memory/tv-viewer/infobanner/ttml\", 1) = 0";
constexpr char kGets[] = "vconf_get_bool(\"memory/tv-viewer/infobanner/ttml\") = 0, 1";

TEST_F(AtscBannerKey, IsSetByTheFirstCaption)
{
    EXPECT_EQ(Value(), 0);
    EXPECT_EQ(StoryOfCaption(), (Texts{kSets, kGets}));
    EXPECT_EQ(Value(), 1);
    EXPECT_TRUE(StateOf(*m_source).bannerStatus);
    EXPECT_EQ(StoryOfCaption(), Texts{}) << "not again";
}

TEST_F(AtscBannerKey, IsNotSetByWhatIsDropped)
{
    Deliver(CaptionOf(""));
    Deliver(CaptionOf("<tt/>", -1));
    EXPECT_EQ(Value(), 0);
    Deliver(CaptionOf("<tt/>"));
    ScriptedSettings::SetBool(kBannerKey, false);
    ScriptedSettings::Notice(kBannerKey);
    Deliver(CaptionOf("<tt/>"));
    EXPECT_EQ(Value(), 0) << "a repeat";
}

TEST_F(AtscBannerKey, IsSetAgainAfterOthersClearedIt)
{
    StoryOfCaption();
    ScriptedSettings::SetBool(kBannerKey, false);
    EXPECT_EQ(StoryOfCaption(), Texts{}) << "nobody said so yet";
    ScriptedSettings::Notice(kBannerKey);
    EXPECT_EQ(StoryOfCaption(), (Texts{kSets, kGets}));
}

TEST_F(AtscBannerKey, IsNotSetWhereOthersDidAlready)
{
    ScriptedSettings::SetBool(kBannerKey, true);
    ScriptedSettings::Notice(kBannerKey);
    EXPECT_EQ(StoryOfCaption(), Texts{});
}

TEST_F(AtscBannerKey, IsTriedAgainWhenItCannotBeSet)
{
    ScriptedSettings::Fail(SettingsCall::SET, -4);
    EXPECT_EQ(StoryOfCaption(), (Texts{"vconf_set_bool(\"memory/tv-viewer/infobanner/ttml\", 1) = -4"}));
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING), (Texts{"Error in setting vconf key"}));
    EXPECT_EQ(ScriptedLog::CountOf("TTML info banner CC key is written as [1]"), 0U);
    EXPECT_EQ(StoryOfCaption(), (Texts{kSets, kGets}));
}

TEST_F(AtscBannerKey, IsClearedByTheEndOfTheSubscription)
{
    StoryOfCaption();
    EXPECT_EQ(Value(), 1);
    Unsubscribe();
    EXPECT_EQ(Value(), 0);
    Subscribe();
    EXPECT_EQ(Value(), 0) << "until a caption comes";
    StoryOfCaption();
    EXPECT_EQ(Value(), 1);
}

TEST_F(AtscBannerKey, IsClearedByTheEndOfTheSource)
{
    StoryOfCaption();
    m_source.reset();
    EXPECT_EQ(Value(), 0);
}

// Notices.

TEST_F(AtscBannerKey, IsReadAtEachNotice)
{
    for (const bool value : {true, false, true, true}) {
        const std::string said = value ? "1" : "0";
        ScriptedSettings::SetBool(kBannerKey, value);
        EXPECT_EQ(StoryOf([] { ScriptedSettings::Notice(kBannerKey); }),
                  (Texts{"vconf_get_bool(\"memory/tv-viewer/infobanner/ttml\") = 0, " + said,
                         "I TTML CC info banner status:[" + said + "]"}));
        EXPECT_EQ(StateOf(*m_source).bannerStatus, value);
    }
}

TEST_F(AtscBannerKey, CountsAsClearedWhenItCannotBeRead)
{
    StoryOfCaption();
    ScriptedSettings::SetMissing(kBannerKey);
    EXPECT_EQ(StoryOf([] { ScriptedSettings::Notice(kBannerKey); }),
              (Texts{"vconf_get_bool(\"memory/tv-viewer/infobanner/ttml\") = -1",
                     "I TTML CC info banner status:[0]"}));
    EXPECT_FALSE(StateOf(*m_source).bannerStatus);
    ScriptedSettings::SetBool(kBannerKey, true);
}

// One notice has read the key when the next one reads another value and is through first.
TEST_F(AtscBannerKey, IsWhatTheNoticeThatCameLastHasRead)
{
    Gate inside("the first notice has read the key");
    Gate goOn("the first notice may go on");
    ScriptedSettings::During(SettingsCall::GET_END, [&] {
        if (!inside.IsOpen()) {
            inside.Open();
            goOn.Wait();
        }
    });
    ScriptedSettings::SetBool(kBannerKey, true);
    const TestThread first([] { ScriptedSettings::Notice(kBannerKey); });
    inside.Wait();
    ScriptedSettings::SetBool(kBannerKey, false);
    ScriptedSettings::LateNotice(m_source.get());
    goOn.Open();
    first.WaitUntilDone();
    ScriptedSettings::During(SettingsCall::GET_END, nullptr);
    EXPECT_FALSE(StateOf(*m_source).bannerStatus);
    EXPECT_EQ(StoryOfCaption(), (Texts{kSets, kGets})) << "or the banner would know of no caption";
}

TEST_F(AtscBannerKey, NeedsASourceForItsNotices)
{
    EXPECT_EQ(StoryOf([] { CallPrivateStatic<AtscBannerNotice>(nullptr, nullptr); }),
              (Texts{"W Null pointer"}));
}

} // namespace

} // namespace TTMLTest
