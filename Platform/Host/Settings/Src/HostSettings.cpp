// The settings store of this process: the boundary, and what our own clients ask.

#include "HostSettings.h"

#include <atomic>
#include <new>

#include "SettingsStore.h"

namespace TTMLHost {

namespace {

constexpr int kSucceeded = 0;
constexpr int kFailed = -1;

std::atomic<SettingsStore*> g_store{nullptr};

// Made with the first use and never destroyed: a late call may come while the process exits.
SettingsStore& Store()
{
    alignas(SettingsStore) static unsigned char storage[sizeof(SettingsStore)];
    static SettingsStore* const store = new (storage) SettingsStore(FindStorePlace());
    g_store.store(store);
    return *store;
}

// The thread must not outlive this library, and a file that is closed is one file again.
[[maybe_unused]] const struct AtUnload
{
    AtUnload() = default;
    ~AtUnload()
    {
        if (SettingsStore* store = g_store.load()) {
            store->Close();
        }
    }
    AtUnload(const AtUnload&) = delete;
    AtUnload& operator=(const AtUnload&) = delete;
} g_atUnload;

int Get(const char* key, SettingType type, int* value) noexcept
{
    try {
        Setting setting;
        if (key == nullptr || value == nullptr || !Store().Find(key, &setting) || setting.type != type) {
            return kFailed;
        }
        *value = setting.value;
        return kSucceeded;
    } catch (...) {
        return kFailed;
    }
}

int Set(const char* key, SettingType type, int value) noexcept
{
    try {
        return key != nullptr && Store().Set({key, type, value}) ? kSucceeded : kFailed;
    } catch (...) {
        return kFailed;
    }
}

} // namespace

std::string SettingsProblem()
{
    return Store().Problem();
}

std::vector<Setting> ListSettings()
{
    return Store().List();
}

bool FindSetting(const std::string& key, Setting* setting)
{
    return Store().Find(key, setting);
}

} // namespace TTMLHost

int vconf_get_int(const char* key, int* value)
{
    return TTMLHost::Get(key, TTMLHost::SettingType::Int, value);
}

int vconf_get_bool(const char* key, int* value)
{
    return TTMLHost::Get(key, TTMLHost::SettingType::Bool, value);
}

int vconf_set_int(const char* key, int value)
{
    return TTMLHost::Set(key, TTMLHost::SettingType::Int, value);
}

int vconf_set_bool(const char* key, int value)
{
    return TTMLHost::Set(key, TTMLHost::SettingType::Bool, value != 0 ? 1 : 0);
}

int vconf_notify_key_changed(const char* key, void (*callback)(_keynode_t* node, void* userData),
                             void* userData)
{
    using namespace TTMLHost;
    try {
        return key != nullptr && Store().Register(key, callback, userData) ? kSucceeded : kFailed;
    } catch (...) {
        return kFailed;
    }
}

int vconf_ignore_key_changed(const char* key, void (*callback)(_keynode_t* node, void* userData))
{
    using namespace TTMLHost;
    try {
        return key != nullptr && Store().Unregister(key, callback) ? kSucceeded : kFailed;
    } catch (...) {
        return kFailed;
    }
}
