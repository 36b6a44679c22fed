// PlatformSystemInfo.h: information on the system.

#include <string>

#include <gtest/gtest.h>

#include "PlatformSystemInfo.h"
#include "PortUnderTest.h"
#include "TestThread.h"

namespace {

using PortTest::Port;

constexpr const char* kRegionKey = "com.velmora/featureconf/caption.support_kor";

TEST(SystemInfo, TellsAFeature)
{
    const auto feature = Port().Feature();
    PORT_NEEDS(feature, "a feature of the system");
    bool value = !feature->second;
    ASSERT_EQ(system_info_get_custom_bool(feature->first.c_str(), &value), 0);
    EXPECT_EQ(value, feature->second);
}

TEST(SystemInfo, FailsForAnUnknownFeatureAndLeavesTheOutput)
{
    for (const std::string& key :
         {std::string("port-test/no-such-feature"), std::string(), "port-test/" + std::string(5000, 'x')}) {
        for (const bool before : {false, true}) {
            bool value = before;
            EXPECT_NE(system_info_get_custom_bool(key.c_str(), &value), 0) << key;
            EXPECT_EQ(value, before) << key;
        }
    }
}

TEST(SystemInfo, DoesNotChangeItsAnswerWhileTheSystemRuns)
{
    bool first = false;
    const int result = system_info_get_custom_bool(kRegionKey, &first);
    TTMLTest::RunTogether({4, [&] {
                               for (int i = 0; i < 50; ++i) {
                                   bool value = false;
                                   EXPECT_EQ(system_info_get_custom_bool(kRegionKey, &value), result);
                                   EXPECT_EQ(value, first);
                               }
                           }});
}

} // namespace
