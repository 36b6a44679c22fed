// The key texts that live as long as the library is loaded.

#include <gtest/gtest.h>

#include "GlobalKeys.h"

namespace TTMLTest {

namespace {

TEST(GlobalKeys, HaveTheirValues)
{
    EXPECT_EQ(TTML::g_strSubtitleLanguageKey, "db/menu/subtitle/subtitlelanguage");
    EXPECT_EQ(TTML::g_strMpdAvailabilityStart, "availabilityStartTime=\"");
    EXPECT_EQ(TTML::g_strMpdPresentationDelay, "suggestedPresentationDelay=\"");
    EXPECT_EQ(TTML::g_strInfoBannerKey, "memory/tv-viewer/infobanner/ttml");
    EXPECT_EQ(TTML::g_strCaptionKey, "db/menu/caption/caption");
    EXPECT_EQ(TTML::g_strCaptionLanguageKey, "db/menu/caption/captionlanguage");
    EXPECT_EQ(TTML::g_strAtsc3EnableKey, "db/menu/broadcasting/atsc3_enable");
    EXPECT_EQ(TTML::g_strKoreaCaptionFeatureKey, "com.velmora/featureconf/caption.support_kor");
    EXPECT_EQ(TTML::g_strChannelLockKey, "db/menu/broadcasting/channel_lock");
}

} // namespace

} // namespace TTMLTest
