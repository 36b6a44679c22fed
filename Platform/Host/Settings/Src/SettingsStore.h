#ifndef TTML_HOST_SETTINGS_STORE_H
#define TTML_HOST_SETTINGS_STORE_H

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "CallbackList.h"
#include "ChangeWatcher.h"
#include "Database.h"
#include "HostSettings.h"
#include "StorePlace.h"

namespace TTMLHost {

using SettingsCallback = void (*)(_keynode_t* node, void* userData);

// A settings store. What it read or wrote last of its file is kept in memory too, and is all there is once
// the file fails. Any thread may make any call. Each may throw std::bad_alloc, and has done nothing then.
class SettingsStore
{
public:
    // The file is opened when it is first needed.
    explicit SettingsStore(StorePlace place);
    // Nobody may be inside a call.
    ~SettingsStore();
    SettingsStore(const SettingsStore&) = delete;
    SettingsStore& operator=(const SettingsStore&) = delete;

    // Whether this can be a key: "db/..." or "memory/...".
    static bool IsKey(const std::string& key);

    bool Find(const std::string& key, Setting* setting);
    std::vector<Setting> List();

    // Sets a value of a key and then, with no lock held, calls the callbacks registered for it. A value of
    // the other type is replaced. False for what cannot be a key.
    bool Set(const Setting& setting);

    // Registrations for changes of a key, by this store or another one on the same file; as
    // vconf_notify_key_changed() and vconf_ignore_key_changed() have it. False when refused.
    bool Register(const std::string& key, SettingsCallback callback, void* userData);
    bool Unregister(const std::string& key, SettingsCallback callback);

    // Why the file is not used, in one line; empty when it is.
    std::string Problem();

    // Ends the watching and closes the file, which a later call opens again. For the end of the process.
    void Close();

private:
    struct Target
    {
        std::string key;
        SettingsCallback callback;

        bool operator==(const Target& other) const { return callback == other.callback && key == other.key; }
    };

    struct Value
    {
        SettingType type = SettingType::Int;
        int value = 0;
        std::int64_t writes = 0;

        bool operator==(const Value& other) const
        {
            return type == other.type && value == other.value && writes == other.writes;
        }
    };
    using Values = std::map<std::string, Value>;

    // With m_mutex held:
    void m_Refresh();
    void m_Open();
    void m_ReadFile();
    void m_TakeOver(const std::vector<StoredSetting>& rows);
    void m_GiveUpFile(const StoreFailure& failure) noexcept;

    // Without:
    void m_Report() noexcept;
    void m_Notify(const std::string& key);
    bool m_IsWatchNeeded() const;
    void m_LookForChanges() noexcept;

    const StorePlace m_place;

    std::mutex m_mutex;
    std::unique_ptr<Database> m_database;  // guarded by m_mutex; null when the file is not open
    std::string m_problem;                 // guarded by m_mutex; once set, the file is not used any more
    Values m_stored;                       // guarded by m_mutex; "db/..."
    Values m_passing;                      // guarded by m_mutex; "memory/..."
    std::set<std::string> m_changed;       // guarded by m_mutex; keys that others set, not yet told
    std::atomic<bool> m_unreported{false}; // m_problem is to be logged

    CallbackList<Target, void*> m_callbacks;
    ChangeWatcher m_watcher; // last, since its thread uses everything else
};

} // namespace TTMLHost

#endif
