// System information: features, from the program or from the settings store.

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "HostSystem.h"
#include "PlatformSettings.h"
#include "PlatformSystemInfo.h"

namespace TTMLHost {

namespace {

constexpr int kSucceeded = 0;
constexpr int kFailed = -1;

// Where the settings store keeps features.
constexpr const char* kFeatureKeys = "db/system/feature/";

// Never destroyed: a thread of the source layer may still ask while the process exits.
struct Features
{
    std::mutex mutex;
    std::map<std::string, bool> values; // guarded by mutex
};

Features& ThisSystem()
{
    static auto* const features = new Features;
    return *features;
}

std::optional<bool> SetFeature(const std::string& key)
{
    Features& features = ThisSystem();
    const std::lock_guard<std::mutex> lock(features.mutex);
    const auto found = features.values.find(key);
    return found == features.values.end() ? std::nullopt : std::optional<bool>(found->second);
}

} // namespace

void SetSystemFeature(const std::string& key, bool value)
{
    Features& features = ThisSystem();
    const std::lock_guard<std::mutex> lock(features.mutex);
    features.values[key] = value;
}

} // namespace TTMLHost

int system_info_get_custom_bool(const char* key, bool* value)
{
    using namespace TTMLHost;
    if (key == nullptr || value == nullptr) {
        return kFailed;
    }
    try {
        if (const std::optional<bool> set = SetFeature(key)) {
            *value = *set;
            return kSucceeded;
        }
        int stored = 0;
        if (vconf_get_bool((kFeatureKeys + std::string(key)).c_str(), &stored) != 0) {
            return kFailed;
        }
        *value = stored != 0;
        return kSucceeded;
    } catch (...) {
        return kFailed;
    }
}
