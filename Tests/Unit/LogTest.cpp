#include "Log.h"

#include <string>
#include <vector>

#include <pthread.h>

#include <gtest/gtest.h>

#include "ScriptedPlatform.h"

using namespace TTMLTest;

namespace {

// What every line of this file begins with, for the given place.
std::string Prefix(const char* function, int line)
{
    return "LogTest.cpp: " + std::string(function) + "(" + std::to_string(line) + ") > Thread:[" +
           ThisThreadName() + " " + std::to_string(static_cast<unsigned long>(pthread_self())) + "] [";
}

} // namespace

TEST(Log, AnInfoLineIsPlain)
{
    TTML_LOGI("Initialize end");
    const int line = __LINE__ - 1;
    ASSERT_EQ(ScriptedLog::Lines().size(), 1U);
    EXPECT_EQ(ScriptedLog::Lines()[0].raw, Prefix("TestBody", line) + "Initialize end]");
    EXPECT_EQ(ScriptedLog::Lines()[0].level, PLATFORM_LOG_INFO);
}

TEST(Log, AWarningIsYellowInsideTheBrackets)
{
    TTML_LOGW("Buffer is NULL");
    const int line = __LINE__ - 1;
    ASSERT_EQ(ScriptedLog::Lines().size(), 1U);
    EXPECT_EQ(ScriptedLog::Lines()[0].raw, Prefix("TestBody", line) + "\033[01;33mBuffer is NULL\033[0m]");
    EXPECT_EQ(ScriptedLog::Lines()[0].level, PLATFORM_LOG_WARNING);
}

TEST(Log, AnErrorIsRedInsideTheBrackets)
{
    TTML_LOGE("new failed.");
    const int line = __LINE__ - 1;
    ASSERT_EQ(ScriptedLog::Lines().size(), 1U);
    EXPECT_EQ(ScriptedLog::Lines()[0].raw, Prefix("TestBody", line) + "\033[01;31mnew failed.\033[0m]");
    EXPECT_EQ(ScriptedLog::Lines()[0].level, PLATFORM_LOG_ERROR);
}

TEST(Log, LevelsAreThePlatformsNumbers)
{
    EXPECT_EQ(PLATFORM_LOG_INFO, 4);
    EXPECT_EQ(PLATFORM_LOG_WARNING, 5);
    EXPECT_EQ(PLATFORM_LOG_ERROR, 6);
}

TEST(Log, ArgumentsFollowTheMessage)
{
    TTML_LOGI("a[%d]", 1);
    TTML_LOGW("b[%s][%d]", "two", 2);
    TTML_LOGE("c[%d][%d][%d][%d][%d][%d][%d][%d]", 1, 2, 3, 4, 5, 6, 7, 8);
    TTML_LOGI("");
    EXPECT_EQ(ScriptedLog::Messages(),
              (std::vector<std::string>{"a[1]", "b[two][2]", "c[1][2][3][4][5][6][7][8]", ""}));
}

TEST(Log, APercentSignInAnArgumentIsNotAFormat)
{
    TTML_LOGW("url : %s", "http://a/%s%n");
    EXPECT_EQ(ScriptedLog::Messages(), (std::vector<std::string>{"url : http://a/%s%n"}));
}

TEST(Log, NamesTheThreadThatLogs)
{
    unsigned long handle = 0;
    TestThread other([&] {
        pthread_setname_np(pthread_self(), "fifteen letters");
        handle = static_cast<unsigned long>(pthread_self());
        TTML_LOGI("there");
    });
    EXPECT_TRUE(other.WaitUntilDone());
    ASSERT_EQ(ScriptedLog::Lines().size(), 1U);
    EXPECT_EQ(ScriptedLog::Lines()[0].thread, "fifteen letters");
    EXPECT_EQ(ScriptedLog::Lines()[0].handle, handle);
}

TEST(Log, TheFileNameIsThePartBehindTheLastSlash)
{
    EXPECT_STREQ(TTML::LogFileName("Common/Src/CTask.cpp"), "CTask.cpp");
    EXPECT_STREQ(TTML::LogFileName("/a/b.c/CTask.cpp"), "CTask.cpp");
    EXPECT_STREQ(TTML::LogFileName("CTask.cpp"), "CTask.cpp");
    EXPECT_STREQ(TTML::LogFileName(""), "");
}

TEST(Log, AScopeLogsEnterAndExit)
{
    {
        TTML_LOG_SCOPE();
        TTML_LOGI("inside");
    }
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_INFO),
              (std::vector<std::string>{"Enter", "inside", "Exit"}));
    EXPECT_EQ(ScriptedLog::Trace(),
              (std::vector<std::string>{"TestBody: Enter", "TestBody: inside", "TestBody: Exit"}));
}

TEST(Log, AScopeLogsExitOnEveryPath)
{
    const auto early = [](bool leave) {
        TTML_LOG_SCOPE();
        if (leave) {
            return;
        }
        TTML_LOGI("stayed");
    };
    early(true);
    early(false);
    EXPECT_EQ(ScriptedLog::Messages(),
              (std::vector<std::string>{"Enter", "Exit", "Enter", "stayed", "Exit"}));
}
