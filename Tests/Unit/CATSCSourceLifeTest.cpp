// The ATSC 3.0 source: construction and destruction.

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "AtscFixtures.h"

namespace TTMLTest {

namespace {

using TTML::CATSCSource;

constexpr char kRegistersRecorder[] = "svc_pvr_register_signal_cb_in_list() = 0";
constexpr char kUnregistersRecorder[] = "svc_pvr_unregister_signal_cb_in_list() = 0";
constexpr char kNotifies[] = "vconf_notify_key_changed(\"memory/tv-viewer/infobanner/ttml\") = 0";
constexpr char kIgnores[] = "vconf_ignore_key_changed(\"memory/tv-viewer/infobanner/ttml\") = 0";
// Writes the key while nobody has registered for notices.
const Texts kClearsBannerAlone = {"vconf_set_bool(\"memory/tv-viewer/infobanner/ttml\", 0) = 0",
                                  "I TTML info banner CC key is written as [0]"};

Texts AsksForRegion(bool korea)
{
    const std::string value = korea ? "1" : "0";
    return {"system_info_get_custom_bool(\"com.velmora/featureconf/caption.support_kor\") = 0, " + value,
            "I Value of com.velmora/featureconf/caption.support_kor: " + value};
}

Texts AsksForPackage(const std::string& package)
{
    return {"aul_app_get_pkgname_bypid(own, 255) = 0, \"" + package + "\"",
            "I Got package name: [" + package + "] for pid [" + std::to_string(getpid()) + "]"};
}

// Construction.

class AtscLife : public AtscTest
{
protected:
    // What the construction of another source brings about; that source is m_source then.
    Texts StoryOfMaking()
    {
        m_source.reset();
        return StoryOf([&] { m_source = std::make_unique<CATSCSource>(); });
    }
    Texts StoryOfEnd()
    {
        return StoryOf([&] { m_source.reset(); });
    }
};

TEST_F(AtscLife, BeginsWithItsBasesAndEndsBeforeThem)
{
    StoryOfMaking();
    EXPECT_EQ(OwnLines().at(0), "CTTMLSource: ");
    EXPECT_EQ(OwnLines().at(1), "CBCSource: ");
    EXPECT_EQ(OwnLines().at(2), "CATSCSource: ");
    EXPECT_EQ(ScriptedLog::CountOf({"CATSCSource", ""}), 1U);
    StoryOfEnd();
    EXPECT_EQ(OwnLines(), (Texts{"~CATSCSource: ", "m_SetInfoBannerKey: Enter",
                                 "m_SetInfoBannerKey: TTML info banner CC key is written as [0]",
                                 "m_SetInfoBannerKey: Exit", "~CBCSource: ", "~CTTMLSource: "}));
}

TEST_F(AtscLife, AsksForTheRegionClearsTheBannerAndAsksForThePlayer)
{
    EXPECT_EQ(StoryOfMaking(), Together({{kRegistersRecorder},
                                         AsksForRegion(false),
                                         kClearsBannerAlone,
                                         {kNotifies},
                                         AsksForPackage(kTvPackage)}));
    EXPECT_EQ(ScriptedSettings::Registrations(kBannerKey), 1U);
    EXPECT_EQ(ScriptedSettings::ValueOf(kBannerKey), 0);
    EXPECT_EQ(m_source->GetSubtitleMode(), 136);
}

TEST_F(AtscLife, HasItsInitialValues)
{
    StoryOfMaking();
    const AtscState state = StateOf(*m_source);
    EXPECT_FALSE(state.subscribed);
    EXPECT_FALSE(state.hasSubscriber);
    EXPECT_EQ(state.caption.id, "");
    EXPECT_EQ(state.caption.languageCode, 0);
    EXPECT_EQ(state.caption.role, 0);
    EXPECT_EQ(state.caption.aspect, 0);
    EXPECT_EQ(state.caption.easyReader, 0);
    EXPECT_EQ(state.caption.profile, 255);
    EXPECT_EQ(state.caption.is3D, 0);
    EXPECT_EQ(state.sysTime, 0U);
    EXPECT_EQ(state.referenceTime, 0);
    EXPECT_EQ(state.offset, 0);
    EXPECT_EQ(state.afterCal, 0);
    EXPECT_FALSE(state.bannerStatus);
    EXPECT_FALSE(state.korea);
    EXPECT_FALSE(state.pvr);
    EXPECT_TRUE(state.last.empty());
    EXPECT_EQ(state.start, 0);
    EXPECT_EQ(state.delay, 0);
    EXPECT_EQ(StateFlags(*m_source), kActive);
}

TEST_F(AtscLife, KnowsTheKoreanRegion)
{
    // Pins: m_IsKoreaRegion.
    ScriptedAppInfo::SetFeature(kKoreaKey, true);
    EXPECT_EQ(StoryOfMaking(), Together({{kRegistersRecorder},
                                         AsksForRegion(true),
                                         kClearsBannerAlone,
                                         {kNotifies},
                                         AsksForPackage(kTvPackage)}));
    EXPECT_TRUE(StateOf(*m_source).korea);
}

TEST_F(AtscLife, KnowsThePvrPlayer)
{
    for (const std::string package : {"org.oxnar.pvrplayer", "org.oxnar.pvrplayer2"}) {
        ScriptedAppInfo::SetPackage(package);
        EXPECT_EQ(Together({{kRegistersRecorder},
                            AsksForRegion(false),
                            kClearsBannerAlone,
                            {kNotifies},
                            AsksForPackage(package)}),
                  StoryOfMaking());
        EXPECT_TRUE(StateOf(*m_source).pvr);
        EXPECT_EQ(m_source->GetSubtitleMode(), 168);
    }
    ScriptedAppInfo::SetPackage("org.oxnar.pvr");
    StoryOfMaking();
    EXPECT_EQ(m_source->GetSubtitleMode(), 136);
}

TEST_F(AtscLife, StaysWhatItWasAtConstruction)
{
    ScriptedAppInfo::SetPackage(kPvrPackage);
    ScriptedAppInfo::SetFeature(kKoreaKey, true);
    EXPECT_EQ(m_source->GetSubtitleMode(), 136);
    EXPECT_EQ(StoryOf([&] { m_source->GetSubtitleMode(); }), Texts{}) << "nobody is asked again";
    m_source->OnStart();
    EXPECT_EQ(ScriptedTvService::SubscribedTo(kAtsc3Signal), (std::vector<void*>{m_source.get()}));
}

// Each step that can fail, in turn.

TEST_F(AtscLife, GoesOnWithoutTheRecorder)
{
    ScriptedRecorder::FailRegistration(-1);
    const Texts story = StoryOfMaking();
    EXPECT_EQ(story.at(0), "svc_pvr_register_signal_cb_in_list() = -1");
    EXPECT_EQ(story.at(1), "W PVR signal registration failed.");
    EXPECT_EQ(story.back(), AsksForPackage(kTvPackage).back());
    ScriptedRecorder::FailRemoval(-1);
}

TEST_F(AtscLife, TakesAnUnknownRegionForAnother)
{
    for (const int error : {-3, 1}) {
        ScriptedAppInfo::SetFeatureFailure(kKoreaKey, error);
        const std::string result = std::to_string(error);
        EXPECT_EQ(
            StoryOfMaking(),
            Together(
                {{kRegistersRecorder,
                  "system_info_get_custom_bool(\"com.velmora/featureconf/caption.support_kor\") = " + result,
                  "W Failed to get get fms info. Error returned: " + result},
                 kClearsBannerAlone,
                 {kNotifies},
                 AsksForPackage(kTvPackage)}));
        EXPECT_FALSE(StateOf(*m_source).korea);
    }
}

TEST_F(AtscLife, GoesOnWhenTheBannerCannotBeCleared)
{
    m_source.reset();
    ScriptedSettings::Fail(SettingsCall::SET, -2);
    EXPECT_EQ(StoryOfMaking(), Together({{kRegistersRecorder},
                                         AsksForRegion(false),
                                         {"vconf_set_bool(\"memory/tv-viewer/infobanner/ttml\", 0) = -2",
                                          "W Error in setting vconf key", kNotifies},
                                         AsksForPackage(kTvPackage)}));
}

TEST_F(AtscLife, GoesOnWithoutNoticesOfTheBanner)
{
    ScriptedSettings::Fail(SettingsCall::NOTIFY, -1);
    EXPECT_EQ(StoryOfMaking(),
              Together({{kRegistersRecorder},
                        AsksForRegion(false),
                        kClearsBannerAlone,
                        {"vconf_notify_key_changed(\"memory/tv-viewer/infobanner/ttml\") = -1",
                         "W Unable to register vconf for:[memory/tv-viewer/infobanner/ttml]"},
                        AsksForPackage(kTvPackage)}));
    EXPECT_EQ(StoryOfEnd(), Together({{"vconf_ignore_key_changed(\"memory/tv-viewer/infobanner/ttml\") = -1",
                                       "W Unable to unregister vconf for:[memory/tv-viewer/infobanner/ttml]"},
                                      kClearsBannerAlone,
                                      {kUnregistersRecorder}}));
}

TEST_F(AtscLife, IsNoPvrPlayerWithoutAPackage)
{
    ScriptedAppInfo::SetPackageFailure(-1);
    const Texts story = StoryOfMaking();
    EXPECT_EQ(story.back(), "W Failed to get package name for pid=[" + std::to_string(getpid()) + "]!");
    EXPECT_EQ(m_source->GetSubtitleMode(), 136);
}

// Destruction.

TEST_F(AtscLife, EndsWithTheNoticesTheBannerAndTheRecorder)
{
    ScriptedSettings::SetBool(kBannerKey, true);
    EXPECT_EQ(StoryOfEnd(), Together({{kIgnores}, kClearsBannerAlone, {kUnregistersRecorder}}));
    EXPECT_EQ(ScriptedSettings::ValueOf(kBannerKey), 0);
}

TEST_F(AtscLife, EndsAllTheSameWhenNoticesCannotBeEnded)
{
    ScriptedSettings::Fail(SettingsCall::IGNORE, -1);
    // Its own notice finds no source any more.
    EXPECT_EQ(StoryOfEnd(), Together({{"vconf_ignore_key_changed(\"memory/tv-viewer/infobanner/ttml\") = -1",
                                       "W Unable to unregister vconf for:[memory/tv-viewer/infobanner/ttml]"},
                                      kClearsBannerAlone,
                                      {kUnregistersRecorder}}));
    EXPECT_EQ(ScriptedSettings::Notice(kBannerKey), 1U);
}

TEST_F(AtscLife, EndsAllTheSameWhenTheBannerCannotBeCleared)
{
    ScriptedSettings::Fail(SettingsCall::SET, -1);
    EXPECT_EQ(StoryOfEnd(), (Texts{kIgnores, "vconf_set_bool(\"memory/tv-viewer/infobanner/ttml\", 0) = -1",
                                   "W Error in setting vconf key", kUnregistersRecorder}));
}

TEST_F(AtscLife, IsReleasedWithDestroy)
{
    auto* const source = m_source.release();
    EXPECT_EQ(StoryOf([&] { source->Destroy(); }),
              Together({{kIgnores}, kClearsBannerAlone, {kUnregistersRecorder}}));
}

} // namespace

} // namespace TTMLTest
