// The settings store of this process, through the boundary.

#include <climits>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "FaultInjection.h"
#include "HostSettings.h"
#include "TemporaryFolder.h"

using namespace TTMLTest;

namespace {

// Before the store is first used: it is not to be the user's.
const TemporaryFolder g_folder;
[[maybe_unused]] const int g_place = setenv("TTML_SETTINGS", g_folder.Path("settings.db").c_str(), 1);

void Count(_keynode_t* node, void* userData)
{
    EXPECT_NE(node, nullptr);
    ++*static_cast<int*>(userData);
}

TEST(SettingsApi, GivesWhatWasSet)
{
    for (const std::string root : {"db/given/", "memory/given/"}) {
        int value = -1;
        EXPECT_EQ(vconf_set_int((root + "int").c_str(), -5), 0);
        EXPECT_EQ(vconf_get_int((root + "int").c_str(), &value), 0);
        EXPECT_EQ(value, -5);
        EXPECT_EQ(vconf_set_int((root + "int").c_str(), INT_MIN), 0);
        EXPECT_EQ(vconf_get_int((root + "int").c_str(), &value), 0);
        EXPECT_EQ(value, INT_MIN);
        EXPECT_EQ(vconf_set_bool((root + "bool").c_str(), 1), 0);
        EXPECT_EQ(vconf_get_bool((root + "bool").c_str(), &value), 0);
        EXPECT_EQ(value, 1);
        EXPECT_EQ(vconf_set_bool((root + "bool").c_str(), 0), 0);
        EXPECT_EQ(vconf_get_bool((root + "bool").c_str(), &value), 0);
        EXPECT_EQ(value, 0);
    }
}

TEST(SettingsApi, ABoolIsTrueForAllButZero)
{
    for (const int truth : {1, -1, 2, INT_MIN}) {
        int value = -1;
        EXPECT_EQ(vconf_set_bool("memory/truth", truth), 0);
        EXPECT_EQ(vconf_get_bool("memory/truth", &value), 0);
        EXPECT_EQ(value, 1);
    }
}

TEST(SettingsApi, GettersFailOnAnotherTypeAndOnNoValueAndLeaveTheOutput)
{
    for (const std::string root : {"db/typed/", "memory/typed/"}) {
        EXPECT_EQ(vconf_set_int((root + "int").c_str(), 1), 0);
        EXPECT_EQ(vconf_set_bool((root + "bool").c_str(), 1), 0);
        int value = 77;
        EXPECT_LT(vconf_get_bool((root + "int").c_str(), &value), 0);
        EXPECT_LT(vconf_get_int((root + "bool").c_str(), &value), 0);
        EXPECT_LT(vconf_get_int((root + "none").c_str(), &value), 0);
        EXPECT_LT(vconf_get_bool((root + "none").c_str(), &value), 0);
        EXPECT_EQ(value, 77);
    }
}

TEST(SettingsApi, RefusesOtherKeysAndNull)
{
    int value = 77;
    for (const char* key : {static_cast<const char*>(nullptr), "", "db", "db/", "memory/", "other/a"}) {
        EXPECT_LT(vconf_set_int(key, 1), 0);
        EXPECT_LT(vconf_set_bool(key, 1), 0);
        EXPECT_LT(vconf_get_int(key, &value), 0);
        EXPECT_LT(vconf_get_bool(key, &value), 0);
        EXPECT_LT(vconf_notify_key_changed(key, &Count, &value), 0);
        EXPECT_LT(vconf_ignore_key_changed(key, &Count), 0);
    }
    EXPECT_EQ(value, 77);
    EXPECT_EQ(vconf_set_int("memory/null", 1), 0);
    EXPECT_LT(vconf_get_int("memory/null", nullptr), 0);
    EXPECT_LT(vconf_notify_key_changed("memory/null", nullptr, nullptr), 0);
    EXPECT_LT(vconf_ignore_key_changed("memory/null", nullptr), 0);
}

TEST(SettingsApi, NotifiesUntilTheLastRegistrationIsTakenBack)
{
    int one = 0;
    int two = 0;
    EXPECT_EQ(vconf_notify_key_changed("db/noticed", &Count, &one), 0);
    EXPECT_EQ(vconf_notify_key_changed("db/noticed", &Count, &two), 0);
    EXPECT_EQ(vconf_notify_key_changed("db/noticed", &Count, &two), 0);
    EXPECT_EQ(vconf_set_bool("db/noticed", 1), 0);
    EXPECT_EQ(vconf_ignore_key_changed("db/noticed", &Count), 0);
    EXPECT_EQ(vconf_ignore_key_changed("db/noticed", &Count), 0);
    EXPECT_EQ(vconf_set_int("db/noticed", 1), 0);
    EXPECT_EQ(vconf_ignore_key_changed("db/noticed", &Count), 0);
    EXPECT_LT(vconf_ignore_key_changed("db/noticed", &Count), 0);
    EXPECT_EQ(vconf_set_int("db/noticed", 1), 0);
    EXPECT_EQ(one, 2);
    EXPECT_EQ(two, 2);
}

TEST(SettingsApi, FailsWithoutMemoryAndThrowsNothing)
{
    const char* const key = "memory/a/key/that/is/longer/than/a/short/string";
    for (unsigned int n = 1;; ++n) {
        const FaultInjection fault(Call::NEW, n);
        const int result = vconf_set_int(key, 1);
        int value = 77;
        if (fault.Failed() == 0) {
            EXPECT_EQ(result, 0);
            break;
        }
        EXPECT_LT(result, 0);
        EXPECT_LT(vconf_get_int(key, &value), 0);
        EXPECT_EQ(value, 77);
    }
}

TEST(SettingsApi, ListsAndFindsSettingsOfAnyType)
{
    EXPECT_EQ(vconf_set_bool("db/found/bool", 1), 0);
    EXPECT_EQ(vconf_set_int("memory/found/int", 9), 0);
    TTMLHost::Setting setting;
    EXPECT_TRUE(TTMLHost::FindSetting("db/found/bool", &setting));
    EXPECT_EQ(setting.key, "db/found/bool");
    EXPECT_EQ(setting.type, TTMLHost::SettingType::Bool);
    EXPECT_EQ(setting.value, 1);
    EXPECT_TRUE(TTMLHost::FindSetting("memory/found/int", &setting));
    EXPECT_EQ(setting.type, TTMLHost::SettingType::Int);
    EXPECT_EQ(setting.value, 9);
    EXPECT_FALSE(TTMLHost::FindSetting("db/found/none", &setting));
    std::vector<std::string> keys;
    for (const TTMLHost::Setting& listed : TTMLHost::ListSettings()) {
        if (listed.key.find("/found/") != std::string::npos) {
            keys.push_back(listed.key);
        }
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"db/found/bool", "memory/found/int"}));
    EXPECT_EQ(TTMLHost::SettingsProblem(), "");
}

} // namespace
