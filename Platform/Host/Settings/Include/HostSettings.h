#ifndef TTML_HOST_SETTINGS_H
#define TTML_HOST_SETTINGS_H

// The Linux platform's settings store, beyond what the source layer asks of it: where it is, and what is in
// it.

#include <string>
#include <vector>

#include "PlatformExport.h"
#include "PlatformSettings.h"

namespace TTMLHost {

enum class SettingType
{
    Int,
    Bool
};

struct Setting
{
    std::string key;
    SettingType type = SettingType::Int;
    int value = 0; // 0 or 1 for Bool
};

// Why the store is not on disk: one line that says what failed, where and what to do; empty when it is. A
// store that is damaged or cannot be written is reported once on the platform log and goes on in memory.
TTML_PLATFORM_EXPORT std::string SettingsProblem();

// All settings, by key.
TTML_PLATFORM_EXPORT std::vector<Setting> ListSettings();

// One setting of any type. False when the key has no value.
TTML_PLATFORM_EXPORT bool FindSetting(const std::string& key, Setting* setting);

} // namespace TTMLHost

#endif
