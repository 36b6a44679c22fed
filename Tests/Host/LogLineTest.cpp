#include "LogLine.h"

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "PlatformLog.h"

using namespace TTMLHost;

namespace {

// What `text` becomes in a line, without what stands before and after it.
std::string Shown(const std::string& text, LogLine::Colours colours = LogLine::Colours::Strip)
{
    LogLine line;
    line.Message(text.data(), text.size(), colours);
    return std::string(line.Data(), line.Size());
}

} // namespace

TEST(LogLine, HasLocalTimeToTheMillisecondLevelTagAndMessage)
{
    // The C library reads the zone once; so the expectation is made with it too.
    const timespec when = {1795187462, 123999999};
    tm local{};
    ASSERT_NE(localtime_r(&when.tv_sec, &local), nullptr);
    char stamp[64];
    ASSERT_NE(std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local), 0U);

    LogLine line;
    line.Begin(when, PLATFORM_LOG_WARNING, "TTML");
    line.Message("message", 7, LogLine::Colours::Strip);
    line.End();
    EXPECT_EQ(std::string(line.Data(), line.Size()), std::string(stamp) + ".123 W TTML: message\n");
}

TEST(LogLine, NamesEachLevelByALetter)
{
    for (const auto& [level, letter] : {std::pair<int, const char*>{PLATFORM_LOG_INFO, " I TTML: "},
                                        {PLATFORM_LOG_WARNING, " W TTML: "},
                                        {PLATFORM_LOG_ERROR, " E TTML: "}}) {
        LogLine line;
        line.Begin(timespec{0, 0}, level, "TTML");
        const std::string text(line.Data(), line.Size());
        EXPECT_EQ(text.substr(text.size() - 9), letter);
    }
}

TEST(LogLine, KeepsTextBeyondAscii)
{
    EXPECT_EQ(Shown("Grüße, 字幕, \U0001f600"), "Grüße, 字幕, \U0001f600");
    EXPECT_EQ(Shown("\xa0\xff\xc2"), "\xa0\xff\xc2");
}

TEST(LogLine, MakesLineEndsAndOtherControlCharactersVisible)
{
    EXPECT_EQ(Shown("a\nb\r\nc\td"), "a\\nb\\r\\nc\\td");
    EXPECT_EQ(Shown(std::string("\0\a\x1f\x7f", 4)), "\\x00\\x07\\x1f\\x7f");
    EXPECT_EQ(Shown("\n"), "\\n");
}

TEST(LogLine, MakesTheSecondSetOfControlCharactersVisible)
{
    EXPECT_EQ(Shown("a\u0080\u0085\u009bb\u009f\u00a0"), "a\\u0080\\u0085\\u009bb\\u009f\u00a0");
}

TEST(LogLine, StripsColoursWhereNoTerminalReads)
{
    EXPECT_EQ(Shown("[\033[01;33mBuffer is NULL\033[0m]"), "[Buffer is NULL]");
    EXPECT_EQ(Shown("\033[m\033[0m\033[1;2;3m"), "");
}

TEST(LogLine, KeepsColoursForATerminal)
{
    EXPECT_EQ(Shown("[\033[01;31mnew failed.\033[0m]\n", LogLine::Colours::Keep),
              "[\033[01;31mnew failed.\033[0m]\\n");
}

TEST(LogLine, PassesNoOtherTerminalSequence)
{
    for (const auto colours : {LogLine::Colours::Keep, LogLine::Colours::Strip}) {
        EXPECT_EQ(Shown("\033[2J", colours), "\\x1b[2J");
        EXPECT_EQ(Shown("\033]0;title\a", colours), "\\x1b]0;title\\x07");
        EXPECT_EQ(Shown("\033[", colours), "\\x1b[");
        EXPECT_EQ(Shown("\033[31", colours), "\\x1b[31");
        EXPECT_EQ(Shown("\033", colours), "\\x1b");
        EXPECT_EQ(Shown("\033\033[0m", colours).substr(0, 4), "\\x1b");
    }
}

TEST(LogLine, MakesControlCharactersOfTheTagVisible)
{
    LogLine line;
    line.Begin(timespec{0, 0}, PLATFORM_LOG_INFO, "a\nb");
    const std::string text(line.Data(), line.Size());
    EXPECT_EQ(text.substr(text.size() - 8), "I a\\nb: ");
}

TEST(LogLine, IsCompleteAtAnyLength)
{
    // Around the length that needs no heap, one by one, and far beyond it.
    for (std::size_t size = 1000; size < 1050; ++size) {
        EXPECT_EQ(Shown(std::string(size, 'x')), std::string(size, 'x'));
        EXPECT_EQ(Shown(std::string(size, '\a')).size(), 4 * size);
    }
    const std::string large(3000000, 'y');
    LogLine line;
    line.Message(large.data(), large.size(), LogLine::Colours::Strip);
    line.Message("z", 1, LogLine::Colours::Strip);
    line.End();
    EXPECT_EQ(std::string(line.Data(), line.Size()), large + "z\n");
}
