#ifndef TV_TEXTS_H
#define TV_TEXTS_H

// What a television and the sources name alike: settings, the region's feature, the programs that show
// television; and the MPD that the tests' service has.

namespace TTMLTest {

constexpr char kBannerKey[] = "memory/tv-viewer/infobanner/ttml";
constexpr char kCaptionKey[] = "db/menu/caption/caption";
constexpr char kLanguageKey[] = "db/menu/caption/captionlanguage";
constexpr char kEnableKey[] = "db/menu/broadcasting/atsc3_enable";
constexpr char kChannelLockKey[] = "db/menu/broadcasting/channel_lock";
constexpr char kKoreaKey[] = "com.velmora/featureconf/caption.support_kor";

constexpr char kTvPackage[] = "org.oxnar.tvviewer";
constexpr char kPvrPackage[] = "org.oxnar.pvrplayer";

// The MPD, and what its two times make.
constexpr char kMpd[] = "<MPD availabilityStartTime=\"2019-05-01T00:00:00Z\" "
                        "suggestedPresentationDelay=\"PT1.5S\"/>";
constexpr long long kMpdStart = 1556668800000;
constexpr long long kMpdDelay = 1500;

} // namespace TTMLTest

#endif
