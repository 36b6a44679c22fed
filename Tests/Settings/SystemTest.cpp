// Application and system information, through the boundary.

#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "HostSystem.h"
#include "PlatformAppInfo.h"
#include "PlatformSettings.h"
#include "PlatformSystemInfo.h"

namespace {

TEST(PackageName, IsThatOfThisProcessAndOfNoOther)
{
    char name[255] = "";
    EXPECT_LT(aul_app_get_pkgname_bypid(getpid(), name, sizeof name), 0);
    TTMLHost::SetPackageName("org.example.player");
    EXPECT_EQ(aul_app_get_pkgname_bypid(getpid(), name, sizeof name), 0);
    EXPECT_STREQ(name, "org.example.player");
    for (const int pid : {getppid(), 0, -1, 1}) {
        EXPECT_LT(aul_app_get_pkgname_bypid(pid, name, sizeof name), 0) << pid;
    }
    TTMLHost::SetPackageName("");
    EXPECT_LT(aul_app_get_pkgname_bypid(getpid(), name, sizeof name), 0);
}

TEST(PackageName, MustFit)
{
    TTMLHost::SetPackageName("four");
    char name[6] = "-----";
    EXPECT_LT(aul_app_get_pkgname_bypid(getpid(), name, 4), 0);
    EXPECT_EQ(aul_app_get_pkgname_bypid(getpid(), name, 5), 0);
    EXPECT_EQ(std::memcmp(name, "four\0", 6), 0);
    EXPECT_LT(aul_app_get_pkgname_bypid(getpid(), name, 0), 0);
    EXPECT_LT(aul_app_get_pkgname_bypid(getpid(), name, -1), 0);
    EXPECT_LT(aul_app_get_pkgname_bypid(getpid(), nullptr, 255), 0);
    TTMLHost::SetPackageName("");
}

TEST(SystemFeature, IsUnknownUntilThisProcessOrTheSettingsKnowIt)
{
    bool value = true;
    EXPECT_LT(system_info_get_custom_bool("example/unknown", &value), 0);
    EXPECT_TRUE(value);
    EXPECT_LT(system_info_get_custom_bool(nullptr, &value), 0);
    EXPECT_LT(system_info_get_custom_bool("example/unknown", nullptr), 0);
}

TEST(SystemFeature, IsWhatThisProcessSet)
{
    bool value = false;
    TTMLHost::SetSystemFeature("example/set", true);
    EXPECT_EQ(system_info_get_custom_bool("example/set", &value), 0);
    EXPECT_TRUE(value);
    TTMLHost::SetSystemFeature("example/set", false);
    EXPECT_EQ(system_info_get_custom_bool("example/set", &value), 0);
    EXPECT_FALSE(value);
}

TEST(SystemFeature, IsWhatTheSettingsSayElse)
{
    bool value = false;
    EXPECT_EQ(vconf_set_bool("db/system/feature/example/stored", 1), 0);
    EXPECT_EQ(system_info_get_custom_bool("example/stored", &value), 0);
    EXPECT_TRUE(value);
    TTMLHost::SetSystemFeature("example/stored", false);
    EXPECT_EQ(system_info_get_custom_bool("example/stored", &value), 0);
    EXPECT_FALSE(value);
}

TEST(SystemFeature, IsUnknownWhereTheSettingIsNoBool)
{
    bool value = true;
    EXPECT_EQ(vconf_set_int("db/system/feature/example/number", 0), 0);
    EXPECT_LT(system_info_get_custom_bool("example/number", &value), 0);
    EXPECT_TRUE(value);
}

} // namespace
