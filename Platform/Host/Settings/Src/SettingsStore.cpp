#include "SettingsStore.h"

#include <system_error>
#include <utility>

#include "HostLog.h"

// What a notice is about.
struct _keynode_t // NOLINT(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the service's name
{
    const std::string& key;
};

namespace TTMLHost {

namespace {

const std::string kStoredKeys = "db/";
const std::string kPassingKeys = "memory/";

bool BeginsWith(const std::string& text, const std::string& beginning)
{
    return text.size() > beginning.size() && text.compare(0, beginning.size(), beginning) == 0;
}

bool IsStored(const std::string& key)
{
    return BeginsWith(key, kStoredKeys);
}

} // namespace

SettingsStore::SettingsStore(StorePlace place)
    : m_place(std::move(place))
    , m_watcher([this] { return m_IsWatchNeeded(); }, [this] { m_LookForChanges(); })
{}

SettingsStore::~SettingsStore() = default;

bool SettingsStore::IsKey(const std::string& key)
{
    return IsStored(key) || BeginsWith(key, kPassingKeys);
}

bool SettingsStore::Find(const std::string& key, Setting* setting)
{
    bool found = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (IsStored(key)) {
            m_Refresh();
        }
        const Values& values = IsStored(key) ? m_stored : m_passing;
        const auto value = values.find(key);
        found = value != values.end();
        if (found) {
            *setting = {key, value->second.type, value->second.value};
        }
    }
    m_Report();
    return found;
}

std::vector<Setting> SettingsStore::List()
{
    std::vector<Setting> settings;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_Refresh();
        for (const Values* values : {&m_stored, &m_passing}) {
            for (const auto& [key, value] : *values) {
                settings.push_back({key, value.type, value.value});
            }
        }
    }
    m_Report();
    return settings;
}

bool SettingsStore::Set(const Setting& setting)
{
    if (!IsKey(setting.key)) {
        return false;
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const bool stored = IsStored(setting.key);
        if (stored) {
            m_Refresh();
        }
        // The room first, so that nothing fails once the file has the value.
        Values& values = stored ? m_stored : m_passing;
        const auto [place, added] = values.try_emplace(setting.key);
        (void)added;
        Value value{setting.type, setting.value, place->second.writes + 1};
        if (stored && m_database != nullptr && !m_database->Write(setting, &value.writes)) {
            m_GiveUpFile(m_database->Failure());
        }
        place->second = value;
    }
    m_Report();
    m_Notify(setting.key);
    return true;
}

bool SettingsStore::Register(const std::string& key, SettingsCallback callback, void* userData)
{
    if (!IsKey(key) || callback == nullptr) {
        return false;
    }
    if (IsStored(key)) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_Refresh();
        if (!m_IsWatchNeeded()) {
            // What was set before anybody asked is no change.
            m_changed.clear();
        }
    }
    m_Report();
    const Target target{key, callback};
    m_callbacks.Register(target, userData);
    try {
        m_watcher.Update();
    } catch (const std::system_error&) {
        // Without the thread the promise could not be kept.
        (void)m_callbacks.Unregister(target);
        return false;
    }
    return true;
}

bool SettingsStore::Unregister(const std::string& key, SettingsCallback callback)
{
    if (!m_callbacks.Unregister({key, callback})) {
        return false;
    }
    try {
        m_watcher.Update();
    } catch (const std::system_error&) {
        // Only those who still are registered need the thread, and they were told.
        return true;
    }
    return true;
}

std::string SettingsStore::Problem()
{
    std::string problem;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_Refresh();
        problem = m_problem;
    }
    m_Report();
    return problem;
}

void SettingsStore::Close()
{
    m_watcher.Close();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_database.reset();
}

void SettingsStore::m_Refresh()
{
    if (!m_problem.empty()) {
        return;
    }
    if (m_database == nullptr) {
        m_Open();
        return;
    }
    bool changed = false;
    if (!m_database->HasChanged(&changed)) {
        m_GiveUpFile(m_database->Failure());
    } else if (changed) {
        m_ReadFile();
    }
}

void SettingsStore::m_Open()
{
    if (m_place.file.empty()) {
        m_problem = m_place.problem;
        m_unreported.store(true);
        return;
    }
    auto database = std::make_unique<Database>();
    if (!database->Open(m_place.file)) {
        m_GiveUpFile(database->Failure());
        return;
    }
    const StoreFailure whyNotWritten = database->Failure();
    m_database = std::move(database);
    m_ReadFile();
    if (m_database != nullptr && whyNotWritten.kind != StoreFailure::Kind::None) {
        m_GiveUpFile(whyNotWritten);
    }
}

void SettingsStore::m_ReadFile()
{
    std::vector<StoredSetting> rows;
    bool changed = false;
    if (!m_database->HasChanged(&changed) || !m_database->ReadAll(&rows)) {
        m_GiveUpFile(m_database->Failure());
        return;
    }
    m_TakeOver(rows);
    m_database->MarkSeen();
}

void SettingsStore::m_TakeOver(const std::vector<StoredSetting>& rows)
{
    Values values;
    for (const StoredSetting& row : rows) {
        if (IsStored(row.setting.key)) {
            values[row.setting.key] = {row.setting.type, row.setting.value, row.writes};
        }
    }
    std::set<std::string> changed = m_changed;
    for (const auto& [key, value] : values) {
        const auto known = m_stored.find(key);
        if (known == m_stored.end() || !(known->second == value)) {
            changed.insert(key);
        }
    }
    for (const auto& [key, value] : m_stored) {
        if (values.count(key) == 0) {
            changed.insert(key);
        }
    }
    m_stored.swap(values);
    m_changed.swap(changed);
}

void SettingsStore::m_GiveUpFile(const StoreFailure& failure) noexcept
{
    try {
        m_problem = DescribeFailure(m_place.file, failure);
    } catch (...) {
        m_problem = "out of memory"; // short enough to need none itself
    }
    m_unreported.store(true);
    m_database.reset();
}

void SettingsStore::m_Report() noexcept
{
    // Set for one thread only; the problem does not change any more then.
    if (m_unreported.exchange(false)) {
        (void)__dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_WARNING, kHostLogTag, "%s", m_problem.c_str());
    }
}

void SettingsStore::m_Notify(const std::string& key)
{
    _keynode_t node{key};
    m_callbacks.Call([&key](const Target& target) { return target.key == key; },
                     [&node](const Target& target, void* userData) { target.callback(&node, userData); });
}

bool SettingsStore::m_IsWatchNeeded() const
{
    return m_callbacks.Has([](const Target& target) { return IsStored(target.key); });
}

void SettingsStore::m_LookForChanges() noexcept
{
    std::set<std::string> changed;
    try {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_Refresh();
        changed.swap(m_changed);
    } catch (...) {
        // Out of memory: what changed is still to be seen at the next look.
        return;
    }
    m_Report();
    for (const std::string& key : changed) {
        m_Notify(key);
    }
}

} // namespace TTMLHost
