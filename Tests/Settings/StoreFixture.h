#ifndef SETTINGS_TEST_STORE_FIXTURE_H
#define SETTINGS_TEST_STORE_FIXTURE_H

#include <climits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "SettingsStore.h"
#include "TemporaryFolder.h"

namespace TTMLTest {

constexpr int kNoValue = INT_MIN;

// A store's file of the test's own.
class StoreTest : public testing::Test
{
protected:
    const std::string& File() const { return m_file; }

    std::unique_ptr<TTMLHost::SettingsStore> Open() const { return OpenAt(m_file); }

    static std::unique_ptr<TTMLHost::SettingsStore> OpenAt(const std::string& file)
    {
        return std::make_unique<TTMLHost::SettingsStore>(TTMLHost::StorePlace{file, ""});
    }

    const TemporaryFolder m_folder;

private:
    const std::string m_file = m_folder.Path("settings.db");
};

inline bool SetInt(TTMLHost::SettingsStore& store, const std::string& key, int value)
{
    return store.Set({key, TTMLHost::SettingType::Int, value});
}

inline bool SetBool(TTMLHost::SettingsStore& store, const std::string& key, bool value)
{
    return store.Set({key, TTMLHost::SettingType::Bool, value ? 1 : 0});
}

inline int IntOf(TTMLHost::SettingsStore& store, const std::string& key)
{
    TTMLHost::Setting setting;
    return store.Find(key, &setting) && setting.type == TTMLHost::SettingType::Int ? setting.value : kNoValue;
}

// "key type value" each.
inline std::vector<std::string> Listed(TTMLHost::SettingsStore& store)
{
    std::vector<std::string> lines;
    for (const TTMLHost::Setting& setting : store.List()) {
        lines.push_back(setting.key + (setting.type == TTMLHost::SettingType::Bool ? " bool " : " int ") +
                        std::to_string(setting.value));
    }
    return lines;
}

} // namespace TTMLTest

#endif
