#ifndef GLOBAL_KEYS_H
#define GLOBAL_KEYS_H

#include <string>

namespace TTML {

// Key texts that live from the loading of the library to its unloading, constructed in this order.

extern const std::string g_strSubtitleLanguageKey;    // settings: subtitle language menu
extern const std::string g_strMpdAvailabilityStart;   // MPD attribute, up to its opening quote
extern const std::string g_strMpdPresentationDelay;   // MPD attribute, up to its opening quote
extern const std::string g_strInfoBannerKey;          // settings, bool: caption state for the info banner
extern const std::string g_strCaptionKey;             // settings, int: caption menu on or off
extern const std::string g_strCaptionLanguageKey;     // settings, int: caption language menu
extern const std::string g_strAtsc3EnableKey;         // settings, bool: ATSC 3.0 reception enabled
extern const std::string g_strKoreaCaptionFeatureKey; // system information, bool: Korean caption region
extern const std::string g_strChannelLockKey;         // settings, bool: channel lock

} // namespace TTML

#endif
