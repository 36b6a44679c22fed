#ifndef TTML_HOST_SYSTEM_H
#define TTML_HOST_SYSTEM_H

// The Linux platform's application and system information, beyond what the source layer asks of it.

#include <string>

#include "PlatformExport.h"

namespace TTMLHost {

// The feature of televisions of the Korean region.
constexpr char kKoreanRegionFeature[] = "com.velmora/featureconf/caption.support_kor";

// The package name of this process; an empty one takes it back. Without one the application information
// knows none. Any thread.
TTML_PLATFORM_EXPORT void SetPackageName(const std::string& name);

// The value of a feature of the system, for this process. One that is not set is the bool setting
// "db/system/feature/" + key, and unknown where the settings store has none. Any thread.
TTML_PLATFORM_EXPORT void SetSystemFeature(const std::string& key, bool value);

} // namespace TTMLHost

#endif
