#include "GlobalKeys.h"

namespace TTML {

// One translation unit, so that the order of construction is the order written here.
const std::string g_strSubtitleLanguageKey = "db/menu/subtitle/subtitlelanguage";
const std::string g_strMpdAvailabilityStart = "availabilityStartTime=\"";
const std::string g_strMpdPresentationDelay = "suggestedPresentationDelay=\"";
const std::string g_strInfoBannerKey = "memory/tv-viewer/infobanner/ttml";
const std::string g_strCaptionKey = "db/menu/caption/caption";
const std::string g_strCaptionLanguageKey = "db/menu/caption/captionlanguage";
const std::string g_strAtsc3EnableKey = "db/menu/broadcasting/atsc3_enable";
const std::string g_strKoreaCaptionFeatureKey = "com.velmora/featureconf/caption.support_kor";
const std::string g_strChannelLockKey = "db/menu/broadcasting/channel_lock";

} // namespace TTML
