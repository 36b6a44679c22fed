// PlatformAppInfo.h: application information.

#include <limits>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "PlatformAppInfo.h"
#include "PortUnderTest.h"
#include "TestThread.h"

namespace {

using PortTest::Port;

// As much as the source layer gives it.
constexpr int kUsualLength = 255;

TEST(AppInfo, NamesThePackageOfThisProcess)
{
    const auto package = Port().PackageName();
    PORT_NEEDS(package, "a process with a package");
    char name[kUsualLength] = {};
    ASSERT_EQ(aul_app_get_pkgname_bypid(getpid(), name, kUsualLength), 0);
    EXPECT_EQ(std::string(name), *package);
}

TEST(AppInfo, WritesNoMoreThanFits)
{
    const auto package = Port().PackageName();
    PORT_NEEDS(package, "a process with a package");
    const int needed = static_cast<int>(package->size()) + 1;
    std::string buffer(package->size() + 8, '#');
    EXPECT_EQ(aul_app_get_pkgname_bypid(getpid(), buffer.data(), needed), 0);
    EXPECT_EQ(buffer, *package + '\0' + std::string(7, '#'));
    for (const int length : {needed - 1, 1, 0}) {
        buffer.assign(package->size() + 8, '#');
        EXPECT_LT(aul_app_get_pkgname_bypid(getpid(), buffer.data(), length), 0) << length;
        const auto room = static_cast<std::size_t>(length);
        EXPECT_EQ(buffer.substr(room), std::string(buffer.size() - room, '#')) << length;
    }
}

TEST(AppInfo, FailsWithoutAProcess)
{
    char name[kUsualLength] = {};
    EXPECT_LT(aul_app_get_pkgname_bypid(-1, name, kUsualLength), 0);
    // Process ids are far smaller.
    EXPECT_LT(aul_app_get_pkgname_bypid(std::numeric_limits<int>::max(), name, kUsualLength), 0);
}

TEST(AppInfo, FailsWithoutAPackage)
{
    const auto pid = Port().PidWithoutPackage();
    PORT_NEEDS(pid, "a process without a package");
    char name[kUsualLength] = {};
    EXPECT_LT(aul_app_get_pkgname_bypid(*pid, name, kUsualLength), 0);
}

TEST(AppInfo, AnswersManyThreads)
{
    const auto package = Port().PackageName();
    TTMLTest::RunTogether({4, [&] {
                               for (int i = 0; i < 50; ++i) {
                                   char name[kUsualLength] = {};
                                   const int result = aul_app_get_pkgname_bypid(getpid(), name, kUsualLength);
                                   EXPECT_LE(result, 0);
                                   if (package) {
                                       EXPECT_EQ(std::string(name), *package);
                                   }
                               }
                           }});
}

} // namespace
