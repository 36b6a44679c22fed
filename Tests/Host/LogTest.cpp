// The log service from outside: what a program that logs leaves on its standard error.

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CaptureStderr.h"
#include "ChildProcess.h"
#include "PlatformLog.h"

using namespace TTMLTest;

namespace {

const std::string kWarning = std::to_string(PLATFORM_LOG_WARNING);

ChildResult RunProbe(std::vector<std::string> arguments, const std::vector<std::string>& environment = {},
                     ChildStderr errorTo = ChildStderr::Pipe)
{
    arguments.insert(arguments.begin(), TTML_TEST_LOG_PROBE);
    ChildResult result = RunChild(arguments, environment, errorTo);
    EXPECT_EQ(result.status, 0) << result.error;
    return result;
}

std::vector<std::string> LogLines(const ChildResult& result)
{
    std::vector<std::string> lines;
    for (const std::string& line : SplitLines(result.error)) {
        lines.push_back(WithoutTime(line));
    }
    return lines;
}

using Lines = std::vector<std::string>;

// Every line of every thread is there, whole, and in the thread's own order.
void ExpectWholeLines(const ChildResult& result, int threads, int count, std::size_t size)
{
    const Lines lines = LogLines(result);
    ASSERT_EQ(lines.size(), static_cast<std::size_t>(threads * count));
    std::vector<int> next(static_cast<std::size_t>(threads), 0);
    for (const std::string& line : lines) {
        const std::string head = "W TTML: ";
        ASSERT_EQ(line.substr(0, head.size()), head);
        const int thread = std::atoi(line.c_str() + head.size());
        ASSERT_GE(thread, 0);
        ASSERT_LT(thread, threads);
        int& number = next[static_cast<std::size_t>(thread)];
        const std::string filling(number % 2 == 0 ? size : 10, static_cast<char>('a' + thread));
        ASSERT_EQ(line, head + std::to_string(thread) + " " + std::to_string(number) + " " + filling + ".");
        ++number;
    }
}

} // namespace

TEST(Log, LinesHaveLevelTagAndMessage)
{
    EXPECT_EQ(LogLines(RunProbe({"levels"}, {"TTML_LOG=info"})),
              (Lines{"I TTML: an info line", "W TTML: a warning", "E TTML: an error"}));
}

TEST(Log, LinesHaveTheLocalTime)
{
    // A zone that no machine has: five and a half hours and some seconds west of Greenwich.
    const std::time_t before = std::time(nullptr);
    const ChildResult result = RunProbe({"print", kWarning, "x"}, {"TZ=XYZ5:30:12"});
    const std::time_t after = std::time(nullptr);
    tm stamp{};
    ASSERT_NE(strptime(result.error.c_str(), "%Y-%m-%d %H:%M:%S", &stamp), nullptr) << result.error;
    const std::time_t logged = timegm(&stamp) + (5 * 60 + 30) * 60 + 12;
    EXPECT_GE(logged, before);
    EXPECT_LE(logged, after);
}

TEST(Log, TheThresholdIsWarningUnlessSet)
{
    const Lines expected = {"W TTML: a warning", "E TTML: an error"};
    EXPECT_EQ(LogLines(RunProbe({"levels"}, {"TTML_LOG="})), expected);
    EXPECT_EQ(LogLines(RunProbe({"levels"}, {"TTML_LOG=warning"})), expected);
}

TEST(Log, TheThresholdComesFromTheEnvironment)
{
    EXPECT_EQ(LogLines(RunProbe({"levels"}, {"TTML_LOG=error"})), (Lines{"E TTML: an error"}));
    EXPECT_EQ(LogLines(RunProbe({"levels"}, {"TTML_LOG=off"})), Lines{});
}

TEST(Log, AnUnknownThresholdCountsAsWarningAndSaysSoOnce)
{
    EXPECT_EQ(
        LogLines(RunProbe({"levels"}, {"TTML_LOG=verbose"})),
        (Lines{"W TTMLHOST: TTML_LOG is 'verbose'; it must be info, warning, error or off. Logging from "
               "warning on.",
               "W TTML: a warning", "E TTML: an error"}));
}

TEST(Log, AnUnknownThresholdIsReportedOnceByManyThreads)
{
    const ChildResult result = RunProbe({"threads", "8", "20", "10"}, {"TTML_LOG=?"});
    std::size_t reports = 0;
    for (const std::string& line : LogLines(result)) {
        reports += line.rfind("W TTMLHOST: TTML_LOG is '?'", 0) == 0 ? 1U : 0U;
    }
    EXPECT_EQ(reports, 1U);
}

TEST(Log, ALineBelowTheThresholdIsNotFormatted)
{
    const ChildResult result = RunProbe({"below"});
    EXPECT_EQ(result.out, "0\n");
    EXPECT_EQ(result.error, "");
}

TEST(Log, AnswersTheNumberOfBytesWritten)
{
    const ChildResult result = RunProbe({"print", kWarning, "twelve bytes"});
    EXPECT_EQ(result.out, std::to_string(result.error.size()) + "\n");
}

TEST(Log, KeepsColoursOnATerminal)
{
    const ChildResult result =
        RunProbe({"print", kWarning, "[\033[01;33mBuffer is NULL\033[0m]"}, {}, ChildStderr::Terminal);
    // The terminal turns the line end into two characters.
    ASSERT_GE(result.error.size(), 24U);
    EXPECT_EQ(result.error.substr(24), "W TTML: [\033[01;33mBuffer is NULL\033[0m]\r\n");
}

TEST(Log, StripsColoursElsewhere)
{
    EXPECT_EQ(LogLines(RunProbe({"print", kWarning, "[\033[01;33mBuffer is NULL\033[0m]"})),
              (Lines{"W TTML: [Buffer is NULL]"}));
}

TEST(Log, AMessageWithLineEndsStaysOneLine)
{
    EXPECT_EQ(LogLines(RunProbe({"print", kWarning, "one\ntwo\r\n\tthree"})),
              (Lines{"W TTML: one\\ntwo\\r\\n\\tthree"}));
}

TEST(Log, LongLinesAreComplete)
{
    // Around the size of the buffer that short messages are formatted in, and beyond any pipe.
    for (const int size : {1022, 1023, 1024, 1025, 1000000}) {
        const ChildResult result = RunProbe({"long", std::to_string(size)});
        EXPECT_EQ(LogLines(result), (Lines{"W TTML: " + std::string(static_cast<std::size_t>(size), 'x')}));
        EXPECT_EQ(result.out, std::to_string(result.error.size()) + "\n");
    }
}

TEST(Log, LinesOfSeveralThreadsNeverMix)
{
    ExpectWholeLines(RunProbe({"threads", "8", "200", "9000"}), 8, 200, 9000);
}

TEST(Log, LinesStayWholeWhereStderrDoesNotBlock)
{
    ExpectWholeLines(RunProbe({"nonblocking", "4", "100", "9000"}), 4, 100, 9000);
}

TEST(Log, LinesStayWholeWhileSignalsArrive)
{
    ExpectWholeLines(RunProbe({"interrupted", "4", "200", "9000"}), 4, 200, 9000);
}

TEST(Log, KeepsErrnoAndFormatsTheCallers)
{
    const ChildResult shown = RunProbe({"errno", kWarning, "%m"});
    EXPECT_EQ(shown.out, "kept\n");
    EXPECT_EQ(LogLines(shown), (Lines{"W TTML: Numerical argument out of domain"}));

    const ChildResult filtered =
        RunProbe({"errno", std::to_string(PLATFORM_LOG_INFO), "%m"}, {"TTML_LOG=strange"});
    EXPECT_EQ(filtered.out, "kept\n");
}

TEST(Log, AnswersANegativeValueWhenNothingCanBeWritten)
{
    EXPECT_EQ(RunProbe({"closed"}).out, "-1\nkept\n");
}

TEST(Log, BearsNullArguments)
{
    const ChildResult result = RunProbe({"null"});
    EXPECT_EQ(LogLines(result), (Lines{"W ?: no tag"}));
    EXPECT_EQ(result.out, std::to_string(result.error.size()) + "\n-1\n");
}

TEST(Log, WritesTheFormatOfAMessageThatPrintfRefuses)
{
    const ChildResult result = RunProbe({"refused"});
    EXPECT_EQ(LogLines(result), (Lines{"W TTML: %lc"}));
    EXPECT_EQ(result.out, "1\n");
}

TEST(Log, WorksBeforeMainAndDuringExit)
{
    EXPECT_EQ(LogLines(RunProbe({"levels"}, {"PROBE_LIFETIME=1"})),
              (Lines{"W TTML: before main", "W TTML: a warning", "E TTML: an error", "W TTML: during exit"}));
}
