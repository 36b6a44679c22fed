// PlatformLog.h: the system log.

#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "PlatformLog.h"
#include "PortUnderTest.h"
#include "TestThread.h"

namespace {

using PortTest::Port;

// Lines are told by what no other test writes.
std::string Marker(const std::string& name)
{
    return "port-test-" + name;
}

int Print(const std::string& text, int level = PLATFORM_LOG_ERROR)
{
    return __dlog_print(PLATFORM_LOG_MAIN, level, "TTML", "%s", text.c_str());
}

const int g_beforeMain = Print(Marker("before-main"));

bool Holds(const std::string& line, const std::string& text)
{
    return line.find(text) != std::string::npos;
}

TEST(Log, TakesLinesBeforeMain)
{
    EXPECT_GE(g_beforeMain, 0);
}

TEST(Log, TakesLinesOfEachLevel)
{
    for (const int level : {PLATFORM_LOG_INFO, PLATFORM_LOG_WARNING, PLATFORM_LOG_ERROR}) {
        // 0 where the level is filtered out, else the bytes written.
        EXPECT_GE(Print("a line", level), 0) << level;
    }
}

TEST(Log, TakesLinesAtTheEndOfTheProcess)
{
    EXPECT_EXIT(
        {
            (void)std::atexit([] { _exit(Print("at exit") >= 0 ? 42 : 43); });
            std::exit(1);
        },
        testing::ExitedWithCode(42), "");
}

TEST(Log, TakesLinesWhileALockIsHeldAndFromManyThreads)
{
    std::mutex mutex;
    const auto write = [&mutex] {
        for (int i = 0; i < 100; ++i) {
            const std::lock_guard<std::mutex> guard(mutex);
            EXPECT_GE(Print("under a lock", PLATFORM_LOG_INFO), 0);
        }
    };
    TTMLTest::RunTogether({4, write});
}

TEST(Log, TakesLongAndEmptyLines)
{
    EXPECT_GE(Print(""), 0);
    EXPECT_GE(Print(std::string(100000, 'x'), PLATFORM_LOG_INFO), 0);
    EXPECT_GE(Print(Marker("after-a-long-one")), 0);
}

TEST(Log, FormatsAsPrintf)
{
    PORT_NEEDS(Port().Log(), "reading the log");
    const std::string marker = Marker("format");
    EXPECT_GE(__dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_ERROR, "TTML",
                           "%s %d %u %ld %lu %lld %llu %zu %x %% %5s|%-5s|%05d|%.3f %s", marker.c_str(), -1,
                           4294967295U, -2L, 3UL, -9223372036854775807LL - 1, 18446744073709551615ULL,
                           sizeof(char), 255U, "ab", "cd", 42, 1.5, "Grüße, 字幕"),
              1);
    const std::vector<std::string> lines = Port().Log()->Lines(marker);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(Holds(lines[0], marker +
                                    " -1 4294967295 -2 3 -9223372036854775808 18446744073709551615 1 ff % "
                                    "   ab|cd   |00042|1.500 Grüße, 字幕"))
        << lines[0];
    EXPECT_TRUE(Holds(lines[0], "TTML")) << "the tag is part of the line: " << lines[0];
}

TEST(Log, KeepsTheMessageBetweenItsColours)
{
    PORT_NEEDS(Port().Log(), "reading the log");
    for (const std::string colour : {"\033[01;33m", "\033[01;31m"}) {
        const std::string marker = Marker("colour-" + colour.substr(5, 2));
        EXPECT_GE(Print("[" + colour + marker + " message\033[0m]"), 1);
        const std::vector<std::string> lines = Port().Log()->Lines(marker);
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_TRUE(Holds(lines[0], marker + " message")) << lines[0];
    }
}

TEST(Log, WritesOneLineForEachCallInOrder)
{
    PORT_NEEDS(Port().Log(), "reading the log");
    const std::string marker = Marker("order");
    for (int i = 0; i < 10; ++i) {
        EXPECT_GE(Print(marker + " <" + std::to_string(i) + ">"), 1);
    }
    const std::vector<std::string> lines = Port().Log()->Lines(marker);
    ASSERT_EQ(lines.size(), 10U);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_TRUE(Holds(lines[i], "<" + std::to_string(i) + ">")) << lines[i];
    }
}

TEST(Log, KeepsLinesOfSeveralThreadsApart)
{
    PORT_NEEDS(Port().Log(), "reading the log");
    const std::string marker = Marker("threads");
    const std::string filling(200, '.');
    const auto write = [&] {
        for (int i = 0; i < 50; ++i) {
            EXPECT_GE(Print(marker + filling + "end"), 1);
        }
    };
    TTMLTest::RunTogether({4, write});
    const std::vector<std::string> lines = Port().Log()->Lines(marker);
    EXPECT_EQ(lines.size(), 200U);
    for (const std::string& line : lines) {
        EXPECT_TRUE(Holds(line, marker + filling + "end")) << line;
    }
}

TEST(Log, HasReadItsTextsWhenItReturns)
{
    PORT_NEEDS(Port().Log(), "reading the log");
    std::string marker = Marker("texts");
    std::string text = marker + " original";
    std::string tag = "TTML";
    std::string format = "%s";
    // The compiler cannot check a format that it does not see.
    const char* const hidden = format.c_str();
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    EXPECT_GE(__dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_ERROR, tag.c_str(), hidden, text.c_str()), 1);
#pragma GCC diagnostic pop
    for (std::string* const used : {&text, &tag, &format}) {
        used->assign(used->size(), '#');
    }
    const std::vector<std::string> lines = Port().Log()->Lines(marker);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(Holds(lines[0], marker + " original")) << lines[0];
}

} // namespace
