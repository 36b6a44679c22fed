#include "LogThreshold.h"

#include <gtest/gtest.h>

#include "PlatformLog.h"

using namespace TTMLHost;

TEST(LogThreshold, NamesTheFourThresholds)
{
    EXPECT_EQ(ParseLogThreshold("info").level, PLATFORM_LOG_INFO);
    EXPECT_EQ(ParseLogThreshold("warning").level, PLATFORM_LOG_WARNING);
    EXPECT_EQ(ParseLogThreshold("error").level, PLATFORM_LOG_ERROR);
    EXPECT_EQ(ParseLogThreshold("off").level, kLogOff);
    for (const char* text : {"info", "warning", "error", "off"}) {
        EXPECT_TRUE(ParseLogThreshold(text).known) << text;
    }
}

TEST(LogThreshold, IsWarningWhenNothingIsSet)
{
    for (const char* text : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(ParseLogThreshold(text).level, PLATFORM_LOG_WARNING);
        EXPECT_TRUE(ParseLogThreshold(text).known);
    }
}

TEST(LogThreshold, IsWarningForWhatItDoesNotKnow)
{
    for (const char* text : {"INFO", "Warning", "warn", "errors", " off", "off ", "4", "none"}) {
        EXPECT_EQ(ParseLogThreshold(text).level, PLATFORM_LOG_WARNING) << text;
        EXPECT_FALSE(ParseLogThreshold(text).known) << text;
    }
}
